/* The table of properties. A row's look() fills in the sides that know the property and decides
 * whether they agree. Unless texts are asked for it allocates nothing: an audit runs it for every
 * interface. What concerns more than one interface's sides (orphans, dangling references, objects
 * with two owners) is left to the audit. */
#include "sim/state/properties.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/attributes.h"
#include "sim/types/natural_order.h"

namespace kvnsim {
namespace {

using Form = SideValue::Form;

constexpr uint8_t bit(InterfaceKind kind)
{
    return static_cast<uint8_t>(1U << static_cast<unsigned>(kind));
}
constexpr uint8_t no_kind = 0;
constexpr uint8_t unusual = 1U << std::size(interface_kind_names); /* see InterfaceRows */
constexpr uint8_t ports = bit(InterfaceKind::port), channels = bit(InterfaceKind::port_channel);
constexpr uint8_t with_vlan = bit(InterfaceKind::svi) | bit(InterfaceKind::sub_interface);
constexpr uint8_t ports_and_channels = ports | channels;
constexpr uint8_t all_but_svis = ports_and_channels | bit(InterfaceKind::sub_interface);
constexpr uint8_t all_kinds = ports_and_channels | with_vlan;

constexpr uint32_t state_created = 3, state_destroyed = 4;
constexpr uint32_t routed_igmp_label = 16;

SideValue number(uint32_t value)
{
    return {Form::number, value};
}
SideValue none()
{
    return {Form::none};
}
/* A row's column and maker; none without the row. */
template <class Row>
SideValue value_of(const Row *row, uint32_t Row::*column, Form form = Form::number)
{
    return row != nullptr ? SideValue{form, row->*column} : none();
}
template <class Row> const Origin *maker_of(const Row *row)
{
    return row != nullptr ? &row->made : nullptr;
}
/* No identifier keeps its number: it can be an attribute's right value. */
SideValue identifier(uint32_t id)
{
    return {id == no_id ? Form::none : Form::number, id};
}
SideValue identifier(const std::optional<uint32_t> &id)
{
    return id ? identifier(*id) : none();
}
SideValue text(std::string words)
{
    return {Form::text, 0, std::move(words)};
}
SideValue names(const std::set<std::string, NaturalOrder> &of)
{
    return of.empty() ? none() : text(fmt::format("{}", fmt::join(of, ",")));
}
/* The row is missing, or its column is not right. */
template <class Row> void judge(Sides &sides, const Row *row, uint32_t Row::*column, uint32_t right)
{
    if (row == nullptr)
        sides.mismatch = AuditKind::missing;
    else if (row->*column != right)
        sides.mismatch = AuditKind::difference;
}
/* An object that is missing in the ASIC. */
void miss(Sides &sides, const SourceLocation &wanted, std::string lacks)
{
    sides.mismatch = AuditKind::missing;
    sides.wanted = &wanted;
    sides.lacks = std::move(lacks);
}
SideValue wanted_or_not(bool wanted)
{
    return text(wanted ? "wanted" : "not wanted");
}

/* ---- The interface itself ---- */

void sdk_interface(const InterfaceRows &of, Sides &sides, uint32_t)
{
    const bool recorded = of.context != nullptr && of.context->intf_id != no_id;
    if (of.must_exist && !recorded)
        miss(sides, of.wanted->location, "has no SDK interface");
    if (!of.tells)
        return;
    sides.is_worth_telling = of.must_exist || recorded;
    sides.configured = wanted_or_not(of.must_exist);
    sides.library = of.context != nullptr ? identifier(of.context->intf_id) : text("no context");
    sides.asic = of.intf != nullptr ? text(of.index.intf_words(of.intf->intf_id)) : none();
    sides.written = maker_of(of.intf);
}

void state(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (of.judged == nullptr || of.intf == nullptr || of.is(InterfaceKind::svi) ||
        of.host->pd_state == state_created)
        return;
    sides.mismatch = AuditKind::difference;
    sides.library = text(of.host->pd_state == state_destroyed ? "destroyed" : "never made");
    sides.expected = text("created");
}

void publication(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (of.judged == nullptr || of.intf == nullptr || of.published != nullptr)
        return;
    sides.mismatch = AuditKind::missing;
    sides.table = L3lifRow::table;
    sides.database = {Form::none};
}

/* ---- Ports ---- */

void port_lid(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.has_port())
        return;
    const uint32_t recorded = of.host != nullptr ? of.host->port_lid.value_or(no_id) : no_id;
    if (of.port != nullptr && recorded == no_id)
        miss(sides, of.port->location, "has no LID entry");
    if (!of.tells)
        return;
    const LidRow *lid = of.index.lid(recorded);
    sides.is_worth_telling = true;
    sides.configured = wanted_or_not(of.port != nullptr);
    sides.library = identifier(recorded);
    sides.asic = value_of(lid, &LidRow::lid_id);
    sides.written = maker_of(lid);
}

uint32_t channel_id(const InterfaceRows &of)
{
    return of.context != nullptr ? of.context->pc_id
           : of.host != nullptr  ? of.host->held_pc.value_or(no_id)
                                 : no_id;
}

/* The path of a LID entry. The audit of LID entries checks it. */
void path(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.tells || of.host == nullptr || of.has_vlan())
        return;
    const bool is_port = of.is(InterfaceKind::port);
    const uint32_t lid_id = is_port                 ? of.host->port_lid.value_or(no_id)
                            : of.context != nullptr ? of.context->lid_id
                                                    : of.host->held_lid.value_or(no_id);
    const LidRow *lid = of.index.lid(lid_id);
    if (lid == nullptr)
        return;
    const auto paths = find_rows(of.index.snapshot().lid_paths, &LidPathRow::lid_id, lid_id);
    std::vector<std::string> ends;
    for (const LidPathRow &path : paths)
        ends.push_back(Index::path_words(path));
    sides.library = text(is_port ? fmt::format("front port {}", of.host->number + 1)
                                 : "port-channel " + identifier(channel_id(of)).to_text());
    sides.asic = ends.empty() ? none() : text(fmt::format("{}", fmt::join(ends, ",")));
    sides.written = paths.empty() ? &lid->made : &paths.begin()->made;
}

