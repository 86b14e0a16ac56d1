/* Router and peer-gateway MACs of the whole switch. */
#include <cstring>

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

/* The router's entry points behave as the peer gateway's in everything, the texts included. */
struct EntryPoints {
    const char *name;
    uint32_t (*add)(const uint8_t *mac);
    int32_t (*remove)(int32_t peer_mac_id);
};

void PrintTo(const EntryPoints &row, std::ostream *out)
{
    *out << row.name;
}

const EntryPoints entry_points[] = {
    {"peer", l3lifpd_kvn_peer_mac_add, l3lifpd_kvn_peer_mac_del},
    {"router", l3lifpd_kvn_rmac_add, l3lifpd_kvn_rmac_del},
};

class RouterMac : public testing::TestWithParam<EntryPoints> {
protected:
    Bench bench;
    const uint8_t mac[6] = {0x00, 0x1b, 0x0c, 0xff, 0xa0, 0x09};

    uint32_t add(const uint8_t *address) { return GetParam().add(address); }
    int32_t remove(int32_t id) { return GetParam().remove(id); }

    Steps created(const uint8_t *address)
    {
        uint32_t lo;
        uint16_t hi;
        memcpy(&lo, address, 4);
        memcpy(&hi, address + 4, 2);
        return call("libsdk_switch_router_mac_create(dev_inst=0, mac_lo=%#x, mac_hi=%#x, "
                    "*peer_mac_id=0)",
                    lo, hi);
    }
    Steps added(const uint8_t *m, uint32_t id)
    {
        return debug("peer_mac_add",
                     "%s[%d]: rmac (%02x:%02x:%02x:%02x:%02x:%02x) peer_mac_id = %#x",
                     "l3lifpd_kvn_peer_mac_add", line_no, m[0], m[1], m[2], m[3], m[4], m[5], id);
    }
};

TEST_P(RouterMac, IsAddedInTwoWordsAsItLiesInMemory)
{
    EXPECT_EQ(61u, add(mac));
    EXPECT_TRUE(bench.did({created(mac), added(mac, 61)}));
}

TEST_P(RouterMac, OnThisMachineTheWordsAreTheseNumbers)
{
    add(mac);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    EXPECT_EQ("libsdk_switch_router_mac_create(dev_inst=0, mac_lo=0xff0c1b00, mac_hi=0x9a0, "
              "*peer_mac_id=0)",
              bench.journal.at(0));
#endif
}

TEST_P(RouterMac, OfZeroesIsRefusedInThePeerGatewaysWords)
{
    const uint8_t zero[6] = {};
    EXPECT_EQ(65535u, add(zero));
    EXPECT_TRUE(bench.did(error("peer_mac_add", "%s : peer gwway mac address is NULL\n",
                                "l3lifpd_kvn_peer_mac_add")));
}

TEST_P(RouterMac, WithOneNonZeroByteIsAccepted)
{
    for (int i = 0; i < 6; ++i) {
        uint8_t one[6] = {};
        one[i] = 1;
        const uint32_t id = 61u + static_cast<uint32_t>(i);
        EXPECT_EQ(id, add(one));
        EXPECT_TRUE(bench.did({created(one), added(one, id)}));
    }
}

TEST_P(RouterMac, MayHaveIdentifierZeroOr65535)
{
    for (uint32_t id : {0u, 65535u, 0xFFFFFFFFu}) {
        bench.give("libsdk_switch_router_mac_create", id);
        EXPECT_EQ(id, add(mac));
        EXPECT_TRUE(bench.did({created(mac), added(mac, id)}));
    }
}

TEST_P(RouterMac, ThatTheSdkRefusesReturnsTheStatusThatLooksLikeAnIdentifier)
{
    for (int32_t status : {5, -5}) {
        bench.answer("libsdk_switch_router_mac_create", status);
        EXPECT_EQ(static_cast<uint32_t>(status), add(mac));
        EXPECT_TRUE(bench.did({created(mac), error("peer_mac_add", "%s[%d]: error rc = %d\n",
                                                   "l3lifpd_kvn_peer_mac_add", line_no, status)}));
    }
}

TEST_P(RouterMac, IsRemovedWithoutARecord)
{
    EXPECT_EQ(0, remove(61));
    EXPECT_TRUE(bench.did(call("libsdk_switch_router_mac_destroy(dev_inst=0, peer_mac_id=61)")));
    EXPECT_EQ(0, remove(-1));
    EXPECT_TRUE(
        bench.did(call("libsdk_switch_router_mac_destroy(dev_inst=0, peer_mac_id=4294967295)")));
}

TEST_P(RouterMac, ThatTheSdkDoesNotKnowReturnsItsStatus)
{
    for (int32_t status : {5, -5}) {
        bench.answer("libsdk_switch_router_mac_destroy", status);
        EXPECT_EQ(status, remove(99));
        EXPECT_TRUE(bench.did({call("libsdk_switch_router_mac_destroy(dev_inst=0, peer_mac_id=99)"),
                               error("peer_mac_del", "%s[%d]: error rc = %d\n",
                                     "l3lifpd_kvn_peer_mac_del", line_no, status)}));
    }
}

INSTANTIATE_TEST_SUITE_P(, RouterMac, testing::ValuesIn(entry_points),
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace
} // namespace kvntest
