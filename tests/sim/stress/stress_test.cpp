#include "sim/stress/stress.h"

#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kvnsim {
namespace {

StressOptions churn(uint64_t seed, uint64_t operations, double fail_rate, uint32_t interfaces = 64)
{
    StressOptions options;
    options.seed = seed;
    options.operations = operations;
    options.fail_rate = fail_rate;
    options.interfaces = interfaces;
    return options;
}

std::string told(const StressResult &result)
{
    if (!result.problem)
        return "nothing";
    std::string text = result.problem->what;
    for (const std::string &line : result.problem->power_on)
        text += "\n- " + line;
    for (const std::string &line : result.problem->changes)
        text += "\n" + line;
    return text;
}

auto numbers(const StressResult &result)
{
    return std::make_tuple(result.operations, result.requests, result.calls, result.injected,
                           result.failed_steps, result.findings, result.power_cycles);
}

class Churn : public testing::TestWithParam<uint64_t> {};

TEST_P(Churn, WithoutFailuresFindsNothingAndAllComesAbout)
{
    const StressResult result = stress(churn(GetParam(), 1200, 0));
    EXPECT_EQ("nothing", told(result));
    EXPECT_EQ(1200U, result.operations);
    EXPECT_EQ(0U, result.injected);
    EXPECT_EQ(0U, result.failed_steps);
    EXPECT_EQ(0U, result.findings);
    EXPECT_EQ(1U, result.power_cycles) << "after a thousand operations";
}

TEST_P(Churn, WhatIsFoundHasAFailureBehindIt)
{
    for (const double rate : {0.002, 0.01, 0.1}) {
        const StressResult result = stress(churn(GetParam(), 500, rate));
        EXPECT_EQ("nothing", told(result)) << "at a rate of " << rate;
        EXPECT_EQ(500U, result.operations);
        EXPECT_LT(0U, result.injected);
        EXPECT_LT(0U, result.findings);
    }
}

TEST_P(Churn, SwitchesOfEverySizeDo)
{
    for (const uint32_t interfaces : {1U, 10U, 600U}) {
        const StressResult result = stress(churn(GetParam(), 100, 0.01, interfaces));
        EXPECT_EQ("nothing", told(result)) << interfaces << " interfaces";
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Churn, testing::Range<uint64_t>(1, 7));

TEST(Stress, SameSeedDoesTheSame)
{
    const auto once = numbers(stress(churn(7, 400, 0.02)));
    EXPECT_EQ(once, numbers(stress(churn(7, 400, 0.02))));
    EXPECT_NE(once, numbers(stress(churn(8, 400, 0.02))));
}

TEST(Stress, StopsWhenAskedAndTellsHowFarItIs)
{
    StressOptions options = churn(1, 1000, 0.01);
    std::vector<uint64_t> told_done;
    options.progress = [&](uint64_t done, uint64_t of) {
        EXPECT_EQ(1000U, of);
        told_done.push_back(done);
    };
    options.stop = [&] { return told_done.size() == 5; };
    const StressResult result = stress(options);
    EXPECT_TRUE(result.stopped);
    EXPECT_EQ(5U, result.operations);
    EXPECT_THAT(told_done, testing::ElementsAre(1, 2, 3, 4, 5));
}

TEST(Stress, NoOperationsIsNoProblem)
{
    const StressResult result = stress(churn(1, 0, 0.5));
    EXPECT_EQ("nothing", told(result));
    EXPECT_EQ(0U, result.operations);
}

} // namespace
} // namespace kvnsim
