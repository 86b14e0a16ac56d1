#include "sim/fwm/host.h"

#include "tests/sim/fwm/host_fixture.h"

namespace kvnsim {
namespace {

class Interfaces : public HostFixture {};

TEST_F(Interfaces, AreFoundByIndexAndByName)
{
    HostInterface &eth4 = port(4);
    HostInterface &po12 = port_channel(12);
    EXPECT_EQ(eth4.ifindex, 0x10000004u);
    EXPECT_EQ(po12.ifindex, 0x2000000Cu);
    EXPECT_EQ(host.find(0x10000004), &eth4);
    EXPECT_EQ(host.find("PortChannel12"), &po12);
    EXPECT_EQ(host.find("Ethernet5"), nullptr);
}

TEST_F(Interfaces, StartWithTheRecordThatTheLibraryExpects)
{
    const HostInterface &eth0 = port(0);
    EXPECT_EQ(eth0.pd_state, 0u);
    EXPECT_EQ(eth0.main_l3lif, nullptr);
    EXPECT_EQ(eth0.pd_ctxt, nullptr);
    EXPECT_EQ(eth0.ip_cfg, &eth0.ip);
    EXPECT_EQ(eth0.pc_membership, nullptr);
    const HostInterface &po1 = port_channel(1);
    EXPECT_EQ(po1.pc_membership, &po1.membership);
}

TEST_F(Interfaces, UnknownIndexesFindNothing)
{
    port(4);
    for (const uint32_t ifindex : {0u, 4u, 0x10000003u, 0x10000005u, 0x1FFFFFFFu, 0x20000004u,
                                   0x40000000u, 0x50000000u, 0xF0000000u, 0xFFFFFFFFu})
        EXPECT_EQ(host.find(ifindex), nullptr) << ifindex;
}

TEST_F(Interfaces, TakeOnlyNumbersInRange)
{
    EXPECT_NE(host.add_port("a", 254), nullptr);
    EXPECT_EQ(host.add_port("b", 255), nullptr);
    EXPECT_NE(host.add_port_channel("c", 9999), nullptr);
    EXPECT_EQ(host.add_port_channel("d", 10000), nullptr);
    EXPECT_NE(host.add_svi("e", 4094), nullptr);
    EXPECT_EQ(host.add_svi("f", 4095), nullptr);
    EXPECT_EQ(host.add_svi("g", 0), nullptr);
    HostInterface &parent = *host.find("a");
    EXPECT_EQ(host.add_sub_interface("h", parent, 0), nullptr);
    EXPECT_EQ(host.add_sub_interface("i", parent, 4095), nullptr);
    EXPECT_EQ(host.size(), 3u);
}

TEST_F(Interfaces, HaveNamesAndNumbersOfTheirOwn)
{
    port(1);
    EXPECT_EQ(host.add_port("Ethernet1", 2), nullptr);
    EXPECT_EQ(host.add_port("Ethernet2", 1), nullptr);
    EXPECT_EQ(host.add_port("", 3), nullptr);
    EXPECT_EQ(host.size(), 1u);
}

TEST_F(Interfaces, OnlyPortsAndPortChannelsHaveSubInterfaces)
{
    HostInterface &svi = *host.add_svi("Vlan100", 100);
    EXPECT_EQ(host.add_sub_interface("Vlan100.5", svi, 5), nullptr);
    EXPECT_EQ(svi.sub_interfaces, 0u);
}

TEST_F(Interfaces, ASubInterfaceKnowsItsParent)
{
    HostInterface &eth0 = port(0);
    HostInterface &po1 = port_channel(1);
    const HostInterface &on_port = *host.add_sub_interface("Ethernet0.10", eth0, 10);
    const HostInterface &on_channel = *host.add_sub_interface("Po1.20", po1, 20);
    EXPECT_EQ(on_port.parent, &eth0);
    EXPECT_EQ(on_port.main_l3lif, &eth0);
    EXPECT_EQ(on_port.vlan, 10u);
    EXPECT_EQ(on_channel.parent, &po1);
    EXPECT_EQ(on_channel.main_l3lif, nullptr) << "the library would take it for a member";
}

TEST_F(Interfaces, ASubInterfaceTakesTheLowestFreeIndex)
{
    HostInterface &eth0 = port(0);
    std::vector<HostInterface *> subs;
    for (uint32_t vlan = 1; vlan <= 4; vlan++)
        subs.push_back(host.add_sub_interface("Ethernet0." + std::to_string(vlan), eth0, vlan));
    EXPECT_EQ(subs[3]->ifindex, 0x40000003u);
    EXPECT_TRUE(host.remove(*subs[2]));
    EXPECT_TRUE(host.remove(*subs[1]));
    EXPECT_EQ(host.add_sub_interface("Ethernet0.5", eth0, 5)->ifindex, 0x40000001u);
    EXPECT_EQ(host.add_sub_interface("Ethernet0.6", eth0, 6)->ifindex, 0x40000002u);
    EXPECT_EQ(host.add_sub_interface("Ethernet0.7", eth0, 7)->ifindex, 0x40000004u);
}

TEST_F(Interfaces, ARefusedSubInterfaceUsesUpNoIndex)
{
    HostInterface &eth0 = port(0);
    HostInterface &first = *host.add_sub_interface("Ethernet0.1", eth0, 1);
    host.add_sub_interface("Ethernet0.2", eth0, 2);
    host.remove(first);
    EXPECT_EQ(host.add_sub_interface("Ethernet0.2", eth0, 3), nullptr);
    EXPECT_EQ(host.add_sub_interface("Ethernet0.3", eth0, 3)->ifindex, 0x40000000u);
}

TEST_F(Interfaces, AreListedByKindAndNumber)
{
    HostInterface &svi = *host.add_svi("Vlan7", 7);
    HostInterface &eth9 = port(9);
    HostInterface &po3 = port_channel(3);
    HostInterface &sub = *host.add_sub_interface("Ethernet9.1", eth9, 1);
    HostInterface &eth2 = port(2);
    EXPECT_EQ(host.interfaces(), (std::vector<HostInterface *>{&eth2, &eth9, &po3, &svi, &sub}));
}

TEST_F(Interfaces, RemovedAreGone)
{
    HostInterface &eth0 = routed_port(0);
    EXPECT_TRUE(host.remove(eth0));
    EXPECT_EQ(host.find(0x10000000), nullptr);
    EXPECT_EQ(host.find("Ethernet0"), nullptr);
    EXPECT_NE(host.add_port("Ethernet0", 0), nullptr);
}

TEST_F(Interfaces, AreNotRemovedWhileOthersNameThem)
{
    HostInterface &eth0 = port(0);
    HostInterface &eth1 = port(1);
    HostInterface &po1 = port_channel(1);
    HostInterface &sub = *host.add_sub_interface("Ethernet0.1", eth0, 1);
    host.join(eth1, po1);
    EXPECT_FALSE(host.remove(eth0));
    EXPECT_FALSE(host.remove(po1));
    EXPECT_FALSE(host.remove(eth1));
    EXPECT_EQ(host.size(), 4u);
    host.remove(sub);
    host.leave(eth1);
    EXPECT_TRUE(host.remove(eth0));
    EXPECT_TRUE(host.remove(eth1));
    EXPECT_TRUE(host.remove(po1));
    EXPECT_EQ(host.size(), 0u);
}

TEST_F(Interfaces, JoinAndLeaveAPortChannel)
{
    HostInterface &eth1 = port(1);
    HostInterface &eth5 = port(5);
    HostInterface &po1 = port_channel(1);
    EXPECT_TRUE(host.join(eth5, po1));
    EXPECT_TRUE(host.join(eth1, po1));
    EXPECT_EQ(po1.membership.member_count, 2u);
    EXPECT_EQ(eth1.main_l3lif, &po1);
    EXPECT_EQ(eth1.channel, &po1);
    EXPECT_EQ(host.members(po1), (std::vector<HostInterface *>{&eth1, &eth5}));
    EXPECT_TRUE(host.leave(eth5));
    EXPECT_EQ(po1.membership.member_count, 1u);
    EXPECT_EQ(eth5.main_l3lif, nullptr);
    EXPECT_EQ(host.members(po1), (std::vector<HostInterface *>{&eth1}));
}

TEST_F(Interfaces, OnlyAPortJoinsOnlyOnePortChannel)
{
    HostInterface &eth1 = port(1);
    HostInterface &po1 = port_channel(1);
    HostInterface &po2 = port_channel(2);
    EXPECT_FALSE(host.leave(eth1));
    EXPECT_FALSE(host.join(po1, po2));
    EXPECT_FALSE(host.join(eth1, eth1));
    EXPECT_TRUE(host.join(eth1, po1));
    EXPECT_FALSE(host.join(eth1, po2));
    EXPECT_FALSE(host.join(eth1, po1));
    EXPECT_EQ(po1.membership.member_count, 1u);
    EXPECT_EQ(po2.membership.member_count, 0u);
}

TEST_F(Interfaces, UnregisteringTakesTheContextAndTheDatabaseRows)
{
    HostInterface &eth0 = routed_port(0);
    give_context(eth0, 5);
    eth0.pd_state = 3;
    fwmpd_kvn_init_l3_label(eth0.ifindex, 1, 0);
    ASSERT_EQ(eth0.intf_id(), 5u);
    ASSERT_NE(eth0.context(), nullptr);

    host.unregister_l3(eth0);
    EXPECT_EQ(eth0.context(), nullptr);
    EXPECT_EQ(eth0.intf_id(), no_id);
    EXPECT_EQ(eth0.pd_state, 0u);
    EXPECT_TRUE(host.db().rows<LabelRow>().empty());
    EXPECT_EQ(host.find("Ethernet0"), &eth0);
}

TEST_F(Interfaces, AHolderWithoutARecordHasNoIdentifiers)
{
    HostInterface &eth0 = routed_port(0);
    eth0.pd_ctxt = static_cast<l3pd_holder *>(std::calloc(1, sizeof(l3pd_holder)));
    EXPECT_EQ(eth0.intf_id(), no_id);
    EXPECT_EQ(L3LIFPD_GET_PD_CTXT(&eth0), nullptr);
}

TEST_F(Interfaces, AreAllForgottenAtAReset)
{
    HostInterface &eth0 = routed_port(0);
    give_context(eth0, 5);
    host.add_sub_interface("Ethernet0.1", eth0, 1);
    fwmpd_kvn_init_l3_label(eth0.ifindex, 1, 0);
    host.hold_port_channel(port_channel(1));
    host.reset();
    EXPECT_EQ(host.size(), 0u);
    EXPECT_TRUE(host.interfaces().empty());
    EXPECT_TRUE(host.db().rows<LabelRow>().empty());
    EXPECT_FALSE(host.held_port_channel(ifindex_of(InterfaceKind::port_channel, 1)));
    EXPECT_EQ(host.add_sub_interface("Ethernet0.1", port(0), 1)->ifindex, 0x40000000u);
}

TEST_F(Interfaces, KindsHaveNames)
{
    EXPECT_STREQ(to_text(InterfaceKind::port), "port");
    EXPECT_STREQ(to_text(InterfaceKind::port_channel), "port-channel");
    EXPECT_STREQ(to_text(InterfaceKind::sub_interface), "sub-interface");
    EXPECT_STREQ(to_text(InterfaceKind::svi), "SVI");
}

/* What the layer-2 side makes in the ASIC by itself. */
class HostTasks : public HostFixture {
protected:
    /* The call that was refused first in a task that returns its status. */
    std::string refusal(const std::function<int32_t()> &task)
    {
        begin_request("host: try");
        const int32_t status = task();
        const RequestRef request = journal.end(std::nullopt);
        EXPECT_EQ(request->first_failure().status, status);
        return request->first_failure().words;
    }
};

TEST_F(HostTasks, APortGetsALidEntryThatLeadsToIt)
{
    HostInterface &eth6 = port(6);
    EXPECT_EQ(host.make_port_lid(eth6), 0);
    EXPECT_TRUE(asic.find_lid(eth6.lid_id.value()));
    const auto paths = asic.rows<LidPathRow>();
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0].lid_id, eth6.lid_id);
    EXPECT_EQ(paths[0].port_type, 0u);
    EXPECT_EQ(paths[0].front_port, 7u);
}

