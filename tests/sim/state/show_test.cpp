#include "tests/sim/state/snapshot_fixture.h"

#include <set>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/state/compare.h"
#include "sim/state/explain.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

template <class... Parts> std::string to_json(const Parts &...parts)
{
    Json json;
    write(json, parts...);
    return json.document();
}

Listing three_columns(std::vector<std::vector<Cell>> rows)
{
    return {"Things", {{"name", "Name"}, {"count", "Count"}, {"list", "List"}}, std::move(rows)};
}

TEST(ListingText, HasNumbersToTheRightAndTextsToTheLeft)
{
    EXPECT_EQ(to_text(three_columns({{std::string("a"), int64_t{5}, true},
                                     {std::string("long"), int64_t{12345}, Cell()}})),
              "Things\n"
              "  Name  Count  List\n"
              "  a         5  yes\n"
              "  long  12345  -\n");
}

TEST(ListingText, AlignsCharactersNotBytes)
{
    EXPECT_EQ(to_text(three_columns({{std::string("Zürich"), int64_t{1}, std::string("x")},
                                     {std::string("Berlin"), int64_t{1}, std::string("x")}})),
              "Things\n"
              "  Name    Count  List\n"
              "  Zürich      1  x\n"
              "  Berlin      1  x\n");
}

TEST(ListingText, LeavesOutColumnsThatNobodyFillsAndSaysWhenThereAreNoRows)
{
    EXPECT_EQ(to_text(three_columns({{std::string("a"), Cell(), std::vector<std::string>()}})),
              "Things\n  Name\n  a\n");
    EXPECT_EQ(to_text(three_columns({})), "Things\n  none\n");
}

Listing ranked()
{
    return {
        "Things",
        {{"name", "Name", rank_name}, {"origin", "Origin", rank_origin}, {"a", "A"}, {"b", "B"}},
        {{std::string("first"), std::string("from elsewhere"), int64_t{1}, int64_t{22}}}};
}

TEST(ListingText, LeavesOutTheHighestRanksUntilTheRestFitsAndNamesThem)
{
    EXPECT_EQ(to_text(ranked(), {30, "more"}),
              "Things\n  Name   Origin          A   B\n  first  from elsewhere  1  22\n");
    EXPECT_EQ(to_text(ranked(), {29, "more"}), "Things\n"
                                               "  Name   A   B\n"
                                               "  first  1  22\n"
                                               "  Left out: Origin. more.\n");
    EXPECT_EQ(to_text(ranked(), {13, "m"}), "Things\n"
                                            "  Name   A\n"
                                            "  first  1\n"
                                            "  Left out:\n"
                                            "  Origin, B.\n"
                                            "  m.\n");
    /* What the row is about stays. */
    EXPECT_THAT(to_text(ranked(), {1, "m"}), HasSubstr("Name\n  first\n"));
}

TEST(ListingText, CountsPlacesOfTheTerminal)
{
    EXPECT_EQ(to_text(three_columns({{std::string("漢字"), int64_t{1}, std::string("x")},
                                     {std::string("e\u0301"), int64_t{1}, std::string("x")},
                                     {std::string("\xff"), int64_t{1}, std::string("x")}})),
              "Things\n"
              "  Name  Count  List\n"
              "  漢字      1  x\n"
              "  e\u0301         1  x\n"
              "  \\xff      1  x\n");
}

TEST(ListingJson, HasAnObjectForEachRowWithTheValuesAsTheyAre)
{
    EXPECT_EQ(to_json(three_columns(
                  {{std::string("a \"b\""), int64_t{5}, std::vector<std::string>{"x", "y"}},
                   {Cell(), false, std::vector<int64_t>{1, 2}}})),
              R"([{"name":"a \"b\"","count":5,"list":["x","y"]},)"
              R"({"name":null,"count":false,"list":[1,2]}])"
              "\n");
}

struct Lamp {
    uint32_t number = 0;
    std::string colour;
    bool is_lit = false;
    InterfaceKind of = InterfaceKind::port;
    std::vector<RequestRef> requests;
    COLUMNS(number, colour, is_lit, of, requests)
};

