/* Makes a plan: compares what the switch has with what a configuration wants. The steps of each
 * kind are collected apart and put together in the order of StepKind: deletions before creations,
 * an object before what refers to it. What is built on an SDK interface that goes is recreated.
 * Planning changes nothing. */
#include <algorithm>
#include <array>
#include <deque>
#include <unordered_set>

#include <fmt/format.h>

#include "sim/switch/cursor.h"
#include "sim/switch/switch.h"

namespace kvnsim {

bool operator==(const Settings &a, const Settings &b)
{
    return a.mtu == b.mtu && a.ipv4 == b.ipv4 && a.ipv6 == b.ipv6 && a.vrf == b.vrf &&
           a.nat_zone == b.nat_zone;
}

Settings settings_of(const L3Settings &l3, uint16_t mtu)
{
    return {mtu, l3.ipv4, l3.ipv6, l3.vrf, l3.nat_zone};
}

namespace {

template <class Map, class Key> auto *find_in(Map &map, const Key &key)
{
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

std::string vrf_name(const std::string &vrf)
{
    return vrf.empty() ? "default" : vrf;
}

} // namespace

std::string in_words(const Settings &settings)
{
    std::string words = fmt::format("MTU {}", *settings.mtu);
    if (*settings.ipv4)
        words += ", IPv4";
    if (*settings.ipv6)
        words += ", IPv6";
    if (!settings.vrf->empty())
        words += ", VRF " + *settings.vrf;
    if (*settings.nat_zone != 0)
        words += fmt::format(", NAT zone {}", *settings.nat_zone);
    return words;
}

std::string Step::words() const
{
    switch (kind) {
    case StepKind::remove_virtual_mac:
        return "remove virtual MAC " + to_text(mac) + " from " + name;
    case StepKind::delete_sub_interface:
        return "delete sub-interface " + name;
    case StepKind::delete_svi:
        return "delete SVI " + name;
    case StepKind::remove_member:
        return "take " + name + " out of port-channel " + other;
    case StepKind::unroute_port_channel:
        return "stop routing port-channel " + name;
    case StepKind::delete_port_channel:
        return "delete port-channel " + name;
    case StepKind::unroute_port:
        return "stop routing port " + name;
    case StepKind::delete_port:
        return "remove port " + name;
    case StepKind::remove_router_mac:
        return "remove router MAC " + to_text(mac);
    case StepKind::add_router_mac:
        return "set router MAC " + to_text(mac);
    case StepKind::add_port:
        return completes ? "give port " + name + " its LID" : "add port " + name;
    case StepKind::route_port:
        return "route port " + name + ": " + in_words(settings);
    case StepKind::add_port_channel:
        return "add port-channel " + name;
    case StepKind::route_port_channel:
        return (completes ? "create the SDK interface of port-channel " : "route port-channel ") +
               name + ": " + in_words(settings);
    case StepKind::add_member:
        return "add " + name + " to port-channel " + other;
    case StepKind::add_svi:
        return "create SVI " + name + ": " + in_words(settings);
    case StepKind::add_sub_interface:
        return fmt::format("create sub-interface {} on {}, VLAN {}: {}", name, parent, vlan,
                           in_words(settings));
    case StepKind::change_settings:
        return "change " + name + ": " + changes;
    case StepKind::add_virtual_mac:
        return "add virtual MAC " + to_text(mac) + " to " + name;
    }
    return "";
}

std::vector<SettingChange> difference(const Settings &from, const Settings &to)
{
    std::vector<SettingChange> changes;
    const auto change = [&](Setting setting, const char *what, const auto &was, const auto &is,
                            auto &&text_of) {
        if (was != is)
            changes.push_back({setting,
                               std::string(what) + (was ? text_of(*was) : std::string("unknown")) +
                                   " -> " + text_of(*is),
                               !was || *is < *was});
    };
    const auto flag = [&](Setting setting, const char *what, std::optional<bool> was,
                          std::optional<bool> is) {
        if (was != is)
            changes.push_back({setting, std::string(what) + (*is ? " on" : " off"), !*is});
    };
    const auto number = [](uint32_t value) { return std::to_string(value); };
    change(Setting::mtu, "MTU ", from.mtu, to.mtu, number);
    flag(Setting::ipv4, "IPv4", from.ipv4, to.ipv4);
    flag(Setting::ipv6, "IPv6", from.ipv6, to.ipv6);
    change(Setting::vrf, "VRF ", from.vrf, to.vrf, vrf_name);
    change(Setting::nat_zone, "NAT zone ", from.nat_zone, to.nat_zone, number);
    return changes;
}

/* Compares what the switch has with what is wanted. */
class Planner {
public:
    Planner(const Switch &sw, const Desired &want) : switch_(sw), have_(sw.have_), want_(want) {}

