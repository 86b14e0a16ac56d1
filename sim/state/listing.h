#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "sim/journal/request.h"
#include "sim/types/columns.h"
#include "sim/types/json.h"

/* Tables as aligned text and as JSON. */
namespace kvnsim {

/* Nothing ("-", null), a flag ("yes" or "-"), a number, a text, or a list of texts or numbers. */
using Cell = std::variant<std::monostate, bool, int64_t, std::string, std::vector<std::string>,
                          std::vector<int64_t>>;

/* An empty text is nothing. */
inline Cell cell(std::string_view text)
{
    return text.empty() ? Cell() : Cell(std::string(text));
}
inline Cell cell(const char *text) /* which would become a flag */
{
    return cell(std::string_view(text));
}
inline Cell cell(bool flag)
{
    return flag;
}
template <class T> std::enable_if_t<std::is_integral_v<T>, Cell> cell(T number)
{
    return static_cast<int64_t>(number);
}
template <class T> std::enable_if_t<std::is_enum_v<T>, Cell> cell(T named)
{
    return cell(std::string_view(to_text(named)));
}
/* Only of these types themselves: each text converts to them. */
template <class T>
std::enable_if_t<std::is_same_v<T, Cause> || std::is_same_v<T, RequestArguments>, Cell>
cell(const T &in_parts)
{
    return cell(std::string_view(in_parts.to_text()));
}
/* An empty one is nothing. */
template <class T> Cell cell(const std::optional<T> &value)
{
    return value ? cell(*value) : Cell();
}
inline Cell cell(const std::vector<std::string> &texts)
{
    return texts;
}
Cell cell(const std::vector<RequestRef> &requests); /* their numbers */
/* An identifier, nothing for "none". */
Cell id_cell(uint32_t id);
Cell id_cell(const std::optional<uint32_t> &id);

/* How soon a column is left out of a text that is too wide: the highest rank first, of equal ones
 * the last. */
enum Rank : uint8_t {
    rank_name = 0, /* what the row is about; never left out */
    rank_state,
    rank_value,
    rank_detail,
    rank_origin /* long texts */
};

struct Column {
    std::string key;   /* of the JSON object: "lid_id" */
    std::string title; /* of the text: "LID" */
    Rank rank = rank_value;
};

struct Listing {
    std::string title;                        /* "Interfaces" */
    std::vector<Column> columns = {};         /* keys are unique */
    std::vector<std::vector<Cell>> rows = {}; /* as many cells as columns */
};

/* The title of a column whose key is the name of a row's column. */
struct Heading {
    Heading(const char *of, Rank ranked = rank_value) : title(of), rank(ranked) {}
    const char *title;
    Rank rank;
};

/* A listing of rows of one type; the column names are the keys. */
template <class Row>
Listing listing_of(std::string title, const std::vector<Row> &rows,
                   std::initializer_list<Heading> headings)
{
    Listing listing{std::move(title)};
    std::string_view names = Row::column_names;
    for (const Heading &heading : headings)
        listing.columns.push_back({std::string(next_name(names)), heading.title, heading.rank});
    for (const Row &row : rows)
        listing.rows.push_back(std::apply(
            [](const auto &...value) { return std::vector<Cell>{cell(value)...}; }, row.columns()));
    return listing;
}

/* What a text is written for. */
struct Page {
    size_t width = SIZE_MAX; /* in characters */
    std::string more = {};   /* how to see what does not fit: "--wide shows all" */
};

/* Heading and aligned rows, numbers to the right; "none" without rows. Columns that no row fills
 * are left out, and those that do not fit, which a last line names. Ends with a newline. */
std::string to_text(const Listing &listing, const Page &page = {});
/* A line for each column of the one row. */
std::string to_vertical_text(const Listing &listing);
/* The cell's texts: those of a list, or the one; none of an empty cell. */
std::vector<std::string> texts_of(const Cell &cell);
/* An array with an object for each row. */
void write(Json &json, const Listing &listing);
void write(Json &json, const Cell &cell);

} // namespace kvnsim
