/* Brings the switch up from a source and follows it. Whatever happens to the source, the switch
 * stays as the last good reading left it. */
#include <algorithm>
#include <optional>
#include <set>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/outcome.h"
#include "sim/cli/policy.h"
#include "sim/cli/source.h"
#include "sim/cli/verb.h"
#include "sim/service/services.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"
#include "sim/switch/switch.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds quiet_time(200); /* after the last change of a burst */
constexpr seconds longest_burst(2);
constexpr milliseconds first_pause(500); /* after a failure; doubled each time */
constexpr seconds longest_pause(5);
constexpr uint64_t longest_interval = 3600; /* seconds */

class Watch {
public:
    Watch(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), policy_(arguments),
          json_(arguments.has("--json")), quiet_(arguments.has("--quiet")),
          instruments_(arguments, console), source_(make_source(arguments.value("SOURCE")))
    {}

    int run()
    {
        check_arguments();
        const std::string how = open();
        if (is_interrupted())
            return exit_signal + interrupt_signal();
        instruments_.open(arguments_.value("--timeline"));
        take_up(*std::exchange(next_, {}));
        if (goes_on())
            tell(how);
        while (goes_on()) {
            try {
                follow();
            } catch (const SourceError &error) {
                lose(error.what());
            }
        }
        return finish();
    }

private:
    /* ---- Before ---- */

    void check_arguments()
    {
        const uint64_t every = arguments_.count("--every", 1);
        if (every == 0 || every > longest_interval)
            throw UsageError(
                fmt::format("--every: expected 1 to {} seconds, not {}", longest_interval, every));
        interval_ = seconds(every);
        instruments_.prepare(arguments_.values("SOURCE"));
    }

    /* Nothing is brought up from what cannot be read. */
    std::string open()
    {
        try {
            const std::string how = source_->open();
            next_ = source_->read();
            return how;
        } catch (const SourceError &error) {
            if (is_interrupted())
                return "";
            throw InputError(fmt::format("{}: {}", source_->name(), error.what()));
        }
    }

    bool goes_on()
    {
        const bool all_done =
            arguments_.has("--bursts") && bursts_ > arguments_.count("--bursts", 0);
        return !all_done && !is_interrupted() && console_.out().flush().good();
    }

    /* ---- The source ---- */

    void tell(const std::string &what)
    {
        if (!quiet_)
            console_.note(fmt::format("{}: {}", source_->name(), what));
    }

    void follow()
    {
        if (lost_.empty()) {
            if (!source_->changed_within(interval_))
                return;
            wait_for_quiet();
            next_ = source_->read();
        } else {
            source_->changed_within(pause_);
            pause_ = std::min<milliseconds>(pause_ * 2, longest_pause);
            if (is_interrupted())
                return;
            const std::string how = source_->open();
            next_ = source_->read();
            lost_.clear();
            tell("read again; " + how);
        }
        if (next_ && !is_interrupted())
            take_up(*std::exchange(next_, {}));
    }

    void wait_for_quiet()
    {
        const auto end = std::chrono::steady_clock::now() + longest_burst;
        while (std::chrono::steady_clock::now() < end && source_->changed_within(quiet_time)) {
        }
    }

    /* Told once, however often it is tried again. */
    void lose(const std::string &why)
    {
        if (is_interrupted() || why == lost_)
            return;
        if (lost_.empty())
            pause_ = first_pause;
        lost_ = why;
        console_.error(fmt::format("{}: {}; the switch stays as it is", source_->name(), why));
        if (json_) {
            Configuration nothing;
            nothing.file = source_->name();
            print_json(nothing, nullptr, {}, {});
        }
    }

    /* ---- A burst of changes ---- */

    void take_up(Configuration configuration)
    {
        tell_new_findings(configuration);
        const bool applies = configuration.is_understood &&
                             (!policy_.refuses(configuration) || arguments_.has("--keep-going"));
        has_errors_ = policy_.refuses(configuration);
        std::optional<ConfigurationRun> outcome;
        if (applies) {
            outcome =
                apply_configuration(switch_, configuration, switch_.plan(configuration.desired),
                                    console_, !instruments_.shows_as_it_happens());
            applied_findings_ = configuration.findings;
            was_interrupted_ = outcome->applied.interrupted;
            has_failures_ = !switch_.failures().empty();
        }
        const Snapshot snapshot = now();
        if (applies)
            files_written_ &= instruments_.save_database(snapshot);
        std::set<std::string> found = words_of(policy_.judge(judge(snapshot).findings));
        std::vector<std::string> appeared, gone;
        std::set_difference(found.begin(), found.end(), found_.begin(), found_.end(),
                            std::back_inserter(appeared));
        std::set_difference(found_.begin(), found_.end(), found.begin(), found.end(),
                            std::back_inserter(gone));
        found_ = std::move(found);
        if (json_)
            print_json(configuration, outcome ? &*outcome : nullptr, appeared, gone);
        else if (!quiet_)
            print_text(configuration, outcome ? &*outcome : nullptr, appeared, gone);
        ++bursts_;
    }

