#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "sim/journal/request.h"

/* Requests to the library, tasks of the host, and their results. */
namespace kvnsim {

/* The result of a request. */
struct Response {
    RequestRef request;  /* null: the host did not make it */
    std::string refusal; /* the reason, if not made */
    int64_t result = 0;
    bool failed = false;  /* by the result's meaning, or a call within it failed, or not made */
    bool refused = false; /* by the result's meaning alone, or not made */
    std::string output;   /* what the library printed */
    /* The refusal, or Request::failure_text. */
    std::string failure() const;
};

/* For a request that was not made: "Ethernet0 still has sub-interfaces". */
Response not_made(std::string refusal);

/* For a request that has ended. */
Response answer_to(RequestRef request, int64_t result, bool refused);

/* Run a task of the host. Its name ("host: give port its LID") must outlive the journal's records.
 * The work returns 0, or the status of the call that was refused. */
Response host_task(const char *task, const std::string &subject,
                   const std::function<int32_t()> &work);

} // namespace kvnsim
