#include "sim/service/frame.h"

#include <gmock/gmock.h>

#include <fstream>

#include "kvnsim/sdk.h"
#include "l3lifpd_kavelin.h"
#include "sim/config/names.h"
#include "sim/sdk/attributes.h"
#include "sim/switch/request.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const Mac router_mac = *parse_mac("00:00:5e:00:53:01");
const Mac virtual_mac = *parse_mac("00:00:5e:00:01:01"); /* of Vlan100 */
const Mac ipv4_group = *parse_mac("01:00:5e:01:02:03");
const Mac ipv6_group = *parse_mac("33:33:00:00:00:05");

/* The front ports of small_network, and what the library made for them. */
constexpr uint32_t ethernet0 = 1, ethernet4 = 5, ethernet8 = 9, ethernet12 = 13, ethernet16 = 17;

class FrameTest : public SnapshotFixture {
protected:
    FrameTest() { small_switch(); }

    Asic &asic = Asic::instance();

    std::string follow(const Frame &frame)
    {
        const Snapshot snapshot = capture(sw);
        const Index index(snapshot);
        const Forwarding forwarding(index);
        const Fate fate = forwarding.follow(frame);
        const Way brief = forwarding.way(frame);
        EXPECT_EQ(brief.routed, fate.routed);
        EXPECT_EQ(brief.decided, fate.decided);
        decided = fate.decided;
        return forwarding.words(fate);
    }
    Stage decided = Stage::front_port; /* by the last frame that was not routed */

    uint32_t intf(const std::string &name) { return Host::instance().find(name)->intf_id(); }
    void write(const std::string &name, uint32_t attribute, uint32_t value)
    {
        ASSERT_EQ(asic.attr_set(intf(name), attribute, value), SDK_E_NONE) << asic.last_refusal();
    }
    std::string named(const std::string &name)
    {
        return "SDK interface " + std::to_string(intf(name)) + " (" + name + ")";
    }
};

TEST_F(FrameTest, AnUntaggedFrameIsRoutedByItsPortsInterface)
{
    EXPECT_EQ(follow({ethernet0, 0, Family::ipv4, router_mac}),
              "routed in VRF VrfBlue by " + named("Ethernet0"));
    EXPECT_EQ(follow({ethernet4, 0, Family::ipv6, router_mac}),
              "routed in VRF default by " + named("Ethernet4"));
}

TEST_F(FrameTest, AMembersFrameIsRoutedByThePortChannel)
{
    for (const uint32_t port : {ethernet8, ethernet12})
        EXPECT_EQ(follow({port, 0, Family::ipv4, router_mac}),
                  "routed in VRF default by " + named("PortChannel1"));
    ASSERT_EQ(asic.member_delete(asic.rows<PortChannelRow>().at(0).pc_id,
                                 [] {
                                     sdk_port_mask mask{};
                                     mask.mask_len = sizeof mask.port_bitmap;
                                     mask.port_bitmap[ethernet12 >> 3] = 0x80 >> (ethernet12 & 7);
                                     return mask;
                                 }()),
              SDK_E_NONE);
    EXPECT_EQ(follow({ethernet12, 0, Family::ipv4, router_mac}),
              "not routed: front port 13 has no SDK interface");
}

TEST_F(FrameTest, TheTagSelectsASubInterface)
{
    EXPECT_EQ(follow({ethernet0, 10, Family::ipv4, router_mac}),
              "routed in VRF default by " + named("Ethernet0.10"));
    EXPECT_EQ(follow({ethernet12, 20, Family::ipv4, router_mac}),
              "routed in VRF default by " + named("PortChannel1.20"));
}

TEST_F(FrameTest, ATagWithoutASubInterfaceSelectsTheVlansSviIfThePortIsInIt)
{
    EXPECT_EQ(follow({ethernet16, 100, Family::ipv4, router_mac}),
              "routed in VRF default by " + named("Vlan100") + ", if the port is in VLAN 100");
    EXPECT_EQ(follow({0, 100, Family::ipv4, router_mac}),
              "routed in VRF default by " + named("Vlan100"));
}

TEST_F(FrameTest, WhatNothingSelectsIsNotRouted)
{
    EXPECT_EQ(follow({ethernet16, 0, Family::ipv4, router_mac}),
              "not routed: front port 17 has no SDK interface");
    EXPECT_EQ(decided, Stage::sdk_interface);
    EXPECT_EQ(follow({ethernet0, 11, Family::ipv4, router_mac}),
              "not routed: VLAN 11 selects no sub-interface of front port 1, and has no SVI");
    EXPECT_EQ(follow({ethernet8, 11, Family::ipv4, router_mac}),
              "not routed: VLAN 11 selects no sub-interface of port-channel 1, and has no SVI");
    EXPECT_EQ(follow({0, 11, Family::ipv4, router_mac}), "not routed: there is no SVI for VLAN 11");
    EXPECT_EQ(follow({0, 0, Family::ipv4, router_mac}), "not routed: it arrives by no front port");
    EXPECT_EQ(decided, Stage::front_port);
}

