/* Capacities and occupancy. */
#include <map>

#include "device.h"
#include "sim/sdk/table.h"

using namespace kvnsim;
using testing::ElementsAre;
using testing::HasSubstr;

/* Identifiers far apart, released in no order. */
TEST(Identifiers, AreHandedOutLowestFirstHoweverTheyWereReleased)
{
    Table<int> table(last_id);
    for (uint32_t id = first_id; id <= 5000; ++id)
        ASSERT_EQ(table.take(0), id);
    for (const uint32_t id : {4096u, 64u, 5000u, 1u, 4095u, 128u, 63u})
        table.release(id);
    EXPECT_EQ(table.find(64), nullptr);
    EXPECT_NE(table.find(65), nullptr);
    EXPECT_EQ(table.take(0), 1u);
    table.release(2);
    std::vector<uint32_t> taken;
    for (int i = 0; i < 8; ++i)
        taken.push_back(table.take(0));
    EXPECT_THAT(taken, ElementsAre(2, 63, 64, 128, 4095, 4096, 5000, 5001));
    EXPECT_EQ(table.occupancy.used, 5001u);
    EXPECT_EQ(table.occupancy.high_water, 5001u);
}

TEST(Identifiers, GiveTheOrderInWhichRowsAreVisited)
{
    Table<int> table(last_id);
    for (const int value : {10, 20, 30})
        table.take(value);
    table.release(2);
    std::vector<int> visited;
    const auto visit = [&](int value) { visited.push_back(value); };
    table.each(visit);
    EXPECT_THAT(visited, ElementsAre(10, 30)) << "a released row is none";
    EXPECT_EQ(table.take(40), 2u);
    visited.clear();
    table.each(visit);
    EXPECT_THAT(visited, ElementsAre(10, 40, 30));
}

class Tables : public Device {
protected:
    TableUse use(const std::string &name)
    {
        for (const TableUse &table : asic.rows<TableUse>()) {
            if (table.name == name)
                return table;
        }
        ADD_FAILURE() << "no table " << name;
        return {};
    }
    void limit(const char *table, uint32_t capacity)
    {
        ASSERT_EQ(asic.set_limit(table, capacity), "");
        ASSERT_EQ(use(table).capacity, capacity);
    }
    uint32_t id = 77;
};

TEST_F(Tables, AreEmptyAfterPowerOnWithTheDevicesCapacities)
{
    const std::map<std::string, uint32_t> capacities{
        {"intf", 65534}, {"attr", 65534 * 19}, {"lid", 16384}, {"path", 32768},
        {"pc", 256},     {"member", 255},      {"rmac", 32},   {"trap", 4096}};
    EXPECT_EQ(asic.rows<TableUse>().size(), capacities.size());
    for (const auto &[name, capacity] : capacities) {
        EXPECT_EQ(use(name).capacity, capacity) << name;
        EXPECT_EQ(use(name).used, 0u) << name;
        EXPECT_EQ(use(name).high_water, 0u) << name;
        EXPECT_NE(use(name).description, "");
    }
}

TEST_F(Tables, OfInterfacesCanBeFull)
{
    limit("intf", 2);
    svi(10);
    svi(11);
    expect_refusal("SDK_E_FULL", "no room for another interface: 2 of 2 in use", [&] {
        return create(3, {12, 0, 0, 0, 0}, &id);
    });
    expect_refusal("SDK_E_EXISTS", "VLAN 11", [&] { return create(3, {11, 0, 0, 0, 0}, &id); });
    EXPECT_EQ(id, 77u);
    EXPECT_EQ(libsdk_intf_destroy(0, 1), 0);
    EXPECT_EQ(svi(12), 1u);
}

TEST_F(Tables, OfLidEntriesCanBeFull)
{
    limit("lid", 1);
    lid();
    expect_refusal("SDK_E_FULL", "no room for another LID entry: 1 of 1 in use",
                   [&] { return libsdk_lid_entry_create(0, &id); });
}

TEST_F(Tables, OfAttributesCanBeFull)
{
    limit("attr", 2);
    const uint32_t one = svi(10), other = svi(11);
    set(one, SdkIntfAttrMtuIdx, 9000);
    set(other, SdkIntfAttrMtuIdx, 9000);
    const char *const reason = "no room for another attribute value: 2 of 2 in use";
    expect_refusal("SDK_E_FULL", reason, [&] { return write(one, SdkIntfAttrIpv4UcstEn, 1); });
    expect_refusal("SDK_E_FULL", reason, [&] { return queue(one, SdkIntfAttrIpv4UcstEn, 1); });
    set(one, SdkIntfAttrMtuIdx, 8000);
    EXPECT_EQ(queue(one, SdkIntfAttrMtuIdx, 7000), 0) << "what is there may change";
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 0u);
    EXPECT_EQ(libsdk_intf_destroy(0, other), 0);
    EXPECT_EQ(use("attr").used, 1u);
    EXPECT_EQ(use("attr").high_water, 2u);
    set(one, SdkIntfAttrIpv4UcstEn, 1);
}

