#include "sim/types/text.h"

#include <gtest/gtest.h>

namespace kvnsim {
namespace {

TEST(Text, ShowsWhatCouldSteerATerminal)
{
    EXPECT_EQ(visible("a\x1b[31mb\n\t\x7f"), "a\\x1b[31mb\\x0a\\x09\\x7f");
    EXPECT_EQ(visible("\xC2\x9b"), "\\x9b");
    EXPECT_EQ(visible("\xE2\x80\xAE\xE2\x81\xA6\xD8\x9C\xE2\x80\xA8"),
              "\\u202e\\u2066\\u061c\\u2028");
}

TEST(Text, ShowsBytesThatAreNoUtf8)
{
    EXPECT_EQ(visible("\xff\xC2"), "\\xff\\xc2");
    EXPECT_EQ(visible("\xF0\x9F\x94"), "\\xf0\\x9f\\x94");
    EXPECT_EQ(visible("\xED\xA0\x80"), "\\xed\\xa0\\x80"); /* a surrogate */
}

TEST(Text, KeepsWhatCanBeRead)
{
    const std::string text = "Z\xC3\xBCrich \xE6\xBC\xA2 \xF0\x9F\x94\x8C \xC2\xA0";
    EXPECT_EQ(visible(text), text);
    EXPECT_EQ(visible_lines("one\n\ttwo\n"), "one\n\ttwo\n");
}

} // namespace
} // namespace kvnsim
