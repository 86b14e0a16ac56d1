#include "sim/record/recording.h"

#include <array>

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include "sim/record/interface_state.h"
#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

/* The first field of each kind of line, in the order of LineKind. */
constexpr std::array line_names{"kvnsim_recording",
                                "sinks",
                                "power_on",
                                "interface",
                                "gone",
                                "request",
                                "call",
                                "trace",
                                "left",
                                "result",
                                "end"};

const char *name_of(LineKind kind)
{
    return line_names[static_cast<size_t>(kind)];
}

LineKind kind_of(const Value &line)
{
    if (line.fields().empty())
        return LineKind::unknown;
    for (size_t i = 0; i < line_names.size(); ++i) {
        if (line.fields()[0].name == line_names[i])
            return static_cast<LineKind>(i);
    }
    return LineKind::unknown;
}

Value flag(bool is_set)
{
    return Value::integer(is_set);
}

Value number(uint64_t number)
{
    return Value::integer(static_cast<int64_t>(number));
}

/* Numbers from here on are interface indexes or address bytes. */
constexpr int64_t hex_from = 0x10000000;

/* No recorded value is nested deeper. */
constexpr int max_depth = 8;

Value read_json(const rapidjson::Value &json, int depth = 0)
{
    if (json.IsInt64()) {
        const int64_t read = json.GetInt64();
        return Value::integer(read, read >= hex_from ? Value::Style::hex : Value::Style::decimal);
    }
    if (json.IsString())
        return Value::text({json.GetString(), json.GetStringLength()});
    if (json.IsObject() && depth < max_depth) {
        std::vector<Field> fields;
        fields.reserve(json.MemberCount());
        for (const auto &member : json.GetObject())
            fields.push_back({{member.name.GetString(), member.name.GetStringLength()},
                              read_json(member.value, depth + 1)});
        return Value::record(std::move(fields));
    }
    return Value(); /* null, and types that this version does not use */
}

/* A mandatory field of a kind of line. */
struct Required {
    LineKind line;
    const char *field;
    Value::Kind kind;
    const char *expected;
};

const Required required[] = {
    {LineKind::header, "kvnsim_recording", Value::Kind::integer, "a number"},
    {LineKind::header, "word_size", Value::Kind::integer, "a number"},
    {LineKind::sinks, "sinks", Value::Kind::record, "an object"},
    {LineKind::interface, "interface", Value::Kind::text, "a text"},
    {LineKind::interface, "host", Value::Kind::record, "an object"},
    {LineKind::interface, "library", Value::Kind::record, "an object"},
    {LineKind::gone, "gone", Value::Kind::integer, "a number"},
    {LineKind::request, "request", Value::Kind::integer, "a number"},
    {LineKind::request, "entry", Value::Kind::text, "a text"},
    {LineKind::request, "arguments", Value::Kind::record, "an object"},
    {LineKind::call, "call", Value::Kind::text, "a text"},
    {LineKind::call, "in", Value::Kind::record, "an object"},
    {LineKind::trace, "trace", Value::Kind::integer, "a number"},
    {LineKind::trace, "function", Value::Kind::text, "a text"},
    {LineKind::trace, "line", Value::Kind::integer, "a number"},
    {LineKind::trace, "text", Value::Kind::text, "a text"},
    {LineKind::left, "left", Value::Kind::text, "a text"},
    {LineKind::left, "library", Value::Kind::record, "an object"},
    {LineKind::end, "requests", Value::Kind::integer, "a number"},
};

std::string what_is_missing(const Line &line)
{
    for (const Required &row : required) {
        if (row.line != line.kind)
            continue;
        const Value *field = line.value.find(row.field);
        if (field == nullptr)
            return fmt::format("\"{}\" is missing", row.field);
        if (field->kind() != row.kind)
            return fmt::format("\"{}\": expected {}, not {}", row.field, row.expected,
                               field->to_text());
    }
    return "";
}

std::string call_text(const Value &line)
{
    const std::string &name = line.find("call")->string();
    std::string text = fmt::format("{}({})", name, to_text(line.find("in")->fields()));
    if (const Value *result = line.find("result")) {
        const ImportedCall *call = ImportedCall::find(name);
        const bool named = call != nullptr && call->names() != nullptr &&
                           result->kind() == Value::Kind::integer && result->number() != 0;
        text += " = " + (named ? call->status_text(result->number()) : result->to_text());
    }
    if (const Value *out = line.find("out"); out != nullptr && !out->fields().empty())
        text += " " + to_text(out->fields());
    if (const Value *note = line.find("note"))
        text += ": " + note->string();
    return text;
}

std::string trace_text(const Value &line)
{
    const std::string text = line.find("text")->to_text();
    return fmt::format("{} record of {}, line {}: {}",
                       line.find("trace")->number() == trace_level_error ? "error" : "debug",
                       line.find("function")->string(), line.find("line")->number(), text);
}

} // namespace

Value header_line()
{
    return Value::record({{name_of(LineKind::header), Value::integer(recording_version)},
                          {"word_size", Value::integer(8 * sizeof(void *))}});
}

Value sinks_line(const Sinks &sinks)
{
    return Value::record(
        {{name_of(LineKind::sinks),
          Value::record({{"debug_file", flag(!sinks.debug_file.empty())},
                         {"events", flag(!sinks.event_file.empty() && sinks.events.debug)},
                         {"console", flag(sinks.console.debug)}})}});
}