TEST(ListingOfRows, HasTheNamesOfTheirColumnsAsKeys)
{
    auto request = std::make_shared<Request>();
    request->number = 12;
    const Listing listing =
        listing_of<Lamp>("Lamps", {{7, "red", true, InterfaceKind::svi, {request}}, {}},
                         {"Lamp", "Colour", "Lit", "Of", "Requests"});
    EXPECT_EQ(to_text(listing), "Lamps\n"
                                "  Lamp  Colour  Lit  Of    Requests\n"
                                "     7  red     yes  SVI   12\n"
                                "     0  -       -    port  -\n");
    EXPECT_EQ(to_json(listing),
              R"([{"number":7,"colour":"red","is_lit":true,"of":"SVI","requests":[12]},)"
              R"({"number":0,"colour":null,"is_lit":false,"of":"port","requests":[]}])"
              "\n");
}

class Show : public SnapshotFixture {
protected:
    static std::vector<std::string> column(const Listing &listing, const std::string &key)
    {
        std::vector<std::string> texts;
        for (size_t i = 0; i < listing.columns.size(); ++i) {
            if (listing.columns[i].key != key)
                continue;
            for (const auto &row : listing.rows) {
                const std::string *text = std::get_if<std::string>(&row[i]);
                texts.push_back(text != nullptr ? *text : "");
            }
        }
        return texts;
    }
};

TEST_F(Show, InterfacesTellsEachOnesIdentifiersAndSettings)
{
    EXPECT_EQ(to_text(show(small_switch(), "interfaces")), R"(Interfaces
  Interface        Kind           State       intf_id  lid_id  pc_id   MTU  IPv4  IPv6  VRF      Parent        VLAN  Addresses
  Ethernet0        port           programmed        1       1      -  9100  yes   -     VrfBlue  -                -  192.0.2.0/31
  Ethernet4        port           programmed        2       2      -  1500  -     yes   -        -                -  2001:db8::1/64
  PortChannel1     port-channel   programmed        3       6      1  9100  yes   -     -        -                -  192.0.2.4/31
  Ethernet0.10     sub-interface  programmed        5       1      -  9100  yes   -     -        Ethernet0       10  192.0.2.6/31
  PortChannel1.20  sub-interface  programmed        6       6      -  9100  yes   -     -        PortChannel1    20  192.0.2.8/31
  Vlan100          SVI            programmed        4       -      -  9100  yes   -     -        -              100  192.0.2.10/31
)");
}

TEST_F(Show, InterfacesTellsWhyOneIsNotProgrammedAndWhichAreNotWanted)
{
    small_switch();
    fail("libsdk_intf_destroy:1");
    fail("libsdk_intf_create:1");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}},
        "INTERFACE": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel2": {}},
        "VLAN": {"Vlan200": {}}, "VLAN_INTERFACE": {"Vlan200": {}}})"));
    const Listing interfaces = show(capture(sw), "interfaces");
    EXPECT_THAT(column(interfaces, "name"), ElementsAre("Ethernet0", "PortChannel1", "PortChannel2",
                                                        "Vlan200", "Ethernet0.10"));
    EXPECT_THAT(column(interfaces, "state"),
                ElementsAre("programmed", "layer 2", "no member", "not programmed",
                            "programmed, not wanted"));
    EXPECT_THAT(column(interfaces, "failure")[3], HasSubstr("libsdk_intf_create"));
}

TEST_F(Show, PortsTellsWhatEachIsUsedFor)
{
    const Listing ports = show(small_switch(), "ports");
    EXPECT_THAT(column(ports, "name"),
                ElementsAre("Ethernet0", "Ethernet4", "Ethernet8", "Ethernet12", "Ethernet16"));
    EXPECT_THAT(column(ports, "role"),
                ElementsAre("routed", "routed", "member", "member", "switched"));
    EXPECT_THAT(column(ports, "alias"), ElementsAre("", "", "", "", "spare"));
}

TEST_F(Show, PortChannelsTellsWantedAndProgrammedMembers)
{
    EXPECT_EQ(to_text(show(small_switch(), "port-channels")), R"(Port-channels
  Port-channel  Number  State       pc_id  lid_id  intf_id   MTU  Members               In the ASIC
  PortChannel1       1  programmed      1       6        3  9100  Ethernet8,Ethernet12  Ethernet8,Ethernet12
)");
}

