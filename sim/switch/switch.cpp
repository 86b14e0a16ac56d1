/* The executor carries out the steps of a plan. After each step, have_ holds what has been applied,
 * and failures_ the first reason why an object is not as wanted: the next plan starts from there. A
 * failed step does not stop the others. SDK interfaces are created and deleted through the
 * choreography only. */
#include "sim/switch/switch.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "l3lifpd_kavelin.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"
#include "sim/switch/allocations.h"
#include "sim/switch/choreography.h"
#include "sim/switch/cursor.h"
#include "sim/switch/entry_points.h"
#include "sim/switch/virtual_macs.h"

namespace kvnsim {

Switch::Switch()
{
    watch_allocations();
    forget_virtual_macs();
    Host::instance().reset();
    Asic::instance().reset();
    Journal::instance().reset();
}

void Switch::resume(SwitchMemory memory)
{
    have_ = std::move(memory.have);
    wanted_ = std::move(memory.wanted);
    settings_ = std::move(memory.settings);
    declined_ = std::move(memory.declined);
    vpns_ = std::move(memory.vpns);
    failures_ = std::move(memory.failures);
    router_mac_id_ = memory.router_mac_id;
}

uint32_t Switch::vpn_of(const std::string &vrf) const
{
    const auto found = vpns_.find(vrf);
    return found == vpns_.end() ? 0 : found->second;
}

/* Carries out the steps of one plan. */
class Executor {
public:
    Executor(Switch &sw, const Desired &want, Applied &applied)
        : switch_(sw), have_(sw.have_), want_(want), applied_(applied)
    {}

    void carry_out(const Step &step)
    {
        const CauseScope cause(step.cause);
        const size_t failures = applied_.failures.size();
        const Row &row = row_of(step.kind);
        retried_.clear();
        take_up(own(step));
        if (row.alone != nullptr)
            (this->*row.alone)(step);
        else if (HostInterface *const found = object(step))
            (this->*row.with_object)(step, *found);
        if (applied_.failures.size() == failures) {
            for (const uint64_t failed : retried_)
                applied_.made_up_for[failed] = Journal::instance().requests_made();
            if (row.object_goes)
                drop_reasons(step.name, [](const Reason &) { return true; });
        }
        applied_.steps_done++;
    }

