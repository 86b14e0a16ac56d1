#include "sim/types/json.h"

namespace kvnsim {
namespace {

/* The length in bytes of the UTF-8 character at the front, 0 for none. */
size_t character_length(std::string_view text)
{
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

std::string valid_utf8(std::string_view text)
{
    std::string valid;
    while (!text.empty()) {
        const size_t length = character_length(text);
        valid += length == 0 ? "\xEF\xBF\xBD" : text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return valid;
}

} // namespace

Json &Json::value(std::string_view text)
{
    const std::string valid = valid_utf8(text);
    return after(writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size())));
}

} // namespace kvnsim
