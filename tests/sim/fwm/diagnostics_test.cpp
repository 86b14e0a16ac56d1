#include "sim/fwm/diagnostics.h"

#include <gmock/gmock.h>

#include <cstring>

#include "sim/fwm/event_file.h"
#include "sim/journal/journal.h"
#include "tests/sim/fwm/host_fixture.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr int64_t noon = 1700000000123456789; /* 2023-11-14 22:13:20.123456 UTC */

class DiagnosticSinks : public HostFixture {
protected:
    /* One trace record, to the sinks in the library's order. */
    void emit(int32_t level, const char *function, int32_t line, const char *text)
    {
        fwm_ds_trace_add("file.cpp", function, line, 0, "%s", text);
        if (level == trace_level_error)
            fwm_ds_add("file.cpp", function, line, "%s", text);
        if (dbg_out_file) {
            std::fprintf(dbg_out_file, "[%s]%s: %s(%d): ", fwm_ctime(), fwm_debug_elem_descr(level),
                         function, static_cast<int>(line));
            std::fprintf(dbg_out_file, "%s", text);
            fwm_check_flush_dbg_out_file();
        }
        if (sdwrap_hist_event_subtype_check(0x730000, level) == 0) {
            sdwrap_hist_event_record record;
            record.level = level;
            std::snprintf(record.text, sizeof record.text, "%s", text);
            sdwrap_hist_event(0x730000, static_cast<uint32_t>(std::strlen(record.text)) + 5,
                              &record);
        }
        if (sdwrap_chk_int(level, 0, 0, 1))
            buginf(1, sdwrap_dbg_modname, 0, "%s", text);
    }
    void debug(const char *text) { emit(104, "l3lifpd_kvn_add_l3port", 10, text); }
    void error(const char *text) { emit(102, "l3lifpd_kvn_add_l3port", 20, text); }

    void configure(const Sinks &sinks) { ASSERT_EQ(diagnostics.configure(sinks), ""); }
};

TEST_F(DiagnosticSinks, StartWithTheErrorStoreOnly)
{
    EXPECT_EQ(dbg_out_file, nullptr);
    for (const int32_t level : {102, 104}) {
        EXPECT_NE(sdwrap_hist_event_subtype_check(0x730000, level), 0);
        EXPECT_EQ(sdwrap_chk_int(level, 0, 0, 1), 0);
    }
    error("l3lif is NULL.\n");
    EXPECT_EQ(diagnostics.errors().size(), 1u);
}

TEST_F(DiagnosticSinks, AllOnAndOffInEveryCombination)
{
    for (int mask = 0; mask < 64; mask++) {
        SCOPED_TRACE(mask);
        diagnostics.reset();
        const bool errors = mask & 1, debug_file = mask & 2;
        const ScratchFile debug_path("debug"), event_path("events"), console_path("console");
        std::FILE *console = std::fopen(console_path.path.c_str(), "w");
        Sinks sinks;
        sinks.error_groups = errors ? 10 : 0;
        sinks.debug_file = debug_file ? debug_path.path : "";
        sinks.event_file = event_path.path;
        sinks.events = {(mask & 4) != 0, (mask & 8) != 0};
        sinks.console = {(mask & 16) != 0, (mask & 32) != 0};
        sinks.console_file = console;
        configure(sinks);
        debug("progress\n");
        error("failure\n");
        ASSERT_EQ(diagnostics.flush(), "");
        std::fclose(console);
        console = nullptr;

        EXPECT_EQ(diagnostics.errors().size(), errors ? 1u : 0u);
        const std::string written = content_of(debug_path.path);
        EXPECT_EQ(written.find("DBG: l3lifpd_kvn_add_l3port(10): progress\n") != written.npos,
                  debug_file);
        EXPECT_EQ(written.find("ERR: l3lifpd_kvn_add_l3port(20): failure\n") != written.npos,
                  debug_file);
        std::vector<std::string> events;
        for (const Event &event : parse_events(content_of(event_path.path)).events)
            events.push_back(event.text);
        EXPECT_EQ(events.size(), size_t{sinks.events.error} + size_t{sinks.events.debug});
        EXPECT_EQ(content_of(console_path.path),
                  std::string(sinks.console.debug ? "l3lif: progress\n" : "") +
                      (sinks.console.error ? "l3lif: failure\n" : ""));
        diagnostics.reset();
    }
}

/* ---- Trace records ---- */

class TraceWatcher : public Observer {
public:
    void call_made(const Call &call) override { seen.push_back(call.what->name()); }
    void trace_emitted(const TraceRecord &record) override
    {
        seen.push_back(std::to_string(record.level) + " " + record.text);
        places.push_back(std::string(record.function) + ":" + std::to_string(record.line));
    }
    std::vector<std::string> seen, places;
};

