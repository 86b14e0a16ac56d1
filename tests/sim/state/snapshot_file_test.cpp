#include "tests/sim/state/database_fixture.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;

class SnapshotFile : public DatabaseFixture {
protected:
    void write(const std::string &content) { std::ofstream(file.path) << content; }
    static Finding conflict()
    {
        Finding finding;
        finding.location = {"two.json", 3, 9, "PORT", "Ethernet8"};
        finding.message = "mtu is missing";
        finding.other = SourceLocation{"two.json", 2, 9, "PORT", "Ethernet4"};
        return finding;
    }
    std::string why_not_loaded()
    {
        try {
            load(file.path);
        } catch (const SnapshotError &error) {
            return error.what();
        }
        return "loaded";
    }
    std::string why_not_saved(const Snapshot &snapshot)
    {
        try {
            save(snapshot, file.path);
        } catch (const SnapshotError &error) {
            return error.what();
        }
        return "saved";
    }
};

TEST_F(SnapshotFile, ComesBackAsItWasSaved)
{
    Snapshot snapshot = small_switch();
    save(snapshot, file.path);
    EXPECT_TRUE(load(file.path) == snapshot);
}

TEST_F(SnapshotFile, ComesBackWithPlacesThatNameNoFile)
{
    Snapshot snapshot = small_switch();
    Finding nowhere = conflict();
    nowhere.location = {};
    snapshot.reader = {nowhere, conflict(), nowhere};
    save(snapshot, file.path);
    EXPECT_TRUE(load(file.path) == snapshot);
}

TEST_F(SnapshotFile, ComesBackWithFailuresKeptInterfacesHeldChannelsAndPendingWrites)
{
    ASSERT_NO_FATAL_FAILURE(troubled_switch());
    const Snapshot snapshot = capture(sw, {"one.json", "two.json"}, {conflict()}, true);
    ASSERT_EQ(snapshot.reader.size(), 1u);
    ASSERT_FALSE(snapshot.failures.empty());
    ASSERT_FALSE(snapshot.errors.empty());
    ASSERT_FALSE(snapshot.member_intf.empty());
    ASSERT_FALSE(snapshot.pending.empty());
    save(snapshot, file.path);
    const Snapshot loaded = load(file.path);
    EXPECT_TRUE(loaded == snapshot);
    EXPECT_EQ(loaded.reader[0].to_text(), "two.json:3:9: PORT|Ethernet8: mtu is missing "
                                          "(see two.json:2:9: PORT|Ethernet4)");
    EXPECT_EQ(brief(audit(loaded)), brief(audit(snapshot)));
    EXPECT_EQ(words(audit(loaded)), words(audit(snapshot)));
}

TEST_F(SnapshotFile, DiffersFromOneWithAnotherValue)
{
    const Snapshot snapshot = small_switch();
    Snapshot other = snapshot;
    EXPECT_TRUE(other == snapshot);
    other.intfs[0].made.request = other.intfs[1].made.request;
    EXPECT_TRUE(other != snapshot);
    other = snapshot;
    other.wanted_interfaces[0].location.line++;
    EXPECT_TRUE(other != snapshot);
    other = snapshot;
    other.meta.hostname = "other";
    EXPECT_TRUE(other != snapshot);
    other = snapshot;
    other.traps.clear();
    EXPECT_TRUE(other != snapshot);
}

TEST_F(SnapshotFile, ReplacesAnOlderOneAndLeavesNothingBesideIt)
{
    const std::string folder = file.path + ".d";
    std::filesystem::create_directory(folder);
    const std::string path = folder + "/switch.db";
    save(capture(sw), path);
    const Snapshot snapshot = small_switch();
    save(snapshot, path);
    EXPECT_TRUE(load(path) == snapshot);
    const auto files = std::filesystem::directory_iterator(folder);
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
    std::filesystem::remove_all(folder);
}

