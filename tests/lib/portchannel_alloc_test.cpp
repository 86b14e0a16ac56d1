/* Bringing a routed port-channel into the ASIC. */
#include <algorithm>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class PortChannel : public testing::Test {
protected:
    Bench bench;
    Interface &po12 = bench.port_channel(12);
    const RoutedInterface made{po12, 501, 301, 21};

    Steps entered()
    {
        return {
            debug("alloc_l3pc_add", "Entered.\n"), no_intf_id(po12.ifindex),
            call("fwmpd_kvn_get_pc_info(ifindex=%#x, *pc_id=65535, *lid_id=65535)", po12.ifindex)};
    }
    Steps in_sdk(size_t steps)
    {
        const Steps all = port_channel_made_in_sdk(po12, 21, 301);
        Steps some;
        some.assign(all.begin(), all.begin() + static_cast<ptrdiff_t>(steps));
        return some;
    }
    Steps stored(uint32_t pc_id = 21)
    {
        return call("fwmpd_kvn_update_pc_sdb(ifindex=%#x, pc_id=%u)", po12.ifindex, pc_id);
    }
    const Steps exited = debug("alloc_l3pc_add", "Exiting.\n");
};

TEST_F(PortChannel, IsMadeWithItsLidAndItsInterface)
{
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(bench.did(port_channel_allocated(made)));
    EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
    EXPECT_EQ(3u, po12.pd_state);
}

TEST_F(PortChannel, CreateFlagIsPassedOnToTheInterface)
{
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, -4));
    EXPECT_TRUE(bench.did(port_channel_allocated(made, -4)));
}

TEST_F(PortChannel, WithAClearedContextIsMadeInTheSameRecord)
{
    bench.give_context(po12, none, 7, 8);
    const l3_pd *const record = &po12.pd();
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_EQ(record, &po12.pd());
    EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
    EXPECT_TRUE(bench.did(
        {debug("alloc_l3pc_add", "Entered.\n"), intf_id_found(po12.ifindex, 65535),
         call("fwmpd_kvn_get_pc_info(ifindex=%#x, *pc_id=65535, *lid_id=65535)", po12.ifindex),
         in_sdk(7), context_reset(po12), stored(), port_channel_interface_created(made), exited}));
}

TEST_F(PortChannel, ThatTheForwardingManagerHoldsIsAdopted)
{
    bench.adopt(33, 44);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(bench.did(
        {entered(),
         debug("alloc_l3pc_add", "Portchannel is already created with pcid %d, lid %d\n", 33, 44),
         call("fwmpd_kvn_reset_pd_pc(ifindex=%#x)", po12.ifindex), context_made(po12), stored(33),
         port_channel_interface_created({po12, 501, 44, 33}), exited}));
    EXPECT_TRUE(holds(po12.pd(), 501, 44, 33));
}

TEST_F(PortChannel, AdoptionDoesNotLookAtTheResultOfTheReset)
{
    bench.adopt(33, 44);
    bench.answer("fwmpd_kvn_reset_pd_pc", -1);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(holds(po12.pd(), 501, 44, 33));
}

TEST_F(PortChannel, OfNoInterfaceFails)
{
    EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(nullptr, 1));
    EXPECT_TRUE(bench.did(
        {debug("alloc_l3pc_add", "Entered.\n"),
         error("alloc_l3pc_add", "%s: Got l3lif as null.\n", "l3lifpd_kvn_alloc_l3pc_add")}));
}

TEST_F(PortChannel, IsRefusedUnlessItHasExactlyOneMemberEvenWhenItCouldBeAdopted)
{
    bench.adopt(33, 44);
    for (uint32_t members : {0u, 2u, 255u}) {
        po12.membership.member_count = members;
        EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
        EXPECT_TRUE(bench.did(
            {debug("alloc_l3pc_add", "Entered.\n"), no_intf_id(po12.ifindex),
             error("alloc_l3pc_add",
                   "[%d]: L3 pc creation called for ifindex %#xwhen member count is %d (should be "
                   "1).\n",
                   line_no, po12.ifindex, members)}));
        EXPECT_EQ(nullptr, po12.pd_ctxt);
    }
}

