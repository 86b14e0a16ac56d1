/* Built with a time_t of 64 bits, also where the system's own ends in 2038. */
#include "sim/types/utc_time.h"

namespace kvnsim {

static_assert(sizeof(std::time_t) == 8, "nanoseconds in 64 bits reach the year 2262");

UtcTime utc_time(int64_t time_ns)
{
    constexpr int64_t ns_per_second = 1000000000;
    int64_t remainder = time_ns % ns_per_second;
    const std::time_t seconds = time_ns / ns_per_second - (remainder < 0);
    if (remainder < 0)
        remainder += ns_per_second;
    UtcTime time{};
    gmtime_r(&seconds, &time.parts);
    time.nanoseconds = static_cast<int32_t>(remainder);
    return time;
}

} // namespace kvnsim
