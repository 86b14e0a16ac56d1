#include "tests/sim/record/recording_fixture.h"

#include "sim/record/recording.h"

namespace kvnsim {
namespace {

/* ---- What is recorded replays the same ---- */

class Recording : public RecordingFixture {
protected:
    static void ask_of(uint32_t ifindex)
    {
        EntryPoint::find("get_intf_id_for_ifindex")->call({Value::integer(ifindex)});
    }
    static size_t lines_that_begin(const std::string &text, const std::string &with)
    {
        size_t count = 0;
        for (const std::string &line : lines_of(text))
            count += line.rfind(with, 0) == 0;
        return count;
    }
};

TEST_F(Recording, ReplaysTheSame)
{
    const Replay result = replayed(recorded_operation());
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 10u);
    EXPECT_EQ(result.host_tasks, 2u);
    EXPECT_GT(result.calls, 60u);
    EXPECT_GT(result.traces, 60u);
    EXPECT_EQ(result.word_size, static_cast<int64_t>(8 * sizeof(void *)));
}

TEST_F(Recording, OfNothingReplaysTheSame)
{
    const Replay result = replayed(recorded([] {}));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 0u);
}

TEST_F(Recording, IsTheSameEachTime)
{
    const std::string first = recorded_operation();
    const Switch again;
    EXPECT_EQ(recorded_operation(), first);
}

TEST_F(Recording, TellsRequestsInTheOrderOfWhatHappened)
{
    const std::string text = recorded([this] { entry::rmac_add(gateway); });
    const std::vector<std::string> lines = lines_of(text);
    ASSERT_EQ(lines.size(), 7u) << text;
    EXPECT_EQ(lines[0],
              "{\"kvnsim_recording\":1,\"word_size\":" + std::to_string(8 * sizeof(void *)) + "}");
    EXPECT_EQ(lines[1], "{\"sinks\":{\"debug_file\":0,\"events\":0,\"console\":0}}");
    EXPECT_EQ(lines[2], "{\"request\":1,\"entry\":\"l3lifpd_kvn_rmac_add\",\"arguments\":"
                        "{\"mac\":\"00:00:5e:00:01:0a\"}}");
    EXPECT_EQ(lines[3], "{\"call\":\"libsdk_switch_router_mac_create\",\"in\":{\"dev_inst\":0,"
                        "\"mac_lo\":6160384,\"mac_hi\":2561},\"out\":{\"peer_mac_id\":1},"
                        "\"result\":0}");
    EXPECT_EQ(
        lines[4].rfind("{\"trace\":104,\"function\":\"l3lifpd_kvn_peer_mac_add\",\"line\":", 0),
        0u);
    EXPECT_EQ(lines[5], "{\"result\":1,\"failed_calls\":0}");
    EXPECT_EQ(lines[6], "{\"end\":1,\"requests\":1}");
}

TEST_F(Recording, TellsAnInterfaceOnlyWhenItChanged)
{
    HostInterface &ethernet = routed_port(0);
    const std::string text = recorded([&] {
        entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1500);
        entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1600);
        ethernet.ip.mtu = 1700;
        entry::set_l3_property(ethernet, L3LIF_PROP_MTU, 1700);
    });
    EXPECT_EQ(lines_that_begin(text, "{\"interface\":\"Ethernet0\""), 2u) << text;
}

TEST_F(Recording, OfFailedCallsReplaysTheSame)
{
    for (const char *call :
         {"libsdk_intf_create", "libsdk_intf_attr_set:2=SDK_E_BUSY", "fwm_pm_sdb_store=5",
          "libsdk_switch_config_get", "fwmpd_kvn_if_index_lid_id", "libsdk_portchannel_member_add",
          "libsdk_lid_entry_path_add:2", "libsdk_intf_destroy", "fwmpd_kavelin_batch_flush",
          "libsdk_intf_router_mac_trap_destroy"}) {
        const Switch again;
        const std::string text = recorded([&] {
            fail(call);
            HostInterface &ethernet = routed_port(0);
            entry::fhrp_mac_add(gateway, ethernet.ifindex);
            entry::fhrp_mac_del(gateway, ethernet.ifindex);
            HostInterface &svi = *host.add_svi("Vlan5", 5);
            host.register_l3(svi);
            entry::add_svi(svi, 5);
            entry::del_svi(svi);
            member(4, port_channel(1));
        });
        const Replay result = replayed(text);
        EXPECT_TRUE(result.same()) << call << '\n' << told(result);
        EXPECT_NE(text.find("\"injected\":1"), std::string::npos) << call;
    }
}

