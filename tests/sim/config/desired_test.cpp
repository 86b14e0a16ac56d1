#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sim/config/contradictions.h"
#include "tests/sim/config/read.h"

namespace kvnsim::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/* What is wanted by tables that nothing is to be said about. */
Desired desired(const std::string &tables)
{
    Configuration configuration = read_tables(tables);
    EXPECT_THAT(findings(configuration), IsEmpty());
    EXPECT_THAT(contradictions(configuration.desired), IsEmpty());
    return std::move(configuration.desired);
}

template <class Map> std::vector<std::string> names(const Map &map)
{
    std::vector<std::string> all;
    for (const auto &[name, object] : map)
        all.push_back(name);
    return all;
}

std::vector<std::string> virtual_macs(const Desired &wanted)
{
    std::vector<std::string> all;
    for (const auto &[virtual_mac, location] : wanted.virtual_macs)
        all.push_back(virtual_mac.interface + " " + to_text(virtual_mac.mac));
    return all;
}

TEST(Desired, HasTheSwitchsNameAndRouterMac)
{
    const Desired wanted = desired(
        R"("DEVICE_METADATA": {"localhost": {"hostname": "leaf-1", "mac": "98:03:9B:F6:02:80"}})");
    EXPECT_EQ(wanted.hostname, "leaf-1");
    ASSERT_TRUE(wanted.router_mac);
    EXPECT_EQ(to_text(*wanted.router_mac), "98:03:9b:f6:02:80");
    EXPECT_EQ(wanted.router_mac_location.to_text(), "c.json:1:22: DEVICE_METADATA|localhost");
    EXPECT_FALSE(desired(R"("DEVICE_METADATA": {"localhost": {}})").router_mac);
}

TEST(Desired, HasPortsWithTheirDefaults)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet10": {},
"Ethernet2": {"mtu": "9216", "admin_status": "up", "alias": "Eth1/2"},
"Ethernet3":
{
    "mtu" : "68"
}
})");
    EXPECT_THAT(names(wanted.ports), ElementsAre("Ethernet2", "Ethernet3", "Ethernet10"));
    EXPECT_EQ(wanted.ports.at("Ethernet10").mtu, 9100);
    EXPECT_FALSE(wanted.ports.at("Ethernet10").admin_up);
    EXPECT_EQ(wanted.ports.at("Ethernet2").mtu, 9216);
    EXPECT_TRUE(wanted.ports.at("Ethernet2").admin_up);
    EXPECT_EQ(wanted.ports.at("Ethernet2").alias, "Eth1/2");
    EXPECT_EQ(wanted.ports.at("Ethernet2").location.to_text(), "c.json:2:1: PORT|Ethernet2");
    EXPECT_EQ(wanted.ports.at("Ethernet3").mtu, 68);
}

TEST(Desired, RoutesAPortByItsRowAlone)
{
    const Desired wanted =
        desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}}, "INTERFACE": {"Ethernet4": {}})");
    ASSERT_THAT(names(wanted.routed_ports), ElementsAre("Ethernet4"));
    const DesiredRoutedPort &port = wanted.routed_ports.at("Ethernet4");
    EXPECT_FALSE(port.l3.ipv4);
    EXPECT_FALSE(port.l3.ipv6);
    EXPECT_EQ(port.l3.vrf, "");
    EXPECT_EQ(port.l3.nat_zone, 0u);
    EXPECT_FALSE(port.implied);
}

TEST(Desired, SwitchesAnIpVersionOnByAnAddressOfIt)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet1": {}, "Ethernet2": {}},
"INTERFACE": {"Ethernet0|192.0.2.0/31": {}, "Ethernet0": {},
 "Ethernet1": {}, "Ethernet1|2001:db8::/127": {},
 "Ethernet2": {"ipv6_use_link_local_only": "enable"}, "Ethernet2|198.51.100.1/24": {},
 "Ethernet2|192.0.2.10/31": {}, "Ethernet2|192.0.2.2/31": {}})");
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet0").l3.ipv4);
    EXPECT_FALSE(wanted.routed_ports.at("Ethernet0").l3.ipv6);
    EXPECT_FALSE(wanted.routed_ports.at("Ethernet1").l3.ipv4);
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet1").l3.ipv6);
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet2").l3.ipv4);
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet2").l3.ipv6);
    EXPECT_THAT(wanted.routed_ports.at("Ethernet2").l3.addresses,
                ElementsAre("192.0.2.2/31", "192.0.2.10/31", "198.51.100.1/24"));
}

