/* The show tables: each function turns a snapshot into a listing, which is both the text and the
 * JSON. Nothing is computed here that the snapshot or its index does not hold. */
#include "sim/state/show.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/attributes.h"
#include "sim/state/index.h"
#include "sim/state/interface_names.h"

namespace kvnsim {
namespace {

constexpr int document_format = 1;
constexpr const char *default_vrf = "default"; /* of interfaces without a VRF; its VPN is 0 */

/* A row's column; nothing without the row. */
template <class Row, class T> Cell cell_of(const Row *row, T Row::*column)
{
    return row != nullptr ? cell(row->*column) : Cell();
}
template <class Row, class T> Cell id_of(const Row *row, T Row::*column)
{
    return row != nullptr ? id_cell(row->*column) : Cell();
}
template <class Row> Cell maker_cell(const Row *row)
{
    return row != nullptr ? Cell(row->made.to_text()) : Cell();
}

/* ---- interfaces ---- */

std::vector<std::string> words_of(const std::string &text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

std::vector<Cell> interface_row(const Index &index, const std::string &name, InterfaceKind kind,
                                const WantedInterface *wanted, const HostRow *host)
{
    const ContextRow *context = index.context(host);
    const WantedInterface *routed = wanted != nullptr && wanted->routed ? wanted : nullptr;
    const bool has_vlan = kind == InterfaceKind::svi || kind == InterfaceKind::sub_interface;
    const Cell vlan = !has_vlan           ? Cell()
                      : wanted != nullptr ? cell(wanted->number)
                                          : cell_of(host, &HostRow::vlan);
    return {name,
            cell(kind),
            index.state(name),
            id_of(context, &ContextRow::intf_id),
            id_of(context, &ContextRow::lid_id),
            id_of(context, &ContextRow::pc_id),
            cell_of(wanted, &WantedInterface::mtu),
            cell_of(routed, &WantedInterface::ipv4),
            cell_of(routed, &WantedInterface::ipv6),
            cell_of(wanted, &WantedInterface::vrf),
            cell_of(wanted, &WantedInterface::parent),
            vlan,
            wanted != nullptr ? words_of(wanted->addresses) : std::vector<std::string>(),
            cell(index.failure(name).message)};
}

Listing show_interfaces(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing{"Interfaces"};
    listing.columns = {{"name", "Interface", rank_name},
                       {"kind", "Kind", rank_state},
                       {"state", "State", rank_state},
                       {"intf_id", "intf_id"},
                       {"lid_id", "lid_id"},
                       {"pc_id", "pc_id"},
                       {"mtu", "MTU"},
                       {"ipv4", "IPv4"},
                       {"ipv6", "IPv6"},
                       {"vrf", "VRF", rank_detail},
                       {"parent", "Parent", rank_detail},
                       {"vlan", "VLAN"},
                       {"addresses", "Addresses", rank_origin},
                       {"failure", "Failure", rank_origin}};
    for (const WantedInterface &wanted : snapshot.wanted_interfaces)
        listing.rows.push_back(
            interface_row(index, wanted.name, wanted.kind, &wanted, index.host(wanted)));
    for (const HostRow &host : snapshot.host) {
        if (index.wanted(host) == nullptr &&
            (host.kind != InterfaceKind::port || index.programmed(&host)))
            listing.rows.push_back(interface_row(index, host.name, host.kind, nullptr, &host));
    }
    return listing;
}

/* ---- ports ---- */

Listing show_ports(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing{"Ports"};
    listing.columns = {{"name", "Port", rank_name},
                       {"alias", "Alias", rank_detail},
                       {"front_port", "Front"},
                       {"role", "Role", rank_state},
                       {"admin_up", "Admin up"},
                       {"mtu", "MTU"},
                       {"lid_id", "lid_id"},
                       {"port_channel", "Port-channel"},
                       {"vlans", "VLANs", rank_detail},
                       {"kept_intf", "Kept SDK", rank_detail},
                       {"loopback", "Loopback", rank_detail},
                       {"failure", "Failure", rank_origin}};
    const auto add = [&](const std::string &name, const WantedPort *wanted, const HostRow *host) {
        const WantedMember *member = index.membership(name);
        listing.rows.push_back(
            {name, cell_of(wanted, &WantedPort::alias),
             host != nullptr ? cell(host->number + 1) : Cell(), std::string(index.role(name)),
             cell_of(wanted, &WantedPort::admin_up), cell_of(wanted, &WantedPort::mtu),
             id_of(host, &HostRow::port_lid), cell_of(member, &WantedMember::port_channel),
             index.vlans(name), id_of(host, &HostRow::kept_intf), host != nullptr && host->loopback,
             cell(index.failure(name).message)});
    };
    for (const WantedPort &port : snapshot.wanted_ports)
        add(port.name, &port, index.host(port.name));
    for (const HostRow &host : snapshot.host) {
        if (host.kind == InterfaceKind::port && index.wanted_port(host.name) == nullptr)
            add(host.name, nullptr, &host);
    }
    return listing;
}

/* ---- port-channels ---- */

Listing show_port_channels(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    std::map<std::string, std::vector<std::string>> wanted_members, declined, joined;
    for (const WantedMember &member : snapshot.wanted_members)
        (member.declined ? declined : wanted_members)[member.port_channel].push_back(member.port);
    for (const MemberRow &member : snapshot.members) {
        const HostRow *owner = index.owner_of_port_channel(member.pc_id);
        const HostRow *port = index.owner_of_front_port(member.front_port);
        if (owner != nullptr)
            joined[owner->name].push_back(
                port != nullptr ? port->name : fmt::format("front port {}", member.front_port));
    }
    Listing listing{"Port-channels"};
    listing.columns = {{"name", "Port-channel", rank_name},
                       {"number", "Number"},
                       {"state", "State", rank_state},
                       {"pc_id", "pc_id"},
                       {"lid_id", "lid_id"},
                       {"intf_id", "intf_id"},
                       {"mtu", "MTU"},
                       {"members", "Members", rank_detail},
                       {"members_in_asic", "In the ASIC", rank_origin},
                       {"declined", "Declined", rank_origin}};
    for (const WantedInterface &wanted : snapshot.wanted_interfaces) {
        if (wanted.kind != InterfaceKind::port_channel)
            continue;
        const HostRow *host = index.host(wanted);
        const ContextRow *context = index.context(host);
        listing.rows.push_back({wanted.name, cell(wanted.number), index.state(wanted.name),
                                id_of(context, &ContextRow::pc_id),
                                id_of(context, &ContextRow::lid_id),
                                id_of(context, &ContextRow::intf_id), cell(wanted.mtu),
                                found_in(wanted_members, wanted.name),
                                found_in(joined, wanted.name), found_in(declined, wanted.name)});
    }
    return listing;
}

/* ---- LID entries ---- */

Listing show_lids(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    std::map<uint32_t, int64_t> bound;
    for (const AttributeValueRow &row : snapshot.attributes) {
        if (row.number == SdkIntfAttrLid)
            bound[row.value]++;
    }
    Listing listing{"LID entries"};
    listing.columns = {{"lid_id", "lid_id", rank_name},      {"owner", "Owner", rank_state},
                       {"leads_to", "Leads to", rank_state}, {"ifmap_idx", "ifmap index"},
                       {"interfaces", "SDK interfaces"},     {"made_by", "Made by", rank_origin}};
    for (const LidRow &lid : snapshot.lids) {
        const HostRow *owner = index.owner_of_lid(lid.lid_id);
        std::vector<std::string> ends;
        for (const LidPathRow &path :
             find_rows(snapshot.lid_paths, &LidPathRow::lid_id, lid.lid_id))
            ends.push_back(Index::path_words(path));
        listing.rows.push_back({cell(lid.lid_id), cell_of(owner, &HostRow::name), std::move(ends),
                                cell(lid.ifmap_idx), bound[lid.lid_id], lid.made.to_text()});
    }
    return listing;
}

/* ---- MACs ---- */

Listing show_macs(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing{"MACs"};
    listing.columns = {{"kind", "Kind", rank_state},
                       {"mac", "MAC", rank_name},
                       {"interface", "Interface", rank_state},
                       {"id", "Id"},
                       {"intf_id", "intf_id"},
                       {"made_by", "Made by", rank_origin}};
    for (const RouterMacRow &mac : snapshot.router_macs)
        listing.rows.push_back({std::string("router"), to_text(mac.mac), Cell(),
                                cell(mac.peer_mac_id), Cell(), mac.made.to_text()});
    for (const TrapRow &trap : snapshot.traps) {
        const HostRow *owner = index.owner_of_intf(trap.intf_id);
        listing.rows.push_back({std::string("virtual"), to_text(trap.mac),
                                cell_of(owner, &HostRow::name), cell(trap.mac_trap_id),
                                cell(trap.intf_id), trap.made.to_text()});
    }
    return listing;
}

/* ---- VRFs and VLANs ---- */

Listing show_vrfs(const Snapshot &snapshot, const std::string &)
{
    std::map<std::string, std::vector<std::string>> interfaces;
    for (const WantedInterface &interface : snapshot.wanted_interfaces) {
        if (interface.routed)
            interfaces[interface.vrf.empty() ? default_vrf : interface.vrf].push_back(
                interface.name);
    }
    Listing listing{
        "VRFs",
        {{"name", "VRF", rank_name}, {"vpn", "VPN", rank_state}, {"interfaces", "Interfaces"}}};
    std::vector<VrfNumber> vrfs = snapshot.vrfs;
    if (interfaces.count(default_vrf) != 0)
        vrfs.insert(vrfs.begin(), {default_vrf, 0});
    for (const VrfNumber &vrf : vrfs)
        listing.rows.push_back({vrf.name, cell(vrf.vpn), found_in(interfaces, vrf.name)});
    return listing;
}

Listing show_vlans(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    std::map<std::string, std::vector<std::string>> members;
    for (const WantedVlanMember &member : snapshot.wanted_vlan_members)
        members[member.vlan].push_back(member.member);
    Listing listing{"VLANs",
                    {{"name", "Interface", rank_name},
                     {"vlan", "VLAN", rank_state},
                     {"svi", "SVI", rank_state},
                     {"mtu", "MTU"},
                     {"members", "Members", rank_detail}}};
    for (const WantedVlan &vlan : snapshot.wanted_vlans) {
        const WantedInterface *svi = index.wanted(vlan.name);
        listing.rows.push_back({vlan.name, cell(vlan.vlan),
                                svi != nullptr ? Cell(index.state(vlan.name)) : Cell(),
                                cell_of(svi, &WantedInterface::mtu), found_in(members, vlan.name)});
    }
    return listing;
}

/* ---- errors, summary, attributes ---- */

std::string one_line(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

Listing show_errors(const Snapshot &snapshot, const std::string &)
{
    Listing listing{"Errors"};
    listing.columns = {{"count", "Count"},
                       {"function", "Function", rank_detail},
                       {"line", "Line"},
                       {"text", "Text", rank_name},
                       {"last_request", "Last request"}};
    for (const ErrorGroup &error : snapshot.errors)
        listing.rows.push_back({cell(error.count), cell(error.function),
                                error.function.empty() ? Cell() : cell(error.line),
                                one_line(error.text), cell(error.last_request)});
    return listing;
}

Listing show_summary(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing = listing_of(
        "Summary", snapshot.table_use,
        {{"Name", rank_name}, {"What", rank_origin}, {"Used"}, {"Highest"}, {"Capacity"}});
    const auto count = [&](const char *name, const char *what, auto of) {
        listing.rows.push_back({std::string(name), std::string(what), cell(of), Cell(), Cell()});
    };
    const auto how_many = [&](const auto &are) {
        return std::count_if(snapshot.wanted_interfaces.begin(), snapshot.wanted_interfaces.end(),
                             are);
    };
    const auto of_kind = [&](InterfaceKind kind) {
        return how_many([&](const WantedInterface &row) { return row.kind == kind && row.routed; });
    };
    count("ports", "ports configured", snapshot.wanted_ports.size());
    count("routed_ports", "routed ports configured", of_kind(InterfaceKind::port));
    count("routed_port_channels", "routed port-channels configured",
          of_kind(InterfaceKind::port_channel));
    count("sub_interfaces", "sub-interfaces configured", of_kind(InterfaceKind::sub_interface));
    count("svis", "SVIs configured", of_kind(InterfaceKind::svi));
    count("programmed", "interfaces in the ASIC",
          how_many([&](const WantedInterface &row) { return index.programmed(index.host(row)); }));
    count("failures", "failed steps, not yet repaired", snapshot.failures.size());
    count("left_out", "rows configured, but left out",
          std::count_if(snapshot.reader.begin(), snapshot.reader.end(),
                        [](const Finding &finding) { return finding.leaves_out; }));
    return listing;
}

Listing show_attributes(const Snapshot &snapshot, const std::string &interface)
{
    const Index index(snapshot);
    const HostRow *host = index.host(interface);
    const ContextRow *context = index.serving_context(host);
    const bool known = context != nullptr && context->intf_id != no_id;
    Listing listing{fmt::format("Attributes of {}: {}", interface,
                                known ? "SDK interface " + index.intf_words(context->intf_id)
                                      : "no SDK interface")};
    listing.columns = {{"number", "No.", rank_detail},
                       {"name", "Attribute", rank_name},
                       {"description", "What", rank_detail},
                       {"value", "Value", rank_state},
                       {"hex", "Hex"},
                       {"initial", "Initial"},
                       {"waits", "Waits", rank_state},
                       {"written_by", "Written by", rank_origin},
                       {"queued_by", "Queued by", rank_origin}};
    if (!known || index.intf(context->intf_id) == nullptr)
        return listing;
    for (const AttributeRow &row : attributes()) {
        const AttributeState now = index.attribute(context->intf_id, row.number);
        listing.rows.push_back({cell(row.number), std::string(row.name),
                                std::string(row.description), cell(now.value),
                                row.hex ? Cell(fmt::format("{:#x}", now.value)) : Cell(),
                                cell(row.initial), cell_of(now.waits, &PendingRow::value),
                                maker_cell(now.written), maker_cell(now.waits)});
    }
    return listing;
}

} // namespace

const std::vector<ShowKind> &show_kinds()
{
    static const std::vector<ShowKind> kinds{
        {"interfaces",
         "L3 interfaces with their identifiers and settings",
         false,
         show_interfaces,
         {"name"},
         true},
        {"ports", "front-panel ports and their use", false, show_ports, {"name"}, true},
        {"port-channels",
         "port-channels with their members",
         false,
         show_port_channels,
         {"name", "members", "members_in_asic"},
         true},
        {"lids", "LID entries with owners and paths", false, show_lids, {"lid_id", "owner"}, false},
        {"macs", "router MACs and virtual MACs", false, show_macs, {"mac", "interface"}, false},
        {"errors", "messages of the error store", false, show_errors, {"function"}, false},
        {"summary",
         "ASIC table usage and configured objects",
         false,
         show_summary,
         {"name"},
         false},
        {"vrfs", "VRFs with their VPN numbers", false, show_vrfs, {"name", "interfaces"}, false},
        {"vlans",
         "VLANs with their interfaces and members",
         false,
         show_vlans,
         {"name", "members"},
         false},
        {"attributes",
         "the SDK attributes of one interface",
         true,
         show_attributes,
         {"name"},
         true},
    };
    return kinds;
}

const ShowKind *find_show_kind(std::string_view name)
{
    for (const ShowKind &kind : show_kinds()) {
        if (kind.name == name)
            return &kind;
    }
    return nullptr;
}

std::string ShowKind::json_key() const
{
    std::string key = name;
    std::replace(key.begin(), key.end(), '-', '_');
    return key;
}

Listing show(const Snapshot &snapshot, std::string_view what, const std::string &interface)
{
    return find_show_kind(what)->make(snapshot, interface);
}

namespace {

/* visit(row, text) for each text in the columns that tell what a row is about. */
template <class Visit> void each_subject(const ShowKind &kind, const Listing &table, Visit &&visit)
{
    for (size_t i = 0; i < table.columns.size(); ++i) {
        if (std::find(kind.about.begin(), kind.about.end(), table.columns[i].key) ==
            kind.about.end())
            continue;
        for (size_t row = 0; row < table.rows.size(); ++row) {
            for (const std::string &text : texts_of(table.rows[row][i]))
                visit(row, text);
        }
    }
}

} // namespace

Spellings names_in(const ShowKind &kind, const Listing &table, const Snapshot &snapshot)
{
    Spellings names = interface_names(snapshot);
    each_subject(kind, table, [&](size_t, const std::string &text) { names.add(text); });
    return names;
}

Listing rows_about(const ShowKind &kind, Listing table, const Names &names)
{
    std::set<size_t> wanted;
    each_subject(kind, table, [&](size_t row, const std::string &text) {
        if (names.count(text) != 0)
            wanted.insert(row);
    });
    std::vector<std::vector<Cell>> rows;
    for (const size_t row : wanted)
        rows.push_back(std::move(table.rows[row]));
    table.rows = std::move(rows);
    return table;
}

Listing show(const std::vector<AuditFinding> &findings)
{
    return listing_of("Audit", findings,
                      {{"Kind"},
                       {"Code"},
                       {"Object", rank_name},
                       {"Property"},
                       {"Interface"},
                       {"Other"},
                       {"Finding"},
                       {"Services"},
                       {"Requests"}});
}

Listing show(const std::vector<FailureRow> &failures)
{
    Listing listing{"Failures", {{"object", "Object"}, {"message", "What failed"}}, {}};
    for (const FailureRow &row : failures)
        listing.rows.push_back({row.object, row.message});
    return listing;
}

Listing show(const std::vector<Finding> &findings)
{
    Listing listing{"Findings of the configuration"};
    listing.columns = {{"severity", "Severity"}, {"code", "Code"},      {"file", "File"},
                       {"line", "Line"},         {"column", "Column"},  {"table", "Table"},
                       {"key", "Key"},           {"message", "Finding"}};
    for (const Finding &finding : findings) {
        const SourceLocation &at = finding.location;
        const bool has_place = at.line != 0;
        listing.rows.push_back({cell(finding.severity), cell(finding.code), at.file(),
                                has_place ? cell(at.line) : Cell(),
                                has_place ? cell(at.column) : Cell(), cell(at.table()),
                                cell(at.key()), finding.without_code()});
    }
    return listing;
}

Listing show_waiting(const Snapshot &snapshot)
{
    Listing listing{"Waiting for the flush"};
    listing.columns = {{"intf_id", "intf_id", rank_detail},
                       {"interface", "Interface", rank_name},
                       {"attribute", "Attribute", rank_name},
                       {"value", "Value"},
                       {"waits", "Waits"},
                       {"queued_by", "Queued by", rank_origin}};
    if (snapshot.pending.empty())
        return listing;
    const Index index(snapshot);
    for (const PendingRow &write : snapshot.pending) {
        const HostRow *owner = index.owner_of_intf(write.intf_id);
        const AttributeRow *attribute = find_attribute(write.number);
        listing.rows.push_back(
            {cell(write.intf_id), cell_of(owner, &HostRow::name),
             attribute != nullptr ? Cell(std::string(attribute->name)) : cell(write.number),
             cell(index.attribute(write.intf_id, write.number).value), cell(write.value),
             write.made.to_text()});
    }
    return listing;
}

void write(Json &json, const Snapshot &snapshot, const std::vector<AuditFinding> &findings)
{
    json.begin_object().field("format", document_format);
    json.field("word_size", snapshot.meta.word_size).field("hostname", snapshot.meta.hostname);
    json.key("files").begin_array();
    for (const FileRow &file : snapshot.files)
        json.value(file.file);
    json.end_array();
    for (const ShowKind &kind : show_kinds()) {
        if (!kind.of_interface)
            write(json.key(kind.json_key()), kind.make(snapshot, {}));
    }
    json.key("failures");
    write(json, show(snapshot.failures));
    json.key("audit");
    write(json, show(findings));
    json.end_object();
}

} // namespace kvnsim
