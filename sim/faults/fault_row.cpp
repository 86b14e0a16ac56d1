/* Lines are written and read by the columns of the rows. An empty text is null. */
#include "sim/faults/fault_row.h"

#include <type_traits>

#include "sim/campaign/result_object.h"

namespace kvnsim {
namespace {

template <class T> struct IsRows : std::false_type {};
template <class Row> struct IsRows<std::vector<Row>> : std::true_type {};

template <class Row> void write_row(Json &json, const Row &row)
{
    json.begin_object();
    each_column(row, [&](std::string_view name, const auto &value) {
        using T = std::decay_t<decltype(value)>;
        if constexpr (IsRows<T>::value) {
            json.key(name).begin_array();
            for (const auto &one : value)
                write_row(json, one);
            json.end_array();
        } else if constexpr (std::is_same_v<T, std::string>) {
            json.text_or_null(name, value);
        } else {
            json.field(name, value);
        }
    });
    json.end_object();
}

template <class Row> void read_row(const ResultObject &from, Row &row)
{
    each_column(row, [&](std::string_view column, auto &value) {
        using T = std::decay_t<decltype(value)>;
        const std::string named(column);
        const char *const name = named.c_str();
        if constexpr (IsRows<T>::value) {
            for (const ResultObject &one : from.objects(name))
                read_row(one, value.emplace_back());
        } else if constexpr (std::is_same_v<T, std::string>) {
            value = from.text_or_null(name);
        } else if constexpr (std::is_same_v<T, bool>) {
            value = from.flag(name);
        } else if constexpr (std::is_same_v<T, uint64_t>) {
            value = from.number(name);
        } else {
            value = from.integer_or_null(name);
        }
    });
}

} // namespace

void write(Json &json, const FaultRow &row)
{
    write_row(json, row);
}

std::string to_line(const FaultRow &row)
{
    Json json;
    write_row(json, row);
    return json.text();
}

FaultRow fault_row(const std::string &line, const std::string &place)
{
    const rapid::Document json = parse_line(line, place);
    const ResultObject object(json, place);
    FaultRow row;
    read_row(object, row);
    if (row.places.empty() || row.places.size() > 2)
        object.damaged("\"places\": expected one or two");
    return row;
}

} // namespace kvnsim
