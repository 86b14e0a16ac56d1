/* The SDK's calls, each defined here and nowhere else: its name, its arguments as they are shown,
 * recorded and replayed, and what it does to the ASIC. */
#include <cstring>
#include <new>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/sdk_codecs.h"

using namespace kvnsim;

namespace {

/* An SDK call that changes the ASIC, and one that only asks. */
ImportedCall programs(const char *name)
{
    return {name, Result::status, Purpose::programs, &sdk_statuses()};
}
ImportedCall asks(const char *name)
{
    return {name, Result::status, Purpose::asks, &sdk_statuses()};
}

const ImportedCall intf_create = programs("libsdk_intf_create");
const ImportedCall intf_destroy = programs("libsdk_intf_destroy");
const ImportedCall intf_attr_set = programs("libsdk_intf_attr_set");
const ImportedCall intf_attr_get = asks("libsdk_intf_attr_get");
const ImportedCall intf_attr_set_batch = programs("libsdk_intf_attr_set_batch");
const ImportedCall switch_config_get = asks("libsdk_switch_config_get");
const ImportedCall portchannel_create = programs("libsdk_portchannel_create");
const ImportedCall portchannel_destroy = programs("libsdk_portchannel_destroy");
const ImportedCall portchannel_member_add = programs("libsdk_portchannel_member_add");
const ImportedCall portchannel_member_delete = programs("libsdk_portchannel_member_delete");
const ImportedCall lid_entry_create = programs("libsdk_lid_entry_create");
const ImportedCall lid_entry_destroy = programs("libsdk_lid_entry_destroy");
const ImportedCall lid_entry_path_add = programs("libsdk_lid_entry_path_add");
const ImportedCall switch_router_mac_create = programs("libsdk_switch_router_mac_create");
const ImportedCall switch_router_mac_destroy = programs("libsdk_switch_router_mac_destroy");
const ImportedCall intf_router_mac_trap_create = programs("libsdk_intf_router_mac_trap_create");
const ImportedCall intf_router_mac_trap_destroy = programs("libsdk_intf_router_mac_trap_destroy");

/* Make the call; what every SDK call checks is checked here. The first argument is the device. The
 * caller may be C code, which no exception may reach. */
template <class Body>
int32_t run(const ImportedCall &call, std::initializer_list<Argument> arguments, Body &&body)
try {
    Asic &asic = Asic::instance();
    bool asked = false;
    const int32_t status = call(arguments, [&]() -> int32_t {
        asked = true;
        for (const Argument &argument : arguments) {
            if (!argument.data)
                return asic.refuse(SDK_E_PARAM, fmt::format("{} is a null pointer", argument.name));
        }
        if (const int32_t device = *static_cast<const int32_t *>(arguments.begin()->data))
            return asic.refuse(SDK_E_PARAM,
                               fmt::format("there is no device {}, only device 0", device));
        return body(asic);
    });
    if (status != SDK_E_NONE && !asked)
        asic.made_to_fail(
            fmt::format("{} was made to fail: {}", call.name(), sdk_statuses().words(status)));
    return status;
} catch (const std::bad_alloc &) {
    Asic::instance().made_to_fail("no memory");
    return SDK_E_INTERNAL;
}

std::array<uint8_t, 6> mac_of(uint32_t mac_lo, uint16_t mac_hi)
{
    std::array<uint8_t, 6> mac;
    std::memcpy(&mac[0], &mac_lo, sizeof mac_lo);
    std::memcpy(&mac[4], &mac_hi, sizeof mac_hi);
    return mac;
}

} // namespace

int32_t libsdk_intf_create(int32_t dev_inst, uint32_t intf_type,
                           const struct sdk_intf_create_params *params, uint32_t *intf_id)
{
    return run(intf_create,
               {in("dev_inst", dev_inst), in("intf_type", intf_type), in_record("params", params),
                out("intf_id", intf_id)},
               [&](Asic &asic) { return asic.intf_create(intf_type, *params, *intf_id); });
}

int32_t libsdk_intf_destroy(int32_t dev_inst, uint32_t intf_id)
{
    return run(intf_destroy, {in("dev_inst", dev_inst), in("intf_id", intf_id)},
               [&](Asic &asic) { return asic.intf_destroy(intf_id); });
}

int32_t libsdk_intf_attr_set(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             const struct sdk_intf_attr_value *value)
{
    return run(intf_attr_set,
               {in("dev_inst", dev_inst), in("intf_id", intf_id),
                in("attr", attr, attribute_codec()), in_record("value", value)},
               [&](Asic &asic) { return asic.attr_set(intf_id, attr, value->param1); });
}

int32_t libsdk_intf_attr_get(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                             struct sdk_intf_attr_value *value)
{
    return run(intf_attr_get,
               {in("dev_inst", dev_inst), in("intf_id", intf_id),
                in("attr", attr, attribute_codec()), out("value", value)},
               [&](Asic &asic) {
                   uint32_t word = 0;
                   const SdkStatus status = asic.attr_get(intf_id, attr, word);
                   if (status == SDK_E_NONE)
                       *value = {word, 0, 0};
                   return status;
               });
}

