#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kvnsim/sdk.h"
#include "platform_api/libsdk.h"
#include "sim/journal/request.h"
#include "sim/sdk/sdk_status.h"
#include "sim/types/columns.h"
#include "sim/types/mac.h"

/* A software model of the forwarding ASIC, as strict as the silicon: identifiers, references,
 * duplicates and capacities are checked, nothing succeeds by default, and each object has its
 * origin. */
namespace kvnsim {

/* "None" in identifiers; never handed out. */
constexpr uint32_t no_id = 0xFFFF;

enum SdkIntfType : uint32_t {
    sdk_routed_port = KVNSIM_SDK_ROUTED_PORT,
    sdk_sub_interface = KVNSIM_SDK_SUB_INTERFACE,
    sdk_svi = KVNSIM_SDK_SVI
};

/* Rows of the ASIC's tables. */

struct IntfRow {
    uint32_t intf_id = 0;
    uint32_t type = 0; /* SdkIntfType */
    uint32_t param1 = 0, param2 = 0, param3 = 0, param4 = 0, param5 = 0;
    Origin made;
    TABLE_ROW("asic_interface", intf_id, type, param1, param2, param3, param4, param5, made)
};

/* An attribute that was written. */
struct AttributeValueRow {
    uint32_t intf_id = 0;
    uint32_t number = 0; /* SdkIntfAttr... */
    uint32_t value = 0;
    Origin made; /* the call that wrote it */
    TABLE_ROW("asic_attribute", intf_id, number, value, made)
};

struct LidRow {
    uint32_t lid_id = 0;
    uint32_t ifmap_idx = 0; /* the answer of switch-configuration item 38 */
    Origin made;
    TABLE_ROW("asic_lid", lid_id, ifmap_idx, made)
};

struct LidPathRow {
    uint32_t lid_id = 0, position = 0; /* 0, 1, ... in the order added */
    uint32_t port_type = 0, front_port = 0, pc_id = 0;
    Origin made;
    TABLE_ROW("asic_lid_path", lid_id, position, port_type, front_port, pc_id, made)
};

struct PortChannelRow {
    uint32_t pc_id = 0;
    Origin made;
    TABLE_ROW("asic_port_channel", pc_id, made)
};

struct MemberRow {
    uint32_t pc_id = 0, front_port = 0; /* front port 1..255 */
    Origin made;
    TABLE_ROW("asic_member", pc_id, front_port, made)
};

struct RouterMacRow {
    uint32_t peer_mac_id = 0;
    Mac mac{};
    Origin made;
    TABLE_ROW("asic_router_mac", peer_mac_id, mac, made)
};

struct TrapRow {
    uint32_t mac_trap_id = 0, intf_id = 0;
    Mac mac{};
    Origin made;
    TABLE_ROW("asic_trap", mac_trap_id, intf_id, mac, made)
};

/* An attribute write that waits for the flush. */
struct PendingRow {
    uint32_t position = 0; /* 0, 1, ... in the order queued */
    uint32_t intf_id = 0, number = 0, value = 0;
    Origin made;
    TABLE_ROW("asic_pending", position, intf_id, number, value, made)
};

/* Present and highest use of a table. */
struct TableUse {
    std::string_view name;        /* as set_limit takes it: "intf" */
    std::string_view description; /* "interfaces" */
    uint32_t used = 0, high_water = 0, capacity = 0;
    TABLE_ROW("asic_table", name, description, used, high_water, capacity)
};

/* Where a walk over a table stands: the row's identifier; of an object's parts (attributes, paths,
 * members), the object's and the part's number. Paths and pending writes count from 1. */
struct RowKey {
    uint32_t id = 0, part = 0;
};

/* An object that can be destroyed, or what keeps one from it. */
struct SdkObject {
    uint32_t kind = 0, id = 0; /* enum kvnsim_sdk_kind */
};

/* All rows of an ASIC, each table as Asic::each gives it. */
struct AsicRows {
    const std::vector<IntfRow> &intfs;
    const std::vector<AttributeValueRow> &attributes;
    const std::vector<LidRow> &lids;
    const std::vector<LidPathRow> &lid_paths;
    const std::vector<PortChannelRow> &port_channels;
    const std::vector<MemberRow> &members;
    const std::vector<RouterMacRow> &router_macs;
    const std::vector<TrapRow> &traps;
    const std::vector<PendingRow> &pending;
    const std::vector<TableUse> &table_use;
};

class Asic {
public:
    /* The ASIC behind the libsdk_* functions. */
    static Asic &instance();

