/* Whole files: the examples of this repository, and real configurations where there are some. */
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <set>

#include "tests/sim/config/contradictions.h"
#include "tests/sim/config/read.h"
#include "tests/sim/files.h"

namespace kvnsim::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;

Configuration read_file(const std::filesystem::path &path)
{
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
    return read_configuration(path.filename().string(), content_of(path));
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
            "bytes such as 00:11:22:aa:bb:cc, neither zero nor multicast [KVN-C040]",
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

/* ---- Configurations of real switches ---- */

/* How a file is read: what is wanted by kind, and how many findings of each code there are. */
struct Sample {
    const char *file;
    const char *wanted;   /* in words: see summary(); nullptr: the file is not understood */
    const char *findings; /* "error KVN-C040 1, note KVN-C014 1" */
};

const Sample samples[] = {
    {"all_tables_model_sample.json",
     "41 ports, 5 routed, 0 implied; 4 port-channels, 3 routed, 5 members; 2 sub-interfaces; 4 "
     "VLANs, 2 routed; 1 VRFs; 1 virtual MACs",
     "error KVN-C077 1, warning KVN-C096 2, warning KVN-C008 1, note KVN-C061 3, note KVN-C060 3, "
     "note KVN-C025 1"},
    {"anycast_gateway_subinterface.json",
     "1 ports, 0 routed, 1 implied; 0 port-channels, 0 routed, 0 members; 1 sub-interfaces; 1 "
     "VLANs, 1 routed; 1 VRFs; 1 virtual MACs",
     "warning KVN-C051 1, note KVN-C061 1, note KVN-C014 1"},
    {"chassis_linecard_1794_lines.json",
     "32 ports, 1 routed, 0 implied; 1 port-channels, 1 routed, 2 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 3"},
    {"chassis_supervisor_2130_lines.json",
     "32 ports, 0 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 1"},
    {"doc_l3_empty_tables_number_null.json",
     "32 ports, 32 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 1, note KVN-C025 32"},
    {"doc_t0_port_channels.json",
     "32 ports, 0 routed, 0 implied; 4 port-channels, 4 routed, 4 members; 0 sub-interfaces; 1 "
     "VLANs, 1 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 2, note KVN-C025 5"},
    {"flat_keys_mock_form.json",
     "32 ports, 2 routed, 1 implied; 5 port-channels, 4 routed, 5 members; 3 sub-interfaces; 4 "
     "VLANs, 3 routed; 1 VRFs; 1 virtual MACs",
     "error KVN-C040 1, warning KVN-C102 1, warning KVN-C091 1"},
    {"invalid_doc_subport_missing_comma.json", nullptr, "error KVN-C001 1"},
    {"invalid_doc_trailing_comma.json", nullptr, "error KVN-C001 1"},
    {"leaf_vrf_breakout_portchannels.json",
     "35 ports, 6 routed, 0 implied; 2 port-channels, 0 routed, 1 members; 0 sub-interfaces; 2 "
     "VLANs, 2 routed; 4 VRFs; 0 virtual MACs",
     "warning KVN-C103 1, warning KVN-C071 1, note KVN-C061 2, note KVN-C026 2"},
    {"mgmt_leaf_vrrp_interface_variant.json",
     "54 ports, 2 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 2 "
     "VLANs, 2 routed; 0 VRFs; 1 virtual MACs",
     ""},
    {"mgmt_spine_54_ports_vrf.json",
     "54 ports, 4 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 2 "
     "VLANs, 2 routed; 1 VRFs; 0 virtual MACs",
     ""},
    {"pe_vrf_keys_with_trailing_blank.json",
     "32 ports, 3 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 2 VRFs; 0 virtual MACs",
     "warning KVN-C046 1, note KVN-C061 2"},
    {"port_names_invalid.json",
     "0 ports, 0 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "error KVN-C021 36"},
    {"ports_127_only.json",
     "127 ports, 0 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "warning KVN-C091 125"},
    {"ports_66_qos_3705_lines.json",
     "66 ports, 0 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     ""},
    {"routed_ports_32.json",
     "32 ports, 32 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 1"},
    {"subinterfaces_short_names_vrf_sag.json",
     "32 ports, 2 routed, 1 implied; 5 port-channels, 4 routed, 5 members; 3 sub-interfaces; 4 "
     "VLANs, 3 routed; 1 VRFs; 1 virtual MACs",
     "error KVN-C040 1, warning KVN-C102 1, warning KVN-C091 1"},
    {"subinterfaces_vnet_duplicate_rows.json",
     "3 ports, 1 routed, 2 implied; 0 port-channels, 0 routed, 0 members; 3 sub-interfaces; 0 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "error KVN-C070 3, warning KVN-C007 4, note KVN-C061 1, note KVN-C060 7, note KVN-C014 1"},
    {"tor_large_2678_lines.json",
     "32 ports, 0 routed, 0 implied; 4 port-channels, 4 routed, 4 members; 0 sub-interfaces; 1 "
     "VLANs, 1 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 2"},
    {"tor_legacy_no_base_rows_2519_lines.json",
     "32 ports, 0 routed, 0 implied; 4 port-channels, 4 routed, 4 members; 0 sub-interfaces; 1 "
     "VLANs, 1 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 2, note KVN-C025 4"},
    {"tor_portchannels_vlan.json",
     "32 ports, 0 routed, 0 implied; 4 port-channels, 4 routed, 4 members; 0 sub-interfaces; 1 "
     "VLANs, 1 routed; 0 VRFs; 0 virtual MACs",
     "note KVN-C061 2"},
    {"vlans_203_members_604.json",
     "4 ports, 0 routed, 0 implied; 0 port-channels, 0 routed, 0 members; 0 sub-interfaces; 203 "
     "VLANs, 0 routed; 0 VRFs; 0 virtual MACs",
     "warning KVN-C098 1, note KVN-C014 1"},
    {"wrapped_one_level_down.json", nullptr, "error KVN-C005 1"},
};

std::string summary(const Desired &wanted)
{
    size_t implied = 0, routed_channels = 0, members = 0;
    for (const auto &[name, port] : wanted.routed_ports)
        implied += port.implied;
    for (const auto &[name, channel] : wanted.port_channels) {
        routed_channels += channel.l3.has_value();
        members += channel.members.size();
    }
    return fmt::format(
        "{} ports, {} routed, {} implied; {} port-channels, {} routed, {} members; {} "
        "sub-interfaces; {} VLANs, {} routed; {} VRFs; {} virtual MACs",
        wanted.ports.size(), wanted.routed_ports.size() - implied, implied,
        wanted.port_channels.size(), routed_channels, members, wanted.sub_interfaces.size(),
        wanted.vlans.size(), wanted.svis.size(), wanted.vrfs.size(), wanted.virtual_macs.size());
}

std::string codes(const Configuration &configuration)
{
    std::map<std::pair<Finding::Severity, std::string>, size_t, std::greater<>> count;
    for (const Finding &finding : configuration.findings)
        ++count[{finding.severity, finding.code}];
    std::string text;
    for (const auto &[what, times] : count)
        text += fmt::format("{}{} {} {}", text.empty() ? "" : ", ", to_text(what.first),
                            what.second, times);
    return text;
}

/* All files of the folders in KVN_SAMPLES. */
class RealConfigurations : public testing::Test {
protected:
    void SetUp() override
    {
        files_ = sample_files();
        if (files_.empty())
            GTEST_SKIP() << "KVN_SAMPLES names no folder with configurations";
    }

    Configuration sample(const std::string &name) const
    {
        for (const std::filesystem::path &file : files_) {
            if (file.filename() == name)
                return read_file(file);
        }
        return {};
    }

    std::vector<std::filesystem::path> files_;
};

TEST_F(RealConfigurations, AreReadAsTheirRowSays)
{
    for (const std::filesystem::path &file : files_) {
        const Configuration configuration = read_file(file);
        const std::string name = file.filename();
        const auto *const row = std::find_if(std::begin(samples), std::end(samples),
                                             [&](const Sample &one) { return name == one.file; });
        const std::string is = summary(configuration.desired), found = codes(configuration);
        if (row == std::end(samples)) {
            ADD_FAILURE() << "no row for this file: {\"" << name << "\", \"" << is << "\", \""
                          << found << "\"},";
            continue;
        }
        EXPECT_EQ(configuration.is_understood, row->wanted != nullptr) << name;
        if (row->wanted) {
            EXPECT_EQ(is, row->wanted) << name;
        }
        EXPECT_EQ(found, row->findings) << name << testing::PrintToString(texts(configuration));
        EXPECT_THAT(contradictions(configuration.desired), IsEmpty()) << name;
    }
}

/* The interfaces that a file configures, found without the reader. */
using Interfaces = std::set<std::pair<std::string, std::string>>; /* table, name */

std::string without_blanks(std::string text)
{
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c <= ' '; }),
               text.end());
    return text;
}

Interfaces configured_interfaces(const rapidjson::Document &document)
{
    const std::set<std::string> tables = {
        "INTERFACE",          "PORTCHANNEL_INTERFACE", "VLAN_INTERFACE", "VLAN_SUB_INTERFACE",
        "LOOPBACK_INTERFACE", "VOQ_INBAND_INTERFACE",  "MGMT_INTERFACE"};
    Interfaces all;
    for (const auto &entry : document.GetObject()) {
        std::istringstream name(without_blanks(entry.name.GetString()));
        std::string table, interface;
        std::getline(name, table, '|');
        if (tables.count(table) == 0)
            continue;
        if (std::getline(name, interface, '|'))
            all.emplace(table, interface);
        else if (entry.value.IsObject())
            for (const auto &row : entry.value.GetObject()) {
                const std::string key = without_blanks(row.name.GetString());
                all.emplace(table, key.substr(0, key.find('|')));
            }
    }
    return all;
}

bool is_wanted(const Desired &wanted, const std::string &name)
{
    const auto channel = wanted.port_channels.find(name);
    const auto port = wanted.routed_ports.find(name);
    return (channel != wanted.port_channels.end() && channel->second.l3) ||
           (port != wanted.routed_ports.end() && !port->second.implied) ||
           wanted.sub_interfaces.count(name) + wanted.svis.count(name) != 0;
}

bool is_named(const Configuration &configuration, const std::string &table, const std::string &name)
{
    return std::any_of(configuration.findings.begin(), configuration.findings.end(),
                       [&](const Finding &finding) {
                           const std::string &key = finding.location.key();
                           return finding.location.table() == table &&
                                  key.substr(0, key.find('|')) == name && finding.location.line > 0;
                       });
}

TEST_F(RealConfigurations, HaveNoInterfaceThatIsNeitherWantedNorNamed)
{
    size_t interfaces = 0;
    for (const std::filesystem::path &file : files_) {
        const Configuration configuration = read_file(file);
        rapidjson::Document document;
        document.Parse(content_of(file).c_str());
        if (document.HasParseError() || !configuration.is_understood) {
            EXPECT_TRUE(configuration.has_errors()) << file;
            EXPECT_FALSE(configuration.is_understood) << file;
            continue;
        }
        for (const auto &[table, name] : configured_interfaces(document)) {
            EXPECT_TRUE(is_wanted(configuration.desired, name) ||
                        is_named(configuration, table, name))
                << file << " " << table << "|" << name;
            ++interfaces;
        }
    }
    EXPECT_GT(interfaces, 0u);
}

TEST_F(RealConfigurations, PortChannelsAndAVlan)
{
    const Configuration configuration = sample("tor_portchannels_vlan.json");
    if (!configuration.is_understood)
        GTEST_SKIP() << "not among the files";
    const Desired &wanted = configuration.desired;
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
    if (!configuration.is_understood)
        GTEST_SKIP() << "not among the files";
    const Desired &wanted = configuration.desired;
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").l3.vrf, "VrfMpls");
    EXPECT_TRUE(wanted.routed_ports.at("Ethernet120").l3.ipv6);
    EXPECT_THAT(wanted.port_channels.at("PortChannel01").members, ElementsAre(Key("Ethernet4")));
}

TEST_F(RealConfigurations, TheFlatFormAndTheNestedOneOfTheSameFileAreTheSame)
{
    const Configuration flat = sample("flat_keys_mock_form.json"),
                        nested = sample("subinterfaces_short_names_vrf_sag.json");
    if (!flat.is_understood || !nested.is_understood)
        GTEST_SKIP() << "not among the files";
    EXPECT_EQ(summary(flat.desired), summary(nested.desired));
    EXPECT_EQ(codes(flat), codes(nested));
    for (const auto &[name, sub] : nested.desired.sub_interfaces) {
        const DesiredSubInterface &other = flat.desired.sub_interfaces.at(name);
        EXPECT_EQ(other.vlan, sub.vlan) << name;
        EXPECT_EQ(other.mtu, sub.mtu) << name;
        EXPECT_EQ(other.l3.addresses, sub.l3.addresses) << name;
    }
}

} // namespace
} // namespace kvnsim::test
