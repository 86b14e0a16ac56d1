#include "tests/sim/state/bench.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;

class SnapshotFile : public StateTest {
protected:
    ScratchFile file{"switch.db"};

    void write(const std::string &content) { std::ofstream(file.path) << content; }
    void run_sql(const std::string &sql)
    {
        sqlite3 *db = nullptr;
        ASSERT_EQ(sqlite3_open(file.path.c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
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

TEST_F(SnapshotFile, comes_back_as_it_was_saved)
{
    Snapshot snapshot = small_switch();
    save(snapshot, file.path);
    EXPECT_TRUE(load(file.path) == snapshot);
}

TEST_F(SnapshotFile, comes_back_with_failures_kept_interfaces_held_channels_and_pending_writes)
{
    small_switch();
    Host &host = Host::instance();
    inject("libsdk_intf_create:2");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
                        "PORTCHANNEL": {"PortChannel7": {}},
                        "VLAN": {"Vlan10": {}, "Vlan11": {}},
                        "VLAN_INTERFACE": {"Vlan10": {}, "Vlan11": {}}})"));
    ASSERT_EQ(host.hold_port_channel(*host.find("PortChannel7")), 0);
    Asic::instance().attr_set_batch(host.find("Vlan10")->intf_id(), SdkIntfAttrMtuIdx, 1500);
    Finding finding;
    finding.location = {"two.json", 3, 9, "PORT", "Ethernet8"};
    finding.message = "mtu is missing";
    finding.other = SourceLocation{"two.json", 2, 9, "PORT", "Ethernet4"};
    const Snapshot snapshot = capture(sw, {"one.json", "two.json"}, {finding}, true);
    ASSERT_EQ(snapshot.reader.size(), 1u);
    EXPECT_EQ(snapshot.reader[0].message, "mtu is missing (see two.json:2:9: PORT|Ethernet4)");
    ASSERT_FALSE(snapshot.failures.empty());
    ASSERT_FALSE(snapshot.errors.empty());
    ASSERT_FALSE(snapshot.member_intf.empty());
    ASSERT_FALSE(snapshot.pending.empty());
    save(snapshot, file.path);
    const Snapshot loaded = load(file.path);
    EXPECT_TRUE(loaded == snapshot);
    EXPECT_EQ(brief(audit(loaded)), brief(audit(snapshot)));
    EXPECT_EQ(words(audit(loaded)), words(audit(snapshot)));
}

TEST_F(SnapshotFile, differs_from_one_with_another_value)
{
    const Snapshot snapshot = small_switch();
    Snapshot other = snapshot;
    EXPECT_TRUE(other == snapshot);
    other.intfs[0].made.request++;
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

TEST_F(SnapshotFile, replaces_an_older_one_and_leaves_nothing_beside_it)
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

TEST_F(SnapshotFile, replaces_what_a_link_names_and_keeps_the_link)
{
    const ScratchFile link("link.db");
    save(capture(sw), file.path);
    std::filesystem::create_symlink(file.path, link.path);
    const Snapshot snapshot = small_switch();
    save(snapshot, link.path);
    EXPECT_TRUE(std::filesystem::is_symlink(link.path));
    EXPECT_TRUE(load(file.path) == snapshot);
}

TEST_F(SnapshotFile, may_be_written_over_an_empty_file)
{
    write("");
    EXPECT_EQ(why_not_saved(capture(sw)), "saved");
}

TEST_F(SnapshotFile, is_not_written_over_anything_else)
{
    write("precious notes");
    EXPECT_EQ(why_not_saved(capture(sw)),
              file.path + ": not a kvnsim database, and is not overwritten");
    EXPECT_EQ(content_of(file.path), "precious notes");
}

TEST_F(SnapshotFile, is_not_written_over_the_database_of_another_program)
{
    run_sql("CREATE TABLE notes (text); INSERT INTO notes VALUES ('precious')");
    const std::string before = content_of(file.path);
    EXPECT_THAT(why_not_saved(capture(sw)), HasSubstr("not a kvnsim database"));
    EXPECT_EQ(content_of(file.path), before);
}

TEST_F(SnapshotFile, cannot_be_saved_where_there_is_no_folder)
{
    const std::string path = file.path + ".none/switch.db";
    EXPECT_THROW(check_can_save(path), SnapshotError);
    EXPECT_THROW(save(capture(sw), path), SnapshotError);
}

TEST_F(SnapshotFile, that_is_missing_is_said_to_be)
{
    EXPECT_EQ(why_not_loaded(), file.path + ": No such file or directory");
}

TEST_F(SnapshotFile, that_is_no_database_is_said_to_be_none)
{
    write("{}");
    EXPECT_EQ(why_not_loaded(), file.path + ": not a kvnsim database");
    write(std::string(5000, 'x'));
    EXPECT_EQ(why_not_loaded(), file.path + ": not a kvnsim database");
}

TEST_F(SnapshotFile, of_another_format_is_refused_by_its_number)
{
    save(small_switch(), file.path);
    run_sql("PRAGMA user_version = 1");
    EXPECT_EQ(why_not_loaded(), file.path + ": has format 1; this kvnsim reads format 2");
}

TEST_F(SnapshotFile, that_was_cut_short_is_damaged)
{
    save(small_switch(), file.path);
    const std::string whole = content_of(file.path);
    for (size_t part = 1; part < 8; ++part) {
        write(whole.substr(0, whole.size() * part / 8));
        EXPECT_THAT(why_not_loaded(), HasSubstr("damaged: ")) << part << " eighths of it";
    }
}

TEST_F(SnapshotFile, without_one_of_its_tables_or_columns_is_damaged)
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

TEST_F(SnapshotFile, with_a_value_of_the_wrong_kind_is_damaged)
{
    const struct {
        const char *sql, *column;
    } cases[] = {{"UPDATE asic_interface SET type = 'routed'", "type"},
                 {"UPDATE asic_interface SET type = -1", "type"},
                 {"UPDATE asic_interface SET type = 4294967296", "type"},
                 {"UPDATE asic_interface SET type = NULL", "type"},
                 {"UPDATE asic_trap SET mac = '00:00:5e:00:01'", "mac"},
                 {"UPDATE asic_trap SET mac = '00:00:5e:00:01:+a'", "mac"},
                 {"UPDATE host_interface SET name = 5", "name"},
                 {"UPDATE host_interface SET registered = 2", "registered"}};
    for (const auto &c : cases) {
        save(small_switch(), file.path);
        run_sql(c.sql);
        EXPECT_EQ(why_not_loaded(), file.path + ": damaged: " + c.column + " holds no such value")
            << c.sql;
    }
}

TEST_F(SnapshotFile, answers_plain_sql)
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
