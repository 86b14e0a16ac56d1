#include "sim/cli/verb.h"

#include <algorithm>
#include <csignal>
#include <cstring>

#include <fmt/format.h>

namespace kvnsim {
namespace {

std::vector<const Verb *> &table()
{
    static std::vector<const Verb *> verbs;
    return verbs;
}

constexpr size_t help_width = 100, help_column = 30;

/* A line of help, the purpose in as many lines as it takes. */
std::string help_line(const Option &option)
{
    std::string text = fmt::format("  {:<{}}", spelled(option), help_column - 2);
    std::string_view rest = option.purpose;
    while (rest.size() > help_width - help_column) {
        const size_t end = rest.rfind(' ', help_width - help_column);
        text += fmt::format("{}\n{:{}}", rest.substr(0, end), "", help_column);
        rest.remove_prefix(end + 1);
    }
    return text + std::string(rest) + "\n";
}

} // namespace

std::string spelled(const Option &option)
{
    if (option.value[0] == '\0')
        return option.name;
    return fmt::format(option.takes == Takes::interface ? "{} [{}]" : "{} {}", option.name,
                       option.value);
}

std::string usage(const Verb &verb)
{
    std::string text = fmt::format("kvnsim {}", verb.name);
    bool has_optional = false;
    for (const Option &option : verb.options) {
        const std::string word = spelled(option);
        const bool must = option.times == Times::required || option.times == Times::some;
        if (!option.is_operand() && !must)
            has_optional = true;
        else if (option.times == Times::some)
            text += fmt::format(" {0} [{0}...]", word);
        else if (option.times == Times::any)
            text += fmt::format(" [{}...]", word);
        else
            text += fmt::format(must ? " {}" : " [{}]", word);
    }
    return has_optional ? text + " [OPTION...]" : text;
}

const Option db_option{"--db", "FILE", "the database that `kvnsim run --db FILE` left", Takes::text,
                       Times::required};
const Option json_option{"--json", "", "one JSON document instead of text", Takes::nothing};

Registration::Registration(Verb verb) : verb_(std::move(verb))
{
    const auto before = [](const Verb *a, const Verb *b) {
        return std::strcmp(a->name, b->name) < 0;
    };
    table().insert(std::upper_bound(table().begin(), table().end(), &verb_, before), &verb_);
}

const std::vector<const Verb *> &verbs()
{
    return table();
}

const Verb *find_verb(std::string_view name)
{
    const auto found = std::find_if(table().begin(), table().end(),
                                    [&](const Verb *verb) { return verb->name == name; });
    return found == table().end() ? nullptr : *found;
}

const char *const introduction =
    "kvnsim brings a switch's configuration up with the Kavelin L3 interface library on a\n"
    "software model of the ASIC, and shows what came of it.\n";

const std::vector<ExitMeaning> &exit_meanings()
{
    static const std::vector<ExitMeaning> meanings{
        {exit_well, "all well"},
        {exit_found, "an audit, replay, diff or stress found something"},
        {exit_usage, "the command line is wrong"},
        {exit_input, "a file cannot be read or written, or what it says is wrong"},
        {exit_request, "a request failed"},
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
            "  kvnsim explain Ethernet0 --db leaf.db\n\n"
            "Exit status:\n";
    for (const ExitMeaning &exit : exit_meanings())
        text += fmt::format("  {:>3}  {}\n", exit.status, exit.meaning);
    return text + "\n`kvnsim VERB --help` tells more of a verb.\n";
}

std::string help(const Verb &verb)
{
    std::string text =
        fmt::format("Usage: {}\n\n{}{}.\n", usage(verb),
                    static_cast<char>(std::toupper(verb.purpose[0])), verb.purpose + 1);
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
