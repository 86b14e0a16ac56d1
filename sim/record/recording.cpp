#include "sim/record/recording.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>
#include <rapidjson/error/en.h>

#include "sim/record/interface_state.h"
#include "sim/switch/entry_points.h"
#include "sim/types/lines.h"
#include "sim/types/rapid_document.h"

namespace kvnsim {
namespace {

/* A mandatory field. */
struct Required {
    const char *field;
    Value::Kind kind;
};

constexpr Value::Kind a_number = Value::Kind::integer, a_text = Value::Kind::text,
                      an_object = Value::Kind::record;

/* A kind of line: the name of its first field, and what it must have. */
struct Form {
    const char *name;
    std::vector<Required> required;
};

/* In the order of LineKind. */
const Form forms[] = {
    {recording_key, {{recording_key, a_number}, {"word_size", a_number}}},
    {"sinks", {{"sinks", an_object}}},
    {"power_on", {}},
    {"virtual_mac", {{"virtual_mac", a_text}, {"ifindex", a_number}, {"mac_trap_id", a_number}}},
    {"interface", {{"interface", a_text}, {"host", an_object}, {"library", an_object}}},
    {"gone", {{"gone", a_number}}},
    {"request", {{"request", a_number}, {"entry", a_text}, {"arguments", an_object}}},
    {"call", {{"call", a_text}, {"in", an_object}}},
    {"trace", {{"trace", a_number}, {"function", a_text}, {"line", a_number}, {"text", a_text}}},
    {"left", {{"left", a_text}, {"library", an_object}}},
    {"result", {}},
    {"end", {{"requests", a_number}}},
    {"", {}},
};

LineKind kind_of(const Value &line)
{
    const auto form = std::find_if(std::begin(forms), std::end(forms) - 1, [&](const Form &one) {
        return !line.fields().empty() && line.fields()[0].name == one.name;
    });
    return static_cast<LineKind>(form - std::begin(forms));
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

Value read_json(const rapid::Value &json, int depth = 0)
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

const char *expected(Value::Kind kind)
{
    return kind == a_number ? "a number" : kind == a_text ? "a text" : "an object";
}

/* Empty when nothing is. */
std::string what_is_wrong(const Line &line)
{
    if (line.number == 1 && line.kind != LineKind::header)
        return fmt::format("not a recording: expected {{\"{}\":{},...}}", recording_key,
                           recording_version);
    if (line.value.kind() != an_object)
        return "damaged line: expected an object";
    for (const auto &[name, kind] : forms[static_cast<size_t>(line.kind)].required) {
        const Value *field = line.value.find(name);
        if (field == nullptr)
            return fmt::format("damaged line: \"{}\" is missing", name);
        if (field->kind() != kind)
            return fmt::format("damaged line: \"{}\": expected {}, not {}", name, expected(kind),
                               field->to_text());
    }
    if (line.kind != LineKind::header)
        return "";
    const int64_t version = line.value.fields()[0].value.number();
    if (version == recording_version)
        return "";
    return fmt::format("recording version {}; only version {} can be read", version,
                       recording_version);
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

Value line(LineKind kind, Value first, std::vector<Field> others)
{
    std::vector<Field> fields;
    fields.reserve(1 + others.size());
    fields.push_back({forms[static_cast<size_t>(kind)].name, std::move(first)});
    std::move(others.begin(), others.end(), std::back_inserter(fields));
    return Value::record(std::move(fields));
}

Value sinks_line(const Sinks &sinks)
{
    return line(LineKind::sinks,
                Value::record({{"debug_file", flag(!sinks.debug_file.empty())},
                               {"events", flag(!sinks.event_file.empty() && sinks.events.debug)},
                               {"console", flag(sinks.console.debug)}}));
}

Value request_line(const Request &request)
{
    std::vector<Field> fields{{"entry", Value::text(request.entry)},
                              {"arguments", Value::record(request.values)}};
    if (!request.subject.empty())
        fields.push_back({"subject", Value::text(request.subject)});
    if (std::string cause = request.cause.to_text(); !cause.empty())
        fields.push_back({"cause", Value::text(std::move(cause))});
    return line(LineKind::request, number(request.number), std::move(fields));
}

Value call_line(const Call &call)
{
    std::vector<Field> fields{{"in", Value::record(call.inputs)}};
    if (!call.outputs.empty())
        fields.push_back({"out", Value::record(call.outputs)});
    fields.push_back({"result", call.result});
    if (call.injected)
        fields.push_back({"injected", flag(true)});
    if (!call.note.empty() && !call.injected)
        fields.push_back({"note", Value::text(call.note)});
    return line(LineKind::call, Value::text(call.what->name()), std::move(fields));
}

Value trace_line(const TraceRecord &record)
{
    return line(LineKind::trace, Value::integer(record.level),
                {{"function", Value::text(record.function)},
                 {"line", Value::integer(record.line)},
                 {"text", Value::text(record.text)}});
}

Value left_line(const HostInterface &interface)
{
    return line(LineKind::left, Value::text(interface.name),
                {{"library", library_state(interface)}});
}

Value result_line(const Request &request)
{
    return line(LineKind::result, request.result ? Value::integer(*request.result) : Value(),
                {{"failed_calls", number(request.failed_calls)}});
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

Line line_of(Value value)
{
    const LineKind kind = kind_of(value);
    return {kind, std::move(value), 0};
}

Line as_read(const Value &value)
{
    const std::string text = value.to_json();
    rapid::Document json;
    json.Parse(text.data(), text.size());
    return line_of(read_json(json));
}

std::optional<Line> RecordingReader::next()
{
    std::string text;
    const auto next_byte = [&] { return in_.rdbuf()->sbumpc(); };
    while (problem_.empty()) {
        const LineEnd end = read_line(text, next_byte);
        if (end == LineEnd::none)
            break;
        ++number_;
        if (end == LineEnd::too_long) {
            report(line_is_too_long());
            return std::nullopt;
        }
        rapid::Document json;
        if (json.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size()).HasParseError()) {
            problem_ =
                fmt::format("{}:{}:{}: damaged line: {}", name_, number_, json.GetErrorOffset() + 1,
                            rapidjson::GetParseError_En(json.GetParseError()));
            return std::nullopt;
        }
        Line line = line_of(read_json(json));
        line.number = number_;
        if (const std::string wrong = what_is_wrong(line); !wrong.empty()) {
            report(line, wrong);
            return std::nullopt;
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
    report(Line{LineKind::unknown, {}, number_}, what);
}

std::string RecordingReader::location(const Line &line) const
{
    return fmt::format("{}:{}", name_, line.number);
}

} // namespace kvnsim
