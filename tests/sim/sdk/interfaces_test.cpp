/* Creating and destroying interfaces: what is accepted, what is refused, what it is told of. */
#include "device.h"

using namespace kvnsim;

using Interfaces = Device;

TEST_F(Interfaces, HaveTheLowestFreeIdentifierFromOne)
{
    EXPECT_EQ(routed_port(1), 1u);
    EXPECT_EQ(svi(10), 2u);
    EXPECT_EQ(sub_interface(1, 100), 3u);
    EXPECT_EQ(libsdk_intf_destroy(0, 2), 0);
    EXPECT_EQ(svi(11), 2u);
    EXPECT_EQ(svi(12), 4u);
}

TEST_F(Interfaces, KeepWhatTheyWereMadeWith)
{
    const uint32_t pc_id = channel();
    const uint32_t id = routed_channel(pc_id);
    const IntfRow *row = asic.find_interface(id);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->intf_id, id);
    EXPECT_EQ(row->type, sdk_routed_port);
    EXPECT_EQ(row->param1, pc_id);
    EXPECT_EQ(row->param3, 1u);
    EXPECT_TRUE(asic.rows<AttributeValueRow>().empty());
    EXPECT_EQ(asic.rows<IntfRow>().size(), 1u);
    EXPECT_EQ(asic.find_interface(id + 1), nullptr);
    EXPECT_EQ(asic.find_interface(0), nullptr);
    EXPECT_EQ(asic.find_interface(no_id), nullptr);
}

TEST_F(Interfaces, AreOnFrontPortsOneTo255)
{
    uint32_t id = 77;
    routed_port(1);
    routed_port(255);
    expect_refusal("SDK_E_PARAM", "no front port 0", [&] {
        return create(1, {0, 0, 0, 0, 0}, &id);
    });
    expect_refusal("SDK_E_PARAM", "no front port 256", [&] {
        return create(1, {256, 0, 0, 0, 0}, &id);
    });
    EXPECT_EQ(id, 77u) << "a refusal writes no identifier";
}

TEST_F(Interfaces, AreOnAPortOnce)
{
    request("l3lifpd_kvn_add_l3port", [&] { routed_port(5); });
    uint32_t id = 77;
    expect_refusal("SDK_E_EXISTS",
                   "front port 5 has interface 1 already (libsdk_intf_create in request 1 "
                   "l3lifpd_kvn_add_l3port())",
                   [&] {
                       return create(1, {5, 0, 0, 0, 0}, &id);
                   });
    EXPECT_EQ(libsdk_intf_destroy(0, 1), 0);
    EXPECT_EQ(routed_port(5), 1u) << "the port is free again";
}

TEST_F(Interfaces, AreOnNoPortWhileItIsAMember)
{
    const uint32_t pc_id = channel();
    request("l3lifpd_kvn_add_l3pc", [&] { member(pc_id, 5); });
    uint32_t id = 77;
    expect_refusal("SDK_E_BUSY",
                   "front port 5 is a member of port-channel 1 (libsdk_portchannel_member_add in "
                   "request 1 l3lifpd_kvn_add_l3pc())",
                   [&] {
                       return create(1, {5, 0, 0, 0, 0}, &id);
                   });
    const sdk_port_mask port_five = mask_of({5});
    EXPECT_EQ(libsdk_portchannel_member_delete(0, pc_id, &port_five, 7), 0);
    routed_port(5);
    member(pc_id, 5); /* with the interface that was kept when the port was no longer routed */
}

TEST_F(Interfaces, AreOnAPortChannelThatExistsAndOnce)
{
    const uint32_t pc_id = channel();
    uint32_t id = 77;
    expect_refusal("SDK_E_NOT_FOUND", "no port-channel 9", [&] {
        return create(1, {9, 0, 1, 0, 0}, &id);
    });
    expect_refusal("SDK_E_NOT_FOUND", "no port-channel 65535", [&] {
        return create(1, {no_id, 0, 1, 0, 0}, &id);
    });
    routed_channel(pc_id);
    expect_refusal("SDK_E_EXISTS", "port-channel 1 has interface 1 already", [&] {
        return create(1, {pc_id, 0, 1, 0, 0}, &id);
    });
}