TEST_F(FrameTest, AnInterfaceNeedsALidEntryWithAPathToWhereTheFrameArrives)
{
    /* Destroyed under the interface: a hand-made mistake, which the ASIC lets nobody make. */
    uint32_t spare = 0;
    ASSERT_EQ(asic.lid_create(spare), SDK_E_NONE);
    write("Ethernet0", SdkIntfAttrLid, spare);
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, router_mac}),
                StartsWith("not routed: LID entry " + std::to_string(spare) + " has no path"));
    EXPECT_EQ(decided, Stage::lid_entry);

    const uint32_t other = *Host::instance().find("Ethernet4")->lid_id;
    write("Ethernet0", SdkIntfAttrLid, other);
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, router_mac}),
                StartsWith("not routed: LID entry " + std::to_string(other) + " of " +
                           named("Ethernet0") + " leads to front port 5, not to front port 1"));

    uint32_t bare = 0;
    sdk_intf_create_params params{};
    params.param1 = ethernet16;
    ASSERT_EQ(asic.intf_create(sdk_routed_port, params, bare), SDK_E_NONE);
    EXPECT_EQ(follow({ethernet16, 0, Family::ipv4, router_mac}),
              "not routed: SDK interface " + std::to_string(bare) +
                  " (of no interface) is bound to no LID entry");
}

TEST_F(FrameTest, ALidEntryThatIsGoneIsSaid)
{
    Snapshot snapshot = capture(sw);
    const uint32_t lid = *Host::instance().find("Ethernet0")->lid_id;
    snapshot.lids.erase(std::remove_if(snapshot.lids.begin(), snapshot.lids.end(),
                                       [&](const LidRow &row) { return row.lid_id == lid; }),
                        snapshot.lids.end());
    const Index index(snapshot);
    const Forwarding forwarding(index);
    EXPECT_THAT(forwarding.words(forwarding.follow({ethernet0, 0, Family::ipv4, router_mac})),
                StartsWith("not routed: " + named("Ethernet0") + " is bound to LID entry " +
                           std::to_string(lid) +
                           ", which is gone (libsdk_intf_attr_set in request"));
}

TEST_F(FrameTest, AMacIsTheSwitchsOrTheInterfacesOwn)
{
    EXPECT_THAT(follow({0, 100, Family::ipv4, virtual_mac}), StartsWith("routed"));
    EXPECT_THAT(follow({0, 100, Family::ipv6, virtual_mac}), HasSubstr("IPv6 unicast"));
    EXPECT_EQ(follow({ethernet4, 0, Family::ipv6, *parse_mac("00:00:5e:00:53:99")}),
              "not routed: 00:00:5e:00:53:99 is no router MAC of the switch and no MAC trap of " +
                  named("Ethernet4"));
    EXPECT_EQ(decided, Stage::mac);
    EXPECT_THAT(follow({ethernet4, 0, Family::ipv6, virtual_mac}),
                HasSubstr(", but MAC trap 1 of " + named("Vlan100") +
                          " (libsdk_intf_router_mac_trap_create in request"));
}

TEST_F(FrameTest, EachFamilyAndMulticastHasItsOwnBit)
{
    const std::pair<uint32_t, Frame> cases[] = {
        {SdkIntfAttrIpv4UcstEn, {ethernet0, 0, Family::ipv4, router_mac}},
        {SdkIntfAttrIpv6UcstEn, {ethernet0, 0, Family::ipv6, router_mac}},
        {SdkIntfAttrIpv4McstEn, {ethernet0, 0, Family::ipv4, ipv4_group}},
        {SdkIntfAttrIpv6McstEn, {ethernet0, 0, Family::ipv6, ipv6_group}}};
    for (const auto &[on, frame] : cases) {
        for (const auto &[bit, other] : cases)
            write("Ethernet0", bit, bit == on ? 1 : 0);
        for (const auto &[bit, other] : cases) {
            const std::string words = follow(other);
            if (bit == on) {
                EXPECT_THAT(words, StartsWith("routed"));
            } else {
                EXPECT_THAT(words, StartsWith(std::string("not routed: ") +
                                              find_attribute(bit)->description + " of " +
                                              named("Ethernet0") + " is off"));
                EXPECT_EQ(decided, Stage::family);
            }
        }
    }
}

TEST_F(FrameTest, AGroupIsOneOfItsFamily)
{
    write("Ethernet0", SdkIntfAttrIpv4McstEn, 1);
    write("Ethernet0", SdkIntfAttrIpv6McstEn, 1);
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, ipv6_group}),
                HasSubstr("is a group address, but none of IPv4 multicast"));
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv6, ipv4_group}),
                HasSubstr("is a group address, but none of IPv6 multicast"));
    for (const char *mac : {"ff:ff:ff:ff:ff:ff", "01:00:5e:80:00:01", "01:80:c2:00:00:00"}) {
        EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, *parse_mac(mac)}),
                    HasSubstr("none of IPv4 multicast"));
        EXPECT_EQ(decided, Stage::mac);
    }
}