TEST_F(HostTasks, APortHasOneLidEntry)
{
    HostInterface &eth6 = port(6);
    host.make_port_lid(eth6);
    const uint64_t calls = journal.calls_made;
    EXPECT_EQ(host.make_port_lid(eth6), 0);
    EXPECT_EQ(journal.calls_made, calls);
    EXPECT_EQ(host.release_port_lid(eth6), 0);
    EXPECT_TRUE(asic.rows<LidRow>().empty());
    EXPECT_FALSE(eth6.lid_id);
    EXPECT_EQ(host.release_port_lid(eth6), 0);
}

TEST_F(HostTasks, ARefusedLidEntryIsNamedWithItsStatus)
{
    HostInterface &eth6 = port(6);
    fail("libsdk_lid_entry_create=SDK_E_FULL");
    EXPECT_EQ(refusal([&] { return host.make_port_lid(eth6); }),
              "libsdk_lid_entry_create: SDK_E_FULL (-5)");
    EXPECT_FALSE(eth6.lid_id);
}

TEST_F(HostTasks, ARefusedLidPathLeavesNothingBehind)
{
    HostInterface &eth6 = port(6);
    fail("libsdk_lid_entry_path_add=SDK_E_BUSY");
    fail("libsdk_lid_entry_destroy");
    EXPECT_EQ(refusal([&] { return host.make_port_lid(eth6); }),
              "libsdk_lid_entry_path_add: SDK_E_BUSY (-6)");
    EXPECT_TRUE(asic.rows<LidRow>().empty());
    EXPECT_FALSE(eth6.lid_id);
    EXPECT_TRUE(journal.faults.armed());
}

