#include "sim/fwm/state_db.h"

#include <sqlite3.h>

#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kvnsim {
namespace {

/* Each table once: its name and its columns in order, of which the first ones are the key. */
template <class Row> struct Table;

template <> struct Table<PmRow> {
    static constexpr const char *name = "pm_sdb";
    /* By ifindex first: an interface's rows go together. */
    static constexpr const char *key = "ifindex, kind";
    template <class R, class F> static void columns(R &row, F &&column)
    {
        column("kind", row.kind);
        column("ifindex", row.ifindex);
        column("ifmap_idx", row.ifmap_idx);
        column("word1", row.word1);
        column("half2", row.half2);
    }
};

template <> struct Table<PcRow> {
    static constexpr const char *name = "pc_sdb";
    static constexpr const char *key = "ifindex";
    template <class R, class F> static void columns(R &row, F &&column)
    {
        column("ifindex", row.ifindex);
        column("pc_id", row.pc_id);
    }
};

template <> struct Table<L3lifRow> {
    static constexpr const char *name = "l3lif_sdb";
    static constexpr const char *key = "ifindex";
    template <class R, class F> static void columns(R &row, F &&column)
    {
        column("ifindex", row.ifindex);
        column("name", row.name);
        column("mtu", row.mtu);
        column("ipv4_ucst_en", row.ipv4_ucst_en);
        column("ipv4_mcst_en", row.ipv4_mcst_en);
        column("ipv4_same_if", row.ipv4_same_if);
        column("v4_vpn_id", row.v4_vpn_id);
        column("v6_vpn_id", row.v6_vpn_id);
        column("nat_zone", row.nat_zone);
    }
};

template <> struct Table<LabelRow> {
    static constexpr const char *name = "label_sdb";
    static constexpr const char *key = "ifindex";
    template <class R, class F> static void columns(R &row, F &&column)
    {
        column("ifindex", row.ifindex);
        column("enabled", row.enabled);
        column("svi", row.svi);
    }
};

template <> struct Table<MemberIntfRow> {
    static constexpr const char *name = "member_intf_sdb";
    static constexpr const char *key = "ifindex";
    template <class R, class F> static void columns(R &row, F &&column)
    {
        column("ifindex", row.ifindex);
        column("intf_id", row.intf_id);
    }
};

template <class Row, class F> void all_columns(Row &row, F &&column)
{
    Table<std::remove_const_t<Row>>::columns(row, column);
    column("request", row.origin.request);
    column("call", row.origin.call);
    column("origin", row.origin.text);
}

/* Binds the values of a row to a statement's parameters, in order. */
struct Binder {
    sqlite3_stmt *statement;
    int at = 0;
    template <class T> void operator()(const char *, const T &value)
    {
        if constexpr (std::is_same_v<T, std::string>)
            sqlite3_bind_text(statement, ++at, value.data(), static_cast<int>(value.size()),
                              SQLITE_STATIC);
        else
            sqlite3_bind_int64(statement, ++at, static_cast<sqlite3_int64>(value));
    }
};

/* Reads the columns of a statement's current row. */
struct Reader {
    sqlite3_stmt *statement;
    int at = 0;
    template <class T> void operator()(const char *, T &value)
    {
        const int column = at++;
        if constexpr (std::is_same_v<T, std::string>) {
            const auto *text =
                reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
            value.assign(text ? text : "",
                         static_cast<size_t>(sqlite3_column_bytes(statement, column)));
        } else {
            value = static_cast<T>(sqlite3_column_int64(statement, column));
        }
    }
};

template <class Row> std::string create_sql()
{
    std::string columns;
    Row row;
    all_columns(row, [&](const char *name, const auto &value) {
        using T = std::decay_t<decltype(value)>;
        columns += name;
        columns += std::is_same_v<T, std::string> ? " TEXT NOT NULL, " : " INTEGER NOT NULL, ";
    });
    using T = Table<Row>;
    return std::string("CREATE TABLE ") + T::name + "(" + columns + "PRIMARY KEY(" + T::key + "))";
}

template <class Row> std::string store_sql()
{
    std::string marks;
    Row row;
    all_columns(row, [&](const char *, const auto &) { marks += marks.empty() ? "?" : ",?"; });
    return std::string("INSERT OR REPLACE INTO ") + Table<Row>::name + " VALUES(" + marks + ")";
}

template <class Row> std::string select_sql()
{
    return std::string("SELECT * FROM ") + Table<Row>::name + " ORDER BY ifindex";
}

sqlite3_stmt *prepare(sqlite3 *db, const std::string &sql)
{
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v3(db, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error("shared database: " + std::string(sqlite3_errmsg(db)));
    return statement;
}

/* The statements of one table. */
template <class Row> struct Prepared {
    explicit Prepared(sqlite3 *db)
        : store(prepare(db, store_sql<Row>())), all(prepare(db, select_sql<Row>())),
          forget(prepare(db, std::string("DELETE FROM ") + Table<Row>::name + " WHERE ifindex=?")),
          clear(prepare(db, std::string("DELETE FROM ") + Table<Row>::name))
    {}
    ~Prepared()
    {
        for (sqlite3_stmt *statement : {store, all, forget, clear})
            sqlite3_finalize(statement);
    }
    Prepared(const Prepared &) = delete;
    Prepared &operator=(const Prepared &) = delete;

    sqlite3_stmt *store, *all, *forget, *clear;
};

/* Run a statement that gives no rows; true when SQLite did it. */
bool run(sqlite3_stmt *statement)
{
    const int result = sqlite3_step(statement);
    sqlite3_reset(statement);
    return result == SQLITE_DONE;
}

} // namespace

struct StateDb::Statements {
    explicit Statements(sqlite3 *db) : tables{db, db, db, db, db} {}
    std::tuple<Prepared<PmRow>, Prepared<PcRow>, Prepared<L3lifRow>, Prepared<LabelRow>,
               Prepared<MemberIntfRow>>
        tables;

