#include "sim/fwm/event_file.h"

#include <algorithm>

namespace kvnsim {
namespace {

constexpr uint32_t version = 1;
constexpr size_t header_size = 16, event_head_size = 16;
/* A record is its level, up to 511 characters and the NUL. */
constexpr uint32_t shortest = 5, longest = 516;

void put_little_endian(char *to, uint64_t value, size_t bytes)
{
    for (size_t i = 0; i < bytes; i++)
        to[i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

uint64_t get_little_endian(std::string_view from, size_t at, size_t bytes)
{
    uint64_t value = 0;
    for (size_t i = 0; i < bytes; i++)
        value |= static_cast<uint64_t>(static_cast<unsigned char>(from[at + i])) << (8 * i);
    return value;
}

uint32_t get_word(std::string_view from, size_t at)
{
    return static_cast<uint32_t>(get_little_endian(from, at, 4));
}

/* What is wrong with the header; empty when it is valid. */
std::string header_problem(std::string_view bytes)
{
    if (bytes.substr(0, event_file_magic.size()) != event_file_magic)
        return "at byte 0: not an event-history file";
    if (bytes.size() < header_size)
        return "at byte 8: the file ends inside its header";
    const uint32_t found = get_word(bytes, event_file_magic.size());
    if (found != version)
        return "at byte 8: version " + std::to_string(found) + ", expected " +
               std::to_string(version);
    return "";
}

/* Decode the event at *at and move *at behind it. What is wrong; empty when it is valid. */
std::string decode(std::string_view bytes, size_t *at, Event *event)
{
    const size_t left = bytes.size() - *at;
    if (left < event_head_size)
        return "the file ends inside an event";
    const uint32_t length = get_word(bytes, *at + 12);
    if (length < shortest || length > longest)
        return "event of " + std::to_string(length) + " bytes, expected " +
               std::to_string(shortest) + ".." + std::to_string(longest);
    if (left - event_head_size < length)
        return "the file ends inside an event";
    const std::string_view text = bytes.substr(*at + event_head_size + 4, length - 4);
    if (text.find('\0') != text.size() - 1)
        return "the event's text does not end where its length says";
    event->time_ns = static_cast<int64_t>(get_little_endian(bytes, *at, 8));
    event->event = get_word(bytes, *at + 8);
    event->level = static_cast<int32_t>(get_word(bytes, *at + event_head_size));
    event->text = text.substr(0, text.size() - 1);
    *at += event_head_size + length;
    return "";
}

} // namespace

bool operator==(const Event &a, const Event &b)
{
    return a.time_ns == b.time_ns && a.event == b.event && a.level == b.level && a.text == b.text;
}

bool write_event_header(std::FILE *file)
{
    char header[header_size] = {};
    event_file_magic.copy(header, event_file_magic.size());
    put_little_endian(header + event_file_magic.size(), version, 4);
    return std::fwrite(header, sizeof header, 1, file) == 1;
}

bool write_event(std::FILE *file, int64_t time_ns, uint32_t event, int32_t level,
                 std::string_view text)
{
    text = text.substr(0, std::min<size_t>(text.find('\0'), longest - shortest));
    const auto length = static_cast<uint32_t>(text.size()) + shortest;
    char record[event_head_size + longest] = {};
    put_little_endian(record, static_cast<uint64_t>(time_ns), 8);
    put_little_endian(record + 8, event, 4);
    put_little_endian(record + 12, length, 4);
    put_little_endian(record + 16, static_cast<uint32_t>(level), 4);
    text.copy(record + 20, text.size());
    return std::fwrite(record, event_head_size + length, 1, file) == 1;
}

EventFile parse_events(std::string_view bytes)
{
    EventFile result;
    result.problem = header_problem(bytes);
    size_t at = header_size;
    while (result.problem.empty() && at < bytes.size()) {
        Event event;
        const std::string problem = decode(bytes, &at, &event);
        if (problem.empty())
            result.events.push_back(std::move(event));
        else
            result.problem = "at byte " + std::to_string(at) + ": " + problem;
    }
    return result;
}

} // namespace kvnsim
