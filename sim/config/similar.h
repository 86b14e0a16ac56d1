#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kvnsim {

/* The names of rows, or of rows that pointers refer to. */
template <class Rows> std::vector<std::string> names_of(const Rows &rows)
{
    std::vector<std::string> names;
    for (const auto &row : rows) {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(row)>>)
            names.emplace_back(row->name);
        else
            names.emplace_back(row.name);
    }
    return names;
}

/* Whether one character must be added, removed or changed, ignoring case. */
bool differ_in_one(std::string_view a, std::string_view b);

/* Names similar to a misspelt one, the nearest first; at most three. */
std::vector<std::string> similar_names(std::string_view name,
                                       const std::vector<std::string> &names);

/* Suggestions for a misspelt name: " (did you mean Ethernet0, Ethernet10?)"; empty when no name is
 * similar. */
std::string did_you_mean(std::string_view name, const std::vector<std::string> &names);

} // namespace kvnsim
