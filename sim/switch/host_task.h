#pragma once

#include <memory>
#include <string>

#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

namespace kvnsim {

/* A task that the host does by itself, as a request of the journal: the calls made while it lives
 * belong to it. The task's name ("host: give port its LID") outlives it. */
class HostTask {
public:
    HostTask(const char *task, const std::string &subject);
    ~HostTask() { end(); }
    HostTask(const HostTask &) = delete;
    HostTask &operator=(const HostTask &) = delete;

    RequestRef end(); /* the same again when it has ended */
    /* End it: empty, or why it did not come about. */
    std::string failure(const Status &status);

private:
    RequestRef request_;
};

} // namespace kvnsim
