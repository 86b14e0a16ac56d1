#include "sim/switch/switch.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "l3lifpd_kavelin.h"
#include "platform_api/if_index.h"
#include "sim/sdk/asic.h"
#include "sim/switch/cursor.h"
#include "sim/switch/host_task.h"

namespace kvnsim {
namespace {

/* A new process of the forwarding manager starts with a library that knows no virtual MAC. */
void forget_virtual_macs()
{
    if (fhrp_mac_hash == nullptr)
        return;
    GHashTableIter entries;
    void *entry;
    g_hash_table_iter_init(&entries, fhrp_mac_hash);
    while (g_hash_table_iter_next(&entries, nullptr, &entry))
        free(entry);
    g_hash_table_destroy(fhrp_mac_hash);
    fhrp_mac_hash = nullptr;
}

/* What a new interface has without the library's doing. */
Settings new_settings()
{
    Settings settings;
    settings.ipv6 = false;
    settings.vrf = "";
    settings.nat_zone = 0;
    return settings;
}

/* The library gives up at the first call that is refused: what came before it was done. */
bool nothing_was_done(const Response &response, std::string_view first_call)
{
    return response.refused && (response.request->failed_calls == 0 ||
                                response.request->first_failure().name == first_call);
}

} // namespace

Switch::Switch()
{
    forget_virtual_macs();
    Host::instance().reset();
    Asic::instance().reset();
    Journal::instance().reset();
}

uint32_t Switch::vpn_of(const std::string &vrf) const
{
    const auto found = vpns_.find(vrf);
    return found == vpns_.end() ? 0 : found->second;
}

std::string Switch::why_not_sub_interface(uint32_t ifindex)
{
    const HostInterface *interface = Host::instance().find(ifindex);
    if (interface == nullptr || interface->kind != InterfaceKind::sub_interface)
        return "not a sub-interface";
    const HostInterface &parent = *interface->parent;
    if (!parent.registered)
        return "parent " + parent.name + " is not routed";
    const HostInterface &serving = parent.channel != nullptr ? *parent.channel : parent;
    const l3_pd *context = serving.context();
    if (context == nullptr || context->lid_id == no_id)
        return "parent " + parent.name + " has no LID";
    return {};
}

/* Carries out the steps of one plan. */
class Executor {
public:
    Executor(Switch &sw, const Desired &want, Applied &applied)
        : switch_(sw), have_(sw.have_), want_(want), applied_(applied)
    {}

    void carry_out(const Step &step)
    {
        step_ = &step;
        const CauseScope cause(step.cause.to_text());
        const size_t failures = applied_.failures.size();
        take_up({&step.name, step.kind, step.mac});
        perform();
        if (applied_.failures.size() == failures && object_goes(step.kind))
            drop_reasons(step.name, [](const Reason &) { return true; });
        applied_.steps_done++;
    }

    /* Take over what only the host keeps, and give VPN numbers back that nobody uses. */
    void finish()
    {
        take_over(have_.ports, want_.ports,
                  [](DesiredPort &has, const DesiredPort &wants) { has = wants; });
        take_over(have_.routed_ports, want_.routed_ports,
                  [](DesiredRoutedPort &has, const DesiredRoutedPort &wants) { has = wants; });
        take_over(have_.port_channels, want_.port_channels,
                  [](DesiredPortChannel &has, const DesiredPortChannel &wants) {
                      has.mtu = wants.mtu;
                      has.admin_up = wants.admin_up;
                      has.location = wants.location;
                      has.l3_location = wants.l3_location;
                      if (has.l3 && wants.l3)
                          has.l3 = wants.l3;
                  });
        take_over(have_.sub_interfaces, want_.sub_interfaces,
                  [](DesiredSubInterface &has, const DesiredSubInterface &wants) {
                      /* One that could not be deleted to be made anew is still the old one. */
                      if (has.parent == wants.parent && has.vlan == wants.vlan)
                          has = wants;
                  });
        take_over(have_.svis, want_.svis,
                  [](DesiredSvi &has, const DesiredSvi &wants) { has = wants; });
        have_.vlans = want_.vlans;
        have_.vrfs = want_.vrfs;
        have_.hostname = want_.hostname;
        drop_settled_reasons();

        if (switch_.vpns_.empty())
            return;
        std::set<std::string> used;
        for (const auto &[name, settings] : switch_.settings_) {
            if (!settings.vrf)
                return; /* any of them may be in use */
            used.insert(*settings.vrf);
        }
        for (auto vpn = switch_.vpns_.begin(); vpn != switch_.vpns_.end();)
            vpn = used.count(vpn->first) != 0 || want_.vrfs.count(vpn->first) != 0
                      ? std::next(vpn)
                      : switch_.vpns_.erase(vpn);
    }

private:
    template <class Map, class Take>
    static void take_over(Map &has, const Map &wants, const Take &take)
    {
        walk(has, wants, [&](const std::string &, auto *object, const auto *wanted) {
            if (object != nullptr && wanted != nullptr)
                take(*object, *wanted);
        });
    }

