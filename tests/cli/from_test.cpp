#include <sqlite3.h>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/* kvnsim run --from: going on from a saved switch. */
class From : public Kvnsim {
public:
    void SetUp() override
    {
        write("one.json", one_port);
        write("other.json", one_port_1500);
    }
    /* A database of the first half of a change; the second half is small_change_after.json. */
    void save_first_half(const std::vector<std::string> &more = {})
    {
        std::vector<std::string> arguments{"run", example("small_change_before.json"), "--quiet",
                                           "--db", "first.db"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        kvnsim(arguments);
    }
    void change(const std::string &file, const char *sql)
    {
        sqlite3 *db = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(path(file).c_str(), &db));
        EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
        sqlite3_close(db);
    }
};

TEST_F(From, ARunCutInTwoEndsLikeTheWholeOne)
{
    const std::string before = example("small_change_before.json"),
                      after = example("small_change_after.json");
    for (const std::vector<std::string> &faults :
         {std::vector<std::string>{}, {"--fail", "libsdk_intf_attr_set:9=SDK_E_TIMEOUT"}}) {
        std::vector<std::string> whole{"run", before, after, "--quiet", "--db", "whole.db"};
        whole.insert(whole.end(), faults.begin(), faults.end());
        kvnsim(whole);
        save_first_half(faults);
        kvnsim({"run", "--from", "first.db", after, "--quiet", "--db", "both.db"});
        EXPECT_EQ(well, kvnsim({"diff", "both.db", "whole.db"}).status);
        EXPECT_TRUE(read("both.db") == read("whole.db")) << faults.size();
    }
}

TEST_F(From, MayReplaceTheDatabaseThatItGoesOnFrom)
{
    save_first_half();
    const std::string after = example("small_change_after.json");
    ASSERT_EQ(well, kvnsim({"run", "--from", "first.db", after, "--quiet", "--db", "x.db"}).status);
    EXPECT_EQ(well,
              kvnsim({"run", "--from", "first.db", after, "--quiet", "--db", "first.db"}).status);
    EXPECT_TRUE(read("first.db") == read("x.db"));
    for (const char *option : {"--record", "--events", "--debug-file"}) {
        const Result result = kvnsim({"run", "--from", "x.db", after, option, "x.db"});
        EXPECT_EQ(usage, result.status) << option;
        EXPECT_THAT(result.err, HasSubstr("x.db: the file is already in use"));
    }
    EXPECT_TRUE(read("first.db") == read("x.db"));
}

TEST_F(From, RequestNumbersGoOn)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "one.db"}).status);
    const Result result = kvnsim({"run", "--from", "one.db", "other.json", "--timeline"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, AllOf(StartsWith("other.json: 1 step\n"),
                                  HasSubstr("\n  3 l3lifpd_kvn_set_l3_property("),
                                  Not(HasSubstr("l3lifpd_kvn_add_l3port"))));
}

TEST_F(From, AnInterfaceOfTheSavedSwitchHasATimeline)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "one.db"}).status);
    write("none.json", "{}");
    const Result result =
        kvnsim({"run", "--from", "one.db", "none.json", "--timeline", "Ethernet0"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, HasSubstr("l3lifpd_kvn_del_l3port(l3lif=Ethernet0)"));
}

TEST_F(From, LimitsComeAfterTheSavedCapacities)
{
    ASSERT_EQ(well,
              kvnsim({"run", "one.json", "--quiet", "--db", "one.db", "--limit", "lid=9"}).status);
    kvnsim({"run", "--from", "one.db", "other.json", "--quiet", "--db", "two.db", "--limit",
            "intf=5"});
    const rapidjson::Document document =
        kvnsim({"show", "summary", "--db", "two.db", "--json"}).json();
    EXPECT_EQ(5, document["summary"][0]["capacity"].GetInt());
    EXPECT_EQ(9, document["summary"][2]["capacity"].GetInt());
}

TEST_F(From, ARecordingOfItReplays)
{
    save_first_half();
    ASSERT_EQ(well, kvnsim({"run", "--from", "first.db", example("small_change_after.json"),
                            "--quiet", "--record", "x.jsonl"})
                        .status);
    const Result result = kvnsim({"replay", "x.jsonl"});
    EXPECT_EQ(well, result.status) << result.out << result.err;
    /* Because it says which virtual MACs the library knew. */
    std::string without;
    for (const std::string &line : lines(read("x.jsonl"))) {
        if (line.rfind("{\"virtual_mac\"", 0) != 0)
            without += line + "\n";
    }
    ASSERT_NE(without, read("x.jsonl"));
    write("without.jsonl", without);
    EXPECT_EQ(found, kvnsim({"replay", "without.jsonl"}).status);
}

TEST_F(From, ADatabaseThatCannotBeRestoredIsRefusedAndNothingIsDone)
{
    save_first_half();
    const std::string one = "one.json";
    EXPECT_THAT(kvnsim({"run", "--from", "nowhere.db", one}).err,
                HasSubstr("nowhere.db: No such file"));
    EXPECT_THAT(kvnsim({"run", "--from", one, one}).err, HasSubstr("not a kvnsim database"));
    change("first.db", "DELETE FROM asic_lid WHERE lid_id = 2");
    const Result result = kvnsim({"run", "--from", "first.db", one, "--db", "x.db"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("kvnsim: first.db: table asic_lid_path, row 2, column lid_id: there is no LID entry "
              "2\n",
              result.err);
    EXPECT_FALSE(exists("x.db"));
}

TEST_F(From, ADatabaseOfTheOtherWordSizeIsRefused)
{
    save_first_half();
    change("first.db", "UPDATE meta SET word_size = 96 - word_size");
    const Result result = kvnsim({"run", "--from", "first.db", "one.json"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.err, HasSubstr("table meta, row 1, column word_size: "));
}

TEST_F(From, NeedsAConfiguration)
{
    save_first_half();
    const Result result = kvnsim({"run", "--from", "first.db"});
    EXPECT_EQ(usage, result.status);
    EXPECT_THAT(result.err, HasSubstr("CONFIG is missing"));
}
