#include "sim/config/names.h"

#include <arpa/inet.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "sim/types/text.h"

namespace kvnsim {

namespace {

struct NameForm {
    std::string_view prefix;
    InterfaceKind kind;
    Range numbers;
    bool leading_zeros;
};
constexpr NameForm name_forms[] = {
    {"Ethernet", InterfaceKind::port, port_name_range, false},
    {"PortChannel", InterfaceKind::port_channel, {0, UINT32_MAX}, true},
    {"Vlan", InterfaceKind::svi, vlan_range, false},
};

struct ShortForm {
    std::string_view prefix, full;
};
constexpr ShortForm short_forms[] = {{"Eth", "Ethernet"}, {"Po", "PortChannel"}};

bool is_in(std::string_view word, std::initializer_list<std::string_view> words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

char to_lower(char c)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

std::string lower_case(std::string_view text)
{
    std::string lower{text};
    std::transform(lower.begin(), lower.end(), lower.begin(), to_lower);
    return lower;
}

/* Ports that are not on the front panel have letters before the number: Ethernet-BP0. */
std::string_view without_port_class(std::string_view text)
{
    if (text.empty() || text[0] != '-')
        return text;
    size_t letters = 1;
    while (letters < text.size() && std::isalpha(static_cast<unsigned char>(text[letters])))
        ++letters;
    return letters > 1 ? text.substr(letters) : text;
}

struct WholeInterface {
    InterfaceKind kind;
    uint32_t number;
};

std::optional<WholeInterface> parse_whole_interface(std::string_view text)
{
    for (const NameForm &form : name_forms) {
        if (!starts_with(text, form.prefix))
            continue;
        std::string_view digits = text.substr(form.prefix.size());
        if (form.kind == InterfaceKind::port)
            digits = without_port_class(digits);
        if (form.leading_zeros && digits.size() > most_channel_digits)
            return {};
        if (!form.leading_zeros && digits.size() > 1 && digits[0] == '0')
            return {};
        const auto number = parse_number(digits, form.numbers);
        if (!number)
            return {};
        return WholeInterface{form.kind, *number};
    }
    return {};
}

std::string_view without_leading_zeros(std::string_view digits)
{
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size() - 1));
    return digits;
}

bool is_digits(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
}

bool can_be_parent(std::string_view text)
{
    const auto name = parse_whole_interface(text);
    return name && (name->kind == InterfaceKind::port || name->kind == InterfaceKind::port_channel);
}

} // namespace

std::string to_text(const Range &range)
{
    return fmt::format("{}..{}", range.min, range.max);
}

std::optional<InterfaceName> parse_interface_name(std::string_view text)
{
    const size_t dot = text.find('.');
    if (dot == text.npos) {
        const auto whole = parse_whole_interface(text);
        return whole ? std::optional(InterfaceName{whole->kind, whole->number, {}, false})
                     : std::nullopt;
    }

    const std::string_view parent = text.substr(0, dot), digits = text.substr(dot + 1);
    const auto number = parse_number(digits, 1, UINT32_MAX);
    if (!number || digits[0] == '0')
        return {};
    if (can_be_parent(parent))
        return InterfaceName{InterfaceKind::sub_interface, *number, std::string(parent), false};
    for (const ShortForm &form : short_forms) {
        if (!starts_with(parent, form.prefix))
            continue;
        std::string full{form.full};
        full += parent.substr(form.prefix.size());
        if (can_be_parent(full))
            return InterfaceName{InterfaceKind::sub_interface, *number, std::move(full), true};
    }
    return {};
}

std::string interface_key(std::string_view text)
{
    const std::string lower = lower_case(text);
    const size_t dot = lower.find('.');
    const std::string_view all = lower, whole = all.substr(0, dot);
    const auto key_of = [&](std::string_view prefix, std::string_view shared) -> std::string {
        if (!starts_with(whole, lower_case(prefix)))
            return "";
        const std::string_view rest = whole.substr(prefix.size());
        const std::string_view digits = without_port_class(rest);
        if (!is_digits(digits))
            return "";
        return fmt::format("{}{}{}", lower_case(shared),
                           rest.substr(0, rest.size() - digits.size()),
                           without_leading_zeros(digits));
    };
    std::string key;
    for (const ShortForm &form : short_forms) {
        for (const std::string_view prefix : {form.prefix, form.full})
            key = key.empty() ? key_of(prefix, form.prefix) : key;
    }
    for (const NameForm &form : name_forms)
        key = key.empty() ? key_of(form.prefix, form.prefix) : key;
    if (key.empty() || dot == lower.npos)
        return key;
    const std::string_view number = all.substr(dot + 1);
    return is_digits(number) ? fmt::format("{}.{}", key, without_leading_zeros(number)) : "";
}

std::vector<std::string> names_of_key(const std::string &key)
{
    std::vector<std::string> names;
    const auto add = [&](std::string_view key_prefix, std::string_view prefix) {
        const std::string start = lower_case(key_prefix);
        if (!starts_with(key, start))
            return;
        std::string rest = key.substr(start.size());
        std::transform(rest.begin(), rest.end(), rest.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        for (size_t zeros = 0; zeros < most_channel_digits; ++zeros) {
            std::string name = fmt::format("{}{}{}", prefix, std::string(zeros, '0'), rest);
            if (parse_interface_name(name))
                names.push_back(std::move(name));
        }
    };
    for (const ShortForm &form : short_forms) {
        add(form.prefix, form.full);
        add(form.prefix, form.prefix);
    }
    for (const NameForm &form : name_forms) {
        if (std::none_of(std::begin(short_forms), std::end(short_forms),
                         [&](const ShortForm &other) { return other.full == form.prefix; }))
            add(form.prefix, form.prefix);
    }
    return names;
}

std::optional<uint32_t> parse_number(std::string_view text, uint32_t min, uint32_t max)
{
    constexpr size_t digits_of_largest = 10;
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || text.size() > digits_of_largest || number < min ||
        number > max)
        return {};
    return static_cast<uint32_t>(number);
}

