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
    const std::string valid = is_ascii(text) ? "" : valid_utf8(text);
    if (!valid.empty())
        text = valid;
    return after(writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size())));
}

std::string Json::text() const
{
    /* In a text all control characters are escaped already but DEL and those that are no ASCII. */
    const auto may_steer = [](char c) { return static_cast<unsigned char>(c) >= 0x7F; };
    std::string_view rest(buffer_.GetString(), buffer_.GetSize());
    std::string all;
    all.reserve(rest.size());
    while (!rest.empty()) {
        const auto next = std::find_if(rest.begin(), rest.end(), may_steer);
        all.append(rest.begin(), next);
        rest.remove_prefix(static_cast<size_t>(next - rest.begin()));
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
