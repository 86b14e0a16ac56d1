#include <cerrno>
#include <climits>
#include <cstring>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <sqlite3.h>

#include "sim/config/names.h"
#include "sim/state/file_in_making.h"
#include "sim/state/rows.h"
#include "sim/state/snapshot.h"

/* A snapshot as an SQLite file: a table for each row type. */
namespace kvnsim {
namespace {

constexpr int application_id = 0x4b564e53; /* "KVNS", in the file's header */
constexpr int format_version = 3;

[[noreturn]] void fail(const std::string &path, const std::string &reason)
{
    throw SnapshotError(path + ": " + reason);
}

/* ---- The SQL of a row type, from its columns ---- */

/* The SQL columns of a member: most have one. */
template <class T, class Visit> void sql_columns(const std::string &name, const T *, Visit &&visit)
{
    visit(name);
}
template <class Visit>
void sql_columns(const std::string &name, const SourceLocation *, Visit &&visit)
{
    for (const char *part : {"_file", "_line", "_column", "_table", "_key"})
        visit(name + part);
}
template <class Visit> void sql_columns(const std::string &name, const Made *, Visit &&visit)
{
    for (const char *part : {"_request", "_call"})
        visit(name + part);
}

template <class Row> std::vector<std::string> column_names()
{
    std::vector<std::string> names;
    Row::columns([&](const char *name, auto member) {
        const Row *row = nullptr;
        using Member = std::remove_cv_t<std::remove_reference_t<decltype(row->*member)>>;
        sql_columns(name, static_cast<const Member *>(nullptr),
                    [&](const std::string &column) { names.push_back('"' + column + '"'); });
    });
    return names;
}

template <class Row> std::string create_sql()
{
    return fmt::format("CREATE TABLE \"{}\" ({})", Row::table,
                       fmt::join(column_names<Row>(), ", "));
}
template <class Row> std::string insert_sql()
{
    const auto names = column_names<Row>();
    return fmt::format("INSERT INTO \"{}\" VALUES ({})", Row::table,
                       fmt::join(std::vector<const char *>(names.size(), "?"), ", "));
}
template <class Row> std::string select_sql()
{
    return fmt::format("SELECT {} FROM \"{}\" ORDER BY rowid", fmt::join(column_names<Row>(), ", "),
                       Row::table);
}

/* ---- SQLite ---- */

class Database {
public:
    Database(const std::string &path, int flags, const std::string &name)
        : name_(name), trouble_(flags & SQLITE_OPEN_READONLY ? "damaged: " : "cannot be written: ")
    {
        const int status = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
        if (status != SQLITE_OK) {
            const std::string reason = db_ != nullptr ? sqlite3_errmsg(db_) : "no memory";
            sqlite3_close(db_);
            fail(name_, trouble_ + reason);
        }
    }
    ~Database() { sqlite3_close(db_); }
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    void run(const std::string &sql)
    {
        if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
            refuse();
    }
    int number(const char *pragma);
    [[noreturn]] void refuse() { fail(name_, trouble_ + sqlite3_errmsg(db_)); }
    const std::string &name() const { return name_; }

private:
    friend class Statement;
    sqlite3 *db_ = nullptr;
    std::string name_, trouble_;
};

class Statement {
public:
    Statement(Database &db, const std::string &sql) : db_(db)
    {
        if (sqlite3_prepare_v2(db.db_, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK)
            db.refuse();
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /* To the next row; false at the end. */
    bool step()
    {
        const int status = sqlite3_step(statement_);
        if (status != SQLITE_ROW && status != SQLITE_DONE)
            db_.refuse();
        at_ = 0;
        return status == SQLITE_ROW;
    }
    void again()
    {
        sqlite3_reset(statement_);
        at_ = 0;
    }

    template <class T> std::enable_if_t<std::is_integral_v<T>> put(T number)
    {
        check(sqlite3_bind_int64(statement_, ++at_, static_cast<sqlite3_int64>(number)));
    }
    void put(std::string_view text)
    {
        check(sqlite3_bind_text(statement_, ++at_, text.data(), static_cast<int>(text.size()),
                                SQLITE_TRANSIENT));
    }
    void put(const std::string &text) { put(std::string_view(text)); }
    void put(const Mac &mac) { put(to_text(mac)); }
    void put(const std::optional<uint32_t> &number)
    {
        if (number)
            put(*number);
        else
            check(sqlite3_bind_null(statement_, ++at_));
    }
    void put(const SourceLocation &location)
    {
        put(location.file);
        put(location.line);
        put(location.column);
        put(location.table);
        put(location.key);
    }
    void put(const Made &made)
    {
        put(made.request);
        put(std::string_view(made.call));
    }

    template <class T> std::enable_if_t<std::is_integral_v<T>> get(T &number)
    {
        expect(SQLITE_INTEGER);
        const sqlite3_int64 value = sqlite3_column_int64(statement_, at_++);
        if constexpr (sizeof(T) < sizeof value) {
            if (value < 0 || value > static_cast<sqlite3_int64>(std::numeric_limits<T>::max()))
                damaged(at_ - 1);
        }
        number = static_cast<T>(value);
    }
    void get(std::string &text)
    {
        expect(SQLITE_TEXT);
        const auto *data = reinterpret_cast<const char *>(sqlite3_column_text(statement_, at_));
        text.assign(data, static_cast<size_t>(sqlite3_column_bytes(statement_, at_)));
        ++at_;
    }
    void get(std::string_view &word)
    {
        std::string text;
        get(text);
        word = lasting(text);
    }
    void get(Mac &mac)
    {
        std::string text;
        get(text);
        const std::optional<Mac> read = parse_mac(text);
        if (!read)
            damaged(at_ - 1);
        mac = *read;
    }
    void get(std::optional<uint32_t> &number)
    {
        if (sqlite3_column_type(statement_, at_) == SQLITE_NULL) {
            number.reset();
            ++at_;
        } else {
            get(number.emplace());
        }
    }
    void get(SourceLocation &location)
    {
        get(location.file);
        get(location.line);
        get(location.column);
        get(location.table);
        get(location.key);
    }
    void get(Made &made)
    {
        get(made.request);
        std::string call;
        get(call);
        made.call = lasting(call);
    }

private:
    void check(int status)
    {
        if (status != SQLITE_OK)
            db_.refuse();
    }
    void expect(int type)
    {
        if (sqlite3_column_type(statement_, at_) != type)
            damaged(at_);
    }
    [[noreturn]] void damaged(int column)
    {
        fail(db_.name(), fmt::format("damaged: {} holds no such value",
                                     sqlite3_column_name(statement_, column)));
    }

    Database &db_;
    sqlite3_stmt *statement_ = nullptr;
    int at_ = 0;
};

int Database::number(const char *pragma)
{
    Statement asked(*this, std::string("PRAGMA ") + pragma);
    int answer = 0;
    if (asked.step())
        asked.get(answer);
    return answer;
}

template <class Row> void put_rows(Database &db, const std::vector<Row> &rows)
{
    db.run(create_sql<Row>());
    Statement insert(db, insert_sql<Row>());
    for (const Row &row : rows) {
        Row::columns([&](const char *, auto member) { insert.put(row.*member); });
        insert.step();
        insert.again();
    }
}

template <class Row> std::vector<Row> get_rows(Database &db)
{
    std::vector<Row> rows;
    Statement select(db, select_sql<Row>());
    while (select.step()) {
        Row &row = rows.emplace_back();
        Row::columns([&](const char *, auto member) { select.get(row.*member); });
    }
    return rows;
}

/* ---- Files ---- */

/* Why the file is no snapshot, empty if it is one as far as its header says. */
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
    /* SQLite's header: 16 bytes that say so, and the application in 4 bytes at 68. */
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

/* Name is how the file is called in messages. */
void write(const Snapshot &snapshot, const std::string &path, const std::string &name)
{
    Database db(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, name);
    /* Nobody sees the file before it is whole, so that SQLite need not guard it. */
    db.run("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE");
    db.run(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}", application_id,
                       format_version));
    db.run("BEGIN");
    put_rows(db, std::vector<MetaRow>{snapshot.meta});
    Snapshot::tables([&](auto rows) { put_rows(db, snapshot.*rows); });
    db.run("COMMIT");
}

} // namespace

void check_can_save(const std::string &path)
{
    if (is_absent_or_empty(path)) {
        const size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        if (::access(folder.c_str(), W_OK | X_OK) != 0)
            fail(path, "cannot be written: " + folder + ": " + std::strerror(errno));
        return;
    }
    const std::string why_not = why_not_snapshot(path);
    if (!why_not.empty())
        fail(path, why_not + ", and is not overwritten");
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

Snapshot load(const std::string &path)
{
    const std::string why_not = why_not_snapshot(path);
    if (!why_not.empty())
        fail(path, why_not);
    Database db(path, SQLITE_OPEN_READONLY, path);
    if (const int version = db.number("user_version"); version != format_version)
        fail(path,
             fmt::format("has format {}; this kvnsim reads format {}", version, format_version));
    Snapshot snapshot;
    const auto meta = get_rows<MetaRow>(db);
    if (meta.size() != 1)
        fail(path, "damaged: table meta needs one row");
    snapshot.meta = meta.front();
    Snapshot::tables([&](auto rows) {
        auto &table = snapshot.*rows;
        table = get_rows<typename std::remove_reference_t<decltype(table)>::value_type>(db);
    });
    return snapshot;
}

} // namespace kvnsim
