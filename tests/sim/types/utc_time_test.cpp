/* Times in UTC, for both word sizes alike. */
#include "sim/types/utc_time.h"

#include <gtest/gtest.h>

#include <string>

namespace kvnsim {
namespace {

std::string text(int64_t time_ns)
{
    const UtcTime time = utc_time(time_ns);
    char date[40];
    std::strftime(date, sizeof date, "%F %T", &time.parts);
    return date + (" " + std::to_string(time.nanoseconds));
}

TEST(UtcTime, CountsFrom1970)
{
    EXPECT_EQ("1970-01-01 00:00:00 0", text(0));
    EXPECT_EQ("2026-11-21 03:23:28 1", text(1795231408000000001));
}

TEST(UtcTime, GoesOnAfter2038)
{
    EXPECT_EQ("2038-01-19 03:14:07 999999999", text(2147483647999999999));
    EXPECT_EQ("2038-01-19 03:14:08 0", text(2147483648000000000));
    EXPECT_EQ("2262-04-11 23:47:16 854775807", text(INT64_MAX));
}

TEST(UtcTime, HasTheFractionOfTheSecondBefore1970Too)
{
    EXPECT_EQ("1969-12-31 23:59:59 999999999", text(-1));
    EXPECT_EQ("1969-12-31 23:59:59 0", text(-1000000000));
    EXPECT_EQ("1677-09-21 00:12:43 145224192", text(INT64_MIN));
}

} // namespace
} // namespace kvnsim
