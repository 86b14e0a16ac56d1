#include "sim/journal/request.h"

#include <cstring>

#include <fmt/format.h>

namespace kvnsim {

std::string Cause::to_text() const
{
    const auto *const row = std::get_if<SourceLocation>(&what_);
    return row != nullptr ? row->to_text() : std::get<std::string>(what_);
}

std::string RequestArguments::to_text() const
{
    if (names_.front() == nullptr)
        return text_;
    std::string words = fmt::format("{}={}", names_.front(), text_);
    for (size_t i = 0; i < numbers_.size() && names_[i + 1] != nullptr; ++i)
        words += fmt::format(" {}={}", names_[i + 1], numbers_[i]);
    return words;
}

const FailedCall &Request::first_failure() const
{
    static const FailedCall none;
    return failed_first != nullptr ? *failed_first : none;
}

std::string Request::failure_text() const
{
    std::string text = fmt::format("request {} {}", number, entry);
    if (result)
        text += fmt::format("({}) returned {}{}", arguments.to_text(), *result,
                            *result == 0 ? ", but a call in it failed" : "");
    if (failed_first != nullptr)
        text += ": " + failed_first->words;
    if (!first_failure().reason.empty())
        text += " (" + first_failure().reason + ")";
    return text;
}

std::string Origin::to_text() const
{
    if (!request)
        return *call ? call : "made before any request";
    return fmt::format("{}{}request {} {}({})", call, *call ? " in " : "", request->number,
                       request->entry, request->arguments.to_text());
}

bool operator==(const Origin &a, const Origin &b)
{
    if (std::strcmp(a.call, b.call) != 0)
        return false;
    if (a.request == b.request)
        return true;
    return a.request && b.request && a.request->number == b.request->number &&
           std::strcmp(a.request->entry, b.request->entry) == 0 &&
           a.request->arguments == b.request->arguments &&
           a.request->subject == b.request->subject && a.request->cause == b.request->cause;
}

} // namespace kvnsim
