/* The interface's context record and its making. */
#include <algorithm>
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

static_assert(sizeof(l3_pd) == 36);
static_assert(offsetof(l3_pd, word0) == 0);
static_assert(offsetof(l3_pd, intf_id) == 4 && sizeof(l3_pd::intf_id) == 2);
static_assert(offsetof(l3_pd, old_intf_id) == 6 && sizeof(l3_pd::old_intf_id) == 2);
static_assert(offsetof(l3_pd, spare) == 8 && sizeof(l3_pd::spare) == 16);
static_assert(offsetof(l3_pd, lid_id) == 24 && sizeof(l3_pd::lid_id) == 4);
static_assert(offsetof(l3_pd, pc_id) == 28 && sizeof(l3_pd::pc_id) == 4);
static_assert(offsetof(l3_pd, last_word) == 32);
static_assert(sizeof(l3pd_holder) == 2 * sizeof(void *));
static_assert(offsetof(l3pd_holder, l3_pd) == sizeof(void *));
static_assert(offsetof(l3lif, ifindex) == 0);
static_assert(offsetof(l3lif, main_l3lif) == offsetof(l3lif, pc_membership) + sizeof(void *));
static_assert(offsetof(l3lif, ip_cfg) == offsetof(l3lif, main_l3lif) + sizeof(void *));
static_assert(offsetof(l3lif, pd_ctxt) == offsetof(l3lif, ip_cfg) + sizeof(void *));
static_assert(offsetof(l3lif_pc_membership, member_count) == 8);

class Context : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
};

TEST_F(Context, FirstMadeWithoutOverwriteHoldsZeroes)
{
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 0));
    ASSERT_NE(nullptr, eth0.pd_ctxt);
    EXPECT_EQ(0u, eth0.pd_ctxt->holder_word);
    const l3_pd zero{};
    EXPECT_EQ(0, memcmp(&eth0.pd(), &zero, sizeof zero));
    EXPECT_TRUE(bench.did(context_made(eth0)));
}

TEST_F(Context, FirstMadeWithOverwriteHoldsNoIdentifiers)
{
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 1));
    l3_pd expected{};
    expected.intf_id = 0xFFFF;
    expected.lid_id = 0x0000FFFF;
    expected.pc_id = 0x0000FFFF;
    EXPECT_EQ(0, memcmp(&eth0.pd(), &expected, sizeof expected));
    EXPECT_TRUE(bench.did(context_made(eth0)));
}

TEST_F(Context, ThatExistsIsLeftAloneWithoutOverwrite)
{
    bench.give_context(eth0, 1, 2, 3);
    const l3_pd before = eth0.pd();
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 0));
    EXPECT_EQ(0, memcmp(&eth0.pd(), &before, sizeof before));
    EXPECT_TRUE(bench.did(context_kept(eth0)));
}

TEST_F(Context, ThatExistsLosesItsIdentifiersAndNothingElseWithOverwrite)
{
    bench.give_context(eth0, 1, 2, 3);
    const l3_pd *const record = &eth0.pd();
    eth0.pd().word0 = 0x11111111;
    eth0.pd().old_intf_id = 0x2222;
    std::fill_n(eth0.pd().spare, 16, uint8_t{0x33});
    eth0.pd().last_word = 0x44444444;
    l3_pd expected = eth0.pd();
    expected.intf_id = 0xFFFF;
    expected.lid_id = expected.pc_id = 0xFFFF;

    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, -1));
    EXPECT_EQ(record, &eth0.pd());
    EXPECT_EQ(0, memcmp(&eth0.pd(), &expected, sizeof expected));
    EXPECT_TRUE(bench.did(context_reset(eth0)));
}

TEST_F(Context, WithoutMemoryForTheHolderNothingIsAttached)
{
    bench.answer("malloc", 1, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_l3pd_init(&eth0, 1));
    EXPECT_EQ(nullptr, eth0.pd_ctxt);
    EXPECT_TRUE(
        bench.did({call("malloc(%zu)", sizeof(l3pd_holder)),
                   error("l3pd_init", "%s:Failed to allocate memory", "l3lifpd_kvn_l3pd_init")}));
}

TEST_F(Context, WithoutMemoryForTheRecordTheHolderStaysAndTheNextCallMakesTheRecordOnly)
{
    bench.answer("malloc", 1, 2);
    EXPECT_EQ(-1, l3lifpd_kvn_l3pd_init(&eth0, 1));
    ASSERT_NE(nullptr, eth0.pd_ctxt);
    EXPECT_EQ(0u, eth0.pd_ctxt->holder_word);
    EXPECT_EQ(nullptr, eth0.pd_ctxt->l3_pd);
    EXPECT_TRUE(bench.did({call("malloc(%zu)", sizeof(l3pd_holder)), call("malloc(36)"),
                           error("l3pd_init", "%s:Failed to create L3PD context for intf 0x%x",
                                 "l3lifpd_kvn_l3pd_init", eth0.ifindex)}));

    const l3pd_holder *const holder = eth0.pd_ctxt;
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 1));
    EXPECT_EQ(holder, eth0.pd_ctxt);
    EXPECT_TRUE(holds(eth0.pd(), none, none, none));
    EXPECT_TRUE(bench.did({call("malloc(36)"), context_reset(eth0)}));
}

TEST_F(Context, OverwriteIsAskedOfANewRecordToo)
{
    bench.answer("malloc", 1, 2);
    EXPECT_EQ(-1, l3lifpd_kvn_l3pd_init(&eth0, 0));
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 0));
    EXPECT_TRUE(holds(eth0.pd(), 0, 0, 0));
}

TEST_F(Context, IsAnErrorWhenTheAccessorGivesNone)
{
    bench.accessor_broken = true;
    EXPECT_EQ(-1, l3lifpd_kvn_l3pd_init(&eth0, 1));
    EXPECT_TRUE(bench.did({call("malloc(%zu)", sizeof(l3pd_holder)), call("malloc(36)"),
                           error("l3pd_init", "%s:l3_pd is null for ifindex %#x.\n",
                                 "l3lifpd_kvn_l3pd_init", eth0.ifindex)}));
}

TEST_F(Context, IsFetchedThroughTheAccessorOnceMade)
{
    EXPECT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 1));
    EXPECT_TRUE(bench.asked(call("L3LIFPD_GET_PD_CTXT(%#x)", eth0.ifindex)));
}

} // namespace
} // namespace kvntest