int32_t libsdk_intf_attr_set_batch(int32_t dev_inst, uint32_t intf_id, uint32_t attr,
                                   const struct sdk_intf_attr_value *value)
{
    return run(intf_attr_set_batch,
               {in("dev_inst", dev_inst), in("intf_id", intf_id),
                in("attr", attr, attribute_codec()), in_record("value", value)},
               [&](Asic &asic) { return asic.attr_set_batch(intf_id, attr, value->param1); });
}

int32_t libsdk_switch_config_get(int32_t dev_inst, uint32_t item, struct sdk_switch_config *request)
{
    return run(switch_config_get,
               {in("dev_inst", dev_inst), in("item", item), in_record("request", request),
                out("request", request)},
               [&](Asic &asic) { return asic.switch_config_get(item, *request); });
}

int32_t libsdk_portchannel_create(int32_t dev_inst, uint32_t *pc_id)
{
    return run(portchannel_create, {in("dev_inst", dev_inst), out("pc_id", pc_id)},
               [&](Asic &asic) { return asic.portchannel_create(*pc_id); });
}

int32_t libsdk_portchannel_destroy(int32_t dev_inst, uint32_t pc_id)
{
    return run(portchannel_destroy, {in("dev_inst", dev_inst), in("pc_id", pc_id)},
               [&](Asic &asic) { return asic.portchannel_destroy(pc_id); });
}

int32_t libsdk_portchannel_member_add(int32_t dev_inst, uint32_t pc_id,
                                      const struct sdk_port_mask *mask)
{
    return run(portchannel_member_add,
               {in("dev_inst", dev_inst), in("pc_id", pc_id), in_record("mask", mask)},
               [&](Asic &asic) { return asic.member_add(pc_id, *mask); });
}

int32_t libsdk_portchannel_member_delete(int32_t dev_inst, uint32_t pc_id,
                                         const struct sdk_port_mask *mask, uint32_t pc_ifindex)
{
    return run(portchannel_member_delete,
               {in("dev_inst", dev_inst), in("pc_id", pc_id), in_record("mask", mask),
                in("pc_ifindex", pc_ifindex, ifindex_codec())},
               [&](Asic &asic) { return asic.member_delete(pc_id, *mask); });
}

int32_t libsdk_lid_entry_create(int32_t dev_inst, uint32_t *lid_id)
{
    return run(lid_entry_create, {in("dev_inst", dev_inst), out("lid_id", lid_id)},
               [&](Asic &asic) { return asic.lid_create(*lid_id); });
}

int32_t libsdk_lid_entry_destroy(int32_t dev_inst, uint32_t lid_id)
{
    return run(lid_entry_destroy, {in("dev_inst", dev_inst), in("lid_id", lid_id)},
               [&](Asic &asic) { return asic.lid_destroy(lid_id); });
}

int32_t libsdk_lid_entry_path_add(int32_t dev_inst, uint32_t lid_id,
                                  const struct sdk_lid_path *path)
{
    return run(lid_entry_path_add,
               {in("dev_inst", dev_inst), in("lid_id", lid_id), in_record("path", path)},
               [&](Asic &asic) { return asic.lid_path_add(lid_id, *path); });
}

int32_t libsdk_switch_router_mac_create(int32_t dev_inst, uint32_t mac_lo, uint16_t mac_hi,
                                        uint32_t *peer_mac_id)
{
    return run(
        switch_router_mac_create,
        {in("dev_inst", dev_inst), in("mac_lo", mac_lo, mac_lo_codec()),
         in("mac_hi", mac_hi, mac_hi_codec()), out("peer_mac_id", peer_mac_id)},
        [&](Asic &asic) { return asic.router_mac_create(mac_of(mac_lo, mac_hi), *peer_mac_id); });
}

int32_t libsdk_switch_router_mac_destroy(int32_t dev_inst, uint32_t peer_mac_id)
{
    return run(switch_router_mac_destroy,
               {in("dev_inst", dev_inst), in("peer_mac_id", peer_mac_id)},
               [&](Asic &asic) { return asic.router_mac_destroy(peer_mac_id); });
}

int32_t libsdk_intf_router_mac_trap_create(int32_t dev_inst, uint32_t intf_id, uint32_t mac_lo,
                                           uint16_t mac_hi, uint32_t *mac_trap_id)
{
    return run(intf_router_mac_trap_create,
               {in("dev_inst", dev_inst), in("intf_id", intf_id),
                in("mac_lo", mac_lo, mac_lo_codec()), in("mac_hi", mac_hi, mac_hi_codec()),
                out("mac_trap_id", mac_trap_id)},
               [&](Asic &asic) {
                   return asic.trap_create(intf_id, mac_of(mac_lo, mac_hi), *mac_trap_id);
               });
}

int32_t libsdk_intf_router_mac_trap_destroy(int32_t dev_inst, uint32_t mac_trap_id)
{
    return run(intf_router_mac_trap_destroy,
               {in("dev_inst", dev_inst), in("mac_trap_id", mac_trap_id)},
               [&](Asic &asic) { return asic.trap_destroy(mac_trap_id); });
}
