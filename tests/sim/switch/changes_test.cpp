#include "tests/sim/switch_fixture.h"

#include <gmock/gmock.h>

#include "sim/switch/changes.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/* What a plan means: "Ethernet0: MTU 9100 -> 1500, interrupted". */
class Changes : public SwitchFixture {
protected:
    std::vector<std::string> from(const std::string &before, const std::string &after)
    {
        bring_about(with_ports(before));
        return to(with_ports(after));
    }
    std::vector<std::string> to(const Desired &want)
    {
        std::vector<std::string> all;
        for (const Change &change : changes(sw, want, sw.plan(want)))
            all.push_back(change.interface + ": " + change.words +
                          (change.interrupts ? ", interrupted" : ""));
        return all;
    }
};

TEST_F(Changes, NoneWithoutADifference)
{
    const char *const same = R"("INTERFACE": {"Ethernet0": {}})";
    EXPECT_THAT(from(same, same), IsEmpty());
}

TEST_F(Changes, AnInterfaceThatComesInterruptsNothing)
{
    EXPECT_THAT(from("", R"("INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.0/31": {}},
                            "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
                            "VLAN_SUB_INTERFACE": {"Ethernet0.5": {}})"),
                ElementsAre("Ethernet0: routed: MTU 9100, IPv4", "Ethernet0.5: created: MTU 9100",
                            "Vlan10: created: MTU 9100"));
    EXPECT_EQ("Ethernet48: created", to(wanted(R"({"PORT": {"Ethernet48": {}}})")).back());
}

TEST_F(Changes, AnInterfaceThatGoesIsInterrupted)
{
    EXPECT_THAT(from(R"("INTERFACE": {"Ethernet0": {}},
                        "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
                        "VLAN_SUB_INTERFACE": {"Ethernet0.5": {}},
                        "VRRP": {"Vlan10|1": {}})",
                     ""),
                ElementsAre("Ethernet0: no longer routed, interrupted",
                            "Ethernet0.5: deleted, interrupted", "Vlan10: deleted, interrupted"));
}

TEST_F(Changes, AnotherVlanDeletesASubInterfaceAndCreatesItAgain)
{
    EXPECT_THAT(
        from(R"("VLAN_SUB_INTERFACE": {"Eth0.5": {"vlan": "5"}}, "VRRP": {"Eth0.5|1": {}})",
             R"("VLAN_SUB_INTERFACE": {"Eth0.5": {"vlan": "6"}}, "VRRP": {"Eth0.5|1": {}})"),
        ElementsAre("Eth0.5: recreated: MTU 9100, interrupted"));
}

TEST_F(Changes, SettingsInterruptWhereTheyTakeSomethingAway)
{
    const auto with = [](const std::string &row, const std::string &mtu, const char *address) {
        return R"("VRF": {"VrfBlue": {}}, "VLAN": {"Vlan10": {"mtu": ")" + mtu +
               R"("}}, "VLAN_INTERFACE": {"Vlan10": {)" + row + "}" + address + "}";
    };
    const char *const v4 = R"(, "Vlan10|192.0.2.0/31": {})";
    const char *const v6 = R"(, "Vlan10|2001:db8::1/64": {})";
    EXPECT_THAT(from(with("", "9000", ""), with("", "1500", v4)),
                ElementsAre("Vlan10: MTU 9000 -> 1500, interrupted", "Vlan10: IPv4 on"));
    EXPECT_THAT(from(with("", "1500", v4), with(R"("vrf_name": "VrfBlue")", "9000", v6)),
                ElementsAre("Vlan10: MTU 1500 -> 9000", "Vlan10: IPv4 off, interrupted",
                            "Vlan10: IPv6 on", "Vlan10: VRF default -> VrfBlue, interrupted"));
    EXPECT_THAT(from(with("", "1500", v6), with(R"("nat_zone": "2")", "1500", "")),
                ElementsAre("Vlan10: IPv6 off, interrupted", "Vlan10: NAT zone 0 -> 2"));
}

TEST_F(Changes, ASettingThatIsUnknownMayInterrupt)
{
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}})"));
    Desired want = sw.wanted();
    want.ports["Ethernet0"].mtu = 1500;
    fail("libsdk_intf_attr_set:1");
    EXPECT_EQ(1u, sw.apply(want).failures.size());
    want.ports["Ethernet0"].mtu = 9216;
    EXPECT_THAT(to(want), ElementsAre("Ethernet0: MTU unknown -> 9216, interrupted"));
}

