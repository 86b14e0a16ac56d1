#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <sqlite3.h>

#include "sim/config/names.h"
#include "sim/state/snapshot.h"

/* The SQLite file of a snapshot: a table for each row type, whose SQL follows from its columns. For
 * those who write it, read it, or read a part of it. */
namespace kvnsim {

/* Throws SnapshotError: "FILE: reason". */
[[noreturn]] void refuse_file(const std::string &path, const std::string &reason);

/* The word (such as a call's name), valid for the life of the process. */
const char *lasting(std::string_view word);

/* ---- The SQL of a row type, from its columns ---- */

/* Types stored in several SQL columns, each named COLUMN_PART. */
template <class T> constexpr std::string_view parts_of = {};
template <>
inline constexpr std::string_view parts_of<SourceLocation> = SourceLocation::column_names;
template <>
inline constexpr std::string_view parts_of<std::optional<SourceLocation>> =
    SourceLocation::column_names;
template <> inline constexpr std::string_view parts_of<Origin> = "request, call";

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
        /* Nobody asks how much memory SQLite uses, and counting it takes a mutex each time. */
        [[maybe_unused]] static const int uncounted = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
        /* Otherwise "file:" and ":memory:" would be more than names. */
        const std::string plain = path[0] == '/' ? path : "./" + path;
        /* One thread uses it: no mutex. */
        const int status =
            sqlite3_open_v2(plain.c_str(), &db_, flags | SQLITE_OPEN_NOMUTEX, nullptr);
        if (status != SQLITE_OK) {
            if (db_ == nullptr)
                throw std::bad_alloc();
            const std::string problem = this->problem();
            sqlite3_close(db_);
            refuse_file(name_, problem);
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
        refuse_file(name_, problem());
    }
    /* A view or a virtual table of that name could answer without an end. */
    void require_plain(const char *table);
    const std::string &name() const { return name_; }

private:
    friend class Statement;
    /* The system's own reason says more than SQLite's, and is no damage. */
    std::string problem() const;

    sqlite3 *db_ = nullptr;
    const bool is_read_;
    std::string name_, trouble_;
    std::optional<std::vector<std::string>> not_plain_; /* once asked for */
};

/* The requests that rows name, each stored once: rows share one object after loading, too. */
class Requests {
public:
    Requests() = default;
    virtual ~Requests() = default;
    Requests(const Requests &) = delete;
    Requests &operator=(const Requests &) = delete;

    void add(const Origin &origin)
    {
        const bool any = at_ != by_number_.end();
        if (origin.request == nullptr || (any && at_->second == origin.request))
            return;
        at_ = by_number_.try_emplace(any ? std::next(at_) : at_, origin.request->number,
                                     origin.request);
    }
    template <class T> void add(const T &) {} /* other columns name no request */
    /* false when there is one of that number. */
    bool add(Request row)
    {
        const uint64_t number = row.number;
        return by_number_.emplace(number, std::make_shared<const Request>(std::move(row))).second;
    }
    /* nullptr when there is none. */
    virtual RequestRef find(uint64_t number)
    {
        const auto at = by_number_.find(number);
        return at != by_number_.end() ? at->second : nullptr;
    }
    /* Call visit for each, in the order of their numbers. */
    template <class Visit> void each(const Visit &visit) const
    {
        for (const auto &[number, request] : by_number_)
            visit(*request);
    }

private:
    using ByNumber = std::map<uint64_t, RequestRef>;
    ByNumber by_number_;
    /* The one added last: the next row often has the same request, or the one after it. */
    ByNumber::iterator at_ = by_number_.end();
};

class Statement {
public:
    /* table: for error messages. An origin that is read must name one of the requests. */
    Statement(Database &db, const std::string &sql, const char *table = "",
              Requests *requests = nullptr)
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

    /* A value that stays where it is until again(). */
    template <class T> void put(const T &value)
    {
        if constexpr (std::is_integral_v<T>)
            check(sqlite3_bind_int64(statement_, ++at_, static_cast<sqlite3_int64>(value)));
        else if constexpr (std::is_enum_v<T>)
            put_text(to_text(value), SQLITE_STATIC);
        else
            put_text(value, SQLITE_STATIC);
    }
    void put(const Cause &cause) { put_text(cause.to_text(), SQLITE_TRANSIENT); }
    void put(const RequestArguments &arguments) { put_text(arguments.to_text(), SQLITE_TRANSIENT); }
    void put(const Mac &mac) { put_text(to_text(mac), SQLITE_TRANSIENT); }
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
    void put(const SourceLocation &location)
    {
        put(location.file());
        put(location.line);
        put(location.column);
        put(location.table());
        put(location.key());
    }
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
    void get(Cause &cause) { cause = next_text(); }
    void get(RequestArguments &arguments) { arguments = next_text(); }
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
    void get(SourceLocation &location)
    {
        std::string file, table, key;
        uint32_t line = 0, column = 0;
        get(file);
        get(line);
        get(column);
        get(table);
        get(key);
        const bool is_same_table = file == last_.file() && table == last_.table();
        location = is_same_table ? SourceLocation(last_, line, column, std::move(key))
                                 : SourceLocation(std::move(file), line, column, std::move(table),
                                                  std::move(key));
        last_ = location;
    }
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
    void put_text(std::string_view text, sqlite3_destructor_type life)
    {
        check(
            sqlite3_bind_text(statement_, ++at_, text.data(), static_cast<int>(text.size()), life));
    }
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
        refuse_file(db_.name(), fmt::format("damaged: invalid value in column {} of table {}",
                                            sqlite3_column_name(statement_, column), table_));
    }

    Database &db_;
    const char *table_;
    Requests *requests_;
    sqlite3_stmt *statement_ = nullptr;
    int at_ = 0;
    SourceLocation last_; /* that was read: consecutive rows often share a table */
};

template <class Row> std::vector<Row> get_rows(Database &db, Requests *requests = nullptr)
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

/* A saved snapshot, opened for reading: its header and format are checked. Throws SnapshotError. */
std::unique_ptr<Database> open_snapshot(const std::string &path);
MetaRow get_meta(Database &db);

} // namespace kvnsim
