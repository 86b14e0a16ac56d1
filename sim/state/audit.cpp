#include "sim/state/audit.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <set>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/kvnsim_sdk.h"
#include "sim/state/index.h"

namespace kvnsim {
namespace {

constexpr uint32_t state_created = 3;

/* Properties that several findings are about. */
constexpr const char *port_lid = "port's LID entry";
constexpr const char *kept_intf = "kept SDK interface";

class Auditor {
public:
    explicit Auditor(const Snapshot &snapshot) : s_(snapshot), index_(snapshot)
    {
        for (const MemberRow &member : s_.members)
            member_of_[member.front_port] = &member;
        for (const WantedMember &member : s_.wanted_members)
            wanted_members_.insert({member.port_channel, member.port});
        for (const HostRow &host : s_.host) {
            if (host.channel)
                joined_members_[*host.channel]++;
        }
        for (const FhrpRow &entry : s_.virtual_macs)
            trap_owner_.emplace(entry.mac_trap_id, &entry);
    }

    std::vector<AuditFinding> findings()
    {
        for (const HostRow &host : s_.host)
            check_host(host);
        for (const ContextRow &context : s_.contexts)
            check_context(context);
        for (const WantedPort &port : s_.wanted_ports)
            check_wanted(port);
        for (const WantedInterface &wanted : s_.wanted_interfaces)
            check_wanted(wanted);
        for (const WantedMember &member : s_.wanted_members)
            check_wanted(member);
        for (const IntfRow &intf : s_.intfs)
            check_intf(intf);
        for (const LidRow &lid : s_.lids)
            check_lid(lid);
        for (const LidPathRow &path : s_.lid_paths)
            check_path(path);
        for (const PortChannelRow &channel : s_.port_channels)
            check_port_channel(channel);
        for (const MemberRow &member : s_.members)
            check_member(member);
        for (const PendingRow &write : s_.pending)
            check_pending(write);
        check_router_macs();
        check_virtual_macs();
        check_database();
        std::stable_sort(
            findings_.begin(), findings_.end(),
            [](const AuditFinding &a, const AuditFinding &b) { return a.kind < b.kind; });
        return std::move(findings_);
    }

private:
    /* ---- Telling ---- */

    void tell(AuditKind kind, std::string object, std::string property, std::string interface,
              std::string words, std::initializer_list<const Origin *> makers = {})
    {
        std::map<uint64_t, RequestRef> requests;
        for (const Origin *made : makers) {
            if (made != nullptr && made->request)
                requests.emplace(made->number(), made->request);
        }
        findings_.push_back({kind,
                             std::move(object),
                             std::move(property),
                             std::move(interface),
                             std::move(words),
                             {}});
        for (const auto &[number, request] : requests)
            findings_.back().requests.push_back(request);
    }

    /* record: "the host", "the library" */
    void tell_gone(const HostRow &host, const char *property, const char *record, const char *what,
                   uint32_t id)
    {
        tell(AuditKind::dangling, host.name, property, host.name,
             fmt::format("{} records {} with {} {}, which is gone", record, host.name, what, id));
    }

    void tell_missing(const std::string &object, const char *property, const std::string &interface,
                      const SourceLocation &location, const std::string &what)
    {
        std::string words =
            fmt::format("{} is wanted ({}) and {}", object, location.to_text(), what);
        const FailureRow &failure = index_.failure(interface);
        if (!failure.message.empty())
            words += ": " + failure.message;
        tell(AuditKind::missing, object, property, interface, std::move(words), {&failure.made});
    }

    static std::string made_by(const Origin &made) { return "made by " + made.to_text(); }

    /* The interface for which a request made something that no record names. */
    static std::string concerned(const Origin &made)
    {
        return made.request ? made.request->subject : std::string();
    }
    std::string concerned_channel(const Origin &made) const
    {
        const std::string name = concerned(made);
        const HostRow *host = index_.host(name);
        return host != nullptr && host->channel ? index_.name(*host->channel) : name;
    }

    static std::string name_of(const HostRow *host) { return host != nullptr ? host->name : ""; }

    /* ---- What the host and the library record ---- */

