#pragma once

#include <ostream>
#include <string>

#include "sim/journal/journal.h"

namespace kvnsim {

struct TimelineOptions {
    std::string interface;    /* only requests that concern it, its members or its sub-interfaces;
                                 empty = all */
    bool questions = false;   /* also the calls that only ask */
    bool traces = false;      /* also the library's trace records */
    bool errors_only = false; /* of the trace records those of error level only */
    bool colour = false;      /* for a terminal */
};

/* Prints requests as they happen, as a call tree: the configuration row or command behind them, the
 * request with its arguments, each call with its arguments and results, what it returned. Watches
 * the journal from its construction to its destruction; the stream must live as long. */
class Timeline : public Observer {
public:
    Timeline(std::ostream &out, TimelineOptions options);
    ~Timeline() override;
    Timeline(const Timeline &) = delete;
    Timeline &operator=(const Timeline &) = delete;

    void request_begins(const Request &request) override;
    void call_made(const Call &call) override;
    void trace_emitted(const TraceRecord &record) override;
    void request_ends(const Request &request) override;

private:
    bool concerns(const Request &request) const;
    std::string painted(const char *colour, const std::string &text) const;

    std::ostream &out_;
    const TimelineOptions options_;
    bool shown_ = false; /* the request under way */
    std::string cause_;  /* the last one printed */
};

} // namespace kvnsim
