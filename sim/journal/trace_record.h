#pragma once

#include <cstdint>
#include <string>

namespace kvnsim {

/* A trace record, as observers see it: the text is whole, as the library's first sink got it. */
struct TraceRecord {
    int32_t level;        /* 104 debug, 102 error */
    const char *function; /* valid during the report only */
    int32_t line;
    std::string text;
};

} // namespace kvnsim
