/* Checks that all sides agree. The table of properties judges each interface. The rest is checked
 * row by row: ASIC objects without an owner, identifiers and rows whose object is gone, objects
 * with two owners, and objects that are not wanted. Each row is visited once; all else is found by
 * an index. */
#include "sim/state/audit.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <unordered_set>

#include <fmt/format.h>

#include "kvnsim/sdk.h"
#include "platform_api/libsdk.h"
#include "sim/config/names.h"
#include "sim/sdk/asic.h"
#include "sim/state/index.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr PropertyId lid_entry = attribute_property(SdkIntfAttrLid);

class Auditor {
public:
    explicit Auditor(const Index &index) : s_(index.snapshot()), index_(index)
    {
        for (const WantedMember &member : s_.wanted_members)
            wanted_members_.insert({member.port_channel, member.port});
    }

    std::vector<AuditFinding> findings()
    {
        for (const HostRow &host : s_.host) {
            InterfaceRows rows(index_, host.name, &host, false);
            check_properties(rows);
            check_host(host, rows);
            check_record(host, rows);
        }
        for (const WantedPort &port : s_.wanted_ports) {
            if (index_.host(port.name) == nullptr)
                check_properties(port.name);
        }
        for (const WantedInterface &wanted : s_.wanted_interfaces) {
            if (index_.host(wanted) == nullptr && index_.wanted_port(wanted.name) == nullptr)
                check_properties(wanted.name);
        }
        check_each(s_.intfs, s_.lids, s_.lid_paths, s_.port_channels, s_.members, s_.pending);
        check_router_macs();
        check_virtual_macs();
        check_database();
        check_left_out();
        std::stable_sort(
            findings_.begin(), findings_.end(),
            [](const AuditFinding &a, const AuditFinding &b) { return a.kind < b.kind; });
        return std::move(findings_);
    }

private:
    template <class... Row> void check_each(const std::vector<Row> &...rows)
    {
        const auto each = [&](const auto &row) { check(row); };
        (std::for_each(rows.begin(), rows.end(), each), ...);
    }

    /* ---- Reporting ---- */

    AuditFinding &tell(AuditId id, std::string object, PropertyId property, std::string interface,
                       std::string words, std::initializer_list<const Origin *> makers = {})
    {
        std::map<uint64_t, RequestRef> requests;
        for (const Origin *made : makers) {
            if (made != nullptr && made->request)
                requests.emplace(made->number(), made->request);
        }
        AuditFinding &finding = findings_.emplace_back();
        finding.kind = type_of(id).kind;
        finding.code = type_of(id).code();
        finding.object = std::move(object);
        finding.property = property;
        finding.interface = std::move(interface);
        finding.words = std::move(words);
        for (const auto &[number, request] : requests)
            finding.requests.push_back(request);
        return finding;
    }

    AuditFinding &tell(AuditId id, const HostRow &host, PropertyId property, std::string words,
                       std::initializer_list<const Origin *> makers = {})
    {
        return tell(id, host.name, property, host.name, std::move(words), makers);
    }

    /* Names the request behind an object. did: "made", "added" */
    AuditFinding &tell_made(AuditId id, std::string object, PropertyId property,
                            std::string interface, const std::string &words, const Origin &made,
                            const char *did = "made", const Origin *other = nullptr)
    {
        return tell(id, std::move(object), property, std::move(interface),
                    fmt::format("{}: {} by {}", words, did, made.to_text()), {&made, other});
    }

    /* detail: " (path to front port 3)" */
    void tell_orphan(AuditId id, const AsicObject &about, const std::string &object,
                     const std::string &detail, const char *owner, std::string interface,
                     const Origin &made)
    {
        tell_made(id, object, {}, std::move(interface),
                  fmt::format("{}{} belongs to no {}", object, detail, owner), made)
            .about = about;
    }

    /* record: "the host", "the library" */
    void tell_gone(const HostRow &host, PropertyId property, const char *record, const char *what,
                   uint32_t id)
    {
        tell(AuditId::gone_object_recorded, host, property,
             fmt::format("{} records {} with {} {}, which is gone", record, host.name, what, id));
    }

