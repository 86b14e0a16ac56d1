#include "sim/record/timeline.h"

#include <algorithm>
#include <string_view>

#include <fmt/format.h>

#include "sim/fwm/diagnostics.h"
#include "sim/fwm/host.h"
#include "sim/record/interface_state.h"
#include "sim/record/recording.h"

namespace kvnsim {
namespace {

constexpr const char *bold = "\033[1m", *red = "\033[31m", *yellow = "\033[33m", *grey = "\033[2m",
                     *plain = "\033[0m";

constexpr std::string_view request_indent = "  ", event_indent = "      ";

bool is_or_belongs_to(const HostInterface &interface, const std::string &name)
{
    return interface.name == name || (interface.parent && interface.parent->name == name) ||
           (interface.channel && interface.channel->name == name);
}

/* A record's text on one line: the last newline removed, others shown as \n. */
std::string one_line(std::string text)
{
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    for (size_t at; (at = text.find('\n')) != text.npos;)
        text.replace(at, 1, "\\n");
    return text;
}

} // namespace

bool Timeline::concerns(const Request &request) const
{
    const std::string &name = options_.interface;
    if (name.empty() || request.subject == name)
        return true;
    const HostInterface *subject = Host::instance().find(request.subject);
    if (subject != nullptr && is_or_belongs_to(*subject, name))
        return true;
    const auto interfaces = interfaces_of(request);
    return std::any_of(interfaces.begin(), interfaces.end(), [&](const HostInterface *interface) {
        return is_or_belongs_to(*interface, name);
    });
}

std::string Timeline::painted(const char *colour, const std::string &text) const
{
    return options_.colour ? colour + text + plain : text;
}

void Timeline::request_begins(const Request &request)
{
    shown_ = concerns(request);
    if (!shown_)
        return;
    std::string cause = request.cause.to_text();
    if (cause != cause_ && !cause.empty())
        out_ << painted(bold, cause) << '\n';
    cause_ = std::move(cause);
    out_ << request_indent << request.number << ' ' << request.entry << '('
         << request.arguments.to_text() << ")\n";
}

void Timeline::call_made(const Call &call)
{
    if (!shown_ || (call.what->purpose() == Purpose::asks && !call.failed && !options_.questions))
        return;
    const std::string text = to_text(call);
    out_ << event_indent << (call.failed ? painted(call.injected ? yellow : red, text) : text)
         << '\n';
}

void Timeline::trace_emitted(const TraceRecord &record)
{
    const bool is_error = record.level == trace_level_error;
    if (!shown_ || !options_.traces || (options_.errors_only && !is_error))
        return;
    out_ << event_indent
         << painted(is_error ? red : grey,
                    fmt::format("[{}] {}:{}: {}", is_error ? "error" : "debug", record.function,
                                record.line, one_line(record.text)))
         << '\n';
}

void Timeline::request_ends(const Request &request)
{
    if (!shown_)
        return;
    if (request.result)
        out_ << request_indent << "= " << *request.result;
    else
        out_ << request_indent << "= done by the host";
    if (request.failed_calls != 0)
        out_ << painted(red, fmt::format(", {} failed: {}",
                                         request.failed_calls == 1
                                             ? std::string("1 call")
                                             : fmt::format("{} calls", request.failed_calls),
                                         request.first_failure().words));
    out_ << '\n';
    shown_ = false;
}

} // namespace kvnsim