TEST_F(DiagnosticSinks, ObserversSeeLevelFunctionLineAndText)
{
    const TraceWatcher watcher;
    debug("Entered.\n");
    error("l3lif is NULL.\n");
    EXPECT_EQ(watcher.seen, (std::vector<std::string>{"104 Entered.\n", "102 l3lif is NULL.\n"}));
    EXPECT_EQ(watcher.places,
              (std::vector<std::string>{"l3lifpd_kvn_add_l3port:10", "l3lifpd_kvn_add_l3port:20"}));
}

TEST_F(DiagnosticSinks, LongMessagesAreKeptWhole)
{
    const TraceWatcher watcher;
    for (const size_t length : {511u, 600u, 5000u}) {
        const std::string text(length, 'x');
        error(text.c_str());
        EXPECT_EQ(watcher.seen.back(), "102 " + text);
        EXPECT_EQ(diagnostics.errors().back().text, text);
    }
}

TEST_F(DiagnosticSinks, FormatsAreFilledIn)
{
    const TraceWatcher watcher;
    fwm_ds_trace_add("f.cpp", "f", 1, 0, "ifindex %#x lid %d %s\n", 0x10000000u, 7, "x");
    fwm_debug_elem_descr(104);
    EXPECT_EQ(watcher.seen, std::vector<std::string>{"104 ifindex 0x10000000 lid 7 x\n"});
}

TEST_F(DiagnosticSinks, AMessageThatCannotBeFormattedIsReplaced)
{
    const TraceWatcher watcher;
    fwm_ds_trace_add("f.cpp", "f", 1, 0, "%ls\n", L"\x7FFFFFFF");
    fwm_debug_elem_descr(104);
    EXPECT_EQ(watcher.seen, std::vector<std::string>{"104 (message cannot be formatted)"});
}

TEST_F(DiagnosticSinks, TheNameOfAFunctionThatIsGoneStaysReadable)
{
    const TraceWatcher watcher;
    std::string name = "l3lifpd_kvn_del_svi";
    fwm_ds_trace_add("f.cpp", name.c_str(), 1, 0, "text");
    name.assign(name.size(), '?');
    fwm_debug_elem_descr(104);
    EXPECT_EQ(watcher.places, std::vector<std::string>{"l3lifpd_kvn_del_svi:1"});
}

TEST_F(DiagnosticSinks, ObserversSeeEachRecordWithItsLevelInOrder)
{
    const TraceWatcher watcher;
    debug("a");
    fwmpd_kavelin_batch_flush();
    error("b");
    fwmpd_kavelin_batch_flush();
    debug("c");
    EXPECT_EQ(watcher.seen, (std::vector<std::string>{"104 a", "fwmpd_kavelin_batch_flush", "102 b",
                                                      "fwmpd_kavelin_batch_flush", "104 c"}));
}

TEST_F(DiagnosticSinks, ARecordMadeWhileAnotherIsWrittenComesAfterIt)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    configure(sinks);
    const TraceWatcher watcher;
    fwm_ds_trace_add("f.cpp", "outer", 1, 0, "outer");
    fwm_ctime();
    fwm_debug_elem_descr(104);
    if_index_is_physical_interface(0);
    error("inner");
    EXPECT_EQ(watcher.seen, (std::vector<std::string>{"104 outer", "if_index_is_physical_interface",
                                                      "102 inner"}));
}

/* ---- Error store ---- */

TEST_F(DiagnosticSinks, EqualErrorsAreCounted)
{
    begin_request("l3lifpd_kvn_add_l3port");
    error("failed");
    journal.end(-1);
    begin_request("l3lifpd_kvn_add_l3port");
    error("failed");
    error("failed otherwise");
    journal.end(-1);
    const std::vector<ErrorGroup> groups = diagnostics.errors();
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].text, "failed");
    EXPECT_EQ(groups[0].function, "l3lifpd_kvn_add_l3port");
    EXPECT_EQ(groups[0].line, 20);
    EXPECT_EQ(groups[0].count, 2u);
    EXPECT_EQ(groups[0].last_request, 2u);
    EXPECT_EQ(groups[1].count, 1u);
}

TEST_F(DiagnosticSinks, ErrorsDifferByFunctionAndLineToo)
{
    emit(102, "f", 1, "text");
    emit(102, "f", 2, "text");
    emit(102, "g", 1, "text");
    EXPECT_EQ(diagnostics.errors().size(), 3u);
}

