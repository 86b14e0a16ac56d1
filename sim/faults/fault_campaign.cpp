/* One process applies the configurations from power-on, with every call succeeding, and at each
 * call forks: the child fails that call, goes on to the end of the configuration, and tells what it
 * finds. So what came before a failure is done once for all of them. With pairs a child is such a
 * process itself, for the calls after its failure. Forking happens inside the library's call; an
 * exception must not pass through it and is kept until the configuration has ended. */
#include "sim/faults/fault_campaign.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "sim/campaign/workers.h"
#include "sim/faults/sample.h"
#include "sim/fwm/diagnostics.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/sdk_codecs.h"
#include "sim/service/services.h"
#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

/* A text for each combination of texts, which have no such character. */
template <class... Texts> std::string key_of(const Texts &...texts)
{
    std::string key;
    ((key.append(texts), key += '\0'), ...);
    return key;
}

/* What a finding is about. Its words name requests, whose numbers a failure changes. */
std::string key_of(const AuditFinding &finding)
{
    return key_of(finding.code, finding.object, to_text(finding.property), finding.interface,
                  finding.other, finding.virtual_mac ? to_text(*finding.virtual_mac) : "");
}
std::string key_of(const Service &service)
{
    return key_of(service.interface, service.port, service.family, service.to);
}
bool same_service(const Service &a, const Service &b)
{
    return a.wanted == b.wanted && a.vrf == b.vrf && a.mtu == b.mtu && a.state == b.state;
}

Judgement observe(const Switch &of, const std::vector<Finding> &reader)
{
    return judge(capture(of, {}, reader));
}

/* What a run without failures does at the end of a configuration. */
class Reference {
public:
    explicit Reference(Judgement seen) : seen_(std::move(seen))
    {
        for (const AuditFinding &finding : seen_.findings)
            findings_.insert(key_of(finding));
        for (const Service &service : seen_.services)
            services_.emplace(key_of(service), &service);
    }
    Reference(Reference &&) = default;

    std::vector<FaultFinding> beyond(const std::vector<AuditFinding> &findings) const
    {
        std::unordered_multiset<std::string> known = findings_;
        std::vector<FaultFinding> all;
        for (const AuditFinding &finding : findings) {
            const auto found = known.find(key_of(finding));
            if (found != known.end())
                known.erase(found);
            else
                all.push_back({to_text(finding.kind), finding.code, finding.object,
                               to_text(finding.property), finding.interface, finding.words});
        }
        return all;
    }

    std::vector<FaultService> lost(const std::vector<Service> &services) const
    {
        std::vector<FaultService> all;
        for (const Service &service : services) {
            if (service.is_fault() && !has(service))
                all.push_back({service.interface, service.port, service.family, service.to,
                               to_text(service.state), service.reason});
        }
        return all;
    }

    bool is_like(const Judgement &other) const
    {
        return other.findings.size() == seen_.findings.size() && beyond(other.findings).empty() &&
               other.services.size() == seen_.services.size() &&
               std::all_of(other.services.begin(), other.services.end(),
                           [this](const Service &service) { return has(service); });
    }

private:
    bool has(const Service &service) const
    {
        const auto found = services_.find(key_of(service));
        return found != services_.end() && same_service(*found->second, service);
    }

    Judgement seen_;
    std::unordered_multiset<std::string> findings_;
    std::unordered_map<std::string, const Service *> services_;
};

Sinks sinks_without_error_store(Sinks sinks)
{
    sinks.error_groups = 0; /* every snapshot would copy it */
    return sinks;
}

} // namespace

class FaultCampaign::Trial {
public:
    Trial(const std::vector<Configuration> &configurations, FaultOptions options)
        : options_(std::move(options))
    {
        Diagnostics::instance().configure(sinks_without_error_store(scope_.before));
        for (const Configuration &one : configurations)
            configurations_.push_back(
                {one.file, one.findings, std::make_shared<const Desired>(one.desired)});
        at_end_ = [this] { references_.emplace_back(observe(*switch_, configuration().findings)); };
        apply_all();
        points_ = at_;
        for (const ImportedCall *call : ImportedCall::all()) {
            if (call->can_fail() && is_to_fail(*call) && seen_.count(call) == 0)
                count_.no_call.emplace_back(call->name());
        }
        for (const auto &[call, times] : seen_)
            count_.other_calls += is_to_fail(*call) ? 0 : times;
        if (options_.pairs)
            count_pairs();
        const uint64_t all = options_.pairs ? before_.back() : points_;
        sample_.emplace(all, options_.sample, options_.seed);
        count_.items = sample_->size();
        count_.unsampled = all - count_.items;
    }

