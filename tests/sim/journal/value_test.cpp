#include "sim/journal/value.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "sim/journal/journal.h"

using namespace kvnsim;

TEST(Value, IsShownAsPeopleReadIt)
{
    EXPECT_EQ(Value().to_text(), "none");
    EXPECT_EQ(Value::integer(-5).to_text(), "-5");
    EXPECT_EQ(Value::integer(0x10000000, Value::Style::hex).to_text(), "0x10000000");
    EXPECT_EQ(Value::named(60, "SdkIntfAttrMtuIdx").to_text(), "SdkIntfAttrMtuIdx");
    EXPECT_EQ(Value::text("an \"odd\"\nname").to_text(), "\"an \\\"odd\\\"\\nname\"");
    const Value record =
        Value::record({{"param1", Value::integer(1)}, {"inner", Value::record({})}});
    EXPECT_EQ(record.to_text(), "{param1=1 inner={}}");
}

TEST(Value, IsRecordedAsOneLineOfJson)
{
    EXPECT_EQ(Value().to_json(), "null");
    EXPECT_EQ(Value::integer(255, Value::Style::hex).to_json(), "255");
    EXPECT_EQ(Value::named(60, "SdkIntfAttrMtuIdx").to_json(), "60");
    EXPECT_EQ(Value::text("two\nlines").to_json(), "\"two\\nlines\"");
    const Value record =
        Value::record({{"a", Value::integer(-1)}, {"b", Value::record({{"c", Value()}})}});
    EXPECT_EQ(record.to_json(), "{\"a\":-1,\"b\":{\"c\":null}}");
}

TEST(Value, IsEqualByWhatItIsNotByHowItIsShown)
{
    EXPECT_EQ(Value::integer(16), Value::integer(16, Value::Style::hex));
    EXPECT_EQ(Value::integer(-5), Value::named(-5, "SDK_E_FULL"));
    EXPECT_NE(Value::integer(16), Value::integer(17));
    EXPECT_NE(Value::integer(0), Value());
    EXPECT_NE(Value::text("16"), Value::integer(16));
    EXPECT_NE(Value::text("a"), Value::text("b"));
    EXPECT_EQ(Value::record({{"a", Value::integer(1)}}), Value::record({{"a", Value::integer(1)}}));
    EXPECT_NE(Value::record({{"a", Value::integer(1)}}), Value::record({{"b", Value::integer(1)}}));
    EXPECT_NE(Value::record({{"a", Value::integer(1)}}), Value::record({}));
    EXPECT_EQ(Value(), Value());
}

TEST(Value, FindsTheFieldsOfARecord)
{
    const Value record = Value::record({{"a", Value::integer(1)}, {"b", Value::integer(2)}});
    ASSERT_NE(record.find("b"), nullptr);
    EXPECT_EQ(record.find("b")->number(), 2);
    EXPECT_EQ(record.find("c"), nullptr);
    EXPECT_EQ(Value::integer(1).find("a"), nullptr);
}

template <class T> class IntegerCodec : public testing::Test {};
using Integers = testing::Types<uint8_t, uint16_t, uint32_t, int32_t>;
TYPED_TEST_SUITE(IntegerCodec, Integers);

TYPED_TEST(IntegerCodec, PutsBackWhatItRead)
{
    const auto survives = [](TypeParam number) {
        TypeParam back{};
        codec<TypeParam>().write(&back, codec<TypeParam>().read(&number));
        return back == number;
    };
    EXPECT_TRUE(survives(std::numeric_limits<TypeParam>::min()));
    EXPECT_TRUE(survives(std::numeric_limits<TypeParam>::max()));
    EXPECT_TRUE(rc::check("any number", [&](TypeParam number) { return survives(number); }));
}

TEST(IfindexCodec, ShowsHexadecimal)
{
    const uint32_t ifindex = 0x1a000000;
    EXPECT_EQ(ifindex_codec().read(&ifindex).to_text(), "0x1a000000");
    EXPECT_EQ(ifindex_codec().read(&ifindex), codec<uint32_t>().read(&ifindex));
}
