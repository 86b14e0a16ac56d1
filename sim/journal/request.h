#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "sim/journal/value.h"
#include "sim/types/columns.h"
#include "sim/types/source_location.h"

/* What is asked of the library, and who made what the switch holds. */
namespace kvnsim {

struct Request;
using RequestRef = std::shared_ptr<const Request>;

/* Why a request is made: the row of a configuration that asks for it, or a command. */
class Cause {
public:
    Cause() = default;
    Cause(std::string words) : what_(std::move(words)) {}
    Cause(const char *words) : what_(words) {}
    Cause(SourceLocation row) : what_(std::move(row)) {}

    std::string to_text() const; /* "leaf.json:12:5: INTERFACE|Ethernet0", "" for none */
    /* Whether they are the same in words. */
    friend bool operator==(const Cause &a, const Cause &b)
    {
        return a.what_ == b.what_ || a.to_text() == b.to_text();
    }

private:
    std::variant<std::string, SourceLocation> what_;
};

/* What a request is made with. The arguments of most are an interface and numbers; they are put
 * into words when somebody asks. */
class RequestArguments {
public:
    static constexpr size_t most = 3; /* with the interface */

    RequestArguments() = default;
    RequestArguments(std::string words) : text_(std::move(words)) {}
    RequestArguments(const char *words) : text_(words) {}
    /* An interface and up to two numbers, each with the name of its parameter: "l3lif", "create".
     * The names live as the process; unused ones are null. */
    RequestArguments(const std::array<const char *, most> &names, std::string interface,
                     const std::array<int64_t, most - 1> &numbers)
        : names_(names), numbers_(numbers), text_(std::move(interface))
    {}

    std::string to_text() const; /* "l3lif=Ethernet0 create=1" */
    /* Whether they are the same in words. */
    friend bool operator==(const RequestArguments &a, const RequestArguments &b)
    {
        return a.to_text() == b.to_text();
    }

private:
    std::array<const char *, most> names_{};
    std::array<int64_t, most - 1> numbers_{};
    std::string text_; /* the interface, or without names all words */
};

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
    uint64_t number = 0;    /* 1, 2, ... in the order made */
    const char *entry = ""; /* the entry point's name, or "host ..."; lives as the process */
    RequestArguments arguments;
    std::string subject; /* the interface concerned, by name; empty when there is none */
    Cause cause;
    std::vector<Field> values;      /* the arguments as values; filled only when observed */
    std::optional<int64_t> result;  /* set at the end; stays empty for a task of the host */
    uint32_t failed_calls = 0;      /* calls with a failing status, injected ones included */
    uint32_t injected_failures = 0; /* of these, the injected ones */
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
    /* Of what is made now: the journal's current request and the call in flight. */
    static Origin now();
    /* "libsdk_intf_create in request 12 l3lifpd_kvn_add_l3port(l3lif=Ethernet8 create=1)" */
    std::string to_text() const;
    uint64_t number() const { return request ? request->number : 0; }
    /* The same call of an equal request, which need not be the same object. */
    friend bool operator==(const Origin &a, const Origin &b);
};

} // namespace kvnsim
