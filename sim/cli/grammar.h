#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/* The grammar of a verb of the command line and of a command of the shell: a row for each option
 * and operand. Reading, usage lines, help, the manual page and completion follow from the rows. */
namespace kvnsim {

using Words = std::vector<std::string>;

/* The words are wrong; the message says in what. */
class UsageError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/* What an option or operand is given. Unless noted: any text that is not empty; the verb or
 * command validates it. */
enum class Takes : uint8_t {
    nothing, /* a flag */
    text,
    file,
    database,        /* behind a list of other operands: a word that ends in .db */
    count,           /* 0, 1, 2, ... below 2^64 */
    probability,     /* 0..1 */
    choice,          /* one of those that the row lists: "debug|error" */
    interface,       /* an interface's name */
    maybe_interface, /* the same, or none, given as "": the next word is the value only if it
                        has the form of one */
    property,        /* an L3 property */
    attribute,       /* an attribute of SDK interfaces */
    entry,           /* an entry point of the library */
    argument,        /* of the entry point before it; may be empty */
    call,            /* a call that can fail */
    status,          /* to fail with */
    fault,           /* a call, perhaps with an occurrence and a status */
    limit,           /* a table of the ASIC and its capacity */
    table,           /* what show shows */
    command          /* a command of the shell */
};
enum class Times : uint8_t { optional, required, any, some };

struct Option {
    const char *words; /* as typed: "--db FILE", "--json"; an operand is its value: "CONFIG" */
    Takes takes;
    Times times = Times::required;
    const char *purpose = "";
    const char *instead = ""; /* a word that may stand for a value: "off" */

    bool is_operand() const { return words[0] != '-'; }
    bool is_required() const { return times == Times::required || times == Times::some; }
    bool is_many() const { return times == Times::any || times == Times::some; }
    std::string name() const;  /* "--db" */
    std::string value() const; /* "FILE"; "" for a flag */
    Words choices() const;     /* what "debug|error" lists */
};

/* What was given, by the names of the options and operands. */
class Arguments {
public:
    bool has(std::string_view name) const { return !values(name).empty(); }
    const std::string &value(std::string_view name) const; /* "" when not given */
    const Words &values(std::string_view name) const;
    /* Of Takes::count and Takes::probability. */
    uint64_t count(std::string_view name, uint64_t otherwise) const;
    double probability(std::string_view name, double otherwise) const;
    const Words &operands() const { return operands_; } /* as they stand */

private:
    friend struct Reading read(const std::vector<Option> &options, const Words &words);
    std::map<std::string, Words, std::less<>> given_;
    Words operands_;
};

/* A line as far as it goes. */
struct Reading {
    Arguments given;
    const Option *waiting = nullptr; /* the option at the end whose value may come next */
    const Option *next = nullptr;    /* the next operand; nullptr after the last */
    std::string malformed;           /* the first error in the form of an option */
    std::string stray;               /* the first unexpected word */

    bool needs_value() const
    {
        return waiting != nullptr && waiting->takes != Takes::maybe_interface;
    }
};
Reading read(const std::vector<Option> &options, const Words &words);

/* Read a whole line. UsageError says what is wrong; for too many or too few words it shows the
 * usage line, if given. */
Arguments parse(const std::vector<Option> &options, const Words &words,
                const std::string &usage = "");

/* nullptr for an unknown one, and for operands. */
const Option *find_option(const std::vector<Option> &options, std::string_view name);

/* Names of the options that may follow these arguments. */
Words option_names(const std::vector<Option> &options, const Arguments &given = {});

/* "audit --db FILE [--json]" */
std::string usage(std::string_view name, const std::vector<Option> &options);
/* The purpose of something as a sentence. */
std::string sentence(std::string_view purpose);

} // namespace kvnsim