TEST(Desired, LeavesIpv6OffWhereLinkLocalOnlyIsDisabled)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"ipv6_use_link_local_only": "disable"}})");
    EXPECT_FALSE(wanted.routed_ports.at("Ethernet0").l3.ipv6);
}

TEST(Desired, PutsInterfacesIntoVrfsAndNatZones)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet1": {}},
"VRF": {"VrfB": {"vni": "104010"}, "default": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfB", "nat_zone": "3"},
 "Ethernet1": {"vrf_name": "default"}})");
    EXPECT_THAT(names(wanted.vrfs), ElementsAre("VrfB"));
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").l3.vrf, "VrfB");
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").l3.nat_zone, 3u);
    EXPECT_EQ(wanted.routed_ports.at("Ethernet1").l3.vrf, "");
}

TEST(Desired, HasAVrfThatOnlyAnInterfaceNames)
{
    const Configuration configuration = read_tables(R"("PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfA"}})");
    EXPECT_THAT(names(configuration.desired.vrfs), ElementsAre("VrfA"));
    EXPECT_EQ(configuration.desired.routed_ports.at("Ethernet0").l3.vrf, "VrfA");
    EXPECT_FALSE(configuration.has_errors());
}

TEST(Desired, RoutesAPortWhoseOwnRowIsMissing)
{
    const Configuration configuration =
        read_tables(R"("PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0|192.0.2.1/31": {}})");
    EXPECT_TRUE(configuration.desired.routed_ports.at("Ethernet0").l3.ipv4);
    EXPECT_FALSE(configuration.has_errors());
}

TEST(Desired, TakesFrontPanelPortsFromTheRowsThatNameThem)
{
    const Configuration configuration = read_tables(R"("INTERFACE": {"Ethernet8|192.0.2.1/31": {}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet4": {}},
"VLAN_SUB_INTERFACE": {"Eth12.1": {"vlan": "10"}, "Ethernet16.5": {}, "Po1.9": {"vlan": "9"}},
"BREAKOUT_CFG": {"Ethernet100": {}})");
    EXPECT_FALSE(configuration.has_errors());
    EXPECT_THAT(names(configuration.desired.ports),
                ElementsAre("Ethernet0", "Ethernet4", "Ethernet8", "Ethernet12", "Ethernet16"));
    const DesiredPort &port = configuration.desired.ports.at("Ethernet12");
    EXPECT_EQ(port.mtu, 9100);
    EXPECT_TRUE(port.admin_up);
    EXPECT_EQ(port.location.row(), "VLAN_SUB_INTERFACE|Eth12.1");
}

TEST(Desired, TakesNoPortsFromRowsWhereThereIsATableOfPorts)
{
    const Configuration configuration =
        read_tables(R"("PORT": {}, "INTERFACE": {"Ethernet8": {}})");
    EXPECT_TRUE(configuration.has_errors());
    EXPECT_TRUE(configuration.desired.ports.empty());
}

