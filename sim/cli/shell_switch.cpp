/* Shell commands for the switch as a whole. */
#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/forwarding.h"
#include "sim/cli/input.h"
#include "sim/cli/plan.h"
#include "sim/cli/policy.h"
#include "sim/cli/shell.h"
#include "sim/cli/stored.h"
#include "sim/state/compare.h"
#include "sim/state/interface_names.h"
#include "sim/state/restore.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

/* ---- Configurations ---- */

Configuration read(const std::string &file)
{
    if (file == "-")
        throw UsageError("standard input supplies the commands");
    return std::move(read_configurations({file}).front());
}

/* The same; its findings are messages. */
Configuration read_and_tell(Session &session, const std::string &file)
{
    Configuration configuration = read(file);
    tell_findings({configuration}, Policy({}), true, session.console);
    return configuration;
}

bool is_refused(Session &session, const Configuration &configuration)
{
    if (!configuration.is_understood)
        session.error("nothing was applied");
    else if (configuration.has_errors() && !session.keep_going)
        session.error("nothing was applied (kvnsim shell --keep-going applies the valid rows)");
    else
        return false;
    return true;
}

/* Applies the file given, or the last one again. */
int apply(Session &session, const Arguments &given)
{
    if (!given.has("FILE") && session.files.empty())
        throw UsageError("nothing was applied yet: reload which FILE?");
    const std::string source = given.has("FILE") ? given.value("FILE") : session.source;
    Configuration configuration = read_and_tell(session, source);
    const std::string &file = configuration.file;
    if (is_refused(session, configuration))
        return exit_input;
    const ConfigurationRun outcome =
        apply_configuration(session.power, configuration, session.power.plan(configuration.desired),
                            session.console, !session.instruments.shows_as_it_happens());
    session.console.out() << fmt::format("{}: {}, {}\n", visible(file),
                                         counted(outcome.plan.steps.size(), "step"),
                                         summary(outcome));
    session.console.out() << ignored_tables(configuration);
    if (session.files.empty() || session.files.back() != file)
        session.files.push_back(file);
    session.source = source;
    session.findings = configuration.findings;
    session.interrupted = outcome.applied.interrupted;
    if (!session.power.failures().empty())
        return exit_request;
    return configuration.has_errors() ? exit_input : exit_well;
}

int plan(Session &session, const Arguments &given)
{
    const Configuration configuration = read_and_tell(session, given.value("FILE"));
    if (is_refused(session, configuration))
        return exit_input;
    const Plan steps = session.power.plan(configuration.desired);
    print_changes(changes(session.power, configuration.desired, steps), session.console);
    for (const Step &step : steps.steps)
        session.console.out() << step.words() << "\n";
    session.console.out() << counted(steps.steps.size(), "step") << "\n";
    return exit_well;
}

int check(Session &session, const Arguments &given)
{
    const Configuration configuration = read(given.value("FILE"));
    print_findings(configuration, Policy({}), session.console);
    session.console.out() << visible(configuration.file) << ": "
                          << finding_counts(configuration, Policy({})) << "\n";
    if (configuration.has_errors())
        return exit_input;
    return Policy({}).leaves_out(configuration) ? exit_found : exit_well;
}

int save_database(Session &session, const Arguments &given)
{
    save(session.now(), given.value("FILE"));
    return exit_well;
}

int load_database(Session &session, const Arguments &given)
{
    const std::string &file = given.value("FILE");
    const Snapshot saved = load(file);
    restore(saved, session.power, file);
    session.files = saved.file_names();
    session.findings = saved.reader;
    session.interrupted = saved.meta.interrupted;
    return exit_well;
}

/* ---- Inspection ---- */

template <int (*print)(const Snapshot &, const Arguments &, Console &)>
int of_switch(Session &session, const Arguments &given)
{
    return print(session.now(), given, session.console);
}

int mark(Session &session, const Arguments &)
{
    session.mark = session.now();
    return exit_well;
}

int compare(Session &session, const Arguments &given)
{
    if (!given.has("FILE") && !session.mark)
        throw UsageError("there is no mark: set one with `mark`");
    const Snapshot before = given.has("FILE") ? load(given.value("FILE")) : *session.mark;
    return print_differences(before, session.now(), given, session.console);
}