TEST_F(Interfaces, OfAPortAndAPortChannelOfThatNumberAreDifferent)
{
    const uint32_t pc_id = channel();
    EXPECT_NE(routed_port(pc_id), routed_channel(pc_id));
}

TEST_F(Interfaces, TakeNoOtherWords)
{
    routed_port(1);
    channel();
    uint32_t id = 77;
    const struct {
        uint32_t type;
        sdk_intf_create_params params;
    } rows[] = {
        {1, {2, 1, 0, 0, 0}}, {1, {2, 0, 2, 0, 0}}, {1, {2, 0, 0, 1, 0}}, {1, {2, 0, 0, 0, 1}},
        {1, {1, 0, 1, 1, 0}}, {2, {1, 5, 1, 0, 0}}, {2, {1, 5, 0, 1, 0}}, {2, {1, 5, 0, 0, 1}},
        {3, {5, 1, 0, 0, 0}}, {3, {5, 0, 1, 0, 0}}, {3, {5, 0, 0, 1, 0}}, {3, {5, 0, 0, 0, 1}},
    };
    for (const auto &row : rows)
        expect_refusal("SDK_E_PARAM", "no other word",
                       [&] { return create(row.type, row.params, &id); });
}

TEST_F(Interfaces, AreOfTypesOneToThree)
{
    uint32_t id = 77;
    for (const uint32_t type : {0u, 4u, 0xFFFFFFFFu})
        expect_refusal("SDK_E_PARAM", "no interface type", [&] {
            return create(type, {1, 0, 0, 0, 0}, &id);
        });
}

TEST_F(Interfaces, OfAVlanAreOnVlans1To4094)
{
    const uint32_t parent = routed_port(1);
    svi(1);
    svi(4094);
    sub_interface(parent, 1);
    sub_interface(parent, 4094);
    uint32_t id = 77;
    for (const uint32_t vlan : {0u, 4095u, 4096u, 0xFFFFu}) {
        expect_refusal("SDK_E_PARAM", "is not 1 to 4094", [&] {
            return create(3, {vlan, 0, 0, 0, 0}, &id);
        });
        expect_refusal("SDK_E_PARAM", "is not 1 to 4094", [&] {
            return create(2, {parent, vlan, 0, 0, 0}, &id);
        });
    }
}

TEST_F(Interfaces, OfAVlanAreThereOnce)
{
    svi(10);
    uint32_t id = 77;
    expect_refusal("SDK_E_EXISTS", "VLAN 10 has interface 1 already", [&] {
        return create(3, {10, 0, 0, 0, 0}, &id);
    });
}

TEST_F(Interfaces, UnderAParentHaveDifferentVlans)
{
    const uint32_t one = routed_port(1), other = routed_port(2);
    sub_interface(one, 100);
    sub_interface(one, 101);
    sub_interface(other, 100);
    uint32_t id = 77;
    expect_refusal("SDK_E_EXISTS", "VLAN 100 of interface 1 has interface 3 already", [&] {
        return create(2, {one, 100, 0, 0, 0}, &id);
    });
    EXPECT_EQ(libsdk_intf_destroy(0, 3), 0);
    EXPECT_EQ(sub_interface(one, 100), 3u);
}

TEST_F(Interfaces, NeedAParentThatExists)
{
    uint32_t id = 77;
    expect_refusal("SDK_E_NOT_FOUND", "no interface 5", [&] {
        return create(2, {5, 100, 0, 0, 0}, &id);
    });
    expect_refusal("SDK_E_NOT_FOUND", "no interface 65536", [&] {
        return create(2, {0x10000, 100, 0, 0, 0}, &id);
    });
    expect_refusal("SDK_E_NOT_FOUND", "no interface 0", [&] {
        return create(2, {0, 100, 0, 0, 0}, &id);
    });
}

