#include "tests/sim/state/snapshot_fixture.h"

#include <functional>

#include <gmock/gmock.h>

#include "platform_api/libsdk.h"
#include "sim/fwm/host.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/state/explain.h"
#include "sim/state/index.h"
#include "sim/state/interface_names.h"
#include "sim/stress/random_desired.h"
#include "sim/switch/entry_points.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Audit : public SnapshotFixture {};

std::vector<uint64_t> numbers(const std::vector<RequestRef> &requests)
{
    std::vector<uint64_t> all;
    for (const RequestRef &request : requests)
        all.push_back(request->number);
    return all;
}

TEST_F(Audit, FindsNothingOnASwitchJustPoweredOn)
{
    EXPECT_EQ(words(audit(capture(sw))), "");
}

TEST_F(Audit, FindsNothingWhenAllIsAsWanted)
{
    EXPECT_EQ(words(audit(small_switch())), "");
}

TEST_F(Audit, FindsNothingWhenAllWasTakenDownAgain)
{
    small_switch();
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}}})"));
    EXPECT_EQ(words(audit(capture(sw))), "");
    bring_about(Desired());
    EXPECT_EQ(words(audit(capture(sw))), "");
}

TEST_F(Audit, FindsNothingWhenAnInterfaceKeptForMembershipIsLeftWithItsPort)
{
    small_switch();
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}}})"));
    const Snapshot snapshot = capture(sw);
    EXPECT_EQ(snapshot.member_intf.size(), 2u);
    EXPECT_EQ(words(audit(snapshot)), "");
}

TEST_F(Audit, FindsNothingWhenAPortChannelLostItsMembers)
{
    const char *const config = R"({"PORT": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}%s})";
    bring_about(wanted(
        std::string(config).replace(std::string(config).find("%s"), 2,
                                    R"(, "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}})")));
    EXPECT_EQ(words(audit(capture(sw))), "");
    bring_about(wanted(std::string(config).replace(std::string(config).find("%s"), 2, "")));
    EXPECT_EQ(words(audit(capture(sw))), "");
}

TEST_F(Audit, FindsNothingWhenTheLibraryDeclinedAMemberThatIsRouted)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}, "Ethernet4": {}},
        "INTERFACE": {"Ethernet0": {}},
        "PORTCHANNEL": {"PortChannel1": {}}, "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}}})"));
    EXPECT_EQ(words(audit(capture(sw))), "");
}

TEST_F(Audit, FindsNothingInAPortChannelThatTheHostHolds)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}}, "PORTCHANNEL": {"PortChannel1": {}}})"));
    Host &host = Host::instance();
    ASSERT_EQ(host.hold_port_channel(*host.find("PortChannel1")), 0);
    EXPECT_EQ(words(audit(capture(sw))), "");
}

TEST_F(Audit, FindsNothingAfterAnySequenceOfChangesWithoutFailures)
{
    RandomDesired random(60);
    for (uint64_t seed = 0; seed < 400; ++seed) {
        const std::string change = random.change(seed);
        bring_about(random.desired());
        ASSERT_EQ(words(audit(capture(sw))), "") << "after change " << seed << ", " << change;
    }
}

TEST_F(Audit, FindsNothingOnRealConfigurations)
{
    const auto files = sample_files();
    if (files.empty())
        GTEST_SKIP() << "KVN_SAMPLES names no folder with configurations";
    for (const auto &file : files) {
        bring_about(read_configuration(file, content_of(file)).desired);
        EXPECT_EQ(words(audit(capture(sw))), "") << file;
    }
}

TEST_F(Audit, FindsNothingOnAPortInInternalLoopbackAndItsTracesAfterIt)
{
    small_switch();
    const uint32_t ifindex = Host::instance().find("Ethernet4")->ifindex;
    const EntryPoint &loopback = *EntryPoint::find("loopback_enable");
    loopback.call({Value::integer(ifindex), Value::integer(1)});
    EXPECT_EQ(words(audit(capture(sw))), "") << "while the writes wait for the flush";
    Asic::instance().batch_flush();
    EXPECT_EQ(words(audit(capture(sw))), "");

    loopback.call({Value::integer(ifindex), Value::integer(0)});
    Asic::instance().batch_flush();
    EXPECT_THAT(brief(audit(capture(sw))),
                ElementsAre("difference Ethernet4 IPv4 same-interface check"))
        << "the library leaves the check off";
}

