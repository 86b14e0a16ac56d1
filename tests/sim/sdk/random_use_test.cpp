/* Any sequence of calls: each result is compared with what the tables, read row by row, say that it
 * must be. */
#include <algorithm>
#include <set>
#include <string_view>

#include <rapidcheck.h>

#include "device.h"

using namespace kvnsim;

namespace {

/* Few of each, so that calls meet: every identifier and place is used again and again. */
constexpr uint32_t few = 4;
constexpr uint32_t table_limit = 6;
constexpr uint32_t attribute_limit = 4, path_limit = 3; /* of LID bindings and paths */

template <class Rows, class Test> bool any(const Rows &rows, Test test)
{
    return std::any_of(rows.begin(), rows.end(), test);
}

template <class Rows, class Id> uint32_t lowest_free(const Rows &rows, Id id)
{
    uint32_t lowest = 1;
    for (const auto &row : rows)
        lowest += row.*id == lowest;
    return lowest;
}

class Model {
public:
    void step()
    {
        const auto step = *rc::gen::element(
            &Model::create_port, &Model::create_channel_interface, &Model::create_sub_interface,
            &Model::create_svi, &Model::destroy_interface, &Model::bind, &Model::queue,
            &Model::flush, &Model::create_lid, &Model::destroy_lid, &Model::add_path,
            &Model::add_port_path, &Model::create_channel, &Model::destroy_channel,
            &Model::add_member, &Model::delete_member, &Model::create_trap, &Model::destroy_trap);
        (this->*step)();
        for (const TableUse &table : asic.rows<TableUse>()) {
            RC_ASSERT(table.used <= table.high_water);
            RC_ASSERT(table.used <= table.capacity);
        }
        walk<IntfRow>([](const IntfRow &row) -> RowKey { return {row.intf_id, 0}; });
        walk<AttributeValueRow>([](const AttributeValueRow &row) -> RowKey {
            return {row.intf_id, row.number};
        });
        walk<LidPathRow>([](const LidPathRow &row) -> RowKey {
            return {row.lid_id, row.position + 1};
        });
        walk<MemberRow>([](const MemberRow &row) -> RowKey { return {row.pc_id, row.front_port}; });
        walk<PendingRow>([](const PendingRow &row) -> RowKey { return {row.position + 1, 0}; });
        RC_ASSERT(use_of("attr") == attributes_written());
        RC_ASSERT(use_of("path") == paths());
    }

    /* Take down everything, referrers first: nothing may stand in the way. */
    void destroy_all()
    {
        asic.batch_flush();
        for (const TrapRow &row : asic.rows<TrapRow>())
            RC_ASSERT(asic.trap_destroy(row.mac_trap_id) == SDK_E_NONE);
        std::vector<uint32_t> ids;
        while (!(ids = destroyable_interfaces()).empty()) {
            for (const uint32_t id : ids)
                RC_ASSERT(asic.intf_destroy(id) == SDK_E_NONE);
        }
        for (const LidRow &row : asic.rows<LidRow>())
            RC_ASSERT(asic.lid_destroy(row.lid_id) == SDK_E_NONE);
        for (const PortChannelRow &row : asic.rows<PortChannelRow>()) {
            for (const MemberRow &member : rows_of(asic, &MemberRow::pc_id, row.pc_id))
                RC_ASSERT(asic.member_delete(row.pc_id, mask_of({member.front_port})) ==
                          SDK_E_NONE);
            RC_ASSERT(asic.portchannel_destroy(row.pc_id) == SDK_E_NONE);
        }
        for (const TableUse &table : asic.rows<TableUse>())
            RC_ASSERT(table.used == 0u);
    }

    Asic asic;

private:
    /* A walk from row to row gives the rows that there are, in their order. */
    template <class Row, class KeyOf> void walk(const KeyOf &key_of)
    {
        RowKey key;
        for (const Row &row : asic.rows<Row>()) {
            const Row *next = asic.after<Row>(key);
            RC_ASSERT(next != nullptr);
            RC_ASSERT(next->columns() == row.columns());
            key = key_of(row);
        }
        RC_ASSERT(asic.after<Row>(key) == nullptr);
    }
    /* Whether the ASIC says that something keeps the object from being destroyed. */
    bool has_holder(uint32_t kind, uint32_t id)
    {
        bool has = false;
        asic.each_holder({kind, id}, [&](const SdkObject &) { has = true; });
        return has;
    }

