#pragma once

#include <cstdint>
#include <vector>

#include "sim/types/columns.h"
#include "sim/types/mac.h"

/* The library's own table of virtual MACs, which only the library can fill. */
namespace kvnsim {

/* An entry of it. */
struct FhrpRow {
    uint32_t ifindex = 0;
    Mac mac{};
    uint32_t mac_trap_id = 0;
    TABLE_ROW("library_virtual_mac", ifindex, mac, mac_trap_id)
};

/* All entries, by ifindex and MAC. */
std::vector<FhrpRow> library_virtual_macs();

/* Empty the table: when the host starts, the library knows none. */
void forget_virtual_macs();

/* Have the library add an entry, without a request, a call of the SDK or a trace record. false, and
 * nothing done, when it has the entry already or no interface can have that ifindex. */
bool put_back_virtual_mac(const FhrpRow &entry);

} // namespace kvnsim
