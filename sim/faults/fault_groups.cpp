#include "sim/faults/fault_groups.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

#include <fmt/format.h>

namespace kvnsim {
namespace {

using Texts = std::vector<std::string>;

Texts in_order(const std::set<std::string> &texts)
{
    return {texts.begin(), texts.end()};
}

std::set<std::string> kinds_of(const std::vector<FaultFinding> &findings)
{
    std::set<std::string> kinds;
    for (const FaultFinding &finding : findings)
        kinds.insert(finding.kind + ' ' + finding.code);
    return kinds;
}

std::set<std::string> remains_of(const FaultRow &row)
{
    std::set<std::string> all = kinds_of(row.left_at_end);
    for (const FaultRemains &remains : row.asic_at_end)
        all.insert(remains.table);
    return all;
}

std::set<std::string> interfaces_of(const std::vector<FaultService> &services)
{
    std::set<std::string> names;
    for (const FaultService &service : services)
        names.insert(service.interface);
    return names;
}

template <class Of> Texts of_places(const FaultRow &row, const Of &of)
{
    Texts texts;
    std::transform(row.places.begin(), row.places.end(), std::back_inserter(texts), of);
    return texts;
}

std::string call_of(const FaultPlace &place)
{
    return place.call + (place.attribute.empty() ? "" : ' ' + place.attribute);
}

std::string result_of(const FaultPlace &place)
{
    return place.result ? std::to_string(*place.result) : "-";
}

std::string fault_of(const FaultRow &row)
{
    std::string words;
    for (const FaultPlace &place : row.places)
        words += (words.empty() ? "--fail " : " --fail ") + place.fault;
    return words;
}

std::string request_of(const FaultPlace &place)
{
    return fmt::format("{}({})", place.entry, place.requested);
}

/* A group of one. */
FaultGroup group_of(const FaultRow &row)
{
    FaultGroup group;
    group.call = of_places(row, call_of);
    group.within = of_places(row, [](const FaultPlace &place) { return place.entry; });
    group.returned = of_places(row, result_of);
    group.heals = healing_of(row);
    group.places = 1;
    group.services = row.services.size();
    group.interfaces = interfaces_of(row.services).size();
    group.left = in_order(kinds_of(row.left));
    group.left_again = in_order(kinds_of(row.left_again));
    group.services_again = row.services_again.size();
    group.left_at_end = in_order(remains_of(row));
    group.example = fault_of(row);
    return group;
}

/* Not all where there are many: a line is to stay readable. */
Texts some_of(const std::set<std::string> &names)
{
    constexpr size_t most = 4;
    Texts texts = in_order(names);
    if (texts.size() > most) {
        const size_t more = texts.size() - most + 1;
        texts.resize(most - 1);
        texts.push_back(fmt::format("{} more", more));
    }
    return texts;
}

/* A failure on one line. */
struct FaultLine {
    std::string fault;
    Texts request, returned;
    Healing heals = Healing::yes;
    Texts cut_off, left, left_again, still_cut_off, left_at_end;
    std::string death;
    COLUMNS(fault, request, returned, heals, cut_off, left, left_again, still_cut_off, left_at_end,
            death)
};

} // namespace

Healing healing_of(const FaultRow &row)
{
    return !row.death.empty() ? Healing::died : row.heals ? Healing::yes : Healing::no;
}

std::vector<FaultGroup> groups_of(const std::vector<FaultRow> &rows)
{
    const auto key = [](const FaultGroup &group) {
        return std::tie(group.call, group.within, group.returned, group.heals, group.left,
                        group.left_again, group.left_at_end);
    };
    const auto before = [&](const FaultGroup &a, const FaultGroup &b) { return key(a) < key(b); };
    std::set<FaultGroup, decltype(before)> known(before);
    for (const FaultRow &row : rows) {
        const FaultGroup one = group_of(row);
        auto found = known.find(one);
        if (found == known.end()) {
            known.insert(one);
            continue;
        }
        auto node = known.extract(found);
        FaultGroup &group = node.value();
        group.places += one.places;
        group.services += one.services;
        group.interfaces = std::max(group.interfaces, one.interfaces);
        group.services_again += one.services_again;
        known.insert(std::move(node));
    }
    std::vector<FaultGroup> groups(known.begin(), known.end());
    std::stable_sort(groups.begin(), groups.end(), [](const FaultGroup &a, const FaultGroup &b) {
        return std::tuple(a.heals, b.services, b.places) <
               std::tuple(b.heals, a.services, a.places);
    });
    return groups;
}

Listing show(const std::vector<FaultGroup> &groups)
{
    return listing_of("Failures by call and request", groups,
                      {{"Call", rank_name},
                       {"Within", rank_name},
                       {"Returned", rank_detail},
                       {"Heals", rank_name},
                       {"Places", rank_name},
                       {"Services lost", rank_name},
                       {"Interfaces", rank_value},
                       {"Left behind", rank_state},
                       {"Left when applied again", rank_value},
                       {"Still lost", rank_value},
                       {"Left after tear-down", rank_detail},
                       {"Example", rank_origin}});
}

Listing show(const std::vector<FaultRow> &rows)
{
    std::vector<FaultLine> lines;
    for (const FaultRow &row : rows)
        lines.push_back({fault_of(row), of_places(row, request_of), of_places(row, result_of),
                         healing_of(row), some_of(interfaces_of(row.services)),
                         in_order(kinds_of(row.left)), in_order(kinds_of(row.left_again)),
                         some_of(interfaces_of(row.services_again)), in_order(remains_of(row)),
                         row.death});
    return listing_of("Failures", lines,
                      {{"Failure", rank_name},
                       {"Request", rank_detail},
                       {"Returned", rank_detail},
                       {"Heals", rank_name},
                       {"Cut off", rank_name},
                       {"Left behind", rank_state},
                       {"Left when applied again", rank_value},
                       {"Still cut off", rank_value},
                       {"Left after tear-down", rank_detail},
                       {"Died", rank_value}});
}

FaultSummary summary_of(const std::vector<FaultRow> &rows)
{
    FaultSummary summary;
    summary.tried = rows.size();
    for (const FaultRow &row : rows) {
        const Healing healing = healing_of(row);
        summary.heal += healing == Healing::yes;
        summary.die += healing == Healing::died;
    }
    summary.do_not_heal = summary.tried - summary.heal;
    return summary;
}

} // namespace kvnsim
