#include <sqlite3.h>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/* What a run left is looked at later. */
class Stored : public Kvnsim {
public:
    void SetUp() override
    {
        ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "leaf.db"}).status);
    }
};

TEST_F(Stored, EveryTableIsShownAsTextAndAsJson)
{
    const std::pair<const char *, const char *> tables[] = {{"interfaces", "interfaces"},
                                                            {"ports", "ports"},
                                                            {"port-channels", "port_channels"},
                                                            {"lids", "lids"},
                                                            {"macs", "macs"},
                                                            {"vrfs", "vrfs"},
                                                            {"vlans", "vlans"},
                                                            {"summary", "summary"}};
    for (const auto &[table, key] : tables) {
        const Result text = kvnsim({"show", table, "--db", "leaf.db"});
        EXPECT_EQ(well, text.status) << table;
        const rapidjson::Document document =
            kvnsim({"show", table, "--db", "leaf.db", "--json"}).json();
        /* The title and the heading, then a line for each row. */
        EXPECT_EQ(lines(text.out).size() - 2, document[key].Size()) << table;
    }
}

TEST_F(Stored, AttributesAreThoseOfTheNamedInterface)
{
    const Result text = kvnsim({"show", "attributes", "Ethernet64", "--db", "leaf.db"});
    EXPECT_EQ(well, text.status) << text.err;
    const rapidjson::Document document =
        kvnsim({"show", "attributes", "Vlan200", "--db", "leaf.db", "--json"}).json();
    bool seen = false;
    for (const auto &row : document["attributes"].GetArray()) {
        if (row["name"] == "SdkIntfAttrMtuIdx") {
            seen = true;
            EXPECT_EQ(1500, row["value"].GetInt());
        }
    }
    EXPECT_TRUE(seen);
}

TEST_F(Stored, ATableMayBeAskedForItsRowsAboutSomeNames)
{
    const rapidjson::Document two =
        kvnsim({"show", "interfaces", "po0001", "Vlan100", "leaf.db", "--json"}).json();
    ASSERT_EQ(2u, two["interfaces"].Size());
    EXPECT_EQ("PortChannel0001", std::string(two["interfaces"][0]["name"].GetString()));
    EXPECT_EQ("Vlan100", std::string(two["interfaces"][1]["name"].GetString()));
    /* A port-channel is about its members, too; a table may have names of its own. */
    EXPECT_THAT(kvnsim({"show", "port-channels", "Ethernet40", "leaf.db"}).out,
                HasSubstr("PortChannel0001"));
    EXPECT_EQ(1u, kvnsim({"show", "vrfs", "vrfblue", "leaf.db", "--json"}).json()["vrfs"].Size());
    EXPECT_THAT(kvnsim({"show", "summary", "intf", "leaf.db"}).out, HasSubstr("65534"));
    /* There is such a port, but no such row. */
    const Result none = kvnsim({"show", "interfaces", "Ethernet40", "leaf.db"});
    EXPECT_EQ(well, none.status);
    EXPECT_EQ("Interfaces\n  none\n", none.out);
}

TEST_F(Stored, OneRowIsShownWithALineForEachColumn)
{
    const Result one = kvnsim({"show", "ports", "Ethernet40", "leaf.db"});
    EXPECT_THAT(one.out, StartsWith("Ports\n  Port          Ethernet40\n  Alias         "));
    EXPECT_THAT(one.out, AllOf(HasSubstr("\n  Port-channel  PortChannel0001\n"),
                               HasSubstr("\n  Failure       -\n")));
    EXPECT_EQ(3u, lines(kvnsim({"show", "ports", "Ethernet40", "leaf.db", "--wide"}).out).size());
}

