#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/config/desired.h"
#include "sim/fwm/host.h"
#include "sim/journal/journal.h"

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

/* What a result says. */
enum class Outcome : uint8_t {
    status,     /* 0, or it failed */
    router_mac, /* an identifier; a negative SDK status or 65535 is a failure */
    answer      /* a lookup's or hook's answer; never a failure */
};

/* A request that was made. */
struct Response {
    RequestRef request;
    int64_t result = 0;
    bool failed = false;  /* by the entry point's outcome, or a call within it failed */
    bool refused = false; /* by the entry point's outcome alone */
    std::string output;   /* what it printed through cmd_prt */
    /* "request 3 l3lifpd_kvn_add_svi(...) returned -1: libsdk_intf_create: SDK_E_FULL (reason)" */
    std::string failure() const;
};

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
     * parameter and what was expected when a value does not fit. The caller keeps the library from
     * aborting (see Switch::why_not_sub_interface). */
    Response call(const std::vector<Value> &values) const;

    /* All 36, in the order of the public header; by name, with or without "l3lifpd_kvn_". */
    static const std::vector<const EntryPoint *> &all();
    static const EntryPoint *find(std::string_view name);

protected:
    virtual int64_t invoke(const std::vector<Value> &values, std::string &output) const = 0;
    void begin(const std::vector<Value> &values) const;
    Response end(int64_t result, std::string output) const;

private:
    const char *name_;
    const char *purpose_;
    Outcome outcome_;
    std::vector<Parameter> parameters_;
};

/* Requests made while one lives carry its text as their cause. They nest; the inner one counts. */
class CauseScope {
public:
    explicit CauseScope(std::string cause);
    ~CauseScope();
    CauseScope(const CauseScope &) = delete;
    CauseScope &operator=(const CauseScope &) = delete;
    static const std::string &current();

private:
    std::string outer_;
};

/* The entry points by name, for code: entry::add_l3port(interface, 1). */
namespace entry {
Response add_l3port(HostInterface &interface, int32_t create);
Response del_l3port(HostInterface &interface);
Response add_subint(HostInterface &interface, uint32_t encap_vlan, int32_t create);
Response del_subint(HostInterface &interface);
Response add_svi(HostInterface &interface, uint32_t encap_vlan);
Response del_svi(HostInterface &interface);
Response set_l3_property(HostInterface &interface, int32_t prop_type, uint32_t value);
Response add_l3pc(HostInterface &member, int32_t create);
Response del_l3pc(HostInterface &member, int32_t destroy);
Response add_l3pc_member(uint32_t first, uint32_t ifindex);
Response del_l3pc_member(uint32_t first, uint32_t ifindex);
Response rmac_add(const Mac &mac);
Response rmac_del(int32_t peer_mac_id);
Response fhrp_mac_add(const Mac &mac, uint32_t ifindex);
Response fhrp_mac_del(const Mac &mac, uint32_t ifindex);
} // namespace entry

/* Property types by name ("mtu", "ipv4_ucst_en", "L3LIF_PROP_MTU"), for hand-made requests. */
struct PropertyRow {
    int32_t type;
    const char *name;       /* "mtu" */
    const char *enumerator; /* "L3LIF_PROP_MTU" */
    uint32_t attribute;     /* SDK attribute that it writes, 0 = none */
    bool inverted;          /* the attribute is 1 when the property is 0 */
};
const std::vector<PropertyRow> &properties();
const PropertyRow *find_property(std::string_view name); /* name, enumerator or number */

} // namespace kvnsim