TEST_F(Interfaces, HaveARoutedPortOrPortChannelAsParent)
{
    const uint32_t port = routed_port(1), pc = routed_channel(channel()), vlan = svi(10);
    const uint32_t sub = sub_interface(port, 100);
    sub_interface(pc, 100);
    uint32_t id = 77;
    expect_refusal("SDK_E_PARAM",
                   "interface 3 is that of VLAN 10 (libsdk_intf_create): only "
                   "routed ports and port-channels have sub-interfaces",
                   [&] {
                       return create(2, {vlan, 100, 0, 0, 0}, &id);
                   });
    expect_refusal("SDK_E_PARAM", "interface 4 is that of VLAN 100 of interface 1", [&] {
        return create(2, {sub, 100, 0, 0, 0}, &id);
    });
}

TEST_F(Interfaces, MayHaveAParentWithoutAnInterface)
{
    const uint32_t one = sub_interface(no_id, 100);
    const uint32_t other = sub_interface(no_id, 100);
    EXPECT_NE(one, other) << "their parents are not known to be the same";
    EXPECT_EQ(asic.find_interface(one)->param1, no_id);
    EXPECT_EQ(libsdk_intf_destroy(0, one), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, other), 0);
}

TEST_F(Interfaces, UnknownCannotBeDestroyed)
{
    for (const uint32_t id : {0u, 1u, 65534u, no_id, 65536u, 0xFFFFFFFFu})
        expect_refusal("SDK_E_NOT_FOUND", ("no interface " + std::to_string(id)).c_str(),
                       [&] { return libsdk_intf_destroy(0, id); });
}

TEST_F(Interfaces, AreDestroyedOnce)
{
    const uint32_t id = svi(10);
    EXPECT_EQ(libsdk_intf_destroy(0, id), 0);
    expect_refusal("SDK_E_NOT_FOUND", "no interface", [&] { return libsdk_intf_destroy(0, id); });
}

TEST_F(Interfaces, StayWhileTheyAreParents)
{
    const uint32_t parent = routed_port(1);
    request("l3lifpd_kvn_add_subint", [&] { sub_interface(parent, 100); });
    sub_interface(parent, 101);
    sub_interface(parent, 102);
    expect_refusal("SDK_E_BUSY", "interface 1 is held by sub-interface 4",
                   [&] { return libsdk_intf_destroy(0, parent); });
    EXPECT_THAT(asic.last_refusal(), testing::HasSubstr("and 2 more"));
    EXPECT_EQ(libsdk_intf_destroy(0, 3), 0) << "from the middle of the siblings";
    EXPECT_EQ(libsdk_intf_destroy(0, 4), 0);
    expect_refusal("SDK_E_BUSY",
                   "sub-interface 2 (libsdk_intf_create in request 1 l3lifpd_kvn_add_subint())",
                   [&] { return libsdk_intf_destroy(0, parent); });
    EXPECT_EQ(libsdk_intf_destroy(0, 2), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, parent), 0);
}

TEST_F(Interfaces, StayWhileMacTrapsAreOnThem)
{
    const uint32_t id = svi(10);
    const uint32_t one = trap(id, "00:00:5e:00:01:01"), other = trap(id, "00:00:5e:00:01:02");
    expect_refusal("SDK_E_BUSY", "interface 1 is held by MAC trap 2",
                   [&] { return libsdk_intf_destroy(0, id); });
    EXPECT_EQ(libsdk_intf_router_mac_trap_destroy(0, one), 0);
    EXPECT_EQ(libsdk_intf_router_mac_trap_destroy(0, other), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, id), 0);
}

TEST_F(Interfaces, RememberWhoMadeThem)
{
    request("l3lifpd_kvn_add_svi", [&] { svi(10); });
    svi(11);
    EXPECT_EQ(asic.find_interface(1)->made.to_text(),
              "libsdk_intf_create in request 1 l3lifpd_kvn_add_svi()");
    EXPECT_EQ(asic.find_interface(2)->made.to_text(), "libsdk_intf_create");
}
