#include "sim/sdk/asic.h"

#include <algorithm>
#include <array>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "sim/sdk/attributes.h"
#include "sim/sdk/kvnsim_sdk.h"
#include "sim/sdk/table.h"

namespace kvnsim {

namespace {

constexpr uint32_t ports = 256; /* front ports 1..255 by their number */
constexpr uint32_t first_vlan = 1, last_vlan = 4094;
constexpr uint32_t switch_config_lid_ifmap = 38;
constexpr uint32_t first_ifmap_idx = 0x1000;
constexpr size_t usual_attributes = 8; /* that the library writes to an interface */
constexpr uint32_t usual_lids = 16384;
constexpr uint32_t most_paths = last_id * ports; /* each LID entry to each port and a channel */

/* Each interface with each attribute. */
uint32_t most_attributes()
{
    return last_id * static_cast<uint32_t>(attributes().size());
}

struct InterfaceRow : AsicInterface {
    uint32_t first_child = 0; /* sub-interfaces with this parent */
    Link sibling;
    uint32_t first_trap = 0; /* MAC traps on this interface */
    uint32_t held_lid = 0;   /* the LID entry that cannot go while this interface is bound to it */
    Link lid_mate;
    /* The library destroys a port-channel's LID entry before the interface that is bound to it; no
     * other LID entry may go before its interfaces. */
    bool holds_its_lid() const { return type != sdk_routed_port || params.param3 == 0; }
};
struct LidRow {
    Origin origin;
    std::vector<AsicLidPath> paths;
    uint32_t first_bound = 0; /* interfaces that hold it */
};
struct PortChannelRow {
    Origin origin;
    uint32_t members = 0;
    uint32_t intf_id = 0;    /* its routed interface, 0 without one */
    std::set<uint32_t> lids; /* LID entries with a path to it */
};
struct RouterMacRow {
    Origin origin;
    Mac mac{};
};
struct TrapRow {
    Origin origin;
    Mac mac{};
    uint32_t intf_id = 0;
    Link neighbour; /* other traps of the interface */
};
struct PortRow {
    uint32_t intf_id = 0; /* its routed interface, 0 without one */
    uint32_t lid_id = 0;  /* the LID entry with a path to it, 0 without one */
    uint32_t pc_id = 0;   /* the port-channel that it is a member of, 0 without one */
    Origin member_origin;
};

Origin now()
{
    return Journal::instance().origin();
}

std::string made(const Origin &origin)
{
    return fmt::format(" ({})", origin.to_text());
}

uint64_t as_number(const Mac &mac)
{
    uint64_t number = 0;
    for (const uint8_t byte : mac)
        number = number << 8 | byte;
    return number;
}

bool is_vlan(uint32_t vlan)
{
    return vlan >= first_vlan && vlan <= last_vlan;
}

/* Sub-interfaces are told apart by parent and VLAN, traps by interface and MAC. */
uint64_t sub_interface_key(uint32_t parent, uint32_t vlan)
{
    return uint64_t{parent} << 16 | vlan;
}
uint64_t trap_key(uint32_t intf_id, const Mac &mac)
{
    return uint64_t{intf_id} << 48 | as_number(mac);
}

uint32_t ifmap_idx_of(uint32_t lid_id)
{
    return first_ifmap_idx + lid_id;
}

bool leads_to_channel(const AsicLidPath &path)
{
    return path.path.port_type == SdkPortTypeChannel;
}

/* What an interface with these parameters is on: only one can be. */
std::string place(uint32_t type, const sdk_intf_create_params &params)
{
    if (type == sdk_svi)
        return fmt::format("VLAN {}", params.param1);
    if (type == sdk_sub_interface)
        return fmt::format("VLAN {} of interface {}", params.param2, params.param1);
    return fmt::format("{} {}", params.param3 == 1 ? "port-channel" : "front port", params.param1);
}

/* Where the attribute is, or would have to be. */
std::vector<AsicAttribute>::iterator place_of(std::vector<AsicAttribute> &attributes,
                                              uint32_t number)
{
    return std::find_if(attributes.begin(), attributes.end(),
                        [&](const AsicAttribute &written) { return written.number >= number; });
}

/* What was written to the attribute, nullptr when nothing was. */
AsicAttribute *written(InterfaceRow &row, uint32_t number)
{
    const auto at = place_of(row.attributes, number);
    return at != row.attributes.end() && at->number == number ? &*at : nullptr;
}

std::string to_text(const AsicPendingWrite &write)
{
    return fmt::format("the write of {} to interface {}{}",
                       find_attribute(write.attribute.number)->name, write.intf_id,
                       made(write.attribute.origin));
}

/* What refers to an object, in words: the first of each kind by its identifier and origin. */
class Holders {
public:
    void add(const char *kind, uint32_t id, const Origin &origin, size_t count)
    {
        text_ += fmt::format("{}{} {}{}", text_.empty() ? "" : ", ", kind, id, made(origin));
        if (count > 1)
            text_ += fmt::format(" and {} more", count - 1);
    }
    /* All rows of the chain that begins at head. */
    template <class Row> void add(const char *kind, Table<Row> &table, uint32_t head, Link Row::*at)
    {
        size_t count = 0;
        for (uint32_t id = head; id != 0; id = (table[id].*at).next)
            ++count;
        if (count != 0)
            add(kind, head, table[head].origin, count);
    }
    bool none() const { return text_.empty(); }
    std::string of(const char *what, uint32_t id) const
    {
        return fmt::format("{} {} is held by {}", what, id, text_);
    }

private:
    std::string text_;
};

} // namespace

struct Asic::State {
    Table<InterfaceRow> intf{last_id};
    Occupancy attr{most_attributes()};
    Table<LidRow> lid{usual_lids};
    Occupancy path{2 * usual_lids};
    Table<PortChannelRow> pc{256};
    Table<RouterMacRow> rmac{32};
    Table<TrapRow> trap{4096};
    Occupancy member{ports - 1}; /* of the fullest port-channel */

