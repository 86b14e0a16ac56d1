/* The way of a frame through the ASIC. A walk asks the stages one after another; the first that
 * does not let the frame pass ends it. The tables that a stage reads are the ASIC's as they stand:
 * writes that wait for the flush are told, but not yet read. */
#include "sim/service/frame.h"

#include <algorithm>

#include <fmt/format.h>

#include "kvnsim/sdk.h"
#include "platform_api/libsdk.h"
#include "sim/config/names.h"
#include "sim/sdk/attributes.h"

namespace kvnsim {
namespace {

const Origin nobody;

/* In the order of Stage. */
constexpr const char *stage_names[] = {"front port", "port-channel", "SDK interface", "LID entry",
                                       "MAC",        "family",       "VPN",           "MTU"};

uint64_t place_key(uint32_t type, uint32_t param1, uint32_t second)
{
    return uint64_t{type} << 60 | uint64_t{second & 0xFFFF} << 32 | param1;
}
/* What tells interfaces of one type and param1 apart. */
uint32_t second_of(const IntfRow &row)
{
    return row.type == sdk_sub_interface ? row.param2 : row.param3;
}

uint64_t trap_key(uint32_t intf_id, const Mac &mac)
{
    return uint64_t{intf_id} << 48 | as_number(mac);
}

/* The groups to which IP multicast of a family is mapped. */
bool is_group_of(Family family, const Mac &mac)
{
    return family == Family::ipv4
               ? mac[0] == 0x01 && mac[1] == 0x00 && mac[2] == 0x5e && mac[3] < 0x80
               : mac[0] == 0x33 && mac[1] == 0x33;
}

constexpr auto any = std::nullopt, nothing = std::nullopt;
constexpr auto v4 = Family::ipv4, v6 = Family::ipv6;
constexpr AttributeReadings readings{{
    {SdkIntfAttrLid, Stage::lid_entry, any, any,
     "the entry needs a path to the front port or port-channel; an SVI needs no entry"},
    {SdkIntfAttrDefSgt, nothing, any, any, "security policies are not modelled"},
    {SdkIntfAttrIpv4UcstEn, Stage::family, v4, false, "1: IPv4 to a router MAC is routed"},
    {SdkIntfAttrIpv4McstEn, Stage::family, v4, true, "1: IPv4 to a group is routed"},
    {SdkIntfAttrIpv6UcstEn, Stage::family, v6, false, "1: IPv6 to a router MAC is routed"},
    {SdkIntfAttrIpv6McstEn, Stage::family, v6, true, "1: IPv6 to a group is routed"},
    {SdkIntfAttrIpv4RpfMode, nothing, any, any, "looks the source up; routes are not modelled"},
    {SdkIntfAttrIpv4Vpn, Stage::vpn, v4, any, "the number of the VRF that routes IPv4"},
    {SdkIntfAttrIpv6Vpn, Stage::vpn, v6, any, "the number of the VRF that routes IPv6"},
    {SdkIntfAttrIngTblDfMask, nothing, any, any, "designated forwarders are not modelled"},
    {SdkIntfAttrNatInside, nothing, any, any, "changes addresses of what is routed"},
    {SdkIntfAttrAclBdLabel, nothing, any, any, "access lists are not modelled"},
    {SdkIntfAttrIngTblIgmpSnoopLabel, nothing, any, any, "group members are not modelled"},
    {SdkIntfAttrVlanTableMiss, nothing, any, any, "what becomes of unknown groups"},
    {SdkIntfAttrIpv4SameIfCheck, nothing, any, any,
     "compares with the way out; routes are not modelled"},
    {SdkIntfAttrIpv6SameIfCheck, nothing, any, any,
     "compares with the way out; routes are not modelled"},
    {SdkIntfAttrMtuIdx, Stage::mtu, any, any, "longer packets are not routed"},
    {SdkIntfAttrNatOutside, nothing, any, any, "changes addresses of what is routed"},
    {SdkIntfAttrNatOutsideEgrBdDb, nothing, any, any, "changes addresses of what leaves"},
}};
static_assert(readings.back().reading != nullptr);

/* The attribute that decides a stage; the stage needs one. */
uint32_t attribute_of(Stage stage, Family family, bool group)
{
    struct Numbers {
        uint32_t of[std::size(stage_names)][std::size(family_names)][2];
    };
    static constexpr Numbers numbers = [] {
        Numbers found{};
        for (const AttributeReading &row : readings) {
            for (const Family read : {Family::ipv4, Family::ipv6}) {
                for (const bool to_group : {false, true}) {
                    if (row.stage && row.is_read(*row.stage, read, to_group))
                        found.of[static_cast<size_t>(*row.stage)][static_cast<size_t>(read)]
                                [to_group] = row.number;
                }
            }
        }
        return found;
    }();
    return numbers.of[static_cast<size_t>(stage)][static_cast<size_t>(family)][group];
}

} // namespace

const char *to_text(Stage stage)
{
    return stage_names[static_cast<size_t>(stage)];
}

const AttributeReadings &attribute_readings()
{
    return readings;
}

const std::vector<const char *> &not_modelled()
{
    static const std::vector<const char *> names{
        "links", "VLAN membership of ports", "routes", "neighbours", "access lists", "policies"};
    return names;
}

Forwarding::Forwarding(const Index &index) : index_(index)
{
    const Snapshot &s = index.snapshot();
    intfs_.reserve(s.intfs.size());
    for (const IntfRow &row : s.intfs)
        intfs_.emplace(place_key(row.type, row.param1, second_of(row)), &row);
    for (const VrfNumber &row : s.vrfs)
        vrfs_.emplace(row.vpn, row.name);
    for (const RouterMacRow &row : s.router_macs)
        router_macs_.emplace(as_number(row.mac), &row);
    traps_.reserve(s.traps.size());
    for (const TrapRow &row : s.traps)
        traps_.emplace(trap_key(row.intf_id, row.mac), &row);
}

const IntfRow *Forwarding::created_with(uint32_t type, uint32_t param1, uint32_t second) const
{
    const IntfRow *row = found_in(intfs_, place_key(type, param1, second));
    return row != nullptr && row->type == type && row->param1 == param1 && second_of(*row) == second
               ? row
               : nullptr;
}

const RouterMacRow *Forwarding::router_mac(const Mac &mac) const
{
    return found_in(router_macs_, as_number(mac));
}

const TrapRow *Forwarding::trap(uint32_t intf_id, const Mac &mac) const
{
    return found_in(traps_, trap_key(intf_id, mac));
}

bool Forwarding::is_to_group(const IntfRow &intf, Family family, const Mac &to) const
{
    return is_group_of(family, to) && router_mac(to) == nullptr &&
           trap(intf.intf_id, to) == nullptr;
}

bool Forwarding::is_on(const RowRange<AttributeValueRow> &written, const IntfRow &intf,
                       Family family, bool to_group) const
{
    const uint32_t number = attribute_of(Stage::family, family, to_group);
    return index_.attribute(written, intf.intf_id, number).value != 0;
}

std::string Forwarding::vrf_of(uint32_t vpn) const
{
    return vpn == 0 ? "default" : std::string(found_in(vrfs_, vpn));
}

std::string Forwarding::vpn_words(uint32_t vpn) const
{
    const std::string vrf = vrf_of(vpn);
    return vrf.empty() ? fmt::format("VPN {}, which no VRF has,", vpn) : "VRF " + vrf;
}

std::string Forwarding::intf_words(uint32_t intf_id) const
{
    const HostRow *owner = index_.owner_of_intf(intf_id);
    if (owner == nullptr)
        return fmt::format("{} (of no interface)", intf_id);
    const bool kept = owner->kept_intf == intf_id;
    return fmt::format("{} ({}{})", intf_id, kept ? "kept by " : "", owner->name);
}

std::string Forwarding::reason(const Fate &fate)
{
    return fate.made.request || *fate.made.call != '\0'
               ? fmt::format("{} ({})", fate.reason, fate.made.to_text())
               : fate.reason;
}

std::string Forwarding::condition(const Way &way)
{
    return way.if_in_vlan != 0 ? fmt::format(", if the port is in VLAN {}", way.if_in_vlan) : "";
}

std::string Forwarding::words(const Fate &fate) const
{
    if (fate.routed)
        return fmt::format("routed in {} by SDK interface {}{}", vpn_words(fate.vpn),
                           intf_words(fate.intf_id), condition(fate));
    return "not routed: " + reason(fate);
}

/* One frame on its way. */
class Walk {
public:
    /* told: the same way, if it is asked for in words; else nullptr. */
    Walk(const Forwarding &of, const Frame &frame, Way &way, Fate *told)
        : of_(of), index_(of.index_), frame_(frame), way_(way), told_(told)
    {}

