#include <set>

#include "tests/shell/shell.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/* Requests made by hand. */
class Requests : public Shell {
protected:
    void SetUp() override
    {
        write("sw.json", R"({
            "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
            "INTERFACE": {"Ethernet0": {}},
            "PORTCHANNEL": {"PortChannel1": {}},
            "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet4": {}},
            "PORTCHANNEL_INTERFACE": {"PortChannel1": {}},
            "VLAN": {"Vlan10": {}}, "VLAN_INTERFACE": {"Vlan10": {}},
            "VLAN_SUB_INTERFACE": {"Ethernet0.7": {}}
        })");
    }

    /* What the lines print on this switch, after the line that tells of the configuration. */
    std::string on_switch(const std::vector<std::string> &script)
    {
        result = shell(script, {"sw.json"});
        return result.out.substr(result.out.find('\n') + 1);
    }

    Result result;
};

const std::string no_difference = "No difference in ASIC and shared state.\n";

struct HandMade {
    const char *line;     /* behind "call " */
    const char *expected; /* the first line printed */
};

/* Every entry point, with what it answers on the switch above. */
const HandMade every_entry_point[] = {
    {"ifindex_to_port Ethernet4", "l3lifpd_kvn_ifindex_to_port(ifindex=Ethernet4) = 5"},
    {"is_lif_pc_member Ethernet4", "l3lifpd_kvn_is_lif_pc_member(l3lif=Ethernet4) = 1"},
    {"is_ifindex_pc_member 0x10000000", "l3lifpd_kvn_is_ifindex_pc_member(ifindex=Ethernet0) = 0"},
    {"get_pc_id_for_ifindex PortChannel1",
     "l3lifpd_kvn_get_pc_id_for_ifindex(ifindex=PortChannel1) = 1"},
    {"get_lid_id_for_ifindex Ethernet0",
     "l3lifpd_kvn_get_lid_id_for_ifindex(ifindex=Ethernet0) = 1"},
    {"get_intf_id_for_ifindex Ethernet0",
     "l3lifpd_kvn_get_intf_id_for_ifindex(ifindex=Ethernet0) = 1"},
    {"l3pd_init Ethernet12 0", "l3lifpd_kvn_l3pd_init(l3lif=Ethernet12 overwrite=0) = 0"},
    {"dump_l3lif here Ethernet0",
     "l3lifpd_kvn_dump_l3lif(cli_ctx=output prefix=\"here\" l3lif=Ethernet0) = 0"},
    {"l3lifpd_dump_format_mac_bytes 00:11:22:aa:bb:cc",
     "l3lifpd_dump_format_mac_bytes(mac=00:11:22:aa:bb:cc buf=output) = 0"},
    {"add_l3port l3lif=Ethernet0 create=1", "l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1) = 0"},
    {"destroy_l3_intf Vlan10", "l3lifpd_kvn_destroy_l3_intf(l3lif=Vlan10) = 0"},
    {"del_l3port Ethernet12", "l3lifpd_kvn_del_l3port(l3lif=Ethernet12) = 0"},
    {"del_svi Vlan10", "l3lifpd_kvn_del_svi(l3lif=Vlan10) = 0"},
    {"del_subint Ethernet0.7", "l3lifpd_kvn_del_subint(l3lif=Ethernet0.7) = 0"},
    {"add_l3tun null 1", "l3lifpd_kvn_add_l3tun(l3lif=none create=1) = 0"},
    {"del_l3tun null", "l3lifpd_kvn_del_l3tun(l3lif=none) = 0"},
    {"add_subint Ethernet0.7 7 on",
     "l3lifpd_kvn_add_subint(l3lif=Ethernet0.7 encap_vlan=7 create=1) = 0"},
    {"add_svi Vlan10 10", "l3lifpd_kvn_add_svi(l3lif=Vlan10 encap_vlan=10) = 0"},
    {"set_l3_property Ethernet0 mtu 1500",
     "l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 prop_type=12 value=1500) = 0"},
    {"init_l3_properties Ethernet0", "l3lifpd_kvn_init_l3_properties(l3lif=Ethernet0) = 0"},
    {"l3lifpd_process_kvn_l3_prop_batch", "l3lifpd_process_kvn_l3_prop_batch() = 0"},
    {"set_single_l3_property 1 mtu 0x5dc",
     "l3lifpd_kvn_set_single_l3_property(intf_id=1 prop_type=12 value=1500) = 0"},
    {"loopback_enable Ethernet0 on", "l3lifpd_kvn_loopback_enable(ifindex=Ethernet0 enable=1) = 0"},
    {"alloc_l3pc_add PortChannel1 1",
     "l3lifpd_kvn_alloc_l3pc_add(l3lif=PortChannel1 create=1) = 0"},
    {"add_l3pc Ethernet4 0", "l3lifpd_kvn_add_l3pc(l3lif=Ethernet4 create=0) = -1"},
    {"add_l3pc_member PortChannel1 Ethernet4",
     "l3lifpd_kvn_add_l3pc_member(first=PortChannel1 ifindex=Ethernet4) = 0"},
    {"del_l3pc_member PortChannel1 Ethernet4",
     "l3lifpd_kvn_del_l3pc_member(first=PortChannel1 ifindex=Ethernet4) = 0"},
    {"port_SupPortMask_set null", "l3lifpd_kvn_port_SupPortMask_set(l3lif=none) = 0"},
    {"pc_SupPortMask_set Ethernet4 PortChannel1 1",
     "l3lifpd_kvn_pc_SupPortMask_set(l3lif=Ethernet4 main_l3lif=PortChannel1 flag=1) = 0"},
    {"del_l3pc Ethernet4 1", "l3lifpd_kvn_del_l3pc(l3lif=Ethernet4 destroy=1) = 0"},
    {"peer_mac_add 00:11:22:33:44:55", "l3lifpd_kvn_peer_mac_add(mac=00:11:22:33:44:55) = 1"},
    {"peer_mac_del 9", "l3lifpd_kvn_peer_mac_del(peer_mac_id=9) = -3"},
    {"rmac_add 00:00:00:00:00:00", "l3lifpd_kvn_rmac_add(mac=00:00:00:00:00:00) = 65535"},
    {"rmac_del -1", "l3lifpd_kvn_rmac_del(peer_mac_id=-1) = -3"},
    {"fhrp_mac_add 00:00:5e:00:01:01 Vlan10",
     "l3lifpd_kvn_fhrp_mac_add(mac=00:00:5e:00:01:01 ifindex=Vlan10) = 0"},
    {"fhrp_mac_del 00:00:5e:00:01:01 Vlan10",
     "l3lifpd_kvn_fhrp_mac_del(mac=00:00:5e:00:01:01 ifindex=Vlan10) = -1"},
};