TEST_F(Stored, InterfacesAreFoundByEverySpelling)
{
    write("aliases.json",
          R"({"PORT": {"Ethernet0": {"alias": "Eth1/1"}, "Ethernet4": {"alias": "up"},
"Ethernet8": {"alias": "UP"}, "Ethernet12": {"alias": "ethernet8"},
"Ethernet16": {}}, "PORTCHANNEL_MEMBER": {"PortChannel0007|Ethernet16": {}},
"PORTCHANNEL": {"PortChannel0007": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel0007": {}},
"VLAN_SUB_INTERFACE": {"Ethernet0.10": {}}, "INTERFACE": {"Ethernet0": {}}})");
    ASSERT_EQ(well, kvnsim({"run", "aliases.json", "--quiet", "--db", "aliases.db"}).status);
    const auto meant = [&](const std::string &written) {
        const Result result = kvnsim({"explain", written, "aliases.db"});
        return result.status == well ? result.out.substr(0, result.out.find(' ')) : result.err;
    };
    for (const char *written : {"Ethernet0", "ethernet0", "Eth0", "ETH00", "Eth1/1", "eth1/1"})
        EXPECT_EQ("Ethernet0", meant(written)) << written;
    for (const char *written : {"PortChannel7", "Po7", "po0007", "portchannel0007"})
        EXPECT_EQ("PortChannel0007", meant(written)) << written;
    for (const char *written : {"Eth0.10", "eth0.10", "ETHERNET0.10"})
        EXPECT_EQ("Ethernet0.10", meant(written)) << written;
    /* Exactly so: a name, then an alias. */
    EXPECT_EQ("Ethernet8", meant("Ethernet8"));
    EXPECT_EQ("Ethernet12", meant("ethernet8"));
    EXPECT_EQ("Ethernet4", meant("up"));
    EXPECT_THAT(meant("Up"), HasSubstr("\"Up\" is ambiguous: Ethernet4, Ethernet8"));
    EXPECT_THAT(meant("Po8"), HasSubstr("there is no interface \"Po8\""));
    EXPECT_THAT(meant("Ethrnet0"), HasSubstr("(did you mean Ethernet0"));
}

TEST_F(Stored, VrfsAndVlansHaveTheirInterfaces)
{
    const rapidjson::Document vrfs = kvnsim({"show", "vrfs", "leaf.db", "--json"}).json();
    size_t interfaces = 0;
    for (const auto &row : vrfs["vrfs"].GetArray())
        interfaces += row["interfaces"].Size();
    const rapidjson::Document all = kvnsim({"show", "interfaces", "leaf.db", "--json"}).json();
    size_t routed = 0;
    for (const auto &row : all["interfaces"].GetArray())
        routed += row["state"] == "programmed" ? 1 : 0;
    EXPECT_EQ(routed, interfaces);
    const rapidjson::Document vlans =
        kvnsim({"show", "vlans", "Vlan100", "leaf.db", "--json"}).json();
    ASSERT_EQ(1u, vlans["vlans"].Size());
    EXPECT_EQ(100, vlans["vlans"][0]["vlan"].GetInt());
    EXPECT_EQ("programmed", std::string(vlans["vlans"][0]["svi"].GetString()));
    EXPECT_LT(0u, vlans["vlans"][0]["members"].Size());
}

TEST_F(Stored, AddressesAreAList)
{
    const rapidjson::Document document =
        kvnsim({"show", "interfaces", "Vlan100", "leaf.db", "--json"}).json();
    for (const auto &address : document["interfaces"][0]["addresses"].GetArray())
        EXPECT_THAT(std::string(address.GetString()), HasSubstr("/"));
    EXPECT_LT(1u, document["interfaces"][0]["addresses"].Size());
}

TEST_F(Stored, TheErrorStoreIsShown)
{
    ASSERT_EQ(request_failed, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "e.db",
                                      "--fail", "libsdk_intf_create:1=SDK_E_FULL"})
                                  .status);
    const rapidjson::Document document =
        kvnsim({"show", "errors", "--db", "e.db", "--json"}).json();
    EXPECT_NE(0u, document["errors"].Size());
    EXPECT_THAT(kvnsim({"show", "errors", "--db", "leaf.db"}).out, HasSubstr("none"));
}

TEST_F(Stored, ExplainPutsTheSidesOfAPropertyNextToEachOther)
{
    const Result text = kvnsim({"explain", "Ethernet36.200", "--db", "leaf.db"});
    EXPECT_EQ(well, text.status);
    EXPECT_THAT(text.out, AllOf(HasSubstr("MTU"), HasSubstr("1500"),
                                HasSubstr("VLAN_SUB_INTERFACE|Ethernet36.200")));
    const rapidjson::Document document =
        kvnsim({"explain", "Ethernet36.200", "--db", "leaf.db", "--json"}).json();
    EXPECT_EQ("Ethernet36.200", std::string(document["interface"].GetString()));
}

TEST_F(Stored, AuditOfASoundSwitchFindsNothing)
{
    const Result text = kvnsim({"audit", "--db", "leaf.db"});
    EXPECT_EQ(well, text.status);
    EXPECT_THAT(text.out, HasSubstr("found nothing"));
    EXPECT_EQ(0u, kvnsim({"audit", "--db", "leaf.db", "--json"}).json()["audit"].Size());
}

