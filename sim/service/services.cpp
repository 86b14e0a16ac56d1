/* Wanted services come from the configuration's rows alone, given ones from the ASIC's rows alone;
 * both are told apart by the frame that they stand for. Each wanted frame is followed through the
 * ASIC; then each frame that an SDK interface could route is followed, and one that nobody wants is
 * told too. A service is a fault of the findings that concern its interface and the stage that
 * decides, or that name an object on its way. */
#include "sim/service/services.h"

#include <algorithm>
#include <map>
#include <memory_resource>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/types/natural_order.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr Family families[] = {Family::ipv4, Family::ipv6};

/* A group that stands for all of its family. */
constexpr Mac group_of(Family family)
{
    return family == Family::ipv4 ? Mac{0x01, 0x00, 0x5e, 0x00, 0x00, 0x01}
                                  : Mac{0x33, 0x33, 0x00, 0x00, 0x00, 0x01};
}

struct FrameHash {
    size_t operator()(const Frame &frame) const
    {
        uint64_t mac = 0;
        for (const uint8_t byte : frame.to)
            mac = mac << 8 | byte;
        const uint64_t arrival = uint64_t{frame.front_port} << 16 | frame.vlan << 1 |
                                 static_cast<uint64_t>(frame.family);
        return std::hash<uint64_t>()(mac ^ arrival * 0x9E3779B97F4A7C15);
    }
};
struct SameFrame {
    bool operator()(const Frame &a, const Frame &b) const
    {
        return a.front_port == b.front_port && a.vlan == b.vlan && a.family == b.family &&
               a.to == b.to;
    }
};

constexpr uint8_t bit(Stage stage)
{
    return static_cast<uint8_t>(1U << static_cast<unsigned>(stage));
}
constexpr uint8_t every_stage = 0xFF;
constexpr uint8_t place =
    bit(Stage::front_port) | bit(Stage::port_channel) | bit(Stage::sdk_interface);

/* The stages at which a finding about this property can be the reason. */
uint8_t stages_of(PropertyId property)
{
    if (is_attribute(property)) {
        for (const AttributeReading &row : attribute_readings()) {
            if (row.number == attribute_of(property))
                return row.stage ? bit(*row.stage) : 0;
        }
    }
    switch (property) {
    case PropertyId::sdk_interface:
        return every_stage;
    case PropertyId::port_lid:
    case PropertyId::port_channel:
        return place | bit(Stage::lid_entry);
    case PropertyId::path:
    case PropertyId::binding:
        return bit(Stage::lid_entry);
    case PropertyId::membership:
    case PropertyId::vlan:
    case PropertyId::parent:
    case PropertyId::kept_intf:
        return place;
    case PropertyId::virtual_mac:
    case PropertyId::mac_trap:
    case PropertyId::mac:
    case PropertyId::router_mac:
        return bit(Stage::mac);
    default:
        return 0; /* what the ASIC does not read */
    }
}

uint8_t stages_of(const AuditFinding &finding)
{
    if (finding.virtual_mac || finding.about.table == AsicTable::router_mac)
        return bit(Stage::mac);
    if (finding.property == PropertyId::none)
        return finding.kind == AuditKind::unwanted ? place : 0;
    return stages_of(finding.property);
}

/* Services that there is room for at once. */
constexpr size_t most_reserved = size_t{1} << 20;

/* What decides a service. */
struct Judged {
    Frame frame;
    Way way;
    Stage decided = Stage::front_port;
    std::string_view parent = {}; /* of a sub-interface */
    size_t service = 0;           /* its position */
};

class Judge {
public:
    Judge(const Index &index, std::vector<AuditFinding> &findings)
        : s_(index.snapshot()), index_(index), forwarding_(index_), findings_(findings)
    {
        /* Without one in the configuration, whichever the switch may have. */
        if (!s_.wanted_router_mac.empty())
            router_mac_ = s_.wanted_router_mac.front().mac;
        any_router_mac_ = is_zero(router_mac_);
        router_mac_words_ = words(router_mac_);
        for (const WantedMember &member : s_.wanted_members) {
            if (!member.declined && index_.wanted(member.port) == nullptr)
                members_[member.port_channel].push_back(&member.port);
        }
        for (const WantedVirtualMac &mac : s_.wanted_virtual_macs)
            virtual_macs_[mac.interface].push_back(mac.mac);
        for (const MemberRow &member : s_.members)
            joined_[member.pc_id].push_back(member.front_port);
        for (const TrapRow &trap : s_.traps)
            traps_[trap.intf_id].push_back(trap.mac);
        for (const AuditFinding &finding : findings) {
            const bool breaks =
                finding.kind == AuditKind::orphan || finding.kind == AuditKind::dangling;
            if (breaks && finding.about.table != AsicTable::none)
                broken_.emplace(finding.about, &finding);
        }
    }