TEST_F(Tables, OfAttributesMayBeFullWhenTheBatchIsFlushed)
{
    limit("attr", 1);
    const uint32_t one = svi(10);
    queue(one, SdkIntfAttrMtuIdx, 9000);
    queue(one, SdkIntfAttrIpv4UcstEn, 1);
    queue(one, SdkIntfAttrMtuIdx, 8000);
    EXPECT_EQ(use("attr").used, 0u);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 1u);
    EXPECT_THAT(asic.last_refusal(),
                HasSubstr("SdkIntfAttrIpv4UcstEn to interface 1 (libsdk_intf_attr_set_batch) is "
                          "dropped: no room for another attribute value"));
    EXPECT_EQ(get(one, SdkIntfAttrMtuIdx), 8000u);
    EXPECT_EQ(use("attr").used, 1u);
}

TEST_F(Tables, OfLidPathsCanBeFull)
{
    limit("path", 2);
    const uint32_t one = lid(), other = lid(), pc_id = channel();
    path_to_port(one, 1);
    path_to_channel(one, pc_id);
    const char *const reason = "no room for another LID path: 2 of 2 in use";
    expect_refusal("SDK_E_FULL", reason, [&] {
        return add_path(other, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 2, {}, 0});
    });
    expect_refusal("SDK_E_FULL", reason, [&] {
        return add_path(other, {SdkPortTypeChannel, 0, {}, pc_id});
    });
    EXPECT_EQ(libsdk_lid_entry_destroy(0, one), 0);
    EXPECT_EQ(use("path").used, 0u);
    EXPECT_EQ(use("path").high_water, 2u);
    path_to_port(other, 2);
}

TEST_F(Tables, OfPortChannelsCanBeFull)
{
    limit("pc", 1);
    channel();
    expect_refusal("SDK_E_FULL", "no room for another port-channel: 1 of 1 in use",
                   [&] { return libsdk_portchannel_create(0, &id); });
}

TEST_F(Tables, OfMembersAreLimitedPerPortChannel)
{
    limit("member", 2);
    const uint32_t one = channel(), other = channel();
    member(one, 1);
    member(other, 2);
    member(other, 3);
    const sdk_port_mask more = mask_of({4, 5});
    expect_refusal("SDK_E_FULL", "no room for 2 more in port-channel 1: 1 of 2 members",
                   [&] { return libsdk_portchannel_member_add(0, one, &more); });
    member(one, 4);
}

TEST_F(Tables, OfRouterMacsCanBeFull)
{
    limit("rmac", 1);
    router_mac("00:00:00:00:00:01");
    expect_refusal("SDK_E_FULL", "no room for another router MAC: 1 of 1 in use",
                   [&] { return add_router_mac("00:00:00:00:00:02", &id); });
}

TEST_F(Tables, OfTrapsCanBeFull)
{
    limit("trap", 1);
    const uint32_t intf_id = svi(10);
    trap(intf_id, "00:00:5e:00:01:01");
    expect_refusal("SDK_E_FULL", "no room for another MAC trap: 1 of 1 in use",
                   [&] { return add_trap(intf_id, "00:00:5e:00:01:02", &id); });
}

TEST_F(Tables, KeepWhatTheyHoldWhenTheLimitSinks)
{
    for (const uint32_t vlan : {10u, 11u, 12u})
        svi(vlan);
    limit("intf", 1);
    EXPECT_EQ(use("intf").used, 3u);
    EXPECT_EQ(libsdk_intf_destroy(0, 1), 0);
    expect_refusal("SDK_E_FULL", "2 of 1 in use", [&] { return create(3, {10, 0, 0, 0, 0}, &id); });
}

TEST_F(Tables, CanHaveNoRoomAtAll)
{
    limit("pc", 0);
    expect_refusal("SDK_E_FULL", "0 of 0 in use",
                   [&] { return libsdk_portchannel_create(0, &id); });
}

