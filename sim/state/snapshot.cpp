#include "sim/state/snapshot.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <fmt/format.h>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/state/index.h"
#include "sim/state/rows.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

/* The library's record of one virtual MAC, key and value of its table alike. */
struct FhrpEntry {
    uint32_t ifindex;
    uint8_t mac[6];
    uint8_t pad[2];
    uint32_t mac_trap_id;
};
static_assert(sizeof(FhrpEntry) == 16, "entry of the table of virtual MACs");

bool number_less(const RequestRow &a, const RequestRow &b)
{
    return a.number < b.number;
}
bool number_equal(const RequestRow &a, const RequestRow &b)
{
    return a.number == b.number;
}

/* The requests that rows name, which live as long as what they made. Most rows follow one that the
 * same request made. */
class Requests {
public:
    Made made(const Origin &origin)
    {
        if (!origin.request)
            return {0, origin.call};
        const uint64_t number = origin.request->number;
        if (named_.empty() || named_.back().first != number)
            named_.emplace_back(number, origin.request.get());
        return {number, origin.call};
    }
    /* All that were named so far, by number. */
    std::vector<RequestRow> rows()
    {
        std::sort(named_.begin(), named_.end());
        named_.erase(std::unique(named_.begin(), named_.end()), named_.end());
        std::vector<RequestRow> rows;
        rows.reserve(named_.size());
        for (const auto &[number, request] : named_)
            rows.push_back(
                {number, request->entry, request->arguments, request->subject, request->cause});
        return rows;
    }

private:
    std::vector<std::pair<uint64_t, const Request *>> named_;
};

/* Those that only rows of the database name, which keep it in words: "CALL in request 12
 * ENTRY(ARGUMENTS)". */
class RequestsInWords {
public:
    explicit RequestsInWords(const std::vector<RequestRow> &known) : known_(known) {}

    Made made(const RowOrigin &origin)
    {
        if (origin.request != 0 &&
            find_row(known_, &RequestRow::number, origin.request) == nullptr &&
            (rows_.empty() || rows_.back().number != origin.request))
            rows_.push_back(from_words(origin));
        return {origin.request, lasting(origin.call)};
    }
    /* Add them to the ones known. */
    void add_to(std::vector<RequestRow> &rows)
    {
        if (rows_.empty())
            return;
        rows.insert(rows.end(), rows_.begin(), rows_.end());
        std::sort(rows.begin(), rows.end(), number_less);
        rows.erase(std::unique(rows.begin(), rows.end(), number_equal), rows.end());
    }

private:
    static RequestRow from_words(const RowOrigin &origin)
    {
        RequestRow row;
        row.number = origin.request;
        const std::string before = fmt::format("request {} ", origin.request);
        const size_t at = origin.text.find(before);
        const size_t entry = at == std::string::npos ? 0 : at + before.size();
        const size_t open = origin.text.find('(', entry);
        row.entry = origin.text.substr(entry, open - entry);
        if (open != std::string::npos)
            row.arguments = origin.text.substr(open + 1, origin.text.size() - open - 2);
        return row;
    }

    const std::vector<RequestRow> &known_;
    std::vector<RequestRow> rows_;
};

std::string joined(const std::vector<std::string> &texts)
{
    return fmt::format("{}", fmt::join(texts, " "));
}

void capture_wanted(const Switch &of, Snapshot &into)
{
    const Desired &want = of.wanted();
    into.meta.hostname = want.hostname;
    for (const auto &[name, port] : want.ports)
        into.wanted_ports.push_back({name, port.mtu, port.admin_up, port.alias, port.location});

    into.wanted_interfaces.reserve(want.routed_ports.size() + want.port_channels.size() +
                                   want.sub_interfaces.size() + want.svis.size());
    const auto add = [&](const std::string &name, InterfaceKind kind, uint32_t number, uint32_t mtu,
                         const L3Settings &l3,
                         const SourceLocation &location) -> WantedInterface & {
        WantedInterface &row = into.wanted_interfaces.emplace_back();
        row.name = name;
        row.kind = to_text(kind);
        row.number = number;
        row.mtu = mtu;
        row.ipv4 = l3.ipv4;
        row.ipv6 = l3.ipv6;
        row.vrf = l3.vrf;
        row.vpn = of.vpn_of(l3.vrf);
        row.nat_zone = l3.nat_zone;
        row.addresses = joined(l3.addresses);
        row.location = location;
        return row;
    };
    for (const auto &[name, routed] : want.routed_ports) {
        const auto port = want.ports.find(name);
        const bool known = port != want.ports.end();
        WantedInterface &row = add(name, InterfaceKind::port, 0, known ? port->second.mtu : 0u,
                                   routed.l3, routed.location);
        row.implied = routed.implied;
        row.admin_up = known && port->second.admin_up;
    }
    for (const auto &[name, channel] : want.port_channels) {
        WantedInterface &row = add(name, InterfaceKind::port_channel, channel.number, channel.mtu,
                                   channel.l3.value_or(L3Settings()),
                                   channel.l3 ? channel.l3_location : channel.location);
        row.routed = channel.l3.has_value();
        row.implied = channel.l3_implied;
        row.admin_up = channel.admin_up;
        for (const auto &[port, location] : channel.members)
            into.wanted_members.push_back(
                {name, port, of.declined_members().count({name, port}) != 0, location});
    }
    for (const auto &[name, sub] : want.sub_interfaces)
        add(name, InterfaceKind::sub_interface, sub.vlan, sub.mtu, sub.l3, sub.location).parent =
            sub.parent;
    for (const auto &[name, svi] : want.svis)
        add(name, InterfaceKind::svi, svi.vlan, svi.mtu, svi.l3, svi.location);
    for (const auto &[name, vlan] : want.vlans) {
        into.wanted_vlans.push_back({name, vlan.vlan, vlan.location});
        for (const auto &[member, location] : vlan.members)
            into.wanted_vlan_members.push_back({name, member, location});
    }
    for (const auto &[mac, location] : want.virtual_macs)
        into.wanted_virtual_macs.push_back({mac.interface, mac.mac, location});
    if (want.router_mac)
        into.wanted_router_mac.push_back({*want.router_mac, want.router_mac_location});
    for (const auto &[name, vpn] : of.vpns())
        into.vrfs.push_back({name, vpn});
    if (of.router_mac_id() != no_id)
        into.owned_router_mac.push_back({of.router_mac_id()});
}

