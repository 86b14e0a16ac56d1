#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "sim/journal/value.h"

/* The calls that the library makes: their definitions, arguments and results. */
namespace kvnsim {

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
    bool fails_with(int64_t status) const { return can_fail() && status != 0; }
    const StatusNames *names() const { return names_; }
    /* "SDK_E_FULL", or the number of one without a name. */
    std::string status_text(int64_t status) const;
    /* The status of that name or number; 0, success, is one too. */
    std::optional<int32_t> status_of(std::string_view text) const;

    /* Make the call: an injected failure or a replayed answer replaces the body. R is an
     * integer type, or a pointer type with a codec (its body always runs; a replay compares). A
     * record that is both input and output is given twice, as in and as out. Defined in journal.h.
     */
    template <class Body>
    auto operator()(std::initializer_list<Argument> arguments, Body &&body) const
        -> std::invoke_result_t<Body>;

    /* Of a call that is none of the platform's and is therefore seen only when it fails: whether
     * it fails now. Then it counts as made. */
    bool fails() const;

    /* All calls that were defined, in the order of their names. */
    static const std::vector<const ImportedCall *> &all();
    static const ImportedCall *find(std::string_view name);

private:
    struct InFlight {
        bool injected = false;
        std::unique_ptr<Call> seen; /* only when observed */
    };
    /* Before the body of a call that is watched: the result that replaces the body's, if any. */
    std::optional<int64_t> begin(InFlight &call, std::initializer_list<Argument> arguments,
                                 bool body_runs) const;
    /* After it. */
    void end(InFlight &call, std::initializer_list<Argument> arguments, int64_t status,
             const void *result, const Codec &result_codec) const;

    /* The request remembers its first failed call. */
    void note_failure(int64_t status, bool injected) const;

    const char *name_;
    Result result_;
    Purpose purpose_;
    const StatusNames *names_;
};

} // namespace kvnsim
