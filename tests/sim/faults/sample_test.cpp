#include "sim/faults/sample.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace kvnsim {

TEST(Sample, HasThatManyNumbersWithPositionsInOrder)
{
    EXPECT_TRUE(rc::check("any size", [] {
        const auto total = *rc::gen::inRange<uint64_t>(0, 200);
        const auto wanted = *rc::gen::inRange<uint64_t>(0, 250);
        const Sample sample(total, wanted, *rc::gen::arbitrary<uint64_t>());
        RC_ASSERT(sample.size() == std::min(total, wanted));
        uint64_t last = 0;
        for (uint64_t number = 0; number <= total + 3; ++number) {
            RC_ASSERT(sample.count(1, number) >= last);
            if (const uint64_t position = sample.position(number)) {
                RC_ASSERT(position == last + 1);
                RC_ASSERT(sample.count(number, number) == 1U);
                last = position;
            }
        }
        RC_ASSERT(last == sample.size());
    }));
}

TEST(Sample, IsTheSameForTheSameSeedInEveryVersion)
{
    std::vector<uint64_t> chosen;
    const Sample sample(1000, 5, 7);
    for (uint64_t number = 1; number <= 1000; ++number) {
        if (sample.position(number) != 0)
            chosen.push_back(number);
    }
    EXPECT_EQ(chosen, (std::vector<uint64_t>{211, 406, 675, 835, 904}));
}

TEST(Sample, ChoosesEveryNumberAboutAsOften)
{
    std::vector<int> times(10, 0);
    for (uint64_t seed = 0; seed < 3000; ++seed) {
        const Sample sample(10, 3, seed);
        for (size_t number = 1; number <= 10; ++number)
            times[number - 1] += sample.position(number) != 0;
    }
    for (const int one : times) {
        EXPECT_GT(one, 750);
        EXPECT_LT(one, 1050);
    }
}

} // namespace kvnsim