TEST_F(HostTasks, ALidEntryThatCannotBeDestroyedStaysThePorts)
{
    HostInterface &eth6 = port(6);
    host.make_port_lid(eth6);
    fail("libsdk_lid_entry_destroy=SDK_E_TIMEOUT");
    EXPECT_EQ(refusal([&] { return host.release_port_lid(eth6); }),
              "libsdk_lid_entry_destroy: SDK_E_TIMEOUT (-8)");
    EXPECT_TRUE(eth6.lid_id);
}

TEST_F(HostTasks, AKeptSdkInterfaceIsDestroyedOnRelease)
{
    HostInterface &eth0 = port(0);
    sdk_intf_create_params params{};
    params.param1 = 1;
    uint32_t intf_id = 0;
    ASSERT_EQ(libsdk_intf_create(0, 1, &params, &intf_id), 0);
    ASSERT_EQ(fwmpd_pc_member_intf_store(eth0.ifindex, intf_id, 1), 0);
    EXPECT_EQ(eth0.kept_intf, intf_id);

    EXPECT_EQ(host.release_kept_intf(eth0), 0);
    EXPECT_TRUE(asic.rows<IntfRow>().empty());
    EXPECT_FALSE(eth0.kept_intf);
    EXPECT_TRUE(host.db().rows<MemberIntfRow>().empty());
    EXPECT_EQ(host.release_kept_intf(eth0), 0) << "nothing is left to release";
}