    void check_host(const HostRow &host)
    {
        if (host.port_lid && index_.lid(*host.port_lid) == nullptr)
            tell_gone(host, port_lid, "the host", "LID entry", *host.port_lid);
        if (host.held_lid && *host.held_lid != no_id && index_.lid(*host.held_lid) == nullptr)
            tell_gone(host, "LID entry", "the host", "LID entry", *host.held_lid);
        if (host.held_pc && index_.port_channel(*host.held_pc) == nullptr)
            tell_gone(host, "port-channel", "the host", "port-channel", *host.held_pc);
        check_kept(host);

        const bool is_wanted = host.kind == InterfaceKind::port
                                   ? index_.wanted_port(host.name) != nullptr
                                   : index_.wanted(host) != nullptr;
        if (!is_wanted && !tell_unwanted(host))
            tell(
                AuditKind::unwanted, host.name, host.kind == InterfaceKind::port ? port_lid : "",
                host.name,
                fmt::format("{} {} is not wanted and the host still has it", to_text(host.kind), host.name));
    }

    void check_kept(const HostRow &host)
    {
        const MemberIntfRow *row = find_row(s_.member_intf, &MemberIntfRow::ifindex, host.ifindex);
        if (!host.kept_intf)
            return;
        const uint32_t kept = *host.kept_intf;
        const std::string object = "member_intf_sdb row of " + host.name;
        if (row == nullptr)
            tell(AuditKind::missing, object, kept_intf, host.name,
                 fmt::format("{} keeps SDK interface {}, and the shared database does not say so",
                             host.name, kept));
        else if (row->intf_id != kept)
            tell(AuditKind::difference, object, kept_intf, host.name,
                 fmt::format("{} keeps SDK interface {}, the shared database says {}: {}",
                             host.name, kept, row->intf_id, made_by(row->made)),
                 {&row->made});
        const IntfRow *intf = index_.intf(kept);
        if (intf == nullptr)
            tell(AuditKind::dangling, host.name, kept_intf, host.name,
                 fmt::format("{} keeps SDK interface {}, which is gone", host.name, kept),
                 {row != nullptr ? &row->made : nullptr});
        else
            check_place(host, *intf, "keeps", kept_intf);
    }

    /* Whether something in the ASIC was found that an unwanted interface has. */
    bool tell_unwanted(const HostRow &host)
    {
        const ContextRow *context = index_.context(host.ifindex);
        if (context == nullptr)
            return false;
        const IntfRow *intf = context->intf_id == no_id ? nullptr : index_.intf(context->intf_id);
        if (intf != nullptr) {
            tell(AuditKind::unwanted, host.name, "SDK interface", host.name,
                 fmt::format("{} is not wanted and has SDK interface {}, {}", host.name,
                             index_.intf_words(intf->intf_id), made_by(intf->made)),
                 {&intf->made});
            return true;
        }
        if (host.kind != InterfaceKind::port_channel)
            return false;
        const PortChannelRow *channel =
            context->pc_id == no_id ? nullptr : index_.port_channel(context->pc_id);
        const LidRow *lid = context->lid_id == no_id ? nullptr : index_.lid(context->lid_id);
        if (channel == nullptr && lid == nullptr)
            return false;
        const Origin &made = channel != nullptr ? channel->made : lid->made;
        tell(AuditKind::unwanted, host.name, channel != nullptr ? "port-channel" : "LID entry",
             host.name,
             fmt::format("{} is not wanted and has {} {}, {}", host.name,
                         channel != nullptr ? "SDK port-channel" : "LID entry",
                         channel != nullptr ? channel->pc_id : lid->lid_id, made_by(made)),
             {&made});
        return true;
    }

    void check_context(const ContextRow &context)
    {
        const HostRow *host = index_.host(context.ifindex);
        if (host == nullptr)
            return;
        const bool is_channel = host->kind == InterfaceKind::port_channel;
        if (context.lid_id != no_id) {
            if (index_.lid(context.lid_id) == nullptr)
                tell_gone(*host, "LID entry", "the library", "LID entry", context.lid_id);
            else if (is_channel)
                check_claim(*host, "LID entry", context.lid_id,
                            index_.owner_of_lid(context.lid_id));
        }
        if (is_channel && context.pc_id != no_id) {
            if (index_.port_channel(context.pc_id) == nullptr) {
                tell_gone(*host, "port-channel", "the library", "port-channel", context.pc_id);
            } else {
                check_claim(*host, "port-channel", context.pc_id,
                            index_.owner_of_port_channel(context.pc_id));
                check_pc_row(*host, context);
            }
        }
        const WantedInterface *wanted = index_.wanted(*host);
        /* A channel that lost its last member, or a port no longer routed. */
        const bool may_exist =
            wanted != nullptr && (index_.must_exist(*wanted) ||
                                  (wanted->routed && joined_members_.count(host->ifindex) != 0));
        const bool known_port =
            host->kind == InterfaceKind::port && index_.wanted_port(host->name) != nullptr;
        if (!may_exist && (wanted != nullptr || known_port))
            tell_unwanted(*host);
        if (context.intf_id == no_id)
            return;
        const IntfRow *intf = index_.intf(context.intf_id);
        if (intf == nullptr) {
            tell_gone(*host, "SDK interface", "the library", "SDK interface", context.intf_id);
            return;
        }
        check_claim(*host, "SDK interface", context.intf_id, index_.owner_of_intf(context.intf_id));
        check_place(*host, *intf, "is recorded with", "SDK interface");
        check_interface(*host, context, may_exist ? wanted : nullptr);
    }

