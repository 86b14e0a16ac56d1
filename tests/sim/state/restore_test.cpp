#include "tests/sim/state/database_fixture.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <sqlite3.h>

#include "l3lifpd_kavelin.h"
#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/state/compare.h"
#include "sim/state/restore.h"
#include "sim/stress/random_desired.h"
#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;

/* What there is to go on from: failures, orphans, kept and held objects, waiting writes. */
class Restored : public DatabaseFixture {
protected:
    Snapshot worn_switch()
    {
        small_switch();
        Host &host = Host::instance();
        fail("libsdk_intf_create:2");
        fail("libsdk_intf_attr_set:3");
        sw.apply(wanted(R"({"DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:02"}},
            "VRF": {"VrfBlue": {}, "VrfRed": {}},
            "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}},
            "INTERFACE": {"Ethernet4": {"vrf_name": "VrfRed"}},
            "PORTCHANNEL": {"PortChannel7": {}, "PortChannel2": {}},
            "PORTCHANNEL_MEMBER": {"PortChannel2|Ethernet8": {}},
            "PORTCHANNEL_INTERFACE": {"PortChannel2": {}},
            "VLAN": {"Vlan10": {}, "Vlan11": {}},
            "VLAN_INTERFACE": {"Vlan10": {}, "Vlan11": {}},
            "VRRP": {"Vlan11|1": {"vid": "1"}}})",
                        "worn.json"));
        Journal::instance().faults.clear();
        EXPECT_EQ(host.hold_port_channel(*host.find("PortChannel7")), 0);
        Asic::instance().attr_set_batch(host.find("Vlan11")->intf_id(), SdkIntfAttrMtuIdx, 1500);
        Asic::instance().set_limit("trap", 7);
        const Snapshot snapshot = capture(sw, {"one.json", "worn.json"});
        EXPECT_FALSE(snapshot.failures.empty());
        EXPECT_FALSE(snapshot.errors.empty());
        EXPECT_FALSE(snapshot.member_intf.empty());
        EXPECT_FALSE(snapshot.pending.empty());
        EXPECT_FALSE(snapshot.virtual_macs.empty());
        return snapshot;
    }
    std::string why_not_restored()
    {
        try {
            restore(load(file.path), sw, file.path);
        } catch (const SnapshotError &error) {
            return error.what();
        }
        return "restored";
    }
};

Snapshot capture_of(const Switch &of)
{
    return capture(of, {"one.json", "worn.json"});
}

TEST_F(Restored, IsAsItWasSaved)
{
    const Snapshot saved = worn_switch();
    save(saved, file.path);
    const std::string bytes = content_of(file.path);
    Switch other;
    restore(load(file.path), other, file.path);
    EXPECT_TRUE(capture_of(other) == saved);
    save(capture_of(other), file.path);
    EXPECT_EQ(content_of(file.path), bytes);
}

/* After a failed removal the library may destroy what has the number that it still records. */
TEST_F(Restored, MayRecordObjectsThatAreGone)
{
    worn_switch();
    Host &host = Host::instance();
    const HostInterface &port = *host.find("Ethernet8"), &channel = *host.find("PortChannel7");
    ASSERT_EQ(Asic::instance().lid_destroy(*port.lid_id), 0);
    ASSERT_EQ(Asic::instance().lid_destroy(host.held_port_channel(channel.ifindex)->lid_id), 0);
    ASSERT_EQ(Asic::instance().portchannel_destroy(host.held_port_channel(channel.ifindex)->pc_id),
              0);
    const Snapshot saved = capture_of(sw);
    save(saved, file.path);
    Switch other;
    restore(load(file.path), other, file.path);
    EXPECT_TRUE(capture_of(other) == saved);
}

TEST_F(Restored, ReplacesASwitchThatIsInUse)
{
    const Snapshot empty = capture(sw);
    const Snapshot saved = worn_switch();
    restore(empty, sw, "");
    EXPECT_TRUE(capture(sw) == empty);
    expect_empty_asic();
    restore(saved, sw, "");
    EXPECT_TRUE(capture_of(sw) == saved);
}

TEST_F(Restored, LeavesNoTraceOfIt)
{
    const Snapshot saved = worn_switch();
    Switch other;
    RequestWatcher watcher;
    const uint64_t calls = Journal::instance().calls_made;
    restore(saved, other, "");
    EXPECT_TRUE(watcher.made.empty());
    EXPECT_TRUE(watcher.calls.empty());
    EXPECT_EQ(Journal::instance().calls_made, calls);
    EXPECT_EQ(Journal::instance().requests_made(), saved.meta.requests_made);
}

