#include "sim/switch/switch.h"

#include <algorithm>
#include <iterator>
#include <optional>

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
class Work {
public:
    Work(Switch &sw, const Desired &want, Applied &applied)
        : switch_(sw), have_(sw.have_), want_(want), applied_(applied)
    {}

    void carry_out(const Step &step)
    {
        using Action = void (Work::*)();
        static constexpr Action actions[] = {&Work::remove_virtual_mac,
                                             &Work::delete_sub_interface,
                                             &Work::delete_svi,
                                             &Work::remove_member,
                                             &Work::unroute_port_channel,
                                             &Work::delete_port_channel,
                                             &Work::unroute_port,
                                             &Work::delete_port,
                                             &Work::remove_router_mac,
                                             &Work::add_router_mac,
                                             &Work::add_port,
                                             &Work::route_port,
                                             &Work::add_port_channel,
                                             &Work::route_port_channel,
                                             &Work::add_member,
                                             &Work::add_svi,
                                             &Work::add_sub_interface,
                                             &Work::change_settings,
                                             &Work::add_virtual_mac};
        static_assert(std::size(actions) == static_cast<size_t>(StepKind::add_virtual_mac) + 1);

        step_ = &step;
        const CauseScope cause(step.cause.to_text());
        const size_t failures = applied_.failures.size();
        (this->*actions[static_cast<size_t>(step.kind)])();
        if (applied_.failures.size() == failures)
            switch_.last_failures_.erase(step.name);
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
                      has.place = wants.place;
                      has.l3_place = wants.l3_place;
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

        if (switch_.vpns_.empty())
            return;
        std::set<std::string> used;
        for (const auto &[name, settings] : switch_.settings_)
            used.insert(settings.vrf);
        for (auto vpn = switch_.vpns_.begin(); vpn != switch_.vpns_.end();)
            vpn = used.count(vpn->first) != 0 || want_.vrfs.count(vpn->first) != 0
                      ? std::next(vpn)
                      : switch_.vpns_.erase(vpn);
    }

private:
    template <class Map, class Take>
    static void take_over(Map &has, const Map &wants, const Take &take)
    {
        auto wanted = wants.begin();
        for (auto &[name, object] : has) {
            while (wanted != wants.end() && wants.key_comp()(wanted->first, name))
                ++wanted;
            if (wanted != wants.end() && wanted->first == name)
                take(object, wanted->second);
        }
    }

    /* ---- Failures ---- */

    void fail(std::string message, RequestRef request = nullptr)
    {
        switch_.last_failures_[step_->name] = message;
        applied_.failures.push_back({*step_, std::move(request), std::move(message)});
    }

    /* Whether the request came about, in full or in part; a call that failed within is reported
     * in either case. */
    bool done(const Response &response)
    {
        if (response.failed)
            fail(response.failure(), response.request);
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
            fail(step_->name + " is not there: an earlier step failed");
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
        interface.ip.mtu = static_cast<uint16_t>(to.mtu);
        interface.ip.ipv4_ucst_en = to.ipv4;
        interface.v4_vpn_id = interface.v6_vpn_id = vpn_number(to.vrf);
        interface.nat_zone = to.nat_zone;
    }