TEST_F(HostTasks, TheBatchIsFlushedBeforeAKeptSdkInterfaceGoes)
{
    HostInterface &eth0 = port(0);
    sdk_intf_create_params params{};
    params.param1 = 1;
    uint32_t intf_id = 0;
    libsdk_intf_create(0, 1, &params, &intf_id);
    fwmpd_pc_member_intf_store(eth0.ifindex, intf_id, 1);
    const sdk_intf_attr_value value{1, 0, 0};
    libsdk_intf_attr_set_batch(0, intf_id, SdkIntfAttrIpv4UcstEn, &value);

    fail("fwmpd_kavelin_batch_flush=5");
    EXPECT_EQ(refusal([&] { return host.release_kept_intf(eth0); }),
              "fwmpd_kavelin_batch_flush: 5");
    EXPECT_EQ(asic.rows<PendingRow>().size(), 1u);
    EXPECT_EQ(eth0.kept_intf, intf_id);
    journal.faults.clear();
    EXPECT_EQ(host.release_kept_intf(eth0), 0);
    EXPECT_TRUE(asic.rows<PendingRow>().empty());
}

TEST_F(HostTasks, AKeptSdkInterfaceThatCannotBeDestroyedStaysKept)
{
    HostInterface &eth0 = port(0);
    fwmpd_pc_member_intf_store(eth0.ifindex, 17, 1);
    EXPECT_EQ(refusal([&] { return host.release_kept_intf(eth0); }),
              "libsdk_intf_destroy: SDK_E_NOT_FOUND (-3)");
    EXPECT_EQ(eth0.kept_intf, 17u);
    EXPECT_EQ(host.db().rows<MemberIntfRow>().size(), 1u);
}

