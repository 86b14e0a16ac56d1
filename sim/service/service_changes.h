#pragma once

#include <string>
#include <vector>

#include "sim/service/services.h"
#include "sim/switch/changes.h"

/* What a change of the switch means for its services. */
namespace kvnsim {

enum class ServiceChangeKind : uint8_t {
    added,       /* given now, not before */
    removed,     /* given before, not now */
    changed,     /* given in both, in another VRF or up to another size */
    interrupted, /* given in both, but not in between */
};
constexpr const char *service_change_names[] = {"added", "removed", "changed", "interrupted"};
inline const char *to_text(ServiceChangeKind kind)
{
    return service_change_names[static_cast<size_t>(kind)];
}

struct ServiceChange {
    std::string interface, port, family, to; /* as in Service */
    ServiceChangeKind change = ServiceChangeKind::added;
    std::string words; /* "VRF default -> VrfBlue"; why it is not given; what interrupts it */
    COLUMNS(interface, port, family, to, change, words)
};

/* By interface in natural order. changes are those of the plan that led from one to the other:
 * what interrupts is known only from them; none for two states of which no plan is known. */
std::vector<ServiceChange> service_changes(const std::vector<Service> &before,
                                           const std::vector<Service> &after,
                                           const std::vector<Change> &changes = {});

/* "3 services added, 1 removed, 2 interrupted"; "no service changes". */
std::string summary(const std::vector<ServiceChange> &changes);

Listing show(const std::vector<ServiceChange> &changes);

} // namespace kvnsim
