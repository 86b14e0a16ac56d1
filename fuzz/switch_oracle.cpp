#include "fuzz/switch_oracle.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "sim/service/services.h"
#include "sim/state/explain.h"
#include "sim/state/index.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/types/text.h"

namespace kvnsim {

void wrong(const std::string &what)
{
    fprintf(stderr, "%s\n", what.c_str());
    abort();
}

std::string scratch_folder()
{
    std::string folder = std::filesystem::temp_directory_path() / "kvnsim_fuzz.XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr)
        wrong("no folder to run in");
    return folder;
}

void expect_visible(const std::string &text)
{
    if (visible(text) != text)
        wrong("what is shown would steer a terminal: " + visible(text));
}

void expect_life(const Desired &want)
{
    Switch power;
    const Applied first = power.apply(want);
    const std::vector<AuditFinding> findings = audit(capture(power));
    for (const AuditFinding &finding : findings) {
        if (first.failures.empty())
            wrong("no request failed, but the audit finds: " + to_text(finding));
    }
    if (first.failures.empty() && !power.plan(want).empty())
        wrong("applied again, there is more to do: " + power.plan(want).steps.front().words());
    const Applied last = power.apply(Desired());
    for (const TableUse &use : Asic::instance().rows<TableUse>()) {
        if (use.used != 0 && first.failures.empty() && last.failures.empty())
            wrong("after the tear-down the ASIC still has " + std::string(use.description));
    }
}

void look_at(const Snapshot &snapshot)
{
    for (const ShowKind &kind : show_kinds()) {
        if (!kind.of_interface)
            to_text(kind.make(snapshot, ""));
    }
    const Judgement judgement = judge(snapshot);
    for (const AuditFinding &finding : judgement.findings)
        expect_visible(to_text(finding));
    const Index index(snapshot);
    const Spellings known = interface_names(snapshot);
    for (const std::string &name : known.names())
        to_text(explain(index, judgement.findings, name));
}

} // namespace kvnsim
