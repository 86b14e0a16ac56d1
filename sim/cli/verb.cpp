#include "sim/cli/verb.h"

#include <algorithm>
#include <csignal>

#include <fmt/format.h>

namespace kvnsim {
namespace {

constexpr size_t help_width = 100, help_column = 30;

/* A line of help, the purpose wrapped to the width. */
std::string help_line(const Option &option)
{
    std::string text = fmt::format("  {:<{}}", option.words, help_column - 2);
    std::string_view rest = option.purpose;
    while (rest.size() > help_width - help_column) {
        const size_t end = rest.rfind(' ', help_width - help_column);
        text += fmt::format("{}\n{:{}}", rest.substr(0, end), "", help_column);
        rest.remove_prefix(end + 1);
    }
    return text + std::string(rest) + "\n";
}

} // namespace

const std::vector<const Verb *> &verbs()
{
#define VERB(name) &name##_verb,
    static const std::vector<const Verb *> table{
#include "sim/cli/verbs.def"
    };
#undef VERB
    return table;
}

const Verb *find_verb(std::string_view name)
{
    const auto found = std::find_if(verbs().begin(), verbs().end(),
                                    [&](const Verb *verb) { return verb->name == name; });
    return found == verbs().end() ? nullptr : *found;
}

std::string usage(const Verb &verb)
{
    return usage(std::string("kvnsim ") + verb.name, verb.options);
}

const char *const introduction =
    "kvnsim brings a switch's configuration up with the Kavelin L3 interface library on a\n"
    "software model of the ASIC, and shows the result.\n";

const std::vector<ExitMeaning> &exit_meanings()
{
    static const std::vector<ExitMeaning> meanings{
        {exit_well, "success"},
        {exit_found,
         "a check, fleet, audit, faults, packet, reach, replay, diff or stress found something"},
        {exit_usage, "the command line is wrong"},
        {exit_input, "a file cannot be read or written, or its content is wrong"},
        {exit_request, "a request failed, and no later one made up for it"},
        {exit_unused_fault, "a --fail never took effect"},
        {exit_signal + SIGHUP, "interrupted by SIGHUP: the terminal is gone"},
        {exit_signal + SIGINT, "interrupted by Ctrl-C"},
        {exit_signal + SIGPIPE, "standard output was closed before its end"},
        {exit_signal + SIGTERM, "interrupted by SIGTERM"},
    };
    return meanings;
}

std::string help()
{
    std::string text = introduction;
    text += "\nUsage: kvnsim VERB [ARGUMENT...]\n\nVerbs:\n";
    for (const Verb *verb : verbs())
        text += fmt::format("  {:<11}{}\n", verb->name, verb->purpose);
    text += "\nExample:\n"
            "  kvnsim run examples/leaf.json --db leaf.db\n"
            "  kvnsim explain Ethernet0 leaf.db\n\n"
            "Exit status:\n";
    for (const ExitMeaning &exit : exit_meanings())
        text += fmt::format("  {:>3}  {}\n", exit.status, exit.meaning);
    return text + "\n`kvnsim VERB --help` describes a verb.\n";
}

std::string help(const Verb &verb)
{
    std::string text = fmt::format("Usage: {}\n\n{}\n", usage(verb), sentence(verb.purpose));
    for (const bool operands : {true, false}) {
        std::string lines;
        for (const Option &option : verb.options) {
            if (option.is_operand() == operands)
                lines += help_line(option);
        }
        if (!lines.empty())
            text += fmt::format("\n{}:\n{}", operands ? "Operands" : "Options", lines);
    }
    text += "\nExample:\n";
    std::string_view examples = verb.example;
    while (!examples.empty()) {
        const size_t end = examples.find('\n');
        text += fmt::format("  {}\n", examples.substr(0, end));
        examples.remove_prefix(end + 1);
    }
    return text;
}

} // namespace kvnsim
