#include "l3lifpd_kavelin.h"
#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/switch/entry_points.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

const char *const each_kind = R"({
    "DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}},
    "VRF": {"VrfBlue": {}, "VrfGreen": {}},
    "PORT": {"Ethernet0": {"mtu": "9216"}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
    "INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue", "nat_zone": "3"},
                  "Ethernet0|192.0.2.0/31": {}, "Ethernet0|2001:db8::/127": {}},
    "PORTCHANNEL": {"PortChannel12": {"mtu": "9000"}},
    "PORTCHANNEL_MEMBER": {"PortChannel12|Ethernet4": {}, "PortChannel12|Ethernet8": {}},
    "PORTCHANNEL_INTERFACE": {"PortChannel12": {"vrf_name": "VrfGreen"},
                              "PortChannel12|192.0.2.4/31": {}},
    "VLAN": {"Vlan100": {}},
    "VLAN_INTERFACE": {"Vlan100": {}, "Vlan100|198.51.100.1/24": {}},
    "VLAN_SUB_INTERFACE": {"Ethernet0.10": {"vrf_name": "VrfBlue"}, "Ethernet0.10|192.0.2.2/31": {},
                           "Po12.20": {"vlan": "20"}},
    "VRRP": {"Vlan100|10": {"vid": "10"}}})";

class Applying : public SwitchFixture {
protected:
    void expect_failure(const Applied &applied, const std::string &message)
    {
        ASSERT_EQ(applied.failures.size(), 1U);
        EXPECT_EQ(applied.failures[0].message, message);
    }
    std::vector<Reason> reasons(const std::string &object) const
    {
        const auto found = sw.failures().find(object);
        return found == sw.failures().end() ? std::vector<Reason>() : found->second;
    }
};

TEST_F(Applying, EachKindOfInterfaceIsInTheAsicWithItsSettings)
{
    bring_about(wanted(each_kind));
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrMtuIdx), 9216);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv4UcstEn), 1);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv6UcstEn), 1);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv4Vpn), sw.vpn_of("VrfBlue"));
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv6Vpn), sw.vpn_of("VrfBlue"));
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrDefSgt), 1);
    EXPECT_EQ(attribute("PortChannel12", SdkIntfAttrDefSgt), 0x800D);
    EXPECT_EQ(attribute("PortChannel12", SdkIntfAttrMtuIdx), 9000);
    EXPECT_EQ(attribute("PortChannel12", SdkIntfAttrIpv4Vpn), sw.vpn_of("VrfGreen"));
    EXPECT_EQ(attribute("Vlan100", SdkIntfAttrMtuIdx), 9100);
    EXPECT_EQ(attribute("Ethernet0.10", SdkIntfAttrLid), attribute("Ethernet0", SdkIntfAttrLid));
    EXPECT_EQ(attribute("Po12.20", SdkIntfAttrLid), attribute("PortChannel12", SdkIntfAttrLid));
    EXPECT_EQ(attribute("Po12.20", SdkIntfAttrMtuIdx), 9000);
    EXPECT_EQ(used("intf"), 5U);
    EXPECT_EQ(used("pc"), 1U);
    EXPECT_EQ(used("rmac"), 1U);
    EXPECT_EQ(used("trap"), 1U);
    EXPECT_EQ(Asic::instance().rows<MemberRow>().size(), 2U);
    const L3lifRow row = Host::instance().db().rows<L3lifRow>().at(0);
    EXPECT_EQ(row.name, "Ethernet0");
    EXPECT_EQ(row.mtu, 9216U);
    EXPECT_EQ(row.v4_vpn_id, sw.vpn_of("VrfBlue"));
    EXPECT_EQ(row.nat_zone, 3U);
}

