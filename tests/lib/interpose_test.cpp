/* The library's entry points call one another by their exported names, so that a host can put
 * itself between them; what each does with the other's result. */
#include "tests/lib/bench.h"
#include "tests/lib/entries.h"

namespace kvntest {
namespace {

class Interposed : public testing::Test {
protected:
    Bench bench;
    Entries entries;
    Interface &eth0 = bench.routed_port(0);
    Interface &sub = bench.sub_interface(eth0);
    Interface &svi10 = bench.svi(10);
    Interface &po12 = bench.port_channel(12);
    Interface &eth1 = bench.member(1, po12);

    void give(const char *name, int64_t result)
    {
        entries.instead[name] = [result] { return result; };
    }
    testing::AssertionResult entered(const Steps &expected)
    {
        const Journal got = entries.calls;
        entries.calls.clear();
        return same_journal(got, expected);
    }
    testing::AssertionResult ended_with(const Steps &expected)
    {
        const Journal &journal = bench.journal;
        const size_t from = journal.size() < expected.size() ? 0 : journal.size() - expected.size();
        return same_journal(Journal(journal.begin() + static_cast<ptrdiff_t>(from), journal.end()),
                            expected);
    }

    static Steps lookup(const l3lif &lif)
    {
        return text("get_intf_id_for_ifindex(%#x)", lif.ifindex);
    }
    static Steps lid_lookup(const l3lif &lif)
    {
        return text("get_lid_id_for_ifindex(%#x)", lif.ifindex);
    }
    static Steps property(const l3lif &lif, uint32_t intf_id, int type, uint32_t value)
    {
        return {text("set_l3_property(%#x, %d, %u)", lif.ifindex, type, value), lookup(lif),
                text("set_single_l3_property(%u, %d, %u)", intf_id, type, value)};
    }
    static Steps defaults(const l3lif &lif, uint32_t intf_id)
    {
        return {text("init_l3_properties(%#x)", lif.ifindex), property(lif, intf_id, 12, 1500),
                property(lif, intf_id, 5, 1)};
    }
    static Steps interface_made(const l3lif &lif, int create)
    {
        return {text("add_l3port(%#x, %d)", lif.ifindex, create),
                lookup(lif),
                lid_lookup(lif),
                text("l3pd_init(%#x, 0)", lif.ifindex),
                defaults(lif, 501),
                property(lif, 501, 19, 16)};
    }
    static Steps destroyed(const l3lif &lif, uint32_t intf_id)
    {
        return {text("destroy_l3_intf(%#x)", lif.ifindex), lookup(lif),
                property(lif, intf_id, 19, 0)};
    }
};

TEST_F(Interposed, CreationOfARoutedPort)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(
        entered({std::string("add_l3port(0x10000, 1)"), lookup(eth0),
                 std::string("port_SupPortMask_set(0x10000)"), std::string("l3pd_init(0x10000, 1)"),
                 defaults(eth0, 501), property(eth0, 501, 19, 16)}));
}

TEST_F(Interposed, CreationOfASubInterface)
{
    bench.give_context(eth0, 50, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(entered({text("add_subint(%#x, 100, 1)", sub.ifindex), lookup(sub),
                         lid_lookup(eth0), lookup(eth0), text("l3pd_init(%#x, 1)", sub.ifindex),
                         defaults(sub, 501), lookup(eth0)}));
}

TEST_F(Interposed, CreationOfAnSvi)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(entered({text("add_svi(%#x, 10)", svi10.ifindex), lookup(svi10),
                         text("l3pd_init(%#x, 1)", svi10.ifindex), defaults(svi10, 501)}));
}

TEST_F(Interposed, DestructionByTheDeleteEvents)
{
    bench.give_context(svi10, 40, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_svi(&svi10));
    EXPECT_TRUE(entered({text("del_svi(%#x)", svi10.ifindex), destroyed(svi10, 40)}));
    bench.give_context(eth0, 41, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3port(&eth0));
    EXPECT_TRUE(entered({text("del_l3port(%#x)", eth0.ifindex), destroyed(eth0, 41)}));
    bench.give_context(sub, 42, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_subint(&sub));
    EXPECT_TRUE(entered({text("del_subint(%#x)", sub.ifindex), destroyed(sub, 42)}));
}

TEST_F(Interposed, FirstMemberOfAPortChannel)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth1, 1));
    EXPECT_TRUE(entered({text("add_l3pc(%#x, 1)", eth1.ifindex),
                         text("alloc_l3pc_add(%#x, 1)", po12.ifindex), lookup(po12),
                         text("l3pd_init(%#x, 1)", po12.ifindex), interface_made(po12, 1),
                         text("pc_SupPortMask_set(%#x, %#x, 1)", eth1.ifindex, po12.ifindex)}));
}

