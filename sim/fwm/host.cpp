/* The host's records. A number identifies one interface of its kind, and a record keeps its address
 * while it exists: the library holds pointers to it. Records refer to each other (parent, channel,
 * counts) only through add, remove, join and leave, which keep both sides equal. A refused service
 * changes nothing and leaves its reason in the journal. */
#include "sim/fwm/host.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

#include "kvnsim/sdk.h"
#include "l3lifpd_kavelin.h"
#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/types/bad_row.h"

namespace kvnsim {
namespace {

constexpr int32_t dev_inst = 0;
constexpr uint32_t number_mask = 0x0FFFFFFF;
constexpr uint32_t port_binding = 1; /* kind of the port manager's record */

/* The port service's call for both commands, and the commands. */
constexpr uint32_t port_command_call = 0x8000001;
constexpr uint32_t internal_loopback_on = 121, internal_loopback_off = 122;

/* No fault injection in the host's own repairs. */
class WithoutFaults {
public:
    WithoutFaults() : before_(Journal::instance().faults.suspend(true)) {}
    ~WithoutFaults() { Journal::instance().faults.suspend(before_); }
    WithoutFaults(const WithoutFaults &) = delete;
    WithoutFaults &operator=(const WithoutFaults &) = delete;

private:
    const bool before_;
};

/* Refuse a service, with the reason for the journal. */
int32_t refuse(int32_t code, std::string reason)
{
    Journal::instance().note(std::move(reason));
    return code;
}

int32_t refuse_ifindex(uint32_t ifindex, const char *expected)
{
    return refuse(ENOENT, fmt::format("{:#x} is no {}", ifindex, expected));
}

/* A LID entry with one path; nothing remains when refused. */
int32_t make_lid_entry(const sdk_lid_path &path, uint32_t *lid_id)
{
    if (const int32_t code = libsdk_lid_entry_create(dev_inst, lid_id))
        return code;
    const int32_t code = libsdk_lid_entry_path_add(dev_inst, *lid_id, &path);
    if (code != 0) {
        const WithoutFaults repair;
        libsdk_lid_entry_destroy(dev_inst, *lid_id);
    }
    return code;
}

void free_context(HostInterface &interface)
{
    if (interface.pd_ctxt)
        std::free(interface.pd_ctxt->l3_pd);
    std::free(interface.pd_ctxt);
    interface.pd_ctxt = nullptr;
}

} // namespace

HostInterface::HostInterface(InterfaceKind of_kind, std::string named, uint32_t numbered)
    : l3lif{}, kind(of_kind), name(std::move(named)), number(numbered)
{
    ifindex = ifindex_of(kind, number);
    ip_cfg = &ip;
    if (kind == InterfaceKind::port_channel)
        pc_membership = &membership;
}

HostInterface::~HostInterface()
{
    free_context(*this);
}

const l3_pd *HostInterface::context() const
{
    return pd_ctxt ? pd_ctxt->l3_pd : nullptr;
}

l3_pd &HostInterface::make_context()
{
    if (pd_ctxt == nullptr)
        pd_ctxt = static_cast<l3pd_holder *>(std::calloc(1, sizeof(l3pd_holder)));
    if (pd_ctxt->l3_pd == nullptr)
        pd_ctxt->l3_pd = static_cast<l3_pd *>(std::calloc(1, sizeof(l3_pd)));
    return *pd_ctxt->l3_pd;
}

uint32_t HostInterface::intf_id() const
{
    const l3_pd *record = context();
    return record ? record->intf_id : no_id;
}

Host Host::instance_;

HostInterface *Host::add(InterfaceKind kind, const std::string &name, uint32_t number)
{
    std::vector<Slot> &table = table_of(kind);
    if (name.empty() || (number < table.size() && table[number]))
        return nullptr;
    auto made = std::make_unique<HostInterface>(kind, name, number);
    if (!by_name_.emplace(made->name, made.get()).second)
        return nullptr;
    if (number >= table.size())
        table.resize(number + 1);
    table[number] = std::move(made);
    return table[number].get();
}

HostInterface *Host::add_port(const std::string &name, uint32_t port)
{
    return port <= max_port ? add(InterfaceKind::port, name, port) : nullptr;
}

HostInterface *Host::add_port_channel(const std::string &name, uint32_t channel)
{
    return channel <= max_channel ? add(InterfaceKind::port_channel, name, channel) : nullptr;
}

HostInterface *Host::add_svi(const std::string &name, uint32_t vlan)
{
    if (vlan < 1 || vlan > max_vlan)
        return nullptr;
    HostInterface *svi = add(InterfaceKind::svi, name, vlan);
    if (svi)
        svi->vlan = vlan;
    return svi;
}

HostInterface *Host::add_sub_interface(const std::string &name, HostInterface &parent,
                                       uint32_t vlan)
{
    const bool on_port = parent.kind == InterfaceKind::port;
    if (vlan < 1 || vlan > max_vlan || !(on_port || parent.kind == InterfaceKind::port_channel))
        return nullptr;
    const bool reuse = !free_sequences_.empty();
    const auto next = static_cast<uint32_t>(table_of(InterfaceKind::sub_interface).size());
    const uint32_t sequence = reuse ? free_sequences_.top() : next;
    HostInterface *made = add(InterfaceKind::sub_interface, name, sequence);
    if (!made)
        return nullptr;
    if (reuse)
        free_sequences_.pop();
    made->vlan = vlan;
    made->parent = &parent;
    if (on_port)
        made->main_l3lif = &parent;
    parent.sub_interfaces++;
    return made;
}

bool Host::remove(HostInterface &interface)
{
    if (interface.sub_interfaces || interface.membership.member_count || interface.channel)
        return false;
    unregister_l3(interface);
    if (interface.kept_intf)
        db_.forget_member_intf(interface.ifindex);
    held_.erase(interface.ifindex);
    if (interface.parent)
        interface.parent->sub_interfaces--;
    if (interface.kind == InterfaceKind::sub_interface)
        free_sequences_.push(interface.number);
    by_name_.erase(interface.name);
    table_of(interface.kind)[interface.number].reset();
    return true;
}

void Host::register_l3(HostInterface &interface)
{
    interface.registered = true;
}

void Host::unregister_l3(HostInterface &interface)
{
    interface.registered = false;
    interface.pd_state = 0;
    free_context(interface);
    db_.forget_interface(interface.ifindex);
}

HostInterface *Host::find(uint32_t ifindex) const
{
    const uint32_t table = (ifindex >> 28) - 1;
    const uint32_t number = ifindex & number_mask;
    if (table >= std::size(tables_) || number >= tables_[table].size())
        return nullptr;
    return tables_[table][number].get();
}

HostInterface *Host::find(std::string_view name) const
{
    for (const uint32_t ifindex : {last_found_, last_found_ + 1}) {
        if (HostInterface *guess = find(ifindex); guess != nullptr && guess->name == name) {
            last_found_ = ifindex;
            return guess;
        }
    }
    const auto found = by_name_.find(name);
    if (found == by_name_.end())
        return nullptr;
    last_found_ = found->second->ifindex;
    return found->second;
}

HostInterface *Host::find(uint32_t ifindex, InterfaceKind kind) const
{
    HostInterface *interface = find(ifindex);
    return interface && interface->kind == kind ? interface : nullptr;
}

std::vector<HostInterface *> Host::interfaces() const
{
    std::vector<HostInterface *> all;
    all.reserve(size());
    for (const std::vector<Slot> &table : tables_)
        for (const Slot &slot : table)
            if (slot)
                all.push_back(slot.get());
    return all;
}

HostRow Host::row(const HostInterface &interface) const
{
    const auto index_of = [](const HostInterface *other) {
        return other != nullptr ? std::optional(other->ifindex) : std::nullopt;
    };
    HostRow row;
    row.ifindex = interface.ifindex;
    row.kind = interface.kind;
    row.name = interface.name;
    row.number = interface.number;
    row.vlan = interface.vlan;
    row.parent = index_of(interface.parent);
    row.channel = index_of(interface.channel);
    row.pd_state = interface.pd_state;
    row.registered = interface.registered;
    row.mtu = interface.ip.mtu;
    row.ipv4_ucst = interface.ip.ipv4_ucst_en != 0;
    row.ipv4_mcst = interface.ip.ipv4_mcst_en != 0;
    row.ipv4_same_if = interface.ip.ipv4_same_if != 0;
    row.v4_vpn = interface.v4_vpn_id;
    row.v6_vpn = interface.v6_vpn_id;
    row.nat_zone = interface.nat_zone;
    row.port_lid = interface.lid_id;
    row.kept_intf = interface.kept_intf;
    if (const auto held = held_port_channel(interface.ifindex)) {
        row.held_pc = held->pc_id;
        row.held_lid = held->lid_id;
    }
    row.loopback = interface.loopback;
    return row;
}

bool Host::join(HostInterface &port, HostInterface &port_channel)
{
    if (port.kind != InterfaceKind::port || port_channel.kind != InterfaceKind::port_channel ||
        port.channel)
        return false;
    port.channel = &port_channel;
    port.main_l3lif = &port_channel;
    port_channel.membership.member_count++;
    return true;
}

bool Host::leave(HostInterface &port)
{
    if (!port.channel)
        return false;
    port.channel->membership.member_count--;
    port.channel = nullptr;
    port.main_l3lif = nullptr;
    return true;
}

std::vector<HostInterface *> Host::members(const HostInterface &port_channel) const
{
    std::vector<HostInterface *> found;
    for (const Slot &slot : table_of(InterfaceKind::port))
        if (slot && slot->channel == &port_channel)
            found.push_back(slot.get());
    return found;
}

int32_t Host::make_port_lid(HostInterface &port)
{
    if (port.lid_id)
        return 0;
    sdk_lid_path path{};
    path.port_type = KVNSIM_SDK_PORT_TYPE_FRONT_PANEL;
    path.front_port = static_cast<uint8_t>(port.number + 1);
    uint32_t lid_id = no_id;
    const int32_t code = make_lid_entry(path, &lid_id);
    if (code == 0)
        port.lid_id = lid_id;
    return code;
}

int32_t Host::release_port_lid(HostInterface &port)
{
    if (!port.lid_id)
        return 0;
    if (const int32_t code = libsdk_lid_entry_destroy(dev_inst, *port.lid_id))
        return code;
    port.lid_id.reset();
    return 0;
}

int32_t Host::release_kept_intf(HostInterface &port)
{
    if (!port.kept_intf)
        return 0;
    if (const int32_t code = fwmpd_kavelin_batch_flush())
        return code;
    if (const int32_t code = libsdk_intf_destroy(dev_inst, *port.kept_intf))
        return code;
    port.kept_intf.reset();
    db_.forget_member_intf(port.ifindex);
    return 0;
}

int32_t Host::hold_port_channel(HostInterface &port_channel)
{
    if (held_.count(port_channel.ifindex))
        return 0;
    HeldPortChannel held{no_id, no_id};
    if (const int32_t code = libsdk_portchannel_create(dev_inst, &held.pc_id))
        return code;
    sdk_lid_path path{};
    path.port_type = SdkPortTypeChannel;
    path.pc_id = held.pc_id;
    const int32_t code = make_lid_entry(path, &held.lid_id);
    if (code == 0) {
        held_.emplace(port_channel.ifindex, held);
    } else {
        const WithoutFaults repair;
        libsdk_portchannel_destroy(dev_inst, held.pc_id);
    }
    return code;
}

int32_t Host::release_held_port_channel(HostInterface &port_channel)
{
    const auto found = held_.find(port_channel.ifindex);
    if (found == held_.end())
        return 0;
    HeldPortChannel &held = found->second;
    if (held.lid_id != no_id) {
        if (const int32_t code = libsdk_lid_entry_destroy(dev_inst, held.lid_id))
            return code;
        held.lid_id = no_id; /* for a repetition, if the next call is refused */
    }
    if (const int32_t code = libsdk_portchannel_destroy(dev_inst, held.pc_id))
        return code;
    held_.erase(found);
    return 0;
}

int32_t Host::publish_settings(HostInterface &interface)
{
    return l3lif_update_sdb_for_intf(&interface);
}

std::optional<HeldPortChannel> Host::held_port_channel(uint32_t ifindex) const
{
    const auto found = held_.find(ifindex);
    return found == held_.end() ? std::nullopt : std::optional(found->second);
}

void Host::reset()
{
    for (std::vector<Slot> &table : tables_)
        table.clear();
    free_sequences_ = {};
    by_name_.clear();
    held_.clear();
    db_.clear();
}

/* ---- Restoring: the interfaces first, then what they refer to, then the database. ---- */

namespace {

/* The numbers of each kind, in the order of InterfaceKind. */
struct Numbers {
    uint32_t first, last;
};
constexpr Numbers numbers[] = {{0, max_port}, {0, max_channel}, {1, max_vlan}, {0, max_sequence}};

bool is_number_of(InterfaceKind kind, uint32_t number)
{
    const Numbers &range = numbers[static_cast<size_t>(kind)];
    return number >= range.first && number <= range.last;
}

/* Row by row, from 1. */
template <class Row> struct Place {
    size_t row;
    [[noreturn]] void refuse(const char *column, const std::string &reason) const
    {
        throw BadRow(Row::table, row, column, reason);
    }
    void expect(bool right, const char *column, const std::string &reason) const
    {
        if (!right)
            refuse(column, reason);
    }
};

} // namespace

void Host::restore(const HostRow &row, size_t number)
{
    const Place<HostRow> here{number};
    const bool is_port = row.kind == InterfaceKind::port;
    const bool is_channel = row.kind == InterfaceKind::port_channel;
    const bool is_sub = row.kind == InterfaceKind::sub_interface;
    here.expect(is_number_of(row.kind, row.number), "number",
                fmt::format("no {} has number {}", to_text(row.kind), row.number));
    here.expect(row.ifindex == ifindex_of(row.kind, row.number), "ifindex",
                fmt::format("{} {} has {}", to_text(row.kind), row.number,
                            ifindex_of(row.kind, row.number)));
    here.expect(find(row.ifindex) == nullptr, "ifindex",
                fmt::format("{} is there twice", row.ifindex));
    here.expect(is_sub ? row.vlan >= 1 && row.vlan <= max_vlan
                       : row.vlan == (row.kind == InterfaceKind::svi ? row.number : 0),
                "vlan", fmt::format("{} is not the VLAN of a {}", row.vlan, to_text(row.kind)));
    here.expect(row.pd_state == 0 || row.pd_state == 3 || row.pd_state == 4, "pd_state",
                fmt::format("{} is not 0, 3 or 4", row.pd_state));
    here.expect(row.mtu <= 0xFFFF, "mtu", fmt::format("{} is not 0 to 65535", row.mtu));
    here.expect(row.parent.has_value() == is_sub, "parent", "only a sub-interface has one");
    const auto of_a = [&](bool is, const std::optional<uint32_t> &value, const char *column) {
        here.expect(is || !value, column, fmt::format("a {} has none", to_text(row.kind)));
    };
    of_a(is_port, row.channel, "channel");
    of_a(is_port, row.port_lid, "port_lid");
    of_a(is_port, row.kept_intf, "kept_intf");
    of_a(is_channel, row.held_pc, "held_pc");
    here.expect(is_port || !row.loopback, "loopback",
                fmt::format("a {} has none", to_text(row.kind)));
    here.expect(row.held_pc.has_value() == row.held_lid.has_value(), "held_lid",
                "it goes with held_pc");

    HostInterface *const made = add(row.kind, row.name, row.number);
    here.expect(made != nullptr, "name", "empty, or there twice");
    made->vlan = row.vlan;
    made->pd_state = row.pd_state;
    made->registered = row.registered;
    made->ip.mtu = static_cast<uint16_t>(row.mtu);
    made->ip.ipv4_ucst_en = row.ipv4_ucst;
    made->ip.ipv4_mcst_en = row.ipv4_mcst;
    made->ip.ipv4_same_if = row.ipv4_same_if;
    made->v4_vpn_id = row.v4_vpn;
    made->v6_vpn_id = row.v6_vpn;
    made->nat_zone = row.nat_zone;
    made->lid_id = row.port_lid;
    made->kept_intf = row.kept_intf;
    made->loopback = row.loopback;
    if (row.held_pc)
        held_.emplace(row.ifindex, HeldPortChannel{*row.held_pc, *row.held_lid});
}

void Host::refer(const HostRow &row, size_t number)
{
    const Place<HostRow> here{number};
    HostInterface &interface = *find(row.ifindex);
    if (row.parent) {
        HostInterface *const parent = find(*row.parent);
        const bool on_port = parent != nullptr && parent->kind == InterfaceKind::port;
        here.expect(on_port || (parent != nullptr && parent->kind == InterfaceKind::port_channel),
                    "parent", fmt::format("{} is no port or port-channel", *row.parent));
        interface.parent = parent;
        interface.main_l3lif = on_port ? parent : nullptr;
        parent->sub_interfaces++;
    }
    if (row.channel) {
        HostInterface *const channel = find(*row.channel, InterfaceKind::port_channel);
        here.expect(channel != nullptr, "channel",
                    fmt::format("{} is no port-channel", *row.channel));
        join(interface, *channel);
    }
}

/* The interfaces are of this kind; a row of a sub-interface may be of any. */
template <class Row> void Host::restore_db(const std::vector<Row> &rows, InterfaceKind kind)
{
    Place<Row> here{0};
    for (const Row &row : rows) {
        ++here.row;
        const HostInterface *const of = find(row.ifindex);
        here.expect(
            of != nullptr && (kind == InterfaceKind::sub_interface || of->kind == kind), "ifindex",
            fmt::format("{} is no {}", row.ifindex,
                        kind == InterfaceKind::sub_interface ? "interface" : to_text(kind)));
        if constexpr (std::is_same_v<Row, PmRow>)
            here.expect(row.kind == port_binding, "kind",
                        fmt::format("{} is no kind of port record", row.kind));
        if constexpr (std::is_same_v<Row, L3lifRow>)
            here.expect(row.name == of->name, "name",
                        fmt::format("{} is {}", row.ifindex, of->name));
        if constexpr (std::is_same_v<Row, MemberIntfRow>)
            here.expect(of->kept_intf == row.intf_id, "intf_id",
                        fmt::format("{} keeps another, or none", of->name));
        here.expect(db_.put_back(row), "ifindex", fmt::format("{} is there twice", row.ifindex));
    }
}

void Host::restore(const HostRows &rows)
{
    Host made;
    size_t number = 0;
    for (const HostRow &row : rows.interfaces)
        made.restore(row, ++number);
    number = 0;
    for (const HostRow &row : rows.interfaces)
        made.refer(row, ++number);
    std::vector<Slot> &subs = made.table_of(InterfaceKind::sub_interface);
    for (uint32_t sequence = 0; sequence < subs.size(); ++sequence) {
        if (!subs[sequence])
            made.free_sequences_.push(sequence);
    }
    constexpr InterfaceKind any = InterfaceKind::sub_interface;
    made.restore_db(rows.pm, InterfaceKind::port);
    made.restore_db(rows.pc, InterfaceKind::port_channel);
    made.restore_db(rows.l3lif, any);
    made.restore_db(rows.label, any);
    made.restore_db(rows.member_intf, InterfaceKind::port);
    number = 0;
    for (const HostRow &row : rows.interfaces) {
        ++number;
        if (row.kept_intf && !made.db_.has<MemberIntfRow>(row.ifindex))
            throw BadRow(HostRow::table, number, "kept_intf",
                         fmt::format("{} says nothing of it", MemberIntfRow::table));
    }
    *this = std::move(made);
}

bool Host::with_stand_in(uint32_t ifindex, const std::function<void()> &work)
{
    const uint32_t kind = (ifindex >> 28) - 1, number = ifindex & number_mask;
    if (kind >= std::size(tables_) || !is_number_of(static_cast<InterfaceKind>(kind), number))
        return false;
    std::vector<Slot> &table = tables_[kind];
    const size_t size = table.size();
    if (number >= size)
        table.resize(number + 1);
    Slot real = std::exchange(table[number], std::make_unique<HostInterface>(
                                                 static_cast<InterfaceKind>(kind), "", number));
    table[number]->registered = true;
    table[number]->make_context().intf_id = first_id;
    work();
    table[number] = std::move(real);
    table.resize(size); /* the next sub-interface's number depends on it */
    return true;
}

int32_t Host::port_lid(uint32_t ifindex, uint32_t &lid_id) const
{
    const HostInterface *port = find(ifindex, InterfaceKind::port);
    if (!port)
        return refuse_ifindex(ifindex, "port");
    if (!port->lid_id)
        return refuse(ENOENT, port->name + " has no layer-2 LID entry");
    lid_id = *port->lid_id;
    return 0;
}

int32_t Host::serving_intf(uint32_t ifindex, uint32_t &intf_id) const
{
    const HostInterface *interface = find(ifindex);
    if (!interface)
        return refuse_ifindex(ifindex, "interface");
    if (interface->channel)
        interface = interface->channel;
    if (!interface->registered)
        return refuse(ENOENT, interface->name + " is no L3 interface");
    if (interface->intf_id() == no_id)
        return refuse(ENOENT, interface->name + " has no SDK interface");
    intf_id = interface->intf_id();
    return 0;
}

int32_t Host::keep_intf(uint32_t ifindex, uint32_t intf_id, int32_t flag)
{
    HostInterface *port = find(ifindex, InterfaceKind::port);
    if (!port)
        return refuse_ifindex(ifindex, "port");
    if (flag == 1 && intf_id < no_id) {
        db_.store(MemberIntfRow{ifindex, intf_id, {}});
        port->kept_intf = intf_id;
        return 0;
    }
    if (flag == 0 && intf_id == no_id) {
        db_.forget_member_intf(ifindex);
        port->kept_intf.reset();
        return 0;
    }
    return refuse(EINVAL, fmt::format("SDK interface {} with flag {}", intf_id, flag));
}

int32_t Host::give_over_port_channel(uint32_t ifindex)
{
    if (!held_.erase(ifindex))
        return refuse_ifindex(ifindex, "port-channel that the host holds");
    return 0;
}

int32_t Host::publish(const l3lif *record)
{
    if (!record)
        return refuse(EINVAL, "no interface is given");
    const HostInterface *interface = find(record->ifindex);
    if (interface != record || !interface->registered)
        return refuse_ifindex(record->ifindex, "registered interface");
    const l3lif_ip_cfg &ip = interface->ip;
    db_.store(L3lifRow{interface->ifindex,
                       interface->name,
                       ip.mtu,
                       ip.ipv4_ucst_en,
                       ip.ipv4_mcst_en,
                       ip.ipv4_same_if,
                       interface->v4_vpn_id,
                       interface->v6_vpn_id,
                       interface->nat_zone,
                       {}});
    return 0;
}

int32_t Host::store_port_binding(const fwm_pm_sdb_key *key, const fwm_pm_sdb_data *data)
{
    if (!key || !data)
        return refuse(EINVAL, "no record is given");
    if (key->kind != port_binding)
        return refuse(EINVAL, fmt::format("{} is no kind of port record", key->kind));
    if (!find(key->ifindex, InterfaceKind::port))
        return refuse_ifindex(key->ifindex, "port");
    db_.store(PmRow{key->kind, key->ifindex, data->ifmap_idx, data->word1, data->half2, {}});
    return 0;
}

int32_t Host::store_pc_id(uint32_t ifindex, uint32_t pc_id)
{
    if (!find(ifindex, InterfaceKind::port_channel))
        return refuse_ifindex(ifindex, "port-channel");
    db_.store(PcRow{ifindex, pc_id, {}});
    return 0;
}

int32_t Host::store_label(uint32_t ifindex, bool enable, bool svi)
{
    if (!find(ifindex))
        return refuse_ifindex(ifindex, "interface");
    db_.store(LabelRow{ifindex, enable, svi, {}});
    return 0;
}

int32_t Host::port_command(uint32_t call, const port_cmd_msg *message, uint32_t length)
{
    if (call != port_command_call)
        return refuse(ENOSYS, fmt::format("{:#x} is no call of the port service", call));
    if (!message || length != sizeof *message)
        return refuse(EINVAL, fmt::format("a message of {} bytes, expected {}",
                                          message ? length : 0, sizeof *message));
    HostInterface *port = find(port_ifindex(message->port), InterfaceKind::port);
    if (!port)
        return refuse(ENODEV, fmt::format("there is no port {}", message->port));
    if (message->cmd != internal_loopback_on && message->cmd != internal_loopback_off)
        return refuse(EINVAL, fmt::format("{} is no command to a port", message->cmd));
    port->loopback = message->cmd == internal_loopback_on;
    return 0;
}

} // namespace kvnsim