    void check_claim(const HostRow &host, const char *what, uint32_t id, const HostRow *owner)
    {
        if (owner == nullptr || owner == &host)
            return;
        tell(AuditKind::difference, host.name, what, host.name,
             fmt::format("{} {} is recorded by {} and by {}", what, id, owner->name, host.name));
        findings_.back().other = owner->name;
    }

    /* Is the SDK interface on what the host interface is on? */
    void check_place(const HostRow &host, const IntfRow &intf, const char *has,
                     const char *property)
    {
        uint32_t type = sdk_routed_port, param1 = host.number + 1, param2 = 0, param3 = 0;
        if (host.kind == InterfaceKind::port_channel) {
            const ContextRow *context = index_.context(host.ifindex);
            param1 = context != nullptr ? context->pc_id : no_id;
            param3 = 1;
        } else if (host.kind == InterfaceKind::sub_interface) {
            const HostRow *parent = host.parent ? index_.host(*host.parent) : nullptr;
            const ContextRow *context =
                parent != nullptr ? index_.serving_context(*parent) : nullptr;
            if (context == nullptr || context->intf_id == no_id) {
                tell(AuditKind::dangling, host.name, "parent", host.name,
                     fmt::format("{} has SDK interface {}, and its parent {} has none", host.name,
                                 index_.intf_words(intf.intf_id),
                                 host.parent ? index_.name(*host.parent) : "of no name"),
                     {&intf.made});
                return;
            }
            type = sdk_sub_interface;
            param1 = context->intf_id;
            param2 = host.vlan;
        } else if (host.kind == InterfaceKind::svi) {
            type = sdk_svi;
            param1 = host.vlan;
        }
        if (intf.type == type && type == sdk_svi)
            property = "VLAN";
        else if (intf.type == type && type == sdk_sub_interface)
            property = intf.param1 != param1 ? "parent" : "VLAN";
        if (intf.type != type || intf.param1 != param1 || intf.param2 != param2 ||
            intf.param3 != param3)
            tell(AuditKind::difference, host.name, property, host.name,
                 fmt::format("{} {} SDK interface {}, which is on something else, {}", host.name,
                             has, index_.intf_words(intf.intf_id), made_by(intf.made)),
                 {&intf.made});
    }

    /* An interface that is there: every property that has a right value. Those that are configured
     * only while it is wanted; what is half destroyed keeps just its identity. */
    void check_interface(const HostRow &host, const ContextRow &context,
                         const WantedInterface *wanted)
    {
        const L3lifRow *const row = index_.l3lif(host.ifindex);
        const auto written = index_.attributes(context.intf_id);
        for (const ExpectedAttribute &e : index_.expected_attributes(host, context, wanted)) {
            const AttributeState now = index_.attribute(written, context.intf_id, e.number);
            const auto published = published_value(row, e.number);
            const bool published_right =
                !wanted || !published || *published == configured_value(*wanted, e.number);
            if (now.after_flush() != e.value || !published_right)
                tell_difference(host, e, now, published);
        }
        if (host.kind == InterfaceKind::port && context.lid_id != host.port_lid.value_or(no_id))
            tell(AuditKind::difference, host.name, "LID entry", host.name,
                 fmt::format("{} is recorded with LID entry {}, its port has {}", host.name,
                             id_words(context.lid_id), id_words(host.port_lid.value_or(no_id))));
        if (host.kind == InterfaceKind::sub_interface && host.parent) {
            const HostRow *parent = index_.host(*host.parent);
            const ContextRow *served =
                parent != nullptr ? index_.serving_context(*parent) : nullptr;
            if (served != nullptr && served->lid_id != context.lid_id)
                tell(AuditKind::difference, host.name, "LID entry", host.name,
                     fmt::format("{} is recorded with LID entry {}, its parent {} with {}",
                                 host.name, id_words(context.lid_id), parent->name,
                                 id_words(served->lid_id)));
        }
        if (host.kind == InterfaceKind::port)
            check_pm_row(host, context);
        if (wanted == nullptr)
            return;
        if ((host.kind == InterfaceKind::svi || host.kind == InterfaceKind::sub_interface) &&
            host.vlan != wanted->number)
            tell(AuditKind::difference, host.name, "VLAN", host.name,
                 fmt::format("{} is on VLAN {} with the host, configured {}", host.name, host.vlan,
                             wanted->number));
        if (host.kind != InterfaceKind::svi && host.pd_state != state_created)
            tell(AuditKind::difference, host.name, "state", host.name,
                 fmt::format("{} has an SDK interface and state {}, not {} (created)", host.name,
                             host.pd_state, state_created));
        if (row == nullptr)
            tell(AuditKind::missing, "l3lif_sdb row of " + host.name, "publication", host.name,
                 fmt::format("{} has an SDK interface and is not published in the shared database",
                             host.name));
        else if (row->nat_zone != wanted->nat_zone)
            tell(AuditKind::difference, host.name, "NAT zone", host.name,
                 fmt::format("NAT zone of {} is {} in the shared database, configured {}: {}",
                             host.name, row->nat_zone, wanted->nat_zone, made_by(row->made)),
                 {&row->made});
        check_label(host);
    }

