/* Makes the recorded requests again and compares line by line. The library's calls are answered
 * from the recording; questions about interfaces are answered from records restored to the recorded
 * state. The first difference ends the replay. No request is made from damaged lines. */
#include "sim/record/replay.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/fwm/diagnostics.h"
#include "sim/journal/journal.h"
#include "sim/record/interface_state.h"
#include "sim/record/recording.h"
#include "sim/switch/entry_points.h"
#include "sim/switch/switch.h"
#include "sim/switch/virtual_macs.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr size_t lines_before = 5;

/* ---- What differs between two lines ---- */

/* The path and both values of the first field that differs; empty when there is none. */
std::string field_difference(const std::string &path, const Value &recorded, const Value &now)
{
    if (recorded == now)
        return "";
    if (recorded.kind() == Value::Kind::record && now.kind() == Value::Kind::record) {
        const size_t common = std::min(recorded.fields().size(), now.fields().size());
        for (size_t i = 0; i < common; ++i) {
            const Field &a = recorded.fields()[i], &b = now.fields()[i];
            if (a.name != b.name)
                break;
            const std::string difference =
                field_difference(path.empty() ? a.name : path + "." + a.name, a.value, b.value);
            if (!difference.empty())
                return difference;
        }
    }
    return fmt::format("{}: recorded {}, now {}", path, recorded.to_text(), now.to_text());
}

std::string field_difference(const Line &recorded, const Line &now,
                             std::initializer_list<const char *> fields)
{
    static const Value none;
    for (const char *field : fields) {
        const Value *a = recorded.value.find(field), *b = now.value.find(field);
        const Value &was = a != nullptr ? *a : none, &is = b != nullptr ? *b : none;
        if (was != is)
            return field_difference(field, was, is);
    }
    return "";
}

/* The text without its source line, "[120]" or a leading "120:", which changes with every edit of
 * the library. */
std::string without_source_lines(const std::string &text)
{
    std::string kept;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_not_of("0123456789", at), text.size());
        const bool bracketed = at > 0 && text[at - 1] == '[' && text[end] == ']';
        const bool leading = at == 0 && text[end] == ':';
        if (end > at && (bracketed || leading))
            kept += '#';
        else
            kept.append(text, at, std::max(end - at, size_t{1}));
        at = std::max(end, at + 1);
    }
    return kept;
}

/* After a refused trap the library traces an identifier that was never set. */
bool tells_unset_trap(const Line *before, std::string_view text)
{
    constexpr std::string_view untold = "mac_trap_id = ";
    if (before == nullptr || before->kind != LineKind::call ||
        before->value.find("call")->string() != "libsdk_intf_router_mac_trap_create" ||
        before->value.find("result")->number() == 0)
        return false;
    return text.substr(0, untold.size()) == untold;
}

std::string trace_difference(const Line &recorded, const Line &now, const Line *before)
{
    std::string difference = field_difference(recorded, now, {"trace", "function"});
    if (!difference.empty())
        return difference;
    const std::string &was = recorded.value.find("text")->string();
    const std::string &is = now.value.find("text")->string();
    if (was == is || without_source_lines(was) == without_source_lines(is) ||
        (tells_unset_trap(before, was) && tells_unset_trap(before, is)))
        return "";
    return field_difference(recorded, now, {"text"});
}

/* The difference between two lines of one kind; before: the recorded line above. */
std::string difference_of(const Line &recorded, const Line &now, const Line *before)
{
    switch (now.kind) {
    case LineKind::call:
        return field_difference(recorded, now, {"call", "in", "out", "result"});
    case LineKind::trace:
        return trace_difference(recorded, now, before);
    case LineKind::left:
        return field_difference(recorded, now, {"left", "library"});
    default:
        return field_difference(recorded, now, {"result", "failed_calls"});
    }
}

/* ---- One request ---- */

/* A recorded request with its events. */
struct RecordedRequest {
    Line request;
    std::vector<Line> events; /* the last one is the result */
};

/* Questions that the host answers from interface records. These are restored, so the call runs and
 * its answer is compared: a recording cannot lead the library to a record that does not exist.
 * Port-channels held by the host belong to its ASIC and are not recorded. */
bool host_knows(const ImportedCall &call)
{
    return call.result() == Result::value &&
           std::string_view(call.name()) != "fwmpd_kvn_get_pc_info";
}

