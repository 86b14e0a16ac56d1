#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sim/journal/journal.h"

struct sqlite3;

/* The shared state database: what the switch's other programs see of the interfaces. SQLite, in
 * memory, one table for each kind of record, keyed by the interface index. */
namespace kvnsim {

/* Who wrote a row. */
struct RowOrigin {
    uint64_t request = 0; /* 0: before any request */
    std::string call;     /* the imported call: "fwm_pm_sdb_store" */
    std::string text;     /* Origin::to_text() */
};

/* pm_sdb: the port manager's record; kind 1, the only one here, binds a port to its LID's ifmap
 * index. */
struct PmRow {
    uint32_t kind = 1, ifindex = 0;
    uint32_t ifmap_idx = 0, word1 = 0;
    uint16_t half2 = 0;
    RowOrigin origin;
};

/* pc_sdb: a port-channel's identifier in the ASIC. */
struct PcRow {
    uint32_t ifindex = 0, pc_id = 0;
    RowOrigin origin;
};

/* l3lif_sdb: an L3 interface as the L3 interface layer last published it. */
struct L3lifRow {
    uint32_t ifindex = 0;
    std::string name;
    uint32_t mtu = 0; /* bytes */
    uint32_t ipv4_ucst_en = 0, ipv4_mcst_en = 0, ipv4_same_if = 0;
    uint32_t v4_vpn_id = 0, v6_vpn_id = 0, nat_zone = 0;
    RowOrigin origin;
};

/* label_sdb: an interface's L3 label, set up or reset. */
struct LabelRow {
    uint32_t ifindex = 0;
    bool enabled = false, svi = false;
    RowOrigin origin;
};

/* member_intf_sdb: the SDK interface kept for a port's port-channel membership. */
struct MemberIntfRow {
    uint32_t ifindex = 0, intf_id = 0;
    RowOrigin origin;
};

/* A store replaces the row under the same key and marks it with Journal::origin(). Each store
 * stands by itself: one that fails takes no other with it. Stores answer false when SQLite refuses,
 * with the reason in error(). */
class StateDb {
public:
    StateDb(); /* empty; std::runtime_error when SQLite has no memory */
    ~StateDb();
    StateDb(const StateDb &) = delete;
    StateDb &operator=(const StateDb &) = delete;

    /* The origin of the row that is handed in is not used. */
    bool store(const PmRow &row);
    bool store(const PcRow &row);
    bool store(const L3lifRow &row);
    bool store(const LabelRow &row);
    bool store(const MemberIntfRow &row);

    bool forget_member_intf(uint32_t ifindex);
    /* Remove the interface's rows from all tables but member_intf_sdb. */
    bool forget_interface(uint32_t ifindex);

    /* Call visit for each row of that kind, by ifindex; the row lasts until it returns. */
    template <class Row> void each(const std::function<void(const Row &)> &visit) const;
    /* All rows of that kind, by ifindex. */
    template <class Row> std::vector<Row> rows() const
    {
        std::vector<Row> found;
        each<Row>([&](const Row &row) { found.push_back(row); });
        return found;
    }

    void clear();                                       /* no rows */
    const std::string &error() const { return error_; } /* of the last refusal */

private:
    struct Statements;
    template <class Row> bool store_row(Row row);
    template <class Row> bool forget_row(uint32_t ifindex);
    bool checked(bool done);

    sqlite3 *db_ = nullptr;
    std::unique_ptr<Statements> statements_;
    std::string error_;
};

} // namespace kvnsim
