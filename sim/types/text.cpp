#include "sim/types/text.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

namespace kvnsim {
namespace {

void append_shown(std::string &all, std::string_view text, bool keep_lines)
{
    while (!text.empty()) {
        /* Most texts are all of these. */
        const auto other = std::find_if(text.begin(), text.end(),
                                        [](unsigned char c) { return c < 0x20 || c >= 0x7F; });
        const auto plain = static_cast<size_t>(other - text.begin());
        all += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const size_t length = character_length(text);
        const std::string_view character = text.substr(0, length == 0 ? 1 : length);
        const bool is_kept = keep_lines && (text[0] == '\n' || text[0] == '\t');
        if (length == 0) {
            all += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[0]));
        } else if (!is_kept && steers_terminal(character)) {
            const uint32_t code = code_point(character);
            all += code < 0x100 ? fmt::format("\\x{:02x}", code) : fmt::format("\\u{:04x}", code);
        } else {
            all += character;
        }
        text.remove_prefix(character.size());
    }
}

std::string shown(std::string_view text, bool keep_lines)
{
    std::string all;
    all.reserve(text.size());
    append_shown(all, text, keep_lines);
    return all;
}

} // namespace

std::string counted(uint64_t count, const char *what, const char *many)
{
    if (count == 1 || many == nullptr)
        return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
    return fmt::format("{} {}", count, many);
}

bool is_ascii(std::string_view text)
{
    uint64_t all = 0;
    for (uint64_t eight; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
        std::memcpy(&eight, text.data(), sizeof eight);
        all |= eight;
    }
    return (all & 0x8080808080808080) == 0 &&
           std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

size_t character_length(std::string_view text)
{
    if (text.empty())
        return 0;
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    const size_t length = first < 0x80                    ? 1
                          : first >= 0xC2 && first < 0xE0 ? 2
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    /* Overlong, a surrogate, or beyond the last code point. */
    if ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) >= 0xA0) ||
        (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90))
        return 0;
    return length;
}

uint32_t code_point(std::string_view character)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(character[i]); };
    if (character.size() == 1)
        return byte(0);
    uint32_t code = byte(0) & (0x7FU >> character.size());
    for (size_t i = 1; i < character.size(); ++i)
        code = code << 6 | (byte(i) & 0x3FU);
    return code;
}

bool steers_terminal(std::string_view character)
{
    const uint32_t code = code_point(character);
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x061C ||
           (code >= 0x200E && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string visible(std::string_view text)
{
    return shown(text, false);
}

void append_visible(std::string &to, std::string_view text)
{
    append_shown(to, text, false);
}

constexpr size_t most_printed = 80;

void append_printable(std::string &to, std::string_view text)
{
    size_t end = text.size();
    if (end > most_printed) {
        end = 0;
        for (size_t characters = 0; end < text.size() && characters < most_printed; ++characters)
            end += std::max(character_length(text.substr(end)), size_t{1});
    }
    append_visible(to, text.substr(0, end));
    to += end < text.size() ? "..." : "";
}

std::string printable(std::string_view text)
{
    std::string all;
    append_printable(all, text);
    return all;
}

std::string visible_lines(std::string_view text)
{
    return shown(text, true);
}

} // namespace kvnsim
