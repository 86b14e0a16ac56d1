#include "sim/state/explain.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include <fmt/format.h>

#include "platform_api/libsdk.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/state/index.h"
#include "sim/state/json.h"

namespace kvnsim {
namespace {

std::string id_text(uint32_t id)
{
    return is_none(id) ? std::string("none") : fmt::to_string(id);
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
        if (host_ == nullptr && wanted_ == nullptr && port_ == nullptr)
            throw std::invalid_argument("there is no interface " + name_);
        if (host_ == nullptr)
            return;
        context_ = index_.context(host_->ifindex);
        if (context_ != nullptr && !is_none(context_->intf_id))
            intf_ = index_.intf(context_->intf_id);
        published_ = index_.l3lif(host_->ifindex);
    }

    Explanation explain(const std::vector<AuditFinding> &findings)
    {
        identity();
        const std::string &kind = told_.kind;
        if (kind == "port")
            port();
        if (kind == "port-channel")
            port_channel();
        if (kind == "sub-interface" || kind == "SVI")
            vlan();
        if (host_ != nullptr && (wanted_ != nullptr || context_ != nullptr))
            settings();
        virtual_macs();
        for (const AuditFinding &finding : findings) {
            if (finding.interface == name_)
                told_.findings.push_back(finding);
        }
        return std::move(told_);
    }

private:
    ExplainedProperty &add(const std::string &name, const std::string &configured,
                           const std::string &library, const std::string &asic,
                           const std::string &database, bool differs, const Made *made = nullptr)
    {
        told_.properties.push_back({name, configured, library, asic, database, differs,
                                    made != nullptr ? s_.words(*made) : std::string()});
        return told_.properties.back();
    }

    void identity()
    {
        told_.interface = name_;
        told_.failure = index_.failure(name_).message;
        if (wanted_ != nullptr) {
            told_.kind = wanted_->kind;
            told_.configured_at = wanted_->place.to_text();
        } else if (port_ != nullptr) {
            told_.kind = "port";
            told_.configured_at = port_->place.to_text();
        }
        if (host_ != nullptr)
            told_.kind = host_->kind;
        told_.state =
            host_ != nullptr ? index_.state(host_, wanted_) : std::string("not known to the host");
        const bool must = must_exist();
        const bool recorded = context_ != nullptr && !is_none(context_->intf_id);
        if (must || recorded)
            add("SDK interface", must ? "wanted" : "not wanted",
                context_ != nullptr ? id_text(context_->intf_id) : "no context",
                intf_ != nullptr ? index_.intf_words(intf_->intf_id) : "none", "",
                must != (intf_ != nullptr) || recorded != (intf_ != nullptr),
                intf_ != nullptr ? &intf_->made : nullptr);
    }

    bool must_exist() const { return wanted_ != nullptr && index_.must_exist(*wanted_); }

    void port()
    {
        const DbPm *row =
            host_ != nullptr ? find_row(s_.pm, &DbPm::ifindex, host_->ifindex) : nullptr;
        const LidRow *lid =
            host_ != nullptr && host_->port_lid ? index_.lid(*host_->port_lid) : nullptr;
        add("port's LID entry", port_ != nullptr ? "wanted" : "not wanted",
            host_ != nullptr && host_->port_lid ? fmt::to_string(*host_->port_lid) : "none",
            lid != nullptr ? fmt::to_string(lid->lid_id) : "none", "",
            (port_ != nullptr) != (lid != nullptr), lid != nullptr ? &lid->made : nullptr);
        if (row != nullptr || intf_ != nullptr)
            add("ifmap index", "", "",
                lid != nullptr ? fmt::format("{:#x}", lid->ifmap_idx) : "none",
                row != nullptr ? fmt::format("{:#x}", row->ifmap_idx) : "none",
                row == nullptr || lid == nullptr || row->ifmap_idx != lid->ifmap_idx,
                row != nullptr ? &row->made : nullptr);
        kept();
        membership();
        if (host_ != nullptr && host_->loopback)
            add("internal loopback", "", "on", "", "", false);
    }