TEST_F(DiagnosticSinks, AFullErrorStoreCountsWhatItKnowsAndAllOthersTogether)
{
    Sinks sinks;
    sinks.error_groups = 2;
    configure(sinks);
    for (const char *text : {"a", "b", "c", "d", "a"}) {
        begin_request("l3lifpd_kvn_add_svi");
        error(text);
        journal.end(-1);
    }
    const std::vector<ErrorGroup> &groups = diagnostics.errors();
    ASSERT_EQ(groups.size(), 3u);
    EXPECT_EQ(groups[0].count, 2u);
    EXPECT_EQ(groups[1].count, 1u);
    EXPECT_EQ(groups[2].function, "");
    EXPECT_EQ(groups[2].line, 0);
    EXPECT_EQ(groups[2].text, "other messages, for which the error store had no room");
    EXPECT_EQ(groups[2].count, 2u);
    EXPECT_EQ(groups[2].last_request, 4u);
}

TEST_F(DiagnosticSinks, DebugRecordsAreNoErrors)
{
    debug("Entered.\n");
    EXPECT_THAT(diagnostics.errors(), IsEmpty());
}

/* ---- Debug file ---- */

TEST_F(DiagnosticSinks, TheDebugFileHoldsTimeLevelAndPlace)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    sinks.fixed_time_ns = noon;
    configure(sinks);
    debug("Entered.\n");
    error("l3lif is NULL.\n");
    EXPECT_EQ(content_of(path.path),
              "[2023-11-14 22:13:20.123456]DBG: l3lifpd_kvn_add_l3port(10): Entered.\n"
              "[2023-11-14 22:13:20.123456]ERR: l3lifpd_kvn_add_l3port(20): l3lif is NULL.\n");
}

TEST_F(DiagnosticSinks, TheClockShowsMicroseconds)
{
    EXPECT_THAT(std::string(fwm_ctime()),
                testing::MatchesRegex("[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+\\.[0-9]+"));
    EXPECT_EQ(std::strlen(fwm_ctime()), 26u);
}

TEST_F(DiagnosticSinks, LevelsHaveNames)
{
    EXPECT_STREQ(fwm_debug_elem_descr(104), "DBG");
    EXPECT_STREQ(fwm_debug_elem_descr(102), "ERR");
    EXPECT_STREQ(fwm_debug_elem_descr(7), "???");
}

TEST_F(DiagnosticSinks, TheDebugFileIsFlushedNowAndThen)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    configure(sinks);
    debug("1");
    EXPECT_EQ(content_of(path.path), "");
    for (int i = 2; i <= 64; i++)
        debug("more");
    EXPECT_THAT(content_of(path.path), HasSubstr("more"));
}

TEST_F(DiagnosticSinks, ClosingTheDebugFileWritesEverything)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    configure(sinks);
    debug("last words\n");
    configure(Sinks());
    EXPECT_EQ(dbg_out_file, nullptr);
    EXPECT_THAT(content_of(path.path), HasSubstr("last words\n"));
}

TEST_F(DiagnosticSinks, FilesGoOnWhenOtherSinksChange)
{
    const ScratchFile debug_path("debug"), event_path("events");
    Sinks sinks;
    sinks.debug_file = debug_path.path;
    sinks.event_file = event_path.path;
    configure(sinks);
    error("before\n");
    sinks.console = {true, true};
    sinks.console_file = nullptr;
    configure(sinks);
    error("after\n");
    EXPECT_THAT(content_of(debug_path.path), HasSubstr("before\n"));
    EXPECT_THAT(content_of(debug_path.path), HasSubstr("after\n"));
    EXPECT_EQ(parse_events(content_of(event_path.path)).events.size(), 2u);
}

TEST_F(DiagnosticSinks, AFileThatCannotBeWrittenChangesNothing)
{
    const ScratchFile path("debug");
    Sinks good;
    good.debug_file = path.path;
    configure(good);
    Sinks bad;
    bad.debug_file = "/nowhere/debug.txt";
    EXPECT_EQ(diagnostics.configure(bad),
              "cannot write /nowhere/debug.txt: No such file or directory");
    bad = Sinks();
    bad.event_file = testing::TempDir();
    EXPECT_EQ(diagnostics.configure(bad),
              "cannot write " + testing::TempDir() + ": Is a directory");
    EXPECT_EQ(diagnostics.sinks().debug_file, path.path);
    error("still written\n");
    EXPECT_THAT(content_of(path.path), HasSubstr("still written\n"));
}

