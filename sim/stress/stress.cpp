#include "sim/stress/stress.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>

#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/stress/random_desired.h"

namespace kvnsim {
namespace {

/* One operation: a random change, and the failures injected while it is applied. */
struct Operation {
    uint64_t number, change_seed, fault_seed;
};

/* What happened to whom since power-on. */
class Watch : public Observer {
public:
    Watch() { Journal::instance().add(*this); }
    ~Watch() override { Journal::instance().remove(*this); }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    void request_ends(const Request &request) override
    {
        families_[request.number] = family(request.subject);
        injected_ += request.injected_failures;
        /* What was refused in the wake of a failure spreads it. */
        if (request.injected_failures == 0 && (request.failed_calls == 0 || touched_.empty()))
            return;
        struck_.insert(request.number);
        touch(request.subject);
    }

    void failed(const Step &step) { touch(step.name); }

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
        /* What concerns no interface is the switch's: its router MAC. */
        return touches(finding.interface.empty() ? "switch" : finding.interface) ||
               std::any_of(finding.requests.begin(), finding.requests.end(), [&](uint64_t request) {
                   return struck_.count(request) != 0 || touches_maker(request);
               });
    }

private:
    /* An interface and those that it stands on share their fate. */
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

    void touch(const std::string &name)
    {
        for (std::string &one : family(name))
            touched_.insert(std::move(one));
    }

    bool touches(const std::string &name) const { return touches(family(name)); }

    /* What an interface made and a later failure leaked has no other trace of its owner. */
    bool touches_maker(uint64_t request) const
    {
        const auto maker = families_.find(request);
        return maker != families_.end() && touches(maker->second);
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
    uint64_t injected_ = 0;
};

/* A switch from power-on to power-off. */
class Life {
public:
    Life(const RandomDesired &start, const StressOptions &options)
        : random_(start), options_(options)
    {
        problem_ = apply("power-on");
    }

    /* Make the change and apply it; what is wrong without a failure behind it. */
    const std::optional<std::string> &make(const Operation &operation)
    {
        words_ = random_.change(operation.change_seed);
        Journal::instance().faults.set_rate(options_.fail_rate, operation.fault_seed);
        problem_ = apply(words_);
        Journal::instance().faults.clear();
        if (!problem_ && options_.sabotage) {
            options_.sabotage(switch_, operation.number);
            problem_ = audited();
        }
        return problem_;
    }

    const RandomDesired &random() const { return random_; }
    const std::string &words() const { return words_; }
    const std::optional<std::string> &problem() const { return problem_; }
    bool clean() const { return watch_.clean(); }

    void count_into(StressResult &result) const
    {
        result.requests += Journal::instance().requests_made();
        result.calls += Journal::instance().calls_made;
        result.injected += watch_.injected();
        result.failed_steps += failed_steps_;
        result.findings += findings_;
    }

private:
    std::optional<std::string> apply(const std::string &change)
    {
        const Applied applied = switch_.apply(random_.desired());
        failed_steps_ += applied.failures.size();
        for (const Failure &failure : applied.failures) {
            if (!watch_.explains(failure))
                return change + ": " + failure.step.words + ": " + failure.message;
            watch_.failed(failure.step);
        }
        return audited();
    }

    std::optional<std::string> audited()
    {
        const std::vector<AuditFinding> findings = audit(capture(switch_));
        findings_ += findings.size();
        for (const AuditFinding &finding : findings) {
            if (!watch_.explains(finding))
                return std::string(to_text(finding.kind)) + ": " + finding.words;
        }
        return std::nullopt;
    }

    RandomDesired random_;
    const StressOptions &options_;
    Switch switch_;
    Watch watch_;
    std::string words_;
    std::optional<std::string> problem_;
    uint64_t failed_steps_ = 0, findings_ = 0;
};

uint64_t next(uint64_t &state)
{
    state += 0x9e3779b97f4a7c15;
    uint64_t z = state;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
}

/* The words of the changes when these operations still end in a problem; else empty. */
std::vector<std::string> fails(const RandomDesired &start, const std::vector<Operation> &operations,
                               const StressOptions &options, std::string &what)
{
    std::vector<std::string> words;
    Life life(start, options);
    for (const Operation &operation : operations) {
        const auto &problem = life.make(operation);
        words.push_back(life.words());
        if (problem) {
            what = *problem;
            return words;
        }
    }
    return {};
}

/* Leave out what is not needed to see a problem: halves first, then single operations. */
StressProblem shortest(const RandomDesired &start, std::vector<Operation> operations,
                       const StressOptions &options, std::string what)
{
    std::vector<std::string> words = fails(start, operations, options, what);
    const size_t tries = 2000;
    size_t tried = 0;
    for (size_t chunk = std::max<size_t>(operations.size() / 2, 1);; chunk /= 2) {
        for (size_t at = 0; at < operations.size() && tried < tries;) {
            std::vector<Operation> fewer = operations;
            const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.erase(
                from, from + static_cast<std::ptrdiff_t>(std::min(chunk, operations.size() - at)));
            ++tried;
            std::vector<std::string> still = fails(start, fewer, options, what);
            if (still.empty()) {
                at += chunk;
            } else {
                fewer.resize(still.size());
                operations = std::move(fewer);
                words = std::move(still);
            }
        }
        if (chunk <= 1)
            break;
    }
    return {std::move(what), std::move(words)};
}

} // namespace

StressResult stress(const StressOptions &options)
{
    StressResult result;
    uint64_t seeds = options.seed;
    RandomDesired start(options.interfaces);
    std::vector<Operation> operations;
    auto life = std::make_unique<Life>(start, options);
    while (result.operations < options.operations && !result.problem) {
        if (options.stop && options.stop()) {
            result.stopped = true;
            break;
        }
        operations.push_back({result.operations, next(seeds), next(seeds)});
        life->make(operations.back());
        result.operations++;
        if (options.progress)
            options.progress(result.operations, options.operations);
        /* Leftovers pile up; a switch started afresh must come up without any. */
        const bool power_cycle = !life->clean() && next(seeds) % 16 == 0;
        if (!life->problem() && (power_cycle || operations.size() >= 1000)) {
            life->count_into(result);
            result.power_cycles++;
            start = life->random();
            operations.clear();
            life.reset();
            life = std::make_unique<Life>(start, options);
        }
        if (life->problem())
            result.problem.emplace(StressProblem{*life->problem(), {}});
    }
    life->count_into(result);
    life.reset();
    if (result.problem)
        result.problem = shortest(start, operations, options, result.problem->what);
    return result;
}

} // namespace kvnsim
