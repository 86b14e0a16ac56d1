#include <gtest/gtest.h>

#include <stdexcept>

#include "sim/campaign/shard.h"

namespace kvnsim {
namespace {

TEST(Shard, IsWrittenAsItsNumberOfSoMany)
{
    const Shard shard = parse_shard("2/4");
    EXPECT_EQ(shard.index, 2u);
    EXPECT_EQ(shard.of, 4u);
    EXPECT_EQ(shard.to_text(), "2/4");
    EXPECT_EQ(parse_shard("1000000/1000000").of, 1000000u);
}

TEST(Shard, OfAnotherFormIsRefused)
{
    for (const char *text : {"", "/", "1", "0/4", "5/4", "1/0", "0/0", "1/", "/4", "1/4/2", "-1/4",
                             "+1/4", " 1/4", "1/4 ", "1/1000001", "18446744073709551617/4", "a/b"})
        EXPECT_THROW(parse_shard(text), std::invalid_argument) << text;
    try {
        parse_shard("5/4");
    } catch (const std::invalid_argument &error) {
        EXPECT_STREQ(error.what(), "\"5/4\": expected I/N, the Ith of N shares, such as 2/4 (N up "
                                   "to 1000000)");
    }
}

TEST(Shard, ItemsAreDealtRoundRobinAndEachOnce)
{
    for (uint32_t of : {1u, 2u, 3u, 7u}) {
        for (uint64_t item = 1; item <= 20; ++item) {
            uint32_t have_it = 0;
            for (uint32_t index = 1; index <= of; ++index)
                have_it += Shard{index, of}.has(item);
            EXPECT_EQ(have_it, 1u) << item << " of " << of;
            EXPECT_TRUE(shard_of(item, of).has(item)) << item << " of " << of;
        }
    }
    EXPECT_TRUE((Shard{1, 3}.has(1)));
    EXPECT_TRUE((Shard{2, 3}.has(2)));
    EXPECT_TRUE((Shard{1, 3}.has(4)));
}

} // namespace
} // namespace kvnsim
