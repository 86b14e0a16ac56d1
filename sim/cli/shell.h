#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/cli/instruments.h"
#include "sim/cli/verb.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

/* The shell's commands, as data. A command is one row: its words are checked, completed and helped
 * with from that alone. */
namespace kvnsim {

class Console;

/* What a word may be; completion offers what there is of it. */
enum class WordKind : uint8_t {
    text,      /* anything */
    choice,    /* one of those that the operand lists, "on|off" */
    file,      /* a path */
    interface, /* an interface of the host, by name */
    property,  /* an L3 property */
    attribute, /* an attribute of SDK interfaces */
    entry,     /* an entry point of the library */
    argument,  /* of the entry point before it */
    fault,     /* a call, perhaps with a status, or "off" */
    limit,     /* a table of the ASIC and its capacity */
    table,     /* what show shows */
    command    /* a command of the shell */
};

struct Operand {
    const char *name; /* "IF"; of a choice the choices */
    WordKind kind;
    Times times = Times::required;
};

/* What commands work on. */
struct Session {
    Console &console;
    Switch &power;
    Instruments &instruments;
    bool keep_going = false;        /* apply what is sound of a configuration with errors */
    std::vector<std::string> files; /* applied so far */
    std::optional<Snapshot> mark;   /* what diff compares with */
    std::string location;           /* of the line under way, before its messages: "-:12: " */
    bool ended = false;
    std::vector<Finding> findings = {}; /* of the configuration applied last */
    bool interrupted = false;           /* it was not applied to its end */

    Snapshot now() const { return capture(power, files, findings, interrupted); }
    void error(const std::string &message) const;
};

using ShellWords = std::vector<std::string>;

struct Command {
    const char *name;
    const char *purpose; /* one line */
    std::vector<Operand> operands;
    /* The words behind the name, as many as there are operands for. Returns the exit status; may
     * throw UsageError, InputError and std::invalid_argument. */
    int (*run)(Session &session, const ShellWords &words);
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

/* "set IF PROPERTY VALUE" */
std::string usage(const Command &command);

/* Do what the words say. UsageError when they say nothing. */
int execute(Session &session, const ShellWords &words);

/* The words that may stand at the end of these; the last is what there is of it. */
std::vector<std::string> complete(const ShellWords &words);

/* What the words of an entry point's arguments mean; those for output are not among them. */
std::vector<Value> arguments_of(const EntryPoint &entry, const ShellWords &words);
/* "call add_l3port L3LIF CREATE" */
std::string call_usage(const EntryPoint &entry);
/* The entry point of this name; UsageError with names that come near. */
const EntryPoint &entry_named(const std::string &name);

} // namespace kvnsim