    void perform()
    {
        switch (step_->kind) {
        case StepKind::remove_virtual_mac:
            return remove_virtual_mac();
        case StepKind::delete_sub_interface:
            return delete_sub_interface();
        case StepKind::delete_svi:
            return delete_svi();
        case StepKind::remove_member:
            return remove_member();
        case StepKind::unroute_port_channel:
            return unroute_port_channel();
        case StepKind::delete_port_channel:
            return delete_port_channel();
        case StepKind::unroute_port:
            return unroute_port();
        case StepKind::delete_port:
            return delete_port();
        case StepKind::remove_router_mac:
            return remove_router_mac();
        case StepKind::add_router_mac:
            return add_router_mac();
        case StepKind::add_port:
            return add_port();
        case StepKind::route_port:
            return route_port();
        case StepKind::add_port_channel:
            return add_port_channel();
        case StepKind::route_port_channel:
            return route_port_channel();
        case StepKind::add_member:
            return add_member();
        case StepKind::add_svi:
            return add_svi();
        case StepKind::add_sub_interface:
            return add_sub_interface();
        case StepKind::change_settings:
            return change_settings();
        case StepKind::add_virtual_mac:
            return add_virtual_mac();
        }
    }

    /* ---- Failures ---- */

    /* What is being done to which object: a failure is the reason why that is not as wanted. */
    struct Concern {
        const std::string *object;
        StepKind kind;
        Mac mac;
        bool is_of(const Reason &reason) const { return reason.kind == kind && reason.mac == mac; }
    };

    /* What it failed for the last time is past. */
    void take_up(const Concern &concern)
    {
        concern_ = concern;
        drop_reasons(*concern.object, [&](const Reason &reason) { return concern.is_of(reason); });
    }

    static bool object_goes(StepKind kind)
    {
        return kind == StepKind::delete_sub_interface || kind == StepKind::delete_svi ||
               kind == StepKind::unroute_port_channel || kind == StepKind::delete_port_channel ||
               kind == StepKind::unroute_port || kind == StepKind::delete_port;
    }

    void fail(std::string message, RequestRef request = nullptr, bool in_part = false)
    {
        note(concern_, message, request, in_part);
        applied_.failures.push_back({*step_, std::move(request), std::move(message)});
    }

    /* The step cannot be made, for a reason that an earlier one has noted. */
    void fail_in_the_wake(std::string message)
    {
        if (switch_.failures_.count(*concern_.object) == 0)
            return fail(std::move(message));
        applied_.failures.push_back({*step_, nullptr, std::move(message)});
    }

    /* The first failure is the reason, what follows are its consequences. */
    void note(const Concern &concern, const std::string &message, const RequestRef &request,
              bool in_part)
    {
        std::vector<Reason> &reasons = switch_.failures_[*concern.object];
        if (std::none_of(reasons.begin(), reasons.end(),
                         [&](const Reason &reason) { return concern.is_of(reason); }))
            reasons.push_back({concern.kind,
                               concern.mac,
                               message,
                               {request, request != nullptr ? request->first_failure().name : ""},
                               in_part});
    }

    template <class Which> void drop_reasons(const std::string &object, const Which &which)
    {
        const auto found = switch_.failures_.find(object);
        if (found == switch_.failures_.end())
            return;
        std::vector<Reason> &reasons = found->second;
        reasons.erase(std::remove_if(reasons.begin(), reasons.end(), which), reasons.end());
        if (reasons.empty())
            switch_.failures_.erase(found);
    }

