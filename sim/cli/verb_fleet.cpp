#include <map>
#include <optional>

#include <fmt/format.h>

#include "sim/campaign/results_file.h"
#include "sim/campaign/workers.h"
#include "sim/cli/campaign_options.h"
#include "sim/cli/console.h"
#include "sim/cli/fleet_files.h"
#include "sim/cli/fleet_formats.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/output_file.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr const char *kind_of_campaign = "fleet";

constexpr Option files_operand{
    "FILE", Takes::file, Times::some,
    "config_db.json files, and folders of them; with --merge, results that --shard wrote"};
constexpr Option check_option{"--check", Takes::nothing, Times::optional,
                              "only read and check: apply nothing"};
constexpr Option format_option{"--format text|json|sarif|junit|github", Takes::choice,
                               Times::optional, "what to print (text)"};

std::string line_of(const FleetResult &result)
{
    Json json;
    write(json, result);
    return json.text();
}

FleetResult result_in(const std::string &line, const std::string &place)
{
    const rapid::Document json = parse_line(line, place);
    return read_fleet_result(ResultObject(json, place));
}

std::string format_wanted(const Arguments &arguments)
{
    const std::string &format = arguments.value(format_option.name());
    if (!arguments.has(json_option.name()))
        return format.empty() ? "text" : format;
    if (!format.empty() && format != "json")
        throw UsageError(fmt::format("--json and --format {}", format));
    return "json";
}

void print(const FleetResults &results, const Arguments &arguments, Console &console)
{
    console.out() << fleet_format(format_wanted(arguments)).text(results);
}

class Fleet {
public:
    Fleet(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console),
          policy_(arguments), options_{policy_, arguments.has(check_option.name()),
                                       arguments.has(keep_going_option.name()),
                                       arguments.values(limit_option.name())}
    {}

    int run()
    {
        if (options_.only_check && options_.keep_going)
            throw UsageError("--check applies nothing: --keep-going is without it");
        for (const std::string &limit : options_.limits)
            refuse<UsageError>(set_limit(limit), "--limit: ");
        const std::string format = format_wanted(arguments_);
        const std::optional<Shard> shard = shard_given(arguments_);
        if (shard && format != "text")
            throw UsageError(fmt::format("--shard writes results to merge: give --merge the "
                                         "format {}",
                                         format));
        Workers::Options options;
        options.jobs = jobs_given(arguments_);
        options.limit = timeout_given(arguments_);
        options.stop = is_interrupted;

        files_ = fleet_files(arguments_.values(files_operand.name()));
        const Campaign campaign = identity(shard.value_or(Shard()));
        if (is_interrupted())
            return interrupted(campaign);
        std::optional<CampaignOutput> output;
        if (shard)
            output.emplace(arguments_, input_names(), campaign, console_);
        work(campaign, options, output ? &*output : nullptr);
        console_.clear_progress();
        FleetResults results;
        for (auto &[item, result] : done_)
            results.all.push_back(std::move(result));
        results.interrupted = is_interrupted();
        if (!shard)
            print(results, arguments_, console_);
        return results.interrupted ? interrupted(campaign) : results.status();
    }

private:
    std::vector<std::string> input_names() const
    {
        std::vector<std::string> names;
        for (const FleetFile &file : files_)
            names.push_back(file.name);
        return names;
    }

    Campaign identity(const Shard &shard) const
    {
        Campaign campaign;
        campaign.kind = kind_of_campaign;
        campaign.version = KVNSIM_VERSION;
        campaign.word_size = word_size;
        const auto add_flag = [&](const Option &option) {
            campaign.options.emplace_back(option.name(),
                                          arguments_.has(option.name()) ? "yes" : "no");
        };
        add_flag(check_option);
        add_flag(keep_going_option);
        const auto add_list = [&](const Option &option) {
            campaign.options.emplace_back(
                option.name(), fmt::format("{}", fmt::join(arguments_.values(option.name()), " ")));
        };
        add_list(limit_option);
        add_list(ignore_option);
        add_flag(strict_option);
        campaign.options.emplace_back(timeout_option.name(),
                                      std::to_string(timeout_given(arguments_).count()));
        for (const FleetFile &file : files_) {
            if (is_interrupted())
                break;
            std::string text;
            const bool is_read =
                file.kind == FleetFile::Kind::configuration && read_file(file.name, text).empty();
            campaign.files.push_back({file.name, is_read ? sha256_of(text) : ""});
        }
        campaign.items = files_.size();
        campaign.shard = shard;
        return campaign;
    }

