#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "sim/config/desired.h"

/* Everything that the reader may say about a configuration, as data: the checks, the messages and
 * the reference come from the same rows. */
namespace kvnsim {

/* The number in a finding's code. Users name codes in scripts: a number keeps its meaning, and is
 * not used again when its finding is gone. */
enum class FindingId : uint16_t {
    /* The file */
    syntax = 1,
    no_object_of_tables = 2,
    duplicate_table = 3,
    duplicate_row = 4,
    duplicate_field = 5,
    no_object_of_rows = 6,
    no_object_of_rows_unread = 7,
    no_object_of_fields = 8,
    unknown_table = 9,
    unknown_row = 10,
    unknown_field = 11,
    ports_inferred = 12,

    /* Keys */
    blank_in_key = 20,
    key_form = 21,
    key_part = 22,
    key_of_another_table = 23,
    address_form = 24,
    no_row_of_its_own = 25,
    no_prefix_length = 26,

    /* Values */
    value = 40,
    value_kind = 41,
    value_unlike_name = 42,
    unread_value_kind = 43,
    field_of_address_row = 44,
    field_read_elsewhere = 45,
    multicast_mac = 46,
    mtu_capped = 47,
    no_vlan_in_short_name = 48,
    no_vlan_after_dot = 49,

    /* Rows that need one another */
    no_row = 60,
    left_out_no_row = 61,
    left_out_because = 62,
    vrf_without_row = 63,
    no_gateway_mac = 64,
    too_many_ports = 65,
    channel_number_used = 66,
    member_of_another = 67,
    routed_member = 68,
    member_of_both = 69,
    encapsulation_used = 70,
    parent_without_member = 71,
    parent_is_member = 72,
    virtual_mac_twice = 73,
    member_with_virtual_mac = 74,
    no_interface_for_virtual_mac = 75,
};

struct FindingType {
    FindingId id;
    Finding::Severity severity;
    /* What the row asks for is not applied, or not yet: the audit counts it. */
    bool leaves_out;
    const char *text; /* <...> stands for a value, and says which */
    const char *cause;
    const char *cure;
    std::string code() const; /* "KVN-C012" */
};
/* In the order of their numbers. */
const std::vector<FindingType> &finding_types();
const FindingType &type_of(FindingId id);
/* nullptr for an unknown code. */
const FindingType *find_finding_type(const std::string &code);

/* A finding of a type; the values replace the <...> of its text, in turn: one for each. */
Finding make_finding(FindingId id, SourceLocation location,
                     std::initializer_list<std::string> values,
                     std::optional<SourceLocation> other = {});

} // namespace kvnsim
