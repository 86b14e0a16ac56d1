#pragma once

#include <string>
#include <vector>

#include "sim/fwm/host.h"
#include "sim/journal/request.h"

/* The state of interfaces before and after a request. */
namespace kvnsim {

/* The interfaces whose records a request can read or write: its arguments and, before each, its
 * parent and its port-channel. */
std::vector<HostInterface *> interfaces_of(const Request &request);

/* The interface indexes among a request's arguments without an interface. */
std::vector<uint32_t> unknown_indexes_of(const Request &request);

/* The host's state of an interface, and the library's. */
Value host_state(const HostInterface &interface);
Value library_state(const HostInterface &interface);

/* Restores an interface in the host, replacing any with its name or ifindex. Returns what is wrong
 * with the states; empty when done. */
std::string restore_interface(const std::string &name, const Value &host, const Value &library);

/* Removes the interface with this ifindex and all that depends on it. */
void forget_interface(uint32_t ifindex);

} // namespace kvnsim