TEST_F(Audit, NamesTheRequestThatMadeAnOrphan)
{
    fail("libsdk_intf_attr_set:1");
    sw.apply(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}})"));
    const auto findings = audit(capture(sw));
    ASSERT_THAT(brief(findings), ElementsAre("orphan SDK interface 1", "missing Ethernet0"));
    EXPECT_EQ(findings[0].words,
              "SDK interface 1 (routed port, front port 1) belongs to no interface: made by "
              "libsdk_intf_create in request 2 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)");
    EXPECT_EQ(findings[0].interface, "Ethernet0");
    EXPECT_THAT(numbers(findings[0].requests), ElementsAre(2u));
    EXPECT_THAT(findings[1].words, HasSubstr("Ethernet0 is wanted (test.json:1:"));
    EXPECT_THAT(findings[1].words, HasSubstr("libsdk_intf_attr_set"));
}

TEST_F(Audit, TellsBothSidesOfAValueThatWasChangedByHand)
{
    small_switch();
    entry::set_l3_property(*Host::instance().find("Ethernet4"), 12, 1400);
    const auto findings = audit(capture(sw));
    ASSERT_THAT(brief(findings), ElementsAre("difference Ethernet4 MTU"));
    EXPECT_THAT(findings[0].words,
                HasSubstr("MTU of Ethernet4 differs: configured 1500, library 1500, ASIC 1400, "
                          "database 1500; written by libsdk_intf_attr_set in request "));
}

TEST_F(Audit, TellsWhatTheAsicHoldsAndWhatWaitsForTheFlushEachWithItsWriter)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}},
        "INTERFACE": {"Ethernet0": {}, "Ethernet0|192.0.2.0/31": {}}})"));
    const uint32_t ifindex = Host::instance().find("Ethernet0")->ifindex;
    EntryPoint::find("loopback_enable")->call({Value::integer(ifindex), Value::integer(0)});
    const auto findings = audit(capture(sw));
    ASSERT_THAT(brief(findings), ElementsAre("difference Ethernet0 IPv4",
                                             "difference Ethernet0 IPv4 same-interface check"));
    EXPECT_EQ(findings[0].words,
              "IPv4 of Ethernet0 differs: configured on, library on, ASIC on, waiting off, "
              "database on; written by libsdk_intf_attr_set in request 2 "
              "l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1); queued by "
              "libsdk_intf_attr_set_batch in request 3 "
              "l3lifpd_kvn_loopback_enable(ifindex=Ethernet0 enable=0); published by "
              "l3lif_update_sdb_for_intf in request 2 "
              "l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)");
    EXPECT_THAT(numbers(findings[0].requests), ElementsAre(2u, 3u));
}

TEST_F(Audit, FindsWhatAFailedWriteOfAnEndedLoopbackLeftSet)
{
    bring_about(wanted(R"({"PORT": {"Ethernet0": {}}, "INTERFACE": {"Ethernet0": {}}})"));
    const uint32_t ifindex = Host::instance().find("Ethernet0")->ifindex;
    const EntryPoint &loopback = *EntryPoint::find("loopback_enable");
    loopback.call({Value::integer(ifindex), Value::integer(1)});
    fail("libsdk_intf_attr_set_batch:9");
    loopback.call({Value::integer(ifindex), Value::integer(0)});
    Asic::instance().batch_flush();
    EXPECT_THAT(brief(audit(capture(sw))),
                ElementsAre("difference Ethernet0 IPv4 same-interface check",
                            "difference Ethernet0 VLAN-table miss action"));
}

TEST_F(Audit, SaysWhoseRecordNamesALidEntryThatIsGone)
{
    Snapshot snapshot = small_switch();
    snapshot.lids.erase(snapshot.lids.begin() + 1);
    const auto findings = audit(snapshot);
    ASSERT_EQ(findings.size(), 3u);
    EXPECT_EQ(findings[0].words, "the host records Ethernet4 with LID entry 2, which is gone");
    EXPECT_EQ(findings[1].words, "the library records Ethernet4 with LID entry 2, which is gone");
}

