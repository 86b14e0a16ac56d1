#include <string_view>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/verb.h"

/* The manual page, in roff with the man macros. */
namespace kvnsim {
namespace {

/* Literal text: backslash, hyphen and leading dot are escaped. */
std::string plain(std::string_view text)
{
    std::string escaped;
    bool line_begins = true;
    for (const char c : text) {
        if (line_begins && (c == '.' || c == '\''))
            escaped += "\\&";
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
        line_begins = c == '\n';
    }
    return escaped;
}

std::string section(std::string_view title)
{
    return fmt::format(".SH {}\n", title);
}

std::string tagged(std::string_view tag, std::string_view text)
{
    return fmt::format(".TP\n.B \"{}\"\n{}\n", plain(tag), plain(text));
}

std::string literal(std::string_view lines)
{
    return fmt::format(".PP\n.nf\n.RS\n{}.RE\n.fi\n", plain(lines));
}

std::string manual_of(const Verb &verb)
{
    std::string text =
        fmt::format(".SS \"{}\"\n{}\n", plain(usage(verb)), plain(sentence(verb.purpose)));
    for (const Option &option : verb.options)
        text += tagged(option.words, option.purpose);
    return text + literal(verb.example);
}

std::string manual()
{
    std::string text =
        fmt::format(".TH KVNSIM 1 \"\" \"kvnsim {}\" \"User Commands\"\n", KVNSIM_VERSION);
    text +=
        section("NAME") + "kvnsim \\- a switch's L3 interfaces on a software model of the ASIC\n";
    text += section("SYNOPSIS") + ".B kvnsim\n.I VERB\n[\\fIARGUMENT\\fR...]\n";
    text += section("DESCRIPTION") + plain(introduction);
    text += section("VERBS");
    for (const Verb *verb : verbs())
        text += manual_of(*verb);
    text += section("EXIT STATUS");
    for (const ExitMeaning &exit : exit_meanings())
        text += tagged(fmt::to_string(exit.status), sentence(exit.meaning));
    text += section("ENVIRONMENT");
    text += tagged(database_variable, "The database, where none is given.");
    text += tagged("COLUMNS", "The width of the terminal, instead of the one that it tells.");
    text += tagged("NO_COLOR", "With any value: no colour, even on a terminal.");
    text += tagged("TERM", "No colour when it is dumb.");
    text += tagged("XDG_STATE_HOME", "Where the shell keeps its history, in kvnsim/history.");
    text += tagged("HOME", "Without XDG_STATE_HOME: where the history is, in "
                           ".local/state/kvnsim/history.");
    return text;
}

int print_manual(const Arguments &, Console &console)
{
    console.out() << manual();
    return exit_well;
}

} // namespace

const Verb manual_verb{
    "manual", "print the manual page, for man(1)", "kvnsim manual | man -l -\n", {}, print_manual};

} // namespace kvnsim
