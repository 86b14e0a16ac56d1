#include "tests/sim/state/snapshot_fixture.h"

#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

class PowerOff : public SnapshotFixture {};

TEST_F(PowerOff, LeavesTheSnapshotThatTheSwitchWouldHaveGiven)
{
    ASSERT_NO_FATAL_FAILURE(troubled_switch());
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
