#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "sim/journal/value.h"
#include "sim/types/columns.h"

/* Events at the library's boundary, reported as they happen: the requests made of the library, the
 * calls that the library makes, and its trace records. Single-threaded. */
namespace kvnsim {

struct Request;
using RequestRef = std::shared_ptr<const Request>;

/* A call that failed within a request. */
struct FailedCall {
    const char *name = ""; /* "libsdk_intf_create" */
    int64_t status = 0;
    std::string words;             /* "libsdk_intf_create: SDK_E_FULL (-5)" */
    std::string reason;            /* why: the refusal's reason, or "injected"; may be empty */
    std::vector<RequestRef> named; /* the requests that the reason names: they made the obstacle */
};

/* A request: one call of a library entry point, or one task that the host does by itself. */
struct Request {
    uint64_t number = 0;           /* 1, 2, ... in the order made */
    const char *entry = "";        /* the entry point's name, or "host ..."; lives as the process */
    std::string arguments;         /* "l3lif=Ethernet0 create=1" */
    std::string subject;           /* the interface concerned, by name; empty when there is none */
    std::string cause;             /* the configuration row or command: "INTERFACE|Ethernet0" */
    std::vector<Field> values;     /* the arguments as values; filled only when observed */
    std::optional<int64_t> result; /* set at the end; stays empty for a task of the host */
    uint32_t failed_calls = 0;     /* calls with a failing status, injected ones included */
    uint32_t injected_failures = 0;                 /* of these, the injected ones */
    std::shared_ptr<const FailedCall> failed_first; /* the first of them; null without one */
    /* The same; an empty one when no call failed. */
    const FailedCall &first_failure() const;
    /* "request 3 l3lifpd_kvn_add_svi(...) returned -1: libsdk_intf_create: SDK_E_FULL (reason)",
     * "request 4 host: release port-channel: libsdk_lid_entry_destroy: SDK_E_BUSY (reason)" */
    std::string failure_text() const;
    TABLE_ROW("request", number, entry, arguments, subject, cause)
};

/* Who made an object or wrote a value. */
struct Origin {
    RequestRef request;    /* null: before any request */
    const char *call = ""; /* the call within it; lives as long as the process */
    /* "libsdk_intf_create in request 12 l3lifpd_kvn_add_l3port(l3lif=Ethernet8 create=1)" */
    std::string to_text() const;
    uint64_t number() const { return request ? request->number : 0; }
    /* The same call of an equal request, which need not be the same object. */
    friend bool operator==(const Origin &a, const Origin &b);
};

/* How a C value of one type is shown, recorded and, on replay, put back. */
struct Codec {
    Value (*read)(const void *data);
    void (*write)(void *data, const Value &value); /* nullptr: an input only */
};

template <class T, Value::Style style = Value::Style::decimal>
constexpr Codec integer_codec{[](const void *data) {
                                  T number;
                                  std::memcpy(&number, data, sizeof number);
                                  return Value::integer(static_cast<int64_t>(number), style);
                              },
                              [](void *data, const Value &value) {
                                  const T number = static_cast<T>(value.number());
                                  std::memcpy(data, &number, sizeof number);
                              }};

/* A text that may be missing. */
inline Value to_value(const char *text)
{
    return text ? Value::text(text) : Value();
}

/* An input that is no integer: shown as to_value(const T &), declared beside T or here, says. */
template <class T>
constexpr Codec shown_codec{
    [](const void *data) { return to_value(*static_cast<const T *>(data)); }, nullptr};

/* The codec of type T: an integer, or an input; specialise for each record that a call fills. */
template <class T> const Codec &codec()
{
    if constexpr (std::is_integral_v<T>)
        return integer_codec<T>;
    else
        return shown_codec<T>;
}

/* An interface index: hexadecimal. */
inline const Codec &ifindex_codec()
{
    return integer_codec<uint32_t, Value::Style::hex>;
}

/* One argument of a call in flight: a name and where the C value lies. */
struct Argument {
    const char *name;
    bool is_output;
    void *data; /* may be null for a null pointer argument */
    const Codec *codec;
};

template <class T> Argument in(const char *name, const T &value, const Codec &with = codec<T>())
{
    return {name, false, const_cast<T *>(&value), &with};
}
/* A record that the caller points at; null is shown as none. */
template <class T> Argument in_record(const char *name, const T *value)
{
    return {name, false, const_cast<T *>(value), &codec<T>()};
}
template <class T> Argument out(const char *name, T *value, const Codec &with = codec<T>())
{
    return {name, true, value, &with};
}

/* What the result of an imported call means. */
enum class Result : uint8_t {
    status, /* 0 or non-zero; can be made to fail */
    value,  /* an answer; never fails */
    memory  /* or none: can be made to fail, which has no status */
};

/* The names of a call's statuses; part of the call's definition. */
struct StatusNames {
    struct Row {
        int32_t status;
        const char *name;
    };
    const char *form; /* what the names look like: "SDK_E_..." */
    std::vector<Row> rows;
    /* "SDK_E_FULL (-5)"; of an unknown one the number alone. */
    std::string words(int64_t status) const;
    std::optional<int32_t> status(std::string_view name) const;
    const char *name(int64_t status) const; /* nullptr for an unknown one */
};

/* What a call is for: timelines leave out calls that only ask, unless everything is wanted. */
enum class Purpose : uint8_t { programs, asks };

class ImportedCall;

/* A finished call, as observers see it. */
struct Call {
    const ImportedCall *what = nullptr;
    std::vector<Field> inputs;  /* as they were before the call */
    std::vector<Field> outputs; /* as they were after it; none for a failed call */
    Value result;
    bool failed = false;   /* a status that is not 0 */
    bool injected = false; /* made to fail */
    std::string note;      /* why it was refused, if known */
};

/* "libsdk_intf_create(dev_inst=0 intf_type=3 params={param1=10}) = 0 intf_id=2"; the note behind a
 * failed one. */
std::string to_text(const Call &call);

/* The definition of an imported call: one static object per call, at namespace scope so that it is
 * known from the start. The function body runs through it; counting, fault injection, recording,
 * replay and printing need nothing else. */
class ImportedCall {
public:
    /* Without names a status is shown as a number. */
    ImportedCall(const char *name, Result result, Purpose purpose,
                 const StatusNames *names = nullptr);
    ImportedCall(const ImportedCall &) = delete;
    ImportedCall &operator=(const ImportedCall &) = delete;