    void work(const Campaign &campaign, const Workers::Options &options, CampaignOutput *output)
    {
        const uint64_t share = share_of(campaign);
        const auto take = [&](const FleetResult &result) {
            const std::string line = line_of(result);
            if (output != nullptr)
                output->write(line);
            done_[result.item] = result_in(line, result.file);
            console_.progress("file", done_.size(), share);
        };
        Workers workers(options, [&](uint64_t item, const Workers::Result &result) {
            if (result.death.empty())
                take(result_in(result.text, file(item).name));
            else
                take(without_result(item, file(item).name, Verdict::no_result, result.death));
        });
        for (uint64_t item = 1; item <= files_.size() && !workers.stopped(); ++item) {
            if (!campaign.shard.has(item))
                continue;
            if (file(item).kind == FleetFile::Kind::other)
                take(without_result(item, file(item).name, Verdict::not_read));
            else if (file(item).kind == FleetFile::Kind::unreadable)
                take(
                    without_result(item, file(item).name, Verdict::unreadable, file(item).problem));
            else if (workers.start(item))
                workers.finish(line_of(work_on(item, campaign)));
        }
        workers.finish_all();
    }

    /* In a process of its own. */
    FleetResult work_on(uint64_t item, const Campaign &campaign) const
    {
        const std::string &name = file(item).name;
        std::string text;
        if (const std::string problem = read_file(name, text); !problem.empty())
            return without_result(item, name, Verdict::unreadable, problem);
        if (sha256_of(text) != campaign.files[static_cast<size_t>(item - 1)].sha256)
            return without_result(item, name, Verdict::unreadable, "it was changed meanwhile");
        return examine(item, name, text, options_);
    }

    const FleetFile &file(uint64_t item) const { return files_[static_cast<size_t>(item - 1)]; }

    int interrupted(const Campaign &campaign) const
    {
        const uint64_t share = share_of(campaign);
        console_.error(fmt::format("kvnsim: interrupted: {} of {} without a result",
                                   share - done_.size(), counted(share, "file")));
        return exit_signal + interrupt_signal();
    }

    static uint64_t share_of(const Campaign &campaign)
    {
        uint64_t items = 0;
        for (uint64_t item = 1; item <= campaign.items; ++item)
            items += campaign.shard.has(item);
        return items;
    }

    const Arguments &arguments_;
    Console &console_;
    const Policy policy_;
    const FleetOptions options_;
    std::vector<FleetFile> files_; /* item 1 is the first */
    std::map<uint64_t, FleetResult> done_;
};

int merge_fleet(const Arguments &arguments, Console &console)
{
    refuse_with_merge(
        arguments, {check_option, keep_going_option, limit_option, ignore_option, strict_option});
    const Results merged =
        merge(arguments.values(files_operand.name()), kind_of_campaign, KVNSIM_VERSION);
    for (const std::string &note : merged.notes)
        console.note(note);
    FleetResults results;
    for (const auto &[item, line] : merged.lines)
        results.all.push_back(result_in(line, merged.places.at(item)));
    print(results, arguments, console);
    return results.status();
}

int fleet(const Arguments &arguments, Console &console)
{
    return arguments.has(merge_option.name()) ? merge_fleet(arguments, console)
                                              : Fleet(arguments, console).run();
}

} // namespace

const Verb fleet_verb{"fleet",
                      "run or check many configurations, each on a switch of its own",
                      "kvnsim fleet examples/leaf.json examples/s*.json\n"
                      "kvnsim fleet examples/s*.json --check --format sarif\n"
                      "kvnsim fleet examples/s*.json --shard 1/2 -o results-1.jsonl\n"
                      "kvnsim fleet examples/s*.json --shard 2/2 -o results-2.jsonl\n"
                      "kvnsim fleet --merge results-1.jsonl results-2.jsonl\n",
                      {files_operand, check_option, keep_going_option, limit_option, format_option,
                       jobs_option, timeout_option, shard_option, results_option, force_option,
                       merge_option, ignore_option, strict_option, json_option},
                      fleet,
                      true};

} // namespace kvnsim
