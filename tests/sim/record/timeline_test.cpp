#include "tests/sim/record/recording_fixture.h"

#include "sim/record/timeline.h"

namespace kvnsim {
namespace {

class TimelineOf : public RecordingFixture {
protected:
    static std::string timeline(const TimelineOptions &options, const std::function<void()> &what)
    {
        std::ostringstream out;
        {
            const Timeline shown(out, options);
            what();
        }
        return out.str();
    }
    static size_t count(const std::string &text, const std::string &part)
    {
        size_t found = 0;
        for (size_t at = 0; (at = text.find(part, at)) != text.npos; at += part.size())
            ++found;
        return found;
    }
};

TEST_F(TimelineOf, RequestShowsItsCauseItsCallsAndItsResult)
{
    HostInterface &ethernet = routed_port(0);
    EXPECT_EQ(timeline({},
                       [&] {
                           const CauseScope cause("leaf.json:3:5: PORT|Ethernet0");
                           entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500);
                           entry::set_l3_property(ethernet, L3LIF_PROP_IPV6_UCST_EN, 1);
                       }),
              "leaf.json:3:5: PORT|Ethernet0\n"
              "  3 l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 prop_type=12 value=1500)\n"
              "      libsdk_intf_attr_set(dev_inst=0 intf_id=1 attr=SdkIntfAttrMtuIdx "
              "value={param1=1500}) = 0\n"
              "      l3lif_update_sdb_for_intf(l3lif=0x10000000) = 0\n"
              "  = 0\n"
              "  4 l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 prop_type=6 value=1)\n"
              "      libsdk_intf_attr_set(dev_inst=0 intf_id=1 attr=SdkIntfAttrIpv6UcstEn "
              "value={param1=1}) = 0\n"
              "  = 0\n");
}

TEST_F(TimelineOf, HostTaskHasNoResult)
{
    EXPECT_EQ(timeline({}, [&] { port(0); }),
              "  1 host: give port its LID(Ethernet0)\n"
              "      libsdk_lid_entry_create(dev_inst=0) = 0 lid_id=1\n"
              "      libsdk_lid_entry_path_add(dev_inst=0 lid_id=1 path={port_type=front panel "
              "front_port=1 pc_id=0}) = 0\n"
              "  = done by the host\n");
}

TEST_F(TimelineOf, InjectedFailureIsNamed)
{
    EXPECT_EQ(timeline({},
                       [&] {
                           fail("libsdk_switch_router_mac_create=SDK_E_FULL");
                           entry::rmac_add(gateway);
                       }),
              "  1 l3lifpd_kvn_rmac_add(mac=00:00:5e:00:01:0a)\n"
              "      libsdk_switch_router_mac_create(dev_inst=0 mac_lo=00:00:5e:00 mac_hi=01:0a) = "
              "SDK_E_FULL (-5) (injected)\n"
              "  = 4294967291, 1 call failed: libsdk_switch_router_mac_create: SDK_E_FULL (-5)\n");
}

TEST_F(TimelineOf, RefusalShowsItsReason)
{
    const std::string text = timeline({}, [&] {
        entry::rmac_add(gateway);
        entry::rmac_add(gateway);
    });
    EXPECT_NE(text.find("= SDK_E_EXISTS (-4): 00:00:5e:00:01:0a is router MAC 1 already"),
              std::string::npos)
        << text;
}

TEST_F(TimelineOf, QuestionsAreLeftOutUnlessTheyFailOrAreAskedFor)
{
    HostInterface &ethernet = routed_port(0);
    const auto request = [&] { entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500); };
    EXPECT_EQ(count(timeline({}, request), "l3lif_find_lif_from_ifindex"), 0u);
    TimelineOptions everything;
    everything.questions = true;
    const std::string text = timeline(everything, request);
    EXPECT_NE(text.find("      l3lif_find_lif_from_ifindex(ifindex=0x10000000) = 0x10000000\n"),
              std::string::npos)
        << text;
    fail("fwmpd_kvn_if_index_lid_id");
    HostInterface &other = port(4);
    host.register_l3(other);
    const std::string failed = timeline({}, [&] { entry::add_l3port(other, 1); });
    EXPECT_NE(failed.find("fwmpd_kvn_if_index_lid_id(ifindex=0x10000004) = -1 (injected)"),
              std::string::npos)
        << failed;
}