    Plan make()
    {
        port_channels_that_change();
        ports_that_change();
        sub_interfaces();
        svis();
        virtual_macs();
        router_mac();
        new_ports();
        new_port_channels();
        Plan plan;
        size_t count = 0;
        for (const std::deque<Step> &steps : steps_)
            count += steps.size();
        plan.steps.reserve(count);
        for (std::deque<Step> &steps : steps_) {
            for (Step &step : steps)
                plan.steps.push_back(std::move(step));
        }
        return plan;
    }

private:
    Step &add(StepKind kind, const std::string &name, const SourceLocation &cause)
    {
        Step &step = steps_[static_cast<size_t>(kind)].emplace_back();
        step.kind = kind;
        step.name = name;
        step.cause = cause;
        return step;
    }

    Step &add(StepKind kind, const std::string &name, const SourceLocation &cause,
              Settings settings)
    {
        Step &step = add(kind, name, cause);
        step.settings = std::move(settings);
        return step;
    }

    bool routed(const DesiredPortChannel *port_channel) const
    {
        return port_channel != nullptr && port_channel->l3;
    }

    /* A port that gets another number is removed and added, with all that is built on it. */
    bool renumbered(const std::string &port) const
    {
        const DesiredPort *has = find_in(have_.ports, port), *wants = find_in(want_.ports, port);
        return has != nullptr && wants != nullptr && wants->front_port != 0 &&
               has->front_port != wants->front_port;
    }

    bool declined(const std::string &port_channel, const std::string &port) const
    {
        return !switch_.declined_.empty() && switch_.declined_.count({port_channel, port}) != 0;
    }

    /* The library declines a member that is routed itself. A member whose own routing changes has
     * to leave and join again. */
    bool member_stays(const std::string &name, const DesiredPortChannel &has,
                      const DesiredPortChannel *wants, const std::string &port) const
    {
        if (wants == nullptr || wants->members.count(port) == 0 || routed(&has) != routed(wants) ||
            renumbered(port))
            return false;
        if (!routed(wants))
            return true;
        const bool will_be_declined = want_.routed_ports.count(port) != 0;
        return declined(name, port) == will_be_declined;
    }

    void port_channels_that_change()
    {
        for (const auto &[name, has] : have_.port_channels) {
            const DesiredPortChannel *wants = find_in(want_.port_channels, name);
            bool built = false, stays_built = false;
            for (const auto &[port, location] : has.members) {
                const bool stays = member_stays(name, has, wants, port);
                const bool joined = routed(&has) && !declined(name, port);
                built |= joined;
                stays_built |= joined && stays;
                if (stays)
                    staying_members_.insert(name + '|' + port);
                else
                    add(StepKind::remove_member, port, location).other = name;
            }
            if (routed(&has) && !routed(wants))
                add(StepKind::unroute_port_channel, name, has.l3_location);
            if (wants == nullptr)
                add(StepKind::delete_port_channel, name, has.location);
            if (routed(&has) && (!routed(wants) || (built && !stays_built)))
                gone_.insert(name);
            else if (stays_built)
                repair_or_change(name, *wants);
        }
    }

    /* A port-channel whose members joined, but whose SDK interface was refused, is tried again;
     * sub-interfaces created without it are recreated. */
    void repair_or_change(const std::string &name, const DesiredPortChannel &wants)
    {
        const Settings settings = settings_of(*wants.l3, wants.mtu);
        if (const Settings *has = find_in(switch_.settings_, name)) {
            change(name, has, settings, wants.l3_location);
            return;
        }
        add(StepKind::route_port_channel, name, wants.l3_location, settings).completes = true;
        gone_.insert(name);
    }

    void ports_that_change()
    {
        for (const auto &[name, has] : have_.routed_ports) {
            const DesiredRoutedPort *wants = find_in(want_.routed_ports, name);
            const DesiredPort *port = find_in(want_.ports, name);
            if (wants != nullptr && port != nullptr && !renumbered(name)) {
                change(name, find_in(switch_.settings_, name), settings_of(wants->l3, port->mtu),
                       wants->location);
            } else {
                add(StepKind::unroute_port, name, has.location);
                gone_.insert(name);
            }
        }
        for (const auto &[name, has] : have_.ports) {
            if (want_.ports.count(name) == 0 || renumbered(name))
                add(StepKind::delete_port, name, has.location);
        }
    }

    /* Interfaces whose identity cannot change: they are deleted and recreated instead. like(has,
     * wants) tells whether the two differ in settings only. */
    template <class Map, class Like>
    void compare(const Map &have, const Map &want, StepKind removal, StepKind creation,
                 const Like &like)
    {
        Cursor settings(switch_.settings_);
        walk(have, want, [&](const std::string &name, const auto *has, const auto *wants) {
            if (wants != nullptr && waits(*wants))
                wants = nullptr;
            if (has != nullptr && wants != nullptr && like(*has, *wants))
                return change(name, settings.find(name), settings_of(wants->l3, wants->mtu),
                              wants->location);
            if (has != nullptr)
                add(removal, name, has->location);
            if (wants != nullptr)
                identify(add(creation, name, wants->location, settings_of(wants->l3, wants->mtu)),
                         *wants);
            if (has != nullptr && wants != nullptr)
                gone_.insert(name);
        });
    }

