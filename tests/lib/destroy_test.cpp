/* Destruction of any kind of interface, and the delete events. */
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Destruction : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
    Interface &svi10 = bench.svi(10);
    Interface &po12 = bench.port_channel(12);
    Interface &eth1 = bench.member(1, po12);

    void expect_cleared(Interface &lif, uint32_t released)
    {
        EXPECT_TRUE(holds(lif.pd(), none, none, none));
        EXPECT_EQ(released, lif.pd().old_intf_id);
        EXPECT_EQ(4u, lif.pd_state);
    }
    Steps entered(const Interface &lif)
    {
        return debug("destroy_l3_intf", "Entered. ifindex=%#x.\n", lif.ifindex);
    }
};

TEST_F(Destruction, OfAnSviDestroysItsSdkInterface)
{
    bench.give_context(svi10, 40, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_TRUE(bench.did(interface_destroyed(svi10, 40)));
    expect_cleared(svi10, 40);
}

TEST_F(Destruction, OfASubInterfaceDestroysItsSdkInterface)
{
    Interface &sub = bench.sub_interface(eth0);
    bench.give_context(sub, 41, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&sub));
    EXPECT_TRUE(bench.did(interface_destroyed(sub, 41)));
    expect_cleared(sub, 41);
}

TEST_F(Destruction, OfAPortChannelDestroysItsSdkInterface)
{
    bench.give_context(po12, 42, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&po12));
    EXPECT_TRUE(bench.did(interface_destroyed(po12, 42)));
    expect_cleared(po12, 42);
}

TEST_F(Destruction, OfARoutedPortHandsItsSdkInterfaceOverDeliberately)
{
    bench.give_context(eth0, 43, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    EXPECT_TRUE(bench.did(interface_destroyed(eth0, 43)));
    expect_cleared(eth0, 43);
}

TEST_F(Destruction, ClearsTheIdentifiersAndNothingElseOfTheRecord)
{
    bench.give_context(svi10, 40, 2, 3);
    svi10.pd().word0 = 0x11111111;
    memset(svi10.pd().spare, 0x33, 16);
    svi10.pd().last_word = 0x44444444;
    l3_pd expected = svi10.pd();
    expected.intf_id = 0xFFFF;
    expected.old_intf_id = 40;
    expected.lid_id = expected.pc_id = 0xFFFF;
    const l3pd_holder *const holder = svi10.pd_ctxt;
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_EQ(holder, svi10.pd_ctxt);
    EXPECT_EQ(0, memcmp(&svi10.pd(), &expected, sizeof expected));
}

TEST_F(Destruction, OfInterfaceZeroIsADestructionLikeAnyOther)
{
    bench.give_context(svi10, 0, 2, 3);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_TRUE(bench.did(interface_destroyed(svi10, 0)));
    expect_cleared(svi10, 0);
}

TEST_F(Destruction, OfNoInterfaceFails)
{
    EXPECT_EQ(-1, l3lifpd_kvn_destroy_l3_intf(nullptr));
    EXPECT_TRUE(bench.did(error("destroy_l3_intf", "[%d]: Got %s as null.\n", line_no, "l3lif")));
}

TEST_F(Destruction, OfAClearedInterfaceSucceedsAndCallsNothing)
{
    const Steps already =
        debug("destroy_l3_intf", "[%d]: intf_id already cleared for ifindex %#x. Return success.\n",
              line_no, eth0.ifindex);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    EXPECT_TRUE(bench.did({entered(eth0), no_intf_id(eth0.ifindex), already}));
    bench.give_context(eth0, none, 2, 3);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    EXPECT_TRUE(bench.did({entered(eth0), intf_id_found(eth0.ifindex, 65535), already}));
    EXPECT_TRUE(holds(eth0.pd(), none, 2, 3));
    EXPECT_EQ(0u, eth0.pd_state);
}

TEST_F(Destruction, ASecondTimeSucceedsAndCallsNothing)
{
    bench.give_context(eth0, 43, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    bench.forget();
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    EXPECT_TRUE(bench.did({entered(eth0), intf_id_found(eth0.ifindex, 65535),
                           debug("destroy_l3_intf",
                                 "[%d]: intf_id already cleared for ifindex %#x. Return success.\n",
                                 line_no, eth0.ifindex)}));
    EXPECT_EQ(43u, eth0.pd().old_intf_id);
}

TEST_F(Destruction, ThatTheSdkRefusesKeepsTheRecordButNotTheLabels)
{
    bench.give_context(svi10, 40, 2, 3);
    bench.answer("libsdk_intf_destroy", 6);
    EXPECT_EQ(-1, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_TRUE(bench.did(
        {entered(svi10), intf_id_found(svi10.ifindex, 40), labels_reset(svi10, 40),
         debug("destroy_l3_intf",
               "[%d]: Calling libsdk_intf_destroy() for ifindex=%#x, intf_id=%d.\n", line_no,
               svi10.ifindex, 40),
         call("fwmpd_kavelin_batch_flush()"), call("libsdk_intf_destroy(dev_inst=0, intf_id=40)"),
         debug("destroy_l3_intf",
               "[%d]: libsdk_intf_destroy() returned %d for ifindex=%#x, intf_id=%d.\n", line_no, 6,
               svi10.ifindex, 40),
         error("destroy_l3_intf", "%s:Failed to destroy interface %#x with intf-id %d.\n",
               "l3lifpd_kvn_destroy_l3_intf", svi10.ifindex, 40)}));
    EXPECT_TRUE(holds(svi10.pd(), 40, 2, 3));
    EXPECT_EQ(0u, svi10.pd().old_intf_id);
    EXPECT_EQ(0u, svi10.pd_state);
}

TEST_F(Destruction, CanBeRepeatedAfterTheSdkRefused)
{
    bench.give_context(svi10, 40, 2, 3);
    bench.answer("libsdk_intf_destroy", 6, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_destroy_l3_intf(&svi10));
    bench.forget();
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&svi10));
    EXPECT_TRUE(bench.did(interface_destroyed(svi10, 40)));
    expect_cleared(svi10, 40);
}

TEST_F(Destruction, OfAMemberWithoutAContextFailsOnceItsLabelsAreReset)
{
    bench.give_context(po12, 42, 9, 5);
    EXPECT_EQ(-1, l3lifpd_kvn_destroy_l3_intf(&eth1));
    EXPECT_TRUE(bench.did({entered(eth1), intf_id_found(eth1.ifindex, 42), labels_reset(eth1, 42),
                           error("destroy_l3_intf", "%s:l3_pd is null for ifindex %#x.\n",
                                 "l3lifpd_kvn_destroy_l3_intf", eth1.ifindex)}));
    EXPECT_TRUE(holds(po12.pd(), 42, 9, 5));
}

TEST_F(Destruction, OfAMemberWithAClearedContextClearsNothing)
{
    bench.give_context(po12, 42, 9, 5);
    bench.give_context(eth1, none, 2, 3);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth1));
    EXPECT_TRUE(bench.did({entered(eth1), intf_id_found(eth1.ifindex, 42), labels_reset(eth1, 42),
                           debug("destroy_l3_intf", "Exiting.\n")}));
    EXPECT_TRUE(holds(eth1.pd(), none, 2, 3));
    EXPECT_EQ(0u, eth1.pd_state);
    EXPECT_TRUE(holds(po12.pd(), 42, 9, 5));
}

