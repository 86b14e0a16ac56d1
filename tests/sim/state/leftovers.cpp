#include "tests/sim/state/leftovers.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

uint32_t number(const std::vector<Field> &fields, std::string_view name)
{
    for (const Field &field : fields) {
        if (field.name == name)
            return static_cast<uint32_t>(field.value.number());
    }
    return 0;
}
const Value &record(const std::vector<Field> &fields, std::string_view name)
{
    static const Value none;
    for (const Field &field : fields) {
        if (field.name == name)
            return field.value;
    }
    return none;
}
uint32_t word(const Value &of, std::string_view name)
{
    const Value *value = of.find(name);
    return value != nullptr ? static_cast<uint32_t>(value->number()) : 0;
}

template <class Map> bool holds(const Map &map, uint32_t value)
{
    return std::any_of(map.begin(), map.end(),
                       [&](const auto &entry) { return entry.second == value; });
}

std::string virtual_mac(const std::string &mac, const std::string &interface)
{
    return "virtual MAC " + mac + " of " + interface;
}

} // namespace

/* ---- Keeping the books ---- */

void Leftovers::aim(const Desired &want)
{
    want_ = want;
    for (const auto &[name, channel] : want.port_channels)
        channels_seen_.insert(name);
    for (const auto &[name, sub] : want.sub_interfaces)
        parent_[name] = sub.parent;
}

void Leftovers::request_begins(const Request &request)
{
    request_ = &request;
    subject_ = request.subject;
    made_intf_.reset();
    made_pc_.reset();
    made_lid_.reset();
    made_virtual_mac_.reset();
    path_added_ = lid_bound_ = tag_set_ = no_memory_ = false;
    const HostInterface *interface = Host::instance().find(subject_);
    channel_ = interface != nullptr && interface->channel != nullptr ? interface->channel->name
                                                                     : std::string();
    if (interface != nullptr && interface->kind == InterfaceKind::port)
        front_port_[subject_] = interface->number + 1;
    if (request.entry == std::string_view("host: give port its LID"))
        ports_.insert(subject_);
}

void Leftovers::call_made(const Call &call)
{
    const std::string_view name = call.what->name();
    no_memory_ |= name == "malloc";
    if (call.failed || request_ == nullptr)
        return;
    const auto in = [&](std::string_view field) { return number(call.inputs, field); };
    const auto out = [&](std::string_view field) { return number(call.outputs, field); };

    if (name == "libsdk_intf_create") {
        made_intf_ = out("intf_id");
        intfs_[*made_intf_] = {in("intf_type"), word(record(call.inputs, "params"), "param1"), {}};
    } else if (name == "libsdk_intf_destroy") {
        destroyed(in("intf_id"));
    } else if (name == "libsdk_intf_attr_set") {
        const uint32_t attribute = in("attr");
        intfs_[in("intf_id")].attributes[attribute] = word(record(call.inputs, "value"), "param1");
        lid_bound_ |= attribute == SdkIntfAttrLid;
        tag_set_ |= attribute == SdkIntfAttrDefSgt;
    } else if (name == "libsdk_portchannel_create") {
        made_pc_ = out("pc_id");
        pcs_.insert(*made_pc_);
    } else if (name == "libsdk_portchannel_destroy") {
        pcs_.erase(in("pc_id"));
    } else if (name == "libsdk_portchannel_member_add") {
        members_[front_port_.at(subject_)] = in("pc_id");
    } else if (name == "libsdk_portchannel_member_delete") {
        members_.erase(front_port_.at(subject_));
        joined_.erase({channel_, subject_});
    } else if (name == "libsdk_lid_entry_create") {
        made_lid_ = out("lid_id");
        lids_.insert(*made_lid_);
    } else if (name == "libsdk_lid_entry_destroy") {
        lids_.erase(in("lid_id"));
    } else if (name == "libsdk_lid_entry_path_add") {
        path_added_ = true;
    } else if (name == "libsdk_switch_router_mac_create") {
        router_mac_ = out("peer_mac_id");
        router_macs_[*router_mac_] = request_->arguments.to_text().substr(4);
    } else if (name == "libsdk_switch_router_mac_destroy") {
        router_macs_.erase(in("peer_mac_id"));
        router_mac_.reset();
    } else if (name == "libsdk_intf_router_mac_trap_create") {
        made_virtual_mac_ = {{subject_, request_->arguments.to_text().substr(4, 17)},
                             out("mac_trap_id")};
        traps_[out("mac_trap_id")] = in("intf_id");
    } else if (name == "libsdk_intf_router_mac_trap_destroy") {
        traps_.erase(in("mac_trap_id"));
        for (auto at = virtual_macs_.begin(); at != virtual_macs_.end();)
            at = at->second == in("mac_trap_id") ? virtual_macs_.erase(at) : std::next(at);
    } else if (name == "fwmpd_kvn_init_l3_label") {
        labels_[Host::instance().find(in("ifindex"))->name] = in("enable") != 0;
    } else if (name == "fwmpd_kvn_update_pc_sdb") {
        pc_rows_[channel_] = in("pc_id");
    } else if (name == "fwmpd_pc_member_intf_store") {
        if (in("flag") != 0)
            kept_[subject_] = in("intf_id");
        else
            kept_.erase(subject_);
    } else if (name == "l3lif_update_sdb_for_intf") {
        /* The host's record holds all that is wanted before the first property is written. */
        const std::string &of = Host::instance().find(in("l3lif"))->name;
        Published published;
        if (const L3Settings *l3 = wants(of, published.mtu)) {
            published.vrf = l3->vrf;
            published.nat_zone = l3->nat_zone;
            published.ipv4 = l3->ipv4;
        }
        published_[of] = published;
    }
}

