#include "device.h"

#include <array>
#include <cstdio>
#include <cstring>

using namespace kvnsim;

namespace {

struct MacWords {
    uint32_t lo;
    uint16_t hi;
};

MacWords words_of(const char *text)
{
    std::array<uint8_t, 6> mac{};
    EXPECT_EQ(std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1], &mac[2], &mac[3],
                          &mac[4], &mac[5]),
              6);
    MacWords words{};
    std::memcpy(&words.lo, &mac[0], 4);
    std::memcpy(&words.hi, &mac[4], 2);
    return words;
}

std::string shown(uint32_t number)
{
    return std::to_string(number);
}
std::string shown(std::string_view word)
{
    return std::string(word);
}
std::string shown(const Mac &mac)
{
    return to_text(mac);
}
std::string shown(const Origin &origin)
{
    return origin.to_text();
}

template <class... Row> void add_rows(std::string &text, const Asic &asic)
{
    const auto add = [&](const auto &row) {
        text += std::string("\n") + row.table;
        each_column(row, [&](std::string_view name, const auto &value) {
            text += ' ' + std::string(name) + ' ' + shown(value);
        });
    };
    (asic.each<Row>(add), ...);
}

} // namespace

Device::Device()
{
    asic.reset();
    journal.reset();
}

Device::~Device()
{
    asic.reset();
    journal.reset();
}

int32_t Device::create(uint32_t type, const sdk_intf_create_params &params, uint32_t *intf_id)
{
    return libsdk_intf_create(0, type, &params, intf_id);
}

uint32_t Device::routed_port(uint32_t front_port)
{
    uint32_t id = 0;
    EXPECT_EQ(create(1, {front_port, 0, 0, 0, 0}, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::routed_channel(uint32_t pc_id)
{
    uint32_t id = 0;
    EXPECT_EQ(create(1, {pc_id, 0, 1, 0, 0}, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::sub_interface(uint32_t parent, uint32_t vlan)
{
    uint32_t id = 0;
    EXPECT_EQ(create(2, {parent, vlan, 0, 0, 0}, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::svi(uint32_t vlan)
{
    uint32_t id = 0;
    EXPECT_EQ(create(3, {vlan, 0, 0, 0, 0}, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::lid()
{
    uint32_t id = 0;
    EXPECT_EQ(libsdk_lid_entry_create(0, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::channel()
{
    uint32_t id = 0;
    EXPECT_EQ(libsdk_portchannel_create(0, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::router_mac(const char *mac)
{
    uint32_t id = 0;
    EXPECT_EQ(add_router_mac(mac, &id), 0) << asic.last_refusal();
    return id;
}

uint32_t Device::trap(uint32_t intf_id, const char *mac)
{
    uint32_t id = 0;
    EXPECT_EQ(add_trap(intf_id, mac, &id), 0) << asic.last_refusal();
    return id;
}

void Device::path_to_channel(uint32_t lid_id, uint32_t pc_id)
{
    EXPECT_EQ(add_path(lid_id, {SdkPortTypeChannel, 0, {}, pc_id}), 0) << asic.last_refusal();
}

void Device::path_to_port(uint32_t lid_id, uint8_t front_port)
{
    EXPECT_EQ(add_path(lid_id, {KVNSIM_SDK_PORT_TYPE_FRONT_PANEL, front_port, {}, 0}), 0)
        << asic.last_refusal();
}

void Device::member(uint32_t pc_id, uint32_t front_port)
{
    const sdk_port_mask mask = mask_of({front_port});
    EXPECT_EQ(libsdk_portchannel_member_add(0, pc_id, &mask), 0) << asic.last_refusal();
}

void Device::set(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    EXPECT_EQ(write(intf_id, attribute, value), 0) << asic.last_refusal();
}

uint32_t Device::get(uint32_t intf_id, uint32_t attribute)
{
    sdk_intf_attr_value value{1, 2, 3};
    EXPECT_EQ(libsdk_intf_attr_get(0, intf_id, attribute, &value), 0) << asic.last_refusal();
    EXPECT_EQ(value.param2, 0u);
    EXPECT_EQ(value.param3, 0u);
    return value.param1;
}

int32_t Device::write(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    const sdk_intf_attr_value holder{value, 0, 0};
    return libsdk_intf_attr_set(0, intf_id, attribute, &holder);
}

int32_t Device::queue(uint32_t intf_id, uint32_t attribute, uint32_t value)
{
    const sdk_intf_attr_value holder{value, 0, 0};
    return libsdk_intf_attr_set_batch(0, intf_id, attribute, &holder);
}

int32_t Device::add_path(uint32_t lid_id, const sdk_lid_path &path)
{
    return libsdk_lid_entry_path_add(0, lid_id, &path);
}

int32_t Device::add_router_mac(const char *mac, uint32_t *peer_mac_id)
{
    const MacWords words = words_of(mac);
    return libsdk_switch_router_mac_create(0, words.lo, words.hi, peer_mac_id);
}

int32_t Device::add_trap(uint32_t intf_id, const char *mac, uint32_t *mac_trap_id)
{
    const MacWords words = words_of(mac);
    return libsdk_intf_router_mac_trap_create(0, intf_id, words.lo, words.hi, mac_trap_id);
}

void Device::expect_refusal(const char *status, const char *reason,
                            const std::function<int32_t()> &call)
{
    const std::string before = contents(asic);
    EXPECT_EQ(sdk_statuses().status(status), call()) << status;
    EXPECT_THAT(asic.last_refusal(), testing::HasSubstr(reason));
    EXPECT_EQ(contents(asic), before) << "a refused call changes nothing";
}

RequestRef Device::request(const char *entry, const std::function<void()> &body)
{
    auto made = std::make_shared<Request>();
    made->entry = entry;
    journal.begin(std::move(made));
    body();
    return journal.end(0);
}

sdk_port_mask mask_of(std::initializer_list<uint32_t> front_ports)
{
    sdk_port_mask mask{32, {}};
    for (const uint32_t port : front_ports)
        mask.port_bitmap[port >> 3] |= static_cast<uint8_t>(0x80 >> (port & 7));
    return mask;
}

std::string contents(const Asic &asic)
{
    std::string text;
    add_rows<IntfRow, AttributeValueRow, LidRow, LidPathRow, PortChannelRow, MemberRow,
             RouterMacRow, TrapRow, PendingRow, TableUse>(text, asic);
    return text;
}