    ~Trial() { Journal::instance().faults.clear(); } /* an exception left them */

    const FaultCount &count() const { return count_; }

    bool run(const std::function<void(FaultRow row)> &done)
    {
        if (stopped_)
            return false;
        const Shard &share = options_.shard;
        const uint64_t of =
            count_.items < share.index ? 0 : (count_.items - share.index) / share.of + 1;
        uint64_t so_far = 0;
        Workers workers(
            /* Of pairs, a child's own children have the limit. */
            worker_options(options_.jobs, options_.pairs ? std::chrono::seconds() : options_.limit),
            [&](uint64_t item, const Workers::Result &result) {
                for (FaultRow &row : rows_of(item, result)) {
                    done(std::move(row));
                    if (options_.progress)
                        options_.progress("failure", ++so_far, of);
                }
            });
        workers_ = &workers;
        at_point_ = [this](const ImportedCall &call, Inputs inputs) {
            return options_.pairs ? fail_first(call, inputs) : fail_only(call, inputs);
        };
        apply_all();
        if (second_)
            finish_seconds();
        workers.finish_all();
        return !workers.stopped();
    }

private:
    using Inputs = std::initializer_list<Argument>;
    using AtPoint = std::function<bool(const ImportedCall &, Inputs)>;

    struct Configured {
        std::string file;
        std::vector<Finding> findings;
        std::shared_ptr<const Desired> wanted;
    };
    const Configured &configuration() const { return configurations_[now_]; }

    bool is_to_fail(const ImportedCall &call) const
    {
        const auto &calls = options_.calls;
        return calls.empty() || std::find(calls.begin(), calls.end(), &call) != calls.end();
    }

    Workers::Options worker_options(uint32_t jobs, std::chrono::seconds limit) const
    {
        return {jobs, limit, options_.stop};
    }

    /* ---- The process that forks ---- */

    /* Apply the configurations from power-on. at_point_ is asked at each call that is to fail;
     * at_end_ comes after each configuration. In a child both are what it made of them. */
    void apply_all()
    {
        switch_.reset();
        switch_ = std::make_unique<Switch>();
        seen_.clear();
        at_ = 0;
        Journal::instance().faults.ask = [this](const ImportedCall &call, Inputs inputs) {
            return asked(call, inputs);
        };
        for (now_ = 0; now_ < configurations_.size() && !stops(); ++now_) {
            const auto &wanted = configuration().wanted;
            switch_->apply(switch_->plan(*wanted), wanted, [this] { return stops(); });
            if (problem_)
                std::rethrow_exception(problem_);
            if (at_end_ && !stopped_)
                at_end_();
        }
        Journal::instance().faults.clear();
        at_point_ = nullptr;
        at_end_ = nullptr;
    }

    bool stops()
    {
        if (!is_child_ && options_.stop && options_.stop())
            stopped_ = true;
        return stopped_ || problem_ != nullptr;
    }

    std::optional<int32_t> asked(const ImportedCall &call, Inputs inputs)
    {
        ++seen_[&call];
        if (!is_to_fail(call))
            return std::nullopt;
        ++at_;
        if (!at_point_ || stopped_ || problem_)
            return std::nullopt;
        try {
            const AtPoint ask = at_point_; /* which a child replaces */
            if (ask(call, inputs))
                return options_.status;
        } catch (...) {
            problem_ = std::current_exception();
        }
        return std::nullopt;
    }

    /* The call in flight, as the next place to fail. */
    FaultPlace place(const ImportedCall &call, Inputs inputs)
    {
        FaultPlace place;
        place.fault = Faults::text(call, seen_[&call], options_.status);
        place.call = call.name();
        for (const Argument &argument : inputs) {
            if (argument.is_output)
                continue;
            const Value value =
                argument.data != nullptr ? argument.codec->read(argument.data) : Value();
            place.arguments += (place.arguments.empty() ? "" : " ") + std::string(argument.name) +
                               '=' + value.to_text();
            if (argument.codec == &attribute_codec())
                place.attribute = value.string();
        }
        place.file = configuration().file;
        if (const RequestRef request = Journal::instance().current()) {
            place.cause = request->cause.to_text();
            place.request = request->number;
            place.entry = request->entry;
            place.requested = request->arguments.to_text();
        }
        return place;
    }