    void go()
    {
        const auto at = [this](Stage stage) {
            stage_ = stage;
            return true;
        };
        way_.routed = at(Stage::front_port) && front_port() && at(Stage::port_channel) &&
                      port_channel() && at(Stage::sdk_interface) && sdk_interface() &&
                      at(Stage::lid_entry) && lid_entry() && at(Stage::mac) && mac() &&
                      at(Stage::family) && family() && at(Stage::vpn) && vpn() && at(Stage::mtu) &&
                      mtu();
    }

private:
    /* ---- What a stage says: words() are made only when they are asked for ---- */

    template <class Words> bool passes(const Words &words, const Origin &made = nobody)
    {
        if (told_ != nullptr)
            told_->stages.push_back({stage_, words(), true, made});
        return true;
    }
    /* reason() tells the whole, found() what the stage has instead of what it needs. */
    template <class Found, class Reason>
    bool ends(const Found &found, const Reason &reason, const Origin &made = nobody)
    {
        way_.decided = stage_;
        if (told_ != nullptr) {
            told_->made = made;
            told_->reason = reason();
            told_->stages.push_back({stage_, found(), false, made});
        }
        return false;
    }
    static std::string nothing() { return "none"; }

    std::string intf_words() const { return of_.intf_words(way_.intf_id); }
    std::string arrival() const
    {
        return way_.pc_id != no_id ? fmt::format("port-channel {}", way_.pc_id)
                                   : fmt::format("front port {}", frame_.front_port);
    }
    static std::string name_in_brackets(const HostRow *host)
    {
        return host != nullptr ? fmt::format(" ({})", host->name) : "";
    }

