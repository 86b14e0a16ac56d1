#pragma once

#include <string_view>
#include <tuple>

/* Row types. Each declares the name of its table and, once, its columns:
 *
 *     struct LidRow {
 *         uint32_t lid_id = 0, ifmap_idx = 0;
 *         Origin made;
 *         TABLE_ROW("asic_lid", lid_id, ifmap_idx, made)
 *     };
 *
 * Showing, saving, loading and comparing rows need nothing else. */
namespace kvnsim {

#define TABLE_ROW(name, ...)                                                                       \
    static constexpr const char *table = name;                                                     \
    COLUMNS(__VA_ARGS__)

/* The same for rows that are shown but not stored. */
#define COLUMNS(...)                                                                               \
    static constexpr std::string_view column_names = #__VA_ARGS__;                                 \
    auto columns()                                                                                 \
    {                                                                                              \
        return std::tie(__VA_ARGS__);                                                              \
    }                                                                                              \
    auto columns() const                                                                           \
    {                                                                                              \
        return std::tie(__VA_ARGS__);                                                              \
    }

/* Take the first name off a list. */
inline std::string_view next_name(std::string_view &names)
{
    const std::string_view name = names.substr(0, names.find(','));
    names.remove_prefix(name.size());
    names.remove_prefix(names.size() < 2 ? names.size() : 2);
    return name;
}

/* Call visit(name, value) for each column in turn. */
template <class Row, class Visit> void each_column(Row &row, Visit &&visit)
{
    std::string_view names = Row::column_names;
    std::apply([&](auto &...value) { (visit(next_name(names), value), ...); }, row.columns());
}

/* Whether all columns are equal. */
template <class Row> bool same_row(const Row &a, const Row &b)
{
    return a.columns() == b.columns();
}

} // namespace kvnsim