TEST_F(SnapshotFile, ReplacesWhatALinkNamesAndKeepsTheLink)
{
    const ScratchFile link("link.db");
    save(capture(sw), file.path);
    std::filesystem::create_symlink(file.path, link.path);
    const Snapshot snapshot = small_switch();
    save(snapshot, link.path);
    EXPECT_TRUE(std::filesystem::is_symlink(link.path));
    EXPECT_TRUE(load(file.path) == snapshot);
}

TEST_F(SnapshotFile, MayBeWrittenOverAnEmptyFile)
{
    write("");
    EXPECT_EQ(why_not_saved(capture(sw)), "saved");
}

TEST_F(SnapshotFile, IsNotWrittenOverAnythingElse)
{
    write("precious notes");
    EXPECT_EQ(why_not_saved(capture(sw)),
              file.path + ": not a kvnsim database, and is not overwritten");
    EXPECT_EQ(content_of(file.path), "precious notes");
}

TEST_F(SnapshotFile, IsNotWrittenOverTheDatabaseOfAnotherProgram)
{
    run_sql("CREATE TABLE notes (text); INSERT INTO notes VALUES ('precious')");
    const std::string before = content_of(file.path);
    EXPECT_THAT(why_not_saved(capture(sw)), HasSubstr("not a kvnsim database"));
    EXPECT_EQ(content_of(file.path), before);
}

TEST_F(SnapshotFile, CannotBeSavedWhereThereIsNoFolder)
{
    const std::string path = file.path + ".none/switch.db";
    EXPECT_THROW(check_can_save(path), SnapshotError);
    EXPECT_THROW(save(capture(sw), path), SnapshotError);
}

TEST_F(SnapshotFile, ThatIsMissingIsSaidToBe)
{
    EXPECT_EQ(why_not_loaded(), file.path + ": No such file or directory");
}

TEST_F(SnapshotFile, ThatIsNoDatabaseIsSaidToBeNone)
{
    write("{}");
    EXPECT_EQ(why_not_loaded(), file.path + ": not a kvnsim database");
    write(std::string(5000, 'x'));
    EXPECT_EQ(why_not_loaded(), file.path + ": not a kvnsim database");
}

TEST_F(SnapshotFile, OfAnotherFormatIsRefusedByItsNumber)
{
    save(small_switch(), file.path);
    run_sql("PRAGMA user_version = 1");
    EXPECT_EQ(why_not_loaded(), file.path + ": has format 1; this kvnsim reads format 4");
}

TEST_F(SnapshotFile, ThatWasCutShortIsDamaged)
{
    save(small_switch(), file.path);
    const std::string whole = content_of(file.path);
    for (size_t part = 1; part < 8; ++part) {
        write(whole.substr(0, whole.size() * part / 8));
        EXPECT_THAT(why_not_loaded(), HasSubstr("damaged: ")) << part << " eighths of it";
    }
}

TEST_F(SnapshotFile, WithoutOneOfItsTablesOrColumnsIsDamaged)
{
    save(small_switch(), file.path);
    run_sql("DROP TABLE asic_trap");
    EXPECT_EQ(why_not_loaded(), file.path + ": damaged: no such table: asic_trap");
    save(small_switch(), file.path);
    run_sql("ALTER TABLE asic_lid RENAME COLUMN ifmap_idx TO other");
    EXPECT_THAT(why_not_loaded(), HasSubstr("damaged: "));
    save(small_switch(), file.path);
    run_sql("DELETE FROM meta");
    EXPECT_EQ(why_not_loaded(), file.path + ": damaged: table meta needs one row");
}

