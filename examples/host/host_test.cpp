/* Tests of a host on the bench: the real library, the ASIC model, and failures where it matters. */
#include <string>

#include <kvnsim/sdk.h>
#include <l3lifpd_kavelin.h>

#include <gtest/gtest.h>

#include "host.h"

namespace {

const uint8_t virtual_mac[] = {0x00, 0x00, 0x5e, 0x00, 0x01, 0x0a};
const uint8_t router_mac[] = {0x00, 0x00, 0x5e, 0x00, 0x53, 0x01};

/* A switch of two ports, with interfaces that are not created yet. */
class Switch {
public:
    interface *ports[2] = {add_interface(PORT, 0, nullptr), add_interface(PORT, 1, nullptr)};
    interface *channel = add_interface(PORT_CHANNEL, 1, nullptr);
    interface *sub = add_interface(SUB_INTERFACE, 100, channel);
    interface *svi = add_interface(SVI, 10, nullptr);

    Switch() = default;
    Switch(const Switch &) = delete;
    Switch &operator=(const Switch &) = delete;
    ~Switch()
    {
        for (interface *each : {sub, svi, channel, ports[0], ports[1]})
            remove_interface(each);
    }
};

class Host : public testing::Test, protected Switch {
protected:
    Host()
    {
        EXPECT_EQ(0, kvnsim_sdk_reset());
        for (interface *port : ports)
            EXPECT_EQ(0, power_on(port));
    }
    void expect_nothing_stays()
    {
        for (interface *port : ports)
            EXPECT_EQ(0, power_off(port));
        EXPECT_EQ(0u, kvnsim_sdk_leftovers(stdout));
    }
};

/* What the ASIC has of an attribute that was written; 0 for one that was not. */
uint32_t written(uint32_t intf_id, uint32_t number)
{
    kvnsim_sdk_attribute attribute{};
    attribute.intf_id = intf_id;
    while (kvnsim_sdk_next_attribute(&attribute, sizeof attribute) &&
           attribute.intf_id == intf_id) {
        if (attribute.number == number)
            return attribute.value;
    }
    return 0;
}

} // namespace