TEST_F(TimelineOf, DumpShowsWhatItPrints)
{
    routed_port(0);
    const std::string text = timeline({}, [] {
        EntryPoint::find("dump_l3lif")
            ->call({Value::text("output"), Value::text("x"), Value::text("Ethernet0")});
    });
    EXPECT_EQ(count(text, "      cmd_prt(cli_ctx=\"output\" "
                          "text=\"x: intf_id  1 lid_id  1.\\n\" zero=0) = 0\n"),
              1u)
        << text;
}

TEST_F(TimelineOf, TraceRecordsStandBetweenTheCallsOnRequest)
{
    HostInterface &ethernet = routed_port(0);
    TimelineOptions with_traces;
    with_traces.traces = true;
    const std::string text =
        timeline(with_traces, [&] { entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500); });
    const size_t setting = text.find("Setting mtu=1500 in libsdk for intf 1.\n");
    const size_t call = text.find("libsdk_intf_attr_set(");
    const size_t storing = text.find("Storing MTU=1500");
    ASSERT_NE(setting, std::string::npos) << text;
    EXPECT_LT(setting, call);
    EXPECT_LT(call, storing);
    EXPECT_NE(text.find("      [debug] l3lifpd_kvn_set_single_l3_property:"), std::string::npos);
    EXPECT_EQ(count(timeline({}, [&] { entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1600); }),
                    "[debug]"),
              0u);
}

TEST_F(TimelineOf, TraceRecordsMayBeTheErrorsOnly)
{
    HostInterface &ethernet = routed_port(0);
    fail("libsdk_intf_attr_set");
    TimelineOptions errors;
    errors.traces = errors.errors_only = true;
    const std::string text =
        timeline(errors, [&] { entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500); });
    EXPECT_EQ(count(text, "[error]"), 1u) << text;
    EXPECT_EQ(count(text, "[debug]"), 0u) << text;
}

TEST_F(TimelineOf, OneInterfaceShowsItsMembersAndSubInterfacesToo)
{
    const auto requests = [this] {
        const Switch again;
        HostInterface &ethernet = routed_port(0);
        sub_interface("Ethernet0.7", ethernet, 7);
        HostInterface &channel = port_channel(1);
        HostInterface &one = member(4, channel);
        entry::add_l3pc_member(channel.ifindex, one.ifindex);
        entry::rmac_add(gateway);
    };
    const auto shown_for = [&](const char *name) {
        TimelineOptions options;
        options.interface = name;
        return timeline(options, requests);
    };
    EXPECT_EQ(count(shown_for("Ethernet0"), "\n  = "), 3u) << shown_for("Ethernet0");
    EXPECT_EQ(count(shown_for("Ethernet0.7"), "\n  = "), 1u);
    EXPECT_EQ(count(shown_for("PortChannel1"), "\n  = "), 2u) << shown_for("PortChannel1");
    EXPECT_EQ(count(shown_for("Ethernet4"), "\n  = "), 3u) << shown_for("Ethernet4");
    EXPECT_EQ(count(shown_for("Vlan5"), "\n"), 0u);
    EXPECT_EQ(count(timeline({}, requests), "\n  = "), 7u);
}

TEST_F(TimelineOf, ColourIsOnlyForThoseWhoAskForIt)
{
    const auto requests = [this] {
        const Switch again;
        const CauseScope cause("by hand");
        fail("libsdk_switch_router_mac_create=SDK_E_FULL");
        entry::rmac_add(gateway);
    };
    EXPECT_EQ(count(timeline({}, requests), "\033"), 0u);
    TimelineOptions coloured;
    coloured.colour = true;
    const std::string text = timeline(coloured, requests);
    EXPECT_EQ(text.rfind("\033[1mby hand\033[0m\n", 0), 0u) << text;
    EXPECT_NE(text.find("\033[33mlibsdk_switch_router_mac_create("), std::string::npos);
}

} // namespace
} // namespace kvnsim