    std::vector<Service> judge()
    {
        size_t most = 0;
        each_wanted([&](const auto &...) { ++most; });
        most = std::min(most, most_reserved); /* a damaged database may repeat its rows */
        services_.reserve(most);
        wanted_frames_.reserve(most);
        each_wanted([&](const WantedInterface &wanted, const std::string &port,
                        const Frame &frame) { want(wanted, port, frame); });
        const size_t wanted = services_.size();
        for (const IntfRow &intf : s_.intfs)
            look_for_unwanted(intf);
        charge_findings();
        if (services_.size() != wanted)
            std::stable_sort(services_.begin(), services_.end(),
                             [](const Service &a, const Service &b) {
                                 return NaturalOrder()(a.interface, b.interface);
                             });
        return std::move(services_);
    }

private:
    /* ---- What is wanted ---- */

    uint32_t front_port_of(const std::string &port) const
    {
        if (const HostRow *host = index_.host(port))
            return host->number + 1;
        const WantedPort *wanted = index_.wanted_port(port);
        return wanted != nullptr ? wanted->front_port : 0;
    }

    /* A port by which frames arrive. */
    struct Entry {
        const std::string *port;
        uint32_t front_port;
    };
    /* Those for the interface. Its sub-interfaces ask one after another. */
    const std::vector<Entry> &entries(const WantedInterface &wanted)
    {
        if (entered_ == &wanted)
            return entries_;
        entered_ = &wanted;
        entries_.clear();
        if (wanted.kind == InterfaceKind::port)
            entries_.push_back({&wanted.name, front_port_of(wanted.name)});
        for (const std::string *member : found_in(members_, wanted.name))
            entries_.push_back({member, front_port_of(*member)});
        return entries_;
    }

    static std::string words(const Mac &mac)
    {
        return is_zero(mac) ? "a router MAC" : to_text(mac);
    }

    /* Call visit(interface, port, frame) for each frame that is wanted; some are the same. */
    template <class Visit> void each_wanted(const Visit &visit)
    {
        static const std::string any_port;
        const WantedInterface *parent = nullptr; /* which sub-interfaces in a row share */
        for (const WantedInterface &wanted : s_.wanted_interfaces) {
            if (!index_.must_exist(wanted))
                continue;
            if (wanted.kind == InterfaceKind::svi) {
                each_wanted(wanted, any_port, 0, wanted.number, visit);
                continue;
            }
            const bool is_sub = wanted.kind == InterfaceKind::sub_interface;
            if (is_sub && (parent == nullptr || parent->name != wanted.parent))
                parent = index_.wanted(wanted.parent);
            const WantedInterface *const enters = is_sub ? parent : &wanted;
            if (enters == nullptr)
                continue;
            for (const Entry &entry : entries(*enters))
                each_wanted(wanted, *entry.port, entry.front_port, is_sub ? wanted.number : 0,
                            visit);
        }
    }

    template <class Visit>
    void each_wanted(const WantedInterface &wanted, const std::string &port, uint32_t front_port,
                     uint32_t vlan, const Visit &visit) const
    {
        const std::vector<Mac> &virtual_macs = found_in(virtual_macs_, wanted.name);
        for (const Family family : families) {
            if (!(family == Family::ipv4 ? wanted.ipv4 : wanted.ipv6))
                continue;
            visit(wanted, port, Frame{front_port, vlan, family, router_mac_, 0});
            for (const Mac &mac : virtual_macs)
                visit(wanted, port, Frame{front_port, vlan, family, mac, 0});
        }
    }

    void want(const WantedInterface &wanted, const std::string &port, const Frame &frame)
    {
        if (!wanted_frames_.insert(frame).second)
            return; /* a virtual MAC that is the router MAC too */
        Judged judged{frame, forwarding_.way(frame)};
        judged.parent = wanted.parent;
        Service &service = services_.emplace_back();
        service.interface = wanted.name;
        service.port = port;
        service.family = to_text(frame.family);
        service.to_router_mac = frame.to == router_mac_;
        if (service.to_router_mac)
            service.to = router_mac_words_;
        else
            service.to = words(frame.to);
        service.vrf = wanted.vrf.empty() ? std::string_view("default") : wanted.vrf;
        service.mtu = wanted.mtu;
        if (judged.way.routed)
            compare(judged, wanted);
        else
            fail(judged, ServiceState::not_given, judged.way.decided,
                 Forwarding::reason(forwarding_.follow(frame)));
    }