void ifmap_index(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.is(InterfaceKind::port))
        return;
    const PmRow *row = find_row(of.index.snapshot().pm, &PmRow::ifindex, of.host->ifindex);
    const LidRow *bound = of.intf != nullptr ? of.index.lid(of.context->lid_id) : nullptr;
    if (of.intf != nullptr && row == nullptr)
        sides.mismatch = AuditKind::missing;
    else if (bound != nullptr && row->ifmap_idx != bound->ifmap_idx)
        sides.mismatch = AuditKind::difference;
    if (!of.tells)
        return;
    const LidRow *lid = of.host->port_lid ? of.index.lid(*of.host->port_lid) : nullptr;
    sides.is_worth_telling = row != nullptr || of.intf != nullptr;
    sides.table = PmRow::table;
    sides.asic = value_of(lid, &LidRow::ifmap_idx, Form::hex);
    sides.database = value_of(row, &PmRow::ifmap_idx, Form::hex);
    sides.published = maker_of(row);
}

void kept_intf(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.is(InterfaceKind::port))
        return;
    const MemberIntfRow *row =
        find_row(of.index.snapshot().member_intf, &MemberIntfRow::ifindex, of.host->ifindex);
    const std::optional<uint32_t> &kept = of.host->kept_intf;
    if (kept)
        judge(sides, row, &MemberIntfRow::intf_id, *kept);
    if (!of.tells)
        return;
    sides.is_worth_telling = row != nullptr || kept;
    sides.table = MemberIntfRow::table;
    sides.library = identifier(kept);
    sides.asic =
        kept && of.index.intf(*kept) != nullptr ? text(of.index.intf_words(*kept)) : none();
    sides.database = value_of(row, &MemberIntfRow::intf_id);
    sides.published = maker_of(row);
}

std::string with_decline(const std::string &name, const WantedMember &member)
{
    return name + (member.declined ? " (declined)" : "");
}

