#pragma once

#include <optional>
#include <set>
#include <string>

namespace kvnsim {

/* A second reading of which services a configuration wants, from the file's own tables: "Ethernet0
 * by Ethernet0 IPv4 to 00:00:5e:00:53:01 in default". Knows the nested form of files without
 * errors; empty for a file that it cannot read. */
std::optional<std::set<std::string>> configured_services(const std::string &file);

} // namespace kvnsim
