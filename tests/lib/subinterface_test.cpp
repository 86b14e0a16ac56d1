/* Creation of a sub-interface on its parent. */
#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class SubInterface : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
    Interface &sub = bench.sub_interface(eth0, 100);

    SubInterface() { bench.give_context(eth0, 50, 100, none); }

    Steps entered(int create = 1)
    {
        return debug("add_subint", "ifindex = %#x encap_vlan = %d create = %d\n", sub.ifindex, 100,
                     create);
    }
    Steps bound() { return lid_bound("add_subint", 501, 100); }
    Steps finished(uint32_t parent_intf = 50)
    {
        return {default_properties(sub, 501),
                call("fwmpd_kvn_init_l3_label(ifindex=%#x, enable=1, svi=0)", sub.ifindex),
                intf_id_found(eth0.ifindex, parent_intf),
                debug("add_subint", "intf_id = %d parent ifindex = %#x (intf %d)\n", 501,
                      eth0.ifindex, parent_intf)};
    }
};

TEST_F(SubInterface, IsCreatedOnItsParentsInterfaceAndLid)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(
        bench.did({entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 50),
                   sdk_create(2, "50, 100, 0, 0, 0"), bound(), context_made(sub), finished()}));
    EXPECT_TRUE(holds(sub.pd(), 501, 100, none));
    EXPECT_EQ(3u, sub.pd_state);
    EXPECT_TRUE(holds(eth0.pd(), 50, 100, none));
}

TEST_F(SubInterface, CreateFlagIsOnlyTraced)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 0));
    EXPECT_TRUE(
        bench.did({entered(0), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 50),
                   sdk_create(2, "50, 100, 0, 0, 0"), bound(), context_made(sub), finished()}));
}

TEST_F(SubInterface, VlanIsNotChecked)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 0xFFFFFFFF, 1));
    EXPECT_EQ("libsdk_intf_create(dev_inst=0, intf_type=2, params={50, 4294967295, 0, 0, 0}, "
              "*intf_id=65535)",
              bench.journal.at(4));
}

TEST_F(SubInterface, OfNoInterfaceFailsWithoutARecord)
{
    EXPECT_EQ(-1, l3lifpd_kvn_add_subint(nullptr, 100, 1));
    EXPECT_TRUE(bench.did_nothing());
}

TEST_F(SubInterface, ThatExistsIsLeftAloneWhateverIsAskedOfIt)
{
    for (uint32_t intf_id : {0u, 51u, 65534u}) {
        bench.give_context(sub, intf_id, 2, 3);
        EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 0));
        EXPECT_TRUE(bench.did({entered(0), intf_id_found(sub.ifindex, intf_id)}));
        EXPECT_TRUE(holds(sub.pd(), intf_id, 2, 3));
    }
}

TEST_F(SubInterface, WithAClearedContextIsCreatedInTheSameRecord)
{
    bench.give_context(sub, none, 2, 3);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(
        bench.did({entered(), intf_id_found(sub.ifindex, 65535), intf_id_found(eth0.ifindex, 50),
                   sdk_create(2, "50, 100, 0, 0, 0"), bound(), context_reset(sub), finished()}));
    EXPECT_TRUE(holds(sub.pd(), 501, 100, none));
}

TEST_F(SubInterface, OfAParentWithoutAnInterfaceButWithALidIsCreated)
{
    bench.give_context(eth0, none, 100, none);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(bench.did({entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 65535),
                           sdk_create(2, "65535, 100, 0, 0, 0"), bound(), context_made(sub),
                           finished(65535)}));
}

TEST_F(SubInterface, OfAMemberPortUsesThePortChannelsIdentifiers)
{
    Interface &po1 = bench.port_channel(1);
    bench.give_context(po1, 60, 300, 20);
    eth0.main_l3lif = &po1;
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(bench.did({entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 60),
                           sdk_create(2, "60, 100, 0, 0, 0"), lid_bound("add_subint", 501, 300),
                           context_made(sub), finished(60)}));
    EXPECT_TRUE(holds(sub.pd(), 501, 300, none));
}

TEST_F(SubInterface, OfAPortChannelIsCreatedOnItsInterfaceAndLid)
{
    Interface &po1 = bench.port_channel(1);
    Interface &po_sub = bench.sub_interface(po1, 7);
    bench.give_context(po1, 60, 300, 20);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&po_sub, 7, 1));
    EXPECT_TRUE(holds(po_sub.pd(), 501, 300, none));
    EXPECT_EQ("libsdk_intf_create(dev_inst=0, intf_type=2, params={60, 7, 0, 0, 0}, "
              "*intf_id=65535)",
              bench.journal.at(4));
}

