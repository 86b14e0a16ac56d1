/* Databases come with support cases. The input is a list of edits to a saved switch, a line each:
 * "TABLE ROW COLUMN VALUE" sets a value, "TABLE ROW" removes a row; tables, rows and columns are
 * numbers, of which the remainder counts. Whatever the rows then say, the database is refused or
 * can be looked at, and is restored whole or not at all. */
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include "fuzz/switch_oracle.h"
#include "sim/config/configuration.h"
#include "sim/journal/journal.h"
#include "sim/state/restore.h"

using namespace kvnsim;

namespace {

constexpr const char *configuration = R"({
"DEVICE_METADATA": {"localhost": {"hostname": "leaf", "mac": "00:00:5e:00:53:01"}},
"VRF": {"VrfBlue": {}}, "VLAN": {"Vlan100": {}},
"PORT": {"Ethernet0": {}, "Ethernet4": {"mtu": "9000"}, "Ethernet8": {}, "Ethernet12": {}},
"VLAN_MEMBER": {"Vlan100|Ethernet12": {"tagging_mode": "untagged"}},
"PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}},
"PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel1|192.0.2.9/31": {}},
"INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue"}, "Ethernet0|192.0.2.1/31": {}},
"VLAN_SUB_INTERFACE": {"Ethernet4.10": {"vlan": "10"}, "Ethernet4.10|2001:db8::1/64": {}},
"VLAN_INTERFACE": {"Vlan100": {}, "Vlan100|198.51.100.1/24": {}}})";

struct Column {
    std::string table, name;
};

/* The saved switch, in memory and as a file to work on. */
class SavedSwitch {
public:
    SavedSwitch()
    {
        path_ = scratch_folder() + "/switch.db";
        Switch power;
        Journal::instance().faults.add("libsdk_intf_attr_set:20");
        power.apply(read_configuration("leaf.json", configuration).desired);
        save(capture(power, {"leaf.json"}), path_);
        sqlite3_open(path_.c_str(), &db_);
        tables_ = texts("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name");
        for (const std::string &table : tables_)
            columns_.push_back(texts("SELECT name FROM pragma_table_info('" + table + "')"));
        run("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = OFF;");
        original_ = sqlite3_serialize(db_, "main", &size_, 0);
        sqlite3_close(db_);
    }

    const std::string &with(const std::string &edits)
    {
        FILE *const file = std::fopen(path_.c_str(), "wb");
        if (file == nullptr || std::fwrite(original_, 1, static_cast<size_t>(size_), file) !=
                                   static_cast<size_t>(size_))
            wrong("the database cannot be written");
        std::fclose(file);
        sqlite3_open(path_.c_str(), &db_);
        run("PRAGMA synchronous = OFF; BEGIN;");
        std::istringstream lines(edits);
        for (std::string line; std::getline(lines, line);)
            edit(line);
        run("COMMIT;");
        sqlite3_close(db_);
        return path_;
    }

private:
    void run(const std::string &sql) { sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr); }
    std::vector<std::string> texts(const std::string &sql)
    {
        std::vector<std::string> found;
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr);
        while (sqlite3_step(statement) == SQLITE_ROW)
            found.emplace_back(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
        return found;
    }
    void edit(const std::string &line)
    {
        std::istringstream words(line);
        uint32_t table = 0, row = 0, column = 0;
        if (!(words >> table >> row))
            return;
        const size_t number = table % tables_.size();
        const std::string &name = tables_[number];
        const std::string which = fmt::format("WHERE rowid = (SELECT rowid FROM \"{0}\" LIMIT 1 "
                                              "OFFSET {1} % (SELECT max(1, count(*)) "
                                              "FROM \"{0}\"))",
                                              name, row);
        if (!(words >> column))
            return run(fmt::format("DELETE FROM \"{}\" {}", name, which));
        std::string value;
        std::getline(words >> std::ws, value);
        sqlite3_stmt *statement = nullptr;
        sqlite3_prepare_v2(db_,
                           fmt::format("UPDATE \"{}\" SET \"{}\" = ?1 {}", name,
                                       columns_[number][column % columns_[number].size()], which)
                               .c_str(),
                           -1, &statement, nullptr);
        if (value != "NULL")
            sqlite3_bind_text(statement, 1, value.c_str(), static_cast<int>(value.size()),
                              SQLITE_TRANSIENT);
        sqlite3_step(statement);
        sqlite3_finalize(statement);
    }

    std::string path_;
    sqlite3 *db_ = nullptr;
    std::vector<std::string> tables_;
    std::vector<std::vector<std::string>> columns_;
    unsigned char *original_ = nullptr;
    sqlite3_int64 size_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static SavedSwitch saved;
    const std::string &path = saved.with(std::string(reinterpret_cast<const char *>(data), size));
    for (const char *name : {"PortChannel1", "Ethernet4.10", "Vlan100"}) {
        if (const std::optional<SnapshotPart> part = load_about(path, {name}, {10, {}}))
            look_at(part->snapshot);
    }
    try {
        const Snapshot snapshot = load(path);
        look_at(snapshot);
        Switch power;
        const Snapshot before = capture(power);
        try {
            restore(snapshot, power, path);
        } catch (const SnapshotError &) {
            if (!(capture(power) == before))
                wrong("refused, but restored in part");
            return 0;
        }
        power.apply(Desired());
    } catch (const SnapshotError &) {
        /* Refused. */
    }
    return 0;
}