TEST_F(DiagnosticSinks, AllFilesOpenOrNone)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    sinks.event_file = "/nowhere/events";
    EXPECT_NE(diagnostics.configure(sinks), "");
    EXPECT_EQ(dbg_out_file, nullptr);
    EXPECT_EQ(diagnostics.sinks().debug_file, "");
}

TEST_F(DiagnosticSinks, FilesThatAreOffTakeNothing)
{
    fwm_check_flush_dbg_out_file();
    const sdwrap_hist_event_record record{104, "text"};
    sdwrap_hist_event(0x730000, 9, &record);
    EXPECT_EQ(diagnostics.flush(), "");
}

TEST_F(DiagnosticSinks, AFullDiskIsReported)
{
    Sinks sinks;
    sinks.debug_file = "/dev/full";
    configure(sinks);
    debug("text");
    EXPECT_EQ(diagnostics.flush(), "cannot write /dev/full: No space left on device");
    EXPECT_EQ(diagnostics.flush(), "cannot write /dev/full");
}

/* ---- Event history ---- */

TEST_F(DiagnosticSinks, TheEventFileHoldsEachEvent)
{
    const ScratchFile path("events");
    Sinks sinks;
    sinks.event_file = path.path;
    sinks.fixed_time_ns = noon;
    configure(sinks);
    debug("Entered.\n");
    error("l3lif is NULL.\n");
    const EventFile file = parse_events(content_of(path.path));
    EXPECT_EQ(file.problem, "");
    EXPECT_EQ(file.events, (std::vector<Event>{{noon, 0x730000, 104, "Entered.\n"},
                                               {noon, 0x730000, 102, "l3lif is NULL.\n"}}));
}

TEST_F(DiagnosticSinks, AnEventOf600CharactersIsCutAt511)
{
    const ScratchFile path("events");
    Sinks sinks;
    sinks.event_file = path.path;
    configure(sinks);
    error(std::string(600, 'x').c_str());
    error("");
    const EventFile file = parse_events(content_of(path.path));
    ASSERT_EQ(file.events.size(), 2u) << file.problem;
    EXPECT_EQ(file.events[0].text, std::string(511, 'x'));
    EXPECT_EQ(file.events[1].text, "");
}

TEST_F(DiagnosticSinks, AnEventOfImpossibleLengthIsNotRecorded)
{
    const ScratchFile path("events");
    Sinks sinks;
    sinks.event_file = path.path;
    configure(sinks);
    sdwrap_hist_event_record record{};
    sdwrap_hist_event(0x730000, 4, &record);
    sdwrap_hist_event(0x730000, sizeof record + 1, &record);
    sdwrap_hist_event(0x730000, 5, nullptr);
    ASSERT_EQ(diagnostics.flush(), "");
    EXPECT_THAT(parse_events(content_of(path.path)).events, IsEmpty());
}

/* ---- Debug switches ---- */

TEST_F(DiagnosticSinks, AMessageOnTheConsoleEndsItsLine)
{
    const ScratchFile path("console");
    std::FILE *console = std::fopen(path.path.c_str(), "w");
    Sinks sinks;
    sinks.console = {true, true};
    sinks.console_file = console;
    configure(sinks);
    error("Failed to allocate memory");
    debug("Exiting.\n");
    debug("");
    std::fclose(console);
    diagnostics.reset();
    EXPECT_EQ(content_of(path.path),
              "l3lif: Failed to allocate memory\nl3lif: Exiting.\nl3lif: \n");
}

TEST_F(DiagnosticSinks, WithoutAConsoleNothingIsPrinted)
{
    Sinks sinks;
    sinks.console = {true, true};
    sinks.console_file = nullptr;
    configure(sinks);
    error("text");
    EXPECT_EQ(diagnostics.errors().size(), 1u);
}

TEST_F(DiagnosticSinks, UnknownLevelsAreOff)
{
    const LevelSwitch both{true, true};
    EXPECT_TRUE(both.on(102));
    EXPECT_TRUE(both.on(104));
    EXPECT_FALSE(both.on(103));
    EXPECT_FALSE(both.on(0));
}

TEST_F(DiagnosticSinks, AreAsAtTheStartAfterAReset)
{
    const ScratchFile path("debug");
    Sinks sinks;
    sinks.debug_file = path.path;
    sinks.console = {true, true};
    sinks.console_file = nullptr;
    configure(sinks);
    error("text");
    diagnostics.reset();
    EXPECT_EQ(dbg_out_file, nullptr);
    EXPECT_THAT(diagnostics.errors(), IsEmpty());
    EXPECT_EQ(sdwrap_chk_int(102, 0, 0, 1), 0);
}

} // namespace
} // namespace kvnsim
