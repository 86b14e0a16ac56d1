#pragma once

#include <ostream>
#include <string>
#include <utility>

#include "sim/journal/journal.h"

namespace kvnsim {

struct TimelineOptions {
    std::string interface;    /* only requests that concern it, its members or its sub-interfaces;
                                 empty = all */
    bool questions = false;   /* include calls that only ask */
    bool traces = false;      /* include the library's trace records */
    bool errors_only = false; /* of the trace records only errors */
    bool colour = false;      /* for a terminal */
};

/* Prints requests as they happen, as a call tree: the configuration row or command that caused
 * them, the request with its arguments, each call with its arguments and results, the request's
 * result. The stream must live as long. */
class Timeline : public Observer {
public:
    Timeline(std::ostream &out, TimelineOptions options) : out_(out), options_(std::move(options))
    {}

    void request_begins(const Request &request) override;
    void call_made(const Call &call) override;
    void trace_emitted(const TraceRecord &record) override;
    void request_ends(const Request &request) override;

private:
    bool concerns(const Request &request) const;
    std::string painted(const char *colour, const std::string &text) const;

    std::ostream &out_;
    const TimelineOptions options_;
    bool shown_ = false; /* the current request */
    std::string cause_;  /* the last one printed */
};

} // namespace kvnsim
