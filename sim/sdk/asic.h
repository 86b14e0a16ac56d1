#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/sdk/sdk_status.h"
#include "sim/types/mac.h"

/* A software model of the forwarding ASIC, as strict as the silicon: identifiers, references,
 * duplicates and capacities are checked, nothing succeeds by default, and each object remembers
 * the call that made it. */
namespace kvnsim {

/* The identifier that means "none"; never handed out. */
constexpr uint32_t no_id = 0xFFFF;

enum SdkIntfType : uint32_t { sdk_routed_port = 1, sdk_sub_interface = 2, sdk_svi = 3 };

/* Rows of the ASIC's tables: copies, good for as long as the holder likes. */
struct AsicAttribute {
    uint32_t number; /* SdkIntfAttr... */
    uint32_t value;
    Origin origin; /* the call that wrote it */
};
struct AsicInterface {
    uint32_t intf_id = 0;
    uint32_t type = 0; /* SdkIntfType */
    sdk_intf_create_params params{};
    std::vector<AsicAttribute> attributes; /* those ever written, in the order of the numbers */
    Origin origin;
    const AsicAttribute *find(uint32_t attribute) const; /* nullptr when never written */
};
struct AsicLidPath {
    sdk_lid_path path;
    Origin origin;
};
struct AsicLid {
    uint32_t lid_id;
    uint32_t ifmap_idx;             /* what switch-configuration item 38 answers */
    std::vector<AsicLidPath> paths; /* in the order added */
    Origin origin;
};
struct AsicMember {
    uint32_t front_port; /* 1..255 */
    Origin origin;
};
struct AsicPortChannel {
    uint32_t pc_id;
    std::vector<AsicMember> members; /* in the order of the ports */
    Origin origin;
};
struct AsicRouterMac {
    uint32_t peer_mac_id;
    Mac mac;
    Origin origin;
};
struct AsicTrap {
    uint32_t mac_trap_id;
    uint32_t intf_id;
    Mac mac;
    Origin origin;
};
/* An attribute write that waits for the flush. */
struct AsicPendingWrite {
    uint32_t intf_id;
    AsicAttribute attribute;
};
struct TableUse {
    const char *name;        /* as set_limit takes it: "intf" */
    const char *description; /* "interfaces" */
    uint32_t used, high_water, capacity;
};

class Asic {
public:
    /* The ASIC behind the libsdk_* functions. */
    static Asic &instance();

    Asic();
    ~Asic();
    Asic(const Asic &) = delete;
    Asic &operator=(const Asic &) = delete;

    /* The SDK's operations, as libsdk.h describes them. SDK_E_NONE, or a refusal: then nothing has
     * changed, nothing is written, and last_refusal() says why. */
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

    /* Carry out the queued attribute writes; returns how many were dropped because they are not
     * possible any more: the LID entry is gone, or the table of attributes is full. last_refusal()
     * then tells of the first. */
    uint32_t batch_flush();

    /* Refuse for a reason found outside the tables (a null pointer, another device). */
    SdkStatus refuse(SdkStatus status, std::string reason);
    /* The reason of the last refusal: "port-channel 3 is held by LID entry 7 (made by ...)". */
    const std::string &last_refusal() const;

    /* The tables, in the order of the identifiers. */
    std::vector<AsicInterface> interfaces() const;
    std::vector<AsicLid> lids() const;
    std::vector<AsicPortChannel> port_channels() const;
    std::vector<AsicRouterMac> router_macs() const;
    std::vector<AsicTrap> traps() const;
    std::vector<AsicPendingWrite> pending() const; /* in the order queued */
    /* The interfaces one by one, in the order of the identifiers; each is good until visit returns,
     * which changes nothing in the ASIC. */
    void each_interface(const std::function<void(const AsicInterface &)> &visit) const;

    /* One row, empty when there is none of that identifier. */
    std::optional<AsicInterface> interface(uint32_t intf_id) const;
    std::optional<AsicLid> lid(uint32_t lid_id) const;
    std::optional<AsicPortChannel> port_channel(uint32_t pc_id) const;

    /* How full each table is and has been. */
    std::vector<TableUse> tables() const;
    /* Change a table's capacity; what it holds already stays. Empty on success, else what is wrong,
     * with the names or numbers that are possible. */
    std::string set_limit(std::string_view table, uint32_t capacity);

    /* Empty tables and default capacities, as after power-on. */
    void reset();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace kvnsim
