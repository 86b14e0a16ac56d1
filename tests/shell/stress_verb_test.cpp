#include <csignal>

#include "tests/shell/shell.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

/* kvnsim stress from the command line. */
class StressVerb : public Kvnsim {};

TEST_F(StressVerb, TellsWhatItDid)
{
    const Result result = kvnsim({"stress", "--operations", "60", "--seed", "4"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_THAT(result.out, HasSubstr("60 operations with seed 4: "));
    EXPECT_THAT(result.out, HasSubstr("All are due to injected failures.\n"));
    EXPECT_EQ(result.out, kvnsim({"stress", "--operations", "60", "--seed", "4"}).out);
}

TEST_F(StressVerb, TellsItAsOneDocument)
{
    const Result result = kvnsim({"stress", "--operations", "60", "--seed", "4", "--interfaces",
                                  "20", "--fail-rate", "0.1", "--json"});
    EXPECT_EQ(well, result.status);
    const rapidjson::Document document = result.json();
    EXPECT_EQ(60U, document["operations"].GetUint());
    EXPECT_EQ(4U, document["seed"].GetUint());
    EXPECT_EQ(20U, document["interfaces"].GetUint());
    EXPECT_EQ(0.1, document["fail_rate"].GetDouble());
    EXPECT_LT(0U, document["injected_failures"].GetUint());
    EXPECT_LT(0U, document["findings"].GetUint());
    EXPECT_LT(1000U, document["calls"].GetUint());
    EXPECT_FALSE(document["interrupted"].GetBool());
    EXPECT_TRUE(document["problem"].IsNull());
}

TEST_F(StressVerb, WithoutFailuresAllComesAbout)
{
    EXPECT_THAT(kvnsim({"stress", "--operations", "60", "--fail-rate", "0"}).out,
                HasSubstr("0 failures injected; 0 steps failed, 0 findings of the "
                          "audits\n"));
}

TEST_F(StressVerb, NumbersOutOfRangeAreRefused)
{
    for (const char *interfaces : {"0", "65001", "4294967360", "-1", "many"})
        EXPECT_EQ(usage, kvnsim({"stress", "--interfaces", interfaces}).status) << interfaces;
    EXPECT_EQ(usage, kvnsim({"stress", "--fail-rate", "1.1"}).status);
}

TEST_F(StressVerb, ShowsProgressAndTellsOnCtrlCWhatItDidSoFar)
{
    const Result result =
        kvnsim_interrupted({"stress", "--operations", "4000000000"}, " of 4000000000");
    EXPECT_THAT(result.err, HasSubstr("operation "));
    EXPECT_EQ(128 + SIGINT, result.status);
    EXPECT_THAT(result.err, HasSubstr("interrupted"));
    EXPECT_THAT(lines(result.out).front(), MatchesRegex("[0-9]+ operations? with seed 1: .*"));
    EXPECT_THAT(result.out, Not(HasSubstr("4000000000")));
}
