#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kvnsim {

/* Natural order of interface names: Ethernet2 before Ethernet10. */
struct NaturalOrder {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
};
template <class T> using ByName = std::map<std::string, T, NaturalOrder>;

} // namespace kvnsim
