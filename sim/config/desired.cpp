#include "sim/config/desired.h"

#include <algorithm>

namespace kvnsim {

bool operator<(const VirtualMac &a, const VirtualMac &b)
{
    if (a.interface != b.interface)
        return NaturalOrder()(a.interface, b.interface);
    return a.mac < b.mac;
}

bool Desired::has_member_that_joins(const DesiredPortChannel &channel) const
{
    return std::any_of(channel.members.begin(), channel.members.end(),
                       [&](const auto &member) { return routed_ports.count(member.first) == 0; });
}

} // namespace kvnsim
