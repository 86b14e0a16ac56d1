#include "sim/types/json.h"

#include <algorithm>

#include <fmt/format.h>

#include "sim/types/text.h"

namespace kvnsim {
namespace {

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

std::string Json::text() const
{
    /* In a text all control characters are escaped already but these, which are no ASCII or DEL. */
    std::string_view rest(buffer_.GetString(), buffer_.GetSize());
    std::string all;
    all.reserve(rest.size());
    while (!rest.empty()) {
        const size_t next = std::min(rest.find_first_of("\x7f\xc2\xd8\xe2"), rest.size());
        all += rest.substr(0, next);
        rest.remove_prefix(next);
        const std::string_view character = rest.substr(0, character_length(rest));
        if (!character.empty() && steers_terminal(character))
            all += fmt::format("\\u{:04x}", code_point(character));
        else
            all += character;
        rest.remove_prefix(character.size());
    }
    return all;
}

} // namespace kvnsim
