/* Explains one interface from the table of properties and the audit's findings. It judges nothing
 * itself: a property differs exactly when the audit has a finding about it. */
#include "sim/state/explain.h"

#include <algorithm>
#include <map>
#include <set>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/state/index.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

class Explainer {
public:
    Explainer(const Index &index, const std::string &interface)
        : s_(index.snapshot()), index_(index), name_(interface),
          rows_(index, name_, index.host(interface), true)
    {}

    Explanation explain(const std::vector<AuditFinding> &findings)
    {
        for (const AuditFinding &finding : findings) {
            if (finding.concerns(name_))
                told_.findings.push_back(finding);
        }
        identity();
        for (const Property &property : interface_properties()) {
            Sides sides;
            property.look(rows_, sides, attribute_of(property.id));
            const auto is_about_it = [&](const AuditFinding &finding) {
                return finding.property == property.id && finding.interface == name_;
            };
            if (sides.is_worth_telling || (sides.any_known() && found(is_about_it)))
                tell(property, sides);
        }
        virtual_macs();
        return std::move(told_);
    }

private:
    /* Whether one of the audit's findings is such. */
    template <class Such> bool found(const Such &such) const
    {
        return std::any_of(told_.findings.begin(), told_.findings.end(), such);
    }

    void tell(const Property &property, const Sides &sides)
    {
        ExplainedProperty &told = told_.properties.emplace_back();
        told.property = property.label != nullptr ? property.label : to_text(property.id);
        told.configured = sides.configured.to_text();
        told.library = sides.library.to_text();
        told.asic = sides.asic.to_text();
        told.database = sides.database.to_text();
        told.differs =
            found([&](const AuditFinding &finding) { return finding.property == property.id; });
        if (told.differs)
            told.expected = sides.expected.to_text();
        /* If the ASIC is right, the database is wrong. */
        const SideValue &will_be = sides.waits.known() ? sides.waits : sides.asic;
        const bool asic_right = sides.mismatch && will_be.number == sides.right;
        const Origin *made = sides.written;
        if (is_attribute(property.id) ? asic_right && sides.published != nullptr : made == nullptr)
            made = sides.published;
        if (made != nullptr)
            told.call = made->to_text();
        if (sides.queued == nullptr)
            return;
        told.asic += fmt::format(" ({} waits)", sides.waits.to_text());
        told.call += fmt::format("{}{} queued by {}", told.call.empty() ? "" : "; ",
                                 sides.waits.to_text(), sides.queued->to_text());
    }

    void identity()
    {
        told_.interface = name_;
        told_.failure = index_.failure(name_).message;
        told_.state = index_.state(name_);
        for (const Finding *finding : index_.reader(name_))
            told_.reader.push_back(*finding);
        if (rows_.wanted != nullptr) {
            told_.kind = to_text(rows_.wanted->kind);
            told_.configured_at = rows_.wanted->location.to_text();
        } else if (rows_.port != nullptr) {
            told_.kind = to_text(InterfaceKind::port);
            told_.configured_at = rows_.port->location.to_text();
        }
        if (rows_.host != nullptr)
            told_.kind = to_text(rows_.host->kind);
        if (told_.kind.empty())
            outside();
    }

    /* A VLAN that is not routed, or an interface left out of the configuration. */
    void outside()
    {
        constexpr const char *vlan_kind = "VLAN";
        const WantedVlan *vlan = index_.wanted_vlan(name_);
        if (vlan == nullptr) {
            if (const auto parsed = parse_interface_name(name_))
                told_.kind = parsed->kind == InterfaceKind::svi ? vlan_kind : to_text(parsed->kind);
            return;
        }
        told_.kind = vlan_kind;
        told_.configured_at = vlan->location.to_text();
        std::set<std::string, NaturalOrder> members;
        for (const WantedVlanMember &member : s_.wanted_vlan_members) {
            if (member.vlan == name_)
                members.insert(member.member);
        }
        const auto add = [&](const char *property, std::string configured) {
            told_.properties.emplace_back().property = property;
            told_.properties.back().configured = std::move(configured);
        };
        add(to_text(PropertyId::vlan), fmt::to_string(vlan->vlan));
        add("switched members",
            members.empty() ? "none" : fmt::format("{}", fmt::join(members, ",")));
    }

    void virtual_macs()
    {
        std::set<Mac> wanted;
        std::map<Mac, const FhrpRow *> macs;
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs) {
            if (mac.interface == name_) {
                wanted.insert(mac.mac);
                macs.emplace(mac.mac, nullptr);
            }
        }
        for (const FhrpRow &entry : s_.virtual_macs) {
            if (rows_.host != nullptr && entry.ifindex == rows_.host->ifindex)
                macs[entry.mac] = &entry;
        }
        for (const auto &[mac, entry] : macs) {
            const TrapRow *trap = entry != nullptr ? index_.trap(entry->mac_trap_id) : nullptr;
            ExplainedProperty &told = told_.properties.emplace_back();
            told.property = "virtual MAC " + to_text(mac);
            told.configured = wanted.count(mac) != 0 ? "wanted" : "not wanted";
            told.library =
                entry != nullptr ? fmt::format("MAC trap {}", entry->mac_trap_id) : "none";
            told.asic =
                trap != nullptr ? fmt::format("on SDK interface {}", trap->intf_id) : "none";
            told.call = trap != nullptr ? trap->made.to_text() : "";
            told.differs = found(
                [mac = mac](const AuditFinding &finding) { return finding.virtual_mac == mac; });
        }
    }

    const Snapshot &s_;
    const Index &index_;
    const std::string name_;
    InterfaceRows rows_;
    Explanation told_;
};

Listing properties_of(const Explanation &explanation)
{
    return listing_of(
        fmt::format("{} ({}): {}", explanation.interface, explanation.kind, explanation.state),
        explanation.properties,
        {{"Property", rank_name},
         {"Configured", rank_state},
         {"Library"},
         {"ASIC", rank_state},
         {"Database"},
         {"Differs", rank_name},
         {"Expected"},
         {"Written by", rank_origin}});
}

} // namespace

Explanation explain(const Snapshot &snapshot, const std::string &interface)
{
    const Index index(snapshot);
    return explain(index, audit(index), interface);
}

Explanation explain(const Index &index, const std::vector<AuditFinding> &findings,
                    const std::string &interface)
{
    return Explainer(index, interface).explain(findings);
}

std::string to_text(const Explanation &explanation, const Page &page)
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
    std::string text =
        listing.rows.empty() ? visible(listing.title) + '\n' : to_text(listing, page);
    if (!explanation.configured_at.empty())
        text += "configured at " + visible(explanation.configured_at) + '\n';
    if (!explanation.failure.empty())
        text += "failed: " + visible(explanation.failure) + '\n';
    for (const Finding &row : explanation.reader)
        text += fmt::format("configuration: {}: {}: {}\n", to_text(row.severity),
                            visible(row.location.to_text()), visible(row.words()));
    for (const AuditFinding &finding : explanation.findings) {
        if (finding.kind != AuditKind::left_out) /* told above */
            text += fmt::format("audit: {}\n", to_text(finding));
    }
    return text;
}

void write(Json &json, const Explanation &explanation)
{
    json.begin_object().field("interface", explanation.interface).field("kind", explanation.kind);
    json.field("state", explanation.state);
    json.text_or_null("configured_at", explanation.configured_at);
    json.text_or_null("failure", explanation.failure).key("properties");
    write(json, properties_of(explanation));
    json.key("configuration");
    write(json, show(explanation.reader));
    json.key("audit");
    write(json, show(explanation.findings));
    json.end_object();
}

} // namespace kvnsim
