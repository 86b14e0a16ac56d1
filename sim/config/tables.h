#pragma once

#include <cstdint>
#include <map>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "sim/config/configuration.h"
#include "sim/config/document.h"
#include "sim/config/findings.h"
#include "sim/config/names.h"

/* The configuration tables that are read, as data: a row of the list in tables.cpp holds a table's
 * key, fields, ranges, defaults and what reads its rows. */
namespace kvnsim {

enum class FieldType : uint8_t {
    number,    /* min..max */
    text,      /* at most max characters */
    boolean,   /* see parse_boolean */
    choice,    /* one of choices, in upper or lower case */
    mac,       /* of one station: neither zero nor multicast */
    group_mac, /* not zero; of several stations with a warning */
    vrf,       /* see is_vrf_name */
    interface, /* an interface's name */
    list,      /* a list, or a text with commas */
    elsewhere, /* not read from this table; meaning names the source */
};

/* What is done with a field or a table. */
enum class Use : uint8_t {
    applied,
    shown,       /* shown only */
    checked,     /* checked only */
    not_modelled /* checked, and the reader says that it has no effect here */
};

struct TableField {
    std::string_view name;
    FieldType type;
    uint32_t min, max;
    const char *fallback; /* default; nullptr: see meaning */
    const char *meaning;
    Use use = Use::applied;
    const char *choices = ""; /* "up|down" */
};

/* The kind of a part of a key, between '|'. */
enum class KeyPart : uint8_t {
    any,
    port,
    port_channel,
    vlan,
    sub_interface,
    port_or_channel,
    interface, /* any of the four */
    vrid,
    virtual_router, /* Vrrp1-v4 */
    vrf,
};

class Draft;
class Row;

struct TableSchema {
    const char *name;
    std::vector<KeyPart> key;
    std::vector<TableField> fields; /* of rows other than address rows */
    std::string meaning;
    /* Called for each row with valid key and fields; address rows after all others. */
    void (*read)(Draft &draft, const Row &row);
    bool has_address_rows = false; /* the key, then '|' and an IP address, in rows of their own */
    Use use = Use::applied;
};

/* In the order in which they are read: rows refer to rows of tables before their own. */
const std::vector<TableSchema> &tables();
const TableSchema *find_table(std::string_view name);
bool is_known_table(std::string_view name);

/* In words, for messages and for the reference: "a number 68..9216", "EthernetN". */
std::string expected(const TableField &field);
std::string expected(KeyPart part);
std::string key_form(const TableSchema &table);
/* Whether a part of a key is such a name or number. */
bool has_form(KeyPart part, std::string_view text);
/* The same of a text that is parsed as an interface's name already. */
bool has_form(KeyPart part, std::string_view text, const std::optional<InterfaceName> &interface);

struct FieldValue {
    bool given = false;    /* by the row or by the field's default */
    uint32_t number = 0;   /* of a number; 1 for true; of a choice its place among them */
    std::string_view text; /* a part of the field's, or a choice; of a list with commas */
    Mac mac{};
    Position at; /* in the row */
};
/* The value of a field's text; empty when it is invalid or the field is not read. */
std::optional<FieldValue> parse_field(const TableField &field, std::string_view text);
/* The fields that address rows have. */
const std::vector<TableField> &address_fields();

/* A row as written, in its table. */
struct SourceRow {
    const SourceLocation *table = nullptr;
    const DocumentRow *row = nullptr;

    SourceLocation location() const
    {
        return {*table, row->at.line, row->at.column, std::string(row->name)};
    }
};

/* A row with its key split and its fields checked. Only fields of its table may be asked for. Its
 * texts are parts of the document. */
class Row {
public:
    explicit Row(const TableSchema &of) : table(of) {}

    const TableSchema &table;
    std::vector<std::string_view> parts;    /* the key's, the address included */
    std::optional<InterfaceName> interface; /* the first part, if it is the name of one */
    std::optional<Address> ip;              /* of an address row */
    L3Settings *l3 = nullptr;               /* of an address row's interface, if it is known */
    std::vector<FieldValue> values;         /* as fields() */
    bool is_address_row = false;

    /* From here on it is another row; what it holds is still to be set. */
    void begin(const SourceRow &source)
    {
        source_ = source;
        location_.reset();
    }
    const SourceRow &source() const { return source_; }
    /* Made when it is asked for: of most rows with an address nobody does. */
    const SourceLocation &location() const
    {
        if (!location_)
            location_ = source_.location();
        return *location_;
    }

    const std::vector<TableField> &fields() const
    {
        return is_address_row ? address_fields() : table.fields;
    }

