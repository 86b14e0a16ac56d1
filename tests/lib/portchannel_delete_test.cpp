/* Ports leaving a routed port-channel, and its teardown with the last one. */
#include <algorithm>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Leaving : public testing::Test {
protected:
    Bench bench;
    Interface &po12 = bench.port_channel(12);
    Interface &eth0 = bench.member(0, po12);

    Leaving() { bench.give_context(po12, 60, 9, 5); }

    Steps entered(int destroy)
    {
        return debug("del_l3pc", "Entered. ifindex=%#x, destroy=%d\n", eth0.ifindex, destroy);
    }
    Steps asked(uint32_t pc_id = 5)
    {
        return {call("if_index_get_port(ifindex=%#x)", eth0.ifindex),
                debug("del_l3pc",
                      "[%d]: Calling libsdk_portchannel_member_delete() pc_id=%d, front_port=%d.\n",
                      line_no, pc_id, 1),
                call("libsdk_portchannel_member_delete(dev_inst=0, pc_id=%u, mask={32, byte 0 = "
                     "0x40}, pc_ifindex=%#x)",
                     pc_id, po12.ifindex)};
    }
    Steps removed(uint32_t pc_id = 5)
    {
        return {asked(pc_id),
                debug("del_l3pc",
                      "[%d]: libsdk_portchannel_member_delete succeeded for pc_id %d front_port "
                      "%d\n",
                      line_no, pc_id, 1)};
    }
    Steps lid_destroyed(uint32_t lid_id = 9)
    {
        return {debug("del_l3pc", "[%d]: Calling libsdk_lid_entry_destroy, lid_id=%d.\n", line_no,
                      lid_id),
                call("libsdk_lid_entry_destroy(dev_inst=0, lid_id=%u)", lid_id)};
    }
    Steps channel_destroyed(uint32_t pc_id = 5)
    {
        return {debug("del_l3pc", "[%d]: Calling libsdk_portchannel_destroy, pc_id=%d.\n", line_no,
                      pc_id),
                call("libsdk_portchannel_destroy(dev_inst=0, pc_id=%u)", pc_id)};
    }
};

TEST_F(Leaving, WithoutDestroyOnlyRemovesThePort)
{
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 0));
    EXPECT_TRUE(bench.did({entered(0), removed()}));
    EXPECT_TRUE(holds(po12.pd(), 60, 9, 5));
    EXPECT_EQ(0u, po12.pd_state);
}

TEST_F(Leaving, WithDestroyTearsDownLidThenInterfaceThenPortChannel)
{
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did({entered(1), removed(), lid_destroyed(), interface_destroyed(po12, 60),
                           channel_destroyed()}));
    EXPECT_TRUE(holds(po12.pd(), none, none, none));
    EXPECT_EQ(60u, po12.pd().old_intf_id);
    EXPECT_EQ(4u, po12.pd_state);
}

TEST_F(Leaving, AnyNonZeroDestroyDestroys)
{
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, -2));
    EXPECT_TRUE(bench.did({entered(-2), removed(), lid_destroyed(), interface_destroyed(po12, 60),
                           channel_destroyed()}));
}

TEST_F(Leaving, WithoutAnInterfaceOrAPortChannelFailsBeforeTheEntryRecord)
{
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(nullptr, 1));
    EXPECT_TRUE(bench.did(error("del_l3pc", "[%d]: Got %s as null.\n", line_no, "l3lif")));
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&po12, 1));
    EXPECT_TRUE(
        bench.did(error("del_l3pc", "[%d]: Got %s as null.\n", line_no, "l3lif->main_l3lif")));
}

TEST_F(Leaving, ARoutedPortFailsAtDebugLevelUnlikeItsJoining)
{
    for (int destroy : {0, 1}) {
        for (uint32_t intf_id : {0u, 70u, 65534u}) {
            bench.give_context(eth0, intf_id, 100, none);
            EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth0, destroy));
            EXPECT_TRUE(bench.did(
                {entered(destroy),
                 debug("del_l3pc", "[%d]: intf_id=%d already exists for member intf %#x.\n",
                       line_no, intf_id, eth0.ifindex)}));
        }
    }
    EXPECT_TRUE(holds(po12.pd(), 60, 9, 5));
}

TEST_F(Leaving, APortThatOnceWasRoutedIsRemoved)
{
    bench.give_context(eth0, none, 1, 2);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 0));
    EXPECT_TRUE(bench.did({entered(0), removed()}));
}

