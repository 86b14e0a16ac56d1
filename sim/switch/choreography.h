#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "sim/fwm/host.h"
#include "sim/switch/request.h"

/* What the host and the library do, one after the other, when an interface comes or goes and when
 * a port joins or leaves a port-channel. Plans and commands follow the same steps. */
namespace kvnsim {

/* What an interface that shall go or change is needed for: "Ethernet0 is still a member of
 * PortChannel1", "PortChannel1 still has members"; empty when for nothing. */
std::string in_use(const HostInterface &interface);

/* An interface of the host becomes an L3 interface: the SDK interface that was kept for it is
 * released, prepare writes its settings into the record, the library finds it and makes it. The
 * answer is that of what was asked last; a port-channel without members is not asked for, its first
 * one builds it. Refused, it is no longer registered. The host's record stays. */
Response create_interface(
    HostInterface &interface, uint32_t vlan, const std::function<void()> &prepare = [] {});
/* It is one no more, and no longer registered, unless it is in use or the library refuses. */
Response delete_interface(HostInterface &interface);

/* Told of each request as soon as it was made. */
using Tell = std::function<void(const Response &)>;

/* A port that Host::join made a member joins in the ASIC, too; the first member builds its
 * port-channel. The answer is the library's to the joining. A port that is refused, or declined
 * because it is routed, is no member afterwards. */
Response join(
    HostInterface &port, const Tell &tell = [](const Response &) {});
/* A member leaves; the last one tears its port-channel down. It stays a member, to leave another
 * time, when the ASIC kept it or sub-interfaces would lose what they stand on. Whatever else
 * failed, it has left: what is half torn down cannot be made again. */
Response leave(
    HostInterface &port, const Tell &tell = [](const Response &) {});

/* ---- Tasks of the host ---- */

Response give_port_lid(HostInterface &port);
Response release_port_channel(HostInterface &port_channel);

} // namespace kvnsim
