#include <iterator>
#include <sstream>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Run : public Kvnsim {};

/* The words of each row below the heading. */
static std::vector<std::vector<std::string>> table(const std::string &text,
                                                   const std::string &title)
{
    std::vector<std::vector<std::string>> rows;
    bool inside = false;
    for (const std::string &line : lines(text)) {
        if (line.empty())
            inside = false;
        if (inside) {
            std::istringstream words(line);
            rows.emplace_back(std::istream_iterator<std::string>(words),
                              std::istream_iterator<std::string>());
        }
        inside = inside || line == title;
    }
    return rows;
}

TEST_F(Run, ShowsWhatCameOfTheConfiguration)
{
    write("one.json", one_port);
    const Result result = kvnsim({"run", "one.json", "--tables"});
    EXPECT_EQ(well, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_THAT(result.out, StartsWith("one.json: 2 steps\n"));
    EXPECT_THAT(table(result.out, "Interfaces"),
                ElementsAre(ElementsAre("Interface", "Kind", "State", "intf_id", "lid_id", "MTU",
                                        "IPv4", "Addresses"),
                            ElementsAre("Ethernet0", "port", "programmed", "1", "1", "9100", "yes",
                                        "192.0.2.0/31")));
    EXPECT_THAT(table(result.out, "Attributes"),
                ElementsAre(ElementsAre("intf_id", "Interface", "LID", "SGT", "v4", "IGMP",
                                        "v4same", "MTU"),
                            ElementsAre("1", "Ethernet0", "1", "1", "1", "16", "1", "9100")));
    EXPECT_THAT(table(result.out, "Shared database"),
                Contains(ElementsAre("Ethernet0", "0x10000000", "9100", "yes", "0", "0", "0",
                                     "4097", "on")));
    EXPECT_THAT(result.out, HasSubstr("The audit found nothing"));
}

TEST_F(Run, ShowsWhoseTheSdkInterfaceIsThatIsKeptForAMembership)
{
    write("routed.json", one_port);
    write("unused.json", R"({"PORT": {"Ethernet0": {}}})");
    const Result result = kvnsim({"run", "routed.json", "unused.json", "--tables"});
    EXPECT_THAT(table(result.out, "Attributes"), Contains(Contains("Ethernet0"))) << result.out;
    EXPECT_THAT(result.out, HasSubstr("The audit found nothing"));
}

TEST_F(Run, CountsTheInterfacesByKindAndState)
{
    const Result result = kvnsim({"run", example("portchannels.json")});
    EXPECT_EQ(found, result.status) << "one waits for a member";
    EXPECT_THAT(table(result.out, "Interfaces by state"),
                ElementsAre(ElementsAre("Kind", "State", "Count"),
                            ElementsAre("port-channel", "layer", "2", "1"),
                            ElementsAre("port-channel", "no", "member", "1"),
                            ElementsAre("port-channel", "programmed", "2")));
    EXPECT_THAT(result.out, Not(HasSubstr("Needs attention")));
}

TEST_F(Run, ListsWhatNeedsAttention)
{
    const Result failed =
        kvnsim({"run", example("leaf.json"), "--fail", "libsdk_intf_attr_set:80=SDK_E_TIMEOUT"});
    EXPECT_EQ(request_failed, failed.status);
    const auto rows = table(failed.out, "Needs attention");
    ASSERT_EQ(2u, rows.size()) << failed.out;
    EXPECT_EQ("PortChannel0001", rows[1][0]);
    EXPECT_THAT(failed.out, AllOf(HasSubstr("SDK_E_TIMEOUT"), HasSubstr("orphan: ")));

    const Result broken = kvnsim({"run", example("broken.json"), "--keep-going"});
    EXPECT_THAT(broken.out, ContainsRegex("/broken.json: [0-9]+ errors, "));
}

TEST_F(Run, TablesAreShownOnRequest)
{
    EXPECT_THAT(kvnsim({"run", example("leaf.json")}).out, Not(HasSubstr("Shared database")));
    const Result result = kvnsim({"run", example("leaf.json"), "--tables"});
    EXPECT_EQ(well, result.status);
    for (const char *title :
         {"Interfaces", "Attributes", "Port-channels", "MACs", "Shared database"})
        EXPECT_FALSE(table(result.out, title).empty()) << title;
    EXPECT_THAT(result.out, HasSubstr("not applied: NTP_SERVER (2 rows)"));
}

TEST_F(Run, ReadsStandardInput)
{
    const Result result = kvnsim({"run", "-"}, one_port);
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, StartsWith("-: 2 steps\n"));
}

TEST_F(Run, ASecondConfigurationIsAppliedAsAChange)
{
    write("before.json", one_port);
    write("after.json", one_port_1500);
    const Result result = kvnsim({"run", "before.json", "after.json", "--timeline"});
    EXPECT_EQ(well, result.status);
    const std::string change = result.out.substr(result.out.find("after.json: 1 step\n"));
    EXPECT_THAT(change, HasSubstr("l3lifpd_kvn_set_l3_property(l3lif=Ethernet0"));
    EXPECT_THAT(change, HasSubstr("SdkIntfAttrMtuIdx value={param1=1500}"));
    EXPECT_THAT(change, Not(HasSubstr("l3lifpd_kvn_add_l3port")));
}

TEST_F(Run, TheSameConfigurationTwiceMakesNoCall)
{
    const std::string leaf = example("leaf.json");
    const Result result = kvnsim({"run", leaf, leaf});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, HasSubstr(leaf + ": 0 steps\n  not applied: NTP_SERVER (2 rows)\n"
                                             "  0 requests, 0 calls, 0 failures\n"));
}

