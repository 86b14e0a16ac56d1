#pragma once

#include <cstdint>
#include <ctime>

namespace kvnsim {

struct UtcTime {
    std::tm parts;
    int32_t nanoseconds; /* 0..999999999 */
};

/* The date and time, in UTC, so many nanoseconds after 1970 began, or before if negative. */
UtcTime utc_time(int64_t time_ns);

} // namespace kvnsim
