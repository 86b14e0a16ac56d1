/* Interface attributes: the table of them, writing, reading, the pending batch. */
#include "sim/sdk/attributes.h"

#include <set>

#include "device.h"

using namespace kvnsim;
using testing::IsEmpty;

using Attributes = Device;

TEST(AttributeTable, IsOrderedAndFoundByNumberAndName)
{
    uint32_t last = 0;
    std::set<std::string> names;
    for (const AttributeRow &row : attributes()) {
        EXPECT_GT(row.number, last);
        last = row.number;
        EXPECT_EQ(find_attribute(row.number), &row);
        EXPECT_EQ(find_attribute(row.name), &row);
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(std::string(row.name).rfind("SdkIntfAttr", 0), 0u) << row.name;
    }
    EXPECT_EQ(attributes().size(), 19u);
    EXPECT_EQ(find_attribute(0u), nullptr);
    EXPECT_EQ(find_attribute(2u), nullptr);
    EXPECT_EQ(find_attribute(65u), nullptr);
    EXPECT_EQ(find_attribute("SdkIntfAttrMtu"), nullptr);
    EXPECT_STREQ(find_attribute(SdkIntfAttrMtuIdx)->name, "SdkIntfAttrMtuIdx");
}

TEST_F(Attributes, HaveTheirInitialValueUntilWritten)
{
    const uint32_t id = svi(10);
    for (const AttributeRow &row : attributes())
        EXPECT_EQ(get(id, row.number), row.initial) << row.name;
    EXPECT_THAT(asic.rows<AttributeValueRow>(), IsEmpty());
    EXPECT_EQ(get(id, SdkIntfAttrMtuIdx), 1500u);
}

TEST_F(Attributes, TakeTheValuesOfTheirRuleOnly)
{
    const uint32_t id = svi(10);
    for (const AttributeRow &row : attributes()) {
        if (row.number == SdkIntfAttrLid)
            continue;
        for (const uint32_t value : {row.rule->min, row.rule->max}) {
            set(id, row.number, value);
            EXPECT_EQ(get(id, row.number), value) << row.name;
        }
        const auto refused = [&](uint32_t value) {
            expect_refusal("SDK_E_PARAM", row.name, [&] { return write(id, row.number, value); });
            expect_refusal("SDK_E_PARAM", row.rule->words,
                           [&] { return queue(id, row.number, value); });
        };
        if (row.rule->min > 0)
            refused(row.rule->min - 1);
        if (row.rule->max < 0xFFFFFFFF)
            refused(row.rule->max + 1);
    }
}

TEST_F(Attributes, AreSeparateAndKeptInTheOrderOfTheirNumbers)
{
    const uint32_t id = svi(10), other = svi(11);
    set(id, SdkIntfAttrMtuIdx, 9216);
    set(id, SdkIntfAttrIpv4UcstEn, 1);
    set(id, SdkIntfAttrMtuIdx, 9000);
    const auto written = rows_of(asic, &AttributeValueRow::intf_id, id);
    ASSERT_EQ(written.size(), 2u);
    EXPECT_EQ(written[0].number, uint32_t{SdkIntfAttrIpv4UcstEn});
    EXPECT_EQ(written[1].number, uint32_t{SdkIntfAttrMtuIdx});
    EXPECT_EQ(asic.find_attribute(id, SdkIntfAttrMtuIdx)->value, 9000u);
    EXPECT_EQ(asic.find_attribute(id, SdkIntfAttrNatInside), nullptr);
    EXPECT_EQ(get(id, SdkIntfAttrNatInside), 0u) << "between two that were written";
    EXPECT_EQ(get(other, SdkIntfAttrMtuIdx), 1500u);
}

TEST_F(Attributes, AreGoneWithTheirInterface)
{
    set(svi(10), SdkIntfAttrMtuIdx, 9216);
    EXPECT_EQ(libsdk_intf_destroy(0, 1), 0);
    EXPECT_EQ(get(svi(10), SdkIntfAttrMtuIdx), 1500u);
}

TEST_F(Attributes, UnknownAreRefused)
{
    const uint32_t id = svi(10);
    sdk_intf_attr_value value{1, 2, 3};
    for (const uint32_t number : {0u, 2u, 65u, 256u + SdkIntfAttrMtuIdx}) {
        expect_refusal("SDK_E_PARAM", "no attribute", [&] { return write(id, number, 0); });
        expect_refusal("SDK_E_PARAM", "no attribute", [&] { return queue(id, number, 0); });
        expect_refusal("SDK_E_PARAM", "no attribute",
                       [&] { return libsdk_intf_attr_get(0, id, number, &value); });
    }
    EXPECT_EQ(value.param1, 1u);
}

TEST_F(Attributes, OfAnUnknownInterfaceAreRefused)
{
    sdk_intf_attr_value value{1, 2, 3};
    expect_refusal("SDK_E_NOT_FOUND", "no interface 7",
                   [&] { return write(7, SdkIntfAttrMtuIdx, 1500); });
    expect_refusal("SDK_E_NOT_FOUND", "no interface 7",
                   [&] { return queue(7, SdkIntfAttrMtuIdx, 1500); });
    expect_refusal("SDK_E_NOT_FOUND", "no interface 7",
                   [&] { return libsdk_intf_attr_get(0, 7, SdkIntfAttrMtuIdx, &value); });
}