    /* Take over what only the host keeps, and release unused VPN numbers. */
    void finish()
    {
        if (had_something_)
            take_over_all();
        for (const auto &[name, port] : have_.ports) {
            if (HostInterface *const there = host_.find(name))
                there->alias = port.alias;
        }
        have_.vlans = want_.vlans;
        have_.vrfs = want_.vrfs;
        have_.hostname = want_.hostname;
        drop_settled_reasons();
        release_vpns();
    }

private:
    /* What this plan created is as wanted already; what was there before may differ. */
    void take_over_all()
    {
        const auto all = [](auto &has, const auto &wants) { has = wants; };
        take_over(have_.ports, want_.ports, [](DesiredPort &has, const DesiredPort &wants) {
            /* One that could not be removed still has its old number. */
            const uint32_t front_port = has.front_port;
            has = wants;
            has.front_port = front_port;
        });
        take_over(have_.routed_ports, want_.routed_ports, all);
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
                      /* One that could not be deleted for recreation is still the old one. */
                      if (has.parent == wants.parent && has.vlan == wants.vlan)
                          has = wants;
                  });
        take_over(have_.svis, want_.svis, all);
    }

    void release_vpns()
    {
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

    template <class Map, class Take>
    static void take_over(Map &has, const Map &wants, const Take &take)
    {
        walk(has, wants, [&](const std::string &, auto *object, const auto *wanted) {
            if (object != nullptr && wanted != nullptr)
                take(*object, *wanted);
        });
    }

    /* What carries out a step, without or with the host's record of its object. */
    struct Row {
        void (Executor::*alone)(const Step &);
        void (Executor::*with_object)(const Step &, HostInterface &);
        bool object_goes; /* and with it the reasons kept for it */
    };

    static const Row &row_of(StepKind kind)
    {
        static constexpr Row rows[] = {
            /* in the order of StepKind */
            {nullptr, &Executor::remove_virtual_mac, false},
            {nullptr, &Executor::delete_sub_interface, true},
            {nullptr, &Executor::delete_svi, true},
            {&Executor::remove_member, nullptr, false},
            {nullptr, &Executor::unroute_port_channel, true},
            {nullptr, &Executor::delete_port_channel, true},
            {nullptr, &Executor::unroute_port, true},
            {nullptr, &Executor::delete_port, true},
            {&Executor::remove_router_mac, nullptr, false},
            {&Executor::add_router_mac, nullptr, false},
            {&Executor::add_port, nullptr, false},
            {nullptr, &Executor::route_port, false},
            {&Executor::add_port_channel, nullptr, false},
            {nullptr, &Executor::route_port_channel, false},
            {nullptr, &Executor::add_member, false},
            {&Executor::add_svi, nullptr, false},
            {&Executor::add_sub_interface, nullptr, false},
            {nullptr, &Executor::change_settings, false},
            {nullptr, &Executor::add_virtual_mac, false},
        };
        return rows[static_cast<size_t>(kind)];
    }

    /* ---- Failures ---- */

    /* What is done to which object, in which step: a failure is the reason why that object is not
     * as wanted. */
    struct Concern {
        const Step &step;
        const std::string &object;
        StepKind kind;
        Mac mac;
        bool is_of(const Reason &reason) const { return reason.kind == kind && reason.mac == mac; }
    };
    static Concern own(const Step &step) { return {step, step.name, step.kind, step.mac}; }
    /* A port-channel's creation by its first member and deletion by its last. */
    static Concern building(const Step &step, const HostInterface &port_channel)
    {
        return {step, port_channel.name, StepKind::route_port_channel, {}};
    }

    /* A new try replaces the last failure. */
    void take_up(const Concern &concern)
    {
        drop_reasons(concern.object, [&](const Reason &reason) {
            const bool is_retried = concern.is_of(reason);
            if (is_retried && reason.origin.request)
                retried_.push_back(reason.origin.number());
            return is_retried;
        });
    }

    void fail(const Concern &concern, std::string message, RequestRef request = nullptr,
              bool in_part = false)
    {
        note(concern, message, request, in_part);
        applied_.failures.push_back({concern.step, std::move(request), std::move(message)});
    }
    void fail(const Step &step, std::string message) { fail(own(step), std::move(message)); }

    /* The first failure is the reason; the others are consequences. */
    void note(const Concern &concern, const std::string &message, const RequestRef &request,
              bool in_part)
    {
        std::vector<Reason> &reasons = switch_.failures_[concern.object];
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

    /* A failure that would not be tried again is no longer wanted. One in part is kept while its
     * object exists. Members create their port-channel. */
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

    /* Whether the request succeeded, in full or in part. A failed call is reported in either
     * case. */
    bool done(const Concern &concern, const Response &response)
    {
        if (response.failed)
            fail(concern, response.failure(), response.request, !response.refused);
        return !response.refused;
    }
    bool done_entirely(const Concern &concern, const Response &response)
    {
        done(concern, response);
        return !response.failed;
    }

    /* The step's object. If it is missing, an earlier step has noted the reason. */
    HostInterface *object(const Step &step)
    {
        HostInterface *found = host_.find(step.name);
        if (found == nullptr) {
            std::string message = step.name + " does not exist: an earlier step failed";
            if (switch_.failures_.count(step.name) == 0)
                fail(step, std::move(message));
            else
                applied_.failures.push_back({step, nullptr, std::move(message)});
        }
        return found;
    }

    /* ---- Settings ---- */

    /* A new VRF gets the lowest number that is free. None is given back before the last step. */
    uint32_t vpn_number(const std::string &vrf)
    {
        if (vrf.empty())
            return 0;
        const auto found = switch_.vpns_.find(vrf);
        if (found != switch_.vpns_.end())
            return found->second;
        if (last_vpn_ == 0) {
            for (const auto &[name, number] : switch_.vpns_)
                taken_vpns_.insert(number);
        }
        do
            ++last_vpn_;
        while (taken_vpns_.count(last_vpn_) != 0);
        return switch_.vpns_[vrf] = last_vpn_;
    }

    void set_record(HostInterface &interface, const Settings &to)
    {
        interface.ip.mtu = *to.mtu;
        interface.ip.ipv4_ucst_en = *to.ipv4;
        interface.v4_vpn_id = interface.v6_vpn_id = vpn_number(*to.vrf);
        interface.nat_zone = *to.nat_zone;
    }

    /* Write what differs. A refused setting may be written in part: it is tried again. */
    void write(const Step &step, HostInterface &interface, Settings &has, const Settings &to)
    {
        const Concern concern{step, interface.name, StepKind::change_settings, {}};
        take_up(concern);
        set_record(interface, to);
        const auto write = [&](auto &setting, const auto &value,
                               std::initializer_list<std::pair<int32_t, uint32_t>> properties) {
            if (setting == value)
                return false;
            bool written = true;
            for (const auto &[type, property] : properties)
                written &=
                    done_entirely(concern, entry::set_l3_property(interface, type, property));
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
        /* The library publishes the others, but not this one. */
        if (ipv4_changes &&
            !done(concern, host_task("host: publish interface", interface.name,
                                     [&] { return host_.publish_settings(interface); })))
            has.ipv4.reset();
    }

    /* The interface has just been created with the record's MTU and IPv4. If a call failed, it is
     * unknown which of the two were written. */
    void write_new(const Step &step, HostInterface &interface, const Response &creation,
                   const Settings &to)
    {
        Settings has{{}, {}, false, "", 0};
        if (!creation.failed) {
            has.mtu = to.mtu;
            has.ipv4 = to.ipv4;
        }
        write(step, interface, has, to);
        settings_.put(interface.name, std::move(has));
    }

    /* ---- Deletions ---- */

    void remove_virtual_mac(const Step &step, HostInterface &owner)
    {
        if (done_entirely(own(step), entry::fhrp_mac_del(step.mac, owner.ifindex)))
            have_.virtual_macs.erase({step.name, step.mac});
    }

    /* Delete the SDK interface of the step's object. */
    bool delete_l3(const Step &step, HostInterface &gone)
    {
        if (!done(own(step), delete_interface(gone)))
            return false;
        settings_.erase(step.name);
        return true;
    }

    void delete_sub_interface(const Step &step, HostInterface &sub)
    {
        if (delete_l3(step, sub) && host_.remove(sub))
            sub_interfaces_.erase(step.name);
    }

    void delete_svi(const Step &step, HostInterface &svi)
    {
        if (delete_l3(step, svi) && host_.remove(svi))
            svis_.erase(step.name);
    }

    void remove_member(const Step &step)
    {
        DesiredPortChannel &has = have_.port_channels.at(step.other);
        const bool declined = switch_.declined_.count({step.other, step.name}) != 0;
        HostInterface *const port = has.l3 && !declined ? object(step) : nullptr;
        if (port != nullptr && port->channel != nullptr && !leaves(step, *port))
            return;
        has.members.erase(step.name);
        switch_.declined_.erase({step.other, step.name});
    }

    bool leaves(const Step &step, HostInterface &port)
    {
        const HostInterface &port_channel = *port.channel;
        const Response response = leave(port);
        const bool left = port.channel == nullptr;
        if (response.failed) {
            const Concern concern = left ? building(step, port_channel) : own(step);
            take_up(concern);
            fail(concern, response.failure(), response.request, left);
        }
        if (left && port_channel.intf_id() == no_id)
            settings_.erase(port_channel.name);
        return left;
    }

    /* Its last member has removed it from the ASIC. */
    void unroute_port_channel(const Step &step, HostInterface &port_channel)
    {
        /* A member added by hand: the library follows it to the port-channel's context. */
        if (const std::string use = in_use(port_channel); !use.empty())
            return fail(step, use);
        settings_.erase(step.name);
        host_.unregister_l3(port_channel);
        have_.port_channels.at(step.name).l3.reset();
    }

    void delete_port_channel(const Step &step, HostInterface &port_channel)
    {
        if (!done(own(step), release_port_channel(port_channel)))
            return;
        if (!host_.remove(port_channel))
            return fail(step, step.name + " still has sub-interfaces or members");
        have_.port_channels.erase(step.name);
    }

    void unroute_port(const Step &step, HostInterface &port)
    {
        if (delete_l3(step, port))
            have_.routed_ports.erase(step.name);
    }

    void delete_port(const Step &step, HostInterface &port)
    {
        /* Members and interfaces made by hand are not part of this plan. */
        if (port.channel == nullptr && port.intf_id() != no_id)
            return fail(step, step.name + " is still routed");
        if (const std::string use = in_use(port); !use.empty())
            return fail(step, use);
        if (port.sub_interfaces != 0)
            return fail(step, step.name + " still has sub-interfaces");
        const Response response = host_task("host: remove port", step.name, [&] {
            const int32_t status = host_.release_kept_intf(port);
            return status != 0 ? status : host_.release_port_lid(port);
        });
        if (!done(own(step), response))
            return;
        host_.remove(port);
        have_.ports.erase(step.name);
    }

    void remove_router_mac(const Step &step)
    {
        if (!done(own(step), entry::rmac_del(switch_.router_mac_id_)))
            return;
        switch_.router_mac_id_ = no_id;
        have_.router_mac.reset();
    }

    /* ---- Creations ---- */

    void add_router_mac(const Step &step)
    {
        if (have_.router_mac)
            return fail(step, "the old router MAC could not be removed");
        const Response response = entry::rmac_add(step.mac);
        if (!done_entirely(own(step), response))
            return;
        switch_.router_mac_id_ = static_cast<uint32_t>(response.result);
        have_.router_mac = step.mac;
        have_.router_mac_location = step.cause;
    }

    void add_port(const Step &step)
    {
        const DesiredPort &wants = want_.ports.at(step.name);
        HostInterface *port = host_.find(step.name);
        if (port != nullptr && wants.front_port != 0 && port->number + 1 != wants.front_port)
            return fail(step, "the port still exists with another number: an earlier step failed");
        if (port == nullptr && wants.front_port != 0)
            port = host_.add_port(step.name, wants.front_port - 1);
        for (uint32_t number = 0; port == nullptr && wants.front_port == 0 && number <= max_port;
             ++number) {
            if (host_.find(port_ifindex(number)) == nullptr)
                port = host_.add_port(step.name, number);
        }
        if (port == nullptr)
            return fail(step, "its front-panel number is taken: an earlier step failed");
        have_.ports.emplace(step.name, wants);
        done(own(step), give_port_lid(*port));
    }

    bool create(const Step &step, HostInterface &interface)
    {
        const auto prepare = [&] { set_record(interface, step.settings); };
        const Response creation = create_interface(interface, interface.vlan, std::cref(prepare));
        if (!done(own(step), creation))
            return false;
        if (creation.request != nullptr)
            write_new(step, interface, creation, step.settings);
        return true;
    }

    void route_port(const Step &step, HostInterface &port)
    {
        if (create(step, port))
            have_.routed_ports.emplace_hint(have_.routed_ports.end(), step.name,
                                            want_.routed_ports.at(step.name));
    }

    void add_port_channel(const Step &step)
    {
        const DesiredPortChannel &wants = want_.port_channels.at(step.name);
        if (host_.add_port_channel(step.name, wants.number) == nullptr)
            return fail(step, "channel number " + std::to_string(wants.number) + " is taken");
        DesiredPortChannel has = wants;
        has.l3.reset();
        has.members.clear();
        have_.port_channels.emplace(step.name, std::move(has));
    }

    void route_port_channel(const Step &step, HostInterface &port_channel)
    {
        const DesiredPortChannel &wants = want_.port_channels.at(step.name);
        DesiredPortChannel &has = have_.port_channels.at(step.name);
        has.l3 = wants.l3;
        has.l3_location = wants.l3_location;
        create(step, port_channel);
    }

    void add_member(const Step &step, HostInterface &port)
    {
        const auto found = have_.port_channels.find(step.other);
        if (found == have_.port_channels.end())
            return fail(step,
                        "port-channel " + step.other + " does not exist: an earlier step failed");
        DesiredPortChannel &has = found->second;
        if (!has.l3) {
            has.members.emplace(step.name, step.cause);
            return;
        }
        const DesiredPortChannel &wants = want_.port_channels.at(step.other);
        if (!wants.l3)
            return fail(step, step.other + " is still routed: an earlier step failed");

        HostInterface &port_channel = *host_.find(step.other);
        if (!host_.join(port, port_channel))
            return fail(step, step.name + " is a member of another port-channel");
        const Settings settings = settings_of(*wants.l3, wants.mtu);
        const bool was_built = port_channel.intf_id() != no_id;
        if (!was_built)
            set_record(port_channel, settings);
        const Concern concern =
            port_channel.membership.member_count == 1 ? building(step, port_channel) : own(step);
        take_up(concern);
        const Response response = join(port);
        if (done(concern, response)) {
            has.members.emplace(step.name, step.cause);
            if (port.channel == nullptr)
                switch_.declined_.insert({step.other, step.name});
        } else {
            note(own(step), response.failure(), response.request, false);
        }
        if (!was_built && port_channel.intf_id() != no_id)
            write_new(step, port_channel, response, settings);
    }

    void add_svi(const Step &step)
    {
        const DesiredSvi &wants = *wanted_svis_.find(step.name);
        HostInterface *const svi = host_.add_svi(step.name, wants.vlan);
        if (svi == nullptr)
            return fail(step, "VLAN " + std::to_string(wants.vlan) + " already has an SVI");
        if (create(step, *svi))
            svis_.put(step.name, wants);
        else
            host_.remove(*svi);
    }

    void add_sub_interface(const Step &step)
    {
        const DesiredSubInterface &wants = *wanted_sub_interfaces_.find(step.name);
        HostInterface *const parent = host_.find(wants.parent);
        if (parent == nullptr)
            return fail(step, "parent " + wants.parent + " does not exist");
        HostInterface *const sub = host_.add_sub_interface(step.name, *parent, wants.vlan);
        if (sub == nullptr)
            return fail(step, "a sub-interface of this name still exists");
        if (create(step, *sub))
            sub_interfaces_.put(step.name, wants);
        else
            host_.remove(*sub);
    }

    /* ---- Changes ---- */

    void change_settings(const Step &step, HostInterface &changed)
    {
        if (Settings *const has = settings_.find(step.name))
            write(step, changed, *has, step.settings);
    }

    void add_virtual_mac(const Step &step, HostInterface &owner)
    {
        if (done_entirely(own(step), entry::fhrp_mac_add(step.mac, owner.ifindex)))
            have_.virtual_macs.insert({{step.name, step.mac}, step.cause});
    }

    Switch &switch_;
    Desired &have_;
    const Desired &want_;
    Applied &applied_;
    Host &host_ = Host::instance();
    const bool had_something_ = !have_.ports.empty() || !have_.routed_ports.empty() ||
                                !have_.port_channels.empty() || !have_.sub_interfaces.empty() ||
                                !have_.svis.empty();
    std::vector<uint64_t> retried_; /* failed requests whose work the step repeats */
    uint32_t last_vpn_ = 0;         /* the last that was given to a new VRF */
    std::set<uint32_t> taken_vpns_; /* before the first was */
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