    void kept()
    {
        if (host_ == nullptr)
            return;
        const DbMemberIntf *row = find_row(s_.member_intf, &DbMemberIntf::ifindex, host_->ifindex);
        if (row == nullptr && !host_->kept_intf)
            return;
        const uint32_t kept = host_->kept_intf.value_or(none_id);
        const IntfRow *intf = index_.intf(kept);
        add("kept SDK interface", "", id_text(kept),
            intf != nullptr ? index_.intf_words(kept) : "none",
            row != nullptr ? fmt::to_string(row->intf_id) : "none",
            intf == nullptr || row == nullptr || row->intf_id != kept,
            row != nullptr ? &row->made : nullptr);
    }

    void membership()
    {
        std::string configured = "none";
        bool declined = false;
        for (const WantedMember &member : s_.wanted_members) {
            if (member.port == name_) {
                configured = member.port_channel + (member.declined ? " (declined)" : "");
                declined = member.declined;
            }
        }
        const std::string recorded =
            host_ != nullptr && host_->channel ? index_.name(*host_->channel) : "none";
        std::string asic = "none";
        const Made *made = nullptr;
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
        const WantedInterface *channel = index_.wanted(configured);
        const bool expected = channel != nullptr && channel->routed && !declined;
        add("member of", configured, recorded, asic, "",
            recorded != asic || (expected ? asic != configured : asic != "none"), made);
    }

    void port_channel()
    {
        if (context_ != nullptr) {
            const PortChannelRow *channel =
                is_none(context_->pc_id) ? nullptr : index_.port_channel(context_->pc_id);
            const DbPc *row = find_row(s_.pc, &DbPc::ifindex, host_->ifindex);
            add("port-channel", "", id_text(context_->pc_id),
                channel != nullptr ? fmt::to_string(channel->pc_id) : "none",
                row != nullptr ? fmt::to_string(row->pc_id) : "none",
                is_none(context_->pc_id) != (channel == nullptr) ||
                    (channel != nullptr && (row == nullptr || row->pc_id != channel->pc_id)),
                channel != nullptr ? &channel->made : nullptr);
        }
        std::set<std::string, NaturalOrder> configured, expected, recorded, asic;
        const Made *made = nullptr;
        for (const WantedMember &member : s_.wanted_members) {
            if (member.port_channel != name_)
                continue;
            configured.insert(member.port + (member.declined ? " (declined)" : ""));
            if (!member.declined && wanted_ != nullptr && wanted_->routed)
                expected.insert(member.port);
        }
        for (const HostRow &port : s_.host) {
            if (host_ != nullptr && port.channel == host_->ifindex)
                recorded.insert(port.name);
        }
        if (context_ != nullptr) {
            for (const MemberRow &member :
                 find_rows(s_.members, &MemberRow::pc_id, context_->pc_id)) {
                const HostRow *port = index_.owner_of_front_port(member.front_port);
                asic.insert(port != nullptr ? port->name
                                            : fmt::format("front port {}", member.front_port));
                made = &member.made;
            }
        }
        add("members", joined(configured), joined(recorded), joined(asic), "",
            asic != expected || asic != recorded, made);
    }

    void vlan()
    {
        const bool is_sub = told_.kind == "sub-interface";
        const uint32_t vlan = intf_ != nullptr ? (is_sub ? intf_->param2 : intf_->param1) : 0;
        const std::string configured =
            wanted_ != nullptr ? fmt::to_string(wanted_->number) : "none";
        const std::string recorded = host_ != nullptr ? fmt::to_string(host_->vlan) : "none";
        const std::string asic = intf_ != nullptr ? fmt::to_string(vlan) : "none";
        add("VLAN", configured, recorded, asic, "", configured != asic,
            intf_ != nullptr ? &intf_->made : nullptr);
        if (!is_sub)
            return;
        const HostRow *owner = intf_ != nullptr ? index_.owner_of_intf(intf_->param1) : nullptr;
        const std::string parent = wanted_ != nullptr ? wanted_->parent : "none";
        const std::string in_asic =
            owner != nullptr ? owner->name : (intf_ != nullptr ? "unknown" : "none");
        add("parent", parent,
            host_ != nullptr && host_->parent ? index_.name(*host_->parent) : "none", in_asic, "",
            parent != in_asic, intf_ != nullptr ? &intf_->made : nullptr);
    }