void member_of(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.has_port())
        return;
    const Snapshot &s = of.index.snapshot();
    const WantedMember *member = of.index.membership(of.name);
    const WantedInterface *channel =
        member != nullptr ? of.index.wanted(member->port_channel) : nullptr;
    const MemberRow *joined = of.host != nullptr ? of.index.member(of.host->number + 1) : nullptr;
    /* The library declines a port that is routed; which of the two it is then is not fixed when
     * the routing failed. */
    if (channel != nullptr && channel->routed && of.wanted == nullptr) {
        const HostRow *host = of.index.host(member->port_channel);
        const ContextRow *context = of.index.context(host);
        const bool is_in =
            joined != nullptr && context != nullptr && joined->pc_id == context->pc_id;
        if (!is_in) {
            miss(sides, member->location,
                 joined != nullptr
                     ? fmt::format("is a member of SDK port-channel {}", joined->pc_id)
                     : "is no member in the ASIC");
        } else if (of.host->channel != host->ifindex) {
            sides.mismatch = AuditKind::difference;
        }
        if (sides.mismatch)
            sides.other = member->port_channel;
    }
    if (!of.tells)
        return;
    const auto at = std::find_if(s.wanted_members.rbegin(), s.wanted_members.rend(),
                                 [&](const WantedMember &row) { return row.port == of.name; });
    const HostRow *owner =
        joined != nullptr ? of.index.owner_of_port_channel(joined->pc_id) : nullptr;
    const bool recorded = of.host != nullptr && of.host->channel;
    sides.is_worth_telling = at != s.wanted_members.rend() || recorded || joined != nullptr;
    sides.configured =
        at != s.wanted_members.rend() ? text(with_decline(at->port_channel, *at)) : none();
    sides.library = recorded ? text(of.index.name(*of.host->channel)) : none();
    sides.asic = joined == nullptr  ? none()
                 : owner != nullptr ? text(owner->name)
                                    : text(fmt::format("SDK port-channel {}", joined->pc_id));
    sides.written = maker_of(joined);
}

void internal_loopback(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.is(InterfaceKind::port) || !of.host->loopback)
        return;
    sides.is_worth_telling = true;
    sides.library = {Form::flag, 1};
}

/* ---- Port-channels ---- */

bool is_port_channel(const InterfaceRows &of)
{
    return of.is(InterfaceKind::port_channel) || (of.host == nullptr && of.wanted != nullptr &&
                                                  of.wanted->kind == InterfaceKind::port_channel);
}

void port_channel(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.is(InterfaceKind::port_channel))
        return;
    const PcRow *row = find_row(of.index.snapshot().pc, &PcRow::ifindex, of.host->ifindex);
    const PortChannelRow *channel = of.index.port_channel(channel_id(of));
    if (of.context != nullptr && channel != nullptr)
        judge(sides, row, &PcRow::pc_id, channel->pc_id);
    if (!of.tells)
        return;
    sides.is_worth_telling = of.context != nullptr || row != nullptr || channel_id(of) != no_id;
    sides.table = PcRow::table;
    sides.library = identifier(channel_id(of));
    sides.asic = value_of(channel, &PortChannelRow::pc_id);
    sides.database = value_of(row, &PcRow::pc_id);
    sides.written = maker_of(channel);
    sides.published = maker_of(row);
}

void members(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (!of.tells || !is_port_channel(of))
        return;
    const Snapshot &s = of.index.snapshot();
    std::set<std::string, NaturalOrder> configured, recorded, asic;
    for (const WantedMember &member : s.wanted_members) {
        if (member.port_channel == of.name)
            configured.insert(with_decline(member.port, member));
    }
    for (const HostRow &port : s.host) {
        if (of.host != nullptr && port.channel == of.host->ifindex)
            recorded.insert(port.name);
    }
    for (const MemberRow &member : find_rows(s.members, &MemberRow::pc_id, channel_id(of))) {
        const HostRow *port = of.index.owner_of_front_port(member.front_port);
        asic.insert(port != nullptr ? port->name : fmt::format("front port {}", member.front_port));
        sides.written = &member.made;
    }
    sides.is_worth_telling = true;
    sides.configured = names(configured);
    sides.library = names(recorded);
    sides.asic = names(asic);
}

/* ---- SVIs and sub-interfaces ---- */

