/* What holds for every SDK call. */
#include "device.h"

#include "sim/sdk/sdk_status.h"

using namespace kvnsim;
using testing::HasSubstr;

namespace {

const sdk_intf_create_params port_one{1, 0, 0, 0, 0};
const sdk_intf_attr_value mtu{9000, 0, 0};
const sdk_lid_path to_port{KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, 1, {}, 0};
const sdk_port_mask mask = mask_of({1});
uint32_t id;
sdk_intf_attr_value got;
sdk_switch_config config;

/* Every SDK call, with the device to call it on. */
struct Row {
    const char *name;
    int32_t (*call)(int32_t device);
};
const Row every_call[] = {
    {"libsdk_intf_attr_get",
     [](int32_t device) { return libsdk_intf_attr_get(device, 1, SdkIntfAttrMtuIdx, &got); }},
    {"libsdk_intf_attr_set",
     [](int32_t device) { return libsdk_intf_attr_set(device, 1, SdkIntfAttrMtuIdx, &mtu); }},
    {"libsdk_intf_attr_set_batch",
     [](int32_t device) { return libsdk_intf_attr_set_batch(device, 1, SdkIntfAttrMtuIdx, &mtu); }},
    {"libsdk_intf_create",
     [](int32_t device) { return libsdk_intf_create(device, 1, &port_one, &id); }},
    {"libsdk_intf_destroy", [](int32_t device) { return libsdk_intf_destroy(device, 1); }},
    {"libsdk_intf_router_mac_trap_create",
     [](int32_t device) { return libsdk_intf_router_mac_trap_create(device, 1, 0x4000, 1, &id); }},
    {"libsdk_intf_router_mac_trap_destroy",
     [](int32_t device) { return libsdk_intf_router_mac_trap_destroy(device, 1); }},
    {"libsdk_lid_entry_create",
     [](int32_t device) { return libsdk_lid_entry_create(device, &id); }},
    {"libsdk_lid_entry_destroy",
     [](int32_t device) { return libsdk_lid_entry_destroy(device, 1); }},
    {"libsdk_lid_entry_path_add",
     [](int32_t device) { return libsdk_lid_entry_path_add(device, 1, &to_port); }},
    {"libsdk_portchannel_create",
     [](int32_t device) { return libsdk_portchannel_create(device, &id); }},
    {"libsdk_portchannel_destroy",
     [](int32_t device) { return libsdk_portchannel_destroy(device, 1); }},
    {"libsdk_portchannel_member_add",
     [](int32_t device) { return libsdk_portchannel_member_add(device, 1, &mask); }},
    {"libsdk_portchannel_member_delete",
     [](int32_t device) { return libsdk_portchannel_member_delete(device, 1, &mask, 7); }},
    {"libsdk_switch_config_get",
     [](int32_t device) { return libsdk_switch_config_get(device, 38, &config); }},
    {"libsdk_switch_router_mac_create",
     [](int32_t device) { return libsdk_switch_router_mac_create(device, 0x4000, 1, &id); }},
    {"libsdk_switch_router_mac_destroy",
     [](int32_t device) { return libsdk_switch_router_mac_destroy(device, 1); }},
};

class CallWatcher : public Observer {
public:
    void call_made(const Call &call) override { last = call; }
    Call last;
    std::string text() const
    {
        std::string shown = last.what->name();
        for (const auto *fields : {&last.inputs, &last.outputs}) {
            for (const Field &field : *fields)
                shown += ' ' + field.name + '=' + field.value.to_text();
        }
        return shown + " -> " + last.result.to_text();
    }
};

} // namespace

class SdkCalls : public Device {
protected:
    SdkCalls()
    {
        id = 77;
        got = {77, 77, 77};
        config = {{1, 77}};
    }
    static bool outputs_written() { return id != 77 || got.param1 != 77 || config.word[1] != 77; }
};

TEST_F(SdkCalls, AreAllRegisteredAndCanFail)
{
    size_t rows = 0;
    for (const ImportedCall *call : ImportedCall::all()) {
        if (std::string(call->name()).rfind("libsdk_", 0) != 0)
            continue;
        ASSERT_LT(rows, std::size(every_call));
        EXPECT_STREQ(call->name(), every_call[rows++].name);
        EXPECT_EQ(call->result(), Result::status);
        EXPECT_EQ(call->names(), &sdk_statuses()) << call->name();
        const bool asks = std::string(call->name()).find("_get") != std::string::npos;
        EXPECT_EQ(call->purpose(), asks ? Purpose::asks : Purpose::programs) << call->name();
    }
    EXPECT_EQ(rows, std::size(every_call));
}

TEST_F(SdkCalls, AreJournalledUnderTheirName)
{
    CallWatcher watcher;
    for (const Row &row : every_call) {
        row.call(0);
        EXPECT_STREQ(watcher.last.what->name(), row.name);
    }
}

TEST_F(SdkCalls, ArePossibleOnDevice0Only)
{
    for (const Row &row : every_call) {
        SCOPED_TRACE(row.name);
        expect_refusal("SDK_E_PARAM", "there is no device 1, only device 0",
                       [&] { return row.call(1); });
        expect_refusal("SDK_E_PARAM", "there is no device -1", [&] { return row.call(-1); });
    }
    EXPECT_FALSE(outputs_written());
}

