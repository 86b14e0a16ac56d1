#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cli/instruments.h"
#include "sim/cli/verb.h"
#include "sim/config/spellings.h"
#include "sim/state/snapshot.h"
#include "sim/switch/entry_points.h"
#include "sim/switch/switch.h"

/* The shell's commands, as data: checking, completion and help follow from a command's row. */
namespace kvnsim {

class Console;

/* What commands work on. */
struct Session {
    Console &console;
    Switch &power;
    Instruments &instruments;
    bool keep_going = false;           /* apply the valid rows of a configuration with errors */
    Words files = {};                  /* applied so far */
    std::string source = {};           /* of the last one, as given, to be read again */
    std::optional<Snapshot> mark = {}; /* what diff compares with */
    std::string location = {};         /* of the current line, before its messages: "-:12: " */
    bool ended = false;
    std::vector<Finding> findings = {}; /* of the configuration applied last */
    bool interrupted = false;           /* it was not applied completely */

    Snapshot now() const { return capture(power, files, findings, interrupted); }
    void error(const std::string &message) const;
};

struct Command {
    const char *name;
    const char *purpose; /* one line */
    std::vector<Option> options;
    /* Returns the exit status; may throw UsageError, InputError and std::invalid_argument. */
    int (*run)(Session &session, const Arguments &given);
    const char *more = ""; /* for help, lines each ended by a newline */
};

/* Commands that belong together. */
struct CommandGroup {
    const char *title;
    std::vector<Command> commands;
};
extern const CommandGroup configuration_commands, looking_commands, fault_commands,
    request_commands;

/* All groups, in the order of help; a command by name, nullptr for an unknown one. */
const std::vector<const CommandGroup *> &command_groups();
const Command *find_command(std::string_view name);

/* Execute a command and return its exit status. UsageError for an unknown command. */
int execute(Session &session, const Words &words);

/* Completions of the last word. */
Words complete_line(const Words &words);

/* The interfaces of the host. */
Spellings host_names();

/* What the words of an entry point's arguments mean, without output arguments. */
std::vector<Value> arguments_of(const EntryPoint &entry, const Words &words);
/* "call add_l3port L3LIF CREATE" */
std::string call_usage(const EntryPoint &entry);
/* The entry point of this name; UsageError with similar names. */
const EntryPoint &entry_named(const std::string &name);

} // namespace kvnsim