TEST_F(Show, LidsTellsWhoseEachIsAndWhatIsBoundToIt)
{
    const std::string text = to_text(show(small_switch(), "lids"));
    EXPECT_THAT(text, HasSubstr("  lid_id  Owner         Leads to        ifmap index  SDK "
                                "interfaces  Made by\n"));
    EXPECT_THAT(text,
                HasSubstr("\n       1  Ethernet0     front port 1           4097               "
                          "2  libsdk_lid_entry_create in request "));
    EXPECT_THAT(text,
                HasSubstr("\n       6  PortChannel1  port-channel 1         4102               "
                          "2  libsdk_lid_entry_create in request "));
}

TEST_F(Show, MacsTellsRouterAndVirtualMacsAndWhoMadeThem)
{
    const Listing macs = show(small_switch(), "macs");
    EXPECT_THAT(column(macs, "kind"), ElementsAre("router", "virtual"));
    EXPECT_THAT(column(macs, "mac"), ElementsAre("00:00:5e:00:53:01", "00:00:5e:00:01:01"));
    EXPECT_THAT(column(macs, "interface"), ElementsAre("", "Vlan100"));
    EXPECT_THAT(column(macs, "made_by")[1],
                HasSubstr("l3lifpd_kvn_fhrp_mac_add(mac=00:00:5e:00:01:01 ifindex=Vlan100)"));
}

TEST_F(Show, ErrorsTellsWhatTheLibraryTraced)
{
    EXPECT_THAT(show(small_switch(), "errors").rows, IsEmpty());
    fail("libsdk_intf_create:1=SDK_E_FULL");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
        "VLAN": {"Vlan300": {}}, "VLAN_INTERFACE": {"Vlan300": {}}})"));
    const Listing errors = show(capture(sw), "errors");
    EXPECT_THAT(column(errors, "function"), ElementsAre("l3lifpd_kvn_add_svi"));
    EXPECT_THAT(column(errors, "text")[0], HasSubstr("libsdk_intf_create returned"));
}

TEST_F(Show, ErrorsCountsThoseThatTheStoreHadNoRoomFor)
{
    Sinks sinks;
    sinks.error_groups = 1;
    ASSERT_EQ(Diagnostics::instance().configure(sinks), "");
    fail("libsdk_intf_create=SDK_E_FULL");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}},
        "VLAN": {"Vlan300": {}, "Vlan301": {}, "Vlan302": {}},
        "VLAN_INTERFACE": {"Vlan300": {}, "Vlan301": {}, "Vlan302": {}}})"));
    const ScratchFile file("errors.db");
    save(capture(sw), file.path);
    const Listing errors = show(load(file.path), "errors");
    EXPECT_THAT(column(errors, "function"), ElementsAre("l3lifpd_kvn_add_svi", ""));
    EXPECT_THAT(to_text(errors),
                HasSubstr("-  other messages, for which the error store had no room"));
    EXPECT_THAT(to_json(errors), HasSubstr(R"({"count":2,"function":null,"line":null,)"));
}

TEST_F(Show, SummaryTellsHowFullTheTablesAre)
{
    const std::string text = to_text(show(small_switch(), "summary"));
    EXPECT_THAT(text, HasSubstr("  intf                  interfaces                              6"
                                "        6     65534\n"));
    EXPECT_THAT(text, HasSubstr("  programmed            interfaces in the ASIC                  6"
                                "        -         -\n"));
}

TEST_F(Show, AttributesTellsEachValueAndWhoWroteIt)
{
    const Listing attributes = show(small_switch(), "attributes", "PortChannel1");
    EXPECT_EQ(attributes.title,
              "Attributes of PortChannel1: SDK interface 3 (routed port, port-channel 1)");
    const std::string text = to_text(attributes);
    EXPECT_THAT(text, HasSubstr("  14  SdkIntfAttrDefSgt                default security-group tag"
                                "  32770  0x8002"));
    EXPECT_THAT(text, HasSubstr("l3lifpd_kvn_add_l3pc(l3lif=Ethernet8 create=1)"));
}

TEST_F(Show, AttributesOfAMemberAreItsPortChannels)
{
    EXPECT_EQ(show(small_switch(), "attributes", "Ethernet8").title,
              "Attributes of Ethernet8: SDK interface 3 (routed port, port-channel 1)");
}

