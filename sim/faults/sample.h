#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace kvnsim {

/* Some of many numbers, chosen by a seed: the same seed chooses the same ones everywhere. */
class Sample {
public:
    /* Of 1..total that many, or all. */
    explicit Sample(uint64_t total = 0, std::optional<uint64_t> wanted = {}, uint64_t seed = 1);

    uint64_t size() const { return all_ ? total_ : chosen_.size(); }
    /* The position, from 1, that the number has among the chosen ones; 0 if it is not chosen. */
    uint64_t position(uint64_t number) const;
    /* How many of first..last are chosen. */
    uint64_t count(uint64_t first, uint64_t last) const;

private:
    const uint64_t total_;
    const bool all_;
    std::vector<uint64_t> chosen_; /* ascending; unused when all are */
};

} // namespace kvnsim
