#include "sim/cli/stored.h"

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
#include "sim/state/audit.h"
#include "sim/state/explain.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"

namespace kvnsim {
namespace {

const ShowKind &show_kind_named(const std::string &what)
{
    if (const ShowKind *kind = find_show_kind(what))
        return *kind;
    throw UsageError(fmt::format("there is no table \"{}\"; there are {}", what,
                                 fmt::join(names_of(show_kinds()), ", ")));
}

} // namespace

void require_interface(const Snapshot &snapshot, const std::string &name)
{
    const Names names = interface_names(snapshot);
    if (names.count(name) == 0)
        throw UsageError(fmt::format("there is no interface \"{}\"{}", name,
                                     did_you_mean(name, {names.begin(), names.end()})));
}

int print_table(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    const ShowKind &kind = show_kind_named(given.operands().front());
    const std::string &interface = given.value("IF");
    if (kind.of_interface && interface.empty())
        throw UsageError(fmt::format("{} of which interface?", kind.name));
    if (!kind.of_interface && !interface.empty())
        throw UsageError(fmt::format("{} takes no interface", kind.name));
    if (kind.of_interface)
        require_interface(snapshot, interface);
    const Listing listing = kind.make(snapshot, interface);
    if (given.has("--json")) {
        Json document;
        write(document.begin_object().key(kind.json_key()), listing);
        console.out() << document.end_object().document();
    } else {
        console.print_titled(to_text(listing));
    }
    return exit_well;
}

int print_explanation(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    require_interface(snapshot, given.value("IF"));
    const Explanation explanation = explain(snapshot, given.value("IF"));
    if (given.has("--json")) {
        Json document;
        write(document, explanation);
        console.out() << document.document();
    } else {
        console.print_titled(to_text(explanation));
    }
    return exit_well;
}

int print_audit(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    const Policy policy(given);
    const std::vector<AuditFinding> all = audit(snapshot);
    const std::vector<AuditFinding> findings = policy.judge(all);
    const Listing waiting = show_waiting(snapshot);
    const int status = findings.empty() ? exit_well : exit_found;
    if (given.has("--json")) {
        Json document;
        write(document.begin_object().key("audit"), show(findings));
        write(document.key("waiting"), waiting);
        console.out() << document.end_object().document();
        return status;
    }
    for (const AuditFinding &finding : findings)
        console.out() << fmt::format("{}: {} [{}]\n", to_text(finding.kind), finding.words,
                                     finding.code);
    console.out() << verdict(snapshot, findings) << policy.ignored(all) << "\n";
    if (!waiting.rows.empty())
        console.print_titled(to_text(waiting));
    return status;
}

int print_differences(const Snapshot &before, const Snapshot &after, const Arguments &given,
                      Console &console)
{
    const std::vector<Difference> differences = diff(before, after);
    if (given.has("--json")) {
        Json document;
        document.begin_object().field("equal", differences.empty()).key("differences");
        write(document, show(differences));
        console.out() << document.end_object().document();
    } else if (differences.empty()) {
        console.out() << "No difference in ASIC and shared state.\n";
    } else {
        console.print_titled(to_text(show(differences)));
        console.out() << counted(differences.size(), "difference") << "\n";
    }
    return differences.empty() ? exit_well : exit_found;
}

} // namespace kvnsim
