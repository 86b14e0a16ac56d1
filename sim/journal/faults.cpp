/* Fault injection. Each rule counts the occurrences of its call since the rule was added, also
 * those at which another rule applies; the first rule that applies decides the status. With a rate,
 * the random sequence advances at each call that can fail, so that a seed reproduces a run. */
#include "sim/journal/faults.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "sim/journal/random.h"

namespace kvnsim {

namespace {

std::string calls_that_can_fail()
{
    std::string names;
    for (const ImportedCall *call : ImportedCall::all()) {
        if (call->can_fail())
            names += (names.empty() ? "" : ", ") + std::string(call->name());
    }
    return names;
}

template <class T> bool whole_number(std::string_view text, T &number)
{
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

void count_injected(std::vector<Faults::Injected> &injected, const ImportedCall &call)
{
    auto at = std::find_if(injected.begin(), injected.end(), [&](const Faults::Injected &row) {
        return std::string_view(row.call->name()) >= call.name();
    });
    if (at == injected.end() || at->call != &call)
        at = injected.insert(at, {&call, 0});
    ++at->count;
}

/* The next number of the sequence, evenly spread over 0..1, 1 excluded. */
double next_fraction(uint64_t &state)
{
    return static_cast<double>(next_random(state) >> 11) * 0x1p-53;
}

} // namespace

std::string Faults::text(const ImportedCall &call, uint64_t occurrence, int32_t status)
{
    std::string text = fmt::format("{}:{}", call.name(), occurrence);
    if (call.has_status() && status != usual_status) {
        const char *const name = call.names() != nullptr ? call.names()->name(status) : nullptr;
        text += '=' + (name != nullptr ? std::string(name) : fmt::to_string(status));
    }
    return text;
}

std::string Faults::add(const std::string &text)
{
    const auto wrong = [&](const std::string &what) {
        return fmt::format("\"{}\": {}", text, what);
    };
    std::string_view name = text;
    std::optional<std::string_view> status_text, occurrence_text;
    if (const size_t equals = name.find('='); equals != name.npos) {
        status_text = name.substr(equals + 1);
        name = name.substr(0, equals);
    }
    if (const size_t colon = name.find(':'); colon != name.npos) {
        occurrence_text = name.substr(colon + 1);
        name = name.substr(0, colon);
    }

    const ImportedCall *call = ImportedCall::find(name);
    if (!call)
        return wrong(fmt::format("there is no call \"{}\"; calls that can fail: {}", name,
                                 calls_that_can_fail()));
    if (!call->can_fail())
        return wrong(
            fmt::format("{} cannot fail; calls that can: {}", name, calls_that_can_fail()));

    Rule rule{text, call, 0, usual_status, 0, false};
    if (occurrence_text &&
        (!whole_number(*occurrence_text, rule.occurrence) || rule.occurrence == 0))
        return wrong(
            fmt::format("\"{}\" is not an occurrence; expected 1, 2, ...", *occurrence_text));
    if (status_text) {
        if (!call->has_status())
            return wrong(fmt::format("{} has no status: it fails with {}", name,
                                     call->status_text(usual_status)));
        const StatusNames *names = call->names();
        const std::optional<int32_t> status = call->status_of(*status_text);
        if (!status)
            return wrong(fmt::format("\"{}\" is not a status; expected {}a number", *status_text,
                                     names != nullptr ? names->form + std::string(" or ") : ""));
        if (*status == 0)
            return wrong("status 0 is success; expected a failure");
        rule.status = *status;
    }
    rules_.push_back(rule);
    return {};
}

void Faults::set_rate(double rate, uint64_t seed)
{
    rate_ = rate;
    random_ = seed;
}

void Faults::clear()
{
    rules_.clear();
    rate_ = 0;
    ask = nullptr;
}

std::optional<int32_t> Faults::strike(const ImportedCall &call,
                                      std::initializer_list<Argument> arguments)
{
    if (suspended_ || !call.can_fail())
        return std::nullopt;
    std::optional<int32_t> status;
    for (Rule &rule : rules_) {
        if (rule.call != &call)
            continue;
        ++rule.seen;
        if (rule.occurrence == 0 || rule.occurrence == rule.seen) {
            rule.struck = true;
            if (!status)
                status = rule.status;
        }
    }
    if (rate_ > 0 && call.has_status() && next_fraction(random_) < rate_ && !status)
        status = usual_status;
    if (ask && !status)
        status = ask(call, arguments);
    if (status)
        count_injected(injected_, call);
    return status;
}

std::vector<std::string> Faults::unused() const
{
    std::vector<std::string> texts;
    for (const Rule &rule : rules_) {
        if (!rule.struck)
            texts.push_back(rule.text);
    }
    return texts;
}

} // namespace kvnsim