TEST_F(Applying, ApplyingTheSameConfigurationAgainMakesNoCall)
{
    const Desired want = wanted(each_kind);
    bring_about(want);
    const RequestWatcher requests;
    EXPECT_EQ(sw.apply(want).steps_done, 0U);
    EXPECT_TRUE(requests.made.empty());
    EXPECT_TRUE(requests.calls.empty());
}

TEST_F(Applying, CreatedDestroyedAndCreatedAgainLeavesNothingBehind)
{
    const Desired want = wanted(each_kind);
    for (int round = 0; round < 3; ++round) {
        bring_about(want);
        EXPECT_EQ(used("intf"), 5U);
        bring_about(Desired());
        expect_empty_asic();
        EXPECT_EQ(Host::instance().size(), 0U);
        EXPECT_TRUE(Host::instance().db().rows<L3lifRow>().empty());
        EXPECT_TRUE(Host::instance().db().rows<PmRow>().empty());
        EXPECT_TRUE(Host::instance().db().rows<PcRow>().empty());
        EXPECT_TRUE(Host::instance().db().rows<LabelRow>().empty());
        EXPECT_TRUE(Host::instance().db().rows<MemberIntfRow>().empty());
    }
}

TEST_F(Applying, APortThatIsNoLongerRoutedKeepsItsSdkInterfaceUntilItIsRoutedAgain)
{
    const Desired routed = with_ports(R"("INTERFACE": {"Ethernet0": {}})");
    bring_about(routed);
    const uint32_t first = interface("Ethernet0").intf_id();
    bring_about(with_ports(""));
    EXPECT_EQ(used("intf"), 1U);
    EXPECT_EQ(interface("Ethernet0").kept_intf, first);
    RequestWatcher requests;
    bring_about(routed);
    EXPECT_EQ(used("intf"), 1U);
    EXPECT_FALSE(interface("Ethernet0").kept_intf);
    ASSERT_GE(requests.calls.size(), 2U);
    EXPECT_EQ(requests.calls[0], "fwmpd_kavelin_batch_flush");
    EXPECT_EQ(requests.calls[1], "libsdk_intf_destroy");
}

TEST_F(Applying, ASecondConfigurationChangesOnlyWhatDiffers)
{
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}, "Ethernet4": {}})"));
    const RequestWatcher requests;
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}, "Ethernet4|2001:db8::/127": {}})"));
    EXPECT_EQ(requests.made,
              (std::vector<std::string>{
                  "l3lifpd_kvn_set_l3_property(l3lif=Ethernet4 prop_type=6 value=1)"}));
}

TEST_F(Applying, EveryDeleteEntryPointIsReachedByAnEmptyConfiguration)
{
    bring_about(wanted(each_kind));
    const RequestWatcher requests;
    bring_about(Desired());
    std::set<std::string> entries;
    for (const std::string &request : requests.made)
        entries.insert(request.substr(0, request.find('(')));
    for (const char *entry :
         {"l3lifpd_kvn_del_l3port", "l3lifpd_kvn_del_svi", "l3lifpd_kvn_del_subint",
          "l3lifpd_kvn_del_l3pc", "l3lifpd_kvn_del_l3pc_member", "l3lifpd_kvn_rmac_del",
          "l3lifpd_kvn_fhrp_mac_del"})
        EXPECT_EQ(entries.count(entry), 1U) << entry;
}

TEST_F(Applying, AnotherRouterMacReplacesTheFirst)
{
    bring_about(wanted(R"({"DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}}})"));
    bring_about(wanted(R"({"DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:02"}}})"));
    ASSERT_EQ(used("rmac"), 1U);
    EXPECT_EQ(Asic::instance().rows<RouterMacRow>().at(0).mac[5], 2);
}

