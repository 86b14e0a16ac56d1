#pragma once

#include <string>
#include <vector>

#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

/* Interfaces as the library finds and leaves them. */
namespace kvnsim {

/* The interfaces whose records a request can read or write: those among its arguments and, before
 * each, its parent and its port-channel. */
std::vector<HostInterface *> interfaces_of(const Request &request);

/* The interface indexes among a request's arguments that no interface has. */
std::vector<uint32_t> unknown_indexes_of(const Request &request);

/* What the host says of an interface, and what the library left in it. */
Value host_state(const HostInterface &interface);
Value library_state(const HostInterface &interface);

/* Give the host the interface of this name in these states, in place of whatever has its name or
 * ifindex. Empty when done, else what is wrong with the states. */
std::string restore_interface(const std::string &name, const Value &host, const Value &library);

/* Make the host forget the interface of this ifindex, with all that stands on it. */
void forget_interface(uint32_t ifindex);

} // namespace kvnsim
