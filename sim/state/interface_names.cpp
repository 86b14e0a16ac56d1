#include "sim/state/interface_names.h"

#include <algorithm>

#include "sim/config/names.h"

namespace kvnsim {

Names interface_names(const Snapshot &snapshot)
{
    Names names;
    const auto collect = [&](const auto &...tables) {
        const auto add = [&](const auto &row) { names.insert(row.name); };
        (std::for_each(tables.begin(), tables.end(), add), ...);
    };
    collect(snapshot.host, snapshot.wanted_ports, snapshot.wanted_interfaces,
            snapshot.wanted_vlans);
    for (const Finding &row : snapshot.reader) {
        for (const std::string_view name : interfaces_of(row.location)) {
            if (row.severity != Finding::Severity::note)
                names.emplace(name);
        }
    }
    return names;
}

std::vector<std::string_view> interfaces_of(const SourceLocation &row)
{
    std::vector<std::string_view> names;
    std::string_view rest = row.key;
    while (!rest.empty()) {
        const size_t bar = std::min(rest.find('|'), rest.size());
        if (parse_interface_name(rest.substr(0, bar)))
            names.push_back(rest.substr(0, bar));
        rest.remove_prefix(std::min(bar + 1, rest.size()));
    }
    return names;
}

Names interface_names(const Desired &desired)
{
    Names names;
    const auto collect = [&](const auto &...tables) {
        const auto add = [&](const auto &object) { names.insert(object.first); };
        (std::for_each(tables.begin(), tables.end(), add), ...);
    };
    collect(desired.ports, desired.port_channels, desired.sub_interfaces, desired.svis);
    return names;
}

} // namespace kvnsim