void vlan(const InterfaceRows &of, Sides &sides, uint32_t)
{
    const bool has_vlan =
        of.has_vlan() || (of.host == nullptr && of.wanted != nullptr && !is_port_channel(of) &&
                          of.wanted->kind != InterfaceKind::port);
    if (!has_vlan)
        return;
    if (of.judged != nullptr && of.intf != nullptr && of.host->vlan != of.judged->number)
        sides.mismatch = AuditKind::difference;
    if (!of.tells)
        return;
    sides.is_worth_telling = true;
    sides.configured = value_of(of.wanted, &WantedInterface::number);
    sides.library = value_of(of.host, &HostRow::vlan);
    sides.asic = {Form::none};
    if (of.intf != nullptr) {
        sides.asic =
            number(of.is(InterfaceKind::sub_interface) ? of.intf->param2 : of.intf->param1);
        sides.written = &of.intf->made;
    }
}

void parent(const InterfaceRows &of, Sides &sides, uint32_t)
{
    const bool is_sub =
        of.is(InterfaceKind::sub_interface) || (of.host == nullptr && of.wanted != nullptr &&
                                                of.wanted->kind == InterfaceKind::sub_interface);
    if (!of.tells || !is_sub)
        return;
    const HostRow *owner = of.intf != nullptr ? of.index.owner_of_intf(of.intf->param1) : nullptr;
    sides.is_worth_telling = true;
    sides.configured = of.wanted != nullptr ? text(of.wanted->parent) : none();
    sides.library =
        of.host != nullptr && of.host->parent ? text(of.index.name(*of.host->parent)) : none();
    sides.asic = owner != nullptr     ? text(owner->name)
                 : of.intf != nullptr ? text("unknown")
                                      : none();
    sides.written = maker_of(of.intf);
}

/* ---- Settings ---- */

/* Tag that the library writes: the front-panel port, or the port-channel with the top bit set. */
uint32_t tag_of(const InterfaceRows &of)
{
    return of.is(InterfaceKind::port_channel) ? ((of.host->number + 1) & 0xFFFF) | 0x8000
                                              : (of.host->number + 1) & 0xFF;
}

/* The accessors of AttributeSides for a column. */
template <auto column> uint32_t wanted_column(const WantedInterface &wanted)
{
    return wanted.*column;
}
template <auto column> std::optional<uint32_t> host_column(const InterfaceRows &of)
{
    return of.host->*column;
}

/* Which sides know an attribute, and its right value: the configured one, else the library's
 * record, else what it always writes, else the initial value. */
struct AttributeSides {
    uint32_t number;
    Form form;
    uint8_t kinds; /* interfaces of other kinds do not have it */
    uint32_t (*configured)(const WantedInterface &);
    std::optional<uint32_t> (*library)(const InterfaceRows &); /* empty: unknown */
    uint32_t (*always)(const InterfaceRows &);
    uint32_t L3lifRow::*published;
    bool is_identity; /* kept by a half-destroyed interface */
};

constexpr AttributeSides attribute_sides[] = {
    {SdkIntfAttrLid, Form::number, all_but_svis, nullptr,
     [](const InterfaceRows &of) {
         return of.context != nullptr ? std::optional(of.context->lid_id) : std::nullopt;
     },
     nullptr, nullptr, true},
    {SdkIntfAttrDefSgt, Form::hex, ports_and_channels, nullptr, nullptr, tag_of, nullptr, true},
    {SdkIntfAttrIngTblIgmpSnoopLabel, Form::number, ports_and_channels, nullptr, nullptr,
     [](const InterfaceRows &) { return routed_igmp_label; }, nullptr, false},
    {SdkIntfAttrIpv4UcstEn, Form::flag, all_kinds, wanted_column<&WantedInterface::ipv4>,
     host_column<&HostRow::ipv4_ucst>, nullptr, &L3lifRow::ipv4_ucst_en, false},
    {SdkIntfAttrIpv4McstEn, Form::flag, all_kinds, nullptr, host_column<&HostRow::ipv4_mcst>,
     nullptr, nullptr, false},
    {SdkIntfAttrIpv6UcstEn, Form::flag, all_kinds, wanted_column<&WantedInterface::ipv6>, nullptr,
     nullptr, nullptr, false},
    {SdkIntfAttrIpv4Vpn, Form::number, all_kinds, wanted_column<&WantedInterface::vpn>,
     host_column<&HostRow::v4_vpn>, nullptr, &L3lifRow::v4_vpn_id, false},
    {SdkIntfAttrIpv6Vpn, Form::number, all_kinds, wanted_column<&WantedInterface::vpn>,
     host_column<&HostRow::v6_vpn>, nullptr, &L3lifRow::v6_vpn_id, false},
    {SdkIntfAttrMtuIdx, Form::number, all_kinds, wanted_column<&WantedInterface::mtu>,
     host_column<&HostRow::mtu>, nullptr, &L3lifRow::mtu, false},
    /* The property is the inverse of the hardware's check. */
    {SdkIntfAttrIpv4SameIfCheck, Form::flag, all_kinds, nullptr,
     [](const InterfaceRows &of) { return std::optional<uint32_t>(!of.host->ipv4_same_if); },
     nullptr, nullptr, false},
};

