#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/* The verbs of the command line, as data. A verb is one file that fills in a Verb and registers it;
 * parsing, help and dispatch follow from that alone. */
namespace kvnsim {

class Console;

/* What the process says at its end. */
enum ExitStatus : int {
    exit_well = 0,
    exit_found = 1,   /* an audit, replay, diff or stress found something */
    exit_usage = 2,   /* the command line is wrong */
    exit_input = 3,   /* a file cannot be read or written, or what it says is wrong */
    exit_request = 4, /* a request failed */
    exit_signal = 128 /* plus the number of the signal that interrupted the work */
};

/* Thrown by verbs; the message goes to stderr and the process ends with exit_usage. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
/* The same with exit_input. */
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/* What an option or operand is given. */
enum class Takes : uint8_t {
    nothing,     /* a flag */
    text,        /* anything, but not nothing */
    count,       /* 0, 1, 2, ... below 2^64 */
    probability, /* 0..1 */
    choice,      /* one of those that its value says: "debug|error" */
    interface    /* an interface's name, or nothing, which is given as "": the word behind the
                    option is its value only if it has the form of such a name */
};
enum class Times : uint8_t { optional, required, any, some };

struct Option {
    const char *name;  /* "--db"; an operand is named after its value: "CONFIG" */
    const char *value; /* as help calls it: "FILE"; "" of a flag or operand */
    const char *purpose;
    Takes takes = Takes::text;
    Times times = Times::optional;
    bool is_operand() const { return name[0] != '-'; }
};

/* A command line that was understood. Names are those of the verb's options. */
class Arguments {
public:
    bool has(const char *name) const { return !values(name).empty(); }
    const std::string &value(const char *name) const; /* "" when not given */
    const std::vector<std::string> &values(const char *name) const { return given_.at(name); }
    uint64_t count(const char *name, uint64_t otherwise) const;
    double probability(const char *name, double otherwise) const;

private:
    friend Arguments parse(const struct Verb &, const std::vector<std::string> &);
    std::map<std::string, std::vector<std::string>, std::less<>> given_; /* a key per option */
};

struct Verb {
    const char *name;
    const char *purpose; /* one line */
    const char *example; /* command lines for --help, each ended by a newline */
    std::vector<Option> options;
    int (*run)(const Arguments &arguments, Console &console);
};

/* Enters a verb into the table: a static object of the verb's file. */
class Registration {
public:
    explicit Registration(Verb verb);
    Registration(const Registration &) = delete;
    Registration &operator=(const Registration &) = delete;

private:
    const Verb verb_;
};

/* All verbs, by name. */
const std::vector<const Verb *> &verbs();
const Verb *find_verb(std::string_view name); /* nullptr for an unknown one */

/* Options that several verbs share. */
extern const Option db_option;   /* --db FILE, required, to read */
extern const Option json_option; /* --json */

/* Understand the words behind the verb. UsageError says what is wrong with them. */
Arguments parse(const Verb &verb, const std::vector<std::string> &words);

/* Parts of the help. */
extern const char *const introduction;     /* two lines */
std::string usage(const Verb &verb);       /* "kvnsim audit --db FILE [OPTION...]" */
std::string spelled(const Option &option); /* "--db FILE", "--timeline [IF]", "CONFIG" */
struct ExitMeaning {
    int status;
    const char *meaning;
};
const std::vector<ExitMeaning> &exit_meanings();

/* What --help prints. */
std::string help();
std::string help(const Verb &verb);

} // namespace kvnsim