    std::string_view name() const { return parts[0]; }
    std::string_view address() const { return parts.back(); }
    bool given(std::string_view field) const { return value(field).given; }
    uint32_t number(std::string_view field) const { return value(field).number; }
    bool flag(std::string_view field) const { return value(field).number != 0; }
    std::string_view text(std::string_view field) const { return value(field).text; }
    std::vector<std::string_view> elements(std::string_view field) const; /* of a list */
    const Mac &mac(std::string_view field) const { return value(field).mac; }
    const FieldValue &value(std::string_view field) const;
    /* The field's place; only for fields that the row has. */
    SourceLocation location_of(std::string_view field) const
    {
        return moved(location(), value(field).at);
    }

private:
    SourceRow source_;
    mutable std::optional<SourceLocation> location_;
};

/* Where a finding is, and the row it conflicts with. */
struct Place {
    Place(const SourceLocation &at, std::optional<SourceLocation> row = {})
        : location(at), other(std::move(row))
    {}
    const SourceLocation &location;
    std::optional<SourceLocation> other;
};

/* A configuration while it is read. Texts that are not its own are parts of the document, which
 * outlives it. */
class Draft {
public:
    explicit Draft(Configuration &configuration)
        : desired(configuration.desired), findings_(configuration.findings)
    {}

    Desired &desired;
    std::optional<Mac> gateway_mac;                     /* of static anycast gateways */
    std::map<uint32_t, SourceLocation> channel_numbers; /* port-channel number -> its row */
    std::pmr::monotonic_buffer_resource memory;         /* of the largest look-ups */
    template <class T> using ByText = std::unordered_map<std::string_view, T>;
    ByText<SourceLocation> joined;   /* port -> the row that puts it into a port-channel */
    ByText<SourceLocation> bridged;  /* member -> a row that puts it into a VLAN */
    ByText<SourceLocation> untagged; /* member -> its VLAN without tag */
    ByText<SourceLocation> vnets;
    ByText<std::string_view> vnet_of; /* interface -> its VNET */
    ByText<std::string_view> lanes;   /* lane -> the first port that has it */
    std::vector<SourceLocation> ports_without_lanes;
    ByText<uint32_t> port_indexes; /* port -> its index */
    /* Of the interfaces of the table that is read. */
    std::pmr::unordered_map<std::string_view, L3Settings *> l3_settings{&memory};
    /* nullptr for an interface that is not among them. */
    L3Settings *l3_of(std::string_view interface) const
    {
        const auto found = l3_settings.find(interface);
        return found == l3_settings.end() ? nullptr : found->second;
    }
    using VlanRows = std::pmr::unordered_map<uint32_t, const SourceLocation *>;
    /* What a port or port-channel is to its sub-interfaces. */
    struct Parent {
        uint16_t mtu = 0;
        VlanRows vlans;                               /* -> the rows that have them */
        ByName<DesiredSubInterface>::iterator newest; /* of its sub-interfaces; the end if none */
    };
    std::unordered_map<std::string, Parent> parents;

    /* Add a finding; see make_finding for the values. Returns false, for a check to return. */
    template <class... Values> bool tell(FindingId id, const Place &place, const Values &...values)
    {
        findings_.push_back(
            make_finding(id, place.location, {fmt::to_string(values)...}, place.other));
        return false;
    }

    /* What is missing because of an error in its row or table. Only for missing objects: another
     * row may be valid. */
    void leave_out(std::string_view table, std::string_view name, const SourceLocation &row);
    void leave_out(std::string_view table, const SourceLocation &location);
    const SourceLocation *left_out(std::string_view table, std::string_view name) const;

    /* After the last port: give each its number on the front panel, and leave out those that find
     * none. The number follows from the ports of this configuration alone: the index of a port
     * where no other has it, else the number in its name, counted from 1, else the lowest free. */
    void number_ports();
    /* Why a port-channel is not in the ASIC: "PortChannel1 has no member", and the row behind it;
     * empty if it is. Only when all members and routed ports are read: the answer stands. */
    using Absence = std::pair<std::string, SourceLocation>;
    const std::optional<Absence> &absence(const std::string &name,
                                          const DesiredPortChannel &channel);
    /* An address of an interface, for check_addresses. */
    void add_address(const Row &row, const std::string &vrf);
    /* After the last row: the order of the rows makes no difference. */
    void sort_addresses();
    /* After the last row: what several rows together do. */
    void check_addresses();
    void check_members();
    void check_waiting();

private:
    std::vector<Finding> &findings_;
    std::map<std::string, SourceLocation> left_out_;         /* by "table|name" or "table" */
    std::map<std::string, std::optional<Absence>> absences_; /* by port-channel */
    struct Network {
        bool ipv6 = false;
        AddressBytes start{};
        uint32_t prefix_length = 0;
        bool holds(const Network &inner) const;
        /* A network sorts before those within it. */
        bool operator<(const Network &other) const;
        bool operator==(const Network &other) const;
    };
    struct PlacedAddress {
        Network network;
        AddressBytes bytes;
        std::string_view interface, text;
        SourceRow source;
    };
    void check_addresses(const std::vector<PlacedAddress> &placed);

    /* By VRF and VNET: within one of them addresses must differ. */
    std::map<std::string, std::vector<PlacedAddress>> addresses_;
};

} // namespace kvnsim