    static uint32_t pick() { return *rc::gen::inRange<uint32_t>(1, few + 1); }
    static uint32_t pick_id() { return *rc::gen::inRange<uint32_t>(0, table_limit + 2); }

    /* refusal: for what the parameters name, SDK_E_NONE when it is as it must be. */
    void create_interface(uint32_t type, const sdk_intf_create_params &params, SdkStatus refusal)
    {
        const auto rows = asic.rows<IntfRow>();
        const bool twin = any(rows, [&](const IntfRow &row) {
            return row.type == type && row.param1 == params.param1 && row.param2 == params.param2 &&
                   row.param3 == params.param3;
        });
        uint32_t id = 0;
        const SdkStatus status = asic.intf_create(type, params, id);
        RC_ASSERT(status == (refusal != SDK_E_NONE        ? refusal
                             : twin                       ? SDK_E_EXISTS
                             : rows.size() == table_limit ? SDK_E_FULL
                                                          : SDK_E_NONE));
        RC_ASSERT(id == (status == SDK_E_NONE ? lowest_free(rows, &IntfRow::intf_id) : 0));
    }
    void create_port()
    {
        const uint32_t port = pick();
        create_interface(1, {port, 0, 0, 0, 0}, is_any_member(port) ? SDK_E_BUSY : SDK_E_NONE);
    }
    void create_svi() { create_interface(3, {pick(), 0, 0, 0, 0}, SDK_E_NONE); }
    void create_channel_interface()
    {
        const uint32_t pc_id = pick_id();
        create_interface(1, {pc_id, 0, 1, 0, 0},
                         asic.find_port_channel(pc_id) ? SDK_E_NONE : SDK_E_NOT_FOUND);
    }
    void create_sub_interface()
    {
        const uint32_t parent = pick_id();
        const auto row = asic.find_interface(parent);
        create_interface(2, {parent, pick(), 0, 0, 0},
                         !row                           ? SDK_E_NOT_FOUND
                         : row->type != sdk_routed_port ? SDK_E_PARAM
                                                        : SDK_E_NONE);
    }

    bool interface_is_held(uint32_t id)
    {
        return any(asic.rows<IntfRow>(),
                   [&](const IntfRow &row) {
                       return row.type == sdk_sub_interface && row.param1 == id;
                   }) ||
               any(asic.rows<TrapRow>(), [&](const TrapRow &row) { return row.intf_id == id; });
    }
    std::vector<uint32_t> destroyable_interfaces()
    {
        std::vector<uint32_t> ids;
        for (const IntfRow &row : asic.rows<IntfRow>()) {
            if (!interface_is_held(row.intf_id))
                ids.push_back(row.intf_id);
        }
        return ids;
    }
    void destroy_interface()
    {
        const uint32_t id = pick_id();
        const bool busy = !asic.rows<PendingRow>().empty() || interface_is_held(id);
        const SdkStatus expected = !asic.find_interface(id) ? SDK_E_NOT_FOUND
                                   : busy                   ? SDK_E_BUSY
                                                            : SDK_E_NONE;
        RC_ASSERT(has_holder(KVNSIM_SDK_INTF, id) == (expected == SDK_E_BUSY));
        RC_ASSERT(asic.intf_destroy(id) == expected);
        RC_ASSERT((asic.find_interface(id) != nullptr) == (expected == SDK_E_BUSY));
    }

