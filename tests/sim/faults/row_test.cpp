/* A result survives being written and read, and a damaged line is refused. */
#include "sim/faults/fault_row.h"

#include <gmock/gmock.h>

#include "sim/campaign/result_object.h"

namespace kvnsim {
namespace {

FaultRow row()
{
    FaultRow row;
    row.item = 7;
    row.places.push_back({"libsdk_intf_attr_set:80=SDK_E_TIMEOUT", "libsdk_intf_attr_set",
                          "SdkIntfAttrLid", "intf_id=12", "leaf.json",
                          "leaf.json:73:9: PORTCHANNEL_MEMBER|PortChannel0001|Ethernet40", 63,
                          "l3lifpd_kvn_add_l3pc", "l3lif=Ethernet40 create=1", 0});
    row.left.push_back({"orphan", "KVN-A001", "SDK interface 12", "", "", "a \"leak\"\n"});
    row.services.push_back({"PortChannel1", "Ethernet40", "IPv4", "00:00:5e:00:53:01", "not given",
                            "there is no interface"});
    row.left_at_end = row.left;
    row.asic_at_end.push_back({"intf", 1});
    return row;
}

} // namespace

TEST(FaultRow, IsReadAsItWasWritten)
{
    for (FaultRow one : {row(), FaultRow()}) {
        one.places.resize(1);
        one.heals = !one.heals;
        const FaultRow read = fault_row(to_line(one), "here");
        EXPECT_EQ(to_line(read), to_line(one));
        EXPECT_EQ(read.item, one.item);
        EXPECT_EQ(read.heals, one.heals);
        EXPECT_EQ(read.places[0].result, one.places[0].result);
        EXPECT_EQ(read.places[0].attribute, one.places[0].attribute);
    }
    FaultRow dead;
    dead.places.resize(2);
    dead.death = "killed by signal 11 (Segmentation fault)";
    EXPECT_EQ(fault_row(to_line(dead), "here").death, dead.death);
}

TEST(FaultRow, OfADamagedLineIsRefusedWithItsPlace)
{
    const std::string line = to_line(row());
    const auto with = [&](const std::string &from, const std::string &to) {
        std::string changed = line;
        EXPECT_NE(changed.find(from), std::string::npos) << from;
        return changed.replace(changed.find(from), from.size(), to);
    };
    for (const std::string &damaged :
         {std::string("{}"), std::string("[]"), std::string("null"), line.substr(0, 90),
          with("\"item\":7", "\"item\":-7"), with("\"heals\":false", "\"heals\":0"),
          with("\"result\":0", "\"result\":\"0\""), with("\"result\":0", "\"result\":0.5"),
          with("\"places\":[", "\"places\":[{},"), with("\"places\":[{", "\"places\":[],\"x\":[{"),
          with("\"left\":[", "\"left\":[1,"), with("\"rows\":1", "\"rows\":null"),
          with("\"code\":\"KVN-A001\"", "\"code\":1"), with("\"death\"", "\"deaths\"")}) {
        try {
            fault_row(damaged, "a.jsonl:3");
            ADD_FAILURE() << "accepted: " << damaged;
        } catch (const ResultsError &error) {
            EXPECT_THAT(error.what(), testing::StartsWith("a.jsonl:3")) << damaged;
        }
    }
}

} // namespace kvnsim