TEST_F(Interposed, LastMemberOfAPortChannel)
{
    bench.give_context(po12, 60, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth1, 1));
    EXPECT_TRUE(
        entered({text("del_l3pc(%#x, 1)", eth1.ifindex), lid_lookup(po12), destroyed(po12, 60)}));
    bench.give_context(po12, 60, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth1, 0));
    EXPECT_TRUE(entered({text("del_l3pc(%#x, 0)", eth1.ifindex),
                         text("pc_SupPortMask_set(%#x, %#x, 0)", eth1.ifindex, po12.ifindex)}));
}

TEST_F(Interposed, VirtualMacAndDump)
{
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    bench.give_context(svi10, 40, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_fhrp_mac_add(mac, svi10.ifindex));
    EXPECT_TRUE(entered({text("fhrp_mac_add(02:01, %#x)", svi10.ifindex), lookup(svi10)}));
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(nullptr, "svi", &svi10));
    EXPECT_TRUE(entered(
        {text("dump_l3lif(context, svi, %#x)", svi10.ifindex), lookup(svi10), lid_lookup(svi10)}));
}

TEST_F(Interposed, RouterMacIsThePeerGateways)
{
    const uint8_t mac[6] = {2, 0, 0, 0, 0, 1};
    give("peer_mac_add", 0xFFFFFFF0);
    give("peer_mac_del", -5);
    EXPECT_EQ(0xFFFFFFF0u, l3lifpd_kvn_rmac_add(mac));
    EXPECT_EQ(-5, l3lifpd_kvn_rmac_del(9));
    EXPECT_TRUE(entered({std::string("rmac_add(02:01)"), std::string("peer_mac_add(02:01)"),
                         std::string("rmac_del(9)"), std::string("peer_mac_del(9)")}));
    EXPECT_TRUE(bench.did_nothing());
}

/* ---- what is made of the other's result ---- */

TEST_F(Interposed, APortWhoseSupPortMaskFailsIsNotCreatedThoughItsBindingStays)
{
    give("port_SupPortMask_set", 5);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(
        ended_with({call("fwm_pm_sdb_store(key={1, %#x}, data={900, 0, 0})", eth0.ifindex),
                    error("if_set_lid", "Could not set SupPortMask for %#x\n", eth0.ifindex),
                    error("add_l3port", "l3lifpd_kvn_if_set_lid for %#x failed\n", eth0.ifindex)}));
    EXPECT_EQ(nullptr, eth0.pd_ctxt);
}

TEST_F(Interposed, AMemberWhoseSupPortMaskFailsJoinsAndLeavesAllTheSame)
{
    give("pc_SupPortMask_set", 5);
    bench.give_context(po12, 60, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth1, 0));
    EXPECT_TRUE(ended_with(
        {error("add_l3pc", "Error setting Sup_Port_mask table entries for pc %#x.\n", po12.ifindex),
         debug("add_l3pc", "Exiting.\n")}));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth1, 0));
    EXPECT_TRUE(ended_with(
        error("del_l3pc", "Error setting SupPortMask entries for pc %#x.\n", po12.ifindex)));
}