TEST(Desired, HasPortChannelsWithMembersRoutedOrNot)
{
    const Desired wanted =
        desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}}, "VRF": {"VrfA": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel0012": {"vrf_name": "VrfA"}, "PortChannel0012|192.0.2.1/31": {}},
"PORTCHANNEL_MEMBER": {"PortChannel0012|Ethernet4": {}, "PortChannel0012|Ethernet0": {},
 "PortChannel3|Ethernet8": {}},
"PORTCHANNEL": {"PortChannel3": {"admin_status": "down"}, "PortChannel0012": {"mtu": "1500"},
 "PortChannel9999": {}})");
    EXPECT_THAT(names(wanted.port_channels),
                ElementsAre("PortChannel3", "PortChannel0012", "PortChannel9999"));
    const DesiredPortChannel &routed = wanted.port_channels.at("PortChannel0012");
    EXPECT_EQ(routed.number, 12u);
    EXPECT_EQ(routed.mtu, 1500);
    EXPECT_TRUE(routed.admin_up);
    EXPECT_THAT(names(routed.members), ElementsAre("Ethernet0", "Ethernet4"));
    ASSERT_TRUE(routed.l3);
    EXPECT_TRUE(routed.l3->ipv4);
    EXPECT_EQ(routed.l3->vrf, "VrfA");
    EXPECT_FALSE(routed.l3_implied);
    EXPECT_EQ(routed.l3_location.row(), "PORTCHANNEL_INTERFACE|PortChannel0012");
    const DesiredPortChannel &switched = wanted.port_channels.at("PortChannel3");
    EXPECT_FALSE(switched.l3);
    EXPECT_FALSE(switched.admin_up);
    EXPECT_EQ(switched.mtu, 9100);
}

TEST(Desired, KeepsAMemberThatIsRoutedToo)
{
    const Configuration configuration =
        read_tables(R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}})");
    EXPECT_FALSE(configuration.has_errors());
    EXPECT_EQ(configuration.desired.routed_ports.size(), 1u);
    EXPECT_EQ(configuration.desired.port_channels.at("PortChannel1").members.size(), 1u);
}

TEST(Desired, HasSubInterfacesWithLongAndShortNames)
{
    const Desired wanted =
        desired(R"("PORT": {"Ethernet0": {"mtu": "9000"}, "Ethernet64": {}, "Ethernet68": {}},
"PORTCHANNEL": {"PortChannel0001": {"mtu": "1600"}, "PortChannel2": {"mtu": "1700"}},
"PORTCHANNEL_MEMBER": {"PortChannel0001|Ethernet64": {}, "PortChannel2|Ethernet68": {}},
"VRF": {"VrfA": {}},
"VLAN_SUB_INTERFACE": {
 "Ethernet0.100|192.0.2.1/31": {}, "Ethernet0.100": {"vrf_name": "VrfA", "admin_status": "up"},
 "Ethernet0.200": {"vlan": "201", "mtu": "1500"},
 "Ethernet0.70000": {"vlan": "4094", "mtu": "9000"},
 "Eth0.10": {"vlan": "1"},
 "Po0001.10": {"vlan": "10", "mtu": "68"}, "PortChannel2.20": {}})");
    const auto sub = [&](const char *name) { return wanted.sub_interfaces.at(name); };
    EXPECT_EQ(wanted.sub_interfaces.size(), 6u);
    EXPECT_EQ(sub("Ethernet0.100").parent, "Ethernet0");
    EXPECT_EQ(sub("Ethernet0.100").vlan, 100u);
    EXPECT_EQ(sub("Ethernet0.100").mtu, 9000) << "the parent's";
    EXPECT_TRUE(sub("Ethernet0.100").l3.ipv4);
    EXPECT_EQ(sub("Ethernet0.100").l3.vrf, "VrfA");
    EXPECT_EQ(sub("Ethernet0.200").vlan, 201u);
    EXPECT_EQ(sub("Ethernet0.200").mtu, 1500);
    EXPECT_EQ(sub("Ethernet0.70000").vlan, 4094u);
    EXPECT_EQ(sub("Eth0.10").parent, "Ethernet0");
    EXPECT_EQ(sub("Eth0.10").vlan, 1u);
    EXPECT_EQ(sub("Po0001.10").parent, "PortChannel0001");
    EXPECT_EQ(sub("Po0001.10").mtu, 68);
    EXPECT_EQ(sub("PortChannel2.20").mtu, 1700) << "the parent's";
}

TEST(Desired, CapsASubInterfacesMtuToTheParents)
{
    const Configuration configuration = read_tables(R"("PORT": {"Ethernet0": {"mtu": "1500"}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {"mtu": "9000"}})");
    EXPECT_EQ(configuration.desired.sub_interfaces.at("Ethernet0.10").mtu, 1500);
}

