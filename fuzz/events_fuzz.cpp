/* Event-history files come with support cases: any bytes are decoded up to the first damage. */
#include <cstdint>
#include <string_view>

#include "fuzz/switch_oracle.h"
#include "sim/fwm/event_file.h"
#include "sim/types/utc_time.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const kvnsim::EventFile file =
        kvnsim::parse_events({reinterpret_cast<const char *>(data), size});
    for (const kvnsim::Event &event : file.events) {
        const kvnsim::UtcTime time = kvnsim::utc_time(event.time_ns);
        if (time.nanoseconds < 0 || time.nanoseconds > 999999999)
            kvnsim::wrong("a time whose fraction is no fraction");
        if (event.text.size() > size)
            kvnsim::wrong("a text longer than its file");
    }
    kvnsim::expect_visible(file.problem);
    return 0;
}
