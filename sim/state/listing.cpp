#include "sim/state/listing.h"

#include <algorithm>

#include <fmt/format.h>

#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

struct CellText {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(bool flag) const { return flag ? "yes" : "-"; }
    std::string operator()(int64_t value) const { return fmt::to_string(value); }
    std::string operator()(const std::string &value) const { return value; }
    template <class T> std::string operator()(const std::vector<T> &values) const
    {
        return values.empty() ? "-" : fmt::format("{}", fmt::join(values, ","));
    }
};

/* In characters: one may take several bytes in UTF-8. */
size_t width(std::string_view text)
{
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

} // namespace

Cell cell(const std::vector<RequestRef> &requests)
{
    std::vector<int64_t> numbers;
    for (const RequestRef &request : requests)
        numbers.push_back(static_cast<int64_t>(request->number));
    return numbers;
}

Cell id_cell(uint32_t id)
{
    return id == no_id ? Cell() : cell(id);
}

Cell id_cell(const std::optional<uint32_t> &id)
{
    return id ? id_cell(*id) : Cell();
}

std::string to_text(const Listing &listing)
{
    std::string text = listing.title + '\n';
    if (listing.rows.empty())
        return text + "  none\n";
    const size_t columns = listing.columns.size();
    std::vector<size_t> widths(columns);
    std::vector<bool> numbers(columns, true), empty(columns, true);
    std::vector<std::vector<std::string>> lines(listing.rows.size() + 1);
    for (size_t i = 0; i < columns; ++i) {
        lines[0].push_back(listing.columns[i].title);
        widths[i] = width(lines[0][i]);
    }
    for (size_t r = 0; r < listing.rows.size(); ++r) {
        for (size_t i = 0; i < columns; ++i) {
            const Cell &cell = listing.rows[r][i];
            const std::string &shown = lines[r + 1].emplace_back(std::visit(CellText(), cell));
            widths[i] = std::max(widths[i], width(shown));
            const bool nothing = shown == "-" || shown.empty();
            empty[i] = empty[i] && nothing;
            numbers[i] = numbers[i] && (nothing || std::holds_alternative<int64_t>(cell));
        }
    }
    for (const auto &line : lines) {
        std::string out;
        for (size_t i = 0; i < columns; ++i) {
            if (empty[i])
                continue; /* no row has a value */
            const std::string padding(widths[i] - width(line[i]), ' ');
            out += "  ";
            out += numbers[i] ? padding + line[i] : line[i] + padding;
        }
        out.erase(out.find_last_not_of(' ') + 1);
        text += out + '\n';
    }
    return text;
}

void write(Json &json, const Cell &cell)
{
    std::visit(
        [&](const auto &value) {
            if constexpr (std::is_same_v<std::decay_t<decltype(value)>, std::monostate>)
                json.null();
            else
                json.value(value);
        },
        cell);
}

void write(Json &json, const Listing &listing)
{
    json.begin_array();
    for (const auto &row : listing.rows) {
        json.begin_object();
        for (size_t i = 0; i < listing.columns.size(); ++i)
            write(json.key(listing.columns[i].key), row[i]);
        json.end_object();
    }
    json.end_array();
}

} // namespace kvnsim
