#include "sim/cli/forwarding.h"

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/stored.h"
#include "sim/config/names.h"
#include "sim/service/services.h"
#include "sim/state/interface_names.h"

namespace kvnsim {
namespace {

/* ---- The frame ---- */

uint32_t number_of(const Arguments &given, const char *option, const Range &range)
{
    if (!given.has(option))
        return 0;
    const auto number = parse_number(given.value(option), range);
    if (!number)
        throw UsageError(fmt::format("{}: expected {} to {}, not \"{}\"", option, range.min,
                                     range.max, given.value(option)));
    return *number;
}

constexpr Range packet_size_range{1, 65535};

/* Where frames for an interface arrive. */
class Arrival {
public:
    Arrival(const Index &index, const std::string &name) : index_(index) { at(name); }

    uint32_t front_port = 0, vlan = 0;

private:
    void at(const std::string &name)
    {
        const HostRow *host = index_.host(name);
        const WantedInterface *wanted = index_.wanted(name);
        const std::optional<InterfaceName> form = parse_interface_name(name);
        const InterfaceKind kind = host != nullptr     ? host->kind
                                   : wanted != nullptr ? wanted->kind
                                   : form              ? form->kind
                                                       : InterfaceKind::port;
        if (kind == InterfaceKind::port) {
            port(name, host);
        } else if (kind == InterfaceKind::port_channel) {
            member(name, host);
        } else if (host != nullptr || wanted != nullptr || form) {
            vlan = host != nullptr ? host->vlan : wanted != nullptr ? wanted->number : form->number;
            if (kind == InterfaceKind::sub_interface)
                at(host != nullptr && host->parent ? index_.name(*host->parent)
                   : wanted != nullptr             ? wanted->parent
                                                   : form->parent);
        }
    }

    void port(const std::string &name, const HostRow *host)
    {
        const WantedPort *wanted = index_.wanted_port(name);
        front_port = host != nullptr     ? host->number + 1
                     : wanted != nullptr ? wanted->front_port
                                         : 0;
        if (front_port == 0)
            throw UsageError(fmt::format("{} has no front-panel number", name));
    }

    /* The first of its members. */
    void member(const std::string &name, const HostRow *host)
    {
        const ContextRow *context = index_.context(host);
        const auto members = find_rows(index_.snapshot().members, &MemberRow::pc_id,
                                       context != nullptr ? context->pc_id : no_id);
        if (members.empty())
            throw UsageError(
                fmt::format("{} has no member in the ASIC: by which port does it arrive?", name));
        front_port = members.begin()->front_port;
    }

