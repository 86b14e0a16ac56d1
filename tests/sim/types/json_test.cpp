/* JSON documents, written value by value. */
#include "sim/types/json.h"

#include <limits>

#include <gtest/gtest.h>

using namespace kvnsim;

namespace {

template <class T> std::string written(const T &value)
{
    Json json;
    json.value(value);
    return json.text();
}

} // namespace

TEST(JsonValues, AreWrittenAsTheirKind)
{
    EXPECT_EQ(written("text"), R"("text")");
    EXPECT_EQ(written(std::string("text")), R"("text")");
    EXPECT_EQ(written(std::string_view("text")), R"("text")");
    EXPECT_EQ(written(true), "true");
    EXPECT_EQ(written(false), "false");
    EXPECT_EQ(written(0.25), "0.25");
    EXPECT_EQ(Json().null().text(), "null");
}

TEST(JsonValues, HoldEveryNumber)
{
    EXPECT_EQ(written(std::numeric_limits<int32_t>::min()), "-2147483648");
    EXPECT_EQ(written(std::numeric_limits<uint32_t>::max()), "4294967295");
    EXPECT_EQ(written(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(written(std::numeric_limits<uint64_t>::max()), "18446744073709551615");
}

TEST(JsonValues, MayBeAbsentOrMany)
{
    EXPECT_EQ(written(std::optional<uint32_t>(5)), "5");
    EXPECT_EQ(written(std::optional<uint32_t>()), "null");
    EXPECT_EQ(written(std::vector<std::string>{"a", "b"}), R"(["a","b"])");
    EXPECT_EQ(written(std::vector<int64_t>{}), "[]");
    EXPECT_EQ(written(std::vector<std::vector<bool>>{{true}, {}}), "[[true],[]]");
}

TEST(JsonText, IsEscaped)
{
    EXPECT_EQ(written("a \"b\" \\ \n \x01"), R"("a \"b\" \\ \n \u0001")");
    EXPECT_EQ(written(std::string("a\0b", 3)), R"("a\u0000b")");
}

TEST(JsonText, KeepsCharactersOfEveryLength)
{
    const std::string text = "a \xC2\xA0 Z\xC3\xBCrich \xE2\x82\xAC \xED\x9F\xBF \xF0\x9F\x94\x8C "
                             "\xF4\x8F\xBF\xBF";
    EXPECT_EQ(written(text), '"' + text + '"');
}

TEST(JsonText, EscapesWhatCouldSteerATerminal)
{
    EXPECT_EQ(written("\x7f \xC2\x9b \xD8\x9C \xE2\x80\xAE \xE2\x81\xA6 \xE2\x80\xA9"),
              R"("\u007f \u009b \u061c \u202e \u2066 \u2029")");
    /* Their neighbours are kept. */
    const std::string text = "\xC2\xA1 \xD8\x9D \xE2\x80\xB0 \xE2\x81\xAA \xC3\x82 \xE2\x82\xAE";
    EXPECT_EQ(written(text), '"' + text + '"');
}

/* Stray and missing bytes, what is spelled too long, surrogates, beyond the last code point. */
TEST(JsonText, HasBytesThatAreNoUtf8Replaced)
{
    const std::string mark = "\xEF\xBF\xBD";
    for (const char *stray : {"\x80", "\xC3", "\xE2\x82", "\xC1\xBF", "\xE0\x9F\xBF",
                              "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5"}) {
        std::string replaced;
        for (size_t bytes = std::string(stray).size(); bytes > 0; --bytes)
            replaced += mark;
        EXPECT_EQ(written(std::string(stray)), '"' + replaced + '"');
        EXPECT_EQ(written("a" + std::string(stray) + "z"), "\"a" + replaced + "z\"");
    }
    EXPECT_EQ(Json().begin_object().field("k\xFF", 1).end_object().text(), "{\"k" + mark + "\":1}");
}

TEST(JsonDocument, NestsObjectsAndArrays)
{
    Json json;
    json.begin_object().field("name", "leaf").text_or_null("alias", "").text_or_null("at", "1:2");
    json.key("ports").begin_array();
    for (const int32_t port : {0, 4})
        json.begin_object().field("port", port).field("up", port == 4).end_object();
    json.end_array().key("none").begin_object().end_object().end_object();
    EXPECT_EQ(json.text(), R"({"name":"leaf","alias":null,"at":"1:2",)"
                           R"("ports":[{"port":0,"up":false},{"port":4,"up":true}],"none":{}})");
    EXPECT_EQ(json.document(), json.text() + "\n");
}
