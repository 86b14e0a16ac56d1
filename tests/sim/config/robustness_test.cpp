/* Whatever is done to a file, reading it ends well: no crash, and nothing desired that refers to
 * something missing. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <fstream>
#include <sstream>

#include "tests/sim/config/contradictions.h"
#include "tests/sim/config/finding_cases.h"
#include "tests/sim/config/read.h"

namespace kvnsim::test {
namespace {

std::string leaf()
{
    std::ifstream file(KVN_SOURCE_DIR "/examples/leaf.json", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/* A message where the property does not hold, with what rapidcheck found. */
template <class Property> void expect_always(const std::string &description, Property &&property)
{
    EXPECT_TRUE(rc::check(description, std::forward<Property>(property)));
}

void require_sound(const std::string &text)
{
    const Configuration configuration = read(text);
    const auto wrong = contradictions(configuration.desired);
    if (!wrong.empty())
        RC_FAIL(wrong[0]);
    for (const Finding &finding : configuration.findings) {
        RC_ASSERT(finding.location.line >= 1u);
        RC_ASSERT(finding.location.column >= 1u);
        RC_ASSERT(finding.to_text().find('\n') == std::string::npos);
    }
}

TEST(Robustness, AFileCutShortIsAnErrorAtItsEnd)
{
    const std::string whole = leaf();
    ASSERT_FALSE(read(whole).has_errors());
    const size_t last_brace = whole.rfind('}');
    expect_always("every beginning of a file", [&] {
        const auto length = *rc::gen::inRange<size_t>(0, last_brace + 1);
        const Configuration configuration = read(whole.substr(0, length));
        RC_ASSERT(configuration.findings.size() == 1u);
        RC_ASSERT(configuration.has_errors());
        RC_ASSERT(configuration.desired.ports.empty());
    });
}

/* The parser must not step over the end for the rest of the character. */
TEST(Robustness, AFileThatEndsWithinACharacterIsAnErrorThere)
{
    for (const char *begun : {"\xc3", "\xe2", "\xe2\x82", "\xf0", "\xf0\x9f", "\xf0\x9f\x98"}) {
        for (size_t before = 0; before < 40; ++before) {
            const std::string text = "\"" + std::string(before, 'a') + begun;
            const Configuration configuration = read(std::string(text.begin(), text.end()));
            ASSERT_EQ(configuration.findings.size(), 1u);
            EXPECT_TRUE(configuration.has_errors());
            EXPECT_FALSE(configuration.is_understood);
            EXPECT_EQ(configuration.findings[0].location.line, 1u);
        }
    }
}

TEST(Robustness, ChangedBytesLeaveWhatIsDesiredSound)
{
    const std::string whole = leaf();
    expect_always("some bytes changed", [&] {
        std::string text = whole;
        const auto changes = *rc::gen::container<std::vector<std::pair<uint32_t, char>>>(
            rc::gen::pair(rc::gen::arbitrary<uint32_t>(),
                          rc::gen::oneOf(rc::gen::arbitrary<char>(),
                                         rc::gen::elementOf(std::string("{}[]\",:|/.09 \n")))));
        for (const auto &[where, byte] : changes)
            text[where % text.size()] = byte;
        require_sound(text);
    });
}

TEST(Robustness, LinesMovedDroppedAndRepeatedLeaveWhatIsDesiredSound)
{
    std::vector<std::string> lines;
    std::istringstream stream(leaf());
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    expect_always("rows swapped, dropped, repeated", [&] {
        std::vector<std::string> changed = lines;
        const auto steps = *rc::gen::container<std::vector<std::tuple<int, uint32_t, uint32_t>>>(
            rc::gen::tuple(rc::gen::inRange(0, 3), rc::gen::arbitrary<uint32_t>(),
                           rc::gen::arbitrary<uint32_t>()));
        for (const auto &[step, from, to] : steps) {
            const auto at = static_cast<std::ptrdiff_t>(from % changed.size());
            const auto other = to % changed.size();
            if (step == 0)
                std::swap(changed[static_cast<size_t>(at)], changed[other]);
            else if (step == 1 && changed.size() > 1)
                changed.erase(changed.begin() + at);
            else
                changed.insert(changed.begin() + at, std::string(changed[other]));
        }
        std::string text;
        for (const std::string &line : changed)
            text += line + "\n";
        require_sound(text);
    });
}

/* The leaf without some of its rows: still JSON, so that references are what breaks. */
TEST(Robustness, MissingRowsLeaveWhatIsDesiredSound)
{
    const std::string whole = leaf();
    const std::vector<std::string> names = {"Ethernet", "PortChannel", "Vlan",
                                            "Vrf",      "Po000",       "Eth"};
    expect_always("names changed throughout", [&] {
        std::string text = whole;
        const auto renamings = *rc::gen::container<std::vector<std::tuple<size_t, uint32_t, int>>>(
            rc::gen::tuple(rc::gen::inRange<size_t>(0, names.size()),
                           rc::gen::arbitrary<uint32_t>(), rc::gen::inRange(0, 10)));
        for (const auto &[name, where, digit] : renamings) {
            size_t at = text.find('"' + names[name], where % text.size());
            if (at == text.npos)
                continue;
            at += 1 + names[name].size();
            text[at] = static_cast<char>('0' + digit);
        }
        require_sound(text);
    });
}

