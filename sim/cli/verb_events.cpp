#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/verb.h"
#include "sim/config/names.h"
#include "sim/fwm/diagnostics.h"
#include "sim/fwm/event_file.h"
#include "sim/types/json.h"
#include "sim/types/text.h"
#include "sim/types/utc_time.h"

namespace kvnsim {
namespace {

/* "2026-11-21T03:23:28.000000001Z" */
std::string time_text(int64_t time_ns)
{
    const UtcTime time = utc_time(time_ns);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &time.parts);
    return fmt::format("{}.{:09}Z", text, time.nanoseconds);
}

std::string level_text(int32_t level)
{
    return level == trace_level_error   ? "error"
           : level == trace_level_debug ? "debug"
                                        : std::to_string(level);
}

void print_json(const EventFile &file, Console &console)
{
    Json json;
    json.begin_object().key("events").begin_array();
    for (const Event &event : file.events) {
        json.begin_object().field("time", time_text(event.time_ns)).field("time_ns", event.time_ns);
        json.field("event", event.event).field("level", int64_t{event.level});
        json.field("level_name", level_text(event.level)).field("text", event.text).end_object();
    }
    json.end_array().text_or_null("problem", file.problem).end_object();
    console.out() << json.document();
}

int decode(const Arguments &arguments, Console &console)
{
    const std::string &path = arguments.value("FILE");
    std::string bytes;
    if (const std::string problem = read_file(path, bytes); !problem.empty())
        throw InputError(fmt::format("{}: cannot be read: {}", path, problem));
    const EventFile file = parse_events(bytes);
    if (arguments.has("--json"))
        print_json(file, console);
    for (const Event &event : file.events) {
        if (!arguments.has("--json"))
            console.out() << fmt::format("{} {:#x} {} {}\n", time_text(event.time_ns), event.event,
                                         level_text(event.level), visible(trimmed(event.text)));
    }
    if (file.problem.empty())
        return exit_well;
    console.error(fmt::format("kvnsim: {}: {}", path, file.problem));
    return exit_input;
}

} // namespace

const Verb events_verb{"events",
                       "decode an event-history file",
                       "kvnsim run examples/leaf.json --events leaf.events\n"
                       "kvnsim events leaf.events\n",
                       {{"FILE", Takes::file, Times::required,
                         "the file that `kvnsim run --events FILE` wrote; - is standard input"},
                        json_option},
                       decode};

} // namespace kvnsim