    /* The attributes that have a right value, in the words of each side. */
    void settings()
    {
        static constexpr ContextRow no_context{0, none_id, none_id, none_id, none_id};
        const ContextRow &context = context_ != nullptr ? *context_ : no_context;
        WantedInterface nothing;
        const bool routed = wanted_ != nullptr && wanted_->routed;
        if (!must_exist() && intf_ == nullptr)
            return;
        for (const ExpectedAttribute &e :
             index_.expected_attributes(*host_, context, routed ? wanted_ : &nothing)) {
            const Sides sides = sides_of(e);
            const AttributeState now =
                intf_ != nullptr ? index_.attribute(intf_->intf_id, e.number) : AttributeState();
            const AttributeRow *row = find_attribute(e.number);
            const uint32_t initial = row != nullptr ? row->initial : 0;
            if (sides.only_if_set && e.value == initial && now.after_flush() == initial &&
                now.value == initial)
                continue;
            const bool published_right =
                sides.database.empty() || !routed || sides.database == sides.configured;
            add_attribute(e, sides, now, published_right);
        }
        if (routed &&
            (wanted_->nat_zone != 0 || (published_ != nullptr && published_->nat_zone != 0))) {
            const std::string configured = fmt::to_string(wanted_->nat_zone);
            const std::string database =
                published_ != nullptr ? fmt::to_string(published_->nat_zone) : "none";
            add("NAT zone", configured, fmt::to_string(host_->nat_zone), "", database,
                configured != database, published_ != nullptr ? &published_->made : nullptr);
        }
        label();
    }

    struct Sides {
        std::string configured, library, database;
        bool is_flag = false, is_hex = false, only_if_set = false;
    };

    static std::string text_of(const Sides &sides, uint32_t value)
    {
        if (sides.is_flag)
            return on_off(value != 0);
        return sides.is_hex ? fmt::format("{:#x}", value) : fmt::to_string(value);
    }

    void add_attribute(const ExpectedAttribute &e, const Sides &sides, const AttributeState &now,
                       bool published_right)
    {
        const bool wrong = intf_ == nullptr || now.after_flush() != e.value;
        const Made *made = now.written != nullptr ? &now.written->made : nullptr;
        if (!published_right && !wrong && published_ != nullptr)
            made = &published_->made;
        ExplainedProperty &told = add(e.property, sides.configured, sides.library,
                                      intf_ != nullptr ? text_of(sides, now.value) : "none",
                                      sides.database, wrong || !published_right, made);
        if (now.waits == nullptr)
            return;
        const std::string waits = text_of(sides, now.waits->value);
        told.asic += fmt::format(" ({} waits)", waits);
        told.call += fmt::format("{}{} queued by {}", told.call.empty() ? "" : "; ", waits,
                                 s_.words(now.waits->made));
    }

