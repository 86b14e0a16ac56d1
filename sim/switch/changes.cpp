/* A step belongs to a kind of change, and so does a setting; the kind alone, with the direction of
 * the change, decides whether traffic is interrupted. Steps that undo each other within one plan
 * are one change: deleted and created is recreated, a member that leaves and joins moves. */
#include "sim/switch/changes.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace kvnsim {
namespace {

/* When a change interrupts. */
enum class Interrupts : uint8_t {
    never,
    always,
    downwards /* when the value falls, is turned off or replaced, or was unknown */
};

struct KindRow {
    const char *name;
    Interrupts interrupts;
    const char *reason; /* for an interruption; or, when there never is one, against it */
    const char *otherwise = "";
};

/* In the order of ChangeKind. */
constexpr KindRow kinds[] = {
    {"created", Interrupts::never, "it carried nothing before"},
    {"deleted", Interrupts::always, "its SDK interface is given up"},
    {"recreated", Interrupts::always, "its SDK interface is destroyed and created again"},
    {"joins", Interrupts::never, "it carried nothing of its own"},
    {"leaves", Interrupts::always, "it carries nothing of the port-channel any more"},
    {"moves", Interrupts::always, "it carries nothing between leaving and joining"},
    {"member_joins", Interrupts::never, "the other members carry on"},
    {"member_leaves", Interrupts::always, "flows through that member are lost until moved"},
    {"mtu", Interrupts::downwards, "longer packets are dropped", "all packets still pass"},
    {"ipv4", Interrupts::downwards, "IPv4 is no longer routed", "nothing else changes"},
    {"ipv6", Interrupts::downwards, "IPv6 is no longer routed", "nothing else changes"},
    {"vrf", Interrupts::always, "packets are routed in another VRF"},
    {"nat_zone", Interrupts::never, "it is published, not programmed"},
    {"admin", Interrupts::downwards, "it is shut down", "it was shut down"},
    {"virtual_mac_added", Interrupts::never, "packets to other MACs are routed as before"},
    {"virtual_mac_removed", Interrupts::always, "packets to this MAC are no longer routed"},
    {"router_mac", Interrupts::downwards, "packets to the old MAC are no longer routed",
     "there was none"},
    {"lid", Interrupts::never, "it had none"},
};
constexpr const KindRow &row_of(ChangeKind kind)
{
    return kinds[static_cast<size_t>(kind)];
}

/* The change that a step is part of, in the order of StepKind; a change of settings is looked at
 * setting by setting. */
constexpr std::optional<ChangeKind> change_of[] = {ChangeKind::virtual_mac_removed,
                                                   ChangeKind::deleted, /* sub-interface */
                                                   ChangeKind::deleted, /* SVI */
                                                   ChangeKind::leaves,
                                                   ChangeKind::deleted, /* routed port-channel */
                                                   ChangeKind::deleted, /* port-channel */
                                                   ChangeKind::deleted, /* routed port */
                                                   ChangeKind::deleted, /* port */
                                                   ChangeKind::router_mac,
                                                   ChangeKind::router_mac,
                                                   ChangeKind::created, /* port */
                                                   ChangeKind::created, /* routed port */
                                                   ChangeKind::created, /* port-channel */
                                                   ChangeKind::created, /* routed port-channel */
                                                   ChangeKind::joins,
                                                   ChangeKind::created, /* SVI */
                                                   ChangeKind::created, /* sub-interface */
                                                   std::nullopt,
                                                   ChangeKind::virtual_mac_added};

/* A setting's kind of change, in the order of Setting. */
constexpr ChangeKind change_of_setting[] = {ChangeKind::mtu, ChangeKind::ipv4, ChangeKind::ipv6,
                                            ChangeKind::vrf, ChangeKind::nat_zone};

class Collector {
public:
    Collector(const Switch &of, const Desired &want) : of_(of), want_(want) {}

