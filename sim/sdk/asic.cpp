/* The ASIC model. An operation checks everything before it changes anything: a refused one has no
 * effect but its reason. References are known from both ends (lists, counts, indexes by key), so
 * that an object in use cannot be destroyed (except a port-channel's LID entry, see holds_its_lid),
 * and a refusal names the holder and its origin. The SDK's calls are the callers. */
#include "sim/sdk/asic.h"

#include <algorithm>
#include <array>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "sim/journal/journal.h"
#include "sim/sdk/attributes.h"
#include "sim/sdk/table.h"
#include "sim/types/bad_row.h"

namespace kvnsim {

namespace {

constexpr uint32_t ports = 256; /* front ports 1..255 by their number */
constexpr uint32_t first_vlan = 1, last_vlan = 4094;
constexpr uint32_t switch_config_lid_ifmap = 38;
constexpr uint32_t first_ifmap_idx = 0x1000;
constexpr size_t usual_attributes = 4; /* that the library writes to most interfaces */
constexpr uint32_t usual_lids = 16384;
constexpr uint32_t most_paths = last_id * ports; /* each LID entry to each port and a channel */

/* Each interface with each attribute. */
uint32_t most_attributes()
{
    return last_id * static_cast<uint32_t>(attributes().size());
}

/* The tables' rows, and what refers to them: lists of identifiers have the newest last. */
struct Interface : IntfRow {
    std::vector<AttributeValueRow> attributes; /* those written, by number */
    std::vector<uint32_t> children;            /* sub-interfaces with this parent */
    std::vector<uint32_t> traps;               /* MAC traps on this interface */
    uint32_t held_lid = 0; /* the LID entry that cannot be destroyed while bound */
    /* The library destroys a port-channel's LID entry before the interface that is bound to it; no
     * other LID entry may be destroyed before its interfaces. */
    bool holds_its_lid() const { return type != sdk_routed_port || param3 == 0; }
};
struct Lid : LidRow {
    std::vector<LidPathRow> paths;
    std::vector<uint32_t> bound; /* interfaces that hold it */
};
struct PortChannel : PortChannelRow {
    uint32_t members = 0;
    uint32_t intf_id = 0;    /* its routed interface, 0 without one */
    std::set<uint32_t> lids; /* LID entries with a path to it */
};
struct FrontPort {
    uint32_t intf_id = 0; /* its routed interface, 0 without one */
    uint32_t lid_id = 0;  /* the LID entry with a path to it, 0 without one */
    MemberRow member;     /* pc_id 0: of no port-channel */
};

void remove(std::vector<uint32_t> &ids, uint32_t id)
{
    ids.erase(std::find(ids.begin(), ids.end(), id));
}

bool is_vlan(uint32_t vlan)
{
    return vlan >= first_vlan && vlan <= last_vlan;
}

/* Sub-interfaces are identified by parent and VLAN, traps by interface and MAC. */
uint64_t sub_interface_key(uint32_t parent, uint32_t vlan)
{
    return uint64_t{parent} << 16 | vlan;
}
uint64_t trap_key(uint32_t intf_id, const Mac &mac)
{
    return uint64_t{intf_id} << 48 | as_number(mac);
}

bool leads_to_channel(const LidPathRow &path)
{
    return path.port_type == SdkPortTypeChannel;
}

/* The LID entry's path to a port-channel, nullptr without one. */
const LidPathRow *channel_path(const Lid &lid)
{
    const auto at = std::find_if(lid.paths.begin(), lid.paths.end(), leads_to_channel);
    return at == lid.paths.end() ? nullptr : &*at;
}

/* Where the attribute is, or would be inserted. */
auto place_of(std::vector<AttributeValueRow> &attributes, uint32_t number)
{
    return std::find_if(attributes.begin(), attributes.end(),
                        [&](const AttributeValueRow &written) { return written.number >= number; });
}

/* What was written to the attribute, nullptr when nothing was. */
AttributeValueRow *written(Interface &row, uint32_t number)
{
    const auto at = place_of(row.attributes, number);
    return at != row.attributes.end() && at->number == number ? &*at : nullptr;
}

} // namespace

std::string place(const IntfRow &intf)
{
    if (intf.type == sdk_svi)
        return fmt::format("VLAN {}", intf.param1);
    if (intf.type == sdk_sub_interface)
        return fmt::format("VLAN {} of interface {}", intf.param2, intf.param1);
    return fmt::format("{} {}", intf.param3 == 1 ? "port-channel" : "front port", intf.param1);
}

template <class Row> using Visit = std::function<void(const Row &)>;

template <class Row> void visit_all(const std::vector<Row> &rows, const Visit<Row> &visit)
{
    std::for_each(rows.begin(), rows.end(), visit);
}

struct Asic::State {
    Table<Interface> intf{last_id};
    Occupancy attr{most_attributes()};
    Table<Lid> lid{usual_lids};
    Occupancy path{2 * usual_lids};
    Table<PortChannel> pc{256};
    Table<RouterMacRow> rmac{32};
    Table<TrapRow> trap{4096};
    Occupancy member{ports - 1}; /* of the fullest port-channel */

    std::array<FrontPort, ports> port;
    std::array<uint32_t, last_vlan + 1> svi{}; /* the interface of each VLAN, 0 without one */
    std::unordered_map<uint64_t, uint32_t> sub_interfaces, router_macs, traps; /* by their keys */

    std::vector<PendingRow> pending;
    std::string last_refusal;
    std::vector<RequestRef> named; /* by the refusal in preparation */

    std::string made(const Origin &origin);
    std::string words(const PendingRow &write);
    std::string holder(const char *kind, uint32_t id, const Origin &origin, size_t count);
    template <class Row>
    std::string holder(const char *kind, Table<Row> &table, const std::vector<uint32_t> &ids);
    SdkStatus held(const char *what, uint32_t id, std::initializer_list<std::string> holders);

    void say(std::string reason);
    SdkStatus refuse(SdkStatus status, std::string reason);
    SdkStatus unknown(const char *what, uint32_t id);
    SdkStatus full(const char *what, const Occupancy &occupancy);