TEST_F(Changes, MembersThatMoveAreInterruptedAndThoseThatStayCarryOn)
{
    const auto channels = [](const std::string &members) {
        return R"("PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}},
                  "PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel2": {}},
                  "PORTCHANNEL_MEMBER": {)" +
               members + "}";
    };
    EXPECT_THAT(from(channels(R"("PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {},
                         "PortChannel2|Ethernet8": {})"),
                     channels(R"("PortChannel1|Ethernet0": {}, "PortChannel2|Ethernet4": {},
                         "PortChannel2|Ethernet8": {}, "PortChannel2|Ethernet12": {})")),
                ElementsAre("Ethernet4: moves from PortChannel1 to PortChannel2, interrupted",
                            "Ethernet12: joins PortChannel2",
                            "PortChannel1: member Ethernet4 leaves, interrupted",
                            "PortChannel2: member Ethernet4 joins",
                            "PortChannel2: member Ethernet12 joins"));
}

TEST_F(Changes, APortChannelThatBecomesRoutedTakesItsMembersAgain)
{
    const std::string layer_2 = R"("PORTCHANNEL": {"PortChannel1": {}},
                                   "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})";
    EXPECT_THAT(from(layer_2, layer_2 + R"(, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}})"),
                ElementsAre("Ethernet0: leaves PortChannel1 and joins it again, interrupted",
                            "PortChannel1: routed: MTU 9100"));
}

TEST_F(Changes, ASubInterfaceGoesWithTheLastMemberOfItsParent)
{
    const auto channel = [](const std::string &port) {
        return R"("PORTCHANNEL": {"PortChannel1": {}},
                  "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
                  "VLAN_SUB_INTERFACE": {"PortChannel1.5": {}},
                  "PORTCHANNEL_MEMBER": {"PortChannel1|)" +
               port + "\": {}}";
    };
    EXPECT_THAT(from(channel("Ethernet0"), channel("Ethernet4")),
                ElementsAre("Ethernet0: leaves PortChannel1, interrupted",
                            "Ethernet4: joins PortChannel1",
                            "PortChannel1: recreated with other members, interrupted",
                            "PortChannel1.5: recreated: MTU 9100, interrupted"));
}

TEST_F(Changes, ARoutedPortChannelGoesWithItsLastMember)
{
    const std::string routed = R"("PORTCHANNEL": {"PortChannel1": {}},
                                  "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}, )";
    EXPECT_THAT(from(routed + R"("PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
                         "VRRP": {"PortChannel1|1": {}})",
                     routed + R"("VRRP": {"PortChannel1|1": {}})"),
                ElementsAre("Ethernet0: leaves PortChannel1, interrupted",
                            "PortChannel1: loses its last member, interrupted"));
}

TEST_F(Changes, AdminStateIsTheHostsAndDownInterrupts)
{
    Desired want = with_ports("");
    want.ports["Ethernet0"].admin_up = true;
    bring_about(want);
    want.ports["Ethernet0"].admin_up = false;
    want.ports["Ethernet4"].admin_up = true;
    EXPECT_THAT(to(want), ElementsAre("Ethernet0: admin up -> down, interrupted",
                                      "Ethernet4: admin down -> up"));
}

TEST_F(Changes, MacsInterruptWhereTheyGo)
{
    const auto macs = [](const std::string &rows, const char *router) {
        return std::string(R"("DEVICE_METADATA": {"localhost": {"mac": ")") + router +
               R"("}}, "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}}, "VRRP": {)" +
               rows + "}";
    };
    EXPECT_EQ("switch: router MAC none -> 00:00:5e:00:53:01",
              from("", macs("", "00:00:5e:00:53:01")).back());
    EXPECT_THAT(from(macs(R"("Vlan10|1": {})", "00:00:5e:00:53:01"),
                     macs(R"("Vlan10|2": {})", "00:00:5e:00:53:02")),
                ElementsAre("Vlan10: virtual MAC 00:00:5e:00:01:01 removed, interrupted",
                            "Vlan10: virtual MAC 00:00:5e:00:01:02 added",
                            "switch: router MAC 00:00:5e:00:53:01 -> 00:00:5e:00:53:02, "
                            "interrupted"));
}

TEST_F(Changes, CountInterfacesOnce)
{
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}})"));
    Desired want = with_ports(R"("INTERFACE": {"Ethernet0|192.0.2.0/31": {}, "Ethernet4": {}},
                                 "DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}})");
    want.ports["Ethernet0"].mtu = 1500;
    const std::vector<Change> all = changes(sw, want, sw.plan(want));
    EXPECT_EQ(4u, all.size());
    EXPECT_EQ(2u, changed_interfaces(all));
    EXPECT_EQ(1u, interrupted_interfaces(all));
}

} // namespace
} // namespace kvnsim
