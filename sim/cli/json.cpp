#include "sim/cli/json.h"

namespace kvnsim {
Json &Json::key(std::string_view name)
{
    put_key(writer_, name);
    return *this;
}

Json &Json::value(std::string_view text)
{
    put(writer_, text);
    return *this;
}

Json &Json::raw(std::string_view json, rapidjson::Type type)
{
    return did(writer_.RawValue(json.data(), json.size(), type));
}

Json &Json::location(const SourceLocation &location)
{
    field("file", location.file);
    if (location.line == 0)
        return key("line").null().key("column").null().key("table").null().key("key").null();
    field("line", location.line).field("column", location.column);
    for (const auto &[name, text] : {std::pair("table", &location.table), {"key", &location.key}})
        text->empty() ? key(name).null() : field(name, *text);
    return *this;
}

Json &Json::configuration(const Configuration &configuration)
{
    field("file", configuration.file);
    key("findings").begin_array();
    for (const Finding &finding : configuration.findings) {
        begin_object().field("severity", to_text(finding.severity)).location(finding.location);
        field("message", finding.message).key("conflicts_with");
        if (finding.other)
            begin_object().location(*finding.other).end_object();
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