TEST_F(Requests, EveryEntryPointIsWithinReach)
{
    std::set<std::string> reached;
    for (const HandMade &each : every_entry_point) {
        const std::string out = on_switch({std::string("call ") + each.line});
        EXPECT_EQ(each.expected, out.substr(0, out.find('\n'))) << result.err;
        EXPECT_EQ(result.err.empty() ? well : request_failed, result.status);
        const std::string line = each.line;
        reached.insert(line.substr(0, line.find(' ')));
    }
    std::set<std::string> offered;
    for (const std::string &line : lines(shell({"help call"}).out)) {
        if (line.compare(0, 2, "  ") == 0)
            offered.insert(line.substr(2, line.find(' ', 2) - 2));
    }
    EXPECT_EQ(36U, offered.size());
    EXPECT_EQ(offered, reached);
}

TEST_F(Requests, WhatTheLibraryPrintsFollowsTheResult)
{
    EXPECT_EQ("l3lifpd_dump_format_mac_bytes(mac=00:11:22:aa:bb:cc buf=output) = 0\n"
              "0011.22aa.bbcc\n",
              on_switch({"call l3lifpd_dump_format_mac_bytes 00:11:22:aa:bb:cc"}));
    EXPECT_THAT(on_switch({"dump Ethernet0"}), HasSubstr("intf_id  1 lid_id  1"));
}