    std::array<PortRow, ports> port;
    std::array<uint32_t, last_vlan + 1> svi{}; /* the interface of each VLAN, 0 without one */
    std::unordered_map<uint64_t, uint32_t> sub_interfaces, router_macs, traps; /* by their keys */

    std::vector<AsicPendingWrite> pending;
    std::string last_refusal;

    void say(std::string reason);
    SdkStatus refuse(SdkStatus status, std::string reason);
    SdkStatus unknown(const char *what, uint32_t id);
    SdkStatus full(const char *what, const Occupancy &occupancy);

    SdkStatus check_routed_port(const sdk_intf_create_params &params);
    SdkStatus check_sub_interface(const sdk_intf_create_params &params);
    SdkStatus check_svi(const sdk_intf_create_params &params);
    SdkStatus check_write(uint32_t intf_id, uint32_t attribute, uint32_t value);
    SdkStatus check_mask(const sdk_port_mask &mask, std::vector<uint32_t> &numbers);
    SdkStatus check_unicast(const Mac &mac);
    SdkStatus check_trappable(const Mac &mac);

    uint32_t occupant(uint32_t type, const sdk_intf_create_params &params);
    void occupy(uint32_t type, const sdk_intf_create_params &params, uint32_t intf_id);
    void write(uint32_t intf_id, const AsicAttribute &attribute);
    void hold_lid(uint32_t intf_id, uint32_t lid_id);

    AsicInterface copy(uint32_t intf_id, const InterfaceRow &row) const;
    AsicLid copy(uint32_t lid_id, const LidRow &row) const;
    AsicPortChannel copy(uint32_t pc_id, const PortChannelRow &row) const;
    AsicRouterMac copy(uint32_t peer_mac_id, const RouterMacRow &row) const;
    AsicTrap copy(uint32_t mac_trap_id, const TrapRow &row) const;
    template <class Row> auto copy_all(const Table<Row> &table) const;
    template <class Row> auto copy_one(Table<Row> &table, uint32_t id) const;