    const Index &index_;
};

Mac destination(const Snapshot &snapshot, const Arguments &given)
{
    if (given.has("--to")) {
        const std::optional<Mac> mac = parse_mac(given.value("--to"));
        if (!mac)
            throw UsageError(
                fmt::format("--to: {} is no MAC address", in_quotes(given.value("--to"))));
        return *mac;
    }
    if (snapshot.router_macs.empty())
        throw UsageError("the ASIC has no router MAC: give --to MAC");
    return snapshot.router_macs.front().mac;
}

Frame frame_of(const Index &index, const Arguments &given)
{
    if (given.has("--ipv4") && given.has("--ipv6"))
        throw UsageError("--ipv4 or --ipv6, but not both");
    const std::string name = interface_meant(interface_names(index.snapshot()), given.value("IF"));
    const Arrival arrival(index, name);
    Frame frame;
    frame.front_port = arrival.front_port;
    frame.vlan = arrival.vlan;
    if (given.has("--vlan")) {
        if (frame.vlan != 0)
            throw UsageError(fmt::format("--vlan: {} has a VLAN of its own", name));
        frame.vlan = number_of(given, "--vlan", vlan_range);
    }
    frame.family = given.has("--ipv6") ? Family::ipv6 : Family::ipv4;
    frame.to = destination(index.snapshot(), given);
    frame.size = number_of(given, "--size", packet_size_range);
    return frame;
}

/* ---- What becomes of it ---- */

std::string not_modelled_line()
{
    return fmt::format("Not modelled: {}.\n", fmt::join(not_modelled(), ", "));
}

Listing show(const std::vector<StageResult> &stages)
{
    Listing listing{"Stages",
                    {{"stage", "Stage", rank_name},
                     {"found", "Found", rank_value},
                     {"passes", "Passes", rank_state},
                     {"by", "By", rank_origin}},
                    {}};
    for (const StageResult &stage : stages)
        listing.rows.push_back({cell(stage.stage), stage.found, stage.passes,
                                stage.made.request ? cell(stage.made.to_text()) : Cell()});
    return listing;
}

void print_json(const Forwarding &forwarding, const Frame &frame, const Fate &fate,
                Console &console)
{
    const auto number_or_null = [](uint32_t number, uint32_t none) {
        return number != none ? std::optional<uint64_t>(number) : std::nullopt;
    };
    const HostRow *owner = forwarding.index().owner_of_intf(fate.intf_id);
    Json json;
    json.begin_object().key("frame").begin_object();
    json.field("front_port", number_or_null(frame.front_port, 0));
    json.field("vlan", number_or_null(frame.vlan, 0)).field("to", to_text(frame.to));
    json.field("family", to_text(frame.family)).field("size", number_or_null(frame.size, 0));
    json.end_object().key("stages");
    write(json, show(fate.stages));
    json.field("routed", fate.routed).field("verdict", forwarding.words(fate));
    json.text_or_null("decided_by", fate.routed ? "" : to_text(fate.decided));
    json.field("intf_id", number_or_null(fate.intf_id, no_id));
    json.text_or_null("interface", owner != nullptr ? owner->name : "");
    json.key("vpn");
    if (fate.routed)
        json.value(uint64_t{fate.vpn});
    else
        json.null();
    json.text_or_null("vrf", fate.routed ? forwarding.vrf_of(fate.vpn) : "");
    json.field("not_modelled", not_modelled());
    console.out() << json.end_object().document();
}

} // namespace

std::vector<Option> with_frame(std::vector<Option> before, const std::vector<Option> &behind)
{
    before.insert(
        before.end(),
        {{"--vlan N", Takes::count, Times::optional,
          "the VLAN of its tag; untagged without (of a sub-interface or SVI: its own)"},
         {"--to MAC", Takes::text, Times::optional, "the destination (the switch's router MAC)"},
         {"--ipv4", Takes::nothing, Times::optional, "it carries IPv4 (the default)"},
         {"--ipv6", Takes::nothing, Times::optional, "it carries IPv6"},
         {"--size BYTES", Takes::count, Times::optional,
          "size of the packet, as MTUs count it (whatever fits)"}});
    before.insert(before.end(), behind.begin(), behind.end());
    return before;
}

int print_packet(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    const Index index(snapshot);
    const Forwarding forwarding(index);
    const Frame frame = frame_of(index, given);
    const Fate fate = forwarding.follow(frame);
    if (given.has("--json")) {
        print_json(forwarding, frame, fate, console);
    } else {
        console.print_titled(to_text(show(fate.stages), page_on(console, given)));
        console.out() << not_modelled_line() << forwarding.words(fate) << "\n";
    }
    return fate.routed ? exit_well : exit_found;
}

int print_services(const Snapshot &snapshot, const Arguments &given, Console &console)
{
    Names names;
    for (const std::string &written : given.values("IF"))
        names.insert(interface_meant(interface_names(snapshot), written));
    const Judgement judgement = judge(snapshot);
    std::vector<Service> told;
    for (const Service &service : judgement.services) {
        const bool is_named =
            names.empty() || names.count(service.interface) != 0 || names.count(service.port) != 0;
        const bool all = given.has("--json") || given.has("--all") || !names.empty();
        if (is_named && (all || service.is_fault()))
            told.push_back(service);
    }
    const ServiceCount total = count(judgement.services);
    if (given.has("--json")) {
        Json json;
        write(json.begin_object().key("services"), show(told));
        json.field("wanted", total.wanted).field("given", total.given);
        json.field("not_given", total.not_given).field("given_wrongly", total.wrong);
        json.field("not_wanted", total.unwanted).field("kept", total.kept);
        json.field("verdict", summary(judgement.services, snapshot));
        json.field("not_modelled", not_modelled());
        console.out() << json.end_object().document();
    } else {
        if (!told.empty())
            console.print_titled(to_text(show(told), page_on(console, given)));
        console.out() << summary(judgement.services, snapshot) << ".\n" << not_modelled_line();
    }
    return total.any_fault() ? exit_found : exit_well;
}

} // namespace kvnsim
