/* The findings of the reader. Each row stands once for the message, for the code and for the
 * reference in the documents. */
#include "sim/config/findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cassert>

namespace kvnsim {

const std::vector<FindingType> &finding_types()
{
    using Id = FindingId;
    constexpr auto error = Finding::Severity::error;
    constexpr auto warning = Finding::Severity::warning;
    constexpr auto note = Finding::Severity::note;
    static const std::vector<FindingType> types = {
        {Id::syntax, error, true, "<what is wrong, or what was expected and what stands there>",
         "The text is not JSON at this place.", "Correct the text."},
        {Id::no_object_of_tables, error, true, "found <a list>: expected an object of tables",
         "The file is JSON, but not an object of tables.", "Put the tables into one object."},
        {Id::no_known_table, error, true,
         "no table of ports or L3 interfaces is here; the first table is <name>",
         "The file is no configuration of a switch, or has other tables only.",
         "Give the file that has the tables below."},
        {Id::no_known_table_but, error, true,
         "no known table is here: <PORTS> is not a table; <PORT> is",
         "The names of the tables are misspelt.", "Write them as in the list of tables."},
        {Id::tables_one_level_down, error, true, "the tables are one level down, under <name>",
         "The configuration is the value of another object's entry.",
         "Take it out of the enclosing object."},
        {Id::duplicate_table, warning, false, "the table is there twice: the last one counts",
         "Two tables have the same name.", "Join them."},
        {Id::duplicate_row, warning, false, "the row is there twice: the last one counts",
         "Two rows have the same key.", "Remove one of them."},
        {Id::duplicate_field, warning, false,
         "the field <name> is there twice: the last one counts",
         "Two fields of a row have the same name.", "Remove one of them."},
        {Id::no_object_of_rows, error, true, "found <a list>: expected an object of rows",
         "A table that is read has another form.", "Write its rows as an object."},
        {Id::no_object_of_fields, error, true, "found <a string>: expected an object of fields",
         "A row is not an object.", "Write its fields as an object, {} for none."},
        {Id::unknown_table, warning, true, "the table <name> is not read: expected <name>",
         "The name differs from that of a known table in one character, or in upper and lower "
         "case.",
         "Write the name as expected."},
        {Id::unknown_row, warning, true, "the row <name> is not read: expected <name>",
         "The table has one row, of another name.", "Write the key as expected."},
        {Id::unknown_field, warning, false, "the field <name> is not read: expected <name>",
         "The name differs from that of a known field in upper and lower case.",
         "Write the name as expected."},
        {Id::ports_inferred, note, false,
         "there is no table PORT: <2 front-panel ports> taken from the rows that name them",
         "The configuration does not say which ports the switch has.", "Add the table PORT."},
        {Id::no_utf8, error, true, "expected UTF-8 in key and fields",
         "A row of a running database is not text.", "Correct the row."},
        {Id::no_rows, error, true, "the database has no rows",
         "The running database is empty, or it is another one.",
         "Name the database of the configuration; it is 4 on most switches."},
        {Id::other_keys, note, false, "keys that are not hashes named TABLE|key are not read: <3>",
         "The running database holds other things, too.", "None."},

        {Id::key_form, error, true, "the key <key> is not of the form <form>",
         "The key has too many or too few parts.", "Write the key in the form of its table."},
        {Id::key_part, error, true, "<part of the key>: expected <form>",
         "A part of the key is no name or number of the expected form.",
         "Write the key in the form of its table."},
        {Id::key_of_another_table, error, true,
         "<name>: expected <form> (<name> belongs in <table>)",
         "The interface is of another kind than the table.", "Move the row to the named table."},
        {Id::unused_key, warning, true, "left out: <part of the key> is not of the form <form>",
         "The key of a row that is only shown or checked has another form.",
         "Write the key in the form of its table."},
        {Id::address_form, error, true,
         "<address>: expected an IPv4 or IPv6 address and its prefix length",
         "The last part of the key is no IP address.", "Correct the address."},
        {Id::no_row_of_its_own, note, false,
         "<interface> has addresses, but no row <row> of its own",
         "A routed interface has rows for its addresses only.",
         "Add the row; without it the interface has its defaults."},
        {Id::no_prefix_length, note, false,
         "<address> has no prefix length: taken as a host address",
         "An address stands without prefix length.", "Add the prefix length."},
        {Id::long_name, warning, false, "<interface> has more than <15> characters",
         "The switch's kernel cuts or refuses longer names of interfaces.",
         "Use the short form, such as Po0001.100."},
        {Id::unusable_address, warning, false, "<address> is <a multicast> address",
         "No interface can have such an address.", "Correct the address."},

        {Id::value, error, true, "<field> is <value>: expected <what the table above says>",
         "The value is out of range or of another form.", "Correct the value."},
        {Id::value_kind, error, true, "<field> is <a list>: expected <what the table above says>",
         "The value is of another kind.", "Write the value as a string."},
        {Id::unused_value, warning, false,
         "<field> is <value>: expected <what the table above says>; it is not applied",
         "The value of a field that is only shown or checked is out of range or of another form.",
         "Correct the value."},
        {Id::unused_value_kind, warning, false,
         "<field> is <a list>: expected <what the table above says>; it is not applied",
         "The value of a field that is only shown or checked is of another kind.",
         "Write the value as a string."},
        {Id::null_value, warning, false, "<field> is null: taken as missing",
         "The field has no value.", "Give it a value, or remove it."},
        {Id::value_unlike_key, warning, false, "<field> is <11>: expected <10>, as the key says",
         "A field repeats what the key says, and differs. The key counts.",
         "Correct or remove the field."},
        {Id::field_of_address_row, warning, false,
         "<field> is not read in an address row: it belongs in <row>",
         "A field of the interface stands in the row of an address.",
         "Move the field to the interface's own row."},
        {Id::field_read_elsewhere, warning, false, "<mtu> is not read here: it comes from <row>",
         "The field has no effect in this table.", "Set it in the named row."},
        {Id::mtu_capped, note, false, "mtu is <9000>: capped to <1500>, the MTU of <parent>",
         "A sub-interface cannot carry more than its parent.",
         "Lower it, or raise that of the parent."},
        {Id::no_vlan_in_short_name, error, true,
         "vlan is missing: expected <range>; the short name <sub-interface> does not give it",
         "A short name has an identifier after the dot, not a VLAN.", "Add the field vlan."},
        {Id::no_vlan_after_dot, error, true,
         "VLAN <VLAN> after the dot: expected <range>, or the field vlan",
         "The number after the dot is no VLAN.", "Add the field vlan, or use another name."},

        {Id::multicast_mac, warning, false, "<gateway_mac> <MAC> is a multicast address",
         "No station has such a MAC; other switches may drop what it sends.",
         "Use a MAC whose first byte is even."},

        {Id::field_not_modelled, note, false,
         "<field> <value> is not modelled: it has no effect here",
         "The field decides where traffic goes, but the library has no part in it.",
         "None; a switch applies it by other means."},
        {Id::interface_not_modelled, note, false,
         "<interface> is not modelled: it is <a loopback interface>",
         "The interface exists on a switch, but the library has no part in it.",
         "None; a switch makes it by other means."},

        {Id::no_row, error, true, "<object> has no row in <table>",
         "A row needs an object that is not configured.", "Add the named row, or remove this one."},
        {Id::left_out_no_row, warning, true, "left out: <object> has no row in <table>",
         "A membership needs an object that is not configured.",
         "Add the named row, or remove this one."},
        {Id::left_out_because, warning, true, "left out, because <row> is",
         "A row that this one needs is left out.", "Correct the named row."},
        {Id::vrf_without_row, warning, false, "vrf_name is <VRF>, which has no row in VRF",
         "An interface names a VRF that is not configured. It gets a number all the same.",
         "Add the row."},
        {Id::no_vnet, warning, false, "vnet_name is <VNET>, which has no row in VNET",
         "An interface names a VNET that is not configured.", "Add the row."},
        {Id::no_gateway_mac, warning, true,
         "static_anycast_gateway has no effect: there is no gateway_mac in SAG|GLOBAL",
         "The anycast gateway has no MAC.", "Set gateway_mac in SAG|GLOBAL."},
        {Id::no_parent_interface, warning, true, "left out: parent_interface is missing",
         "A virtual router does not say on which interface it is.", "Set parent_interface."},
        {Id::parent_is_member, error, true,
         "<port> is a member of a port-channel: a sub-interface needs a LID, and a member has none "
         "of its own",
         "The parent of a sub-interface is a member of a port-channel.",
         "Put the sub-interface under the port-channel."},
        {Id::member_with_virtual_mac, error, true,
         "<port> is a member of a port-channel and has no interface of its own for a virtual MAC",
         "A virtual MAC needs an interface of its own.", "Put it on the port-channel."},
        {Id::no_interface_for_virtual_mac, warning, true,
         "left out: <port-channel has no member>, so no interface for a virtual MAC",
         "The port-channel is not in the ASIC.", "Add a member that is not routed."},
        {Id::waits, warning, true, "waits: <port-channel has no member>",
         "A port-channel and its sub-interfaces are in the ASIC from the first member that joins "
         "to the last.",
         "Add a member that is not routed."},

        {Id::too_many_ports, warning, true,
         "left out: <port> is beyond the <255> ports of a switch",
         "The numbers of the front panel are 8 bits wide.", "Remove ports."},
        {Id::lane_twice, warning, false, "shares <lane 8> with <port>",
         "Two ports have the same lane.", "Give each port lanes of its own."},
        {Id::no_lanes, warning, false, "lanes are missing: other ports have them",
         "A port has no lanes.", "Add them."},
        {Id::channel_number_used, error, true,
         "port-channel number <number> is already used by <port-channel>",
         "Two names, such as PortChannel1 and PortChannel01, have the same number.",
         "Use another number."},
        {Id::member_of_another, error, true, "<port> is a member of another port-channel",
         "A port can be a member of one port-channel only.", "Remove one of the memberships."},
        {Id::declined_member, warning, true, "<port> is routed: it does not join <port-channel>",
         "The library declines a member that is routed itself, if the port-channel is routed, too. "
         "The port stays routed.",
         "Remove the membership, or the port's row in INTERFACE."},
        {Id::routed_member, warning, false, "<interface> is routed and a member of a VLAN",
         "A routed interface takes no part in a VLAN.", "Remove one of the two rows."},
        {Id::member_of_both, warning, false, "<port> is a member of a VLAN and of a port-channel",
         "The port-channel takes the port's place in VLANs.",
         "Make the port-channel the VLAN's member."},
        {Id::untagged_twice, warning, false, "<interface> is an untagged member of two VLANs",
         "A packet without tag belongs to one VLAN only.",
         "Make it a tagged member of one of them."},
        {Id::encapsulation_used, error, true, "VLAN <VLAN> is there twice under <parent>",
         "Two sub-interfaces of a parent have the same VLAN.", "Use another VLAN."},
        {Id::virtual_mac_twice, warning, false, "<interface> already has the virtual MAC <MAC>",
         "Two rows give an interface the same virtual MAC.", "Remove one of them."},
        {Id::address_twice, warning, false, "<address> is there twice in its VRF",
         "Two interfaces of a VRF, or one twice, have the same address.", "Change one of them."},
        {Id::subnets_overlap, warning, false,
         "<address> overlaps <address> of <interface> in its VRF",
         "The networks of two interfaces of a VRF share addresses.", "Change one of them."},
        {Id::routed_channel_member, warning, false,
         "<port> is routed and a member of <port-channel>",
         "A member of a port-channel takes no part in routing. The port stays routed.",
         "Remove the membership, or the port's row in INTERFACE."},
    };
    return types;
}

std::string FindingType::code() const
{
    return fmt::format("KVN-C{:03}", static_cast<unsigned>(id));
}

const FindingType &type_of(FindingId id)
{
    const std::vector<FindingType> &types = finding_types();
    return *std::lower_bound(
        types.begin(), types.end(), id,
        [](const FindingType &type, FindingId other) { return type.id < other; });
}

const FindingType *find_finding_type(const std::string &code)
{
    for (const FindingType &type : finding_types())
        if (type.code() == code)
            return &type;
    return nullptr;
}

Finding make_finding(FindingId id, SourceLocation location,
                     std::initializer_list<std::string> values, std::optional<SourceLocation> other)
{
    const FindingType &type = type_of(id);
    std::string message, text = type.text;
    size_t from = 0;
    for (const std::string &value : values) {
        const size_t open = text.find('<', from), close = text.find('>', open);
        assert(close != text.npos);
        message += text.substr(from, open - from) + value;
        from = close + 1;
    }
    message += text.substr(from);
    assert(text.find('<', from) == text.npos);
    return {type.severity,       type.code(),        type.leaves_out,
            std::move(location), std::move(message), std::move(other)};
}

} // namespace kvnsim
