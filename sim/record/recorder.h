#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

namespace kvnsim {

/* Writes what crosses the library's boundary as a recording, line by line (docs/recording.md).
 * Its destruction writes the last line. The stream must live as long; its state shows whether all
 * was written. */
class Recorder : public Observer {
public:
    explicit Recorder(std::ostream &out);
    ~Recorder() override;

    void request_begins(const Request &request) override;
    void call_made(const Call &call) override;
    void trace_emitted(const TraceRecord &record) override;
    void request_ends(const Request &request) override;
    void switch_replaced() override { begins_ = true; }

private:
    void write(const Value &line);
    void write_beginning();
    void write_gone(const Request &request);

    /* An interface as last written. */
    struct Written {
        std::string host, library;
    };

    std::ostream &out_;
    std::map<uint32_t, Written> written_; /* by ifindex */
    std::string sinks_;
    std::vector<HostInterface *> concerned_; /* of the current request */
    bool begins_ = true;                     /* no request of this switch has been written */
    bool in_request_ = false;
    uint64_t requests_ = 0;
};

} // namespace kvnsim
