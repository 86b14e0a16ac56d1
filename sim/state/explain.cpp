#include "sim/state/explain.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/config/names.h"
#include "sim/sdk/asic.h"
#include "sim/state/index.h"

namespace kvnsim {
namespace {

std::string id_text(uint32_t id)
{
    return id == no_id ? std::string("none") : fmt::to_string(id);
}

std::string on_off(bool on)
{
    return on ? "on" : "off";
}

std::string joined(const std::set<std::string, NaturalOrder> &names)
{
    return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ","));
}

class Explainer {
public:
    Explainer(const Index &index, const std::string &interface)
        : s_(index.snapshot()), index_(index), name_(interface), host_(index_.host(name_)),
          wanted_(index_.wanted(name_)), port_(index_.wanted_port(name_))
    {
        if (host_ == nullptr)
            return;
        context_ = index_.context(host_->ifindex);
        if (context_ != nullptr && context_->intf_id != no_id)
            intf_ = index_.intf(context_->intf_id);
        published_ = index_.l3lif(host_->ifindex);
    }

    Explanation explain(const std::vector<AuditFinding> &findings)
    {
        for (const AuditFinding &finding : findings) {
            if (finding.concerns(name_))
                told_.findings.push_back(finding);
        }
        identity();
        const std::string &kind = told_.kind;
        const bool is_known = host_ != nullptr || wanted_ != nullptr || port_ != nullptr;
        if (kind == "port" && is_known)
            port();
        if (kind == "port-channel" && is_known)
            port_channel();
        if ((kind == "sub-interface" || kind == "SVI") && is_known)
            vlan();
        if (host_ != nullptr && (wanted_ != nullptr || context_ != nullptr))
            settings();
        label();
        virtual_macs();
        return std::move(told_);
    }

private:
    /* Has the audit found something of that property or object? */
    bool found(std::string_view what) const
    {
        return std::any_of(told_.findings.begin(), told_.findings.end(),
                           [&](const AuditFinding &finding) {
                               return finding.property == what || finding.object == what;
                           });
    }

    /* The audit's word for it is the name, when it has no other. */
    ExplainedProperty &add(const std::string &name, const std::string &configured,
                           const std::string &library, const std::string &asic,
                           const std::string &database, const Origin *made = nullptr,
                           std::string_view in_audit = {})
    {
        ExplainedProperty &told = told_.properties.emplace_back();
        told.property = name;
        told.configured = configured;
        told.library = library;
        told.asic = asic;
        told.database = database;
        told.differs = found(in_audit.empty() ? name : in_audit);
        if (made != nullptr)
            told.call = made->to_text();
        return told;
    }

    void identity()
    {
        told_.interface = name_;
        told_.failure = index_.failure(name_).message;
        if (wanted_ != nullptr) {
            told_.kind = to_text(wanted_->kind);
            told_.configured_at = wanted_->location.to_text();
        } else if (port_ != nullptr) {
            told_.kind = "port";
            told_.configured_at = port_->location.to_text();
        }
        if (host_ != nullptr)
            told_.kind = to_text(host_->kind);
        if (told_.kind.empty())
            outside();
        for (const Finding *row : index_.reader(name_))
            told_.reader.push_back(*row);
        told_.state = index_.state(name_);
        const bool must = must_exist();
        const bool recorded = context_ != nullptr && context_->intf_id != no_id;
        if (must || recorded)
            add("SDK interface", must ? "wanted" : "not wanted",
                context_ != nullptr ? id_text(context_->intf_id) : "no context",
                intf_ != nullptr ? index_.intf_words(intf_->intf_id) : "none", "",
                intf_ != nullptr ? &intf_->made : nullptr);
        if (found("state"))
            add("state", "", host_->pd_state == 4 ? "destroyed" : "never made", "", "");
        if (found("publication"))
            add("publication", "", "", "", published_ != nullptr ? "published" : "none",
                published_ != nullptr ? &published_->made : nullptr);
    }

