#include "sim/state/interface_names.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "sim/config/desired.h"
#include "sim/config/names.h"
#include "sim/state/snapshot_database.h"

namespace kvnsim {
namespace {

void add_those_of(const Finding &row, Spellings &names)
{
    if (row.severity == Finding::Severity::note)
        return;
    for (const std::string_view name : interfaces_of(row.location))
        names.add(std::string(name));
}

template <class Row> void add_saved(Database &db, Spellings &names, const char *alias = "''")
{
    db.require_plain(Row::table);
    Statement rows(db, fmt::format("SELECT name, {} FROM \"{}\"", alias, Row::table), Row::table);
    std::string name, alias_of_name;
    while (rows.step()) {
        rows.get(name);
        rows.get(alias_of_name);
        names.add(name, alias_of_name);
    }
}

} // namespace

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
    for (const Finding &row : snapshot.reader)
        add_those_of(row, names);
    return names;
}

Spellings saved_interface_names(const std::string &path)
{
    const std::unique_ptr<Database> db = open_snapshot(path);
    Spellings names;
    add_saved<HostRow>(*db, names);
    add_saved<WantedInterface>(*db, names);
    add_saved<WantedVlan>(*db, names);
    add_saved<WantedPort>(*db, names, "alias");
    for (const Finding &row : get_rows<Finding>(*db))
        add_those_of(row, names);
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