    AuditFinding &tell_missing(AuditId id, const std::string &object, PropertyId property,
                               const std::string &interface, const SourceLocation &location,
                               const std::string &what)
    {
        std::string words =
            fmt::format("{} is wanted ({}) but {}", object, location.to_text(), what);
        const FailureRow &failure = index_.failure(interface);
        if (!failure.message.empty())
            words += ": " + failure.message;
        return tell(id, object, property, interface, std::move(words), {&failure.made});
    }

    static std::string made_by(const Origin &made) { return "made by " + made.to_text(); }

    /* The interface for which a request made an orphan. */
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

    /* ---- Properties ---- */

    /* Of an interface that the host does not know. */
    void check_properties(const std::string &name)
    {
        InterfaceRows rows(index_, name, nullptr, false);
        check_properties(rows);
    }

    void check_properties(InterfaceRows &rows)
    {
        for (const Property &property : interface_properties()) {
            if (!property.can_differ(rows))
                continue;
            property.look(rows, verdict_, attribute_of(property.id));
            if (!verdict_.mismatch)
                continue;
            verdict_.mismatch.reset();
            Sides sides;
            rows.tells = true;
            property.look(rows, sides, attribute_of(property.id));
            rows.tells = false;
            tell_mismatch(rows.name, property.id, sides);
        }
    }

    void tell_mismatch(const std::string &name, PropertyId property, const Sides &sides)
    {
        std::string object = name;
        if (!sides.other.empty())
            object = name + " in " + sides.other;
        if (sides.table != nullptr)
            object = fmt::format("{} row of {}", sides.table, name);
        if (sides.wanted != nullptr) {
            tell_missing(AuditId::object_missing, object, property, name, *sides.wanted,
                         sides.lacks)
                .other = sides.other;
            return;
        }
        std::string words = *sides.mismatch == AuditKind::missing
                                ? fmt::format("there is no {}", object)
                                : fmt::format("{} of {} differs", to_text(property), name);
        const std::pair<const char *, const SideValue &> told[] = {{"configured", sides.configured},
                                                                   {"library", sides.library},
                                                                   {"ASIC", sides.asic},
                                                                   {"waiting", sides.waits},
                                                                   {"database", sides.database},
                                                                   {"expected", sides.expected}};
        const char *separator = ": ";
        for (const auto &[side, value] : told) {
            if (value.known()) {
                words += fmt::format("{}{} {}", separator, side, value.to_text());
                separator = ", ";
            }
        }
        if (is_attribute(property) && sides.written == nullptr)
            words += "; never written";
        for (const auto &[did, made] : {std::pair("written by", sides.written),
                                        {"queued by", sides.queued},
                                        {"published by", sides.published}}) {
            if (made != nullptr)
                words += fmt::format("; {} {}", did, made->to_text());
        }
        tell(*sides.mismatch == AuditKind::missing ? AuditId::row_missing
                                                   : AuditId::property_differs,
             std::move(object), property, name, std::move(words),
             {sides.written, sides.queued, sides.published})
            .other = sides.other;
    }

    /* ---- What the host and the library record ---- */

    void check_host(const HostRow &host, const InterfaceRows &rows)
    {
        if (host.port_lid && index_.lid(*host.port_lid) == nullptr)
            tell_gone(host, PropertyId::port_lid, "the host", "LID entry", *host.port_lid);
        if (host.held_lid && *host.held_lid != no_id && index_.lid(*host.held_lid) == nullptr)
            tell_gone(host, lid_entry, "the host", "LID entry", *host.held_lid);
        if (host.held_pc && index_.port_channel(*host.held_pc) == nullptr)
            tell_gone(host, PropertyId::port_channel, "the host", "port-channel", *host.held_pc);
        if (host.kept_intf) {
            const IntfRow *intf = index_.intf(*host.kept_intf);
            if (intf == nullptr)
                tell_gone(host, PropertyId::kept_intf, "the host", "SDK interface",
                          *host.kept_intf);
            else
                check_place(rows, *intf, "keeps", PropertyId::kept_intf);
        }
        const bool is_port = host.kind == InterfaceKind::port;
        const bool is_wanted = is_port ? rows.port != nullptr : rows.wanted != nullptr;
        if (!is_wanted && !tell_unwanted(host, rows))
            tell(AuditId::interface_unwanted, host,
                 is_port ? PropertyId::port_lid : PropertyId::none,
                 fmt::format("{} {} is not wanted but the host still has it", to_text(host.kind),
                             host.name));
    }