TEST_F(Run, QuietSaysNothingWhenAllIsWell)
{
    const Result result = kvnsim({"run", example("leaf.json"), "--quiet"});
    EXPECT_EQ(well, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TEST_F(Run, NotesAreForThoseWhoWantThem)
{
    /* Without a PORT table, the ports come from the rows that name them. */
    write("noted.json", "{\"INTERFACE\": {\"Ethernet0\": {}}}");
    EXPECT_THAT(kvnsim({"run", "noted.json"}).err, HasSubstr("note: "));
    EXPECT_THAT(kvnsim({"run", "noted.json", "--quiet"}).err, Not(HasSubstr("note: ")));
    EXPECT_EQ(well, kvnsim({"run", "noted.json"}).status);
}

/* ---- Errors in the configuration ---- */

TEST_F(Run, AnErrorInOneConfigurationKeepsAllFromBeingApplied)
{
    write("one.json", one_port);
    const Result result = kvnsim({"run", "one.json", example("broken.json"), "--db", "x.db",
                                  "--record", "x.jsonl", "--events", "x.events"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(result.err, HasSubstr("nothing was applied"));
    EXPECT_THAT(files(), ElementsAre("one.json"));
}

TEST_F(Run, KeepGoingAppliesWhatIsSound)
{
    const Result result = kvnsim({"run", example("broken.json"), "--keep-going", "--tables"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out, HasSubstr("of what is configured but left out"));
    EXPECT_THAT(table(result.out, "Interfaces"), Contains(Contains("Ethernet3")).Times(0));
    EXPECT_THAT(result.out, HasSubstr("PortChannel1"));
}

TEST_F(Run, DryRunShowsThePlanAndItsRequestsAndKeepsNothing)
{
    write("one.json", one_port);
    const Result result = kvnsim({"run", "one.json", "--dry-run", "--db", "x.db", "--record", "x",
                                  "--events", "y", "--debug-file", "z"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("one.json: 2 steps\n"),
                      HasSubstr("\n  route port Ethernet0: MTU 9100, IPv4\n"
                                "      l3lifpd_kvn_add_l3port(l3lif=Ethernet0 "
                                "create=1)\n"),
                      HasSubstr("\n  tried: 2 requests, "), HasSubstr("\nNothing was applied: "),
                      Not(HasSubstr("Interfaces"))));
    EXPECT_THAT(files(), ElementsAre("one.json"));
}

TEST_F(Run, DryRunOfASecondConfigurationShowsOnlyTheChange)
{
    write("before.json", one_port);
    write("after.json", one_port_1500);
    const Result result = kvnsim({"run", "before.json", "after.json", "--dry-run", "--json"});
    EXPECT_EQ(well, result.status);
    const rapidjson::Document document = result.json();
    EXPECT_TRUE(document["switch"].IsNull());
    const auto &after = document["configurations"][1];
    EXPECT_FALSE(after["applied"].GetBool());
    ASSERT_EQ(1u, after["steps"].Size());
    EXPECT_EQ("Ethernet0", std::string(after["steps"][0]["object"].GetString()));
    EXPECT_EQ("l3lifpd_kvn_set_l3_property",
              std::string(after["steps"][0]["requests"][0]["entry"].GetString()));
}

/* ---- JSON ---- */

TEST_F(Run, JsonIsOneDocumentWithAllOfIt)
{
    const Result result = kvnsim({"run", example("leaf.json"), "--json"});
    EXPECT_EQ(well, result.status);
    EXPECT_EQ("", result.err);
    const rapidjson::Document document = result.json();
    const auto &configuration = document["configurations"][0];
    EXPECT_TRUE(configuration["applied"].GetBool());
    EXPECT_EQ(configuration["steps"].Size(), configuration["steps_done"].GetUint());
    EXPECT_EQ(0u, configuration["failures"].Size());
    EXPECT_EQ(22u, document["switch"]["interfaces"].Size());
    EXPECT_EQ(0u, document["switch"]["audit"].Size());
    EXPECT_EQ(KVN_WORD_SIZE, document["switch"]["word_size"].GetInt());
    EXPECT_EQ(9216, document["attributes"][0]["SdkIntfAttrMtuIdx"].GetInt());
    EXPECT_EQ("Ethernet0", std::string(document["shared_database"][0]["interface"].GetString()));
    EXPECT_FALSE(document["interrupted"].GetBool());
}

TEST_F(Run, AFileNameThatIsNoTextStillMakesJson)
{
    write("bad\xff.json", one_port);
    const Result result = kvnsim({"run", "bad\xff.json", "--json", "--db", "x.db"});
    EXPECT_EQ(well, result.status);
    const rapidjson::Document document = result.json();
    EXPECT_EQ("bad\xEF\xBF\xBD.json", std::string(document["switch"]["files"][0].GetString()));
    EXPECT_EQ(std::string::npos, result.out.find('\xff'));
    EXPECT_EQ(std::string::npos, kvnsim({"report", "--db", "x.db", "-o", "-"}).out.find('\xff'));
}

TEST_F(Run, JsonOfAConfigurationWithErrorsHoldsTheFindingsAndNoSwitch)
{
    const Result result = kvnsim({"run", example("broken.json"), "--json"});
    EXPECT_EQ(bad_input, result.status);
    const rapidjson::Document document = result.json();
    EXPECT_FALSE(document["configurations"][0]["applied"].GetBool());
    EXPECT_NE(0u, document["configurations"][0]["findings"].Size());
    EXPECT_TRUE(document["switch"].IsNull());
}