TEST_F(SnapshotFile, WithAQueryInThePlaceOfATableIsDamaged)
{
    const char *const endless = "CREATE VIEW asic_trap AS WITH RECURSIVE n(i) AS "
                                "(SELECT 1 UNION ALL SELECT i FROM n) SELECT * FROM n";
    const char *const of_the_same_name = "CREATE VIEW ASIC_TRAP AS SELECT 1";
    const char *const index = "CREATE INDEX asic_trap ON asic_lid(lid_id)";
    const char *const virtual_one = "CREATE VIRTUAL TABLE asic_trap USING fts5(mac)";
    for (const char *sql : {endless, of_the_same_name, index, virtual_one}) {
        save(small_switch(), file.path);
        run_sql("DROP TABLE asic_trap");
        run_sql(sql);
        EXPECT_EQ(why_not_loaded(), file.path + ": damaged: asic_trap is no plain table");
    }
    save(small_switch(), file.path);
    run_sql("CREATE VIEW of_a_user AS SELECT * FROM asic_trap");
    EXPECT_EQ(why_not_loaded(), "loaded");
}

TEST_F(SnapshotFile, WithAValueOfTheWrongKindIsDamaged)
{
    const struct {
        const char *table, *column, *value;
    } cases[] = {{"asic_interface", "type", "'routed'"},
                 {"asic_interface", "type", "-1"},
                 {"asic_interface", "type", "4294967296"},
                 {"asic_interface", "type", "NULL"},
                 {"asic_trap", "mac", "'00:00:5e:00:01'"},
                 {"asic_trap", "mac", "'00:00:5e:00:01:+a'"},
                 {"host_interface", "name", "5"},
                 {"host_interface", "registered", "2"},
                 {"host_interface", "kind", "'tunnel'"},
                 {"wanted_interface", "kind", "''"},
                 {"configuration_finding", "severity", "'fatal'"},
                 {"configuration_finding", "severity", "2"},
                 {"asic_lid", "made_request", "12345"},
                 {"l3lif_sdb", "made_request", "NULL"},
                 {"request", "entry", "NULL"}};
    small_switch();
    const Snapshot snapshot = capture(sw, {}, {conflict()});
    for (const auto &c : cases) {
        save(snapshot, file.path);
        run_sql(fmt::format("UPDATE {} SET {} = {}", c.table, c.column, c.value));
        EXPECT_EQ(why_not_loaded(),
                  fmt::format("{}: damaged: invalid value in column {} of table {}", file.path,
                              c.column, c.table))
            << c.value;
    }
}

