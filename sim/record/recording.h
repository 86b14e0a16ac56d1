#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>

#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/journal/imported_call.h"
#include "sim/journal/request.h"
#include "sim/journal/trace_record.h"

/* The lines of a recording: each is a record, identified by the name of its first field. See
 * docs/recording.md for the format. Recorder and replay share these functions. */
namespace kvnsim {

constexpr int64_t recording_version = 1;
/* The first field of the first line. */
constexpr const char *recording_key = "kvnsim_recording";

/* The kinds of line. */
enum class LineKind : uint8_t {
    header,
    sinks,
    power_on,
    virtual_mac,
    interface,
    gone,
    request,
    call,
    trace,
    left,
    result,
    end,
    unknown
};

/* A line: the kind's own field first, then the others. */
Value line(LineKind kind, Value first, std::vector<Field> others = {});
/* Where debug records go: one record looks its argument up again for each such sink. */
Value sinks_line(const Sinks &sinks);
Value request_line(const Request &request);
Value call_line(const Call &call);
Value trace_line(const TraceRecord &record);
Value left_line(const HostInterface &interface);
Value result_line(const Request &request);

struct Line {
    LineKind kind = LineKind::unknown;
    Value value;
    uint64_t number = 0;         /* in the file, 1-based */
    std::string to_text() const; /* for messages: "libsdk_intf_destroy(intf_id=5) = 0" */
};

/* A line as made, and as read back: without the names of numbers. */
Line line_of(Value value);
Line as_read(const Value &value);

/* Reads a recording line by line. */
class RecordingReader {
public:
    RecordingReader(std::istream &in, std::string name) : in_(in), name_(std::move(name)) {}

    /* The next line; empty at the end or on a problem. The first one is the header, of a version
     * that can be read. Lines of unknown kinds are skipped. */
    std::optional<Line> next();
    /* "file:line:column: what"; empty when all is well. */
    const std::string &problem() const { return problem_; }
    /* Report a problem with a line, or with the last line read. */
    void report(const Line &line, const std::string &what);
    void report(const std::string &what);
    std::string location(const Line &line) const;

private:
    std::istream &in_;
    const std::string name_;
    uint64_t number_ = 0;
    std::string problem_;
};

} // namespace kvnsim