    static std::string id_words(uint32_t id)
    {
        return id == no_id ? std::string("none") : fmt::to_string(id);
    }

    /* The properties that are published once written. Others are in the published row too, as they
     * were at that moment. */
    static std::optional<uint32_t> published_value(const L3lifRow *row, uint32_t attribute)
    {
        if (row == nullptr)
            return std::nullopt;
        switch (attribute) {
        case SdkIntfAttrMtuIdx:
            return row->mtu;
        case SdkIntfAttrIpv4UcstEn:
            return row->ipv4_ucst_en;
        case SdkIntfAttrIpv4Vpn:
            return row->v4_vpn_id;
        case SdkIntfAttrIpv6Vpn:
            return row->v6_vpn_id;
        default:
            return std::nullopt;
        }
    }
    static uint32_t configured_value(const WantedInterface &wanted, uint32_t attribute)
    {
        switch (attribute) {
        case SdkIntfAttrMtuIdx:
            return wanted.mtu;
        case SdkIntfAttrIpv4UcstEn:
            return wanted.ipv4;
        default:
            return wanted.vpn;
        }
    }

    void tell_difference(const HostRow &host, const ExpectedAttribute &expected,
                         const AttributeState &now, const std::optional<uint32_t> &published)
    {
        if (expected.number == SdkIntfAttrLid && now.value != 0 && index_.lid(now.value) == nullptr)
            return; /* told with the SDK interface */
        const char *const property = property_name(expected.number);
        std::string words = fmt::format("{} of {} is {} in the ASIC, {} {}", property, host.name,
                                        now.value, expected.source, expected.value);
        const Origin *database = nullptr;
        if (published) {
            database = &index_.l3lif(host.ifindex)->made;
            words += fmt::format(", {} in the shared database", *published);
        }
        const AttributeValueRow *row = now.written;
        words += row != nullptr ? ": written by " + row->made.to_text() : ": never written";
        if (now.waits != nullptr)
            words += fmt::format("; {} waits for the flush, queued by {}", now.waits->value,
                                 now.waits->made.to_text());
        tell(AuditKind::difference, host.name, property, host.name, std::move(words),
             {row != nullptr ? &row->made : nullptr,
              now.waits != nullptr ? &now.waits->made : nullptr, database});
    }

    void check_label(const HostRow &host)
    {
        const LabelRow *row = index_.label(host.ifindex);
        const bool is_svi = host.kind == InterfaceKind::svi;
        const std::string object = "label_sdb row of " + host.name;
        if (row == nullptr)
            tell(AuditKind::missing, object, "L3 label", host.name,
                 fmt::format("{} has an SDK interface and no L3 label", host.name));
        else if (!row->enabled || row->svi != is_svi)
            tell(AuditKind::difference, object, "L3 label", host.name,
                 fmt::format("L3 label of {} is {}{}: {}", host.name,
                             row->enabled ? "set up" : "reset",
                             row->svi == is_svi ? ""
                             : is_svi           ? ", not as an SVI's"
                                                : " as an SVI's",
                             made_by(row->made)),
                 {&row->made});
    }

