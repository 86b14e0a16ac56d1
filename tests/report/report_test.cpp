#include "sim/report/report.h"

#include <set>
#include <stdexcept>

#include <gmock/gmock.h>
#include <rapidjson/document.h>

#include "sim/service/services.h"
#include "sim/state/explain.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;
using testing::Not;

class Report : public SnapshotFixture {
protected:
    static rapidjson::Document data_of(const Snapshot &snapshot,
                                       const std::vector<ReportTable> &more = {})
    {
        rapidjson::Document document;
        document.Parse(report_data(snapshot, more).c_str());
        EXPECT_FALSE(document.HasParseError());
        return document;
    }
    static const rapidjson::Value &table(const rapidjson::Document &data, const std::string &name)
    {
        for (const auto &table : data["tables"].GetArray()) {
            if (table["name"] == rapidjson::StringRef(name.c_str()))
                return table;
        }
        throw std::invalid_argument("no table " + name);
    }
};

TEST_F(Report, IsOneDocumentThatLoadsNothingFromElsewhere)
{
    const std::string page = report_page(small_switch(), {});
    EXPECT_EQ(page.rfind("<!DOCTYPE html>\n", 0), 0u);
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char *reference : {" src=", "<link", "@import", "url(", "https://"})
        EXPECT_THAT(page, Not(HasSubstr(reference)));
}

TEST_F(Report, HasItsStylesScriptsAndDataInTheirPlaces)
{
    const std::string page = report_page(small_switch(), {});
    for (const char *mark : {"/*STYLE*/", "/*SCRIPTS*/", "/*DATA*/"})
        EXPECT_THAT(page, Not(HasSubstr(mark)));
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
    EXPECT_THAT(page, HasSubstr("function drawFrontPanel()"));
    EXPECT_THAT(page, HasSubstr("{\"hostname\":\"leaf\""));
}

TEST_F(Report, HasEachTableOfShowWithAllItsRows)
{
    const Snapshot snapshot = small_switch();
    const rapidjson::Document data = data_of(snapshot);
    for (const ShowKind &kind : show_kinds()) {
        if (kind.of_interface)
            continue;
        const Listing listing = kind.make(snapshot, {});
        const auto &shown = table(data, kind.name);
        EXPECT_EQ(shown["title"].GetString(), listing.title);
        EXPECT_EQ(shown["columns"].Size(), listing.columns.size()) << kind.name;
        ASSERT_EQ(shown["rows"].Size(), listing.rows.size()) << kind.name;
        for (const auto &row : shown["rows"].GetArray())
            EXPECT_EQ(row.Size(), listing.columns.size()) << kind.name;
    }
}

TEST_F(Report, HasTheTablesThatItIsGiven)
{
    const Listing colours{"Colours",
                          {{"name", "Name"}, {"codes", "Codes"}},
                          {{std::string("red"), std::vector<int64_t>{1, 2}}, {Cell(), true}}};
    const rapidjson::Document data = data_of(capture(sw), {{"colours", colours}});
    const auto &rows = table(data, "colours")["rows"];
    EXPECT_STREQ(rows[0][0].GetString(), "red");
    EXPECT_EQ(rows[0][1][1].GetInt(), 2);
    EXPECT_TRUE(rows[1][0].IsNull());
    EXPECT_TRUE(rows[1][1].GetBool());
}

TEST_F(Report, KeepsMarkupInNamesFromEndingTheData)
{
    sw.apply(wanted(R"({"DEVICE_METADATA": {"localhost": {"hostname": "</script><b>&\"leaf"}},
        "PORT": {"Ethernet0": {"alias": "<!--<script>"}}})"));
    const Snapshot snapshot = capture(sw, {"<i>.json"});
    EXPECT_THAT(report_data(snapshot, {}), Not(HasSubstr("<")));
    const rapidjson::Document data = data_of(snapshot);
    EXPECT_STREQ(data["hostname"].GetString(), "</script><b>&\"leaf");
    EXPECT_STREQ(data["files"][0].GetString(), "<i>.json");
    EXPECT_STREQ(table(data, "ports")["rows"][0][1].GetString(), "<!--<script>");
}

