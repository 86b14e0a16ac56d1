/* From an interface index to the identifiers that serve it. */
#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Lookup : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
    Interface &po12 = bench.port_channel(12);
    Interface &eth1 = bench.member(1, po12);
    Interface &eth0_100 = bench.sub_interface(eth0);
    const uint32_t unknown = 0xBAD;
};

TEST_F(Lookup, FrontPortIsThePortPlusOneInEightBits)
{
    EXPECT_EQ(1u, l3lifpd_kvn_ifindex_to_port(eth0.ifindex));
    EXPECT_EQ(2u, l3lifpd_kvn_ifindex_to_port(eth1.ifindex));
    EXPECT_EQ(255u, l3lifpd_kvn_ifindex_to_port(bench.routed_port(254).ifindex));
    EXPECT_EQ(0u, l3lifpd_kvn_ifindex_to_port(bench.routed_port(255).ifindex));
}

TEST_F(Lookup, FrontPortIgnoresTheResultOfThePortService)
{
    bench.answer("if_index_get_port", -1);
    EXPECT_EQ(2u, l3lifpd_kvn_ifindex_to_port(eth1.ifindex));
    EXPECT_TRUE(bench.did(call("if_index_get_port(ifindex=%#x)", eth1.ifindex)));
}

TEST_F(Lookup, AMemberIsAnInterfaceWhoseMainInterfaceIsAPortChannel)
{
    EXPECT_EQ(1u, l3lifpd_kvn_is_lif_pc_member(&eth1));
    EXPECT_EQ(0u, l3lifpd_kvn_is_lif_pc_member(&eth0));
    EXPECT_EQ(0u, l3lifpd_kvn_is_lif_pc_member(&po12));
    EXPECT_EQ(0u, l3lifpd_kvn_is_lif_pc_member(&eth0_100));
    EXPECT_EQ(1u, l3lifpd_kvn_is_ifindex_pc_member(eth1.ifindex));
    EXPECT_EQ(0u, l3lifpd_kvn_is_ifindex_pc_member(eth0.ifindex));
    EXPECT_EQ(0u, l3lifpd_kvn_is_ifindex_pc_member(eth0_100.ifindex));
    EXPECT_TRUE(bench.did_nothing());
}

TEST_F(Lookup, NoInterfaceIsNoMemberAndNothingIsAsked)
{
    EXPECT_EQ(0u, l3lifpd_kvn_is_lif_pc_member(nullptr));
    EXPECT_TRUE(bench.asked({}));
    EXPECT_EQ(0u, l3lifpd_kvn_is_lif_pc_member(&eth0));
    EXPECT_TRUE(bench.asked({}));
    EXPECT_EQ(0u, l3lifpd_kvn_is_ifindex_pc_member(unknown));
    EXPECT_TRUE(bench.asked(call("l3lif_find_lif_from_ifindex(0xbad)")));
}

TEST_F(Lookup, MembershipIsAskedOfTheMainInterface)
{
    l3lifpd_kvn_is_ifindex_pc_member(eth1.ifindex);
    EXPECT_TRUE(bench.asked({call("l3lif_find_lif_from_ifindex(%#x)", eth1.ifindex),
                             call("if_index_is_eth_port_channel_intf(%#x)", po12.ifindex)}));
}

/* The three lookups of identifiers. */
struct IdLookup {
    const char *name;
    uint32_t (*function)(uint32_t ifindex);
    uint32_t own, channels; /* what it finds in eth's and in the port-channel's context below */
};

void PrintTo(const IdLookup &row, std::ostream *out)
{
    *out << row.name;
}

const IdLookup id_lookups[] = {
    {"pc_id", l3lifpd_kvn_get_pc_id_for_ifindex, 30, 31},
    {"lid_id", l3lifpd_kvn_get_lid_id_for_ifindex, 20, 21},
    {"intf_id", l3lifpd_kvn_get_intf_id_for_ifindex, 10, 11},
};

class IdentifierLookup : public testing::WithParamInterface<IdLookup>, public Lookup {
protected:
    uint32_t find(const Interface &lif) { return GetParam().function(lif.ifindex); }
};

TEST_P(IdentifierLookup, UsesTheInterfacesOwnContext)
{
    bench.give_context(eth0, 10, 20, 30);
    EXPECT_EQ(GetParam().own, find(eth0));
    EXPECT_TRUE(bench.asked({call("l3lif_find_lif_from_ifindex(%#x)", eth0.ifindex),
                             call("L3LIFPD_GET_PD_CTXT(%#x)", eth0.ifindex)}));
}

TEST_P(IdentifierLookup, OfAMemberUsesThePortChannelsContext)
{
    bench.give_context(po12, 11, 21, 31);
    EXPECT_EQ(GetParam().channels, find(eth1));
    EXPECT_TRUE(bench.asked({call("l3lif_find_lif_from_ifindex(%#x)", eth1.ifindex),
                             call("if_index_is_eth_port_channel_intf(%#x)", po12.ifindex),
                             call("L3LIFPD_GET_PD_CTXT(%#x)", po12.ifindex)}));
}

