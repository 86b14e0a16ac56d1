/* Random changes with injected failures, audited after each. Invariant: every failed step and every
 * finding has an injected failure behind it, and applying the same configuration again without
 * failures repairs whatever can be repaired. A violation is reproduced with fewer and fewer changes
 * until none can be left out. All randomness follows from one seed. */
#include "sim/stress/stress.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/diagnostics.h"
#include "sim/journal/journal.h"
#include "sim/journal/random.h"
#include "sim/sdk/asic.h"
#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/stress/random_desired.h"

namespace kvnsim {
namespace {

/* Which interfaces failures have affected since power-on. */
class Watch : public Observer {
public:
    void request_ends(const Request &request) override
    {
        families_[request.number] = family(request.subject);
        injected_ += request.injected_failures;
        if (request.injected_failures != 0)
            injections_.push_back(request.first_failure().words);
        if (touches(request.subject))
            touch_losers();
        /* A refusal caused by a failure spreads it. */
        if (request.injected_failures == 0 &&
            (request.failed_calls == 0 || !follows_failure(request)))
            return;
        struck_.insert(request.number);
        touch(request.subject);
    }

    /* A failure affects an interface together with those it depends on. */
    void touch(const std::string &name)
    {
        for (std::string &one : family(name))
            touched_.insert(std::move(one));
    }

    /* The failures injected since the last call: "libsdk_intf_create: SDK_E_INTERNAL". */
    std::vector<std::string> injections() { return std::exchange(injections_, {}); }

    bool clean() const { return touched_.empty(); }
    uint64_t injected() const { return injected_; }

    bool explains(const Failure &failure) const
    {
        if (failure.request && failure.request->injected_failures != 0)
            return true;
        return touches(failure.step.name) || touches(failure.step.other);
    }

    bool explains(const AuditFinding &finding) const
    {
        /* Without an interface it concerns the switch: its router MAC. */
        return touches(finding.interface.empty() ? "switch" : finding.interface) ||
               touches(finding.other) ||
               std::any_of(finding.requests.begin(), finding.requests.end(),
                           [&](const RequestRef &request) { return behind(request->number); });
    }

private:
    /* An interface and those it depends on. */
    static std::vector<std::string> family(const std::string &name)
    {
        std::vector<std::string> names = {name};
        const HostInterface *interface = Host::instance().find(name);
        if (interface != nullptr && interface->parent != nullptr)
            names.push_back(interface->parent->name);
        if (interface != nullptr && interface->channel != nullptr)
            names.push_back(interface->channel->name);
        if (const size_t dot = name.find('.'); dot != std::string::npos)
            names.push_back(name.substr(0, dot));
        return names;
    }

    /* An interface that still records identifiers of objects it lost may destroy another one's
     * objects with the same identifiers. */
    void touch_losers()
    {
        const Asic &asic = Asic::instance();
        for (const HostInterface *interface : Host::instance().interfaces()) {
            const l3_pd *context = interface->context();
            const bool lost_recorded =
                context != nullptr &&
                ((context->intf_id != no_id && !asic.find_interface(context->intf_id)) ||
                 (context->lid_id != no_id && !asic.find_lid(context->lid_id)) ||
                 (context->pc_id != no_id && !asic.find_port_channel(context->pc_id)));
            if (lost_recorded || (interface->lid_id && !asic.find_lid(*interface->lid_id)) ||
                (interface->kept_intf && !asic.find_interface(*interface->kept_intf)))
                touch(interface->name);
        }
    }

    bool touches(const std::string &name) const { return touches(family(name)); }

    /* Whether a failure affected the request or its subject: an object that a later failure leaked
     * has no other trace of its owner. */
    bool behind(uint64_t request) const
    {
        const auto maker = families_.find(request);
        return struck_.count(request) != 0 || (maker != families_.end() && touches(maker->second));
    }

    /* Whether a refused request concerns an affected interface, or was refused because of an object
     * that an affected request left. */
    bool follows_failure(const Request &request) const
    {
        const std::vector<RequestRef> &named = request.first_failure().named;
        return touches(request.subject) ||
               std::any_of(named.begin(), named.end(),
                           [&](const RequestRef &one) { return behind(one->number); });
    }

    bool touches(const std::vector<std::string> &names) const
    {
        return std::any_of(names.begin(), names.end(), [&](const std::string &one) {
            return !one.empty() && touched_.count(one) != 0;
        });
    }

