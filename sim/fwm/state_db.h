#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "sim/journal/request.h"
#include "sim/types/columns.h"

/* The shared state database: what the switch's other programs see of the interfaces. One table for
 * each kind of record, by interface index; each row has its origin. */
namespace kvnsim {

/* The port manager's record; kind 1, the only one here, binds a port to its LID's ifmap index. */
struct PmRow {
    uint32_t kind = 1, ifindex = 0;
    uint32_t ifmap_idx = 0, word1 = 0;
    uint16_t half2 = 0;
    Origin made;
    TABLE_ROW("pm_sdb", kind, ifindex, ifmap_idx, word1, half2, made)
};

/* A port-channel's identifier in the ASIC. */
struct PcRow {
    uint32_t ifindex = 0, pc_id = 0;
    Origin made;
    TABLE_ROW("pc_sdb", ifindex, pc_id, made)
};

/* An L3 interface as the L3 interface layer last published it. */
struct L3lifRow {
    uint32_t ifindex = 0;
    std::string name;
    uint32_t mtu = 0; /* bytes */
    uint32_t ipv4_ucst_en = 0, ipv4_mcst_en = 0, ipv4_same_if = 0;
    uint32_t v4_vpn_id = 0, v6_vpn_id = 0, nat_zone = 0;
    Origin made;
    TABLE_ROW("l3lif_sdb", ifindex, name, mtu, ipv4_ucst_en, ipv4_mcst_en, ipv4_same_if, v4_vpn_id,
              v6_vpn_id, nat_zone, made)
};

/* An interface's L3 label, set up or reset. */
struct LabelRow {
    uint32_t ifindex = 0;
    bool enabled = false, svi = false;
    Origin made;
    TABLE_ROW("label_sdb", ifindex, enabled, svi, made)
};

/* The SDK interface kept for a port's port-channel membership. */
struct MemberIntfRow {
    uint32_t ifindex = 0, intf_id = 0;
    Origin made;
    TABLE_ROW("member_intf_sdb", ifindex, intf_id, made)
};

class StateDb {
public:
    /* Replace the interface's row; its origin is that of what is made now, whatever it had. */
    template <class Row> void store(Row row)
    {
        row.made = Origin::now();
        Table<Row> &rows = table<Row>();
        /* New interfaces mostly have the highest index of all. */
        rows.insert_or_assign(rows.end(), row.ifindex, std::move(row));
    }
    /* Put a row back as it was; false, and nothing done, when its interface has one. */
    template <class Row> bool put_back(const Row &row)
    {
        return table<Row>().emplace(row.ifindex, row).second;
    }
    template <class Row> bool has(uint32_t ifindex) const
    {
        return std::get<Table<Row>>(tables_).count(ifindex) != 0;
    }
    void forget_member_intf(uint32_t ifindex) { table<MemberIntfRow>().erase(ifindex); }
    /* Remove the interface's rows from all tables but member_intf_sdb. */
    void forget_interface(uint32_t ifindex)
    {
        table<PmRow>().erase(ifindex);
        table<PcRow>().erase(ifindex);
        table<L3lifRow>().erase(ifindex);
        table<LabelRow>().erase(ifindex);
    }

    /* Call visit for each row of that type, by ifindex. */
    template <class Row> void each(const std::function<void(const Row &)> &visit) const
    {
        for (const auto &[ifindex, row] : std::get<Table<Row>>(tables_))
            visit(row);
    }
    /* The same as copies. */
    template <class Row> std::vector<Row> rows() const
    {
        std::vector<Row> all;
        each<Row>([&](const Row &row) { all.push_back(row); });
        return all;
    }
    void clear() { tables_ = {}; }

private:
    template <class Row> using Table = std::map<uint32_t, Row>;
    template <class Row> Table<Row> &table() { return std::get<Table<Row>>(tables_); }

    std::tuple<Table<PmRow>, Table<PcRow>, Table<L3lifRow>, Table<LabelRow>, Table<MemberIntfRow>>
        tables_;
};

} // namespace kvnsim