TEST_F(Applying, VpnNumbersAreTheLowestFreeAndComeBackWhenAVrfGoes)
{
    const auto in_vrf = [](const std::string &port, const std::string &vrf) {
        return "\"VRF\": {\"" + vrf + "\": {}}, \"INTERFACE\": {\"" + port +
               "\": {\"vrf_name\": \"" + vrf + "\"}}";
    };
    bring_about(with_ports(in_vrf("Ethernet0", "VrfRed")));
    EXPECT_EQ(sw.vpn_of("VrfRed"), 1U);
    EXPECT_EQ(sw.vpn_of(""), 0U);
    bring_about(with_ports(in_vrf("Ethernet0", "VrfBlue")));
    EXPECT_EQ(sw.vpn_of("VrfBlue"), 2U);
    EXPECT_EQ(sw.vpns().count("VrfRed"), 0U);
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue"},
        "Ethernet4": {"vrf_name": "VrfGreen"}, "Ethernet8": {"vrf_name": "VrfWhite"}})"));
    EXPECT_EQ(sw.vpn_of("VrfBlue"), 2U);
    EXPECT_EQ(sw.vpn_of("VrfGreen"), 1U);
    EXPECT_EQ(sw.vpn_of("VrfWhite"), 3U);
}

/* ---- Members that are routed ports themselves ---- */

const char *const routed_member = R"("INTERFACE": {"Ethernet0": {}},
    "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}})";

TEST_F(Applying, TheLibraryDeclinesAMemberThatIsRouted)
{
    const Desired want = with_ports(routed_member);
    bring_about(want);
    EXPECT_EQ(sw.declined_members().count({"PortChannel1", "Ethernet0"}), 1U);
    EXPECT_EQ(used("pc"), 1U);
    const auto members = Asic::instance().rows<MemberRow>();
    ASSERT_EQ(members.size(), 1U);
    EXPECT_EQ(members[0].front_port, 5U);
    EXPECT_EQ(sw.apply(want).steps_done, 0U);
    bring_about(Desired());
    expect_empty_asic();
}

TEST_F(Applying, ADeclinedMemberStillTakesItsOwnSettings)
{
    bring_about(with_ports(routed_member));
    Desired want = with_ports(routed_member);
    want.routed_ports.at("Ethernet0").l3.ipv6 = true;
    bring_about(want);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv6UcstEn), 1);
    EXPECT_EQ(attribute("PortChannel1", SdkIntfAttrIpv6UcstEn), -1);
}

TEST_F(Applying, ADeclinedMemberJoinsOnceItIsNoLongerRouted)
{
    bring_about(with_ports(routed_member));
    Desired want = with_ports(routed_member);
    want.routed_ports.clear();
    bring_about(want);
    EXPECT_TRUE(sw.declined_members().empty());
    EXPECT_EQ(Asic::instance().rows<MemberRow>().size(), 2U);
    EXPECT_TRUE(sw.plan(want).empty());
    bring_about(Desired());
    expect_empty_asic();
}

TEST_F(Applying, AMemberThatBecomesRoutedLeavesThePortChannel)
{
    Desired want = with_ports(routed_member);
    want.routed_ports.clear();
    bring_about(want);
    bring_about(with_ports(routed_member));
    EXPECT_NE(interface("Ethernet0").intf_id(), no_id);
    EXPECT_EQ(Asic::instance().rows<MemberRow>().size(), 1U);
    EXPECT_TRUE(sw.plan(with_ports(routed_member)).empty());
}

TEST_F(Applying, APortChannelIsBuiltWithTheSettingsOfTheDayNotThoseItWasRoutedWith)
{
    const std::string channel = R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {})";
    bring_about(with_ports(channel + R"(, "PortChannel1|192.0.2.0/31": {}})"));
    bring_about(with_ports(channel + R"(}, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})"));
    EXPECT_EQ(attribute("PortChannel1", SdkIntfAttrIpv4UcstEn), -1);
}

/* ---- Failures ---- */

