#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

using ::testing::Test;
using Words = std::vector<std::string>;

class Planning : public SwitchFixture {
protected:
    /* The plan from one configuration's state to another's. */
    Words change(const Desired &from, const Desired &to)
    {
        bring_about(from);
        return words(sw.plan(to));
    }
};

TEST_F(Planning, NothingIsPlannedForAnEmptySwitchThatShallStayEmpty)
{
    EXPECT_TRUE(sw.plan(Desired()).empty());
}

TEST_F(Planning, ANewSwitchIsBuiltInTheOrderOfItsDependencies)
{
    const Desired want = wanted(R"({
        "DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}},
        "VRF": {"VrfBlue": {}},
        "PORT": {"Ethernet0": {"mtu": "1500"}, "Ethernet4": {}},
        "INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue", "nat_zone": "2"},
                      "Ethernet0|192.0.2.0/31": {}, "Ethernet0|2001:db8::/127": {}},
        "PORTCHANNEL": {"PortChannel0001": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel0001|Ethernet4": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel0001": {}},
        "VLAN": {"Vlan100": {}},
        "VLAN_INTERFACE": {"Vlan100": {}, "Vlan100|198.51.100.1/24": {}},
        "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "Ethernet0.10|192.0.2.2/31": {}},
        "VRRP": {"Vlan100|10": {"vid": "10"}}})");
    EXPECT_EQ(
        words(sw.plan(want)),
        (Words{"set router MAC 00:00:5e:00:53:01", "add port Ethernet0", "add port Ethernet4",
               "route port Ethernet0: MTU 1500, IPv4, IPv6, VRF VrfBlue, NAT zone 2",
               "add port-channel PortChannel0001", "route port-channel PortChannel0001: MTU 9100",
               "add Ethernet4 to port-channel PortChannel0001",
               "create SVI Vlan100: MTU 9100, IPv4",
               "create sub-interface Ethernet0.10 on Ethernet0, VLAN 10: MTU 1500, IPv4",
               "add virtual MAC 00:00:5e:00:01:0a to Vlan100"}));
}

TEST_F(Planning, EverythingGoesInTheOppositeOrder)
{
    const Desired from = wanted(R"({
        "DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}},
        "PORT": {"Ethernet0": {}, "Ethernet4": {}},
        "INTERFACE": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel0001": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel0001|Ethernet4": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel0001": {}},
        "VLAN": {"Vlan100": {}},
        "VLAN_INTERFACE": {"Vlan100": {}},
        "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}},
        "VRRP": {"Vlan100|10": {"vid": "10"}}})");
    EXPECT_EQ(
        change(from, Desired()),
        (Words{"remove virtual MAC 00:00:5e:00:01:0a from Vlan100",
               "delete sub-interface Ethernet0.10", "delete SVI Vlan100",
               "take Ethernet4 out of port-channel PortChannel0001",
               "stop routing port-channel PortChannel0001", "delete port-channel PortChannel0001",
               "stop routing port Ethernet0", "remove port Ethernet0", "remove port Ethernet4",
               "remove router MAC 00:00:5e:00:53:01"}));
}

TEST_F(Planning, OnlyTheSettingsThatDifferAreNamed)
{
    const Desired from = wanted(R"({
        "VRF": {"VrfBlue": {}}, "PORT": {"Ethernet0": {"mtu": "9100"}},
        "INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue"}, "Ethernet0|192.0.2.0/31": {}}})");
    const Desired to = wanted(R"({
        "PORT": {"Ethernet0": {"mtu": "1500"}},
        "INTERFACE": {"Ethernet0": {"nat_zone": "1"}, "Ethernet0|2001:db8::/127": {}}})");
    EXPECT_EQ(change(from, to),
              (Words{"change Ethernet0: MTU 9100 -> 1500, IPv4 off, IPv6 on, VRF VrfBlue -> "
                     "default, NAT zone 0 -> 1"}));
}

TEST_F(Planning, AStepNamesTheRowBehindItAndADeletionTheRowThatWent)
{
    const Desired from = wanted("{\"PORT\": {\"Ethernet0\": {}},\n"
                                " \"INTERFACE\": {\"Ethernet0\": {}}}");
    const Plan creation = sw.plan(from);
    ASSERT_EQ(creation.steps.size(), 2U);
    EXPECT_EQ(creation.steps[1].cause.to_text(), "test.json:2:16: INTERFACE|Ethernet0");
    bring_about(from);
    const Plan deletion = sw.plan(Desired());
    ASSERT_EQ(deletion.steps.size(), 2U);
    EXPECT_EQ(deletion.steps[0].cause.to_text(), "test.json:2:16: INTERFACE|Ethernet0");
}