SideValue library_side(const AttributeSides &known, const std::optional<uint32_t> &number)
{
    if (!number)
        return {};
    return known.number == SdkIntfAttrLid ? identifier(*number) : SideValue{known.form, *number};
}

/* Attributes that an internal loopback writes. */
struct LoopbackAttribute {
    uint32_t number, value;
};
constexpr LoopbackAttribute loopback_attributes[] = {
    {SdkIntfAttrNatInside, 2},       {SdkIntfAttrIpv4UcstEn, 1},
    {SdkIntfAttrIpv4McstEn, 1},      {SdkIntfAttrIpv4Vpn, 1},
    {SdkIntfAttrIpv6Vpn, 1},         {SdkIntfAttrNatOutside, 3},
    {SdkIntfAttrIpv4SameIfCheck, 1}, {SdkIntfAttrNatOutsideEgrBdDb, 3},
    {SdkIntfAttrVlanTableMiss, 1},
};

/* An attribute's row in one of the two tables; nullptr without one. */
template <class Row, size_t count> const Row *row_of(const Row (&rows)[count], uint32_t attribute)
{
    const auto at = std::find_if(std::begin(rows), std::end(rows),
                                 [&](const Row &row) { return row.number == attribute; });
    return at != std::end(rows) ? at : nullptr;
}

/* What is known of an attribute. */
struct AttributeFacts {
    const AttributeRow *row;
    const AttributeSides *sides;       /* or nullptr */
    const LoopbackAttribute *loopback; /* likewise */
};
const AttributeFacts &facts_of(uint32_t attribute)
{
    static const std::vector<AttributeFacts> by_number = [] {
        std::vector<AttributeFacts> facts(attributes().back().number + 1);
        for (const AttributeRow &row : attributes())
            facts[row.number] = {&row, row_of(attribute_sides, row.number),
                                 row_of(loopback_attributes, row.number)};
        return facts;
    }();
    return by_number[attribute];
}