    struct TableRow {
        const char *name, *description;
        uint32_t largest; /* capacity that can be set */
        Occupancy *occupancy;
    };
    std::array<TableRow, 8> tables();
};

/* Refusals */

void Asic::State::say(std::string reason)
{
    last_refusal = std::move(reason);
    Journal::instance().note(last_refusal);
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

SdkStatus Asic::State::check_unicast(const Mac &mac)
{
    if (as_number(mac) != 0 && (mac[0] & 1) == 0)
        return SDK_E_NONE;
    return refuse(SDK_E_PARAM, to_text(mac) + " is no unicast address");
}

/* A trap takes group addresses too: there are gateways that have one. */
SdkStatus Asic::State::check_trappable(const Mac &mac)
{
    return as_number(mac) != 0 ? SDK_E_NONE : refuse(SDK_E_PARAM, to_text(mac) + " is no address");
}

/* Interfaces */

SdkStatus Asic::State::check_routed_port(const sdk_intf_create_params &params)
{
    if (params.param2 != 0 || params.param3 > 1 || params.param4 != 0 || params.param5 != 0)
        return refuse(SDK_E_PARAM, "a routed port takes param1 and param3 (0 or 1), no other word");
    if (params.param3 == 1)
        return pc.find(params.param1) ? SDK_E_NONE : unknown("port-channel", params.param1);
    if (params.param1 == 0 || params.param1 >= ports)
        return refuse(SDK_E_PARAM,
                      fmt::format("there is no front port {}, only 1 to 255", params.param1));
    if (const PortRow &on = port[params.param1]; on.pc_id != 0)
        return refuse(SDK_E_BUSY, fmt::format("front port {} is a member of port-channel {}{}",
                                              params.param1, on.pc_id, made(on.member_origin)));
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_sub_interface(const sdk_intf_create_params &params)
{
    if (params.param3 != 0 || params.param4 != 0 || params.param5 != 0)
        return refuse(SDK_E_PARAM, "a sub-interface takes param1 and param2, no other word");
    if (!is_vlan(params.param2))
        return refuse(SDK_E_PARAM, fmt::format("VLAN {} is not 1 to 4094", params.param2));
    if (params.param1 == no_id)
        return SDK_E_NONE;
    const InterfaceRow *parent = intf.find(params.param1);
    if (!parent)
        return unknown("interface", params.param1);
    if (parent->type != sdk_routed_port)
        return refuse(SDK_E_PARAM,
                      fmt::format("interface {} is that of {}{}: only routed ports and "
                                  "port-channels have sub-interfaces",
                                  params.param1, place(parent->type, parent->params),
                                  made(parent->origin)));
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_svi(const sdk_intf_create_params &params)
{
    if (params.param2 != 0 || params.param3 != 0 || params.param4 != 0 || params.param5 != 0)
        return refuse(SDK_E_PARAM, "an SVI takes param1, no other word");
    if (!is_vlan(params.param1))
        return refuse(SDK_E_PARAM, fmt::format("VLAN {} is not 1 to 4094", params.param1));
    return SDK_E_NONE;
}

/* The interface that has the place which these parameters name, 0 when it is free. */
uint32_t Asic::State::occupant(uint32_t type, const sdk_intf_create_params &params)
{
    if (type == sdk_svi)
        return svi[params.param1];
    if (type == sdk_routed_port)
        return params.param3 == 1 ? pc[params.param1].intf_id : port[params.param1].intf_id;
    const auto at = sub_interfaces.find(sub_interface_key(params.param1, params.param2));
    return at == sub_interfaces.end() ? 0 : at->second;
}

/* Give the place to the interface, or to nobody with 0. */
void Asic::State::occupy(uint32_t type, const sdk_intf_create_params &params, uint32_t intf_id)
{
    if (type == sdk_svi)
        svi[params.param1] = intf_id;
    else if (type == sdk_routed_port)
        (params.param3 == 1 ? pc[params.param1].intf_id : port[params.param1].intf_id) = intf_id;
    else if (params.param1 == no_id)
        return; /* the VLANs of unknown parents cannot be told apart */
    else if (intf_id != 0)
        sub_interfaces[sub_interface_key(params.param1, params.param2)] = intf_id;
    else
        sub_interfaces.erase(sub_interface_key(params.param1, params.param2));
}

SdkStatus Asic::intf_create(uint32_t type, const sdk_intf_create_params &params, uint32_t &intf_id)
{
    State &s = *state_;
    SdkStatus status;
    switch (type) {
    case sdk_routed_port:
        status = s.check_routed_port(params);
        break;
    case sdk_sub_interface:
        status = s.check_sub_interface(params);
        break;
    case sdk_svi:
        status = s.check_svi(params);
        break;
    default:
        status = s.refuse(SDK_E_PARAM, fmt::format("there is no interface type {}", type));
    }
    if (status != SDK_E_NONE)
        return status;
    if (const uint32_t other = s.occupant(type, params))
        return s.refuse(SDK_E_EXISTS,
                        fmt::format("{} has interface {} already{}", place(type, params), other,
                                    made(s.intf[other].origin)));
    if (s.intf.occupancy.full())
        return s.full("interface", s.intf.occupancy);

    InterfaceRow row;
    row.origin = now();
    row.attributes.reserve(usual_attributes);
    row.params = params;
    row.type = type;
    intf_id = s.intf.take(std::move(row));
    s.intf[intf_id].intf_id = intf_id;
    s.occupy(type, params, intf_id);
    if (type == sdk_sub_interface && params.param1 != no_id)
        chain(s.intf, s.intf[params.param1].first_child, &InterfaceRow::sibling, intf_id);
    return SDK_E_NONE;
}

SdkStatus Asic::intf_destroy(uint32_t intf_id)
{
    State &s = *state_;
    InterfaceRow *row = s.intf.find(intf_id);
    if (!row)
        return s.unknown("interface", intf_id);
    /* A queued write must not meet another interface that got the identifier. */
    if (!s.pending.empty())
        return s.refuse(SDK_E_BUSY,
                        fmt::format("the pending batch is not flushed, it begins with {}",
                                    to_text(s.pending.front())));
    Holders holders;
    holders.add("sub-interface", s.intf, row->first_child, &InterfaceRow::sibling);
    holders.add("MAC trap", s.trap, row->first_trap, &TrapRow::neighbour);
    if (!holders.none())
        return s.refuse(SDK_E_BUSY, holders.of("interface", intf_id));

    s.hold_lid(intf_id, 0);
    if (row->type == sdk_sub_interface && row->params.param1 != no_id)
        unchain(s.intf, s.intf[row->params.param1].first_child, &InterfaceRow::sibling, intf_id);
    s.occupy(row->type, row->params, 0);
    s.attr.use(s.attr.used - static_cast<uint32_t>(row->attributes.size()));
    s.intf.release(intf_id);
    return SDK_E_NONE;
}

/* Attributes */

SdkStatus Asic::State::check_write(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    InterfaceRow *row = intf.find(intf_id);
    if (!row)
        return unknown("interface", intf_id);
    const AttributeRow *known = find_attribute(attribute);
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

/* Make the interface a holder of the LID entry, of none with 0, instead of the one it holds. */
void Asic::State::hold_lid(uint32_t intf_id, uint32_t lid_id)
{
    uint32_t &held = intf[intf_id].held_lid;
    if (held != 0)
        unchain(intf, lid[held].first_bound, &InterfaceRow::lid_mate, intf_id);
    held = lid_id;
    if (held != 0)
        chain(intf, lid[held].first_bound, &InterfaceRow::lid_mate, intf_id);
}

void Asic::State::write(uint32_t intf_id, const AsicAttribute &attribute)
{
    InterfaceRow &row = intf[intf_id];
    if (AsicAttribute *before = written(row, attribute.number)) {
        *before = attribute;
    } else {
        row.attributes.insert(place_of(row.attributes, attribute.number), attribute);
        attr.use(attr.used + 1);
    }
    if (attribute.number == SdkIntfAttrLid && row.holds_its_lid())
        hold_lid(intf_id, attribute.value);
}

SdkStatus Asic::attr_set(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    const SdkStatus status = state_->check_write(intf_id, attribute, value);
    if (status == SDK_E_NONE)
        state_->write(intf_id, {attribute, value, now()});
    return status;
}

SdkStatus Asic::attr_get(uint32_t intf_id, uint32_t attribute, uint32_t &value)
{
    State &s = *state_;
    InterfaceRow *row = s.intf.find(intf_id);
    if (!row)
        return s.unknown("interface", intf_id);
    const AttributeRow *known = find_attribute(attribute);
    if (!known)
        return s.refuse(SDK_E_PARAM, fmt::format("there is no attribute {}", attribute));
    const AsicAttribute *found = written(*row, attribute);
    value = found ? found->value : known->initial;
    return SDK_E_NONE;
}

SdkStatus Asic::attr_set_batch(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    State &s = *state_;
    const SdkStatus status = s.check_write(intf_id, attribute, value);
    if (status == SDK_E_NONE)
        s.pending.push_back({intf_id, {attribute, value, now()}});
    return status;
}

uint32_t Asic::batch_flush()
{
    State &s = *state_;
    uint32_t dropped = 0;
    std::string first;
    for (const AsicPendingWrite &write : s.pending) {
        const AsicAttribute &attribute = write.attribute;
        if (s.check_write(write.intf_id, attribute.number, attribute.value) == SDK_E_NONE)
            s.write(write.intf_id, attribute);
        else if (++dropped == 1)
            first = fmt::format("{} is dropped: {}", to_text(write), s.last_refusal);
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
    request.word[1] = ifmap_idx_of(request.word[0]);
    return SDK_E_NONE;
}

/* Port-channels */

SdkStatus Asic::portchannel_create(uint32_t &pc_id)
{
    State &s = *state_;
    if (s.pc.occupancy.full())
        return s.full("port-channel", s.pc.occupancy);
    PortChannelRow row;
    row.origin = now();
    pc_id = s.pc.take(std::move(row));
    return SDK_E_NONE;
}

SdkStatus Asic::portchannel_destroy(uint32_t pc_id)
{
    State &s = *state_;
    PortChannelRow *row = s.pc.find(pc_id);
    if (!row)
        return s.unknown("port-channel", pc_id);
    Holders holders;
    if (row->members != 0) {
        uint32_t number = 1;
        while (s.port[number].pc_id != pc_id)
            ++number;
        holders.add("member port", number, s.port[number].member_origin, row->members);
    }
    if (row->intf_id != 0)
        holders.add("interface", row->intf_id, s.intf[row->intf_id].origin, 1);
    if (!row->lids.empty()) {
        const uint32_t lid_id = *row->lids.begin();
        const auto &paths = s.lid[lid_id].paths;
        const auto path = std::find_if(paths.begin(), paths.end(), leads_to_channel);
        holders.add("LID entry", lid_id, path->origin, row->lids.size());
    }
    if (!holders.none())
        return s.refuse(SDK_E_BUSY, holders.of("port-channel", pc_id));
    s.pc.release(pc_id);
    return SDK_E_NONE;
}

SdkStatus Asic::State::check_mask(const sdk_port_mask &mask, std::vector<uint32_t> &numbers)
{
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
    PortChannelRow *row = s.pc.find(pc_id);
    if (!row)
        return s.unknown("port-channel", pc_id);
    std::vector<uint32_t> numbers;
    if (const SdkStatus status = s.check_mask(mask, numbers); status != SDK_E_NONE)
        return status;
    for (const uint32_t number : numbers) {
        const PortRow &port = s.port[number];
        if (port.pc_id != 0)
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("front port {} is a member of port-channel {} already{}",
                                        number, port.pc_id, made(port.member_origin)));
    }
    if (row->members + numbers.size() > s.member.capacity)
        return s.refuse(SDK_E_FULL,
                        fmt::format("no room for {} more in port-channel {}: {} of {} "
                                    "members",
                                    numbers.size(), pc_id, row->members, s.member.capacity));
    for (const uint32_t number : numbers) {
        s.port[number].pc_id = pc_id;
        s.port[number].member_origin = now();
    }
    row->members += static_cast<uint32_t>(numbers.size());
    s.member.use(std::max(s.member.used, row->members));
    return SDK_E_NONE;
}

SdkStatus Asic::member_delete(uint32_t pc_id, const sdk_port_mask &mask)
{
    State &s = *state_;
    PortChannelRow *row = s.pc.find(pc_id);
    if (!row)
        return s.unknown("port-channel", pc_id);
    std::vector<uint32_t> numbers;
    if (const SdkStatus status = s.check_mask(mask, numbers); status != SDK_E_NONE)
        return status;
    for (const uint32_t number : numbers) {
        if (s.port[number].pc_id != pc_id)
            return s.refuse(
                SDK_E_NOT_FOUND,
                fmt::format("front port {} is no member of port-channel {}", number, pc_id));
    }
    for (const uint32_t number : numbers) {
        s.port[number].pc_id = 0;
        s.port[number].member_origin = {};
    }
    row->members -= static_cast<uint32_t>(numbers.size());
    uint32_t most = 0;
    s.pc.each([&](uint32_t, const PortChannelRow &any) { most = std::max(most, any.members); });
    s.member.use(most);
    return SDK_E_NONE;
}

/* LID entries */

SdkStatus Asic::lid_create(uint32_t &lid_id)
{
    State &s = *state_;
    if (s.lid.occupancy.full())
        return s.full("LID entry", s.lid.occupancy);
    LidRow row;
    row.origin = now();
    lid_id = s.lid.take(std::move(row));
    return SDK_E_NONE;
}

SdkStatus Asic::lid_destroy(uint32_t lid_id)
{
    State &s = *state_;
    LidRow *row = s.lid.find(lid_id);
    if (!row)
        return s.unknown("LID entry", lid_id);
    Holders holders;
    holders.add("interface", s.intf, row->first_bound, &InterfaceRow::lid_mate);
    if (!holders.none())
        return s.refuse(SDK_E_BUSY, holders.of("LID entry", lid_id));
    for (const AsicLidPath &path : row->paths) {
        if (leads_to_channel(path))
            s.pc[path.path.pc_id].lids.erase(lid_id);
        else
            s.port[path.path.front_port].lid_id = 0;
    }
    s.path.use(s.path.used - static_cast<uint32_t>(row->paths.size()));
    s.lid.release(lid_id);
    return SDK_E_NONE;
}

SdkStatus Asic::lid_path_add(uint32_t lid_id, const sdk_lid_path &path)
{
    State &s = *state_;
    LidRow *row = s.lid.find(lid_id);
    if (!row)
        return s.unknown("LID entry", lid_id);
    switch (path.port_type) {
    case SdkPortTypeChannel:
        if (path.front_port != 0)
            return s.refuse(SDK_E_PARAM, "a path to a port-channel has front port 0");
        if (!s.pc.find(path.pc_id))
            return s.unknown("port-channel", path.pc_id);
        if (const auto other = std::find_if(row->paths.begin(), row->paths.end(), leads_to_channel);
            other != row->paths.end())
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("LID entry {} leads to port-channel {} already{}", lid_id,
                                        other->path.pc_id, made(other->origin)));
        break;
    case KVNSIM_SDK_PORT_TYPE_FRONT_PANEL:
        if (path.front_port == 0)
            return s.refuse(SDK_E_PARAM, "there is no front port 0, only 1 to 255");
        if (path.pc_id != 0)
            return s.refuse(SDK_E_PARAM, "a path to a front port has port-channel 0");
        if (const uint32_t other = s.port[path.front_port].lid_id)
            return s.refuse(SDK_E_EXISTS,
                            fmt::format("LID entry {} leads to front port {} already{}", other,
                                        path.front_port, made(s.lid[other].origin)));
        break;
    default:
        return s.refuse(SDK_E_PARAM, fmt::format("there is no port type {}", path.port_type));
    }
    if (s.path.full())
        return s.full("LID path", s.path);
    row->paths.push_back({path, now()});
    s.path.use(s.path.used + 1);
    if (path.port_type == SdkPortTypeChannel)
        s.pc[path.pc_id].lids.insert(lid_id);
    else
        s.port[path.front_port].lid_id = lid_id;
    return SDK_E_NONE;
}

/* Router MACs and traps */

SdkStatus Asic::router_mac_create(const Mac &mac, uint32_t &peer_mac_id)
{
    State &s = *state_;
    if (const SdkStatus status = s.check_unicast(mac); status != SDK_E_NONE)
        return status;
    if (const auto other = s.router_macs.find(as_number(mac)); other != s.router_macs.end())
        return s.refuse(SDK_E_EXISTS,
                        fmt::format("{} is router MAC {} already{}", to_text(mac), other->second,
                                    made(s.rmac[other->second].origin)));
    if (s.rmac.occupancy.full())
        return s.full("router MAC", s.rmac.occupancy);
    peer_mac_id = s.rmac.take({now(), mac});
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

SdkStatus Asic::trap_create(uint32_t intf_id, const Mac &mac, uint32_t &mac_trap_id)
{
    State &s = *state_;
    if (!s.intf.find(intf_id))
        return s.unknown("interface", intf_id);
    if (const SdkStatus status = s.check_trappable(mac); status != SDK_E_NONE)
        return status;
    if (const auto other = s.traps.find(trap_key(intf_id, mac)); other != s.traps.end())
        return s.refuse(SDK_E_EXISTS, fmt::format("interface {} has MAC trap {} for {} already{}",
                                                  intf_id, other->second, to_text(mac),
                                                  made(s.trap[other->second].origin)));
    if (s.trap.occupancy.full())
        return s.full("MAC trap", s.trap.occupancy);
    mac_trap_id = s.trap.take({now(), mac, intf_id, {}});
    s.traps[trap_key(intf_id, mac)] = mac_trap_id;
    chain(s.trap, s.intf[intf_id].first_trap, &TrapRow::neighbour, mac_trap_id);
    return SDK_E_NONE;
}

SdkStatus Asic::trap_destroy(uint32_t mac_trap_id)
{
    State &s = *state_;
    const TrapRow *row = s.trap.find(mac_trap_id);
    if (!row)
        return s.unknown("MAC trap", mac_trap_id);
    s.traps.erase(trap_key(row->intf_id, row->mac));
    unchain(s.trap, s.intf[row->intf_id].first_trap, &TrapRow::neighbour, mac_trap_id);
    s.trap.release(mac_trap_id);
    return SDK_E_NONE;
}

/* Looking at the tables */

AsicInterface Asic::State::copy(uint32_t, const InterfaceRow &row) const
{
    return row;
}

AsicLid Asic::State::copy(uint32_t lid_id, const LidRow &row) const
{
    return {lid_id, ifmap_idx_of(lid_id), row.paths, row.origin};
}

AsicPortChannel Asic::State::copy(uint32_t pc_id, const PortChannelRow &row) const
{
    AsicPortChannel copied{pc_id, {}, row.origin};
    for (uint32_t number = 1; copied.members.size() < row.members; ++number) {
        if (port[number].pc_id == pc_id)
            copied.members.push_back({number, port[number].member_origin});
    }
    return copied;
}

AsicRouterMac Asic::State::copy(uint32_t peer_mac_id, const RouterMacRow &row) const
{
    return {peer_mac_id, row.mac, row.origin};
}

AsicTrap Asic::State::copy(uint32_t mac_trap_id, const TrapRow &row) const
{
    return {mac_trap_id, row.intf_id, row.mac, row.origin};
}

template <class Row> auto Asic::State::copy_all(const Table<Row> &table) const
{
    std::vector<decltype(copy(0, std::declval<Row>()))> rows;
    rows.reserve(table.occupancy.used);
    table.each([&](uint32_t id, const Row &row) { rows.push_back(copy(id, row)); });
    return rows;
}

template <class Row> auto Asic::State::copy_one(Table<Row> &table, uint32_t id) const
{
    const Row *row = table.find(id);
    return row ? std::optional(copy(id, *row)) : std::nullopt;
}

std::vector<AsicInterface> Asic::interfaces() const
{
    return state_->copy_all(state_->intf);
}
void Asic::each_interface(const std::function<void(const AsicInterface &)> &visit) const
{
    state_->intf.each([&](uint32_t, const InterfaceRow &row) { visit(row); });
}
std::vector<AsicLid> Asic::lids() const
{
    return state_->copy_all(state_->lid);
}
std::vector<AsicPortChannel> Asic::port_channels() const
{
    return state_->copy_all(state_->pc);
}
std::vector<AsicRouterMac> Asic::router_macs() const
{
    return state_->copy_all(state_->rmac);
}
std::vector<AsicTrap> Asic::traps() const
{
    return state_->copy_all(state_->trap);
}

std::optional<AsicInterface> Asic::interface(uint32_t intf_id) const
{
    return state_->copy_one(state_->intf, intf_id);
}
std::optional<AsicLid> Asic::lid(uint32_t lid_id) const
{
    return state_->copy_one(state_->lid, lid_id);
}
std::optional<AsicPortChannel> Asic::port_channel(uint32_t pc_id) const
{
    return state_->copy_one(state_->pc, pc_id);
}

std::vector<AsicPendingWrite> Asic::pending() const
{
    return state_->pending;
}

const AsicAttribute *AsicInterface::find(uint32_t attribute) const
{
    for (const AsicAttribute &written : attributes) {
        if (written.number == attribute)
            return &written;
    }
    return nullptr;
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

std::vector<TableUse> Asic::tables() const
{
    std::vector<TableUse> uses;
    for (const State::TableRow &row : state_->tables())
        uses.push_back({row.name, row.description, row.occupancy->used, row.occupancy->high_water,
                        row.occupancy->capacity});
    return uses;
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

const std::string &Asic::last_refusal() const
{
    return state_->last_refusal;
}

void Asic::reset()
{
    state_ = std::make_unique<State>();
}

} // namespace kvnsim
