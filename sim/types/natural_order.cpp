#include "sim/types/natural_order.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

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

} // namespace kvnsim
