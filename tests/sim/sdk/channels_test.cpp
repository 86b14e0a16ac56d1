/* Port-channels and their members. */
#include "device.h"

using namespace kvnsim;
using testing::HasSubstr;

class Channels : public Device {
protected:
    int32_t add(uint32_t pc_id, const sdk_port_mask &mask)
    {
        return libsdk_portchannel_member_add(0, pc_id, &mask);
    }
    int32_t remove(uint32_t pc_id, const sdk_port_mask &mask)
    {
        return libsdk_portchannel_member_delete(0, pc_id, &mask, 0x16000000);
    }
    std::vector<uint32_t> members(uint32_t pc_id)
    {
        EXPECT_NE(asic.find_port_channel(pc_id), nullptr);
        std::vector<uint32_t> ports;
        for (const MemberRow &one : rows_of(asic, &MemberRow::pc_id, pc_id))
            ports.push_back(one.front_port);
        return ports;
    }
};

using testing::ElementsAre;

TEST_F(Channels, AreMadeEmptyWithTheLowestFreeIdentifier)
{
    EXPECT_EQ(channel(), 1u);
    EXPECT_EQ(channel(), 2u);
    EXPECT_THAT(members(1), ElementsAre());
    EXPECT_EQ(libsdk_portchannel_destroy(0, 1), 0);
    EXPECT_EQ(asic.find_port_channel(1), nullptr);
    EXPECT_EQ(channel(), 1u);
}

TEST_F(Channels, GainAndLoseThePortsOfTheMask)
{
    const uint32_t pc_id = channel();
    EXPECT_EQ(add(pc_id, mask_of({8, 1, 255})), 0);
    EXPECT_THAT(members(pc_id), ElementsAre(1, 8, 255));
    EXPECT_EQ(remove(pc_id, mask_of({8, 255})), 0);
    EXPECT_THAT(members(pc_id), ElementsAre(1));
}

TEST_F(Channels, ReadTheMaskMostSignificantBitFirst)
{
    const uint32_t pc_id = channel();
    sdk_port_mask mask{32, {}};
    mask.port_bitmap[0] = 0x40;
    mask.port_bitmap[1] = 0x80;
    EXPECT_EQ(add(pc_id, mask), 0);
    EXPECT_THAT(members(pc_id), ElementsAre(1, 8));
}

TEST_F(Channels, RefuseAMaskThatIsNone)
{
    const uint32_t pc_id = channel();
    sdk_port_mask wrong_length = mask_of({1});
    wrong_length.mask_len = 31;
    const struct {
        sdk_port_mask mask;
        const char *reason;
    } rows[] = {{wrong_length, "length is 31, not 32"},
                {mask_of({}), "names no port"},
                {mask_of({0, 5}), "no front port 0"}};
    for (const auto &row : rows) {
        expect_refusal("SDK_E_PARAM", row.reason, [&] { return add(pc_id, row.mask); });
        expect_refusal("SDK_E_PARAM", row.reason, [&] { return remove(pc_id, row.mask); });
    }
}

TEST_F(Channels, UnknownAreRefused)
{
    for (const uint32_t id : {0u, 1u, no_id}) {
        expect_refusal("SDK_E_NOT_FOUND", "no port-channel",
                       [&] { return libsdk_portchannel_destroy(0, id); });
        expect_refusal("SDK_E_NOT_FOUND", "no port-channel", [&] { return add(id, mask_of({1})); });
        expect_refusal("SDK_E_NOT_FOUND", "no port-channel",
                       [&] { return remove(id, mask_of({1})); });
    }
}

TEST_F(Channels, ShareNoPort)
{
    const uint32_t one = channel(), other = channel();
    request("l3lifpd_kvn_add_l3pc", [&] { member(one, 5); });
    expect_refusal("SDK_E_EXISTS",
                   "front port 5 is a member of port-channel 1 already "
                   "(libsdk_portchannel_member_add in request 1 l3lifpd_kvn_add_l3pc())",
                   [&] {
                       return add(other, mask_of({4, 5}));
                   });
    expect_refusal("SDK_E_EXISTS", "front port 5 is a member of port-channel 1 already",
                   [&] { return add(one, mask_of({5})); });
    EXPECT_EQ(remove(one, mask_of({5})), 0);
    EXPECT_EQ(add(other, mask_of({4, 5})), 0);
}

TEST_F(Channels, LoseOnlyPortsThatAreTheirs)
{
    const uint32_t one = channel(), other = channel();
    member(one, 5);
    member(other, 6);
    expect_refusal("SDK_E_NOT_FOUND", "front port 6 is no member of port-channel 1", [&] {
        return remove(one, mask_of({5, 6}));
    });
    expect_refusal("SDK_E_NOT_FOUND", "front port 7 is no member",
                   [&] { return remove(one, mask_of({7})); });
}

TEST_F(Channels, StayWhileAnythingRefersToThem)
{
    const uint32_t pc_id = channel(), lid_id = lid();
    const auto destroy = [&] { return libsdk_portchannel_destroy(0, pc_id); };
    member(pc_id, 9);
    member(pc_id, 3);
    const uint32_t intf_id = routed_channel(pc_id);
    path_to_channel(lid_id, pc_id);

    expect_refusal("SDK_E_BUSY", "port-channel 1 is held by member port 3 ", destroy);
    EXPECT_THAT(asic.last_refusal(), HasSubstr(" and 1 more, interface 1 (libsdk_intf_create"));
    EXPECT_THAT(asic.last_refusal(), HasSubstr(", LID entry 1 (libsdk_lid_entry_path_add"));

    EXPECT_EQ(remove(pc_id, mask_of({3, 9})), 0);
    expect_refusal("SDK_E_BUSY", "port-channel 1 is held by interface 1 ", destroy);
    EXPECT_EQ(libsdk_intf_destroy(0, intf_id), 0);
    expect_refusal("SDK_E_BUSY", "port-channel 1 is held by LID entry 1 ", destroy);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    EXPECT_EQ(destroy(), 0);
}

TEST_F(Channels, HandOnEveryRequestWhoseObjectHoldsThem)
{
    const uint32_t pc_id = channel(), lid_id = lid();
    const RequestRef of_member = request("l3lifpd_kvn_add_l3pc", [&] { member(pc_id, 3); });
    const RequestRef of_interface = request("l3lifpd_kvn_add_l3pc", [&] { routed_channel(pc_id); });
    member(pc_id, 9); /* by nobody */
    const RequestRef of_path =
        request("host: hold port-channel", [&] { path_to_channel(lid_id, pc_id); });
    const RequestRef refused = request("l3lifpd_kvn_del_l3pc",
                                       [&] { EXPECT_NE(libsdk_portchannel_destroy(0, pc_id), 0); });
    EXPECT_THAT(refused->first_failure().named, ElementsAre(of_member, of_interface, of_path));
}

TEST_F(Channels, AreTakenDownInTheLibrarysOrder)
{
    const uint32_t pc_id = channel(), lid_id = lid();
    path_to_channel(lid_id, pc_id);
    const uint32_t intf_id = routed_channel(pc_id);
    set(intf_id, SdkIntfAttrLid, lid_id);
    member(pc_id, 1);

    EXPECT_EQ(remove(pc_id, mask_of({1})), 0);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    EXPECT_EQ(libsdk_intf_destroy(0, intf_id), 0);
    EXPECT_EQ(libsdk_portchannel_destroy(0, pc_id), 0);
}