TEST(Desired, RoutesTheParentOfASubInterfaceThatNoRowRoutes)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "PortChannel1.10": {}})");
    const DesiredRoutedPort &port = wanted.routed_ports.at("Ethernet0");
    EXPECT_TRUE(port.implied);
    EXPECT_FALSE(port.l3.ipv4 || port.l3.ipv6);
    EXPECT_EQ(port.location.row(), "VLAN_SUB_INTERFACE|Ethernet0.10");
    const DesiredPortChannel &channel = wanted.port_channels.at("PortChannel1");
    ASSERT_TRUE(channel.l3);
    EXPECT_TRUE(channel.l3_implied);
    EXPECT_EQ(channel.l3_location.row(), "VLAN_SUB_INTERFACE|PortChannel1.10");
}

TEST(Desired, DoesNotRouteTheParentOfASubInterfaceThatIsLeftOut)
{
    const Configuration configuration = read_tables(R"("PORT": {"Ethernet0": {}},
"VLAN_SUB_INTERFACE": {"Eth0.10": {}, "Ethernet0.5000": {}})");
    EXPECT_TRUE(configuration.desired.routed_ports.empty());
}

TEST(Desired, HasTheSameVlanUnderTwoParents)
{
    EXPECT_EQ(desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "Ethernet4.10": {}})")
                  .sub_interfaces.size(),
              2u);
}

TEST(Desired, HasVlansWithMembersAndTheirInterfaces)
{
    const Desired wanted =
        desired(R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"VLAN": {"Vlan2": {"vlanid": "2", "mtu": "1500"}, "Vlan4094": {}},
"VLAN_MEMBER": {"Vlan2|PortChannel1": {"tagging_mode": "tagged"}, "Vlan2|Ethernet0": {}},
"VLAN_INTERFACE": {"Vlan2": {"vrf_name": "default"}, "Vlan2|192.0.2.1/24": {}, "Vlan4094": {}})");
    EXPECT_THAT(names(wanted.vlans.at("Vlan2").members), ElementsAre("Ethernet0", "PortChannel1"));
    EXPECT_EQ(wanted.svis.at("Vlan2").vlan, 2u);
    EXPECT_EQ(wanted.svis.at("Vlan2").mtu, 1500);
    EXPECT_TRUE(wanted.svis.at("Vlan2").l3.ipv4);
    EXPECT_EQ(wanted.svis.at("Vlan4094").vlan, 4094u);
    EXPECT_EQ(wanted.svis.at("Vlan4094").mtu, 9100);
}

TEST(Desired, GivesTheAnycastGatewaysMacToTheSvisThatAskForIt)
{
    const Desired wanted = desired(R"("VLAN": {"Vlan10": {}, "Vlan20": {}, "Vlan30": {}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"},
 "Vlan20": {"static_anycast_gateway": "false"}, "Vlan30": {}},
"SAG": {"GLOBAL": {"gateway_mac": "00:00:5E:00:53:FE"}})");
    EXPECT_THAT(virtual_macs(wanted), ElementsAre("Vlan10 00:00:5e:00:53:fe"));
}

TEST(Desired, GivesVirtualRoutersTheirMacs)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
"INTERFACE": {"Ethernet0": {}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
"VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
"VLAN_SUB_INTERFACE": {"Eth8.1": {"vlan": "7"}},
"VRRP": {"Vlan10|255": {"vid": "255", "pre_empt": "True"}, "Ethernet0|1": {"vrid": "1", "preempt": "enabled"},
 "PortChannel1|16": {}, "Eth8.1|2": {}},
"VRRP6": {"Vlan10|255": {}})");
    EXPECT_THAT(virtual_macs(wanted),
                ElementsAre("Eth8.1 00:00:5e:00:01:02", "Ethernet0 00:00:5e:00:01:01",
                            "PortChannel1 00:00:5e:00:01:10", "Vlan10 00:00:5e:00:01:ff",
                            "Vlan10 00:00:5e:00:02:ff"));
    EXPECT_EQ(wanted.virtual_macs.at({"Ethernet0", {0, 0, 0x5e, 0, 1, 1}}).row(),
              "VRRP|Ethernet0|1");
}