    std::unordered_map<uint64_t, std::vector<std::string>> families_; /* by request */
    std::unordered_set<uint64_t> struck_;
    std::unordered_set<std::string> touched_;
    std::vector<std::string> injections_;
    uint64_t injected_ = 0;
};

/* A switch from power-on to power-off. */
class Life {
public:
    Life(const Desired &start, const StressOptions &options) : options_(options)
    {
        apply(start, "power-on");
    }

    /* Applies the next configuration with failures injected from this seed. */
    void change(const Desired &to, const std::string &words, uint64_t fault_seed, uint64_t number)
    {
        Faults &faults = Journal::instance().faults;
        faults.set_rate(options_.fail_rate, fault_seed);
        apply(to, words);
        faults.clear();
        if (!problem_ && options_.sabotage) {
            options_.sabotage(switch_, number);
            problem_ = audited();
        }
    }

    /* Applies the same configuration again, without failures. What can be repaired must be, unless
     * a step failed because of leftovers. */
    void repair(const Desired &want)
    {
        const std::vector<std::string> failed = apply(want, "applied again");
        if (problem_)
            return;
        for (const AuditFinding &finding : findings_) {
            if (is_made_up_for(finding.kind, finding.property) &&
                std::find(failed.begin(), failed.end(), finding.interface) == failed.end()) {
                problem_ = "not repaired: " + to_text(finding);
                return;
            }
        }
    }

    /* A problem without a failure behind it. */
    const std::optional<std::string> &problem() const { return problem_; }
    Watch &watch() { return watch_; }

    void count_into(StressResult &result) const
    {
        result.requests += Journal::instance().requests_made();
        result.calls += Journal::instance().calls_made;
        result.injected += watch_.injected();
        result.failed_steps += failed_steps_;
        result.findings += findings_seen_;
    }

private:
    /* The objects of steps that failed. */
    std::vector<std::string> apply(const Desired &want, const std::string &words)
    {
        const Applied applied = switch_.apply(want);
        failed_steps_ += applied.failures.size();
        std::vector<std::string> failed;
        for (const Failure &failure : applied.failures) {
            if (!watch_.explains(failure)) {
                problem_ = words + ": " + failure.step.words() + ": " + failure.message;
                return failed;
            }
            watch_.touch(failure.step.name);
            failed.insert(failed.end(), {failure.step.name, failure.step.other});
        }
        problem_ = audited();
        return failed;
    }

    std::optional<std::string> audited()
    {
        findings_ = audit(capture(switch_));
        findings_seen_ += findings_.size();
        for (const AuditFinding &finding : findings_) {
            if (!watch_.explains(finding))
                return to_text(finding);
        }
        return std::nullopt;
    }

    static std::string to_text(const AuditFinding &finding)
    {
        return std::string(kvnsim::to_text(finding.kind)) + ": " + finding.words;
    }

    const StressOptions &options_;
    Switch switch_;
    Watch watch_;
    std::optional<std::string> problem_;
    std::vector<AuditFinding> findings_; /* of the last audit */
    uint64_t failed_steps_ = 0, findings_seen_ = 0;
};

/* One operation: a random change, and the failures injected while it is applied. */
struct Operation {
    uint64_t number, change_seed, fault_seed;
};

/* What the configuration wants of one object from some moment on. */
struct Change {
    bool at_power_on;
    std::string object, words;
    Desired wants; /* of the object only */
    uint64_t number, fault_seed;
};

Change change_of(const Desired &desired, const std::string &object, std::string words)
{
    Change change{true, object, std::move(words), {}, 0, 0};
    take_over(change.wants, desired, object);
    return change;
}

/* Finds a short sequence of changes that leads to the problem. */
class Shortening {
public:
    Shortening(const RandomDesired &start, const std::vector<Operation> &operations,
               const StressOptions &options)
        : bare_(RandomDesired(options.interfaces).desired()), options_(options)
    {
        /* Try few operations after a power-on first: most problems show at once. */
        for (size_t last = std::min<size_t>(operations.size(), 1); problem_.what.empty();
             last *= 2) {
            last = std::min(last, operations.size());
            shortest_ = changes(start, operations, operations.size() - last);
            if (!still_wrong(shortest_) && last == operations.size())
                break;
        }
    }

