#include "sim/switch/host_task.h"

#include "sim/switch/entry_points.h"

namespace kvnsim {

HostTask::HostTask(const char *task, const std::string &subject)
{
    auto request = std::make_shared<Request>();
    request->entry = task;
    request->subject = subject;
    request->arguments = subject;
    request->cause = CauseScope::current();
    Journal::instance().begin(std::move(request));
}

RequestRef HostTask::end()
{
    if (!request_)
        request_ = Journal::instance().end(std::nullopt);
    return request_;
}

std::string HostTask::failure(const Status &status)
{
    const RequestRef request = end();
    if (status.ok())
        return {};
    std::string message = "request " + std::to_string(request->number) + ' ' + request->entry +
                          ": " + status.to_text();
    if (!request->first_failure().reason.empty())
        message += " (" + request->first_failure().reason + ")";
    return message;
}

} // namespace kvnsim