TEST_F(FrameTest, TheFamilysVpnSaysInWhichVrf)
{
    write("Ethernet0", SdkIntfAttrIpv6UcstEn, 1);
    write("Ethernet0", SdkIntfAttrIpv6Vpn, 0);
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, router_mac}), StartsWith("routed in VRF VrfB"));
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv6, router_mac}), StartsWith("routed in VRF defa"));
    write("Ethernet0", SdkIntfAttrIpv4Vpn, 77);
    EXPECT_EQ(follow({ethernet0, 0, Family::ipv4, router_mac}),
              "routed in VPN 77, which no VRF has, by " + named("Ethernet0"));
}

TEST_F(FrameTest, APacketIsAsLongAsTheMtuAtMost)
{
    Frame frame{ethernet4, 0, Family::ipv6, router_mac, 1500};
    EXPECT_THAT(follow(frame), StartsWith("routed"));
    frame.size = 1501;
    EXPECT_THAT(follow(frame),
                StartsWith("not routed: the packet has 1501 bytes, the MTU of " +
                           named("Ethernet4") + " is 1500 (libsdk_intf_attr_set in request"));
    EXPECT_EQ(decided, Stage::mtu);
}

TEST_F(FrameTest, WhatWaitsForTheFlushIsToldButNotRead)
{
    host_task("host: test", "Ethernet0", [&] {
        return static_cast<int32_t>(
            asic.attr_set_batch(intf("Ethernet0"), SdkIntfAttrIpv4UcstEn, 0));
    });
    const Snapshot snapshot = capture(sw);
    const Index index(snapshot);
    const Fate fate = Forwarding(index).follow({ethernet0, 0, Family::ipv4, router_mac});
    EXPECT_TRUE(fate.routed);
    EXPECT_EQ(fate.stages.at(static_cast<size_t>(Stage::family)).found,
              "IPv4 unicast routing is on; 0 waits for the flush");
    kvnsim_sdk_batch_flush();
    EXPECT_THAT(follow({ethernet0, 0, Family::ipv4, router_mac}), StartsWith("not routed"));
}

TEST_F(FrameTest, EachStageNamesWhatItFoundAndTheCallThatMadeIt)
{
    const Snapshot snapshot = capture(sw);
    const Index index(snapshot);
    const Forwarding forwarding(index);
    std::vector<std::string> found, calls;
    for (const StageResult &stage :
         forwarding.follow({ethernet12, 20, Family::ipv4, router_mac, 1000}).stages) {
        EXPECT_TRUE(stage.passes);
        found.push_back(std::string(to_text(stage.stage)) + ": " + stage.found);
        calls.push_back(stage.made.call);
    }
    const std::string lid = std::to_string(snapshot.contexts.back().lid_id);
    EXPECT_THAT(found,
                testing::ElementsAre(
                    "front port: 13 (Ethernet12)", "port-channel: member of 1 (PortChannel1)",
                    testing::MatchesRegex("SDK interface: [0-9]+ .PortChannel1.20.: "
                                          "sub-interface, VLAN 20 on SDK interface [0-9]+"),
                    testing::MatchesRegex("LID entry: [0-9]+, path to port-channel 1"),
                    "MAC: 00:00:5e:00:53:01 is router MAC 1 of the switch",
                    "family: IPv4 unicast routing is on", "VPN: 0 (VRF default), never written",
                    "MTU: 9100, the packet has 1000"));
    EXPECT_THAT(calls,
                testing::ElementsAre("", "libsdk_portchannel_member_add", "libsdk_intf_create",
                                     "libsdk_intf_attr_set", "libsdk_switch_router_mac_create",
                                     "libsdk_intf_attr_set", "", "libsdk_intf_attr_set"));
}

/* What stays when a routed port goes: the ASIC still routes by it. */
TEST_F(FrameTest, TheInterfaceThatAPortKeepsStillRoutes)
{
    const uint32_t kept = intf("Ethernet4");
    Desired without = sw.wanted();
    without.routed_ports.erase("Ethernet4");
    bring_about(without);
    EXPECT_EQ(follow({ethernet4, 0, Family::ipv6, router_mac}),
              "routed in VRF default by SDK interface " + std::to_string(kept) +
                  " (kept by Ethernet4)");
}

TEST(AttributeReadings, AreOneForEachAttributeInTheOrderOfTheNumbers)
{
    ASSERT_EQ(attribute_readings().size(), attributes().size());
    for (size_t i = 0; i < attributes().size(); ++i)
        EXPECT_EQ(attribute_readings()[i].number, attributes()[i].number);
}

TEST(AttributeReadings, AreThoseOfTheManual)
{
    std::string table = "| Number | Attribute | Decides | Reading |\n|---|---|---|---|\n";
    for (const AttributeReading &row : attribute_readings())
        table += "| " + std::to_string(row.number) + " | " +
                 find_attribute(row.number)->description + " | " +
                 (row.stage ? to_text(*row.stage) : "-") + " | " + row.reading + " |\n";
    EXPECT_THAT(content_of(std::string(KVN_SOURCE_DIR) + "/docs/kvnsim.md"), HasSubstr(table));
}

} // namespace
} // namespace kvnsim
