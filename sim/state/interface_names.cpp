#include "sim/state/interface_names.h"

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
