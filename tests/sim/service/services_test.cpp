#include "sim/service/services.h"

#include <gmock/gmock.h>

#include "kvnsim/sdk.h"
#include "l3lifpd_kavelin.h"
#include "sim/config/names.h"
#include "tests/sim/service/configured.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string identity(const Service &service)
{
    return service.interface + " by " + service.port + " " + service.family + " to " + service.to +
           " in " + service.vrf;
}

/* "Ethernet0 by Ethernet0 IPv4: not given: front port 1 has no SDK interface" */
std::vector<std::string> faults(const std::vector<Service> &services)
{
    std::vector<std::string> all;
    for (const Service &service : services) {
        if (service.is_fault())
            all.push_back(service.interface + " by " + service.port + " " + service.family +
                          " to " + service.to + ": " + to_text(service.state) + ": " +
                          service.reason);
    }
    return all;
}

class ServicesTest : public SnapshotFixture {
protected:
    Judgement judged() { return judge(capture(sw)); }
    Asic &asic = Asic::instance();
    uint32_t intf(const std::string &name) { return Host::instance().find(name)->intf_id(); }
    void write(const std::string &name, uint32_t attribute, uint32_t value)
    {
        ASSERT_EQ(asic.attr_set(intf(name), attribute, value), SDK_E_NONE) << asic.last_refusal();
    }
    /* The only finding. */
    static AuditFinding only(const Judgement &judgement)
    {
        EXPECT_EQ(judgement.findings.size(), 1u) << words(judgement.findings);
        return judgement.findings.empty() ? AuditFinding() : judgement.findings.front();
    }
    static uint32_t cost(const AuditFinding &finding) { return finding.services.value_or(9999); }
};

TEST_F(ServicesTest, OfASoundSwitchAreAllGiven)
{
    small_switch();
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services), IsEmpty());
    std::vector<std::string> all;
    for (const Service &service : judgement.services)
        all.push_back(identity(service) + " up to " + std::to_string(service.mtu));
    EXPECT_THAT(
        all,
        ElementsAre("Ethernet0 by Ethernet0 IPv4 to 00:00:5e:00:53:01 in VrfBlue up to 9100",
                    "Ethernet4 by Ethernet4 IPv6 to 00:00:5e:00:53:01 in default up to 1500",
                    "PortChannel1 by Ethernet8 IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "PortChannel1 by Ethernet12 IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "Ethernet0.10 by Ethernet0 IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "PortChannel1.20 by Ethernet8 IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "PortChannel1.20 by Ethernet12 IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "Vlan100 by  IPv4 to 00:00:5e:00:53:01 in default up to 9100",
                    "Vlan100 by  IPv4 to 00:00:5e:00:01:01 in default up to 9100"));
    EXPECT_EQ(summary(judgement.services, capture(sw)), "9 services wanted, all given");
}

TEST_F(ServicesTest, AnInterfaceThatIsMissingGivesNone)
{
    fail("libsdk_intf_create:1=SDK_E_FULL");
    sw.apply(wanted(small_network));
    const Judgement judgement = judged();
    /* Its sub-interface goes with it. */
    EXPECT_THAT(faults(judgement.services),
                ElementsAre("Ethernet0 by Ethernet0 IPv4 to 00:00:5e:00:53:01: not given: front "
                            "port 1 has no SDK interface",
                            HasSubstr("Ethernet0.10 by Ethernet0 IPv4")));
    for (const AuditFinding &finding : judgement.findings)
        EXPECT_EQ(cost(finding), finding.interface == "Ethernet0" ? 2u : 1u) << finding.words;
    EXPECT_THAT(summary(judgement.services, capture(sw)),
                StartsWith("9 services wanted: 7 given, 2 not given"));
}

TEST_F(ServicesTest, AnotherVrfIsGivenWrongly)
{
    small_switch();
    write("Ethernet0", SdkIntfAttrIpv4Vpn, 0);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(HasSubstr("Ethernet0 IPv4 to 00:00:5e:00:53:01: given wrongly: routed "
                                      "in VRF default, not in VRF VrfBlue")));
    EXPECT_EQ(cost(only(judgement)), 1u);
}

TEST_F(ServicesTest, AVpnOfAFamilyThatTheInterfaceHasNotCostsNothing)
{
    small_switch();
    write("Ethernet0", SdkIntfAttrIpv6Vpn, 0);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services), IsEmpty());
    EXPECT_EQ(cost(only(judgement)), 0u);
}

TEST_F(ServicesTest, AnotherMtuIsGivenWronglyWhetherItIsLessOrMore)
{
    small_switch();
    for (const uint32_t mtu : {1499u, 1501u}) {
        write("Ethernet4", SdkIntfAttrMtuIdx, mtu);
        const Judgement judgement = judged();
        EXPECT_THAT(faults(judgement.services),
                    ElementsAre(HasSubstr("given wrongly: the MTU is " + std::to_string(mtu) +
                                          ", not 1500")));
        EXPECT_EQ(cost(only(judgement)), 1u);
    }
}

