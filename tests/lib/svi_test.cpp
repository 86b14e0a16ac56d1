/* Creation of a switched virtual interface. */
#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Svi : public testing::Test {
protected:
    Bench bench;
    Interface &svi10 = bench.svi(10);

    const Steps entered = debug("add_svi", "Entered.\n");
    Steps announced()
    {
        return debug("add_svi",
                     "[%d]:libsdk_intf_create() called, dev_inst=%d,SDK Interface_type=%d, "
                     "param1(encap_vlan)=%d, param2(svif)=%d, param3(pc/pif)=%d.\n",
                     line_no, 0, 3, 10, 0, 0);
    }
    Steps created()
    {
        return {announced(), sdk_create(3, "10, 0, 0, 0, 0"),
                debug("add_svi", "[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n", line_no,
                      501)};
    }
    Steps finished()
    {
        return {default_properties(svi10, 501),
                call("fwmpd_kvn_init_l3_label(ifindex=%#x, enable=1, svi=1)", svi10.ifindex),
                debug("add_svi", "Exiting.\n")};
    }
};

TEST_F(Svi, IsCreatedOnItsVlanWithoutALid)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(bench.did(
        {entered, no_intf_id(svi10.ifindex), created(), context_made(svi10), finished()}));
    EXPECT_TRUE(holds(svi10.pd(), 501, none, none));
}

TEST_F(Svi, StateIsLeftAlone)
{
    svi10.pd_state = 77;
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_EQ(77u, svi10.pd_state);
}

TEST_F(Svi, OfNoInterfaceFailsAfterTheEntryRecord)
{
    EXPECT_EQ(-1, l3lifpd_kvn_add_svi(nullptr, 10));
    EXPECT_TRUE(bench.did(entered));
}

TEST_F(Svi, ThatExistsIsLeftAlone)
{
    for (uint32_t intf_id : {0u, 51u, 65534u}) {
        bench.give_context(svi10, intf_id, 2, 3);
        EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 11));
        EXPECT_TRUE(bench.did({entered, intf_id_found(svi10.ifindex, intf_id)}));
        EXPECT_TRUE(holds(svi10.pd(), intf_id, 2, 3));
    }
}

TEST_F(Svi, WithAClearedContextIsCreatedInTheSameRecord)
{
    bench.give_context(svi10, none, 2, 3);
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(bench.did({entered, intf_id_found(svi10.ifindex, 65535), created(),
                           context_reset(svi10), finished()}));
    EXPECT_TRUE(holds(svi10.pd(), 501, none, none));
}

TEST_F(Svi, ThatTheSdkRefusesFailsWithTheStatusPrintedSigned)
{
    bench.answer("libsdk_intf_create", -7);
    EXPECT_EQ(-1, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(
        bench.did({entered, no_intf_id(svi10.ifindex), announced(), sdk_create(3, "10, 0, 0, 0, 0"),
                   error("add_svi", "%s:libsdk_intf_create returned %d for ifindex %#x.\n",
                         "l3lifpd_kvn_add_svi", -7, svi10.ifindex)}));
    EXPECT_EQ(nullptr, svi10.pd_ctxt);
}

TEST_F(Svi, WithoutMemoryForItsContextDeliberatelyLeavesTheSdkInterfaceBehind)
{
    bench.answer("malloc", 1, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_TRUE(bench.did(
        {entered, no_intf_id(svi10.ifindex), created(), call("malloc(%zu)", sizeof(l3pd_holder)),
         error("l3pd_init", "%s:Failed to allocate memory", "l3lifpd_kvn_l3pd_init"),
         error("add_svi", "%d: l3_pd initialization failed. Returned rc = %d.\n", line_no, -1)}));
    EXPECT_EQ(nullptr, svi10.pd_ctxt);
}

TEST_F(Svi, KeepsTheSdksIdentifierWholeUntilItIsRecordedIn16Bits)
{
    bench.give("libsdk_intf_create", 0x12345);
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_EQ(0x2345u, svi10.pd().intf_id);
    EXPECT_TRUE(
        same_journal({bench.journal.at(5)},
                     debug("add_svi", "[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n",
                           line_no, 0x12345)));
}

} // namespace
} // namespace kvntest