TEST_F(Show, TellsTheAttributeWritesThatWaitForTheFlushAndWhoQueuedThem)
{
    small_switch();
    EXPECT_THAT(show_waiting(capture(sw)).rows, IsEmpty());
    const uint32_t ifindex = Host::instance().find("Ethernet4")->ifindex;
    EntryPoint::find("loopback_enable")->call({Value::integer(ifindex), Value::integer(1)});
    const Snapshot snapshot = capture(sw);
    const Listing waiting = show_waiting(snapshot);
    EXPECT_EQ(waiting.rows.size(), 9u);
    EXPECT_EQ(column(waiting, "interface")[1], "Ethernet4");
    EXPECT_EQ(column(waiting, "attribute")[1], "SdkIntfAttrIpv4UcstEn");
    EXPECT_EQ(waiting.rows[1][3], Cell(int64_t{0}));
    EXPECT_EQ(waiting.rows[1][4], Cell(int64_t{1}));
    EXPECT_THAT(column(waiting, "queued_by")[1],
                HasSubstr("libsdk_intf_attr_set_batch in request "));

    const Listing attributes = show(snapshot, "attributes", "Ethernet4");
    EXPECT_THAT(column(attributes, "written_by")[2], "");
    EXPECT_THAT(column(attributes, "queued_by")[2], HasSubstr("l3lifpd_kvn_loopback_enable("));
}

TEST_F(Show, FindingsNameBothInterfacesThatTheyConcern)
{
    Snapshot snapshot = small_switch();
    snapshot.members.pop_back();
    const Listing findings = show(audit(snapshot));
    EXPECT_THAT(column(findings, "interface"), ElementsAre("Ethernet12"));
    EXPECT_THAT(column(findings, "other"), ElementsAre("PortChannel1"));
}

TEST_F(Show, AttributesTellsOfAnInterfaceThatIsNotInTheAsicThatItIsNot)
{
    Snapshot snapshot = small_switch();
    EXPECT_EQ(to_text(show(snapshot, "attributes", "Ethernet16")),
              "Attributes of Ethernet16: no SDK interface\n  none\n");
    snapshot.wanted_interfaces.back().name = "Vlan200"; /* never made */
    EXPECT_EQ(to_text(show(snapshot, "attributes", "Vlan200")),
              "Attributes of Vlan200: no SDK interface\n  none\n");
}

TEST_F(Show, InterfaceNamesAreThoseThatAreWantedOrKnownToTheHost)
{
    Snapshot snapshot = small_switch();
    EXPECT_THAT(interface_names(snapshot).names(),
                ElementsAre("Ethernet0", "Ethernet0.10", "Ethernet4", "Ethernet8", "Ethernet12",
                            "Ethernet16", "PortChannel1", "PortChannel1.20", "Vlan100"));
    EXPECT_EQ(interface_names(snapshot).names(), interface_names(wanted(small_network)).names());
    snapshot.wanted_interfaces.back().name = "Vlan200";
    EXPECT_EQ(interface_names(snapshot).names().count("Vlan100"), 1u);
    EXPECT_EQ(interface_names(snapshot).names().count("Vlan200"), 1u);
}

TEST_F(Show, HasEachTableWithUniqueKeysAndCellsForEachColumn)
{
    const Snapshot snapshot = small_switch();
    for (const ShowKind &kind : show_kinds()) {
        const Listing listing = kind.make(snapshot, "Ethernet0");
        std::set<std::string> keys;
        for (const Column &column : listing.columns)
            EXPECT_TRUE(keys.insert(column.key).second) << kind.name << " " << column.key;
        for (const auto &row : listing.rows)
            EXPECT_EQ(row.size(), listing.columns.size()) << kind.name;
    }
}

TEST_F(Show, AsOneDocumentHoldsEveryTableFailureAndFinding)
{
    small_switch();
    entry::set_l3_property(*Host::instance().find("Ethernet0"), 12, 1400);
    const Snapshot snapshot = capture(sw, {"test.json"});
    rapidjson::Document document;
    document.Parse(to_json(snapshot, audit(snapshot)).c_str());
    ASSERT_FALSE(document.HasParseError());
    std::vector<std::string> keys;
    for (const auto &member : document.GetObject())
        keys.push_back(member.name.GetString());
    EXPECT_THAT(keys, ElementsAre("format", "word_size", "hostname", "files", "interfaces", "ports",
                                  "port_channels", "lids", "macs", "errors", "summary", "vrfs",
                                  "vlans", "failures", "audit"));
    EXPECT_EQ(document["interfaces"].Size(), 6u);
    EXPECT_STREQ(document["interfaces"][0]["name"].GetString(), "Ethernet0");
    EXPECT_EQ(document["interfaces"][0]["mtu"].GetInt(), 9100);
    EXPECT_TRUE(document["interfaces"][0]["ipv4"].GetBool());
    ASSERT_EQ(document["audit"].Size(), 1u);
    EXPECT_STREQ(document["audit"][0]["kind"].GetString(), "difference");
    EXPECT_STREQ(document["audit"][0]["property"].GetString(), "MTU");
    EXPECT_TRUE(document["audit"][0]["requests"][0].IsInt());
}

