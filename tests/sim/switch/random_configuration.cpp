/* A row is made from a few small numbers, so that what fails is reduced to few rows with few
 * fields. */
#include "tests/sim/switch/random_configuration.h"

#include <algorithm>
#include <cstdint>

#include <fmt/format.h>

#include "sim/config/tables.h"

namespace kvnsim {
namespace {

using Texts = std::vector<std::string>;

/* The table, its key, the address, the fields with their values, and whether it is in the flat
 * form. The higher a choice, the less usual it is. */
using Choices = std::tuple<uint32_t, std::vector<uint32_t>, uint32_t,
                           std::vector<std::pair<uint32_t, uint32_t>>, uint32_t>;

const std::string &choose(const Texts &from, uint32_t choice)
{
    return from[choice % from.size()];
}

Texts names(KeyPart part, const std::string &table)
{
    const Texts ports = {"Ethernet0", "Ethernet4", "Ethernet8", "Ethernet12", "Ethernet-BP0"};
    const Texts channels = {"PortChannel1", "PortChannel2", "PortChannel3", "PortChannel01"};
    const Texts vlans = {"Vlan10", "Vlan20", "Vlan1", "Vlan4094", "Vlan4095"};
    const Texts subs = {"Ethernet0.10", "Ethernet4.20",   "Eth8.1",          "PortChannel1.10",
                        "Po2.20",       "Ethernet0.5000", "PortChannel01.7", "Eth12.7"};
    Texts all;
    const auto add = [&](const Texts &more) { all.insert(all.end(), more.begin(), more.end()); };
    switch (part) {
    case KeyPart::port:
        return ports;
    case KeyPart::port_channel:
        return channels;
    case KeyPart::vlan:
        return vlans;
    case KeyPart::sub_interface:
        return subs;
    case KeyPart::port_or_channel:
        add(ports);
        add(channels);
        return all;
    case KeyPart::interface:
        add(vlans);
        add(ports);
        add(subs);
        add(channels);
        return all;
    case KeyPart::vrid:
        return {"1", "2", "255", " 3", "0"};
    case KeyPart::virtual_router:
        return {"Vrrp1-v4", "Vrrp1-v6", "Vrrp255-v4", "Vrrp0-v4"};
    case KeyPart::vrf:
        return {"Vrf1", "VrfBlue", "default", "mgmt"};
    case KeyPart::any:
        break;
    }
    if (table == "DEVICE_METADATA")
        return {"localhost", "Localhost"};
    if (table == "SAG")
        return {"GLOBAL", "Vlan10"};
    return {"Vnet1", "Loopback0", "eth0"};
}

Texts addresses()
{
    return {"192.0.2.0/31",     "192.0.2.1/31", "198.51.100.1/24", "2001:db8::1/64",
            "2001:db8:1::/127", "203.0.113.1",  " 10.0.0.1/8 ",    "fe80::1/64",
            "10.1.0.1/16",      "192.0.2.1/24", "224.0.0.1/24",    "192.0.2.300/31"};
}

/* As JSON. */
Texts values(const TableField &field)
{
    const auto text = [](const std::string &of) { return '"' + of + '"'; };
    switch (field.type) {
    case FieldType::number: {
        const uint64_t min = field.min, max = field.max, middle = (min + max) / 2;
        return {text(fmt::to_string(min)),
                text(fmt::to_string(max)),
                text(fmt::to_string(middle)),
                fmt::to_string(middle),
                text(fmt::format(" {} ", min)),
                fmt::to_string(max),
                text(fmt::to_string(min + 1)),
                text(fmt::to_string(max - 1)),
                "null",
                text(fmt::to_string(max + 1)),
                text("-1"),
                "1.5"};
    }
    case FieldType::text:
        return {text("one"), text(""), text("Gr\u00f6\u00dfe"), "7", text("a\\u0009b"), "[]"};
    case FieldType::boolean:
        return {text("true"),  text("false"), "true", text("enable"), text("Disabled"),
                text("False"), "false",       "null", text("maybe"),  "1"};
    case FieldType::choice: {
        Texts all;
        for (const std::string_view choice : split(field.choices, '|')) {
            all.push_back(text(std::string(choice)));
            all.push_back(text(' ' + std::string(choice)));
        }
        all.push_back(text("neither"));
        return all;
    }
    case FieldType::mac:
    case FieldType::group_mac:
        return {text("00:00:5e:00:53:01"), text("00:00:5E:00:53:FF"), text("02:00:00:00:00:01"),
                text("01:00:5e:00:00:01"), text("00:00:00:00:00:00"), text("00:00:5e")};
    case FieldType::vrf:
        return {text("Vrf1"), text("VrfBlue"), text("default"), text("Vrf9"), text("blue")};
    case FieldType::interface:
        return {text("Vlan10"),       text("Ethernet0"), text("Ethernet0.10"),
                text("PortChannel1"), text("Vlan20"),    text("Loopback0")};
    case FieldType::list:
        return {R"(["Ethernet8", "Ethernet12"])",
                text("Ethernet4"),
                "[]",
                R"(["1", 2])",
                text("3,4"),
                "{}",
                "[{}]"};
    case FieldType::elsewhere:
        return {text("1500")};
    }
    return {};
}

RandomRow row(const TableSchema &table, const Choices &choices)
{
    const auto &[which, key, address, fields, form] = choices;
    RandomRow row{table.name, {}, {}, form == 0};
    for (size_t i = 0; i < table.key.size(); ++i)
        row.key += (i ? "|" : "") + choose(names(table.key[i], table.name), key[i % key.size()]);
    const bool is_address_row = table.has_address_rows && address % 2 == 1;
    if (is_address_row)
        row.key += '|' + choose(addresses(), address / 2);
    const std::vector<TableField> &known =
        is_address_row && table.use == Use::applied ? address_fields() : table.fields;
    for (const auto &[field, value] : fields) {
        if (known.empty())
            break;
        const TableField &of = known[field % known.size()];
        row.fields.emplace_back(of.name, choose(values(of), value));
    }
    return row;
}

/* Low numbers, hardly ever high ones. */
rc::Gen<uint32_t> usual()
{
    return rc::gen::weightedOneOf<uint32_t>({{5, rc::gen::inRange(0U, 4U)},
                                             {3, rc::gen::inRange(0U, 8U)},
                                             {1, rc::gen::inRange(0U, 24U)}});
}

rc::Gen<Choices> any_choices(uint32_t tables_to_choose)
{
    return rc::gen::tuple(
        rc::gen::inRange(0U, tables_to_choose),
        rc::gen::container<std::vector<uint32_t>>(2, usual()), usual(),
        rc::gen::mapcat(rc::gen::inRange<size_t>(0, 4),
                        [](size_t count) {
                            return rc::gen::container<std::vector<std::pair<uint32_t, uint32_t>>>(
                                count, rc::gen::pair(rc::gen::inRange(0U, 16U), usual()));
                        }),
        rc::gen::inRange(0U, 5U));
}

rc::Gen<RandomConfiguration> configuration(const std::vector<const TableSchema *> &from)
{
    return rc::gen::map(
        rc::gen::container<std::vector<Choices>>(any_choices(static_cast<uint32_t>(from.size()))),
        [from](const std::vector<Choices> &all) {
            RandomConfiguration configuration;
            for (const Choices &choices : all)
                configuration.rows.push_back(row(*from[std::get<0>(choices)], choices));
            return configuration;
        });
}

} // namespace

std::string RandomConfiguration::text() const
{
    const auto fields = [](const RandomRow &row) {
        std::string text;
        for (const auto &[name, value] : row.fields)
            text += fmt::format("{}\"{}\": {}", text.empty() ? "" : ", ", name, value);
        return "{" + text + "}";
    };
    Texts tables;
    std::string text;
    const auto add = [&text](const std::string &entry) {
        text += (text.empty() ? "" : ",\n ") + entry;
    };
    for (const RandomRow &one : rows) {
        if (one.is_flat) {
            add(fmt::format("\"{}|{}\": {}", one.table, one.key, fields(one)));
            continue;
        }
        if (std::find(tables.begin(), tables.end(), one.table) != tables.end())
            continue;
        tables.push_back(one.table);
        std::string entries;
        for (const RandomRow &other : rows)
            if (!other.is_flat && other.table == one.table)
                entries += fmt::format("{}\n  \"{}\": {}", entries.empty() ? "" : ",", other.key,
                                       fields(other));
        add(fmt::format("\"{}\": {{{}}}", one.table, entries));
    }
    return "{" + text + "}\n";
}

RandomConfiguration RandomConfiguration::with(const RandomConfiguration &more) const
{
    RandomConfiguration both = *this;
    both.rows.insert(both.rows.end(), more.rows.begin(), more.rows.end());
    return both;
}

std::ostream &operator<<(std::ostream &out, const RandomConfiguration &configuration)
{
    return out << configuration.text();
}

RandomConfiguration basic_configuration()
{
    RandomConfiguration basic;
    const auto add = [&](const char *table, std::initializer_list<const char *> keys) {
        for (const char *key : keys)
            basic.rows.push_back({table, key, {}, false});
    };
    add("PORT", {"Ethernet0", "Ethernet4", "Ethernet8", "Ethernet12", "Ethernet-BP0"});
    add("PORTCHANNEL", {"PortChannel1", "PortChannel2"});
    add("VLAN", {"Vlan10", "Vlan20"});
    add("VRF", {"Vrf1", "VrfBlue"});
    return basic;
}

rc::Gen<RandomConfiguration> any_configuration()
{
    std::vector<const TableSchema *> all;
    for (const TableSchema &table : tables())
        /* Rows of L3 interfaces more often. */
        all.insert(all.end(), table.has_address_rows && table.use == Use::applied ? 5 : 1, &table);
    return configuration(all);
}

rc::Gen<RandomConfiguration> any_ports()
{
    /* The name of a port, and its index: 0 for none. */
    const auto port = rc::gen::pair(rc::gen::inRange(0U, 8U), rc::gen::inRange(0U, 10U));
    return rc::gen::map(
        rc::gen::container<std::vector<std::pair<uint32_t, uint32_t>>>(port), [](const auto &all) {
            RandomConfiguration ports;
            for (const auto &[name, index] : all) {
                RandomRow row{"PORT",
                              name == 7 ? "Ethernet-BP0" : fmt::format("Ethernet{}", name),
                              {},
                              false};
                if (index != 0)
                    row.fields.emplace_back("index",
                                            fmt::format("\"{}\"", index == 9 ? 300 : index));
                ports.rows.push_back(std::move(row));
            }
            return ports;
        });
}

} // namespace kvnsim
