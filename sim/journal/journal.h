#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sim/journal/faults.h"
#include "sim/journal/imported_call.h"
#include "sim/journal/request.h"
#include "sim/journal/trace_record.h"

/* Events at the library's boundary, reported as they happen: the requests made of the library, the
 * calls that the library makes, and its trace records. Single-threaded. */
namespace kvnsim {

/* Sees everything in order, from its construction to its destruction. Calls collect their arguments
 * only while there is an observer. */
class Observer {
public:
    Observer();
    virtual ~Observer();
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;

    virtual void request_begins(const Request &) {}
    virtual void call_made(const Call &) {}
    virtual void trace_emitted(const TraceRecord &) {}
    virtual void request_ends(const Request &) {}
    /* The switch was powered on or restored: nothing is as it was. */
    virtual void switch_replaced() {}
};

/* Answers calls instead of the model, for replay. */
class Answers {
public:
    virtual ~Answers() = default;
    /* The result, outputs written; empty when there is none, and the body runs. For a call whose
     * body runs in any case (body_runs) only the arguments are compared. */
    virtual std::optional<int64_t>
    answer(const ImportedCall &call, std::initializer_list<Argument> arguments, bool body_runs) = 0;
};

class Journal {
public:
    static Journal &instance() { return instance_; }

    bool observed() const { return !observers_.empty(); }

    /* Between these two everything belongs to the request. Requests do not nest. */
    void begin(std::shared_ptr<Request> request); /* numbers it and gives it the cause */
    RequestRef end(std::optional<int64_t> result);
    RequestRef current() const { return current_; }
    uint64_t requests_made() const { return made_; }

    void trace(const TraceRecord &record);

    /* Say why the call in flight is refused; observers get it with the call. named are the requests
     * that the reason names. */
    void note(std::string reason, std::vector<RequestRef> named = {})
    {
        note_ = std::move(reason);
        named_ = std::move(named);
    }

    Faults faults;
    Answers *answers = nullptr;
    uint64_t calls_made = 0;
    Cause cause; /* of the requests that are made, set by CauseScope */

    /* Forget requests, faults and counts; observers stay. */
    void reset();
    /* The switch was restored from a moment when so many requests had been made: the next one has
     * the number after it. Faults, counts of calls and observers stay. */
    void resume(uint64_t requests_made);

private:
    friend class ImportedCall;
    friend struct Origin;
    friend class Observer;
    friend class UnseenScope;

    /* Whether someone wants to see the call or to change its result. */
    bool watches(const ImportedCall &call) const
    {
        return observed() || answers != nullptr || (call.can_fail() && faults.armed());
    }
    /* A call begins: returns the one that it is made within, "" for none. */
    const char *enter(const char *call)
    {
        ++calls_made;
        return std::exchange(current_call_, call);
    }
    /* It ended, and its note with it. */
    void leave(const char *outer)
    {
        if (!note_.empty())
            forget_note();
        current_call_ = outer;
    }

    void forget_note();

    static Journal instance_;
    std::vector<Observer *> observers_;
    std::shared_ptr<Request> current_;
    const char *current_call_ = "";
    std::string note_;
    std::vector<RequestRef> named_; /* by the note */
    uint64_t made_ = 0;
};

/* Most calls are neither watched nor fail: they cost little more than their body. */
template <class Body>
auto ImportedCall::operator()(std::initializer_list<Argument> arguments, Body &&body) const
    -> std::invoke_result_t<Body>
{
    using R = std::invoke_result_t<Body>;
    Journal &journal = Journal::instance();
    const char *const outer = journal.enter(name_);
    R result{};
    if (journal.watches(*this)) {
        InFlight call;
        const std::optional<int64_t> stand_in = begin(call, arguments, std::is_pointer_v<R>);
        if constexpr (std::is_pointer_v<R>) {
            result = body();
            end(call, arguments, 0, &result, codec<R>());
        } else {
            result = stand_in ? static_cast<R>(*stand_in) : body();
            end(call, arguments, static_cast<int64_t>(result), &result, codec<R>());
        }
    } else {
        result = body();
        if constexpr (!std::is_pointer_v<R>) {
            if (fails_with(static_cast<int64_t>(result)))
                note_failure(static_cast<int64_t>(result), false);
        }
    }
    journal.leave(outer);
    return result;
}

/* Requests made during its lifetime have this cause. Scopes nest; the inner one wins.
 */
class CauseScope {
public:
    explicit CauseScope(Cause cause)
        : outer_(std::exchange(Journal::instance().cause, std::move(cause)))
    {}
    ~CauseScope() { Journal::instance().cause = std::move(outer_); }
    CauseScope(const CauseScope &) = delete;
    CauseScope &operator=(const CauseScope &) = delete;

private:
    Cause outer_;
};

/* Calls during its lifetime are answered by answers, where it has one; they reach no observer,
 * count nowhere and do not fail on demand. Only outside requests. */
class UnseenScope {
public:
    explicit UnseenScope(Answers &answers);
    ~UnseenScope();
    UnseenScope(const UnseenScope &) = delete;
    UnseenScope &operator=(const UnseenScope &) = delete;

private:
    std::vector<Observer *> observers_;
    Answers *const answers_;
    const uint64_t calls_made_;
    const bool suspended_;
};

} // namespace kvnsim
