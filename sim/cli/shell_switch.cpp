/* Commands of the shell that take the switch as a whole: configurations, looking, fault injection.
 */
#include <algorithm>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/shell.h"
#include "sim/cli/stored.h"
#include "sim/config/names.h"
#include "sim/state/compare.h"
#include "sim/state/show.h"

namespace kvnsim {
namespace {

/* Whether the words end with --json, which is taken off. */
bool take_json(ShellWords &words)
{
    const bool json = !words.empty() && words.back() == "--json";
    if (json)
        words.pop_back();
    return json;
}

/* ---- Configurations ---- */

Configuration read(Session &session, const std::string &file)
{
    if (file == "-")
        throw UsageError("standard input is where the commands come from");
    Configuration configuration = std::move(read_configurations({file}).front());
    tell_findings({configuration}, true, session.console);
    return configuration;
}

bool is_refused(Session &session, const Configuration &configuration)
{
    if (!configuration.is_understood)
        session.error("nothing was applied");
    else if (configuration.has_errors() && !session.keep_going)
        session.error("nothing was applied (kvnsim shell --keep-going applies what is sound)");
    else
        return false;
    return true;
}

int apply(Session &session, const ShellWords &words)
{
    const Configuration configuration = read(session, words[0]);
    if (is_refused(session, configuration))
        return exit_input;
    const ConfigurationRun outcome =
        apply_configuration(session.power, configuration, session.power.plan(configuration.desired),
                            session.console, !session.instruments.shows_as_it_happens());
    session.console.out() << fmt::format(
        "{}: {}, {}\n", words[0], counted(outcome.plan.steps.size(), "step"), summary(outcome));
    const std::string ignored = ignored_tables(configuration);
    if (!ignored.empty())
        session.console.out() << "  not applied: " << ignored << "\n";
    if (session.files.empty() || session.files.back() != words[0])
        session.files.push_back(words[0]);
    session.findings = configuration.findings;
    session.interrupted = outcome.applied.interrupted;
    if (!outcome.applied.failures.empty())
        return exit_request;
    return configuration.has_errors() ? exit_input : exit_well;
}

int reload(Session &session, const ShellWords &words)
{
    if (!words.empty())
        return apply(session, words);
    if (session.files.empty())
        throw UsageError("nothing was applied so far: reload which FILE?");
    return apply(session, {session.files.back()});
}

int plan(Session &session, const ShellWords &words)
{
    const Configuration configuration = read(session, words[0]);
    if (is_refused(session, configuration))
        return exit_input;
    const Plan steps = session.power.plan(configuration.desired);
    for (const Step &step : steps.steps)
        session.console.out() << step.words << "\n";
    session.console.out() << counted(steps.steps.size(), "step") << "\n";
    return exit_well;
}

int check(Session &session, const ShellWords &words)
{
    const Configuration configuration = read(session, words[0]);
    session.console.out() << words[0] << ": " << finding_counts(configuration) << "\n";
    return configuration.has_errors() ? exit_input : exit_well;
}

int save_database(Session &session, const ShellWords &words)
{
    save(session.now(), words[0]);
    return exit_well;
}

/* ---- Looking ---- */

int show_table(Session &session, const ShellWords &given)
{
    ShellWords words = given;
    const bool json = take_json(words);
    if (words.empty())
        throw UsageError("expected show TABLE [IF] [--json]");
    print_table(session.now(), words[0], words.size() > 1 ? words[1] : "", json, session.console);
    return exit_well;
}

int explain_interface(Session &session, const ShellWords &given)
{
    ShellWords words = given;
    const bool json = take_json(words);
    if (words.size() != 1)
        throw UsageError("expected explain IF [--json]");
    print_explanation(session.now(), words[0], json, session.console);
    return exit_well;
}

int audit_switch(Session &session, const ShellWords &given)
{
    ShellWords words = given;
    const bool json = take_json(words);
    if (!words.empty())
        throw UsageError("expected audit [--json]");
    return print_audit(session.now(), json, session.console);
}

int mark(Session &session, const ShellWords &)
{
    session.mark = session.now();
    return exit_well;
}

int compare(Session &session, const ShellWords &given)
{
    ShellWords words = given;
    const bool json = take_json(words);
    if (words.size() > 1)
        throw UsageError("expected diff [FILE] [--json]");
    if (words.empty() && !session.mark)
        throw UsageError("nothing is marked: `mark` remembers the switch as it is");
    const Snapshot before = words.empty() ? *session.mark : load(words[0]);
    return print_differences(diff(before, session.now()), json, session.console);
}

int timeline(Session &session, const ShellWords &words)
{
    if (words[0] == "off" && words.size() == 1) {
        session.instruments.stop_timeline();
        return exit_well;
    }
    if (words[0] != "on")
        throw UsageError("expected timeline on [IF], or timeline off");
    if (words.size() > 1)
        require_interface(session.now(), words[1]);
    session.instruments.start_timeline(words.size() > 1 ? words[1] : "");
    return exit_well;
}

int trace(Session &session, const ShellWords &words)
{
    session.instruments.trace(words[0]);
    return exit_well;
}

/* ---- Fault injection ---- */

int fail(Session &, const ShellWords &words)
{
    Faults &faults = Journal::instance().faults;
    if (words[0] == "off") {
        faults.clear();
        return exit_well;
    }
    const std::string problem = faults.add(words[0]);
    if (!problem.empty())
        throw UsageError(problem);
    return exit_well;
}

int fail_rate(Session &, const ShellWords &words)
{
    constexpr uint32_t most = 0xFFFFFFFF;
    char *end = nullptr;
    const double rate = words[0] == "off" ? 0 : std::strtod(words[0].c_str(), &end);
    if ((end != nullptr && (*end != '\0' || words[0].empty())) || !(rate >= 0 && rate <= 1))
        throw UsageError(
            fmt::format("expected a number from 0 to 1, or off, not {}", quoted(words[0])));
    const auto seed = words.size() > 1 ? parse_number(words[1], 0, most) : 1;
    if (!seed)
        throw UsageError(fmt::format("expected a whole number as seed, not {}", quoted(words[1])));
    Journal::instance().faults.set_rate(rate, *seed);
    return exit_well;
}

int limit(Session &, const ShellWords &words)
{
    set_limit(words[0]);
    return exit_well;
}

} // namespace

const CommandGroup configuration_commands{
    "Configurations",
    {{"apply", "take the switch to a configuration", {{"FILE", WordKind::file}}, apply},
     {"reload",
      "the same again, with the file of the last time",
      {{"FILE", WordKind::file, Times::optional}},
      reload},
     {"plan", "say what apply would do", {{"FILE", WordKind::file}}, plan},
     {"check", "validate a configuration", {{"FILE", WordKind::file}}, check},
     {"save", "keep the switch's state in a database", {{"FILE", WordKind::file}}, save_database}}};

const CommandGroup looking_commands{
    "Looking",
    {{"show",
      "show a table of the switch",
      {{"TABLE", WordKind::table},
       {"IF", WordKind::interface, Times::optional},
       {"--json", WordKind::choice, Times::optional}},
      show_table},
     {"explain",
      "say why an interface is as it is",
      {{"IF", WordKind::interface}, {"--json", WordKind::choice, Times::optional}},
      explain_interface},
     {"audit",
      "say what does not agree",
      {{"--json", WordKind::choice, Times::optional}},
      audit_switch,
      "After requests by hand the configuration is not what the switch was asked for any more:\n"
      "the audit tells that as differences, and apply works from what it did itself.\n"},
     {"mark", "remember the switch as it is, for diff", {}, mark},
     {"diff",
      "say what differs from the mark, or from a database",
      {{"FILE", WordKind::file, Times::optional}, {"--json", WordKind::choice, Times::optional}},
      compare},
     {"timeline",
      "print each request with its calls, of all interfaces or of one",
      {{"on|off", WordKind::choice}, {"IF", WordKind::interface, Times::optional}},
      timeline},
     {"trace",
      "print trace records: all, or errors only",
      {{"debug|error|off", WordKind::choice}},
      trace}}};

const CommandGroup fault_commands{
    "Fault injection",
    {{"fail",
      "make a call fail, each time or the Nth from now on; off ends it",
      {{"CALL[:N][=STATUS]", WordKind::fault}},
      fail,
      "fail libsdk_lid_entry_create:2=SDK_E_FULL lets the second one fail.\n"},
     {"fail-rate",
      "make each call that can fail do so with this probability, or off",
      {{"P", WordKind::text}, {"SEED", WordKind::text, Times::optional}},
      fail_rate},
     {"limit", "set the capacity of an ASIC table", {{"TABLE=N", WordKind::limit}}, limit}}};

} // namespace kvnsim
