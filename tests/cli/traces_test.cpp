#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/* Timelines, recordings, and where the library's trace records go. */
class Traces : public Kvnsim {
public:
    void SetUp() override
    {
        write("one.json", one_port);
        write("two.json", ports(2));
    }
};

TEST_F(Traces, ATimelineShowsRowRequestCallsAndResults)
{
    const Result result = kvnsim({"run", "one.json", "--timeline"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(
        result.out,
        AllOf(HasSubstr("one.json:3:19: INTERFACE|Ethernet0\n"
                        "  2 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)\n"),
              HasSubstr("\n      libsdk_intf_create(dev_inst=0 intf_type=1 params={param1=1}) "
                        "= 0 intf_id=1\n"),
              HasSubstr("\n  = 0\n")));
}

TEST_F(Traces, ATimelineOfOneInterfaceLeavesOutTheOthers)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"run", "--timeline", "Ethernet1", "two.json"},
          {"run", "two.json", "--timeline=Ethernet1"}}) {
        const Result result = kvnsim(arguments);
        EXPECT_EQ(well, result.status) << result.err;
        EXPECT_THAT(result.out, AllOf(HasSubstr("l3lifpd_kvn_add_l3port(l3lif=Ethernet1"),
                                      Not(HasSubstr("l3lifpd_kvn_add_l3port(l3lif=Ethernet0"))));
    }
}

TEST_F(Traces, AConfigurationBehindTimelineIsNoInterface)
{
    const Result result = kvnsim({"run", "--timeline", "two.json"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out, HasSubstr("l3lifpd_kvn_add_l3port(l3lif=Ethernet0"));
}

TEST_F(Traces, TracedLevelsGoToStandardErrorAndIntoTheTimeline)
{
    const std::vector<std::string> failing{"run", "one.json", "--fail",
                                           "libsdk_intf_create=SDK_E_FULL", "--timeline"};
    const auto traced = [&](const char *level) {
        std::vector<std::string> arguments = failing;
        arguments.insert(arguments.end(), {"--trace", level});
        return kvnsim(arguments);
    };
    const Result silent = kvnsim(failing), errors = traced("error"), all = traced("debug");
    const std::string error_text = "libsdk_intf_create() failed";
    const std::string debug_text = "libsdk_intf_create() called";
    EXPECT_THAT(silent.err, Not(HasSubstr(debug_text)));
    EXPECT_THAT(silent.out, Not(HasSubstr(debug_text)));
    EXPECT_THAT(errors.err, Not(HasSubstr(debug_text)));
    EXPECT_THAT(all.err, HasSubstr(debug_text));
    EXPECT_THAT(all.out, HasSubstr(debug_text));
    EXPECT_GT(lines(errors.err).size(), lines(silent.err).size()) << error_text;
    EXPECT_GT(lines(all.err).size(), lines(errors.err).size());
}

TEST_F(Traces, TheDebugFileHoldsTheLibrarysMessages)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--debug-file", "debug.txt"}).status);
    EXPECT_THAT(read("debug.txt"), HasSubstr("libsdk_intf_create() called"));
}

TEST_F(Traces, ARecordingIsReplayedFromStandardInput)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--record", "one.jsonl"}).status);
    const Result result = kvnsim({"replay", "-"}, read("one.jsonl"));
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out, StartsWith("-: the same: "));
    EXPECT_EQ(bad_input, kvnsim({"replay", "-"}, "no recording").status);
}

/* ---- Event history ---- */

TEST_F(Traces, EventsAreDecodedAsTextAndAsJson)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--events", "x.events"}).status);
    const Result text = kvnsim({"events", "x.events"});
    EXPECT_EQ(well, text.status);
    EXPECT_THAT(text.out,
                AllOf(HasSubstr(" 0x730000 debug "), HasSubstr("libsdk_intf_create() called")));
    const rapidjson::Document document = kvnsim({"events", "x.events", "--json"}).json();
    EXPECT_TRUE(document["problem"].IsNull());
    EXPECT_EQ(lines(text.out).size(), document["events"].Size());
    EXPECT_EQ(104, document["events"][0]["level"].GetInt());
    EXPECT_EQ(0x730000, document["events"][0]["event"].GetInt());
}

