#include "sim/cli/json.h"

namespace kvnsim {
namespace {

/* How many bytes at the front make one UTF-8 character, 0 for none. */
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
    /* Spelled too long, a surrogate, beyond the last code point. */
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

const char *to_text(Finding::Severity severity)
{
    static constexpr const char *names[] = {"note", "warning", "error"};
    return names[static_cast<size_t>(severity)];
}

} // namespace

Json &Json::key(std::string_view name)
{
    const std::string valid = valid_utf8(name);
    return did(writer_.Key(valid.data(), static_cast<rapidjson::SizeType>(valid.size())));
}

Json &Json::value(std::string_view text)
{
    const std::string valid = valid_utf8(text);
    return did(writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size())));
}

Json &Json::raw(std::string_view json, rapidjson::Type type)
{
    return did(writer_.RawValue(json.data(), json.size(), type));
}

Json &Json::place(const Place &place)
{
    field("file", place.file);
    if (place.line == 0)
        return key("line").null().key("column").null().key("table").null().key("key").null();
    field("line", place.line).field("column", place.column);
    for (const auto &[name, text] : {std::pair("table", &place.table), {"key", &place.key}})
        text->empty() ? key(name).null() : field(name, *text);
    return *this;
}

Json &Json::configuration(const Configuration &configuration)
{
    field("file", configuration.file);
    key("findings").begin_array();
    for (const Finding &finding : configuration.findings) {
        begin_object().field("severity", to_text(finding.severity)).place(finding.place);
        field("message", finding.message).key("conflicts_with");
        if (finding.other)
            begin_object().place(*finding.other).end_object();
        else
            null();
        end_object();
    }
    end_array();
    key("ignored").begin_object();
    for (const auto &[table, rows] : configuration.ignored)
        field(table, rows);
    return end_object();
}

} // namespace kvnsim
