/* Row types that name their columns. */
#include "sim/types/columns.h"

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace kvnsim;
using testing::ElementsAre;

namespace {

struct LampRow {
    uint32_t number = 0;
    std::string colour;
    std::optional<uint32_t> watts;
    bool is_lit = false;
    uint32_t times_looked_at = 0; /* no column */
    TABLE_ROW("lamp", number, colour, watts, is_lit)
};

struct SingleRow {
    std::string only;
    COLUMNS(only)
};

template <class Row> std::vector<std::string> names_of()
{
    std::vector<std::string> names;
    const Row row;
    each_column(row, [&](std::string_view name, const auto &) { names.emplace_back(name); });
    return names;
}

std::string shown(uint32_t number)
{
    return std::to_string(number);
}
std::string shown(const std::string &text)
{
    return text;
}
std::string shown(const std::optional<uint32_t> &number)
{
    return number ? shown(*number) : "none";
}

std::vector<std::string> values_of(const LampRow &row)
{
    std::vector<std::string> values;
    each_column(row, [&](std::string_view, const auto &value) { values.push_back(shown(value)); });
    return values;
}

} // namespace

TEST(Columns, HaveTheirNamesInOrderWhereverTheLineBreaks)
{
    EXPECT_THAT(names_of<LampRow>(), ElementsAre("number", "colour", "watts", "is_lit"));
    EXPECT_STREQ(LampRow::table, "lamp");
}

TEST(Columns, MayBeOneOnly)
{
    EXPECT_THAT(names_of<SingleRow>(), ElementsAre("only"));
}

TEST(Columns, HaveTheirValuesInOrder)
{
    EXPECT_THAT(values_of({7, "red", 60, true, 9}), ElementsAre("7", "red", "60", "1"));
    EXPECT_THAT(values_of({}), ElementsAre("0", "", "none", "0"));
}

TEST(Columns, CanBeWritten)
{
    LampRow row;
    each_column(row, [](std::string_view name, auto &value) {
        if constexpr (std::is_same_v<decltype(value), std::string &>)
            value = name;
    });
    EXPECT_EQ(row.colour, "colour");
}

TEST(Columns, AreAllThatMakesRowsTheSame)
{
    const LampRow row{7, "red", 60, true, 9};
    LampRow other = row;
    other.times_looked_at = 10;
    EXPECT_TRUE(same_row(row, other));
    const LampRow others[] = {{8, "red", 60, true, 9},
                              {7, "blue", 60, true, 9},
                              {7, "red", std::nullopt, true, 9},
                              {7, "red", 60, false, 9}};
    for (const LampRow &differs : others)
        EXPECT_FALSE(same_row(row, differs)) << testing::PrintToString(values_of(differs));
}

TEST(Names, AreTakenOffAListOneByOne)
{
    std::string_view names = "first, second";
    EXPECT_EQ(next_name(names), "first");
    EXPECT_EQ(next_name(names), "second");
    EXPECT_EQ(next_name(names), "");
}