TEST_F(SnapshotFile, WhoseTablesContradictEachOtherIsRefusedByTableAndRow)
{
    const struct {
        const char *sql, *told;
    } cases[] = {{"UPDATE wanted_member SET port_channel = 'PortChannel99'",
                  "table wanted_member, row 1, column port_channel: there is no such port-channel"},
                 {"UPDATE wanted_vlan_member SET vlan = 'Vlan99'",
                  "table wanted_vlan_member, row 1, column vlan: there is no such VLAN"},
                 {"INSERT INTO wanted_interface SELECT * FROM wanted_interface LIMIT 1",
                  "column name: it is there twice"},
                 {"UPDATE wanted_port SET mtu = 70000",
                  "table wanted_port, row 1, column mtu: 70000 is not 0 to 65535"},
                 {"UPDATE meta SET requests_made = 0", ", but 0 requests were made"}};
    bring_about(with_ports(R"("PORTCHANNEL": {"PortChannel7": {}},
"PORTCHANNEL_MEMBER": {"PortChannel7|Ethernet8": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel7": {}},
"VLAN": {"Vlan10": {}}, "VLAN_MEMBER": {"Vlan10|Ethernet12": {"tagging_mode": "tagged"}})"));
    const Snapshot snapshot = capture(sw);
    for (const auto &c : cases) {
        save(snapshot, file.path);
        run_sql(c.sql);
        EXPECT_THAT(why_not_loaded(),
                    testing::AllOf(testing::StartsWith(file.path + ": table "), HasSubstr(c.told)))
            << c.sql;
    }
}

TEST_F(SnapshotFile, WithoutARequestThatRowsNameIsDamaged)
{
    const Snapshot snapshot = small_switch();
    save(snapshot, file.path);
    run_sql(fmt::format("DELETE FROM request WHERE number = {}", snapshot.traps[0].made.number()));
    EXPECT_EQ(why_not_loaded(),
              file.path + ": damaged: invalid value in column made_request of table asic_trap");
}

/* ---- Requests ---- */

TEST_F(SnapshotFile, KeepsInterfaceAndCauseOfARequestThatOnlyPublished)
{
    std::string network = small_network;
    bring_about(wanted(network));
    const std::string zone = R"("nat_zone": "1")";
    network.replace(network.find(zone), zone.size(), R"("nat_zone": "2")");
    bring_about(wanted(network));
    const Snapshot snapshot = capture(sw);
    for (const AttributeValueRow &row : snapshot.attributes)
        ASSERT_NE(row.made.number(), snapshot.l3lif[0].made.number()) << "it wrote to the ASIC";
    save(snapshot, file.path);
    const L3lifRow row = load(file.path).l3lif[0];
    EXPECT_EQ(row.name, "Ethernet0");
    EXPECT_EQ(row.nat_zone, 2u);
    ASSERT_TRUE(row.made.request);
    EXPECT_EQ(row.made.request->subject, "Ethernet0");
    EXPECT_EQ(row.made.request->cause.to_text(), "test.json:6:19: INTERFACE|Ethernet0");
    EXPECT_EQ(row.made.to_text(), snapshot.l3lif[0].made.to_text());
}

TEST_F(SnapshotFile, HasOneRequestForAllRowsThatItMade)
{
    save(small_switch(), file.path);
    const Snapshot loaded = load(file.path);
    std::map<uint64_t, RequestRef> requests;
    size_t shared = 0;
    const auto look_at = [&](std::string_view, const auto &value) {
        if constexpr (std::is_same_v<decltype(value), const Origin &>) {
            const auto [at, is_first] = requests.emplace(value.number(), value.request);
            EXPECT_EQ(at->second, value.request) << value.to_text();
            shared += is_first ? 0 : 1;
        }
    };
    Snapshot::tables([&](auto rows) {
        for (const auto &row : loaded.*rows)
            each_column(row, look_at);
    });
    EXPECT_GT(requests.size(), 1u);
    EXPECT_GT(shared, 0u);
}

TEST_F(SnapshotFile, KeepsBothPlacesOfAConflictAndTheOneOfOthers)
{
    Finding lone;
    lone.severity = Finding::Severity::warning;
    lone.location = {"two.json", 7, 9, "VLAN", "Vlan10"};
    lone.message = "no member";
    save(capture(sw, {}, {conflict(), lone}), file.path);
    const std::vector<Finding> reader = load(file.path).reader;
    ASSERT_EQ(reader.size(), 2u);
    EXPECT_EQ(reader[0].other, conflict().other);
    EXPECT_EQ(reader[1].other, std::nullopt);
    EXPECT_EQ(reader[1].severity, lone.severity);
    EXPECT_EQ(reader[1].location, lone.location);
}

TEST_F(SnapshotFile, AnswersPlainSql)
{
    save(small_switch(), file.path);
    sqlite3 *db = nullptr;
    ASSERT_EQ(sqlite3_open(file.path.c_str(), &db), SQLITE_OK);
    std::string answer;
    const auto take = [](void *into, int, char **values, char **) {
        *static_cast<std::string *>(into) += std::string(values[0]) + " " + values[1] + "\n";
        return 0;
    };
    EXPECT_EQ(sqlite3_exec(db,
                           "SELECT h.name, a.value FROM host_interface h JOIN library_context c "
                           "USING (ifindex) JOIN asic_attribute a USING (intf_id) "
                           "WHERE a.number = 60 AND h.kind = 'port'",
                           take, &answer, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    EXPECT_EQ(answer, "Ethernet0 9100\nEthernet4 1500\n");
}

} // namespace
} // namespace kvnsim