    /* The last service. */
    void fail(Judged &judged, ServiceState state, Stage decided, std::string reason)
    {
        Service &service = services_.back();
        service.state = state;
        service.reason = std::move(reason);
        if (!service.is_fault())
            return;
        judged.decided = decided;
        judged.service = services_.size() - 1;
        faults_.push_back(judged);
    }

    std::string writer(const Judged &judged, Stage stage) const
    {
        for (const StageResult &result : forwarding_.follow(judged.frame).stages) {
            if (result.stage == stage && result.made.request)
                return fmt::format(" ({})", result.made.to_text());
        }
        return "";
    }

    /* A frame that is routed: by whom, in which VRF, and up to which size. */
    void compare(Judged &judged, const WantedInterface &wanted)
    {
        const Way &way = judged.way;
        const auto wrong = [&](Stage stage, const std::string &reason) {
            fail(judged, ServiceState::wrong, stage, reason + writer(judged, stage));
        };
        const HostRow *owner = index_.owner_of_intf(way.intf_id);
        if (owner == nullptr || owner->name != wanted.name || owner->kept_intf == way.intf_id)
            wrong(Stage::sdk_interface,
                  fmt::format("routed by SDK interface {}{}", forwarding_.intf_words(way.intf_id),
                              Forwarding::condition(way)));
        else if (way.vpn != wanted.vpn)
            wrong(Stage::vpn, fmt::format("routed in {}, not in VRF {}",
                                          forwarding_.vpn_words(way.vpn), services_.back().vrf));
        else if (way.mtu != wanted.mtu)
            wrong(Stage::mtu, fmt::format("the MTU is {}, not {}", way.mtu, wanted.mtu));
        else if (const AuditFinding *finding = break_in(way))
            wrong(stage_of(finding->about), finding->words);
    }

    /* ---- The objects on the way ---- */

    static std::vector<AsicObject> objects(const Way &way)
    {
        std::vector<AsicObject> all;
        for (const AsicObject &object : {AsicObject{AsicTable::interface, way.intf_id},
                                         {AsicTable::lid, way.lid_id},
                                         {AsicTable::port_channel, way.pc_id},
                                         {AsicTable::router_mac, way.peer_mac_id},
                                         {AsicTable::trap, way.mac_trap_id}}) {
            if (object.id != no_id)
                all.push_back(object);
        }
        return all;
    }

    static Stage stage_of(const AsicObject &object)
    {
        switch (object.table) {
        case AsicTable::lid:
            return Stage::lid_entry;
        case AsicTable::port_channel:
            return Stage::port_channel;
        case AsicTable::router_mac:
        case AsicTable::trap:
            return Stage::mac;
        default:
            return Stage::sdk_interface;
        }
    }

    /* An orphan or dangling reference on the way; nullptr without one. */
    const AuditFinding *break_in(const Way &way) const
    {
        if (broken_.empty())
            return nullptr;
        for (const AsicObject &object : objects(way)) {
            const auto at = broken_.find(object);
            if (at != broken_.end())
                return at->second;
        }
        return nullptr;
    }

    /* ---- What is routed and not wanted ---- */

    /* Every frame that this SDK interface could route. */
    void look_for_unwanted(const IntfRow &intf)
    {
        if (intf.type == sdk_svi)
            return look_for_unwanted(intf, 0, intf.param1);
        const uint32_t vlan = intf.type == sdk_sub_interface ? intf.param2 : 0;
        const IntfRow *routed = vlan != 0 ? index_.intf(intf.param1) : &intf;
        if (routed == nullptr || routed->type != sdk_routed_port)
            return;
        if (routed->param3 == 0)
            return look_for_unwanted(intf, routed->param1, vlan);
        for (const uint32_t member : found_in(joined_, routed->param1))
            look_for_unwanted(intf, member, vlan);
    }

