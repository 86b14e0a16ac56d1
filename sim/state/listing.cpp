#include "sim/state/listing.h"

#include <algorithm>
#include <sstream>

#include <fmt/format.h>
#include <glib.h>

#include "sim/sdk/asic.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

struct CellText {
    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(bool flag) const { return flag ? "yes" : "-"; }
    std::string operator()(int64_t value) const { return fmt::to_string(value); }
    std::string operator()(const std::string &value) const { return visible(value); }
    template <class T> std::string operator()(const std::vector<T> &values) const
    {
        return values.empty() ? "-" : visible(fmt::format("{}", fmt::join(values, ",")));
    }
};

/* In columns of a terminal: a character may take several bytes in UTF-8, two places or none. */
size_t width(std::string_view text)
{
    size_t places = 0;
    while (!text.empty()) {
        const gunichar character =
            g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
        const bool valid = character < 0x110000;
        if (!valid || g_unichar_iszerowidth(character) == FALSE)
            places += valid && g_unichar_iswide(character) != FALSE ? 2 : 1;
        const auto bytes = valid ? g_utf8_skip[static_cast<unsigned char>(text[0])] : 1;
        text.remove_prefix(static_cast<size_t>(bytes));
    }
    return places;
}

/* The words in lines of at most this width, each indented. */
std::string wrapped(const std::string &words, size_t most)
{
    constexpr std::string_view indent = "  ";
    std::string text, line;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        if (!line.empty() && width(line) + 1 + width(word) > most) {
            text += line + '\n';
            line.clear();
        }
        line += (line.empty() ? std::string(indent) : " ") + word;
    }
    return text + line + '\n';
}

constexpr size_t gap = 2; /* before each column */

/* A listing's cells as texts, and what is known of its columns. */
struct Sheet {
    std::vector<std::vector<std::string>> lines; /* the first one has the titles */
    std::vector<size_t> widths;
    std::vector<bool> numbers, shown;
};

Sheet sheet_of(const Listing &listing)
{
    const size_t columns = listing.columns.size();
    Sheet sheet{std::vector<std::vector<std::string>>(listing.rows.size() + 1),
                std::vector<size_t>(columns), std::vector<bool>(columns, true),
                std::vector<bool>(columns, false)};
    for (size_t i = 0; i < columns; ++i) {
        sheet.lines[0].push_back(listing.columns[i].title);
        sheet.widths[i] = width(listing.columns[i].title);
    }
    for (size_t r = 0; r < listing.rows.size(); ++r) {
        for (size_t i = 0; i < columns; ++i) {
            const Cell &cell = listing.rows[r][i];
            const std::string &text = sheet.lines[r + 1].emplace_back(std::visit(CellText(), cell));
            sheet.widths[i] = std::max(sheet.widths[i], width(text));
            const bool nothing = text == "-" || text.empty();
            sheet.shown[i] = sheet.shown[i] || !nothing;
            sheet.numbers[i] =
                sheet.numbers[i] && (nothing || std::holds_alternative<int64_t>(cell));
        }
    }
    return sheet;
}

/* Hides columns until the rest fits; the titles of those hidden, in that order. */
std::vector<std::string> fit(Sheet &sheet, const std::vector<Column> &columns, size_t most)
{
    std::vector<std::string> left_out;
    size_t total = 0;
    for (size_t i = 0; i < columns.size(); ++i)
        total += sheet.shown[i] ? gap + sheet.widths[i] : 0;
    while (total > most) {
        size_t victim = columns.size();
        for (size_t i = 0; i < columns.size(); ++i) {
            if (sheet.shown[i] && columns[i].rank != rank_name &&
                (victim == columns.size() || columns[i].rank >= columns[victim].rank))
                victim = i;
        }
        if (victim == columns.size())
            break;
        sheet.shown[victim] = false;
        total -= gap + sheet.widths[victim];
        left_out.push_back(columns[victim].title);
    }
    return left_out;
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

std::string to_text(const Listing &listing, const Page &page)
{
    std::string text = visible(listing.title) + "\n";
    if (listing.rows.empty())
        return text + "  none\n";
    Sheet sheet = sheet_of(listing);
    const std::vector<std::string> left_out = fit(sheet, listing.columns, page.width);
    for (const auto &line : sheet.lines) {
        std::string out;
        for (size_t i = 0; i < line.size(); ++i) {
            if (!sheet.shown[i])
                continue;
            const std::string padding(sheet.widths[i] - width(line[i]), ' ');
            out.append(gap, ' ');
            out += sheet.numbers[i] ? padding + line[i] : line[i] + padding;
        }
        out.erase(out.find_last_not_of(' ') + 1);
        text += out + '\n';
    }
    if (!left_out.empty())
        text += wrapped(fmt::format("Left out: {}. {}.", fmt::join(left_out, ", "), page.more),
                        page.width);
    return text;
}

std::string to_vertical_text(const Listing &listing)
{
    size_t widest = 0;
    for (const Column &column : listing.columns)
        widest = std::max(widest, width(column.title));
    std::string text = visible(listing.title) + "\n";
    for (size_t i = 0; i < listing.columns.size(); ++i) {
        const std::string &title = listing.columns[i].title;
        text += fmt::format("  {}{:{}}  {}\n", title, "", widest - width(title),
                            std::visit(CellText(), listing.rows.front()[i]));
    }
    return text;
}

std::vector<std::string> texts_of(const Cell &cell)
{
    if (const auto *list = std::get_if<std::vector<std::string>>(&cell))
        return *list;
    if (std::holds_alternative<std::string>(cell) || std::holds_alternative<int64_t>(cell))
        return {std::visit(CellText(), cell)};
    return {};
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
