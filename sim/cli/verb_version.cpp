#include <fmt/format.h>
#include <glib.h>
#include <sqlite3.h>

#include "sim/cli/console.h"
#include "sim/cli/verb.h"
#include "sim/record/recording.h"
#include "sim/types/json.h"

namespace kvnsim {
namespace {

int print_version(const Arguments &arguments, Console &console)
{
    const std::string glib =
        fmt::format("{}.{}.{}", glib_major_version, glib_minor_version, glib_micro_version);
    if (arguments.has("--json")) {
        Json json;
        json.begin_object().field("version", KVNSIM_VERSION).field("word_size", word_size);
        json.field("recording_version", recording_version).field("glib", glib);
        json.field("sqlite", sqlite3_libversion()).end_object();
        console.out() << json.document();
    } else {
        console.out() << fmt::format("kvnsim {} ({}-bit), recordings of version {}, GLib {}, "
                                     "SQLite {}\n",
                                     KVNSIM_VERSION, word_size, recording_version, glib,
                                     sqlite3_libversion());
    }
    return exit_well;
}

} // namespace

const Verb version_verb{"version",
                        "say which kvnsim this is",
                        "kvnsim version\nkvnsim --version\n",
                        {json_option},
                        print_version};

} // namespace kvnsim