    const char *name() const { return name_; }
    Result result() const { return result_; }
    Purpose purpose() const { return purpose_; }
    bool can_fail() const { return result_ != Result::value; }
    bool has_status() const { return result_ == Result::status; }
    const StatusNames *names() const { return names_; }
    /* "SDK_E_FULL", or the number of one without a name. */
    std::string status_text(int64_t status) const;
    /* The status of that name or number; 0, success, is one too. */
    std::optional<int32_t> status_of(std::string_view text) const;

    /* Make the call: an injected failure or a replayed answer replaces the body. R is an
     * integer type, or a pointer type with a codec (its body always runs; a replay compares). A
     * record that is both input and output is given twice, as in and as out. */
    template <class Body>
    auto operator()(std::initializer_list<Argument> arguments, Body &&body) const
        -> std::invoke_result_t<Body>
    {
        using R = std::invoke_result_t<Body>;
        InFlight call;
        R result{};
        const std::optional<int64_t> stand_in = begin(call, arguments, std::is_pointer_v<R>);
        if constexpr (std::is_pointer_v<R>) {
            result = body();
            end(call, arguments, 0, &result, codec<R>());
        } else {
            result = stand_in ? static_cast<R>(*stand_in) : body();
            end(call, arguments, static_cast<int64_t>(result), &result, codec<R>());
        }
        return result;
    }

    /* Of a call that is none of the platform's and is therefore seen only when it fails: whether
     * it fails now. Then it counts as made. */
    bool fails() const;

    /* All calls that were defined, in the order of their names. */
    static const std::vector<const ImportedCall *> &all();
    static const ImportedCall *find(std::string_view name);

private:
    struct InFlight {
        const char *outer = ""; /* the call that this one is made within */
        bool injected = false;
        std::unique_ptr<Call> seen; /* only when observed */
    };
    /* The result that replaces the body's, if any. */
    std::optional<int64_t> begin(InFlight &call, std::initializer_list<Argument> arguments,
                                 bool body_runs) const;
    void end(InFlight &call, std::initializer_list<Argument> arguments, int64_t status,
             const void *result, const Codec &result_codec) const;