TEST_F(ServicesTest, AFamilyThatIsOffIsNotGivenAndOneThatNobodyAskedForIsGivenWrongly)
{
    small_switch();
    write("Ethernet4", SdkIntfAttrIpv6UcstEn, 0);
    EXPECT_THAT(faults(judged().services),
                ElementsAre(StartsWith("Ethernet4 by Ethernet4 IPv6 to 00:00:5e:00:53:01: not "
                                       "given: IPv6 unicast routing of SDK interface")));
    write("Ethernet4", SdkIntfAttrIpv6UcstEn, 1);
    write("Ethernet4", SdkIntfAttrIpv4UcstEn, 1);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(StartsWith("Ethernet4 by Ethernet4 IPv4 to 00:00:5e:00:53:01: given "
                                       "wrongly: not wanted, but routed in VRF default")));
    EXPECT_EQ(cost(only(judgement)), 1u);
    const ServiceCount total = count(judgement.services);
    EXPECT_EQ(total.wanted, 9u);
    EXPECT_EQ(total.given, 9u);
    EXPECT_EQ(total.unwanted, 1u);
    EXPECT_EQ(summary(judgement.services, capture(sw)),
              "9 services wanted, all given; 1 given that is not wanted");
}

TEST_F(ServicesTest, MulticastThatNobodyAskedForIsGivenWrongly)
{
    small_switch();
    write("Vlan100", SdkIntfAttrIpv4McstEn, 1);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(StartsWith("Vlan100 by  IPv4 multicast to groups: given wrongly")));
    EXPECT_EQ(cost(only(judgement)), 1u);
}

TEST_F(ServicesTest, AMemberThatDidNotJoinGivesNothing)
{
    fail("libsdk_portchannel_member_add:2=SDK_E_FULL");
    sw.apply(wanted(small_network));
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(StartsWith("PortChannel1 by Ethernet12 IPv4"),
                            StartsWith("PortChannel1.20 by Ethernet12 IPv4")));
    EXPECT_EQ(cost(only(judgement)), 2u);
}

TEST_F(ServicesTest, WithoutTheRouterMacOnlyVirtualMacsAreServed)
{
    fail("libsdk_switch_router_mac_create:1=SDK_E_FULL");
    sw.apply(wanted(small_network));
    const Judgement judgement = judged();
    const ServiceCount total = count(judgement.services);
    EXPECT_EQ(total.given, 1u);
    EXPECT_EQ(total.not_given, 8u);
    EXPECT_EQ(cost(only(judgement)), 8u);
}

TEST_F(ServicesTest, AVirtualMacWithoutItsTrapCostsOnlyItself)
{
    fail("libsdk_intf_router_mac_trap_create:1=SDK_E_FULL");
    sw.apply(wanted(small_network));
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(StartsWith("Vlan100 by  IPv4 to 00:00:5e:00:01:01: not given")));
    EXPECT_EQ(cost(only(judgement)), 1u);
}

TEST_F(ServicesTest, ATrapThatNobodyOwnsIsGivenWrongly)
{
    small_switch();
    uint32_t trap = 0;
    ASSERT_EQ(asic.trap_create(intf("Ethernet0"), *parse_mac("00:00:5e:00:01:77"), trap),
              SDK_E_NONE);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(StartsWith("Ethernet0 by Ethernet0 IPv4 to 00:00:5e:00:01:77: given "
                                       "wrongly: not wanted")));
    EXPECT_EQ(cost(only(judgement)), 1u);
}

TEST_F(ServicesTest, WhatAnOrphanRoutesIsGivenWronglyAndTheOrphanCostsIt)
{
    small_switch();
    /* Made by hand on a port that has none: with entry and family it routes. */
    uint32_t orphan = 0;
    sdk_intf_create_params params{};
    params.param1 = Host::instance().find("Ethernet16")->number + 1;
    ASSERT_EQ(asic.intf_create(sdk_routed_port, params, orphan), SDK_E_NONE);
    const AuditFinding before = only(judged());
    EXPECT_EQ(cost(before), 0u);
    ASSERT_EQ(asic.attr_set(orphan, SdkIntfAttrLid, *Host::instance().find("Ethernet16")->lid_id),
              SDK_E_NONE);
    ASSERT_EQ(asic.attr_set(orphan, SdkIntfAttrIpv4UcstEn, 1), SDK_E_NONE);
    const Judgement judgement = judged();
    EXPECT_THAT(faults(judgement.services),
                ElementsAre(HasSubstr("by Ethernet16 IPv4 to 00:00:5e:00:53:01: given wrongly: not "
                                      "wanted, but routed in VRF default by SDK interface " +
                                      std::to_string(orphan) + " (of no interface)")));
    EXPECT_EQ(only(judgement).kind, AuditKind::orphan);
    EXPECT_EQ(cost(only(judgement)), 1u);
}

