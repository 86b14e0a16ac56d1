#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform_api/libsdk.h"
#include "sim/state/index.h"

/* The properties of an interface: what each side has and whether the sides agree. The audit,
 * explanations, the report and stress walk this table. */
namespace kvnsim {

enum class AuditKind : uint8_t {
    orphan,     /* in the ASIC, without an owner */
    dangling,   /* names something that is gone */
    difference, /* two sides disagree about an object */
    missing,    /* wanted, but absent */
    unwanted,   /* present and owned, but not wanted */
    left_out    /* configured, but not applied, or not yet */
};
constexpr const char *audit_kind_names[] = {"orphan",  "dangling", "difference",
                                            "missing", "unwanted", "left out"};
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

/* One side's value of a property. */
struct SideValue {
    enum class Form : uint8_t { unknown, none, number, flag, hex, text };
    Form form = Form::unknown;
    uint32_t number = 0;
    std::string words = {}; /* of a text */
    bool known() const { return form != Form::unknown; }
    std::string to_text() const; /* "", "none", "9100", "on", "0x8001", the text */
};

/* All sides of one property of one interface. A side without it is unknown. */
struct Sides {
    SideValue configured, library, asic, waits, database;
    SideValue expected;                     /* when no side has the right value */
    uint32_t right = 0;                     /* of an attribute: its right value */
    const Origin *written = nullptr;        /* origin of the ASIC's value or object */
    const Origin *queued = nullptr;         /* origin of the pending write */
    const Origin *published = nullptr;      /* origin of the database's value */
    bool is_worth_telling = false;          /* even when the sides agree */
    std::optional<AuditKind> mismatch;      /* difference or missing; empty: they agree */
    const char *table = nullptr;            /* of the shared database, when its row is wrong */
    const SourceLocation *wanted = nullptr; /* of an object missing in the ASIC, else nullptr */
    std::string lacks;                      /* "has no SDK interface" */
    std::string other;                      /* the other interface concerned */
    bool any_known() const
    {
        return configured.known() || library.known() || asic.known() || database.known();
    }
};

/* An SDK interface's attributes, by their numbers: the row of each that was written, else nullptr.
 */
using WrittenAttributes = std::array<const AttributeValueRow *, SdkIntfAttrNatOutsideEgrBdDb + 1>;

/* The rows of one interface. */
struct InterfaceRows {
    InterfaceRows(const Index &of, const std::string &named, const HostRow *known, bool in_words);

    const Index &index;
    const std::string &name;
    bool tells; /* fill in texts; else only the verdict */
    const HostRow *host;
    const WantedInterface *wanted;
    const WantedPort *port; /* for a verdict only of what can be a port */
    const ContextRow *context = nullptr;
    const IntfRow *intf = nullptr; /* named by the record and in the ASIC */
    WrittenAttributes attributes{};
    const L3lifRow *published = nullptr;
    bool must_exist = false;
    /* A bit for its kind; all of them, and one more, when it is unknown to the host or in loopback,
     * or writes wait. */
    uint8_t kinds;
    /* What the SDK interface is checked against. nullptr for a port-channel without members or a
     * port no longer routed: it is half destroyed and keeps only its identity. */
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
    const char *label; /* name in explanations; nullptr: as in findings */
    /* The kind of finding that applying the same configuration again repairs. */
    std::optional<AuditKind> made_up_for;
    void (*look)(const InterfaceRows &of, Sides &sides, uint32_t attribute);
    /* InterfaceRows::kinds of those whose sides can disagree about it; about an attribute that was
     * written those of any. */
    uint8_t kinds;

    /* Whether there is anything to judge, which for most properties of an interface there is not.
     */
    bool can_differ(const InterfaceRows &of) const
    {
        return (kinds & of.kinds) != 0 ||
               (is_attribute(id) && of.attributes[attribute_of(id)] != nullptr);
    }
};

/* In the order of explanations. */
const std::vector<Property> &interface_properties();

/* Whether applying again repairs a finding of that kind about that property. */
bool is_made_up_for(AuditKind kind, PropertyId id);

} // namespace kvnsim