    void check_pm_row(const HostRow &host, const ContextRow &context)
    {
        const PmRow *row = find_row(s_.pm, &PmRow::ifindex, host.ifindex);
        const LidRow *lid = index_.lid(context.lid_id);
        if (row == nullptr)
            tell(AuditKind::missing, "pm_sdb row of " + host.name, "ifmap index", host.name,
                 fmt::format("{} is routed and the shared database does not bind it to its LID "
                             "entry",
                             host.name));
        else if (lid != nullptr && row->ifmap_idx != lid->ifmap_idx)
            tell(AuditKind::difference, "pm_sdb row of " + host.name, "ifmap index", host.name,
                 fmt::format("ifmap index of {} is {:#x} in the shared database, LID entry {} has "
                             "{:#x}: {}",
                             host.name, row->ifmap_idx, lid->lid_id, lid->ifmap_idx,
                             made_by(row->made)),
                 {&row->made});
    }

    void check_pc_row(const HostRow &host, const ContextRow &context)
    {
        const PcRow *row = find_row(s_.pc, &PcRow::ifindex, host.ifindex);
        const std::string object = "pc_sdb row of " + host.name;
        if (row == nullptr)
            tell(AuditKind::missing, object, "port-channel", host.name,
                 fmt::format("{} has SDK port-channel {}, and the shared database does not say so",
                             host.name, context.pc_id));
        else if (row->pc_id != context.pc_id)
            tell(AuditKind::difference, object, "port-channel", host.name,
                 fmt::format("{} has SDK port-channel {}, the shared database says {}: {}",
                             host.name, context.pc_id, row->pc_id, made_by(row->made)),
                 {&row->made});
    }

    /* ---- What is wanted ---- */

    void check_wanted(const WantedPort &port)
    {
        const HostRow *host = index_.host(port.name);
        if (host == nullptr || !host->port_lid)
            tell_missing(port.name, port_lid, port.name, port.location, "has no LID entry");
    }

    void check_wanted(const WantedInterface &wanted)
    {
        if (!index_.must_exist(wanted))
            return;
        const HostRow *host = index_.host(wanted);
        const ContextRow *context = host != nullptr ? index_.context(host->ifindex) : nullptr;
        if (context == nullptr || context->intf_id == no_id)
            tell_missing(wanted.name, "SDK interface", wanted.name, wanted.location,
                         "has no SDK interface");
    }

    void check_wanted(const WantedMember &member)
    {
        const WantedInterface *channel = index_.wanted(member.port_channel);
        /* The library declines a port that is routed; which of the two it is then is not fixed
         * when the routing failed. */
        if (channel == nullptr || !channel->routed || member.declined ||
            index_.wanted(member.port) != nullptr)
            return;
        const HostRow *port = index_.host(member.port);
        const HostRow *host = index_.host(member.port_channel);
        const ContextRow *context = host != nullptr ? index_.context(host->ifindex) : nullptr;
        const MemberRow *is_in = port != nullptr ? member_in_asic(port->number + 1) : nullptr;
        const bool joined =
            is_in != nullptr && context != nullptr && is_in->pc_id == context->pc_id;
        const std::string object = member.port + " in " + member.port_channel;
        if (joined && port->channel == host->ifindex)
            return;
        if (!joined)
            tell_missing(object, "membership", member.port, member.location,
                         is_in != nullptr
                             ? fmt::format("is a member of SDK port-channel {}", is_in->pc_id)
                             : "is no member in the ASIC");
        else
            tell(AuditKind::difference, object, "membership", member.port,
                 fmt::format("{} is a member in the ASIC, not with the host: {}", object,
                             made_by(is_in->made)),
                 {&is_in->made});
        findings_.back().other = member.port_channel;
    }

    const MemberRow *member_in_asic(uint32_t front_port) const
    {
        const auto at = member_of_.find(front_port);
        return at == member_of_.end() ? nullptr : at->second;
    }

    /* ---- What is in the ASIC ---- */

    void check_intf(const IntfRow &intf)
    {
        const HostRow *owner = index_.owner_of_intf(intf.intf_id);
        if (owner == nullptr)
            tell(AuditKind::orphan, fmt::format("SDK interface {}", intf.intf_id), {},
                 interface_of(intf),
                 fmt::format("SDK interface {} belongs to no interface: {}",
                             index_.intf_words(intf.intf_id), made_by(intf.made)),
                 {&intf.made});
        const AttributeValueRow *bound = index_.attribute(intf.intf_id, SdkIntfAttrLid).written;
        if (bound != nullptr && index_.lid(bound->value) == nullptr)
            tell(
                AuditKind::dangling, fmt::format("SDK interface {}", intf.intf_id),
                owner != nullptr ? "LID entry" : "binding",
                owner != nullptr ? owner->name : interface_of(intf),
                fmt::format("SDK interface {} is bound to LID entry {}, which is gone: bound by {}",
                            index_.intf_words(intf.intf_id), bound->value, bound->made.to_text()),
                {&intf.made, &bound->made});
    }