TEST_F(Report, ExplainsEveryInterfaceAndPort)
{
    const Snapshot snapshot = small_switch();
    const rapidjson::Document data = data_of(snapshot);
    for (const char *name : {"Ethernet0", "Ethernet0.10", "PortChannel1", "PortChannel1.20",
                             "Vlan100", "Ethernet8", "Ethernet16"}) {
        ASSERT_TRUE(data["explained"].HasMember(name)) << name;
        const Explanation told = explain(snapshot, name);
        const auto &shown = data["explained"][name];
        EXPECT_EQ(shown["state"].GetString(), told.state);
        ASSERT_EQ(shown["properties"].Size(), told.properties.size()) << name;
        for (rapidjson::SizeType i = 0; i < shown["properties"].Size(); ++i) {
            EXPECT_EQ(shown["properties"][i][0].GetString(), told.properties[i].property);
            EXPECT_EQ(shown["properties"][i][3].GetString(), told.properties[i].asic);
        }
    }
}

TEST_F(Report, TellsEachFindingWithTheRequestsBehindIt)
{
    fail("libsdk_lid_entry_create:5=SDK_E_FULL"); /* the port-channel's: the ports have four */
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {},
        "Ethernet12": {}}, "PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}})"));
    const Snapshot snapshot = capture(sw);
    const std::vector<AuditFinding> findings = audit(snapshot);
    ASSERT_FALSE(findings.empty());
    const rapidjson::Document data = data_of(snapshot);
    const auto &rows = table(data, "findings")["rows"];
    ASSERT_EQ(rows.Size(), findings.size());
    for (rapidjson::SizeType i = 0; i < rows.Size(); ++i)
        EXPECT_EQ(rows[i][6].GetString(), findings[i].words);

    std::set<uint64_t> behind, shown;
    for (const AuditFinding &finding : findings) {
        for (const RequestRef &request : finding.requests)
            behind.insert(request->number);
    }
    for (const auto &row : table(data, "requests")["rows"].GetArray())
        shown.insert(row[0].GetUint64());
    EXPECT_FALSE(behind.empty());
    EXPECT_EQ(shown, behind);
    for (const auto &row : table(data, "requests")["rows"].GetArray())
        EXPECT_THAT(row[1].GetString(), HasSubstr("l3lifpd_kvn_"));
    EXPECT_EQ(table(data, "failures")["rows"].Size(), snapshot.failures.size());
}

TEST_F(Report, HasTheServicesAndWhatEachFindingCosts)
{
    fail("libsdk_intf_create:1=SDK_E_FULL"); /* Ethernet0's, with a sub-interface */
    sw.apply(wanted(small_network));
    const Snapshot snapshot = capture(sw);
    const Judgement judgement = judge(snapshot);
    const rapidjson::Document data = data_of(snapshot);
    EXPECT_EQ(table(data, "services")["rows"].Size(), judgement.services.size());
    EXPECT_EQ(data["services"].GetString(), summary(judgement.services, snapshot));
    ASSERT_EQ(data["costs"].Size(), judgement.findings.size());
    for (rapidjson::SizeType i = 0; i < data["costs"].Size(); ++i)
        EXPECT_EQ(data["costs"][i].GetString(), cost_words(judgement.findings[i]));
    EXPECT_EQ(data["costs"][0].GetString(), std::string("costs 2 services"));
}

/* 255 ports with nine sub-interfaces each; the last one's is refused. */
TEST_F(Report, ExplainsThoseInTroubleFirstWhenThereAreTooMany)
{
    Desired want;
    for (uint32_t port = 0; port < 255; ++port) {
        const std::string name = "Ethernet" + std::to_string(port);
        want.ports[name] = {};
        want.routed_ports[name] = {};
        for (uint32_t vlan = 1; vlan <= 9; ++vlan) {
            DesiredSubInterface &sub = want.sub_interfaces[name + "." + std::to_string(vlan)];
            sub.parent = name;
            sub.vlan = vlan;
            sub.mtu = 9100;
        }
    }
    const size_t all = want.routed_ports.size() + want.sub_interfaces.size();
    ASSERT_GT(all, explained_at_most);
    fail("libsdk_intf_create:" + std::to_string(all) + "=SDK_E_FULL");
    const Applied applied = sw.apply(want);
    ASSERT_EQ(applied.failures.size(), 1u);

    const rapidjson::Document data = data_of(capture(sw));
    EXPECT_EQ(data["explained"].MemberCount(), explained_at_most);
    EXPECT_EQ(data["explained"].MemberBegin()->name.GetString(), applied.failures[0].step.name);
    EXPECT_EQ(table(data, "interfaces")["rows"].Size(), all);
}

} // namespace
} // namespace kvnsim
