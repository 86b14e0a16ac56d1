#include <map>
#include <sstream>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Faults : public Kvnsim {
public:
    /* As the tool itself lists them. */
    std::vector<std::string> calls_that_can_fail()
    {
        const std::string text = kvnsim({"run", "-", "--fail", "none"}).err;
        const std::string before = "calls that can fail: ";
        std::istringstream names(text.substr(text.find(before) + before.size()));
        std::vector<std::string> calls;
        for (std::string name; names >> name && name != "Try";)
            calls.push_back(name.substr(0, name.find(',')));
        return calls;
    }
};

/* Calls that no configuration leads to, and the requests that make them. */
static const std::map<std::string, std::string> beyond_configurations{
    {"fwmpd_kvn_reset_pd_pc", "a port joins a port-channel that the host held"},
    {"l3lif_get_iif_for_ifindex_new", "a loopback"},
    {"libsdk_intf_attr_get", "a change of the DF mask"},
    {"libsdk_intf_attr_set_batch", "a loopback"},
    {"sse_call2", "a loopback"},
};

TEST_F(Faults, EveryCallThatFailsIsNamedWithItsRequestAndItsRow)
{
    const std::vector<std::string> calls = calls_that_can_fail();
    EXPECT_GT(calls.size(), 20u);
    for (const std::string &call : calls) {
        const bool has_status = call != "malloc";
        const std::string fault = has_status ? call + "=-42" : call;
        const Result result =
            kvnsim({"run", example("leaf.json"), example("small_change_before.json"),
                    example("small_change_after.json"), example("empty.json"), "--quiet", "--fail",
                    fault});
        if (beyond_configurations.count(call) != 0) {
            EXPECT_EQ(fault_unused, result.status) << call;
            EXPECT_THAT(result.err, HasSubstr("--fail " + fault + " never took effect"));
            continue;
        }
        EXPECT_EQ(request_failed, result.status) << call;
        EXPECT_THAT(result.err,
                    AllOf(HasSubstr(call + (has_status ? ": -42" : ": no memory")),
                          HasSubstr("(injected)"), HasSubstr("json:"), HasSubstr(": failed to ")))
            << call;
    }
}

TEST_F(Faults, AFailureNamesRowStepRequestCallAndStatus)
{
    write("one.json", one_port);
    const Result result = kvnsim({"run", "one.json", "--fail", "libsdk_intf_create=SDK_E_FULL"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_EQ("one.json:3:19: INTERFACE|Ethernet0: failed to route port Ethernet0: MTU 9100, IPv4: "
              "request 2 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1) returned -1: "
              "libsdk_intf_create: SDK_E_FULL (-5) (injected)\n",
              result.err);
    EXPECT_THAT(result.out, AllOf(HasSubstr("1 failure\n"), HasSubstr("missing: Ethernet0")));
}

TEST_F(Faults, ARequestThatReturnsSuccessThoughACallFailedCountsAsFailed)
{
    write("one.json", one_port);
    const Result result = kvnsim({"run", "one.json", "--fail", "fwmpd_kavelin_batch_flush"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(result.err,
                HasSubstr("returned 0, but a call in it failed: fwmpd_kavelin_batch_flush: -1 "
                          "(injected)"));
}

TEST_F(Faults, OnlyTheNamedOccurrenceFails)
{
    write("three.json", ports(3));
    const Result result =
        kvnsim({"run", "three.json", "--quiet", "--fail", "libsdk_intf_create:2=SDK_E_BUSY"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_EQ(1u, lines(result.err).size());
    EXPECT_THAT(result.err, AllOf(HasSubstr("INTERFACE|Ethernet1: "), HasSubstr("SDK_E_BUSY")));
    EXPECT_EQ("", result.out);
}

TEST_F(Faults, JsonHoldsEachFailure)
{
    write("one.json", one_port);
    const Result result =
        kvnsim({"run", "one.json", "--json", "--fail", "libsdk_intf_create=SDK_E_FULL", "--fail",
                "libsdk_intf_destroy"});
    EXPECT_EQ(request_failed, result.status);
    const rapidjson::Document document = result.json();
    const auto &failure = document["configurations"][0]["failures"][0];
    EXPECT_EQ("Ethernet0", std::string(failure["object"].GetString()));
    EXPECT_EQ(3, failure["cause"]["line"].GetInt());
    EXPECT_EQ(-1, failure["request"]["result"].GetInt());
    EXPECT_EQ("libsdk_intf_create: SDK_E_FULL (-5)",
              std::string(failure["request"]["first_failure"].GetString()));
    EXPECT_NE(0u, document["switch"]["audit"].Size());
    EXPECT_EQ("libsdk_intf_destroy", std::string(document["unused_faults"][0].GetString()));
}

TEST_F(Faults, ASeedGivesTheSameFailuresAgain)
{
    const auto failures = [&](const char *seed) {
        return kvnsim(
            {"run", example("leaf.json"), "--quiet", "--fail-rate", "0.05", "--seed", seed});
    };
    const Result first = failures("7");
    EXPECT_EQ(request_failed, first.status);
    EXPECT_EQ(first.err, failures("7").err);
    EXPECT_NE(first.err, failures("8").err);
}

TEST_F(Faults, ARateOfNothingFailsNothing)
{
    EXPECT_EQ(well, kvnsim({"run", example("leaf.json"), "--fail-rate", "0"}).status);
}

TEST_F(Faults, ATableThatIsTooSmallRefusesWithAReason)
{
    write("three.json", ports(3));
    const Result result = kvnsim({"run", "three.json", "--limit", "intf=2"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(result.err, AllOf(StartsWith("three.json:"), HasSubstr("INTERFACE|Ethernet2"),
                                  HasSubstr("libsdk_intf_create: SDK_E_FULL (-5)"),
                                  Not(HasSubstr("injected"))));
}

TEST_F(Faults, TheDatabaseIsKeptThoughARequestFailed)
{
    write("one.json", one_port);
    const Result result = kvnsim(
        {"run", "one.json", "--quiet", "--db", "x.db", "--fail", "l3lif_update_sdb_for_intf"});
    EXPECT_EQ(request_failed, result.status);
    const Result audit = kvnsim({"audit", "--db", "x.db"});
    EXPECT_EQ(found, audit.status);
    EXPECT_THAT(audit.out, HasSubstr("Ethernet0"));
    EXPECT_THAT(kvnsim({"explain", "Ethernet0", "--db", "x.db"}).out,
                HasSubstr("l3lif_update_sdb_for_intf"));
}