    /* Whom an SDK interface without an owner was made for. */
    std::string interface_of(const IntfRow &intf) const
    {
        if (intf.type == sdk_routed_port) {
            const HostRow *host = intf.param3 == 1 ? index_.owner_of_port_channel(intf.param1)
                                                   : index_.owner_of_front_port(intf.param1);
            if (host != nullptr)
                return host->name;
            if (intf.param3 == 1)
                return concerned_channel(intf.made);
        }
        return concerned(intf.made);
    }

    void check_lid(const LidRow &lid)
    {
        const HostRow *owner = index_.owner_of_lid(lid.lid_id);
        const auto paths = find_rows(s_.lid_paths, &LidPathRow::lid_id, lid.lid_id);
        if (owner == nullptr) {
            tell(AuditKind::orphan, fmt::format("LID entry {}", lid.lid_id), {},
                 concerned_channel(lid.made),
                 fmt::format("LID entry {}{} belongs to no port or port-channel: {}", lid.lid_id,
                             paths.empty() ? " without a path"
                                           : " (path to " + index_.path_words(*paths.begin()) + ")",
                             made_by(lid.made)),
                 {&lid.made});
            return;
        }
        const bool right = paths.size() == 1 && leads_to(*paths.begin(), *owner);
        if (!right)
            tell(AuditKind::difference, fmt::format("LID entry {}", lid.lid_id), "path",
                 owner->name,
                 fmt::format("LID entry {} of {} {}: {}", lid.lid_id, owner->name,
                             paths.empty() ? std::string("has no path")
                                           : "leads elsewhere (path to " +
                                                 index_.path_words(*paths.begin()) + ")",
                             made_by(lid.made)),
                 {&lid.made, paths.empty() ? nullptr : &paths.begin()->made});
    }

    bool leads_to(const LidPathRow &path, const HostRow &owner) const
    {
        if (owner.kind == InterfaceKind::port)
            return path.port_type == KVNSIM_SDK_PORT_TYPE_FRONT_PANEL &&
                   path.front_port == owner.number + 1;
        if (path.port_type != SdkPortTypeChannel)
            return false;
        const ContextRow *context = index_.context(owner.ifindex);
        return (context != nullptr && path.pc_id == context->pc_id) || owner.held_pc == path.pc_id;
    }

    void check_path(const LidPathRow &path)
    {
        if (path.port_type == SdkPortTypeChannel && index_.port_channel(path.pc_id) == nullptr)
            tell(AuditKind::dangling, fmt::format("LID entry {}", path.lid_id), "path",
                 name_of(index_.owner_of_lid(path.lid_id)),
                 fmt::format("LID entry {} leads to port-channel {}, which is gone: added by {}",
                             path.lid_id, path.pc_id, path.made.to_text()),
                 {&path.made});
    }

    void check_port_channel(const PortChannelRow &channel)
    {
        if (index_.owner_of_port_channel(channel.pc_id) != nullptr)
            return;
        const size_t members = find_rows(s_.members, &MemberRow::pc_id, channel.pc_id).size();
        tell(AuditKind::orphan, fmt::format("SDK port-channel {}", channel.pc_id), {},
             concerned_channel(channel.made),
             fmt::format("SDK port-channel {} ({} member{}) belongs to no port-channel: {}",
                         channel.pc_id, members, members == 1 ? "" : "s", made_by(channel.made)),
             {&channel.made});
    }

    void check_member(const MemberRow &member)
    {
        const HostRow *owner = index_.owner_of_port_channel(member.pc_id);
        if (owner == nullptr)
            return; /* told with the port-channel */
        const HostRow *port = index_.owner_of_front_port(member.front_port);
        if (port != nullptr && wanted_members_.count({owner->name, port->name}) != 0)
            return;
        tell(AuditKind::unwanted, fmt::format("front port {}", member.front_port), "membership",
             port != nullptr ? port->name : owner->name,
             fmt::format("front port {} ({}) is a member of SDK port-channel {} ({}) and not "
                         "wanted there: added by {}",
                         member.front_port, port != nullptr ? port->name : "no port", member.pc_id,
                         owner->name, member.made.to_text()),
             {&member.made});
        findings_.back().other = owner->name;
    }

    void check_pending(const PendingRow &write)
    {
        if (!index_.is_for_this_interface(write))
            tell(AuditKind::dangling, fmt::format("SDK interface {}", write.intf_id),
                 "pending write", concerned(write.made),
                 fmt::format("a write of attribute {} waits for SDK interface {}, which is gone{}: "
                             "queued by {}",
                             write.number, write.intf_id,
                             index_.intf(write.intf_id) != nullptr ? " and was made anew" : "",
                             write.made.to_text()),
                 {&write.made});
    }