    /* The attribute that decides the present stage. */
    uint32_t number() const { return attribute_of(stage_, frame_.family, way_.to_group); }
    AttributeState attribute() const
    {
        return index_.attribute(attributes_, way_.intf_id, number());
    }
    static std::string waiting(const AttributeState &state)
    {
        return state.waits != nullptr ? fmt::format("; {} waits for the flush", state.waits->value)
                                      : "";
    }
    static const Origin &writer(const AttributeState &state)
    {
        return state.written != nullptr ? state.written->made : nobody;
    }
    static const char *unless_written(const AttributeState &state)
    {
        return state.written != nullptr ? "" : ", never written";
    }

    /* ---- The stages ---- */

    bool front_port()
    {
        if (frame_.front_port == 0 && frame_.vlan == 0)
            return ends(nothing, [] { return std::string("it arrives by no front port"); });
        return passes([&] {
            return frame_.front_port == 0
                       ? fmt::format("a layer-2 port of VLAN {}", frame_.vlan)
                       : fmt::format(
                             "{}{}", frame_.front_port,
                             name_in_brackets(index_.owner_of_front_port(frame_.front_port)));
        });
    }

    bool port_channel()
    {
        const MemberRow *member =
            frame_.front_port != 0 ? index_.member(frame_.front_port) : nullptr;
        if (member == nullptr)
            return passes([] { return std::string("member of none"); });
        way_.pc_id = member->pc_id;
        return passes(
            [&] {
                return fmt::format("member of {}{}", member->pc_id,
                                   name_in_brackets(index_.owner_of_port_channel(member->pc_id)));
            },
            member->made);
    }