TEST_P(IdentifierLookup, OfAMemberWithItsOwnContextStillUsesThePortChannels)
{
    bench.give_context(eth1, 10, 20, 30);
    bench.give_context(po12, 11, 21, 31);
    EXPECT_EQ(GetParam().channels, find(eth1));
}

TEST_P(IdentifierLookup, OfASubInterfaceOfAPortUsesItsOwnContext)
{
    bench.give_context(eth0, 11, 21, 31);
    bench.give_context(eth0_100, 10, 20, 30);
    EXPECT_EQ(GetParam().own, find(eth0_100));
}

TEST_P(IdentifierLookup, FindsNoneWithoutAnInterfaceOrAContext)
{
    EXPECT_EQ(none, GetParam().function(unknown));
    EXPECT_EQ(none, find(eth0));
    bench.give_context(eth1, 10, 20, 30);
    EXPECT_EQ(none, find(eth1));
}

TEST_P(IdentifierLookup, GivesWhatTheContextHoldsBeItZeroOrNone)
{
    bench.give_context(eth0, 0, 0, 0);
    EXPECT_EQ(0u, find(eth0));
    bench.give_context(eth0, none, none, none);
    EXPECT_EQ(none, find(eth0));
}

INSTANTIATE_TEST_SUITE_P(, IdentifierLookup, testing::ValuesIn(id_lookups),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(Lookup, ThirtyTwoBitIdentifiersComeWhole)
{
    bench.give_context(eth0, 1, 0x89ABCDEF, 0x76543210);
    EXPECT_EQ(0x76543210u, l3lifpd_kvn_get_pc_id_for_ifindex(eth0.ifindex));
    EXPECT_EQ(0x89ABCDEFu, l3lifpd_kvn_get_lid_id_for_ifindex(eth0.ifindex));
}

/* What each lookup records: the asymmetry is intended. */

TEST_F(Lookup, OfThePortChannelIdRecordsHitAndMissAtDebugLevel)
{
    bench.give_context(eth0, 1, 2, 3);
    l3lifpd_kvn_get_pc_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(
        bench.did(debug("get_pc_id_for_ifindex", "ifindex = %#x pc_id = %d.\n", eth0.ifindex, 3)));
    l3lifpd_kvn_get_pc_id_for_ifindex(unknown);
    EXPECT_TRUE(bench.did(debug("get_pc_id_for_ifindex", "ifindex = %#x. No pc_id.\n", unknown)));
    l3lifpd_kvn_get_pc_id_for_ifindex(eth1.ifindex);
    EXPECT_TRUE(
        bench.did(debug("get_pc_id_for_ifindex", "ifindex = %#x. No pc_id.\n", eth1.ifindex)));
}

TEST_F(Lookup, OfTheInterfaceIdRecordsHitAndMissAtDebugLevel)
{
    bench.give_context(eth0, 1, 2, 3);
    l3lifpd_kvn_get_intf_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(bench.did(
        debug("get_intf_id_for_ifindex", "ifindex = %#x intf_id = %d.\n", eth0.ifindex, 1)));
    l3lifpd_kvn_get_intf_id_for_ifindex(unknown);
    EXPECT_TRUE(
        bench.did(debug("get_intf_id_for_ifindex", "ifindex = %#x. No intf_id.\n", unknown)));
    l3lifpd_kvn_get_intf_id_for_ifindex(eth1.ifindex);
    EXPECT_TRUE(
        bench.did(debug("get_intf_id_for_ifindex", "ifindex = %#x. No intf_id.\n", eth1.ifindex)));
}

TEST_F(Lookup, OfTheLidRecordsItsMissesAtErrorLevelAndNoHits)
{
    bench.give_context(eth0, 1, 2, 3);
    l3lifpd_kvn_get_lid_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(bench.did_nothing());
    l3lifpd_kvn_get_lid_id_for_ifindex(unknown);
    EXPECT_TRUE(bench.did(error("get_lid_id_for_ifindex", "l3lif is NULL.\n")));
    l3lifpd_kvn_get_lid_id_for_ifindex(eth1.ifindex);
    EXPECT_TRUE(bench.did(error("get_lid_id_for_ifindex", "%d: Got l3_pd as NULL.\n", line_no)));
}

TEST_F(Lookup, OfAClearedContextIsAHitWithNoIdentifier)
{
    bench.give_context(eth0, none, none, none);
    l3lifpd_kvn_get_pc_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(bench.did(
        debug("get_pc_id_for_ifindex", "ifindex = %#x pc_id = %d.\n", eth0.ifindex, 65535)));
    l3lifpd_kvn_get_intf_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(bench.did(intf_id_found(eth0.ifindex, 65535)));
    l3lifpd_kvn_get_lid_id_for_ifindex(eth0.ifindex);
    EXPECT_TRUE(bench.did_nothing());
}

} // namespace
} // namespace kvntest
