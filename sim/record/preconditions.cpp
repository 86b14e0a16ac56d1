#include "sim/record/preconditions.h"

#include <array>
#include <string_view>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/host.h"
#include "sim/switch/switch.h"

namespace kvnsim {
namespace {

const HostInterface *main_of(const HostInterface &interface)
{
    return interface.main_l3lif != nullptr ? Host::instance().find(interface.main_l3lif->ifindex)
                                           : nullptr;
}

bool is_port_channel(const HostInterface &interface)
{
    return interface.kind == InterfaceKind::port_channel;
}

/* Whether the library finds an SDK interface for it, its own or its port-channel's. */
bool is_programmed(const HostInterface &interface)
{
    const HostInterface *main = main_of(interface);
    const HostInterface &serving = main != nullptr && is_port_channel(*main) ? *main : interface;
    return interface.registered && serving.intf_id() != no_id;
}

/* ---- What each entry point does not survive ---- */

std::string no_context(const HostInterface &interface)
{
    return interface.context() == nullptr ? interface.name + " has no context" : "";
}

std::string routed(const HostInterface &interface)
{
    return is_port_channel(interface) && !is_programmed(interface) ? no_context(interface) : "";
}

std::string sub_interface(const HostInterface &interface)
{
    return is_programmed(interface) ? "" : Switch::why_not_sub_interface(interface.ifindex);
}

std::string new_port_channel(const HostInterface &interface)
{
    if (is_port_channel(interface) || is_programmed(interface))
        return "";
    return interface.name + " is no port-channel";
}

/* The port-channel that a member joins or leaves, or whatever the record names in its place. */
std::string port_channel_of(const HostInterface &interface, bool makes_it)
{
    const HostInterface *main = main_of(interface);
    if (main == nullptr || interface.intf_id() != no_id)
        return "";
    return makes_it && !is_programmed(*main) ? new_port_channel(*main) : no_context(*main);
}

} // namespace

std::string why_not(const EntryPoint &entry, const std::vector<Value> &values)
{
    /* Those that follow their record without a look at the pointer. */
    constexpr std::array<std::string_view, 4> take_no_null{
        "l3lifpd_kvn_l3pd_init", "l3lifpd_kvn_dump_l3lif", "l3lifpd_kvn_del_subint",
        "l3lifpd_kvn_init_l3_properties"};
    const std::string_view name = entry.name();
    for (size_t i = 0; i < values.size() && i < entry.parameters().size(); ++i) {
        if (entry.parameters()[i].kind != ParameterKind::interface)
            continue;
        if (values[i].kind() == Value::Kind::null) {
            for (const std::string_view one : take_no_null) {
                if (name == one)
                    return std::string(entry.parameters()[i].name) + " must not be NULL";
            }
            return "";
        }
        const HostInterface *interface = find_interface(values[i]);
        if (interface == nullptr)
            return "";
        if (name == "l3lifpd_kvn_add_l3port")
            return routed(*interface);
        if (name == "l3lifpd_kvn_add_subint")
            return sub_interface(*interface);
        if (name == "l3lifpd_kvn_alloc_l3pc_add")
            return new_port_channel(*interface);
        if (name == "l3lifpd_kvn_add_l3pc")
            return port_channel_of(*interface, values.back().number() != 0);
        if (name == "l3lifpd_kvn_del_l3pc")
            return port_channel_of(*interface, false);
        return "";
    }
    return "";
}

} // namespace kvnsim