    static bool waits(const DesiredSubInterface &sub) { return sub.waits; }
    static bool waits(const DesiredSvi &) { return false; }
    /* What the name does not say. */
    static void identify(Step &step, const DesiredSubInterface &sub)
    {
        step.parent = sub.parent;
        step.vlan = sub.vlan;
    }
    static void identify(Step &, const DesiredSvi &) {}

    void sub_interfaces()
    {
        compare(have_.sub_interfaces, want_.sub_interfaces, StepKind::delete_sub_interface,
                StepKind::add_sub_interface,
                [&](const DesiredSubInterface &has, const DesiredSubInterface &wants) {
                    return wants.parent == has.parent && wants.vlan == has.vlan &&
                           gone_.count(has.parent) == 0;
                });
    }

    void svis()
    {
        compare(
            have_.svis, want_.svis, StepKind::delete_svi, StepKind::add_svi,
            [](const DesiredSvi &has, const DesiredSvi &wants) { return wants.vlan == has.vlan; });
    }

    void virtual_macs()
    {
        for (const auto &[mac, location] : have_.virtual_macs) {
            if (want_.virtual_macs.count(mac) == 0 || gone_.count(mac.interface) != 0)
                add(StepKind::remove_virtual_mac, mac.interface, location).mac = mac.mac;
        }
        const std::string *interface = nullptr; /* those of one follow each other */
        bool exists = false;
        for (const auto &[mac, location] : want_.virtual_macs) {
            if (interface == nullptr || *interface != mac.interface) {
                interface = &mac.interface;
                exists = will_exist(mac.interface);
            }
            if (!exists)
                continue;
            if (have_.virtual_macs.count(mac) == 0 || gone_.count(mac.interface) != 0)
                add(StepKind::add_virtual_mac, mac.interface, location).mac = mac.mac;
        }
    }

    /* A port-channel is in the ASIC only while it has a member that joined. */
    bool will_exist(const std::string &interface) const
    {
        const DesiredPortChannel *port_channel = find_in(want_.port_channels, interface);
        return port_channel == nullptr || want_.has_member_that_joins(*port_channel);
    }

    void router_mac()
    {
        if (have_.router_mac == want_.router_mac)
            return;
        if (have_.router_mac)
            add(StepKind::remove_router_mac, "switch", have_.router_mac_location).mac =
                *have_.router_mac;
        if (want_.router_mac)
            add(StepKind::add_router_mac, "switch", want_.router_mac_location).mac =
                *want_.router_mac;
    }

    void new_ports()
    {
        for (const auto &[name, wants] : want_.ports) {
            if (have_.ports.count(name) == 0 || renumbered(name))
                add(StepKind::add_port, name, wants.location);
            else if (const HostInterface *port = Host::instance().find(name);
                     port != nullptr && !port->lid_id)
                add(StepKind::add_port, name, wants.location).completes = true;
        }
        for (const auto &[name, wants] : want_.routed_ports) {
            const DesiredPort *port = find_in(want_.ports, name);
            if (port != nullptr && (have_.routed_ports.count(name) == 0 || renumbered(name)))
                add(StepKind::route_port, name, wants.location, settings_of(wants.l3, port->mtu));
        }
    }

    void new_port_channels()
    {
        for (const auto &[name, wants] : want_.port_channels) {
            const DesiredPortChannel *has = find_in(have_.port_channels, name);
            if (has == nullptr)
                add(StepKind::add_port_channel, name, wants.location);
            if (routed(&wants) && !routed(has))
                add(StepKind::route_port_channel, name, wants.l3_location,
                    settings_of(*wants.l3, wants.mtu));
            /* Ports that the library will decline come last: the first member creates the
             * port-channel. */
            for (const bool declined_ones : {false, true}) {
                for (const auto &[port, location] : wants.members) {
                    const bool will_be_declined =
                        routed(&wants) && want_.routed_ports.count(port) != 0;
                    if (will_be_declined == declined_ones &&
                        staying_members_.count(name + '|' + port) == 0)
                        add(StepKind::add_member, port, location).other = name;
                }
            }
        }
    }

    void change(const std::string &name, const Settings *has, const Settings &wants,
                const SourceLocation &location)
    {
        if (has == nullptr || *has == wants)
            return;
        Step &step = add(StepKind::change_settings, name, location, wants);
        for (const SettingChange &each : difference(*has, wants))
            step.changes += (step.changes.empty() ? "" : ", ") + each.words;
    }

    const Switch &switch_;
    const Desired &have_;
    const Desired &want_;
    std::unordered_set<std::string> staying_members_; /* "port-channel|port" */
    std::unordered_set<std::string> gone_;            /* interfaces that lose their SDK interface */
    std::array<std::deque<Step>, static_cast<size_t>(StepKind::add_virtual_mac) + 1> steps_;
};

Plan Switch::plan(const Desired &want) const
{
    return Planner(*this, want).make();
}

} // namespace kvnsim