    /* Reports what an unwanted interface still has in the ASIC; false if nothing. */
    bool tell_unwanted(const HostRow &host, const InterfaceRows &rows)
    {
        const auto tell_has = [&](PropertyId property, const char *what, const std::string &id,
                                  const Origin &made) {
            tell(AuditId::interface_unwanted, host, property,
                 fmt::format("{} is not wanted but has {} {}, {}", host.name, what, id,
                             made_by(made)),
                 {&made});
            return true;
        };
        if (rows.intf != nullptr)
            return tell_has(PropertyId::sdk_interface, "SDK interface",
                            index_.intf_words(rows.intf->intf_id), rows.intf->made);
        if (rows.context == nullptr || host.kind != InterfaceKind::port_channel)
            return false;
        if (const PortChannelRow *channel = index_.port_channel(rows.context->pc_id))
            return tell_has(PropertyId::port_channel, "SDK port-channel",
                            fmt::to_string(channel->pc_id), channel->made);
        const LidRow *lid = index_.lid(rows.context->lid_id);
        return lid != nullptr &&
               tell_has(lid_entry, "LID entry", fmt::to_string(lid->lid_id), lid->made);
    }

    void check_record(const HostRow &host, const InterfaceRows &rows)
    {
        const ContextRow *context = rows.context;
        if (context == nullptr)
            return;
        const bool is_channel = host.kind == InterfaceKind::port_channel;
        if (context->lid_id != no_id) {
            if (index_.lid(context->lid_id) == nullptr)
                tell_gone(host, lid_entry, "the library", "LID entry", context->lid_id);
            else if (is_channel)
                check_claim(host, lid_entry, context->lid_id, index_.owner_of_lid(context->lid_id));
        }
        if (is_channel && context->pc_id != no_id) {
            if (index_.port_channel(context->pc_id) == nullptr)
                tell_gone(host, PropertyId::port_channel, "the library", "port-channel",
                          context->pc_id);
            else
                check_claim(host, PropertyId::port_channel, context->pc_id,
                            index_.owner_of_port_channel(context->pc_id));
        }
        const bool known_port = host.kind == InterfaceKind::port && rows.port != nullptr;
        /* A port-channel without members, or a port no longer routed. */
        if (rows.judged == nullptr && (rows.wanted != nullptr || known_port))
            tell_unwanted(host, rows);
        if (context->intf_id == no_id)
            return;
        if (rows.intf == nullptr) {
            tell_gone(host, PropertyId::sdk_interface, "the library", "SDK interface",
                      context->intf_id);
            return;
        }
        check_claim(host, PropertyId::sdk_interface, context->intf_id,
                    index_.owner_of_intf(context->intf_id));
        check_place(rows, *rows.intf, "is recorded with", PropertyId::sdk_interface);
        check_recorded_lid(host, *context);
    }

    /* A port's record names its port's LID entry, a sub-interface's its parent's. */
    void check_recorded_lid(const HostRow &host, const ContextRow &context)
    {
        const auto compare = [&](uint32_t right, const char *whose, const std::string &name) {
            if (context.lid_id != right)
                tell(AuditId::recorded_lid_differs, host, lid_entry,
                     fmt::format("{} is recorded with LID entry {}, {}{} with {}", host.name,
                                 id_words(context.lid_id), whose, name, id_words(right)));
        };
        if (host.kind == InterfaceKind::port)
            compare(host.port_lid.value_or(no_id), "its port", "");
        if (host.kind != InterfaceKind::sub_interface)
            return;
        const Parent &parent = parent_of(host);
        if (parent.context != nullptr)
            compare(parent.context->lid_id, "its parent ", parent.host->name);
    }

    static std::string id_words(uint32_t id)
    {
        return id == no_id ? std::string("none") : fmt::to_string(id);
    }

    void check_claim(const HostRow &host, PropertyId what, uint32_t id, const HostRow *owner)
    {
        if (owner == nullptr || owner == &host)
            return;
        tell(AuditId::claimed_twice, host, what,
             fmt::format("{} {} is recorded by {} and by {}", to_text(what), id, owner->name,
                         host.name))
            .other = owner->name;
    }