    SdkStatus check_routed_port(const IntfRow &row);
    SdkStatus check_sub_interface(const IntfRow &row);
    SdkStatus check_svi(const IntfRow &row);
    SdkStatus check_interface(const IntfRow &row);
    SdkStatus check_router_mac(const Mac &mac);
    SdkStatus check_trap(uint32_t intf_id, const Mac &mac);
    SdkStatus check_write(uint32_t intf_id, uint32_t attribute, uint32_t value);
    SdkStatus check_ports(uint32_t pc_id, const sdk_port_mask &mask,
                          std::vector<uint32_t> &numbers);

    uint32_t occupant(const IntfRow &row);
    void occupy(const IntfRow &row, uint32_t intf_id);
    void write(const AttributeValueRow &attribute);
    void hold_lid(uint32_t intf_id, uint32_t lid_id);

    struct TableRow {
        const char *name, *description;
        uint32_t largest; /* capacity that can be set */
        Occupancy *occupancy;
    };
    std::array<TableRow, 8> tables();

    void restore_uses(const std::vector<TableUse> &rows);
    void restore_pending(const std::vector<PendingRow> &rows);
    void restore_interfaces(const std::vector<IntfRow> &rows, bool parents);
    void restore_attributes(const std::vector<AttributeValueRow> &rows);
    void restore_members(const std::vector<MemberRow> &rows);
    void restore_traps(const std::vector<TrapRow> &rows);
    void restore_router_macs(const std::vector<RouterMacRow> &rows);
    void restore_lids(const std::vector<LidRow> &rows);
    SdkStatus check_restored_write(uint32_t intf_id, uint32_t attribute, uint32_t value);
    void sort_references();
    void finish_uses(const std::vector<TableUse> &rows);

    void each(const Visit<IntfRow> &visit) { intf.each(visit); }
    void each(const Visit<AttributeValueRow> &visit)
    {
        intf.each([&](const Interface &row) { visit_all(row.attributes, visit); });
    }
    void each(const Visit<LidRow> &visit) { lid.each(visit); }
    void each(const Visit<LidPathRow> &visit)
    {
        lid.each([&](const Lid &row) { visit_all(row.paths, visit); });
    }
    void each(const Visit<PortChannelRow> &visit) { pc.each(visit); }
    void each(const Visit<MemberRow> &visit)
    {
        pc.each([&](const PortChannel &row) {
            for (uint32_t number = 1, left = row.members; left != 0; ++number) {
                if (port[number].member.pc_id != row.pc_id)
                    continue;
                visit(port[number].member);
                --left;
            }
        });
    }
    void each(const Visit<RouterMacRow> &visit) { rmac.each(visit); }
    void each(const Visit<TrapRow> &visit) { trap.each(visit); }
    void each(const Visit<PendingRow> &visit) { visit_all(pending, visit); }
    void each(const Visit<TableUse> &visit)
    {
        for (const auto &[name, description, largest, use] : tables())
            visit({name, description, use->used, use->high_water, use->capacity});
    }