TEST_F(Attributes, IgnoreTheOtherWordsOfTheValue)
{
    const uint32_t id = svi(10);
    const sdk_intf_attr_value value{9000, 0xdead, 0xbeef};
    EXPECT_EQ(libsdk_intf_attr_set(0, id, SdkIntfAttrMtuIdx, &value), 0);
    EXPECT_EQ(get(id, SdkIntfAttrMtuIdx), 9000u);
}

TEST_F(Attributes, RememberWhoWroteThem)
{
    const uint32_t id = svi(10);
    request("l3lifpd_kvn_set_l3_property", [&] { set(id, SdkIntfAttrMtuIdx, 9000); });
    EXPECT_EQ(asic.rows<AttributeValueRow>().at(0).made.to_text(),
              "libsdk_intf_attr_set in request 1 l3lifpd_kvn_set_l3_property()");
}

using Batch = Device;

TEST_F(Batch, TakesEffectWithTheFlushOnly)
{
    const uint32_t id = svi(10);
    EXPECT_EQ(queue(id, SdkIntfAttrNatInside, 2), 0);
    EXPECT_EQ(get(id, SdkIntfAttrNatInside), 0u);
    const auto pending = asic.rows<PendingRow>();
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_EQ(pending[0].intf_id, id);
    EXPECT_EQ(pending[0].number, uint32_t{SdkIntfAttrNatInside});
    EXPECT_EQ(pending[0].value, 2u);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 0u);
    EXPECT_EQ(get(id, SdkIntfAttrNatInside), 2u);
    EXPECT_THAT(asic.rows<PendingRow>(), IsEmpty());
}

TEST_F(Batch, IsCarriedOutInTheOrderQueued)
{
    const uint32_t id = svi(10);
    queue(id, SdkIntfAttrMtuIdx, 9000);
    queue(id, SdkIntfAttrMtuIdx, 8000);
    set(id, SdkIntfAttrMtuIdx, 7000);
    EXPECT_EQ(get(id, SdkIntfAttrMtuIdx), 7000u);
    kvnsim_sdk_batch_flush();
    EXPECT_EQ(get(id, SdkIntfAttrMtuIdx), 8000u);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 0u) << "nothing is left";
}

TEST_F(Batch, TellsWhoQueuedTheWrite)
{
    const uint32_t id = svi(10);
    request("l3lifpd_kvn_loopback_enable", [&] { queue(id, SdkIntfAttrNatInside, 2); });
    request("l3lifpd_kvn_add_svi", [] { kvnsim_sdk_batch_flush(); });
    EXPECT_EQ(asic.rows<AttributeValueRow>().at(0).made.to_text(),
              "libsdk_intf_attr_set_batch in request 1 l3lifpd_kvn_loopback_enable()");
}

TEST_F(Batch, IsFlushedBeforeAnyInterfaceGoes)
{
    const uint32_t id = svi(10), other = svi(11);
    request("l3lifpd_kvn_loopback_enable", [&] {
        queue(id, SdkIntfAttrMtuIdx, 9000);
        queue(id, SdkIntfAttrNatInside, 2);
    });
    for (const uint32_t one : {id, other})
        expect_refusal("SDK_E_BUSY",
                       "the pending batch is not flushed, it begins with the write of "
                       "SdkIntfAttrMtuIdx to interface 1 (libsdk_intf_attr_set_batch in request 1 "
                       "l3lifpd_kvn_loopback_enable())",
                       [&] { return libsdk_intf_destroy(0, one); });
    svi(12); /* a new interface has an identifier that no write was queued for */
    kvnsim_sdk_batch_flush();
    EXPECT_EQ(libsdk_intf_destroy(0, id), 0);
}

TEST_F(Batch, DropsBindingsToALidEntryThatIsGone)
{
    const uint32_t id = svi(10), lid_id = lid();
    request("l3lifpd_kvn_loopback_enable",
            [&] { EXPECT_EQ(queue(id, SdkIntfAttrLid, lid_id), 0); });
    queue(id, SdkIntfAttrMtuIdx, 9000);
    queue(id, SdkIntfAttrLid, lid_id);
    EXPECT_EQ(libsdk_lid_entry_destroy(0, lid_id), 0);
    EXPECT_EQ(kvnsim_sdk_batch_flush(), 2u);
    EXPECT_EQ(asic.last_refusal(),
              "the write of SdkIntfAttrLid to interface 1 (libsdk_intf_attr_set_batch in request 1 "
              "l3lifpd_kvn_loopback_enable()) is dropped: there is no LID entry 1, and 1 more");
    EXPECT_EQ(get(id, SdkIntfAttrLid), 0u);
    EXPECT_EQ(get(id, SdkIntfAttrMtuIdx), 9000u);
}
