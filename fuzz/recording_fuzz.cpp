/* Recordings come with support cases: replay says what is wrong with one, and where, or where the
 * library differs. */
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/switch_oracle.h"
#include "sim/record/replay.h"
#include "sim/types/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::istringstream recording(std::string(reinterpret_cast<const char *>(data), size));
    const kvnsim::Replay result = kvnsim::replay(recording, "fuzz.jsonl");
    if (!result.problem.empty() && !kvnsim::starts_with(result.problem, "fuzz.jsonl:"))
        kvnsim::wrong("a problem without its place: " + result.problem);
    return 0;
}
