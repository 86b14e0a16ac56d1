#include "sim/state/interface_names.h"

#include <algorithm>

#include "sim/config/names.h"

namespace kvnsim {

Names interface_names(const Snapshot &snapshot)
{
    Names names;
    for (const HostRow &row : snapshot.host)
        names.insert(row.name);
    for (const WantedPort &row : snapshot.wanted_ports)
        names.insert(row.name);
    for (const WantedInterface &row : snapshot.wanted_interfaces)
        names.insert(row.name);
    for (const WantedVlan &row : snapshot.wanted_vlans)
        names.insert(row.name);
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
    const auto collect = [&](const auto &objects) {
        for (const auto &[name, object] : objects)
            names.insert(name);
    };
    collect(desired.ports);
    collect(desired.port_channels);
    collect(desired.sub_interfaces);
    collect(desired.svis);
    return names;
}

} // namespace kvnsim
