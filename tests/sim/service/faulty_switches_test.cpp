/* Switches after failures, where the code's answers are compared with a slow and simple reading of
 * the ASIC's rows. */
#include "sim/service/services.h"

#include <gmock/gmock.h>

#include <map>

#include "kvnsim/sdk.h"
#include "sim/config/names.h"
#include "sim/sdk/attributes.h"
#include "sim/stress/random_desired.h"
#include "tests/sim/call_count.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

/* What becomes of a frame: every row of every table is looked at. */
struct SimpleReading {
    bool routed = false;
    uint32_t intf = no_id, lid = no_id, pc = no_id, router_mac = no_id, trap = no_id;
    uint32_t vpn = 0, mtu = 0;

    SimpleReading(const Snapshot &s, uint32_t port, uint32_t vlan, bool ipv6, const Mac &to)
    {
        for (const MemberRow &row : s.members) {
            if (port != 0 && row.front_port == port)
                pc = row.pc_id;
        }
        uint32_t own = no_id, sub = no_id, svi = no_id;
        for (const IntfRow &row : s.intfs) {
            if (row.type == sdk_routed_port && port != 0 &&
                (pc != no_id ? row.param3 == 1 && row.param1 == pc
                             : row.param3 == 0 && row.param1 == port))
                own = row.intf_id;
        }
        for (const IntfRow &row : s.intfs) {
            if (row.type == sdk_sub_interface && own != no_id && row.param1 == own &&
                row.param2 == vlan)
                sub = row.intf_id;
            if (row.type == sdk_svi && row.param1 == vlan)
                svi = row.intf_id;
        }
        intf = vlan == 0 ? own : sub != no_id ? sub : svi;
        if (intf == no_id)
            return;
        std::map<uint32_t, uint32_t> attributes{{SdkIntfAttrMtuIdx, 1500}};
        for (const AttributeValueRow &row : s.attributes) {
            if (row.intf_id == intf)
                attributes[row.number] = row.value;
        }
        if (intf != svi || sub == intf) {
            bool leads = false;
            const auto bound = attributes.find(SdkIntfAttrLid);
            for (const LidRow &row : s.lids) {
                if (bound != attributes.end() && row.lid_id == bound->second)
                    lid = row.lid_id;
            }
            for (const LidPathRow &row : s.lid_paths)
                leads |= lid != no_id && row.lid_id == lid &&
                         (pc != no_id ? row.port_type == SdkPortTypeChannel && row.pc_id == pc
                                      : row.port_type == KVNSIM_SDK_PORT_TYPE_FRONT_PANEL &&
                                            row.front_port == port);
            if (!leads)
                return;
        }
        for (const RouterMacRow &row : s.router_macs) {
            if (row.mac == to)
                router_mac = row.peer_mac_id;
        }
        const bool any_router_mac = is_zero(to);
        for (const TrapRow &row : s.traps) {
            if (row.mac == to && row.intf_id == intf && router_mac == no_id)
                trap = row.mac_trap_id;
        }
        if (router_mac == no_id && trap == no_id && !any_router_mac)
            return;
        routed = attributes[ipv6 ? SdkIntfAttrIpv6UcstEn : SdkIntfAttrIpv4UcstEn] == 1;
        vpn = attributes[ipv6 ? SdkIntfAttrIpv6Vpn : SdkIntfAttrIpv4Vpn];
        mtu = attributes[SdkIntfAttrMtuIdx];
    }
};