TEST_F(Destruction, OfAMemberThatIsARoutedPortReleasesItsOwnInterface)
{
    bench.give_context(po12, 42, 9, 5);
    bench.give_context(eth1, 44, 101, none);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth1));
    EXPECT_TRUE(bench.did(
        {entered(eth1), intf_id_found(eth1.ifindex, 42), labels_reset(eth1, 42),
         debug("destroy_l3_intf",
               "[%d]: Calling libsdk_intf_destroy() for ifindex=%#x, intf_id=%d.\n", line_no,
               eth1.ifindex, 44),
         call("fwmpd_kavelin_batch_flush()"),
         call("fwmpd_pc_member_intf_store(ifindex=%#x, intf_id=44, flag=1)", eth1.ifindex),
         debug("destroy_l3_intf", "Exiting.\n")}));
    expect_cleared(eth1, 44);
    EXPECT_TRUE(holds(po12.pd(), 42, 9, 5));
}

TEST_F(Destruction, IgnoresTheResultsOfLabelsAndStore)
{
    bench.give_context(eth0, 43, 100, none);
    bench.answer("fwmpd_kvn_init_l3_label", -1);
    bench.answer("fwmpd_pc_member_intf_store", -1);
    bench.answer("fwmpd_kavelin_batch_flush", -1);
    bench.answer("libsdk_intf_attr_set", -1);
    EXPECT_EQ(0, l3lifpd_kvn_destroy_l3_intf(&eth0));
    expect_cleared(eth0, 43);
}

/* ---- the delete events ---- */

TEST_F(Destruction, DeleteEventsTraceUnderTheirOwnNamesAndDestroy)
{
    bench.give_context(eth0, 43, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3port(&eth0));
    EXPECT_TRUE(bench.did({debug("del_l3port", "Entered.\n"), interface_destroyed(eth0, 43)}));

    bench.give_context(svi10, 40, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_svi(&svi10));
    EXPECT_TRUE(bench.did({debug("del_svi", "Entered.\n"), interface_destroyed(svi10, 40)}));

    Interface &sub = bench.sub_interface(eth0);
    bench.give_context(sub, 41, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_del_subint(&sub));
    EXPECT_TRUE(bench.did(
        {debug("del_subint", "ifindex = %#x\n", sub.ifindex), interface_destroyed(sub, 41)}));
}

TEST_F(Destruction, DeleteEventsReturnWhatTheDestructionReturned)
{
    bench.answer("libsdk_intf_destroy", 6);
    bench.give_context(svi10, 40, none, none);
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3port(&svi10));
    EXPECT_EQ(-1, l3lifpd_kvn_del_svi(&svi10));
    EXPECT_EQ(-1, l3lifpd_kvn_del_subint(&svi10));
}

TEST_F(Destruction, DeleteEventsOfNoInterfaceFail)
{
    const Steps null = error("destroy_l3_intf", "[%d]: Got %s as null.\n", line_no, "l3lif");
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3port(nullptr));
    EXPECT_TRUE(bench.did({debug("del_l3port", "Entered.\n"), null}));
    EXPECT_EQ(-1, l3lifpd_kvn_del_svi(nullptr));
    EXPECT_TRUE(bench.did({debug("del_svi", "Entered.\n"), null}));
}

TEST_F(Destruction, TunnelsAreAcceptedAndIgnored)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3tun(&eth0, 1));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3tun(nullptr, 0));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3tun(&eth0));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3tun(nullptr));
    EXPECT_TRUE(bench.did_nothing());
}

} // namespace
} // namespace kvntest
