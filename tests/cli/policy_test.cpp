/* What findings and failures mean for the exit status, and what is said of them. */
#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

/* A port-channel that waits for a member beside a port that comes up. */
const char *const waiting = R"({
"PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0|192.0.2.0/31": {}},
"PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}}})";

/* A warning about a row that is applied all the same. */
const char *const with_warning = R"({
"PORT": {"Ethernet0": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfNone"}}})";

/* One row that cannot be applied. */
const char *const with_error = R"({
"PORT": {"Ethernet0": {}, "Ethernet4": {"mtu": "1"}},
"INTERFACE": {"Ethernet0|192.0.2.0/31": {}, "Ethernet4|192.0.2.2/31": {}}})";

/* The first member creates the port-channel. */
const char *const two_members = R"({
"PORT": {"Ethernet0": {}, "Ethernet4": {}},
"PORTCHANNEL": {"PortChannel1": {}},
"PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}}})";

class Policies : public Kvnsim {};

TEST_F(Policies, AnInterfaceThatWaitsIsLeftOutForCheckRunAndAudit)
{
    write("waiting.json", waiting);
    EXPECT_EQ(found, kvnsim({"check", "waiting.json"}).status);
    const Result run = kvnsim({"run", "waiting.json", "--db", "waiting.db"});
    EXPECT_EQ(found, run.status);
    const Result audit = kvnsim({"audit", "--db", "waiting.db"});
    EXPECT_EQ(found, audit.status);
    for (const Result &result : {run, audit})
        EXPECT_THAT(result.out, AllOf(HasSubstr("left out: waiting.json:5:27: "
                                                "PORTCHANNEL_INTERFACE|PortChannel1: waits: "
                                                "PortChannel1 has no member"),
                                      HasSubstr("1 finding, 1 of what is configured but left out"),
                                      Not(HasSubstr("found nothing"))));
    EXPECT_THAT(kvnsim({"show", "summary", "--db", "waiting.db"}).out,
                testing::ContainsRegex("left_out +rows configured, but left out +1"));
}

TEST_F(Policies, IgnoredFindingsAreCountedButDoNotDecideTheStatus)
{
    write("waiting.json", waiting);
    for (const char *verb : {"check", "run"}) {
        const Result result = kvnsim({verb, "waiting.json", "--ignore", "KVN-C080"});
        EXPECT_EQ(well, result.status) << verb;
        EXPECT_THAT(result.err, Not(HasSubstr("waits"))) << verb;
        EXPECT_THAT(result.out, HasSubstr("1 finding ignored (KVN-C080)")) << verb;
    }
}

TEST_F(Policies, ErrorsAndUnknownCodesCannotBeIgnored)
{
    const Result error = kvnsim({"check", "-", "--ignore", "KVN-C040"}, "{}");
    EXPECT_EQ(usage, error.status);
    EXPECT_THAT(error.err, HasSubstr("KVN-C040 is an error"));
    const Result unknown = kvnsim({"check", "-", "--ignore", "KVN-C999"}, "{}");
    EXPECT_EQ(usage, unknown.status);
    EXPECT_THAT(unknown.err, HasSubstr("there is no finding \"KVN-C999\""));
}

TEST_F(Policies, WarningsAreErrorsWhenStrict)
{
    write("warning.json", with_warning);
    EXPECT_EQ(well, kvnsim({"check", "warning.json"}).status);
    EXPECT_EQ(bad_input, kvnsim({"check", "warning.json", "--strict"}).status);
    EXPECT_EQ(well, kvnsim({"check", "warning.json", "--strict", "--ignore", "KVN-C073"}).status);
    const Result run = kvnsim({"run", "warning.json", "--strict", "--db", "x.db"});
    EXPECT_EQ(bad_input, run.status);
    EXPECT_FALSE(exists("x.db"));
}

TEST_F(Policies, ARunThatGoesOnPastErrorsCountsTheRowsThatItLeavesOut)
{
    write("error.json", with_error);
    const Result result = kvnsim({"run", "error.json", "--keep-going"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("left out: error.json:2:48: PORT|Ethernet4: mtu is \"1\""),
                      HasSubstr("left out: error.json:3:45: INTERFACE|Ethernet4|192.0.2.2/31"),
                      HasSubstr("2 findings, 2 of what is configured but left out")));
}

TEST_F(Policies, AFileOfWhichNothingIsKnownIsNotSkippedAndTheDatabaseStays)
{
    write("one.json", one_port);
    write("bad.json", "{");
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--db", "one.db"}).status);
    const std::string before = read("one.db");
    for (const char *file : {"bad.json", "missing.json"}) {
        const Result result = kvnsim({"run", "one.json", file, "--keep-going", "--db", "one.db"});
        EXPECT_EQ(bad_input, result.status) << file;
        EXPECT_THAT(result.err, AllOf(HasSubstr("kvnsim: nothing was applied\n"),
                                      Not(HasSubstr("--keep-going"))))
            << file;
        EXPECT_EQ(before, read("one.db")) << file;
    }
}

TEST_F(Policies, KeepGoingIsAdvisedWhereRowsAreWrong)
{
    write("error.json", with_error);
    EXPECT_THAT(kvnsim({"run", "error.json"}).err,
                HasSubstr("nothing was applied (--keep-going applies the valid rows)"));
}

TEST_F(Policies, AFailureThatALaterRequestMakesUpForIsNotOpen)
{
    write("two.json", two_members);
    const std::vector<std::string> fault{"--fail", "libsdk_portchannel_create:1=SDK_E_TIMEOUT"};
    std::vector<std::string> arguments{"run", "two.json"};
    arguments.insert(arguments.end(), fault.begin(), fault.end());
    const Result once = kvnsim(arguments);
    EXPECT_THAT(once.err, HasSubstr("SDK_E_TIMEOUT (-8) (injected); made up for by request "));
    EXPECT_THAT(once.out, HasSubstr("1 failure, 1 made up for"));
    EXPECT_NE(request_failed, once.status);

    arguments.push_back("--json");
    const rapidjson::Document document = kvnsim(arguments).json();
    const auto &failure = document["configurations"][0]["failures"][0];
    EXPECT_GT(failure["made_up_by"].GetInt(), failure["request"]["number"].GetInt());
}

TEST_F(Policies, AFailureThatNothingMakesUpForIsOpen)
{
    write("one.json", one_port);
    const Result result =
        kvnsim({"run", "one.json", "--fail", "libsdk_intf_create=SDK_E_FULL", "--json"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_TRUE(result.json()["configurations"][0]["failures"][0]["made_up_by"].IsNull());
}

TEST_F(Policies, AFailureOfOneConfigurationMayBeMadeUpForByTheNext)
{
    write("one.json", one_port);
    const Result result =
        kvnsim({"run", "one.json", "one.json", "--fail", "libsdk_intf_create:1=SDK_E_FULL"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.err, HasSubstr("one.json: the failure of request 2 is made up for by "
                                      "request "));
}

TEST_F(Policies, AFaultThatNeverStrikesHasAStatusOfItsOwn)
{
    write("one.json", one_port);
    const Result unused = kvnsim({"run", "one.json", "--fail", "libsdk_intf_create:9"});
    EXPECT_EQ(fault_unused, unused.status);
    EXPECT_THAT(unused.err, HasSubstr("--fail libsdk_intf_create:9 never took effect"));
    EXPECT_EQ(request_failed, kvnsim({"run", "one.json", "--fail", "libsdk_intf_create:9", "--fail",
                                      "libsdk_intf_create:1"})
                                  .status);
}

} // namespace