TEST_F(Audit, SaysOfALabelWhetherItIsAnSvis)
{
    Snapshot snapshot = small_switch();
    for (LabelRow &label : snapshot.label)
        label.svi = !label.svi;
    const std::string text = words(audit(snapshot));
    EXPECT_THAT(text, HasSubstr("L3 label of Ethernet0 differs: database set up as an SVI's; "
                                "published by "));
    EXPECT_THAT(text, HasSubstr("L3 label of Vlan100 differs: database set up, not as an SVI's; "
                                "published by "));
}

TEST_F(Audit, CountsTheMembersOfAPortChannelOfNobody)
{
    Snapshot snapshot = small_switch();
    snapshot.port_channels.push_back({90, {}});
    snapshot.members.push_back({90, 9, {}});
    EXPECT_THAT(words(audit(snapshot)), HasSubstr("SDK port-channel 90 (1 member) belongs"));
}

TEST_F(Audit, FindsEveryAttributeThatIsNotAsItMustBe)
{
    const Snapshot sound = small_switch();
    for (const AttributeRow &row : attributes()) {
        Snapshot snapshot = sound;
        auto at = snapshot.attributes.begin();
        while (at->intf_id == 1 && at->number < row.number)
            ++at;
        if (at->intf_id != 1 || at->number != row.number)
            at = snapshot.attributes.insert(at, {1, row.number, row.initial, {}});
        at->value++;
        const auto findings = audit(snapshot);
        ASSERT_EQ(findings.size(), 1u) << row.name << "\n" << words(findings);
        EXPECT_EQ(brief(findings[0]), "difference Ethernet0 " + std::string(row.property));
    }
}

/* ---- Each kind of finding: a snapshot with nothing wrong, and one thing changed in it. ---- */

Origin by_request(uint64_t number)
{
    auto request = std::make_shared<Request>();
    request->number = number;
    return {request, ""};
}

using Marked = std::vector<std::string>; /* properties, "Ethernet0 MTU" */

struct Change {
    const char *what;
    std::function<void(Snapshot &)> make;
    std::vector<std::string> found;
    /* All that the explanations of the interfaces mark; absent: all that is found, by its name. */
    std::optional<Marked> marked = {};
};

template <class Row, class Match> Row &row_of(std::vector<Row> &rows, Match &&match)
{
    return *std::find_if(rows.begin(), rows.end(), match);
}
template <class Row> void remove_row(std::vector<Row> &rows, const Row &row)
{
    rows.erase(rows.begin() + (&row - rows.data()));
}
HostRow &host(Snapshot &s, const char *name)
{
    return row_of(s.host, [&](const HostRow &row) { return row.name == name; });
}
template <class Row> Row &of(Snapshot &s, std::vector<Row> &rows, const char *name)
{
    const uint32_t ifindex = host(s, name).ifindex;
    return row_of(rows, [&](const Row &row) { return row.ifindex == ifindex; });
}
uint32_t intf_id(Snapshot &s, const char *name)
{
    return of(s, s.contexts, name).intf_id;
}
AttributeValueRow &attribute(Snapshot &s, const char *name, uint32_t number)
{
    const uint32_t id = intf_id(s, name);
    return row_of(s.attributes, [&](const AttributeValueRow &row) {
        return row.intf_id == id && row.number == number;
    });
}
WantedInterface &wants(Snapshot &s, const char *name)
{
    return row_of(s.wanted_interfaces,
                  [&](const WantedInterface &row) { return row.name == name; });
}
IntfRow &intf(Snapshot &s, const char *name)
{
    const uint32_t id = intf_id(s, name);
    return row_of(s.intfs, [&](const IntfRow &row) { return row.intf_id == id; });
}
LidRow &lid(Snapshot &s, uint32_t id)
{
    return row_of(s.lids, [&](const LidRow &row) { return row.lid_id == id; });
}
LidPathRow &path(Snapshot &s, uint32_t id)
{
    return row_of(s.lid_paths, [&](const LidPathRow &row) { return row.lid_id == id; });
}

Marked marked_in(const Snapshot &snapshot)
{
    const Index index(snapshot);
    const std::vector<AuditFinding> findings = audit(snapshot);
    Marked all;
    const Names names = interface_names(snapshot).names();
    for (const std::string &name : names) {
        for (const ExplainedProperty &property : explain(index, findings, name).properties) {
            if (property.differs)
                all.push_back(name + " " + property.property);
        }
    }
    return all;
}