void Leftovers::destroyed(uint32_t intf)
{
    intfs_.erase(intf);
    for (auto at = kept_.begin(); at != kept_.end();)
        at = at->second == intf ? kept_.erase(at) : std::next(at);
    const std::string *name = recorded_as(intf);
    if (name == nullptr)
        return;
    /* The library clears all identifiers of the context. */
    channels_.erase(*name);
    lid_of_.erase(*name);
    recorded_.erase(*name);
}

void Leftovers::request_ends(const Request &request)
{
    const std::string_view entry = request.entry;
    const bool done = request.result && *request.result == 0;
    if (entry == "l3lifpd_kvn_add_l3port" || entry == "l3lifpd_kvn_add_subint" ||
        entry == "l3lifpd_kvn_add_svi") {
        /* Recorded by the last step that can fail: what is made before stays without. */
        if (made_intf_ && done) {
            recorded_[subject_] = *made_intf_;
            const auto &attributes = intfs_[*made_intf_].attributes;
            if (const auto lid = attributes.find(SdkIntfAttrLid); lid != attributes.end())
                lid_of_[subject_] = lid->second;
        }
    } else if (entry == "l3lifpd_kvn_add_l3pc") {
        if (made_pc_ && made_lid_ && path_added_ && !no_memory_)
            channels_[channel_] = {*made_pc_, *made_lid_};
        /* The failure of the interface is not passed on. */
        if (made_intf_ && lid_bound_ && tag_set_) {
            recorded_[channel_] = *made_intf_;
            lid_of_[channel_] = channels_[channel_].lid;
        }
        if (done && recorded_.count(subject_) == 0)
            joined_.insert({channel_, subject_});
    } else if (entry == "l3lifpd_kvn_del_l3port" || entry == "l3lifpd_kvn_del_subint" ||
               entry == "l3lifpd_kvn_del_svi") {
        if (done) {
            recorded_.erase(subject_);
            lid_of_.erase(subject_);
            /* With the interface the host removes its rows. */
            labels_.erase(subject_);
            published_.erase(subject_);
        }
    } else if (entry == "l3lifpd_kvn_fhrp_mac_add") {
        if (made_virtual_mac_ && !no_memory_)
            virtual_macs_.insert(*made_virtual_mac_);
    } else if (entry == "host: give port its LID") {
        if (made_lid_ && lids_.count(*made_lid_) != 0)
            port_lid_[subject_] = *made_lid_;
    } else if (entry == "host: remove port") {
        const auto lid = port_lid_.find(subject_);
        if (lid != port_lid_.end() && lids_.count(lid->second) == 0)
            port_lid_.erase(lid);
        if (request.failed_calls == 0) {
            ports_.erase(subject_);
            front_port_.erase(subject_); /* the next port may get its number */
        }
    }
    request_ = nullptr;
}