    /* Untagged frames belong to the routed port or port-channel itself; the tag selects one of its
     * sub-interfaces, or else the VLAN and its SVI. */
    const IntfRow *selected() const
    {
        const IntfRow *routed = frame_.front_port == 0 ? nullptr
                                : way_.pc_id != no_id
                                    ? of_.created_with(sdk_routed_port, way_.pc_id, 1)
                                    : of_.created_with(sdk_routed_port, frame_.front_port, 0);
        if (frame_.vlan == 0)
            return routed;
        const IntfRow *sub = routed != nullptr
                                 ? of_.created_with(sdk_sub_interface, routed->intf_id, frame_.vlan)
                                 : nullptr;
        return sub != nullptr ? sub : of_.created_with(sdk_svi, frame_.vlan, 0);
    }

    bool sdk_interface()
    {
        intf_ = selected();
        if (intf_ == nullptr)
            return ends(nothing, [&] {
                if (frame_.front_port == 0)
                    return fmt::format("there is no SVI for VLAN {}", frame_.vlan);
                if (frame_.vlan == 0)
                    return fmt::format("{} has no SDK interface", arrival());
                return fmt::format("VLAN {} selects no sub-interface of {}, and has no SVI",
                                   frame_.vlan, arrival());
            });
        way_.intf_id = intf_->intf_id;
        if (intf_->type == sdk_svi && frame_.front_port != 0)
            way_.if_in_vlan = frame_.vlan;
        attributes_ = index_.attributes(intf_->intf_id);
        return passes(
            [&] { return fmt::format("{}: {}", intf_words(), Index::kind_words(*intf_)); },
            intf_->made);
    }

    bool leads_here(const LidPathRow &path) const
    {
        if (way_.pc_id != no_id)
            return path.port_type == SdkPortTypeChannel && path.pc_id == way_.pc_id;
        return path.port_type == KVNSIM_SDK_PORT_TYPE_FRONT_PANEL &&
               path.front_port == frame_.front_port;
    }

    bool lid_entry()
    {
        if (intf_->type == sdk_svi)
            return passes([] { return std::string("an SVI needs none"); });
        const AttributeState bound = attribute();
        if (bound.written == nullptr)
            return ends([&] { return "none" + waiting(bound); },
                        [&] {
                            return fmt::format("SDK interface {} is bound to no LID entry",
                                               intf_words());
                        });
        way_.lid_id = bound.value;
        const LidRow *lid = index_.lid(bound.value);
        if (lid == nullptr)
            return ends(
                [&] { return fmt::format("{}, which is gone{}", bound.value, waiting(bound)); },
                [&] {
                    return fmt::format("SDK interface {} is bound to LID entry {}, which is gone",
                                       intf_words(), bound.value);
                },
                bound.written->made);
        const auto paths = find_rows(index_.snapshot().lid_paths, &LidPathRow::lid_id, bound.value);
        if (paths.empty())
            return ends([&] { return fmt::format("{}, without a path", bound.value); },
                        [&] { return fmt::format("LID entry {} has no path", bound.value); },
                        lid->made);
        const auto path = std::find_if(paths.begin(), paths.end(),
                                       [&](const LidPathRow &row) { return leads_here(row); });
        if (path == paths.end())
            return ends(
                [&] {
                    return fmt::format("{}, path to {}", bound.value,
                                       Index::path_words(*paths.begin()));
                },
                [&] {
                    return fmt::format("LID entry {} of SDK interface {} leads to {}, not to {}",
                                       bound.value, intf_words(), Index::path_words(*paths.begin()),
                                       arrival());
                },
                paths.begin()->made);
        return passes(
            [&] {
                return fmt::format("{}, path to {}{}", bound.value, Index::path_words(*path),
                                   waiting(bound));
            },
            bound.written->made);
    }