void capture_failures(const Switch &of, Snapshot &into, Requests &requests)
{
    for (const auto &[object, reasons] : of.failures()) {
        for (const Reason &reason : reasons)
            into.failures.push_back({object, reason.message, requests.made(reason.origin)});
    }
}

void capture_host(Snapshot &into)
{
    const Host &host = Host::instance();
    into.host.reserve(host.size());
    into.contexts.reserve(host.size());
    for (const HostInterface *interface : host.interfaces()) {
        HostRow &row = into.host.emplace_back();
        row.ifindex = interface->ifindex;
        row.kind = to_text(interface->kind);
        row.name = interface->name;
        row.number = interface->number;
        row.vlan = interface->vlan;
        if (interface->parent != nullptr)
            row.parent = interface->parent->ifindex;
        if (interface->channel != nullptr)
            row.channel = interface->channel->ifindex;
        row.pd_state = interface->pd_state;
        row.registered = interface->registered;
        row.mtu = interface->ip.mtu;
        row.ipv4_ucst = interface->ip.ipv4_ucst_en != 0;
        row.ipv4_mcst = interface->ip.ipv4_mcst_en != 0;
        row.ipv4_same_if = interface->ip.ipv4_same_if != 0;
        row.v4_vpn = interface->v4_vpn_id;
        row.v6_vpn = interface->v6_vpn_id;
        row.nat_zone = interface->nat_zone;
        row.port_lid = interface->lid_id;
        row.kept_intf = interface->kept_intf;
        if (const auto held = host.held_port_channel(interface->ifindex)) {
            row.held_pc = held->pc_id;
            row.held_lid = held->lid_id;
        }
        row.loopback = interface->loopback;

        if (const l3_pd *context = interface->context())
            into.contexts.push_back({interface->ifindex, context->intf_id, context->old_intf_id,
                                     context->lid_id, context->pc_id});
    }
}

void capture_virtual_macs(Snapshot &into)
{
    if (fhrp_mac_hash == nullptr)
        return;
    GHashTableIter entries;
    void *value;
    g_hash_table_iter_init(&entries, fhrp_mac_hash);
    while (g_hash_table_iter_next(&entries, nullptr, &value)) {
        FhrpEntry entry;
        std::memcpy(&entry, value, sizeof entry);
        FhrpRow row;
        row.ifindex = entry.ifindex;
        std::copy(std::begin(entry.mac), std::end(entry.mac), row.mac.begin());
        row.mac_trap_id = entry.mac_trap_id;
        into.virtual_macs.push_back(row);
    }
    std::sort(into.virtual_macs.begin(), into.virtual_macs.end(),
              [](const FhrpRow &a, const FhrpRow &b) {
                  return std::tie(a.ifindex, a.mac) < std::tie(b.ifindex, b.mac);
              });
}

