#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/verb.h"
#include "sim/record/replay.h"
#include "sim/types/json.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

std::string document(const std::string &path, const Replay &result)
{
    Json json;
    json.begin_object().field("recording", path).field("same", result.same());
    json.field("requests", result.requests).field("calls", result.calls);
    json.field("traces", result.traces).field("host_tasks", result.host_tasks);
    json.key("difference");
    if (result.difference) {
        const Mismatch &difference = *result.difference;
        json.begin_object().field("location", difference.location).field("what", difference.what);
        json.field("request", difference.request).field("cause", difference.cause);
        json.field("recorded", difference.recorded).field("now", difference.now);
        json.field("before", difference.before).end_object();
    } else {
        json.null();
    }
    return json.end_object().document();
}

int replay_recording(const Arguments &arguments, Console &console)
{
    const std::string &path = arguments.value("RECORDING");
    const bool is_file = path != "-";
    std::ifstream file;
    if (is_file)
        file.open(path);
    if (std::error_code none; std::filesystem::is_directory(path, none))
        throw InputError(fmt::format("{}: cannot be read: {}", path, std::strerror(EISDIR)));
    if (!file)
        throw InputError(fmt::format("{}: cannot be read: {}", path, std::strerror(errno)));
    const Replay result = replay(is_file ? file : std::cin, path);
    if (!result.difference && !result.problem.empty())
        throw InputError(result.problem);
    if (arguments.has("--json"))
        console.out() << document(path, result);
    else if (result.difference)
        console.out() << result.difference->to_text();
    else
        console.out() << fmt::format(
            "{}: the same: {}, {}, {}; {} skipped\n", path, counted(result.requests, "request"),
            counted(result.calls, "call"), counted(result.traces, "trace record"),
            counted(result.host_tasks, "host task"));
    return result.difference ? exit_found : exit_well;
}

} // namespace

const Verb replay_verb{"replay",
                       "repeat a recording's requests, and compare all that the library does",
                       "kvnsim run examples/leaf.json --record leaf.jsonl\n"
                       "kvnsim replay leaf.jsonl\n",
                       {{"RECORDING", Takes::file, Times::required,
                         "the file that `kvnsim run --record FILE` wrote; - is standard input"},
                        json_option},
                       replay_recording};

} // namespace kvnsim
