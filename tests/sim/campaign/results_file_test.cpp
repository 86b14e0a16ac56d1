#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <fstream>
#include <sstream>

#include <fmt/format.h>

#include "sim/campaign/results_file.h"
#include "tests/sim/files.h"

namespace kvnsim {
namespace {

Campaign a_campaign(uint64_t items = 6)
{
    Campaign campaign;
    campaign.kind = "fleet";
    campaign.version = "1.2";
    campaign.word_size = 64;
    campaign.options = {{"check", "no"}, {"ignore", "KVN-C080"}};
    campaign.files = {{"a.json", sha256_of("a")}, {"b.json", ""}};
    campaign.items = items;
    return campaign;
}

std::string line_of(uint64_t item, const std::string &result = "well")
{
    Json json;
    begin_item(json, item);
    return json.field("result", result).end_object().text();
}

/* The file that a share leaves. */
std::string share(Campaign campaign, const std::string &shard)
{
    campaign.shard = parse_shard(shard);
    std::ostringstream text;
    ResultsWriter writer(text, campaign);
    for (uint64_t item = campaign.items; item > 0; --item) {
        if (campaign.shard.has(item))
            writer.write(line_of(item));
    }
    return text.str();
}

std::string without_last_line(const std::string &text)
{
    return text.substr(0, text.rfind('\n', text.size() - 2) + 1);
}

class ResultsFiles : public testing::Test {
protected:
    std::string write(const std::string &name, const std::string &text)
    {
        const std::string path = prefix() + name;
        std::ofstream(path, std::ios::binary) << text;
        paths_.push_back(path);
        return path;
    }
    ~ResultsFiles() override
    {
        for (const std::string &path : paths_)
            std::remove(path.c_str());
    }
    /* What is said of files with these texts, named 1, 2, ... */
    std::string problem(const std::vector<std::string> &texts)
    {
        std::vector<std::string> files;
        for (const std::string &text : texts)
            files.push_back(write(std::to_string(files.size() + 1), text));
        try {
            merge(files, "fleet", "1.2");
        } catch (const ResultsError &error) {
            return without_folder(error.what());
        }
        return "";
    }
    static std::string without_folder(std::string text)
    {
        for (size_t at = 0; (at = text.find(prefix())) != text.npos;)
            text.erase(at, prefix().size());
        return text;
    }

private:
    /* Tests run at the same time. */
    static std::string prefix()
    {
        return fmt::format("{}kvnsim_results_{}_", testing::TempDir(),
                           testing::UnitTest::GetInstance()->current_test_info()->name());
    }

