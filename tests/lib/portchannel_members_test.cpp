/* Ports joining a routed port-channel. */
#include <algorithm>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Joining : public testing::Test {
protected:
    Bench bench;
    Interface &po12 = bench.port_channel(12);
    Interface &eth0 = bench.member(0, po12);
    Interface &eth7 = bench.member(7, po12);

    Steps entered(const Interface &eth, int create)
    {
        return debug("add_l3pc", "Entered. ifindex=%#x, create=%d\n", eth.ifindex, create);
    }
    Steps channel_exists()
    {
        return debug("add_l3pc", "%d: pd PC already exists for ifindex %#x. Not created again.\n",
                     line_no, po12.ifindex);
    }
    Steps channel_made(uint32_t pc_id)
    {
        return debug("add_l3pc", "%d: PC created for ifindex %#x pc_id=%d.\n", line_no,
                     po12.ifindex, pc_id);
    }
};

TEST_F(Joining, TheFirstMemberBringsThePortChannelIntoBeing)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did({entered(eth0, 1), port_channel_allocated({po12, 501, 301, 21}),
                           channel_made(21), member_added(eth0, 21, "byte 0 = 0x40")}));
    EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
    EXPECT_EQ(nullptr, eth0.pd_ctxt);
    EXPECT_EQ(0u, eth0.pd_state);
}

TEST_F(Joining, AFurtherMemberOnlyAddsItsPort)
{
    bench.give_context(po12, 501, 301, 21);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth7, 0));
    EXPECT_TRUE(
        bench.did({entered(eth7, 0), channel_exists(), member_added(eth7, 21, "byte 1 = 0x80")}));
}

TEST_F(Joining, ASecondMemberWithCreateFindsThePortChannelThere)
{
    bench.give_context(po12, 501, 301, 21);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth7, 1));
    EXPECT_TRUE(bench.did(
        {entered(eth7, 1), debug("alloc_l3pc_add", "Entered.\n"), intf_id_found(po12.ifindex, 501),
         intf_id_found(po12.ifindex, 501),
         debug("alloc_l3pc_add", "sdk_intf = %d already exists for l3lif PC ifindex %#x.\n", 501,
               po12.ifindex),
         channel_made(21), member_added(eth7, 21, "byte 1 = 0x80")}));
}

TEST_F(Joining, AnyNonZeroCreateMakesThePortChannelAndIsPassedOn)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, -3));
    EXPECT_TRUE(bench.did({entered(eth0, -3), port_channel_allocated({po12, 501, 301, 21}, -3),
                           channel_made(21), member_added(eth0, 21, "byte 0 = 0x40")}));
}

/* The bitmap's first bit is the most significant one of byte 0 and stands for port 0. */
TEST_F(Joining, EachPortHasItsBitMostSignificantFirst)
{
    bench.give_context(po12, 501, 301, 21);
    for (uint32_t port = 0; port < 256; ++port) {
        Interface &eth = bench.member(port, po12);
        const uint32_t front_port = (port + 1) % 256;
        const uint32_t bits[] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};
        EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth, 0));
        EXPECT_TRUE(bench.did(
            {entered(eth, 0), channel_exists(),
             member_added(eth, 21,
                          text("byte %u = %#x", front_port / 8, bits[front_port % 8]).c_str())}));
    }
}

TEST_F(Joining, WithoutAnInterfaceOrAPortChannelFailsBeforeTheEntryRecord)
{
    const Steps null =
        error("add_l3pc", "%s: Got l3lif as null", "l3lifpd_kvn_add_l3pc"); /* no newline */
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3pc(nullptr, 1));
    EXPECT_TRUE(bench.did(null));
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3pc(&po12, 1));
    EXPECT_TRUE(bench.did(null));
}

