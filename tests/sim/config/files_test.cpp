/* Whole files: the examples of this repository, and real configurations where there are some. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/sim/config/contradictions.h"
#include "tests/sim/config/read.h"

namespace kvnsim::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

Configuration read_file(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    std::ostringstream text;
    text << file.rdbuf();
    return read_configuration(path.filename().string(), text.str());
}

Configuration example(const std::string &name)
{
    return read_file(std::filesystem::path(KVN_SOURCE_DIR) / "examples" / name);
}

std::vector<std::string> texts(const Configuration &configuration)
{
    std::vector<std::string> all;
    for (const Finding &finding : configuration.findings)
        all.push_back(finding.to_text());
    return all;
}

TEST(Examples, AreReadWithoutAWord)
{
    size_t read = 0;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::filesystem::path(KVN_SOURCE_DIR) / "examples")) {
        if (entry.path().extension() != ".json" || entry.path().filename() == "broken.json")
            continue;
        const Configuration configuration = read_file(entry.path());
        if (entry.path().filename() == "portchannels.json")
            EXPECT_THAT(
                texts(configuration),
                ElementsAre("portchannels.json:35:9: PORTCHANNEL_INTERFACE|PortChannel0004: "
                            "warning: waits: PortChannel0004 has no member (see "
                            "portchannels.json:19:9: PORTCHANNEL|PortChannel0004) "
                            "[KVN-C080]"));
        else
            EXPECT_THAT(texts(configuration), IsEmpty());
        EXPECT_THAT(contradictions(configuration.desired), IsEmpty());
        ++read;
    }
    EXPECT_GE(read, 8u);
}

TEST(Examples, TheLeafHasEveryKindOfInterface)
{
    const Desired leaf = example("leaf.json").desired;
    EXPECT_EQ(leaf.hostname, "leaf-1");
    EXPECT_TRUE(leaf.router_mac);
    EXPECT_THAT(leaf.ports, SizeIs(32));
    EXPECT_THAT(leaf.routed_ports, SizeIs(11)) << "ten uplinks and the parent of Eth56.10";
    EXPECT_TRUE(leaf.routed_ports.at("Ethernet56").implied);
    EXPECT_THAT(leaf.port_channels, SizeIs(3));
    EXPECT_TRUE(leaf.port_channels.at("PortChannel0001").l3);
    EXPECT_FALSE(leaf.port_channels.at("PortChannel0010").l3);
    EXPECT_THAT(leaf.sub_interfaces, SizeIs(5));
    EXPECT_THAT(leaf.svis, SizeIs(3));
    EXPECT_THAT(leaf.virtual_macs, SizeIs(4));
    EXPECT_THAT(leaf.vrfs, SizeIs(3));
}

TEST(Examples, TheBrokenOneHasAllItsErrorsTold)
{
    const Configuration broken = example("broken.json");
    EXPECT_THAT(
        texts(broken),
        ElementsAre(
            "broken.json:3:52: DEVICE_METADATA|localhost: mac is \"00:00:5e:00:53\": expected six "
            "bytes such as 00:11:22:aa:bb:cc, not all of them zero [KVN-C040]",
            "broken.json:7:30: PORT|Ethernet1: mtu is \"99999\": expected a number 68..9216 "
            "[KVN-C040]",
            "broken.json:8:30: PORT|Ethernet2: mtu is a list: expected a number 68..9216 "
            "[KVN-C041]",
            "broken.json:10:9: PORT|Ethernet04: \"Ethernet04\": expected EthernetN or "
            "Ethernet-XXN, N 0..9999 without leading zeros [KVN-C021]",
            "broken.json:11:9: PORT|Ethernet0: warning: the row is there twice: the last one "
            "counts (see broken.json:6:9: PORT|Ethernet0) [KVN-C007]",
            "broken.json:14:35: INTERFACE|Ethernet0: vrf_name is \"Blue\": expected default, or "
            "Vrf and 1 to 12 letters, digits, '-', '_' or '.' [KVN-C040]",
            "broken.json:15:9: INTERFACE|Ethernet0|192.0.2.300/31: \"192.0.2.300/31\": expected an "
            "IPv4 or IPv6 address and its prefix length [KVN-C024]",
            "broken.json:16:9: INTERFACE|Ethernet1|192.0.2.2/31: warning: left out, because "
            "PORT|Ethernet1 is (see broken.json:7:9: PORT|Ethernet1) [KVN-C072]",
            "broken.json:17:9: INTERFACE|Ethernet9: Ethernet9 has no row in PORT [KVN-C070]",
            "broken.json:21:9: PORTCHANNEL|PortChannel01: port-channel number 1 is already used by "
            "PortChannel1 (see broken.json:20:9: PORTCHANNEL|PortChannel1) [KVN-C093]",
            "broken.json:26:9: PORTCHANNEL_MEMBER|PortChannel2|Ethernet3: Ethernet3 is a member of "
            "another port-channel (see broken.json:25:9: "
            "PORTCHANNEL_MEMBER|PortChannel1|Ethernet3) [KVN-C094]",
            "broken.json:27:9: PORTCHANNEL_MEMBER|PortChannel7|Ethernet0: PortChannel7 has no row "
            "in PORTCHANNEL [KVN-C070]",
            "broken.json:30:9: VLAN_SUB_INTERFACE|PortChannel1.100: warning: PortChannel1.100 has "
            "more than 15 characters [KVN-C027]",
            "broken.json:31:9: VLAN_SUB_INTERFACE|Po1.7: VLAN 100 is there twice under "
            "PortChannel1 (see broken.json:30:9: VLAN_SUB_INTERFACE|PortChannel1.100) [KVN-C099]",
            "broken.json:32:9: VLAN_SUB_INTERFACE|PortChannel2.10: warning: waits: PortChannel2 "
            "has no member (see broken.json:22:9: PORTCHANNEL|PortChannel2) [KVN-C080]",
            "broken.json:33:9: VLAN_SUB_INTERFACE|Eth3.1: vlan is missing: expected 1..4094; the "
            "short name Eth3.1 does not give it [KVN-C049]",
            "broken.json:36:30: VLAN|Vlan10: warning: vlanid is 11: expected 10, as the key says "
            "[KVN-C045]",
            "broken.json:39:9: VRRP|Vlan10|1: Vlan10 has no row in VLAN_INTERFACE [KVN-C070]",
            "broken.json:40:9: VRRP|PortChannel1.100|300: \"300\": expected a number 1..255 "
            "[KVN-C021]"));
    EXPECT_THAT(contradictions(broken.desired), IsEmpty());
}

/* Configurations of real switches, from the folder KVN_SAMPLES. */
class RealConfigurations : public testing::Test {
protected:
    void SetUp() override
    {
        if (!std::getenv("KVN_SAMPLES"))
            GTEST_SKIP() << "KVN_SAMPLES names no folder with configurations";
        folder_ = std::getenv("KVN_SAMPLES");
    }