TEST_F(Requests, WhatTheLibraryDoesNotSurviveIsRefused)
{
    const struct {
        std::vector<std::string> lines;
        const char *reason;
    } cases[] = {
        {{"call l3pd_init null 1"}, "l3lif must not be NULL"},
        {{"call init_l3_properties null"}, "l3lif must not be NULL"},
        {{"call del_subint null"}, "l3lif must not be NULL"},
        {{"call dump_l3lif x null"}, "l3lif must not be NULL"},
        {{"create PortChannel2", "call add_l3port PortChannel2 1"}, "PortChannel2 has no context"},
        {{"call alloc_l3pc_add Ethernet12 1"}, "Ethernet12 is not a port-channel"},
        {{"create Ethernet12.5"}, "parent Ethernet12 is not routed"},
    };
    for (const auto &each : cases) {
        on_switch(each.lines);
        EXPECT_EQ(request_failed, result.status) << each.lines.back();
        EXPECT_THAT(result.err, AllOf(HasSubstr(" refused, the library would abort: "),
                                      HasSubstr(each.reason)));
    }
}

TEST_F(Requests, ArgumentsThatDoNotFitAreToldAsSuch)
{
    for (const char *line : {"call nosuch",
                             "call add_svi Vlan10",
                             "call add_svi Vlan10 ten",
                             "call add_svi Vlan99 1",
                             "call rmac_add 00:11",
                             "call rmac_add null",
                             "call rmac_del 0x1ffffffff",
                             "call rmac_del -3000000000",
                             "set Ethernet0 nosuch 1",
                             "set Ethernet99 mtu 1",
                             "set Ethernet0 mtu big",
                             "loopback Ethernet0 maybe",
                             "join Vlan10 PortChannel1",
                             "join Ethernet4 PortChannel1",
                             "leave Ethernet0",
                             "create Something",
                             "create Po1.10",
                             "hold Ethernet0 on",
                             "register PortChannel1 off",
                             "register Ethernet4 off",
                             "poke Ethernet0 SdkIntfAttrNosuch 1",
                             "router-mac 00:00:5e:00:53:01 off",
                             "delete Vlan99"}) {
        const std::string out = on_switch({line});
        EXPECT_EQ(usage, result.status) << line << "\n" << result.err << out;
        EXPECT_EQ("", out) << line;
        EXPECT_EQ(1U, lines(result.err).size()) << result.err;
    }
}

/* ---- Interfaces ---- */

TEST_F(Requests, InterfacesOfEveryKindComeAndGo)
{
    const std::string out = on_switch({"create Ethernet12",
                                       "delete Ethernet12",
                                       "mark",
                                       "create Ethernet12",
                                       "create Ethernet12.5",
                                       "create Eth12.6 66",
                                       "create Vlan20",
                                       "create PortChannel2",
                                       "join Ethernet8 PortChannel2",
                                       "explain Ethernet12.5",
                                       "explain Eth12.6",
                                       "explain Vlan20",
                                       "explain PortChannel2",
                                       "leave Ethernet8",
                                       "delete PortChannel2",
                                       "delete Vlan20",
                                       "delete Eth12.6",
                                       "delete Ethernet12.5",
                                       "delete Ethernet12",
                                       "diff"});
    EXPECT_EQ(well, result.status) << result.err << out;
    EXPECT_THAT(out, EndsWith("\n" + no_difference));
    for (const char *programmed :
         {"Ethernet12.5 (sub-interface): programmed", "Eth12.6 (sub-interface): programmed",
          "Vlan20 (SVI): programmed", "PortChannel2 (port-channel): programmed"})
        EXPECT_THAT(out, HasSubstr(programmed));
}

TEST_F(Requests, InterfaceThatCannotBeIsRefusedWithTheReason)
{
    EXPECT_EQ("-:1: Vlan40: expected a VLAN 1..4094, not 99999\n",
              shell({"create Vlan40 99999"}).err);
    EXPECT_EQ("-:1: Ethernet0.7: expected a VLAN 1..4094, not 0\n",
              shell({"create Ethernet0.7 0"}, {example("routed_ports.json")}).err);
    EXPECT_THAT(shell({"create PortChannel1", "create PortChannel01"}).err,
                HasSubstr("the host cannot create PortChannel01: its number is taken\n"));
}

TEST_F(Requests, DeletedInterfacesAreGoneForTheAudit)
{
    const Result audited =
        shell({"create Vlan20", "delete Vlan20", "create PortChannel2", "delete PortChannel2",
               "hold PortChannel3 on", "hold PortChannel3 off", "delete PortChannel3", "audit"});
    EXPECT_EQ(well, audited.status) << audited.out << audited.err;
}

