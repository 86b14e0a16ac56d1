/* Router MACs of the switch and MAC traps of single interfaces. */
#include "device.h"

using namespace kvnsim;
using testing::ElementsAre;

using Macs = Device;

TEST_F(Macs, OfTheRouterAreKeptByteForByte)
{
    EXPECT_EQ(router_mac("00:1b:0d:e6:57:c0"), 1u);
    EXPECT_EQ(router_mac("00:1b:0d:e6:57:c1"), 2u);
    EXPECT_THAT(asic.rows<RouterMacRow>().at(0).mac,
                ElementsAre(0x00, 0x1b, 0x0d, 0xe6, 0x57, 0xc0));
    EXPECT_EQ(libsdk_switch_router_mac_destroy(0, 1), 0);
    EXPECT_EQ(router_mac("00:1b:0d:e6:57:c2"), 1u);
}

TEST_F(Macs, OfTheRouterAreThereOnce)
{
    router_mac("00:1b:0d:e6:57:c0");
    uint32_t id = 77;
    expect_refusal("SDK_E_EXISTS", "00:1b:0d:e6:57:c0 is router MAC 1 already",
                   [&] { return add_router_mac("00:1b:0d:e6:57:c0", &id); });
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(libsdk_switch_router_mac_destroy(0, 1), 0);
    router_mac("00:1b:0d:e6:57:c0");
}

TEST_F(Macs, AreUnicastAddresses)
{
    uint32_t id = 77;
    for (const char *mac : {"00:00:00:00:00:00", "01:00:5e:00:00:01", "ff:ff:ff:ff:ff:ff"})
        expect_refusal("SDK_E_PARAM", "is no unicast address",
                       [&] { return add_router_mac(mac, &id); });
    EXPECT_EQ(id, 77u);
    router_mac("00:00:00:00:00:01");
}

TEST_F(Macs, TrappedOnAnInterfaceMayBeGroupAddresses)
{
    const uint32_t intf_id = svi(10);
    uint32_t id = 77;
    expect_refusal("SDK_E_PARAM", "00:00:00:00:00:00 is no address",
                   [&] { return add_trap(intf_id, "00:00:00:00:00:00", &id); });
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(add_trap(intf_id, "bb:bb:bb:bb:bb:bb", &id), 0);
}

TEST_F(Macs, UnknownAreNotRemoved)
{
    for (const uint32_t id : {0u, 1u, no_id, 0xFFFFFFFFu}) {
        expect_refusal("SDK_E_NOT_FOUND", "no router MAC",
                       [&] { return libsdk_switch_router_mac_destroy(0, id); });
        expect_refusal("SDK_E_NOT_FOUND", "no MAC trap",
                       [&] { return libsdk_intf_router_mac_trap_destroy(0, id); });
    }
}

TEST_F(Macs, AreTrappedPerInterface)
{
    const uint32_t one = svi(10), other = svi(11);
    EXPECT_EQ(trap(one, "00:00:5e:00:01:01"), 1u);
    EXPECT_EQ(trap(other, "00:00:5e:00:01:01"), 2u);
    EXPECT_EQ(trap(one, "00:00:5e:00:01:02"), 3u);
    router_mac("00:00:5e:00:01:01");
    EXPECT_EQ(asic.rows<TrapRow>().at(1).intf_id, other);
    EXPECT_THAT(asic.rows<TrapRow>().at(1).mac, ElementsAre(0x00, 0x00, 0x5e, 0x00, 0x01, 0x01));
    uint32_t id = 77;
    expect_refusal("SDK_E_EXISTS", "interface 2 has MAC trap 2 for 00:00:5e:00:01:01 already",
                   [&] { return add_trap(other, "00:00:5e:00:01:01", &id); });
    EXPECT_EQ(libsdk_intf_router_mac_trap_destroy(0, 2), 0);
    EXPECT_EQ(trap(other, "00:00:5e:00:01:01"), 2u);
}

TEST_F(Macs, AreTrappedOnInterfacesThatExist)
{
    uint32_t id = 77;
    expect_refusal("SDK_E_NOT_FOUND", "no interface 3",
                   [&] { return add_trap(3, "00:00:5e:00:01:01", &id); });
    expect_refusal("SDK_E_NOT_FOUND", "no interface 65535",
                   [&] { return add_trap(no_id, "00:00:5e:00:01:01", &id); });
}

TEST_F(Macs, RememberWhoMadeThem)
{
    const uint32_t intf_id = svi(10);
    request("l3lifpd_kvn_rmac_add", [&] { router_mac("00:1b:0d:e6:57:c0"); });
    request("l3lifpd_kvn_fhrp_mac_add", [&] { trap(intf_id, "00:00:5e:00:01:01"); });
    EXPECT_EQ(asic.rows<RouterMacRow>().at(0).made.to_text(),
              "libsdk_switch_router_mac_create in request 1 l3lifpd_kvn_rmac_add()");
    EXPECT_EQ(asic.rows<TrapRow>().at(0).made.to_text(),
              "libsdk_intf_router_mac_trap_create in request 2 l3lifpd_kvn_fhrp_mac_add()");
}