    /* What failed and would not be tried again is no longer wanted; what came about in part is not
     * as wanted while its object is there. Members build their port-channel. */
    void drop_settled_reasons()
    {
        if (switch_.failures_.empty())
            return;
        const Plan again = switch_.plan(want_);
        std::unordered_multimap<std::string_view, const Step *> outstanding;
        for (const Step &step : again.steps) {
            outstanding.emplace(step.name, &step);
            if (!step.other.empty())
                outstanding.emplace(step.other, &step);
        }
        for (auto at = switch_.failures_.begin(); at != switch_.failures_.end();) {
            const std::string &object = (at++)->first; /* it may be dropped */
            const bool there = host_.find(object) != nullptr;
            const auto [first, last] = outstanding.equal_range(object);
            drop_reasons(object, [&, first = first, last = last](const Reason &reason) {
                return !(reason.in_part && there) && std::none_of(first, last, [&](const auto &of) {
                    const Step &step = *of.second;
                    return step.other == object ||
                           (step.kind == reason.kind && step.mac == reason.mac);
                });
            });
        }
    }

    /* Whether the request came about, in full or in part; a call that failed within is reported
     * in either case. */
    bool done(const Response &response)
    {
        if (response.failed)
            fail(response.failure(), response.request, !response.refused);
        return !response.refused;
    }

    bool done(HostTask &task, const Status &status)
    {
        std::string failure = task.failure(status);
        if (!failure.empty())
            fail(std::move(failure), task.end());
        return status.ok();
    }

    HostInterface *interface()
    {
        HostInterface *found = host_.find(step_->name);
        if (found == nullptr)
            fail_in_the_wake(step_->name + " is not there: an earlier step failed");
        return found;
    }

    /* ---- Settings ---- */

    uint32_t vpn_number(const std::string &vrf)
    {
        if (vrf.empty())
            return 0;
        const auto found = switch_.vpns_.find(vrf);
        if (found != switch_.vpns_.end())
            return found->second;
        std::set<uint32_t> taken;
        for (const auto &[name, number] : switch_.vpns_)
            taken.insert(number);
        uint32_t number = 1;
        while (taken.count(number) != 0)
            ++number;
        return switch_.vpns_[vrf] = number;
    }

    void set_record(HostInterface &interface, const Settings &to)
    {
        interface.ip.mtu = *to.mtu;
        interface.ip.ipv4_ucst_en = *to.ipv4;
        interface.v4_vpn_id = interface.v6_vpn_id = vpn_number(*to.vrf);
        interface.nat_zone = *to.nat_zone;
    }

    /* Write what differs. What is refused may be written in part: it is tried again. */
    void write(HostInterface &interface, Settings &has, const Settings &to)
    {
        const Concern outer = concern_;
        take_up({&interface.name, StepKind::change_settings, {}});
        set_record(interface, to);
        const auto write = [&](auto &setting, const auto &value,
                               std::initializer_list<std::pair<int32_t, uint32_t>> properties) {
            if (setting == value)
                return false;
            bool written = true;
            for (const auto &[type, property] : properties)
                written &= done_entirely(entry::set_l3_property(interface, type, property));
            if (written)
                setting = value;
            else
                setting.reset();
            return true;
        };
        const uint32_t vpn = vpn_number(*to.vrf);
        write(has.mtu, to.mtu, {{L3LIF_PROP_MTU, *to.mtu}});
        const bool ipv4_changes = write(has.ipv4, to.ipv4, {{L3LIF_PROP_IPV4_UCST_EN, *to.ipv4}});
        write(has.ipv6, to.ipv6, {{L3LIF_PROP_IPV6_UCST_EN, *to.ipv6}});
        write(has.vrf, to.vrf, {{L3LIF_PROP_IPV4_VPN, vpn}, {L3LIF_PROP_IPV6_VPN, vpn}});
        write(has.nat_zone, to.nat_zone, {{L3LIF_PROP_IF_NAT, *to.nat_zone}});
        /* Unlike the others, this one the library does not publish. */
        if (ipv4_changes) {
            HostTask task("host: publish interface", interface.name);
            if (!done(task, host_.publish_settings(interface)))
                has.ipv4.reset();
        }
        concern_ = outer;
    }

    bool done_entirely(const Response &response)
    {
        done(response);
        return !response.failed;
    }

    /* The interface has just been created: the library gave it the record's MTU and IPv4. Where a
     * call failed, it is not known which of the two were written. */
    void write_new(HostInterface &interface, const Response &creation, const Settings &to)
    {
        Settings has = new_settings();
        if (!creation.failed) {
            has.mtu = to.mtu;
            has.ipv4 = to.ipv4;
        }
        write(interface, has, to);
        settings_.put(interface.name, std::move(has));
    }

    /* ---- Deletions ---- */

