#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/types/columns.h"
#include "sim/types/mac.h"

/* What a configuration wants of the switch, by name, with defaults filled in. */
namespace kvnsim {

/* A place in a configuration. Copies share the names of its row. */
class SourceLocation {
public:
    SourceLocation() = default;
    SourceLocation(std::string file, uint32_t line, uint32_t column, std::string table,
                   std::string key);
    /* The same, in the table of another location: with its file, too. */
    SourceLocation(const SourceLocation &table, uint32_t line, uint32_t column, std::string key);

    uint32_t line = 0, column = 0; /* 1-based; 0 where there are none, as in a database */

    /* As given on the command line, "-" for standard input; of a running configuration database its
     * URL, without a password. */
    const std::string &file() const { return row_ ? row_->table->file : none(); }
    const std::string &table() const { return row_ ? row_->table->name : none(); } /* "INTERFACE" */
    const std::string &key() const
    {
        return row_ ? row_->key : none();
    } /* "Ethernet0|10.0.0.1/31" */
    static constexpr std::string_view column_names = "file, line, column, table, key";

    std::string row() const { return key().empty() ? table() : table() + "|" + key(); }
    std::string to_text() const; /* "leaf.json:12:5: INTERFACE|Ethernet0"; without line and column
                                    "redis://127.0.0.1:6379/4: INTERFACE|Ethernet0" */
    friend bool operator==(const SourceLocation &a, const SourceLocation &b);

private:
    struct Table {
        std::string file, name;
    };
    struct Row {
        std::shared_ptr<const Table> table;
        std::string key;
    };
    static const std::string &none();

    std::shared_ptr<const Row> row_;
};

/* Natural order of interface names: Ethernet2 before Ethernet10. */
struct NaturalOrder {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};
template <class T> using ByName = std::map<std::string, T, NaturalOrder>;

/* L3 settings that every kind of routed interface has. */
struct L3Settings {
    bool ipv4 = false, ipv6 = false;
    std::string vrf;                    /* empty = default */
    uint32_t nat_zone = 0;              /* 0..3 */
    std::vector<std::string> addresses; /* as written, for show and explain */
};

struct DesiredPort {
    uint32_t front_port = 0; /* 1..255 */
    uint16_t mtu = 9100;
    bool admin_up = false;
    std::string alias;
    SourceLocation location;
};
struct DesiredRoutedPort { /* MTU from the port */
    L3Settings l3;
    bool implied = false; /* only the parent of a sub-interface; no row of its own */
    SourceLocation location;
};
struct DesiredPortChannel {
    uint32_t number = 0; /* 0..9999 */
    uint16_t mtu = 9100;
    bool admin_up = true;
    std::optional<L3Settings> l3;   /* empty: layer 2 */
    bool l3_implied = false;        /* routed only as the parent of a sub-interface */
    ByName<SourceLocation> members; /* port names */
    SourceLocation location, l3_location;
};
struct DesiredSubInterface {
    std::string parent; /* a port or a port-channel, by full name */
    uint32_t vlan = 0;  /* 1..4094 */
    uint16_t mtu = 0;   /* capped to the parent's */
    L3Settings l3;
    SourceLocation location;
    bool waits = false; /* for a port-channel's first member */
};
struct DesiredSvi {
    uint32_t vlan = 0; /* 1..4094 */
    uint16_t mtu = 9100;
    L3Settings l3;
    SourceLocation location;
};
struct DesiredVlan {
    uint32_t vlan = 0;
    uint16_t mtu = 9100;            /* of its SVI */
    ByName<SourceLocation> members; /* ports and port-channels, for show and report */
    SourceLocation location;
};
/* A virtual MAC of an interface. */
struct VirtualMac {
    std::string interface;
    Mac mac{};
    friend bool operator<(const VirtualMac &a, const VirtualMac &b);
};

struct Desired {
    std::optional<Mac> router_mac;
    SourceLocation router_mac_location;
    std::string hostname;
    ByName<DesiredPort> ports;
    std::map<std::string, SourceLocation> vrfs;
    ByName<DesiredRoutedPort> routed_ports; /* implied ones included */
    ByName<DesiredPortChannel> port_channels;
    ByName<DesiredSubInterface> sub_interfaces;
    ByName<DesiredSvi> svis;
    ByName<DesiredVlan> vlans;
    std::map<VirtualMac, SourceLocation> virtual_macs;

    /* Whether a member joins, which creates the port-channel in the ASIC: the library declines
     * routed ports. */
    bool has_member_that_joins(const DesiredPortChannel &channel) const;
};

/* An error, warning or note of the reader. */
struct Finding {
    enum class Severity : uint8_t { note, warning, error };
    Severity severity = Severity::error;
    std::string code;        /* "KVN-C012"; empty when the file cannot be read */
    bool leaves_out = false; /* what the row asks for is not applied, or not yet */
    SourceLocation location;
    std::string message;                 /* what is wrong and what was expected */
    std::optional<SourceLocation> other; /* the row it conflicts with */
    TABLE_ROW("configuration_finding", severity, code, leaves_out, location, message, other)
    /* The message and the row it conflicts with: "... (see leaf.json:12:5: PORT|Ethernet0)". */
    std::string without_code() const;
    /* The same and the code: "... [KVN-C012]". */
    std::string words() const;
    /* "file:line:column: table|key: message (see file:line:column: table|key) [KVN-C012]";
     * "warning: " or "note: " precedes the message of a finding that is not an error. Always one
     * line. */
    std::string to_text() const;
};

constexpr const char *severity_names[] = {"note", "warning", "error"};
inline const char *to_text(Finding::Severity severity)
{
    return severity_names[static_cast<size_t>(severity)];
}

/* A configuration as read: what it wants, findings, ignored tables. */
struct Configuration {
    std::string file;
    Desired desired;                         /* valid rows only */
    std::vector<Finding> findings;           /* in the order of their places */
    std::map<std::string, uint32_t> ignored; /* tables that are not applied, with their rows */
    /* False after a syntax error, or when the file cannot be read: then what it wants is unknown,
     * which is not the same as nothing. */
    bool is_understood = false;
    bool has_errors() const;
};

/* Read a configuration; text is the file's whole content. Never throws on bad input. Rows with an
 * error are left out, and so is what refers to them. */
Configuration read_configuration(const std::string &file, const std::string &text);

} // namespace kvnsim
