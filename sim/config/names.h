#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/types/interface_kind.h"
#include "sim/types/mac.h"

/* The formats in configurations: names, numbers, addresses. */
namespace kvnsim {

/* A range of numbers, both ends included. */
struct Range {
    uint32_t min, max;
    constexpr bool has(uint32_t number) const { return number >= min && number <= max; }
};
std::string to_text(const Range &range); /* "68..9216" */

constexpr Range mtu_range{68, 9216};
constexpr Range vlan_range{1, 4094};
constexpr Range vrid_range{1, 255};
constexpr Range nat_zone_range{0, 3};
constexpr Range port_name_range{0, 9999}; /* the number in a port's name */
constexpr size_t most_channel_digits = 4;
constexpr size_t most_vrf_characters = 12; /* after Vrf */
constexpr Range front_port_range{1, 255};  /* numbers of the front panel are 8 bits wide */
constexpr size_t most_ports = front_port_range.max;
constexpr Range vni_range{0, 16777215};
constexpr size_t most_name_characters = 15; /* of an interface, to the switch's kernel */

struct InterfaceName {
    InterfaceKind kind = InterfaceKind::port;
    uint32_t number = 0;     /* of the port, port-channel or VLAN; what follows the dot */
    std::string parent;      /* of a sub-interface, by full name: Po0001.10 gives PortChannel0001 */
    bool short_form = false; /* Eth64.10, Po0001.10 */
};

/* Ethernet0, Ethernet-BP0, PortChannel0001, Vlan100, Ethernet0.100, Eth64.10, Po0001.10; empty for
 * anything else, numbers out of their range included. */
std::optional<InterfaceName> parse_interface_name(std::string_view text);

/* What all spellings of a name share, whether or not there is such an interface: "po1.10" for
 * PortChannel0001.10, Po1.10 and PO01.10. Empty when the text does not have the form of a name. */
std::string interface_key(std::string_view text);

/* The names that interfaces can have among them: "PortChannel1.10", "PortChannel01.10" ...
 * "Po0001.10" for "po1.10". */
std::vector<std::string> names_of_key(const std::string &key);

/* Decimal digits only. */
std::optional<uint32_t> parse_number(std::string_view text, uint32_t min, uint32_t max);
inline std::optional<uint32_t> parse_number(std::string_view text, const Range &range)
{
    return parse_number(text, range.min, range.max);
}

/* 00:11:22:aa:BB:cc */
std::optional<Mac> parse_mac(std::string_view text);
bool is_zero(const Mac &mac);
bool is_multicast(const Mac &mac);

/* Vrrp1-v4, Vrrp255-v6 */
struct VirtualRouterName {
    uint32_t vrid = 0;
    bool ipv6 = false;
};
std::optional<VirtualRouterName> parse_virtual_router_name(std::string_view text);

/* "default" or "Vrf" and letters, digits, '-', '_' or '.'. */
bool is_vrf_name(std::string_view text);

using AddressBytes = std::array<uint8_t, 16>;
struct Address {
    bool ipv6 = false;
    bool has_prefix_length = false;
    AddressBytes bytes{};       /* of IPv4 the first four */
    uint32_t prefix_length = 0; /* without one that of a host */
};
/* 192.0.2.1/31, 2001:db8::1/64, or either without its prefix length. */
std::optional<Address> parse_address(std::string_view text);
/* "a multicast", "a loopback" or "the unspecified": an address that no interface can have; nullptr
 * for any other. */
const char *unusable_class(const Address &address);
bool is_link_local(const Address &address); /* IPv6 */

/* enable, enabled, true, yes, on and their opposites, in upper or lower case. */
std::optional<bool> parse_boolean(std::string_view text);

/* Of "Vlan10|Ethernet0" calls take with both names in turn, for '|': parts of the text. */
template <class Take> void each_part(std::string_view text, char separator, const Take &take)
{
    for (size_t end; (end = text.find(separator)) != text.npos; text.remove_prefix(end + 1))
        take(text.substr(0, end));
    take(text);
}
/* These parts. */
std::vector<std::string_view> split(std::string_view text, char separator);
/* Whether it is of the form TABLE|key. */
bool is_flat_name(const std::string &name);
bool has_blanks_beside_bars(std::string_view key); /* or at its ends */
std::string without_blanks_beside_bars(std::string_view key);

/* A blank, a tab or what ends a line. */
constexpr bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool has_blanks(std::string_view text);
/* Without blanks at both ends. */
inline std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    return text;
}
/* The same in lower case, to recognise a misspelt name. */
std::string spelling(std::string_view text);
bool same_spelling(std::string_view a, std::string_view b);

/* The text as printable() gives it, in double quotes. */
std::string in_quotes(std::string_view text);

} // namespace kvnsim
