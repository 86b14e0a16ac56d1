#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace kvnsim {

/* Where the library differs from the recording. */
struct Mismatch {
    std::string location;            /* "leaf.jsonl:120", of the recorded line */
    std::string request, cause;      /* "12 l3lifpd_kvn_add_l3port(...)", "INTERFACE|Ethernet0" */
    std::string what;                /* "argument intf_id: recorded 5, now 6" */
    std::string recorded, now;       /* the two events */
    std::vector<std::string> before; /* the last equal events of the request */
    /* On several lines; ends with a newline. */
    std::string to_text() const;
};

struct Replay {
    std::string problem; /* "leaf.jsonl:120:7: ...": the recording is unusable from there on;
                            empty when it was read to its end or to the difference */
    std::optional<Mismatch> difference;           /* the first one */
    uint64_t requests = 0, calls = 0, traces = 0; /* equal to the recording */
    uint64_t host_tasks = 0;                      /* skipped: the host's own */
    int64_t word_size = 0;                        /* of the recording build, in bits */
    bool same() const { return problem.empty() && !difference; }
};

/* Makes a recording's requests again, answers the library's calls from the recording and compares
 * what it does. name: the recording's name in messages. Power-cycles the switch before and after.
 * The diagnostics' sinks are restored at the end; their files start again. */
Replay replay(std::istream &recording, const std::string &name);

} // namespace kvnsim
