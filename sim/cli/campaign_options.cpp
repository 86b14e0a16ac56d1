#include "sim/cli/campaign_options.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/output_file.h"
#include "sim/cli/verb.h"

namespace kvnsim {
namespace {

constexpr uint64_t most_jobs = 4096, longest_timeout = 1000000, usual_timeout = 600;

uint64_t count_up_to(const Arguments &arguments, const Option &option, uint64_t least,
                     uint64_t most, uint64_t otherwise)
{
    const uint64_t count = arguments.count(option.name(), otherwise);
    if (arguments.has(option.name()) && (count < least || count > most))
        throw UsageError(
            fmt::format("{}: expected {} to {}, not {}", option.name(), least, most, count));
    return count;
}

} // namespace

uint32_t jobs_given(const Arguments &arguments)
{
    return static_cast<uint32_t>(count_up_to(arguments, jobs_option, 1, most_jobs, 0));
}

std::chrono::seconds timeout_given(const Arguments &arguments)
{
    return std::chrono::seconds(
        count_up_to(arguments, timeout_option, 0, longest_timeout, usual_timeout));
}

std::optional<Shard> shard_given(const Arguments &arguments)
{
    if (!arguments.has(shard_option.name())) {
        if (arguments.has(results_option.name()))
            throw UsageError("-o is for the results of --shard");
        return {};
    }
    try {
        return parse_shard(arguments.value(shard_option.name()));
    } catch (const std::invalid_argument &error) {
        throw UsageError(fmt::format("{}: {}", shard_option.name(), error.what()));
    }
}

void refuse_with_merge(const Arguments &arguments, std::initializer_list<Option> more)
{
    std::vector<Option> refused{jobs_option, timeout_option, shard_option, results_option};
    refused.insert(refused.end(), more);
    for (const Option &option : refused) {
        if (arguments.has(option.name()))
            throw UsageError(fmt::format("--merge and {}: what is merged is done", option.name()));
    }
}

CampaignOutput::CampaignOutput(const Arguments &arguments, const std::vector<std::string> &inputs,
                               const Campaign &campaign, Console &console)
    : file_(arguments.value(results_option.name()))
{
    if (file_.empty()) {
        writer_.emplace(console.out(), campaign);
        return;
    }
    for (const std::string &input : inputs) {
        if (same_file(file_, input))
            throw UsageError(fmt::format("-o {}: the file is already in use", file_));
    }
    check_overwrites(arguments, results_option, OutputKind::results);
    stream_.open(file_, std::ios::binary);
    writer_.emplace(stream_, campaign);
    check();
}

void CampaignOutput::write(std::string_view line)
{
    writer_->write(line);
    check();
}

void CampaignOutput::check() const
{
    if (!file_.empty() && !stream_)
        throw InputError(fmt::format("cannot write {}: {}", file_, std::strerror(errno)));
}

} // namespace kvnsim