TEST(Desired, HasOneMacOnTwoInterfaces)
{
    EXPECT_EQ(desired(R"("VLAN": {"Vlan10": {}, "Vlan20": {}},
"VLAN_INTERFACE": {"Vlan10": {}, "Vlan20": {}}, "VRRP": {"Vlan10|1": {}, "Vlan20|1": {}})")
                  .virtual_macs.size(),
              2u);
}

TEST(Desired, CountsTheRowsOfTablesThatAreNotApplied)
{
    const Configuration configuration = read_tables(
        R"("ACL_RULE": {"a": {}, "b|c": []}, "NTP": {}, "PORT": {}, "NEIGH|Ethernet0": {}, "NEIGH|Ethernet4": {})");
    EXPECT_THAT(findings(configuration), IsEmpty());
    EXPECT_THAT(configuration.ignored,
                ElementsAre(Pair("ACL_RULE", 2u), Pair("NEIGH", 2u), Pair("NTP", 0u)));
}

TEST(Desired, HasASubInterfaceThatWaitsForAMember)
{
    const auto sub_interface = [](const char *more) {
        const Configuration configuration =
            read_tables(R"("PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"VLAN_SUB_INTERFACE": {"PortChannel1.10": {}, "PortChannel1.10|192.0.2.1/31": {}})" +
                        std::string(more));
        EXPECT_FALSE(configuration.has_errors());
        EXPECT_THAT(contradictions(configuration.desired), IsEmpty());
        return configuration.desired.sub_interfaces.at("PortChannel1.10");
    };
    EXPECT_TRUE(sub_interface("").waits);
    EXPECT_TRUE(sub_interface("").l3.ipv4);
    const char *const member = R"(, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})";
    EXPECT_FALSE(sub_interface(member).waits);
    EXPECT_TRUE(
        sub_interface((member + std::string(R"(, "INTERFACE": {"Ethernet0": {}})")).c_str()).waits)
        << "a routed member does not join";
}

TEST(Desired, HasPortsBetweenTheCardsOfAChassisAndVlanOne)
{
    const Desired wanted =
        desired(R"("PORT": {"Ethernet-BP0": {}}, "INTERFACE": {"Ethernet-BP0": {}},
"VLAN": {"Vlan1": {"vlanid": "1"}}, "VLAN_INTERFACE": {"Vlan1": {}})");
    EXPECT_THAT(names(wanted.routed_ports), ElementsAre("Ethernet-BP0"));
    EXPECT_EQ(wanted.svis.at("Vlan1").vlan, 1u);
}

TEST(Desired, TakesValuesAsSwitchesDo)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {"mtu": 1500, "admin_status": "UP"},
 " Ethernet4 ": {"mtu ": " 9000 "}},
"INTERFACE": {"Ethernet0": {"ipv6_use_link_local_only": true, "nat_zone": 2}, "Ethernet4 | 192.0.2.1/31 ": {}, "Ethernet4": {}},
"VLAN": {"Vlan10": {"vlanid": 10}},
"SAG": {"GLOBAL": {"gateway_mac": "00:00:5E:00:53:01"}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "True"}})");
    EXPECT_EQ(wanted.ports.at("Ethernet0").mtu, 1500);
    EXPECT_TRUE(wanted.ports.at("Ethernet0").admin_up);
    EXPECT_EQ(wanted.ports.at("Ethernet4").mtu, 9000);
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet0").l3.ipv6);
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").l3.nat_zone, 2u);
    EXPECT_THAT(wanted.routed_ports.at("Ethernet4").l3.addresses, ElementsAre("192.0.2.1/31"));
    EXPECT_THAT(virtual_macs(wanted), ElementsAre("Vlan10 00:00:5e:00:53:01"));
}

TEST(Desired, TakesNullForMissing)
{
    EXPECT_EQ(
        read_tables(R"("PORT": {"Ethernet0": {"mtu": null}})").desired.ports.at("Ethernet0").mtu,
        9100);
}