    Sides sides_of(const ExpectedAttribute &e) const
    {
        Sides sides;
        const bool has = wanted_ != nullptr && wanted_->routed;
        const auto published = [&](uint32_t DbL3lif::*member) {
            return published_ != nullptr ? fmt::to_string(published_->*member)
                                         : std::string("none");
        };
        switch (e.number) {
        case SdkIntfAttrLid:
            sides.library = context_ != nullptr ? id_text(context_->lid_id) : "no context";
            break;
        case SdkIntfAttrMtuIdx:
            sides.configured = has ? fmt::to_string(wanted_->mtu) : "";
            sides.library = fmt::to_string(host_->mtu);
            sides.database = published(&DbL3lif::mtu);
            break;
        case SdkIntfAttrIpv4UcstEn:
            sides.is_flag = true;
            sides.configured = has ? on_off(wanted_->ipv4) : "";
            sides.library = on_off(host_->ipv4_ucst);
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
            sides.database = published(&DbL3lif::v4_vpn_id);
            break;
        case SdkIntfAttrIpv6Vpn:
            sides.configured = has ? fmt::to_string(wanted_->vpn) : "";
            sides.library = fmt::to_string(host_->v6_vpn);
            sides.database = published(&DbL3lif::v6_vpn_id);
            break;
        case SdkIntfAttrIpv4SameIfCheck:
            sides.is_flag = true;
            sides.library = on_off(!host_->ipv4_same_if);
            break;
        case SdkIntfAttrDefSgt:
            sides.is_hex = true;
            sides.library = fmt::format("{:#x}", e.value);
            break;
        case SdkIntfAttrIngTblIgmpSnoopLabel:
            sides.library = fmt::to_string(e.value);
            break;
        default:
            sides.only_if_set = true;
            sides.library = fmt::to_string(e.value);
        }
        return sides;
    }

    void label()
    {
        const DbLabel *row = index_.label(host_->ifindex);
        if (row == nullptr && intf_ == nullptr)
            return;
        const char *is = row == nullptr ? "none" : row->enabled ? "set up" : "reset";
        add("L3 label", "", "", "", is, (intf_ != nullptr) != (row != nullptr && row->enabled),
            row != nullptr ? &row->made : nullptr);
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
                configured != recorded || recorded != (trap != nullptr),
                trap != nullptr ? &trap->made : nullptr);
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
    const DbL3lif *published_ = nullptr;
    Explanation told_;
};

Listing properties_of(const Explanation &explanation)
{
    const auto cell = [](const std::string &text) { return text.empty() ? Cell() : Cell(text); };
    Listing listing;
    listing.title =
        fmt::format("{} ({}): {}", explanation.interface, explanation.kind, explanation.state);
    listing.columns = {{"property", "Property"}, {"configured", "Configured"},
                       {"library", "Library"},   {"asic", "ASIC"},
                       {"database", "Database"}, {"differs", "Differs"},
                       {"call", "Written by"}};
    for (const ExplainedProperty &p : explanation.properties)
        listing.rows.push_back({p.name, cell(p.configured), cell(p.library), cell(p.asic),
                                cell(p.database), p.differs, cell(p.call)});
    return listing;
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
    for (auto &row : listing.rows) {
        Cell &differs = row[5];
        differs = std::get<bool>(differs) ? Cell(std::string("<-- differs")) : Cell();
    }
    listing.columns[5].title.clear();
    std::string text = to_text(listing);
    if (!explanation.configured_at.empty())
        text += "configured at " + explanation.configured_at + '\n';
    if (!explanation.failure.empty())
        text += "failed: " + explanation.failure + '\n';
    for (const AuditFinding &finding : explanation.findings)
        text += fmt::format("audit: {}: {}\n", to_text(finding.kind), finding.words);
    return text;
}

std::string to_json(const Explanation &explanation)
{
    rapidjson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    const std::pair<const char *, const std::string &> texts[] = {
        {"interface", explanation.interface},
        {"kind", explanation.kind},
        {"state", explanation.state},
        {"configured_at", explanation.configured_at},
        {"failure", explanation.failure}};
    for (const auto &[key, value] : texts) {
        put_key(writer, key);
        put(writer, value);
    }
    put_key(writer, "properties");
    write(writer, properties_of(explanation));
    put_key(writer, "audit");
    write(writer, show(explanation.findings));
    writer.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + '\n';
}

} // namespace kvnsim