    /* Write what differs; what is refused stays as it was, to be tried again. */
    void write(HostInterface &interface, Settings &has, const Settings &to)
    {
        const uint32_t vpn = vpn_number(to.vrf);
        set_record(interface, to);
        const auto written = [&](int32_t type, uint32_t value) {
            return done_entirely(entry::set_l3_property(interface, type, value));
        };
        if (has.mtu != to.mtu && written(L3LIF_PROP_MTU, to.mtu))
            has.mtu = to.mtu;
        if (has.ipv4 != to.ipv4 && written(L3LIF_PROP_IPV4_UCST_EN, to.ipv4))
            has.ipv4 = to.ipv4;
        if (has.ipv6 != to.ipv6 && written(L3LIF_PROP_IPV6_UCST_EN, to.ipv6))
            has.ipv6 = to.ipv6;
        if (has.vrf != to.vrf) {
            const bool v4_written = written(L3LIF_PROP_IPV4_VPN, vpn);
            const bool v6_written = written(L3LIF_PROP_IPV6_VPN, vpn);
            if (v4_written && v6_written)
                has.vrf = to.vrf;
        }
        if (has.nat_zone != to.nat_zone && written(L3LIF_PROP_IF_NAT, to.nat_zone))
            has.nat_zone = to.nat_zone;
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
        Settings has;
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

    /* The port leaves whatever the ASIC made of it: a step that failed half-way cannot be made
     * again, the library keeps what is left. */
    void remove_member()
    {
        DesiredPortChannel &has = have_.port_channels.at(step_->other);
        const bool declined = switch_.declined_.erase({step_->other, step_->name}) != 0;
        has.members.erase(step_->name);
        if (!has.l3 || declined)
            return;
        HostInterface *const port = interface();
        if (port == nullptr || port->channel == nullptr)
            return;
        HostInterface &port_channel = *port->channel;
        const bool last = port_channel.membership.member_count == 1;
        done(entry::del_l3pc(*port, last));
        done(entry::del_l3pc_member(port_channel.ifindex, port->ifindex));
        host_.leave(*port);
        host_.unregister_l3(*port);
        if (port_channel.intf_id() == no_id)
            settings_.erase(port_channel.name);
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
        if (have_.routed_ports.count(step_->name) != 0) {
            fail(step_->name + " is still routed");
            return;
        }
        HostTask task("host: remove port", step_->name);
        Status status = host_.release_kept_intf(*port);
        if (status.ok())
            status = host_.release_port_lid(*port);
        if (!done(task, status))
            return;
        if (host_.remove(*port))
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
        if (!done(response))
            return;
        switch_.router_mac_id_ = static_cast<uint32_t>(response.result);
        have_.router_mac = step_->mac;
        have_.router_mac_place = step_->cause;
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
        HostTask task("host: give port its LID", step_->name);
        if (done(task, host_.make_port_lid(*port)))
            have_.ports.emplace_hint(have_.ports.end(), step_->name, wants);
    }

    void route_port()
    {
        HostInterface *const port = interface();
        if (port == nullptr)
            return;
        const DesiredRoutedPort &wants = want_.routed_ports.at(step_->name);
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
        has.l3_place = wants.l3_place;
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
        const Place &place = step_->cause;
        if (!has.l3) {
            has.members.emplace(step_->name, place);
            return;
        }

        HostInterface &port_channel = *host_.find(step_->other);
        /* The library's own rule, also for ports that were routed by hand. */
        const bool routed = port->intf_id() != no_id;
        if (!host_.join(*port, port_channel)) {
            fail(step_->name + " is a member of another port-channel");
            return;
        }
        const DesiredPortChannel &wants = want_.port_channels.at(step_->other);
        const Settings settings = settings_of(*wants.l3, wants.mtu);
        const bool was_built = port_channel.intf_id() != no_id;
        if (!was_built)
            set_record(port_channel, settings);
        host_.register_l3(*port);
        const Response response = entry::add_l3pc(*port, port_channel.membership.member_count == 1);
        const bool joined = done(response);
        done(entry::add_l3pc_member(port_channel.ifindex, port->ifindex));
        if (joined)
            has.members.emplace(step_->name, place);
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
    Cursor<ByName<Settings>> settings_{switch_.settings_};
    Cursor<ByName<DesiredSubInterface>> sub_interfaces_{have_.sub_interfaces};
    Cursor<ByName<DesiredSvi>> svis_{have_.svis};
    Cursor<const ByName<DesiredSubInterface>> wanted_sub_interfaces_{want_.sub_interfaces};
    Cursor<const ByName<DesiredSvi>> wanted_svis_{want_.svis};
};

Applied Switch::apply(const Plan &plan, const Desired &want, const std::function<bool()> &stop,
                      const std::function<void(size_t done, size_t of)> &progress)
{
    Applied applied;
    Work work(*this, want, applied);
    for (const Step &step : plan.steps) {
        if (stop && stop()) {
            applied.interrupted = true;
            break;
        }
        work.carry_out(step);
        if (progress)
            progress(applied.steps_done, plan.steps.size());
    }
    wanted_ = want;
    work.finish();
    return applied;
}

} // namespace kvnsim