TEST_F(Traces, ADamagedEventFileGivesWhatIsSoundAndThePlaceOfTheDamage)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--events", "x.events"}).status);
    const std::string whole = read("x.events");
    write("cut.events", whole.substr(0, whole.size() - 3));
    const Result text = kvnsim({"events", "cut.events"});
    EXPECT_EQ(bad_input, text.status);
    EXPECT_THAT(text.err, StartsWith("kvnsim: cut.events: at byte "));
    const rapidjson::Document sound = kvnsim({"events", "x.events", "--json"}).json();
    const Result json = kvnsim({"events", "cut.events", "--json"});
    EXPECT_EQ(bad_input, json.status);
    EXPECT_EQ(sound["events"].Size() - 1, json.json()["events"].Size());
}

TEST_F(Traces, WhatIsNoEventFileIsRefused)
{
    for (const char *file : {"one.json", "nowhere", "/"}) {
        const Result result = kvnsim({"events", file});
        EXPECT_EQ(bad_input, result.status) << file;
        EXPECT_THAT(result.err, StartsWith(std::string("kvnsim: ") + file + ": "));
    }
}

/* ---- Recordings ---- */

TEST_F(Traces, ARecordingReplaysTheSame)
{
    ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), example("empty.json"), "--quiet",
                            "--record", "leaf.jsonl"})
                        .status);
    const Result result = kvnsim({"replay", "leaf.jsonl"});
    EXPECT_EQ(well, result.status) << result.out << result.err;
    EXPECT_THAT(result.out, StartsWith("leaf.jsonl: the same: "));
}

TEST_F(Traces, ARecordingOfFailuresReplaysTheSame)
{
    ASSERT_EQ(request_failed, kvnsim({"run", example("leaf.json"), example("empty.json"), "--quiet",
                                      "--fail-rate", "0.1", "--record", "leaf.jsonl"})
                                  .status);
    EXPECT_EQ(well, kvnsim({"replay", "leaf.jsonl"}).status);
}

TEST_F(Traces, AReplayNamesTheFirstDifference)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--record", "one.jsonl"}).status);
    std::string text = read("one.jsonl");
    const std::string mtu = "\"param1\":9100";
    const size_t at = text.find(mtu);
    ASSERT_NE(std::string::npos, at);
    write("changed.jsonl", text.replace(at, mtu.size(), "\"param1\":9000"));
    const Result result = kvnsim({"replay", "changed.jsonl"});
    EXPECT_EQ(found, result.status);
    EXPECT_THAT(result.out,
                AllOf(StartsWith("changed.jsonl:"), HasSubstr("recorded 9000, now 9100"),
                      HasSubstr("l3lifpd_kvn_add_l3port")));

    const Result as_json = kvnsim({"replay", "changed.jsonl", "--json"});
    EXPECT_EQ(found, as_json.status);
    const rapidjson::Document document = as_json.json();
    EXPECT_FALSE(document["same"].GetBool());
    EXPECT_STREQ("in.value.param1: recorded 9000, now 9100",
                 document["difference"]["what"].GetString());
    EXPECT_TRUE(kvnsim({"replay", "one.jsonl", "--json"}).json()["difference"].IsNull());
}

TEST_F(Traces, WhatIsNoRecordingIsRefusedWithItsPlace)
{
    EXPECT_THAT(kvnsim({"replay", "nowhere.jsonl"}).err,
                HasSubstr("nowhere.jsonl: cannot be read: No such file or directory"));
    EXPECT_THAT(kvnsim({"replay", "/"}).err, HasSubstr("/: cannot be read: Is a directory"));
    write("empty.jsonl", "");
    for (const char *file : {"nowhere.jsonl", "one.json", "empty.jsonl", "/"}) {
        const Result result = kvnsim({"replay", file});
        EXPECT_EQ(bad_input, result.status) << file;
        EXPECT_THAT(result.err, StartsWith(std::string("kvnsim: ") + file)) << file;
    }
}