TEST_F(PortChannel, ThatExistsIsLeftAloneWhateverItsMembers)
{
    po12.membership.member_count = 7;
    for (uint32_t intf_id : {0u, 61u, 65534u}) {
        bench.give_context(po12, intf_id, 2, 3);
        EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
        EXPECT_TRUE(bench.did(
            {debug("alloc_l3pc_add", "Entered.\n"), intf_id_found(po12.ifindex, intf_id),
             intf_id_found(po12.ifindex, intf_id),
             debug("alloc_l3pc_add", "sdk_intf = %d already exists for l3lif PC ifindex %#x.\n",
                   intf_id, po12.ifindex)}));
        EXPECT_TRUE(holds(po12.pd(), intf_id, 2, 3));
    }
}

/* The "already exists" record looks its argument up anew for each enabled sink, at the moment that
 * the sink formats it. Bit 0 the debug file, bit 1 the event history, bit 2 buginf. */
class ExistingPortChannel : public testing::TestWithParam<unsigned> {
protected:
    Bench bench;
    Interface &po12 = bench.port_channel(12);
    const bool file = GetParam() & 1, history = GetParam() & 2, buginf = GetParam() & 4;

    /* A debug record's way through the sinks that are on; before runs ahead of each formatting. */
    Steps through_sinks(const std::string &function, const std::string &message, int32_t line,
                        const Steps &before)
    {
        Steps steps = {before, "fwm_ds_trace_add " + quoted(message)};
        const std::string prefix = "[NOW]DBG: " + function + "(" + std::to_string(line) + "): ";
        if (file && before.empty())
            steps = {steps, "dbg_out_file " + quoted(prefix + message),
                     std::string("fwm_check_flush_dbg_out_file")};
        else if (file)
            steps = {steps, "dbg_out_file " + quoted(prefix), before,
                     "dbg_out_file " + quoted(message),
                     std::string("fwm_check_flush_dbg_out_file")};
        steps = {steps, std::string("sdwrap_hist_event_subtype_check 0x730000 104")};
        if (history)
            steps = {steps, before,
                     "sdwrap_hist_event " + std::to_string(message.size() + 5) + " 104 " +
                         quoted(message)};
        steps = {steps, std::string("sdwrap_chk_int 104 0 0 1")};
        if (buginf)
            steps = {steps, before, "buginf " + quoted(message)};
        return steps;
    }
};

TEST_P(ExistingPortChannel, IsLookedUpAnewForEachSinkWhenThatSinkFormatsIt)
{
    bench.give_context(po12, 61, 2, 3);
    bench.set_sinks({file, history, buginf});
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));

    const std::vector<Record> records = bench.records;
    const size_t nested = 1u + file + history + buginf;
    ASSERT_EQ(3 + nested, records.size());
    const Record &entry = records[0];
    const Record &lookup = records[1];
    const std::string exists =
        text("sdk_intf = %d already exists for l3lif PC ifindex %#x.\n", 61, po12.ifindex);
    const auto message = std::find_if(records.begin(), records.end(),
                                      [&](const Record &r) { return r.text == exists; });
    ASSERT_NE(records.end(), message);

    const Steps looked_up = through_sinks(lookup.function, lookup.text, lookup.line, {});
    EXPECT_TRUE(bench.sinks_saw(
        {through_sinks(entry.function, entry.text, entry.line, {}), looked_up,
         through_sinks("l3lifpd_kvn_alloc_l3pc_add", exists, message->line, looked_up)}));
}

TEST_P(ExistingPortChannel, NamesWhatEachLookupFindsAtItsMoment)
{
    bench.give_context(po12, 61, 2, 3);
    bench.set_sinks({file, history, buginf});
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    const size_t lookups = static_cast<size_t>(
        std::count_if(bench.records.begin(), bench.records.end(), [](const Record &record) {
            return record.function == "l3lifpd_kvn_get_intf_id_for_ifindex";
        }));
    EXPECT_EQ(2u + file + history + buginf, lookups);
}

INSTANTIATE_TEST_SUITE_P(, ExistingPortChannel, testing::Range(0u, 8u));

TEST_F(PortChannel, ThatTheSdkRefusesLeavesNothing)
{
    bench.answer("libsdk_portchannel_create", -9);
    EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(bench.did(
        {entered(), in_sdk(2),
         error("alloc_l3pc_add", "%s:libsdk_portchannel_create returned %d for ifindex %#x.\n",
               "l3lifpd_kvn_alloc_l3pc_add", -9, po12.ifindex)}));
    EXPECT_EQ(nullptr, po12.pd_ctxt);
}

