/* Every imported call passes begin() and end() here, and every request Journal::begin() and end().
 * Between these two, all calls belong to that request; requests do not nest, calls may. A call's
 * note lasts until the call ends. The journal depends on sim/types only. */
#include "sim/journal/journal.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cstring>

#include <fmt/format.h>

namespace kvnsim {

namespace {

std::vector<const ImportedCall *> &registry()
{
    static std::vector<const ImportedCall *> calls;
    return calls;
}

bool name_before(const ImportedCall *call, std::string_view name)
{
    return call->name() < name;
}

void spell_out(std::initializer_list<Argument> arguments, bool outputs, std::vector<Field> &into)
{
    for (const Argument &argument : arguments) {
        if (argument.is_output == outputs)
            into.push_back(
                {argument.name, argument.data ? argument.codec->read(argument.data) : Value()});
    }
}

} // namespace

const FailedCall &Request::first_failure() const
{
    static const FailedCall none;
    return failed_first != nullptr ? *failed_first : none;
}

std::string Request::failure_text() const
{
    std::string text = fmt::format("request {} {}", number, entry);
    if (result)
        text += fmt::format("({}) returned {}{}", arguments, *result,
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
                       request->entry, request->arguments);
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

const char *StatusNames::name(int64_t status) const
{
    for (const Row &row : rows) {
        if (row.status == status)
            return row.name;
    }
    return nullptr;
}

std::string StatusNames::words(int64_t status) const
{
    const char *const known = name(status);
    return known != nullptr ? fmt::format("{} ({})", known, status) : fmt::to_string(status);
}

std::optional<int32_t> StatusNames::status(std::string_view of) const
{
    for (const Row &row : rows) {
        if (row.name == of)
            return row.status;
    }
    return std::nullopt;
}

ImportedCall::ImportedCall(const char *name, Result result, Purpose purpose,
                           const StatusNames *names)
    : name_(name), result_(result), purpose_(purpose), names_(names)
{
    assert(find(name) == nullptr);
    auto &calls = registry();
    calls.insert(std::lower_bound(calls.begin(), calls.end(), name, name_before), this);
}

const std::vector<const ImportedCall *> &ImportedCall::all()
{
    return registry();
}

const ImportedCall *ImportedCall::find(std::string_view name)
{
    const auto &calls = registry();
    const auto at = std::lower_bound(calls.begin(), calls.end(), name, name_before);
    return at != calls.end() && (*at)->name() == name ? *at : nullptr;
}

std::string ImportedCall::status_text(int64_t status) const
{
    if (result_ == Result::memory)
        return "no memory";
    return names_ != nullptr ? names_->words(status) : fmt::to_string(status);
}

std::optional<int32_t> ImportedCall::status_of(std::string_view text) const
{
    if (const auto named = names_ != nullptr ? names_->status(text) : std::nullopt)
        return named;
    int32_t status = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, status);
    return error == std::errc() && stop == end ? std::optional(status) : std::nullopt;
}

std::string to_text(const Call &call)
{
    std::string text =
        fmt::format("{}({}) = {}", call.what->name(), to_text(call.inputs), call.result.to_text());
    if (!call.outputs.empty())
        text += " " + to_text(call.outputs);
    if (call.injected)
        text += " (injected)";
    else if (call.failed && !call.note.empty())
        text += ": " + call.note;
    return text;
}

bool ImportedCall::fails() const
{
    Journal &journal = Journal::instance();
    if (journal.answers == nullptr && !journal.faults.armed())
        return false;
    InFlight call;
    std::optional<int64_t> status;
    if (journal.answers != nullptr)
        status = journal.answers->answer(*this, {}, false);
    if (!status && journal.faults.armed()) {
        status = journal.faults.strike(*this);
        call.injected = status.has_value();
    }
    if (!status)
        return false;
    call.outer = std::exchange(journal.current_call_, name_);
    ++journal.calls_made;
    if (journal.observed())
        call.seen = std::make_unique<Call>();
    end(call, {}, *status, &*status, codec<int64_t>());
    return true;
}

std::optional<int64_t>
ImportedCall::begin(InFlight &call, std::initializer_list<Argument> arguments, bool body_runs) const
{
    Journal &journal = Journal::instance();
    call.outer = std::exchange(journal.current_call_, name_);
    ++journal.calls_made;
    if (journal.observed()) {
        call.seen = std::make_unique<Call>();
        spell_out(arguments, false, call.seen->inputs);
    }
    if (journal.answers) {
        const auto answer = journal.answers->answer(*this, arguments, body_runs);
        if (answer && !body_runs)
            return answer;
    }
    if (can_fail() && journal.faults.armed()) {
        if (const auto status = journal.faults.strike(*this, arguments)) {
            call.injected = true;
            return *status;
        }
    }
    return std::nullopt;
}

void ImportedCall::end(InFlight &call, std::initializer_list<Argument> arguments, int64_t status,
                       const void *result, const Codec &result_codec) const
{
    Journal &journal = Journal::instance();
    const bool failed = can_fail() && status != 0;
    if (failed && call.injected)
        journal.note_ = "injected";
    if (failed && journal.current_) {
        Request &request = *journal.current_;
        if (request.failed_calls++ == 0)
            request.failed_first = std::make_shared<const FailedCall>(
                FailedCall{name(), status, fmt::format("{}: {}", name(), status_text(status)),
                           journal.note_, std::move(journal.named_)});
        request.injected_failures += call.injected;
    }
    if (call.seen) {
        Call &seen = *call.seen;
        seen.what = this;
        seen.failed = failed;
        seen.injected = call.injected;
        seen.note = journal.note_;
        seen.result = failed && (names_ != nullptr || !has_status())
                          ? Value::named(status, status_text(status))
                          : result_codec.read(result);
        if (!failed)
            spell_out(arguments, true, seen.outputs);
        for (Observer *observer : journal.observers_)
            observer->call_made(seen);
    }
    journal.note_.clear();
    journal.named_.clear();
    journal.current_call_ = call.outer;
}

Journal &Journal::instance()
{
    static Journal journal;
    return journal;
}

Observer::Observer()
{
    Journal::instance().observers_.push_back(this);
}

Observer::~Observer()
{
    auto &observers = Journal::instance().observers_;
    observers.erase(std::remove(observers.begin(), observers.end(), this), observers.end());
}

void Journal::begin(std::shared_ptr<Request> request)
{
    assert(!current_);
    current_ = std::move(request);
    current_->number = ++made_;
    current_->cause = cause;
    for (Observer *observer : observers_)
        observer->request_begins(*current_);
}

RequestRef Journal::end(std::optional<int64_t> result)
{
    assert(current_);
    current_->result = result;
    for (Observer *observer : observers_)
        observer->request_ends(*current_);
    return std::exchange(current_, nullptr);
}

Origin Journal::origin() const
{
    return {current_, current_call_};
}

void Journal::trace(const TraceRecord &record)
{
    for (Observer *observer : observers_)
        observer->trace_emitted(record);
}

void Journal::reset()
{
    current_.reset();
    calls_made = 0;
    faults = Faults();
    resume(0);
}

void Journal::resume(uint64_t requests_made)
{
    note_.clear();
    named_.clear();
    made_ = requests_made;
    for (Observer *observer : observers_)
        observer->switch_replaced();
}

UnseenScope::UnseenScope(Answers &answers)
    : observers_(std::exchange(Journal::instance().observers_, {})),
      answers_(std::exchange(Journal::instance().answers, &answers)),
      calls_made_(Journal::instance().calls_made),
      suspended_(Journal::instance().faults.suspend(true))
{
    assert(!Journal::instance().current());
}

UnseenScope::~UnseenScope()
{
    Journal &journal = Journal::instance();
    journal.observers_ = std::move(observers_);
    journal.answers = answers_;
    journal.calls_made = calls_made_;
    journal.faults.suspend(suspended_);
}

} // namespace kvnsim
