#include "sim/state/show.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/attributes.h"
#include "sim/state/index.h"
#include "sim/state/json.h"

namespace kvnsim {
namespace {

constexpr int document_format = 1;

Cell number(uint32_t value)
{
    return int64_t{value};
}
/* An identifier, nothing for "none". */
Cell id(uint32_t value)
{
    return is_none(value) ? Cell() : number(value);
}
Cell id(const std::optional<uint32_t> &value)
{
    return value ? id(*value) : Cell();
}
Cell text(const std::string &value)
{
    return value.empty() ? Cell() : Cell(value);
}

/* Texts that belong to a name, in the order met. */
using Grouped = std::map<std::string, std::vector<std::string>, std::less<>>;

std::vector<std::string> group(const Grouped &groups, const std::string &name)
{
    const auto at = groups.find(name);
    return at == groups.end() ? std::vector<std::string>() : at->second;
}

/* ---- interfaces ---- */

std::vector<Cell> interface_row(const Index &index, const std::string &name, std::string_view kind,
                                const WantedInterface *wanted, const HostRow *host)
{
    const ContextRow *context = host != nullptr ? index.context(host->ifindex) : nullptr;
    const bool has = wanted != nullptr && wanted->routed;
    const bool has_vlan = kind == "SVI" || kind == "sub-interface";
    Cell vlan;
    if (has_vlan && wanted != nullptr)
        vlan = number(wanted->number);
    else if (has_vlan && host != nullptr)
        vlan = number(host->vlan);
    return {name,
            std::string(kind),
            index.state(name),
            context != nullptr ? id(context->intf_id) : Cell(),
            context != nullptr ? id(context->lid_id) : Cell(),
            context != nullptr ? id(context->pc_id) : Cell(),
            wanted != nullptr ? number(wanted->mtu) : Cell(),
            has ? Cell(wanted->ipv4) : Cell(),
            has ? Cell(wanted->ipv6) : Cell(),
            wanted != nullptr ? text(wanted->vrf) : Cell(),
            wanted != nullptr ? text(wanted->parent) : Cell(),
            vlan,
            wanted != nullptr ? text(wanted->addresses) : Cell(),
            text(index.failure(name).message)};
}

Listing show_interfaces(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing;
    listing.title = "Interfaces";
    listing.columns = {{"name", "Interface"},
                       {"kind", "Kind"},
                       {"state", "State"},
                       {"intf_id", "intf_id"},
                       {"lid_id", "lid_id"},
                       {"pc_id", "pc_id"},
                       {"mtu", "MTU"},
                       {"ipv4", "IPv4"},
                       {"ipv6", "IPv6"},
                       {"vrf", "VRF"},
                       {"parent", "Parent"},
                       {"vlan", "VLAN"},
                       {"addresses", "Addresses"},
                       {"failure", "Failure"}};
    for (const WantedInterface &wanted : snapshot.wanted_interfaces)
        listing.rows.push_back(
            interface_row(index, wanted.name, wanted.kind, &wanted, index.host(wanted)));
    for (const HostRow &host : snapshot.host) {
        if (index.wanted(host) == nullptr && (host.kind != "port" || index.programmed(&host)))
            listing.rows.push_back(interface_row(index, host.name, host.kind, nullptr, &host));
    }
    return listing;
}

/* ---- ports ---- */

Listing show_ports(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing;
    listing.title = "Ports";
    listing.columns = {{"name", "Port"},         {"alias", "Alias"},
                       {"front_port", "Front"},  {"role", "Role"},
                       {"admin_up", "Admin up"}, {"mtu", "MTU"},
                       {"lid_id", "lid_id"},     {"port_channel", "Port-channel"},
                       {"vlans", "VLANs"},       {"kept_intf", "Kept SDK"},
                       {"loopback", "Loopback"}, {"failure", "Failure"}};
    const auto add = [&](const std::string &name, const WantedPort *wanted, const HostRow *host) {
        const WantedMember *member = index.membership(name);
        listing.rows.push_back(
            {name, wanted != nullptr ? text(wanted->alias) : Cell(),
             host != nullptr ? number(host->number + 1) : Cell(), std::string(index.role(name)),
             wanted != nullptr ? Cell(wanted->admin_up) : Cell(),
             wanted != nullptr ? number(wanted->mtu) : Cell(),
             host != nullptr ? id(host->port_lid) : Cell(),
             member != nullptr ? Cell(member->port_channel) : Cell(), index.vlans(name),
             host != nullptr ? id(host->kept_intf) : Cell(), host != nullptr && host->loopback,
             text(index.failure(name).message)});
    };
    for (const WantedPort &port : snapshot.wanted_ports)
        add(port.name, &port, index.host(port.name));
    for (const HostRow &host : snapshot.host) {
        if (host.kind == "port" && index.wanted_port(host.name) == nullptr)
            add(host.name, nullptr, &host);
    }
    return listing;
}

/* ---- port-channels ---- */

Listing show_port_channels(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Grouped wanted_members, declined, joined;
    for (const WantedMember &member : snapshot.wanted_members)
        (member.declined ? declined : wanted_members)[member.port_channel].push_back(member.port);
    for (const MemberRow &member : snapshot.members) {
        const HostRow *owner = index.owner_of_port_channel(member.pc_id);
        const HostRow *port = index.owner_of_front_port(member.front_port);
        if (owner != nullptr)
            joined[owner->name].push_back(
                port != nullptr ? port->name : fmt::format("front port {}", member.front_port));
    }
    Listing listing;
    listing.title = "Port-channels";
    listing.columns = {
        {"name", "Port-channel"}, {"number", "Number"},   {"state", "State"},
        {"pc_id", "pc_id"},       {"lid_id", "lid_id"},   {"intf_id", "intf_id"},
        {"mtu", "MTU"},           {"members", "Members"}, {"members_in_asic", "In the ASIC"},
        {"declined", "Declined"}};
    for (const WantedInterface &wanted : snapshot.wanted_interfaces) {
        if (wanted.kind != "port-channel")
            continue;
        const HostRow *host = index.host(wanted);
        const ContextRow *context = host != nullptr ? index.context(host->ifindex) : nullptr;
        listing.rows.push_back({wanted.name, number(wanted.number), index.state(wanted.name),
                                context != nullptr ? id(context->pc_id) : Cell(),
                                context != nullptr ? id(context->lid_id) : Cell(),
                                context != nullptr ? id(context->intf_id) : Cell(),
                                number(wanted.mtu), group(wanted_members, wanted.name),
                                group(joined, wanted.name), group(declined, wanted.name)});
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
    Listing listing;
    listing.title = "LID entries";
    listing.columns = {{"lid_id", "lid_id"},
                       {"owner", "Of"},
                       {"leads_to", "Leads to"},
                       {"ifmap_idx", "ifmap index"},
                       {"interfaces", "SDK interfaces"},
                       {"made_by", "Made by"}};
    for (const LidRow &lid : snapshot.lids) {
        const HostRow *owner = index.owner_of_lid(lid.lid_id);
        std::vector<std::string> ends;
        for (const LidPathRow &path :
             find_rows(snapshot.lid_paths, &LidPathRow::lid_id, lid.lid_id))
            ends.push_back(Index::path_words(path));
        listing.rows.push_back({number(lid.lid_id), owner != nullptr ? Cell(owner->name) : Cell(),
                                std::move(ends), number(lid.ifmap_idx), bound[lid.lid_id],
                                snapshot.words(lid.made)});
    }
    return listing;
}

/* ---- MACs ---- */

Listing show_macs(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing;
    listing.title = "MACs";
    listing.columns = {{"kind", "Kind"}, {"mac", "MAC"},         {"interface", "Interface"},
                       {"id", "Id"},     {"intf_id", "intf_id"}, {"made_by", "Made by"}};
    for (const RouterMacRow &mac : snapshot.router_macs)
        listing.rows.push_back({std::string("router"), to_text(mac.mac), Cell(),
                                number(mac.peer_mac_id), Cell(), snapshot.words(mac.made)});
    for (const TrapRow &trap : snapshot.traps) {
        const HostRow *owner = index.owner_of_intf(trap.intf_id);
        listing.rows.push_back({std::string("virtual"), to_text(trap.mac),
                                owner != nullptr ? Cell(owner->name) : Cell(),
                                number(trap.mac_trap_id), number(trap.intf_id),
                                snapshot.words(trap.made)});
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
    Listing listing;
    listing.title = "Errors";
    listing.columns = {{"count", "Count"},
                       {"function", "Function"},
                       {"line", "Line"},
                       {"text", "Text"},
                       {"last_request", "Last request"}};
    for (const ErrorRow &error : snapshot.errors)
        listing.rows.push_back({static_cast<int64_t>(error.count), text(error.function),
                                error.function.empty() ? Cell() : number(error.line),
                                one_line(error.text), static_cast<int64_t>(error.last_request)});
    return listing;
}

Listing show_summary(const Snapshot &snapshot, const std::string &)
{
    const Index index(snapshot);
    Listing listing;
    listing.title = "Summary";
    listing.columns = {{"name", "Name"},
                       {"description", "What"},
                       {"used", "Used"},
                       {"high_water", "Highest"},
                       {"capacity", "Capacity"}};
    for (const TableUseRow &use : snapshot.table_use)
        listing.rows.push_back({use.name, use.description, number(use.used), number(use.high_water),
                                number(use.capacity)});
    const auto count = [&](const char *name, const char *what, size_t of) {
        listing.rows.push_back(
            {std::string(name), std::string(what), static_cast<int64_t>(of), Cell(), Cell()});
    };
    const auto &wanted = snapshot.wanted_interfaces;
    const auto is_kind = [](const char *kind) {
        return [kind](const WantedInterface &row) { return row.kind == kind && row.routed; };
    };
    const auto of_kind = [&](const char *kind) {
        return static_cast<size_t>(std::count_if(wanted.begin(), wanted.end(), is_kind(kind)));
    };
    count("ports", "ports configured", snapshot.wanted_ports.size());
    count("routed_ports", "routed ports configured", of_kind("port"));
    count("routed_port_channels", "routed port-channels configured", of_kind("port-channel"));
    count("sub_interfaces", "sub-interfaces configured", of_kind("sub-interface"));
    count("svis", "SVIs configured", of_kind("SVI"));
    count("programmed", "interfaces in the ASIC",
          static_cast<size_t>(
              std::count_if(wanted.begin(), wanted.end(), [&](const WantedInterface &row) {
                  return index.programmed(index.host(row.name));
              })));
    count("failures", "failed steps not made up for", snapshot.failures.size());
    return listing;
}

Listing show_attributes(const Snapshot &snapshot, const std::string &interface)
{
    const Index index(snapshot);
    const HostRow *host = index.host(interface);
    const ContextRow *context = host != nullptr ? index.serving_context(*host) : nullptr;
    Listing listing;
    const bool known = context != nullptr && !is_none(context->intf_id);
    listing.title = known ? fmt::format("Attributes of {}: SDK interface {}", interface,
                                        index.intf_words(context->intf_id))
                          : fmt::format("Attributes of {}: no SDK interface", interface);
    listing.columns = {{"number", "No."},
                       {"name", "Attribute"},
                       {"description", "What"},
                       {"value", "Value"},
                       {"hex", "Hex"},
                       {"initial", "Initial"},
                       {"waits", "Waits"},
                       {"written_by", "Written by"},
                       {"queued_by", "Queued by"}};
    const auto writer = [&](const auto *row) {
        return row != nullptr ? Cell(snapshot.words(row->made)) : Cell();
    };
    if (!known || index.intf(context->intf_id) == nullptr)
        return listing;
    for (const AttributeRow &row : attributes()) {
        const AttributeState now = index.attribute(context->intf_id, row.number);
        listing.rows.push_back(
            {number(row.number), std::string(row.name), std::string(row.description),
             number(now.value), row.hex ? Cell(fmt::format("{:#x}", now.value)) : Cell(),
             number(row.initial), now.waits != nullptr ? number(now.waits->value) : Cell(),
             writer(now.written), writer(now.waits)});
    }
    return listing;
}

/* ---- Text ---- */

struct CellText {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(bool flag) const { return flag ? "yes" : "-"; }
    std::string operator()(int64_t value) const { return fmt::to_string(value); }
    std::string operator()(const std::string &value) const { return value; }
    template <class T> std::string operator()(const std::vector<T> &values) const
    {
        return values.empty() ? "-" : fmt::format("{}", fmt::join(values, ","));
    }
};

/* Characters, of which UTF-8 may have several bytes. */
size_t width(std::string_view text)
{
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

struct CellJson {
    JsonWriter &writer;
    void operator()(std::monostate) const { writer.Null(); }
    void operator()(bool flag) const { writer.Bool(flag); }
    void operator()(int64_t value) const { writer.Int64(value); }
    void operator()(const std::string &value) const { put(writer, value); }
    template <class T> void operator()(const std::vector<T> &values) const
    {
        writer.StartArray();
        for (const T &value : values)
            (*this)(value);
        writer.EndArray();
    }
};

} // namespace

void write(JsonWriter &writer, const Cell &cell)
{
    std::visit(CellJson{writer}, cell);
}

void write(JsonWriter &writer, const Listing &listing)
{
    writer.StartArray();
    for (const auto &row : listing.rows) {
        writer.StartObject();
        for (size_t i = 0; i < listing.columns.size(); ++i) {
            put_key(writer, listing.columns[i].key);
            write(writer, row[i]);
        }
        writer.EndObject();
    }
    writer.EndArray();
}

const std::vector<ShowKind> &show_kinds()
{
    static const std::vector<ShowKind> kinds{
        {"interfaces", "L3 interfaces with their identifiers and settings", false, show_interfaces},
        {"ports", "front-panel ports and what they are used for", false, show_ports},
        {"port-channels", "port-channels with their members", false, show_port_channels},
        {"lids", "LID entries, whose they are and where they lead", false, show_lids},
        {"macs", "router MACs and virtual MACs", false, show_macs},
        {"errors", "messages of the error store", false, show_errors},
        {"summary", "how full the ASIC's tables are, and how much is configured", false,
         show_summary},
        {"attributes", "the SDK attributes of one interface", true, show_attributes},
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

Listing show(const std::vector<AuditFinding> &findings)
{
    Listing listing;
    listing.title = "Audit";
    listing.columns = {{"kind", "Kind"},           {"object", "Object"}, {"property", "Property"},
                       {"interface", "Interface"}, {"other", "Other"},   {"words", "Finding"},
                       {"requests", "Requests"}};
    for (const AuditFinding &finding : findings) {
        std::vector<int64_t> requests(finding.requests.begin(), finding.requests.end());
        listing.rows.push_back({std::string(to_text(finding.kind)), finding.object,
                                text(finding.property), text(finding.interface),
                                text(finding.other), finding.words, std::move(requests)});
    }
    return listing;
}

Listing show(const std::vector<ReaderRow> &rows)
{
    Listing listing;
    listing.title = "Findings of the configuration";
    listing.columns = {{"severity", "Severity"}, {"file", "File"},   {"line", "Line"},
                       {"column", "Column"},     {"table", "Table"}, {"key", "Key"},
                       {"message", "Finding"}};
    for (const ReaderRow &row : rows)
        listing.rows.push_back({row.severity, row.location.file, number(row.location.line),
                                number(row.location.column), text(row.location.table),
                                text(row.location.key), row.message});
    return listing;
}

Listing show_waiting(const Snapshot &snapshot)
{
    const Index index(snapshot);
    Listing listing;
    listing.title = "Waiting for the flush";
    listing.columns = {{"intf_id", "intf_id"},     {"interface", "Interface"},
                       {"attribute", "Attribute"}, {"value", "Value"},
                       {"waits", "Waits"},         {"queued_by", "Queued by"}};
    for (const PendingRow &write : snapshot.pending) {
        const HostRow *owner = index.owner_of_intf(write.intf_id);
        const AttributeRow *attribute = find_attribute(write.number);
        listing.rows.push_back(
            {number(write.intf_id), owner != nullptr ? Cell(owner->name) : Cell(),
             attribute != nullptr ? Cell(std::string(attribute->name)) : number(write.number),
             number(index.attribute(write.intf_id, write.number).value), number(write.value),
             snapshot.words(write.made)});
    }
    return listing;
}

std::string to_text(const Listing &listing)
{
    std::string text = listing.title + '\n';
    if (listing.rows.empty())
        return text + "  none\n";
    const size_t columns = listing.columns.size();
    std::vector<size_t> widths(columns);
    std::vector<bool> numbers(columns, true), empty(columns, true);
    std::vector<std::vector<std::string>> lines(listing.rows.size() + 1);
    for (size_t i = 0; i < columns; ++i) {
        lines[0].push_back(listing.columns[i].title);
        widths[i] = width(lines[0][i]);
    }
    for (size_t r = 0; r < listing.rows.size(); ++r) {
        for (size_t i = 0; i < columns; ++i) {
            const Cell &cell = listing.rows[r][i];
            const std::string &shown = lines[r + 1].emplace_back(std::visit(CellText(), cell));
            widths[i] = std::max(widths[i], width(shown));
            const bool nothing = shown == "-" || shown.empty();
            empty[i] = empty[i] && nothing;
            numbers[i] = numbers[i] && (nothing || std::holds_alternative<int64_t>(cell));
        }
    }
    for (const auto &line : lines) {
        std::string out;
        for (size_t i = 0; i < columns; ++i) {
            if (empty[i])
                continue; /* nobody has it: no column */
            const std::string padding(widths[i] - width(line[i]), ' ');
            out += "  ";
            out += numbers[i] ? padding + line[i] : line[i] + padding;
        }
        out.erase(out.find_last_not_of(' ') + 1);
        text += out + '\n';
    }
    return text;
}

std::string to_json(const Listing &listing)
{
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    write(writer, listing);
    return std::string(buffer.GetString(), buffer.GetSize()) + '\n';
}

std::string to_json(const Snapshot &snapshot, const std::vector<AuditFinding> &findings)
{
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    put_key(writer, "format");
    writer.Int(document_format);
    put_key(writer, "word_size");
    writer.Uint(snapshot.meta.word_size);
    put_key(writer, "hostname");
    put(writer, snapshot.meta.hostname);
    put_key(writer, "files");
    writer.StartArray();
    for (const FileRow &file : snapshot.files)
        put(writer, file.file);
    writer.EndArray();
    for (const ShowKind &kind : show_kinds()) {
        if (kind.of_interface)
            continue;
        put_key(writer, kind.json_key());
        write(writer, kind.make(snapshot, {}));
    }
    put_key(writer, "failures");
    writer.StartArray();
    for (const FailureRow &failure : snapshot.failures) {
        writer.StartObject();
        put_key(writer, "object");
        put(writer, failure.object);
        put_key(writer, "message");
        put(writer, failure.message);
        writer.EndObject();
    }
    writer.EndArray();
    put_key(writer, "audit");
    write(writer, show(findings));
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + '\n';
}

} // namespace kvnsim