    void look_for_unwanted(const IntfRow &intf, uint32_t front_port, uint32_t vlan)
    {
        const auto written = index_.attributes(intf.intf_id);
        for (const Family family : families) {
            const auto look = [&](const Mac &mac) {
                look_for_unwanted(intf, {front_port, vlan, family, mac, 0});
            };
            const bool unicast = forwarding_.is_on(written, intf, family, false);
            if (unicast) {
                if (any_router_mac_)
                    look(router_mac_);
                for (const RouterMacRow &mac : s_.router_macs)
                    look(mac.mac);
                for (const Mac &mac : found_in(traps_, intf.intf_id))
                    look(mac);
            }
            const bool multicast = forwarding_.is_on(written, intf, family, true);
            const Mac group = group_of(family);
            /* A MAC of the switch is none of a group. */
            const bool as_group =
                unicast == multicast || forwarding_.is_to_group(intf, family, group);
            if (as_group ? multicast : unicast)
                look(group);
        }
    }

    void look_for_unwanted(const IntfRow &intf, const Frame &frame)
    {
        if (wanted_frames_.count(frame) != 0)
            return;
        Judged judged{frame, forwarding_.way(frame)};
        if (!judged.way.routed || judged.way.intf_id != intf.intf_id)
            return;
        const HostRow *owner = index_.owner_of_intf(intf.intf_id);
        const HostRow *port = index_.owner_of_front_port(frame.front_port);
        Service &service = services_.emplace_back();
        service.interface = owner != nullptr ? owner->name : subject(intf);
        service.port = port != nullptr ? port->name : "";
        service.family =
            fmt::format("{}{}", to_text(frame.family), judged.way.to_group ? " multicast" : "");
        service.to = judged.way.to_group ? "groups" : words(frame.to);
        service.wanted = false;
        service.vrf = forwarding_.vrf_of(judged.way.vpn);
        if (service.vrf.empty())
            service.vrf = fmt::format("VPN {}", judged.way.vpn);
        service.mtu = judged.way.mtu;
        const Stage stage = why_unwanted(owner, judged);
        std::string reason =
            fmt::format("not wanted, but {}", forwarding_.words(forwarding_.follow(frame)));
        if (owner != nullptr && owner->kept_intf == intf.intf_id)
            fail(judged, ServiceState::kept, stage, std::move(reason));
        else
            fail(judged, ServiceState::wrong, stage, reason + writer(judged, stage));
    }

    static std::string subject(const IntfRow &intf)
    {
        return intf.made.request ? intf.made.request->subject : std::string();
    }

    /* The stage at which a frame that nobody wants should have ended. */
    Stage why_unwanted(const HostRow *owner, const Judged &judged) const
    {
        const Frame &frame = judged.frame;
        const WantedInterface *wanted = owner != nullptr ? index_.wanted(*owner) : nullptr;
        if (wanted == nullptr || !index_.must_exist(*wanted))
            return Stage::sdk_interface;
        const bool is_family = frame.family == Family::ipv4 ? wanted->ipv4 : wanted->ipv6;
        if (!is_family || judged.way.to_group)
            return Stage::family;
        const auto &macs = found_in(virtual_macs_, wanted->name);
        const bool is_mac =
            frame.to == router_mac_ || std::find(macs.begin(), macs.end(), frame.to) != macs.end();
        return is_mac ? Stage::port_channel : Stage::mac;
    }

    /* ---- What findings cost ---- */

    void charge_findings()
    {
        std::map<AsicObject, std::vector<size_t>> by_object;
        std::unordered_map<std::string_view, std::vector<size_t>> by_name;
        std::vector<size_t> all;
        for (size_t i = 0; i < faults_.size(); ++i) {
            const Judged &judged = faults_[i];
            const Service &service = services_[judged.service];
            all.push_back(i);
            for (const AsicObject &object : objects(judged.way))
                by_object[object].push_back(i);
            for (const std::string_view name :
                 std::set<std::string_view>{service.interface, service.port, judged.parent}) {
                if (!name.empty())
                    by_name[name].push_back(i);
            }
        }
        for (AuditFinding &finding : findings_) {
            if (finding.kind == AuditKind::left_out)
                continue; /* its services are not among those wanted */
            std::set<size_t> costs;
            if (const auto at = by_object.find(finding.about); at != by_object.end())
                costs.insert(at->second.begin(), at->second.end());
            const auto add = [&](const std::vector<size_t> &faults) {
                for (const size_t i : faults) {
                    if (is_reason(finding, faults_[i]))
                        costs.insert(i);
                }
            };
            if (finding.about.table == AsicTable::router_mac)
                add(all);
            else
                for (const std::string &name : {finding.interface, finding.other})
                    add(found_in(by_name, name));
            finding.services = static_cast<uint32_t>(costs.size());
        }
    }