    /* A VLAN that is not routed, or what the configuration's reader left out. */
    void outside()
    {
        const WantedVlan *vlan = index_.wanted_vlan(name_);
        if (vlan == nullptr) {
            static constexpr const char *kinds[] = {"port", "port-channel", "VLAN",
                                                    "sub-interface"};
            if (const auto parsed = parse_interface_name(name_))
                told_.kind = kinds[static_cast<size_t>(parsed->kind)];
            return;
        }
        told_.kind = "VLAN";
        told_.configured_at = vlan->location.to_text();
        std::set<std::string, NaturalOrder> members;
        for (const WantedVlanMember &member : s_.wanted_vlan_members) {
            if (member.vlan == name_)
                members.insert(member.member);
        }
        add("VLAN", fmt::to_string(vlan->vlan), "", "", "");
        add("switched members", joined(members), "", "", "");
    }

    bool must_exist() const { return wanted_ != nullptr && index_.must_exist(*wanted_); }

    void port()
    {
        const PmRow *row =
            host_ != nullptr ? find_row(s_.pm, &PmRow::ifindex, host_->ifindex) : nullptr;
        const LidRow *lid =
            host_ != nullptr && host_->port_lid ? index_.lid(*host_->port_lid) : nullptr;
        add("port's LID entry", port_ != nullptr ? "wanted" : "not wanted",
            host_ != nullptr && host_->port_lid ? fmt::to_string(*host_->port_lid) : "none",
            lid != nullptr ? fmt::to_string(lid->lid_id) : "none", "",
            lid != nullptr ? &lid->made : nullptr);
        if (lid != nullptr)
            path(*lid, fmt::format("front port {}", host_->number + 1));
        if (row != nullptr || intf_ != nullptr)
            add("ifmap index", "", "",
                lid != nullptr ? fmt::format("{:#x}", lid->ifmap_idx) : "none",
                row != nullptr ? fmt::format("{:#x}", row->ifmap_idx) : "none",
                row != nullptr ? &row->made : nullptr);
        kept();
        membership();
        if (host_ != nullptr && host_->loopback)
            add("internal loopback", "", "on", "", "");
    }

    /* Where a LID entry leads; told only when it is the wrong way. */
    void path(const LidRow &lid, const std::string &right)
    {
        if (!found("path"))
            return;
        const auto paths = find_rows(s_.lid_paths, &LidPathRow::lid_id, lid.lid_id);
        std::vector<std::string> ends;
        for (const LidPathRow &path : paths)
            ends.push_back(index_.path_words(path));
        add("path", "", right, ends.empty() ? "none" : fmt::format("{}", fmt::join(ends, ",")), "",
            paths.empty() ? &lid.made : &paths.begin()->made);
    }

    void kept()
    {
        if (host_ == nullptr)
            return;
        const MemberIntfRow *row =
            find_row(s_.member_intf, &MemberIntfRow::ifindex, host_->ifindex);
        if (row == nullptr && !host_->kept_intf)
            return;
        const uint32_t kept = host_->kept_intf.value_or(no_id);
        const IntfRow *intf = index_.intf(kept);
        add("kept SDK interface", "", id_text(kept),
            intf != nullptr ? index_.intf_words(kept) : "none",
            row != nullptr ? fmt::to_string(row->intf_id) : "none",
            row != nullptr ? &row->made : nullptr);
    }

    void membership()
    {
        std::string configured = "none";
        for (const WantedMember &member : s_.wanted_members) {
            if (member.port == name_)
                configured = member.port_channel + (member.declined ? " (declined)" : "");
        }
        const std::string recorded =
            host_ != nullptr && host_->channel ? index_.name(*host_->channel) : "none";
        std::string asic = "none";
        const Origin *made = nullptr;
        for (const MemberRow &member : s_.members) {
            if (host_ != nullptr && member.front_port == host_->number + 1) {
                const HostRow *owner = index_.owner_of_port_channel(member.pc_id);
                asic = owner != nullptr ? owner->name
                                        : fmt::format("SDK port-channel {}", member.pc_id);
                made = &member.made;
            }
        }
        if (configured == "none" && recorded == "none" && asic == "none")
            return;
        add("member of", configured, recorded, asic, "", made, "membership");
    }