    template <class Row> Prepared<Row> &of() { return std::get<Prepared<Row>>(tables); }
    template <class F> void for_each(F &&f)
    {
        std::apply([&](auto &...table) { (f(table), ...); }, tables);
    }
};

StateDb::StateDb()
{
    if (sqlite3_open_v2(":memory:", &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK)
        throw std::runtime_error("shared database: cannot be opened");
    const std::string set_up = create_sql<PmRow>() + ";" + create_sql<PcRow>() + ";" +
                               create_sql<L3lifRow>() + ";" + create_sql<LabelRow>() + ";" +
                               create_sql<MemberIntfRow>();
    if (sqlite3_exec(db_, set_up.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        throw std::runtime_error("shared database: " + std::string(sqlite3_errmsg(db_)));
    statements_ = std::make_unique<Statements>(db_);
}

StateDb::~StateDb()
{
    statements_.reset();
    sqlite3_close(db_);
}

template <class Row> bool StateDb::store_row(Row row)
{
    const Origin origin = Journal::instance().origin();
    row.origin.request = origin.request ? origin.request->number : 0;
    row.origin.call = origin.call;
    row.origin.text = origin.to_text();
    sqlite3_stmt *statement = statements_->of<Row>().store;
    all_columns(std::as_const(row), Binder{statement});
    return checked(run(statement));
}

bool StateDb::store(const PmRow &row)
{
    return store_row(row);
}
bool StateDb::store(const PcRow &row)
{
    return store_row(row);
}
bool StateDb::store(const L3lifRow &row)
{
    return store_row(row);
}
bool StateDb::store(const LabelRow &row)
{
    return store_row(row);
}
bool StateDb::store(const MemberIntfRow &row)
{
    return store_row(row);
}

template <class Row> bool StateDb::forget_row(uint32_t ifindex)
{
    sqlite3_stmt *statement = statements_->of<Row>().forget;
    sqlite3_bind_int64(statement, 1, ifindex);
    return checked(run(statement));
}

bool StateDb::forget_member_intf(uint32_t ifindex)
{
    return forget_row<MemberIntfRow>(ifindex);
}

bool StateDb::forget_interface(uint32_t ifindex)
{
    return forget_row<PmRow>(ifindex) && forget_row<PcRow>(ifindex) &&
           forget_row<L3lifRow>(ifindex) && forget_row<LabelRow>(ifindex);
}

template <class Row> void StateDb::each(const std::function<void(const Row &)> &visit) const
{
    sqlite3_stmt *statement = statements_->of<Row>().all;
    for (Row row; sqlite3_step(statement) == SQLITE_ROW; visit(row))
        all_columns(row, Reader{statement});
    sqlite3_reset(statement);
}
template void StateDb::each(const std::function<void(const PmRow &)> &) const;
template void StateDb::each(const std::function<void(const PcRow &)> &) const;
template void StateDb::each(const std::function<void(const L3lifRow &)> &) const;
template void StateDb::each(const std::function<void(const LabelRow &)> &) const;
template void StateDb::each(const std::function<void(const MemberIntfRow &)> &) const;

void StateDb::clear()
{
    statements_->for_each([](auto &table) { run(table.clear); });
    error_.clear();
}

bool StateDb::checked(bool done)
{
    if (!done)
        error_ = sqlite3_errmsg(db_);
    return done;
}

} // namespace kvnsim