    /* Of a finding that concerns the interface. */
    bool is_reason(const AuditFinding &finding, const Judged &judged) const
    {
        if ((stages_of(finding) & bit(judged.decided)) == 0)
            return false;
        if (finding.virtual_mac && *finding.virtual_mac != judged.frame.to)
            return false;
        if (!is_attribute(finding.property))
            return true;
        /* An attribute is its own interface's, and of one family. */
        const auto &rows = attribute_readings();
        return finding.interface == services_[judged.service].interface &&
               std::any_of(rows.begin(), rows.end(), [&](const AttributeReading &row) {
                   return row.number == attribute_of(finding.property) &&
                          row.is_read(judged.decided, judged.frame.family, judged.way.to_group);
               });
    }

    const Snapshot &s_;
    const Index &index_;
    const Forwarding forwarding_;
    std::vector<AuditFinding> &findings_;
    std::unordered_map<std::string_view, std::vector<const std::string *>> members_;
    std::unordered_map<std::string_view, std::vector<Mac>> virtual_macs_; /* wanted */
    std::unordered_map<uint32_t, std::vector<uint32_t>> joined_;          /* by pc_id */
    std::unordered_map<uint32_t, std::vector<Mac>> traps_;                /* by intf_id */
    std::map<AsicObject, const AuditFinding *> broken_;
    std::pmr::monotonic_buffer_resource memory_; /* of these */
    std::pmr::unordered_set<Frame, FrameHash, SameFrame> wanted_frames_{&memory_};
    Mac router_mac_{};
    bool any_router_mac_ = false; /* it is zero */
    std::string router_mac_words_;
    const WantedInterface *entered_ = nullptr; /* whose entries these are */
    std::vector<Entry> entries_;
    std::vector<Service> services_;
    std::vector<Judged> faults_;
};

} // namespace

std::vector<Service> services(const Snapshot &snapshot, std::vector<AuditFinding> &findings)
{
    return services(Index(snapshot), findings);
}

std::vector<Service> services(const Index &index, std::vector<AuditFinding> &findings)
{
    return Judge(index, findings).judge();
}

Judgement judge(const Snapshot &snapshot)
{
    return judge(Index(snapshot));
}

Judgement judge(const Index &index)
{
    Judgement judgement;
    judgement.findings = audit(index);
    judgement.services = services(index, judgement.findings);
    return judgement;
}

ServiceCount count(const std::vector<Service> &services)
{
    ServiceCount count;
    for (const Service &service : services) {
        count.wanted += service.wanted;
        count.given += service.state == ServiceState::given;
        count.not_given += service.state == ServiceState::not_given;
        count.wrong += service.wanted && service.state == ServiceState::wrong;
        count.unwanted += !service.wanted && service.state == ServiceState::wrong;
        count.kept += service.state == ServiceState::kept;
    }
    return count;
}

std::string summary(const std::vector<Service> &services, const Snapshot &snapshot)
{
    const ServiceCount of = count(services);
    std::string text = counted(of.wanted, "service") + " wanted";
    if (of.wanted != 0 && of.given == of.wanted)
        text += of.wanted == 1 ? " and given" : ", all given";
    else if (of.wanted != 0)
        text += fmt::format(": {} given", of.given);
    if (of.not_given != 0)
        text += fmt::format(", {} not given", of.not_given);
    if (of.wrong != 0)
        text += fmt::format(", {} given wrongly", of.wrong);
    if (of.unwanted != 0)
        text += fmt::format("; {} given that {} not wanted", of.unwanted,
                            of.unwanted == 1 ? "is" : "are");
    if (of.kept != 0)
        text += fmt::format("; {} more by SDK interfaces that ports keep", of.kept);

    const auto left_out = std::count_if(snapshot.reader.begin(), snapshot.reader.end(),
                                        [](const Finding &finding) { return finding.leaves_out; });
    if (left_out != 0)
        text += fmt::format("; those of {} left out are not counted",
                            counted(static_cast<uint64_t>(left_out), "row"));
    if (of.wanted != 0 && snapshot.wanted_router_mac.empty())
        text += "; no router MAC is configured, it is taken as given";
    return text;
}

Listing show(const std::vector<Service> &services)
{
    return listing_of("Services", services,
                      {{"Interface", rank_name},
                       {"Arrives by", rank_name},
                       {"Family", rank_name},
                       {"To", rank_name},
                       {"Wanted", rank_detail},
                       {"VRF", rank_detail},
                       {"MTU", rank_detail},
                       {"State", rank_state},
                       {"Because", rank_value}});
}

} // namespace kvnsim