    const IntfRow *after(const RowKey &key, const IntfRow *) { return row_after(intf, key); }
    const LidRow *after(const RowKey &key, const LidRow *) { return row_after(lid, key); }
    const PortChannelRow *after(const RowKey &key, const PortChannelRow *)
    {
        return row_after(pc, key);
    }
    const RouterMacRow *after(const RowKey &key, const RouterMacRow *)
    {
        return row_after(rmac, key);
    }
    const TrapRow *after(const RowKey &key, const TrapRow *) { return row_after(trap, key); }
    const PendingRow *after(const RowKey &key, const PendingRow *)
    {
        return key.id < pending.size() ? &pending[key.id] : nullptr;
    }
    const AttributeValueRow *after(const RowKey &key, const AttributeValueRow *)
    {
        return part_after(intf, key, [](const Interface &row, uint32_t number) {
            const auto at =
                std::find_if(row.attributes.begin(), row.attributes.end(),
                             [&](const AttributeValueRow &value) { return value.number > number; });
            return at == row.attributes.end() ? nullptr : &*at;
        });
    }
    const LidPathRow *after(const RowKey &key, const LidPathRow *)
    {
        return part_after(lid, key, [](const Lid &row, uint32_t count) {
            return count < row.paths.size() ? &row.paths[count] : nullptr;
        });
    }
    const MemberRow *after(const RowKey &key, const MemberRow *)
    {
        return part_after(pc, key, [this](const PortChannel &row, uint32_t front_port) {
            const auto at = std::find_if(port.begin(), port.end(), [&](const FrontPort &any) {
                return any.member.pc_id == row.pc_id && any.member.front_port > front_port;
            });
            return at == port.end() ? nullptr : &at->member;
        });
    }

private:
    template <class Row> static const Row *row_after(Table<Row> &table, const RowKey &key)
    {
        for (uint64_t id = uint64_t{key.id} + 1; id < table.end_id(); ++id) {
            if (const Row *row = table.find(static_cast<uint32_t>(id)))
                return row;
        }
        return nullptr;
    }
    /* find gives the object's part behind that number, or nullptr. */
    template <class Row, class Find>
    static auto part_after(Table<Row> &table, const RowKey &key, const Find &find)
        -> decltype(find(table[0], 0))
    {
        for (uint32_t id = std::max(key.id, first_id); id < table.end_id(); ++id) {
            const Row *row = table.find(id);
            auto *const part = row != nullptr ? find(*row, id == key.id ? key.part : 0) : nullptr;
            if (part != nullptr)
                return part;
        }
        return nullptr;
    }
};

/* Refusals */

/* Who made an object that a refusal names. */
std::string Asic::State::made(const Origin &origin)
{
    if (origin.request)
        named.push_back(origin.request);
    return fmt::format(" ({})", origin.to_text());
}

std::string Asic::State::words(const PendingRow &write)
{
    return fmt::format("the write of {} to interface {}{}",
                       kvnsim::find_attribute(write.number)->name, write.intf_id, made(write.made));
}

/* What refers to an object: the first of its kind, and how many more. */
std::string Asic::State::holder(const char *kind, uint32_t id, const Origin &origin, size_t count)
{
    std::string text = fmt::format("{} {}{}", kind, id, made(origin));
    if (count > 1)
        text += fmt::format(" and {} more", count - 1);
    return text;
}

/* The same of these rows, of which it names the newest; empty without one. */
template <class Row>
std::string Asic::State::holder(const char *kind, Table<Row> &table,
                                const std::vector<uint32_t> &ids)
{
    return ids.empty() ? "" : holder(kind, ids.back(), table[ids.back()].made, ids.size());
}

/* Refuse to destroy what something refers to. */
SdkStatus Asic::State::held(const char *what, uint32_t id,
                            std::initializer_list<std::string> holders)
{
    std::string text;
    for (const std::string &holder : holders) {
        if (!holder.empty())
            text += (text.empty() ? "" : ", ") + holder;
    }
    return text.empty() ? SDK_E_NONE
                        : refuse(SDK_E_BUSY, fmt::format("{} {} is held by {}", what, id, text));
}

void Asic::State::say(std::string reason)
{
    last_refusal = std::move(reason);
    Journal::instance().note(last_refusal, std::exchange(named, {}));
}

SdkStatus Asic::State::refuse(SdkStatus status, std::string reason)
{
    say(std::move(reason));
    return status;
}

SdkStatus Asic::State::unknown(const char *what, uint32_t id)
{
    return refuse(SDK_E_NOT_FOUND, fmt::format("there is no {} {}", what, id));
}

SdkStatus Asic::State::full(const char *what, const Occupancy &occupancy)
{
    return refuse(SDK_E_FULL, fmt::format("no room for another {}: {} of {} in use", what,
                                          occupancy.used, occupancy.capacity));
}

/* Interfaces */

SdkStatus Asic::State::check_routed_port(const IntfRow &row)
{
    if (row.param2 != 0 || row.param3 > 1 || row.param4 != 0 || row.param5 != 0)
        return refuse(SDK_E_PARAM, "a routed port takes param1 and param3 (0 or 1), no other word");
    if (row.param3 == 1)
        return pc.find(row.param1) ? SDK_E_NONE : unknown("port-channel", row.param1);
    if (row.param1 == 0 || row.param1 >= ports)
        return refuse(SDK_E_PARAM,
                      fmt::format("there is no front port {}, only 1 to 255", row.param1));
    if (const MemberRow &on = port[row.param1].member; on.pc_id != 0)
        return refuse(SDK_E_BUSY, fmt::format("front port {} is a member of port-channel {}{}",
                                              row.param1, on.pc_id, made(on.made)));
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_sub_interface(const IntfRow &row)
{
    if (row.param3 != 0 || row.param4 != 0 || row.param5 != 0)
        return refuse(SDK_E_PARAM, "a sub-interface takes param1 and param2, no other word");
    if (!is_vlan(row.param2))
        return refuse(SDK_E_PARAM, fmt::format("VLAN {} is not 1 to 4094", row.param2));
    if (row.param1 == no_id)
        return SDK_E_NONE;
    const Interface *parent = intf.find(row.param1);
    if (!parent)
        return unknown("interface", row.param1);
    if (parent->type != sdk_routed_port)
        return refuse(SDK_E_PARAM,
                      fmt::format("interface {} is that of {}{}: only routed ports and "
                                  "port-channels have sub-interfaces",
                                  row.param1, place(*parent), made(parent->made)));
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_svi(const IntfRow &row)
{
    if (row.param2 != 0 || row.param3 != 0 || row.param4 != 0 || row.param5 != 0)
        return refuse(SDK_E_PARAM, "an SVI takes param1, no other word");
    if (!is_vlan(row.param1))
        return refuse(SDK_E_PARAM, fmt::format("VLAN {} is not 1 to 4094", row.param1));
    return SDK_E_NONE;
}

/* The interface in this one's place, 0 when it is free. */
uint32_t Asic::State::occupant(const IntfRow &row)
{
    if (row.type == sdk_svi)
        return svi[row.param1];
    if (row.type == sdk_routed_port)
        return row.param3 == 1 ? pc[row.param1].intf_id : port[row.param1].intf_id;
    const auto at = sub_interfaces.find(sub_interface_key(row.param1, row.param2));
    return at == sub_interfaces.end() ? 0 : at->second;
}

/* Give the interface's place to this one; 0 frees it. */
void Asic::State::occupy(const IntfRow &row, uint32_t intf_id)
{
    if (row.type == sdk_svi)
        svi[row.param1] = intf_id;
    else if (row.type == sdk_routed_port)
        (row.param3 == 1 ? pc[row.param1].intf_id : port[row.param1].intf_id) = intf_id;
    else if (row.param1 == no_id)
        return; /* the VLANs of unknown parents cannot be distinguished */
    else if (intf_id != 0)
        sub_interfaces[sub_interface_key(row.param1, row.param2)] = intf_id;
    else
        sub_interfaces.erase(sub_interface_key(row.param1, row.param2));
}

/* Whether an interface can be made with these parameters. */
SdkStatus Asic::State::check_interface(const IntfRow &row)
{
    SdkStatus status;
    switch (row.type) {
    case sdk_routed_port:
        status = check_routed_port(row);
        break;
    case sdk_sub_interface:
        status = check_sub_interface(row);
        break;
    case sdk_svi:
        status = check_svi(row);
        break;
    default:
        return refuse(SDK_E_PARAM, fmt::format("there is no interface type {}", row.type));
    }
    if (status != SDK_E_NONE)
        return status;
    if (const uint32_t other = occupant(row))
        return refuse(SDK_E_EXISTS, fmt::format("{} has interface {} already{}", place(row), other,
                                                made(intf[other].made)));
    return SDK_E_NONE;
}

SdkStatus Asic::intf_create(uint32_t type, const sdk_intf_create_params &params, uint32_t &intf_id)
{
    State &s = *state_;
    Interface row;
    static_cast<IntfRow &>(row) = {0,
                                   type,
                                   params.param1,
                                   params.param2,
                                   params.param3,
                                   params.param4,
                                   params.param5,
                                   Origin::now()};
    const SdkStatus status = s.check_interface(row);
    if (status != SDK_E_NONE)
        return status;
    if (s.intf.occupancy.full())
        return s.full("interface", s.intf.occupancy);

    row.attributes.reserve(usual_attributes);
    intf_id = s.intf.take(std::move(row));
    Interface &made = s.intf[intf_id];
    made.intf_id = intf_id;
    s.occupy(made, intf_id);
    if (type == sdk_sub_interface && params.param1 != no_id)
        s.intf[params.param1].children.push_back(intf_id);
    return SDK_E_NONE;
}

SdkStatus Asic::intf_destroy(uint32_t intf_id)
{
    State &s = *state_;
    Interface *row = s.intf.find(intf_id);
    if (!row)
        return s.unknown("interface", intf_id);
    /* A queued write must not reach a new interface with the same identifier. */
    if (!s.pending.empty())
        return s.refuse(SDK_E_BUSY,
                        fmt::format("the pending batch is not flushed, it begins with {}",
                                    s.words(s.pending.front())));
    const SdkStatus status = s.held("interface", intf_id,
                                    {s.holder("sub-interface", s.intf, row->children),
                                     s.holder("MAC trap", s.trap, row->traps)});
    if (status != SDK_E_NONE)
        return status;

    s.hold_lid(intf_id, 0);
    if (row->type == sdk_sub_interface && row->param1 != no_id)
        remove(s.intf[row->param1].children, intf_id);
    s.occupy(*row, 0);
    s.attr.use(s.attr.used - static_cast<uint32_t>(row->attributes.size()));
    s.intf.release(intf_id);
    return SDK_E_NONE;
}

/* Attributes */

SdkStatus Asic::State::check_write(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    Interface *row = intf.find(intf_id);
    if (!row)
        return unknown("interface", intf_id);
    const AttributeRow *known = kvnsim::find_attribute(attribute);
    if (!known)
        return refuse(SDK_E_PARAM, fmt::format("there is no attribute {}", attribute));
    if (!known->rule->accepts(value))
        return refuse(SDK_E_PARAM,
                      fmt::format("{} is {}, not {}", known->name, known->rule->words, value));
    if (attribute == SdkIntfAttrLid && !lid.find(value))
        return unknown("LID entry", value);
    if (attr.full() && !written(*row, attribute))
        return full("attribute value", attr);
    return SDK_E_NONE;
}

/* Make the interface a holder of this LID entry instead of its present one; 0 for none. */
void Asic::State::hold_lid(uint32_t intf_id, uint32_t lid_id)
{
    uint32_t &held = intf[intf_id].held_lid;
    if (held != 0)
        remove(lid[held].bound, intf_id);
    held = lid_id;
    if (held != 0)
        lid[held].bound.push_back(intf_id);
}

void Asic::State::write(const AttributeValueRow &attribute)
{
    Interface &row = intf[attribute.intf_id];
    if (AttributeValueRow *before = written(row, attribute.number)) {
        *before = attribute;
    } else {
        row.attributes.insert(place_of(row.attributes, attribute.number), attribute);
        attr.use(attr.used + 1);
    }
    if (attribute.number == SdkIntfAttrLid && row.holds_its_lid())
        hold_lid(attribute.intf_id, attribute.value);
}

SdkStatus Asic::attr_set(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    const SdkStatus status = state_->check_write(intf_id, attribute, value);
    if (status == SDK_E_NONE)
        state_->write({intf_id, attribute, value, Origin::now()});
    return status;
}

SdkStatus Asic::attr_get(uint32_t intf_id, uint32_t attribute, uint32_t &value)
{
    State &s = *state_;
    Interface *row = s.intf.find(intf_id);
    if (!row)
        return s.unknown("interface", intf_id);
    const AttributeRow *known = kvnsim::find_attribute(attribute);
    if (!known)
        return s.refuse(SDK_E_PARAM, fmt::format("there is no attribute {}", attribute));
    const AttributeValueRow *found = written(*row, attribute);
    value = found ? found->value : known->initial;
    return SDK_E_NONE;
}

SdkStatus Asic::attr_set_batch(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    State &s = *state_;
    const SdkStatus status = s.check_write(intf_id, attribute, value);
    if (status == SDK_E_NONE)
        s.pending.push_back(
            {static_cast<uint32_t>(s.pending.size()), intf_id, attribute, value, Origin::now()});
    return status;
}

uint32_t Asic::batch_flush()
{
    State &s = *state_;
    uint32_t dropped = 0;
    std::string first;
    for (const PendingRow &write : s.pending) {
        if (s.check_write(write.intf_id, write.number, write.value) == SDK_E_NONE)
            s.write({write.intf_id, write.number, write.value, write.made});
        else if (++dropped == 1)
            first = fmt::format("{} is dropped: {}", s.words(write), s.last_refusal);
    }
    s.pending.clear();
    if (dropped > 1)
        first += fmt::format(", and {} more", dropped - 1);
    if (dropped != 0)
        s.say(std::move(first));
    return dropped;
}

SdkStatus Asic::switch_config_get(uint32_t item, sdk_switch_config &request)
{
    State &s = *state_;
    if (item != switch_config_lid_ifmap)
        return s.refuse(SDK_E_UNAVAIL, fmt::format("there is no configuration item {}", item));
    if (!s.lid.find(request.word[0]))
        return s.unknown("LID entry", request.word[0]);
    request.word[1] = s.lid[request.word[0]].ifmap_idx;
    return SDK_E_NONE;
}

/* Port-channels */

SdkStatus Asic::portchannel_create(uint32_t &pc_id)
{
    State &s = *state_;
    if (s.pc.occupancy.full())
        return s.full("port-channel", s.pc.occupancy);
    pc_id = s.pc.take({});
    static_cast<PortChannelRow &>(s.pc[pc_id]) = {pc_id, Origin::now()};
    return SDK_E_NONE;
}

SdkStatus Asic::portchannel_destroy(uint32_t pc_id)
{
    State &s = *state_;
    PortChannel *row = s.pc.find(pc_id);
    if (!row)
        return s.unknown("port-channel", pc_id);
    std::string member, intf, lid;
    if (row->members != 0) {
        const auto first = std::find_if(s.port.begin(), s.port.end(), [&](const FrontPort &port) {
            return port.member.pc_id == pc_id;
        });
        member =
            s.holder("member port", first->member.front_port, first->member.made, row->members);
    }
    if (row->intf_id != 0)
        intf = s.holder("interface", row->intf_id, s.intf[row->intf_id].made, 1);
    if (!row->lids.empty()) {
        const uint32_t lid_id = *row->lids.begin();
        lid = s.holder("LID entry", lid_id, channel_path(s.lid[lid_id])->made, row->lids.size());
    }
    const SdkStatus status = s.held("port-channel", pc_id, {member, intf, lid});
    if (status == SDK_E_NONE)
        s.pc.release(pc_id);
    return status;
}

/* The numbers of the ports that the mask names, to join or leave the port-channel. */
SdkStatus Asic::State::check_ports(uint32_t pc_id, const sdk_port_mask &mask,
                                   std::vector<uint32_t> &numbers)
{
    if (!pc.find(pc_id))
        return unknown("port-channel", pc_id);
    if (mask.mask_len != sizeof mask.port_bitmap)
        return refuse(SDK_E_PARAM, fmt::format("the mask's length is {}, not {}", mask.mask_len,
                                               sizeof mask.port_bitmap));
    for (uint32_t number = 0; number < ports; ++number) {
        if (mask.port_bitmap[number >> 3] & (0x80 >> (number & 7)))
            numbers.push_back(number);
    }
    if (numbers.empty())
        return refuse(SDK_E_PARAM, "the mask names no port");
    if (numbers.front() == 0)
        return refuse(SDK_E_PARAM, "there is no front port 0, only 1 to 255");
    return SDK_E_NONE;
}

SdkStatus Asic::member_add(uint32_t pc_id, const sdk_port_mask &mask)
{
    State &s = *state_;
    std::vector<uint32_t> numbers;
    if (const SdkStatus status = s.check_ports(pc_id, mask, numbers); status != SDK_E_NONE)
        return status;
    uint32_t &members = s.pc[pc_id].members;
    for (const uint32_t number : numbers) {
        const MemberRow &member = s.port[number].member;
        if (member.pc_id != 0)
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("front port {} is a member of port-channel {} already{}",
                                        number, member.pc_id, s.made(member.made)));
    }
    if (members + numbers.size() > s.member.capacity)
        return s.refuse(SDK_E_FULL, fmt::format("no room for {} more in port-channel {}: {} of {} "
                                                "members",
                                                numbers.size(), pc_id, members, s.member.capacity));
    for (const uint32_t number : numbers)
        s.port[number].member = {pc_id, number, Origin::now()};
    members += static_cast<uint32_t>(numbers.size());
    s.member.use(std::max(s.member.used, members));
    return SDK_E_NONE;
}

SdkStatus Asic::member_delete(uint32_t pc_id, const sdk_port_mask &mask)
{
    State &s = *state_;
    std::vector<uint32_t> numbers;
    if (const SdkStatus status = s.check_ports(pc_id, mask, numbers); status != SDK_E_NONE)
        return status;
    uint32_t &members = s.pc[pc_id].members;
    for (const uint32_t number : numbers) {
        if (s.port[number].member.pc_id != pc_id)
            return s.refuse(
                SDK_E_NOT_FOUND,
                fmt::format("front port {} is no member of port-channel {}", number, pc_id));
    }
    for (const uint32_t number : numbers)
        s.port[number].member = {};
    members -= static_cast<uint32_t>(numbers.size());
    uint32_t most = 0;
    s.pc.each([&](const PortChannel &any) { most = std::max(most, any.members); });
    s.member.use(most);
    return SDK_E_NONE;
}

/* LID entries */

SdkStatus Asic::lid_create(uint32_t &lid_id)
{
    State &s = *state_;
    if (s.lid.occupancy.full())
        return s.full("LID entry", s.lid.occupancy);
    lid_id = s.lid.take({});
    static_cast<LidRow &>(s.lid[lid_id]) = {lid_id, first_ifmap_idx + lid_id, Origin::now()};
    return SDK_E_NONE;
}

SdkStatus Asic::lid_destroy(uint32_t lid_id)
{
    State &s = *state_;
    Lid *row = s.lid.find(lid_id);
    if (!row)
        return s.unknown("LID entry", lid_id);
    const SdkStatus status =
        s.held("LID entry", lid_id, {s.holder("interface", s.intf, row->bound)});
    if (status != SDK_E_NONE)
        return status;
    for (const LidPathRow &path : row->paths) {
        if (leads_to_channel(path))
            s.pc[path.pc_id].lids.erase(lid_id);
        else
            s.port[path.front_port].lid_id = 0;
    }
    s.path.use(s.path.used - static_cast<uint32_t>(row->paths.size()));
    s.lid.release(lid_id);
    return SDK_E_NONE;
}

SdkStatus Asic::lid_path_add(uint32_t lid_id, const sdk_lid_path &path)
{
    State &s = *state_;
    Lid *row = s.lid.find(lid_id);
    if (!row)
        return s.unknown("LID entry", lid_id);
    switch (path.port_type) {
    case SdkPortTypeChannel:
        if (path.front_port != 0)
            return s.refuse(SDK_E_PARAM, "a path to a port-channel has front port 0");
        if (!s.pc.find(path.pc_id))
            return s.unknown("port-channel", path.pc_id);
        if (const LidPathRow *other = channel_path(*row))
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("LID entry {} leads to port-channel {} already{}", lid_id,
                                        other->pc_id, s.made(other->made)));
        break;
    case KVNSIM_SDK_PORT_TYPE_FRONT_PANEL:
        if (path.front_port == 0)
            return s.refuse(SDK_E_PARAM, "there is no front port 0, only 1 to 255");
        if (path.pc_id != 0)
            return s.refuse(SDK_E_PARAM, "a path to a front port has port-channel 0");
        if (const uint32_t other = s.port[path.front_port].lid_id)
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("LID entry {} leads to front port {} already{}", other,
                                        path.front_port, s.made(s.lid[other].made)));
        break;
    default:
        return s.refuse(SDK_E_PARAM, fmt::format("there is no port type {}", path.port_type));
    }
    if (s.path.full())
        return s.full("LID path", s.path);
    row->paths.push_back({lid_id, static_cast<uint32_t>(row->paths.size()), path.port_type,
                          path.front_port, path.pc_id, Origin::now()});
    s.path.use(s.path.used + 1);
    if (path.port_type == SdkPortTypeChannel)
        s.pc[path.pc_id].lids.insert(lid_id);
    else
        s.port[path.front_port].lid_id = lid_id;
    return SDK_E_NONE;
}

