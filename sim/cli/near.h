#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kvnsim {

/* What a misspelt name may have meant: " (did you mean Ethernet0, Ethernet10?)", or an empty text
 * when none of the names comes near. */
std::string did_you_mean(std::string_view name, const std::vector<std::string> &names);

} // namespace kvnsim
