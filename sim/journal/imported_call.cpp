/* What the calls do that are watched or fail; the others pass by. A call's note lasts until the
 * call ends; calls may nest. */
#include "sim/journal/imported_call.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <utility>

#include <fmt/format.h>

#include "sim/journal/journal.h"

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
    const char *const outer = journal.enter(name_);
    if (journal.observed())
        call.seen = std::make_unique<Call>();
    end(call, {}, *status, &*status, codec<int64_t>());
    journal.leave(outer);
    return true;
}

std::optional<int64_t>
ImportedCall::begin(InFlight &call, std::initializer_list<Argument> arguments, bool body_runs) const
{
    Journal &journal = Journal::instance();
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

void ImportedCall::note_failure(int64_t status, bool injected) const
{
    Journal &journal = Journal::instance();
    if (journal.current_ == nullptr)
        return;
    Request &request = *journal.current_;
    if (request.failed_calls++ == 0)
        request.failed_first = std::make_shared<const FailedCall>(
            FailedCall{name(), status, fmt::format("{}: {}", name(), status_text(status)),
                       journal.note_, std::move(journal.named_)});
    request.injected_failures += injected;
}

void ImportedCall::end(InFlight &call, std::initializer_list<Argument> arguments, int64_t status,
                       const void *result, const Codec &result_codec) const
{
    Journal &journal = Journal::instance();
    const bool failed = fails_with(status);
    if (failed && call.injected)
        journal.note_ = "injected";
    if (failed)
        note_failure(status, call.injected);
    if (!call.seen)
        return;
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

} // namespace kvnsim
