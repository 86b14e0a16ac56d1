#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "l3lifpd_kavelin.h"
#include "sim/fwm/command_output.h"
#include "sim/fwm/host.h"
#include "sim/switch/request.h"
#include "sim/types/mac.h"

/* The library's entry points as data: each is defined once, with its parameters, and can be called
 * from code, by hand and from a recording. Every call is a request of the journal. */
namespace kvnsim {

enum class ParameterKind : uint8_t {
    interface, /* l3lif record; a value is the interface's name or ifindex, null for NULL */
    ifindex,   /* interface index; a value is the number or the interface's name */
    number,    /* integer or flag */
    mac,       /* 6 bytes; a value is the text "00:00:5e:00:01:01" */
    text,      /* NUL-terminated */
    output     /* command output; a value is "output", or null for none */
};

struct Parameter {
    const char *name;
    ParameterKind kind;
    bool names_interface() const
    {
        return kind == ParameterKind::interface || kind == ParameterKind::ifindex;
    }
};

/* The interface of that name or ifindex, nullptr for none. */
HostInterface *find_interface(const Value &value);

/* What a result means. */
enum class Outcome : uint8_t {
    status,     /* 0, or it failed */
    router_mac, /* an identifier; a negative SDK status or 65535 is a failure */
    answer      /* a lookup's or hook's answer; never a failure */
};

/* A request that would abort the library is not made; call then returns
 * "l3lifpd_kvn_add_subint refused, the library would abort: parent Ethernet0 has no LID". */
class EntryPoint {
public:
    EntryPoint(const char *name, const char *purpose, Outcome outcome,
               std::vector<Parameter> parameters);
    virtual ~EntryPoint() = default;
    EntryPoint(const EntryPoint &) = delete;
    EntryPoint &operator=(const EntryPoint &) = delete;

    const char *name() const { return name_; }
    const char *purpose() const { return purpose_; } /* "create a routed port" */
    const std::vector<Parameter> &parameters() const { return parameters_; }

    /* Make the request with these values, as many as parameters. std::invalid_argument names the
     * parameter and what was expected when a value does not fit. */
    Response call(const std::vector<Value> &values) const;

    /* All 36, in the order of the public header; by name, with or without "l3lifpd_kvn_". */
    static const std::vector<const EntryPoint *> &all();
    static const EntryPoint *find(std::string_view name);

protected:
    /* What pointers among the C arguments point at during a request. */
    struct Storage {
        Mac mac{};
        char buffer[20] = {};
        std::string printed;
        CommandOutput output{printed};
    };

    /* Converts a value to a C argument. */
    struct Argument {
        const Parameter &parameter;
        const Value &value;
        Storage &storage;

        operator l3lif *() const;
        operator uint32_t() const;
        operator int32_t() const;
        operator const uint8_t *() const;
        operator const char *() const;
        operator char *() const { return storage.buffer; }
        operator void *() const;

    private:
        [[noreturn]] void refuse(const char *expected) const;
        int64_t number() const;
        HostInterface &interface() const;
    };

    virtual Response call(const std::vector<Value> &values, Storage &storage) const = 0;
    Response would_abort(const std::string &reason) const;
    static void begin(std::shared_ptr<Request> request);
    Response end(int64_t result) const;

    /* An argument as it is given: a number or a pointer. */
    struct Given {
        Given(int64_t given) : number(given) {}
        Given(const void *given) : pointer(given) {}
        int64_t number = 0;
        const void *pointer = nullptr;
    };
    /* A request with these arguments, as many as parameters. */
    std::shared_ptr<Request> request_with(std::initializer_list<Given> arguments) const;

private:
    static Value value_of(const Parameter &parameter, const Given &argument);
    /* The interface that the argument names; nullptr for none. */
    static HostInterface *interface_of(const Parameter &parameter, const Given &argument);
    static uint32_t index_of(const Parameter &parameter, const Given &argument);
    /* Put the arguments into words now; the first interface among them is the subject. */
    void describe(Request &request, const Given *arguments) const;