TEST_F(ServicesTest, AServiceWhoseWayHasAnOrphanIsGivenWrongly)
{
    Snapshot snapshot = small_switch();
    snapshot.owned_router_mac.clear(); /* the library no longer knows the router MAC */
    const Judgement judgement = judge(snapshot);
    const ServiceCount total = count(judgement.services);
    EXPECT_EQ(total.wrong, 8u);
    for (const AuditFinding &finding : judgement.findings)
        EXPECT_EQ(cost(finding), 8u) << finding.words;
    EXPECT_THAT(faults(judgement.services).front(), HasSubstr("belongs to no router MAC"));
}

TEST_F(ServicesTest, APortThatKeepsItsInterfaceIsToldApart)
{
    small_switch();
    Desired without = sw.wanted();
    without.routed_ports.erase("Ethernet4");
    bring_about(without);
    const Judgement judgement = judged();
    EXPECT_THAT(judgement.findings, IsEmpty());
    EXPECT_THAT(faults(judgement.services), IsEmpty());
    EXPECT_EQ(count(judgement.services).kept, 1u);
    EXPECT_EQ(summary(judgement.services, capture(sw)),
              "8 services wanted, all given; 1 more by SDK interfaces that ports keep");
}

TEST_F(ServicesTest, WhatIsNotCountedOrNotKnownIsSaid)
{
    const Configuration configuration = read_configuration("test.json", R"({
        "PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0|192.0.2.0/31": {},
            "Ethernet9|192.0.2.2/31": {}}})");
    sw.apply(configuration.desired);
    const Snapshot snapshot = capture(sw, {}, configuration.findings);
    EXPECT_EQ(summary(judge(snapshot).services, snapshot),
              "1 service wanted and given; those of 1 row left out are not counted; no router MAC "
              "is configured, it is taken as given");
}

TEST_F(ServicesTest, WithoutAConfiguredRouterMacAreThoseToWhicheverItMayBe)
{
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0|192.0.2.0/31": {}}})"));
    EXPECT_EQ(identity(judged().services.at(0)),
              "Ethernet0 by Ethernet0 IPv4 to a router MAC in default");
    write("Ethernet0", SdkIntfAttrIpv6UcstEn, 1);
    EXPECT_THAT(
        faults(judged().services),
        ElementsAre(StartsWith("Ethernet0 by Ethernet0 IPv6 to a router MAC: given wrongly")));
    write("Ethernet0", SdkIntfAttrIpv4UcstEn, 0);
    EXPECT_EQ(count(judged().services).not_given, 1u);
}

TEST_F(ServicesTest, AGroupAddressCanBeAnInterfacesMac)
{
    bring_about(wanted(R"({"PORT": {}, "VLAN": {"Vlan100": {}},
        "VLAN_INTERFACE": {"Vlan100": {"static_anycast_gateway": "true"},
                           "Vlan100|192.0.2.0/31": {}},
        "SAG": {"GLOBAL": {"gateway_mac": "bb:bb:bb:bb:bb:bb"}}})"));
    EXPECT_THAT(faults(judged().services), IsEmpty());
    EXPECT_EQ(count(judged().services).given, 2u);
}

TEST_F(ServicesTest, OfARowThatIsLeftOutAreNotKnown)
{
    const Configuration configuration =
        read_configuration("test.json", R"({"PORT": {}, "INTERFACE": {"Ethernet9": {}}})");
    sw.apply(configuration.desired);
    const Judgement judgement = judge(capture(sw, {}, configuration.findings));
    EXPECT_EQ(only(judgement).kind, AuditKind::left_out);
    EXPECT_FALSE(only(judgement).services.has_value());
}

/* ---- Against a second reading of the files ---- */

void expect_as_configured(const std::string &file)
{
    SCOPED_TRACE(file);
    const Configuration read = read_configuration(file, content_of(file));
    const bool whole =
        std::none_of(read.findings.begin(), read.findings.end(), [](const Finding &finding) {
            return finding.leaves_out || finding.severity == Finding::Severity::error;
        });
    const auto configured = configured_services(file);
    Switch sw;
    sw.apply(read.desired);
    std::set<std::string> services;
    for (const Service &service : judge(capture(sw)).services) {
        EXPECT_EQ(service.state, ServiceState::given) << identity(service) << service.reason;
        services.insert(identity(service));
    }
    if (whole && configured) {
        EXPECT_EQ(services, *configured);
    } else {
        std::printf("%s: not compared, it has rows that are not applied\n", file.c_str());
    }
}

TEST(ConfiguredServices, OfTheExamplesAreThoseOfTheFileAndGiven)
{
    size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(KVN_EXAMPLES)) {
        if (entry.path().extension() != ".json")
            continue;
        expect_as_configured(entry.path());
        ++files;
    }
    EXPECT_GE(files, 5u);
}

TEST(ConfiguredServices, OfRealConfigurationsAreThoseOfTheFileAndGiven)
{
    if (sample_files().empty())
        GTEST_SKIP() << "KVN_SAMPLES is not set";
    for (const auto &file : sample_files())
        expect_as_configured(file);
}

} // namespace
} // namespace kvnsim