TEST_F(Restored, HasTheVirtualMacsThatTheLibraryKnew)
{
    const Snapshot saved = worn_switch();
    Switch other;
    EXPECT_EQ(fhrp_mac_hash, nullptr);
    restore(saved, other, "");
    const HostInterface &vlan = interface("Vlan11");
    const FhrpRow entry = saved.virtual_macs.at(0);
    ASSERT_EQ(entry.ifindex, vlan.ifindex);
    /* Known already: no trap is asked for. */
    RequestWatcher watcher;
    EXPECT_FALSE(entry::fhrp_mac_add(entry.mac, vlan.ifindex).failed);
    EXPECT_THAT(watcher.calls,
                testing::Not(testing::Contains("libsdk_intf_router_mac_trap_create")));
    EXPECT_FALSE(entry::fhrp_mac_del(entry.mac, vlan.ifindex).failed);
    EXPECT_EQ(used("trap"), saved.traps.size() - 1);
}

TEST_F(Restored, FindsThePlanThatWasDue)
{
    const Snapshot saved = worn_switch();
    const Desired next = wanted(small_network, "next.json");
    const std::vector<std::string> due = words(sw.plan(next));
    Switch other;
    restore(saved, other, "");
    EXPECT_EQ(words(other.plan(next)), due);
}

/* A refusal names the newest holder of an object, which need not be the last by identifier. */
TEST_F(Restored, NamesTheSameHolders)
{
    const auto with = [](const std::string &rows, const std::string &vrids) {
        return with_ports(R"("INTERFACE": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": {)" + rows +
                          R"(}, "VRRP": {)" + vrids + "}");
    };
    bring_about(with(R"("Ethernet0.10": {}, "Ethernet0.20": {})",
                     R"("Ethernet0|1": {}, "Ethernet0|2": {})"));
    bring_about(with(R"("Ethernet0.20": {})", R"("Ethernet0|2": {})"));
    bring_about(with(R"("Ethernet0.20": {}, "Ethernet0.30": {})",
                     R"("Ethernet0|2": {}, "Ethernet0|3": {})"));
    const auto refusals = [&] {
        Asic &asic = Asic::instance();
        std::vector<std::string> all;
        EXPECT_EQ(asic.intf_destroy(interface("Ethernet0").intf_id()), SDK_E_BUSY);
        all.push_back(asic.last_refusal());
        EXPECT_EQ(asic.lid_destroy(*interface("Ethernet0").lid_id), SDK_E_BUSY);
        all.push_back(asic.last_refusal());
        return all;
    };
    const std::vector<std::string> before = refusals();
    const uint32_t newest = interface("Ethernet0.30").intf_id();
    ASSERT_LT(newest, interface("Ethernet0.20").intf_id());
    EXPECT_THAT(before[0], HasSubstr(fmt::format("sub-interface {} (", newest)));
    EXPECT_THAT(before[1], HasSubstr(fmt::format("interface {} (", newest)));
    restore(capture(sw), sw, "");
    EXPECT_EQ(refusals(), before);
}

/* ---- A run cut in two ---- */

/* One change after another; failures are injected into each by its own seed, so that the cut does
 * not change them. */
struct Course {
    uint64_t seed;
    uint32_t changes;
    double fail_rate;

    void run(Switch &of, uint32_t from, uint32_t to) const
    {
        RandomDesired random(24);
        for (uint32_t change = 0; change < to; ++change) {
            random.change(seed << 32 | change);
            if (change < from)
                continue;
            Journal::instance().faults.set_rate(fail_rate, seed << 32 | change);
            of.apply(random.desired());
        }
        Journal::instance().faults.clear();
    }
};

/* What the rows do not tell: the identifiers that are handed out next. */
std::vector<uint32_t> next_identifiers()
{
    Asic &asic = Asic::instance();
    std::vector<uint32_t> ids(4);
    sdk_intf_create_params params{};
    params.param1 = 4094;
    asic.intf_create(sdk_svi, params, ids[0]);
    asic.lid_create(ids[1]);
    asic.portchannel_create(ids[2]);
    asic.router_mac_create({0x02, 0, 0, 0, 0, 1}, ids[3]);
    return ids;
}

