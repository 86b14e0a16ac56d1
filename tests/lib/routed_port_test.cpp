/* Creation of a routed physical port, and of a routed port-channel's interface. */
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class RoutedPort : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
    const RoutedInterface made{eth0, 501, 100, none};

    Steps entered(int create = 1)
    {
        return {debug("add_l3port", "ifindex %#x create %d\n", eth0.ifindex, create),
                no_intf_id(eth0.ifindex)};
    }
    Steps created()
    {
        return {create_announced(made), sdk_create(1, "1, 0, 0, 0, 0"),
                debug("add_l3port", "[%d]:libsdk_intf_create() returned, sdk intf_id=%d.\n",
                      line_no, 501)};
    }
    /* A failure before the context: nothing is recorded. */
    void expect_unrecorded()
    {
        EXPECT_EQ(nullptr, eth0.pd_ctxt);
        EXPECT_EQ(0u, eth0.pd_state);
    }
};

TEST_F(RoutedPort, IsCreatedFromItsLayer2LidToItsDefaults)
{
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth0, 501, 100)));
    EXPECT_TRUE(holds(eth0.pd(), 501, 100, none));
    EXPECT_EQ(3u, eth0.pd_state);
}

TEST_F(RoutedPort, WritesTheseCallsAndNoOthers)
{
    /* Spelled out once in full, from the text of the calls alone. */
    bench.give_ip(eth0, 1, 1, 9216, 0);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    Journal calls;
    for (const std::string &line : bench.journal)
        if (line.rfind("debug ", 0) != 0)
            calls.push_back(line);
    bench.forget();
    const std::string holder = std::to_string(2 * sizeof(void *));
    EXPECT_TRUE(same_journal(
        calls,
        {"fwmpd_kvn_if_index_lid_id(ifindex=0x10000)",
         "libsdk_switch_config_get(dev_inst=0, item=38, request={100, 0, 0, 0, 0, 0, 0, 0})",
         "fwm_pm_sdb_store(key={1, 0x10000}, data={900, 0, 0})",
         "fwmpd_pc_member_intf_store(ifindex=0x10000, intf_id=65535, flag=0)",
         "if_index_get_port(ifindex=0x10000)", "fwmpd_kavelin_batch_flush()",
         "libsdk_intf_create(dev_inst=0, intf_type=1, params={1, 0, 0, 0, 0}, *intf_id=65535)",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=1, value={100, 0, 0})",
         "if_index_get_port(ifindex=0x10000)",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=14, value={1, 0, 0})",
         "malloc(" + holder + ")", "malloc(36)",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=36, value={1, 0, 0})",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=37, value={1, 0, 0})",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=60, value={9216, 0, 0})",
         "l3lif_update_sdb_for_intf(l3lif=0x10000)",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=58, value={1, 0, 0})",
         "fwmpd_kvn_init_l3_label(ifindex=0x10000, enable=1, svi=0)",
         "libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=54, value={16, 0, 0})"}));
}

TEST_F(RoutedPort, GetsTheDefaultsOfItsIpConfiguration)
{
    bench.give_ip(eth0, 1, 1, 9216, 0);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth0, 501, 100)));
}

TEST_F(RoutedPort, CreateFlagIsOnlyTraced)
{
    for (int create : {0, -5}) {
        Interface &eth = bench.routed_port(static_cast<uint32_t>(10 - create));
        EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth, create));
        EXPECT_EQ("debug l3lifpd_kvn_add_l3port \"ifindex %#x create %d\\n\" " +
                      quoted(text("ifindex %#x create %d\n", eth.ifindex, create)),
                  bench.journal.at(0));
        bench.forget();
        EXPECT_EQ(3u, eth.pd_state);
    }
}

TEST_F(RoutedPort, NumbersArePlusOneInEightBits)
{
    Interface &eth254 = bench.routed_port(254);
    Interface &eth255 = bench.routed_port(255);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth254, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth254, 501, 354)));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth255, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth255, 502, 355)));
}

TEST_F(RoutedPort, OfNoInterfaceFails)
{
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(nullptr, 1));
    EXPECT_TRUE(bench.did(error("add_l3port", "L3 interface is NULL. Returning failure.\n")));
}

