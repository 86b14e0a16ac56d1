#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sim/campaign/shard.h"
#include "sim/config/configuration.h"
#include "sim/faults/fault_row.h"
#include "sim/journal/faults.h"

/* Fails each call that can fail, and each allocation of the library, once at each of its
 * occurrences while configurations are applied one after another. */
namespace kvnsim {

struct FaultOptions {
    std::vector<const ImportedCall *> calls; /* to fail; empty: all */
    int32_t status = Faults::usual_status;   /* to fail with, not 0; allocations have none */
    bool pairs = false;             /* after each failure, each later call once, in its turn */
    std::optional<uint64_t> sample; /* that many, chosen by the seed, instead of all */
    uint64_t seed = 1;
    Shard shard;                  /* the share of the chosen ones that is tried */
    std::chrono::seconds limit{}; /* a process that takes longer is killed; 0: never */
    uint32_t jobs = 0;            /* processes at once; 0: as many as cores */
    std::function<bool()> stop;
    std::function<void(const char *what, uint64_t done, uint64_t of)> progress;
};

/* How much there is to try. */
struct FaultCount {
    uint64_t items = 0;               /* chosen, of all shares */
    uint64_t unsampled = 0;           /* left out by the sample */
    uint64_t other_calls = 0;         /* occurrences of calls that are not among those to fail */
    std::vector<std::string> no_call; /* calls that the configurations never lead to */
};

/* The configurations, which are understood, are applied to a switch of this process: whatever
 * switch there was before is gone. */
class FaultCampaign {
public:
    /* Applies the configurations without failures, and counts. */
    FaultCampaign(const std::vector<Configuration> &configurations, FaultOptions options);
    ~FaultCampaign();

    const FaultCount &count() const;

    /* Try the share, each failure in a process of its own that goes on from where the call is made.
     * Hands over results as they come, in any order. False when stopped before the end. Throws
     * WorkersError. */
    bool run(const std::function<void(FaultRow row)> &done);

private:
    class Trial;
    std::unique_ptr<Trial> trial_;
};

} // namespace kvnsim
