/* A snapshot as an SQLite file: a table for each row type, whose SQL follows from its columns. What
 * is loaded equals what was saved; every value is checked on the way in, so a damaged file is
 * reported, never half loaded. The file is written under another name and renamed when complete. */
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <sqlite3.h>

#include "sim/config/names.h"
#include "sim/state/file_in_making.h"
#include "sim/state/restore.h"
#include "sim/state/snapshot.h"

namespace kvnsim {
namespace {

constexpr int application_id = 0x4b564e53; /* "KVNS", in the file's header */
constexpr int format_version = 4;

[[noreturn]] void fail(const std::string &path, const std::string &reason)
{
    throw SnapshotError(path + ": " + reason);
}

/* The word (such as a call's name), valid for the life of the process. */
const char *lasting(std::string_view word)
{
    if (const ImportedCall *known = ImportedCall::find(word))
        return known->name();
    static std::set<std::string, std::less<>> others;
    const auto at = others.find(word);
    return (at != others.end() ? at : others.emplace(word).first)->c_str();
}

/* ---- The SQL of a row type, from its columns ---- */

/* Types stored in several SQL columns, each named COLUMN_PART. */
template <class T> constexpr std::string_view parts_of = {};
template <> constexpr std::string_view parts_of<SourceLocation> = SourceLocation::column_names;
template <>
constexpr std::string_view parts_of<std::optional<SourceLocation>> = SourceLocation::column_names;
template <> constexpr std::string_view parts_of<Origin> = "request, call";

template <class Row> std::vector<std::string> column_names()
{
    std::vector<std::string> names;
    Row row;
    each_column(row, [&](std::string_view name, const auto &value) {
        std::string_view parts = parts_of<std::decay_t<decltype(value)>>;
        if (parts.empty())
            names.push_back(fmt::format("\"{}\"", name));
        while (!parts.empty())
            names.push_back(fmt::format("\"{}_{}\"", name, next_name(parts)));
    });
    return names;
}

/* How many SQL columns a value fills. */
template <class T> int width_of()
{
    return 1 + static_cast<int>(std::count(parts_of<T>.begin(), parts_of<T>.end(), ','));
}

/* ---- SQLite ---- */

/* Bytes of a text or blob. */
constexpr int longest_value = 64 << 20;

class Database {
public:
    Database(const std::string &path, int flags, const std::string &name)
        : is_read_(flags & SQLITE_OPEN_READONLY), name_(name),
          trouble_(is_read_ ? "damaged: " : "cannot be written: ")
    {
        /* Otherwise "file:" and ":memory:" would be more than names. */
        const std::string plain = path[0] == '/' ? path : "./" + path;
        const int status = sqlite3_open_v2(plain.c_str(), &db_, flags, nullptr);
        if (status != SQLITE_OK) {
            if (db_ == nullptr)
                throw std::bad_alloc();
            const std::string problem = this->problem();
            sqlite3_close(db_);
            fail(name_, problem);
        }
        sqlite3_limit(db_, SQLITE_LIMIT_LENGTH, longest_value);
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
    [[noreturn]] void refuse()
    {
        if (sqlite3_errcode(db_) == SQLITE_NOMEM)
            throw std::bad_alloc();
        fail(name_, problem());
    }
    /* A view or a virtual table of that name could answer without an end. */
    void require_plain(const char *table);
    const std::string &name() const { return name_; }

private:
    friend class Statement;
    /* The system's own reason says more than SQLite's, and is no damage. */
    std::string problem() const
    {
        const std::string message = trouble_ + sqlite3_errmsg(db_);
        int reason = 0;
        if (sqlite3_errcode(db_) == SQLITE_CANTOPEN)
            reason = sqlite3_system_errno(db_);
        else if (sqlite3_errcode(db_) == SQLITE_IOERR)
            sqlite3_file_control(db_, nullptr, SQLITE_FCNTL_LAST_ERRNO, &reason);
        if (reason == 0)
            return message;
        return (is_read_ ? "cannot be read: " : trouble_) + std::strerror(reason);
    }

    sqlite3 *db_ = nullptr;
    const bool is_read_;
    std::string name_, trouble_;
};

/* The requests that rows name, each stored once: rows share one object after loading, too. */
class Requests {
public:
    void add(const Origin &origin)
    {
        if (origin.request && last_ != origin.request.get())
            by_number_.emplace(origin.request->number, origin.request);
        last_ = origin.request.get();
    }
    template <class T> void add(const T &) {} /* other columns name no request */
    /* false when there is one of that number. */
    bool add(Request row)
    {
        const uint64_t number = row.number;
        return by_number_.emplace(number, std::make_shared<const Request>(std::move(row))).second;
    }
    RequestRef find(uint64_t number) const
    {
        const auto at = by_number_.find(number);
        return at != by_number_.end() ? at->second : nullptr;
    }
    std::vector<Request> rows() const
    {
        std::vector<Request> rows;
        for (const auto &[number, request] : by_number_)
            rows.push_back(*request);
        return rows;
    }

private:
    std::map<uint64_t, RequestRef> by_number_;
    const Request *last_ = nullptr; /* consecutive rows often share a request */
};

class Statement {
public:
    /* table: for error messages. An origin that is read must name one of the requests. */
    Statement(Database &db, const std::string &sql, const char *table = "",
              const Requests *requests = nullptr)
        : db_(db), table_(table), requests_(requests)
    {
        if (sqlite3_prepare_v2(db.db_, sql.c_str(), -1, &statement_, nullptr) != SQLITE_OK)
            db.refuse();
    }
    ~Statement() { sqlite3_finalize(statement_); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    /* Moves to the next row; false at the end. */
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

    template <class T> void put(const T &value)
    {
        if constexpr (std::is_integral_v<T>) {
            check(sqlite3_bind_int64(statement_, ++at_, static_cast<sqlite3_int64>(value)));
        } else if constexpr (std::is_enum_v<T>) {
            put(std::string_view(to_text(value)));
        } else {
            const std::string_view text = value;
            check(sqlite3_bind_text(statement_, ++at_, text.data(), static_cast<int>(text.size()),
                                    SQLITE_TRANSIENT));
        }
    }
    void put(const Mac &mac) { put(to_text(mac)); }
    template <class T> void put(const std::optional<T> &value)
    {
        if (value)
            return put(*value);
        for (int i = 0; i < width_of<std::optional<T>>(); ++i)
            check(sqlite3_bind_null(statement_, ++at_));
    }
    template <class Row> void put_row(const Row &row)
    {
        std::apply([&](const auto &...value) { (put(value), ...); }, row.columns());
    }
    void put(const SourceLocation &location) { put_row(location); }
    void put(const Origin &origin)
    {
        put(origin.number());
        put(origin.call);
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
        if (data == nullptr)
            throw std::bad_alloc();
        text.assign(data, static_cast<size_t>(sqlite3_column_bytes(statement_, at_)));
        ++at_;
    }
    void get(std::string_view &word) { word = lasting(next_text()); }
    void get(const char *&word) { word = lasting(next_text()); }
    void get(Mac &mac)
    {
        const std::optional<Mac> read = parse_mac(next_text());
        if (!read)
            damaged(at_ - 1);
        mac = *read;
    }
    template <class T> void get(std::optional<T> &value)
    {
        if (sqlite3_column_type(statement_, at_) != SQLITE_NULL)
            return get(value.emplace());
        value.reset();
        at_ += width_of<std::optional<T>>();
    }
    template <class Row> void get_row(Row &row)
    {
        std::apply([&](auto &...value) { (get(value), ...); }, row.columns());
    }
    void get(SourceLocation &location) { get_row(location); }
    void get(InterfaceKind &kind) { get_enum(kind, interface_kind_names); }
    void get(Finding::Severity &severity) { get_enum(severity, severity_names); }
    void get(StepKind &step) { get_enum(step, step_kind_names); }
    void get(Origin &origin)
    {
        uint64_t number = 0;
        get(number);
        origin.request = requests_->find(number);
        if (number != 0 && origin.request == nullptr)
            damaged(at_ - 1);
        get(origin.call);
    }

private:
    std::string next_text()
    {
        std::string text;
        get(text);
        return text;
    }
    template <class E, size_t count> void get_enum(E &value, const char *const (&names)[count])
    {
        const auto at = std::find(std::begin(names), std::end(names), next_text());
        if (at == std::end(names))
            damaged(at_ - 1);
        value = static_cast<E>(at - std::begin(names));
    }
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
        fail(db_.name(), fmt::format("damaged: invalid value in column {} of table {}",
                                     sqlite3_column_name(statement_, column), table_));
    }