TEST_F(HostTasks, AKeptSdkInterfaceOutlivesTheRoutedPort)
{
    HostInterface &eth0 = routed_port(0);
    fwmpd_pc_member_intf_store(eth0.ifindex, 17, 1);
    host.unregister_l3(eth0);
    EXPECT_EQ(eth0.kept_intf, 17u);
    EXPECT_EQ(host.db().rows<MemberIntfRow>().size(), 1u);
    host.remove(eth0);
    EXPECT_TRUE(host.db().rows<MemberIntfRow>().empty());
}

TEST_F(HostTasks, APortChannelIsHeldForAdoption)
{
    HostInterface &po3 = port_channel(3);
    EXPECT_EQ(host.hold_port_channel(po3), 0);
    const HeldPortChannel held = host.held_port_channel(po3.ifindex).value();
    EXPECT_TRUE(asic.find_port_channel(held.pc_id));
    EXPECT_TRUE(asic.find_lid(held.lid_id));
    const auto paths = asic.rows<LidPathRow>();
    ASSERT_EQ(paths.size(), 1u);
    EXPECT_EQ(paths[0].lid_id, held.lid_id);
    EXPECT_EQ(paths[0].port_type, uint32_t{SdkPortTypeChannel});
    EXPECT_EQ(paths[0].pc_id, held.pc_id);

    EXPECT_EQ(host.hold_port_channel(po3), 0);
    EXPECT_EQ(asic.rows<PortChannelRow>().size(), 1u) << "holding again makes nothing";
}

TEST_F(HostTasks, AHeldPortChannelCanBeReleased)
{
    HostInterface &po3 = port_channel(3);
    host.hold_port_channel(po3);
    EXPECT_EQ(host.release_held_port_channel(po3), 0);
    EXPECT_TRUE(asic.rows<PortChannelRow>().empty());
    EXPECT_TRUE(asic.rows<LidRow>().empty());
    EXPECT_FALSE(host.held_port_channel(po3.ifindex));
    EXPECT_EQ(host.release_held_port_channel(po3), 0);
}

TEST_F(HostTasks, AReleaseThatWasRefusedHalfWayCanBeFinished)
{
    HostInterface &po3 = port_channel(3);
    host.hold_port_channel(po3);
    fail("libsdk_lid_entry_destroy");
    EXPECT_NE(host.release_held_port_channel(po3), 0);
    journal.faults.clear();
    fail("libsdk_portchannel_destroy");
    EXPECT_NE(host.release_held_port_channel(po3), 0);
    EXPECT_TRUE(asic.rows<LidRow>().empty());
    journal.faults.clear();
    EXPECT_EQ(host.release_held_port_channel(po3), 0);
    EXPECT_TRUE(asic.rows<PortChannelRow>().empty());
}

TEST_F(HostTasks, ARefusedStepOfHoldingLeavesNothingBehind)
{
    for (const char *step :
         {"libsdk_portchannel_create", "libsdk_lid_entry_create", "libsdk_lid_entry_path_add"}) {
        HostInterface &po3 = *host.add_port_channel(step, 3);
        fail(step);
        fail("libsdk_portchannel_destroy");
        EXPECT_EQ(refusal([&] { return host.hold_port_channel(po3); }),
                  std::string(step) + ": SDK_E_INTERNAL (-1)");
        EXPECT_TRUE(asic.rows<PortChannelRow>().empty()) << step;
        EXPECT_TRUE(asic.rows<LidRow>().empty()) << step;
        EXPECT_FALSE(host.held_port_channel(po3.ifindex)) << step;
        journal.faults.clear();
        host.remove(po3);
    }
}

} // namespace
} // namespace kvnsim
