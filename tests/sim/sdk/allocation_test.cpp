/* Reading and rewriting must not allocate as long as nobody watches: it is what the library does
 * most. */
#include "allocations.h"
#include "device.h"

using namespace kvnsim;

using Allocation = Device;

TEST_F(Allocation, IsNotNeededByACallThatNobodyWatches)
{
    const uint32_t intf_id = svi(10), lid_id = lid();
    set(intf_id, SdkIntfAttrMtuIdx, 9000);
    const size_t before = allocations();
    int32_t failed = 0;
    sdk_intf_attr_value value{9216, 0, 0};
    sdk_switch_config config{{lid_id}};
    failed |= libsdk_intf_attr_set(0, intf_id, SdkIntfAttrMtuIdx, &value);
    failed |= libsdk_intf_attr_get(0, intf_id, SdkIntfAttrMtuIdx, &value);
    failed |= libsdk_switch_config_get(0, 38, &config);
    const size_t after = allocations();
    EXPECT_EQ(after, before);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(value.param1, 9216u);
}

TEST_F(Allocation, IsCountedHere)
{
    class Idle : public Observer {};
    const uint32_t intf_id = svi(10);
    const Idle idle;
    const size_t before = allocations();
    set(intf_id, SdkIntfAttrMtuIdx, 9000);
    const size_t after = allocations();
    EXPECT_GT(after, before) << "a watched call spells out its arguments";
}