TEST_F(Applying, AFailureNamesTheRequestTheCallAndTheStatus)
{
    const Desired want = with_ports(R"("INTERFACE": {"Ethernet0": {}, "Ethernet4": {}})");
    fail("libsdk_intf_create:1=SDK_E_FULL");
    const Applied applied = sw.apply(want);
    expect_failure(applied,
                   "request 13 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1) returned -1: "
                   "libsdk_intf_create: SDK_E_FULL (-5) (injected)");
    EXPECT_EQ(applied.failures[0].step.cause.row(), "INTERFACE|Ethernet0");
    EXPECT_EQ(sw.failures().count("Ethernet0"), 1U);
    EXPECT_NE(interface("Ethernet4").intf_id(), no_id);
    bring_about(want);
    EXPECT_NE(interface("Ethernet0").intf_id(), no_id);
    EXPECT_TRUE(sw.failures().empty());
}

TEST_F(Applying, ARequestThatReturned0AlthoughACallFailedIsAFailureAndIsWrittenAgain)
{
    const Desired want =
        with_ports(R"("INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.0/31": {}})");
    fail("libsdk_intf_attr_set:3"); /* LID, tag, then IPv4 unicast */
    const Applied applied = sw.apply(want);
    ASSERT_EQ(applied.failures.size(), 1U);
    EXPECT_EQ(applied.failures[0].request->result, 0);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv4UcstEn), 1); /* written right after */
    EXPECT_TRUE(sw.plan(want).empty());
}

TEST_F(Applying, ASettingThatWasRefusedIsTriedAgainByTheNextApply)
{
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}})"));
    const Desired want = with_ports(R"("INTERFACE": {"Ethernet0|2001:db8::/127": {}})");
    fail("libsdk_intf_attr_set:1=SDK_E_INTERNAL");
    EXPECT_EQ(sw.apply(want).failures.size(), 1U);
    EXPECT_EQ(words(sw.plan(want)), (std::vector<std::string>{"change Ethernet0: IPv6 on"}));
    bring_about(want);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv6UcstEn), 1);
}

TEST_F(Applying, ASubInterfaceIsRefusedByTheHostWhenItsParentHasNoLid)
{
    const Desired want =
        with_ports(R"("INTERFACE": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": {"Ethernet0.10": {}})");
    fail("libsdk_intf_create:1");
    const Applied applied = sw.apply(want);
    ASSERT_EQ(applied.failures.size(), 2U);
    EXPECT_EQ(applied.failures[1].message,
              "l3lifpd_kvn_add_subint refused, the library would abort: parent Ethernet0 is not "
              "routed");
    EXPECT_EQ(applied.failures[1].request, nullptr);
    bring_about(want);
    EXPECT_EQ(used("intf"), 2U);
}

TEST_F(Applying, AVirtualMacWhoseTrapTheAsicRefusedIsAFailureAlthoughTheLibrarySaysSuccess)
{
    const Desired want = wanted(each_kind);
    fail("libsdk_intf_router_mac_trap_create:1=SDK_E_FULL");
    const Applied applied = sw.apply(want);
    expect_failure(applied, "request 22 l3lifpd_kvn_fhrp_mac_add(mac=00:00:5e:00:01:0a "
                            "ifindex=Vlan100) returned 0, but a call in it failed: "
                            "libsdk_intf_router_mac_trap_create: SDK_E_FULL (-5) (injected)");
    bring_about(want);
    EXPECT_EQ(used("trap"), 1U);
}

TEST_F(Applying, AnInterfaceThatTheAsicWouldNotDestroyIsDestroyedByTheNextApply)
{
    bring_about(wanted(each_kind));
    fail("libsdk_intf_destroy:1=SDK_E_TIMEOUT");
    EXPECT_FALSE(sw.apply(Desired()).failures.empty());
    bring_about(Desired());
    expect_empty_asic();
}

