/* Whole lives of interfaces: created, destroyed and created again; port-channels with one, two and
 * many members. */
#include <algorithm>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Life : public testing::Test {
protected:
    Bench bench;

    size_t made(const std::string &call)
    {
        return static_cast<size_t>(
            std::count_if(bench.journal.begin(), bench.journal.end(),
                          [&](const auto &line) { return line.rfind(call + "(", 0) == 0; }));
    }
};

TEST_F(Life, OfARoutedPort)
{
    Interface &eth0 = bench.routed_port(0);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    const l3_pd *const record = &eth0.pd();
    EXPECT_EQ(0, l3lifpd_kvn_del_l3port(&eth0));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3port(&eth0));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(record, &eth0.pd());
    EXPECT_TRUE(holds(eth0.pd(), 502, 100, none));
    EXPECT_EQ(501u, eth0.pd().old_intf_id);
    EXPECT_EQ(3u, eth0.pd_state);
    EXPECT_EQ(2u, made("libsdk_intf_create"));
    EXPECT_EQ(0u, made("libsdk_intf_destroy"));
    EXPECT_EQ(2u, made("malloc"));
}

TEST_F(Life, OfASubInterface)
{
    Interface &eth0 = bench.routed_port(0);
    Interface &sub = bench.sub_interface(eth0);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(holds(sub.pd(), 502, 100, none));
    EXPECT_EQ(0, l3lifpd_kvn_del_subint(&sub));
    EXPECT_EQ(4u, sub.pd_state);
    EXPECT_TRUE(holds(eth0.pd(), 501, 100, none));
    EXPECT_EQ(0, l3lifpd_kvn_add_subint(&sub, 100, 1));
    EXPECT_TRUE(holds(sub.pd(), 503, 100, none));
    EXPECT_EQ(3u, sub.pd_state);
    EXPECT_EQ(1u, made("libsdk_intf_destroy"));
}

TEST_F(Life, OfAnSvi)
{
    Interface &svi10 = bench.svi(10);
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_EQ(0u, svi10.pd_state);
    EXPECT_EQ(0, l3lifpd_kvn_del_svi(&svi10));
    EXPECT_EQ(4u, svi10.pd_state);
    EXPECT_EQ(0, l3lifpd_kvn_add_svi(&svi10, 10));
    EXPECT_EQ(4u, svi10.pd_state); /* creation leaves it as the destruction set it */
    EXPECT_TRUE(holds(svi10.pd(), 502, none, none));
}

TEST_F(Life, OfAPortChannelWithOneMember)
{
    Interface &po12 = bench.port_channel(12);
    Interface &eth0 = bench.member(0, po12);
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 1));
    EXPECT_TRUE(holds(po12.pd(), none, none, none));
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_TRUE(holds(po12.pd(), 502, 302, 22));
    EXPECT_EQ(3u, po12.pd_state);
    for (const char *call : {"libsdk_portchannel_destroy", "libsdk_lid_entry_destroy",
                             "libsdk_intf_destroy", "libsdk_portchannel_member_delete"})
        EXPECT_EQ(1u, made(call)) << call;
}

TEST_F(Life, OfAPortChannelWithManyMembers)
{
    for (uint32_t count : {2u, 32u}) {
        Bench fresh;
        Interface &po12 = fresh.port_channel(12);
        std::vector<Interface *> members;
        for (uint32_t port = 0; port < count; ++port) {
            members.push_back(&fresh.member(port, po12));
            po12.membership.member_count = port + 1;
            EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(members.back(), port == 0));
        }
        EXPECT_TRUE(holds(po12.pd(), 501, 301, 21));
        for (Interface *member : members)
            EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(member, member == members.back()));
        EXPECT_TRUE(holds(po12.pd(), none, none, none));

        const auto lines = [&](const std::string &call) {
            return std::count_if(fresh.journal.begin(), fresh.journal.end(),
                                 [&](const auto &line) { return line.rfind(call, 0) == 0; });
        };
        EXPECT_EQ(count, lines("libsdk_portchannel_member_add(dev_inst=0, pc_id=21, "));
        EXPECT_EQ(count, lines("libsdk_portchannel_member_delete(dev_inst=0, pc_id=21, "));
        EXPECT_EQ(1, lines("libsdk_portchannel_create("));
        EXPECT_EQ(1, lines("libsdk_portchannel_destroy(dev_inst=0, pc_id=21)"));
        EXPECT_EQ(1, lines("libsdk_lid_entry_destroy(dev_inst=0, lid_id=301)"));
        EXPECT_EQ(1, lines("libsdk_intf_destroy(dev_inst=0, intf_id=501)"));
    }
    install(&bench);
}

TEST_F(Life, OfAPortThatIsRoutedThenAMemberThenRoutedAgain)
{
    Interface &po12 = bench.port_channel(12);
    Interface &eth0 = bench.member(0, po12);
    eth0.main_l3lif = nullptr;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    eth0.main_l3lif = &po12;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_EQ(0u, made("libsdk_portchannel_create"));
    eth0.main_l3lif = nullptr;
    EXPECT_EQ(0, l3lifpd_kvn_del_l3port(&eth0));
    eth0.main_l3lif = &po12;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3pc(&eth0, 1));
    EXPECT_EQ(1u, made("libsdk_portchannel_member_add"));
    EXPECT_EQ(0, l3lifpd_kvn_del_l3pc(&eth0, 1));
    eth0.main_l3lif = nullptr;
    EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
    EXPECT_TRUE(holds(eth0.pd(), 503, 100, none));
}

TEST_F(Life, NoInterfaceIsEverFreed)
{
    Interface &eth0 = bench.routed_port(0);
    Interface &svi10 = bench.svi(10);
    l3lifpd_kvn_add_l3port(&eth0, 1);
    l3lifpd_kvn_add_svi(&svi10, 10);
    l3lifpd_kvn_del_l3port(&eth0);
    l3lifpd_kvn_del_svi(&svi10);
    EXPECT_EQ(4u, made("malloc"));
    EXPECT_EQ(0u, made("free"));
}

} // namespace
} // namespace kvntest
