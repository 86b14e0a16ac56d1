#include <gmock/gmock.h>

#include <cstring>

#include "sim/fwm/command_output.h"
#include "tests/sim/fwm/host_fixture.h"

namespace kvnsim {
template <> const Codec &codec<iif_info>(); /* of a service's answer */

namespace {

using testing::IsEmpty;

constexpr uint32_t unknown = 0x10000050;

class Services : public HostFixture {
protected:
    /* Keeps the last call seen. */
    struct LastCall : Observer {
        void call_made(const Call &made) override { call = made; }
        Call call;
    };
    /* Why the call was refused. */
    template <class F> std::string reason_of(F &&refused)
    {
        const LastCall last;
        EXPECT_NE(refused(), 0);
        return last.call.note;
    }
};

/* ---- Interface indexes ---- */

TEST_F(Services, APortIsKnownBeforeItIsRouted)
{
    const HostInterface &eth6 = port(6);
    uint8_t number = 99;
    EXPECT_EQ(if_index_get_port(eth6.ifindex, &number), 0);
    EXPECT_EQ(number, 6);
    EXPECT_NE(if_index_is_physical_interface(eth6.ifindex), 0);
    EXPECT_EQ(if_index_is_eth_port_channel_intf(eth6.ifindex), 0);
}

TEST_F(Services, APortChannelIsKnownByItsNumber)
{
    const HostInterface &po12 = port_channel(12);
    uint32_t channel = 0;
    EXPECT_EQ(if_index_eth_port_channel_get_channel_num(po12.ifindex, &channel), 0);
    EXPECT_EQ(channel, 12u);
    EXPECT_NE(if_index_is_eth_port_channel_intf(po12.ifindex), 0);
    EXPECT_EQ(if_index_is_physical_interface(po12.ifindex), 0);
}

TEST_F(Services, AnUnknownIndexLeavesTheAnswerAlone)
{
    uint8_t number = 99;
    uint32_t channel = 77;
    EXPECT_NE(if_index_get_port(unknown, &number), 0);
    EXPECT_NE(if_index_get_port(port_channel(1).ifindex, &number), 0);
    EXPECT_EQ(number, 99);
    EXPECT_NE(if_index_eth_port_channel_get_channel_num(unknown, &channel), 0);
    EXPECT_NE(if_index_eth_port_channel_get_channel_num(port(1).ifindex, &channel), 0);
    EXPECT_EQ(channel, 77u);
    EXPECT_EQ(if_index_is_eth_port_channel_intf(unknown), 0);
    EXPECT_EQ(if_index_is_physical_interface(unknown), 0);
    EXPECT_EQ(if_index_get_mainintf_from_subintf(unknown), 0u);
}

TEST_F(Services, ASubInterfacesMainInterfaceIsItsParent)
{
    HostInterface &eth0 = port(0);
    HostInterface &po1 = port_channel(1);
    const HostInterface &a = *host.add_sub_interface("Ethernet0.1", eth0, 1);
    const HostInterface &b = *host.add_sub_interface("Po1.1", po1, 1);
    EXPECT_EQ(if_index_get_mainintf_from_subintf(a.ifindex), eth0.ifindex);
    EXPECT_EQ(if_index_get_mainintf_from_subintf(b.ifindex), po1.ifindex);
    EXPECT_EQ(if_index_get_mainintf_from_subintf(eth0.ifindex), 0u);
}

/* ---- L3 interfaces ---- */

TEST_F(Services, OnlyARegisteredInterfaceIsFound)
{
    HostInterface &eth0 = port(0);
    EXPECT_EQ(l3lif_find_lif_from_ifindex(eth0.ifindex), nullptr);
    host.register_l3(eth0);
    EXPECT_EQ(l3lif_find_lif_from_ifindex(eth0.ifindex), &eth0);
    host.unregister_l3(eth0);
    EXPECT_EQ(l3lif_find_lif_from_ifindex(eth0.ifindex), nullptr);
}

TEST_F(Services, TheContextIsReachedThroughItsHolder)
{
    HostInterface &eth0 = routed_port(0);
    EXPECT_EQ(L3LIFPD_GET_PD_CTXT(nullptr), nullptr);
    EXPECT_EQ(L3LIFPD_GET_PD_CTXT(&eth0), nullptr);
    const l3_pd &context = give_context(eth0, 5);
    EXPECT_EQ(L3LIFPD_GET_PD_CTXT(&eth0), &context);
}

TEST_F(Services, PointersAreShownByWhatTheyPointAt)
{
    HostInterface &eth0 = routed_port(0);
    const LastCall last;
    l3lif_find_lif_from_ifindex(eth0.ifindex);
    EXPECT_EQ(last.call.result.to_text(), "0x10000000");
    L3LIFPD_GET_PD_CTXT(&eth0);
    EXPECT_EQ(last.call.inputs[0].value.to_text(), "0x10000000");
    EXPECT_EQ(last.call.result.to_text(), "none");
    give_context(eth0, 5);
    L3LIFPD_GET_PD_CTXT(&eth0);
    EXPECT_EQ(last.call.result, Value::text("l3_pd"));
}

TEST_F(Services, AnInterfaceIsPublishedAsItStands)
{
    HostInterface &eth0 = routed_port(0);
    eth0.ip = {1, 1, 9216, 1};
    eth0.v4_vpn_id = 7;
    eth0.v6_vpn_id = 8;
    eth0.nat_zone = 2;
    EXPECT_EQ(l3lif_update_sdb_for_intf(&eth0), 0);
    const L3lifRow row = host.db().rows<L3lifRow>().at(0);
    EXPECT_EQ(row.ifindex, eth0.ifindex);
    EXPECT_EQ(row.name, "Ethernet0");
    EXPECT_EQ(row.mtu, 9216u);
    EXPECT_EQ(row.ipv4_ucst_en, 1u);
    EXPECT_EQ(row.ipv4_mcst_en, 1u);
    EXPECT_EQ(row.ipv4_same_if, 1u);
    EXPECT_EQ(row.v4_vpn_id, 7u);
    EXPECT_EQ(row.v6_vpn_id, 8u);
    EXPECT_EQ(row.nat_zone, 2u);
    EXPECT_STREQ(row.made.call, "l3lif_update_sdb_for_intf");
}

TEST_F(Services, OnlyARegisteredInterfaceIsPublished)
{
    HostInterface &eth0 = port(0);
    l3lif stranger{};
    stranger.ifindex = routed_port(1).ifindex;
    EXPECT_EQ(reason_of([&] { return l3lif_update_sdb_for_intf(&eth0); }),
              "0x10000000 is no registered interface");
    EXPECT_EQ(reason_of([&] { return l3lif_update_sdb_for_intf(&stranger); }),
              "0x10000001 is no registered interface");
    EXPECT_EQ(reason_of([] { return l3lif_update_sdb_for_intf(nullptr); }),
              "no interface is given");
    EXPECT_THAT(host.db().rows<L3lifRow>(), IsEmpty());
}

TEST_F(Services, TheInterfaceInfoHoldsTheSdkInterface)
{
    HostInterface &eth0 = routed_port(0);
    give_context(eth0, 0);
    iif_info info;
    std::memset(&info, 0xAA, sizeof info);
    EXPECT_EQ(l3lif_get_iif_for_ifindex_new(eth0.ifindex, &info), 0);
    EXPECT_EQ(info.intf_id, 0u);
    EXPECT_EQ(info.opaque0[0], 0);
    EXPECT_EQ(info.opaque28[99], 0);
}

TEST_F(Services, AMembersInterfaceInfoIsItsPortChannels)
{
    HostInterface &eth0 = routed_port(0);
    HostInterface &po1 = port_channel(1);
    host.join(eth0, po1);
    give_context(po1, 9);
    iif_info info;
    EXPECT_EQ(l3lif_get_iif_for_ifindex_new(eth0.ifindex, &info), 0);
    EXPECT_EQ(info.intf_id, 9u);
}

TEST_F(Services, ThereIsNoInterfaceInfoWithoutAnSdkInterface)
{
    iif_info info;
    info.intf_id = 1234;
    const auto ask = [&](uint32_t ifindex) {
        return reason_of([&] { return l3lif_get_iif_for_ifindex_new(ifindex, &info); });
    };
    EXPECT_EQ(ask(unknown), "0x10000050 is no interface");
    EXPECT_EQ(ask(port(2).ifindex), "Ethernet2 is no L3 interface");
    HostInterface &eth0 = routed_port(0);
    EXPECT_EQ(ask(eth0.ifindex), "Ethernet0 has no SDK interface");
    give_context(eth0, 0xFFFF);
    EXPECT_EQ(ask(eth0.ifindex), "Ethernet0 has no SDK interface");
    EXPECT_EQ(info.intf_id, 1234u);
}

/* ---- Ports ---- */

TEST_F(Services, APortsLidIsTheLayer2Sides)
{
    HostInterface &eth0 = port(0);
    uint32_t lid_id = 4321;
    EXPECT_EQ(reason_of([&] { return fwmpd_kvn_if_index_lid_id(eth0.ifindex, &lid_id); }),
              "Ethernet0 has no layer-2 LID entry");
    EXPECT_EQ(reason_of([&] { return fwmpd_kvn_if_index_lid_id(unknown, &lid_id); }),
              "0x10000050 is no port");
    EXPECT_EQ(lid_id, 4321u);
    host.make_port_lid(eth0);
    EXPECT_EQ(fwmpd_kvn_if_index_lid_id(eth0.ifindex, &lid_id), 0);
    EXPECT_EQ(lid_id, eth0.lid_id);
}

TEST_F(Services, APortsBindingIsStored)
{
    const fwm_pm_sdb_key key{1, port(0).ifindex};
    const fwm_pm_sdb_data data{0x1005, 6, 7};
    EXPECT_EQ(fwm_pm_sdb_store(&key, &data), 0);
    const PmRow row = host.db().rows<PmRow>().at(0);
    EXPECT_EQ(row.ifindex, key.ifindex);
    EXPECT_EQ(row.kind, 1u);
    EXPECT_EQ(row.ifmap_idx, 0x1005u);
    EXPECT_EQ(row.word1, 6u);
    EXPECT_EQ(row.half2, 7);
    EXPECT_STREQ(row.made.call, "fwm_pm_sdb_store");
}

TEST_F(Services, OnlyAPortsBindingIsStored)
{
    const fwm_pm_sdb_key other_kind{2, port(0).ifindex}, of_nothing{1, unknown},
        of_channel{1, port_channel(1).ifindex};
    const fwm_pm_sdb_data data{1, 0, 0};
    EXPECT_EQ(reason_of([&] { return fwm_pm_sdb_store(&other_kind, &data); }),
              "2 is no kind of port record");
    EXPECT_EQ(reason_of([&] { return fwm_pm_sdb_store(&of_nothing, &data); }),
              "0x10000050 is no port");
    EXPECT_EQ(reason_of([&] { return fwm_pm_sdb_store(&of_channel, &data); }),
              "0x20000001 is no port");
    EXPECT_EQ(reason_of([&] { return fwm_pm_sdb_store(nullptr, &data); }), "no record is given");
    EXPECT_EQ(reason_of([&] { return fwm_pm_sdb_store(&of_nothing, nullptr); }),
              "no record is given");
    EXPECT_THAT(host.db().rows<PmRow>(), IsEmpty());
}

TEST_F(Services, ThePortsSdkInterfaceIsKeptAndForgotten)
{
    const HostInterface &eth0 = port(0);
    EXPECT_EQ(fwmpd_pc_member_intf_store(eth0.ifindex, 42, 1), 0);
    EXPECT_EQ(eth0.kept_intf, 42u);
    EXPECT_EQ(host.db().rows<MemberIntfRow>().at(0).ifindex, eth0.ifindex);
    EXPECT_EQ(host.db().rows<MemberIntfRow>().at(0).intf_id, 42u);
    EXPECT_EQ(fwmpd_pc_member_intf_store(eth0.ifindex, 0xFFFF, 0), 0);
    EXPECT_FALSE(eth0.kept_intf);
    EXPECT_THAT(host.db().rows<MemberIntfRow>(), IsEmpty());
}

TEST_F(Services, NothingElseIsKept)
{
    const HostInterface &eth0 = port(0);
    const auto keep = [&](uint32_t ifindex, uint32_t intf_id, int32_t flag) {
        return reason_of([&] { return fwmpd_pc_member_intf_store(ifindex, intf_id, flag); });
    };
    EXPECT_EQ(keep(unknown, 42, 1), "0x10000050 is no port");
    EXPECT_EQ(keep(port_channel(1).ifindex, 42, 1), "0x20000001 is no port");
    EXPECT_EQ(keep(eth0.ifindex, 0xFFFF, 1), "SDK interface 65535 with flag 1");
    EXPECT_EQ(keep(eth0.ifindex, 42, 0), "SDK interface 42 with flag 0");
    EXPECT_EQ(keep(eth0.ifindex, 42, 2), "SDK interface 42 with flag 2");
    EXPECT_FALSE(eth0.kept_intf);
}

TEST_F(Services, ThePortServiceSwitchesTheInternalLoopback)
{
    const HostInterface &eth3 = port(3);
    port_cmd_msg message{};
    message.port = 3;
    message.cmd = 121;
    EXPECT_EQ(sse_call2(0x8000001, &message, 60), 0);
    EXPECT_TRUE(eth3.loopback);
    EXPECT_EQ(sse_call2(0x8000001, &message, 60), 0) << "again";
    message.cmd = 122;
    EXPECT_EQ(sse_call2(0x8000001, &message, 60), 0);
    EXPECT_FALSE(eth3.loopback);
}

TEST_F(Services, ThePortServiceRefusesWhatItDoesNotKnow)
{
    const HostInterface &eth3 = port(3);
    port_cmd_msg message{};
    message.port = 3;
    message.cmd = 121;
    const auto call = [&](uint32_t number, uint32_t length) {
        return reason_of([&] { return sse_call2(number, &message, length); });
    };
    EXPECT_EQ(call(0x8000002, 60), "0x8000002 is no call of the port service");
    EXPECT_EQ(call(0x8000001, 59), "a message of 59 bytes, expected 60");
    EXPECT_EQ(reason_of([] { return sse_call2(0x8000001, nullptr, 60); }),
              "a message of 0 bytes, expected 60");
    message.cmd = 123;
    EXPECT_EQ(call(0x8000001, 60), "123 is no command to a port");
    message.cmd = 121;
    message.port = 4;
    EXPECT_EQ(call(0x8000001, 60), "there is no port 4");
    EXPECT_FALSE(eth3.loopback);
}

/* ---- Port-channels and labels ---- */

TEST_F(Services, AHeldPortChannelIsGivenOverOnce)
{
    HostInterface &po3 = port_channel(3);
    uint32_t pc_id = 0xFFFF, lid_id = 0xFFFF;
    EXPECT_NE(fwmpd_kvn_get_pc_info(po3.ifindex, &pc_id, &lid_id), 0);
    EXPECT_EQ(pc_id, 0xFFFFu);
    host.hold_port_channel(po3);
    EXPECT_EQ(fwmpd_kvn_get_pc_info(po3.ifindex, &pc_id, &lid_id), 0);
    EXPECT_TRUE(asic.find_port_channel(pc_id));
    EXPECT_TRUE(asic.find_lid(lid_id));

    EXPECT_EQ(fwmpd_kvn_reset_pd_pc(po3.ifindex), 0);
    EXPECT_NE(fwmpd_kvn_get_pc_info(po3.ifindex, &pc_id, &lid_id), 0);
    EXPECT_TRUE(asic.find_port_channel(pc_id)) << "it is the library's from now on";
    EXPECT_EQ(reason_of([&] { return fwmpd_kvn_reset_pd_pc(po3.ifindex); }),
              "0x20000003 is no port-channel that the host holds");
}

TEST_F(Services, ThatNoPortChannelIsHeldIsNoFailure)
{
    begin_request("l3lifpd_kvn_alloc_l3pc_add");
    uint32_t pc_id, lid_id;
    fwmpd_kvn_get_pc_info(port_channel(3).ifindex, &pc_id, &lid_id);
    EXPECT_EQ(journal.end(0)->failed_calls, 0u);
}

TEST_F(Services, APortChannelsIdentifierIsStored)
{
    const HostInterface &po3 = port_channel(3);
    EXPECT_EQ(fwmpd_kvn_update_pc_sdb(po3.ifindex, 5), 0);
    EXPECT_EQ(host.db().rows<PcRow>().at(0).ifindex, po3.ifindex);
    EXPECT_EQ(host.db().rows<PcRow>().at(0).pc_id, 5u);
    EXPECT_EQ(reason_of([] { return fwmpd_kvn_update_pc_sdb(unknown, 5); }),
              "0x10000050 is no port-channel");
    EXPECT_EQ(host.db().rows<PcRow>().size(), 1u);
}

TEST_F(Services, AnInterfacesLabelIsSetUpAndReset)
{
    const HostInterface &svi = *host.add_svi("Vlan100", 100);
    EXPECT_EQ(fwmpd_kvn_init_l3_label(svi.ifindex, 1, 1), 0);
    EXPECT_EQ(host.db().rows<LabelRow>().at(0).ifindex, svi.ifindex);
    EXPECT_TRUE(host.db().rows<LabelRow>().at(0).enabled);
    EXPECT_TRUE(host.db().rows<LabelRow>().at(0).svi);
    EXPECT_EQ(fwmpd_kvn_init_l3_label(svi.ifindex, 0, 0), 0);
    EXPECT_FALSE(host.db().rows<LabelRow>().at(0).enabled);
    EXPECT_EQ(reason_of([] { return fwmpd_kvn_init_l3_label(unknown, 1, 0); }),
              "0x10000050 is no interface");
    EXPECT_EQ(host.db().rows<LabelRow>().size(), 1u);
}

TEST_F(Services, AFlushCarriesOutTheBatch)
{
    sdk_intf_create_params params{};
    params.param1 = 1;
    uint32_t intf_id = 0;
    libsdk_intf_create(0, 1, &params, &intf_id);
    const sdk_intf_attr_value value{1, 0, 0};
    libsdk_intf_attr_set_batch(0, intf_id, SdkIntfAttrIpv4UcstEn, &value);
    EXPECT_EQ(fwmpd_kavelin_batch_flush(), 0);
    EXPECT_THAT(asic.rows<PendingRow>(), IsEmpty());
    EXPECT_EQ(asic.find_attribute(intf_id, SdkIntfAttrIpv4UcstEn)->value, 1u);
}

TEST_F(Services, AFlushThatLosesAWriteFailsAndSaysWhich)
{
    sdk_intf_create_params params{};
    params.param1 = 1;
    uint32_t intf_id = 0, lid_id = 0;
    libsdk_intf_create(0, 1, &params, &intf_id);
    libsdk_lid_entry_create(0, &lid_id);
    const sdk_intf_attr_value value{lid_id, 0, 0};
    libsdk_intf_attr_set_batch(0, intf_id, SdkIntfAttrLid, &value);
    libsdk_lid_entry_destroy(0, lid_id);
    EXPECT_EQ(reason_of([] { return fwmpd_kavelin_batch_flush(); }),
              "the write of SdkIntfAttrLid to interface 1 (libsdk_intf_attr_set_batch) is dropped: "
              "there is no LID entry 1");
    EXPECT_EQ(fwmpd_kavelin_batch_flush(), 0) << "nothing is left to lose";
}

/* ---- Failures made on purpose ---- */

TEST_F(Services, AFailureMadeOnPurposeHasNoEffect)
{
    HostInterface &eth0 = routed_port(0);
    HostInterface &po1 = port_channel(1);
    give_context(eth0, 5);
    host.make_port_lid(eth0);
    host.hold_port_channel(po1);
    sdk_intf_create_params params{};
    params.param1 = 1;
    uint32_t intf_id = 0;
    libsdk_intf_create(0, 1, &params, &intf_id);
    const sdk_intf_attr_value value{1, 0, 0};
    libsdk_intf_attr_set_batch(0, intf_id, SdkIntfAttrIpv4UcstEn, &value);

    int failing = 0;
    for (const ImportedCall *call : ImportedCall::all())
        if (call->can_fail() && call->names() == nullptr) {
            fail(std::string(call->name()) + "=7");
            failing++;
        }
    EXPECT_EQ(failing, 10);

    const fwm_pm_sdb_key key{1, eth0.ifindex};
    const fwm_pm_sdb_data data{1, 0, 0};
    EXPECT_EQ(fwm_pm_sdb_store(&key, &data), 7);
    EXPECT_THAT(host.db().rows<PmRow>(), IsEmpty());

    uint32_t lid_id = 4321;
    EXPECT_EQ(fwmpd_kvn_if_index_lid_id(eth0.ifindex, &lid_id), 7);
    EXPECT_EQ(lid_id, 4321u);

    EXPECT_EQ(fwmpd_kvn_reset_pd_pc(po1.ifindex), 7);
    EXPECT_TRUE(host.held_port_channel(po1.ifindex));

    EXPECT_EQ(fwmpd_kvn_update_pc_sdb(po1.ifindex, 1), 7);
    EXPECT_THAT(host.db().rows<PcRow>(), IsEmpty());

    EXPECT_EQ(fwmpd_kvn_init_l3_label(eth0.ifindex, 1, 0), 7);
    EXPECT_THAT(host.db().rows<LabelRow>(), IsEmpty());

    EXPECT_EQ(fwmpd_kavelin_batch_flush(), 7);
    EXPECT_EQ(asic.rows<PendingRow>().size(), 1u);

    EXPECT_EQ(fwmpd_pc_member_intf_store(eth0.ifindex, 5, 1), 7);
    EXPECT_FALSE(eth0.kept_intf);
    EXPECT_THAT(host.db().rows<MemberIntfRow>(), IsEmpty());

    EXPECT_EQ(l3lif_update_sdb_for_intf(&eth0), 7);
    EXPECT_THAT(host.db().rows<L3lifRow>(), IsEmpty());

    iif_info info;
    info.intf_id = 1234;
    EXPECT_EQ(l3lif_get_iif_for_ifindex_new(eth0.ifindex, &info), 7);
    EXPECT_EQ(info.intf_id, 1234u);

    port_cmd_msg message{};
    message.cmd = 121;
    EXPECT_EQ(sse_call2(0x8000001, &message, 60), 7);
    EXPECT_FALSE(eth0.loopback);
}

TEST_F(Services, QuestionsCannotBeMadeToFail)
{
    for (const char *call :
         {"fwmpd_kvn_get_pc_info", "l3lif_find_lif_from_ifindex", "L3LIFPD_GET_PD_CTXT",
          "if_index_get_port", "if_index_is_eth_port_channel_intf",
          "if_index_is_physical_interface", "if_index_eth_port_channel_get_channel_num",
          "if_index_get_mainintf_from_subintf"}) {
        ASSERT_NE(ImportedCall::find(call), nullptr) << call;
        EXPECT_FALSE(ImportedCall::find(call)->can_fail()) << call;
        EXPECT_EQ(ImportedCall::find(call)->purpose(), Purpose::asks) << call;
    }
}

TEST_F(Services, RecordsAreShownFieldByField)
{
    const HostInterface &eth3 = port(3);
    const LastCall last;
    const fwm_pm_sdb_key key{1, eth3.ifindex};
    const fwm_pm_sdb_data data{0x1005, 0, 0};
    fwm_pm_sdb_store(&key, &data);
    EXPECT_EQ(last.call.inputs[0].value.to_text(), "{kind=1 ifindex=0x10000003}");
    EXPECT_EQ(last.call.inputs[1].value.to_text(), "{ifmap_idx=4101 word1=0 half2=0}");
    port_cmd_msg message{};
    message.port = 3;
    message.cmd = 122;
    sse_call2(0x8000001, &message, 60);
    EXPECT_EQ(last.call.inputs[1].value.to_text(), "{port=3 cmd=122}");
}

TEST_F(Services, AnInterfaceInfoCanBePutBack)
{
    iif_info info;
    info.intf_id = 77;
    const Codec &codec_of_info = codec<iif_info>();
    const Value value = codec_of_info.read(&info);
    EXPECT_EQ(value.to_text(), "{intf_id=77}");
    iif_info again;
    codec_of_info.write(&again, value);
    EXPECT_EQ(again.intf_id, 77u);
}

/* ---- Command output ---- */

TEST_F(Services, CommandOutputIsKeptAsItComes)
{
    std::string text;
    CommandOutput output(text);
    cmd_prt(&output, "Ethernet0: intf_id  1 lid_id  2.\n", 0);
    cmd_prt(&output, "next", 0);
    EXPECT_EQ(text, "Ethernet0: intf_id  1 lid_id  2.\nnext");
}

TEST_F(Services, CommandOutputWithoutAContextOrATextIsNothing)
{
    std::string text;
    CommandOutput output(text);
    cmd_prt(nullptr, "lost", 0);
    cmd_prt(&output, nullptr, 0);
    EXPECT_EQ(text, "");
}

TEST_F(Services, CommandOutputIsSeenWithItsText)
{
    std::string text;
    CommandOutput output(text);
    const LastCall last;
    cmd_prt(&output, "line\n", 0);
    ASSERT_NE(last.call.what, nullptr);
    EXPECT_STREQ(last.call.what->name(), "cmd_prt");
    EXPECT_EQ(last.call.inputs[0].value.to_text(), "\"output\"");
    EXPECT_EQ(last.call.inputs[1].value.to_text(), "\"line\\n\"");
    EXPECT_FALSE(last.call.what->can_fail());
    cmd_prt(nullptr, nullptr, 0);
    EXPECT_EQ(last.call.inputs[0].value.to_text(), "none");
    EXPECT_EQ(last.call.inputs[1].value.to_text(), "none");
}

} // namespace
} // namespace kvnsim
