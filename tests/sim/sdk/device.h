#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kvnsim/sdk.h"
#include "platform_api/libsdk.h"
#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"

/* A device as after power-on, used through the SDK's calls. The makers give the identifier and
 * expect success. */
class Device : public testing::Test {
protected:
    Device();
    ~Device() override;

    uint32_t routed_port(uint32_t front_port);
    uint32_t routed_channel(uint32_t pc_id);
    uint32_t sub_interface(uint32_t parent, uint32_t vlan);
    uint32_t svi(uint32_t vlan);
    uint32_t lid();
    uint32_t channel();
    uint32_t router_mac(const char *mac);
    uint32_t trap(uint32_t intf_id, const char *mac);
    void path_to_channel(uint32_t lid_id, uint32_t pc_id);
    void path_to_port(uint32_t lid_id, uint8_t front_port);
    void member(uint32_t pc_id, uint32_t front_port);
    void set(uint32_t intf_id, uint32_t attribute, uint32_t value);
    uint32_t get(uint32_t intf_id, uint32_t attribute);

    /* The calls by themselves, with their status. */
    int32_t create(uint32_t type, const sdk_intf_create_params &params, uint32_t *intf_id);
    int32_t write(uint32_t intf_id, uint32_t attribute, uint32_t value);
    int32_t queue(uint32_t intf_id, uint32_t attribute, uint32_t value);
    int32_t add_path(uint32_t lid_id, const sdk_lid_path &path);
    int32_t add_router_mac(const char *mac, uint32_t *peer_mac_id);
    int32_t add_trap(uint32_t intf_id, const char *mac, uint32_t *mac_trap_id);

    /* Expect the status with a reason that has these words in it, and a device as it was. */
    void expect_refusal(const char *status, const char *reason, const std::function<int32_t()> &);

    /* Make what the function makes belong to a request of this name. */
    kvnsim::RequestRef request(const char *entry, const std::function<void()> &body);

    kvnsim::Asic &asic = kvnsim::Asic::instance();
    kvnsim::Journal &journal = kvnsim::Journal::instance();
};

sdk_port_mask mask_of(std::initializer_list<uint32_t> front_ports);

/* The rows of one type whose field has this value: rows_of(asic, &MemberRow::pc_id, 1). */
template <class Row>
std::vector<Row> rows_of(const kvnsim::Asic &asic, uint32_t Row::*field, uint32_t value)
{
    std::vector<Row> rows;
    asic.each<Row>([&](const Row &row) {
        if (row.*field == value)
            rows.push_back(row);
    });
    return rows;
}

/* Everything that the device holds, as text. */
std::string contents(const kvnsim::Asic &asic);