/* Answers the library's calls from a recorded request and compares all that it does. */
class Comparison : public Observer, public Answers {
public:
    Comparison(const RecordedRequest &recorded, const RecordingReader &reader, Replay &result)
        : recorded_(recorded), reader_(reader), result_(result)
    {
        Journal::instance().answers = this;
    }
    ~Comparison() override { Journal::instance().answers = nullptr; }

    std::optional<int64_t> answer(const ImportedCall &call,
                                  std::initializer_list<Argument> arguments, bool) override
    {
        if (result_.difference || expected().kind != LineKind::call ||
            expected().value.find("call")->string() != call.name())
            return std::nullopt; /* reported when the call is made */
        if (const Value *out = expected().value.find("out")) {
            for (const Argument &argument : arguments) {
                const Value *value = out->find(argument.name);
                if (argument.is_output && value != nullptr && argument.data != nullptr &&
                    argument.codec->write != nullptr)
                    argument.codec->write(argument.data, *value);
            }
        }
        if (host_knows(call))
            return std::nullopt;
        const Value *result = expected().value.find("result");
        return result != nullptr ? result->number() : 0;
    }

    void request_begins(const Request &request) override
    {
        for (HostInterface *interface : interfaces_of(request))
            found_.emplace_back(interface, library_state(*interface));
    }
    void call_made(const Call &call) override
    {
        if (matches(call_line(call)))
            ++result_.calls;
    }
    void trace_emitted(const TraceRecord &record) override
    {
        if (matches(trace_line(record)))
            ++result_.traces;
    }
    void request_ends(const Request &request) override
    {
        for (const auto &[interface, found] : found_) {
            if (library_state(*interface) != found)
                matches(left_line(*interface));
        }
        matches(result_line(request));
    }

private:
    /* There is one while the request runs and nothing differs: the result comes last. */
    const Line &expected() const { return recorded_.events[at_]; }

    std::string what_differs(const Line &now) const
    {
        if (expected().kind != now.kind)
            return "something else happens";
        return difference_of(expected(), now, at_ > 0 ? &recorded_.events[at_ - 1] : nullptr);
    }

    bool matches(Value happened)
    {
        if (result_.difference)
            return false;
        const Line made = line_of(std::move(happened));
        if (what_differs(made).empty()) {
            ++at_;
            return true;
        }
        const Line now = as_read(made.value); /* to be shown as the recorded line is */
        Mismatch difference;
        difference.location = reader_.location(expected());
        difference.request = recorded_.request.to_text();
        if (const Value *cause = recorded_.request.value.find("cause"))
            difference.cause = cause->string();
        difference.what = what_differs(now);
        difference.recorded = expected().to_text();
        difference.now = now.to_text();
        for (size_t i = at_ - std::min(at_, lines_before); i < at_; ++i)
            difference.before.push_back(recorded_.events[i].to_text());
        result_.difference = std::move(difference);
        return false;
    }

    const RecordedRequest &recorded_;
    const RecordingReader &reader_;
    Replay &result_;
    std::vector<std::pair<HostInterface *, Value>> found_; /* as the library found them */
    size_t at_ = 0;                                        /* the next expected event */
};

/* ---- The whole recording ---- */

/* Switches sinks on as recorded; their output is discarded. */
void switch_sinks(const Value &on)
{
    const auto is_on = [&](const char *sink) {
        const Value *value = on.find(sink);
        return value != nullptr && value->number() != 0;
    };
    Sinks sinks;
    sinks.debug_file = is_on("debug_file") ? "/dev/null" : "";
    sinks.event_file = is_on("events") ? "/dev/null" : "";
    sinks.console.debug = is_on("console");
    sinks.console_file = nullptr;
    Diagnostics::instance().configure(sinks);
}

void power_on()
{
    const Switch fresh;
}

class Replayer {
public:
    Replayer(std::istream &in, const std::string &name) : reader_(in, name) {}