/* Router MACs and traps */

SdkStatus Asic::State::check_router_mac(const Mac &mac)
{
    if (as_number(mac) == 0 || (mac[0] & 1) != 0)
        return refuse(SDK_E_PARAM, to_text(mac) + " is no unicast address");
    if (const auto other = router_macs.find(as_number(mac)); other != router_macs.end())
        return refuse(SDK_E_EXISTS, fmt::format("{} is router MAC {} already{}", to_text(mac),
                                                other->second, made(rmac[other->second].made)));
    return SDK_E_NONE;
}

SdkStatus Asic::router_mac_create(const Mac &mac, uint32_t &peer_mac_id)
{
    State &s = *state_;
    if (const SdkStatus status = s.check_router_mac(mac); status != SDK_E_NONE)
        return status;
    if (s.rmac.occupancy.full())
        return s.full("router MAC", s.rmac.occupancy);
    peer_mac_id = s.rmac.take({});
    s.rmac[peer_mac_id] = {peer_mac_id, mac, Origin::now()};
    s.router_macs[as_number(mac)] = peer_mac_id;
    return SDK_E_NONE;
}

SdkStatus Asic::router_mac_destroy(uint32_t peer_mac_id)
{
    State &s = *state_;
    const RouterMacRow *row = s.rmac.find(peer_mac_id);
    if (!row)
        return s.unknown("router MAC", peer_mac_id);
    s.router_macs.erase(as_number(row->mac));
    s.rmac.release(peer_mac_id);
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_trap(uint32_t intf_id, const Mac &mac)
{
    if (!intf.find(intf_id))
        return unknown("interface", intf_id);
    /* Group addresses too: some gateways have one. */
    if (as_number(mac) == 0)
        return refuse(SDK_E_PARAM, to_text(mac) + " is no address");
    if (const auto other = traps.find(trap_key(intf_id, mac)); other != traps.end())
        return refuse(SDK_E_EXISTS,
                      fmt::format("interface {} has MAC trap {} for {} already{}", intf_id,
                                  other->second, to_text(mac), made(trap[other->second].made)));
    return SDK_E_NONE;
}

SdkStatus Asic::trap_create(uint32_t intf_id, const Mac &mac, uint32_t &mac_trap_id)
{
    State &s = *state_;
    if (const SdkStatus status = s.check_trap(intf_id, mac); status != SDK_E_NONE)
        return status;
    if (s.trap.occupancy.full())
        return s.full("MAC trap", s.trap.occupancy);
    mac_trap_id = s.trap.take({});
    s.trap[mac_trap_id] = {mac_trap_id, intf_id, mac, Origin::now()};
    s.traps[trap_key(intf_id, mac)] = mac_trap_id;
    s.intf[intf_id].traps.push_back(mac_trap_id);
    return SDK_E_NONE;
}

SdkStatus Asic::trap_destroy(uint32_t mac_trap_id)
{
    State &s = *state_;
    const TrapRow *row = s.trap.find(mac_trap_id);
    if (!row)
        return s.unknown("MAC trap", mac_trap_id);
    s.traps.erase(trap_key(row->intf_id, row->mac));
    remove(s.intf[row->intf_id].traps, mac_trap_id);
    s.trap.release(mac_trap_id);
    return SDK_E_NONE;
}

/* Reading the tables */

template <class Row> void Asic::each(const Visit<Row> &visit) const
{
    state_->each(visit);
}
template void Asic::each(const Visit<IntfRow> &) const;
template void Asic::each(const Visit<AttributeValueRow> &) const;
template void Asic::each(const Visit<LidRow> &) const;
template void Asic::each(const Visit<LidPathRow> &) const;
template void Asic::each(const Visit<PortChannelRow> &) const;
template void Asic::each(const Visit<MemberRow> &) const;
template void Asic::each(const Visit<RouterMacRow> &) const;
template void Asic::each(const Visit<TrapRow> &) const;
template void Asic::each(const Visit<PendingRow> &) const;
template void Asic::each(const Visit<TableUse> &) const;

template <class Row> const Row *Asic::after(const RowKey &key) const
{
    return state_->after(key, static_cast<const Row *>(nullptr));
}
template const IntfRow *Asic::after(const RowKey &) const;
template const AttributeValueRow *Asic::after(const RowKey &) const;
template const LidRow *Asic::after(const RowKey &) const;
template const LidPathRow *Asic::after(const RowKey &) const;
template const PortChannelRow *Asic::after(const RowKey &) const;
template const MemberRow *Asic::after(const RowKey &) const;
template const RouterMacRow *Asic::after(const RowKey &) const;
template const TrapRow *Asic::after(const RowKey &) const;
template const PendingRow *Asic::after(const RowKey &) const;

void Asic::each_holder(const SdkObject &object, const Visit<SdkObject> &visit) const
{
    State &s = *state_;
    switch (object.kind) {
    case KVNSIM_SDK_INTF:
        if (const Interface *row = s.intf.find(object.id)) {
            for (const uint32_t id : row->children)
                visit({KVNSIM_SDK_INTF, id});
            for (const uint32_t id : row->traps)
                visit({KVNSIM_SDK_TRAP, id});
            for (const PendingRow &write : s.pending)
                visit({KVNSIM_SDK_PENDING_WRITE, write.position + 1});
        }
        break;
    case KVNSIM_SDK_LID:
        if (const Lid *row = s.lid.find(object.id)) {
            for (const uint32_t id : row->bound)
                visit({KVNSIM_SDK_INTF, id});
        }
        break;
    case KVNSIM_SDK_PORT_CHANNEL:
        if (const PortChannel *row = s.pc.find(object.id)) {
            for (const FrontPort &port : s.port) {
                if (port.member.pc_id == object.id)
                    visit({KVNSIM_SDK_MEMBER_PORT, port.member.front_port});
            }
            if (row->intf_id != 0)
                visit({KVNSIM_SDK_INTF, row->intf_id});
            for (const uint32_t id : row->lids)
                visit({KVNSIM_SDK_LID, id});
        }
        break;
    default: /* nothing holds the others */
        break;
    }
}

const IntfRow *Asic::find_interface(uint32_t intf_id) const
{
    return state_->intf.find(intf_id);
}
const AttributeValueRow *Asic::find_attribute(uint32_t intf_id, uint32_t number) const
{
    Interface *row = state_->intf.find(intf_id);
    return row != nullptr ? written(*row, number) : nullptr;
}
const LidRow *Asic::find_lid(uint32_t lid_id) const
{
    return state_->lid.find(lid_id);
}
const PortChannelRow *Asic::find_port_channel(uint32_t pc_id) const
{
    return state_->pc.find(pc_id);
}

/* Capacities */

std::array<Asic::State::TableRow, 8> Asic::State::tables()
{
    return {{{"intf", "interfaces", last_id, &intf.occupancy},
             {"attr", "attribute values written", most_attributes(), &attr},
             {"lid", "LID entries", last_id, &lid.occupancy},
             {"path", "LID paths", most_paths, &path},
             {"pc", "port-channels", last_id, &pc.occupancy},
             {"member", "members of the fullest port-channel", ports - 1, &member},
             {"rmac", "router MACs", last_id, &rmac.occupancy},
             {"trap", "MAC traps", last_id, &trap.occupancy}}};
}

std::string Asic::set_limit(std::string_view table, uint32_t capacity)
{
    std::string names;
    for (const State::TableRow &row : state_->tables()) {
        if (row.name != table) {
            names += fmt::format("{}{}", names.empty() ? "" : ", ", row.name);
        } else if (capacity > row.largest) {
            return fmt::format("{}: the capacity is 0 to {}, not {}", table, row.largest, capacity);
        } else {
            row.occupancy->capacity = capacity;
            return {};
        }
    }
    return fmt::format("there is no table \"{}\"; the tables are {}", table, names);
}

/* Restoring. The rows are put into an empty ASIC, through the checks of the operations: what an
 * operation refuses cannot be. A row comes after those that it refers to. */

namespace {

/* Refuse an identifier that the table cannot have handed out, or holds already. The lowest free one
 * is handed out first, so none exceeds the table's highest use. */
template <class Row>
void expect_free(Table<Row> &table, uint32_t id, uint32_t high_water, const char *name, size_t row,
                 const char *column)
{
    if (id < first_id || id > high_water)
        throw BadRow(
            name, row, column,
            fmt::format("{} is not 1 to {}, the highest use of the table", id, high_water));
    if (table.find(id))
        throw BadRow(name, row, column, fmt::format("{} is there twice", id));
}

/* Visit the rows with their numbers, from 1. */
template <class Row, class Visit> void numbered(const std::vector<Row> &rows, const Visit &visit)
{
    size_t number = 0;
    for (const Row &row : rows)
        visit(row, ++number);
}

} // namespace

/* Highest uses bound the identifiers; until finish_uses() there is room for every row. */
void Asic::State::restore_uses(const std::vector<TableUse> &rows)
{
    const auto known = tables();
    for (size_t i = 0; i < std::max(rows.size(), known.size()); ++i) {
        const auto bad = [&](const char *column, const std::string &reason) {
            throw BadRow(TableUse::table, i + 1, column, reason);
        };
        if (i >= rows.size() || i >= known.size() || rows[i].name != known[i].name)
            bad("name", i < known.size() ? fmt::format("expected {}", known[i].name)
                                         : "there is no such table");
        if (rows[i].description != known[i].description)
            bad("description", fmt::format("expected {}", known[i].description));
        if (rows[i].capacity > known[i].largest)
            bad("capacity", fmt::format("{} is not 0 to {}", rows[i].capacity, known[i].largest));
        if (rows[i].high_water > known[i].largest)
            bad("high_water",
                fmt::format("{} is not 0 to {}", rows[i].high_water, known[i].largest));
        known[i].occupancy->capacity = known[i].largest;
        known[i].occupancy->high_water = rows[i].high_water;
    }
}

void Asic::State::finish_uses(const std::vector<TableUse> &rows)
{
    numbered(rows, [&](const TableUse &row, size_t number) {
        Occupancy &occupancy = *tables()[number - 1].occupancy;
        if (row.used != occupancy.used)
            throw BadRow(TableUse::table, number, "used",
                         fmt::format("{}, but there are {}", row.used, occupancy.used));
        if (row.high_water != occupancy.high_water)
            throw BadRow(TableUse::table, number, "high_water",
                         fmt::format("{}, but {} are in use", row.high_water, row.used));
        occupancy.capacity = row.capacity;
    });
    intf.free_gaps();
    lid.free_gaps();
    pc.free_gaps();
    rmac.free_gaps();
    trap.free_gaps();
}

void Asic::State::restore_lids(const std::vector<LidRow> &rows)
{
    numbered(rows, [&](const LidRow &row, size_t number) {
        expect_free(lid, row.lid_id, lid.occupancy.high_water, LidRow::table, number, "lid_id");
        if (row.ifmap_idx != first_ifmap_idx + row.lid_id)
            throw BadRow(
                LidRow::table, number, "ifmap_idx",
                fmt::format("LID entry {} has {}", row.lid_id, first_ifmap_idx + row.lid_id));
        Lid entry;
        static_cast<LidRow &>(entry) = row;
        lid.put(row.lid_id, std::move(entry));
    });
}

void Asic::State::restore_interfaces(const std::vector<IntfRow> &rows, bool parents)
{
    numbered(rows, [&](const IntfRow &row, size_t number) {
        if ((row.type == sdk_routed_port) != parents)
            return;
        expect_free(intf, row.intf_id, intf.occupancy.high_water, IntfRow::table, number,
                    "intf_id");
        const SdkStatus status = check_interface(row);
        if (status != SDK_E_NONE)
            throw BadRow(IntfRow::table, number, status == SDK_E_EXISTS ? "param1" : "type",
                         last_refusal);
        Interface entry;
        static_cast<IntfRow &>(entry) = row;
        intf.put(row.intf_id, std::move(entry));
        occupy(row, row.intf_id);
        if (row.type == sdk_sub_interface && row.param1 != no_id)
            intf[row.param1].children.push_back(row.intf_id);
    });
}

/* As check_write(), but a LID entry may be gone that the interface does not hold. */
SdkStatus Asic::State::check_restored_write(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    const Interface *row = intf.find(intf_id);
    const bool gone = row && attribute == SdkIntfAttrLid && !row->holds_its_lid() &&
                      value >= first_id && value <= lid.occupancy.high_water;
    return gone ? SDK_E_NONE : check_write(intf_id, attribute, value);
}

void Asic::State::restore_attributes(const std::vector<AttributeValueRow> &rows)
{
    numbered(rows, [&](const AttributeValueRow &row, size_t number) {
        if (check_restored_write(row.intf_id, row.number, row.value) != SDK_E_NONE)
            throw BadRow(AttributeValueRow::table, number,
                         !intf.find(row.intf_id)               ? "intf_id"
                         : !kvnsim::find_attribute(row.number) ? "number"
                                                               : "value",
                         last_refusal);
        if (written(intf[row.intf_id], row.number))
            throw BadRow(
                AttributeValueRow::table, number, "number",
                fmt::format("interface {} has attribute {} twice", row.intf_id, row.number));
        write(row);
    });
}

void Asic::State::restore_members(const std::vector<MemberRow> &rows)
{
    uint32_t most = 0;
    numbered(rows, [&](const MemberRow &row, size_t number) {
        PortChannel *channel = pc.find(row.pc_id);
        if (!channel)
            throw BadRow(MemberRow::table, number, "pc_id",
                         fmt::format("there is no port-channel {}", row.pc_id));
        if (row.front_port == 0 || row.front_port >= ports)
            throw BadRow(MemberRow::table, number, "front_port",
                         fmt::format("there is no front port {}, only 1 to 255", row.front_port));
        MemberRow &membership = port[row.front_port].member;
        if (membership.pc_id != 0)
            throw BadRow(MemberRow::table, number, "front_port",
                         fmt::format("front port {} is a member of port-channel {} already",
                                     row.front_port, membership.pc_id));
        membership = row;
        most = std::max(most, ++channel->members);
    });
    member.use(most);
}

void Asic::State::restore_router_macs(const std::vector<RouterMacRow> &rows)
{
    numbered(rows, [&](const RouterMacRow &row, size_t number) {
        expect_free(rmac, row.peer_mac_id, rmac.occupancy.high_water, RouterMacRow::table, number,
                    "peer_mac_id");
        if (check_router_mac(row.mac) != SDK_E_NONE)
            throw BadRow(RouterMacRow::table, number, "mac", last_refusal);
        rmac.put(row.peer_mac_id, row);
        router_macs[as_number(row.mac)] = row.peer_mac_id;
    });
}

void Asic::State::restore_traps(const std::vector<TrapRow> &rows)
{
    numbered(rows, [&](const TrapRow &row, size_t number) {
        expect_free(trap, row.mac_trap_id, trap.occupancy.high_water, TrapRow::table, number,
                    "mac_trap_id");
        if (check_trap(row.intf_id, row.mac) != SDK_E_NONE)
            throw BadRow(TrapRow::table, number, intf.find(row.intf_id) ? "mac" : "intf_id",
                         last_refusal);
        trap.put(row.mac_trap_id, row);
        traps[trap_key(row.intf_id, row.mac)] = row.mac_trap_id;
        intf[row.intf_id].traps.push_back(row.mac_trap_id);
    });
}

void Asic::State::restore_pending(const std::vector<PendingRow> &rows)
{
    numbered(rows, [&](const PendingRow &row, size_t number) {
        if (row.position != number - 1)
            throw BadRow(PendingRow::table, number, "position",
                         fmt::format("expected {}", number - 1));
        if (check_restored_write(row.intf_id, row.number, row.value) != SDK_E_NONE)
            throw BadRow(PendingRow::table, number, intf.find(row.intf_id) ? "value" : "intf_id",
                         last_refusal);
        pending.push_back(row);
    });
}

/* The newest last, as when they were made: a request makes at most one of a kind. */
void Asic::State::sort_references()
{
    const auto sort = [](std::vector<uint32_t> &ids, const auto &origin) {
        std::stable_sort(ids.begin(), ids.end(), [&](uint32_t a, uint32_t b) {
            return origin(a).number() < origin(b).number();
        });
    };
    intf.each([&](Interface &row) {
        sort(row.children, [&](uint32_t id) -> const Origin & { return intf[id].made; });
        sort(row.traps, [&](uint32_t id) -> const Origin & { return trap[id].made; });
    });
    lid.each([&](Lid &row) {
        sort(row.bound, [&](uint32_t id) -> const Origin & {
            return written(intf[id], SdkIntfAttrLid)->made;
        });
    });
}

void Asic::restore(const AsicRows &rows)
{
    Asic made;
    State &s = *made.state_;
    s.restore_uses(rows.table_use);
    numbered(rows.port_channels, [&](const PortChannelRow &row, size_t number) {
        expect_free(s.pc, row.pc_id, s.pc.occupancy.high_water, PortChannelRow::table, number,
                    "pc_id");
        PortChannel entry;
        static_cast<PortChannelRow &>(entry) = row;
        s.pc.put(row.pc_id, std::move(entry));
    });
    s.restore_lids(rows.lids);
    numbered(rows.lid_paths, [&](const LidPathRow &row, size_t number) {
        const auto bad = [&](const char *column, const std::string &reason) {
            throw BadRow(LidPathRow::table, number, column, reason);
        };
        if (row.front_port >= ports)
            bad("front_port", fmt::format("there is no front port {}", row.front_port));
        sdk_lid_path path{};
        path.port_type = row.port_type;
        path.front_port = static_cast<uint8_t>(row.front_port);
        path.pc_id = row.pc_id;
        const bool has_entry = s.lid.find(row.lid_id) != nullptr;
        if (made.lid_path_add(row.lid_id, path) != SDK_E_NONE)
            bad(has_entry ? "port_type" : "lid_id", s.last_refusal);
        LidPathRow &added = s.lid[row.lid_id].paths.back();
        if (row.position != added.position)
            bad("position", fmt::format("expected {}", added.position));
        added.made = row.made;
    });
    s.restore_interfaces(rows.intfs, true);
    s.restore_interfaces(rows.intfs, false);
    s.restore_attributes(rows.attributes);
    s.restore_members(rows.members);
    s.restore_router_macs(rows.router_macs);
    s.restore_traps(rows.traps);
    s.restore_pending(rows.pending);
    s.sort_references();
    s.finish_uses(rows.table_use);
    state_ = std::move(made.state_);
}

Asic &Asic::instance()
{
    static Asic asic;
    return asic;
}

Asic::Asic() : state_(std::make_unique<State>()) {}
Asic::~Asic() = default;

SdkStatus Asic::refuse(SdkStatus status, std::string reason)
{
    return state_->refuse(status, std::move(reason));
}

void Asic::made_to_fail(std::string words)
{
    state_->last_refusal = std::move(words);
}

const std::string &Asic::last_refusal() const
{
    return state_->last_refusal;
}

void Asic::reset()
{
    state_ = std::make_unique<State>();
}

} // namespace kvnsim