    void remove_virtual_mac()
    {
        HostInterface *const owner = interface();
        if (owner != nullptr && done_entirely(entry::fhrp_mac_del(step_->mac, owner->ifindex)))
            have_.virtual_macs.erase({step_->name, step_->mac});
    }

    /* The SDK interface is gone; so is the host's record of it. */
    void forget(HostInterface &gone)
    {
        settings_.erase(gone.name);
        host_.unregister_l3(gone);
        host_.remove(gone);
    }

    void delete_sub_interface()
    {
        HostInterface *const sub = interface();
        if (sub == nullptr || !done(entry::del_subint(*sub)))
            return;
        forget(*sub);
        sub_interfaces_.erase(step_->name);
    }

    void delete_svi()
    {
        HostInterface *const svi = interface();
        if (svi == nullptr || !done(entry::del_svi(*svi)))
            return;
        forget(*svi);
        svis_.erase(step_->name);
    }

    /* Unless the ASIC kept it, the port leaves whatever else failed: what is half torn down cannot
     * be made again, the library keeps what is left. */
    void remove_member()
    {
        DesiredPortChannel &has = have_.port_channels.at(step_->other);
        const bool declined = switch_.declined_.count({step_->other, step_->name}) != 0;
        HostInterface *const port = has.l3 && !declined ? interface() : nullptr;
        if (port != nullptr && port->channel != nullptr && !leave(*port))
            return;
        has.members.erase(step_->name);
        switch_.declined_.erase({step_->other, step_->name});
    }

    bool leave(HostInterface &port)
    {
        HostInterface &port_channel = *port.channel;
        const bool last = port_channel.membership.member_count == 1;
        if (last && port_channel.sub_interfaces != 0) {
            fail(port_channel.name + " still has sub-interfaces");
            return false;
        }
        const Response response = entry::del_l3pc(port, last);
        const bool stays = nothing_was_done(response, "libsdk_portchannel_member_delete") &&
                           response.request->first_failure().status != SDK_E_NOT_FOUND;
        if (response.failed) {
            if (!stays)
                take_up(building(port_channel));
            fail(response.failure(), response.request, !stays);
        }
        done(entry::del_l3pc_member(port_channel.ifindex, port.ifindex));
        if (stays)
            return false;
        host_.leave(port);
        host_.unregister_l3(port);
        if (port_channel.intf_id() == no_id)
            settings_.erase(port_channel.name);
        return true;
    }

    /* What its first member builds of a port-channel and its last one tears down. */
    static Concern building(const HostInterface &port_channel)
    {
        return {&port_channel.name, StepKind::route_port_channel, {}};
    }

    void unroute_port_channel()
    {
        HostInterface *const port_channel = interface();
        if (port_channel == nullptr)
            return;
        /* A member made by hand: the library follows it to the port-channel's context. */
        if (port_channel->membership.member_count != 0) {
            fail(step_->name + " still has members");
            return;
        }
        if (port_channel->sub_interfaces != 0) {
            fail(step_->name + " still has sub-interfaces");
            return;
        }
        settings_.erase(step_->name);
        host_.unregister_l3(*port_channel);
        have_.port_channels.at(step_->name).l3.reset();
    }

    void delete_port_channel()
    {
        HostInterface *const port_channel = interface();
        if (port_channel == nullptr)
            return;
        {
            HostTask task("host: release port-channel", step_->name);
            if (!done(task, host_.release_held_port_channel(*port_channel)))
                return;
        }
        if (!host_.remove(*port_channel)) {
            fail(step_->name + " still has sub-interfaces or members");
            return;
        }
        have_.port_channels.erase(step_->name);
    }

    void unroute_port()
    {
        HostInterface *const port = interface();
        if (port == nullptr)
            return;
        if (port->sub_interfaces != 0) {
            fail(step_->name + " still has sub-interfaces");
            return;
        }
        if (!done(entry::del_l3port(*port)))
            return;
        settings_.erase(step_->name);
        host_.unregister_l3(*port);
        have_.routed_ports.erase(step_->name);
    }

    void delete_port()
    {
        HostInterface *const port = interface();
        if (port == nullptr)
            return;
        /* Members and interfaces made by hand are none of this plan's. */
        if (port->channel != nullptr)
            return fail(step_->name + " is still a member of " + port->channel->name);
        if (port->intf_id() != no_id)
            return fail(step_->name + " is still routed");
        if (port->sub_interfaces != 0)
            return fail(step_->name + " still has sub-interfaces");
        HostTask task("host: remove port", step_->name);
        Status status = host_.release_kept_intf(*port);
        if (status.ok())
            status = host_.release_port_lid(*port);
        if (!done(task, status))
            return;
        host_.remove(*port);
        have_.ports.erase(step_->name);
    }

