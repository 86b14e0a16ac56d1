#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform_api/fwm.h"
#include "sim/journal/trace_record.h"
#include "sim/types/columns.h"

/* The host's diagnostic services: where trace records go. */
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
    size_t error_groups = 1000;           /* capacity of the error store, 0 = off */
    std::string debug_file;               /* path, empty = off */
    std::string event_file;               /* path, empty = off */
    LevelSwitch events{true, true};       /* levels that the event file gets */
    LevelSwitch console;                  /* levels whose debug switch is on */
    std::FILE *console_file = stderr;     /* what the debug switch prints to; not owned */
    std::optional<int64_t> fixed_time_ns; /* time since the epoch that every sink shows, for
                                             reproducible output; empty = the clock */
};

/* Equal messages of the error store; without a function, all that arrived when it was full. */
struct ErrorGroup {
    std::string function;
    int32_t line = 0;
    std::string text;
    uint64_t count = 0;
    uint64_t last_request = 0; /* 0: outside any request */
    TABLE_ROW("error", function, line, text, count, last_request)
};

/* Single-threaded, like everything at the library's boundary. */
class Diagnostics {
public:
    static Diagnostics &instance() { return instance_; }
    Diagnostics(const Diagnostics &) = delete;
    Diagnostics &operator=(const Diagnostics &) = delete;

    /* Switch to these sinks. A file open under the same path is continued, any other is started
     * anew, and so is an error store of another size. Empty on success; else the error ("cannot
     * write FILE: reason"), and the sinks are unchanged. A file that cannot be opened leaves the
     * other one as it is. */
    std::string configure(const Sinks &sinks);
    const Sinks &sinks() const { return sinks_; }

    /* The error store, in the order of first occurrence. */
    const std::vector<ErrorGroup> &errors() const { return errors_; }

    /* Replace the error store by these messages. Throws BadRow, and changes nothing, when two are
     * the same. */
    void restore_errors(const std::vector<ErrorGroup> &groups);

    /* Write out buffered text. Empty, or the file that could not be written. */
    std::string flush();
    /* Close files, discard everything, reset the sinks. */
    void reset();

    /* ---- What the C services do; messages are printf-style. ---- */
    /* Whether a trace record must be added: somebody observes, or another one waits. */
    bool takes_traces() const;
    void add_trace(const char *function, int32_t line, const char *format, va_list arguments)
        FWM_PRINTF(4, 0);
    void add_error(const char *function, int32_t line, const char *format, va_list arguments)
        FWM_PRINTF(4, 0);
    const char *time_text();
    const char *level_name(int32_t level);
    void debug_message_written();
    bool records_events(int32_t level)
    {
        return !muted_ && (events_ != nullptr || is_pending_) && takes_event(level);
    }
    void record_event(uint32_t event, int32_t level, std::string_view text);
    bool debug_switch(int32_t level) const { return !muted_ && sinks_.console.on(level); }
    void print(const char *module, const char *format, va_list arguments) FWM_PRINTF(3, 0);

private:
    Diagnostics() = default;
    ~Diagnostics();
    void level_known(int32_t level);
    bool takes_event(int32_t level);
    int64_t now_ns() const;
    std::string_view formatted(const char *format, va_list arguments) FWM_PRINTF(2, 0);

    friend class MutedScope;

    static Diagnostics instance_;
    Sinks sinks_;
    bool muted_ = false;
    std::string scratch_ = std::string(1024, '\0'); /* of formatted() */

    /* The service that takes a trace record does not get its level: while the journal is observed,
     * the record waits here for the next service of its emission, which does. */
    TraceRecord pending_;
    std::string pending_function_; /* what pending_.function points at */
    bool is_pending_ = false;

    /* Messages grouped by function, line and text, and the place of each group. When the store is
     * full, one more group takes all others. */
    std::vector<ErrorGroup> errors_;
    std::map<std::tuple<std::string, int32_t, std::string>, size_t> error_places_;

    int32_t written_level_ = trace_level_debug; /* of the debug file's last prefix */
    uint32_t unflushed_ = 0;                    /* messages of the debug file */
    std::FILE *events_ = nullptr;
    char time_text_[40];
};

/* Trace records during its lifetime reach no sink and no observer; nothing else changes. */
class MutedScope {
public:
    MutedScope();
    ~MutedScope();
    MutedScope(const MutedScope &) = delete;
    MutedScope &operator=(const MutedScope &) = delete;

private:
    std::FILE *const debug_file_;
};

/* Keeps the sinks: they are as before when it ends. */
class SinksScope {
public:
    ~SinksScope() { Diagnostics::instance().configure(before); }
    const Sinks before = Diagnostics::instance().sinks();
};

} // namespace kvnsim
