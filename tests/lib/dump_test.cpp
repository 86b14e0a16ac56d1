/* The one-line dump of an interface. */
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

class Dump : public testing::Test {
protected:
    Bench bench;
    Interface &eth0 = bench.routed_port(0);
    Interface &po12 = bench.port_channel(12);
    Interface &eth1 = bench.member(1, po12);
    int output = 0; /* stands for a command's output */

    Steps printed(const char *line)
    {
        return "cmd_prt(cli_ctx=set, text=" + quoted(line) + ", zero=0)";
    }
    Steps traced(const char *line) { return debug("dump_l3lif", "%s", line); }
};

TEST_F(Dump, OfAPlainInterfaceKeepsTheTwoBlanksOfTheEmptyMarker)
{
    bench.give_context(eth0, 10, 20, 30);
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "eth0", &eth0));
    EXPECT_STREQ("eth0: intf_id  10 lid_id  20.\n", l3lifpd_dump_one_line);
    EXPECT_TRUE(
        bench.did({intf_id_found(eth0.ifindex, 10), printed("eth0: intf_id  10 lid_id  20.\n")}));
}

TEST_F(Dump, WithoutACommandGoesIntoARecord)
{
    bench.give_context(eth0, 10, 20, 30);
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(nullptr, "eth0", &eth0));
    EXPECT_TRUE(
        bench.did({intf_id_found(eth0.ifindex, 10), traced("eth0: intf_id  10 lid_id  20.\n")}));
}

TEST_F(Dump, OfAMemberMarksThePortChannelsValues)
{
    bench.give_context(eth1, 10, 20, 30);
    bench.give_context(po12, 11, 21, 31);
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "eth1", &eth1));
    EXPECT_TRUE(bench.did({intf_id_found(eth1.ifindex, 11),
                           printed("eth1: intf_id (from pc) 11 lid_id (from pc) 21.\n")}));
}

TEST_F(Dump, OfAPortChannelNamesItsPcId)
{
    bench.give_context(po12, 11, 21, 31);
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "po12", &po12));
    EXPECT_TRUE(bench.did(
        {intf_id_found(po12.ifindex, 11), printed("po12: intf_id 11 lid_id 21 pc_id 31.\n")}));
}

TEST_F(Dump, PrintsIdentifiersAsSignedNumbers)
{
    bench.give_context(po12, 11, 0xFFFFFFFF, 0x80000000);
    l3lifpd_kvn_dump_l3lif(&output, "po12", &po12);
    EXPECT_STREQ("po12: intf_id 11 lid_id -1 pc_id -2147483648.\n", l3lifpd_dump_one_line);
    bench.give_context(eth0, 10, 0xFFFFFFFE, 30);
    l3lifpd_kvn_dump_l3lif(&output, "eth0", &eth0);
    EXPECT_STREQ("eth0: intf_id  10 lid_id  -2.\n", l3lifpd_dump_one_line);
}

TEST_F(Dump, OfAPortChannelWithoutAContextStillPrintsALine)
{
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "po12", &po12));
    EXPECT_TRUE(bench.did({no_intf_id(po12.ifindex),
                           error("get_lid_id_for_ifindex", "%d: Got l3_pd as NULL.\n", line_no),
                           printed("po12: intf_id 65535 lid_id 65535 pc_id 65535.\n")}));
}

TEST_F(Dump, OfAnUnregisteredInterfaceStillPrintsALine)
{
    eth0.registered = false;
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "eth0", &eth0));
    EXPECT_TRUE(
        bench.did({no_intf_id(eth0.ifindex), error("get_lid_id_for_ifindex", "l3lif is NULL.\n"),
                   printed("eth0: intf_id  65535 lid_id  65535.\n")}));
}

TEST_F(Dump, OfAnUnregisteredPortChannelPrintsItsOwnPcId)
{
    bench.give_context(po12, 11, 21, 31);
    po12.registered = false;
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, "po12", &po12));
    EXPECT_STREQ("po12: intf_id 65535 lid_id 65535 pc_id 31.\n", l3lifpd_dump_one_line);
}

TEST_F(Dump, OfASubInterfaceOfAPortHasNoMarker)
{
    Interface &sub = bench.sub_interface(eth0);
    bench.give_context(sub, 10, 20, 30);
    l3lifpd_kvn_dump_l3lif(&output, "sub", &sub);
    EXPECT_STREQ("sub: intf_id  10 lid_id  20.\n", l3lifpd_dump_one_line);
}

TEST_F(Dump, CutsALongLineAt254CharactersAndEndsItThere)
{
    memset(l3lifpd_dump_one_line, '#', sizeof l3lifpd_dump_one_line);
    bench.give_context(eth0, 10, 20, 30);
    const std::string prefix(300, 'p');
    EXPECT_EQ(0u, l3lifpd_kvn_dump_l3lif(&output, prefix.c_str(), &eth0));
    EXPECT_EQ(std::string(254, 'p'), std::string(l3lifpd_dump_one_line));
    EXPECT_EQ('#', l3lifpd_dump_one_line[255]);
    l3lifpd_dump_one_line[255] = '\0';
}

TEST_F(Dump, OverwritesTheLastLine)
{
    bench.give_context(eth0, 10, 20, 30);
    l3lifpd_kvn_dump_l3lif(&output, "a long prefix of another line", &eth0);
    l3lifpd_kvn_dump_l3lif(&output, "", &eth0);
    EXPECT_STREQ(": intf_id  10 lid_id  20.\n", l3lifpd_dump_one_line);
}

TEST(DumpedMac, HasThreeGroupsOfFourLowerCaseDigits)
{
    Bench bench;
    const uint8_t mac[] = {0x00, 0x1B, 0x0c, 0xFF, 0xa0, 0x09};
    char text[20];
    memset(text, '#', sizeof text);
    EXPECT_EQ(text, l3lifpd_dump_format_mac_bytes(mac, text));
    EXPECT_STREQ("001b.0cff.a009", text);
    EXPECT_TRUE(bench.did_nothing());
}

} // namespace
} // namespace kvntest