/* ---- What is wanted ---- */

const L3Settings *Leftovers::wants(const std::string &name, uint32_t &mtu) const
{
    if (const auto at = want_.routed_ports.find(name); at != want_.routed_ports.end()) {
        mtu = want_.ports.at(name).mtu;
        return &at->second.l3;
    }
    if (const auto at = want_.port_channels.find(name); at != want_.port_channels.end()) {
        mtu = at->second.mtu;
        return at->second.l3 ? &*at->second.l3 : nullptr;
    }
    if (const auto at = want_.sub_interfaces.find(name); at != want_.sub_interfaces.end()) {
        mtu = at->second.mtu;
        return &at->second.l3;
    }
    if (const auto at = want_.svis.find(name); at != want_.svis.end()) {
        mtu = at->second.mtu;
        return &at->second.l3;
    }
    return nullptr;
}

bool Leftovers::is_wanted(const std::string &name) const
{
    uint32_t mtu = 0;
    return wants(name, mtu) != nullptr;
}

bool Leftovers::must_exist(const std::string &name) const
{
    if (!is_wanted(name))
        return false;
    const auto channel = want_.port_channels.find(name);
    if (channel == want_.port_channels.end())
        return true;
    const auto &members = channel->second.members;
    return std::any_of(members.begin(), members.end(), [&](const auto &member) {
        return want_.routed_ports.count(member.first) == 0;
    });
}

bool Leftovers::may_exist(const std::string &name) const
{
    return must_exist(name) || (is_wanted(name) && has_member(name));
}

bool Leftovers::has_member(const std::string &port_channel) const
{
    const auto member = joined_.lower_bound({port_channel, ""});
    return member != joined_.end() && member->first == port_channel;
}

const std::string *Leftovers::recorded_as(uint32_t intf) const
{
    for (const auto &[name, id] : recorded_) {
        if (id == intf)
            return &name;
    }
    return nullptr;
}

/* The host drops the record of a port-channel that is not routed any more, whatever is left in the
 * ASIC, but not while members or sub-interfaces stand on it. */
void Leftovers::forget_unrouted_channels()
{
    for (const std::string &name : channels_seen_) {
        if (is_wanted(name) || has_member(name) ||
            std::any_of(recorded_.begin(), recorded_.end(), [&](const auto &entry) {
                const auto parent = parent_.find(entry.first);
                return parent != parent_.end() && parent->second == name;
            }))
            continue;
        channels_.erase(name);
        recorded_.erase(name);
        lid_of_.erase(name);
        labels_.erase(name);
        published_.erase(name);
        pc_rows_.erase(name);
    }
}

/* ---- The findings ---- */

std::vector<std::string> Leftovers::findings(const Switch &of)
{
    forget_unrouted_channels();
    std::vector<std::string> found;
    orphans(found);
    gone(found);
    settings(of, found);
    not_there(found);
    not_wanted(found);
    std::sort(found.begin(), found.end());
    return found;
}

void Leftovers::orphans(std::vector<std::string> &found) const
{
    for (const auto &[id, intf] : intfs_) {
        if (!holds(recorded_, id) && !holds(kept_, id))
            found.push_back("orphan SDK interface " + std::to_string(id));
    }
    const auto of_channel = [&](auto member, uint32_t id) {
        return std::any_of(channels_.begin(), channels_.end(),
                           [&](const auto &entry) { return entry.second.*member == id; });
    };
    for (const uint32_t id : lids_) {
        if (!holds(port_lid_, id) && !of_channel(&Channel::lid, id))
            found.push_back("orphan LID entry " + std::to_string(id));
    }
    for (const uint32_t id : pcs_) {
        if (!of_channel(&Channel::pc, id))
            found.push_back("orphan SDK port-channel " + std::to_string(id));
    }
    for (const auto &[id, mac] : router_macs_) {
        if (router_mac_ != id)
            found.push_back("orphan router MAC " + std::to_string(id));
    }
    for (const auto &[id, intf] : traps_) {
        if (!holds(virtual_macs_, id))
            found.push_back("orphan MAC trap " + std::to_string(id));
    }
}