TEST_F(Tables, SayWhatIsWrongWithALimit)
{
    EXPECT_EQ(asic.set_limit("interfaces", 5), "there is no table \"interfaces\"; the tables are "
                                               "intf, attr, lid, path, pc, member, rmac, trap");
    EXPECT_EQ(asic.set_limit("intf", 65535), "intf: the capacity is 0 to 65534, not 65535");
    EXPECT_EQ(asic.set_limit("attr", 1245147), "attr: the capacity is 0 to 1245146, not 1245147");
    EXPECT_EQ(asic.set_limit("member", 256), "member: the capacity is 0 to 255, not 256");
}

TEST_F(Tables, NeverHandOutTheIdentifierThatMeansNone)
{
    const uint32_t parents[] = {routed_port(1), routed_port(2)};
    uint32_t last = 0;
    for (uint32_t made = 2; made < 65534; ++made)
        ASSERT_EQ(create(2, {no_id, 1 + made % 4094, 0, 0, 0}, &last), 0);
    EXPECT_EQ(last, 65534u);
    expect_refusal("SDK_E_FULL", "65534 of 65534 in use", [&] {
        return create(2, {parents[0], 1, 0, 0, 0}, &id);
    });
    EXPECT_EQ(libsdk_intf_destroy(0, 40000), 0);
    EXPECT_EQ(sub_interface(parents[1], 1), 40000u);
    EXPECT_EQ(use("intf").high_water, 65534u);
}

TEST_F(Tables, RememberTheMostTheyHeld)
{
    const uint32_t pc_id = channel(), other = channel();
    for (const uint32_t port : {1u, 2u, 3u})
        member(pc_id, port);
    member(other, 4);
    const sdk_port_mask gone = mask_of({1, 2, 3});
    EXPECT_EQ(libsdk_portchannel_member_delete(0, pc_id, &gone, 7), 0);
    EXPECT_EQ(use("member").used, 1u);
    EXPECT_EQ(use("member").high_water, 3u);
    EXPECT_EQ(libsdk_portchannel_destroy(0, pc_id), 0);
    EXPECT_EQ(use("pc").used, 1u);
    EXPECT_EQ(use("pc").high_water, 2u);
}

TEST_F(Tables, AreAsBeforeWhenEverythingIsDestroyedAgain)
{
    for (int round = 0; round < 2; ++round) {
        const uint32_t port_lid = lid(), pc_lid = lid(), pc_id = channel();
        path_to_port(port_lid, 1);
        path_to_channel(pc_lid, pc_id);
        const uint32_t port = routed_port(1), pc = routed_channel(pc_id), vlan = svi(10);
        const uint32_t sub = sub_interface(port, 100), rmac = router_mac("00:1b:0d:e6:57:c0");
        const uint32_t vrrp = trap(vlan, "00:00:5e:00:01:01");
        set(port, SdkIntfAttrLid, port_lid);
        set(pc, SdkIntfAttrLid, pc_lid);
        set(sub, SdkIntfAttrLid, port_lid);
        member(pc_id, 2);
        const sdk_port_mask port_two = mask_of({2});

        EXPECT_EQ(libsdk_intf_router_mac_trap_destroy(0, vrrp), 0);
        EXPECT_EQ(libsdk_switch_router_mac_destroy(0, rmac), 0);
        EXPECT_EQ(libsdk_intf_destroy(0, sub), 0);
        EXPECT_EQ(libsdk_intf_destroy(0, vlan), 0);
        EXPECT_EQ(libsdk_portchannel_member_delete(0, pc_id, &port_two, 7), 0);
        EXPECT_EQ(libsdk_lid_entry_destroy(0, pc_lid), 0);
        EXPECT_EQ(libsdk_intf_destroy(0, pc), 0);
        EXPECT_EQ(libsdk_portchannel_destroy(0, pc_id), 0);
        EXPECT_EQ(libsdk_intf_destroy(0, port), 0);
        EXPECT_EQ(libsdk_lid_entry_destroy(0, port_lid), 0);

        for (const TableUse &table : asic.rows<TableUse>())
            EXPECT_EQ(table.used, 0u) << table.name;
        EXPECT_EQ(use("intf").high_water, 4u) << "the second round needs no more than the first";
    }
}

TEST_F(Tables, AreForgottenByAReset)
{
    limit("intf", 5);
    svi(10);
    member(channel(), 1);
    router_mac("00:1b:0d:e6:57:c0");
    queue(1, SdkIntfAttrMtuIdx, 9000);
    const std::string fresh = contents(Asic());
    asic.reset();
    EXPECT_EQ(contents(asic), fresh);
    EXPECT_EQ(asic.last_refusal(), "");
    svi(10);
    member(channel(), 1);
    router_mac("00:1b:0d:e6:57:c0");
}
