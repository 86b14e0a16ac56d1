#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

/* The event-history file. All numbers are little-endian.
 *   header      8 bytes "KVNEVENT", 32-bit version (1), 32-bit 0
 *   each event  64-bit time in ns since the epoch, 32-bit event id, 32-bit length,
 *               then length bytes: 32-bit level, the text, its NUL */
namespace kvnsim {

/* How an event-history file begins. */
constexpr std::string_view event_file_magic = "KVNEVENT";

struct Event {
    int64_t time_ns = 0;
    uint32_t event = 0; /* 0x730000 for the library's trace records */
    int32_t level = 0;
    std::string text;
    friend bool operator==(const Event &a, const Event &b);
};

/* The contents of a file: every event up to the first damaged one. */
struct EventFile {
    std::vector<Event> events;
    std::string problem; /* "at byte 1234: ..."; empty when the whole file is valid */
};

/* Write to a file opened for writing in binary; false when it cannot be written. */
bool write_event_header(std::FILE *file);
bool write_event(std::FILE *file, int64_t time_ns, uint32_t event, int32_t level,
                 std::string_view text);

/* Decode the bytes of a file. Any bytes are accepted. */
EventFile parse_events(std::string_view bytes);

} // namespace kvnsim
