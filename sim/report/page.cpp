#include "sim/report/page.h"

#include <iterator>

namespace kvnsim {
namespace {

constexpr char data_mark[] = "/*DATA*/";

} // namespace

std::string safe_in_page(std::string_view json)
{
    std::string safe;
    safe.reserve(json.size());
    for (const char character : json)
        safe += character == '<' ? std::string_view("\\u003c") : std::string_view(&character, 1);
    return safe;
}

std::string_view page_beginning()
{
    const std::string_view page = page_text;
    return page.substr(0, page.find("<meta name=\"viewport\""));
}

std::string filled(const char *page, std::string_view json)
{
    std::string text = page;
    return text.replace(text.find(data_mark), std::size(data_mark) - 1, safe_in_page(json));
}

void write_table(Json &json, std::string_view name, const Listing &listing)
{
    json.begin_object().field("name", name).field("title", listing.title);
    json.key("columns").begin_array();
    for (const Column &column : listing.columns)
        json.value(std::vector{column.key, column.title});
    json.end_array().key("rows").begin_array();
    for (const auto &row : listing.rows) {
        json.begin_array();
        for (const Cell &cell : row)
            write(json, cell);
        json.end_array();
    }
    json.end_array().end_object();
}

} // namespace kvnsim