    std::vector<Change> collect(const Plan &plan)
    {
        for (const Step &step : plan.steps)
            take(step);
        lives();
        port_channels();
        memberships();
        for (const Step *step : settings_) {
            const auto has = of_.settings().find(step->name);
            if (has == of_.settings().end())
                continue;
            for (const SettingChange &each : difference(has->second, step->settings))
                add(step->name, change_of_setting[static_cast<size_t>(each.setting)], each.words,
                    each.downwards);
        }
        admin_of(of_.have().ports, want_.ports);
        admin_of(of_.have().port_channels, want_.port_channels);
        macs();
        std::vector<Change> all;
        for (auto &[interface, changes] : changes_)
            std::move(changes.begin(), changes.end(), std::back_inserter(all));
        return all;
    }

private:
    /* An interface that comes, goes, or both: its last steps of either kind. */
    struct Life {
        const Step *deleted = nullptr, *created = nullptr;
    };
    /* A port's port-channels before and after. */
    struct Membership {
        std::string before, after;
    };

    void add(const std::string &interface, ChangeKind kind, std::string words,
             bool downwards = false)
    {
        const KindRow &row = row_of(kind);
        const bool interrupts = row.interrupts == Interrupts::always ||
                                (row.interrupts == Interrupts::downwards && downwards);
        const bool falls_otherwise = row.interrupts == Interrupts::downwards && !downwards;
        changes_[interface].push_back({interface, kind, std::move(words), interrupts,
                                       falls_otherwise ? row.otherwise : row.reason});
    }

    void take(const Step &step)
    {
        const std::optional<ChangeKind> kind = change_of[static_cast<size_t>(step.kind)];
        if (!kind) {
            settings_.push_back(&step);
        } else if (*kind == ChangeKind::deleted) {
            lives_[step.name].deleted = &step;
        } else if (*kind == ChangeKind::created) {
            lives_[step.name].created = &step;
        } else if (*kind == ChangeKind::leaves) {
            memberships_[step.name].before = step.other;
        } else if (*kind == ChangeKind::joins) {
            memberships_[step.name].after = step.other;
        } else {
            macs_.push_back(&step);
        }
    }

    static bool is_routing(const Step &step) { return step.settings.mtu.has_value(); }

    /* "created: MTU 9100, IPv4" */
    static std::string creation_words(const char *start, const Step &step)
    {
        return is_routing(step) ? std::string(start) + ": " + in_words(step.settings) : start;
    }

    void lives()
    {
        const Desired &have = of_.have();
        for (const auto &[name, life] : lives_) {
            const bool was_there = have.ports.count(name) + have.port_channels.count(name) != 0;
            const bool stays = want_.ports.count(name) + want_.port_channels.count(name) != 0;
            if (life.created != nullptr && life.created->kind == StepKind::add_port && was_there)
                add(name, ChangeKind::lid, "gets its LID entry");
            else if (life.deleted != nullptr && life.created != nullptr)
                add(name, ChangeKind::recreated, creation_words("recreated", *life.created));
            else if (life.created != nullptr)
                add(name, ChangeKind::created,
                    creation_words(was_there ? "routed" : "created", *life.created));
            else
                add(name, ChangeKind::deleted, stays ? "no longer routed" : "deleted");
        }
    }

    /* A routed port-channel is in the ASIC from its first member to its last. */
    void port_channels()
    {
        for (const auto &[name, has] : of_.have().port_channels) {
            if (!has.l3 || lives_.count(name) != 0)
                continue;
            size_t members = 0, leaving = 0;
            for (const auto &[port, location] : has.members) {
                if (of_.declined_members().count({name, port}) != 0)
                    continue;
                ++members;
                const auto membership = memberships_.find(port);
                leaving += membership != memberships_.end() && membership->second.before == name;
            }
            if (members == 0 || leaving != members)
                continue;
            const bool returns = std::any_of(
                memberships_.begin(), memberships_.end(),
                [&, &channel = name](const auto &one) { return one.second.after == channel; });
            emptied_[name] = returns;
            if (returns)
                add(name, ChangeKind::recreated, "recreated with other members");
            else
                add(name, ChangeKind::deleted, "loses its last member");
        }
    }

