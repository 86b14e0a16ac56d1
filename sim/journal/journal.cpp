/* Every request passes Journal::begin() and end(). Between these two, all calls belong to that
 * request; requests do not nest. The journal depends on sim/types only. */
#include "sim/journal/journal.h"

#include <cassert>

namespace kvnsim {

Journal Journal::instance_;

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

Origin Origin::now()
{
    const Journal &journal = Journal::instance();
    return {journal.current_, journal.current_call_};
}

void Journal::trace(const TraceRecord &record)
{
    for (Observer *observer : observers_)
        observer->trace_emitted(record);
}

void Journal::forget_note()
{
    note_.clear();
    named_.clear();
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
    forget_note();
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
