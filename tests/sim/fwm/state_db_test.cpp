#include "sim/fwm/state_db.h"

#include <sqlite3.h>

#include "tests/sim/fwm/bench.h"

namespace kvnsim {
namespace {

class SharedDatabase : public Bench {
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
    EXPECT_TRUE(db.pm_rows().empty());
    EXPECT_TRUE(db.pc_rows().empty());
    EXPECT_TRUE(db.l3lif_rows().empty());
    EXPECT_TRUE(db.label_rows().empty());
    EXPECT_TRUE(db.member_intf_rows().empty());
    EXPECT_FALSE(db.l3lif_row(7).has_value());
}

TEST_F(SharedDatabase, GivesBackEveryColumnOfAnInterface)
{
    ASSERT_TRUE(db.store(interface_row(7, 9100)));
    const L3lifRow row = db.l3lif_row(7).value();
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
    const PmRow found = db.pm_row(0xFFFFFFFF).value();
    EXPECT_EQ(found.kind, 1u);
    EXPECT_EQ(found.ifmap_idx, 0x80000001u);
    EXPECT_EQ(found.word1, 3u);
    EXPECT_EQ(found.half2, 0xFFFF);
}

TEST_F(SharedDatabase, KeepsOneRowForEachInterface)
{
    db.store(interface_row(7, 9100));
    db.store(interface_row(8, 1500));
    db.store(interface_row(7, 9216));
    const std::vector<L3lifRow> rows = db.l3lif_rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].mtu, 9216u);
    EXPECT_EQ(rows[1].mtu, 1500u);
}

TEST_F(SharedDatabase, ListsRowsByInterfaceIndex)
{
    for (const uint32_t ifindex : {0x40000000u, 3u, 0x10000000u})
        db.store(interface_row(ifindex, 1500));
    const std::vector<L3lifRow> rows = db.l3lif_rows();
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
    const RowOrigin origin = db.l3lif_row(7)->origin;
    EXPECT_EQ(origin.request, 1u);
    EXPECT_EQ(origin.text, expected);
    EXPECT_NE(origin.text.find("l3lifpd_kvn_add_l3port"), std::string::npos) << origin.text;
}

TEST_F(SharedDatabase, MarksARowWrittenBeforeAnyRequest)
{
    db.store(interface_row(7, 9100));
    EXPECT_EQ(db.l3lif_row(7)->origin.request, 0u);
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
    EXPECT_TRUE(db.pm_rows().empty());
    EXPECT_TRUE(db.pc_rows().empty());
    EXPECT_TRUE(db.label_rows().empty());
    EXPECT_EQ(db.l3lif_rows().size(), 1u);
    EXPECT_EQ(db.member_intf_row(7)->intf_id, 12u);

    EXPECT_TRUE(db.forget_member_intf(7));
    EXPECT_TRUE(db.member_intf_rows().empty());
}

TEST_F(SharedDatabase, IsEmptyOnceCleared)
{
    db.store(interface_row(7, 1500));
    db.clear();
    EXPECT_TRUE(db.l3lif_rows().empty());
    EXPECT_TRUE(db.store(interface_row(7, 1500)));
}

TEST_F(SharedDatabase, GoesOnAfterACommit)
{
    db.store(interface_row(7, 1500));
    EXPECT_TRUE(db.commit());
    EXPECT_TRUE(db.store(interface_row(8, 1500)));
    EXPECT_TRUE(db.commit());
    EXPECT_EQ(db.l3lif_rows().size(), 2u);
}

TEST_F(SharedDatabase, CopiesAllTablesReplacingOlderOnes)
{
    sqlite3 *file = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &file), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(file, "CREATE TABLE pc_sdb(old)", nullptr, nullptr, nullptr), SQLITE_OK);
    db.store(interface_row(7, 1500));
    LabelRow label;
    label.ifindex = 7;
    label.svi = true;
    db.store(label);
    EXPECT_TRUE(db.copy_to(file)) << db.error();
    EXPECT_TRUE(db.copy_to(file)) << db.error();

    std::string found;
    const auto collect = [](void *into, int, char **values, char **) {
        *static_cast<std::string *>(into) += std::string(values[0]) + " ";
        return 0;
    };
    sqlite3_exec(file,
                 "SELECT name || mtu FROM l3lif_sdb UNION ALL SELECT svi FROM label_sdb UNION ALL "
                 "SELECT count(*) FROM pc_sdb UNION ALL SELECT count(*) FROM pm_sdb UNION ALL "
                 "SELECT count(*) FROM member_intf_sdb",
                 collect, &found, nullptr);
    EXPECT_EQ(found, "Ethernet01500 1 0 0 0 ");
    sqlite3_close(file);
}

TEST_F(SharedDatabase, SaysWhyItCannotBeCopied)
{
    const ScratchFile scratch("db");
    sqlite3 *file = nullptr;
    sqlite3_open(scratch.path.c_str(), &file);
    sqlite3_exec(file, "CREATE TABLE t(x)", nullptr, nullptr, nullptr);
    sqlite3_close(file);
    sqlite3_open_v2(scratch.path.c_str(), &file, SQLITE_OPEN_READONLY, nullptr);
    EXPECT_FALSE(db.copy_to(file));
    EXPECT_EQ(db.error(), "attempt to write a readonly database");
    sqlite3_close(file);
}

} // namespace
} // namespace kvnsim