void Leftovers::gone(std::vector<std::string> &found) const
{
    for (const auto &[id, intf] : intfs_) {
        const auto lid = intf.attributes.find(SdkIntfAttrLid);
        if (lid != intf.attributes.end() && lids_.count(lid->second) == 0)
            found.push_back("dangling SDK interface " + std::to_string(id) +
                            (holds(recorded_, id) || holds(kept_, id) ? " LID entry" : " binding"));
    }
    for (const auto &[name, id] : recorded_) {
        const auto parent = parent_.find(name);
        if (parent != parent_.end() && recorded_.count(parent->second) == 0)
            found.push_back("dangling " + name + " parent");
        const auto lid = lid_of_.find(name);
        if (!is_channel(name) && lid != lid_of_.end() && lids_.count(lid->second) == 0)
            found.push_back("dangling " + name + " LID entry");
    }
    for (const auto &[name, channel] : channels_) {
        if (lids_.count(channel.lid) == 0)
            found.push_back("dangling " + name + " LID entry");
        if (pcs_.count(channel.pc) == 0)
            found.push_back("dangling " + name + " port-channel");
    }
    for (const auto &[key, trap] : virtual_macs_) {
        const auto now = recorded_.find(key.first);
        if (now == recorded_.end())
            found.push_back("dangling " + virtual_mac(key.second, key.first) + " interface");
        else if (now->second != traps_.at(trap))
            found.push_back("difference " + virtual_mac(key.second, key.first) + " MAC trap");
    }
}

void Leftovers::settings(const Switch &of, std::vector<std::string> &found) const
{
    for (const auto &recorded : recorded_) {
        const std::string &name = recorded.first;
        const uint32_t id = recorded.second;
        if (!may_exist(name))
            continue;
        uint32_t mtu = 0;
        const L3Settings &l3 = *wants(name, mtu);
        const auto &attributes = intfs_.at(id).attributes;
        const auto value = [&](uint32_t attribute, uint32_t initial) {
            const auto at = attributes.find(attribute);
            return at != attributes.end() ? at->second : initial;
        };
        const auto row = published_.find(name);
        const bool is_published = row != published_.end();
        const auto check = [&](const char *property, bool right) {
            if (!right)
                found.push_back("difference " + name + " " + property);
        };
        const uint32_t vpn = of.vpn_of(l3.vrf);
        const bool vrf_right = !is_published || row->second.vrf == l3.vrf;
        const bool labelled = intfs_.at(id).type == sdk_routed_port;
        check("MTU",
              value(SdkIntfAttrMtuIdx, 1500) == mtu && (!is_published || row->second.mtu == mtu));
        check("IPv4", value(SdkIntfAttrIpv4UcstEn, 0) == l3.ipv4 &&
                          (!is_published || row->second.ipv4 == l3.ipv4));
        check("IPv6", value(SdkIntfAttrIpv6UcstEn, 0) == l3.ipv6);
        check("IPv4 VPN", value(SdkIntfAttrIpv4Vpn, 0) == vpn && vrf_right);
        check("IPv6 VPN", value(SdkIntfAttrIpv6Vpn, 0) == vpn && vrf_right);
        check("NAT zone", !is_published || row->second.nat_zone == l3.nat_zone);
        check("IPv4 same-interface check", value(SdkIntfAttrIpv4SameIfCheck, 0) == 1);
        check("IGMP snooping label",
              value(SdkIntfAttrIngTblIgmpSnoopLabel, 0) == (labelled ? 16 : 0));

        const auto label = labels_.find(name);
        if (label == labels_.end())
            found.push_back("missing label_sdb row of " + name);
        else if (!label->second)
            found.push_back("difference label_sdb row of " + name + " L3 label");
        if (!is_published)
            found.push_back("missing l3lif_sdb row of " + name);
    }
    for (const auto &[name, channel] : channels_) {
        const auto row = pc_rows_.find(name);
        if (pcs_.count(channel.pc) == 0)
            continue;
        if (row == pc_rows_.end())
            found.push_back("missing pc_sdb row of " + name);
        else if (row->second != channel.pc)
            found.push_back("difference pc_sdb row of " + name + " port-channel");
    }
    for (const std::string &name : channels_seen_) {
        const auto label = labels_.find(name);
        if (label != labels_.end() && label->second && recorded_.count(name) == 0)
            found.push_back("difference label_sdb row of " + name + " L3 label");
    }
    if (router_mac_ && want_.router_mac &&
        router_macs_.at(*router_mac_) != to_text(*want_.router_mac))
        found.push_back("difference router MAC " + std::to_string(*router_mac_) + " MAC");
}