TEST_F(Host, RoutesAPortAgainWithoutLeavingTheFirstInterface)
{
    EXPECT_EQ(0, route(ports[0]));
    EXPECT_EQ(0, stop_routing(ports[0]));
    EXPECT_NE(NONE, ports[0]->kept_intf);
    EXPECT_EQ(0, route(ports[0]));
    EXPECT_EQ(NONE, ports[0]->kept_intf);
    EXPECT_EQ(0, stop_routing(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, RoutesAPortLaterThatTheAsicRefusedAtFirst)
{
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_intf_create:1=SDK_E_FULL"));
    EXPECT_EQ(-1, route(ports[0]));
    EXPECT_EQ(1u, kvnsim_sdk_injected("libsdk_intf_create"));
    EXPECT_EQ(0, route(ports[0]));
    EXPECT_EQ(0, stop_routing(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, CallsAgainForAMemberThatTheAsicRefused)
{
    EXPECT_EQ(0, join(ports[0], channel));
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_portchannel_member_add:1=SDK_E_TIMEOUT"));
    EXPECT_EQ(0, join(ports[1], channel));
    EXPECT_EQ(2u, channel->membership.member_count);
    EXPECT_EQ(0, leave(ports[1]));
    EXPECT_EQ(0, leave(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, CompletesAPortChannelWithTheNextMember)
{
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_portchannel_member_add"));
    EXPECT_EQ(-1, join(ports[0], channel));
    EXPECT_EQ(0u, channel->membership.member_count);
    EXPECT_EQ(nullptr, ports[0]->l3lif.main_l3lif);
    kvnsim_sdk_fail_clear();
    EXPECT_EQ(0, join(ports[1], channel));
    EXPECT_EQ(0, leave(ports[1]));
    expect_nothing_stays();
}

TEST_F(Host, TakesDownAPortChannelThatCannotBeRouted)
{
    EXPECT_EQ(nullptr, kvnsim_sdk_set_limit("intf", 0));
    EXPECT_EQ(-1, join(ports[0], channel));
    EXPECT_EQ(0u, channel->membership.member_count);
    expect_nothing_stays();
}

TEST_F(Host, RefusesASubInterfaceWhoseParentIsNotRouted)
{
    EXPECT_EQ(-1, create(sub)); /* the library would abort */
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_intf_create"));
    EXPECT_EQ(-1, join(ports[0], channel));
    EXPECT_EQ(-1, create(sub));
    EXPECT_EQ(0u, channel->users);
    expect_nothing_stays();
}

TEST_F(Host, GivesASubInterfaceOfAPortChannelAnInterfaceOfItsOwn)
{
    EXPECT_EQ(0, join(ports[0], channel));
    EXPECT_EQ(0, create(sub));
    EXPECT_NE(intf_id_of(channel), intf_id_of(sub));
    EXPECT_EQ(0, set_mtu(sub, 1500));
    EXPECT_EQ(1500u, written(intf_id_of(sub), SdkIntfAttrMtuIdx));
    EXPECT_EQ(9100u, written(intf_id_of(channel), SdkIntfAttrMtuIdx));
    EXPECT_EQ(0, destroy(sub));
    EXPECT_EQ(0, leave(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, KeepsWhatOthersReferTo)
{
    EXPECT_EQ(0, join(ports[0], channel));
    EXPECT_EQ(0, create(sub));
    EXPECT_EQ(0, add_virtual_mac(sub, virtual_mac));
    EXPECT_EQ(-1, destroy(sub));
    EXPECT_EQ(-1, leave(ports[0]));
    EXPECT_EQ(-1, route(ports[0])) << "a member";
    EXPECT_EQ(0, remove_virtual_mac(sub, virtual_mac));
    EXPECT_EQ(0, destroy(sub));
    EXPECT_EQ(0, leave(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, SeesThatTheAsicRefusedAVirtualMac)
{
    EXPECT_EQ(0, create(svi));
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_intf_router_mac_trap_create:1=SDK_E_FULL"));
    EXPECT_EQ(-1, add_virtual_mac(svi, virtual_mac));
    EXPECT_EQ(0, add_virtual_mac(svi, virtual_mac));
    EXPECT_EQ(0, remove_virtual_mac(svi, virtual_mac));
    EXPECT_EQ(0, destroy(svi));
    expect_nothing_stays();
}

TEST_F(Host, KeepsTheMtuThatTheAsicKeeps)
{
    EXPECT_EQ(0, create(svi));
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_intf_attr_set"));
    EXPECT_EQ(-1, set_mtu(svi, 1500));
    kvnsim_sdk_fail_clear();
    EXPECT_EQ(9100u, svi->ip_cfg.mtu);
    EXPECT_EQ(9100u, svi->published_mtu);
    EXPECT_EQ(9100u, written(intf_id_of(svi), SdkIntfAttrMtuIdx));
    EXPECT_EQ(0, set_mtu(svi, 1500));
    EXPECT_EQ(1500u, svi->published_mtu);
    EXPECT_EQ(0, destroy(svi));
    expect_nothing_stays();
}

TEST_F(Host, FlushesTheBatchBeforeAnInterfaceIsDestroyed)
{
    EXPECT_EQ(0, route(ports[0]));
    EXPECT_EQ(0, create(svi));
    EXPECT_EQ(0, l3lifpd_kvn_loopback_enable(ports[0]->l3lif.ifindex, 1));
    kvnsim_sdk_pending_write write{};
    EXPECT_EQ(1, kvnsim_sdk_next_pending_write(&write, sizeof write));
    EXPECT_EQ(0, destroy(svi));
    EXPECT_EQ(0, stop_routing(ports[0]));
    expect_nothing_stays();
}

TEST_F(Host, TellsARouterMacFromARefusal)
{
    int32_t id = 0;
    const uint8_t zeros[6] = {};
    EXPECT_EQ(-1, add_router_mac(zeros, &id));
    EXPECT_EQ(nullptr, kvnsim_sdk_fail("libsdk_switch_router_mac_create:1"));
    EXPECT_EQ(-1, add_router_mac(router_mac, &id));
    EXPECT_EQ(0, add_router_mac(router_mac, &id));
    EXPECT_EQ(0, remove_router_mac(id));
    expect_nothing_stays();
}

namespace {

/* A switch comes up and goes down again. Whether each step could be done. */
bool live(Switch &s)
{
    int32_t id = 0, failed = 0;
    failed |= power_on(s.ports[0]) | power_on(s.ports[1]);
    failed |= route(s.ports[0]) | stop_routing(s.ports[0]);
    failed |= join(s.ports[0], s.channel) | join(s.ports[1], s.channel);
    failed |= create(s.sub) | create(s.svi);
    failed |= add_router_mac(router_mac, &id) | add_virtual_mac(s.svi, virtual_mac);
    failed |= remove_virtual_mac(s.svi, virtual_mac) | remove_router_mac(id);
    failed |= destroy(s.svi) | destroy(s.sub);
    failed |= leave(s.ports[1]) | leave(s.ports[0]);
    failed |= power_off(s.ports[1]) | power_off(s.ports[0]);
    return failed == 0;
}

} // namespace

/* Each SDK call of that life fails once. */
TEST(EveryFailure, IsReportedWhereItLeavesSomething)
{
    unsigned tried = 0;
    for (const char *call :
         {"libsdk_intf_create", "libsdk_intf_destroy", "libsdk_intf_attr_set",
          "libsdk_switch_config_get", "libsdk_portchannel_create", "libsdk_portchannel_destroy",
          "libsdk_portchannel_member_add", "libsdk_portchannel_member_delete",
          "libsdk_lid_entry_create", "libsdk_lid_entry_destroy", "libsdk_lid_entry_path_add",
          "libsdk_switch_router_mac_create", "libsdk_switch_router_mac_destroy",
          "libsdk_intf_router_mac_trap_create", "libsdk_intf_router_mac_trap_destroy"}) {
        for (unsigned nth = 1;; ++nth) {
            const std::string failure = call + (':' + std::to_string(nth));
            SCOPED_TRACE(failure);
            ASSERT_EQ(0, kvnsim_sdk_reset());
            ASSERT_EQ(nullptr, kvnsim_sdk_fail(failure.c_str()));
            Switch s;
            const bool well = live(s);
            if (kvnsim_sdk_injected(call) == 0) {
                EXPECT_TRUE(well);
                EXPECT_GT(nth, 1u) << "the life has no such call";
                break;
            }
            ++tried;
            EXPECT_TRUE(!well || kvnsim_sdk_leftovers(stdout) == 0);
            /* The library knows virtual MACs by the index: none may outlive its interface. */
            if (s.svi->users != 0) {
                EXPECT_EQ(0, remove_virtual_mac(s.svi, virtual_mac));
            }
        }
    }
    EXPECT_GT(tried, 30u);
}