    void port_channel()
    {
        const PcRow *row =
            host_ != nullptr ? find_row(s_.pc, &PcRow::ifindex, host_->ifindex) : nullptr;
        const uint32_t pc_id = context_ != nullptr ? context_->pc_id
                               : host_ != nullptr  ? host_->held_pc.value_or(no_id)
                                                   : no_id;
        const uint32_t lid_id = context_ != nullptr ? context_->lid_id
                                : host_ != nullptr  ? host_->held_lid.value_or(no_id)
                                                    : no_id;
        const PortChannelRow *channel = index_.port_channel(pc_id);
        if (context_ != nullptr || row != nullptr || pc_id != no_id)
            add("port-channel", "", id_text(pc_id),
                channel != nullptr ? fmt::to_string(channel->pc_id) : "none",
                row != nullptr ? fmt::to_string(row->pc_id) : "none",
                channel != nullptr ? &channel->made : nullptr);
        if (const LidRow *lid = index_.lid(lid_id))
            path(*lid, fmt::format("port-channel {}", id_text(pc_id)));
        std::set<std::string, NaturalOrder> configured, recorded, asic;
        const Origin *made = nullptr;
        for (const WantedMember &member : s_.wanted_members) {
            if (member.port_channel != name_)
                continue;
            configured.insert(member.port + (member.declined ? " (declined)" : ""));
        }
        for (const HostRow &port : s_.host) {
            if (host_ != nullptr && port.channel == host_->ifindex)
                recorded.insert(port.name);
        }
        for (const MemberRow &member : find_rows(s_.members, &MemberRow::pc_id, pc_id)) {
            const HostRow *port = index_.owner_of_front_port(member.front_port);
            asic.insert(port != nullptr ? port->name
                                        : fmt::format("front port {}", member.front_port));
            made = &member.made;
        }
        add("members", joined(configured), joined(recorded), joined(asic), "", made, "membership");
    }

    void vlan()
    {
        const bool is_sub = told_.kind == "sub-interface";
        const uint32_t vlan = intf_ != nullptr ? (is_sub ? intf_->param2 : intf_->param1) : 0;
        const std::string configured =
            wanted_ != nullptr ? fmt::to_string(wanted_->number) : "none";
        const std::string recorded = host_ != nullptr ? fmt::to_string(host_->vlan) : "none";
        const std::string asic = intf_ != nullptr ? fmt::to_string(vlan) : "none";
        add("VLAN", configured, recorded, asic, "", intf_ != nullptr ? &intf_->made : nullptr);
        if (!is_sub)
            return;
        const HostRow *owner = intf_ != nullptr ? index_.owner_of_intf(intf_->param1) : nullptr;
        const std::string parent = wanted_ != nullptr ? wanted_->parent : "none";
        const std::string in_asic =
            owner != nullptr ? owner->name : (intf_ != nullptr ? "unknown" : "none");
        add("parent", parent,
            host_ != nullptr && host_->parent ? index_.name(*host_->parent) : "none", in_asic, "",
            intf_ != nullptr ? &intf_->made : nullptr);
    }

    /* The attributes, in the words of each side: without an SDK interface those that somebody
     * asked for. */
    void settings()
    {
        static constexpr ContextRow no_context{0, no_id, no_id, no_id, no_id};
        const WantedInterface nothing;
        const bool routed = wanted_ != nullptr && wanted_->routed;
        if (!must_exist() && intf_ == nullptr)
            return;
        for (const ExpectedAttribute &e : index_.expected_attributes(
                 *host_, context_ != nullptr ? *context_ : no_context, routed ? wanted_ : &nothing))
            attribute(e);
        if (routed &&
            (wanted_->nat_zone != 0 || (published_ != nullptr && published_->nat_zone != 0)))
            add("NAT zone", fmt::to_string(wanted_->nat_zone), fmt::to_string(host_->nat_zone), "",
                published_ != nullptr ? fmt::to_string(published_->nat_zone) : "none",
                published_ != nullptr ? &published_->made : nullptr);
    }

    struct Sides {
        std::string configured, library, database;
        bool is_flag = false, is_hex = false;
    };

    static std::string text_of(const Sides &sides, uint32_t value)
    {
        if (sides.is_flag)
            return on_off(value != 0);
        return sides.is_hex ? fmt::format("{:#x}", value) : fmt::to_string(value);
    }

