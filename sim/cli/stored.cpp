#include "sim/cli/stored.h"

#include <cstdlib>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
#include "sim/service/service_changes.h"
#include "sim/state/audit.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

std::string name_meant(const Spellings &names, const std::string &written, const char *what)
{
    Meant meant = names.meant(written, what);
    if (!meant.problem.empty())
        throw UsageError(meant.problem);
    return std::move(meant.name);
}

Listing attributes_of(const ShowKind &kind, const Snapshot &snapshot, const Words &written)
{
    if (written.empty())
        throw UsageError(fmt::format("{} of which interface?", kind.name));
    if (written.size() > 1)
        throw UsageError(fmt::format("{} are those of one interface", kind.name));
    return kind.make(snapshot, interface_meant(interface_names(snapshot), written.front()));
}

/* The table, or only the rows about the names. */
Listing table_of(const ShowKind &kind, const Snapshot &snapshot, const Words &written)
{
    Listing table = kind.make(snapshot, {});
    if (written.empty())
        return table;
    const Spellings known = names_in(kind, table, snapshot);
    Names names;
    for (const std::string &name : written)
        names.insert(name_meant(known, name, "interface or row"));
    return rows_about(kind, std::move(table), names);
}

} // namespace

const ShowKind &show_kind_named(const std::string &what)
{
    if (const ShowKind *kind = find_show_kind(what))
        return *kind;
    const Words names = names_of(show_kinds());
    throw UsageError(fmt::format("there is no table \"{}\"{}; there are {}", what,
                                 did_you_mean(what, names), fmt::join(names, ", ")));
}

std::string database_of(const Arguments &given)
{
    const std::string &operand = given.value("DB"), &option = given.value("--db");
    if (!operand.empty() && !option.empty())
        throw UsageError(fmt::format("two databases: {} and --db {}", operand, option));
    if (!operand.empty() || !option.empty())
        return operand + option;
    const char *variable = std::getenv(database_variable);
    return variable != nullptr ? variable : "";
}

std::string required_database(const Arguments &given)
{
    std::string database = database_of(given);
    if (database.empty())
        throw UsageError(fmt::format("the database is missing: give DB or --db FILE, or set {}",
                                     database_variable));
    return database;
}

Snapshot load_database(const Arguments &given)
{
    return load(required_database(given));
}

std::string interface_meant(const Spellings &names, const std::string &written)
{
    return name_meant(names, written, "interface");
}

Page page_on(const Console &console, const Arguments &given, const std::string &more)
{
    return given.has("--wide") ? Page() : Page{console.width(), more};
}

int print_table(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    const ShowKind &kind = show_kind_named(given.value("TABLE"));
    const Words &names = given.values("NAME");
    const Listing listing =
        kind.of_interface ? attributes_of(kind, snapshot, names) : table_of(kind, snapshot, names);
    if (given.has("--json")) {
        Json document;
        write(document.begin_object().key(kind.json_key()), listing);
        console.out() << document.end_object().document();
    } else if (names.size() == 1 && listing.rows.size() == 1 && !given.has("--wide")) {
        console.print_titled(to_vertical_text(listing));
    } else {
        const std::string more =
            fmt::format("--wide shows all columns, `show {} NAME` those of one row", kind.name);
        console.print_titled(to_text(listing, kind.of_interface ? page_on(console, given)
                                                                : page_on(console, given, more)));
    }
    return exit_well;
}

int print_explanation(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    const std::string name = interface_meant(interface_names(snapshot), given.value("IF"));
    const Index index(snapshot);
    return print_explanation(explain(index, judge(index).findings, name), given, console);
}

int print_explanation(const Explanation &explanation, const Arguments &given, Console &console)
{
    if (given.has("--json")) {
        Json document;
        write(document, explanation);
        console.out() << document.document();
    } else {
        console.print_titled(to_text(explanation, page_on(console, given)));
    }
    return exit_well;
}

int print_audit(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    return print_judgement(snapshot, judge(snapshot), given, console);
}

int print_judgement(const Snapshot &snapshot, const Judgement &judgement, const Arguments &given,
                    Console &console)
{
    const Policy policy(given);
    const std::vector<AuditFinding> findings = policy.judge(judgement.findings);
    const Listing waiting = show_waiting(snapshot);
    const int status = findings.empty() ? exit_well : exit_found;
    if (given.has("--json")) {
        Json document;
        write(document.begin_object().key("audit"), show(findings));
        write(document.key("waiting"), waiting);
        document.field("services", summary(judgement.services, snapshot));
        console.out() << document.end_object().document();
        return status;
    }
    for (const AuditFinding &finding : findings)
        console.out() << to_text(finding) << "\n";
    console.out() << verdict(snapshot, findings, policy.ignored(judgement.findings)) << "\n"
                  << summary(judgement.services, snapshot) << ".\n";
    if (!waiting.rows.empty())
        console.print_titled(to_text(waiting, page_on(console, given)));
    return status;
}

int print_differences(const Snapshot &before, const Snapshot &after, const Arguments &given,
                      Console &console)
{
    const std::vector<Difference> differences = diff(before, after);
    const std::vector<ServiceChange> changes =
        service_changes(judge(before).services, judge(after).services);
    if (given.has("--json")) {
        Json document;
        document.begin_object().field("equal", differences.empty()).key("differences");
        write(document, show(differences));
        write(document.key("service_changes"), show(changes));
        console.out() << document.end_object().document();
    } else {
        if (differences.empty()) {
            console.out() << "No difference in ASIC and shared state.\n";
        } else {
            console.print_titled(to_text(show(differences), page_on(console, given)));
            console.out() << counted(differences.size(), "difference") << "\n";
        }
        if (!changes.empty())
            console.print_titled(to_text(show(changes), page_on(console, given)));
        if (!changes.empty() || !differences.empty())
            console.out() << summary(changes) << "\n";
    }
    return differences.empty() && changes.empty() ? exit_well : exit_found;
}

} // namespace kvnsim