TEST_F(Joining, ARoutedPortIsNotAddedAndMakesNoPortChannelButSucceeds)
{
    for (int create : {0, 1}) {
        for (uint32_t intf_id : {0u, 70u, 65534u}) {
            bench.give_context(eth0, intf_id, 100, none);
            EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, create));
            EXPECT_TRUE(bench.did(
                {entered(eth0, create),
                 debug("add_l3pc", "[%d]: intf_id=%d already exists for member intf %#x.\n",
                       line_no, intf_id, eth0.ifindex)}));
        }
    }
    EXPECT_EQ(nullptr, po12.pd_ctxt);
}

TEST_F(Joining, APortThatOnceWasRoutedIsAdded)
{
    bench.give_context(eth0, none, none, none);
    bench.give_context(po12, 501, 301, 21);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 0));
    EXPECT_TRUE(
        bench.did({entered(eth0, 0), channel_exists(), member_added(eth0, 21, "byte 0 = 0x40")}));
}

TEST_F(Joining, WithoutCreateThePortChannelIsTakenToExist)
{
    bench.give_context(po12, none, none, none);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 0));
    EXPECT_TRUE(bench.did(
        {entered(eth0, 0), channel_exists(), member_added(eth0, 65535, "byte 0 = 0x40")}));
}

TEST_F(Joining, FailsWhenThePortChannelCannotBeMade)
{
    bench.answer("libsdk_portchannel_create", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_TRUE(same_journal({bench.journal.back()},
                             error("add_l3pc", "%s: Creating PC intf failed for ifindex %#x\n",
                                   "l3lifpd_kvn_add_l3pc", po12.ifindex)));
    EXPECT_EQ(0, std::count_if(bench.journal.begin(), bench.journal.end(), [](const auto &line) {
                  return line.rfind("libsdk_portchannel_member_add", 0) == 0;
              }));
}

TEST_F(Joining, KeepsThePortChannelWhenTheSdkRefusesTheMember)
{
    bench.answer("libsdk_portchannel_member_add", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(eth0, 1), port_channel_allocated({po12, 501, 301, 21}), channel_made(21),
         call("if_index_get_port(ifindex=%#x)", eth0.ifindex),
         debug("add_l3pc",
               "[%d]: Calling libsdk_portchannel_member_add() pc_id=%d, front_port=%d.\n", line_no,
               21, 1),
         call("libsdk_portchannel_member_add(dev_inst=0, pc_id=21, mask={32, byte 0 = 0x40})"),
         error("add_l3pc", "%s: libsdk_portchannel_member_add failed for pc_id %d front_port %d\n",
               "l3lifpd_kvn_add_l3pc", 21, 1)}));
    EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
}

TEST_F(Joining, DoesNotLookAtThePortServicesResult)
{
    bench.give_context(po12, 501, 301, 21);
    bench.answer("if_index_get_port", -1);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 0));
    EXPECT_TRUE(
        bench.did({entered(eth0, 0), channel_exists(), member_added(eth0, 21, "byte 0 = 0x40")}));
}

TEST_F(Joining, MemberEventsTraceTheirSecondArgumentOnly)
{
    for (uint32_t first : {0u, 0xFFFFFFFFu, eth0.ifindex}) {
        EXPECT_EQ(0, l3lifpd_kvn_add_l3pc_member(first, 0x1234));
        EXPECT_TRUE(bench.did(debug("add_l3pc_member", "Entered for ifindex %#x\n", 0x1234)));
        EXPECT_EQ(0, l3lifpd_kvn_del_l3pc_member(first, 0x4321));
        EXPECT_TRUE(bench.did(debug("del_l3pc_member", "Entered for ifindex %#x\n", 0x4321)));
    }
}

TEST_F(Joining, SupPortMaskHooksSucceedWithoutEffect)
{
    EXPECT_EQ(0, l3lifpd_kvn_port_SupPortMask_set(&eth0));
    EXPECT_EQ(0, l3lifpd_kvn_port_SupPortMask_set(nullptr));
    EXPECT_EQ(0, l3lifpd_kvn_pc_SupPortMask_set(&eth0, &po12, 1));
    EXPECT_EQ(0, l3lifpd_kvn_pc_SupPortMask_set(nullptr, nullptr, 0));
    EXPECT_TRUE(bench.did_nothing());
}

} // namespace
} // namespace kvntest