/* The library then tells an identifier that it never got, whatever lies in its place. */
TEST_F(Recording, OfARefusedTrapDoesNotDependOnTheIdentifierToldInItsPlace)
{
    std::string text = recorded([this] {
        HostInterface &ethernet = routed_port(0);
        fail("libsdk_intf_router_mac_trap_create");
        entry::fhrp_mac_add(gateway, ethernet.ifindex);
    });
    const size_t told_at = text.find("\"mac_trap_id = ");
    ASSERT_NE(told_at, std::string::npos);
    const size_t end = text.find("\\n", told_at);
    text.replace(told_at, end - told_at, "\"mac_trap_id = 123456789");
    const Replay result = replayed(text);
    EXPECT_TRUE(result.same()) << told(result);
}

TEST_F(Recording, MayBeginWithInterfacesThatAreThereAlready)
{
    HostInterface &ethernet = routed_port(0);
    HostInterface &channel = port_channel(1);
    HostInterface &one = member(4, channel);
    const Replay result = replayed(recorded([&] {
        sub_interface("Ethernet0.7", ethernet, 7);
        entry::del_l3pc(one, 1);
    }));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 2u);
}

TEST_F(Recording, KeepsTheNumbersOfSubInterfaces)
{
    HostInterface &ethernet = routed_port(0);
    std::vector<HostInterface *> subs;
    for (uint32_t vlan = 1; vlan <= 5; ++vlan)
        subs.push_back(&sub_interface("Ethernet0." + std::to_string(vlan), ethernet, vlan));
    const Replay result = replayed(recorded([&] {
        entry::set_l3_property(*subs[4], L3LIF_PROP_MTU, 1400); /* its number is above free ones */
        entry::set_l3_property(*subs[1], L3LIF_PROP_MTU, 1400);
        remove(*subs[4]);
        remove(*subs[2]);
        sub_interface("Ethernet0.5", ethernet, 5); /* the same name with another number */
        sub_interface("Ethernet0.9", ethernet, 9);
    }));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 6u);
}

TEST_F(Recording, FollowsAPortThatGetsAnotherName)
{
    const Replay result = replayed(recorded([this] {
        HostInterface &old = routed_port(0);
        remove(sub_interface("Ethernet0.7", old, 7));
        entry::del_l3port(old);
        host.unregister_l3(old);
        ASSERT_EQ(host.release_kept_intf(old), 0);
        ASSERT_EQ(host.release_port_lid(old), 0);
        ASSERT_TRUE(host.remove(old));
        HostInterface &renamed = *host.add_port("Uplink", 0);
        ASSERT_EQ(host.make_port_lid(renamed), 0);
        host.register_l3(renamed);
        entry::add_l3port(renamed, 1);
        sub_interface("Uplink.7", renamed, 7);
    }));
    EXPECT_TRUE(result.same()) << told(result);
}

TEST_F(Recording, ForgetsAnInterfaceThatIsGone)
{
    const std::string text = recorded([this] {
        HostInterface &svi = *host.add_svi("Vlan10", 10);
        host.register_l3(svi);
        entry::add_svi(svi, 10);
        entry::del_svi(svi);
        host.remove(svi);
        ask_of(ifindex_of(InterfaceKind::svi, 10));
        ask_of(ifindex_of(InterfaceKind::svi, 10));
        ask_of(ifindex_of(InterfaceKind::svi, 11));
    });
    const Replay result = replayed(text);
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 5u);
    EXPECT_EQ(lines_that_begin(
                  text, "{\"gone\":" + std::to_string(ifindex_of(InterfaceKind::svi, 10)) + "}"),
              1u);
    EXPECT_EQ(lines_that_begin(text, "{\"gone\":"), 1u) << "Vlan11 never was";
}

TEST_F(Recording, KnowsASubInterfaceThatCameBackWithItsPort)
{
    const Replay result = replayed(recorded([this] {
        for (int time = 0; time < 2; ++time) {
            HostInterface &ethernet = *host.add_port("Ethernet0", 0);
            HostInterface &sub = *host.add_sub_interface("Ethernet0.7", ethernet, 7);
            host.register_l3(sub);
            ask_of(sub.ifindex);
            host.remove(sub);
            host.remove(ethernet);
            ask_of(port_ifindex(0));
        }
    }));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 4u);
}

TEST_F(Recording, GoesOnWhenTheSwitchIsPoweredOnAgain)
{
    const Replay result = replayed(recorded([this] {
        HostInterface &ethernet = routed_port(0);
        entry::fhrp_mac_add(gateway, ethernet.ifindex);
        const Switch again;
        entry::fhrp_mac_add(gateway, routed_port(0).ifindex);
    }));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 4u);
}