TEST_F(Interposed, EveryCreatorPassesOnTheResultOfTheContext)
{
    give("l3pd_init", 9);
    EXPECT_EQ(9, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(ended_with(
        error("add_l3port", "%d: l3_pd initialization failed. Returned rc = %d.\n", line_no, 9)));
    EXPECT_EQ(9, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(ended_with(
        error("add_svi", "%d: l3_pd initialization failed. Returned rc = %d.\n", line_no, 9)));
    EXPECT_EQ(9, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(ended_with(error(
        "alloc_l3pc_add", "%d: l3_pd initialization failed. Returned rc = %d.\n", line_no, 9)));
    bench.give_context(eth0, 50, 100, none);
    EXPECT_EQ(9, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(
        ended_with(error("add_subint", "l3_pd initialization failed. Returned rc = %d\n", 9)));
}

TEST_F(Interposed, NoCreatorLooksAtTheResultsOfTheProperties)
{
    give("init_l3_properties", -1);
    give("set_l3_property", -1);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_EQ(501u, eth0.pd().intf_id);
    EXPECT_EQ(502u, sub.pd().intf_id);
    EXPECT_EQ(503u, svi10.pd().intf_id);
    EXPECT_EQ(504u, po12.pd().intf_id);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_EQ(0xFFFFu, svi10.pd().intf_id);
}

TEST_F(Interposed, DefaultsDoNotLookAtTheirResultsEither)
{
    give("set_l3_property", -1);
    bench.give_ip(eth0, 1, 1, 9000, 0);
    EXPECT_EQ(0, l3lifpd_kvn_init_l3_properties(&eth0));
    EXPECT_TRUE(entered({std::string("init_l3_properties(0x10000)"),
                         std::string("set_l3_property(0x10000, 1, 1)"),
                         std::string("set_l3_property(0x10000, 2, 1)"),
                         std::string("set_l3_property(0x10000, 12, 9000)"),
                         std::string("set_l3_property(0x10000, 5, 0)")}));
}

TEST_F(Interposed, APropertyPassesOnTheResultOfTheSingleOne)
{
    bench.give_context(eth0, 50, 100, none);
    give("set_single_l3_property", -8);
    EXPECT_EQ(-8, l3lifpd_kvn_set_l3_property(&eth0, 17, 1));
    EXPECT_TRUE(
        ended_with(debug("set_l3_property", "[%d]: Error! Returning rc=%d.\n", line_no, -8)));
}

TEST_F(Interposed, APropertyIsWrittenToTheInterfaceThatTheLookupGives)
{
    give("get_intf_id_for_ifindex", 88);
    EXPECT_EQ(0, l3lifpd_kvn_set_l3_property(&eth0, 4, 1));
    EXPECT_TRUE(entered({std::string("set_l3_property(0x10000, 4, 1)"), lookup(eth0),
                         std::string("set_single_l3_property(88, 4, 1)")}));
}

TEST_F(Interposed, ThePortChannelsInterfaceIsBoundToTheLidThatTheLookupGives)
{
    give("get_lid_id_for_ifindex", 77);
    bench.give_context(po12, none, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_EQ(77u, po12.pd().lid_id);
}

TEST_F(Interposed, ASubInterfaceSharesTheLidThatTheLookupGives)
{
    give("get_lid_id_for_ifindex", 77);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_EQ(77u, sub.pd().lid_id);
}

TEST_F(Interposed, AnIdentifierBeyond16BitsIsNoInterfaceForPortsAndDestruction)
{
    give("get_intf_id_for_ifindex", 0x10000);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_TRUE(ended_with(debug("destroy_l3_intf",
                                 "[%d]: intf_id already cleared for ifindex %#x. Return success.\n",
                                 line_no, svi10.ifindex)));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(3u, eth0.pd_state);
}

TEST_F(Interposed, TheDumpPrintsTheLookupsResultsAsSignedNumbers)
{
    give("get_intf_id_for_ifindex", 0xFFFFFFFE);
    give("get_lid_id_for_ifindex", 0xFFFFFFFD);
    l3lifpd_kvn_dump_l3lif(nullptr, "eth0", &eth0);
    EXPECT_STREQ("eth0: intf_id  -2 lid_id  -3.\n", l3lifpd_dump_one_line);
    l3lifpd_kvn_dump_l3lif(nullptr, "po12", &po12);
    EXPECT_STREQ("po12: intf_id -2 lid_id -3 pc_id 65535.\n", l3lifpd_dump_one_line);
}

TEST_F(Interposed, APortChannelSucceedsThoughItsInterfaceFails)
{
    give("add_l3port", 6);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(ended_with(
        {error("alloc_l3pc_add", "l3 interface create for pc id = %d, ifindex=%#x failed\n", 21,
               po12.ifindex),
         debug("alloc_l3pc_add", "Exiting.\n")}));
    EXPECT_TRUE(holds(po12.pd(), none, 301, 21));
}

TEST_F(Interposed, AMemberFailsWhenItsPortChannelCannotBeMade)
{
    give("alloc_l3pc_add", 6);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3pc(&eth1, 1));
    EXPECT_TRUE(bench.did({debug("add_l3pc", "Entered. ifindex=%#x, create=%d\n", eth1.ifindex, 1),
                           error("add_l3pc", "%s: Creating PC intf failed for ifindex %#x\n",
                                 "l3lifpd_kvn_add_l3pc", po12.ifindex)}));
}

TEST_F(Interposed, TeardownStopsWhenTheInterfaceCannotBeDestroyed)
{
    bench.give_context(po12, 60, 9, 5);
    give("destroy_l3_intf", 6);
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth1, 1));
    EXPECT_TRUE(ended_with(
        error("del_l3pc",
              "Could not destroy pc %#x pc_id=%d.l3lifpd_kvn_destroy_l3_intf() returned rc=%d.\n",
              po12.ifindex, 5, 6)));
}

TEST_F(Interposed, DeleteEventsPassOnTheResultOfTheDestruction)
{
    give("destroy_l3_intf", 6);
    EXPECT_EQ(6, l3lifpd_kvn_del_l3port(&eth0));
    EXPECT_EQ(6, l3lifpd_kvn_del_svi(&eth0));
    EXPECT_EQ(6, l3lifpd_kvn_del_subint(&eth0));
}

/* Each sink's text shows which lookup it got: the condition's is the first. */
class EachSinksLookup : public testing::TestWithParam<unsigned> {
protected:
    Bench bench;
    Entries entries;
};

TEST_P(EachSinksLookup, IsMadeForItAloneInTheSinksOrder)
{
    const bool file = GetParam() & 1, history = GetParam() & 2, buginf = GetParam() & 4;
    Interface &po12 = bench.port_channel(12);
    bench.set_sinks({file, history, buginf});
    int found = 60;
    entries.instead["get_intf_id_for_ifindex"] = [&found] { return ++found; };
    bench.same_text = false;
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));

    const auto message = [&](int intf_id) {
        return text("sdk_intf = %d already exists for l3lif PC ifindex %#x.\n", intf_id,
                    po12.ifindex);
    };
    int expected = 61;
    Journal texts;
    for (const std::string &call : bench.sink_calls)
        if (call.find("already exists") != std::string::npos)
            texts.push_back(call);
    Journal want = {"fwm_ds_trace_add " + quoted(message(++expected))};
    if (file)
        want.push_back("dbg_out_file " + quoted("[NOW]DBG: l3lifpd_kvn_alloc_l3pc_add(" +
                                                std::to_string(bench.records.back().line) +
                                                "): " + message(++expected)));
    if (history) {
        const std::string recorded = message(++expected);
        want.push_back("sdwrap_hist_event " + std::to_string(recorded.size() + 5) + " 104 " +
                       quoted(recorded));
    }
    if (buginf)
        want.push_back("buginf " + quoted(message(++expected)));
    EXPECT_TRUE(same_journal(texts, want));
    EXPECT_EQ(expected, found);
}

INSTANTIATE_TEST_SUITE_P(, EachSinksLookup, testing::Range(0u, 8u));

} // namespace
} // namespace kvntest
