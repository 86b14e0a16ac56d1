/* One way from results to what is printed, whether they were made here or come from files: so what
 * shares give together is what one run gives. */
#include <algorithm>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "sim/campaign/results_file.h"
#include "sim/cli/campaign_options.h"
#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/outcome.h"
#include "sim/cli/output_file.h"
#include "sim/cli/policy.h"
#include "sim/cli/stored.h"
#include "sim/cli/verb.h"
#include "sim/config/database_url.h"
#include "sim/config/names.h"
#include "sim/faults/fault_campaign.h"
#include "sim/faults/fault_groups.h"
#include "sim/report/report.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr const char *campaign_kind = "faults";

constexpr Option configurations_operand{
    "CONFIG", Takes::file, Times::some,
    "what to apply, one after another, as for `kvnsim run`; with --merge, results"};
constexpr Option calls_option{"--calls CALL", Takes::call, Times::any,
                              "fail occurrences of this call only"};
constexpr Option status_option{
    "--status STATUS", Takes::status, Times::optional,
    "fail with this status, such as SDK_E_TIMEOUT or -8 (SDK_E_INTERNAL, -1)"};
constexpr Option pairs_option{"--pairs", Takes::nothing, Times::optional,
                              "two failures at a time: after each one, each later call"};
constexpr Option sample_option{"--sample N", Takes::count, Times::optional,
                               "N of all, chosen by --seed"};
constexpr Option seed_option{"--seed N", Takes::count, Times::optional,
                             "for --sample: the same seed chooses the same failures (1)"};
constexpr Option report_option{"--report HTML", Takes::file, Times::optional,
                               "the same as a page too, one file that needs no network"};
constexpr Option all_option{"--all", Takes::nothing, Times::optional,
                            "each failure on a line of its own"};

/* What is known of the whole campaign, by its names among the options of results. */
constexpr const char *no_call_key = "never called", *other_calls_key = "of other calls",
                     *unsampled_key = "not in the sample";
constexpr char separator = ',';

/* ---- What was asked for ---- */

std::vector<const ImportedCall *> calls_named(const Words &names)
{
    std::vector<const ImportedCall *> calls;
    for (const std::string &name : names) {
        const ImportedCall *call = ImportedCall::find(name);
        if (call == nullptr || !call->can_fail()) {
            refuse<UsageError>(Faults().add(name), "--calls: ");
            throw UsageError(fmt::format("--calls: expected a call alone, not \"{}\"", name));
        }
        if (std::find(calls.begin(), calls.end(), call) == calls.end())
            calls.push_back(call);
    }
    return calls;
}

/* A status has a name where a call's statuses have; its number is for all. */
int32_t status_named(const std::string &text)
{
    for (const ImportedCall *call : ImportedCall::all()) {
        const auto status = call->has_status() ? call->status_of(text) : std::nullopt;
        if (status && *status == 0)
            throw UsageError("--status: status 0 is success; expected a failure");
        if (status)
            return *status;
    }
    throw UsageError(
        fmt::format("--status: \"{}\" is not a status; expected SDK_E_... or a number", text));
}

FaultOptions options_of(const Arguments &arguments, Console &console)
{
    FaultOptions options;
    options.calls = calls_named(arguments.values(calls_option.name()));
    if (arguments.has(status_option.name()))
        options.status = status_named(arguments.value(status_option.name()));
    options.pairs = arguments.has(pairs_option.name());
    if (arguments.has(sample_option.name()))
        options.sample = arguments.count(sample_option.name(), 0);
    else if (arguments.has(seed_option.name()))
        throw UsageError("--seed is for --sample, which is missing");
    options.seed = arguments.count(seed_option.name(), options.seed);
    options.jobs = jobs_given(arguments);
    options.limit = timeout_given(arguments);
    options.shard = shard_given(arguments).value_or(Shard());
    options.stop = is_interrupted;
    options.progress = [&](const char *what, uint64_t done, uint64_t of) {
        console.progress(what, done, of);
    };
    return options;
}

/* ---- Which results they are ---- */

/* Every share must read the same. */
void refuse_what_is_no_file(const Arguments &arguments)
{
    for (const std::string &name : arguments.values(configurations_operand.name())) {
        if (name == "-" || is_database_url(name))
            throw UsageError("--shard: expected files: every share must read the same");
    }
}

std::vector<CampaignFile> files_of(const std::vector<Configuration> &configurations)
{
    std::vector<CampaignFile> files;
    for (const Configuration &one : configurations) {
        std::string text;
        const bool is_read =
            one.file != "-" && !is_database_url(one.file) && read_file(one.file, text).empty();
        files.push_back({one.file, is_read ? sha256_of(text) : ""});
    }
    return files;
}