TEST(Robustness, TheCasesOfEveryRuleTogetherLeaveWhatIsDesiredSound)
{
    expect_always("tables of several broken files in one", [] {
        const auto &cases = finding_cases();
        const auto chosen =
            *rc::gen::container<std::vector<size_t>>(rc::gen::inRange<size_t>(0, cases.size()));
        std::string text = "{";
        for (const size_t one : chosen)
            text += (text.size() > 1 ? ",\n" : "") + std::string(cases[one].tables);
        require_sound(text + "}");
    });
}

TEST(Robustness, AnyBytesAreReadToAnEnd)
{
    expect_always("any bytes", [] { require_sound(*rc::gen::arbitrary<std::string>()); });
}

TEST(Robustness, TheOrderOfTablesAndRowsMakesNoDifference)
{
    const char *const forwards =
        R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}}, "PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}}, "VRF": {"VrfA": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfA"}, "Ethernet0|192.0.2.1/31": {}, "Ethernet0|192.0.2.3/31": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.1": {}, "Ethernet0.1|2001:db8::1/64": {}, "PortChannel1.1": {}},
"SAG": {"GLOBAL": {"gateway_mac": "00:00:5e:00:53:fe"}}, "VLAN": {"Vlan10": {"mtu": "1500"}},
"VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"}}, "VRRP": {"Ethernet0.1|1": {}}})";
    const char *const backwards =
        R"({"VRRP": {"Ethernet0.1|1": {}}, "VLAN_INTERFACE": {"Vlan10": {"static_anycast_gateway": "true"}},
"VLAN": {"Vlan10": {"mtu": "1500"}}, "SAG": {"GLOBAL": {"gateway_mac": "00:00:5e:00:53:fe"}},
"VLAN_SUB_INTERFACE": {"PortChannel1.1": {}, "Ethernet0.1|2001:db8::1/64": {}, "Ethernet0.1": {}},
"INTERFACE": {"Ethernet0|192.0.2.3/31": {}, "Ethernet0|192.0.2.1/31": {}, "Ethernet0": {"vrf_name": "VrfA"}},
"VRF": {"VrfA": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORT": {"Ethernet4": {}, "Ethernet0": {}}})";
    const auto summary = [](const char *text) {
        const Configuration configuration = read(text);
        EXPECT_THAT(findings(configuration), testing::IsEmpty());
        const Desired &wanted = configuration.desired;
        std::ostringstream all;
        const auto l3 = [&](const L3Settings &settings) {
            all << settings.ipv4 << settings.ipv6 << settings.vrf << settings.nat_zone;
            for (const std::string &address : settings.addresses)
                all << " " << address;
            all << "\n";
        };
        for (const auto &[name, port] : wanted.ports)
            all << name << " " << port.mtu << "\n";
        for (const auto &[name, port] : wanted.routed_ports) {
            all << name << " " << port.implied << " ";
            l3(port.l3);
        }
        for (const auto &[name, channel] : wanted.port_channels) {
            all << name << " " << channel.members.size() << " " << channel.l3_implied << " ";
            l3(channel.l3.value());
        }
        for (const auto &[name, sub] : wanted.sub_interfaces) {
            all << name << " " << sub.parent << " " << sub.vlan << " " << sub.mtu << " ";
            l3(sub.l3);
        }
        for (const auto &[name, svi] : wanted.svis) {
            all << name << " " << svi.vlan << " " << svi.mtu << " ";
            l3(svi.l3);
        }
        for (const auto &[virtual_mac, location] : wanted.virtual_macs)
            all << virtual_mac.interface << " " << to_text(virtual_mac.mac) << "\n";
        return all.str();
    };
    EXPECT_EQ(summary(forwards), summary(backwards));
}

TEST(Robustness, ALineOfMegabytesIsPlacedToo)
{
    std::string text = "{\"VLAN_SUB_INTERFACE\": {";
    for (int vlan = 1; vlan <= 4094; ++vlan)
        for (int port = 0; port < 16; ++port)
            text += (vlan + port > 1 ? ",\"Ethernet" : "\"Ethernet") + std::to_string(port) + "." +
                    std::to_string(vlan) + "\": {}";
    const size_t last = text.size();
    text += ",\"Eth1.1\": {}}}";
    const Configuration configuration = read(text);
    EXPECT_EQ(configuration.desired.sub_interfaces.size(), 4094u * 16);
    ASSERT_EQ(configuration.findings.size(), 2u);
    EXPECT_EQ(configuration.findings[1].location.column, last + 2);
}

} // namespace
} // namespace kvnsim::test
