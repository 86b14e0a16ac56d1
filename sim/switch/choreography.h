#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "sim/fwm/host.h"
#include "sim/switch/request.h"

/* What host and library do in turn to create and delete an interface, and
 * when a port joins or leaves a port-channel. Plans and commands use the same steps. */
namespace kvnsim {

/* What keeps an interface from being deleted or changed: "Ethernet0 is still a member of
 * PortChannel1", "PortChannel1 still has members"; empty for nothing. */
std::string in_use(const HostInterface &interface);

/* Make an interface of the host an L3 interface: release the SDK interface kept for it, let prepare
 * write its settings into the record, register it, have the library create it. Returns the response
 * to the last request. No request is made for a port-channel without members: its first member
 * creates it. A refused interface is unregistered. The host's record stays. */
Response create_interface(
    HostInterface &interface, uint32_t vlan, const std::function<void()> &prepare = [] {});
/* Delete and unregister it, unless it is in use or the library refuses. */
Response delete_interface(HostInterface &interface);

/* Called after each request. */
using Tell = std::function<void(const Response &)>;

/* Add a port that Host::join made a member to the port-channel in the ASIC; the first member
 * creates the port-channel. Returns the library's response to the join. A port that is refused, or
 * declined because it is routed, is not a member afterwards. */
Response join(
    HostInterface &port, const Tell &tell = [](const Response &) {});
/* Remove a member; the last one deletes its port-channel. The port stays a member, so that the
 * removal can be repeated, when the ASIC kept it or sub-interfaces still need the port-channel.
 * After any other failure it is no longer a member: what is partly deleted cannot be created again.
 */
Response leave(
    HostInterface &port, const Tell &tell = [](const Response &) {});

/* ---- Tasks of the host ---- */

Response give_port_lid(HostInterface &port);
Response release_port_channel(HostInterface &port_channel);

} // namespace kvnsim