    void bind()
    {
        const uint32_t intf_id = pick_id(), lid_id = pick_id();
        const SdkStatus expected = binding(intf_id, lid_id);
        RC_ASSERT(asic.attr_set(intf_id, SdkIntfAttrLid, lid_id) == expected);
    }
    void queue()
    {
        const uint32_t intf_id = pick_id(), lid_id = pick_id();
        const SdkStatus expected = binding(intf_id, lid_id);
        RC_ASSERT(asic.attr_set_batch(intf_id, SdkIntfAttrLid, lid_id) == expected);
    }
    void flush()
    {
        std::set<uint32_t> bound;
        for (const AttributeValueRow &row : asic.rows<AttributeValueRow>())
            bound.insert(row.intf_id);
        uint32_t lost = 0;
        for (const PendingRow &write : asic.rows<PendingRow>()) {
            const bool room = bound.size() < attribute_limit || bound.count(write.intf_id) != 0;
            if (asic.find_lid(write.value) && room)
                bound.insert(write.intf_id);
            else
                ++lost;
        }
        RC_ASSERT(asic.batch_flush() == lost);
        RC_ASSERT(asic.rows<PendingRow>().empty());
    }
    SdkStatus binding(uint32_t intf_id, uint32_t lid_id)
    {
        if (!asic.find_interface(intf_id) || !asic.find_lid(lid_id))
            return SDK_E_NOT_FOUND;
        return asic.find_attribute(intf_id, SdkIntfAttrLid) ||
                       attributes_written() < attribute_limit
                   ? SDK_E_NONE
                   : SDK_E_FULL;
    }
    size_t attributes_written() { return asic.rows<AttributeValueRow>().size(); }
    size_t paths() { return asic.rows<LidPathRow>().size(); }
    uint32_t use_of(std::string_view name)
    {
        for (const TableUse &table : asic.rows<TableUse>()) {
            if (table.name == name)
                return table.used;
        }
        RC_FAIL("no such table");
    }
    void create_lid()
    {
        const auto rows = asic.rows<LidRow>();
        uint32_t id = 0;
        const SdkStatus status = asic.lid_create(id);
        RC_ASSERT(status == (rows.size() == table_limit ? SDK_E_FULL : SDK_E_NONE));
        RC_ASSERT(id == (status == SDK_E_NONE ? lowest_free(rows, &LidRow::lid_id) : 0));
    }
    void destroy_lid()
    {
        const uint32_t id = pick_id();
        const bool held = any(asic.rows<IntfRow>(), [&](const IntfRow &row) {
            const AttributeValueRow *bound = asic.find_attribute(row.intf_id, SdkIntfAttrLid);
            const bool of_port_channel = row.type == sdk_routed_port && row.param3 == 1;
            return !of_port_channel && bound && bound->value == id;
        });
        RC_ASSERT(has_holder(KVNSIM_SDK_LID, id) == held);
        const SdkStatus expected = held                ? SDK_E_BUSY
                                   : asic.find_lid(id) ? SDK_E_NONE
                                                       : SDK_E_NOT_FOUND;
        RC_ASSERT(asic.lid_destroy(id) == expected);
    }
    void add_path()
    {
        const uint32_t lid_id = pick_id(), pc_id = pick_id();
        const bool possible = asic.find_lid(lid_id) && asic.find_port_channel(pc_id);
        const bool is_full = paths() == path_limit;
        const SdkStatus expected = !possible ? SDK_E_NOT_FOUND
                                   : has_path(lid_id, &LidPathRow::port_type, SdkPortTypeChannel)
                                       ? SDK_E_EXISTS
                                   : is_full ? SDK_E_FULL
                                             : SDK_E_NONE;
        RC_ASSERT(asic.lid_path_add(lid_id, {SdkPortTypeChannel, 0, {}, pc_id}) == expected);
    }
    bool has_path(uint32_t lid_id, uint32_t LidPathRow::*field, uint32_t is)
    {
        return any(rows_of(asic, &LidPathRow::lid_id, lid_id),
                   [&](const LidPathRow &path) { return path.*field == is; });
    }
    void add_port_path()
    {
        const uint32_t lid_id = pick_id(), port = pick();
        const bool taken = !rows_of(asic, &LidPathRow::front_port, port).empty();
        const SdkStatus expected = !asic.find_lid(lid_id)  ? SDK_E_NOT_FOUND
                                   : taken                 ? SDK_E_EXISTS
                                   : paths() == path_limit ? SDK_E_FULL
                                                           : SDK_E_NONE;
        const sdk_lid_path path{
            KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, static_cast<uint8_t>(port), {}, 0};
        RC_ASSERT(asic.lid_path_add(lid_id, path) == expected);
    }