TEST_F(PortChannel, WithoutALidStaysAllocatedInTheSdk)
{
    bench.answer("libsdk_lid_entry_create", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(bench.did({entered(), in_sdk(4),
                           error("alloc_l3pc_add", "[%d]: Error getting kvn lid id for pc %#x.\n",
                                 line_no, po12.ifindex)}));
    EXPECT_EQ(nullptr, po12.pd_ctxt);
}

TEST_F(PortChannel, WithoutALidPathLeavesItsContextUntouched)
{
    bench.give_context(po12, none, 7, 8);
    bench.answer("libsdk_lid_entry_path_add", 9);
    EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(holds(po12.pd(), none, 7, 8));
    EXPECT_TRUE(bench.did(
        {debug("alloc_l3pc_add", "Entered.\n"), intf_id_found(po12.ifindex, 65535),
         call("fwmpd_kvn_get_pc_info(ifindex=%#x, *pc_id=65535, *lid_id=65535)", po12.ifindex),
         in_sdk(7),
         error("alloc_l3pc_add", "%s: Unable to update lid entry in libsdk.\n",
               "l3lifpd_kvn_alloc_l3pc_add")}));
}

TEST_F(PortChannel, WithoutMemoryForItsContextReturnsTheInitialisationsResult)
{
    bench.answer("malloc", 1, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(
        bench.did({entered(), in_sdk(7), call("malloc(%zu)", sizeof(l3pd_holder)),
                   error("l3pd_init", "%s:Failed to allocate memory", "l3lifpd_kvn_l3pd_init"),
                   error("alloc_l3pc_add", "%d: l3_pd initialization failed. Returned rc = %d.\n",
                         line_no, -1)}));
}

TEST_F(PortChannel, CarriesOnWhenTheDatabaseRefuses)
{
    bench.answer("fwmpd_kvn_update_pc_sdb", 9);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(
        bench.did({entered(), in_sdk(7), context_made(po12), stored(),
                   error("alloc_l3pc_add", "fwm SDB update for pc id = %d, ifindex=%#x failed\n",
                         21, po12.ifindex),
                   port_channel_interface_created(made), exited}));
    EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
}

TEST_F(PortChannel, SucceedsDeliberatelyWithoutItsInterface)
{
    Interface &main = bench.routed_port(9);
    po12.main_l3lif = &main;
    bench.answer("libsdk_intf_create", 9);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    const Journal &journal = bench.journal;
    ASSERT_GE(journal.size(), 3u);
    EXPECT_TRUE(same_journal(
        Journal(journal.end() - 3, journal.end()),
        Steps{error("add_l3port", "%s:libsdk_intf_create() returned %d for ifindex %#x.\n",
                    "l3lifpd_kvn_add_l3port", 9, po12.ifindex),
              error("alloc_l3pc_add", "l3 interface create for pc id = %d, ifindex=%#x failed\n",
                    21, po12.ifindex),
              exited}));
    EXPECT_TRUE(holds(po12.pd(), none, 301, 21));
    EXPECT_EQ(0u, po12.pd_state);
    EXPECT_EQ(3u, main.pd_state);
}

TEST_F(PortChannel, WithoutItsInterfaceIsMadeAnewByTheNextCall)
{
    bench.answer("libsdk_intf_create", 9, 1);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(holds(po12.pd(), 501, 302, 22));
}

TEST_F(PortChannel, StateIsWrittenOnItsMainInterfaceDeliberately)
{
    Interface &main = bench.routed_port(9);
    main.pd_state = 1;
    po12.main_l3lif = &main;
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_EQ(3u, main.pd_state);
    EXPECT_EQ(3u, po12.pd_state); /* by the interface's own creation */
}

TEST_F(PortChannel, KeepsTheSdksIdentifiersInAll32Bits)
{
    bench.give("libsdk_portchannel_create", 0x12345678);
    bench.give("libsdk_lid_entry_create", 0x87654321);
    EXPECT_EQ(0, l3lifpd_kvn_alloc_l3pc_add(&po12, 1));
    EXPECT_TRUE(holds(po12.pd(), 501, 0x87654321, 0x12345678));
    EXPECT_TRUE(bench.did(port_channel_allocated({po12, 501, 0x87654321, 0x12345678})));
}

} // namespace
} // namespace kvntest