TEST(ARunCutInTwo, EndsLikeTheWholeOne)
{
    const ScratchFile file("cut.db");
    size_t with_failures = 0;
    EXPECT_TRUE(rc::check("any changes, with and without failures", [&] {
        Course course;
        course.seed = *rc::gen::inRange<uint64_t>(0, 1U << 20);
        course.changes = *rc::gen::inRange<uint32_t>(2, 120);
        course.fail_rate = *rc::gen::element(0.0, 0.02, 0.1);
        const auto cut = *rc::gen::inRange<uint32_t>(1, course.changes);
        Diagnostics::instance().reset();
        Snapshot whole;
        std::vector<uint32_t> whole_next;
        {
            Switch sw;
            course.run(sw, 0, course.changes);
            whole = capture(sw);
            whole_next = next_identifiers();
        }
        Diagnostics::instance().reset();
        Switch first;
        course.run(first, 0, cut);
        const Snapshot before = capture(first);
        save(before, file.path);
        const std::string bytes = content_of(file.path);
        const std::vector<uint32_t> next = next_identifiers();
        Diagnostics::instance().reset();
        Switch second;
        restore(load(file.path), second, file.path);
        RC_ASSERT(next_identifiers() == next);
        restore(load(file.path), second, file.path);
        RC_ASSERT(capture(second) == before);
        save(capture(second), file.path);
        RC_ASSERT(content_of(file.path) == bytes);

        course.run(second, cut, course.changes);
        const Snapshot both = capture(second);
        RC_ASSERT(diff(whole, both).empty());
        RC_ASSERT(both == whole);
        RC_ASSERT(next_identifiers() == whole_next);
        with_failures += !before.failures.empty();
    }));
    EXPECT_GT(with_failures, 0U);
    const Switch off;
    Diagnostics::instance().reset();
}

/* ---- Databases that contradict themselves ---- */

struct Contradiction {
    const char *sql, *told;
};