/* ---- Explanations ---- */

class Explain : public SnapshotFixture {
protected:
    static const ExplainedProperty &property(const Explanation &explanation,
                                             const std::string &name)
    {
        for (const ExplainedProperty &property : explanation.properties) {
            if (property.property == name)
                return property;
        }
        static const ExplainedProperty none;
        ADD_FAILURE() << "no property " << name;
        return none;
    }
    static std::vector<std::string> differing(const Explanation &explanation)
    {
        std::vector<std::string> names;
        for (const ExplainedProperty &property : explanation.properties) {
            if (property.differs)
                names.push_back(property.property);
        }
        return names;
    }
};

TEST_F(Explain, PutsTheSidesNextToEachOtherAndFindsNothingWhereTheyAgree)
{
    const Snapshot snapshot = small_switch();
    for (const char *name : {"Ethernet0", "Ethernet4", "Ethernet8", "Ethernet16", "PortChannel1",
                             "Ethernet0.10", "PortChannel1.20", "Vlan100"}) {
        const Explanation explanation = explain(snapshot, name);
        EXPECT_THAT(differing(explanation), IsEmpty()) << to_text(explanation);
        EXPECT_THAT(explanation.findings, IsEmpty());
    }
    const Explanation explanation = explain(snapshot, "Ethernet0");
    EXPECT_EQ(explanation.state, "programmed");
    EXPECT_THAT(explanation.configured_at, HasSubstr("test.json:"));
    const ExplainedProperty &mtu = property(explanation, "MTU");
    EXPECT_EQ(mtu.configured, "9100");
    EXPECT_EQ(mtu.library, "9100");
    EXPECT_EQ(mtu.asic, "9100");
    EXPECT_EQ(mtu.database, "9100");
    EXPECT_THAT(mtu.call, HasSubstr("libsdk_intf_attr_set in request "));
    EXPECT_THAT(mtu.call, HasSubstr("l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)"));
    EXPECT_EQ(property(explanation, "IPv4 VPN").configured, "1");
    EXPECT_EQ(property(explanation, "NAT zone").database, "1");
}

TEST_F(Explain, MarksWhatWasChangedByHandWithTheCallThatDidIt)
{
    small_switch();
    entry::set_l3_property(*Host::instance().find("Vlan100"), 12, 1400);
    const Explanation explanation = explain(capture(sw), "Vlan100");
    EXPECT_THAT(differing(explanation), ElementsAre("MTU"));
    EXPECT_EQ(property(explanation, "MTU").asic, "1400");
    EXPECT_THAT(property(explanation, "MTU").call,
                HasSubstr("l3lifpd_kvn_set_l3_property(l3lif=Vlan100"));
    EXPECT_EQ(brief(explanation.findings), std::vector<std::string>{"difference Vlan100 MTU"});
    EXPECT_THAT(to_text(explanation), HasSubstr("<-- differs"));
}

TEST_F(Explain, TellsWhatTheAsicHoldsAndWhatWaitsForTheFlush)
{
    small_switch();
    const uint32_t ifindex = Host::instance().find("Ethernet0")->ifindex;
    EntryPoint::find("loopback_enable")->call({Value::integer(ifindex), Value::integer(0)});
    const Explanation explanation = explain(capture(sw), "Ethernet0");
    const ExplainedProperty &ipv4 = property(explanation, "IPv4");
    EXPECT_THAT(differing(explanation),
                ElementsAre("IPv4", "IPv4 VPN", "IPv6 VPN", "IPv4 same-interface check"));
    EXPECT_EQ(ipv4.asic, "on (off waits)");
    EXPECT_THAT(ipv4.call, HasSubstr("l3lifpd_kvn_add_l3port("));
    EXPECT_THAT(ipv4.call, HasSubstr("; off queued by libsdk_intf_attr_set_batch in request "));
}

