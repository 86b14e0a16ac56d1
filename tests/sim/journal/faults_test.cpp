/* Making calls fail: by name, occurrence, status and rate. */
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes.h"

using namespace kvnsim;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Statuses = std::vector<std::optional<int32_t>>;

Statuses strikes(Faults &faults, const ImportedCall &call, int times)
{
    Statuses statuses;
    while (times-- > 0)
        statuses.push_back(faults.strike(call));
    return statuses;
}

} // namespace

TEST(Faults, FailEachOccurrenceOfACall)
{
    Faults faults;
    ASSERT_EQ(faults.add("fake_named_call"), "");
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(-1, -1));
    EXPECT_EQ(faults.strike(fake_host_call), std::nullopt);
}

TEST(Faults, FailTheNthOccurrenceOnly)
{
    Faults faults;
    ASSERT_EQ(faults.add("fake_named_call:2=FAKE_E_FULL"), "");
    faults.strike(fake_host_call);
    EXPECT_THAT(strikes(faults, fake_named_call, 4),
                ElementsAre(std::nullopt, -5, std::nullopt, std::nullopt));
}

TEST(Faults, CountTheOccurrencesOfEachSpecificationFromWhenItWasMade)
{
    Faults faults;
    ASSERT_EQ(faults.add("fake_named_call:1=7"), "");
    ASSERT_EQ(faults.add("fake_named_call:3=8"), "");
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(7, std::nullopt));
    ASSERT_EQ(faults.add("fake_named_call:2=9"), "");
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(8, 9));
}

TEST(Faults, FailWithAStatusByNumber)
{
    Faults faults;
    ASSERT_EQ(faults.add("fake_host_call=7"), "");
    ASSERT_EQ(faults.add("fake_named_call=-12"), "");
    EXPECT_EQ(faults.strike(fake_host_call), 7);
    EXPECT_EQ(faults.strike(fake_named_call), -12);
}

TEST(Faults, SayWhatIsWrongWithASpecification)
{
    Faults faults;
    const struct {
        const char *text, *complaint;
    } rows[] = {
        {"fake_named_cal", "there is no call \"fake_named_cal\""},
        {"", "there is no call \"\""},
        {"fake_question", "fake_question cannot fail"},
        {"fake_named_call:0", "\"0\" is not an occurrence"},
        {"fake_named_call:", "\"\" is not an occurrence"},
        {"fake_named_call:2x", "\"2x\" is not an occurrence"},
        {"fake_named_call:-1", "\"-1\" is not an occurrence"},
        {"fake_named_call=", "\"\" is not a status"},
        {"fake_named_call=FAKE_E_NO",
         "\"FAKE_E_NO\" is not a status; expected FAKE_E_... or a number"},
        {"fake_host_call=FAKE_E_FULL", "\"FAKE_E_FULL\" is not a status; expected a number"},
        {"fake_named_call=99999999999", "\"99999999999\" is not a status"},
        {"fake_named_call=0", "status 0 is success"},
        {"fake_named_call=FAKE_E_NONE", "status 0 is success"},
        {"fake_memory=-1", "fake_memory has no status: it fails with no memory"},
    };
    for (const auto &row : rows) {
        const std::string complaint = faults.add(row.text);
        EXPECT_THAT(complaint, HasSubstr(row.complaint));
        EXPECT_THAT(complaint, HasSubstr('"' + std::string(row.text) + "\":"));
    }
    EXPECT_FALSE(faults.armed()) << "none of them counts";
}

TEST(Faults, OfferTheCallsThatCanFail)
{
    const std::string complaint = Faults().add("nonsense");
    EXPECT_THAT(complaint, HasSubstr("fake_named_call"));
    EXPECT_THAT(complaint, HasSubstr("fake_host_call"));
    EXPECT_THAT(complaint, Not(HasSubstr("fake_question")));
}

TEST(Faults, TellTheSpecificationsThatNeverStruck)
{
    Faults faults;
    faults.add("fake_named_call:1");
    faults.add("fake_named_call:9");
    faults.add("fake_host_call");
    strikes(faults, fake_named_call, 3);
    EXPECT_THAT(faults.unused(), ElementsAre("fake_named_call:9", "fake_host_call"));
    faults.clear();
    EXPECT_THAT(faults.unused(), IsEmpty());
    EXPECT_EQ(faults.strike(fake_host_call), std::nullopt);
}