TEST_F(Requests, RoutedPortDoesNotBecomeAMember)
{
    const std::string out = on_switch(
        {"join Ethernet0 PortChannel1", "join Ethernet0 PortChannel1", "show port-channels"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(out, EndsWith(" 9100  Ethernet4  Ethernet4\n"));
}

TEST_F(Requests, MemberThatTheAsicKeptLeavesAnotherTime)
{
    const std::string out =
        on_switch({"fail libsdk_portchannel_member_delete", "leave Ethernet4", "fail off",
                   "show port-channels", "leave Ethernet4", "join Ethernet4 PortChannel1"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_EQ(1U, lines(result.err).size()) << "the second try works: " << result.err;
    EXPECT_THAT(result.err, HasSubstr("libsdk_portchannel_member_delete: SDK_E_INTERNAL (-1)"));
    EXPECT_THAT(out, AllOf(HasSubstr("l3lifpd_kvn_del_l3pc(l3lif=Ethernet4 destroy=1) = -1\n"),
                           HasSubstr("l3lifpd_kvn_del_l3pc(l3lif=Ethernet4 destroy=1) = 0\n"),
                           HasSubstr("l3lifpd_kvn_add_l3pc(l3lif=Ethernet4 create=1) = 0\n")));
}

TEST_F(Requests, WhatOthersStandOnStays)
{
    const struct {
        const char *line, *reason;
    } cases[] = {
        {"delete Ethernet0", "Ethernet0 still has sub-interfaces"},
        {"delete Ethernet4", "Ethernet4 is still a member of PortChannel1"},
        {"create Ethernet4", "Ethernet4 is still a member of PortChannel1"},
        {"delete PortChannel1", "PortChannel1 still has members"},
    };
    for (const auto &each : cases) {
        EXPECT_EQ("", on_switch({each.line})) << "nothing is asked for";
        EXPECT_EQ(request_failed, result.status) << each.line;
        EXPECT_EQ(std::string("-:1: ") + each.reason + "\n", result.err);
    }
    on_switch(
        {"create PortChannel1.5", "leave Ethernet4", "delete PortChannel1.5", "leave Ethernet4"});
    EXPECT_EQ("-:2: PortChannel1 still has sub-interfaces\n", result.err);
}

TEST_F(Requests, PortWhoseOldInterfaceStaysIsNotMadeAnew)
{
    const std::string out =
        on_switch({"delete Ethernet0.7", "delete Ethernet0", "fail libsdk_intf_destroy",
                   "create Ethernet0", "fail off", "create Ethernet0"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_EQ(1U, lines(result.err).size()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("-:4: request "));
    EXPECT_THAT(result.err, HasSubstr(" host: release kept SDK interface: libsdk_intf_destroy"));
    EXPECT_THAT(out, HasSubstr("l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1) = 0\n"));
}

TEST_F(Requests, LibraryAdoptsWhatTheHostHolds)
{
    const std::string out = on_switch(
        {"hold PortChannel2 on", "timeline on", "join Ethernet8 PortChannel2", "timeline off"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(out, HasSubstr("fwmpd_kvn_reset_pd_pc"));
    EXPECT_THAT(out, Not(HasSubstr("libsdk_portchannel_create")));
}

TEST_F(Requests, LibraryDoesNotFindWhatIsNotRegistered)
{
    const std::string out = on_switch({"register Vlan10 off", "call get_intf_id_for_ifindex Vlan10",
                                       "register Vlan10 on", "create Vlan10"});
    EXPECT_THAT(out, HasSubstr("get_intf_id_for_ifindex(ifindex=Vlan10) = 65535\n"));
}

/* ---- Settings ---- */

TEST_F(Requests, SettingsReachTheAsic)
{
    EXPECT_THAT(
        on_switch({"mark", "set Ethernet0 mtu 9216", "set Vlan10 L3LIF_PROP_MTU 68", "diff"}),
        AllOf(HasSubstr("prop_type=12 value=9216) = 0"),
              HasSubstr("l3lif=Vlan10 prop_type=12 value=68) = 0"),
              HasSubstr("  Ethernet0 SdkIntfAttrMtuIdx  value  9100  9216\n"),
              HasSubstr("  Vlan10 SdkIntfAttrMtuIdx     value  9100  68\n"),
              EndsWith("\n2 differences\nno service changes\n")));
    EXPECT_EQ(found, result.status) << result.err;
}

TEST_F(Requests, HostFlushesAfterTheLoopback)
{
    EXPECT_THAT(on_switch({"mark", "loopback Ethernet0 on", "diff"}),
                EndsWith("\n8 differences\nno service changes\n"));
    const std::string off =
        on_switch({"loopback Ethernet0 on", "mark", "call loopback_enable Ethernet0 off", "diff",
                   "flush", "diff"});
    EXPECT_THAT(off, AllOf(HasSubstr("(ifindex=Ethernet0 enable=0) = 0\n" + no_difference),
                           EndsWith("\n9 differences\nno service changes\n")))
        << "without the host, the writes wait for the flush";
}

TEST_F(Requests, MacsComeAndGo)
{
    const std::string on_and_off = on_switch({"mark", "virtual-mac Vlan10 00:00:5e:00:01:0a on",
                                              "router-mac 00:00:5e:00:53:01 on", "diff",
                                              "virtual-mac Vlan10 00:00:5e:00:01:0a off",
                                              "router-mac 00:00:5e:00:53:01 off", "diff"});
    EXPECT_THAT(on_and_off, AllOf(HasSubstr("  asic_router_mac  00:00:5e:00:53:01  "),
                                  HasSubstr("  asic_trap        Vlan10 00:00:5e:00:01:0a  "),
                                  HasSubstr("\n2 differences\n"), EndsWith("\n" + no_difference)));
}

/* ---- What the switch makes of it ---- */

TEST_F(Requests, AuditFindsWhatWasDoneByHand)
{
    const std::string out = on_switch({"set Ethernet0 mtu 68", "audit"});
    EXPECT_EQ(found, result.status);
    EXPECT_THAT(out, HasSubstr("MTU of Ethernet0 differs: configured 9100, library 9100, ASIC 68, "
                               "database 9100; written by"));
    EXPECT_THAT(on_switch({"poke Ethernet0 SdkIntfAttrIpv6UcstEn 1", "audit"}),
                HasSubstr("host: poke(Ethernet0)"));
    EXPECT_EQ(found, result.status);
}

TEST_F(Requests, PortRoutedByHandIsDeclinedWhenAConfigurationMakesItAMember)
{
    write("members.json", R"({
        "PORT": {"Ethernet0": {}, "Ethernet4": {}},
        "PORTCHANNEL": {"PortChannel1": {}},
        "PORTCHANNEL_MEMBER": {"PortChannel1|Ethernet0": {}, "PortChannel1|Ethernet4": {}},
        "PORTCHANNEL_INTERFACE": {"PortChannel1": {}}
    })");
    const Result declined =
        shell({"create Ethernet0", "apply members.json", "explain PortChannel1"});
    EXPECT_EQ(well, declined.status) << declined.err;
    EXPECT_THAT(declined.out, AllOf(HasSubstr("PortChannel1 (port-channel): programmed\n"),
                                    HasSubstr("  Ethernet0 (declined),Ethernet4  Ethernet4  ")));
}

TEST_F(Requests, PortChannelStaysRoutedWhileAMemberByHandStandsOnIt)
{
    write("layer2.json", R"({
        "PORT": {"Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {}},
        "PORTCHANNEL": {"PortChannel1": {}}
    })");
    on_switch({"join Ethernet8 PortChannel1", "apply layer2.json"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(result.err, HasSubstr("PortChannel1 still has members"));
    on_switch({"join Ethernet8 PortChannel1", "leave Ethernet8", "apply layer2.json"});
    EXPECT_EQ(well, result.status) << result.err;
}

TEST_F(Requests, ConfigurationsStillApplyAfterRequestsByHand)
{
    const std::string out =
        on_switch({"create Ethernet8", "join Ethernet12 PortChannel1", "delete Vlan10",
                   "call destroy_l3_intf Ethernet0.7", "apply sw.json",
                   "apply " + example("empty.json"), "apply sw.json"});
    EXPECT_EQ(request_failed, result.status) << result.err;
    EXPECT_EQ(4U, lines(result.err).size()) << "what was made by hand stays in the way";
    EXPECT_THAT(out, EndsWith("\nsw.json: 6 steps, 7 requests, 73 calls, 0 failures\n"));
}