TEST_F(Planning, AnotherVlanMakesAnotherSubInterface)
{
    const std::string rest = R"("INTERFACE": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": )";
    EXPECT_EQ(change(with_ports(rest + R"({"Eth0.1": {"vlan": "10"}})"),
                     with_ports(rest + R"({"Eth0.1": {"vlan": "20"}})")),
              (Words{"delete sub-interface Eth0.1",
                     "create sub-interface Eth0.1 on Ethernet0, VLAN 20: MTU 9100"}));
}

TEST_F(Planning, AHostOnlyChangeNeedsNoStep)
{
    EXPECT_EQ(change(wanted(R"({"PORT": {"Ethernet0": {"alias": "a", "mtu": "1500"}}})"),
                     wanted(R"({"PORT": {"Ethernet0": {"alias": "b", "mtu": "9100"}}})")),
              Words());
}

/* ---- Port-channels ---- */

const char *const two_members = R"("PORTCHANNEL": {"PortChannel1": {}},
    "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}})";

TEST_F(Planning, APortChannelThatLosesOneOfTwoMembersKeepsItsSubInterfaces)
{
    const std::string sub = R"(, "VLAN_SUB_INTERFACE": {"Po1.10": {"vlan": "10"}})";
    EXPECT_EQ(change(with_ports(two_members + sub), with_ports(R"(
        "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}})" +
                                                               sub)),
              (Words{"take Ethernet0 out of port-channel PortChannel1"}));
}

TEST_F(Planning, APortChannelWhoseMembersAreAllReplacedIsRebuiltWithWhatStandsOnIt)
{
    const std::string rest = R"(, "VLAN_SUB_INTERFACE": {"Po1.10": {"vlan": "10"}},
        "VRRP": {"PortChannel1|1": {"vid": "1"}})";
    EXPECT_EQ(change(with_ports(two_members + rest), with_ports(R"(
        "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}})" + rest)),
              (Words{"remove virtual MAC 00:00:5e:00:01:01 from PortChannel1",
                     "delete sub-interface Po1.10",
                     "take Ethernet0 out of port-channel PortChannel1",
                     "take Ethernet4 out of port-channel PortChannel1",
                     "add Ethernet8 to port-channel PortChannel1",
                     "create sub-interface Po1.10 on PortChannel1, VLAN 10: MTU 9100",
                     "add virtual MAC 00:00:5e:00:01:01 to PortChannel1"}));
}

TEST_F(Planning, APortChannelThatIsNoLongerRoutedKeepsItsMembersInTheHostAlone)
{
    const Desired to = with_ports(R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}})");
    EXPECT_EQ(change(with_ports(two_members), to),
              (Words{"take Ethernet0 out of port-channel PortChannel1",
                     "take Ethernet4 out of port-channel PortChannel1",
                     "stop routing port-channel PortChannel1",
                     "add Ethernet0 to port-channel PortChannel1",
                     "add Ethernet4 to port-channel PortChannel1"}));
    bring_about(to);
    EXPECT_EQ(used("pc"), 0U);
}

TEST_F(Planning, ARoutedMemberIsTriedLastSoThatItIsNotTakenForTheFirst)
{
    const Desired want =
        with_ports(std::string(R"("INTERFACE": {"Ethernet0": {}}, )") + two_members);
    const Words steps = words(sw.plan(want));
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(steps[steps.size() - 2], "add Ethernet4 to port-channel PortChannel1");
    EXPECT_EQ(steps.back(), "add Ethernet0 to port-channel PortChannel1");
}

TEST_F(Planning, AMemberThatShallBeRoutedLeavesFirstAndTriesAgain)
{
    EXPECT_EQ(
        change(with_ports(two_members),
               with_ports(std::string(R"("INTERFACE": {"Ethernet0": {}}, )") + two_members)),
        (Words{"take Ethernet0 out of port-channel PortChannel1", "route port Ethernet0: MTU 9100",
               "add Ethernet0 to port-channel PortChannel1"}));
}

TEST_F(Planning, AVirtualMacWaitsUntilItsPortChannelHasAMember)
{
    const std::string empty = R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}, "VRRP": {"PortChannel1|1": {"vid": "1"}})";
    const Desired from = with_ports(empty);
    bring_about(from);
    EXPECT_TRUE(sw.plan(from).empty());
    EXPECT_EQ(words(sw.plan(
                  with_ports(empty + R"(, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})"))),
              (Words{"add Ethernet0 to port-channel PortChannel1",
                     "add virtual MAC 00:00:5e:00:01:01 to PortChannel1"}));
}

} // namespace
} // namespace kvnsim