TEST_F(Applying, APortChannelWhoseSdkInterfaceWasRefusedGetsItFromTheNextApply)
{
    const Desired want = with_ports(R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}, "PortChannel1|192.0.2.0/31": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})");
    fail("libsdk_intf_create:1=SDK_E_FULL");
    EXPECT_EQ(sw.apply(want).failures.size(), 1U);
    EXPECT_EQ(used("member"), 1U);
    EXPECT_EQ(words(sw.plan(want)),
              (std::vector<std::string>{
                  "create the SDK interface of port-channel PortChannel1: MTU 9100, IPv4"}));
    bring_about(want);
    EXPECT_EQ(attribute("PortChannel1", SdkIntfAttrIpv4UcstEn), 1);
    EXPECT_TRUE(sw.plan(want).empty());
    bring_about(Desired());
    expect_empty_asic();
}

TEST_F(Applying, ASubInterfaceThatCouldNotGoForAnotherVlanIsTriedAgain)
{
    const std::string rest = R"("INTERFACE": {"Ethernet0": {}}, "VLAN_SUB_INTERFACE": )";
    bring_about(with_ports(rest + R"({"Eth0.1": {"vlan": "10"}})"));
    const Desired want = with_ports(rest + R"({"Eth0.1": {"vlan": "20"}})");
    fail("libsdk_intf_destroy:1=SDK_E_TIMEOUT");
    EXPECT_EQ(sw.apply(want).failures.size(), 2U);
    bring_about(want);
    EXPECT_EQ(Asic::instance().find_interface(interface("Eth0.1").intf_id())->param2, 20U);
}

TEST_F(Applying, ATearDownThatFailedHalfWayStaysAsTheLibraryLeftIt)
{
    bring_about(wanted(each_kind));
    fail("libsdk_portchannel_destroy:1=SDK_E_BUSY");
    const Applied applied = sw.apply(Desired());
    ASSERT_EQ(applied.failures.size(), 1U);
    EXPECT_EQ(applied.failures[0].message,
              "request 29 l3lifpd_kvn_del_l3pc(l3lif=Ethernet8 destroy=1) returned -1: "
              "libsdk_portchannel_destroy: SDK_E_BUSY (-6) (injected)");
    EXPECT_EQ(used("pc"), 1U);
    EXPECT_EQ(used("intf"), 0U);
    EXPECT_TRUE(sw.plan(Desired()).empty());
}

/* ---- Reasons ---- */

const char *const gateway = R"("VLAN": {"Vlan10": {}},
    "VLAN_INTERFACE": {"Vlan10": {"vrf_name": "VrfBlue"}}, "VRF": {"VrfBlue": {}},
    "VRRP": {"Vlan10|5": {}})";

TEST_F(Applying, TheReasonIsTheFirstFailureNotItsConsequences)
{
    fail("libsdk_intf_create:1=SDK_E_FULL");
    EXPECT_EQ(sw.apply(with_ports(gateway)).failures.size(), 2U);
    ASSERT_EQ(reasons("Vlan10").size(), 1U);
    EXPECT_NE(reasons("Vlan10")[0].message.find("libsdk_intf_create: SDK_E_FULL (-5)"),
              std::string::npos);
    EXPECT_STREQ(reasons("Vlan10")[0].origin.call, "libsdk_intf_create");
    EXPECT_STREQ(reasons("Vlan10")[0].origin.request->entry, "l3lifpd_kvn_add_svi");
    bring_about(with_ports(gateway));
    EXPECT_TRUE(sw.failures().empty());
}

TEST_F(Applying, AReasonOutlastsAnotherStepThatCameAbout)
{
    fail("libsdk_intf_attr_set:4"); /* MTU, same-interface check, label, then IPv4 VPN */
    const Applied applied = sw.apply(with_ports(gateway));
    ASSERT_EQ(applied.failures.size(), 1U);
    EXPECT_EQ(used("trap"), 1U);
    EXPECT_EQ(reasons("Vlan10").size(), 1U);
    bring_about(with_ports(gateway));
    EXPECT_TRUE(sw.failures().empty());
}

