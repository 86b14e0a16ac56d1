#include "sim/fwm/event_file.h"

#include <rapidcheck.h>

#include "tests/sim/fwm/host_fixture.h"

namespace kvnsim {
namespace {

/* The bytes of a file with these events. */
std::string written(const std::vector<Event> &events)
{
    const ScratchFile scratch("events");
    std::FILE *file = std::fopen(scratch.path.c_str(), "wb");
    EXPECT_TRUE(write_event_header(file));
    for (const Event &event : events)
        EXPECT_TRUE(write_event(file, event.time_ns, event.event, event.level, event.text));
    std::fclose(file);
    return content_of(scratch.path);
}

const std::vector<Event> two_events = {{1700000000123456789, 0x730000, 104, "Entered.\n"},
                                       {1700000000123456790, 0x730000, 102, "l3lif is NULL.\n"}};

TEST(EventFile, GivesBackWhatWasWritten)
{
    const EventFile file = parse_events(written(two_events));
    EXPECT_EQ(file.events, two_events);
    EXPECT_EQ(file.problem, "");
}

TEST(EventFile, WithNoEventIsSound)
{
    const EventFile file = parse_events(written({}));
    EXPECT_TRUE(file.events.empty());
    EXPECT_EQ(file.problem, "");
}

TEST(EventFile, LaysOutBytesAsDocumented)
{
    const std::string bytes = written({{0x0102030405060708, 0x730000, 104, "ab"}});
    const std::string expected("KVNEVENT\1\0\0\0\0\0\0\0"
                               "\x08\x07\x06\x05\x04\x03\x02\x01\0\0\x73\0\7\0\0\0\x68\0\0\0ab\0",
                               16 + 16 + 7);
    EXPECT_EQ(bytes, expected);
}

TEST(EventFile, KeepsAnEmptyTextAndTheLongestOne)
{
    const std::vector<Event> events = {{1, 2, 104, ""}, {3, 4, 104, std::string(511, 'x')}};
    EXPECT_EQ(parse_events(written(events)).events, events);
}

TEST(EventFile, CutsATextAt511Characters)
{
    const EventFile file = parse_events(written({{1, 2, 104, std::string(600, 'x')}}));
    ASSERT_EQ(file.events.size(), 1u);
    EXPECT_EQ(file.events[0].text, std::string(511, 'x'));
}

TEST(EventFile, CutAnywhereYieldsTheWholeEventsAndSaysWhereItEnds)
{
    const std::string whole = written(two_events);
    const size_t second = 16 + 16 + 4 + two_events[0].text.size() + 1;
    for (size_t size = 0; size < whole.size(); size++) {
        const EventFile file = parse_events(whole.substr(0, size));
        EXPECT_EQ(file.events.size(), size < second ? 0u : 1u) << size;
        EXPECT_EQ(file.problem.empty(), size == 16 || size == second) << size;
    }
    EXPECT_EQ(parse_events(whole.substr(0, second + 3)).problem,
              "at byte " + std::to_string(second) + ": the file ends inside an event");
}

TEST(EventFile, RefusesWhatIsNoEventHistory)
{
    EXPECT_EQ(parse_events("").problem, "at byte 0: not an event-history file");
    EXPECT_EQ(parse_events("{\"PORT\": {}}").problem, "at byte 0: not an event-history file");
}

TEST(EventFile, RefusesAnotherVersion)
{
    std::string bytes = written(two_events);
    bytes[8] = 2;
    EXPECT_EQ(parse_events(bytes).problem, "at byte 8: version 2, expected 1");
}

TEST(EventFile, StopsAtAnImpossibleLength)
{
    for (const char length : {'\0', '\4', '\xFF'}) {
        std::string bytes = written(two_events);
        bytes[16 + 12] = length;
        bytes[16 + 13] = length == '\xFF' ? '\xFF' : '\0';
        const EventFile file = parse_events(bytes);
        EXPECT_TRUE(file.events.empty());
        EXPECT_EQ(file.problem.rfind("at byte 16: event of ", 0), 0u) << file.problem;
    }
}

TEST(EventFile, StopsAtATextThatEndsEarly)
{
    std::string bytes = written(two_events);
    bytes[16 + 16 + 4 + 2] = '\0';
    EXPECT_EQ(parse_events(bytes).problem,
              "at byte 16: the event's text does not end where its length says");
}

TEST(EventFileProperty, AnyTextWithoutNulComesBack)
{
    rc::check([](int64_t time, uint32_t event, int32_t level) {
        const auto text = *rc::gen::container<std::string>(rc::gen::nonZero<char>());
        const std::vector<Event> events = {{time, event, level, text.substr(0, 511)}};
        RC_ASSERT(parse_events(written(events)).events == events);
    });
}

TEST(EventFileProperty, DamageNeverInventsEventsBeforeIt)
{
    const std::string sound = written(two_events);
    rc::check([&](char value) {
        const auto at = *rc::gen::inRange<size_t>(0, sound.size());
        std::string bytes = sound;
        bytes[at] = value;
        const EventFile file = parse_events(bytes);
        const size_t second = 16 + 16 + 4 + two_events[0].text.size() + 1;
        if (at >= second) {
            RC_ASSERT(!file.events.empty());
            RC_ASSERT(file.events[0] == two_events[0]);
        }
    });
}

} // namespace
} // namespace kvnsim