    /* In the child: the call in flight fails. */
    void strike(FaultPlace place)
    {
        is_child_ = true;
        struck_.push_back(std::move(place));
        requests_.push_back(Journal::instance().current());
        at_point_ = nullptr;
        at_end_ = nullptr;
    }

    /* Fork for an item: true in the child, in which the call fails. */
    bool fork_for(uint64_t item, Workers &workers, const ImportedCall &call, Inputs inputs)
    {
        FaultPlace here = place(call, inputs);
        std::vector<FaultPlace> &places = begun_[item];
        places = struck_;
        places.push_back(here);
        if (!workers.start(item)) {
            stopped_ |= workers.stopped();
            return false;
        }
        strike(std::move(here));
        return true;
    }

    bool is_of_share(uint64_t item) const { return item != 0 && options_.shard.has(item); }

    bool fail_only(const ImportedCall &call, Inputs inputs)
    {
        const uint64_t item = sample_->position(at_);
        if (!is_of_share(item) || !fork_for(item, *workers_, call, inputs))
            return false;
        at_end_ = [this, item] { workers_->finish(to_line(consequences(item))); };
        return true;
    }

    /* The results of a child. */
    std::vector<FaultRow> rows_of(uint64_t item, const Workers::Result &result)
    {
        const std::vector<FaultPlace> places = std::move(begun_[item]);
        begun_.erase(item);
        std::vector<FaultRow> rows;
        if (result.death.empty()) {
            size_t from = 0;
            for (size_t end; (end = result.text.find('\n', from)) != std::string::npos;
                 from = end + 1)
                rows.push_back(fault_row(result.text.substr(from, end - from), "a child's result"));
            if (from < result.text.size())
                rows.push_back(fault_row(result.text.substr(from), "a child's result"));
            return rows;
        }
        for (const uint64_t lost :
             options_.pairs && !second_ ? items_of(item) : std::vector<uint64_t>{item}) {
            FaultRow &row = rows.emplace_back();
            row.item = lost;
            row.places = places;
            row.death = result.death;
        }
        return rows;
    }

    /* ---- Pairs ---- */

    static size_t index(uint64_t number) { return static_cast<size_t>(number); }

    /* How many second calls there are after each first one. */
    void count_pairs()
    {
        std::vector<uint64_t> seconds(index(points_), 0);
        dies_.assign(index(points_), false);
        uint64_t counted = 0;
        Workers workers(
            worker_options(options_.jobs, options_.limit),
            [&](uint64_t first, const Workers::Result &result) {
                begun_.erase(first);
                dies_[index(first - 1)] = !result.death.empty();
                seconds[index(first - 1)] = dies_[index(first - 1)] ? 1 : std::stoull(result.text);
                if (options_.progress)
                    options_.progress("counting what follows failure", ++counted, points_);
            });
        at_point_ = [&](const ImportedCall &call, Inputs inputs) {
            if (!fork_for(at_, workers, call, inputs))
                return false;
            at_ = 0;
            return true;
        };
        apply_all();
        if (is_child_)
            workers.finish(std::to_string(at_));
        workers.finish_all();
        stopped_ |= workers.stopped();
        before_.assign(1, 0);
        for (const uint64_t one : seconds)
            before_.push_back(before_.back() + one);
    }

    /* Those of the share that are after the first failure. */
    std::vector<uint64_t> items_of(uint64_t first) const
    {
        std::vector<uint64_t> items;
        for (uint64_t pair = before_[index(first - 1)] + 1; pair <= before_[index(first)]; ++pair) {
            if (const uint64_t item = sample_->position(pair); is_of_share(item))
                items.push_back(item);
        }
        return items;
    }

