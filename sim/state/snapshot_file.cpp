/* A snapshot as an SQLite file: a table for each row type, whose SQL follows from its columns. What
 * is loaded equals what was saved; every value is checked on the way in, so a damaged file is
 * reported, never half loaded. The file is written under another name and renamed when complete. */
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

#include <fmt/format.h>
#include <sqlite3.h>

#include "sim/state/file_in_making.h"
#include "sim/state/restore.h"
#include "sim/state/snapshot_database.h"

namespace kvnsim {
namespace {

constexpr int application_id = 0x4b564e53; /* "KVNS", in the file's header */
constexpr int format_version = 4;

/* What load_about() looks up in large tables, besides the first columns, in whose order the rows
 * are. */
constexpr const char *indexes[] = {
    "wanted_interface(name)",
    "host_interface(name)",
    "library_context(intf_id)",
    "asic_interface(type, param1, param2, param3)",
    "asic_interface(made_request)",
    "request(subject)",
    "wanted_vlan(name)",
};

/* each calls the visitor that it is given for each row. */
template <class Row, class Each> void put_rows(Database &db, const Each &each)
{
    const std::vector<std::string> columns = column_names<Row>();
    db.run(fmt::format("CREATE TABLE \"{}\" ({})", Row::table, fmt::join(columns, ", ")));
    Statement insert(db,
                     fmt::format("INSERT INTO \"{}\" VALUES ({})", Row::table,
                                 fmt::join(std::vector<const char *>(columns.size(), "?"), ", ")));
    each([&](const Row &row) {
        insert.put_row(row);
        insert.step();
        insert.again();
    });
}
template <class Row> void put_rows(Database &db, const std::vector<Row> &rows)
{
    put_rows<Row>(db, [&](const auto &put) { std::for_each(rows.begin(), rows.end(), put); });
}

/* ---- Files ---- */

/* Why the file is not a snapshot, judged by its header; empty if it is one. */
std::string why_not_snapshot(const std::string &path)
{
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return std::strerror(errno);
    if (!S_ISREG(info.st_mode))
        return "not a file";
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"),
                                                                std::fclose);
    if (!file)
        return std::strerror(errno);
    /* SQLite's header: a 16-byte signature, and the 4-byte application id at offset 68. */
    unsigned char header[72] = {};
    const size_t read = std::fread(header, 1, sizeof header, file.get());
    const int id = header[68] << 24 | header[69] << 16 | header[70] << 8 | header[71];
    if (read < sizeof header || std::memcmp(header, "SQLite format 3", 16) != 0 ||
        id != application_id)
        return "not a kvnsim database";
    return {};
}

bool is_absent_or_empty(const std::string &path)
{
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return errno == ENOENT;
    return S_ISREG(info.st_mode) && info.st_size == 0;
}

/* name: the file's name in messages. */
void write(const Snapshot &snapshot, const std::string &path, const std::string &name)
{
    Database db(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, name);
    /* Nobody sees the file until it is complete, so SQLite need not protect it. */
    db.run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE");
    db.run(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}", application_id,
                       format_version));
    db.run("BEGIN");
    put_rows(db, std::vector<MetaRow>{snapshot.meta});
    Requests requests;
    Snapshot::tables([&](auto rows) {
        put_rows(db, snapshot.*rows);
        for (const auto &row : snapshot.*rows)
            std::apply([&](const auto &...value) { (requests.add(value), ...); }, row.columns());
    });
    put_rows<Request>(db, [&](const auto &put) { requests.each(put); });
    for (size_t i = 0; i < std::size(indexes); ++i)
        db.run(fmt::format("CREATE INDEX index_{} ON {}", i + 1, indexes[i]));
    db.run("COMMIT");
}

} // namespace

void check_can_save(const std::string &path)
{
    if (!is_absent_or_empty(path)) {
        const std::string why_not = why_not_snapshot(path);
        if (!why_not.empty())
            refuse_file(path, why_not + ", and is not overwritten");
    }
    if (::access(path.c_str(), W_OK) != 0 && errno != ENOENT)
        refuse_file(path, std::string("cannot be written: ") + std::strerror(errno));
    const std::string folder = FileInMaking::folder_of(path);
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        refuse_file(path, "cannot be written: " + folder + ": " + std::strerror(errno));
}

void save(const Snapshot &snapshot, const std::string &path)
{
    check_can_save(path);
    try {
        FileInMaking file(path);
        write(snapshot, file.path(), path);
        file.put_in_place();
    } catch (const FileError &error) {
        throw SnapshotError(error.what());
    }
}

std::unique_ptr<Database> open_snapshot(const std::string &path)
{
    const std::string why_not = why_not_snapshot(path);
    if (!why_not.empty())
        refuse_file(path, why_not);
    auto db = std::make_unique<Database>(path, SQLITE_OPEN_READONLY, path);
    if (const int version = db->number("user_version"); version != format_version)
        refuse_file(path, fmt::format("has format {}; this kvnsim reads format {}", version,
                                      format_version));
    return db;
}

MetaRow get_meta(Database &db)
{
    std::vector<MetaRow> rows = get_rows<MetaRow>(db);
    if (rows.size() != 1)
        refuse_file(db.name(), "damaged: table meta needs one row");
    return std::move(rows.front());
}

Snapshot load(const std::string &path)
{
    const std::unique_ptr<Database> db = open_snapshot(path);
    Snapshot snapshot;
    snapshot.meta = get_meta(*db);
    Requests requests;
    for (Request &row : get_rows<Request>(*db)) {
        const uint64_t number = row.number;
        if (!requests.add(std::move(row)))
            refuse_file(path, fmt::format("damaged: table request has number {} twice", number));
    }
    Snapshot::tables([&](auto rows) {
        auto &table = snapshot.*rows;
        using Row = typename std::remove_reference_t<decltype(table)>::value_type;
        table = get_rows<Row>(*db, &requests);
    });
    check_references(snapshot, path);
    return snapshot;
}

} // namespace kvnsim