TEST_F(Explain, ShowsAnAttributeThatNobodyAskedForOnlyWhenItIsNotAsOnANewInterface)
{
    Snapshot snapshot = small_switch();
    const auto names = [&] {
        std::vector<std::string> all;
        for (const ExplainedProperty &property : explain(snapshot, "Vlan100").properties)
            all.push_back(property.property);
        return all;
    };
    EXPECT_THAT(names(), testing::Not(testing::Contains("DF mask")));
    snapshot.attributes.push_back({4, SdkIntfAttrIngTblDfMask, 4, {}});
    std::sort(snapshot.attributes.begin(), snapshot.attributes.end(),
              [](const auto &a, const auto &b) { return a.intf_id < b.intf_id; });
    EXPECT_THAT(names(), testing::Contains("DF mask"));
    EXPECT_THAT(differing(explain(snapshot, "Vlan100")), ElementsAre("DF mask"));
}

TEST_F(Explain, SaysWhyAnInterfaceIsNotProgrammed)
{
    fail("libsdk_intf_create:1=SDK_E_FULL");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}})"));
    const Explanation explanation = explain(capture(sw), "Ethernet0");
    EXPECT_EQ(explanation.state, "not programmed");
    EXPECT_THAT(explanation.failure, HasSubstr("libsdk_intf_create: SDK_E_FULL (-5)"));
    EXPECT_THAT(to_text(explanation), HasSubstr("failed: request 2 l3lifpd_kvn_add_l3port("));
}

TEST_F(Explain, MarksOfAMissingInterfaceOnlyThatItIsMissing)
{
    fail("libsdk_intf_attr_set:2"); /* after the LID entry, the security-group tag */
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel2": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel2|Ethernet0": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel2": {}}})"));
    const Explanation explanation = explain(capture(sw), "PortChannel2");
    EXPECT_THAT(differing(explanation), ElementsAre("SDK interface")) << to_text(explanation);
    EXPECT_EQ(property(explanation, "MTU").configured, "9100");
    EXPECT_EQ(property(explanation, "MTU").asic, "none");
    EXPECT_THAT(to_text(explanation), testing::Not(HasSubstr("security-group tag")))
        << "nobody has recorded one";
}

TEST_F(Explain, TellsWhatWasExpectedWhereNoSideDoes)
{
    Snapshot snapshot = small_switch();
    for (AttributeValueRow &row : snapshot.attributes) {
        if (row.intf_id == 1 && row.number == SdkIntfAttrIngTblIgmpSnoopLabel)
            row.value = 0;
    }
    const Explanation explanation = explain(snapshot, "Ethernet0");
    EXPECT_THAT(differing(explanation), ElementsAre("IGMP snooping label"));
    EXPECT_EQ(property(explanation, "IGMP snooping label").library, "");
    EXPECT_EQ(property(explanation, "IGMP snooping label").expected, "16");
    EXPECT_THAT(to_text(explanation), HasSubstr("  <-- expected 16  "));
}

TEST_F(Explain, MarksAMembershipOnTheSideOfThePortChannelToo)
{
    Snapshot snapshot = small_switch();
    snapshot.members.pop_back();
    EXPECT_THAT(differing(explain(snapshot, "Ethernet12")), ElementsAre("member of"));
    const Explanation channel = explain(snapshot, "PortChannel1");
    EXPECT_THAT(differing(channel), ElementsAre("members"));
    EXPECT_EQ(brief(channel.findings),
              std::vector<std::string>{"missing Ethernet12 in PortChannel1"});
}

TEST_F(Explain, MarksNothingWhereTheAuditFindsNothing)
{
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
        "VRRP": {"PortChannel1|5": {"vid": "5"}}})"));
    const Snapshot snapshot = capture(sw);
    ASSERT_EQ(words(audit(snapshot)), "");
    const Explanation explanation = explain(snapshot, "PortChannel1");
    EXPECT_THAT(differing(explanation), IsEmpty()) << to_text(explanation);
    EXPECT_EQ(explanation.state, "no member joined (declined: Ethernet0)");
}

TEST_F(Explain, FindsNothingWrongWithARoutedPortChannelThatHasNoMember)
{
    sw.apply(wanted(R"({"PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}})"));
    const Explanation explanation = explain(capture(sw), "PortChannel1");
    EXPECT_EQ(explanation.state, "no member");
    EXPECT_THAT(differing(explanation), IsEmpty()) << to_text(explanation);
}

