#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace kvnsim {

/* Where the library did something else than when it was recorded. */
struct Mismatch {
    std::string location;            /* "leaf.jsonl:120", of the recorded line */
    std::string request, cause;      /* "12 l3lifpd_kvn_add_l3port(...)", "INTERFACE|Ethernet0" */
    std::string what;                /* "argument intf_id: recorded 5, now 6" */
    std::string recorded, now;       /* the two events */
    std::vector<std::string> before; /* the last events of the request that were the same */
    /* All of it, on several lines, the last one ended. */
    std::string to_text() const;
};

struct Replay {
    std::string problem; /* "leaf.jsonl:120:7: ...": the recording cannot be used from there on;
                            empty when it was read to its end or to the difference */
    std::optional<Mismatch> difference;           /* the first one */
    uint64_t requests = 0, calls = 0, traces = 0; /* the same as recorded */
    uint64_t host_tasks = 0;                      /* passed over: the host's own */
    int64_t word_size = 0;                        /* of the build that recorded, in bits */
    bool same() const { return problem.empty() && !difference; }
};

/* Make a recording's requests again of the library as it is, answering its calls from the
 * recording, and compare what it does. name stands for the recording in messages. The switch is
 * powered on anew before and after; the diagnostics' sinks are as before at the end, files among
 * them started anew. */
Replay replay(std::istream &recording, const std::string &name);

} // namespace kvnsim
