#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "sim/config/finding.h"

/* Everything that the reader may say about a configuration, as data: the checks, the messages and
 * the reference come from the same rows. */
namespace kvnsim {

/* The number in a finding's code. Users name codes in scripts: a number keeps its meaning, and is
 * not used again when its finding is gone. */
enum class FindingId : uint16_t {
    /* The file */
    syntax = 1,
    no_object_of_tables = 2,
    no_known_table = 3,
    no_known_table_but = 4,
    tables_one_level_down = 5,
    duplicate_table = 6,
    duplicate_row = 7,
    duplicate_field = 8,
    no_object_of_rows = 9,
    no_object_of_fields = 10,
    unknown_table = 11,
    unknown_row = 12,
    unknown_field = 13,
    ports_inferred = 14,
    no_utf8 = 15,
    no_rows = 16,
    other_keys = 17,

    /* Keys */
    key_form = 20,
    key_part = 21,
    key_of_another_table = 22,
    unused_key = 23,
    address_form = 24,
    no_row_of_its_own = 25,
    no_prefix_length = 26,
    long_name = 27,
    unusable_address = 28,

    /* Values */
    value = 40,
    value_kind = 41,
    unused_value = 42,
    unused_value_kind = 43,
    null_value = 44,
    value_unlike_key = 45,
    field_of_address_row = 46,
    field_read_elsewhere = 47,
    mtu_capped = 48,
    no_vlan_in_short_name = 49,
    no_vlan_after_dot = 50,
    multicast_mac = 51,

    /* What is not modelled */
    field_not_modelled = 60,
    interface_not_modelled = 61,

    /* Rows that need one another */
    no_row = 70,
    left_out_no_row = 71,
    left_out_because = 72,
    vrf_without_row = 73,
    no_vnet = 74,
    no_gateway_mac = 75,
    no_parent_interface = 76,
    parent_is_member = 77,
    member_with_virtual_mac = 78,
    no_interface_for_virtual_mac = 79,
    waits = 80,

    /* Rows that conflict */
    too_many_ports = 90,
    lane_twice = 91,
    no_lanes = 92,
    channel_number_used = 93,
    member_of_another = 94,
    declined_member = 95,
    routed_member = 96,
    member_of_both = 97,
    untagged_twice = 98,
    encapsulation_used = 99,
    virtual_mac_twice = 100,
    address_twice = 101,
    subnets_overlap = 102,
    routed_channel_member = 103,
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
