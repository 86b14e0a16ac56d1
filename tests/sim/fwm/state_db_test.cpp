#include "sim/fwm/state_db.h"

#include <sqlite3.h>

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
    ASSERT_TRUE(db.store(interface_row(7, 9100)));
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
    ASSERT_TRUE(db.store(row));
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
    begin_request("l3lifpd_kvn_add_l3port");
    db.store(interface_row(7, 9100));
    const std::string expected = journal.origin().to_text();
    journal.end(0);
    const RowOrigin origin = db.rows<L3lifRow>().at(0).origin;
    EXPECT_EQ(origin.request, 1u);
    EXPECT_EQ(origin.text, expected);
    EXPECT_NE(origin.text.find("l3lifpd_kvn_add_l3port"), std::string::npos) << origin.text;
}

TEST_F(SharedDatabase, MarksARowWrittenBeforeAnyRequest)
{
    db.store(interface_row(7, 9100));
    EXPECT_EQ(db.rows<L3lifRow>().at(0).origin.request, 0u);
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

    EXPECT_TRUE(db.forget_interface(7));
    EXPECT_TRUE(db.rows<PmRow>().empty());
    EXPECT_TRUE(db.rows<PcRow>().empty());
    EXPECT_TRUE(db.rows<LabelRow>().empty());
    EXPECT_EQ(db.rows<L3lifRow>().size(), 1u);
    EXPECT_EQ(db.rows<MemberIntfRow>().at(0).intf_id, 12u);

    EXPECT_TRUE(db.forget_member_intf(7));
    EXPECT_TRUE(db.rows<MemberIntfRow>().empty());
}

TEST_F(SharedDatabase, IsEmptyOnceCleared)
{
    db.store(interface_row(7, 1500));
    db.clear();
    EXPECT_TRUE(db.rows<L3lifRow>().empty());
    EXPECT_TRUE(db.store(interface_row(7, 1500)));
}

TEST_F(SharedDatabase, SaysWhyItCannotStore)
{
    const sqlite3_int64 limit_before = sqlite3_hard_heap_limit64(-1);
    db.store(interface_row(0, 1500));
    sqlite3_hard_heap_limit64(sqlite3_memory_used() + 1);
    uint32_t stored = 1;
    while (stored < 100000 && db.store(interface_row(stored, 1500)))
        stored++;
    sqlite3_hard_heap_limit64(limit_before);
    EXPECT_LT(stored, 100000u);
    EXPECT_EQ(db.error(), "out of memory");
    EXPECT_EQ(db.rows<L3lifRow>().size(), stored) << "what was stored before stays";
    EXPECT_TRUE(db.store(interface_row(stored, 1500)));
}

} // namespace
} // namespace kvnsim
