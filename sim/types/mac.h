#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kvnsim {

using Mac = std::array<uint8_t, 6>;

/* The first byte is the highest. */
constexpr uint64_t as_number(const Mac &mac)
{
    uint64_t number = 0;
    for (const uint8_t byte : mac)
        number = number << 8 | byte;
    return number;
}

/* "00:00:5e:00:01:0a" */
inline std::string to_text(const Mac &mac)
{
    constexpr const char *digits = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : mac) {
        if (!text.empty())
            text += ':';
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace kvnsim