TEST_F(Applying, WhatIsNoLongerWantedHasNoReasonToBeMissing)
{
    fail("libsdk_intf_create:1");
    sw.apply(with_ports(gateway));
    EXPECT_FALSE(sw.failures().empty());
    bring_about(with_ports(""));
    EXPECT_TRUE(sw.failures().empty());
}

TEST_F(Applying, WhatFailedInPartStaysTheReasonUntilTheInterfaceGoes)
{
    fail("libsdk_intf_attr_set:2"); /* the same-interface check: nobody writes it again */
    sw.apply(with_ports(gateway));
    EXPECT_TRUE(sw.plan(with_ports(gateway)).empty());
    EXPECT_EQ(reasons("Vlan10").size(), 1U);
    bring_about(with_ports(""));
    EXPECT_TRUE(sw.failures().empty());
}

const char *const built = R"("PORTCHANNEL": {"PortChannel1": {}},
    "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
    "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}}, "VLAN_SUB_INTERFACE": )";

TEST_F(Applying, APortChannelThatItsMemberCouldNotBuildKnowsWhy)
{
    const Desired want = with_ports(std::string(built) + "{}");
    for (const char *call : {"libsdk_intf_create:1", "libsdk_portchannel_create:1"}) {
        fail(call);
        EXPECT_EQ(sw.apply(want).failures.size(), 1U);
        EXPECT_EQ(reasons("PortChannel1").size(), 1U) << call;
        EXPECT_EQ(reasons("Ethernet0").size(), interface("Ethernet0").channel == nullptr) << call;
        bring_about(want);
        EXPECT_TRUE(sw.failures().empty()) << call;
        bring_about(with_ports(""));
    }
}

TEST_F(Applying, APortChannelThatItsLastMemberCouldNotTearDownKnowsWhy)
{
    bring_about(with_ports(std::string(built) + "{}"));
    fail("libsdk_lid_entry_destroy:1");
    sw.apply(with_ports(
        R"("PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}})"));
    ASSERT_EQ(reasons("PortChannel1").size(), 1U);
    EXPECT_STREQ(reasons("PortChannel1")[0].origin.call, "libsdk_lid_entry_destroy");
    EXPECT_TRUE(reasons("Ethernet0").empty());
}

/* ---- The way back and the next try ---- */

TEST_F(Applying, AnMtuThatWasWrittenButNotPublishedIsWrittenAgainOnTheWayBack)
{
    const auto with_mtu = [](const std::string &mtu) {
        return wanted(R"({"PORT": {"Ethernet0": {"mtu": ")" + mtu +
                      R"("}}, "INTERFACE": {"Ethernet0": {}}})");
    };
    bring_about(with_mtu("9100"));
    fail("libsdk_intf_attr_set:1");
    sw.apply(with_mtu("1500"));
    EXPECT_EQ(words(sw.plan(with_mtu("9100"))),
              (std::vector<std::string>{"change Ethernet0: MTU unknown -> 9100"}));
    bring_about(with_mtu("9100"));
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrMtuIdx), 9100);
}

TEST_F(Applying, AVrfOfWhichOneFamilyWasRefusedIsWrittenAgainOnTheWayBack)
{
    const Desired before = with_ports(R"("INTERFACE": {"Ethernet0": {}})");
    bring_about(before);
    fail("libsdk_intf_attr_set:2"); /* IPv4 VPN, then IPv6 VPN */
    sw.apply(with_ports(
        R"("VRF": {"VrfBlue": {}}, "INTERFACE": {"Ethernet0": {"vrf_name": "VrfBlue"}})"));
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv4Vpn), 1);
    bring_about(before);
    EXPECT_EQ(attribute("Ethernet0", SdkIntfAttrIpv4Vpn), 0);
}