    void attribute(const ExpectedAttribute &e)
    {
        const char *const name = property_name(e.number);
        const Sides sides = sides_of(e);
        if (intf_ == nullptr) {
            if (!sides.configured.empty() || !sides.library.empty())
                add(name, sides.configured, sides.library, "none", sides.database);
            return;
        }
        const AttributeState now = index_.attribute(intf_->intf_id, e.number);
        if (e.initial && now.value == e.value && now.after_flush() == e.value)
            return;
        const Origin *made = now.written != nullptr ? &now.written->made : nullptr;
        const bool right = now.after_flush() == e.value;
        if (found(name) && right && published_ != nullptr)
            made = &published_->made; /* it is the database that is wrong */
        ExplainedProperty &told = add(name, sides.configured, sides.library,
                                      text_of(sides, now.value), sides.database, made);
        if (told.differs && sides.configured.empty() && sides.library.empty())
            told.expected = text_of(sides, e.value);
        if (now.waits == nullptr)
            return;
        const std::string waits = text_of(sides, now.waits->value);
        told.asic += fmt::format(" ({} waits)", waits);
        told.call += fmt::format("{}{} queued by {}", told.call.empty() ? "" : "; ", waits,
                                 now.waits->made.to_text());
    }

    Sides sides_of(const ExpectedAttribute &e) const
    {
        Sides sides;
        const bool has = wanted_ != nullptr && wanted_->routed;
        const auto published = [&](uint32_t L3lifRow::*member) {
            return published_ != nullptr ? fmt::to_string(published_->*member)
                                         : std::string("none");
        };
        switch (e.number) {
        case SdkIntfAttrLid:
            if (!e.initial)
                sides.library = context_ != nullptr ? id_text(context_->lid_id) : "";
            break;
        case SdkIntfAttrMtuIdx:
            sides.configured = has ? fmt::to_string(wanted_->mtu) : "";
            sides.library = fmt::to_string(host_->mtu);
            sides.database = published(&L3lifRow::mtu);
            break;
        case SdkIntfAttrIpv4UcstEn:
            sides.is_flag = true;
            sides.configured = has ? on_off(wanted_->ipv4) : "";
            sides.library = on_off(host_->ipv4_ucst);
            sides.database =
                published_ != nullptr ? on_off(published_->ipv4_ucst_en != 0) : std::string("none");
            break;
        case SdkIntfAttrIpv6UcstEn:
            sides.is_flag = true;
            sides.configured = has ? on_off(wanted_->ipv6) : "";
            break;
        case SdkIntfAttrIpv4McstEn:
            sides.is_flag = true;
            sides.library = on_off(host_->ipv4_mcst);
            break;
        case SdkIntfAttrIpv4Vpn:
            sides.configured = has ? fmt::to_string(wanted_->vpn) : "";
            sides.library = fmt::to_string(host_->v4_vpn);
            sides.database = published(&L3lifRow::v4_vpn_id);
            break;
        case SdkIntfAttrIpv6Vpn:
            sides.configured = has ? fmt::to_string(wanted_->vpn) : "";
            sides.library = fmt::to_string(host_->v6_vpn);
            sides.database = published(&L3lifRow::v6_vpn_id);
            break;
        case SdkIntfAttrIpv4SameIfCheck:
            sides.is_flag = true;
            sides.library = on_off(!host_->ipv4_same_if);
            break;
        case SdkIntfAttrDefSgt:
        case SdkIntfAttrIngTblDfMask:
        case SdkIntfAttrAclBdLabel:
            sides.is_hex = true;
            break;
        default:
            break; /* nobody records it */
        }
        return sides;
    }

    void label()
    {
        const LabelRow *row = host_ != nullptr ? index_.label(host_->ifindex) : nullptr;
        if (row == nullptr && intf_ == nullptr)
            return;
        std::string is = row == nullptr ? "none" : row->enabled ? "set up" : "reset";
        if (found("L3 label") && row != nullptr && row->svi != (told_.kind == "SVI"))
            is += row->svi ? " as an SVI's" : ", not as an SVI's";
        add("L3 label", "", "", "", is, row != nullptr ? &row->made : nullptr);
    }