TEST_F(Stored, AuditNamesWhatAFailureLeftBehindAndItsStatusMeansIt)
{
    /* The second member makes up for the first one's failure, but not for what that left. */
    ASSERT_EQ(found, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "left.db", "--fail",
                             "libsdk_lid_entry_create:33=SDK_E_FULL"})
                         .status);
    const Result text = kvnsim({"audit", "--db", "left.db"});
    EXPECT_EQ(found, text.status);
    EXPECT_THAT(text.out, AllOf(HasSubstr("orphan: "), HasSubstr("libsdk_portchannel_create")));
    const Result json = kvnsim({"audit", "--db", "left.db", "--json"});
    EXPECT_EQ(found, json.status);
    constexpr size_t sums = 2; /* of the findings, and of the services */
    EXPECT_EQ(lines(text.out).size() - sums, json.json()["audit"].Size());
    EXPECT_EQ(lines(text.out).back(), json.json()["services"].GetString() + std::string("."));
}

TEST_F(Stored, ARunThatLeavesAFindingDoesNotEndWell)
{
    /* A failed delete leaves the ASIC's object; the request's failure tells first. */
    const Result result = kvnsim({"run", example("leaf.json"), example("empty.json"), "--quiet",
                                  "--fail", "libsdk_portchannel_destroy:1=SDK_E_BUSY"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(result.err, HasSubstr("libsdk_portchannel_destroy: SDK_E_BUSY (-6)"));
}

TEST_F(Stored, DiffOfEqualSwitchesIsEmpty)
{
    ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "again.db"}).status);
    const Result text = kvnsim({"diff", "leaf.db", "again.db"});
    EXPECT_EQ(well, text.status) << text.out;
    const rapidjson::Document document = kvnsim({"diff", "leaf.db", "again.db", "--json"}).json();
    EXPECT_TRUE(document["equal"].GetBool());
    EXPECT_EQ(0u, document["differences"].Size());
}

TEST_F(Stored, DiffNamesWhatAChangeDid)
{
    write("before.json", one_port);
    write("after.json", one_port_1500);
    ASSERT_EQ(well, kvnsim({"run", "before.json", "--quiet", "--db", "before.db"}).status);
    ASSERT_EQ(well, kvnsim({"run", "after.json", "--quiet", "--db", "after.db"}).status);
    const Result text = kvnsim({"diff", "before.db", "after.db"});
    EXPECT_EQ(found, text.status);
    EXPECT_THAT(text.out,
                AllOf(HasSubstr("SdkIntfAttrMtuIdx"), HasSubstr("9100"), HasSubstr("1500")));
    const Result json = kvnsim({"diff", "before.db", "after.db", "--json"});
    EXPECT_EQ(found, json.status);
    EXPECT_FALSE(json.json()["equal"].GetBool());
    EXPECT_EQ("9100", std::string(json.json()["differences"][0]["a"].GetString()));

    write("nothing.json", "{}");
    ASSERT_EQ(well, kvnsim({"run", "nothing.json", "--quiet", "--db", "nothing.db"}).status);
    const rapidjson::Document gone = kvnsim({"diff", "before.db", "nothing.db", "--json"}).json();
    EXPECT_TRUE(gone["differences"][0]["a"].IsString());
    EXPECT_TRUE(gone["differences"][0]["b"].IsNull());
    EXPECT_TRUE(gone["differences"][0]["column"].IsNull());
}

/* ---- Databases that are none ---- */

class Damaged : public Stored {
public:
    void expect_refused(const std::string &database, const std::string &message)
    {
        for (const std::vector<std::string> &arguments :
             {std::vector<std::string>{"show", "summary", "--db", database},
              {"explain", "Ethernet0", "--db", database},
              {"audit", "--db", database},
              {"diff", "leaf.db", database},
              {"diff", database, "leaf.db"}}) {
            const Result result = kvnsim(arguments);
            EXPECT_EQ(bad_input, result.status) << arguments[0];
            EXPECT_EQ("", result.out);
            EXPECT_THAT(result.err, AllOf(StartsWith("kvnsim: " + database), HasSubstr(message)));
        }
    }
};

TEST_F(Damaged, AMissingDatabaseIsNamed)
{
    expect_refused("nowhere.db", "No such file or directory");
    EXPECT_FALSE(exists("nowhere.db"));
}

TEST_F(Damaged, TextIsNoDatabase)
{
    write("text.db",
          "not a database at all, but long enough to be looked at: " + std::string(4096, 'x'));
    expect_refused("text.db", "not a kvnsim database");
}

TEST_F(Damaged, AnotherProgramsDatabaseIsRefused)
{
    sqlite3 *db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path("other.db").c_str(), &db));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "CREATE TABLE t(a)", nullptr, nullptr, nullptr));
    sqlite3_close(db);
    expect_refused("other.db", "not a kvnsim database");
}

TEST_F(Damaged, ADatabaseThatWasCutShortIsRefused)
{
    const std::string whole = read("leaf.db");
    write("cut.db", whole.substr(0, whole.size() / 2));
    expect_refused("cut.db", "");
}

TEST_F(Damaged, ADirectoryIsRefused)
{
    expect_refused("/", "");
}
