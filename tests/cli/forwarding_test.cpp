#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/* Frames, and the services that a switch gives. */
class Frames : public Kvnsim {
public:
    void SetUp() override
    {
        ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "leaf.db"}).status);
    }
    std::string last_line(std::vector<std::string> words, int status)
    {
        words.insert(words.end(), {"--db", "leaf.db"});
        const Result result = kvnsim(words);
        EXPECT_EQ(status, result.status) << result.err;
        return result.out.empty() ? result.err : lines(result.out).back();
    }
};

TEST_F(Frames, ArriveByAPortOrForAnInterface)
{
    const std::string sub = "routed in VRF VrfBlue by SDK interface 18 (Ethernet36.100)";
    EXPECT_EQ(sub, last_line({"packet", "Ethernet36", "--vlan", "100"}, well));
    EXPECT_EQ(sub, last_line({"packet", "Ethernet36.100"}, well));
    EXPECT_EQ(sub, last_line({"packet", "fp10", "--vlan", "100"}, well)); /* its alias */
    EXPECT_EQ("routed in VRF default by SDK interface 12 (PortChannel0001)",
              last_line({"packet", "po1"}, well));
    EXPECT_EQ("routed in VRF VrfBlue by SDK interface 20 (Po0001.300)",
              last_line({"packet", "Po0001.300"}, well));
    EXPECT_EQ("routed in VRF VrfBlue by SDK interface 14 (Vlan100)",
              last_line({"packet", "Vlan100"}, well));
}

TEST_F(Frames, ThatAreNotRoutedEndWithOneAndWhatDecides)
{
    EXPECT_THAT(last_line({"packet", "Ethernet0", "--size", "9217"}, found),
                StartsWith("not routed: the packet has 9217 bytes, the MTU of SDK interface 1 "
                           "(Ethernet0) is 9216 (libsdk_intf_attr_set in request"));
    EXPECT_THAT(last_line({"packet", "Ethernet36", "--ipv6"}, found),
                StartsWith("not routed: IPv6 unicast routing of SDK interface 10"));
    EXPECT_THAT(last_line({"packet", "Ethernet0", "--to", "00:00:00:00:00:99"}, found),
                StartsWith("not routed: 00:00:00:00:00:99 is no router MAC"));
    EXPECT_EQ("not routed: front port 125 has no SDK interface",
              last_line({"packet", "Ethernet124"}, found));
}

TEST_F(Frames, WithWrongWordsAreRefused)
{
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{"packet", "Ethernet1"}, "there is no interface \"Ethernet1\""},
        {{"packet", "Ethernet0", "--vlan", "4095"}, "--vlan: expected 1 to 4094, not \"4095\""},
        {{"packet", "Ethernet0", "--vlan", "0"}, "--vlan: expected 1 to 4094"},
        {{"packet", "Vlan100", "--vlan", "7"}, "--vlan: Vlan100 has a VLAN of its own"},
        {{"packet", "Ethernet0", "--to", "00:11"}, "--to: \"00:11\" is no MAC address"},
        {{"packet", "Ethernet0", "--size", "0"}, "--size: expected 1 to 65535"},
        {{"packet", "Ethernet0", "--ipv4", "--ipv6"}, "--ipv4 or --ipv6, but not both"},
        {{"packet"}, "IF is missing"},
        {{"reach", "Ethernet1"}, "there is no interface \"Ethernet1\""}};
    for (const auto &[words, said] : cases) {
        std::vector<std::string> all = words;
        all.insert(all.end(), {"--db", "leaf.db"});
        const Result result = kvnsim(all);
        EXPECT_EQ(usage, result.status) << said;
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, HasSubstr(said));
    }
}

TEST_F(Frames, NeedAMacWhereTheSwitchHasNone)
{
    write("one.json", one_port);
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "one.db"}).status);
    const Result none = kvnsim({"packet", "Ethernet0", "one.db"});
    EXPECT_EQ(usage, none.status);
    EXPECT_THAT(none.err, HasSubstr("the ASIC has no router MAC: give --to MAC"));
    EXPECT_EQ(found, kvnsim({"packet", "Ethernet0", "one.db", "--to", "02:00:00:00:00:01"}).status);
}

TEST_F(Frames, AreFollowedInTheShellToo)
{
    const Result result = kvnsim({"shell", example("leaf.json")},
                                 "packet Ethernet0 --size 9000\nreach\nreach Vlan200\n");
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(
        result.out,
        AllOf(HasSubstr("\nrouted in VRF default by SDK interface 1 (Ethernet0)\n38 services "
                        "wanted, all given.\n"),
              HasSubstr("  Vlan200    IPv4    00:00:5e:00:53:fe  yes     VrfGreen  1500  "
                        "given\n")));
}

TEST_F(Frames, OfAServiceThatIsNotGivenAreTold)
{
    const Result all = kvnsim({"reach", "leaf.db", "--all"});
    EXPECT_EQ(well, all.status);
    EXPECT_EQ(38u + 4, lines(all.out).size()); /* title, heading, sum, what is not known */
    EXPECT_EQ(2u, lines(kvnsim({"reach", "leaf.db"}).out).size());

    ASSERT_EQ(request_failed, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "cut.db",
                                      "--fail", "libsdk_switch_router_mac_create=SDK_E_FULL"})
                                  .status);
    const Result cut = kvnsim({"reach", "cut.db"});
    EXPECT_EQ(found, cut.status);
    EXPECT_THAT(cut.out, HasSubstr("\n38 services wanted: 7 given, 31 not given.\n"));
    const rapidjson::Document json = kvnsim({"reach", "cut.db", "--json"}).json();
    EXPECT_EQ(38u, json["services"].Size());
    EXPECT_EQ(31, json["not_given"].GetInt());
    const rapidjson::Document audit = kvnsim({"audit", "cut.db", "--json"}).json();
    ASSERT_EQ(1u, audit["audit"].Size());
    EXPECT_EQ(31, audit["audit"][0]["services"].GetInt());
}

TEST_F(Frames, RunAndPlanSayWhichServicesAChangeAddsRemovesAndInterrupts)
{
    const std::vector<std::string> files = {example("small_change_before.json"),
                                            example("small_change_after.json")};
    const Result run = kvnsim({"run", files[0], files[1]});
    EXPECT_THAT(run.out, AllOf(HasSubstr("\n  11 services added\n"),
                               HasSubstr("\n  6 services added, 7 removed, 4 interrupted\n")));
    const Result plan = kvnsim({"plan", files[0], files[1]});
    EXPECT_THAT(plan.out, HasSubstr("\n  6 services added, 7 removed, 4 interrupted\n"));
    /* One configuration has nothing to change. */
    EXPECT_THAT(kvnsim({"run", files[0]}).out, Not(HasSubstr("services added")));
    const rapidjson::Document json = kvnsim({"run", files[0], files[1], "--json"}).json();
    EXPECT_EQ(17u, json["configurations"][1]["service_changes"].Size());
}
