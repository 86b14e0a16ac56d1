#include "sim/cli/policy.h"

#include <algorithm>

#include <fmt/format.h>

#include "sim/cli/input.h"
#include "sim/config/findings.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

bool is_of_the_audit(const std::string &code)
{
    return std::any_of(audit_types().begin(), audit_types().end(),
                       [&](const AuditType &type) { return type.code() == code; });
}

} // namespace

Policy::Policy(const Arguments &arguments) : strict_(arguments.has(strict_option.name()))
{
    for (const std::string &code : arguments.values(ignore_option.name())) {
        const FindingType *type = find_finding_type(code);
        if (type == nullptr && !is_of_the_audit(code))
            throw UsageError(fmt::format("--ignore: there is no finding \"{}\"", code));
        if (type != nullptr && type->severity == Finding::Severity::error)
            throw UsageError(
                fmt::format("--ignore: {} is an error: what it is about is not applied", code));
        ignored_.insert(code);
    }
}

bool Policy::refuses(const Finding &finding) const
{
    return finding.severity == Finding::Severity::error ||
           (strict_ && finding.severity == Finding::Severity::warning && !ignores(finding.code));
}

bool Policy::refuses(const Configuration &configuration) const
{
    return std::any_of(configuration.findings.begin(), configuration.findings.end(),
                       [this](const Finding &finding) { return refuses(finding); });
}

bool Policy::refuses_any(const std::vector<Configuration> &configurations) const
{
    return std::any_of(configurations.begin(), configurations.end(),
                       [this](const Configuration &one) { return refuses(one); });
}

bool Policy::leaves_out(const Configuration &configuration) const
{
    return std::any_of(
        configuration.findings.begin(), configuration.findings.end(),
        [this](const Finding &finding) { return finding.leaves_out && !ignores(finding.code); });
}

std::vector<AuditFinding> Policy::judge(std::vector<AuditFinding> findings) const
{
    findings.erase(
        std::remove_if(findings.begin(), findings.end(),
                       [this](const AuditFinding &finding) { return ignores(finding.code); }),
        findings.end());
    return findings;
}

template <class Findings> std::string Policy::count(const Findings &all) const
{
    std::set<std::string> codes;
    size_t ignored = 0;
    for (const auto &finding : all) {
        if (!ignores(finding.code))
            continue;
        codes.insert(finding.code);
        ++ignored;
    }
    return ignored == 0 ? ""
                        : fmt::format("; {} ignored ({})", counted(ignored, "finding"),
                                      fmt::join(codes, ", "));
}

std::string Policy::ignored(const std::vector<AuditFinding> &all) const
{
    return count(all);
}

std::string Policy::ignored(const std::vector<Finding> &all) const
{
    return count(all);
}

} // namespace kvnsim