TEST(Faults, NeitherStrikeNorCountWhileSuspended)
{
    Faults faults;
    faults.add("fake_named_call:2");
    faults.suspend(true);
    EXPECT_FALSE(faults.armed());
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(std::nullopt, std::nullopt));
    faults.suspend(false);
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(std::nullopt, -1));
}

TEST(Faults, AtARateAreTheSameForTheSameSeed)
{
    const auto run = [](uint64_t seed) {
        Faults faults;
        faults.set_rate(0.5, seed);
        return strikes(faults, fake_named_call, 200);
    };
    EXPECT_EQ(run(7), run(7));
    EXPECT_NE(run(7), run(8));
}

TEST(Faults, AtARateAreTheSameInEveryVersion)
{
    Faults faults;
    faults.set_rate(0.5, 7);
    EXPECT_THAT(strikes(faults, fake_named_call, 8),
                ElementsAre(-1, -1, std::nullopt, std::nullopt, -1, -1, -1, -1));
}

TEST(Faults, AtARateStrikeAboutThatOften)
{
    Faults faults;
    faults.set_rate(0.01, 1);
    const Statuses statuses = strikes(faults, fake_named_call, 100000);
    const auto struck = std::count(statuses.begin(), statuses.end(), std::optional<int32_t>(-1));
    EXPECT_GT(struck, 800);
    EXPECT_LT(struck, 1200);
}

TEST(Faults, AtARateNeverMakeAQuestionFail)
{
    Faults faults;
    faults.set_rate(1.0, 1);
    EXPECT_THAT(strikes(faults, fake_named_call, 2), ElementsAre(-1, -1));
    EXPECT_EQ(faults.strike(fake_question), std::nullopt);
    faults.set_rate(0, 1);
    EXPECT_EQ(faults.strike(fake_named_call), std::nullopt);
}

TEST(Faults, AtARateSpareWhatHasNoStatus)
{
    Faults faults;
    faults.set_rate(1.0, 1);
    EXPECT_EQ(faults.strike(fake_memory), std::nullopt);
}

TEST(Faults, AskAtEachOccurrenceThatCounts)
{
    Faults faults;
    std::vector<std::string> asked;
    faults.ask = [&](const ImportedCall &call,
                     std::initializer_list<Argument> arguments) -> std::optional<int32_t> {
        asked.push_back(call.name() + std::string(arguments.size(), '+'));
        return asked.size() == 2 ? std::optional(-7) : std::nullopt;
    };
    EXPECT_TRUE(faults.armed());
    const uint32_t number = 1;
    EXPECT_EQ(faults.strike(fake_named_call, {in("number", number)}), std::nullopt);
    EXPECT_EQ(faults.strike(fake_memory), -7);
    faults.strike(fake_question);
    faults.suspend(true);
    faults.strike(fake_named_call);
    EXPECT_FALSE(faults.armed());
    faults.suspend(false);
    ASSERT_EQ(faults.add("fake_host_call=5"), "");
    EXPECT_EQ(faults.strike(fake_host_call), 5) << "what add() says comes first";
    EXPECT_THAT(asked, ElementsAre("fake_named_call+", "fake_memory"));
    faults.clear();
    EXPECT_FALSE(faults.armed());
}

TEST(Faults, SayAnOccurrenceAsItIsAdded)
{
    const struct {
        const ImportedCall &call;
        int32_t status;
        const char *text;
    } rows[] = {
        {fake_named_call, Faults::usual_status, "fake_named_call:3"},
        {fake_named_call, -5, "fake_named_call:3=FAKE_E_FULL"},
        {fake_named_call, -77, "fake_named_call:3=-77"},
        {fake_host_call, -5, "fake_host_call:3=-5"},
        {fake_memory, -5, "fake_memory:3"},
    };
    for (const auto &row : rows) {
        const std::string text = Faults::text(row.call, 3, row.status);
        EXPECT_EQ(text, row.text);
        Faults faults;
        ASSERT_EQ(faults.add(text), "");
        EXPECT_THAT(strikes(faults, row.call, 3).back(),
                    row.call.has_status() ? row.status : Faults::usual_status);
    }
}