TEST_F(RoutedPort, ThatExistsIsLeftAlone)
{
    for (uint32_t intf_id : {1u, 65534u}) {
        bench.give_context(eth0, intf_id, 2, 3);
        EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
        EXPECT_TRUE(bench.did({debug("add_l3port", "ifindex %#x create %d\n", eth0.ifindex, 1),
                               intf_id_found(eth0.ifindex, intf_id),
                               debug("add_l3port", "l3lif_pd intf already exists. Exiting.\n")}));
        EXPECT_TRUE(holds(eth0.pd(), intf_id, 2, 3));
        EXPECT_EQ(0u, eth0.pd_state);
    }
}

TEST_F(RoutedPort, WithAContextMadeWithoutOverwriteCountsAsCreated)
{
    ASSERT_EQ(0, l3lifpd_kvn_l3pd_init(&eth0, 0));
    bench.forget();
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did({debug("add_l3port", "ifindex %#x create %d\n", eth0.ifindex, 1),
                           intf_id_found(eth0.ifindex, 0),
                           debug("add_l3port", "l3lif_pd intf already exists. Exiting.\n")}));
}

TEST_F(RoutedPort, WithAClearedContextIsCreatedInTheSameRecord)
{
    bench.give_context(eth0, none, none, none);
    const l3_pd *const record = &eth0.pd();
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(record, &eth0.pd());
    EXPECT_TRUE(holds(eth0.pd(), 501, 100, none));
    EXPECT_TRUE(bench.did({debug("add_l3port", "ifindex %#x create %d\n", eth0.ifindex, 1),
                           intf_id_found(eth0.ifindex, 65535), port_bound(eth0, 100), created(),
                           lid_bound("add_l3port", 501, 100), tag_set(made), context_reset(eth0),
                           routed_interface_finished(made)}));
}