    Configuration sample(const std::string &name) const
    {
        Configuration configuration = read_file(folder_ / name);
        EXPECT_FALSE(configuration.has_errors()) << testing::PrintToString(texts(configuration));
        EXPECT_THAT(contradictions(configuration.desired), IsEmpty());
        return configuration;
    }

    std::filesystem::path folder_;
};

TEST_F(RealConfigurations, AreAllReadWithoutAnError)
{
    size_t read = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder_)) {
        if (entry.path().extension() == ".json") {
            sample(entry.path().filename().string());
            ++read;
        }
    }
    EXPECT_GT(read, 0u);
}

TEST_F(RealConfigurations, RoutedPorts)
{
    const Configuration configuration = sample("routed_ports_32.json");
    EXPECT_THAT(configuration.findings, IsEmpty());
    EXPECT_THAT(configuration.desired.routed_ports, SizeIs(32));
    EXPECT_THAT(configuration.ignored, Contains(Key("LOOPBACK_INTERFACE")));
}

TEST_F(RealConfigurations, PortChannelsAndAVlan)
{
    const Configuration configuration = sample("tor_portchannels_vlan.json");
    EXPECT_THAT(configuration.findings, IsEmpty());
    const Desired &wanted = configuration.desired;
    EXPECT_THAT(wanted.ports, SizeIs(32));
    EXPECT_THAT(wanted.port_channels, SizeIs(4));
    const DesiredPortChannel &channel = wanted.port_channels.at("PortChannel101");
    ASSERT_TRUE(channel.l3);
    EXPECT_TRUE(channel.l3->ipv4 && channel.l3->ipv6);
    EXPECT_THAT(channel.members, ElementsAre(Key("Ethernet112")));
    EXPECT_THAT(wanted.svis, ElementsAre(Key("Vlan1000")));
    EXPECT_THAT(wanted.vlans.at("Vlan1000").members, SizeIs(4));
    EXPECT_EQ(to_text(wanted.router_mac.value()), "98:03:9b:f6:02:80");
}

