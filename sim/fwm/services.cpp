/* What the library asks of the host, call by call: name, meaning of the result, arguments and how
 * they are shown. The answers are Host's. */
#include <cerrno>

#include "kvnsim/sdk.h"
#include "l3lifpd_kavelin.h"
#include "platform_api/fwm.h"
#include "platform_api/if_index.h"
#include "platform_api/l3lif.h"
#include "platform_api/sse.h"
#include "sim/fwm/command_output.h"
#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

/* ---- How records are shown ---- */

using kvnsim::Value;

static Value hex(uint32_t number)
{
    return Value::integer(number, Value::Style::hex);
}

/* A pointer to an interface: its interface index, or none. */
static Value to_value(const l3lif *record)
{
    return record ? hex(record->ifindex) : Value();
}

static Value to_value(const fwm_pm_sdb_key &key)
{
    return Value::record({{"kind", Value::integer(key.kind)}, {"ifindex", hex(key.ifindex)}});
}

static Value to_value(const fwm_pm_sdb_data &row)
{
    return Value::record({{"ifmap_idx", Value::integer(row.ifmap_idx)},
                          {"word1", Value::integer(row.word1)},
                          {"half2", Value::integer(row.half2)}});
}

static Value to_value(const port_cmd_msg &message)
{
    return Value::record(
        {{"port", Value::integer(message.port)}, {"cmd", Value::integer(message.cmd)}});
}

/* A pointer to a context: whether there is one. */
static Value to_value(const l3_pd *context)
{
    return context ? Value::text("l3_pd") : Value();
}

namespace kvnsim {

template <> const Codec &codec<iif_info>()
{
    static const Codec c = {[](const void *data) {
                                const auto &info = *static_cast<const iif_info *>(data);
                                return Value::record({{"intf_id", Value::integer(info.intf_id)}});
                            },
                            [](void *data, const Value &value) {
                                iif_info info{};
                                if (const Value *intf_id = value.find("intf_id"))
                                    info.intf_id = static_cast<uint32_t>(intf_id->number());
                                *static_cast<iif_info *>(data) = info;
                            }};
    return c;
}

/* ---- The calls ---- */

namespace {

/* A command's output: whether there is one, as an argument of a request names it. */
const Codec output_codec{[](const void *data) {
                             return *static_cast<void *const *>(data) ? Value::text("output")
                                                                      : Value();
                         },
                         nullptr};

Argument in_ifindex(const uint32_t &ifindex)
{
    return in("ifindex", ifindex, ifindex_codec());
}

constexpr Purpose programs = Purpose::programs, asks = Purpose::asks;

const ImportedCall pm_sdb_store("fwm_pm_sdb_store", Result::status, programs);
const ImportedCall if_index_lid_id("fwmpd_kvn_if_index_lid_id", Result::status, asks);
const ImportedCall get_pc_info("fwmpd_kvn_get_pc_info", Result::value, asks);
const ImportedCall reset_pd_pc("fwmpd_kvn_reset_pd_pc", Result::status, programs);
const ImportedCall update_pc_sdb("fwmpd_kvn_update_pc_sdb", Result::status, programs);
const ImportedCall init_l3_label("fwmpd_kvn_init_l3_label", Result::status, programs);
const ImportedCall batch_flush("fwmpd_kavelin_batch_flush", Result::status, programs);
const ImportedCall member_intf_store("fwmpd_pc_member_intf_store", Result::status, programs);
const ImportedCall command_print("cmd_prt", Result::value, programs);
const ImportedCall find_lif("l3lif_find_lif_from_ifindex", Result::value, asks);
const ImportedCall update_sdb("l3lif_update_sdb_for_intf", Result::status, programs);
const ImportedCall get_iif("l3lif_get_iif_for_ifindex_new", Result::status, asks);
const ImportedCall get_pd_ctxt("L3LIFPD_GET_PD_CTXT", Result::value, asks);
const ImportedCall get_port("if_index_get_port", Result::value, asks);
const ImportedCall is_port_channel("if_index_is_eth_port_channel_intf", Result::value, asks);
const ImportedCall get_channel("if_index_eth_port_channel_get_channel_num", Result::value, asks);
const ImportedCall is_physical("if_index_is_physical_interface", Result::value, asks);
const ImportedCall get_mainintf("if_index_get_mainintf_from_subintf", Result::value, asks);
const ImportedCall sse_call("sse_call2", Result::status, programs);

Host &host()
{
    return Host::instance();
}

/* The number of an interface of that kind. */
template <class Number> int32_t number_of(uint32_t ifindex, InterfaceKind kind, Number &number)
{
    const HostInterface *interface = host().find(ifindex, kind);
    if (!interface)
        return ENOENT;
    number = static_cast<Number>(interface->number);
    return 0;
}

} // namespace
} // namespace kvnsim

using namespace kvnsim;

int32_t fwm_pm_sdb_store(const fwm_pm_sdb_key *key, const fwm_pm_sdb_data *data)
{
    return pm_sdb_store({in_record("key", key), in_record("data", data)},
                        [&] { return host().store_port_binding(key, data); });
}