    void remove_router_mac()
    {
        if (!done(entry::rmac_del(static_cast<int32_t>(switch_.router_mac_id_))))
            return;
        switch_.router_mac_id_ = no_id;
        have_.router_mac.reset();
    }

    /* ---- Creations ---- */

    void add_router_mac()
    {
        if (have_.router_mac) {
            fail("the old router MAC could not be removed");
            return;
        }
        const Response response = entry::rmac_add(step_->mac);
        if (!done_entirely(response))
            return;
        switch_.router_mac_id_ = static_cast<uint32_t>(response.result);
        have_.router_mac = step_->mac;
        have_.router_mac_location = step_->cause;
    }

    void add_port()
    {
        HostInterface *port = host_.find(step_->name);
        for (uint32_t number = 0; port == nullptr && number <= max_port; ++number) {
            if (host_.find(port_ifindex(number)) == nullptr)
                port = host_.add_port(step_->name, number);
        }
        if (port == nullptr) {
            fail("no front-panel port is left");
            return;
        }
        const DesiredPort &wants = want_.ports.at(step_->name);
        port->alias = wants.alias;
        have_.ports.emplace(step_->name, wants);
        HostTask task("host: give port its LID", step_->name);
        done(task, host_.make_port_lid(*port));
    }

    void route_port()
    {
        HostInterface *const port = interface();
        if (port == nullptr)
            return;
        const DesiredRoutedPort &wants = want_.routed_ports.at(step_->name);
        /* The library would take the port-channel's interface for the port's. */
        if (port->channel != nullptr)
            return fail(step_->name + " is still a member of " + port->channel->name);
        if (port->kept_intf) {
            HostTask task("host: release kept SDK interface", step_->name);
            if (!done(task, host_.release_kept_intf(*port)))
                return;
        }
        set_record(*port, step_->settings);
        host_.register_l3(*port);
        const Response response = entry::add_l3port(*port, 1);
        if (!done(response)) {
            host_.unregister_l3(*port);
            return;
        }
        have_.routed_ports.emplace_hint(have_.routed_ports.end(), step_->name, wants);
        write_new(*port, response, step_->settings);
    }

    void add_port_channel()
    {
        const DesiredPortChannel &wants = want_.port_channels.at(step_->name);
        if (host_.add_port_channel(step_->name, wants.number) == nullptr) {
            fail("channel number " + std::to_string(wants.number) + " is taken");
            return;
        }
        DesiredPortChannel has = wants;
        has.l3.reset();
        has.members.clear();
        have_.port_channels.emplace(step_->name, std::move(has));
    }

    void route_port_channel()
    {
        HostInterface *const port_channel = interface();
        if (port_channel == nullptr)
            return;
        const DesiredPortChannel &wants = want_.port_channels.at(step_->name);
        set_record(*port_channel, step_->settings);
        host_.register_l3(*port_channel);
        DesiredPortChannel &has = have_.port_channels.at(step_->name);
        has.l3 = wants.l3;
        has.l3_location = wants.l3_location;
        if (port_channel->membership.member_count == 0)
            return; /* its first member builds it */
        const Response response = entry::add_l3port(*port_channel, 1);
        if (done(response))
            write_new(*port_channel, response, step_->settings);
    }

