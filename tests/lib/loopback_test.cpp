/* The internal loopback of a port, for network address translation. */
#include <cstdarg>

#include "tests/lib/bench.h"

/* The texts come from the tables. */
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace kvntest {
namespace {

const std::string self = "l3lifpd_kvn_loopback_enable";

struct AttributeRow {
    uint32_t attribute, value;
    const char *failure; /* the function, the ifindex, the interface */
};

/* One direction. The two differ in order and in texts; both are kept deliberately. */
struct Direction {
    int32_t enable;
    uint32_t command;
    const char *announced, *command_failure;
    std::vector<AttributeRow> rows;
};

void PrintTo(const Direction &row, std::ostream *out)
{
    *out << (row.enable ? "on" : "off");
}

const Direction directions[] = {
    {1,
     121,
     "%s - Calling the sse_call to program spico-int for %d\n",
     "sse_call2(PORT_CMD_INT_LOOPBACK) failed\n",
     {{47, 2, "%s:Error setting NAT Inside on 0x%x:intf_id:%d\n"},
      {36, 1, "%s:Error setting IPv4 Ucast Enable on 0x%x:intf_id:%d\n"},
      {37, 1, "%s:Error setting IPv4 Mcst Enable on 0x%x:intf_id:%d\n"},
      {44, 1, "%s:Error setting IPv4 VPN Enable on 0x%x:intf_id:%d\n"},
      {45, 1, "%s:Error setting IPv6 VPN Enable on 0x%x:intf_id:%d\n"},
      {61, 3, "%s:Error setting NAT Outside on 0x%x:intf_id:%d\n"},
      {58, 1, "%s:Error setting NAT SameIfCheck on 0x%x:intf_id:%d\n"},
      {64, 3, "%s:Error setting NAT Outside egr-bd-db tbl on 0x%x:intf_id:%d\n"},
      {56, 1, "%s:Error setting IPMC Miss to CPU tbl on 0x%x:intf_id:%d\n"}}},
    {0,
     122,
     "%s - Calling the sse_call to un-program spico-int for %d\n",
     "sse_call2(PORT_CMD_DEL_LOOPBACK) failed\n",
     {{47, 0, "%s:Error re-setting NAT Inside on 0x%x:intf_id:%d\n"},
      {36, 0, "%s:Error re-setting IPv4 Ucast Enable on 0x%x:intf_id:%d\n"},
      {37, 0, "%s:Error re-setting IPv4 Mcst Enable on 0x%x:intf_id:%d\n"},
      {44, 0, "%s:Error re-setting IPv4 VPN Enable on 0x%x:intf_id:%d\n"},
      {45, 0, "%s:Error re-setting IPv6 VPN Enable on 0x%x:intf_id:%d\n"},
      {61, 0, "%s:Error re-setting NAT Outside on 0x%x:intf_id:%d\n"},
      {64, 0, "%s:Error re-setting NAT Outside in egr-bd-db tbl on 0x%x:intf_id:%d\n"},
      {58, 0, "%s:Error setting NAT SameIfCheck on 0x%x:intf_id:%d\n"},
      {56, 0, "%s:Error re-setting IPMC Miss to CPU tbl on 0x%x:intf_id:%d\n"}}},
};

/* A record whose format comes from a table. */
Steps from_table(const char *format, ...)
{
    char text[300];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return record_line(debug_level, self, format, text);
}

class Loopback : public testing::TestWithParam<Direction> {
protected:
    Bench bench;
    Interface &eth47 = bench.routed_port(47);

    int32_t switch_over() { return l3lifpd_kvn_loopback_enable(eth47.ifindex, GetParam().enable); }

    Steps entered(uint32_t front_port)
    {
        return {
            debug("loopback_enable", "%s - Entered with ifindex %x\n", self.c_str(), eth47.ifindex),
            call("if_index_get_port(ifindex=%#x)", eth47.ifindex),
            debug("loopback_enable", "%s - front_port  = %d\n", self.c_str(), front_port),
            call("l3lif_get_iif_for_ifindex_new(ifindex=%#x)", eth47.ifindex)};
    }
    Steps commanded(uint32_t port = 47)
    {
        return {from_table(GetParam().announced, self.c_str(), port + 1),
                call("sse_call2(call=0x8000001, msg={port=%u, cmd=%u, rest zero}, length=60)", port,
                     GetParam().command)};
    }
    /* All nine writes; those of the failing attributes with their record. */
    Steps written(const std::vector<uint32_t> &failing = {})
    {
        Steps steps;
        for (const AttributeRow &row : GetParam().rows) {
            steps = {steps, call("libsdk_intf_attr_set_batch(dev_inst=0, intf_id=77, attr=%u, "
                                 "value={%u, 0, 0})",
                                 row.attribute, row.value)};
            for (uint32_t attribute : failing)
                if (attribute == row.attribute)
                    steps = {steps, from_table(row.failure, self.c_str(), eth47.ifindex, 77)};
        }
        return steps;
    }
    Steps exited() { return debug("loopback_enable", "%s - Exiting.\n", self.c_str()); }
};

TEST_P(Loopback, CommandsThePortAndWritesNineAttributesInTheirOrder)
{
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did({entered(48), commanded(), written(), exited()}));
}

TEST_P(Loopback, RepeatsEverythingWhenAskedAgain)
{
    EXPECT_EQ(0, switch_over());
    bench.forget();
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did({entered(48), commanded(), written(), exited()}));
}