void attribute(const InterfaceRows &of, Sides &sides, uint32_t attribute)
{
    if (of.host == nullptr || (of.intf == nullptr && !(of.tells && of.must_exist)))
        return;
    const AttributeFacts &facts = facts_of(attribute);
    const AttributeSides *known = facts.sides;
    if (known != nullptr && (known->kinds & bit(of.host->kind)) == 0)
        known = nullptr;
    const LoopbackAttribute *loopback = of.host->loopback ? facts.loopback : nullptr;
    const bool is_decided = known != nullptr || loopback != nullptr;
    const WantedInterface *wanted = of.tells ? of.wanted : of.judged;
    if (wanted != nullptr && !wanted->routed)
        wanted = nullptr;

    const bool is_configured = known != nullptr && known->configured != nullptr;
    const uint32_t right = loopback != nullptr ? loopback->value
                           : known == nullptr  ? facts.row->initial
                           : is_configured ? (wanted != nullptr ? known->configured(*wanted) : 0)
                           : known->library != nullptr ? known->library(of).value_or(no_id)
                                                       : known->always(of);
    sides.right = right;
    const Form form = known != nullptr ? known->form : facts.row->hex ? Form::hex : Form::number;
    if (of.intf != nullptr) {
        const AttributeState now =
            of.index.attribute(of.attributes[attribute], of.intf->intf_id, attribute);
        const bool judged = of.judged != nullptr || (known != nullptr && known->is_identity);
        const bool published_right =
            of.judged == nullptr || of.published == nullptr || known == nullptr ||
            known->published == nullptr ||
            of.published->*known->published == known->configured(*of.judged);
        /* A missing entry is reported with the SDK interface. */
        const auto told_elsewhere = [&] {
            return attribute == SdkIntfAttrLid && now.value != 0 &&
                   of.index.lid(now.value) == nullptr;
        };
        if (judged && (now.after_flush() != right || !published_right) && !told_elsewhere())
            sides.mismatch = AuditKind::difference;
        if (!of.tells)
            return;
        sides.is_worth_telling = is_decided || now.value != right || now.after_flush() != right;
        sides.asic = {form, now.value};
        sides.written = maker_of(now.written);
        if (now.waits != nullptr) {
            sides.waits = {form, now.waits->value};
            sides.queued = &now.waits->made;
        }
    } else {
        sides.asic = none();
    }
    if (known != nullptr) {
        if (wanted != nullptr && is_configured)
            sides.configured = {form, known->configured(*wanted)};
        if (known->library != nullptr)
            sides.library = library_side(*known, known->library(of));
        if (known->published != nullptr) {
            sides.database = value_of(of.published, known->published, form);
            sides.published = maker_of(of.published);
        }
    }
    if (of.intf == nullptr)
        sides.is_worth_telling = sides.configured.known() || sides.library.known();
    if (!sides.configured.known() && !sides.library.known())
        sides.expected = {form, right};
}

void nat_zone(const InterfaceRows &of, Sides &sides, uint32_t)
{
    if (of.host == nullptr || of.wanted == nullptr || !of.wanted->routed)
        return;
    if (of.judged != nullptr && of.intf != nullptr && of.published != nullptr &&
        of.published->nat_zone != of.judged->nat_zone)
        sides.mismatch = AuditKind::difference;
    if (!of.tells || (!of.must_exist && of.intf == nullptr))
        return;
    sides.is_worth_telling =
        of.wanted->nat_zone != 0 || (of.published != nullptr && of.published->nat_zone != 0);
    sides.configured = number(of.wanted->nat_zone);
    sides.library = number(of.host->nat_zone);
    sides.database = value_of(of.published, &L3lifRow::nat_zone);
    sides.published = maker_of(of.published);
}

void label(const InterfaceRows &of, Sides &sides, uint32_t)
{
    const LabelRow *row = of.host != nullptr ? of.index.label(of.host->ifindex) : nullptr;
    const bool as_it_is = row != nullptr && row->svi == of.is(InterfaceKind::svi);
    if (of.judged != nullptr && of.intf != nullptr) {
        if (row == nullptr)
            sides.mismatch = AuditKind::missing;
        else if (!row->enabled || !as_it_is)
            sides.mismatch = AuditKind::difference;
    }
    if (!of.tells)
        return;
    sides.is_worth_telling = row != nullptr || of.intf != nullptr;
    sides.table = LabelRow::table;
    sides.database = {Form::none};
    if (row == nullptr)
        return;
    std::string words = row->enabled ? "set up" : "reset";
    if (sides.mismatch && !as_it_is)
        words += row->svi ? " as an SVI's" : ", not as an SVI's";
    sides.database = text(std::move(words));
    sides.published = &row->made;
}

/* In the order of PropertyId. */
constexpr const char *property_names[] = {"",
                                          "SDK interface",
                                          "state",
                                          "publication",
                                          "port's LID entry",
                                          "path",
                                          "ifmap index",
                                          "kept SDK interface",
                                          "membership",
                                          "internal loopback",
                                          "port-channel",
                                          "VLAN",
                                          "parent",
                                          "NAT zone",
                                          "L3 label",
                                          "virtual MAC",
                                          "MAC trap",
                                          "MAC",
                                          "router MAC",
                                          "interface",
                                          "binding",
                                          "pending write"};

} // namespace