TEST_F(Leaving, StopsWhenTheSdkRefusesTheMemberAlsoWithDestroy)
{
    bench.answer("libsdk_portchannel_member_delete", 9);
    for (int destroy : {0, 1}) {
        EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth0, destroy));
        EXPECT_TRUE(bench.did(
            {entered(destroy), asked(),
             error("del_l3pc",
                   "%s: libsdk_portchannel_member_delete failed for pc_id %d front_port %d\n",
                   "l3lifpd_kvn_del_l3pc", 5, 1)}));
    }
    EXPECT_TRUE(holds(po12.pd(), 60, 9, 5));
}

TEST_F(Leaving, StopsWhenTheLidCannotBeDestroyed)
{
    bench.answer("libsdk_lid_entry_destroy", -9);
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(1), removed(), lid_destroyed(),
         error("del_l3pc", "[%d]: libsdk_lid_entry_destroy returned rc=%d pc %#x, lid_id %d.\n",
               line_no, -9, po12.ifindex, 9)}));
    EXPECT_TRUE(holds(po12.pd(), 60, 9, 5));
}

TEST_F(Leaving, StopsWhenTheInterfaceCannotBeDestroyed)
{
    bench.answer("libsdk_intf_destroy", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth0, 1));
    const Journal &journal = bench.journal;
    EXPECT_TRUE(same_journal(
        Journal(journal.end() - 2, journal.end()),
        Steps{error("destroy_l3_intf", "%s:Failed to destroy interface %#x with intf-id %d.\n",
                    "l3lifpd_kvn_destroy_l3_intf", po12.ifindex, 60),
              error("del_l3pc",
                    "Could not destroy pc %#x pc_id=%d.l3lifpd_kvn_destroy_l3_intf() returned "
                    "rc=%d.\n",
                    po12.ifindex, 5, -1)}));
    EXPECT_TRUE(holds(po12.pd(), 60, 9, 5));
}

TEST_F(Leaving, ReportsAPortChannelThatStaysInTheSdkThoughItsContextIsCleared)
{
    bench.answer("libsdk_portchannel_destroy", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(1), removed(), lid_destroyed(), interface_destroyed(po12, 60), channel_destroyed(),
         error("del_l3pc",
               "Could not destroy port channel pc_id=%d in sdk.libsdk_portchannel_destroy() "
               "returned rc=%d.\n",
               5, 9)}));
    EXPECT_TRUE(holds(po12.pd(), none, none, none));
}

TEST_F(Leaving, APortChannelWithoutAnInterfaceKeepsItsOldIdentifiers)
{
    bench.give_context(po12, none, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did({entered(1), removed(), lid_destroyed(),
                           debug("destroy_l3_intf", "Entered. ifindex=%#x.\n", po12.ifindex),
                           intf_id_found(po12.ifindex, 65535),
                           debug("destroy_l3_intf",
                                 "[%d]: intf_id already cleared for ifindex %#x. Return success.\n",
                                 line_no, po12.ifindex),
                           channel_destroyed()}));
    EXPECT_TRUE(holds(po12.pd(), none, 9, 5));
    EXPECT_EQ(0u, po12.pd_state);
}

TEST_F(Leaving, AnUnregisteredPortChannelsLidIsNone)
{
    po12.registered = false;
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(1), removed(), error("get_lid_id_for_ifindex", "l3lif is NULL.\n"),
         lid_destroyed(65535), debug("destroy_l3_intf", "Entered. ifindex=%#x.\n", po12.ifindex),
         no_intf_id(po12.ifindex),
         debug("destroy_l3_intf",
               "[%d]: intf_id already cleared for ifindex %#x. Return success.\n", line_no,
               po12.ifindex),
         channel_destroyed()}));
}

TEST_F(Leaving, EachPortHasItsBitMostSignificantFirst)
{
    for (uint32_t port : {6u, 7u, 8u, 30u, 254u, 255u}) {
        Interface &eth = bench.member(port, po12);
        const uint32_t front_port = (port + 1) % 256;
        EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth, 0));
        const std::string expected =
            text("libsdk_portchannel_member_delete(dev_inst=0, pc_id=5, mask={32, byte %u = %#x}, "
                 "pc_ifindex=%#x)",
                 front_port / 8, 0x80u >> front_port % 8, po12.ifindex);
        EXPECT_EQ(1, std::count(bench.journal.begin(), bench.journal.end(), expected));
        bench.forget();
    }
}

} // namespace
} // namespace kvntest