TEST_F(RoutedPort, WithoutALayer2LidMakesNoSdkCall)
{
    bench.answer("fwmpd_kvn_if_index_lid_id", 4);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(), call("fwmpd_kvn_if_index_lid_id(ifindex=%#x)", eth0.ifindex),
         error("add_l3port", "%s[%d]: fwmpd_kvn_if_index_lid_id returned rc=%d, ifindex=%#x\n",
               "l3lifpd_kvn_add_l3port", line_no, 4, eth0.ifindex)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, WhoseLidHasNoIfmapIndexIsNotCreated)
{
    bench.answer("libsdk_switch_config_get", 4);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    const Steps bound = port_bound(eth0, 100);
    Steps so_far = entered();
    so_far.insert(so_far.end(), bound.begin(), bound.begin() + 4);
    EXPECT_TRUE(
        bench.did({so_far, error("if_update_sdb", "Could not get ifmap_idx for lid_id %d.\n", 100),
                   error("add_l3port", "l3lifpd_kvn_if_set_lid for %#x failed\n", eth0.ifindex)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, WhoseBindingCannotBeStoredIsNotCreated)
{
    bench.answer("fwm_pm_sdb_store", -1);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    const Steps bound = port_bound(eth0, 100);
    Steps so_far = entered();
    so_far.insert(so_far.end(), bound.begin(), bound.begin() + 5);
    EXPECT_TRUE(bench.did(
        {so_far, error("if_update_sdb", "Failed to store pm_sdb for if_index %#x.\n", eth0.ifindex),
         error("add_l3port", "l3lifpd_kvn_if_set_lid for %#x failed\n", eth0.ifindex)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, ThatTheSdkRefusesIsNotRecorded)
{
    bench.answer("libsdk_intf_create", -7);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(), port_bound(eth0, 100), create_announced(made), sdk_create(1, "1, 0, 0, 0, 0"),
         error("add_l3port", "%s:libsdk_intf_create() returned %d for ifindex %#x.\n",
               "l3lifpd_kvn_add_l3port", -7, eth0.ifindex)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, ThatCannotBeBoundToItsLidLeavesTheSdkInterfaceBehind)
{
    bench.answer("libsdk_intf_attr_set", 7, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(), port_bound(eth0, 100), created(), lid_bound("add_l3port", 501, 100),
         error("add_l3port", "%s:libsdk_intf_attr_set() returned %d for intf_id=%d lid_id=%d.\n",
               "l3lifpd_kvn_add_l3port", 7, 501, 100)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, WhoseTagIsRefusedReturnsTheSdksOwnStatusAndStaysUnrecorded)
{
    bench.answer("libsdk_intf_attr_set", 7, 2);
    EXPECT_EQ(7, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(
        {entered(), port_bound(eth0, 100), created(), lid_bound("add_l3port", 501, 100),
         tag_set(made),
         error("add_l3port", "intf_attr_set failed rc = %d for DefSgt. %s=%d\n", 7, "port", 1)}));
    expect_unrecorded();
}

TEST_F(RoutedPort, AfterAFailureWithAnSdkInterfaceTheNextCallCreatesANewOne)
{
    bench.answer("libsdk_intf_attr_set", 7, 2);
    EXPECT_EQ(7, l3lifpd_kvn_add_l3port(&eth0, 1));
    bench.forget();
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth0, 502, 100)));
    EXPECT_TRUE(holds(eth0.pd(), 502, 100, none));
}

TEST_F(RoutedPort, WithoutMemoryForItsContextReturnsTheInitialisationsResult)
{
    for (int allocation : {1, 2}) {
        Bench fresh;
        Interface &eth = fresh.routed_port(0);
        fresh.answer("malloc", 1, allocation);
        EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&eth, 1));
        EXPECT_EQ("error l3lifpd_kvn_add_l3port \"%d: l3_pd initialization failed. Returned rc = "
                  "%d.\\n\" \"0: l3_pd initialization failed. Returned rc = -1.\\n\"",
                  fresh.journal.back());
        EXPECT_EQ(0u, eth.pd_state);
    }
    install(&bench);
}

TEST_F(RoutedPort, KeepsTheSdksIdentifierWholeUntilItIsRecordedIn16Bits)
{
    bench.give("libsdk_intf_create", 0x12345);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(0x2345u, eth0.pd().intf_id);
    EXPECT_TRUE(bench.did(routed_port_created(eth0, 0x12345, 100)));
}

TEST_F(RoutedPort, IgnoresTheResultsOfServicesThatCannotFailIt)
{
    for (const char *service :
         {"fwmpd_pc_member_intf_store", "if_index_get_port", "fwmpd_kavelin_batch_flush",
          "l3lif_update_sdb_for_intf", "fwmpd_kvn_init_l3_label"})
        bench.answer(service, -1);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(bench.did(routed_port_created(eth0, 501, 100)));
}

TEST_F(RoutedPort, IsCreatedEvenWhenNoneOfItsPropertiesCanBeWritten)
{
    bench.decide = [this](const std::string &call, int32_t status) {
        return call == "libsdk_intf_attr_set" && eth0.pd_ctxt ? 5 : status;
    };
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(3u, bench.failures.size()); /* MTU, same interface, IGMP snooping label */
    EXPECT_EQ(3u, eth0.pd_state);
    EXPECT_TRUE(holds(eth0.pd(), 501, 100, none));
}

/* ---- a port-channel's interface ---- */

class RoutedPortChannel : public testing::Test {
protected:
    Bench bench;
    Interface &po12 = bench.port_channel(12);
    const RoutedInterface made{po12, 501, 9, 5};
};

TEST_F(RoutedPortChannel, IsCreatedOnItsPcIdAndKeepsIt)
{
    bench.give_context(po12, none, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_TRUE(bench.did(port_channel_interface_created(made)));
    EXPECT_TRUE(holds(po12.pd(), 501, 9, 5));
    EXPECT_EQ(3u, po12.pd_state);
}

TEST_F(RoutedPortChannel, TagIsTheChannelPlusOneWithTheTopBitSet)
{
    bench.give_context(po12, none, 9, 5);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    const std::string tag = text("libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=14, "
                                 "value={%u, 0, 0})",
                                 0x800D);
    EXPECT_EQ(1, std::count(bench.journal.begin(), bench.journal.end(), tag));
}

TEST_F(RoutedPortChannel, TagIsCutTo16BitsButItsFailureNamesTheWholeNumber)
{
    Interface &po = bench.port_channel(0x12345);
    bench.give_context(po, none, 9, 5);
    bench.answer("libsdk_intf_attr_set", 8, 2);
    EXPECT_EQ(8, l3lifpd_kvn_add_l3port(&po, 1));
    ASSERT_GE(bench.journal.size(), 2u);
    EXPECT_EQ(text("libsdk_intf_attr_set(dev_inst=0, intf_id=501, attr=14, value={%u, 0, 0})",
                   0x2346 | 0x8000),
              bench.journal[bench.journal.size() - 2]);
    EXPECT_TRUE(same_journal(
        {bench.journal.back()},
        error("add_l3port", "intf_attr_set failed rc = %d for DefSgt. %s=%d\n", 8, "PO", 0x12346)));
    EXPECT_TRUE(holds(po.pd(), none, 9, 5));
    EXPECT_EQ(0u, po.pd_state);
}

TEST_F(RoutedPortChannel, WithoutALidIsBoundToNoneAllTheSame)
{
    bench.give_context(po12, none, none, 5);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_TRUE(bench.did(port_channel_interface_created({po12, 501, 65535, 5})));
    EXPECT_TRUE(holds(po12.pd(), 501, 65535, 5));
}

TEST_F(RoutedPortChannel, ThatIsNotRegisteredUsesNoLidAndItsOwnPcId)
{
    bench.give_context(po12, 7, 9, 5);
    po12.registered = false;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    const Journal journal = bench.journal;
    EXPECT_TRUE(same_journal(
        Journal(journal.begin(), journal.begin() + 5),
        Steps{debug("add_l3port", "ifindex %#x create %d\n", po12.ifindex, 1),
              no_intf_id(po12.ifindex),
              debug("add_l3port", "[%d]: L3 interface is PC, ifindex %#x\n", line_no, po12.ifindex),
              error("get_lid_id_for_ifindex", "l3lif is NULL.\n"),
              debug("add_l3port", "[%d]: Got lid id = %d from l3 lif ifindex %#x.\n", line_no,
                    65535, po12.ifindex)}));
    EXPECT_EQ(call("libsdk_intf_create(dev_inst=0, intf_type=1, params={5, 0, 1, 0, 0}, "
                   "*intf_id=65535)")[0],
              journal.at(7));
}

TEST_F(RoutedPortChannel, ThatTheSdkRefusesKeepsItsContext)
{
    bench.give_context(po12, none, 9, 5);
    bench.answer("libsdk_intf_create", 3);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_TRUE(
        same_journal({bench.journal.back()},
                     error("add_l3port", "%s:libsdk_intf_create() returned %d for ifindex %#x.\n",
                           "l3lifpd_kvn_add_l3port", 3, po12.ifindex)));
    EXPECT_TRUE(holds(po12.pd(), none, 9, 5));
}

TEST_F(RoutedPortChannel, ThatCannotBeBoundToItsLidKeepsItsContext)
{
    bench.give_context(po12, none, 9, 5);
    bench.answer("libsdk_intf_attr_set", 3, 1);
    EXPECT_EQ(-1, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_TRUE(same_journal(
        {bench.journal.back()},
        error("add_l3port", "%s:libsdk_intf_attr_set() returned %d for intf_id=%d lid_id=%d.\n",
              "l3lifpd_kvn_add_l3port", 3, 501, 9)));
    EXPECT_TRUE(holds(po12.pd(), none, 9, 5));
}

TEST_F(RoutedPortChannel, OnAMemberOfAnotherOneUsesItsOwnPcId)
{
    /* The parameter block takes the interface's own record, not the one that serves it. */
    Interface &po1 = bench.port_channel(1);
    bench.give_context(po1, none, 90, 50);
    bench.give_context(po12, none, 9, 5);
    po12.main_l3lif = &po1;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&po12, 1));
    EXPECT_EQ(1, std::count(bench.journal.begin(), bench.journal.end(),
                            "libsdk_intf_create(dev_inst=0, intf_type=1, params={5, 0, 1, 0, 0}, "
                            "*intf_id=65535)"));
}

} // namespace
} // namespace kvntest