    void add_member()
    {
        const auto found = have_.port_channels.find(step_->other);
        HostInterface *const port = interface();
        if (port == nullptr || found == have_.port_channels.end()) {
            if (port != nullptr)
                fail("port-channel " + step_->other + " is not there: an earlier step failed");
            return;
        }
        DesiredPortChannel &has = found->second;
        const SourceLocation &location = step_->cause;
        if (!has.l3) {
            has.members.emplace(step_->name, location);
            return;
        }
        const DesiredPortChannel &wants = want_.port_channels.at(step_->other);
        if (!wants.l3)
            return fail(step_->other + " is still routed: an earlier step failed");

        HostInterface &port_channel = *host_.find(step_->other);
        /* The library's own rule, also for ports that were routed by hand. */
        const bool routed = port->intf_id() != no_id;
        if (!host_.join(*port, port_channel)) {
            fail(step_->name + " is a member of another port-channel");
            return;
        }
        const Settings settings = settings_of(*wants.l3, wants.mtu);
        const bool was_built = port_channel.intf_id() != no_id;
        if (!was_built)
            set_record(port_channel, settings);
        if (port_channel.membership.member_count == 1)
            take_up(building(port_channel));
        host_.register_l3(*port);
        const Response response = entry::add_l3pc(*port, port_channel.membership.member_count == 1);
        const bool joined = done(response);
        done(entry::add_l3pc_member(port_channel.ifindex, port->ifindex));
        if (joined)
            has.members.emplace(step_->name, location);
        else
            note({&step_->name, step_->kind, {}}, response.failure(), response.request, false);
        if (joined && routed)
            switch_.declined_.insert({step_->other, step_->name});
        if (!joined || routed)
            host_.leave(*port);
        if (!joined && !routed)
            host_.unregister_l3(*port);
        if (!was_built && port_channel.intf_id() != no_id)
            write_new(port_channel, response, settings);
    }

    void add_svi()
    {
        const DesiredSvi &wants = *wanted_svis_.find(step_->name);
        HostInterface *const svi = host_.add_svi(step_->name, wants.vlan);
        if (svi == nullptr) {
            fail("VLAN " + std::to_string(wants.vlan) + " has an SVI already");
            return;
        }
        set_record(*svi, step_->settings);
        host_.register_l3(*svi);
        const Response response = entry::add_svi(*svi, wants.vlan);
        if (!done(response)) {
            forget(*svi);
            return;
        }
        svis_.put(step_->name, wants);
        write_new(*svi, response, step_->settings);
    }

    void add_sub_interface()
    {
        const DesiredSubInterface &wants = *wanted_sub_interfaces_.find(step_->name);
        HostInterface *const parent = host_.find(wants.parent);
        HostInterface *const sub =
            parent != nullptr ? host_.add_sub_interface(step_->name, *parent, wants.vlan) : nullptr;
        if (sub == nullptr) {
            fail(parent != nullptr ? "a sub-interface of this name is still there"
                                   : "parent " + wants.parent + " is not there");
            return;
        }
        const std::string why_not = Switch::why_not_sub_interface(sub->ifindex);
        if (!why_not.empty()) {
            host_.remove(*sub);
            fail("refused, the library would abort: " + why_not);
            return;
        }
        set_record(*sub, step_->settings);
        host_.register_l3(*sub);
        const Response response = entry::add_subint(*sub, wants.vlan, 1);
        if (!done(response)) {
            forget(*sub);
            return;
        }
        sub_interfaces_.put(step_->name, wants);
        write_new(*sub, response, step_->settings);
    }

    /* ---- Changes ---- */

    void change_settings()
    {
        HostInterface *const changed = interface();
        Settings *const has = settings_.find(step_->name);
        if (changed != nullptr && has != nullptr)
            write(*changed, *has, step_->settings);
    }

    void add_virtual_mac()
    {
        HostInterface *const owner = interface();
        if (owner != nullptr && done_entirely(entry::fhrp_mac_add(step_->mac, owner->ifindex)))
            have_.virtual_macs.insert({{step_->name, step_->mac}, step_->cause});
    }

    Switch &switch_;
    Desired &have_;
    const Desired &want_;
    Applied &applied_;
    Host &host_ = Host::instance();
    const Step *step_ = nullptr;
    Concern concern_{};
    Cursor<ByName<Settings>> settings_{switch_.settings_};
    Cursor<ByName<DesiredSubInterface>> sub_interfaces_{have_.sub_interfaces};
    Cursor<ByName<DesiredSvi>> svis_{have_.svis};
    Cursor<const ByName<DesiredSubInterface>> wanted_sub_interfaces_{want_.sub_interfaces};
    Cursor<const ByName<DesiredSvi>> wanted_svis_{want_.svis};
};

Applied Switch::apply(const Plan &plan, std::shared_ptr<const Desired> want,
                      const std::function<bool()> &stop,
                      const std::function<void(size_t done, size_t of)> &progress)
{
    Applied applied;
    wanted_ = std::move(want);
    Executor work(*this, *wanted_, applied);
    for (const Step &step : plan.steps) {
        if (stop && stop()) {
            applied.interrupted = true;
            break;
        }
        work.carry_out(step);
        if (progress)
            progress(applied.steps_done, plan.steps.size());
    }
    work.finish();
    return applied;
}

} // namespace kvnsim
