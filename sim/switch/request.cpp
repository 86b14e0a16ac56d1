#include "sim/switch/request.h"

#include <optional>
#include <utility>

namespace kvnsim {
namespace {

std::string current_cause;

} // namespace

std::string Response::failure() const
{
    return request != nullptr ? request->failure_text() : refusal;
}

Response not_made(std::string refusal)
{
    Response response;
    response.refusal = std::move(refusal);
    response.failed = response.refused = true;
    return response;
}

void begin_request(std::shared_ptr<Request> request)
{
    request->cause = current_cause;
    Journal::instance().begin(std::move(request));
}

Response end_request(int64_t result, bool refused, bool shows_result)
{
    Response response;
    response.request = Journal::instance().end(shows_result ? std::optional(result) : std::nullopt);
    response.result = result;
    response.refused = refused;
    response.failed = refused || response.request->failed_calls != 0;
    return response;
}

Response host_task(const char *task, const std::string &subject,
                   const std::function<int32_t()> &work)
{
    auto request = std::make_shared<Request>();
    request->entry = task;
    request->subject = request->arguments = subject;
    begin_request(std::move(request));
    const int32_t status = work();
    return end_request(status, status != 0, false);
}

CauseScope::CauseScope(std::string cause) : outer_(std::exchange(current_cause, std::move(cause)))
{}

CauseScope::~CauseScope()
{
    current_cause = std::move(outer_);
}

const std::string &CauseScope::current()
{
    return current_cause;
}

} // namespace kvnsim