TEST_F(Recording, TakesInterfacesByNameAndNullPointers)
{
    routed_port(0);
    const Replay result = replayed(recorded([] {
        EntryPoint::find("set_l3_property")
            ->call({Value::text("Ethernet0"), Value::integer(L3LIF_PROP_MTU), Value::integer(70)});
        EntryPoint::find("add_l3port")->call({Value(), Value::integer(1)});
        EntryPoint::find("dump_l3lif")
            ->call({Value::text("output"), Value::text("x"), Value::text("Ethernet0")});
        EntryPoint::find("get_lid_id_for_ifindex")->call({Value::integer(0x12345678)});
    }));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 4u);
}

TEST_F(Recording, HasWhatACommandPrints)
{
    routed_port(0);
    std::string text = recorded([] {
        EntryPoint::find("dump_l3lif")
            ->call({Value::text("output"), Value::text("x"), Value::text("Ethernet0")});
    });
    const Replay same = replayed(text);
    EXPECT_TRUE(same.same()) << told(same);
    const std::string printed = "x: intf_id  1 lid_id  1";
    ASSERT_NE(text.find(printed), std::string::npos) << text;
    const Replay other = replayed(text.replace(text.find(printed), printed.size(), "x: nothing"));
    ASSERT_TRUE(other.difference);
    EXPECT_EQ(other.difference->what,
              "in.text: recorded \"x: nothing.\\n\", now \"x: intf_id  1 lid_id  1.\\n\"");
}

/* ---- Sinks ---- */

struct SinkCase {
    const char *name;
    void (*turn_on)(Sinks &);
};

class RecordingWith : public Recording, public testing::WithParamInterface<SinkCase> {};

/* One record looks its argument up anew for each sink that is on, which takes calls. */
TEST_P(RecordingWith, ReplaysTheSame)
{
    Sinks sinks;
    sinks.console_file = nullptr;
    GetParam().turn_on(sinks);
    ASSERT_EQ(Diagnostics::instance().configure(sinks), "");
    const auto build_twice = [this] {
        HostInterface &channel = port_channel(1);
        member(0, channel);
        EntryPoint::find("alloc_l3pc_add")
            ->call({Value::integer(channel.ifindex), Value::integer(1)});
    };
    const std::string text = recorded(build_twice);
    Diagnostics::instance().configure(Sinks());
    const Replay result = replayed(text);
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(Diagnostics::instance().sinks().debug_file, "");

    const Switch again;
    Diagnostics::instance().configure(sinks);
    const std::string more = recorded([&] {
        build_twice();
        Diagnostics::instance().configure(Sinks());
        EntryPoint::find("alloc_l3pc_add")->call({Value::text("PortChannel1"), Value::integer(1)});
    });
    const Replay changed = replayed(more);
    EXPECT_TRUE(changed.same()) << told(changed);
}

INSTANTIATE_TEST_SUITE_P(
    Sink, RecordingWith,
    testing::Values(SinkCase{"none", [](Sinks &) {}},
                    SinkCase{"debug_file", [](Sinks &sinks) { sinks.debug_file = "/dev/null"; }},
                    SinkCase{"events", [](Sinks &sinks) { sinks.event_file = "/dev/null"; }},
                    SinkCase{"console", [](Sinks &sinks) { sinks.console.debug = true; }},
                    SinkCase{"all",
                             [](Sinks &sinks) {
                                 sinks.debug_file = sinks.event_file = "/dev/null";
                                 sinks.console = {true, true};
                             }}),
    [](const auto &sink) { return sink.param.name; });

/* ---- What differs is told ---- */

class Differing : public RecordingFixture {
protected:
    /* The recorded operation with one text in place of another, which is there. */
    Replay replayed_with(const std::string &was, const std::string &is)
    {
        std::string text = recorded_operation();
        const size_t at = text.find(was);
        EXPECT_NE(at, std::string::npos) << was;
        text.replace(at, was.size(), is);
        return replayed(text);
    }
};

TEST_F(Differing, ArgumentOfACall)
{
    const Replay result = replayed_with("\"attr\":14,\"value\":{\"param1\":1}",
                                        "\"attr\":14,\"value\":{\"param1\":2}");
    ASSERT_TRUE(result.difference);
    EXPECT_EQ(result.problem, "");
    EXPECT_EQ(result.difference->what, "in.value.param1: recorded 2, now 1");
    EXPECT_EQ(result.difference->request, "2 l3lifpd_kvn_add_l3port(l3lif=0x10000000 create=1)");
    EXPECT_EQ(result.difference->recorded,
              "libsdk_intf_attr_set(dev_inst=0 intf_id=1 attr=14 value={param1=2}) = 0");
    EXPECT_EQ(result.difference->now,
              "libsdk_intf_attr_set(dev_inst=0 intf_id=1 attr=14 value={param1=1}) = 0");
    ASSERT_FALSE(result.difference->before.empty());
    EXPECT_EQ(result.difference->before.back(), "if_index_get_port(ifindex=0x10000000) = 0 port=0");
}

