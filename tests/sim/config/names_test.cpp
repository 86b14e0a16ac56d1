#include "sim/config/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "sim/types/natural_order.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

TEST(NaturalOrder, CountsNumbersByValue)
{
    const NaturalOrder before;
    EXPECT_TRUE(before("Ethernet2", "Ethernet10"));
    EXPECT_FALSE(before("Ethernet10", "Ethernet2"));
    EXPECT_TRUE(before("Ethernet2.100", "Ethernet10.2"));
    EXPECT_TRUE(before("Ethernet1", "Ethernet1.1"));
    EXPECT_TRUE(before("Ethernet9", "PortChannel1"));
    EXPECT_TRUE(before("Ethernet19.5", "Ethernet123.5"));
    EXPECT_TRUE(before("Ethernet12", "Ethernet12a"));
    EXPECT_TRUE(before("192.0.2.9/31", "192.0.2.10/24"));
    EXPECT_TRUE(before("Vlan99999999999999999999", "Vlan100000000000000000000"));
}

TEST(NaturalOrder, KeepsNamesApartThatDifferInLeadingZerosOnly)
{
    const NaturalOrder before;
    EXPECT_NE(before("PortChannel1", "PortChannel01"), before("PortChannel01", "PortChannel1"));
    EXPECT_FALSE(before("PortChannel01", "PortChannel01"));
    EXPECT_TRUE(before("PortChannel01", "PortChannel2"));
    EXPECT_TRUE(before("PortChannel1", "PortChannel02"));
}

/* A number, or one other character. */
std::vector<std::string> parts_of(const std::string &text)
{
    std::vector<std::string> parts;
    for (const char c : text) {
        const bool is_digit = c >= '0' && c <= '9';
        if (is_digit && !parts.empty() && parts.back()[0] >= '0' && parts.back()[0] <= '9')
            parts.back() += c;
        else
            parts.emplace_back(1, c);
    }
    return parts;
}

bool is_before(const std::string &a, const std::string &b)
{
    const std::vector<std::string> x = parts_of(a), y = parts_of(b);
    for (size_t i = 0; i < std::min(x.size(), y.size()); ++i) {
        const auto is_number = [](const std::string &part) {
            return part.find_first_of("0123456789") == 0;
        };
        if (is_number(x[i]) && is_number(y[i])) {
            if (std::stoul(x[i]) != std::stoul(y[i]))
                return std::stoul(x[i]) < std::stoul(y[i]);
        } else if (x[i][0] != y[i][0]) {
            return x[i][0] < y[i][0];
        }
    }
    return x.size() != y.size() ? x.size() < y.size() : a < b;
}

TEST(NaturalOrder, ComparesPartByPart)
{
    std::vector<std::string> texts{"", "Ethernet1", "PortChannel0010"};
    for (size_t i = 0; i < texts.size() && texts.size() < 500; ++i) {
        for (const char c : {'a', '.', '0', '1', '9'})
            texts.push_back(texts[i] + c);
    }
    const NaturalOrder before;
    for (const std::string &a : texts) {
        for (const std::string &b : texts)
            ASSERT_EQ(before(a, b), is_before(a, b)) << a << " " << b;
    }
}

TEST(InterfaceNames, OfPortsHaveNoLeadingZeros)
{
    const auto name = parse_interface_name("Ethernet64");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->kind, InterfaceKind::port);
    EXPECT_EQ(name->number, 64u);
    EXPECT_TRUE(parse_interface_name("Ethernet0"));
    EXPECT_TRUE(parse_interface_name("Ethernet9999"));
    for (const char *wrong : {"Ethernet", "Ethernet00", "Ethernet04", "Ethernet10000", "ethernet4",
                              "Ethernet4 ", " Ethernet4", "Ethernet-4", "Ethernet4x", "Eth4",
                              "Ethernet-BP", "Ethernet-BP04", "Ethernet-B P4", "Ethernet--BP4", ""})
        EXPECT_FALSE(parse_interface_name(wrong)) << wrong;
}

TEST(InterfaceNames, OfPortChannelsHaveOneToFourDigits)
{
    for (const char *right :
         {"PortChannel0", "PortChannel1", "PortChannel01", "PortChannel0001", "PortChannel9999"}) {
        const auto name = parse_interface_name(right);
        ASSERT_TRUE(name) << right;
        EXPECT_EQ(name->kind, InterfaceKind::port_channel);
    }
    EXPECT_EQ(parse_interface_name("PortChannel0012")->number, 12u);
    for (const char *wrong : {"PortChannel", "PortChannel00001", "PortChannel10000", "Po1"})
        EXPECT_FALSE(parse_interface_name(wrong)) << wrong;
}