TEST_F(Explain, SaysWhatAPortIsForThatIsNotRouted)
{
    fail("libsdk_portchannel_create:1");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {},
        "Ethernet12": {}, "Ethernet16": {}},
        "PORTCHANNEL": {"PortChannel1": {}, "PortChannel2": {}, "PortChannel3": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel3": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel2|Ethernet4": {},
                               "PortChannel3|Ethernet16": {}},
        "VLAN": {"Vlan10": {}, "Vlan20": {}},
        "VLAN_MEMBER": {"Vlan10|Ethernet8": {}, "Vlan20|Ethernet8": {}}})"));
    const Snapshot snapshot = capture(sw);
    EXPECT_EQ(explain(snapshot, "Ethernet0").state, "not joined to PortChannel1");
    EXPECT_EQ(explain(snapshot, "Ethernet4").state, "member of PortChannel2, layer 2");
    EXPECT_EQ(explain(snapshot, "Ethernet8").state, "switched in Vlan10,Vlan20");
    EXPECT_EQ(explain(snapshot, "Ethernet12").state, "unused");
    EXPECT_EQ(explain(snapshot, "Ethernet16").state, "member of PortChannel3");
    EXPECT_EQ(explain(snapshot, "PortChannel1").state, "not programmed");
    EXPECT_EQ(explain(snapshot, "PortChannel2").state, "layer 2");
}

TEST_F(Explain, SaysOfWhatWasLeftOutOfTheConfigurationWhatIsWrongWithItsRows)
{
    const Configuration read = read_configuration("bad.json", R"({
        "PORT": {"Ethernet0": {}, "Ethernet4": {"mtu": "1"}}, "INTERFACE": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}, "PortChannel7|Ethernet4": {}}})");
    sw.apply(read.desired);
    const Snapshot snapshot = capture(sw, {"bad.json"}, read.findings);
    const Explanation left_out = explain(snapshot, "Ethernet4");
    EXPECT_EQ(left_out.kind, "port");
    EXPECT_EQ(left_out.state, "left out of the configuration");
    EXPECT_THAT(left_out.properties, IsEmpty());
    EXPECT_THAT(to_text(left_out), HasSubstr("\nconfiguration: error: bad.json:2:"));
    EXPECT_THAT(to_text(left_out), HasSubstr("PORT|Ethernet4: mtu is \"1\": expected a number"));
    EXPECT_EQ(explain(snapshot, "PortChannel7").kind, "port-channel");
    EXPECT_THAT(to_text(explain(snapshot, "PortChannel1")),
                HasSubstr("PORTCHANNEL_MEMBER|PortChannel1|Ethernet4: left out"));
    EXPECT_THAT(explain(snapshot, "Ethernet0").reader, IsEmpty());
    EXPECT_EQ(interface_names(snapshot).names().count("PortChannel7"), 1u);
}

TEST_F(Explain, SaysOfAVlanWithoutAnInterfaceThatItIsLayer2)
{
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "VLAN": {"Vlan20": {}},
        "VLAN_MEMBER": {"Vlan20|Ethernet0": {}}})"));
    const Explanation vlan = explain(capture(sw), "Vlan20");
    EXPECT_EQ(vlan.kind, "VLAN");
    EXPECT_EQ(vlan.state, "layer 2: no row in VLAN_INTERFACE");
    EXPECT_EQ(property(vlan, "switched members").configured, "Ethernet0");
    EXPECT_THAT(vlan.configured_at, HasSubstr("VLAN|Vlan20"));
    EXPECT_EQ(interface_names(capture(sw)).names().count("Vlan20"), 1u);
}

TEST_F(Explain, SaysWhatAnInterruptedRunDidNotReach)
{
    const auto want =
        std::make_shared<const Desired>(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
        "INTERFACE": {"Ethernet0": {}, "Ethernet4": {}}})"));
    size_t steps = 0; /* the two ports, the first of the two routed */
    const Applied applied = sw.apply(sw.plan(*want), want, [&] { return steps++ == 3; });
    ASSERT_TRUE(applied.interrupted);
    Snapshot snapshot = capture(sw, {"test.json"}, {}, applied.interrupted);
    EXPECT_EQ(explain(snapshot, "Ethernet0").state, "programmed");
    EXPECT_EQ(explain(snapshot, "Ethernet4").state, "not reached, the run was interrupted");
    snapshot.host.clear();
    EXPECT_EQ(explain(snapshot, "Ethernet4").state, "not reached, the run was interrupted");
}