TEST_F(Differing, CallThatIsNoLongerMade)
{
    const Replay result =
        replayed_with("{\"call\":\"fwmpd_kvn_init_l3_label\"",
                      "{\"call\":\"fwmpd_kvn_reset_pd_pc\",\"in\":{},\"result\":0}\n"
                      "{\"call\":\"fwmpd_kvn_init_l3_label\"");
    ASSERT_TRUE(result.difference);
    EXPECT_EQ(result.difference->what,
              "call: recorded \"fwmpd_kvn_reset_pd_pc\", now \"fwmpd_kvn_init_l3_label\"");
}

TEST_F(Differing, TraceWhereACallWasRecorded)
{
    const Replay result = replayed_with("{\"trace\":104,\"function\":\"l3lifpd_kvn_del_subint\"",
                                        "{\"ignored\":104,\"function\":\"l3lifpd_kvn_del_subint\"");
    ASSERT_TRUE(result.difference);
    EXPECT_EQ(result.difference->cause, "by hand");
    EXPECT_EQ(result.difference->now.rfind("debug record of l3lifpd_kvn_del_subint", 0), 0u)
        << result.difference->now;
}

TEST_F(Differing, ResultOfTheRequest)
{
    const Replay result =
        replayed_with("{\"result\":-6,\"failed_calls\":1}", "{\"result\":0,\"failed_calls\":1}");
    ASSERT_TRUE(result.difference);
    EXPECT_EQ(result.difference->what, "result: recorded 0, now -6");
}

TEST_F(Differing, ContextThatTheLibraryLeaves)
{
    const Replay result = replayed_with(
        "{\"left\":\"Ethernet0\",\"library\":{\"pd_state\":3,\"l3_pd\":{\"intf_id\":1",
        "{\"left\":\"Ethernet0\",\"library\":{\"pd_state\":3,\"l3_pd\":{\"intf_id\":9");
    ASSERT_TRUE(result.difference);
    EXPECT_EQ(result.difference->what, "library.l3_pd.intf_id: recorded 9, now 1");
}

TEST_F(Differing, IsToldWithItsPlaceAndWhatCameBefore)
{
    const Replay result = replayed_with("\"Entered.\\n\"", "\"Entered!\\n\"");
    ASSERT_TRUE(result.difference);
    const std::vector<std::string> lines = lines_of(result.difference->to_text());
    EXPECT_EQ(lines[0].rfind("try.jsonl:", 0), 0u);
    EXPECT_NE(lines[0].find(": text: recorded \"Entered!\\n\", now \"Entered.\\n\""),
              std::string::npos)
        << lines[0];
    EXPECT_EQ(lines[1].rfind("  request   ", 0), 0u);
    EXPECT_EQ(lines[2], "  because   by hand");
    EXPECT_EQ(lines[lines.size() - 2].rfind("  recorded  debug record of ", 0), 0u);
    EXPECT_EQ(lines.back().rfind("  now       debug record of ", 0), 0u);
}

/* ---- What does not count as different ---- */

TEST_F(Differing, SourceLinesMayMove)
{
    std::string text = recorded_operation();
    size_t moved = 0;
    for (size_t at = 0; (at = text.find("\"text\":\"[", at)) != text.npos; at += 9, ++moved)
        text.insert(at + 9, "7");
    for (size_t at = 0; (at = text.find(",\"line\":", at)) != text.npos; at += 8)
        text.insert(at + 8, "7");
    EXPECT_GT(moved, 10u);
    const Replay result = replayed(text);
    EXPECT_TRUE(result.same()) << told(result);
}

TEST_F(Differing, NumbersOfATextOtherThanItsSourceLineCount)
{
    const Replay result = replayed_with("Got lid id = 1 from", "Got lid id = 2 from");
    ASSERT_TRUE(result.difference);
}

TEST_F(Differing, UnknownLinesAndFieldsAreSkipped)
{
    std::vector<std::string> lines;
    for (const std::string &line : lines_of(recorded_operation())) {
        lines.push_back(line.substr(0, line.size() - 1) +
                        ",\"later\":{\"list\":[1,2.5,true,null,{\"deep\":[[]]}]}}");
        lines.push_back("{\"weather\":\"fine\",\"call\":5}");
        lines.push_back("{}");
    }
    const Replay result = replayed(text_of(lines));
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(result.requests, 10u);
}

TEST_F(Differing, AnotherWordSizeDoesNotMatter)
{
    const std::string own = std::to_string(8 * sizeof(void *));
    const std::string other = own == "64" ? "32" : "64";
    const Replay result = replayed_with("\"word_size\":" + own, "\"word_size\":" + other);
    EXPECT_TRUE(result.same()) << told(result);
    EXPECT_EQ(std::to_string(result.word_size), other);
    EXPECT_EQ(result.requests, 10u);
}

} // namespace
} // namespace kvnsim