TEST_F(SubInterface, WhoseMainInterfaceIsAPortChannelCountsAsItsMember)
{
    Interface &po1 = bench.port_channel(1);
    Interface &po_sub = bench.sub_interface(po1, 7);
    bench.give_context(po1, 60, 300, 20);
    po_sub.main_l3lif = &po1;
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&po_sub, 7, 1));
    EXPECT_TRUE(bench.did(
        {debug("add_subint", "ifindex = %#x encap_vlan = %d create = %d\n", po_sub.ifindex, 7, 1),
         intf_id_found(po_sub.ifindex, 60)}));
    EXPECT_EQ(nullptr, po_sub.pd_ctxt);
}

TEST_F(SubInterface, OfAParentWithoutALidAborts)
{
    const Steps assertion = {
        error("add_subint", "Parent interface's lid is invalid!\n"), call("backtrace(50)"),
        error("add_subint", "assert failure '%s'\n", "lid_id != 0xFFFF"), call("abort()")};

    bench.give_context(eth0, 50, none, none);
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&sub, 100, 1); }));
    EXPECT_TRUE(bench.did({entered(), no_intf_id(sub.ifindex), assertion}));

    Interface &eth1 = bench.routed_port(1);
    sub.parent = eth1.ifindex;
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&sub, 100, 1); }));
    EXPECT_TRUE(bench.did({entered(), no_intf_id(sub.ifindex),
                           error("get_lid_id_for_ifindex", "%d: Got l3_pd as NULL.\n", line_no),
                           assertion}));

    eth1.registered = false;
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&sub, 100, 1); }));
    EXPECT_TRUE(bench.did({entered(), no_intf_id(sub.ifindex),
                           error("get_lid_id_for_ifindex", "l3lif is NULL.\n"), assertion}));
}

TEST_F(SubInterface, ThatTheSdkRefusesFailsWithTheStatusPrintedUnsigned)
{
    bench.answer("libsdk_intf_create", -7);
    EXPECT_EQ(-1, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(
        bench.did({entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 50),
                   sdk_create(2, "50, 100, 0, 0, 0"),
                   error("add_subint", "%s:libsdk_intf_create returned %u for ifindex %#x.\n",
                         "l3lifpd_kvn_add_subint", 4294967289u, sub.ifindex)}));
    EXPECT_EQ(nullptr, sub.pd_ctxt);
    EXPECT_EQ(0u, sub.pd_state);
}

TEST_F(SubInterface, ThatCannotBeBoundDeliberatelyLeavesTheSdkInterfaceBehind)
{
    bench.answer("libsdk_intf_attr_set", -7);
    EXPECT_EQ(-1, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(bench.did(
        {entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 50),
         sdk_create(2, "50, 100, 0, 0, 0"), bound(),
         error("add_subint", "%s:libsdk_intf_attr_set() returned %u for intf_id=%d lid_id=%d.\n",
               "l3lifpd_kvn_add_subint", 4294967289u, 501, 100)}));
    EXPECT_EQ(nullptr, sub.pd_ctxt);
}

TEST_F(SubInterface, WithoutMemoryForItsContextReturnsTheInitialisationsResult)
{
    bench.answer("malloc", 1, 2);
    EXPECT_EQ(-1, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(
        bench.did({entered(), no_intf_id(sub.ifindex), intf_id_found(eth0.ifindex, 50),
                   sdk_create(2, "50, 100, 0, 0, 0"), bound(),
                   call("malloc(%zu)", sizeof(l3pd_holder)), call("malloc(36)"),
                   error("l3pd_init", "%s:Failed to create L3PD context for intf 0x%x",
                         "l3lifpd_kvn_l3pd_init", sub.ifindex),
                   error("add_subint", "l3_pd initialization failed. Returned rc = %d\n", -1)}));
    EXPECT_EQ(0u, sub.pd_state);
}

TEST_F(SubInterface, KeepsTheSdksIdentifierWholeUntilItIsRecordedIn16Bits)
{
    bench.give("libsdk_intf_create", 0x12345);
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_EQ(0x2345u, sub.pd().intf_id);
    EXPECT_TRUE(same_journal({bench.journal.back()},
                             debug("add_subint", "intf_id = %d parent ifindex = %#x (intf %d)\n",
                                   0x12345, eth0.ifindex, 50)));
}

} // namespace
} // namespace kvntest