    const char *name_;
    const char *purpose_;
    Outcome outcome_;
    std::vector<Parameter> parameters_;
    /* Of the parameters, where these are an interface and numbers; else null. */
    std::array<const char *, RequestArguments::most> names_{};
};

/* An entry point that knows the types of its function's arguments. */
template <class Function> class Entry;
template <class R, class... P> class Entry<R(P...)> : public EntryPoint {
public:
    /* Why the library would abort with these arguments; empty when it would not. */
    using Abort = std::string (*)(P...);

    /* abort may be nullptr: no arguments abort. */
    Entry(const char *name, const char *purpose, R (*function)(P...), Outcome outcome, Abort abort,
          std::vector<Parameter> parameters)
        : EntryPoint(name, purpose, outcome, std::move(parameters)), function_(function),
          abort_(abort)
    {}

    /* Make the request. An interface is a HostInterface, a MAC a Mac. */
    template <class... Arguments> Response operator()(Arguments &&...arguments) const
    {
        return make(static_cast<P>(to_c(arguments))...);
    }

private:
    static l3lif *to_c(HostInterface &interface) { return &interface; }
    static const uint8_t *to_c(const Mac &mac) { return mac.data(); }
    static int64_t to_c(int64_t number) { return number; }

    Response make(P... arguments) const
    {
        const std::string reason = abort_ != nullptr ? abort_(arguments...) : std::string();
        if (!reason.empty())
            return would_abort(reason);
        begin(request_with({Given(arguments)...}));
        if constexpr (std::is_pointer_v<R>) {
            std::string text = function_(arguments...);
            Response response = end(0);
            response.output = std::move(text);
            return response;
        } else {
            return end(function_(arguments...));
        }
    }

    Response call(const std::vector<Value> &values, Storage &storage) const override
    {
        return call(values, storage, std::index_sequence_for<P...>());
    }
    template <size_t... I>
    Response call([[maybe_unused]] const std::vector<Value> &values,
                  [[maybe_unused]] Storage &storage, std::index_sequence<I...>) const
    {
        return make(Argument{parameters()[I], values[I], storage}...);
    }

    R (*function_)(P...);
    Abort abort_;
};

/* The entry points that code calls: entry::add_l3port(interface, 1). */
namespace entry {
extern const Entry<decltype(l3lifpd_kvn_add_l3port)> add_l3port;
extern const Entry<decltype(l3lifpd_kvn_del_l3port)> del_l3port;
extern const Entry<decltype(l3lifpd_kvn_del_svi)> del_svi;
extern const Entry<decltype(l3lifpd_kvn_del_subint)> del_subint;
extern const Entry<decltype(l3lifpd_kvn_add_subint)> add_subint;
extern const Entry<decltype(l3lifpd_kvn_add_svi)> add_svi;
extern const Entry<decltype(l3lifpd_kvn_set_l3_property)> set_l3_property;
extern const Entry<decltype(l3lifpd_kvn_loopback_enable)> loopback_enable;
extern const Entry<decltype(l3lifpd_kvn_add_l3pc)> add_l3pc;
extern const Entry<decltype(l3lifpd_kvn_add_l3pc_member)> add_l3pc_member;
extern const Entry<decltype(l3lifpd_kvn_del_l3pc_member)> del_l3pc_member;
extern const Entry<decltype(l3lifpd_kvn_del_l3pc)> del_l3pc;
extern const Entry<decltype(l3lifpd_kvn_rmac_add)> rmac_add;
extern const Entry<decltype(l3lifpd_kvn_rmac_del)> rmac_del;
extern const Entry<decltype(l3lifpd_kvn_fhrp_mac_add)> fhrp_mac_add;
extern const Entry<decltype(l3lifpd_kvn_fhrp_mac_del)> fhrp_mac_del;
} // namespace entry

/* Property types by name ("mtu", "ipv4_ucst_en", "L3LIF_PROP_MTU"), for hand-made requests. */
struct PropertyRow {
    int32_t type;       /* L3LIF_PROP_MTU */
    const char *name;   /* "mtu": the enumerator's, in small letters */
    uint32_t attribute; /* SDK attribute that it writes, 0 = none */
    bool inverted;      /* the attribute is 1 when the property is 0 */
};
const std::vector<PropertyRow> &properties();
const PropertyRow *find_property(std::string_view name); /* name, enumerator or number */

} // namespace kvnsim
