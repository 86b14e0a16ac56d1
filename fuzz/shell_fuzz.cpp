/* Scripts for the shell: whatever its lines say, the switch stays one that can be looked at. */
#include <cstdint>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "fuzz/switch_oracle.h"
#include "sim/cli/console.h"
#include "sim/cli/shell.h"
#include "sim/cli/words.h"

using namespace kvnsim;

namespace {

/* The commands print, and read and write files: all into a folder of its own, and nowhere. */
void confine()
{
    const int nowhere = ::open("/dev/null", O_WRONLY);
    if (::chdir(scratch_folder().c_str()) != 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0)
        wrong("no folder to run in");
}

void follow(Session &session, const std::string &line)
{
    const SplitLine split = split_words(line);
    if (split.open_quote != '\0' || split.words.empty())
        return;
    try {
        execute(session, split.words);
    } catch (const std::exception &error) {
        if (*error.what() == 0)
            wrong("an error without a word");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool confined = (confine(), true);
    const std::string script(reinterpret_cast<const char *>(data), size);
    if (!confined || script.find('/') != script.npos || script.find('\0') != script.npos)
        return 0;
    const Arguments none;
    Console console;
    Switch power;
    Instruments instruments(none, console);
    Session session{console, power, instruments};
    for (size_t at = 0; at < script.size() && !session.ended;) {
        const size_t end = std::min(script.find('\n', at), script.size());
        follow(session, script.substr(at, end - at));
        at = end + 1;
    }
    look_at(session.now());
    return 0;
}