TEST(Desired, HasMembersThatRowsList)
{
    const Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
"PORTCHANNEL": {"PortChannel1": {"members": ["Ethernet0", " Ethernet4"]}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
"VLAN": {"Vlan10": {"members": "PortChannel1,Ethernet8"}})");
    EXPECT_THAT(names(wanted.port_channels.at("PortChannel1").members),
                ElementsAre("Ethernet0", "Ethernet4"));
    EXPECT_EQ(wanted.port_channels.at("PortChannel1").members.at("Ethernet4").to_text(),
              "c.json:2:59: PORTCHANNEL_MEMBER|PortChannel1|Ethernet4");
    EXPECT_THAT(names(wanted.vlans.at("Vlan10").members), ElementsAre("Ethernet8", "PortChannel1"));
}

TEST(Desired, HasTheVirtualRoutersOfBothSpellings)
{
    const Desired wanted = desired(R"("VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
"VRRP": {"Vlan10|1": {}},
"VRRP_INTERFACE": {"Vrrp7-v4": {"parent_interface": "Vlan10"}, "Vrrp7-v4|192.0.2.1/32": {},
 "Vrrp255-v6": {"parent_interface": "Vlan10"}})");
    EXPECT_THAT(virtual_macs(wanted),
                ElementsAre("Vlan10 00:00:5e:00:01:01", "Vlan10 00:00:5e:00:01:07",
                            "Vlan10 00:00:5e:00:02:ff"));
}

TEST(Desired, IsTheSameInTheFlatForm)
{
    const Desired wanted = desired(R"("PORT|Ethernet0": {"mtu": "1500", "lanes@": "1,2"},
"INTERFACE|Ethernet0|192.0.2.1/31": {"family": "IPv4", "scope": "global"},
"INTERFACE|Ethernet0": {"NULL": "NULL"}, "PORTCHANNEL|PortChannel1": {"members@": "Ethernet4"},
"PORT": {"Ethernet4": {"lanes": ["3", "4"]}})");
    EXPECT_EQ(wanted.ports.at("Ethernet0").mtu, 1500);
    EXPECT_EQ(wanted.ports.at("Ethernet0").location.to_text(), "c.json:1:2: PORT|Ethernet0");
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet0").l3.ipv4);
    EXPECT_THAT(names(wanted.port_channels.at("PortChannel1").members), ElementsAre("Ethernet4"));
}

/* "Ethernet0=1 Ethernet4=5" */
std::string front_panel(const std::string &ports)
{
    const Configuration configuration = read_tables("\"PORT\": {" + ports + "}");
    EXPECT_FALSE(configuration.has_errors());
    std::string text;
    for (const auto &[name, port] : configuration.desired.ports)
        text += (text.empty() ? "" : " ") + name + "=" + std::to_string(port.front_port);
    return text;
}

TEST(FrontPanel, CountsFromTheNumberInTheName)
{
    EXPECT_EQ(front_panel(R"("Ethernet4": {}, "Ethernet0": {})"), "Ethernet0=1 Ethernet4=5");
}

TEST(FrontPanel, TakesTheIndexOfAPort)
{
    EXPECT_EQ(front_panel(R"("Ethernet0": {"index": "7"}, "Ethernet4": {"index": 255})"),
              "Ethernet0=7 Ethernet4=255");
    EXPECT_EQ(front_panel(R"("Ethernet0": {"index": "5"}, "Ethernet4": {})"),
              "Ethernet0=5 Ethernet4=1")
        << "the index comes before the name";
}

TEST(FrontPanel, TakesNoIndexThatTwoPortsHaveOrThatIsOutOfRange)
{
    EXPECT_EQ(front_panel(R"("Ethernet8": {"index": "3"}, "Ethernet9": {"index": "3"})"),
              "Ethernet8=9 Ethernet9=10");
    EXPECT_EQ(front_panel(R"("Ethernet8": {"index": "0"}, "Ethernet9": {"index": "256"})"),
              "Ethernet8=9 Ethernet9=10");
}

TEST(FrontPanel, GivesTheLowestFreeNumberToTheRest)
{
    EXPECT_EQ(
        front_panel(R"("Ethernet9999": {}, "Ethernet0": {}, "Ethernet255": {}, "Ethernet2": {})"),
        "Ethernet0=1 Ethernet2=3 Ethernet255=2 Ethernet9999=4");
    EXPECT_EQ(front_panel(R"("Ethernet-BP0": {}, "Ethernet0": {}, "Ethernet-BP9": {})"),
              "Ethernet-BP0=2 Ethernet-BP9=10 Ethernet0=1")
        << "ports within the chassis come after those outside";
}