    /* ---- MACs ---- */

    void check_router_macs()
    {
        const bool owned = !s_.owned_router_mac.empty();
        const uint32_t owned_id = owned ? s_.owned_router_mac.front().peer_mac_id : no_id;
        const bool is_wanted = !s_.wanted_router_mac.empty();
        for (const RouterMacRow &mac : s_.router_macs) {
            const std::string object = fmt::format("router MAC {}", mac.peer_mac_id);
            const std::string text = to_text(mac.mac);
            if (!owned || mac.peer_mac_id != owned_id)
                tell(AuditKind::orphan, object, {}, {},
                     fmt::format("router MAC {} ({}) belongs to no router MAC of the switch: {}",
                                 mac.peer_mac_id, text, made_by(mac.made)),
                     {&mac.made});
            else if (!is_wanted)
                tell(AuditKind::unwanted, object, {}, {},
                     fmt::format("router MAC {} ({}) is not wanted: {}", mac.peer_mac_id, text,
                                 made_by(mac.made)),
                     {&mac.made});
            else if (mac.mac != s_.wanted_router_mac.front().mac)
                tell(AuditKind::difference, object, "MAC", {},
                     fmt::format("router MAC {} is {}, configured {}: {}", mac.peer_mac_id, text,
                                 to_text(s_.wanted_router_mac.front().mac), made_by(mac.made)),
                     {&mac.made});
        }
        if (owned && find_row(s_.router_macs, &RouterMacRow::peer_mac_id, owned_id) == nullptr)
            tell(AuditKind::dangling, "switch", "router MAC", {},
                 fmt::format("the switch is recorded with router MAC {}, which is gone", owned_id));
        else if (!owned && is_wanted) {
            const WantedRouterMac &wanted = s_.wanted_router_mac.front();
            std::string words = fmt::format("router MAC {} is wanted ({}) and not in the ASIC",
                                            to_text(wanted.mac), wanted.location.to_text());
            const FailureRow &failure = index_.failure("switch");
            if (!failure.message.empty())
                words += ": " + failure.message;
            tell(AuditKind::missing, "router MAC " + to_text(wanted.mac), {}, {}, std::move(words),
                 {&failure.made});
        }
    }

    void check_virtual_macs()
    {
        std::set<std::pair<std::string, Mac>> wanted, recorded;
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs)
            wanted.insert({mac.interface, mac.mac});
        for (const FhrpRow &entry : s_.virtual_macs) {
            const std::string name = name_of(entry);
            recorded.insert({name, entry.mac});
            check_entry(entry, name, wanted.count({name, entry.mac}) != 0);
        }
        for (const TrapRow &trap : s_.traps) {
            if (trap_owner_.count(trap.mac_trap_id) != 0)
                continue;
            const HostRow *owner = index_.owner_of_intf(trap.intf_id);
            tell(AuditKind::orphan, fmt::format("MAC trap {}", trap.mac_trap_id), {},
                 owner != nullptr ? owner->name : concerned(trap.made),
                 fmt::format("MAC trap {} ({} on SDK interface {}) belongs to no virtual MAC: {}",
                             trap.mac_trap_id, to_text(trap.mac), index_.intf_words(trap.intf_id),
                             made_by(trap.made)),
                 {&trap.made});
        }
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs) {
            const WantedInterface *interface = index_.wanted(mac.interface);
            if (interface != nullptr && index_.must_exist(*interface) &&
                recorded.count({mac.interface, mac.mac}) == 0)
                tell_missing(virtual_mac_words(mac.mac, mac.interface), "MAC trap", mac.interface,
                             mac.location, "has no MAC trap");
        }
    }

    static std::string virtual_mac_words(const Mac &mac, const std::string &interface)
    {
        return fmt::format("virtual MAC {} of {}", to_text(mac), interface);
    }

    /* Of an interface that is gone: as it was called when the trap was made. */
    std::string name_of(const FhrpRow &entry) const
    {
        const TrapRow *trap = index_.trap(entry.mac_trap_id);
        const bool is_gone = index_.host(entry.ifindex) == nullptr && trap != nullptr;
        const std::string subject = is_gone ? concerned(trap->made) : std::string();
        return subject.empty() ? index_.name(entry.ifindex) : subject;
    }

