#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cli/grammar.h"

/* The verbs of the command line, as data: parsing, help and dispatch follow from a verb's row. */
namespace kvnsim {

class Console;

/* The exit status of the process. */
enum ExitStatus : int {
    exit_well = 0,
    exit_found = 1,        /* an audit, fleet, faults, replay, diff or stress found something */
    exit_usage = 2,        /* the command line is wrong */
    exit_input = 3,        /* a file cannot be read or written, or its content is wrong */
    exit_request = 4,      /* a request failed, and no later one made up for it */
    exit_unused_fault = 5, /* a --fail never took effect */
    exit_signal = 128      /* plus the number of the signal that interrupted the work */
};

/* The bits of kvnsim and of the library in it. */
constexpr uint32_t word_size = 8 * sizeof(void *);

/* A file is wrong; the process ends with exit_input, as it does with exit_usage for a UsageError.
 */
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Verb {
    const char *name;
    const char *purpose; /* one line */
    const char *example; /* command lines for --help, each ended by a newline */
    std::vector<Option> options;
    int (*run)(const Arguments &arguments, Console &console);
    /* A signal ends it once what it has done is whole, saved and told; the others end at once. */
    bool completes = false;
};

#define VERB(name) extern const Verb name##_verb;
#include "sim/cli/verbs.def"
#undef VERB

/* All of them, in the order of help. */
const std::vector<const Verb *> &verbs();
const Verb *find_verb(std::string_view name); /* nullptr for an unknown one */

/* Options that several verbs share. The database is given by one of the first two or by the
 * environment: see database_of(). */
constexpr const char *database_variable = "KVNSIM_DB";
constexpr Option db_operand{"DB", Takes::database, Times::optional,
                            "the database that `kvnsim run --db FILE` wrote"};
constexpr Option db_option{"--db FILE", Takes::file, Times::optional,
                           "the same; without either, the one that KVNSIM_DB names"};
constexpr Option from_option{"--from FILE", Takes::file, Times::optional,
                             "go on from the switch that `kvnsim run --db FILE` saved"};
constexpr Option wide_option{"--wide", Takes::nothing, Times::optional,
                             "all columns, however narrow the terminal"};
constexpr Option json_option{"--json", Takes::nothing, Times::optional,
                             "one JSON document instead of text"};

/* Parts of the help. */
extern const char *const introduction; /* two lines */
std::string usage(const Verb &verb);   /* "kvnsim audit --db FILE [--json]" */
struct ExitMeaning {
    int status;
    const char *meaning;
};
const std::vector<ExitMeaning> &exit_meanings();

/* What --help prints. */
std::string help();
std::string help(const Verb &verb);

} // namespace kvnsim
