/* The sinks of trace records: error store, debug file, event file, console and observers. Each
 * record reaches each sink that is on, once. The library reports one record through several
 * services in turn; only the later ones get the level, so a record for observers waits until its
 * level is known. */
#include "sim/fwm/diagnostics.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "sim/fwm/event_file.h"
#include "sim/journal/journal.h"
#include "sim/types/bad_row.h"
#include "sim/types/utc_time.h"

namespace kvnsim {
namespace {

/* The debug file is flushed after this many messages, and after each error. */
constexpr uint32_t messages_per_flush = 64;

/* Opens the file for writing unless it is off or the same as before. What it holds stays until
 * begin(). */
struct Opening {
    Opening(const std::string &path, const std::string &path_before, std::FILE *before)
        : file(path == path_before ? before : nullptr)
    {
        if (path.empty() || file)
            return;
        file = opened = std::fopen(path.c_str(), "ab");
        check(opened != nullptr, path);
    }
    void begin(const std::string &path)
    {
        struct stat info;
        if (opened && ::fstat(::fileno(opened), &info) == 0 && S_ISREG(info.st_mode))
            check(::ftruncate(::fileno(opened), 0) == 0, path);
    }
    void check(bool done, const std::string &path)
    {
        if (!done)
            problem = "cannot write " + path + ": " + std::strerror(errno);
    }

