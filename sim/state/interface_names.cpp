#include "sim/state/interface_names.h"

#include <algorithm>

#include "sim/config/desired.h"
#include "sim/config/names.h"

namespace kvnsim {

Spellings interface_names(const Snapshot &snapshot)
{
    Spellings names;
    const auto collect = [&](const auto &...tables) {
        const auto add = [&](const auto &row) { names.add(row.name); };
        (std::for_each(tables.begin(), tables.end(), add), ...);
    };
    collect(snapshot.host, snapshot.wanted_interfaces, snapshot.wanted_vlans);
    for (const WantedPort &port : snapshot.wanted_ports)
        names.add(port.name, port.alias);
    for (const Finding &row : snapshot.reader) {
        for (const std::string_view name : interfaces_of(row.location)) {
            if (row.severity != Finding::Severity::note)
                names.add(std::string(name));
        }
    }
    return names;
}

std::vector<std::string_view> interfaces_of(const SourceLocation &row)
{
    std::vector<std::string_view> names;
    std::string_view rest = row.key();
    while (!rest.empty()) {
        const size_t bar = std::min(rest.find('|'), rest.size());
        if (parse_interface_name(rest.substr(0, bar)))
            names.push_back(rest.substr(0, bar));
        rest.remove_prefix(std::min(bar + 1, rest.size()));
    }
    return names;
}

Spellings interface_names(const Desired &desired)
{
    Spellings names;
    const auto collect = [&](const auto &...tables) {
        const auto add = [&](const auto &object) { names.add(object.first); };
        (std::for_each(tables.begin(), tables.end(), add), ...);
    };
    collect(desired.port_channels, desired.sub_interfaces, desired.svis);
    for (const auto &[name, port] : desired.ports)
        names.add(name, port.alias);
    return names;
}

} // namespace kvnsim
