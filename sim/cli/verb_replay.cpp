#include <cerrno>
#include <cstring>
#include <fstream>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/verb.h"
#include "sim/record/replay.h"

namespace kvnsim {
namespace {

int replay_recording(const Arguments &arguments, Console &console)
{
    const std::string &path = arguments.value("RECORDING");
    std::ifstream file(path);
    if (!file)
        throw InputError(fmt::format("{}: cannot be read: {}", path, std::strerror(errno)));
    const Replay result = replay(file, path);
    if (result.difference) {
        console.out() << result.difference->to_text();
        return exit_found;
    }
    if (!result.problem.empty())
        throw InputError(result.problem);
    console.out() << fmt::format(
        "{}: the same: {}, {}, {}; {} passed over\n", path, counted(result.requests, "request"),
        counted(result.calls, "call"), counted(result.traces, "trace record"),
        counted(result.host_tasks, "task of the host", "tasks of the host"));
    return exit_well;
}

const Registration
    registration({"replay",
                  "make a recording's requests again, and compare all that the library does",
                  "kvnsim run examples/leaf.json --record leaf.jsonl\n"
                  "kvnsim replay leaf.jsonl\n",
                  {{"RECORDING", "", "the file that `kvnsim run --record FILE` wrote", Takes::text,
                    Times::required}},
                  replay_recording});

} // namespace
} // namespace kvnsim