    const char *name_;
    Result result_;
    Purpose purpose_;
    const StatusNames *names_;
};

/* A trace record, as observers see it: the text is whole, as the library's first sink got it. */
struct TraceRecord {
    int32_t level;        /* 104 debug, 102 error */
    const char *function; /* valid during the report only */
    int32_t line;
    std::string text;
};

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

/* Failures to inject. */
class Faults {
public:
    /* The default status of an injected failure: SDK_E_INTERNAL, where it has a name. */
    static constexpr int32_t usual_status = -1;
    /* What add() takes for one occurrence: "libsdk_intf_create:2=SDK_E_FULL"; without the status if
     * it is the usual one. */
    static std::string text(const ImportedCall &call, uint64_t occurrence, int32_t status);

    /* "libsdk_intf_create", "libsdk_intf_create:2", "libsdk_intf_create:2=SDK_E_FULL" or "=7":
     * every occurrence, or the nth from now on (1-based). Empty on success, else the error. */
    std::string add(const std::string &text);
    /* Each call that returns a status fails with this probability (0..1), reproducible by the seed.
     */
    void set_rate(double rate, uint64_t seed);
    void clear();
    /* Asked at each occurrence that add() counts, with the arguments, if no rule makes it fail: the
     * status to fail with, or none. */
    using Ask = std::function<std::optional<int32_t>(const ImportedCall &call,
                                                     std::initializer_list<Argument> arguments)>;
    Ask ask;
    /* Suspend or resume injection, for the host's own repairs; such calls do not count. Returns
     * whether it was suspended. */
    bool suspend(bool suspended) { return std::exchange(suspended_, suspended); }
    /* Whether any call can be made to fail. */
    bool armed() const { return !suspended_ && (!rules_.empty() || rate_ > 0 || ask); }
    /* The status to fail with now, if the call is to fail. Counts the occurrence. */
    std::optional<int32_t> strike(const ImportedCall &call,
                                  std::initializer_list<Argument> arguments = {});
    /* The texts of add() that never took effect, for a message at the end. */
    std::vector<std::string> unused() const;
    /* The calls that were made to fail, and how often each; also before clear(). */
    struct Injected {
        const ImportedCall *call;
        uint64_t count;
    };
    const std::vector<Injected> &injected() const { return injected_; }

private:
    struct Rule {
        std::string text;
        const ImportedCall *call;
        uint64_t occurrence; /* 0 = each */
        int32_t status;
        uint64_t seen;
        bool struck;
    };
    std::vector<Rule> rules_;
    std::vector<Injected> injected_; /* in the order of the names */
    double rate_ = 0;
    uint64_t random_ = 0;
    bool suspended_ = false;
};

class Journal {
public:
    static Journal &instance();

    bool observed() const { return !observers_.empty(); }

    /* Between these two everything belongs to the request. Requests do not nest. */
    void begin(std::shared_ptr<Request> request); /* numbers it and gives it the cause */
    RequestRef end(std::optional<int64_t> result);
    RequestRef current() const { return current_; }
    Origin origin() const; /* of what is made now */
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
    std::string cause; /* of the requests that are made, set by CauseScope */

    /* Forget requests, faults and counts; observers stay. */
    void reset();
    /* The switch was restored from a moment when so many requests had been made: the next one has
     * the number after it. Faults, counts of calls and observers stay. */
    void resume(uint64_t requests_made);

private:
    friend class ImportedCall;
    friend class Observer;
    friend class UnseenScope;
    std::vector<Observer *> observers_;
    std::shared_ptr<Request> current_;
    const char *current_call_ = "";
    std::string note_;
    std::vector<RequestRef> named_; /* by the note */
    uint64_t made_ = 0;
};

/* Requests made during its lifetime have its text as their cause. Scopes nest; the inner one wins.
 */
class CauseScope {
public:
    explicit CauseScope(std::string cause)
        : outer_(std::exchange(Journal::instance().cause, std::move(cause)))
    {}
    ~CauseScope() { Journal::instance().cause = std::move(outer_); }
    CauseScope(const CauseScope &) = delete;
    CauseScope &operator=(const CauseScope &) = delete;

private:
    std::string outer_;
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
