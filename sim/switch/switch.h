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
#include "sim/switch/request.h"

/* The switch: applies configurations by requests to the library, and keeps the results. */
namespace kvnsim {

/* L3 settings of one interface; empty where a write failed and the value is unknown. */
struct Settings {
    std::optional<uint16_t> mtu; /* bytes */
    std::optional<bool> ipv4, ipv6;
    std::optional<std::string> vrf; /* "" is the default one */
    std::optional<uint32_t> nat_zone;
    friend bool operator==(const Settings &a, const Settings &b);
    friend bool operator!=(const Settings &a, const Settings &b) { return !(a == b); }
};
Settings settings_of(const L3Settings &l3, uint16_t mtu);
/* "MTU 9100, IPv4, VRF Vrf42", of settings that are all known. */
std::string in_words(const Settings &settings);

enum class Setting : uint8_t { mtu, ipv4, ipv6, vrf, nat_zone };
struct SettingChange {
    Setting setting;
    std::string words; /* "MTU 9100 -> 1500", "IPv6 on", "VRF Vrf1 -> default" */
    bool downwards;    /* it falls, is turned off, or falls from an unknown value */
};
/* The settings that differ; those of to are all known. */
std::vector<SettingChange> difference(const Settings &from, const Settings &to);

/* What one step does, in the order in which a plan is carried out. */
enum class StepKind : uint8_t {
    remove_virtual_mac,
    delete_sub_interface,
    delete_svi,
    remove_member,
    unroute_port_channel,
    delete_port_channel,
    unroute_port,
    delete_port,
    remove_router_mac,
    add_router_mac,
    add_port,
    route_port,
    add_port_channel,
    route_port_channel,
    add_member,
    add_svi,
    add_sub_interface,
    change_settings,
    add_virtual_mac
};
constexpr const char *step_kind_names[] = {
    "remove_virtual_mac",   "delete_sub_interface", "delete_svi",     "remove_member",
    "unroute_port_channel", "delete_port_channel",  "unroute_port",   "delete_port",
    "remove_router_mac",    "add_router_mac",       "add_port",       "route_port",
    "add_port_channel",     "route_port_channel",   "add_member",     "add_svi",
    "add_sub_interface",    "change_settings",      "add_virtual_mac"};
inline const char *to_text(StepKind kind)
{
    return step_kind_names[static_cast<size_t>(kind)];
}

struct Step {
    StepKind kind;
    std::string name;     /* the object: "Ethernet0", "PortChannel0001"; of a member the port */
    std::string other;    /* a member's port-channel; else empty */
    Mac mac{};            /* of a MAC step */
    Settings settings;    /* of a creation or change: the target */
    std::string words;    /* "route port Ethernet0: MTU 9100, IPv4, VRF Vrf42" */
    SourceLocation cause; /* the row behind it; of a deletion, the removed row */
};

/* Steps in the order of execution. */
struct Plan {
    std::vector<Step> steps;
    bool empty() const { return steps.empty(); }
};

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

    /* Forget everything, in host and ASIC too: nothing more can be done with it. */
    void power_off();

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