/* "difference Ethernet0 MTU" is "Ethernet0 MTU". */
Marked without_kinds(std::vector<std::string> findings)
{
    for (std::string &finding : findings)
        finding.erase(0, finding.find(' ') + 1);
    return findings;
}

class OneThingWrong : public SnapshotFixture, public testing::WithParamInterface<Change> {};

TEST_P(OneThingWrong, IsFound)
{
    Snapshot snapshot = small_switch();
    ASSERT_EQ(words(audit(snapshot)), "");
    GetParam().make(snapshot);
    EXPECT_EQ(brief(audit(snapshot)), GetParam().found) << words(audit(snapshot));
}

TEST_P(OneThingWrong, IsMarkedInTheExplanationAndNothingElse)
{
    Snapshot snapshot = small_switch();
    GetParam().make(snapshot);
    EXPECT_EQ(marked_in(snapshot), GetParam().marked.value_or(without_kinds(GetParam().found)));
}

/* Identifiers are handed out lowest first: ports' LID entries 1 to 5, PortChannel1's 6; SDK
 * interfaces Ethernet0 1, Ethernet4 2, PortChannel1 3, Vlan100 4, Ethernet0.10 5,
 * PortChannel1.20 6. */
const Change changes[] = {
    {"SdkInterfaceOfNobody",
     [](Snapshot &s) {
         s.intfs.push_back({90, 3, 90, 0, 0, 0, 0, {}});
     },
     {"orphan SDK interface 90"},
     Marked{}},
    {"LidEntryOfNobody",
     [](Snapshot &s) {
         s.lids.push_back({90, 90, {}});
     },
     {"orphan LID entry 90"},
     Marked{}},
    {"PortChannelOfNobody",
     [](Snapshot &s) {
         s.port_channels.push_back({90, {}});
     },
     {"orphan SDK port-channel 90"},
     Marked{}},
    {"RouterMacOfNobody",
     [](Snapshot &s) {
         s.router_macs.push_back({90, {2}, {}});
     },
     {"orphan router MAC 90"},
     Marked{}},
    {"TrapOfNobody",
     [](Snapshot &s) {
         s.traps.push_back({90, intf_id(s, "Vlan100"), {2}, {}});
     },
     {"orphan MAC trap 90"},
     Marked{}},

    {"SdkInterfaceGone",
     [](Snapshot &s) { remove_row(s.intfs, intf(s, "Vlan100")); },
     {"dangling Vlan100 SDK interface"}},
    {"LidEntryOfAPortGone",
     [](Snapshot &s) {
         const uint32_t id = *host(s, "Ethernet16").port_lid;
         remove_row(s.lids, lid(s, id));
     },
     {"dangling Ethernet16 port's LID entry"}},
    {"LidEntryOfARoutedPortGone",
     [](Snapshot &s) {
         const uint32_t id = *host(s, "Ethernet4").port_lid;
         remove_row(s.lids, lid(s, id));
     },
     {"dangling Ethernet4 port's LID entry", "dangling Ethernet4 LID entry",
      "dangling SDK interface 2 LID entry"},
     Marked{"Ethernet4 port's LID entry", "Ethernet4 LID entry"}},
    {"InterfaceBoundToALidEntryThatIsGone",
     [](Snapshot &s) { attribute(s, "Ethernet4", SdkIntfAttrLid).value = 90; },
     {"dangling SDK interface 2 LID entry"},
     Marked{"Ethernet4 LID entry"}},
    {"PathToAPortChannelThatIsGone",
     [](Snapshot &s) { path(s, of(s, s.contexts, "PortChannel1").lid_id).pc_id = 90; },
     {"dangling LID entry 6 path", "difference LID entry 6 path"},
     Marked{"PortChannel1 path"}},
    {"PortChannelGone",
     [](Snapshot &s) { s.port_channels.clear(); },
     {"dangling PortChannel1 port-channel", "dangling LID entry 6 path"},
     Marked{"PortChannel1 port-channel", "PortChannel1 path"}},
    {"TrapGone",
     [](Snapshot &s) { s.traps.clear(); },
     {"dangling virtual MAC 00:00:5e:00:01:01 of Vlan100 MAC trap"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"InterfaceOfAVirtualMacGone",
     [](Snapshot &s) {
         const uint32_t gone = 0x3000005A;
         s.virtual_macs[0].ifindex = gone;
     },
     {"dangling virtual MAC 00:00:5e:00:01:01 of Vlan100 interface"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"RouterMacGone",
     [](Snapshot &s) { s.router_macs.clear(); },
     {"dangling switch router MAC"},
     Marked{}},
    {"WriteWaitsForAnInterfaceThatIsGone",
     [](Snapshot &s) {
         s.pending.push_back({0, 90, SdkIntfAttrMtuIdx, 1500, {}});
     },
     {"dangling SDK interface 90 pending write"},
     Marked{}},
    {"PublishedInterfaceGone",
     [](Snapshot &s) {
         s.l3lif.push_back(s.l3lif.back());
         s.l3lif.back().ifindex = 0x7000005A;
     },
     {"dangling l3lif_sdb row of ifindex 0x7000005a interface"},
     Marked{}},

    {"Mtu",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrMtuIdx).value = 1; },
     {"difference Ethernet0 MTU"}},
    {"MtuPublished",
     [](Snapshot &s) { of(s, s.l3lif, "Ethernet0").mtu = 1; },
     {"difference Ethernet0 MTU"}},
    {"MtuWaitsForTheFlush",
     [](Snapshot &s) {
         s.pending.push_back(
             {0, intf_id(s, "Ethernet0"), SdkIntfAttrMtuIdx, 1500, by_request(900)});
     },
     {"difference Ethernet0 MTU"}},
    {"MtuWaitsForAnInterfaceThatIsAnotherNow",
     [](Snapshot &s) {
         s.pending.push_back({0, intf_id(s, "Ethernet0"), SdkIntfAttrMtuIdx, 1500, by_request(1)});
     },
     {"dangling SDK interface 1 pending write"},
     Marked{}},
    {"Ipv4",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrIpv4UcstEn).value = 0; },
     {"difference Ethernet0 IPv4"}},
    {"Ipv4Multicast",
     [](Snapshot &s) { host(s, "Ethernet0").ipv4_mcst = true; },
     {"difference Ethernet0 IPv4 multicast"}},
    {"Ipv6", [](Snapshot &s) { wants(s, "Ethernet0").ipv6 = true; }, {"difference Ethernet0 IPv6"}},
    {"Ipv4Vpn",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrIpv4Vpn).value = 9; },
     {"difference Ethernet0 IPv4 VPN"}},
    {"Ipv6Vpn",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrIpv6Vpn).value = 9; },
     {"difference Ethernet0 IPv6 VPN"}},
    {"Ipv4Published",
     [](Snapshot &s) { of(s, s.l3lif, "Ethernet0").ipv4_ucst_en = 0; },
     {"difference Ethernet0 IPv4"}},
    {"VpnPublished",
     [](Snapshot &s) { of(s, s.l3lif, "Ethernet0").v4_vpn_id = 9; },
     {"difference Ethernet0 IPv4 VPN"}},
    {"NatZone",
     [](Snapshot &s) { of(s, s.l3lif, "Ethernet0").nat_zone = 2; },
     {"difference Ethernet0 NAT zone"}},
    {"SameInterfaceCheck",
     [](Snapshot &s) { attribute(s, "Vlan100", SdkIntfAttrIpv4SameIfCheck).value = 0; },
     {"difference Vlan100 IPv4 same-interface check"}},
    {"SecurityGroupTag",
     [](Snapshot &s) { attribute(s, "PortChannel1", SdkIntfAttrDefSgt).value = 2; },
     {"difference PortChannel1 security-group tag"}},
    {"IgmpLabel",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrIngTblIgmpSnoopLabel).value = 0; },
     {"difference Ethernet0 IGMP snooping label"}},
    {"NatInsideWithoutLoopback",
     [](Snapshot &s) {
         s.pending.push_back(
             {0, intf_id(s, "Ethernet0"), SdkIntfAttrNatInside, 2, by_request(900)});
     },
     {"difference Ethernet0 NAT inside"}},
    {"BoundToAnotherLidEntry",
     [](Snapshot &s) { attribute(s, "Ethernet0", SdkIntfAttrLid).value = 2; },
     {"difference Ethernet0 LID entry"}},
    {"AnotherLidEntryThanThePort",
     [](Snapshot &s) {
         of(s, s.contexts, "Ethernet4").lid_id = 1;
         attribute(s, "Ethernet4", SdkIntfAttrLid).value = 1;
         of(s, s.pm, "Ethernet4").ifmap_idx = lid(s, 1).ifmap_idx;
     },
     {"difference Ethernet4 LID entry"}},
    {"AnotherLidEntryThanTheParent",
     [](Snapshot &s) {
         of(s, s.contexts, "Ethernet0.10").lid_id = 2;
         attribute(s, "Ethernet0.10", SdkIntfAttrLid).value = 2;
     },
     {"difference Ethernet0.10 LID entry"}},
    {"PathElsewhere",
     [](Snapshot &s) { path(s, *host(s, "Ethernet16").port_lid).front_port = 9; },
     {"difference LID entry 5 path"},
     Marked{"Ethernet16 path"}},
    {"NoPath",
     [](Snapshot &s) { remove_row(s.lid_paths, path(s, *host(s, "Ethernet16").port_lid)); },
     {"difference LID entry 5 path"},
     Marked{"Ethernet16 path"}},
    {"OnAnotherVlan",
     [](Snapshot &s) { intf(s, "Vlan100").param1 = 101; },
     {"difference Vlan100 VLAN"}},
    {"AnotherVlanThanConfigured",
     [](Snapshot &s) { wants(s, "Ethernet0.10").number = 11; },
     {"difference Ethernet0.10 VLAN"}},
    {"OnAnotherFrontPort",
     [](Snapshot &s) { intf(s, "Ethernet4").param1 = 9; },
     {"difference Ethernet4 SDK interface"}},
    {"SubInterfaceOnAnotherVlan",
     [](Snapshot &s) { intf(s, "Ethernet0.10").param2 = 11; },
     {"difference Ethernet0.10 VLAN"}},
    {"RecordedByTwo",
     [](Snapshot &s) {
         host(s, "Ethernet16").kept_intf = intf_id(s, "Vlan100");
         s.member_intf.push_back({host(s, "Ethernet16").ifindex, 4, {}});
     },
     {"difference Ethernet16 kept SDK interface", "difference Vlan100 SDK interface"}},
    {"State",
     [](Snapshot &s) { host(s, "Ethernet0").pd_state = 4; },
     {"difference Ethernet0 state"}},
    {"LabelReset",
     [](Snapshot &s) { of(s, s.label, "Ethernet0").enabled = false; },
     {"difference label_sdb row of Ethernet0 L3 label"},
     Marked{"Ethernet0 L3 label"}},
    {"LabelNotAsAnSvi",
     [](Snapshot &s) { of(s, s.label, "Vlan100").svi = false; },
     {"difference label_sdb row of Vlan100 L3 label"},
     Marked{"Vlan100 L3 label"}},
    {"IfmapIndex",
     [](Snapshot &s) { of(s, s.pm, "Ethernet0").ifmap_idx = 1; },
     {"difference pm_sdb row of Ethernet0 ifmap index"},
     Marked{"Ethernet0 ifmap index"}},
    {"PcIdPublished",
     [](Snapshot &s) { s.pc[0].pc_id = 9; },
     {"difference pc_sdb row of PortChannel1 port-channel"},
     Marked{"PortChannel1 port-channel"}},
    {"RouterMac",
     [](Snapshot &s) { s.router_macs[0].mac = {2}; },
     {"difference router MAC 1 MAC"},
     Marked{}},
    {"TrapOnAnotherInterface",
     [](Snapshot &s) { s.traps[0].intf_id = intf_id(s, "Ethernet0"); },
     {"difference virtual MAC 00:00:5e:00:01:01 of Vlan100 MAC trap"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"TrapForAnotherMac",
     [](Snapshot &s) { s.traps[0].mac = {2}; },
     {"difference virtual MAC 00:00:5e:00:01:01 of Vlan100 MAC"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"MemberUnknownToTheHost",
     [](Snapshot &s) { host(s, "Ethernet12").channel.reset(); },
     {"difference Ethernet12 in PortChannel1 membership"},
     Marked{"Ethernet12 member of", "PortChannel1 members"}},

    {"PortMissing",
     [](Snapshot &s) {
         const SourceLocation location;
         s.wanted_ports.push_back({"Ethernet99", 0, 9100, true, "", location});
     },
     {"missing Ethernet99"},
     Marked{"Ethernet99 port's LID entry"}},
    {"InterfaceMissing",
     [](Snapshot &s) {
         WantedInterface svi = wants(s, "Vlan100");
         svi.name = "Vlan200";
         s.wanted_interfaces.push_back(svi);
     },
     {"missing Vlan200"},
     Marked{"Vlan200 SDK interface"}},
    {"MemberMissing",
     [](Snapshot &s) { s.members.pop_back(); },
     {"missing Ethernet12 in PortChannel1"},
     Marked{"Ethernet12 member of", "PortChannel1 members"}},
    {"VirtualMacMissing",
     [](Snapshot &s) {
         s.virtual_macs.clear();
         s.traps.clear();
     },
     {"missing virtual MAC 00:00:5e:00:01:01 of Vlan100"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"RouterMacMissing",
     [](Snapshot &s) {
         s.router_macs.clear();
         s.owned_router_mac.clear();
     },
     {"missing router MAC 00:00:5e:00:53:01"},
     Marked{}},
    {"NotPublished",
     [](Snapshot &s) { remove_row(s.l3lif, of(s, s.l3lif, "Vlan100")); },
     {"missing l3lif_sdb row of Vlan100"},
     Marked{"Vlan100 publication"}},
    {"NoLabel",
     [](Snapshot &s) { remove_row(s.label, of(s, s.label, "Vlan100")); },
     {"missing label_sdb row of Vlan100"},
     Marked{"Vlan100 L3 label"}},
    {"PortNotBound",
     [](Snapshot &s) { remove_row(s.pm, of(s, s.pm, "Ethernet0")); },
     {"missing pm_sdb row of Ethernet0"},
     Marked{"Ethernet0 ifmap index"}},
    {"PcIdNotPublished",
     [](Snapshot &s) { s.pc.clear(); },
     {"missing pc_sdb row of PortChannel1"},
     Marked{"PortChannel1 port-channel"}},

    {"PortNotWanted",
     [](Snapshot &s) {
         s.wanted_vlan_members.clear();
         s.wanted_ports.pop_back();
     },
     {"unwanted Ethernet16"},
     Marked{"Ethernet16 port's LID entry"}},
    {"InterfaceNotWanted",
     [](Snapshot &s) { remove_row(s.wanted_interfaces, wants(s, "Ethernet4")); },
     {"unwanted Ethernet4"},
     Marked{"Ethernet4 SDK interface"}},
    {"PortChannelIsToBeLayer2",
     [](Snapshot &s) { wants(s, "PortChannel1").routed = false; },
     {"unwanted PortChannel1"},
     Marked{"PortChannel1 SDK interface"}},
    {"MemberNotWanted",
     [](Snapshot &s) { s.wanted_members.pop_back(); },
     {"unwanted front port 13"},
     Marked{"Ethernet12 member of", "PortChannel1 members"}},
    {"VirtualMacNotWanted",
     [](Snapshot &s) { s.wanted_virtual_macs.clear(); },
     {"unwanted virtual MAC 00:00:5e:00:01:01 of Vlan100"},
     Marked{"Vlan100 virtual MAC 00:00:5e:00:01:01"}},
    {"RouterMacNotWanted",
     [](Snapshot &s) { s.wanted_router_mac.clear(); },
     {"unwanted router MAC 1"},
     Marked{}},
    {"KeptInterfaceOnlyInTheDatabase",
     [](Snapshot &s) {
         s.member_intf.push_back({host(s, "Ethernet16").ifindex, 4, {}});
     },
     {"unwanted member_intf_sdb row of Ethernet16"},
     Marked{"Ethernet16 kept SDK interface"}},
    {"RowOfWhatIsNoL3Interface",
     [](Snapshot &s) {
         LabelRow row = s.label[0];
         row.ifindex = host(s, "Ethernet16").ifindex;
         s.label.push_back(row);
         std::sort(s.label.begin(), s.label.end(),
                   [](const auto &a, const auto &b) { return a.ifindex < b.ifindex; });
     },
     {"unwanted label_sdb row of Ethernet16"},
     Marked{"Ethernet16 L3 label"}},
};

INSTANTIATE_TEST_SUITE_P(Each, OneThingWrong, testing::ValuesIn(changes),
                         [](const auto &test) { return std::string(test.param.what); });

} // namespace
} // namespace kvnsim
