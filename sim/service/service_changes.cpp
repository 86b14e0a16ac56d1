/* Services are matched by what identifies them, those to the router MAC whichever it is. One that
 * is given before and after is interrupted where a change takes down what it needs in between: its
 * interface, the parent, or the port by which its frames arrive; and where the router MAC changes.
 */
#include "sim/service/service_changes.h"

#include <algorithm>
#include <map>
#include <tuple>

#include <fmt/format.h>

#include "sim/types/text.h"

namespace kvnsim {
namespace {

using Key = std::tuple<std::string, std::string, std::string, std::string>;
Key key_of(const Service &service)
{
    return {service.interface, service.port, service.family,
            service.to_router_mac ? std::string() : service.to};
}

/* Whether the change takes all traffic of the interface down for a while. */
bool takes_down(ChangeKind kind)
{
    switch (kind) {
    case ChangeKind::deleted:
    case ChangeKind::recreated:
    case ChangeKind::leaves:
    case ChangeKind::moves:
    case ChangeKind::admin:
        return true;
    default:
        return false;
    }
}

std::string difference(const Service &before, const Service &after)
{
    std::string words;
    if (before.vrf != after.vrf)
        words = fmt::format("VRF {} -> {}", before.vrf, after.vrf);
    if (before.mtu != after.mtu)
        words += fmt::format("{}MTU {} -> {}", words.empty() ? "" : ", ", before.mtu, after.mtu);
    return words;
}

} // namespace

std::vector<ServiceChange> service_changes(const std::vector<Service> &before,
                                           const std::vector<Service> &after,
                                           const std::vector<Change> &changes)
{
    std::map<std::string_view, const Change *> interrupting;
    for (const Change &change : changes) {
        if (change.interrupts && takes_down(change.change))
            interrupting.emplace(change.interface, &change);
    }
    std::vector<ServiceChange> all;
    const auto tell = [&](const Service &of, ServiceChangeKind kind, std::string words) {
        all.push_back({of.interface, of.port, of.family, of.to, kind, std::move(words)});
    };
    const auto interruption = [&](const Service &service) -> const Change * {
        for (const std::string &name :
             {service.interface, service.interface.substr(0, service.interface.find('.')),
              service.port}) {
            if (const auto at = interrupting.find(name); at != interrupting.end())
                return at->second;
        }
        return nullptr;
    };

    std::map<Key, const Service *> known;
    for (const Service &service : before)
        known.emplace(key_of(service), &service);
    for (const Service &service : after) {
        const auto at = known.find(key_of(service));
        const Service *was = at != known.end() ? at->second : nullptr;
        if (at != known.end())
            known.erase(at);
        const bool had = was != nullptr && was->state == ServiceState::given;
        const bool has = service.state == ServiceState::given;
        if (had && !has) {
            tell(service, ServiceChangeKind::removed, service.reason);
        } else if (!had && has) {
            tell(service, ServiceChangeKind::added, "");
        } else if (had && has) {
            const std::string words = difference(*was, service);
            if (was->to != service.to)
                tell(service, ServiceChangeKind::interrupted,
                     fmt::format("router MAC {} -> {}{}{}", was->to, service.to,
                                 words.empty() ? "" : "; ", words));
            else if (const Change *change = interruption(service))
                tell(service, ServiceChangeKind::interrupted,
                     fmt::format("{} {}{}{}", change->interface, change->words,
                                 words.empty() ? "" : "; ", words));
            else if (!words.empty())
                tell(service, ServiceChangeKind::changed, words);
        }
    }
    for (const auto &[key, service] : known) {
        if (service->state == ServiceState::given)
            tell(*service, ServiceChangeKind::removed, "no longer wanted");
    }
    std::stable_sort(all.begin(), all.end(), [](const ServiceChange &a, const ServiceChange &b) {
        return a.interface != b.interface ? NaturalOrder()(a.interface, b.interface)
                                          : NaturalOrder()(a.port, b.port);
    });
    return all;
}

std::string summary(const std::vector<ServiceChange> &changes)
{
    std::string text;
    for (size_t kind = 0; kind < std::size(service_change_names); ++kind) {
        const auto number =
            std::count_if(changes.begin(), changes.end(), [&](const ServiceChange &change) {
                return change.change == static_cast<ServiceChangeKind>(kind);
            });
        if (number == 0)
            continue;
        if (text.empty())
            text = fmt::format("{} {}", counted(static_cast<uint64_t>(number), "service"),
                               service_change_names[kind]);
        else
            text += fmt::format(", {} {}", number, service_change_names[kind]);
    }
    return text.empty() ? "no service changes" : text;
}

Listing show(const std::vector<ServiceChange> &changes)
{
    return listing_of("Service changes", changes,
                      {{"Interface", rank_name},
                       {"Arrives by", rank_name},
                       {"Family", rank_name},
                       {"To", rank_name},
                       {"Change", rank_state},
                       {"Because", rank_value}});
}

} // namespace kvnsim