TEST(InterfaceNames, OfPortsBetweenTheCardsOfAChassisHaveLetters)
{
    const auto name = parse_interface_name("Ethernet-BP12");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->kind, InterfaceKind::port);
    EXPECT_EQ(name->number, 12u);
    EXPECT_EQ(parse_interface_name("Ethernet-BP12.7")->parent, "Ethernet-BP12");
}

TEST(InterfaceNames, OfVlansAreOneTo4094)
{
    EXPECT_EQ(parse_interface_name("Vlan1")->number, 1u);
    EXPECT_EQ(parse_interface_name("Vlan4094")->kind, InterfaceKind::svi);
    for (const char *wrong : {"Vlan0", "Vlan4095", "Vlan010", "Vlan"})
        EXPECT_FALSE(parse_interface_name(wrong)) << wrong;
}

TEST(InterfaceNames, OfSubInterfacesGiveTheParentInFull)
{
    const auto parent = [](const char *text) {
        const auto name = parse_interface_name(text);
        return name && name->kind == InterfaceKind::sub_interface ? name->parent : "none";
    };
    EXPECT_EQ(parent("Ethernet0.100"), "Ethernet0");
    EXPECT_EQ(parent("PortChannel0001.10"), "PortChannel0001");
    EXPECT_EQ(parent("Eth64.10"), "Ethernet64");
    EXPECT_EQ(parent("Po0001.10"), "PortChannel0001");
    EXPECT_FALSE(parse_interface_name("Ethernet0.100")->short_form);
    EXPECT_TRUE(parse_interface_name("Eth64.10")->short_form);
    EXPECT_EQ(parse_interface_name("Eth64.4294967295")->number, 4294967295u);
    for (const char *wrong :
         {"Vlan10.1", "Ethernet0.", "Ethernet0.0", "Ethernet0.01", ".1", "Ethernet0.1.2",
          "Ethernet0.4294967296", "Ether0.1", "Eth.1", "Po00001.1", "Eth04.1"})
        EXPECT_FALSE(parse_interface_name(wrong)) << wrong;
}

TEST(Numbers, AreDecimalDigitsWithinTheirRange)
{
    EXPECT_EQ(parse_number("68", 68, 9216), 68u);
    EXPECT_EQ(parse_number("9216", 68, 9216), 9216u);
    EXPECT_EQ(parse_number("01500", 68, 9216), 1500u);
    for (const char *wrong : {"", "67", "9217", "+68", "-68", "0x44", "68 ", "6.8", "99999999999"})
        EXPECT_FALSE(parse_number(wrong, 68, 9216)) << wrong;
}

