/*
 * What a test expects of the library, in the journal's lines: single lines, and the runs of lines
 * that belong together wherever they occur.
 */
#pragma once

#include <initializer_list>
#include <iosfwd>

#include "tests/lib/platform.h"

namespace kvntest {

/* Stands for the line number of a record's call site. */
constexpr int line_no = 0;

/* One line or several: lists of expectations mix both. */
struct Steps : Journal {
    Steps() = default;
    Steps(const std::string &line) : Journal{line} {}
    Steps(std::initializer_list<Steps> list)
    {
        for (const Steps &steps : list)
            insert(end(), steps.begin(), steps.end());
    }
};

/* A record of the exported function l3lifpd_kvn_NAME (or an internal step of that name). */
Steps debug(const char *name, const char *format, ...) __attribute__((format(printf, 2, 3)));
Steps error(const char *name, const char *format, ...) __attribute__((format(printf, 2, 3)));
/* Any other call, "name(arguments)". */
Steps call(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* l3lifpd_kvn_NAME, as records print it. */
std::string name_of(const char *name);

/* ---- lookups ---- */

Steps intf_id_found(uint32_t ifindex, uint32_t intf_id);
Steps no_intf_id(uint32_t ifindex);

/* ---- the context ---- */

Steps context_made(const l3lif &lif);  /* first creation of the record, with its holder */
Steps context_reset(const l3lif &lif); /* the record was there and was overwritten */
Steps context_kept(const l3lif &lif);  /* the record was there and is left alone */

/* ---- properties ---- */

/* What becomes of a property's value. */
enum class Written {
    value,
    inverted, /* 1 for 0, else 0 */
    bits_set, /* into the attribute as it is read */
    bits_cleared,
    nowhere, /* only traced */
    unknown  /* traced as an unknown type; the host may still be told to publish it */
};

/* What an error record of a refused write takes. */
enum class Refused { value, status };

/* One row of the property table. */
struct PropertyRow {
    uint32_t type;
    uint32_t attribute; /* 0: nothing is written */
    Written written;
    const char *setting; /* debug record: the word written, the interface */
    Refused takes;
    const char *failure; /* error record */
    const char
        *stored; /* debug record before the host publishes it; nullptr: it is not published */
};
/* How a test names the row it failed on. */
void PrintTo(const PropertyRow &row, std::ostream *out);
const std::vector<PropertyRow> &property_rows();
const PropertyRow &property_row(uint32_t type);
/* Numbers that no row has: all small ones, and those that are known in fewer bits. */
std::vector<uint32_t> unknown_types();

/* The word that a property's attribute gets; not for the DF masks. */
uint32_t written_word(const PropertyRow &row, uint32_t value);

/* The single property's own steps, nothing failing; not for the DF masks. */
Steps property_written(uint32_t intf_id, uint32_t type, uint32_t value);
/* A property set on an interface, nothing failing; not for the DF masks. */
Steps property_set(const l3lif &lif, uint32_t intf_id, uint32_t type, uint32_t value);
/* A new interface's defaults, as its ip_cfg has it. */
Steps default_properties(const l3lif &lif, uint32_t intf_id);

/* ---- interfaces: everything from the entry record to the exit, nothing failing ---- */

/* The steps that a port and a port-channel share, from the SDK's create call on. */
struct RoutedInterface {
    const Interface &lif;
    uint32_t intf_id;
    uint32_t lid_id;
    uint32_t pc_id; /* of a port-channel */
};

/* A physical port's way to its SDK interface: up to the create call, but without it. */
Steps port_bound(const Interface &port, uint32_t lid_id);
Steps create_announced(const RoutedInterface &made);
Steps sdk_create(uint32_t type, const std::string &params);
Steps lid_bound(const char *creator, uint32_t intf_id, uint32_t lid_id);
Steps tag_set(const RoutedInterface &made);
/* Defaults, labels and exit. */
Steps routed_interface_finished(const RoutedInterface &made);

/* l3lifpd_kvn_add_l3port of an interface without a context, create 1. */
Steps routed_port_created(const Interface &port, uint32_t intf_id, uint32_t lid_id);
/* The same of a port-channel whose context holds lid_id and pc_id. */
Steps port_channel_interface_created(const RoutedInterface &made, int32_t create = 1);

/* l3lifpd_kvn_alloc_l3pc_add of a port-channel: up to its context, and from there on. */
Steps port_channel_made_in_sdk(const Interface &channel, uint32_t pc_id, uint32_t lid_id);
Steps port_channel_allocated(const RoutedInterface &made, int32_t create = 1);

/* l3lifpd_kvn_add_l3pc without create of a member whose context is not there. */
Steps member_added(const Interface &port, uint32_t pc_id, const char *bit);

/* l3lifpd_kvn_destroy_l3_intf. */
Steps labels_reset(const Interface &lif, uint32_t intf_id);
Steps interface_destroyed(const Interface &lif, uint32_t intf_id);

} // namespace kvntest