    void check_entry(const FhrpRow &entry, const std::string &name, bool is_wanted)
    {
        const HostRow *host = index_.host(entry.ifindex);
        const std::string object = virtual_mac_words(entry.mac, name);
        const ContextRow *context = host != nullptr ? index_.serving_context(*host) : nullptr;
        const TrapRow *trap = index_.trap(entry.mac_trap_id);
        if (trap == nullptr)
            tell(AuditKind::dangling, object, "MAC trap", name,
                 fmt::format("{} is recorded with MAC trap {}, which is gone", object,
                             entry.mac_trap_id));
        if (context == nullptr || context->intf_id == no_id)
            tell(AuditKind::dangling, object, "interface", name,
                 fmt::format("{} is recorded for an interface that has no SDK interface", object),
                 {trap != nullptr ? &trap->made : nullptr});
        else if (trap != nullptr && trap->intf_id != context->intf_id)
            tell(AuditKind::difference, object, "MAC trap", name,
                 fmt::format("{} has MAC trap {} on SDK interface {}, the interface has {}: {}",
                             object, trap->mac_trap_id, trap->intf_id, context->intf_id,
                             made_by(trap->made)),
                 {&trap->made});
        if (trap != nullptr && trap->mac != entry.mac)
            tell(AuditKind::difference, object, "MAC", name,
                 fmt::format("{} has MAC trap {}, which is for {}: {}", object, trap->mac_trap_id,
                             to_text(trap->mac), made_by(trap->made)),
                 {&trap->made});
        if (!is_wanted)
            tell(AuditKind::unwanted, object, {}, name,
                 fmt::format("{} is not wanted{}", object,
                             trap != nullptr ? ": " + made_by(trap->made) : ""),
                 {trap != nullptr ? &trap->made : nullptr});
    }

    /* ---- The shared database ---- */

    /* Rows of interfaces that are not there. A port-channel that lost its last member stays
     * published as it was: the library takes only the label back. */
    void check_database()
    {
        check_rows(s_.pm, "pm_sdb", "ifmap index");
        check_rows(s_.pc, "pc_sdb", "port-channel");
        check_rows(s_.l3lif, "l3lif_sdb", "publication");
        check_rows(s_.label, "label_sdb", "L3 label");
        for (const MemberIntfRow &row : s_.member_intf) {
            const HostRow *host = index_.host(row.ifindex);
            if (host == nullptr || !host->kept_intf)
                tell_row(AuditKind::unwanted, "member_intf_sdb", row,
                         fmt::format("says SDK interface {} is kept, and the host keeps none",
                                     row.intf_id),
                         kept_intf);
        }
        for (const LabelRow &row : s_.label) {
            const HostRow *host = index_.host(row.ifindex);
            const ContextRow *context = index_.context(row.ifindex);
            if (host != nullptr && host->registered && row.enabled &&
                (context == nullptr || context->intf_id == no_id))
                tell_row(AuditKind::difference, "label_sdb", row,
                         "is set up, and the interface has no SDK interface", "L3 label");
        }
    }

    template <class Row>
    void check_rows(const std::vector<Row> &rows, const char *table, const char *property)
    {
        for (const Row &row : rows) {
            const HostRow *host = index_.host(row.ifindex);
            if (host == nullptr)
                tell_row(AuditKind::dangling, table, row, "is of an interface that is gone",
                         "interface");
            else if (!host->registered)
                tell_row(AuditKind::unwanted, table, row,
                         "is of an interface that is no L3 interface", property);
        }
    }

    template <class Row>
    void tell_row(AuditKind kind, const char *table, const Row &row, const std::string &what,
                  const char *property)
    {
        const std::string name = index_.name(row.ifindex);
        const std::string object = fmt::format("{} row of {}", table, name);
        tell(kind, object, property, name,
             fmt::format("{} {}: {}", object, what, made_by(row.made)), {&row.made});
    }

    const Snapshot &s_;
    const Index index_;
    std::unordered_map<uint32_t, const MemberRow *> member_of_; /* by front port */
    std::set<std::pair<std::string, std::string>> wanted_members_;
    std::unordered_map<uint32_t, uint32_t> joined_members_; /* with the host, by ifindex */
    std::unordered_map<uint32_t, const FhrpRow *> trap_owner_;
    std::vector<AuditFinding> findings_;
};

} // namespace

const char *to_text(AuditKind kind)
{
    switch (kind) {
    case AuditKind::orphan:
        return "orphan";
    case AuditKind::dangling:
        return "dangling";
    case AuditKind::difference:
        return "difference";
    case AuditKind::missing:
        return "missing";
    case AuditKind::unwanted:
        return "unwanted";
    }
    return "";
}

std::vector<AuditFinding> audit(const Snapshot &snapshot)
{
    return Auditor(snapshot).findings();
}

} // namespace kvnsim