TEST_F(SdkCalls, DoNothingWhenMadeToFail)
{
    for (const Row &row : every_call)
        ASSERT_EQ(journal.faults.add(std::string(row.name) + "=SDK_E_UNAVAIL"), "");
    const std::string before = contents(asic);
    for (const Row &row : every_call)
        EXPECT_EQ(row.call(0), SDK_E_UNAVAIL) << row.name;
    EXPECT_EQ(contents(asic), before);
    EXPECT_FALSE(outputs_written());
}

TEST_F(SdkCalls, TakeNoNullPointers)
{
    routed_port(9);
    const uint32_t lid_id = lid(), pc_id = channel();
    const auto refused = [&](const char *name, const std::function<int32_t()> &call) {
        expect_refusal("SDK_E_PARAM", (std::string(name) + " is a null pointer").c_str(), call);
    };
    refused("params", [] { return libsdk_intf_create(0, 1, nullptr, &id); });
    refused("intf_id", [] { return libsdk_intf_create(0, 1, &port_one, nullptr); });
    refused("value", [] { return libsdk_intf_attr_set(0, 1, SdkIntfAttrMtuIdx, nullptr); });
    refused("value", [] { return libsdk_intf_attr_get(0, 1, SdkIntfAttrMtuIdx, nullptr); });
    refused("value", [] { return libsdk_intf_attr_set_batch(0, 1, SdkIntfAttrMtuIdx, nullptr); });
    refused("request", [] { return libsdk_switch_config_get(0, 38, nullptr); });
    refused("pc_id", [] { return libsdk_portchannel_create(0, nullptr); });
    refused("mask", [&] { return libsdk_portchannel_member_add(0, pc_id, nullptr); });
    refused("mask", [&] { return libsdk_portchannel_member_delete(0, pc_id, nullptr, 7); });
    refused("lid_id", [] { return libsdk_lid_entry_create(0, nullptr); });
    refused("path", [&] { return libsdk_lid_entry_path_add(0, lid_id, nullptr); });
    refused("peer_mac_id", [] { return libsdk_switch_router_mac_create(0, 0x4000, 1, nullptr); });
    refused("mac_trap_id",
            [] { return libsdk_intf_router_mac_trap_create(0, 1, 0x4000, 1, nullptr); });
}

TEST_F(SdkCalls, AreShownWithTheNamesOfTheSdk)
{
    CallWatcher watcher;
    routed_port(5);
    EXPECT_EQ(watcher.text(), "libsdk_intf_create dev_inst=0 intf_type=1 params={param1=5} "
                              "intf_id=1 -> 0");
    set(1, SdkIntfAttrMtuIdx, 9216);
    EXPECT_EQ(watcher.text(), "libsdk_intf_attr_set dev_inst=0 intf_id=1 attr=SdkIntfAttrMtuIdx "
                              "value={param1=9216} -> 0");
    get(1, SdkIntfAttrMtuIdx);
    EXPECT_EQ(watcher.text(), "libsdk_intf_attr_get dev_inst=0 intf_id=1 attr=SdkIntfAttrMtuIdx "
                              "value={param1=9216} -> 0");
    path_to_channel(lid(), channel());
    EXPECT_EQ(watcher.text(), "libsdk_lid_entry_path_add dev_inst=0 lid_id=1 "
                              "path={port_type=SdkPortTypeChannel front_port=0 pc_id=1} -> 0");
    libsdk_portchannel_member_delete(0, 1, &mask, 0x16000000);
    EXPECT_EQ(watcher.text(),
              "libsdk_portchannel_member_delete dev_inst=0 pc_id=1 "
              "mask={mask_len=32 front_ports=\"1\"} pc_ifindex=0x16000000 -> SDK_E_NOT_FOUND (-3)");
    EXPECT_EQ(watcher.last.note, asic.last_refusal());
    trap(1, "00:00:5e:00:01:0a");
    EXPECT_EQ(watcher.text(), "libsdk_intf_router_mac_trap_create dev_inst=0 intf_id=1 "
                              "mac_lo=00:00:5e:00 mac_hi=01:0a mac_trap_id=1 -> 0");
    libsdk_switch_config_get(0, 38, &config);
    EXPECT_EQ(watcher.text(), "libsdk_switch_config_get dev_inst=0 item=38 "
                              "request={word0=1 word1=77} request={word0=1 word1=4097} -> 0");
}

TEST_F(SdkCalls, TellTheRequestWhyTheyWereRefused)
{
    auto made = std::make_shared<Request>();
    journal.begin(made);
    libsdk_intf_destroy(0, 12);
    journal.end(-1);
    EXPECT_EQ(made->first_failure().words, "libsdk_intf_destroy: SDK_E_NOT_FOUND (-3)");
    EXPECT_EQ(made->first_failure().reason, "there is no interface 12");
}

TEST(SdkStatuses, AreNamedBothWays)
{
    const StatusNames &names = sdk_statuses();
    for (const StatusNames::Row &row : names.rows) {
        EXPECT_EQ(names.words(row.status),
                  std::string(row.name) + " (" + std::to_string(row.status) + ")");
        EXPECT_EQ(names.status(row.name), row.status);
        EXPECT_EQ(row.status == SDK_E_NONE, row.status >= 0) << "failures are negative";
    }
    EXPECT_EQ(names.words(5), "5");
    EXPECT_EQ(names.words(-100), "-100");
    EXPECT_EQ(names.status("SDK_E_NO"), std::nullopt);
}