TEST(Macs, AreSixBytesInEitherCase)
{
    EXPECT_EQ(parse_mac("00:11:22:aa:BB:cC"), (Mac{0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc}));
    EXPECT_EQ(to_text(Mac{0x00, 0x00, 0x5e, 0x00, 0x01, 0x0a}), "00:00:5e:00:01:0a");
    for (const char *wrong : {"", "00:11:22:aa:bb", "00:11:22:aa:bb:cc:dd", "00-11-22-aa-bb-cc",
                              "00:11:22:aa:bb:cg", "0:011:22:aa:bb:cc"})
        EXPECT_FALSE(parse_mac(wrong)) << wrong;
    EXPECT_TRUE(is_multicast({0x01, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(is_multicast({0xaa, 0xff, 0xff, 0xff, 0xff, 0xff}));
}

TEST(Addresses, TellTheirFamilyAndPrefixLength)
{
    EXPECT_FALSE(parse_address("192.0.2.1/31")->ipv6);
    EXPECT_TRUE(parse_address("192.0.2.1/0")->has_prefix_length);
    EXPECT_FALSE(parse_address("192.0.2.1")->has_prefix_length);
    EXPECT_TRUE(parse_address("2001:DB8::1/128")->ipv6);
    EXPECT_TRUE(parse_address("::ffff:192.0.2.1/96")->ipv6);
    for (const char *wrong :
         {"", "/", "192.0.2.1/", "192.0.2.1/33", "192.0.2/24", "192.0.2.300/24", "192.0.02.1/24",
          "2001:db8::1/129", "2001:db8:::1/64", "192.0.2.1/24/1", "host/24"})
        EXPECT_FALSE(parse_address(wrong)) << wrong;
    EXPECT_FALSE(parse_address(std::string("192.0.2.1\0/24", 13)));
}

TEST(Addresses, ThatNoInterfaceCanHave)
{
    const auto unusable = [](const char *text) {
        const char *words = unusable_class(*parse_address(text));
        return std::string(words ? words : "");
    };
    for (const char *text : {"224.0.0.0/4", "239.255.255.255/32", "ff02::1/128"})
        EXPECT_EQ(unusable(text), "a multicast") << text;
    for (const char *text : {"127.0.0.1/8", "127.255.0.1/32", "::1/128"})
        EXPECT_EQ(unusable(text), "a loopback") << text;
    for (const char *text : {"0.0.0.0/0", "::/0"})
        EXPECT_EQ(unusable(text), "the unspecified") << text;
    for (const char *text :
         {"223.255.255.255/24", "240.0.0.1/24", "128.0.0.1/8", "::2/64", "fe80::1/64", "0.0.0.1/8"})
        EXPECT_EQ(unusable(text), "") << text;
    EXPECT_TRUE(is_link_local(*parse_address("fe80::1/64")));
    EXPECT_TRUE(is_link_local(*parse_address("febf::1/64")));
    EXPECT_FALSE(is_link_local(*parse_address("fec0::1/64")));
    EXPECT_FALSE(is_link_local(*parse_address("254.128.0.1/16")));
}

TEST(VirtualRouterNames, HaveAnIdentifierAndAVersion)
{
    EXPECT_EQ(parse_virtual_router_name("Vrrp1-v4")->vrid, 1u);
    EXPECT_FALSE(parse_virtual_router_name("Vrrp1-v4")->ipv6);
    EXPECT_EQ(parse_virtual_router_name("Vrrp255-v6")->vrid, 255u);
    EXPECT_TRUE(parse_virtual_router_name("Vrrp255-v6")->ipv6);
    for (const char *wrong : {"", "-v4", "Vrrp", "Vrrp-v4", "Vrrp0-v4", "Vrrp01-v4", "Vrrp256-v4",
                              "Vrrp1-v5", "Vrrp1", "vrrp1-v4", "Vrr1-v4", "Vrrp1-v4 "})
        EXPECT_FALSE(parse_virtual_router_name(wrong)) << wrong;
}

TEST(Keys, LoseTheBlanksBesideBars)
{
    EXPECT_EQ(without_blanks_beside_bars(" Vlan10 |\t Ethernet0 "), "Vlan10|Ethernet0");
    EXPECT_EQ(without_blanks_beside_bars("Ether net0"), "Ether net0");
    EXPECT_EQ(without_blanks_beside_bars(" | |"), "||");
    EXPECT_EQ(without_blanks_beside_bars(" "), "");
    EXPECT_EQ(without_blanks_beside_bars(""), "");
    EXPECT_EQ(without_blanks_beside_bars("|"), "|");
}

TEST(VrfNames, AreDefaultOrBeginWithVrf)
{
    for (const char *right : {"default", "Vrf1", "VrfInternet", "Vrf_a-b.c", "Vrf123456789012"})
        EXPECT_TRUE(is_vrf_name(right)) << right;
    for (const char *wrong : {"", "Vrf", "vrf1", "Blue", "Default", "Vrf 1", "Vrf1234567890123"})
        EXPECT_FALSE(is_vrf_name(wrong)) << wrong;
}

TEST(Booleans, ComeInSeveralDialects)
{
    for (const char *yes : {"enable", "enabled", "true", "True", "YES", "on"})
        EXPECT_EQ(parse_boolean(yes), true) << yes;
    for (const char *no : {"disable", "disabled", "false", "False", "no", "off"})
        EXPECT_EQ(parse_boolean(no), false) << no;
    for (const char *neither : {"", "1", "up", "enable "})
        EXPECT_FALSE(parse_boolean(neither)) << neither;
}

TEST(Printable, IsOneShortLine)
{
    EXPECT_EQ(in_quotes("a\nb\x7f"), "\"a\\x0ab\\x7f\"");
    EXPECT_EQ(printable(std::string(100, 'x')), std::string(80, 'x') + "...");
    EXPECT_EQ(printable("gr\xc3\xbc\xc3\x9f"), "gr\xc3\xbc\xc3\x9f");
}

} // namespace
} // namespace kvnsim