Campaign campaign_of(const Arguments &arguments, const FaultOptions &options,
                     const FaultCount &count, std::vector<CampaignFile> files)
{
    std::vector<std::string> calls;
    for (const ImportedCall *call : options.calls)
        calls.emplace_back(call->name());
    std::sort(calls.begin(), calls.end());
    const auto joined = [](const std::vector<std::string> &texts) {
        return fmt::format("{}", fmt::join(texts, std::string(1, separator)));
    };
    Campaign campaign;
    campaign.kind = campaign_kind;
    campaign.version = KVNSIM_VERSION;
    campaign.word_size = 8 * sizeof(void *);
    campaign.options = {
        {calls_option.name(), joined(calls)},
        {status_option.name(), std::to_string(options.status)},
        {pairs_option.name(), options.pairs ? "yes" : "no"},
        {timeout_option.name(), std::to_string(options.limit.count())},
        {sample_option.name(), options.sample ? std::to_string(*options.sample) : ""},
        {seed_option.name(), options.sample ? std::to_string(options.seed) : ""},
        {keep_going_option.name(), arguments.has(keep_going_option.name()) ? "yes" : "no"},
        {no_call_key, joined(count.no_call)},
        {other_calls_key, std::to_string(count.other_calls)},
        {unsampled_key, std::to_string(count.unsampled)},
    };
    campaign.files = std::move(files);
    campaign.items = count.items;
    campaign.shard = options.shard;
    return campaign;
}

std::string option(const Campaign &campaign, std::string_view name)
{
    for (const auto &[known, value] : campaign.options) {
        if (known == name)
            return value;
    }
    throw ResultsError(fmt::format("the results lack the option \"{}\"", name));
}

std::vector<std::string> list_option(const Campaign &campaign, std::string_view name)
{
    std::vector<std::string> texts;
    const std::string all = option(campaign, name);
    for (size_t from = 0, end = 0; from < all.size(); from = end + 1) {
        end = std::min(all.find(separator, from), all.size());
        texts.push_back(all.substr(from, end - from));
    }
    return texts;
}

uint64_t number_option(const Campaign &campaign, std::string_view name)
{
    const std::string text = option(campaign, name);
    const auto number = parse_number(text, 0, UINT32_MAX);
    if (!number)
        throw ResultsError(
            fmt::format("the results' option \"{}\" is no number: {}", name, printable(text)));
    return *number;
}

/* ---- What is printed ---- */

class Printing {
public:
    Printing(const Arguments &arguments, Console &console, const Campaign &campaign,
             std::vector<FaultRow> rows)
        : arguments_(arguments), console_(console), campaign_(campaign), rows_(std::move(rows)),
          is_pairs_(option(campaign, pairs_option.name()) == "yes")
    {
        std::sort(rows_.begin(), rows_.end(),
                  [](const FaultRow &a, const FaultRow &b) { return a.item < b.item; });
        summary_ = summary_of(rows_);
    }

    int print()
    {
        if (arguments_.has("--json"))
            print_json();
        else
            print_text();
        if (arguments_.has(report_option.name()))
            write_page(arguments_.value(report_option.name()), page(), console_);
        return summary_.do_not_heal != 0 ? exit_found : exit_well;
    }

private:
    void print_text()
    {
        if (!rows_.empty()) {
            const Listing listing =
                arguments_.has(all_option.name()) ? show(rows_) : show(groups_of(rows_));
            console_.print_titled(to_text(listing, page_on(console_, arguments_)));
        }
        console_.out() << verdict() << '\n';
    }

    std::string page() const
    {
        FaultsPage page;
        for (const CampaignFile &file : campaign_.files)
            page.configurations.push_back(file.name);
        page.verdict = verdict();
        page.pairs = is_pairs_;
        page.tried = summary_.tried;
        page.heal = summary_.heal;
        page.do_not_heal = summary_.do_not_heal;
        for (const FaultRow &row : rows_)
            page.most_services = std::max(page.most_services, uint64_t{row.services.size()});
        page.groups = show(groups_of(rows_));
        page.failures = show(rows_);
        return faults_page(page);
    }

    /* How many were tried and heal, and in the same breath what was not tried. */
    std::string verdict() const
    {
        std::string line =
            fmt::format("{} tried: {} heal, {} do not",
                        is_pairs_ ? counted(summary_.tried, "pair of failures", "pairs of failures")
                                  : counted(summary_.tried, "failure"),
                        summary_.heal, summary_.do_not_heal);
        if (summary_.die != 0)
            line += fmt::format("; the process died of {}", summary_.die);
        const std::vector<std::string> left_out = not_tried();
        line += left_out.empty() ? "; nothing was left out"
                                 : fmt::format("; not tried: {}", fmt::join(left_out, ", "));
        return line;
    }

    std::vector<std::string> not_tried() const
    {
        std::vector<std::string> parts;
        if (const auto calls = list_option(campaign_, no_call_key); !calls.empty())
            parts.push_back(fmt::format("{} that these configurations never lead to ({})",
                                        counted(calls.size(), "call"),
                                        visible(fmt::format("{}", fmt::join(calls, ", ")))));
        const auto add = [&](uint64_t number, const char *why) {
            if (number != 0)
                parts.push_back(fmt::format("{} {}", number, why));
        };
        add(number_option(campaign_, other_calls_key), "of calls other than those of --calls");
        add(number_option(campaign_, unsampled_key), "left out by --sample");
        add(campaign_.items - summary_.tried, "because of the interrupt");
        return parts;
    }

