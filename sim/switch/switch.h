#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/config/desired.h"
#include "sim/fwm/host.h"
#include "sim/switch/plan.h"
#include "sim/switch/request.h"

/* The switch: applies configurations by requests to the library, and keeps the results. */
namespace kvnsim {

/* A step that failed, wholly or in part. */
struct Failure {
    Step step;
    RequestRef request;  /* null when the host refused */
    std::string message; /* "request 3 l3lifpd_kvn_add_svi(...) returned -1: libsdk_intf_create:
                            SDK_E_FULL (-5)" */
};

/* A failure as the switch keeps it. */
struct Reason {
    StepKind kind;
    Mac mac; /* of a MAC step */
    std::string message;
    Origin origin;        /* the request and its call that failed first, if any */
    bool in_part = false; /* it succeeded in part: some calls failed */
};

/* What a switch remembers between configurations. */
struct SwitchMemory {
    Desired have;
    std::shared_ptr<const Desired> wanted = std::make_shared<const Desired>();
    ByName<Settings> settings;
    std::set<std::pair<std::string, std::string>> declined;
    std::map<std::string, uint32_t> vpns;
    std::map<std::string, std::vector<Reason>> failures;
    uint32_t router_mac_id = no_id;
};

/* Requests that failed, and those that did later what they were for: by number. */
using MadeUpFor = std::map<uint64_t, uint64_t>;

struct Applied {
    uint32_t steps_done = 0; /* carried out, failed ones included */
    std::vector<Failure> failures;
    MadeUpFor made_up_for;    /* of this configuration or an earlier one */
    bool interrupted = false; /* stopped by the caller; the rest was left out */
};

class Switch {
public:
    /* Powers the switch on: host, ASIC, journal and the library's table of virtual MACs start
     * empty; diagnostics and observers are left alone. One at a time. */
    Switch();
    Switch(const Switch &) = delete;
    Switch &operator=(const Switch &) = delete;

    /* The steps from the present state to the wanted one; empty when there is no difference. */
    Plan plan(const Desired &want) const;

    /* Carry a plan out. stop is called before each step, progress after each. want is what the plan
     * was made for, and is kept. A failed step is reported and the others go on. */
    Applied apply(const Plan &plan, std::shared_ptr<const Desired> want,
                  const std::function<bool()> &stop = {},
                  const std::function<void(size_t done, size_t of)> &progress = {});
    Applied apply(std::shared_ptr<const Desired> want)
    {
        const Plan steps = plan(*want);
        return apply(steps, std::move(want));
    }
    Applied apply(Desired want) { return apply(std::make_shared<const Desired>(std::move(want))); }

    /* What has been applied so far, and what was wanted last. */
    const Desired &have() const { return have_; }
    const Desired &wanted() const { return *wanted_; }
    /* Members that the library declined because the port is routed: (port-channel, port). */
    const std::set<std::pair<std::string, std::string>> &declined_members() const
    {
        return declined_;
    }
    /* The VPN number of a VRF: 0 for the default one, else 1, 2, ... */
    uint32_t vpn_of(const std::string &vrf) const;
    std::map<std::string, uint32_t> vpns() const { return vpns_; }
    uint32_t router_mac_id() const { return router_mac_id_; } /* no_id without one */

    /* The settings written, by interface name; only interfaces that exist in the ASIC. */
    const ByName<Settings> &settings() const { return settings_; }

    /* Why objects are not as wanted, by name, the oldest reason first: failed steps, not yet
     * repaired. A failure in part stays until the object is recreated or deleted. */
    const std::map<std::string, std::vector<Reason>> &failures() const { return failures_; }

    /* Remember this instead. Host and ASIC must be as they were then. */
    void resume(SwitchMemory memory);

private:
    friend class Planner;
    friend class Executor;
    Desired have_;
    std::shared_ptr<const Desired> wanted_ = std::make_shared<const Desired>();
    ByName<Settings> settings_;
    std::set<std::pair<std::string, std::string>> declined_;
    std::map<std::string, uint32_t> vpns_;
    std::map<std::string, std::vector<Reason>> failures_;
    uint32_t router_mac_id_ = no_id;
};

} // namespace kvnsim
