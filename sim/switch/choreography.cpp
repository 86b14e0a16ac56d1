/* The order in which host and library create and delete interfaces. The library looks interfaces up
 * by their index, so an interface is registered before its creation is requested and until its
 * deletion has returned. Nothing is unregistered that other interfaces use or that the ASIC still
 * has. The executor and the shell call these steps; nobody repeats them. */
#include "sim/switch/choreography.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

/* The requests for each kind, in the order of InterfaceKind. */
struct Requests {
    Response (*create)(HostInterface &interface, uint32_t vlan);
    Response (*remove)(HostInterface &interface);
};

const Requests requests[] = {
    {[](HostInterface &port, uint32_t) { return entry::add_l3port(port, 1); },
     [](HostInterface &port) { return entry::del_l3port(port); }},
    {[](HostInterface &port_channel, uint32_t) {
         return port_channel.membership.member_count != 0 ? entry::add_l3port(port_channel, 1)
                                                          : Response();
     },
     [](HostInterface &port_channel) { return entry::del_l3port(port_channel); }},
    {[](HostInterface &svi, uint32_t vlan) { return entry::add_svi(svi, vlan); },
     [](HostInterface &svi) { return entry::del_svi(svi); }},
    {[](HostInterface &sub, uint32_t vlan) { return entry::add_subint(sub, vlan, 1); },
     [](HostInterface &sub) { return entry::del_subint(sub); }},
};

const Requests &requests_for(const HostInterface &interface)
{
    return requests[static_cast<size_t>(interface.kind)];
}

/* A sub-interface deleted by hand leaves a record that is not registered. */
bool carries_sub_interfaces(const HostInterface &parent)
{
    const std::vector<HostInterface *> all =
        parent.sub_interfaces != 0 ? Host::instance().interfaces() : std::vector<HostInterface *>();
    return std::any_of(all.begin(), all.end(), [&](const HostInterface *each) {
        return each->parent == &parent && each->registered;
    });
}

void unregister_if_unused(HostInterface &interface)
{
    if (interface.intf_id() == no_id && in_use(interface).empty())
        Host::instance().unregister_l3(interface);
}

Response register_and_create(HostInterface &interface, uint32_t vlan)
{
    Host::instance().register_l3(interface);
    Response creation = requests_for(interface).create(interface, vlan);
    if (creation.refused)
        unregister_if_unused(interface);
    return creation;
}

/* The library stops at the first refused call: nothing was done before this one. */
bool asic_kept(const Response &leaving)
{
    if (!leaving.refused || leaving.request == nullptr)
        return false;
    const FailedCall &failure = leaving.request->first_failure();
    return leaving.request->failed_calls == 0 ||
           (std::string_view(failure.name) == "libsdk_portchannel_member_delete" &&
            failure.status != SDK_E_NOT_FOUND);
}

} // namespace

std::string in_use(const HostInterface &interface)
{
    if (interface.channel != nullptr)
        return interface.name + " is still a member of " + interface.channel->name;
    if (interface.membership.member_count != 0)
        return interface.name + " still has members";
    return carries_sub_interfaces(interface) ? interface.name + " still has sub-interfaces" : "";
}

Response create_interface(HostInterface &interface, uint32_t vlan,
                          const std::function<void()> &prepare)
{
    Host &host = Host::instance();
    /* The library would take the port-channel's interface for the port's. */
    if (interface.channel != nullptr)
        return not_made(in_use(interface));
    if (interface.kept_intf) {
        const Response release = host_task("host: release kept SDK interface", interface.name,
                                           [&] { return host.release_kept_intf(interface); });
        if (release.failed)
            return release;
    }
    prepare();
    return register_and_create(interface, vlan);
}

Response delete_interface(HostInterface &interface)
{
    std::string use = in_use(interface);
    if (!use.empty())
        return not_made(std::move(use));
    Response deletion = requests_for(interface).remove(interface);
    if (!deletion.refused)
        Host::instance().unregister_l3(interface);
    return deletion;
}

Response join(HostInterface &port, const Tell &tell)
{
    Host &host = Host::instance();
    HostInterface &port_channel = *port.channel;
    host.register_l3(port_channel);
    host.register_l3(port);
    Response joining = entry::add_l3pc(port, port_channel.membership.member_count == 1);
    tell(joining);
    tell(entry::add_l3pc_member(port_channel.ifindex, port.ifindex));
    if (joining.refused || port.intf_id() != no_id)
        host.leave(port);
    if (joining.refused)
        unregister_if_unused(port);
    return joining;
}

Response leave(HostInterface &port, const Tell &tell)
{
    HostInterface &port_channel = *port.channel;
    const bool last = port_channel.membership.member_count == 1;
    const bool stands = last && carries_sub_interfaces(port_channel);
    Response leaving = stands ? not_made(port_channel.name + " still has sub-interfaces")
                              : entry::del_l3pc(port, last);
    tell(leaving);
    if (stands)
        return leaving;
    tell(entry::del_l3pc_member(port_channel.ifindex, port.ifindex));
    if (!asic_kept(leaving)) {
        Host::instance().leave(port);
        unregister_if_unused(port);
    }
    return leaving;
}

Response give_port_lid(HostInterface &port)
{
    return host_task("host: give port its LID", port.name,
                     [&] { return Host::instance().make_port_lid(port); });
}

Response release_port_channel(HostInterface &port_channel)
{
    return host_task("host: release port-channel", port_channel.name,
                     [&] { return Host::instance().release_held_port_channel(port_channel); });
}

} // namespace kvnsim