/* Each is told by table, row and column, and the switch is as it was. */
TEST_F(Restored, IsRefusedWhereTheRowsContradictThemselves)
{
    const Snapshot saved = worn_switch();
    const Contradiction cases[] = {
        {"UPDATE meta SET word_size = 16", "table meta, row 1, column word_size: a switch of 16 "},
        {"UPDATE meta SET requests_made = 1", "column made_request: "},
        {"UPDATE error SET last_request = 99999", "table error, row 1, column last_request: 99999"},
        {"INSERT INTO error SELECT * FROM error LIMIT 1", "table error, row "},
        {"UPDATE asic_trap SET intf_id = 777", "column intf_id: there is no interface 777"},
        {"UPDATE asic_interface SET intf_id = 60000 WHERE rowid = 1",
         "table asic_interface, row 1, column intf_id: 60000 is not 1 to "},
        {"UPDATE asic_interface SET intf_id = 0 WHERE rowid = 1",
         "table asic_interface, row 1, column intf_id: 0 is not 1 to "},
        {"INSERT INTO asic_interface SELECT * FROM asic_interface LIMIT 1", "is there twice"},
        {"UPDATE asic_interface SET type = 9 WHERE rowid = 1",
         "table asic_interface, row 1, column type: there is no interface type 9"},
        {"INSERT INTO asic_lid SELECT * FROM asic_lid LIMIT 1", "is there twice"},
        {"UPDATE asic_lid SET ifmap_idx = 1 WHERE rowid = 2",
         "table asic_lid, row 2, column ifmap_idx: "},
        {"DELETE FROM asic_lid WHERE rowid = 1", "there is no LID entry 1"},
        {"UPDATE asic_lid_path SET position = 5 WHERE rowid = 1",
         "table asic_lid_path, row 1, column position: expected 0"},
        {"UPDATE asic_lid_path SET front_port = 999 WHERE rowid = 1",
         "table asic_lid_path, row 1, column front_port: "},
        {"DELETE FROM asic_port_channel", "there is no port-channel "},
        {"UPDATE asic_attribute SET number = 3 WHERE rowid = 1",
         "table asic_attribute, row 1, column number: there is no attribute 3"},
        {"UPDATE asic_attribute SET value = 5 WHERE number = 60",
         "column value: SdkIntfAttrMtuIdx"},
        {"INSERT INTO asic_attribute SELECT * FROM asic_attribute LIMIT 1",
         "column number: interface "},
        {"UPDATE asic_member SET front_port = 0", "table asic_member, row 1, column front_port: "},
        {"UPDATE asic_member SET pc_id = 200", "table asic_member, row 1, column pc_id: "},
        {"UPDATE asic_router_mac SET mac = '01:00:00:00:00:01'",
         "table asic_router_mac, row 1, column mac: "},
        {"UPDATE asic_pending SET position = 3",
         "table asic_pending, row 1, column position: expected 0"},
        {"UPDATE asic_pending SET intf_id = 99",
         "table asic_pending, row 1, column intf_id: there is no interface 99"},
        {"UPDATE asic_table SET used = used + 1 WHERE name = 'lid'",
         "table asic_table, row 3, column used: "},
        {"UPDATE asic_table SET high_water = 70000 WHERE name = 'pc'",
         "table asic_table, row 5, column high_water: 70000 is not "},
        {"UPDATE asic_table SET capacity = 70000 WHERE name = 'pc'",
         "table asic_table, row 5, column capacity: 70000 is not "},
        {"DELETE FROM asic_table WHERE name = 'trap'",
         "table asic_table, row 8, column name: expected trap"},
        {"UPDATE asic_table SET description = 'x' WHERE name = 'pc'",
         "table asic_table, row 5, column description: "},
        {"UPDATE host_interface SET number = 300 WHERE rowid = 1",
         "table host_interface, row 1, column number: no port has number 300"},
        {"UPDATE host_interface SET ifindex = ifindex + 1 WHERE rowid = 1",
         "table host_interface, row 1, column ifindex: "},
        {"INSERT INTO host_interface SELECT * FROM host_interface LIMIT 1", "is there twice"},
        {"UPDATE host_interface SET name = 'Ethernet4' WHERE rowid = 1",
         "column name: empty, or there twice"},
        {"UPDATE host_interface SET name = 'Vlan77' WHERE rowid = 1",
         "table host_interface, row 1, column name: no port has the name \"Vlan77\""},
        {"UPDATE host_interface SET channel = 5 WHERE channel IS NOT NULL",
         "column channel: 5 is no port-channel"},
        {"UPDATE host_interface SET parent = 5 WHERE rowid = 1",
         "table host_interface, row 1, column parent: "},
        {"UPDATE host_interface SET vlan = 5 WHERE rowid = 1",
         "table host_interface, row 1, column vlan: "},
        {"UPDATE host_interface SET pd_state = 2 WHERE rowid = 1",
         "table host_interface, row 1, column pd_state: "},
        {"UPDATE host_interface SET mtu = 70000 WHERE rowid = 1",
         "table host_interface, row 1, column mtu: "},
        {"UPDATE host_interface SET port_lid = 900 WHERE rowid = 1",
         "table host_interface, row 1, column port_lid: 900 is not 0 to "},
        {"UPDATE host_interface SET held_pc = 90 WHERE held_pc IS NOT NULL",
         "column held_pc: 90 is not 0 to "},
        {"UPDATE host_interface SET held_lid = NULL", "column held_lid: "},
        {"DELETE FROM member_intf_sdb", "column kept_intf: member_intf_sdb says nothing of it"},
        {"UPDATE member_intf_sdb SET intf_id = intf_id + 1",
         "table member_intf_sdb, row 1, column intf_id: "},
        {"UPDATE l3lif_sdb SET name = 'x' WHERE rowid = 1",
         "table l3lif_sdb, row 1, column name: "},
        {"UPDATE l3lif_sdb SET ifindex = 1 WHERE rowid = 1",
         "table l3lif_sdb, row 1, column ifindex: 1 is no interface"},
        {"INSERT INTO label_sdb SELECT * FROM label_sdb LIMIT 1", "is there twice"},
        {"UPDATE pm_sdb SET kind = 2", "table pm_sdb, row 1, column kind: "},
        {"UPDATE pc_sdb SET ifindex = 0x10000000", "table pc_sdb, row 1, column ifindex: "},
        {"UPDATE library_context SET ifindex = 3 WHERE rowid = 1",
         "table library_context, row 1, column ifindex: 3 is no interface"},
        {"INSERT INTO library_context SELECT * FROM library_context LIMIT 1", "is there twice"},
        {"UPDATE library_context SET intf_id = 70000 WHERE rowid = 1",
         "table library_context, row 1, column intf_id: 70000 is not 0 to "},
        {"UPDATE library_context SET lid_id = 9000 WHERE rowid = 1",
         "table library_context, row 1, column lid_id: 9000 is not 0 to "},
        {"UPDATE library_virtual_mac SET mac_trap_id = 50",
         "table library_virtual_mac, row 1, column mac_trap_id: there is no MAC trap 50"},
        {"UPDATE library_virtual_mac SET ifindex = 4294967295",
         "table library_virtual_mac, row 1, column ifindex: "},
        {"UPDATE owned_router_mac SET peer_mac_id = 900",
         "table owned_router_mac, row 1, column peer_mac_id: 900 is not 0 to "},
        {"DELETE FROM applied_router_mac", "table owned_router_mac, row 1, column peer_mac_id: "},
        {"UPDATE applied_port SET name = 'Ethernet99' WHERE rowid = 1",
         "table applied_port, row 1, column name: the host has no such port"},
        {"UPDATE applied_interface SET name = 'Vlan99' WHERE kind = 'SVI'", "column name: "},
        {"UPDATE applied_interface SET number = 99 WHERE kind = 'SVI'",
         "column number: the host has "},
        {"UPDATE applied_member SET port_channel = 'PortChannel9'",
         "table applied_member, row 1, column port_channel: "},
        {"INSERT INTO wanted_port SELECT * FROM wanted_port LIMIT 1",
         "table wanted_port, row 4, column name: it is there twice"},
        {"UPDATE wanted_port SET mtu = 99999", "table wanted_port, row 1, column mtu: "},
        {"UPDATE wanted_interface SET vpn = 77 WHERE rowid = 1",
         "table wanted_interface, row 1, column vpn: the other tables say otherwise"},
        {"UPDATE wanted_member SET declined = 1",
         "table wanted_member, row 1, column declined: the other tables say otherwise"},
        {"UPDATE vrf SET vpn = 0", "table vrf, row 1, column vpn: "},
        {"INSERT INTO failure SELECT * FROM failure LIMIT 1", "column step: it is there twice"},
        {"UPDATE applied_settings SET name = 'Vlan99' WHERE rowid = 1",
         "table applied_settings, row 1, column name: the host has no such interface"},
    };
    for (const Contradiction &each : cases) {
        save(saved, file.path);
        run_sql(each.sql);
        EXPECT_THAT(why_not_restored(), testing::AllOf(testing::StartsWith(file.path + ": table "),
                                                       HasSubstr(each.told)))
            << each.sql;
        ASSERT_TRUE(capture_of(sw) == saved) << each.sql;
    }
}