int timeline(Session &session, const Arguments &given)
{
    std::string interface = given.value("IF");
    if (given.value("on|off") == "off") {
        if (!interface.empty())
            throw UsageError("expected timeline on [IF], or timeline off");
        session.instruments.stop_timeline();
        return exit_well;
    }
    if (!interface.empty())
        interface = interface_meant(interface_names(session.now()), interface);
    session.instruments.start_timeline(interface);
    return exit_well;
}

int trace(Session &session, const Arguments &given)
{
    session.instruments.trace(given.value("debug|error|off"));
    return exit_well;
}

/* ---- Fault injection ---- */

int fail(Session &, const Arguments &given)
{
    Faults &faults = Journal::instance().faults;
    const std::string &fault = given.value("CALL[:N][=STATUS]");
    if (fault == "off")
        faults.clear();
    else
        refuse<UsageError>(faults.add(fault));
    return exit_well;
}

int fail_rate(Session &, const Arguments &given)
{
    const double rate = given.value("P") == "off" ? 0 : given.probability("P", 0);
    Journal::instance().faults.set_rate(rate, given.count("SEED", 1));
    return exit_well;
}

int limit(Session &, const Arguments &given)
{
    refuse<UsageError>(set_limit(given.value("TABLE=N")));
    return exit_well;
}

} // namespace

const CommandGroup configuration_commands{
    "Configurations",
    {{"apply", "apply a configuration", {{"FILE", Takes::file}}, apply},
     {"reload", "apply the last file again", {{"FILE", Takes::file, Times::optional}}, apply},
     {"plan", "show what apply would do", {{"FILE", Takes::file}}, plan},
     {"check", "validate a configuration", {{"FILE", Takes::file}}, check},
     {"save", "keep the switch's state in a database", {{"FILE", Takes::file}}, save_database},
     {"load",
      "go on from the switch in a database",
      {{"FILE", Takes::file}},
      load_database,
      "It replaces the present switch. What was set with fail, fail-rate, timeline and trace\n"
      "stays; capacities come with the switch.\n"}}};

const CommandGroup looking_commands{
    "Inspection",
    {{"show",
      "show a table of the switch",
      {{"TABLE", Takes::table}, {"NAME", Takes::interface, Times::any}, json_option, wide_option},
      of_switch<print_table>},
     {"explain",
      "show how an interface is configured and programmed",
      {{"IF", Takes::interface}, json_option, wide_option},
      of_switch<print_explanation>},
     {"audit",
      "report what does not agree",
      {json_option, wide_option},
      of_switch<print_audit>,
      "After manual requests the switch no longer matches its configuration: the audit reports\n"
      "differences, and apply works from what it did itself.\n"},
     {"packet", "follow a frame through the ASIC's tables",
      with_frame({{"IF", Takes::interface}}, {json_option, wide_option}), of_switch<print_packet>},
     {"reach",
      "follow every kind of frame that the configuration wants routed",
      {{"IF", Takes::interface, Times::any},
       {"--all", Takes::nothing, Times::optional},
       json_option,
       wide_option},
      of_switch<print_services>},
     {"mark", "remember the switch's state, for diff", {}, mark},
     {"diff",
      "show differences from the mark or from a database",
      {{"FILE", Takes::file, Times::optional}, json_option, wide_option},
      compare},
     {"timeline",
      "print each request with its calls, of all interfaces or of one",
      {{"on|off", Takes::choice}, {"IF", Takes::interface, Times::optional}},
      timeline},
     {"trace",
      "print trace records: all, or errors only",
      {{"debug|error|off", Takes::choice}},
      trace}}};

const CommandGroup fault_commands{
    "Fault injection",
    {{"fail",
      "make a call fail: each time, or the Nth from now; off stops it",
      {{"CALL[:N][=STATUS]", Takes::fault, Times::required, "", "off"}},
      fail,
      "fail libsdk_lid_entry_create:2=SDK_E_FULL makes the second one fail.\n"},
     {"fail-rate",
      "make each call that can fail do so with this probability, or off",
      {{"P", Takes::probability, Times::required, "", "off"},
       {"SEED", Takes::count, Times::optional}},
      fail_rate},
     {"limit", "set the capacity of an ASIC table", {{"TABLE=N", Takes::limit}}, limit}}};

} // namespace kvnsim