    Replay run()
    {
        const SinksScope sinks;
        power_on();
        bool ended = false;
        while (!result_.difference && !ended) {
            const auto line = reader_.next();
            if (!line)
                break;
            ended = line->kind == LineKind::end;
            take(*line);
        }
        if (!result_.difference && !ended && reader_.problem().empty())
            reader_.report("the recording ends without its last line");
        power_on();
        result_.problem = reader_.problem();
        return std::move(result_);
    }

private:
    void take(const Line &line)
    {
        switch (line.kind) {
        case LineKind::header:
            result_.word_size = line.value.find("word_size")->number();
            break;
        case LineKind::sinks:
            switch_sinks(*line.value.find("sinks"));
            break;
        case LineKind::power_on:
            power_on();
            last_request_ = 0;
            break;
        case LineKind::virtual_mac:
            take_virtual_mac(line);
            break;
        case LineKind::interface: {
            const std::string wrong =
                restore_interface(line.value.find("interface")->string(), *line.value.find("host"),
                                  *line.value.find("library"));
            if (!wrong.empty())
                reader_.report(line, wrong);
            break;
        }
        case LineKind::gone:
            forget_interface(static_cast<uint32_t>(line.value.find("gone")->number()));
            break;
        case LineKind::request:
            take_request(line);
            break;
        case LineKind::end:
            if (static_cast<uint64_t>(line.value.find("requests")->number()) != requests_)
                reader_.report(line, fmt::format("damaged recording: {} of {} requests found",
                                                 requests_, line.value.find("requests")->number()));
            break;
        default:
            reader_.report(line,
                           "damaged recording: this line belongs to a request, but none is open");
        }
    }

    void take_virtual_mac(const Line &line)
    {
        const auto number = [&](const char *field) {
            return static_cast<uint32_t>(line.value.find(field)->number());
        };
        const auto mac = parse_mac(line.value.find("virtual_mac")->string());
        if (!mac || !put_back_virtual_mac({number("ifindex"), *mac, number("mac_trap_id")}))
            reader_.report(line, "damaged line: the library can have no such virtual MAC, or not "
                                 "twice");
    }

    void take_request(const Line &line)
    {
        const int64_t number = line.value.find("request")->number();
        if (last_request_ != 0 && number != last_request_ + 1)
            return reader_.report(line, fmt::format("damaged recording: request {} follows {}",
                                                    number, last_request_));
        last_request_ = number;
        ++requests_;

        RecordedRequest recorded{line, {}};
        do {
            auto event = reader_.next();
            if (!event) {
                if (reader_.problem().empty())
                    reader_.report(line, fmt::format("the recording ends within request {}, which "
                                                     "may have ended the process",
                                                     number));
                return;
            }
            if (event->kind < LineKind::call || event->kind > LineKind::result)
                return reader_.report(
                    *event, fmt::format("damaged recording: request {} has no result", number));
            recorded.events.push_back(std::move(*event));
        } while (recorded.events.back().kind != LineKind::result);
        make(recorded);
    }

    void make(const RecordedRequest &recorded)
    {
        const std::string &name = recorded.request.value.find("entry")->string();
        const EntryPoint *entry = EntryPoint::find(name);
        if (entry == nullptr) {
            if (starts_with(name, "host"))
                ++result_.host_tasks;
            else
                reader_.report(recorded.request, "the library has no entry point " + name);
            return;
        }
        std::vector<Value> values;
        for (const Parameter &parameter : entry->parameters()) {
            const Value *value = recorded.request.value.find("arguments")->find(parameter.name);
            if (value == nullptr)
                return reader_.report(
                    recorded.request,
                    fmt::format("damaged line: argument {} is missing", parameter.name));
            values.push_back(*value);
        }
        const Value *cause = recorded.request.value.find("cause");
        const CauseScope scope(cause != nullptr ? cause->string() : "");
        Comparison comparison(recorded, reader_, result_);
        try {
            const Response response = entry->call(values);
            if (response.request == nullptr)
                return reader_.report(recorded.request, "not made: " + response.refusal);
        } catch (const std::invalid_argument &wrong) {
            return reader_.report(recorded.request, std::string("damaged line: ") + wrong.what());
        }
        if (!result_.difference)
            ++result_.requests;
    }

    RecordingReader reader_;
    Replay result_;
    int64_t last_request_ = 0;
    uint64_t requests_ = 0;
};

} // namespace

std::string Mismatch::to_text() const
{
    std::string text = fmt::format("{}: {}\n  request   {}\n", location, what, request);
    if (!cause.empty())
        text += fmt::format("  because   {}\n", cause);
    for (const std::string &line : before)
        text += fmt::format("  before    {}\n", line);
    text += fmt::format("  recorded  {}\n  now       {}\n", recorded, now);
    return text;
}

Replay replay(std::istream &recording, const std::string &name)
{
    return Replayer(recording, name).run();
}

} // namespace kvnsim