TEST_P(Loopback, WithoutInterfaceInfoDoesNothingAndFails)
{
    bench.answer("l3lif_get_iif_for_ifindex_new", 2);
    EXPECT_EQ(-1, switch_over());
    EXPECT_TRUE(
        bench.did({entered(48), debug("loopback_enable", "Unable to get if_info for ifindex:0x%x\n",
                                      eth47.ifindex)}));
}

TEST_P(Loopback, OfAnUnknownPortIsOfPortZero)
{
    bench.ports_known = false;
    bench.answer("if_index_get_port", -1);
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did({entered(1), commanded(0), written(), exited()}));
}

TEST_P(Loopback, FrontPortOfTheLastPortIsCountedInFullWidth)
{
    eth47.number = 255;
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did({entered(256), commanded(255), written(), exited()}));
}

TEST_P(Loopback, GoesOnWhenThePortServiceRefuses)
{
    bench.answer("sse_call2", 1);
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did(
        {entered(48), commanded(), from_table(GetParam().command_failure), written(), exited()}));
}

TEST_P(Loopback, GoesOnWhenOneAttributeIsRefusedAndTracesItAtDebugLevel)
{
    for (const AttributeRow &row : GetParam().rows) {
        Bench fresh;
        Interface &eth = fresh.routed_port(47);
        for (size_t i = 0; i < GetParam().rows.size(); ++i)
            if (GetParam().rows[i].attribute == row.attribute)
                fresh.answer("libsdk_intf_attr_set_batch", -3, static_cast<int>(i) + 1);
        EXPECT_EQ(0, l3lifpd_kvn_loopback_enable(eth.ifindex, GetParam().enable));
        EXPECT_TRUE(fresh.did({entered(48), commanded(), written({row.attribute}), exited()}));
    }
    install(&bench);
}

TEST_P(Loopback, GoesOnWhenEveryStepIsRefused)
{
    bench.answer("sse_call2", 1);
    bench.answer("libsdk_intf_attr_set_batch", 1);
    EXPECT_EQ(0, switch_over());
    EXPECT_TRUE(bench.did({entered(48), commanded(), from_table(GetParam().command_failure),
                           written({47, 36, 37, 44, 45, 61, 58, 64, 56}), exited()}));
}

INSTANTIATE_TEST_SUITE_P(, Loopback, testing::ValuesIn(directions), [](const auto &direction) {
    return std::string(direction.param.enable ? "on" : "off");
});

TEST(LoopbackFlag, AnyNonZeroValueEnables)
{
    Bench bench;
    const Interface &eth0 = bench.routed_port(0);
    EXPECT_EQ(0, l3lifpd_kvn_loopback_enable(eth0.ifindex, -2));
    EXPECT_EQ("libsdk_intf_attr_set_batch(dev_inst=0, intf_id=77, attr=47, value={2, 0, 0})",
              bench.journal.at(6));
}

} // namespace
} // namespace kvntest
