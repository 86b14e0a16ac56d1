#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sim/journal/journal.h"

/* The forwarding manager's diagnostic services: where trace records go. */
namespace kvnsim {

constexpr int32_t trace_level_error = 102;
constexpr int32_t trace_level_debug = 104;

/* One switch for each trace level. */
struct LevelSwitch {
    bool error = false, debug = false;
    bool on(int32_t level) const; /* false for an unknown level */
};

/* Which sinks are on. */
struct Sinks {
    size_t trace_records = 10000;         /* size of the trace buffer, 0 = off */
    size_t error_groups = 1000;           /* size of the error store, 0 = off */
    std::string debug_file;               /* path, empty = off */
    std::string event_file;               /* path, empty = off */
    LevelSwitch events;                   /* levels that the event history records */
    LevelSwitch console;                  /* levels whose debug switch is on */
    std::FILE *console_file = stderr;     /* what the debug switch prints to; not owned */
    std::optional<int64_t> fixed_time_ns; /* time since the epoch that every sink shows, for
                                             reproducible output; empty = the clock */
};

/* Equal messages of the error store. */
struct ErrorGroup {
    std::string function;
    int32_t line = 0;
    std::string text;
    uint64_t count = 0;
    uint64_t last_request = 0; /* 0: outside any request */
};

/* One thread, as everything at the library's boundary. */
class Diagnostics {
public:
    static Diagnostics &instance();
    Diagnostics(const Diagnostics &) = delete;
    Diagnostics &operator=(const Diagnostics &) = delete;

    /* Switch to these sinks: files of before are closed, trace buffer and error store keep what
     * fits. Empty when done; else why not ("cannot write FILE: reason"), and all is as before. */
    std::string configure(const Sinks &sinks);
    const Sinks &sinks() const { return sinks_; }

    /* The trace buffer, oldest first, and how many records it has lost. */
    std::vector<TraceRecord> trace();
    uint64_t trace_lost() const { return lost_; }
    /* The error store, in the order of first occurrence, and how many messages it had no room
     * for. */
    std::vector<ErrorGroup> errors() const;
    uint64_t errors_lost() const { return errors_lost_; }

    /* Write out what is buffered for files; empty, or what could not be written. */
    std::string flush();
    /* Close files, forget everything, the sinks as at the start. */
    void reset();

    /* ---- What the C services do ---- */
    void add_trace(const char *function, int32_t line, const char *format, va_list arguments);
    void add_error(const char *function, int32_t line, const char *format, va_list arguments);
    const char *time_text();
    const char *level_name(int32_t level);
    void debug_message_written();
    bool records_events(int32_t level);
    void record_event(uint32_t event, int32_t level, const char *text, size_t length);
    bool debug_switch(int32_t level) const;
    void print(const char *module, const char *format, va_list arguments);

private:
    Diagnostics();
    ~Diagnostics();
    void emit_pending();
    int64_t now_ns() const;
    const std::string &format_text(const char *format, va_list arguments);

    Sinks sinks_;
    std::string text_; /* scratch of format_text */

    /* The service that takes a trace record is not told its level: a record waits here for the
     * next service called, which tells. */
    std::optional<TraceRecord> pending_;
    std::set<std::string, std::less<>> functions_; /* names that records point at */
    std::vector<TraceRecord> ring_;
    size_t oldest_ = 0;
    uint64_t lost_ = 0;

    struct Errors;
    std::unique_ptr<Errors> errors_;
    uint64_t errors_lost_ = 0;

    int32_t last_level_ = trace_level_debug; /* of the debug file's message being written */
    uint32_t unflushed_ = 0;
    std::FILE *events_ = nullptr;
    char time_text_[40];
};

} // namespace kvnsim