int32_t fwmpd_kvn_if_index_lid_id(uint32_t ifindex, uint32_t *lid_id)
{
    return if_index_lid_id({in_ifindex(ifindex), out("lid_id", lid_id)},
                           [&] { return host().port_lid(ifindex, *lid_id); });
}

int32_t fwmpd_kvn_get_pc_info(uint32_t ifindex, uint32_t *pc_id, uint32_t *lid_id)
{
    return get_pc_info({in_ifindex(ifindex), out("pc_id", pc_id), out("lid_id", lid_id)},
                       [&]() -> int32_t {
                           const auto held = host().held_port_channel(ifindex);
                           if (!held)
                               return ENOENT;
                           *pc_id = held->pc_id;
                           *lid_id = held->lid_id;
                           return 0;
                       });
}

int32_t fwmpd_kvn_reset_pd_pc(uint32_t ifindex)
{
    return reset_pd_pc({in_ifindex(ifindex)},
                       [&] { return host().give_over_port_channel(ifindex); });
}

int32_t fwmpd_kvn_update_pc_sdb(uint32_t ifindex, uint32_t pc_id)
{
    return update_pc_sdb({in_ifindex(ifindex), in("pc_id", pc_id)},
                         [&] { return host().store_pc_id(ifindex, pc_id); });
}

int32_t fwmpd_kvn_init_l3_label(uint32_t ifindex, int32_t enable, int32_t svi)
{
    return init_l3_label({in_ifindex(ifindex), in("enable", enable), in("svi", svi)},
                         [&] { return host().store_label(ifindex, enable != 0, svi != 0); });
}

int32_t fwmpd_kavelin_batch_flush(void)
{
    return batch_flush({}, []() -> int32_t { return kvnsim_sdk_batch_flush() == 0 ? 0 : EIO; });
}

int32_t fwmpd_pc_member_intf_store(uint32_t ifindex, uint32_t intf_id, int32_t flag)
{
    return member_intf_store({in_ifindex(ifindex), in("intf_id", intf_id), in("flag", flag)},
                             [&] { return host().keep_intf(ifindex, intf_id, flag); });
}

void cmd_prt(void *cli_ctx, const char *text, int32_t zero)
{
    command_print({in("cli_ctx", cli_ctx, output_codec), in("text", text), in("zero", zero)},
                  [&]() -> int32_t {
                      if (cli_ctx && text)
                          static_cast<CommandOutput *>(cli_ctx)->print(text);
                      return 0;
                  });
}

l3lif *l3lif_find_lif_from_ifindex(uint32_t ifindex)
{
    return find_lif({in_ifindex(ifindex)}, [&]() -> l3lif * {
        HostInterface *interface = host().find(ifindex);
        return interface && interface->registered ? interface : nullptr;
    });
}

int32_t l3lif_update_sdb_for_intf(l3lif *record)
{
    return update_sdb({in("l3lif", record)}, [&] { return host().publish(record); });
}

int32_t l3lif_get_iif_for_ifindex_new(uint32_t ifindex, iif_info *info)
{
    return get_iif({in_ifindex(ifindex), out("iif_info", info)}, [&]() -> int32_t {
        uint32_t intf_id = no_id;
        const int32_t status = host().serving_intf(ifindex, intf_id);
        if (status == 0) {
            *info = {};
            info->intf_id = intf_id;
        }
        return status;
    });
}

l3_pd *L3LIFPD_GET_PD_CTXT(const l3lif *record)
{
    return get_pd_ctxt({in("l3lif", record)}, [&]() -> l3_pd * {
        return record && record->pd_ctxt ? record->pd_ctxt->l3_pd : nullptr;
    });
}

int32_t if_index_get_port(uint32_t ifindex, uint8_t *port)
{
    return get_port({in_ifindex(ifindex), out("port", port)},
                    [&] { return number_of(ifindex, InterfaceKind::port, *port); });
}

int32_t if_index_is_eth_port_channel_intf(uint32_t ifindex)
{
    return is_port_channel({in_ifindex(ifindex)}, [&]() -> int32_t {
        return host().find(ifindex, InterfaceKind::port_channel) != nullptr;
    });
}

int32_t if_index_eth_port_channel_get_channel_num(uint32_t ifindex, uint32_t *channel)
{
    return get_channel({in_ifindex(ifindex), out("channel", channel)},
                       [&] { return number_of(ifindex, InterfaceKind::port_channel, *channel); });
}

int32_t if_index_is_physical_interface(uint32_t ifindex)
{
    return is_physical({in_ifindex(ifindex)}, [&]() -> int32_t {
        return host().find(ifindex, InterfaceKind::port) != nullptr;
    });
}

uint32_t if_index_get_mainintf_from_subintf(uint32_t ifindex)
{
    return get_mainintf({in_ifindex(ifindex)}, [&]() -> uint32_t {
        const HostInterface *interface = host().find(ifindex, InterfaceKind::sub_interface);
        return interface ? interface->parent->ifindex : 0;
    });
}

int32_t sse_call2(uint32_t call, const port_cmd_msg *message, uint32_t length)
{
    return sse_call({in("call", call), in_record("msg", message), in("length", length)},
                    [&] { return host().port_command(call, message, length); });
}