    /* Told as a whole, without its members. */
    bool comes_or_goes(const std::string &name) const
    {
        return lives_.count(name) != 0 || emptied_.count(name) != 0;
    }

    void memberships()
    {
        for (const auto &[port, of] : memberships_) {
            if (of.after.empty())
                add(port, ChangeKind::leaves, "leaves " + of.before);
            else if (of.before.empty())
                add(port, ChangeKind::joins, "joins " + of.after);
            else if (of.before == of.after)
                add(port, ChangeKind::moves, "leaves " + of.before + " and joins it again");
            else
                add(port, ChangeKind::moves, "moves from " + of.before + " to " + of.after);
            if (!of.before.empty() && !comes_or_goes(of.before))
                add(of.before, ChangeKind::member_leaves, "member " + port + " leaves");
            if (!of.after.empty() && !comes_or_goes(of.after))
                add(of.after, ChangeKind::member_joins, "member " + port + " joins");
        }
    }

    template <class Map> void admin_of(const Map &have, const Map &want)
    {
        for (const auto &[name, has] : have) {
            const auto wants = want.find(name);
            if (wants != want.end() && wants->second.admin_up != has.admin_up)
                add(name, ChangeKind::admin, has.admin_up ? "admin up -> down" : "admin down -> up",
                    has.admin_up);
        }
    }

    bool goes_with_interface(const Step &step) const
    {
        const auto life = lives_.find(step.name);
        const auto emptied = emptied_.find(step.name);
        return (life != lives_.end() && life->second.created == nullptr) ||
               (emptied != emptied_.end() && !emptied->second);
    }

    /* A virtual MAC that goes with its interface, or follows it through its recreation, is no
     * change of its own. */
    void macs()
    {
        std::map<std::pair<std::string, Mac>, int> balance;
        for (const Step *step : macs_)
            ++balance[{step->name, step->mac}];
        std::string before, after;
        for (const Step *step : macs_) {
            const ChangeKind kind = *change_of[static_cast<size_t>(step->kind)];
            if (kind == ChangeKind::router_mac)
                (step->kind == StepKind::remove_router_mac ? before : after) = to_text(step->mac);
            else if (!goes_with_interface(*step) && balance[{step->name, step->mac}] == 1)
                add(step->name, kind,
                    "virtual MAC " + to_text(step->mac) +
                        (kind == ChangeKind::virtual_mac_added ? " added" : " removed"));
        }
        const auto or_none = [](const std::string &mac) { return mac.empty() ? "none" : mac; };
        if (before != after)
            add("switch", ChangeKind::router_mac,
                "router MAC " + or_none(before) + " -> " + or_none(after), !before.empty());
    }

    const Switch &of_;
    const Desired &want_;
    ByName<Life> lives_;
    ByName<Membership> memberships_;
    ByName<bool> emptied_; /* port-channels that lose all members; whether others join */
    std::vector<const Step *> settings_, macs_;
    ByName<std::vector<Change>> changes_;
};

/* How many interfaces have such a change; the router MAC is the switch's. */
template <class Which> size_t counted_if(const std::vector<Change> &changes, const Which &which)
{
    std::set<std::string> names;
    for (const Change &change : changes) {
        if (change.change != ChangeKind::router_mac && which(change))
            names.insert(change.interface);
    }
    return names.size();
}

} // namespace

const char *to_text(ChangeKind kind)
{
    return row_of(kind).name;
}

std::vector<Change> changes(const Switch &of, const Desired &want, const Plan &plan)
{
    return Collector(of, want).collect(plan);
}

size_t changed_interfaces(const std::vector<Change> &changes)
{
    return counted_if(changes, [](const Change &) { return true; });
}

size_t interrupted_interfaces(const std::vector<Change> &changes)
{
    return counted_if(changes, [](const Change &change) { return change.interrupts; });
}

} // namespace kvnsim