TEST_F(Explain, IsADocumentToo)
{
    rapidjson::Document document;
    document.Parse(to_json(explain(small_switch(), "PortChannel1")).c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_STREQ(document["interface"].GetString(), "PortChannel1");
    EXPECT_STREQ(document["kind"].GetString(), "port-channel");
    EXPECT_STREQ(document["properties"][0]["property"].GetString(), "SDK interface");
    EXPECT_FALSE(document["properties"][0]["differs"].GetBool());
    EXPECT_EQ(document["configuration"].Size(), 0u);
    EXPECT_EQ(document["audit"].Size(), 0u);
}

/* ---- Differences of two snapshots ---- */

class Compare : public SnapshotFixture {
protected:
    Snapshot after(const std::string &json)
    {
        bring_about(wanted(json));
        return capture(sw);
    }
    static std::vector<std::string> lines(const std::vector<Difference> &differences)
    {
        std::vector<std::string> all;
        for (const Difference &d : differences)
            all.push_back(d.table + " " + d.object + " " + d.column + ": " + d.a + " | " + d.b);
        return all;
    }
};

TEST_F(Compare, FindsNoDifferenceBetweenEqualOnes)
{
    const Snapshot snapshot = small_switch();
    EXPECT_THAT(lines(diff(snapshot, snapshot)), IsEmpty());
}

TEST_F(Compare, DoesNotMindWhichIdentifiersWereFree)
{
    const Snapshot direct = small_switch();
    Switch other;
    other.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
                           "INTERFACE": {"Ethernet4": {}, "Ethernet4|2001:db8::1/64": {}},
                           "VLAN": {"Vlan7": {}}, "VLAN_INTERFACE": {"Vlan7": {}}})"));
    other.apply(wanted(small_network));
    const Snapshot on_a_detour = capture(other);
    EXPECT_EQ(words(audit(on_a_detour)), "");
    EXPECT_NE(direct.contexts[0].intf_id, on_a_detour.contexts[0].intf_id);
    EXPECT_THAT(lines(diff(direct, on_a_detour)), IsEmpty());
}

TEST_F(Compare, TellsValuesThatDifferByTheInterfaceAndTheAttribute)
{
    const char *const config = R"({"PORT": {"Ethernet0": {"mtu": "%"}},
                                   "INTERFACE": {"Ethernet0": {}}})";
    const auto with_mtu = [&](const char *mtu) {
        std::string text = config;
        return text.replace(text.find('%'), 1, mtu);
    };
    const Snapshot a = after(with_mtu("1500"));
    const Snapshot b = after(with_mtu("9000"));
    EXPECT_THAT(lines(diff(a, b)),
                ElementsAre("asic_attribute Ethernet0 SdkIntfAttrMtuIdx value: 1500 | 9000",
                            "l3lif_sdb Ethernet0 mtu: 1500 | 9000"));
    EXPECT_THAT(lines(diff(b, a)),
                ElementsAre("asic_attribute Ethernet0 SdkIntfAttrMtuIdx value: 9000 | 1500",
                            "l3lif_sdb Ethernet0 mtu: 9000 | 1500"));
}

TEST_F(Compare, TellsWhatIsInOneOfThemOnlyWithItsIdentifiers)
{
    const Snapshot a = after(R"({"PORT": {"Ethernet0": {}}})");
    const Snapshot b = after(R"({"PORT": {"Ethernet0": {}}, "VLAN": {"Vlan7": {}},
                                 "VLAN_INTERFACE": {"Vlan7": {}}})");
    EXPECT_THAT(lines(diff(a, b)),
                ElementsAre("asic_interface Vlan7 :  | intf_id 1",
                            "asic_attribute Vlan7 SdkIntfAttrIpv4SameIfCheck :  | 1",
                            "asic_attribute Vlan7 SdkIntfAttrMtuIdx :  | 9100",
                            "l3lif_sdb Vlan7 :  | present", "label_sdb Vlan7 :  | present"));
}

TEST_F(Compare, TellsAnObjectWithoutAnOwnerByItsIdentifier)
{
    const Snapshot a = small_switch();
    Snapshot b = a;
    b.lids.push_back({90, 90, {}});
    EXPECT_THAT(lines(diff(a, b)),
                ElementsAre("asic_lid LID entry 90 :  | lid_id 90, ifmap_idx 90"));
}

} // namespace
} // namespace kvnsim
