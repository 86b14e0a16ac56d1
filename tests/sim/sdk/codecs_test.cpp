/* The SDK's records, shown and put back. */
#include "sim/sdk/sdk_codecs.h"

#include <cstring>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "device.h"

using namespace kvnsim;

template <class Record> class WordRecord : public testing::Test {};
using WordRecords = testing::Types<sdk_intf_create_params, sdk_intf_attr_value, sdk_switch_config>;
TYPED_TEST_SUITE(WordRecord, WordRecords);

TYPED_TEST(WordRecord, IsPutBackAsItWasRead)
{
    constexpr size_t words = sizeof(TypeParam) / sizeof(uint32_t);
    EXPECT_TRUE(rc::check("any words", [] {
        const auto element = rc::gen::weightedOneOf<uint32_t>(
            {{1, rc::gen::just<uint32_t>(0)}, {2, rc::gen::arbitrary<uint32_t>()}});
        const auto filling = *rc::gen::container<std::array<uint32_t, words>>(element);
        TypeParam record;
        std::memcpy(&record, filling.data(), sizeof record);
        TypeParam back;
        std::memset(&back, 0xAA, sizeof back);
        codec<TypeParam>().write(&back, codec<TypeParam>().read(&record));
        RC_ASSERT(std::memcmp(&back, &record, sizeof record) == 0);
    }));
}

TEST(SdkCodecs, ShowTheFirstWordAndThoseThatAreNot0)
{
    const sdk_intf_create_params params{0, 100, 0, 0, 7};
    EXPECT_EQ(codec<sdk_intf_create_params>().read(&params).to_text(),
              "{param1=0 param2=100 param5=7}");
}

TEST(SdkCodecs, ShowThePortsOfAMask)
{
    const sdk_port_mask mask = mask_of({0, 7, 8, 255});
    EXPECT_EQ(codec<sdk_port_mask>().read(&mask).to_text(),
              "{mask_len=32 front_ports=\"0 7 8 255\"}");
}

TEST(SdkCodecs, ShowWhereAPathLeads)
{
    const sdk_lid_path paths[] = {{1, 0, {}, 3}, {0, 9, {}, 0}, {5, 0, {}, 0}};
    EXPECT_EQ(codec<sdk_lid_path>().read(&paths[0]).to_text(),
              "{port_type=SdkPortTypeChannel front_port=0 pc_id=3}");
    EXPECT_EQ(codec<sdk_lid_path>().read(&paths[1]).to_text(),
              "{port_type=front panel front_port=9 pc_id=0}");
    EXPECT_EQ(codec<sdk_lid_path>().read(&paths[2]).to_text(),
              "{port_type=5 front_port=0 pc_id=0}");
}

TEST(SdkCodecs, ShowAnUnknownAttributeAsItsNumber)
{
    const uint32_t known = SdkIntfAttrNatInside, unknown = 99;
    EXPECT_EQ(attribute_codec().read(&known).to_text(), "SdkIntfAttrNatInside");
    EXPECT_EQ(attribute_codec().read(&known).to_json(), "47");
    EXPECT_EQ(attribute_codec().read(&unknown).to_text(), "99");
}