TEST_F(RealConfigurations, VrfsAndBreakout)
{
    const Configuration configuration = sample("leaf_vrf_breakout_portchannels.json");
    const Desired &wanted = configuration.desired;
    EXPECT_THAT(wanted.ports, SizeIs(35));
    EXPECT_THAT(wanted.routed_ports, SizeIs(6));
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").l3.vrf, "VrfMpls");
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet120").l3.ipv6);
    EXPECT_THAT(wanted.port_channels.at("PortChannel01").members, ElementsAre(Key("Ethernet4")));
    EXPECT_THAT(wanted.svis, SizeIs(2));
    EXPECT_THAT(
        texts(configuration),
        ElementsAre(
            "leaf_vrf_breakout_portchannels.json:165:5: INTERFACE|Ethernet0|10.4.3.2: note: "
            "10.4.3.2 has no prefix length: taken as a host address",
            "leaf_vrf_breakout_portchannels.json:176:5: INTERFACE|Ethernet4: warning: Ethernet4 is "
            "routed and a member of a port-channel (see "
            "leaf_vrf_breakout_portchannels.json:582:5: "
            "PORTCHANNEL_MEMBER|PortChannel01|Ethernet4)",
            "leaf_vrf_breakout_portchannels.json:583:5: "
            "PORTCHANNEL_MEMBER|PortChannel01|Ethernet5: "
            "warning: left out: Ethernet5 has no row in PORT",
            "leaf_vrf_breakout_portchannels.json:601:5: VLAN_INTERFACE|Vlan4000|10.9.7.0: note: "
            "10.9.7.0 has no prefix length: taken as a host address"));
}

TEST_F(RealConfigurations, AnycastGatewayWithoutATableOfPorts)
{
    const Configuration configuration = sample("anycast_gateway_subinterface.json");
    const Desired &wanted = configuration.desired;
    EXPECT_THAT(wanted.ports, ElementsAre(Key("Ethernet0")));
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet0").implied);
    EXPECT_EQ(wanted.sub_interfaces.at("Ethernet0.1000").vlan, 1000u);
    EXPECT_EQ(wanted.sub_interfaces.at("Ethernet0.1000").l3.vrf, "Vrf45");
    EXPECT_THAT(wanted.virtual_macs, SizeIs(1));
    EXPECT_THAT(
        texts(configuration),
        ElementsAre("anycast_gateway_subinterface.json:1:1: note: there is no table PORT: 1 "
                    "front-panel port taken from the rows that name them",
                    "anycast_gateway_subinterface.json:49:22: SAG|GLOBAL: warning: gateway_mac "
                    "bb:bb:bb:bb:bb:bb is a multicast address"));
}

} // namespace
} // namespace kvnsim::test
