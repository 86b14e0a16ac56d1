#pragma once

#include <chrono>
#include <fstream>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/campaign/results_file.h"
#include "sim/campaign/shard.h"
#include "sim/cli/grammar.h"

/* What the verbs share whose work is of many items. */
namespace kvnsim {

class Console;

constexpr Option jobs_option{"--jobs N", Takes::count, Times::optional,
                             "how many processes work at once (as many as there are cores)"};
constexpr Option timeout_option{"--timeout SECONDS", Takes::count, Times::optional,
                                "give up an item that takes longer (600); 0: never"};
constexpr Option shard_option{"--shard I/N", Takes::text, Times::optional,
                              "do the Ith of N shares only, and write its results for --merge"};
constexpr Option results_option{"-o RESULTS", Takes::file, Times::optional,
                                "where --shard writes; standard output without it"};
constexpr Option merge_option{"--merge", Takes::nothing, Times::optional,
                              "print what the shares found, as one run would"};

/* The values; UsageError for what cannot be. 0 jobs: as many as there are cores. */
uint32_t jobs_given(const Arguments &arguments);
std::chrono::seconds timeout_given(const Arguments &arguments);
std::optional<Shard> shard_given(const Arguments &arguments);

/* UsageError if an option is given that merging does not take: those of the work above, and more.
 */
void refuse_with_merge(const Arguments &arguments, std::initializer_list<Option> more);

/* Where a share's results go. */
class CampaignOutput {
public:
    /* Throws UsageError when a file is among the inputs, InputError when it cannot be written. */
    CampaignOutput(const Arguments &arguments, const std::vector<std::string> &inputs,
                   const Campaign &campaign, Console &console);
    /* A line, at once. Throws InputError. */
    void write(std::string_view line);

private:
    void check() const;

    const std::string file_; /* empty: standard output, which says itself */
    std::ofstream stream_;
    std::optional<ResultsWriter> writer_;
};

} // namespace kvnsim