    bool fail_first(const ImportedCall &call, Inputs inputs)
    {
        const uint64_t first = at_;
        const std::vector<uint64_t> items = items_of(first);
        if (items.empty() || !fork_for(first, *workers_, call, inputs))
            return false;
        at_ = 0;
        if (dies_[index(first - 1)]) { /* and nothing comes second */
            at_end_ = [this, item = items[0]] { workers_->finish(to_line(consequences(item))); };
            return true;
        }
        begun_.clear();
        second_ = std::make_unique<Workers>(worker_options(1, options_.limit),
                                            [this](uint64_t item, const Workers::Result &result) {
                                                for (const FaultRow &row : rows_of(item, result))
                                                    lines_ += to_line(row) + '\n';
                                            });
        at_point_ = [this, first](const ImportedCall &then, Inputs with) {
            const uint64_t item = sample_->position(before_[index(first - 1)] + at_);
            if (!is_of_share(item) || !fork_for(item, *second_, then, with))
                return false;
            at_end_ = [this, item] { second_->finish(to_line(consequences(item))); };
            return true;
        };
        return true;
    }

    [[noreturn]] void finish_seconds()
    {
        second_->finish_all();
        workers_->finish(lines_);
    }

    /* ---- The child ---- */

    /* What the failures led to, at the end of the configuration in which the last one was. */
    FaultRow consequences(uint64_t item)
    {
        Journal::instance().faults.clear();
        const Reference &reference = references_[now_];
        const std::vector<Finding> &reader = configuration().findings;
        FaultRow row;
        row.item = item;
        row.places = struck_;
        for (size_t i = 0; i < struck_.size(); ++i) {
            if (requests_[i] != nullptr)
                row.places[i].result = requests_[i]->result;
        }
        Judgement seen = observe(*switch_, reader);
        row.left = reference.beyond(seen.findings);
        row.services = reference.lost(seen.services);
        const auto &wanted = configuration().wanted;
        if (const Plan again = switch_->plan(*wanted); !again.empty()) {
            switch_->apply(again, wanted);
            seen = observe(*switch_, reader);
        }
        row.heals = reference.is_like(seen);
        row.left_again = reference.beyond(seen.findings);
        row.services_again = reference.lost(seen.services);
        tear_down(row);
        return row;
    }

    void tear_down(FaultRow &row)
    {
        switch_->apply(Desired());
        row.left_at_end = Reference({}).beyond(audit(capture(*switch_)));
        Asic::instance().each<TableUse>([&](const TableUse &table) {
            if (table.used != 0)
                row.asic_at_end.push_back({std::string(table.name), table.used});
        });
    }

    const SinksScope scope_;
    const FaultOptions options_;
    std::vector<Configured> configurations_;
    std::vector<Reference> references_; /* of each configuration */
    FaultCount count_;
    uint64_t points_ = 0; /* calls to fail in a run without failures */
    std::optional<Sample> sample_;

    /* Of pairs, by the number of the first failure. */
    std::vector<uint64_t> before_; /* how many pairs begin with an earlier one; then: all */
    std::vector<bool> dies_;       /* the process dies of the first failure alone */

    /* The process as it is now. */
    std::unique_ptr<Switch> switch_;
    size_t now_ = 0;                                          /* the configuration */
    std::unordered_map<const ImportedCall *, uint64_t> seen_; /* occurrences of each call */
    uint64_t at_ = 0; /* calls to fail since power-on or, in a child, since its failure */
    AtPoint at_point_;
    std::function<void()> at_end_;
    Workers *workers_ = nullptr;
    std::unordered_map<uint64_t, std::vector<FaultPlace>> begun_; /* where its children failed */
    std::exception_ptr problem_;
    bool stopped_ = false;

    /* Of a child. */
    bool is_child_ = false;
    std::vector<FaultPlace> struck_;
    std::vector<RequestRef> requests_;
    std::unique_ptr<Workers> second_; /* of a child that is to have children */
    std::string lines_;               /* their results */
};

FaultCampaign::FaultCampaign(const std::vector<Configuration> &configurations, FaultOptions options)
    : trial_(std::make_unique<Trial>(configurations, std::move(options)))
{}
FaultCampaign::~FaultCampaign() = default;

const FaultCount &FaultCampaign::count() const
{
    return trial_->count();
}

bool FaultCampaign::run(const std::function<void(FaultRow row)> &done)
{
    return trial_->run(done);
}

} // namespace kvnsim
