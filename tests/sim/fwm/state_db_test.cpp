#include "sim/fwm/state_db.h"

#include "tests/sim/fwm/host_fixture.h"

namespace kvnsim {
namespace {

class SharedDatabase : public HostFixture {
protected:
    static L3lifRow interface_row(uint32_t ifindex, uint32_t mtu)
    {
        L3lifRow row;
        row.ifindex = ifindex;
        row.name = "Ethernet0";
        row.mtu = mtu;
        row.ipv4_ucst_en = 1;
        row.ipv4_mcst_en = 2;
        row.ipv4_same_if = 3;
        row.v4_vpn_id = 4;
        row.v6_vpn_id = 5;
        row.nat_zone = 6;
        return row;
    }
    StateDb db;
};

TEST_F(SharedDatabase, StartsEmpty)
{
    EXPECT_TRUE(db.rows<PmRow>().empty());
    EXPECT_TRUE(db.rows<PcRow>().empty());
    EXPECT_TRUE(db.rows<L3lifRow>().empty());
    EXPECT_TRUE(db.rows<LabelRow>().empty());
    EXPECT_TRUE(db.rows<MemberIntfRow>().empty());
}

TEST_F(SharedDatabase, GivesBackEveryColumnOfAnInterface)
{
    db.store(interface_row(7, 9100));
    const L3lifRow row = db.rows<L3lifRow>().at(0);
    EXPECT_EQ(row.ifindex, 7u);
    EXPECT_EQ(row.name, "Ethernet0");
    EXPECT_EQ(row.mtu, 9100u);
    EXPECT_EQ(row.ipv4_ucst_en, 1u);
    EXPECT_EQ(row.ipv4_mcst_en, 2u);
    EXPECT_EQ(row.ipv4_same_if, 3u);
    EXPECT_EQ(row.v4_vpn_id, 4u);
    EXPECT_EQ(row.v6_vpn_id, 5u);
    EXPECT_EQ(row.nat_zone, 6u);
}

TEST_F(SharedDatabase, GivesBackEveryColumnOfAPortBinding)
{
    PmRow row;
    row.ifindex = 0xFFFFFFFF;
    row.ifmap_idx = 0x80000001;
    row.word1 = 3;
    row.half2 = 0xFFFF;
    db.store(row);
    const PmRow found = db.rows<PmRow>().at(0);
    EXPECT_EQ(found.kind, 1u);
    EXPECT_EQ(found.ifindex, 0xFFFFFFFFu);
    EXPECT_EQ(found.ifmap_idx, 0x80000001u);
    EXPECT_EQ(found.word1, 3u);
    EXPECT_EQ(found.half2, 0xFFFF);
}

TEST_F(SharedDatabase, KeepsOneRowForEachInterface)
{
    db.store(interface_row(7, 9100));
    db.store(interface_row(8, 1500));
    db.store(interface_row(7, 9216));
    const std::vector<L3lifRow> rows = db.rows<L3lifRow>();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].mtu, 9216u);
    EXPECT_EQ(rows[1].mtu, 1500u);
}

TEST_F(SharedDatabase, ListsRowsByInterfaceIndex)
{
    for (const uint32_t ifindex : {0x40000000u, 3u, 0x10000000u})
        db.store(interface_row(ifindex, 1500));
    const std::vector<L3lifRow> rows = db.rows<L3lifRow>();
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].ifindex, 3u);
    EXPECT_EQ(rows[1].ifindex, 0x10000000u);
    EXPECT_EQ(rows[2].ifindex, 0x40000000u);
}

TEST_F(SharedDatabase, MarksEachRowWithTheRequestBehindIt)
{
    begin_request("l3lifpd_kvn_add_l3port", "Ethernet0", "INTERFACE|Ethernet0");
    db.store(interface_row(7, 9100));
    journal.end(0);
    begin_request("l3lifpd_kvn_add_l3port");
    journal.end(0);
    const Origin made = db.rows<L3lifRow>().at(0).made;
    ASSERT_EQ(made.number(), 1u);
    EXPECT_STREQ(made.request->entry, "l3lifpd_kvn_add_l3port");
    EXPECT_EQ(made.request->subject, "Ethernet0");
    EXPECT_EQ(made.request->cause.to_text(), "INTERFACE|Ethernet0");
}

TEST_F(SharedDatabase, MarksARowAnewWhoeverItIsHandedInFrom)
{
    begin_request("l3lifpd_kvn_add_l3port");
    db.store(interface_row(7, 9100));
    journal.end(0);
    begin_request("l3lifpd_kvn_set_l3_property");
    db.store(db.rows<L3lifRow>().at(0));
    journal.end(0);
    EXPECT_EQ(db.rows<L3lifRow>().at(0).made.number(), 2u);
}

TEST_F(SharedDatabase, MarksARowWrittenBeforeAnyRequest)
{
    db.store(interface_row(7, 9100));
    EXPECT_EQ(db.rows<L3lifRow>().at(0).made.request, nullptr);
}

TEST_F(SharedDatabase, ForgetsAnInterfaceButForItsKeptSdkInterface)
{
    PmRow pm;
    PcRow pc;
    LabelRow label;
    MemberIntfRow member;
    pm.ifindex = pc.ifindex = label.ifindex = member.ifindex = 7;
    member.intf_id = 12;
    db.store(pm);
    db.store(pc);
    db.store(label);
    db.store(member);
    db.store(interface_row(7, 1500));
    db.store(interface_row(8, 1500));

    db.forget_interface(7);
    EXPECT_TRUE(db.rows<PmRow>().empty());
    EXPECT_TRUE(db.rows<PcRow>().empty());
    EXPECT_TRUE(db.rows<LabelRow>().empty());
    EXPECT_EQ(db.rows<L3lifRow>().size(), 1u);
    EXPECT_EQ(db.rows<MemberIntfRow>().at(0).intf_id, 12u);

    db.forget_member_intf(7);
    EXPECT_TRUE(db.rows<MemberIntfRow>().empty());
}

TEST_F(SharedDatabase, IsEmptyOnceCleared)
{
    db.store(interface_row(7, 1500));
    db.clear();
    EXPECT_TRUE(db.rows<L3lifRow>().empty());
    db.store(interface_row(7, 1500));
    EXPECT_EQ(db.rows<L3lifRow>().size(), 1u);
}

} // namespace
} // namespace kvnsim