    Database &db_;
    const char *table_;
    const Requests *requests_;
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

void Database::require_plain(const char *table)
{
    Statement asked(*this,
                    fmt::format("SELECT ifnull(type = 'table' AND sql LIKE 'CREATE TABLE %', 0) "
                                "FROM sqlite_schema WHERE name = '{}'",
                                table));
    int is_plain = 1;
    if (asked.step())
        asked.get(is_plain);
    if (is_plain == 0)
        fail(name_, fmt::format("{}{} is no plain table", trouble_, table));
}

template <class Row> void put_rows(Database &db, const std::vector<Row> &rows)
{
    const std::vector<std::string> columns = column_names<Row>();
    db.run(fmt::format("CREATE TABLE \"{}\" ({})", Row::table, fmt::join(columns, ", ")));
    Statement insert(db,
                     fmt::format("INSERT INTO \"{}\" VALUES ({})", Row::table,
                                 fmt::join(std::vector<const char *>(columns.size(), "?"), ", ")));
    for (const Row &row : rows) {
        insert.put_row(row);
        insert.step();
        insert.again();
    }
}

template <class Row> std::vector<Row> get_rows(Database &db, const Requests *requests = nullptr)
{
    db.require_plain(Row::table);
    std::vector<Row> rows;
    Statement select(db,
                     fmt::format("SELECT {} FROM \"{}\" ORDER BY rowid",
                                 fmt::join(column_names<Row>(), ", "), Row::table),
                     Row::table, requests);
    while (select.step())
        select.get_row(rows.emplace_back());
    return rows;
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
    put_rows(db, requests.rows());
    db.run("COMMIT");
}

} // namespace

void check_can_save(const std::string &path)
{
    if (!is_absent_or_empty(path)) {
        const std::string why_not = why_not_snapshot(path);
        if (!why_not.empty())
            fail(path, why_not + ", and is not overwritten");
    }
    if (::access(path.c_str(), W_OK) != 0 && errno != ENOENT)
        fail(path, std::string("cannot be written: ") + std::strerror(errno));
    const std::string folder = FileInMaking::folder_of(path);
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        fail(path, "cannot be written: " + folder + ": " + std::strerror(errno));
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
    Requests requests;
    for (const Request &row : get_rows<Request>(db)) {
        if (!requests.add(row))
            fail(path, fmt::format("damaged: table request has number {} twice", row.number));
    }
    Snapshot::tables([&](auto rows) {
        auto &table = snapshot.*rows;
        using Row = typename std::remove_reference_t<decltype(table)>::value_type;
        table = get_rows<Row>(db, &requests);
    });
    check_references(snapshot, path);
    return snapshot;
}

} // namespace kvnsim