void Leftovers::not_there(std::vector<std::string> &found) const
{
    const auto check = [&](const std::string &name) {
        if (must_exist(name) && recorded_.count(name) == 0)
            found.push_back("missing " + name);
    };
    for (const auto &[name, port] : want_.ports) {
        if (port_lid_.count(name) == 0)
            found.push_back("missing " + name);
    }
    for (const auto &[name, object] : want_.routed_ports)
        check(name);
    for (const auto &[name, object] : want_.sub_interfaces)
        check(name);
    for (const auto &[name, object] : want_.svis)
        check(name);
    for (const auto &[name, object] : want_.port_channels) {
        check(name);
        for (const auto &[port, location] : object.members) {
            if (!object.l3 || want_.routed_ports.count(port) != 0)
                continue;
            const auto front = front_port_.find(port);
            const auto member =
                front != front_port_.end() ? members_.find(front->second) : members_.end();
            const auto channel = channels_.find(name);
            if (member == members_.end() || channel == channels_.end() ||
                member->second != channel->second.pc)
                found.push_back("missing " + port + " in " + name);
            else if (joined_.count({name, port}) == 0)
                found.push_back("difference " + port + " in " + name + " membership");
        }
    }
    for (const auto &[key, location] : want_.virtual_macs) {
        const std::string mac = to_text(key.mac);
        if (must_exist(key.interface) && virtual_macs_.count({key.interface, mac}) == 0)
            found.push_back("missing " + virtual_mac(mac, key.interface));
    }
    if (want_.router_mac && !router_mac_)
        found.push_back("missing router MAC " + to_text(*want_.router_mac));
}

void Leftovers::not_wanted(std::vector<std::string> &found) const
{
    std::set<std::string> names;
    for (const auto &[name, id] : recorded_) {
        if (!may_exist(name))
            names.insert(name);
    }
    for (const std::string &name : ports_) {
        if (want_.ports.count(name) == 0)
            names.insert(name);
    }
    for (const auto &[name, channel] : channels_) {
        if (!may_exist(name) && (pcs_.count(channel.pc) != 0 || lids_.count(channel.lid) != 0))
            names.insert(name);
    }
    for (const auto &[name, parent] : parent_) {
        if (is_channel(parent) && recorded_.count(name) != 0 &&
            want_.port_channels.count(parent) == 0)
            names.insert(parent);
    }
    for (const std::string &name : names)
        found.push_back("unwanted " + name);

    for (const auto &[front, pc] : members_) {
        for (const auto &[name, channel] : channels_) {
            if (channel.pc != pc)
                continue;
            const auto wanted = want_.port_channels.find(name);
            const auto port =
                std::find_if(front_port_.begin(), front_port_.end(),
                             [&, number = front](const auto &e) { return e.second == number; });
            if (wanted == want_.port_channels.end() ||
                wanted->second.members.count(port->first) == 0)
                found.push_back("unwanted front port " + std::to_string(front));
        }
    }
    for (const auto &[key, trap] : virtual_macs_) {
        const bool wanted = std::any_of(
            want_.virtual_macs.begin(), want_.virtual_macs.end(), [&, &mac = key](const auto &e) {
                return e.first.interface == mac.first && to_text(e.first.mac) == mac.second;
            });
        if (!wanted)
            found.push_back("unwanted " + virtual_mac(key.second, key.first));
    }
    if (router_mac_ && !want_.router_mac)
        found.push_back("unwanted router MAC " + std::to_string(*router_mac_));
}

} // namespace kvnsim