    bool mac()
    {
        if (is_zero(frame_.to))
            return passes([] { return std::string("a router MAC, taken as given"); });
        if (const RouterMacRow *row = of_.router_mac(frame_.to)) {
            way_.peer_mac_id = row->peer_mac_id;
            return passes(
                [&] {
                    return fmt::format("{} is router MAC {} of the switch", to_text(frame_.to),
                                       row->peer_mac_id);
                },
                row->made);
        }
        if (const TrapRow *row = of_.trap(way_.intf_id, frame_.to)) {
            way_.mac_trap_id = row->mac_trap_id;
            return passes(
                [&] {
                    return fmt::format("{} is MAC trap {} of SDK interface {}", to_text(frame_.to),
                                       row->mac_trap_id, row->intf_id);
                },
                row->made);
        }
        if (is_multicast(frame_.to))
            return group();
        const TrapRow *elsewhere = told_ != nullptr ? trap_elsewhere() : nullptr;
        return ends([&] { return to_text(frame_.to) + " is none"; },
                    [&] {
                        const std::string none = fmt::format(
                            "{} is no router MAC of the switch and no MAC trap of SDK interface "
                            "{}",
                            to_text(frame_.to), intf_words());
                        return elsewhere == nullptr
                                   ? none
                                   : fmt::format("{}, but MAC trap {} of SDK interface {}", none,
                                                 elsewhere->mac_trap_id,
                                                 of_.intf_words(elsewhere->intf_id));
                    },
                    elsewhere != nullptr ? elsewhere->made : nobody);
    }

    const TrapRow *trap_elsewhere() const
    {
        const auto &traps = index_.snapshot().traps;
        const auto at = std::find_if(traps.begin(), traps.end(),
                                     [&](const TrapRow &row) { return row.mac == frame_.to; });
        return at != traps.end() ? &*at : nullptr;
    }

    bool group()
    {
        way_.to_group = is_group_of(frame_.family, frame_.to);
        if (way_.to_group)
            return passes([&] {
                return fmt::format("{} is a group of {}", to_text(frame_.to),
                                   to_text(frame_.family));
            });
        return ends([&] { return to_text(frame_.to) + " is none"; },
                    [&] {
                        return fmt::format("{} is a group address, but none of {} multicast",
                                           to_text(frame_.to), to_text(frame_.family));
                    });
    }

    bool family()
    {
        const AttributeState enabled = attribute();
        const auto what = [&] { return find_attribute(number())->description; };
        if (enabled.value == 0)
            return ends(
                [&] {
                    return fmt::format("{} is off{}{}", what(), unless_written(enabled),
                                       waiting(enabled));
                },
                [&] {
                    return fmt::format("{} of SDK interface {} is off{}", what(), intf_words(),
                                       unless_written(enabled));
                },
                writer(enabled));
        return passes([&] { return fmt::format("{} is on{}", what(), waiting(enabled)); },
                      writer(enabled));
    }

    bool vpn()
    {
        const AttributeState vpn = attribute();
        way_.vpn = vpn.value;
        return passes(
            [&] {
                const std::string vrf = of_.vrf_of(vpn.value);
                return fmt::format("{} ({}{}){}{}", vpn.value, vrf.empty() ? "no VRF" : "VRF ", vrf,
                                   unless_written(vpn), waiting(vpn));
            },
            writer(vpn));
    }

    bool mtu()
    {
        const AttributeState mtu = attribute();
        way_.mtu = mtu.value;
        if (frame_.size > mtu.value)
            return ends(
                [&] {
                    return fmt::format("{}, the packet has {}{}", mtu.value, frame_.size,
                                       waiting(mtu));
                },
                [&] {
                    return fmt::format("the packet has {} bytes, the MTU of SDK interface {} is "
                                       "{}{}",
                                       frame_.size, intf_words(), mtu.value, unless_written(mtu));
                },
                writer(mtu));
        return passes(
            [&] {
                return fmt::format(
                    "{}{}{}{}", mtu.value,
                    frame_.size != 0 ? fmt::format(", the packet has {}", frame_.size) : "",
                    unless_written(mtu), waiting(mtu));
            },
            writer(mtu));
    }

    const Forwarding &of_;
    const Index &index_;
    const Frame &frame_;
    Way &way_;
    Fate *const told_;
    Stage stage_ = Stage::front_port;
    const IntfRow *intf_ = nullptr;
    RowRange<AttributeValueRow> attributes_{nullptr, nullptr};
};

Fate Forwarding::follow(const Frame &frame) const
{
    Fate fate;
    Walk(*this, frame, fate, &fate).go();
    return fate;
}

Way Forwarding::way(const Frame &frame) const
{
    Way way;
    Walk(*this, frame, way, nullptr).go();
    return way;
}

} // namespace kvnsim