std::optional<Mac> parse_mac(std::string_view text)
{
    Mac mac{};
    if (text.size() != 3 * mac.size() - 1)
        return {};
    for (size_t i = 0; i < mac.size(); ++i) {
        const char *const digits = text.data() + 3 * i, *const end = digits + 2;
        if (std::from_chars(digits, end, mac[i], 16).ptr != end)
            return {};
        if (i + 1 < mac.size() && *end != ':')
            return {};
    }
    return mac;
}

bool is_zero(const Mac &mac)
{
    return mac == Mac{};
}

bool is_multicast(const Mac &mac)
{
    return (mac[0] & 1) != 0;
}

std::optional<VirtualRouterName> parse_virtual_router_name(std::string_view text)
{
    constexpr std::string_view prefix = "Vrrp", v4 = "-v4", v6 = "-v6";
    const std::string_view end = text.substr(text.size() - std::min(text.size(), v4.size()));
    if (!starts_with(text, prefix) || text.size() < prefix.size() + end.size() ||
        (end != v4 && end != v6))
        return {};
    text = text.substr(prefix.size(), text.size() - prefix.size() - end.size());
    const auto vrid = parse_number(text, vrid_range);
    if (!vrid || text[0] == '0')
        return {};
    return VirtualRouterName{*vrid, end == v6};
}

bool is_vrf_name(std::string_view text)
{
    constexpr std::string_view prefix = "Vrf";
    if (text == "default")
        return true;
    if (!starts_with(text, prefix) || text.size() == prefix.size() ||
        text.size() > prefix.size() + most_vrf_characters)
        return false;
    return std::all_of(text.begin(), text.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '.';
    });
}

std::optional<Address> parse_address(std::string_view text)
{
    const size_t slash = text.find('/');
    const std::string_view host = text.substr(0, slash);
    const bool ipv6 = host.find(':') != host.npos;
    if (host.find('\0') != host.npos)
        return {};

    Address address;
    address.ipv6 = ipv6;
    address.has_prefix_length = slash != text.npos;
    if (inet_pton(ipv6 ? AF_INET6 : AF_INET, std::string(host).c_str(), address.bytes.data()) != 1)
        return {};
    address.prefix_length = ipv6 ? 128 : 32;
    if (!address.has_prefix_length)
        return address;
    const auto given = parse_number(text.substr(slash + 1), 0, address.prefix_length);
    if (!given)
        return {};
    address.prefix_length = *given;
    return address;
}

const char *unusable_class(const Address &address)
{
    const size_t size = address.ipv6 ? 16 : 4;
    const auto zeros = std::all_of(address.bytes.begin(), address.bytes.begin() + size - 1,
                                   [](uint8_t byte) { return byte == 0; });
    const uint8_t first = address.bytes[0], last = address.bytes[size - 1];
    if (zeros && last == 0)
        return "the unspecified";
    if (address.ipv6 ? first == 0xff : first >= 224 && first < 240)
        return "a multicast";
    return (address.ipv6 ? zeros && last == 1 : first == 127) ? "a loopback" : nullptr;
}

bool is_link_local(const Address &address)
{
    return address.ipv6 && address.bytes[0] == 0xfe && (address.bytes[1] & 0xc0) == 0x80;
}

std::optional<bool> parse_boolean(std::string_view text)
{
    const std::string word = lower_case(text);
    if (is_in(word, {"enable", "enabled", "true", "yes", "on"}))
        return true;
    if (is_in(word, {"disable", "disabled", "false", "no", "off"}))
        return false;
    return {};
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    parts.reserve(1 + static_cast<size_t>(std::count(text.begin(), text.end(), separator)));
    each_part(text, separator, [&](std::string_view part) { parts.push_back(part); });
    return parts;
}

bool is_flat_name(const std::string &name)
{
    const size_t bar = name.find('|');
    return bar != name.npos && bar > 0 && bar + 1 < name.size();
}

bool has_blanks(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), is_space);
}

bool has_blanks_beside_bars(std::string_view key)
{
    bool has_some = false;
    each_part(key, '|',
              [&](std::string_view part) { has_some |= trimmed(part).size() != part.size(); });
    return has_some;
}

std::string without_blanks_beside_bars(std::string_view key)
{
    std::string without;
    each_part(key, '|', [&](std::string_view part) { without.append(trimmed(part)) += '|'; });
    without.pop_back();
    return without;
}

std::string spelling(std::string_view text)
{
    return lower_case(trimmed(text));
}

bool same_spelling(std::string_view a, std::string_view b)
{
    a = trimmed(a);
    b = trimmed(b);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return to_lower(x) == to_lower(y); });
}

std::string in_quotes(std::string_view text)
{
    return '"' + printable(text) + '"';
}

} // namespace kvnsim