    Asic();
    ~Asic();

    /* The SDK's operations, as libsdk.h describes them. SDK_E_NONE, or a refusal: then nothing has
     * changed, nothing is written, and last_refusal() has the reason. */
    SdkStatus intf_create(uint32_t type, const sdk_intf_create_params &params, uint32_t &intf_id);
    SdkStatus intf_destroy(uint32_t intf_id);
    SdkStatus attr_set(uint32_t intf_id, uint32_t attribute, uint32_t value);
    SdkStatus attr_get(uint32_t intf_id, uint32_t attribute, uint32_t &value);
    SdkStatus attr_set_batch(uint32_t intf_id, uint32_t attribute, uint32_t value);
    SdkStatus switch_config_get(uint32_t item, sdk_switch_config &request);
    SdkStatus portchannel_create(uint32_t &pc_id);
    SdkStatus portchannel_destroy(uint32_t pc_id);
    SdkStatus member_add(uint32_t pc_id, const sdk_port_mask &mask);
    SdkStatus member_delete(uint32_t pc_id, const sdk_port_mask &mask);
    SdkStatus lid_create(uint32_t &lid_id);
    SdkStatus lid_destroy(uint32_t lid_id);
    SdkStatus lid_path_add(uint32_t lid_id, const sdk_lid_path &path);
    SdkStatus router_mac_create(const Mac &mac, uint32_t &peer_mac_id);
    SdkStatus router_mac_destroy(uint32_t peer_mac_id);
    SdkStatus trap_create(uint32_t intf_id, const Mac &mac, uint32_t &mac_trap_id);
    SdkStatus trap_destroy(uint32_t mac_trap_id);

    /* Carry out the queued attribute writes; returns how many were dropped because they are no
     * longer possible: the LID entry is gone, or the table of attributes is full. last_refusal()
     * then reports the first. */
    uint32_t batch_flush();

    /* Refuse for a reason found outside the tables (a null pointer, another device). */
    SdkStatus refuse(SdkStatus status, std::string reason);
    /* Take down that an operation was made to fail, instead of the last refusal. */
    void made_to_fail(std::string words);
    /* The reason of the last refusal: "port-channel 3 is held by LID entry 7 (made by ...)". */
    const std::string &last_refusal() const;

    /* Call visit for each row of that type, in the order of the identifiers; pending writes in the
     * order queued. A row is valid until visit returns; visit must not change the ASIC. */
    template <class Row> void each(const std::function<void(const Row &)> &visit) const;
    /* The same as copies. */
    template <class Row> std::vector<Row> rows() const
    {
        std::vector<Row> all;
        each<Row>([&](const Row &row) { all.push_back(row); });
        return all;
    }

    /* The row that follows in the order of each(), nullptr behind the last; valid until the next
     * operation. A key of zeros is before the first. Allocates nothing. */
    template <class Row> const Row *after(const RowKey &key) const;

    /* Call visit for whatever keeps the object from being destroyed. */
    void each_holder(const SdkObject &object,
                     const std::function<void(const SdkObject &)> &visit) const;

    /* One row, nullptr when there is none of that identifier; valid until the next operation. */
    const IntfRow *find_interface(uint32_t intf_id) const;
    const AttributeValueRow *find_attribute(uint32_t intf_id, uint32_t number) const;
    const LidRow *find_lid(uint32_t lid_id) const;
    const PortChannelRow *find_port_channel(uint32_t pc_id) const;

    /* Change a table's capacity; existing rows stay. Empty on success, else the error, with
     * the possible names or numbers. */
    std::string set_limit(std::string_view table, uint32_t capacity);

    /* Empty tables and default capacities, as after power-on. */
    void reset();

    /* Become the ASIC that these rows were taken from. Throws BadRow, and changes nothing, where
     * they cannot be the rows of one. */
    void restore(const AsicRows &rows);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/* Where an interface with these parameters is, "VLAN 10"; only one can be there. */
std::string place(const IntfRow &intf);

} // namespace kvnsim
