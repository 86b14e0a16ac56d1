#pragma once

#include <set>
#include <string>
#include <vector>

#include "sim/cli/grammar.h"
#include "sim/config/configuration.h"
#include "sim/state/audit.h"

/* What findings mean to the caller: --ignore and --strict. */
namespace kvnsim {

constexpr Option ignore_option{"--ignore CODE", Takes::text, Times::any,
                               "pass over findings of a code, such as KVN-C080"};
constexpr Option strict_option{"--strict", Takes::nothing, Times::optional, "warnings are errors"};

class Policy {
public:
    /* Throws UsageError for a code that no finding has, or that an error has: what it is about is
     * not applied. Without the options nothing is ignored. */
    explicit Policy(const Arguments &arguments);

    bool ignores(const std::string &code) const { return ignored_.count(code) != 0; }
    /* Whether it keeps its configuration from being applied. */
    bool refuses(const Finding &finding) const;
    bool refuses(const Configuration &configuration) const;
    bool refuses_any(const std::vector<Configuration> &configurations) const;
    /* Whether something of it is not applied, or not yet. */
    bool leaves_out(const Configuration &configuration) const;

    /* Without those that are ignored. */
    std::vector<AuditFinding> judge(std::vector<AuditFinding> findings) const;
    /* "; 2 findings ignored (KVN-C080)", or "". */
    std::string ignored(const std::vector<AuditFinding> &all) const;
    std::string ignored(const std::vector<Finding> &all) const;

private:
    template <class Findings> std::string count(const Findings &all) const;

    std::set<std::string> ignored_;
    const bool strict_;
};

} // namespace kvnsim