    void print_json()
    {
        Json json;
        json.begin_object().key("configurations").begin_array();
        for (const CampaignFile &file : campaign_.files)
            json.value(file.name);
        json.end_array().field("pairs", is_pairs_).field("tried", summary_.tried);
        json.field("heal", summary_.heal).field("do_not_heal", summary_.do_not_heal);
        json.field("die", summary_.die).key("not_tried").begin_object();
        json.field("never_called", list_option(campaign_, no_call_key));
        json.field("other_calls", number_option(campaign_, other_calls_key));
        json.field("unsampled", number_option(campaign_, unsampled_key));
        json.field("interrupted", campaign_.items - summary_.tried).end_object();
        write(json.key("groups"), show(groups_of(rows_)));
        json.key("failures").begin_array();
        for (const FaultRow &row : rows_)
            write(json, row);
        console_.out() << json.end_array().end_object().document();
    }

    const Arguments &arguments_;
    Console &console_;
    const Campaign &campaign_;
    std::vector<FaultRow> rows_;
    const bool is_pairs_;
    FaultSummary summary_;
};

/* ---- The ways to results ---- */

int merge_results(const Arguments &arguments, Console &console)
{
    refuse_with_merge(arguments, {calls_option, status_option, pairs_option, sample_option,
                                  seed_option, keep_going_option});
    const Results results =
        merge(arguments.values(configurations_operand.name()), campaign_kind, KVNSIM_VERSION);
    for (const std::string &note : results.notes)
        console.note(note);
    std::vector<FaultRow> rows;
    for (const auto &[item, line] : results.lines)
        rows.push_back(fault_row(line, results.places.at(item)));
    return Printing(arguments, console, results.campaign, std::move(rows)).print();
}

/* The share's results; the exit status is that of its own failures. */
int write_share(const Arguments &arguments, Console &console, FaultCampaign &campaign,
                const Campaign &identity)
{
    CampaignOutput output(arguments, arguments.values(configurations_operand.name()), identity,
                          console);
    bool heals = true;
    const bool complete = campaign.run([&](const FaultRow &row) {
        heals &= healing_of(row) == Healing::yes;
        output.write(to_line(row));
    });
    console.clear_progress();
    if (!complete) {
        console.error("kvnsim: interrupted: the results lack the rest");
        return exit_signal + interrupt_signal();
    }
    return heals ? exit_well : exit_found;
}

int faults(const Arguments &arguments, Console &console)
{
    check_overwrites(arguments, report_option, OutputKind::page);
    if (arguments.has(merge_option.name()))
        return merge_results(arguments, console);
    const bool is_share = arguments.has(shard_option.name());
    for (const Option &printed : {json_option, all_option, report_option}) {
        if (is_share && arguments.has(printed.name()))
            throw UsageError(fmt::format("--shard writes results to merge: give --merge the {}",
                                         printed.name()));
    }
    const FaultOptions options = options_of(arguments, console);
    if (is_share)
        refuse_what_is_no_file(arguments);
    const Policy policy(arguments);
    const std::vector<Configuration> configurations = read_configurations(arguments, console);
    if (are_refused(configurations, policy, arguments, console))
        return exit_input;
    FaultCampaign campaign(configurations, options);
    const Campaign identity =
        campaign_of(arguments, options, campaign.count(), files_of(configurations));
    if (is_share)
        return write_share(arguments, console, campaign, identity);
    std::vector<FaultRow> rows;
    campaign.run([&](FaultRow row) { rows.push_back(std::move(row)); });
    console.clear_progress();
    const int status = Printing(arguments, console, identity, std::move(rows)).print();
    if (interrupt_signal() != 0) {
        console.error("kvnsim: interrupted: the rest was not tried");
        return exit_signal + interrupt_signal();
    }
    return policy.refuses_any(configurations) ? int{exit_input} : status;
}

} // namespace

const Verb faults_verb{
    "faults",
    "fail each call once, and tell what is lost and whether it heals",
    "kvnsim faults examples/leaf.json\n"
    "kvnsim faults examples/small_change_before.json examples/small_change_after.json --all\n"
    "kvnsim faults examples/leaf.json --pairs --sample 1000 --seed 7\n"
    "kvnsim faults examples/leaf.json --calls libsdk_intf_create --shard 1/2 -o 1.jsonl\n"
    "kvnsim faults examples/leaf.json --calls libsdk_intf_create --shard 2/2 -o 2.jsonl\n"
    "kvnsim faults --merge 1.jsonl 2.jsonl\n",
    {configurations_operand, calls_option, status_option, pairs_option, sample_option, seed_option,
     jobs_option, timeout_option, shard_option, results_option, merge_option, keep_going_option,
     report_option, force_option, all_option, wide_option, json_option},
    faults,
    true};

} // namespace kvnsim