    void virtual_macs()
    {
        std::set<Mac> macs;
        const uint32_t ifindex = host_ != nullptr ? host_->ifindex : 0;
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs) {
            if (mac.interface == name_)
                macs.insert(mac.mac);
        }
        for (const FhrpRow &entry : s_.virtual_macs) {
            if (entry.ifindex == ifindex)
                macs.insert(entry.mac);
        }
        for (const Mac &mac : macs) {
            const bool configured = std::any_of(
                s_.wanted_virtual_macs.begin(), s_.wanted_virtual_macs.end(),
                [&](const auto &row) { return row.interface == name_ && row.mac == mac; });
            const auto entry = std::find_if(
                s_.virtual_macs.begin(), s_.virtual_macs.end(),
                [&](const FhrpRow &row) { return row.ifindex == ifindex && row.mac == mac; });
            const bool recorded = entry != s_.virtual_macs.end();
            const TrapRow *trap = recorded ? index_.trap(entry->mac_trap_id) : nullptr;
            add("virtual MAC " + to_text(mac), configured ? "wanted" : "not wanted",
                recorded ? fmt::format("MAC trap {}", entry->mac_trap_id) : "none",
                trap != nullptr ? fmt::format("on SDK interface {}", trap->intf_id) : "none", "",
                trap != nullptr ? &trap->made : nullptr,
                fmt::format("virtual MAC {} of {}", to_text(mac), name_));
        }
    }

    const Snapshot &s_;
    const Index &index_;
    const std::string name_;
    const HostRow *host_;
    const WantedInterface *wanted_;
    const WantedPort *port_;
    const ContextRow *context_ = nullptr;
    const IntfRow *intf_ = nullptr;
    const L3lifRow *published_ = nullptr;
    Explanation told_;
};

Listing properties_of(const Explanation &explanation)
{
    return listing_of(
        fmt::format("{} ({}): {}", explanation.interface, explanation.kind, explanation.state),
        explanation.properties,
        {"Property", "Configured", "Library", "ASIC", "Database", "Differs", "Expected",
         "Written by"});
}

} // namespace

Explanation explain(const Snapshot &snapshot, const std::string &interface)
{
    return explain(Index(snapshot), audit(snapshot), interface);
}

Explanation explain(const Index &index, const std::vector<AuditFinding> &findings,
                    const std::string &interface)
{
    return Explainer(index, interface).explain(findings);
}

std::string to_text(const Explanation &explanation)
{
    Listing listing = properties_of(explanation);
    for (size_t i = 0; i < listing.rows.size(); ++i) {
        const ExplainedProperty &told = explanation.properties[i];
        auto &row = listing.rows[i];
        if (!told.differs)
            row[5] = Cell();
        else if (told.expected.empty())
            row[5] = std::string("<-- differs");
        else
            row[5] = "<-- expected " + told.expected;
        row.erase(row.begin() + 6);
    }
    listing.columns.erase(listing.columns.begin() + 6);
    listing.columns[5].title.clear();
    std::string text = listing.rows.empty() ? listing.title + '\n' : to_text(listing);
    if (!explanation.configured_at.empty())
        text += "configured at " + explanation.configured_at + '\n';
    if (!explanation.failure.empty())
        text += "failed: " + explanation.failure + '\n';
    for (const Finding &row : explanation.reader)
        text += fmt::format("configuration: {}: {}: {}\n", to_text(row.severity),
                            row.location.to_text(), row.words());
    for (const AuditFinding &finding : explanation.findings)
        text += fmt::format("audit: {}: {}\n", to_text(finding.kind), finding.words);
    return text;
}

void write(Json &json, const Explanation &explanation)
{
    json.begin_object().field("interface", explanation.interface).field("kind", explanation.kind);
    json.field("state", explanation.state).field("configured_at", explanation.configured_at);
    json.field("failure", explanation.failure).key("properties");
    write(json, properties_of(explanation));
    json.key("configuration");
    write(json, show(explanation.reader));
    json.key("audit");
    write(json, show(explanation.findings));
    json.end_object();
}

} // namespace kvnsim
