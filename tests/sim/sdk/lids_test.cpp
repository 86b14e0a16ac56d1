/* LID entries, their paths, and the interfaces bound to them. */
#include "device.h"

using namespace kvnsim;

using Lids = Device;

TEST_F(Lids, AreMadeEmptyWithTheLowestFreeIdentifier)
{
    EXPECT_EQ(lid(), 1u);
    EXPECT_EQ(lid(), 2u);
    EXPECT_NE(asic.find_lid(1), nullptr);
    EXPECT_TRUE(asic.rows<LidPathRow>().empty());
    EXPECT_EQ(libsdk_lid_entry_destroy(0, 1), 0);
    EXPECT_EQ(asic.find_lid(1), nullptr);
    EXPECT_EQ(lid(), 1u);
}

TEST_F(Lids, HaveAnIfmapIndexThatItem38Answers)
{
    const uint32_t lid_id = lid(), other = lid();
    sdk_switch_config request{{lid_id, 0, 5, 0, 0, 0, 0, 9}};
    EXPECT_EQ(libsdk_switch_config_get(0, 38, &request), 0);
    EXPECT_EQ(request.word[1], asic.find_lid(lid_id)->ifmap_idx);
    EXPECT_NE(request.word[1], asic.find_lid(other)->ifmap_idx);
    EXPECT_EQ(request.word[0], lid_id);
    EXPECT_EQ(request.word[2], 5u);
    EXPECT_EQ(request.word[7], 9u);
}

TEST_F(Lids, UnknownHaveNoIfmapIndex)
{
    lid();
    for (const uint32_t unknown : {0u, 2u, no_id}) {
        sdk_switch_config request{{unknown, 77}};
        expect_refusal("SDK_E_NOT_FOUND", "no LID entry",
                       [&] { return libsdk_switch_config_get(0, 38, &request); });
        EXPECT_EQ(request.word[1], 77u);
    }
}

TEST_F(Lids, AreAllThatTheSwitchConfigurationTells)
{
    sdk_switch_config request{{lid()}};
    for (const uint32_t item : {0u, 37u, 39u})
        expect_refusal("SDK_E_UNAVAIL", "no configuration item",
                       [&] { return libsdk_switch_config_get(0, item, &request); });
}

TEST_F(Lids, LeadToAPortChannelThatExists)
{
    const uint32_t lid_id = lid();
    expect_refusal("SDK_E_NOT_FOUND", "no port-channel 4", [&] {
        return add_path(lid_id, {SdkPortTypeChannel, 0, {}, 4});
    });
    const uint32_t pc_id = channel();
    expect_refusal("SDK_E_PARAM", "front port 0", [&] {
        return add_path(lid_id, {SdkPortTypeChannel, 1, {}, pc_id});
    });
    path_to_channel(lid_id, pc_id);
    const auto paths = asic.rows<LidPathRow>();
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0].lid_id, lid_id);
    EXPECT_EQ(paths[0].pc_id, pc_id);
}

TEST_F(Lids, LeadToOnePortChannelOnly)
{
    const uint32_t lid_id = lid(), pc_id = channel(), other = channel();
    path_to_channel(lid_id, pc_id);
    expect_refusal("SDK_E_EXISTS", "LID entry 1 leads to port-channel 1 already", [&] {
        return add_path(lid_id, {SdkPortTypeChannel, 0, {}, pc_id});
    });
    expect_refusal("SDK_E_EXISTS", "LID entry 1 leads to port-channel 1 already", [&] {
        return add_path(lid_id, {SdkPortTypeChannel, 0, {}, other});
    });
}

TEST_F(Lids, LeadToFrontPorts)
{
    const uint32_t lid_id = lid();
    path_to_port(lid_id, 1);
    path_to_port(lid_id, 255);
    expect_refusal("SDK_E_PARAM", "no front port 0", [&] {
        return add_path(lid_id, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 0, {}, 0});
    });
    expect_refusal("SDK_E_PARAM", "a path to a front port has port-channel 0", [&] {
        return add_path(lid_id, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 2, {}, 1});
    });
}