Value power_on_line()
{
    return Value::record({{name_of(LineKind::power_on), Value::integer(1)}});
}

Value interface_line(const HostInterface &interface)
{
    return Value::record({{name_of(LineKind::interface), Value::text(interface.name)},
                          {"host", host_state(interface)},
                          {"library", library_state(interface)}});
}

Value gone_line(uint32_t ifindex)
{
    return Value::record({{name_of(LineKind::gone), Value::integer(ifindex)}});
}

Value request_line(const Request &request)
{
    std::vector<Field> fields{{name_of(LineKind::request), number(request.number)},
                              {"entry", Value::text(request.entry)},
                              {"arguments", Value::record(request.values)}};
    if (!request.subject.empty())
        fields.push_back({"subject", Value::text(request.subject)});
    if (!request.cause.empty())
        fields.push_back({"cause", Value::text(request.cause)});
    return Value::record(std::move(fields));
}

Value call_line(const Call &call)
{
    std::vector<Field> fields{{name_of(LineKind::call), Value::text(call.what->name())},
                              {"in", Value::record(call.inputs)}};
    if (!call.outputs.empty())
        fields.push_back({"out", Value::record(call.outputs)});
    fields.push_back({"result", call.result});
    if (call.injected)
        fields.push_back({"injected", flag(true)});
    if (!call.note.empty() && !call.injected)
        fields.push_back({"note", Value::text(call.note)});
    return Value::record(std::move(fields));
}

Value trace_line(const TraceRecord &record)
{
    return Value::record({{name_of(LineKind::trace), Value::integer(record.level)},
                          {"function", Value::text(record.function)},
                          {"line", Value::integer(record.line)},
                          {"text", Value::text(record.text)}});
}

Value left_line(const HostInterface &interface)
{
    return Value::record({{name_of(LineKind::left), Value::text(interface.name)},
                          {"library", library_state(interface)}});
}

Value result_line(const Request &request)
{
    return Value::record(
        {{name_of(LineKind::result), request.result ? Value::integer(*request.result) : Value()},
         {"failed_calls", number(request.failed_calls)}});
}

Value end_line(uint64_t requests)
{
    return Value::record(
        {{name_of(LineKind::end), Value::integer(1)}, {"requests", number(requests)}});
}

std::string to_text(const std::vector<Field> &fields)
{
    std::string text;
    for (const Field &field : fields)
        text += fmt::format("{}{}={}", text.empty() ? "" : " ", field.name, field.value.to_text());
    return text;
}

std::string Line::to_text() const
{
    switch (kind) {
    case LineKind::request:
        return fmt::format("{} {}({})", value.find("request")->number(),
                           value.find("entry")->string(),
                           kvnsim::to_text(value.find("arguments")->fields()));
    case LineKind::call:
        return call_text(value);
    case LineKind::trace:
        return trace_text(value);
    case LineKind::left:
        return fmt::format("{} is left with {}", value.find("left")->string(),
                           kvnsim::to_text(value.find("library")->fields()));
    case LineKind::result:
        return "returns " + kvnsim::to_text(value.fields()).substr(std::size("result=") - 1);
    default:
        return value.to_json();
    }
}

Line line_of(const Value &value)
{
    return {kind_of(value), value, 0};
}

Line as_read(const Value &value)
{
    const std::string text = value.to_json();
    rapidjson::Document json;
    json.Parse(text.data(), text.size());
    return line_of(read_json(json));
}

std::optional<Line> RecordingReader::next()
{
    std::string text;
    while (problem_.empty() && std::getline(in_, text)) {
        ++number_;
        rapidjson::Document json;
        if (json.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size()).HasParseError()) {
            problem_ =
                fmt::format("{}:{}:{}: damaged line: {}", name_, number_, json.GetErrorOffset() + 1,
                            rapidjson::GetParseError_En(json.GetParseError()));
            return std::nullopt;
        }
        Line line = line_of(read_json(json));
        line.number = number_;
        if (number_ == 1 && line.kind != LineKind::header) {
            report(line, "not a recording: expected {\"kvnsim_recording\":1,...}");
            return std::nullopt;
        }
        if (line.value.kind() != Value::Kind::record) {
            report(line, "damaged line: expected an object");
            return std::nullopt;
        }
        if (const std::string missing = what_is_missing(line); !missing.empty()) {
            report(line, "damaged line: " + missing);
            return std::nullopt;
        }
        if (line.kind == LineKind::header) {
            const int64_t version = line.value.fields()[0].value.number();
            if (version != recording_version) {
                report(line, fmt::format("recording version {}; only version {} can be read",
                                         version, recording_version));
                return std::nullopt;
            }
        }
        if (line.kind != LineKind::unknown)
            return line;
    }
    if (problem_.empty() && number_ == 0)
        problem_ = name_ + ": not a recording: empty file";
    return std::nullopt;
}

void RecordingReader::report(const Line &line, const std::string &what)
{
    if (problem_.empty())
        problem_ = location(line) + ":1: " + what;
}

void RecordingReader::report(const std::string &what)
{
    Line last;
    last.number = number_;
    report(last, what);
}

std::string RecordingReader::location(const Line &line) const
{
    return fmt::format("{}:{}", name_, line.number);
}

} // namespace kvnsim
