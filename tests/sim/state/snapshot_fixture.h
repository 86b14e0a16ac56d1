#pragma once

#include <string>
#include <vector>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/state/audit.h"
#include "sim/state/snapshot.h"
#include "tests/sim/files.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {

/* Every kind of interface, with members, VRFs, sub-interfaces of both kinds and MACs. */
inline const char *small_network = R"({
    "DEVICE_METADATA": {"localhost": {"hostname": "leaf", "mac": "00:00:5e:00:53:01"}},
    "VRF": {"VrfBlue": {}},
    "PORT": {"Ethernet0": {"mtu": "9100"}, "Ethernet4": {"mtu": "1500"}, "Ethernet8": {},
             "Ethernet12": {}, "Ethernet16": {"alias": "spare"}},
    "INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue", "nat_zone": "1"},
                  "Ethernet0|192.0.2.0/31": {}, "Ethernet4|2001:db8::1/64": {}},
    "PORTCHANNEL": {"PortChannel1": {}},
    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}, "PortChannel1|Ethernet12": {}},
    "PORTCHANNEL_INTERFACE": {"PortChannel1|192.0.2.4/31": {}},
    "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}, "Ethernet0.10|192.0.2.6/31": {},
                           "PortChannel1.20": {}, "PortChannel1.20|192.0.2.8/31": {}},
    "VLAN": {"Vlan100": {}},
    "VLAN_MEMBER": {"Vlan100|Ethernet16": {"tagging_mode": "untagged"}},
    "VLAN_INTERFACE": {"Vlan100": {}, "Vlan100|192.0.2.10/31": {}},
    "VRRP": {"Vlan100|1": {"vid": "1"}}
})";

inline std::string words(const std::vector<AuditFinding> &findings)
{
    std::string text;
    for (const AuditFinding &finding : findings)
        text += std::string(to_text(finding.kind)) + ": " + finding.words + "\n";
    return text;
}

/* "orphan SDK interface 5", "difference Ethernet0 MTU": what is missing or not wanted, is so as a
 * whole. */
inline std::string brief(const AuditFinding &finding)
{
    const bool is_whole = finding.property == PropertyId::none ||
                          finding.kind == AuditKind::missing || finding.kind == AuditKind::unwanted;
    return std::string(to_text(finding.kind)) + " " + finding.object +
           (is_whole ? "" : std::string(" ") + to_text(finding.property));
}
inline std::vector<std::string> brief(const std::vector<AuditFinding> &findings)
{
    std::vector<std::string> all;
    for (const AuditFinding &finding : findings)
        all.push_back(brief(finding));
    return all;
}

/* A switch that has every kind of interface, and its snapshot. */
class SnapshotFixture : public SwitchFixture {
protected:
    Snapshot small_switch()
    {
        bring_about(wanted(small_network));
        return capture(sw, {"test.json"});
    }
    /* Another configuration upon it, with a failure, kept interfaces, a held port-channel and a
     * write that waits. */
    void troubled_switch()
    {
        small_switch();
        Host &host = Host::instance();
        fail("libsdk_intf_create:2");
        sw.apply(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
                            "PORTCHANNEL": {"PortChannel7": {}},
                            "VLAN": {"Vlan10": {}, "Vlan11": {}},
                            "VLAN_INTERFACE": {"Vlan10": {}, "Vlan11": {}}})"));
        ASSERT_EQ(host.hold_port_channel(*host.find("PortChannel7")), 0);
        Asic::instance().attr_set_batch(host.find("Vlan10")->intf_id(), SdkIntfAttrMtuIdx, 1500);
    }
};

} // namespace kvnsim