    std::FILE *file, *opened = nullptr;
    std::string problem;
};

/* Empty when everything written so far is in the file. */
std::string flush_file(std::FILE *file, const std::string &path)
{
    if (!file)
        return "";
    if (std::fflush(file) != 0)
        return "cannot write " + path + ": " + std::strerror(errno);
    return std::ferror(file) ? "cannot write " + path : "";
}

void close_unless(std::FILE *file, std::FILE *still_used)
{
    if (file && file != still_used)
        std::fclose(file);
}

} // namespace

bool LevelSwitch::on(int32_t level) const
{
    return level == trace_level_error ? error : level == trace_level_debug && debug;
}

Diagnostics Diagnostics::instance_;

Diagnostics::~Diagnostics()
{
    reset();
}

std::string Diagnostics::configure(const Sinks &sinks)
{
    Opening debug(sinks.debug_file, sinks_.debug_file, dbg_out_file);
    Opening events(sinks.event_file, sinks_.event_file, events_);
    if (debug.problem.empty() && events.problem.empty()) {
        debug.begin(sinks.debug_file);
        events.begin(sinks.event_file);
        if (events.opened)
            events.check(write_event_header(events.opened), sinks.event_file);
    }
    if (!debug.problem.empty() || !events.problem.empty()) {
        close_unless(debug.opened, nullptr);
        close_unless(events.opened, nullptr);
        return debug.problem.empty() ? events.problem : debug.problem;
    }
    close_unless(dbg_out_file, debug.file);
    close_unless(events_, events.file);
    dbg_out_file = debug.file;
    events_ = events.file;

    if (sinks.error_groups != sinks_.error_groups) {
        errors_.clear();
        error_places_.clear();
    }
    sinks_ = sinks;
    return "";
}

void Diagnostics::reset()
{
    close_unless(dbg_out_file, nullptr);
    close_unless(events_, nullptr);
    dbg_out_file = events_ = nullptr;
    sinks_ = Sinks();
    is_pending_ = false;
    unflushed_ = 0;
    errors_.clear();
    error_places_.clear();
}

void Diagnostics::restore_errors(const std::vector<ErrorGroup> &groups)
{
    std::map<std::tuple<std::string, int32_t, std::string>, size_t> places;
    for (const ErrorGroup &group : groups) {
        if (!places.emplace(std::tuple(group.function, group.line, group.text), places.size())
                 .second)
            throw BadRow(ErrorGroup::table, places.size() + 1, "text", "it is there twice");
    }
    errors_ = groups;
    error_places_ = std::move(places);
}

std::string Diagnostics::flush()
{
    unflushed_ = 0;
    const std::string problem = flush_file(dbg_out_file, sinks_.debug_file);
    return problem.empty() ? flush_file(events_, sinks_.event_file) : problem;
}

/* The waiting trace record, if any, is of this level. */
void Diagnostics::level_known(int32_t level)
{
    if (!is_pending_)
        return;
    is_pending_ = false;
    pending_.level = level;
    Journal::instance().trace(pending_);
}

bool Diagnostics::takes_traces() const
{
    return !muted_ && (is_pending_ || Journal::instance().observed());
}

void Diagnostics::add_trace(const char *function, int32_t line, const char *format,
                            va_list arguments)
{
    level_known(trace_level_debug);
    if (!Journal::instance().observed())
        return;
    pending_function_ = function;
    pending_.function = pending_function_.c_str();
    pending_.line = line;
    pending_.text = formatted(format, arguments);
    is_pending_ = true;
}

void Diagnostics::add_error(const char *function, int32_t line, const char *format,
                            va_list arguments)
{
    if (muted_)
        return;
    level_known(trace_level_error);
    if (sinks_.error_groups == 0)
        return;
    std::tuple message{std::string(function), line, std::string(formatted(format, arguments))};
    if (errors_.size() >= sinks_.error_groups && error_places_.count(message) == 0)
        message = {"", 0, "other messages, for which the error store had no room"};
    const auto [known, is_new] = error_places_.emplace(message, errors_.size());
    if (is_new)
        errors_.push_back({std::get<0>(message), std::get<1>(message), std::get<2>(message), 0, 0});
    ErrorGroup &group = errors_[known->second];
    const RequestRef request = Journal::instance().current();
    group.count++;
    group.last_request = request ? request->number : 0;
}

const char *Diagnostics::time_text()
{
    const UtcTime now = utc_time(now_ns());
    const size_t length =
        std::strftime(time_text_, sizeof time_text_, "%Y-%m-%d %H:%M:%S", &now.parts);
    std::snprintf(time_text_ + length, sizeof time_text_ - length, ".%06d",
                  static_cast<int>(now.nanoseconds / 1000));
    return time_text_;
}

const char *Diagnostics::level_name(int32_t level)
{
    level_known(level);
    written_level_ = level;
    return level == trace_level_error ? "ERR" : level == trace_level_debug ? "DBG" : "???";
}

void Diagnostics::debug_message_written()
{
    if (!dbg_out_file)
        return;
    if (++unflushed_ >= messages_per_flush || written_level_ == trace_level_error) {
        std::fflush(dbg_out_file);
        unflushed_ = 0;
    }
}

bool Diagnostics::takes_event(int32_t level)
{
    level_known(level);
    return events_ != nullptr && sinks_.events.on(level);
}

void Diagnostics::record_event(uint32_t event, int32_t level, std::string_view text)
{
    if (!events_)
        return;
    write_event(events_, now_ns(), event, level, text);
    /* The process may end with the failure that the error reports. */
    if (level == trace_level_error)
        std::fflush(events_);
}

void Diagnostics::print(const char *module, const char *format, va_list arguments)
{
    if (!sinks_.console_file)
        return;
    const std::string_view text = formatted(format, arguments);
    const bool ended = !text.empty() && text.back() == '\n';
    std::fprintf(sinks_.console_file, "%s: %s%s", module, text.data(), ended ? "" : "\n");
}

/* The library itself writes to the debug file. */
MutedScope::MutedScope() : debug_file_(std::exchange(dbg_out_file, nullptr))
{
    Diagnostics::instance().muted_ = true;
}

MutedScope::~MutedScope()
{
    Diagnostics::instance().muted_ = false;
    dbg_out_file = debug_file_;
}

int64_t Diagnostics::now_ns() const
{
    if (sinks_.fixed_time_ns)
        return *sinks_.fixed_time_ns;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

/* The message, in the scratch text until the next call. */
std::string_view Diagnostics::formatted(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    /* The analyzer does not see that every caller has started its list. */
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    int length = std::vsnprintf(scratch_.data(), scratch_.size(), format, arguments);
    if (length >= static_cast<int>(scratch_.size())) {
        scratch_.resize(static_cast<size_t>(length) + 1);
        length = std::vsnprintf(scratch_.data(), scratch_.size(), format, again);
    }
    va_end(again);
    if (length < 0)
        return "(message cannot be formatted)";
    return {scratch_.data(), static_cast<size_t>(length)};
}

} // namespace kvnsim
