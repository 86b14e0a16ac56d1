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
        {Id::duplicate_table, error, true, "the table is there twice",
         "Two tables have the same name.", "Join them."},
        {Id::duplicate_row, error, true, "the row is there twice", "Two rows have the same key.",
         "Remove one of them."},
        {Id::duplicate_field, error, true, "the field <name> is there twice",
         "Two fields of a row have the same name.", "Remove one of them."},
        {Id::no_object_of_rows, error, true, "found <a list>: expected an object of rows",
         "A table that is read has another form.", "Write its rows as an object."},
        {Id::no_object_of_rows_unread, warning, false,
         "found <a string>: expected an object of rows",
         "A table that is not read has another form.", "Write its rows as an object."},
        {Id::no_object_of_fields, error, true, "found <a string>: expected an object of fields",
         "A row is not an object.", "Write its fields as an object, {} for none."},
        {Id::unknown_table, error, true, "unknown table <name>: expected <table>",
         "The name differs from that of a known table in case or blanks only.",
         "Write the name as expected."},
        {Id::unknown_row, error, true, "unknown row <name>: expected <row>",
         "The key differs from a known one in case or blanks only.", "Write the key as expected."},
        {Id::unknown_field, error, true, "unknown field <name>: expected <field>",
         "The name differs from that of a known field in case or blanks only.",
         "Write the name as expected."},
        {Id::ports_inferred, note, false,
         "there is no table PORT: <2 front-panel ports> taken from the rows that name them",
         "The configuration does not say which ports the switch has.", "Add the table PORT."},

        {Id::blank_in_key, error, true, "there is a blank in the key <key>: expected <form>",
         "A key has blanks.", "Remove them."},
        {Id::key_form, error, true, "the key <key> is not of the form <form>",
         "The key has too many or too few parts.", "Write the key in the form of its table."},
        {Id::key_part, error, true, "<part of the key>: expected <form>",
         "A part of the key is no name or number of the expected form.",
         "Write the key in the form of its table."},
        {Id::key_of_another_table, error, true,
         "<name>: expected <form> (<name> belongs in <table>)",
         "The interface is of another kind than the table.", "Move the row to the named table."},
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

        {Id::value, error, true, "<field> is <value>: expected <what the table above says>",
         "The value is out of range or of another form.", "Correct the value."},
        {Id::value_kind, error, true,
         "<field> is <a number>: expected <what the table above says>, in quotes",
         "The value is of another kind.", "Write the value as a string."},
        {Id::value_unlike_name, error, true,
         "<field> is <11>: expected <10>, as the <name or key> says",
         "A field repeats what the key says, and differs.", "Correct or remove the field."},
        {Id::unread_value_kind, warning, false,
         "<field> is <a number>: expected a string or a list; it is not read",
         "A field that is not read has another form.", "Write the value as a string or list."},
        {Id::field_of_address_row, warning, false,
         "<field> is not read in an address row: it belongs in <row>",
         "A field of the interface stands in the row of an address.",
         "Move the field to the interface's own row."},
        {Id::field_read_elsewhere, warning, false, "<mtu> is not read here: it comes from <row>",
         "The field has no effect in this table.", "Set it in the named row."},
        {Id::multicast_mac, warning, false, "<field> <MAC> is a multicast address",
         "The lowest bit of the first byte is set.", "Use a unicast address."},
        {Id::mtu_capped, note, false, "mtu is <9000>: capped to <1500>, the MTU of <parent>",
         "A sub-interface cannot carry more than its parent.",
         "Lower it, or raise that of the parent."},
        {Id::no_vlan_in_short_name, error, true,
         "vlan is missing: expected <range>; the short name <sub-interface> does not give it",
         "A short name has an identifier after the dot, not a VLAN.", "Add the field vlan."},
        {Id::no_vlan_after_dot, error, true,
         "VLAN <VLAN> after the dot: expected <range>, or the field vlan",
         "The number after the dot is no VLAN.", "Add the field vlan, or use another name."},

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
        {Id::no_gateway_mac, warning, true,
         "static_anycast_gateway has no effect: there is no gateway_mac in SAG|GLOBAL",
         "The anycast gateway has no MAC.", "Set gateway_mac in SAG|GLOBAL."},
        {Id::too_many_ports, warning, true,
         "left out: <port> is beyond the <255> ports of a switch",
         "The front panel's numbers are 8 bits wide.", "Remove ports."},
        {Id::channel_number_used, error, true,
         "port-channel number <number> is already used by <port-channel>",
         "Two names, such as PortChannel1 and PortChannel01, have the same number.",
         "Use another number."},
        {Id::member_of_another, error, true, "<port> is a member of another port-channel",
         "A port can be a member of one port-channel only.", "Remove one of the memberships."},
        {Id::routed_member, warning, false,
         "<port or port-channel> is routed and a member of a <port-channel or VLAN>",
         "A routed port stays routed, and does not join. A routed member of a VLAN stays both.",
         "Remove one of the two rows."},
        {Id::member_of_both, warning, false, "<port> is a member of a VLAN and of a port-channel",
         "The port-channel takes the port's place in VLANs.",
         "Make the port-channel the VLAN's member."},
        {Id::encapsulation_used, error, true, "VLAN <VLAN> is there twice under <parent>",
         "Two sub-interfaces of a parent have the same VLAN.", "Use another VLAN."},
        {Id::parent_without_member, error, true,
         "<port-channel has no member>: a sub-interface needs its LID, which the first member "
         "creates",
         "The parent of a sub-interface is not in the ASIC.", "Add a member that is not routed."},
        {Id::parent_is_member, error, true,
         "<port> is a member of a port-channel: a sub-interface needs a LID, and a member has none "
         "of its own",
         "The parent of a sub-interface is a member of a port-channel.",
         "Put the sub-interface under the port-channel."},
        {Id::virtual_mac_twice, error, true, "<interface> already has the virtual MAC <MAC>",
         "Two rows give an interface the same virtual MAC.", "Remove one of them."},
        {Id::member_with_virtual_mac, error, true,
         "<port> is a member of a port-channel and has no interface of its own for a virtual MAC",
         "A virtual MAC needs an interface of its own.", "Put it on the port-channel."},
        {Id::no_interface_for_virtual_mac, warning, true,
         "left out: <port-channel has no member>, so no interface for a virtual MAC",
         "The port-channel is not in the ASIC.", "Add a member that is not routed."},
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
