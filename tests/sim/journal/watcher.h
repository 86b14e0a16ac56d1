#pragma once

#include <string>
#include <vector>

#include "sim/journal/journal.h"

/* Watches the journal for a test's time and keeps what it saw. */
class Watcher : public kvnsim::Observer {
public:
    void request_begins(const kvnsim::Request &request) override
    {
        events.push_back("begin " + std::to_string(request.number));
    }
    void call_made(const kvnsim::Call &call) override
    {
        events.push_back(call.what->name());
        calls.push_back(call);
    }
    void trace_emitted(const kvnsim::TraceRecord &record) override
    {
        events.push_back("trace " + record.text);
    }
    void request_ends(const kvnsim::Request &request) override
    {
        events.push_back("end " + std::to_string(request.number));
    }

    std::vector<std::string> events;
    std::vector<kvnsim::Call> calls;
};