void capture_asic(Snapshot &into, Requests &requests)
{
    const Asic &asic = Asic::instance();
    for (const TableUse &use : asic.tables()) {
        into.table_use.push_back(
            {use.name, use.description, use.used, use.high_water, use.capacity});
        if (into.table_use.back().name == "intf")
            into.intfs.reserve(use.used);
        else if (into.table_use.back().name == "attr")
            into.attributes.reserve(use.used);
    }
    asic.each_interface([&](const AsicInterface &intf) {
        const sdk_intf_create_params &p = intf.params;
        into.intfs.push_back({intf.intf_id, intf.type, p.param1, p.param2, p.param3, p.param4,
                              p.param5, requests.made(intf.origin)});
        for (const AsicAttribute &attribute : intf.attributes)
            into.attributes.push_back(
                {intf.intf_id, attribute.number, attribute.value, requests.made(attribute.origin)});
    });
    for (const AsicLid &lid : asic.lids()) {
        into.lids.push_back({lid.lid_id, lid.ifmap_idx, requests.made(lid.origin)});
        uint32_t position = 0;
        for (const AsicLidPath &path : lid.paths)
            into.lid_paths.push_back({lid.lid_id, position++, path.path.port_type,
                                      path.path.front_port, path.path.pc_id,
                                      requests.made(path.origin)});
    }
    for (const AsicPortChannel &channel : asic.port_channels()) {
        into.port_channels.push_back({channel.pc_id, requests.made(channel.origin)});
        for (const AsicMember &member : channel.members)
            into.members.push_back(
                {channel.pc_id, member.front_port, requests.made(member.origin)});
    }
    for (const AsicRouterMac &mac : asic.router_macs())
        into.router_macs.push_back({mac.peer_mac_id, mac.mac, requests.made(mac.origin)});
    for (const AsicTrap &trap : asic.traps())
        into.traps.push_back(
            {trap.mac_trap_id, trap.intf_id, trap.mac, requests.made(trap.origin)});
    uint32_t position = 0;
    for (const AsicPendingWrite &write : asic.pending())
        into.pending.push_back({position++, write.intf_id, write.attribute.number,
                                write.attribute.value, requests.made(write.attribute.origin)});
}

void capture_database(Snapshot &into)
{
    const StateDb &db = Host::instance().db();
    into.l3lif.reserve(into.host.size());
    into.label.reserve(into.host.size());
    RequestsInWords requests(into.requests);
    db.each<PmRow>([&](const PmRow &row) {
        into.pm.push_back({row.kind, row.ifindex, row.ifmap_idx, requests.made(row.origin)});
    });
    db.each<PcRow>([&](const PcRow &row) {
        into.pc.push_back({row.ifindex, row.pc_id, requests.made(row.origin)});
    });
    db.each<L3lifRow>([&](const L3lifRow &row) {
        into.l3lif.push_back({row.ifindex, row.name, row.mtu, row.ipv4_ucst_en, row.ipv4_mcst_en,
                              row.ipv4_same_if, row.v4_vpn_id, row.v6_vpn_id, row.nat_zone,
                              requests.made(row.origin)});
    });
    db.each<LabelRow>([&](const LabelRow &row) {
        into.label.push_back({row.ifindex, row.enabled, row.svi, requests.made(row.origin)});
    });
    db.each<MemberIntfRow>([&](const MemberIntfRow &row) {
        into.member_intf.push_back({row.ifindex, row.intf_id, requests.made(row.origin)});
    });
    requests.add_to(into.requests);
}

} // namespace

bool operator==(const Made &a, const Made &b)
{
    return a.request == b.request && std::strcmp(a.call, b.call) == 0;
}

const char *lasting(std::string_view word)
{
    if (const ImportedCall *known = ImportedCall::find(word))
        return known->name();
    static std::set<std::string, std::less<>> others;
    const auto at = others.find(word);
    return (at != others.end() ? at : others.emplace(word).first)->c_str();
}

const RequestRow *Snapshot::request(uint64_t number) const
{
    const auto at = std::lower_bound(
        requests.begin(), requests.end(), number,
        [](const RequestRow &row, uint64_t wanted) { return row.number < wanted; });
    return at != requests.end() && at->number == number ? &*at : nullptr;
}

std::string Snapshot::words(const Made &made) const
{
    if (made.request == 0)
        return fmt::format("{} before any request", *made.call ? made.call : "made");
    const RequestRow *row = request(made.request);
    return fmt::format("{}{}request {}{}", made.call, *made.call ? " in " : "", made.request,
                       row ? fmt::format(" {}({})", row->entry, row->arguments) : "");
}

bool operator==(const Snapshot &a, const Snapshot &b)
{
    bool equal = same_row(a.meta, b.meta);
    Snapshot::tables([&](auto rows) {
        equal = equal &&
                std::equal((a.*rows).begin(), (a.*rows).end(), (b.*rows).begin(), (b.*rows).end(),
                           [](const auto &x, const auto &y) { return same_row(x, y); });
    });
    return equal;
}

Snapshot capture(const Switch &of, const std::vector<std::string> &files,
                 const std::vector<Finding> &findings, bool interrupted)
{
    Snapshot snapshot;
    snapshot.meta.word_size = 8 * sizeof(void *);
    for (const std::string &file : files)
        snapshot.files.push_back({file});
    for (const Finding &finding : findings)
        snapshot.reader.push_back(
            {to_text(finding.severity), finding.location,
             finding.message + (finding.other ? " (see " + finding.other->to_text() + ")" : "")});
    snapshot.meta.interrupted = interrupted;
    capture_wanted(of, snapshot);
    capture_host(snapshot);
    capture_virtual_macs(snapshot);
    Requests requests;
    capture_failures(of, snapshot, requests);
    capture_asic(snapshot, requests);
    snapshot.requests = requests.rows();
    capture_database(snapshot);
    for (const ErrorGroup &group : Diagnostics::instance().errors())
        snapshot.errors.push_back({group.function, static_cast<uint32_t>(group.line), group.text,
                                   group.count, group.last_request});
    return snapshot;
}

} // namespace kvnsim