    /* What was said of the configuration before is not said again. */
    void tell_new_findings(const Configuration &configuration)
    {
        Configuration told;
        std::set<std::string> texts;
        for (const Finding &finding : configuration.findings) {
            const std::string text = finding.to_text();
            if (told_.count(text) == 0)
                told.findings.push_back(finding);
            texts.insert(text);
        }
        told_ = std::move(texts);
        tell_findings({told}, policy_, !quiet_, console_);
    }

    static std::set<std::string> words_of(const std::vector<AuditFinding> &findings)
    {
        std::set<std::string> words;
        for (const AuditFinding &finding : findings)
            words.insert(to_text(finding));
        return words;
    }

    void print_text(const Configuration &configuration, const ConfigurationRun *outcome,
                    const std::vector<std::string> &appeared, const std::vector<std::string> &gone)
    {
        std::ostream &out = console_.out();
        if (outcome == nullptr) {
            out << fmt::format(
                "{}: {}; not applied{}\n", visible(configuration.file),
                finding_counts(configuration, policy_),
                configuration.is_understood ? " (--keep-going applies the valid rows)" : "");
        } else {
            out << fmt::format("{}: {}, {}\n", visible(configuration.file),
                               counted(outcome->plan.steps.size(), "step"), summary(*outcome));
            if (bursts_ == 0)
                out << ignored_tables(configuration);
            else
                for (const Step &step : outcome->plan.steps)
                    out << fmt::format("  {}\n", step.words());
        }
        for (const std::string &words : gone)
            out << fmt::format("  audit: gone: {}\n", words);
        for (const std::string &words : appeared)
            out << fmt::format("  audit: new: {}\n", words);
    }

    void print_json(const Configuration &configuration, const ConfigurationRun *outcome,
                    const std::vector<std::string> &appeared, const std::vector<std::string> &gone)
    {
        Json json;
        json.begin_object().field("burst", lost_.empty() ? std::optional(bursts_) : std::nullopt);
        write(json, configuration);
        json.text_or_null("lost", lost_).field("applied", outcome != nullptr);
        const ConfigurationRun nothing{&configuration, {}, {}};
        const ConfigurationRun &done = outcome != nullptr ? *outcome : nothing;
        write(json, done, done.applied.made_up_for);
        json.key("audit").begin_object();
        json.field("new", appeared).field("gone", gone).end_object();
        console_.out() << json.end_object().document() << std::flush;
    }

    /* ---- After ---- */

    Snapshot now() const
    {
        return capture(switch_, {source_->name()}, applied_findings_, was_interrupted_);
    }

    int finish()
    {
        instruments_.stop_timeline();
        files_written_ &= instruments_.close(now());
        const bool unused_fault = instruments_.warn_of_unused_faults();
        if (is_interrupted())
            return exit_signal + interrupt_signal();
        if (has_failures_)
            return exit_request;
        if (has_errors_ || !lost_.empty() || !files_written_)
            return exit_input;
        if (unused_fault)
            return exit_unused_fault;
        return found_.empty() ? exit_well : exit_found;
    }

    const Arguments &arguments_;
    Console &console_;
    const Policy policy_;
    const bool json_, quiet_;
    Switch switch_; /* before the instruments, which it would reset */
    Instruments instruments_;
    const std::unique_ptr<Source> source_;
    seconds interval_{1};
    milliseconds pause_ = first_pause;
    std::string lost_;                  /* why the source is lost; empty if it is not */
    std::optional<Configuration> next_; /* read, not yet taken up */
    uint64_t bursts_ = 0;               /* taken up, the first reading included */
    std::vector<Finding> applied_findings_;
    std::set<std::string> told_;  /* findings of the last configuration, in words */
    std::set<std::string> found_; /* findings of the last audit, in words */
    bool has_errors_ = false, has_failures_ = false, was_interrupted_ = false;
    bool files_written_ = true;
};

int watch(const Arguments &arguments, Console &console)
{
    return Watch(arguments, console).run();
}

} // namespace

const Verb watch_verb{
    "watch",
    "bring a switch up from a configuration and follow its changes",
    "kvnsim watch examples/leaf.json --bursts 0 --db leaf.db\n",
    with_instruments(
        {{"SOURCE", Takes::file, Times::required,
          "a config_db.json file, or the URL of a running database: "
          "redis://HOST[:PORT][/DATABASE]"},
         {"--every SECONDS", Takes::count, Times::optional,
          "how often to look for changes that nobody tells of (1)"},
         {"--bursts N", Takes::count, Times::optional,
          "end after N bursts of changes; 0: after the first reading"},
         {"--timeline [IF]", Takes::maybe_interface, Times::optional,
          "each request with its calls, of all interfaces or of one"}},
        {ignore_option,
         strict_option,
         {"--json", Takes::nothing, Times::optional,
          "a JSON document on a line of its own for each burst"},
         {"--quiet", Takes::nothing, Times::optional, "errors, warnings and failures only"}}),
    watch,
    true};

} // namespace kvnsim