    /* Removes changes that are not needed: halves first, then single ones. */
    StressProblem run()
    {
        for (size_t chunk = std::max<size_t>(shortest_.size() / 2, 1);; chunk /= 2) {
            for (size_t at = 0; at < shortest_.size() && may_go_on();) {
                std::vector<Change> fewer = shortest_;
                const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
                const size_t count = std::min(chunk, fewer.size() - at);
                fewer.erase(from, from + static_cast<std::ptrdiff_t>(count));
                if (still_wrong(fewer))
                    shortest_ = std::move(fewer);
                else
                    at += chunk;
            }
            if (chunk <= 1)
                break;
        }
        return problem_;
    }

private:
    /* The changes from an empty configuration, with a power-on before this operation. */
    std::vector<Change> changes(RandomDesired random, const std::vector<Operation> &operations,
                                size_t power_on) const
    {
        for (size_t i = 0; i < power_on; ++i)
            random.change(operations[i].change_seed);
        std::vector<Change> all;
        for (const std::string &object : objects(random.desired(), bare_))
            all.push_back(change_of(random.desired(), object, describe(random.desired(), object)));
        for (size_t i = power_on; i < operations.size(); ++i) {
            std::string words = random.change(operations[i].change_seed);
            const std::string is = describe(random.desired(), random.changed());
            if (is != words)
                words += " [" + is + "]";
            all.push_back(change_of(random.desired(), random.changed(), std::move(words)));
            all.back().at_power_on = false;
            all.back().number = operations[i].number;
            all.back().fault_seed = operations[i].fault_seed;
        }
        return all;
    }

    bool may_go_on() const
    {
        constexpr uint64_t most = 2000;
        return tries_ < most && !(options_.stop && options_.stop());
    }

    /* Whether these still end in a problem; if so, keeps it. */
    bool still_wrong(const std::vector<Change> &all)
    {
        if (options_.shortening)
            options_.shortening(tries_);
        ++tries_;
        StressProblem seen;
        Desired want = bare_;
        auto change = all.begin();
        for (; change != all.end() && change->at_power_on; ++change) {
            take_over(want, change->wants, change->object);
            seen.power_on.push_back(change->words);
        }
        tidy(want);
        Life life(want, options_);
        for (; change != all.end() && !life.problem(); ++change) {
            take_over(want, change->wants, change->object);
            tidy(want);
            life.change(want, change->words, change->fault_seed, change->number);
            seen.changes.push_back(change->words);
            for (const std::string &injection : life.watch().injections())
                seen.changes.back() += " (" + injection + ")";
        }
        if (!life.problem())
            life.repair(want);
        if (!life.problem())
            return false;
        seen.what = *life.problem();
        problem_ = std::move(seen);
        return true;
    }

    const Desired bare_;
    const StressOptions &options_;
    std::vector<Change> shortest_;
    StressProblem problem_; /* of the shortest */
    uint64_t tries_ = 0;
};

} // namespace

StressResult stress(const StressOptions &options)
{
    /* With an error store every audit would copy all error messages so far and use none. */
    const SinksScope scope;
    Sinks sinks = scope.before;
    sinks.error_groups = 0;
    Diagnostics::instance().configure(sinks);
    StressResult result;
    uint64_t seeds = options.seed;
    RandomDesired start(options.interfaces), random = start;
    std::vector<Operation> operations;
    auto life = std::make_unique<Life>(random.desired(), options);
    while (result.operations < options.operations && !life->problem()) {
        if (options.stop && options.stop()) {
            result.stopped = true;
            break;
        }
        operations.push_back({result.operations, next_random(seeds), next_random(seeds)});
        const std::string words = random.change(operations.back().change_seed);
        life->change(random.desired(), words, operations.back().fault_seed, result.operations);
        result.operations++;
        if (options.progress)
            options.progress(result.operations, options.operations);
        /* Leftovers pile up; a restarted switch must come up without any. */
        const bool power_cycle = !life->watch().clean() && next_random(seeds) % 16 == 0;
        if (life->problem() || (!power_cycle && operations.size() < 1000))
            continue;
        life->repair(random.desired());
        if (!life->problem()) {
            life->count_into(result);
            result.power_cycles++;
            start = random;
            operations.clear();
            life.reset();
            life = std::make_unique<Life>(random.desired(), options);
        }
    }
    life->count_into(result);
    const std::optional<std::string> problem = life->problem();
    life.reset();
    if (problem) {
        result.problem = Shortening(start, operations, options).run();
        if (result.problem->what.empty()) /* not reproduced */
            result.problem->what = *problem;
    }
    return result;
}

} // namespace kvnsim
