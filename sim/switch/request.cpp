#include "sim/switch/request.h"

#include <optional>
#include <utility>

#include "sim/journal/journal.h"

namespace kvnsim {
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

Response answer_to(RequestRef request, int64_t result, bool refused)
{
    Response response;
    response.refused = refused;
    response.failed = refused || request->failed_calls != 0;
    response.result = result;
    response.request = std::move(request);
    return response;
}

Response host_task(const char *task, const std::string &subject,
                   const std::function<int32_t()> &work)
{
    auto request = std::make_shared<Request>();
    request->entry = task;
    request->subject = subject;
    request->arguments = subject;
    Journal &journal = Journal::instance();
    journal.begin(std::move(request));
    const int32_t status = work();
    return answer_to(journal.end(std::nullopt), status, status != 0);
}

} // namespace kvnsim