TEST_F(Applying, AChangeOfIpv4IsPublished)
{
    bring_about(with_ports(R"("INTERFACE": {"Ethernet0": {}})"));
    const auto published = [] { return Host::instance().db().rows<L3lifRow>().at(0).ipv4_ucst_en; };
    EXPECT_EQ(published(), 0U);
    const Desired want = with_ports(R"("INTERFACE": {"Ethernet0|192.0.2.0/31": {}})");
    fail("l3lif_update_sdb_for_intf:1");
    EXPECT_EQ(sw.apply(want).failures.size(), 1U);
    EXPECT_EQ(published(), 0U);
    bring_about(want);
    EXPECT_EQ(published(), 1U);
}

TEST_F(Applying, SubInterfacesMadeBeforeTheirPortChannelHadAnInterfaceAreMadeAnew)
{
    const Desired want = with_ports(std::string(built) + R"({"PortChannel1.10": {}})");
    fail("libsdk_intf_create:1");
    sw.apply(want);
    const auto parent = [] {
        return Asic::instance().find_interface(interface("PortChannel1.10").intf_id())->param1;
    };
    EXPECT_EQ(parent(), no_id);
    bring_about(want);
    EXPECT_EQ(parent(), interface("PortChannel1").intf_id());
    EXPECT_TRUE(sw.plan(want).empty());
}

TEST_F(Applying, APortJoinsNoPortChannelThatCouldNotStopBeingRouted)
{
    bring_about(with_ports(std::string(built) + R"({"PortChannel1.10": {}})"));
    const Desired layer_2 = with_ports(R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet8": {}})");
    fail("libsdk_intf_destroy:1=SDK_E_TIMEOUT");
    const Applied applied = sw.apply(layer_2);
    ASSERT_FALSE(applied.failures.empty());
    EXPECT_EQ(applied.failures.back().step.words(), "add Ethernet8 to port-channel PortChannel1");
    EXPECT_EQ(applied.failures.back().message,
              "PortChannel1 is still routed: an earlier step failed");
    EXPECT_EQ(interface("Ethernet8").channel, nullptr);
    Journal::instance().faults.clear();
    EXPECT_TRUE(sw.apply(layer_2).failures.empty());
    EXPECT_TRUE(sw.plan(layer_2).empty());
}

TEST_F(Applying, APortChannelStandsWhileASubInterfaceThatCouldNotGoStandsOnIt)
{
    const std::string with_sub = std::string(built) + R"({"PortChannel1.10": {}})";
    for (const char *rest : {"", R"("PORTCHANNEL": {"PortChannel1": {}})"}) {
        bring_about(with_ports(with_sub));
        fail("libsdk_intf_destroy:1=SDK_E_TIMEOUT");
        const Applied applied = sw.apply(with_ports(rest));
        ASSERT_GE(applied.failures.size(), 2U);
        EXPECT_EQ(applied.failures[1].message, "PortChannel1 still has sub-interfaces");
        EXPECT_EQ(used("pc"), 1U);
        bring_about(with_ports(rest));
        EXPECT_EQ(used("pc") + used("intf") + used("member"), 0U);
    }
}

TEST_F(Applying, AMemberThatTheAsicKeptStaysAMemberAndLeavesNextTime)
{
    const Desired both = with_ports(R"("PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}})");
    const Desired one = with_ports(std::string(built) + "{}");
    bring_about(both);
    fail("libsdk_portchannel_member_delete:1=SDK_E_TIMEOUT");
    EXPECT_EQ(sw.apply(one).failures.size(), 1U);
    EXPECT_EQ(interface("Ethernet4").channel, &interface("PortChannel1"));
    EXPECT_EQ(used("member"), 2U);
    EXPECT_TRUE(sw.plan(both).empty());
    bring_about(one);
    EXPECT_EQ(interface("Ethernet4").channel, nullptr);
    EXPECT_EQ(used("member"), 1U);
}

