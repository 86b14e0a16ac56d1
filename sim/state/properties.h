#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/state/index.h"

/* What can be told of an interface: each property once, with its sides and when they agree. The
 * audit, explanations, the report and stress walk this table. */
namespace kvnsim {

enum class AuditKind : uint8_t {
    orphan,     /* in the ASIC, and no record owns it */
    dangling,   /* names something that is gone */
    difference, /* two places say different things of one object */
    missing,    /* wanted, and not there */
    unwanted    /* there, owned, and not wanted */
};
constexpr const char *audit_kind_names[] = {"orphan", "dangling", "difference", "missing",
                                            "unwanted"};
inline const char *to_text(AuditKind kind)
{
    return audit_kind_names[static_cast<size_t>(kind)];
}

/* What a finding is about. */
enum class PropertyId : uint16_t {
    none,
    sdk_interface,
    state,
    publication,
    port_lid,
    path,
    ifmap_index,
    kept_intf,
    membership,
    loopback,
    port_channel,
    vlan,
    parent,
    nat_zone,
    label,
    virtual_mac,
    mac_trap,
    mac,
    router_mac,
    interface,
    binding,
    pending_write,
    first_attribute = 0x100 /* attributes of SDK interfaces, by their numbers */
};
constexpr PropertyId attribute_property(uint32_t number)
{
    return static_cast<PropertyId>(static_cast<uint32_t>(PropertyId::first_attribute) + number);
}
constexpr bool is_attribute(PropertyId id)
{
    return id >= PropertyId::first_attribute;
}
constexpr uint32_t attribute_of(PropertyId id)
{
    return static_cast<uint32_t>(id) - static_cast<uint32_t>(PropertyId::first_attribute);
}
const char *to_text(PropertyId id); /* "MTU"; empty for none */

/* A property's value as one side has it. */
struct SideValue {
    enum class Form : uint8_t { unknown, none, number, flag, hex, text };
    Form form = Form::unknown;
    uint32_t number = 0;
    std::string words = {}; /* of a text */
    bool known() const { return form != Form::unknown; }
    std::string to_text() const; /* "", "none", "9100", "on", "0x8001", the text */
};

/* All sides of one property of one interface. A side that does not know it is unknown. */
struct Sides {
    SideValue configured, library, asic, waits, database;
    SideValue expected;                /* when no side tells what is right */
    uint32_t right = 0;                /* of an attribute: the number that it must have */
    const Origin *written = nullptr;   /* who wrote the ASIC's value, or made the object */
    const Origin *queued = nullptr;    /* who queued what waits for the flush */
    const Origin *published = nullptr; /* who wrote the database's value */
    bool is_worth_telling = false;     /* also when the sides agree */
    std::optional<AuditKind> mismatch; /* difference or missing: they do not agree */
    const char *table = nullptr;       /* the shared database's, when it is its row that is wrong */
    const SourceLocation *wanted = nullptr; /* of what is missing in the ASIC, and then */
    std::string lacks;                      /* "has no SDK interface" */
    std::string other;                      /* the other interface concerned */
    bool any_known() const
    {
        return configured.known() || library.known() || asic.known() || database.known();
    }
};

/* The rows of one interface. */
struct InterfaceRows {
    InterfaceRows(const Index &of, const std::string &named, const HostRow *known, bool in_words);

    const Index &index;
    const std::string &name;
    bool tells; /* put sides into words; else only the verdict is asked for */
    const HostRow *host;
    const WantedInterface *wanted;
    const WantedPort *port;
    const ContextRow *context = nullptr;
    const IntfRow *intf = nullptr; /* that the record names, and the ASIC has */
    RowRange<AttributeValueRow> attributes{nullptr, nullptr};
    const L3lifRow *published = nullptr;
    bool must_exist = false;
    /* What is wanted of an SDK interface that is there with good reason: without members, and of
     * a port that is routed no more, it is half destroyed and keeps just its identity. */
    const WantedInterface *judged = nullptr;

    bool is(InterfaceKind kind) const { return host != nullptr && host->kind == kind; }
    bool has_port() const
    {
        return is(InterfaceKind::port) || (host == nullptr && port != nullptr);
    }
    bool has_vlan() const { return is(InterfaceKind::svi) || is(InterfaceKind::sub_interface); }
};

struct Property {
    PropertyId id;
    const char *label; /* as explanations call it; nullptr: as findings do */
    /* What another apply of the same configuration makes up for. */
    std::optional<AuditKind> made_up_for;
    void (*look)(const InterfaceRows &of, Sides &sides, uint32_t attribute);
};

/* In the order of explanations. */
const std::vector<Property> &interface_properties();

/* Whether another apply makes up for a finding of that kind about that property. */
bool is_made_up_for(AuditKind kind, PropertyId id);

} // namespace kvnsim