TEST(Desired, LeavesOutOnlyWhatIsWrong)
{
    const Configuration configuration =
        read_tables(R"("PORT": {"Ethernet0": {"mtu": "1"}, "Ethernet4": {}},
"INTERFACE": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet4|192.0.2.1/99": {}, "Ethernet4|192.0.2.3/31": {}})");
    EXPECT_TRUE(configuration.has_errors());
    EXPECT_THAT(names(configuration.desired.ports), ElementsAre("Ethernet4"));
    EXPECT_THAT(names(configuration.desired.routed_ports), ElementsAre("Ethernet4"));
    EXPECT_THAT(configuration.desired.routed_ports.at("Ethernet4").l3.addresses,
                ElementsAre("192.0.2.3/31"));
}

/* The contradictions of a sound configuration after a change to it. */
template <class Change> std::vector<std::string> contradictions_after(Change &&change)
{
    Desired wanted = desired(R"("PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
"VRF": {"VrfA": {}}, "INTERFACE": {"Ethernet0": {"vrf_name": "VrfA"}, "Ethernet0|192.0.2.1/31": {}},
"PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}, "PortChannel2|Ethernet8": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "PortChannel1.10": {}},
"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|PortChannel2": {}},
"VLAN_INTERFACE": {"Vlan10": {}}, "VRRP": {"Vlan10|1": {}})");
    change(wanted);
    return contradictions(wanted);
}

TEST(Contradictions, AreFoundInWhatRefersToSomethingMissing)
{
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.ports.erase("Ethernet0"); }),
                ElementsAre("Ethernet0: routed without such a port"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.vrfs.clear(); }),
                ElementsAre("Ethernet0: no such VRF"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.ports.erase("Ethernet8"); }),
                ElementsAre("PortChannel2: a member is missing"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.routed_ports.clear(); }),
                ElementsAre("Ethernet0.10: the parent has no LID"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) {
                    wanted.port_channels.at("PortChannel1").members.clear();
                }),
                ElementsAre("PortChannel1.10: waits although the parent has a LID, or does not "
                            "wait for one"));
    EXPECT_THAT(
        contradictions_after([](Desired &wanted) { wanted.port_channels.erase("PortChannel2"); }),
        ElementsAre("Vlan10: a member of the VLAN is missing"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.vlans.clear(); }),
                ElementsAre("Vlan10: no such VLAN"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.svis.clear(); }),
                ElementsAre("Vlan10: virtual MAC without an interface"));
}

TEST(Contradictions, AreFoundInValuesThatCannotBe)
{
    EXPECT_THAT(contradictions_after([](Desired &) {}), IsEmpty());
    EXPECT_THAT(
        contradictions_after([](Desired &wanted) { wanted.ports.at("Ethernet4").mtu = 67; }),
        ElementsAre("Ethernet4: MTU out of range"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) {
                    wanted.port_channels.at("PortChannel2").members["Ethernet4"];
                }),
                ElementsAre("Ethernet4: a member of two port-channels"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) {
                    wanted.sub_interfaces["Eth0.1"] = wanted.sub_interfaces["Ethernet0.10"];
                }),
                ElementsAre("Ethernet0.10: VLAN twice under its parent"));
    EXPECT_THAT(contradictions_after(
                    [](Desired &wanted) { wanted.sub_interfaces["Ethernet0.10"].mtu = 9200; }),
                ElementsAre("Ethernet0.10: MTU above the parent's"));
    EXPECT_THAT(contradictions_after(
                    [](Desired &wanted) { wanted.routed_ports.at("Ethernet0").l3.ipv4 = false; }),
                ElementsAre("Ethernet0: IP on or off against its addresses"));
    EXPECT_THAT(contradictions_after([](Desired &wanted) { wanted.router_mac = Mac{}; }),
                ElementsAre("router MAC of zeros"));
}

} // namespace
} // namespace kvnsim::test