    void create_channel()
    {
        const auto rows = asic.rows<PortChannelRow>();
        uint32_t id = 0;
        const SdkStatus status = asic.portchannel_create(id);
        RC_ASSERT(status == (rows.size() == table_limit ? SDK_E_FULL : SDK_E_NONE));
        RC_ASSERT(id == (status == SDK_E_NONE ? lowest_free(rows, &PortChannelRow::pc_id) : 0));
    }
    void destroy_channel()
    {
        const uint32_t id = pick_id();
        const auto row = asic.find_port_channel(id);
        const bool held = row && (!rows_of(asic, &MemberRow::pc_id, id).empty() ||
                                  any(asic.rows<IntfRow>(),
                                      [&](const IntfRow &intf) {
                                          return intf.type == sdk_routed_port && intf.param3 == 1 &&
                                                 intf.param1 == id;
                                      }) ||
                                  !rows_of(asic, &LidPathRow::pc_id, id).empty());
        RC_ASSERT(has_holder(KVNSIM_SDK_PORT_CHANNEL, id) == held);
        RC_ASSERT(asic.portchannel_destroy(id) == (!row   ? SDK_E_NOT_FOUND
                                                   : held ? SDK_E_BUSY
                                                          : SDK_E_NONE));
    }
    bool is_member(uint32_t pc_id, uint32_t port)
    {
        return any(rows_of(asic, &MemberRow::pc_id, pc_id),
                   [&](const MemberRow &one) { return one.front_port == port; });
    }
    bool is_any_member(uint32_t port)
    {
        return !rows_of(asic, &MemberRow::front_port, port).empty();
    }
    void add_member()
    {
        const uint32_t pc_id = pick_id(), port = pick();
        const bool taken = is_any_member(port);
        const SdkStatus expected = !asic.find_port_channel(pc_id) ? SDK_E_NOT_FOUND
                                   : taken                        ? SDK_E_EXISTS
                                                                  : SDK_E_NONE;
        RC_ASSERT(asic.member_add(pc_id, mask_of({port})) == expected);
    }
    void delete_member()
    {
        const uint32_t pc_id = pick_id(), port = pick();
        const bool there = is_member(pc_id, port);
        RC_ASSERT(asic.member_delete(pc_id, mask_of({port})) ==
                  (there ? SDK_E_NONE : SDK_E_NOT_FOUND));
        RC_ASSERT(!is_member(pc_id, port));
    }

    void create_trap()
    {
        const uint32_t intf_id = pick_id();
        const std::array<uint8_t, 6> mac{0, 0, 0x5e, 0, 1, static_cast<uint8_t>(pick())};
        const auto rows = asic.rows<TrapRow>();
        const bool twin =
            any(rows, [&](const TrapRow &row) { return row.intf_id == intf_id && row.mac == mac; });
        uint32_t id = 0;
        const SdkStatus status = asic.trap_create(intf_id, mac, id);
        RC_ASSERT(status == (!asic.find_interface(intf_id) ? SDK_E_NOT_FOUND
                             : twin                        ? SDK_E_EXISTS
                             : rows.size() == table_limit  ? SDK_E_FULL
                                                           : SDK_E_NONE));
        RC_ASSERT(id == (status == SDK_E_NONE ? lowest_free(rows, &TrapRow::mac_trap_id) : 0));
    }
    void destroy_trap()
    {
        const uint32_t id = pick_id();
        const auto is_there = [&] {
            return any(asic.rows<TrapRow>(),
                       [&](const TrapRow &row) { return row.mac_trap_id == id; });
        };
        const bool there = is_there();
        RC_ASSERT(asic.trap_destroy(id) == (there ? SDK_E_NONE : SDK_E_NOT_FOUND));
        RC_ASSERT(!is_there());
    }
};

} // namespace

TEST(RandomUse, HasTheResultsThatTheTablesAskFor)
{
    EXPECT_TRUE(rc::check("any sequence of calls", [] {
        Model model;
        for (const char *table : {"intf", "lid", "pc", "trap"})
            RC_ASSERT(model.asic.set_limit(table, table_limit) == "");
        RC_ASSERT(model.asic.set_limit("attr", attribute_limit) == "");
        RC_ASSERT(model.asic.set_limit("path", path_limit) == "");
        const int steps = *rc::gen::inRange(0, 200);
        for (int step = 0; step < steps; ++step)
            model.step();
        model.destroy_all();
    }));
}