/* Compares every service with the simple reading. */
void expect_as_read_simply(const Snapshot &s, const Judgement &judgement)
{
    const Index index(s);
    std::set<std::string> broken; /* objects that orphans and dangling references name */
    for (const AuditFinding &finding : judgement.findings) {
        if (finding.kind == AuditKind::orphan || finding.kind == AuditKind::dangling)
            broken.insert(finding.object);
    }
    for (const Service &service : judgement.services) {
        if (!service.wanted)
            continue;
        const WantedInterface &wanted = *index.wanted(service.interface);
        const HostRow *port = index.host(service.port);
        const bool has_vlan =
            wanted.kind == InterfaceKind::svi || wanted.kind == InterfaceKind::sub_interface;
        const SimpleReading read(s, port != nullptr ? port->number + 1 : 0,
                                 has_vlan ? wanted.number : 0, service.family == "IPv6",
                                 parse_mac(service.to).value_or(Mac{}));
        const std::string what = service.interface + " by " + service.port + " " + service.family +
                                 ": " + service.reason;
        EXPECT_EQ(service.state == ServiceState::not_given, !read.routed) << what;
        if (service.state != ServiceState::given)
            continue;
        EXPECT_EQ(index.owner_of_intf(read.intf)->name, service.interface) << what;
        EXPECT_EQ(read.vpn, wanted.vpn) << what;
        EXPECT_EQ(read.mtu, wanted.mtu) << what;
        for (const auto &[kind, id] : {std::pair("SDK interface ", read.intf),
                                       {"LID entry ", read.lid},
                                       {"SDK port-channel ", read.pc},
                                       {"router MAC ", read.router_mac},
                                       {"MAC trap ", read.trap}})
            EXPECT_EQ(broken.count(kind + std::to_string(id)), 0u) << what << ", " << kind << id;
    }
    /* An audit that finds nothing is one of a switch that gives everything. */
    if (judgement.findings.empty()) {
        for (const Service &service : judgement.services)
            EXPECT_FALSE(service.is_fault()) << service.interface << ": " << service.reason;
    }
    /* And what is lost has a finding that costs it. */
    uint64_t lost = 0, most = 0;
    for (const Service &service : judgement.services)
        lost += service.is_fault();
    for (const AuditFinding &finding : judgement.findings)
        most += finding.services.value_or(0);
    EXPECT_GE(most, lost) << words(judgement.findings);
}

std::vector<std::string> examples()
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(KVN_EXAMPLES)) {
        const std::string name = entry.path().stem();
        if (entry.path().extension() == ".json" &&
            !read_configuration(name, content_of(entry.path())).has_errors())
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

class FaultySwitch : public testing::TestWithParam<std::string> {};

TEST_P(FaultySwitch, GivesWhatASimpleReadingOfTheAsicSays)
{
    const Desired want =
        wanted(content_of(std::string(KVN_EXAMPLES) + "/" + GetParam() + ".json"), GetParam());
    std::map<std::string, uint32_t> counts;
    {
        Switch sw;
        CallCount count;
        sw.apply(want);
        counts = count.counts;
    }
    uint32_t with_loss = 0, runs = 0;
    for (const auto &[call, times] : counts) {
        for (uint32_t occurrence = 1; occurrence <= times; ++occurrence) {
            Switch sw;
            const std::string fault = call + ":" + std::to_string(occurrence);
            ASSERT_EQ(Journal::instance().faults.add(fault), "");
            sw.apply(want);
            SCOPED_TRACE(fault);
            const Snapshot snapshot = capture(sw);
            const Judgement judgement = judge(snapshot);
            expect_as_read_simply(snapshot, judgement);
            with_loss += count(judgement.services).any_fault();
            ++runs;
            if (testing::Test::HasFailure())
                return;
        }
    }
    const bool wants_any = GetParam() != "empty";
    EXPECT_EQ(with_loss > 0, wants_any);
    std::printf("%s: %u failures, services lost or wrong in %u\n", GetParam().c_str(), runs,
                with_loss);
}

INSTANTIATE_TEST_SUITE_P(Examples, FaultySwitch, testing::ValuesIn(examples()),
                         [](const auto &test) { return test.param; });

TEST(RandomSwitches, GiveWhatASimpleReadingOfTheAsicSays)
{
    uint64_t lost = 0;
    for (uint64_t seed = 0; seed < 12; ++seed) {
        Switch sw;
        RandomDesired random(25);
        Journal::instance().faults.set_rate(0.02, seed);
        for (uint64_t change = 0; change < 60; ++change) {
            const std::string what = random.change(seed << 32 | change);
            sw.apply(random.desired());
            SCOPED_TRACE("seed " + std::to_string(seed) + ", change " + std::to_string(change) +
                         ": " + what);
            const Snapshot snapshot = capture(sw);
            const Judgement judgement = judge(snapshot);
            expect_as_read_simply(snapshot, judgement);
            lost += count(judgement.services).any_fault();
            if (testing::Test::HasFailure())
                return;
        }
    }
    EXPECT_GT(lost, 40u);
}

} // namespace
} // namespace kvnsim