/* Whatever is changed: the database is refused, or the switch is the one that it describes. */
TEST_F(Restored, IsNeverHalfRestored)
{
    const Snapshot saved = worn_switch();
    save(saved, file.path);
    const std::vector<std::string> columns = [&] {
        std::vector<std::string> all;
        sqlite3 *db = nullptr;
        EXPECT_EQ(sqlite3_open(file.path.c_str(), &db), SQLITE_OK);
        const auto take = [](void *into, int, char **values, char **) {
            static_cast<std::vector<std::string> *>(into)->push_back(fmt::format(
                "UPDATE \"{}\" SET \"{}\" = {{}} WHERE rowid = {{}}", values[0], values[1]));
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(db,
                               "SELECT m.name, c.name FROM sqlite_master m, "
                               "pragma_table_info(m.name) c",
                               take, &all, nullptr),
                  SQLITE_OK);
        sqlite3_close(db);
        return all;
    }();
    size_t refused = 0;
    EXPECT_TRUE(rc::check("any value in any place", [&] {
        save(saved, file.path);
        const std::string sql = *rc::gen::elementOf(columns);
        const auto value = *rc::gen::element<std::string>(
            "0", "1", "2", "3", "5", "7", "65534", "65535", "65536", "4294967295", "NULL", "''",
            "'Ethernet0'", "'Vlan11'", "'port'", "'SVI'", "0x10000001", "0x20000002", "0x3000000b");
        const auto row = *rc::gen::inRange(1, 9);
        run_sql(fmt::format(fmt::runtime(sql), value, row));
        Snapshot loaded;
        try {
            loaded = load(file.path);
            restore(loaded, sw, "switch.db");
        } catch (const SnapshotError &) {
            ++refused;
            RC_ASSERT(capture_of(sw) == saved);
            return;
        }
        RC_ASSERT(capture(sw, loaded.file_names(), loaded.reader, loaded.meta.interrupted) ==
                  loaded);
        sw.apply(wanted(small_network));
        sw.apply(Desired());
        restore(saved, sw, "");
    }));
    EXPECT_GT(refused, 0U);
}

} // namespace
} // namespace kvnsim
