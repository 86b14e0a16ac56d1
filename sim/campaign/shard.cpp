#include "sim/campaign/shard.h"

#include <stdexcept>

#include <fmt/format.h>

#include "sim/config/names.h"

namespace kvnsim {
namespace {

constexpr uint32_t most_shards = 1000000;

} // namespace

std::string Shard::to_text() const
{
    return fmt::format("{}/{}", index, of);
}

Shard shard_of(uint64_t item, uint32_t of)
{
    return {static_cast<uint32_t>((item - 1) % of) + 1, of};
}

Shard parse_shard(std::string_view text)
{
    const size_t slash = text.find('/');
    if (slash != text.npos) {
        const auto of = parse_number(text.substr(slash + 1), 1, most_shards);
        const auto index = parse_number(text.substr(0, slash), 1, of.value_or(0));
        if (index && of)
            return {*index, *of};
    }
    throw std::invalid_argument(
        fmt::format("{}: expected I/N, the Ith of N shares, such as 2/4 (N up to {})",
                    in_quotes(text), most_shards));
}

} // namespace kvnsim
