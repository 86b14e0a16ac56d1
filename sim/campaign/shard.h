#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvnsim {

/* One of several shares of a campaign's items, which are numbered from 1 and dealt round robin: the
 * first share of three has 1, 4, 7, ... The shares differ by one item at most. */
struct Shard {
    uint32_t index = 1, of = 1; /* 1 <= index <= of */
    bool has(uint64_t item) const { return (item - 1) % of == index - 1; }
    std::string to_text() const; /* "2/4" */
};

/* The share that has the item, of this many. */
Shard shard_of(uint64_t item, uint32_t of);

/* "2/4"; throws std::invalid_argument, which says what was expected, for anything else. */
Shard parse_shard(std::string_view text);

} // namespace kvnsim