TEST_F(Applying, AMemberThatTheAsicKeptIsNotTakenForRouted)
{
    const std::string member = std::string(built) + "{}";
    const Desired routed = with_ports(member + R"(, "INTERFACE": {"Ethernet0": {}})");
    bring_about(with_ports(member));
    fail("libsdk_portchannel_member_delete:1");
    EXPECT_EQ(sw.apply(routed).failures.at(1).message,
              "Ethernet0 is still a member of PortChannel1");
    bring_about(routed);
    EXPECT_NE(interface("Ethernet0").intf_id(), no_id);
}

TEST_F(Applying, APortWithoutItsLidGetsItFromTheNextApplyOrGoes)
{
    const Desired want = with_ports(R"("INTERFACE": {"Ethernet0": {}})");
    fail("libsdk_lid_entry_create:1=SDK_E_FULL");
    sw.apply(want);
    EXPECT_EQ(reasons("Ethernet0").size(), 2U);
    EXPECT_EQ(words(sw.plan(want)), (std::vector<std::string>{"give port Ethernet0 its LID",
                                                              "route port Ethernet0: MTU 9100"}));
    bring_about(Desired());
    EXPECT_EQ(Host::instance().size(), 0U);
}

TEST_F(Applying, APositiveStatusIsNotTakenForARouterMac)
{
    const Desired want =
        wanted(R"({"DEVICE_METADATA": {"localhost": {"mac": "00:00:5e:00:53:01"}}})");
    fail("libsdk_switch_router_mac_create:1=7");
    EXPECT_EQ(sw.apply(want).failures.size(), 1U);
    EXPECT_EQ(sw.router_mac_id(), no_id);
    bring_about(want);
    EXPECT_EQ(used("rmac"), 1U);
}

TEST_F(Applying, APortThatIsInUseByHandIsNotRemovedAndKeepsItsLid)
{
    bring_about(with_ports(""));
    Host &host = Host::instance();
    HostInterface &port_channel = *host.add_port_channel("PortChannel7", 7);
    ASSERT_TRUE(host.join(interface("Ethernet0"), port_channel));
    host.register_l3(interface("Ethernet4"));
    ASSERT_EQ(entry::add_l3port(interface("Ethernet4"), 1).result, 0);
    host.add_sub_interface("Ethernet8.1", interface("Ethernet8"), 1);
    const Applied applied = sw.apply(Desired());
    std::vector<std::string> messages;
    for (const Failure &failure : applied.failures)
        messages.push_back(failure.message);
    EXPECT_EQ(messages, (std::vector<std::string>{"Ethernet0 is still a member of PortChannel7",
                                                  "Ethernet4 is still routed",
                                                  "Ethernet8 still has sub-interfaces"}));
    EXPECT_EQ(used("lid"), 3U);
}

TEST_F(Applying, AStopLeavesTheRestAndTheNextApplyGoesOn)
{
    const auto want = std::make_shared<const Desired>(wanted(each_kind));
    size_t asked = 0;
    const Applied first = sw.apply(sw.plan(*want), want, [&] { return ++asked > 3; });
    EXPECT_TRUE(first.interrupted);
    EXPECT_EQ(first.steps_done, 3U);
    size_t told = 0;
    const Applied second =
        sw.apply(sw.plan(*want), want, {}, [&](size_t done, size_t) { told = done; });
    EXPECT_FALSE(second.interrupted);
    EXPECT_EQ(told, second.steps_done);
    EXPECT_TRUE(sw.plan(*want).empty());
    EXPECT_EQ(used("intf"), 5U);
}

TEST_F(Applying, ANewSwitchKnowsNothingOfTheOneBefore)
{
    bring_about(wanted(each_kind));
    ASSERT_NE(fhrp_mac_hash, nullptr);
    const Switch next;
    EXPECT_EQ(fhrp_mac_hash, nullptr);
    EXPECT_EQ(Host::instance().size(), 0U);
    expect_empty_asic();
}

} // namespace
} // namespace kvnsim