    std::vector<std::string> paths_;
};

TEST_F(ResultsFiles, SharesOfACampaignAreItsResults)
{
    const Results results =
        merge({write("b", share(a_campaign(), "2/2")), write("a", share(a_campaign(), "1/2"))},
              "fleet", "1.2");
    ASSERT_EQ(results.lines.size(), 6u);
    for (const auto &[item, line] : results.lines)
        EXPECT_EQ(line, line_of(item));
    EXPECT_EQ(results.campaign.kind, "fleet");
    EXPECT_EQ(results.campaign.word_size, 64u);
    EXPECT_EQ(results.campaign.options, a_campaign().options);
    EXPECT_EQ(results.campaign.files, a_campaign().files);
    EXPECT_EQ(results.campaign.items, 6u);
    EXPECT_EQ(results.campaign.shard.of, 1u);
    EXPECT_TRUE(results.notes.empty());
}

TEST_F(ResultsFiles, AShareThatWasRunAgainCountsOnce)
{
    const std::string one = write("a", share(a_campaign(), "1/2"));
    const Results results =
        merge({one, one, write("b", share(a_campaign(), "1/1"))}, "fleet", "1.2");
    EXPECT_EQ(results.lines.size(), 6u);
}

TEST_F(ResultsFiles, OfNoItemsAreWholeToo)
{
    EXPECT_TRUE(merge({write("a", share(a_campaign(0), "1/1"))}, "fleet", "1.2").lines.empty());
}

TEST_F(ResultsFiles, MissingItemsAreNamedWithTheSharesThatHaveThem)
{
    EXPECT_EQ(problem({share(a_campaign(), "1/2")}),
              "items 2, 4, 6 are missing: run --shard 2/2 again");
    EXPECT_EQ(problem({share(a_campaign(), "1/1").substr(0, share(a_campaign(0), "1/1").size())}),
              "items 1-6 are missing: run --shard 1/1 again");
    EXPECT_EQ(problem({share(a_campaign(7), "3/3"), share(a_campaign(7), "2/3"),
                       without_last_line(share(a_campaign(7), "1/3"))}),
              "item 1 is missing: run --shard 1/3 again");
    EXPECT_EQ(problem({share(a_campaign(44), "1/44")}),
              "items 2-44 are missing: run --shard 2/44, --shard 3/44, --shard 4/44, --shard 5/44, "
              "--shard 6/44, --shard 7/44, --shard 8/44, --shard 9/44, --shard 10/44, --shard "
              "11/44, --shard 12/44, --shard 13/44, --shard 14/44, --shard 15/44, --shard 16/44, "
              "--shard 17/44, --shard 18/44, --shard 19/44, --shard 20/44, --shard 21/44, ... (23 "
              "more) again");
}

TEST_F(ResultsFiles, TheCutLineOfADeadMachineIsPassedOver)
{
    const std::string whole = share(a_campaign(), "2/2");
    for (size_t cut : {size_t{1}, size_t{5}}) {
        const std::string cut_one = whole.substr(0, whole.size() - cut);
        EXPECT_EQ(problem({share(a_campaign(), "1/2"), cut_one}),
                  "2:4: passed over: the line is cut; item 2 is missing: run --shard 2/2 again");
    }
    const Results results = merge(
        {write("a", whole.substr(0, whole.size() - 3)), write("b", share(a_campaign(), "1/1"))},
        "fleet", "1.2");
    EXPECT_EQ(results.lines.size(), 6u);
    ASSERT_EQ(results.notes.size(), 1u);
    EXPECT_EQ(without_folder(results.notes[0]), "a:4: passed over: the line is cut");
}

TEST_F(ResultsFiles, AFileCutInItsFirstLineIsPassedOver)
{
    EXPECT_EQ(problem({share(a_campaign(), "1/2"), "{\"kvnsim_results\":1,\"ki", ""}),
              "2:1: passed over: the line is cut; 3: passed over: the file is empty; "
              "items 2, 4, 6 are missing: run --shard 2/2 again");
    EXPECT_EQ(problem({""}), "1: passed over: the file is empty; there are no results");
}

TEST_F(ResultsFiles, AnotherResultOfTheSameItemIsRefused)
{
    EXPECT_EQ(problem({share(a_campaign(), "1/2"), share(a_campaign(), "2/2") + line_of(4) + "\n",
                       share(a_campaign(), "2/2") + line_of(4, "ill") + "\n"}),
              "3:5: item 4 has another result than at 2:3");
}

TEST_F(ResultsFiles, OfAnotherCampaignAreRefusedWithWhatDiffers)
{
    const auto differing = [&](auto change) {
        Campaign other = a_campaign();
        change(other);
        return problem({share(a_campaign(), "1/2"), share(other, "2/2")});
    };
    EXPECT_EQ(differing([](Campaign &other) { other.kind = "faults"; }),
              "2:1: another campaign than 1:1: the kind is faults, not fleet");
    EXPECT_EQ(differing([](Campaign &other) { other.version = "1.3"; }),
              "2:1: another campaign than 1:1: the version is 1.3, not 1.2");
    EXPECT_EQ(differing([](Campaign &other) { other.word_size = 32; }),
              "2:1: another campaign than 1:1: the word size is 32, not 64");
    EXPECT_EQ(differing([](Campaign &other) { other.options[0].second = "yes"; }),
              "2:1: another campaign than 1:1: the option check is yes, not no");
    EXPECT_EQ(differing([](Campaign &other) { other.options.pop_back(); }),
              "2:1: another campaign than 1:1: the option ignore is none, not KVN-C080");
    EXPECT_EQ(differing([](Campaign &other) {
                  other.options.push_back({"strict", "yes"});
              }),
              "2:1: another campaign than 1:1: the option strict is yes, not none");
    EXPECT_EQ(differing([](Campaign &other) { other.files.pop_back(); }),
              "2:1: another campaign than 1:1: the number of configurations is 1, not 2");
    EXPECT_EQ(differing([](Campaign &other) { other.files[1].name = "c.json"; }),
              "2:1: another campaign than 1:1: the name of configuration 2 is c.json, not b.json");
    EXPECT_EQ(differing([](Campaign &other) { other.files[1].sha256 = sha256_of("b"); }),
              "2:1: another campaign than 1:1: the SHA-256 of configuration b.json is "
              "3e23e8160039594a33894f6564e1b1348bbd7a0088d42c4acb73eeaed59c009d, not none");
    EXPECT_EQ(differing([](Campaign &other) { other.items = 7; }),
              "2:1: another campaign than 1:1: the number of items is 7, not 6");
}

TEST_F(ResultsFiles, OfAnotherKindOrVersionThanTheReadersAreRefused)
{
    Campaign other = a_campaign();
    other.kind = "faults";
    EXPECT_EQ(problem({share(other, "1/1")}), "1:1: results of \"faults\", not of \"fleet\"");
    other = a_campaign();
    other.version = "1.3";
    EXPECT_EQ(problem({share(other, "1/1")}), "1:1: results of kvnsim 1.3; this is 1.2");
}

TEST_F(ResultsFiles, DamagedLinesAreToldWithTheirPlaces)
{
    const std::string header = share(a_campaign(0), "1/1");
    const auto first_line = [&](const std::string &what, const std::string &by) {
        std::string text = header;
        const size_t at = text.find(what);
        EXPECT_NE(at, text.npos) << what;
        return problem({text.replace(at, what.size(), by)});
    };
    EXPECT_EQ(problem({"{}\n"}),
              "1:1: no results of a campaign: expected {\"kvnsim_results\":1,...}");
    EXPECT_EQ(problem({"PORT\n"}), "1:1:1: damaged line: Invalid value.");
    EXPECT_EQ(problem({"[]\n"}), "1:1: damaged line: expected an object");
    EXPECT_EQ(first_line("\"kvnsim_results\":1", "\"kvnsim_results\":2"),
              "1:1: results of version 2; only version 1 can be read");
    EXPECT_EQ(first_line("\"kind\"", "\"king\""), "1:1: damaged line: \"kind\" is missing");
    EXPECT_EQ(first_line("\"fleet\"", "4"), "1:1: damaged line: \"kind\": expected a text");
    EXPECT_EQ(first_line(":64", ":-64"),
              "1:1: damaged line: \"word_size\": expected a number up to 4294967295");
    EXPECT_EQ(first_line("\"1/1\"", "\"2/1\""),
              "1:1: damaged line: \"shard\": \"2/1\": expected I/N, the Ith of N shares, such as "
              "2/4 (N up to 1000000)");
    EXPECT_EQ(first_line("{\"name\":\"a.json\"", "{\"n\":1"),
              "1:1: damaged line: \"name\" is missing");
    EXPECT_EQ(first_line("[{", "[5,{"), "1:1: damaged line: \"files\": expected a list of objects");

    const std::string some = share(a_campaign(), "1/2");
    EXPECT_EQ(problem({some + "{\"item\":1\n"}),
              "1:5:10: damaged line: Missing a comma or '}' after an object member.");
    EXPECT_EQ(problem({some + "{}\n"}), "1:5: damaged line: \"item\" is missing");
    EXPECT_EQ(problem({some + "{\"item\":0}\n"}), "1:5: damaged line: item 0 of 6");
    EXPECT_EQ(problem({some + "{\"item\":7}\n"}), "1:5: damaged line: item 7 of 6");
    EXPECT_EQ(problem({some + "{\"item\":2}\n"}), "1:5: damaged line: item 2 is not of share 1/2");
    EXPECT_EQ(problem({some + "{\"item\":1.5}\n"}),
              "1:5: damaged line: \"item\": expected a number up to 9223372036854775807");
    EXPECT_EQ(problem({some + std::string(100000, '[') + "\n"}).substr(0, 4), "1:5:");
}

TEST_F(ResultsFiles, ThatCannotBeReadAreNamed)
{
    EXPECT_THROW(
        {
            try {
                merge({"/nowhere/a.jsonl"}, "fleet", "1.2");
            } catch (const ResultsError &error) {
                EXPECT_STREQ(error.what(),
                             "/nowhere/a.jsonl: cannot be read: No such file or directory");
                throw;
            }
        },
        ResultsError);
    EXPECT_THROW(merge({"/"}, "fleet", "1.2"), ResultsError);
}

/* An exaggerated number of items costs neither memory nor time. */
TEST_F(ResultsFiles, OfUncountableItemsAreMissingInOneRange)
{
    Campaign campaign = a_campaign(0);
    campaign.items = INT64_MAX;
    std::ostringstream text;
    ResultsWriter writer(text, campaign);
    writer.write(line_of(5));
    EXPECT_EQ(problem({text.str()}),
              "items 1-4, 6-9223372036854775807 are missing: run --shard 1/1 again");
}

RC_GTEST_FIXTURE_PROP(ResultsFiles, HoweverDamagedAreReadOrRefused, ())
{
    std::string text = share(a_campaign(), "1/1");
    const auto changes = *rc::gen::inRange(1, 8);
    for (int i = 0; i < changes; ++i) {
        const auto at = *rc::gen::inRange<size_t>(0, text.size());
        const auto byte = *rc::gen::arbitrary<char>();
        if (*rc::gen::arbitrary<bool>())
            text[at] = byte;
        else
            text.erase(at, *rc::gen::inRange<size_t>(1, 20));
        if (text.empty())
            break;
    }
    const std::string path = write("damaged", text);
    try {
        const Results results = merge({path}, "fleet", "1.2");
        RC_ASSERT(results.lines.size() == results.campaign.items);
    } catch (const ResultsError &error) {
        RC_ASSERT(std::string(error.what()) != "");
    }
}

} // namespace
} // namespace kvnsim