    /* A sub-interface's parent and the context that serves it; nullptr without one. */
    struct Parent {
        const HostRow *host = nullptr;
        const ContextRow *context = nullptr;
    };
    /* Sub-interfaces in a row share it. */
    const Parent &parent_of(const HostRow &sub)
    {
        if (sub.parent != parent_ifindex_) {
            parent_ifindex_ = sub.parent;
            parent_.host = sub.parent ? index_.host(*sub.parent) : nullptr;
            parent_.context = index_.serving_context(parent_.host);
        }
        return parent_;
    }

    /* Checks that the SDK interface is on the host interface's port, port-channel or VLAN. */
    void check_place(const InterfaceRows &rows, const IntfRow &intf, const char *has,
                     PropertyId property)
    {
        const HostRow &host = *rows.host;
        uint32_t type = sdk_routed_port, param1 = host.number + 1, param2 = 0, param3 = 0;
        if (host.kind == InterfaceKind::port_channel) {
            param1 = rows.context != nullptr ? rows.context->pc_id : no_id;
            param3 = 1;
        } else if (host.kind == InterfaceKind::sub_interface) {
            const ContextRow *context = parent_of(host).context;
            if (context == nullptr || context->intf_id == no_id) {
                tell(AuditId::parent_gone, host, PropertyId::parent,
                     fmt::format("{} has SDK interface {}, but its parent {} has none", host.name,
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
            property = PropertyId::vlan;
        else if (intf.type == type && type == sdk_sub_interface)
            property = intf.param1 != param1 ? PropertyId::parent : PropertyId::vlan;
        if (intf.type != type || intf.param1 != param1 || intf.param2 != param2 ||
            intf.param3 != param3)
            tell(AuditId::interface_elsewhere, host, property,
                 fmt::format("{} {} SDK interface {}, which is elsewhere, {}", host.name, has,
                             index_.intf_words(intf.intf_id), made_by(intf.made)),
                 {&intf.made});
    }

    /* ---- What is in the ASIC ---- */

    void check(const IntfRow &intf)
    {
        const HostRow *owner = index_.owner_of_intf(intf.intf_id);
        const auto interface = [&] { return owner != nullptr ? owner->name : interface_of(intf); };
        if (owner == nullptr)
            tell_orphan(AuditId::orphan_interface, {AsicTable::interface, intf.intf_id},
                        fmt::format("SDK interface {}", intf.intf_id),
                        fmt::format(" ({})", Index::kind_words(intf)), "interface", interface(),
                        intf.made);
        const AttributeValueRow *bound = index_.attribute(intf.intf_id, SdkIntfAttrLid).written;
        if (bound != nullptr && index_.lid(bound->value) == nullptr)
            tell_made(AuditId::bound_to_gone_lid, fmt::format("SDK interface {}", intf.intf_id),
                      owner != nullptr ? lid_entry : PropertyId::binding, interface(),
                      fmt::format("SDK interface {} is bound to LID entry {}, which is gone",
                                  index_.intf_words(intf.intf_id), bound->value),
                      bound->made, "bound", &intf.made)
                .about = {AsicTable::interface, intf.intf_id};
    }

    /* The interface that an orphan was made for. */
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

    void check(const LidRow &lid)
    {
        const HostRow *owner = index_.owner_of_lid(lid.lid_id);
        const auto paths = find_rows(s_.lid_paths, &LidPathRow::lid_id, lid.lid_id);
        if (owner != nullptr && paths.size() == 1 && leads_to(*paths.begin(), *owner))
            return;
        const std::string object = fmt::format("LID entry {}", lid.lid_id);
        const std::string path =
            paths.empty() ? "" : fmt::format(" (path to {})", Index::path_words(*paths.begin()));
        if (owner == nullptr)
            tell_orphan(AuditId::orphan_lid, {AsicTable::lid, lid.lid_id}, object,
                        paths.empty() ? " without a path" : path, "port or port-channel",
                        concerned_channel(lid.made), lid.made);
        else
            tell_made(AuditId::lid_elsewhere, object, PropertyId::path, owner->name,
                      fmt::format("{} of {} {}{}", object, owner->name,
                                  paths.empty() ? "has no path" : "leads elsewhere", path),
                      lid.made, "made", paths.empty() ? nullptr : &paths.begin()->made)
                .about = {AsicTable::lid, lid.lid_id};
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

    void check(const LidPathRow &path)
    {
        if (path.port_type == SdkPortTypeChannel && index_.port_channel(path.pc_id) == nullptr)
            tell_made(AuditId::path_to_gone_channel, fmt::format("LID entry {}", path.lid_id),
                      PropertyId::path, name_of(index_.owner_of_lid(path.lid_id)),
                      fmt::format("LID entry {} leads to port-channel {}, which is gone",
                                  path.lid_id, path.pc_id),
                      path.made, "added")
                .about = {AsicTable::lid, path.lid_id};
    }

    void check(const PortChannelRow &channel)
    {
        if (index_.owner_of_port_channel(channel.pc_id) != nullptr)
            return;
        const size_t members = find_rows(s_.members, &MemberRow::pc_id, channel.pc_id).size();
        tell_orphan(AuditId::orphan_port_channel, {AsicTable::port_channel, channel.pc_id},
                    fmt::format("SDK port-channel {}", channel.pc_id),
                    fmt::format(" ({})", counted(members, "member")), "port-channel",
                    concerned_channel(channel.made), channel.made);
    }

    void check(const MemberRow &member)
    {
        const HostRow *owner = index_.owner_of_port_channel(member.pc_id);
        if (owner == nullptr)
            return; /* reported with the port-channel */
        const HostRow *port = index_.owner_of_front_port(member.front_port);
        if (port != nullptr && wanted_members_.count({owner->name, port->name}) != 0)
            return;
        tell_made(AuditId::member_unwanted, fmt::format("front port {}", member.front_port),
                  PropertyId::membership, port != nullptr ? port->name : owner->name,
                  fmt::format("front port {} ({}) is a member of SDK port-channel {} ({}) but not "
                              "wanted there",
                              member.front_port, port != nullptr ? port->name : "no port",
                              member.pc_id, owner->name),
                  member.made, "added")
            .other = owner->name;
    }

    void check(const PendingRow &write)
    {
        if (!index_.is_for_this_interface(write))
            tell_made(
                AuditId::write_for_gone_interface, fmt::format("SDK interface {}", write.intf_id),
                PropertyId::pending_write, concerned(write.made),
                fmt::format("a write of attribute {} waits for SDK interface {}, which is gone{}",
                            write.number, write.intf_id,
                            index_.intf(write.intf_id) != nullptr ? " and was created again" : ""),
                write.made, "queued");
    }

    /* ---- MACs ---- */

    void check_router_macs()
    {
        const bool owned = !s_.owned_router_mac.empty();
        const uint32_t owned_id = owned ? s_.owned_router_mac.front().peer_mac_id : no_id;
        const bool is_wanted = !s_.wanted_router_mac.empty();
        for (const RouterMacRow &mac : s_.router_macs) {
            const std::string object = fmt::format("router MAC {}", mac.peer_mac_id);
            const std::string detail = fmt::format(" ({})", to_text(mac.mac));
            const AsicObject about{AsicTable::router_mac, mac.peer_mac_id};
            if (!owned || mac.peer_mac_id != owned_id)
                tell_orphan(AuditId::orphan_router_mac, about, object, detail,
                            "router MAC of the switch", {}, mac.made);
            else if (!is_wanted)
                tell_made(AuditId::router_mac_unwanted, object, {}, {},
                          object + detail + " is not wanted", mac.made)
                    .about = about;
            else if (mac.mac != s_.wanted_router_mac.front().mac)
                tell_made(AuditId::router_mac_differs, object, PropertyId::mac, {},
                          fmt::format("{} is {}, configured {}", object, to_text(mac.mac),
                                      to_text(s_.wanted_router_mac.front().mac)),
                          mac.made)
                    .about = about;
        }
        if (owned && find_row(s_.router_macs, &RouterMacRow::peer_mac_id, owned_id) == nullptr)
            tell(AuditId::router_mac_gone, "switch", PropertyId::router_mac, {},
                 fmt::format("the switch is recorded with router MAC {}, which is gone", owned_id))
                .about = {AsicTable::router_mac, owned_id};
        else if (!owned && is_wanted) {
            const WantedRouterMac &wanted = s_.wanted_router_mac.front();
            /* Failures are noted for the switch, which is no interface. */
            AuditFinding &missing =
                tell_missing(AuditId::object_missing, "router MAC " + to_text(wanted.mac), {},
                             "switch", wanted.location, "not in the ASIC");
            missing.interface.clear();
            missing.about.table = AsicTable::router_mac;
        }
    }

    void check_virtual_macs()
    {
        std::set<std::pair<std::string, Mac>> wanted, recorded;
        std::unordered_set<uint32_t> owned_traps;
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs)
            wanted.insert({mac.interface, mac.mac});
        for (const FhrpRow &entry : s_.virtual_macs) {
            const std::string name = name_of(entry);
            recorded.insert({name, entry.mac});
            owned_traps.insert(entry.mac_trap_id);
            check_entry(entry, name, wanted.count({name, entry.mac}) != 0);
        }
        for (const TrapRow &trap : s_.traps) {
            if (owned_traps.count(trap.mac_trap_id) != 0)
                continue;
            const HostRow *owner = index_.owner_of_intf(trap.intf_id);
            tell_orphan(AuditId::orphan_trap, {AsicTable::trap, trap.mac_trap_id},
                        fmt::format("MAC trap {}", trap.mac_trap_id),
                        fmt::format(" ({} on SDK interface {})", to_text(trap.mac),
                                    index_.intf_words(trap.intf_id)),
                        "virtual MAC", owner != nullptr ? owner->name : concerned(trap.made),
                        trap.made);
        }
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs) {
            const WantedInterface *interface = index_.wanted(mac.interface);
            if (interface != nullptr && index_.must_exist(*interface) &&
                recorded.count({mac.interface, mac.mac}) == 0)
                tell_missing(AuditId::object_missing, virtual_mac_words(mac.mac, mac.interface),
                             PropertyId::mac_trap, mac.interface, mac.location, "has no MAC trap")
                    .virtual_mac = mac.mac;
        }
    }

    static std::string virtual_mac_words(const Mac &mac, const std::string &interface)
    {
        return fmt::format("virtual MAC {} of {}", to_text(mac), interface);
    }

    /* For an interface that is gone: its name when the trap was made. */
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
        const ContextRow *context = index_.serving_context(host);
        const TrapRow *trap = index_.trap(entry.mac_trap_id);
        const auto by = [&] { return trap != nullptr ? ": " + made_by(trap->made) : ""; };
        const auto tell_entry = [&](AuditId id, PropertyId property, const std::string &what) {
            AuditFinding &finding = tell(id, object, property, name, object + what,
                                         {trap != nullptr ? &trap->made : nullptr});
            finding.virtual_mac = entry.mac;
            finding.about = {AsicTable::trap, entry.mac_trap_id};
        };
        if (trap == nullptr)
            tell_entry(
                AuditId::trap_gone, PropertyId::mac_trap,
                fmt::format(" is recorded with MAC trap {}, which is gone", entry.mac_trap_id));
        if (context == nullptr || context->intf_id == no_id)
            tell_entry(AuditId::virtual_mac_without_interface, PropertyId::interface,
                       " is recorded for an interface that has no SDK interface");
        else if (trap != nullptr && trap->intf_id != context->intf_id)
            tell_entry(AuditId::trap_differs, PropertyId::mac_trap,
                       fmt::format(" has MAC trap {} on SDK interface {}, the interface has {}{}",
                                   trap->mac_trap_id, trap->intf_id, context->intf_id, by()));
        if (trap != nullptr && trap->mac != entry.mac)
            tell_entry(AuditId::trap_differs, PropertyId::mac,
                       fmt::format(" has MAC trap {}, which is for {}{}", trap->mac_trap_id,
                                   to_text(trap->mac), by()));
        if (!is_wanted)
            tell_entry(AuditId::virtual_mac_unwanted, {}, " is not wanted" + by());
    }

    /* ---- The shared database ---- */

    /* Rows of missing interfaces. A port-channel without members stays published: the library
     * withdraws only the label. */
    void check_database()
    {
        check_rows(s_.pm, PropertyId::ifmap_index);
        check_rows(s_.pc, PropertyId::port_channel);
        check_rows(s_.l3lif, PropertyId::publication);
        check_rows(s_.label, PropertyId::label);
        for (const MemberIntfRow &row : s_.member_intf) {
            const HostRow *host = index_.host(row.ifindex);
            if (host == nullptr || !host->kept_intf)
                tell_row(AuditId::row_unwanted, row,
                         fmt::format("says SDK interface {} is kept, but the host keeps none",
                                     row.intf_id),
                         PropertyId::kept_intf);
        }
        for (const LabelRow &row : s_.label) {
            const ContextRow *context = index_.context(row.ifindex);
            if (!row.enabled || (context != nullptr && context->intf_id != no_id))
                continue;
            const HostRow *host = index_.host(row.ifindex);
            if (host != nullptr && host->registered)
                tell_row(AuditId::label_without_interface, row,
                         "is set up, but the interface has no SDK interface", PropertyId::label);
        }
    }

    template <class Row> void check_rows(const std::vector<Row> &rows, PropertyId property)
    {
        for (const Row &row : rows) {
            const HostRow *host = index_.host(row.ifindex);
            if (host == nullptr)
                tell_row(AuditId::row_of_gone_interface, row, "is of an interface that is gone",
                         PropertyId::interface);
            else if (!host->registered)
                tell_row(AuditId::row_unwanted, row, "is of an interface that is no L3 interface",
                         property);
        }
    }

    template <class Row>
    void tell_row(AuditId id, const Row &row, const std::string &what, PropertyId property)
    {
        const std::string name = index_.name(row.ifindex);
        const std::string object = fmt::format("{} row of {}", Row::table, name);
        tell_made(id, object, property, name, object + ' ' + what, row.made);
    }

    /* ---- What was configured and is not applied ---- */

    /* The reader's code says why, and is the finding's. */
    void check_left_out()
    {
        for (const Finding &row : s_.reader) {
            if (!row.leaves_out)
                continue;
            AuditFinding &finding = findings_.emplace_back();
            finding.kind = AuditKind::left_out;
            finding.code = row.code;
            finding.object = row.location.row();
            finding.interface = named_by(row.location.key());
            finding.words = fmt::format("{}: {}", row.location.to_text(), row.without_code());
        }
    }

    /* The interface that a row is about: the first part of its key, if it is one. */
    static std::string named_by(const std::string &key)
    {
        std::string name = key.substr(0, key.find('|'));
        return parse_interface_name(name) ? name : std::string();
    }

    const Snapshot &s_;
    const Index &index_;
    std::set<std::pair<std::string, std::string>> wanted_members_;
    Sides verdict_; /* one for all properties: only the mismatch is looked at */
    std::optional<uint32_t> parent_ifindex_; /* whose rows these are */
    Parent parent_;
    std::vector<AuditFinding> findings_;
};

} // namespace

std::vector<AuditFinding> audit(const Snapshot &snapshot)
{
    return audit(Index(snapshot));
}

std::vector<AuditFinding> audit(const Index &index)
{
    return Auditor(index).findings();
}

std::string cost_words(const AuditFinding &finding)
{
    if (!finding.services)
        return "";
    if (*finding.services == 0)
        return "costs no service";
    return "costs " + counted(*finding.services, "service");
}

std::string to_text(const AuditFinding &finding)
{
    const std::string cost = cost_words(finding);
    return fmt::format("{}: {}{}{} [{}]", to_text(finding.kind), visible(finding.words),
                       cost.empty() ? "" : "; ", cost, finding.code);
}

std::string verdict(const Snapshot &snapshot, const std::vector<AuditFinding> &findings,
                    const std::string &more)
{
    const auto left_out =
        std::count_if(findings.begin(), findings.end(), [](const AuditFinding &finding) {
            return finding.kind == AuditKind::left_out;
        });
    std::string text = "The audit found nothing: records, ASIC, shared database and configuration "
                       "agree";
    if (!findings.empty())
        text = counted(findings.size(), "finding");
    if (left_out != 0)
        text += fmt::format(", {} of what is configured but left out", left_out);
    std::vector<std::string> others;
    for (const auto &[severity, what] :
         {std::pair(Finding::Severity::warning, "warning"), {Finding::Severity::note, "note"}}) {
        const auto count = std::count_if(
            snapshot.reader.begin(), snapshot.reader.end(),
            [of = severity](const Finding &row) { return !row.leaves_out && row.severity == of; });
        if (count != 0)
            others.push_back(counted(static_cast<uint64_t>(count), what));
    }
    if (!others.empty())
        text += fmt::format("; {} on the configuration", fmt::join(others, " and "));
    return text + more + (findings.empty() ? "." : "");
}

} // namespace kvnsim