const char *to_text(PropertyId id)
{
    return is_attribute(id) ? find_attribute(attribute_of(id))->property
                            : property_names[static_cast<size_t>(id)];
}

std::string SideValue::to_text() const
{
    switch (form) {
    case Form::unknown:
        return "";
    case Form::none:
        return "none";
    case Form::number:
        return fmt::to_string(number);
    case Form::flag:
        return number != 0 ? "on" : "off";
    case Form::hex:
        return fmt::format("{:#x}", number);
    case Form::text:
        break;
    }
    return words;
}

InterfaceRows::InterfaceRows(const Index &of, const std::string &named, const HostRow *known,
                             bool in_words)
    : index(of), name(named), tells(in_words), host(known),
      wanted(known != nullptr ? of.wanted(*known) : of.wanted(named)),
      port(in_words || known == nullptr || known->kind == InterfaceKind::port
               ? of.wanted_port(named)
               : nullptr),
      kinds(known == nullptr || known->loopback || !of.snapshot().pending.empty()
                ? all_kinds | unusual
                : bit(known->kind))
{
    must_exist = wanted != nullptr && of.must_exist(*wanted);
    if (host == nullptr)
        return;
    published = of.l3lif(host->ifindex);
    context = of.context(host->ifindex);
    if (context == nullptr)
        return;
    intf = context->intf_id != no_id ? of.intf(context->intf_id) : nullptr;
    if (intf != nullptr) {
        for (const AttributeValueRow &row : of.attributes(*intf)) {
            if (row.number < attributes.size() && attributes[row.number] == nullptr)
                attributes[row.number] = &row;
        }
    }
    if (wanted != nullptr && (must_exist || (wanted->routed && of.has_joined_members(*host))))
        judged = wanted;
}

const std::vector<Property> &interface_properties()
{
    static const auto table = [] {
        constexpr auto never = std::nullopt;
        constexpr auto missing = AuditKind::missing, difference = AuditKind::difference;
        std::vector<Property> rows{
            {PropertyId::sdk_interface, nullptr, missing, sdk_interface, all_kinds},
            {PropertyId::state, nullptr, never, state, all_but_svis},
            {PropertyId::publication, nullptr, never, publication, all_kinds},
            {PropertyId::port_lid, nullptr, missing, port_lid, ports},
            {PropertyId::port_channel, nullptr, never, port_channel, channels},
            {PropertyId::path, nullptr, never, path, no_kind},
            {PropertyId::ifmap_index, nullptr, never, ifmap_index, ports},
            {PropertyId::kept_intf, nullptr, never, kept_intf, ports},
            {PropertyId::membership, "member of", missing, member_of, ports},
            {PropertyId::membership, "members", missing, members, no_kind},
            {PropertyId::loopback, nullptr, never, internal_loopback, no_kind},
            {PropertyId::vlan, nullptr, never, vlan, with_vlan},
            {PropertyId::parent, nullptr, never, parent, no_kind},
        };
        const auto add_attribute = [&](uint32_t number, uint8_t kinds, bool is_setting) {
            rows.push_back({attribute_property(number), nullptr,
                            is_setting ? std::optional(difference) : never, attribute, kinds});
        };
        for (const AttributeSides &row : attribute_sides)
            add_attribute(row.number, row.kinds, row.configured != nullptr);
        for (const AttributeRow &row : attributes()) {
            if (row_of(attribute_sides, row.number) == nullptr)
                add_attribute(row.number, unusual, false);
        }
        rows.push_back({PropertyId::nat_zone, nullptr, difference, nat_zone, all_kinds});
        rows.push_back({PropertyId::label, nullptr, never, label, all_kinds});
        return rows;
    }();
    return table;
}

bool is_made_up_for(AuditKind kind, PropertyId id)
{
    /* MACs that are missing are added again. */
    if (kind == AuditKind::missing && (id == PropertyId::mac_trap || id == PropertyId::none))
        return true;
    const auto &rows = interface_properties();
    return std::any_of(rows.begin(), rows.end(), [&](const Property &row) {
        return row.id == id && row.made_up_for == kind;
    });
}

} // namespace kvnsim
