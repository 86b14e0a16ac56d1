#include "tests/sim/state/snapshot_fixture.h"

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

class PowerOff : public SnapshotFixture {};

TEST_F(PowerOff, LeavesTheSnapshotThatTheSwitchWouldHaveGiven)
{
    small_switch();
    Host &host = Host::instance();
    fail("libsdk_intf_create:2");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
                        "PORTCHANNEL": {"PortChannel7": {}},
                        "VLAN": {"Vlan10": {}, "Vlan11": {}},
                        "VLAN_INTERFACE": {"Vlan10": {}, "Vlan11": {}}})"));
    ASSERT_EQ(host.hold_port_channel(*host.find("PortChannel7")), 0);
    Asic::instance().attr_set_batch(host.find("Vlan10")->intf_id(), SdkIntfAttrMtuIdx, 1500);
    const std::vector<std::string> files{"one.json", "two.json"};
    const Snapshot snapshot = capture(sw, files, {Finding()}, true);
    ASSERT_FALSE(snapshot.failures.empty());
    ASSERT_FALSE(snapshot.errors.empty());
    EXPECT_TRUE(capture_and_power_off(sw, files, {Finding()}, true) == snapshot);
}

TEST_F(PowerOff, LeavesNothingInTheSwitch)
{
    small_switch();
    capture_and_power_off(sw, {}, {}, false);
    EXPECT_TRUE(sw.have().svis.empty());
    EXPECT_TRUE(sw.wanted().svis.empty());
    EXPECT_TRUE(sw.settings().empty());
    EXPECT_TRUE(Host::instance().interfaces().empty());
    EXPECT_TRUE(Host::instance().db().rows<L3lifRow>().empty());
    EXPECT_TRUE(Asic::instance().rows<IntfRow>().empty());
}

} // namespace
} // namespace kvnsim
