#include "tests/sim/state/database_fixture.h"

#include <fstream>
#include <map>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "sim/config/names.h"
#include "sim/journal/journal.h"
#include "sim/service/frame.h"
#include "sim/state/explain.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/stress/random_desired.h"

namespace kvnsim {
namespace {

/* What kvnsim tells of interfaces, by a whole snapshot or by a part. */
class Told {
public:
    explicit Told(const Snapshot &snapshot)
        : s_(snapshot), index_(snapshot), findings_(audit(index_))
    {
        for (const ShowKind &kind : show_kinds()) {
            if (kind.is_of_parts && !kind.of_interface)
                tables_.emplace_back(&kind, kind.make(snapshot, {}));
        }
    }

    std::string explained(const std::string &name) const
    {
        Json json;
        write(json, explain(index_, findings_, name));
        return json.document();
    }

    std::string shown(const std::string &name) const
    {
        std::string text;
        for (const auto &[kind, table] : tables_)
            text += to_text(rows_about(*kind, table, Names{name}));
        for (const ShowKind &kind : show_kinds()) {
            if (kind.is_of_parts && kind.of_interface)
                text += to_text(kind.make(s_, name));
        }
        return text;
    }

private:
    const Snapshot &s_;
    const Index index_;
    const std::vector<AuditFinding> findings_;
    std::vector<std::pair<const ShowKind *, Listing>> tables_;
};

Frame frame_for(const Snapshot &snapshot, const std::string &name, uint32_t vlan, const Mac &to)
{
    const Index index(snapshot);
    const HostRow *host = index.host(name);
    Frame frame;
    frame.to = to;
    frame.vlan = host != nullptr && host->vlan != 0 ? host->vlan : vlan;
    if (host != nullptr && host->parent)
        host = index.host(*host->parent);
    if (host != nullptr && host->kind == InterfaceKind::port)
        frame.front_port = host->number + 1;
    return frame;
}

std::string followed(const Snapshot &snapshot, const Frame &frame)
{
    const Index index(snapshot);
    const Forwarding forwarding(index);
    const Fate fate = forwarding.follow(frame);
    std::string text = forwarding.words(fate);
    for (const StageResult &stage : fate.stages)
        text += fmt::format("; {} {}", to_text(stage.stage), stage.found);
    return text;
}

class PartOfSnapshot : public DatabaseFixture {
protected:
    /* Parts and the whole of the saved switch tell the same of each interface, and of
     * all frames or of one. */
    void expect_parts_like_the_whole(const std::string &what, bool all_frames = true)
    {
        SCOPED_TRACE(what);
        const Snapshot whole = load(file.path);
        const Told of_whole(whole);
        const Spellings known = interface_names(whole);
        EXPECT_EQ(saved_interface_names(file.path).names(), known.names());
        for (const std::string &name : known.names()) {
            const std::optional<SnapshotPart> part = load_about(file.path, {name});
            ASSERT_TRUE(part) << name;
            const Told of_part(part->snapshot);
            EXPECT_EQ(of_part.explained(name), of_whole.explained(name));
            EXPECT_EQ(of_part.shown(name), of_whole.shown(name));
            for (const auto &[vlan, to] : {std::pair(0u, "00:00:5e:00:53:01"),
                                           {10u, "00:00:5e:00:01:01"},
                                           {100u, "00:00:5e:00:01:01"}}) {
                if (!all_frames && vlan != 100)
                    continue;
                const Frame frame = frame_for(whole, name, vlan, *parse_mac(to));
                const auto met = load_about(file.path, {name}, {vlan, frame.to});
                ASSERT_TRUE(met) << name;
                EXPECT_EQ(followed(met->snapshot, frame), followed(whole, frame)) << name;
            }
            if (testing::Test::HasFailure())
                FAIL() << name;
        }
    }
};

TEST_F(PartOfSnapshot, TellsTheSameOfEachInterface)
{
    save(small_switch(), file.path);
    expect_parts_like_the_whole("well");
}

/* Failures of all calls, one after another and upon what earlier ones left. */
TEST_F(PartOfSnapshot, TellsTheSameOfWhatFailuresLeave)
{
    size_t findings = 0;
    for (uint64_t seed = 0; seed < 10; ++seed) {
        Switch failing;
        Diagnostics::instance().reset();
        RandomDesired random(15);
        Journal::instance().faults.set_rate(0.05, seed);
        for (uint64_t change = 0; change < 30; ++change) {
            random.change(seed << 32 | change);
            failing.apply(random.desired());
            if (change % 10 != 9)
                continue;
            const Snapshot snapshot = capture(failing);
            findings += audit(snapshot).size();
            save(snapshot, file.path);
            expect_parts_like_the_whole(fmt::format("seed {}, change {}", seed, change));
        }
    }
    EXPECT_GT(findings, 50u);
}

/* Each row of what is found row by row deleted once, and each value changed: all but those that
 * give the rows their order. */
TEST_F(PartOfSnapshot, TellsTheSameOfAChangedDatabase)
{
    save(small_switch(), file.path);
    const std::string saved = content_of(file.path);
    const std::map<std::string, std::vector<const char *>> tables{
        {"wanted_interface", {"kind", "parent", "number", "routed"}},
        {"wanted_member", {"port", "declined"}},
        {"wanted_virtual_mac", {"interface"}},
        {"host_interface", {"name", "parent", "channel", "vlan", "port_lid", "kept_intf"}},
        {"library_context", {"intf_id", "lid_id", "pc_id"}},
        {"library_virtual_mac", {"mac_trap_id"}},
        {"asic_interface", {"type", "param1", "param2", "param3", "made_request"}},
        {"asic_attribute", {"number", "value", "made_request"}},
        {"asic_lid", {"made_request"}},
        {"asic_lid_path", {"port_type", "front_port", "pc_id"}},
        {"asic_port_channel", {"made_request"}},
        {"asic_member", {"front_port"}},
        {"asic_trap", {"intf_id", "made_request"}},
        {"pm_sdb", {"ifmap_idx"}},
        {"pc_sdb", {"pc_id"}},
        {"l3lif_sdb", {"mtu"}},
        {"label_sdb", {"enabled", "svi"}},
        {"request", {"subject"}}};
    constexpr uint32_t ports_and_channels = 6;
    uint32_t told = 0;
    const auto change = [&](const std::string &sql) {
        std::ofstream(file.path, std::ios::binary) << saved;
        run_sql(sql);
        try {
            load(file.path);
        } catch (const SnapshotError &) {
            return;
        }
        expect_parts_like_the_whole(sql, false);
        ++told;
    };
    for (const auto &[table, columns] : tables) {
        for (uint32_t row = 1; row <= 9 && !HasFatalFailure(); row += 4) {
            change(fmt::format("DELETE FROM {} WHERE rowid = {}", table, row));
            for (const std::string column : columns) {
                if (column == "channel" && row > ports_and_channels)
                    continue; /* only ports are members */
                change(fmt::format("UPDATE {0} SET {1} = (SELECT {1} FROM {0} WHERE rowid <> {2} "
                                   "AND {1} IS NOT (SELECT {1} FROM {0} WHERE rowid = {2}) "
                                   "LIMIT 1) WHERE rowid = {2}",
                                   table, column, row));
            }
        }
    }
    /* A sub-interface on the SDK interface of another port. */
    change("UPDATE asic_interface SET param1 = (SELECT intf_id FROM library_context NATURAL JOIN "
           "host_interface WHERE name = 'Ethernet4') WHERE intf_id = (SELECT intf_id FROM "
           "library_context NATURAL JOIN host_interface WHERE name = 'Ethernet0.10')");
    EXPECT_GT(told, 100u);
}

TEST_F(PartOfSnapshot, IsFoundWithoutIndexesToo)
{
    save(small_switch(), file.path);
    for (int index = 1; index <= 7; ++index)
        run_sql(fmt::format("DROP INDEX index_{}", index));
    expect_parts_like_the_whole("no index");
}

TEST_F(PartOfSnapshot, TakesEachSpelling)
{
    save(small_switch(), file.path);
    for (const auto &[written, name] : {std::pair("po1", "PortChannel1"),
                                        {"Po0001.20", "PortChannel1.20"},
                                        {"eth0.10", "Ethernet0.10"},
                                        {"SPARE", "Ethernet16"},
                                        {"vlan100", "Vlan100"}}) {
        const auto part = load_about(file.path, {written});
        ASSERT_TRUE(part) << written;
        EXPECT_EQ(part->names, std::vector<std::string>{name});
        EXPECT_EQ(interface_names(part->snapshot).meant(written, "").name, name);
    }
    EXPECT_FALSE(load_about(file.path, {"Ethernet5"}));
    EXPECT_FALSE(load_about(file.path, {"Ethernet0", "nothing"}));
}

TEST_F(PartOfSnapshot, NamesOfASavedSwitchAreThoseOfTheWholeOne)
{
    Snapshot snapshot = small_switch();
    Finding left_out, note;
    left_out.severity = Finding::Severity::warning;
    left_out.location =
        SourceLocation("a.json", 1, 1, "PORTCHANNEL_MEMBER", "PortChannel7|Ethernet40");
    note.severity = Finding::Severity::note;
    note.location = SourceLocation("a.json", 2, 1, "PORT", "Ethernet44");
    snapshot.reader = {left_out, note};
    snapshot.host.front().name = "Ethernet48";
    snapshot.wanted_vlans.front().name = "Vlan300";
    snapshot.wanted_interfaces.back().name = "Vlan200";
    save(snapshot, file.path);
    const Spellings names = saved_interface_names(file.path);
    EXPECT_EQ(names.names(), interface_names(snapshot).names());
    EXPECT_THAT(names.names(), testing::IsSupersetOf({"Ethernet40", "PortChannel7", "Ethernet48",
                                                      "Vlan200", "Vlan300"}));
    EXPECT_EQ(names.names().count("Ethernet44"), 0u);
    EXPECT_EQ(names.meant("spare", "").name, "Ethernet16");
    EXPECT_EQ(names.meant("po7", "").name, "PortChannel7");

    run_sql("UPDATE l3lif_sdb SET mtu = 'none'"); /* no name */
    EXPECT_EQ(saved_interface_names(file.path).names(), names.names());
    run_sql("UPDATE wanted_port SET alias = NULL");
    EXPECT_THROW(saved_interface_names(file.path), SnapshotError);
}

/* A row of another interface, which load() refuses. */
TEST_F(PartOfSnapshot, DoesNotJudgeWhatItDoesNotRead)
{
    save(small_switch(), file.path);
    run_sql("UPDATE l3lif_sdb SET mtu = 'none' WHERE name = 'Vlan100'");
    EXPECT_TRUE(load_about(file.path, {"Ethernet0"}));
    EXPECT_FALSE(load_about(file.path, {"Vlan100"}));
    EXPECT_THROW(load(file.path), SnapshotError);
}

} // namespace
} // namespace kvnsim