TEST_F(Lids, LeadToAFrontPortOnlyOnce)
{
    const uint32_t lid_id = lid(), other = lid();
    path_to_port(lid_id, 255);
    for (const uint32_t one : {lid_id, other})
        expect_refusal("SDK_E_EXISTS", "LID entry 1 leads to front port 255 already (libsdk_lid_",
                       [&] {
                           return add_path(one, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 255, {}, 0});
                       });
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    path_to_port(other, 255);
}

TEST_F(Lids, LeadNowhereElse)
{
    const uint32_t lid_id = lid();
    expect_refusal("SDK_E_PARAM", "no port type 2", [&] {
        return add_path(lid_id, {2, 1, {}, 0});
    });
    expect_refusal("SDK_E_NOT_FOUND", "no LID entry 9", [&] {
        return add_path(9, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 1, {}, 0});
    });
}

TEST_F(Lids, UnknownCannotBeDestroyed)
{
    for (const uint32_t id : {0u, 1u, no_id})
        expect_refusal("SDK_E_NOT_FOUND", "no LID entry",
                       [&] { return libsdk_lid_entry_destroy(0, id); });
}

TEST_F(Lids, UnknownCannotBeBoundTo)
{
    const uint32_t id = routed_port(1);
    for (const uint32_t unknown : {0u, 1u, no_id}) {
        expect_refusal("SDK_E_NOT_FOUND", "no LID entry",
                       [&] { return write(id, SdkIntfAttrLid, unknown); });
        expect_refusal("SDK_E_NOT_FOUND", "no LID entry",
                       [&] { return queue(id, SdkIntfAttrLid, unknown); });
    }
}

TEST_F(Lids, StayWhileASubInterfaceIsBoundToThem)
{
    const uint32_t lid_id = lid(), parent = routed_port(1);
    const uint32_t one = sub_interface(parent, 100), other = sub_interface(parent, 101);
    set(one, SdkIntfAttrLid, lid_id);
    set(other, SdkIntfAttrLid, lid_id);
    set(other, SdkIntfAttrLid, lid_id);
    expect_refusal("SDK_E_BUSY", "LID entry 1 is held by interface",
                   [&] { return libsdk_lid_entry_destroy(0, lid_id); });
    EXPECT_THAT(asic.last_refusal(), testing::HasSubstr("and 1 more"));
    EXPECT_EQ(libsdk_intf_destroy(0, one), 0);
    expect_refusal("SDK_E_BUSY", "held by interface 3",
                   [&] { return libsdk_lid_entry_destroy(0, lid_id); });
    set(other, SdkIntfAttrLid, lid());
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0) << "it is bound to another now";
}

TEST_F(Lids, ThatAreHeldHandOnTheRequestBehindTheirHolder)
{
    const uint32_t lid_id = lid(), parent = routed_port(1);
    const RequestRef holder = request(
        "l3lifpd_kvn_add_subint", [&] { set(sub_interface(parent, 100), SdkIntfAttrLid, lid_id); });
    const RequestRef refused =
        request("host: remove port", [&] { EXPECT_NE(libsdk_lid_entry_destroy(0, lid_id), 0); });
    EXPECT_THAT(refused->first_failure().named, testing::ElementsAre(holder));
    const RequestRef unknown =
        request("host: remove port", [] { EXPECT_NE(libsdk_lid_entry_destroy(0, 9), 0); });
    EXPECT_THAT(unknown->first_failure().named, testing::IsEmpty()) << "nothing stands in its way";
}

TEST_F(Lids, StayWhileAPhysicalPortIsBoundToThem)
{
    const uint32_t lid_id = lid(), id = routed_port(1);
    set(id, SdkIntfAttrLid, lid_id);
    expect_refusal("SDK_E_BUSY", "LID entry 1 is held by interface 1",
                   [&] { return libsdk_lid_entry_destroy(0, lid_id); });
    EXPECT_EQ(libsdk_intf_destroy(0, id), 0);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
}

TEST_F(Lids, MayGoBeforeThePortChannelsInterfaceThatNamesThem)
{
    const uint32_t lid_id = lid(), id = routed_channel(channel());
    set(id, SdkIntfAttrLid, lid_id);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    EXPECT_EQ(get(id, SdkIntfAttrLid), lid_id) << "dangling, for an audit to find";
    EXPECT_EQ(libsdk_intf_destroy(0, id), 0);
}
