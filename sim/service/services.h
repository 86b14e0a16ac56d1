#pragma once

#include <string>
#include <vector>

#include "sim/service/frame.h"
#include "sim/state/audit.h"

/* The services of a switch: each kind of frame that the configuration wants routed, and what the
 * ASIC does with it. */
namespace kvnsim {

enum class ServiceState : uint8_t {
    given,
    not_given,
    wrong, /* in another VRF, with another MTU, by an object that is not the interface's, or not
              wanted at all */
    kept   /* not wanted, and routed by the SDK interface that a port keeps on purpose */
};
constexpr const char *service_state_names[] = {"given", "not given", "given wrongly", "kept"};
inline const char *to_text(ServiceState state)
{
    return service_state_names[static_cast<size_t>(state)];
}

/* Frames of one family to one MAC that arrive by one port for one interface. The first four columns
 * identify it. */
struct Service {
    std::string interface; /* that routes them; of an orphan, which was made for it */
    std::string port;      /* by which they arrive; empty for an SVI: any port of its VLAN */
    std::string family;    /* "IPv4", "IPv6", "IPv4 multicast", "IPv6 multicast" */
    std::string to; /* the MAC; "a router MAC" when none is configured; of multicast "groups" */
    bool wanted = true;
    std::string vrf;  /* wanted; of one that is not wanted, what the ASIC has */
    uint32_t mtu = 0; /* likewise, in bytes */
    ServiceState state = ServiceState::given;
    std::string reason; /* unless given: what decides, with its call and request */
    COLUMNS(interface, port, family, to, wanted, vrf, mtu, state, reason)
    bool to_router_mac = false; /* the configured one, whichever it is */
    bool is_fault() const
    {
        return state == ServiceState::not_given || state == ServiceState::wrong;
    }
    friend bool operator==(const Service &a, const Service &b) { return same_row(a, b); }
};

/* Every service that is wanted, and everything that the ASIC routes without being wanted; by
 * interface in natural order. findings are those of the audit of the same snapshot: what is routed
 * by an orphan or through a dangling reference is given wrongly. Each finding gets the number of
 * services that it costs. Linear in the number of services. */
std::vector<Service> services(const Snapshot &snapshot, std::vector<AuditFinding> &findings);
std::vector<Service> services(const Index &index, std::vector<AuditFinding> &findings);

/* The audit and the services of a snapshot. */
struct Judgement {
    std::vector<AuditFinding> findings;
    std::vector<Service> services;
};
Judgement judge(const Snapshot &snapshot);
Judgement judge(const Index &index);

struct ServiceCount {
    uint64_t wanted = 0, given = 0, not_given = 0, wrong = 0; /* wrong: of the wanted ones */
    uint64_t unwanted = 0, kept = 0;
    bool any_fault() const { return not_given + wrong + unwanted != 0; }
};
ServiceCount count(const std::vector<Service> &services);

/* The services in a sentence, and in the same breath what is not counted or not known: "28 services
 * wanted: 26 given, 2 not given; those of 1 row left out are not counted". */
std::string summary(const std::vector<Service> &services, const Snapshot &snapshot);

Listing show(const std::vector<Service> &services);

} // namespace kvnsim
