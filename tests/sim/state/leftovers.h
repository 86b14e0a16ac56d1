#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sim/config/desired.h"
#include "sim/journal/journal.h"
#include "sim/switch/switch.h"

namespace kvnsim {

/* A second opinion on what must be wrong: keeps its own books of the ASIC and of the library's
 * records, from nothing but the requests and the results of their calls, by the rules of what each
 * request leaves behind when one of its calls fails. Nothing is rolled back; what was made before
 * the failure stays, recorded only when the rule says so. */
class Leftovers : public Observer {
public:
    /* From now on this is wanted. To be called before it is applied. */
    void aim(const Desired &want);
    /* What an audit must find, in its brief form, sorted. */
    std::vector<std::string> findings(const Switch &of);

    void request_begins(const Request &request) override;
    void call_made(const Call &call) override;
    void request_ends(const Request &request) override;

private:
    struct Interface { /* in the ASIC */
        uint32_t type = 0, parent = 0;
        std::map<uint32_t, uint32_t> attributes;
    };
    struct Channel { /* of a port-channel's record */
        uint32_t pc = 0, lid = 0;
    };
    struct Published {
        uint32_t mtu = 0, nat_zone = 0;
        bool ipv4 = false;
        std::string vrf;
    };
    using VirtualMacKey = std::pair<std::string, std::string>; /* interface, MAC */

    const L3Settings *wants(const std::string &name, uint32_t &mtu) const;
    bool must_exist(const std::string &name) const;
    bool may_exist(const std::string &name) const;
    bool has_member(const std::string &port_channel) const;
    bool is_wanted(const std::string &name) const;
    bool is_channel(const std::string &name) const { return channels_seen_.count(name) != 0; }
    bool is_port(const std::string &name) const { return ports_.count(name) != 0; }
    const std::string *recorded_as(uint32_t intf) const;
    void forget_unrouted_channels();
    void destroyed(uint32_t intf);

    void orphans(std::vector<std::string> &found) const;
    void gone(std::vector<std::string> &found) const;
    void settings(const Switch &of, std::vector<std::string> &found) const;
    void not_there(std::vector<std::string> &found) const;
    void not_wanted(std::vector<std::string> &found) const;

    Desired want_;
    std::set<std::string> channels_seen_;

    /* The ASIC */
    std::map<uint32_t, Interface> intfs_;
    std::set<uint32_t> lids_, pcs_;
    std::map<uint32_t, uint32_t> members_; /* front port -> port-channel */
    std::map<uint32_t, std::string> router_macs_;
    std::map<uint32_t, uint32_t> traps_; /* trap -> interface */

    /* The records of library and host, by name */
    std::set<std::string> ports_;
    std::map<std::string, uint32_t> recorded_, lid_of_, kept_, port_lid_, front_port_;
    std::map<std::string, Channel> channels_;
    std::map<std::string, std::string> parent_;
    std::set<std::pair<std::string, std::string>> joined_; /* (port-channel, port) */
    std::map<VirtualMacKey, uint32_t> virtual_macs_;
    std::optional<uint32_t> router_mac_;

    /* The shared database, by name */
    std::map<std::string, bool> labels_;
    std::map<std::string, Published> published_;
    std::map<std::string, uint32_t> pc_rows_;

    /* The request in flight */
    const Request *request_ = nullptr;
    std::string subject_, channel_;
    std::optional<uint32_t> made_intf_, made_pc_, made_lid_;
    std::optional<std::pair<VirtualMacKey, uint32_t>> made_virtual_mac_;
    bool path_added_ = false, lid_bound_ = false, tag_set_ = false, no_memory_ = false;
};

} // namespace kvnsim
