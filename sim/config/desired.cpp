#include "sim/config/desired.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <tuple>
#include <utility>

#include "sim/config/names.h"

namespace kvnsim {

namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/* Takes the digits at the start of text, without leading zeros. */
std::string_view take_digits(std::string_view &text)
{
    size_t zeros = 0;
    while (zeros < text.size() && text[zeros] == '0')
        ++zeros;
    size_t end = zeros;
    while (end < text.size() && is_digit(text[end]))
        ++end;
    const std::string_view digits = text.substr(zeros, end - zeros);
    text.remove_prefix(end);
    return digits;
}

/* Below, equal or above zero as a sorts before, with or after b. */
int compare_parts(std::string_view a, std::string_view b)
{
    while (!a.empty() && !b.empty()) {
        if (is_digit(a[0]) && is_digit(b[0])) {
            const std::string_view x = take_digits(a), y = take_digits(b);
            if (x.size() != y.size())
                return x.size() < y.size() ? -1 : 1;
            if (const int order = x.compare(y))
                return order;
        } else {
            if (a[0] != b[0])
                return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]) ? -1 : 1;
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return static_cast<int>(!a.empty()) - static_cast<int>(!b.empty());
}

/* How many characters a and b begin with alike; both have at least that many. */
size_t common_start(const char *a, const char *b, size_t most)
{
    size_t same = 0;
    for (uint64_t x, y; same + sizeof x <= most; same += sizeof x) {
        std::memcpy(&x, a + same, sizeof x);
        std::memcpy(&y, b + same, sizeof y);
        if (x != y)
            break;
    }
    while (same < most && a[same] == b[same])
        ++same;
    return same;
}

size_t digits_at(std::string_view text, size_t position)
{
    size_t end = position;
    while (end < text.size() && is_digit(text[end]))
        ++end;
    return end - position;
}

/* The same for whole texts. Most differ in a number that begins alike and not with zeros: then the
 * number of digits that follow decides, or else the first of them. */
int compare_naturally(std::string_view a, std::string_view b)
{
    const size_t shorter = std::min(a.size(), b.size());
    const size_t same = common_start(a.data(), b.data(), shorter);
    if (same == shorter)
        return static_cast<int>(a.size() > same) - static_cast<int>(b.size() > same);
    size_t number = same;
    while (number > 0 && is_digit(a[number - 1]))
        --number;
    const bool is_of_numbers =
        is_digit(a[number]) && is_digit(b[number]) && a[number] != '0' && b[number] != '0';
    if (!is_of_numbers)
        return compare_parts(a.substr(number), b.substr(number));
    const size_t more_of_a = digits_at(a, same), more_of_b = digits_at(b, same);
    if (more_of_a != more_of_b)
        return more_of_a < more_of_b ? -1 : 1;
    return static_cast<unsigned char>(a[same]) < static_cast<unsigned char>(b[same]) ? -1 : 1;
}

} // namespace

bool NaturalOrder::operator()(std::string_view a, std::string_view b) const
{
    const int order = compare_naturally(a, b);
    /* PortChannel1 and PortChannel01 are different names. */
    return order != 0 ? order < 0 : a < b;
}

SourceLocation::SourceLocation(std::string file, uint32_t at_line, uint32_t at_column,
                               std::string table, std::string key)
    : line(at_line), column(at_column),
      row_(std::make_shared<const Row>(Row{
          std::make_shared<const Table>(Table{std::move(file), std::move(table)}), std::move(key)}))
{}

SourceLocation::SourceLocation(const SourceLocation &table, uint32_t at_line, uint32_t at_column,
                               std::string key)
    : line(at_line), column(at_column),
      row_(std::make_shared<const Row>(
          Row{table.row_ ? table.row_->table : std::make_shared<const Table>(), std::move(key)}))
{}

const std::string &SourceLocation::none()
{
    static const std::string empty;
    return empty;
}

bool operator==(const SourceLocation &a, const SourceLocation &b)
{
    const auto columns = [](const SourceLocation &of) {
        return std::tie(of.line, of.column, of.file(), of.table(), of.key());
    };
    return columns(a) == columns(b);
}

std::string SourceLocation::to_text() const
{
    std::string text = printable(file(), file().size());
    if (line != 0)
        text += fmt::format(":{}:{}", line, column);
    return table().empty() ? text : text + ": " + printable(row());
}

std::string Finding::to_text() const
{
    std::string text = location.to_text() + ": ";
    if (severity != Severity::error)
        text += kvnsim::to_text(severity) + std::string(": ");
    return text + words();
}

std::string Finding::without_code() const
{
    return other ? fmt::format("{} (see {})", message, other->to_text()) : message;
}

std::string Finding::words() const
{
    return code.empty() ? without_code() : fmt::format("{} [{}]", without_code(), code);
}

bool operator<(const VirtualMac &a, const VirtualMac &b)
{
    if (a.interface != b.interface)
        return NaturalOrder()(a.interface, b.interface);
    return a.mac < b.mac;
}

bool Desired::has_member_that_joins(const DesiredPortChannel &channel) const
{
    return std::any_of(channel.members.begin(), channel.members.end(),
                       [&](const auto &member) { return routed_ports.count(member.first) == 0; });
}

bool Configuration::has_errors() const
{
    return std::any_of(findings.begin(), findings.end(), [](const Finding &finding) {
        return finding.severity == Finding::Severity::error;
    });
}

} // namespace kvnsim
