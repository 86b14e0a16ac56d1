/* Commands of the shell that make single requests of the library, and tasks of the host around
 * them. None may end the process: what would make the library abort is refused. */
#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "platform_api/fwm.h"
#include "platform_api/libsdk.h"
#include "sim/cli/console.h"
#include "sim/cli/near.h"
#include "sim/cli/shell.h"
#include "sim/config/names.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/switch/choreography.h"

namespace kvnsim {
namespace {

constexpr uint16_t usual_mtu = 9100;

/* ---- Words ---- */

/* The one that was found; UsageError with similar names. */
template <class Found, class Rows>
Found &known(Found *found, const char *what, const std::string &name, const Rows &rows)
{
    if (found != nullptr)
        return *found;
    std::vector<std::string> names;
    for (const auto &row : rows) {
        if constexpr (std::is_pointer_v<std::decay_t<decltype(row)>>)
            names.push_back(row->name);
        else
            names.emplace_back(row.name);
    }
    throw UsageError(
        fmt::format("there is no {} {}{}", what, quoted(name), did_you_mean(name, names)));
}

HostInterface &interface_named(const std::string &name)
{
    const Host &host = Host::instance();
    return known(host.find(name), "interface", name, host.interfaces());
}

/* 9216, 0x10000001, -1, on, off */
int64_t number_of(const std::string &word)
{
    if (const auto flag = parse_boolean(word); flag && !parse_number(word, 0, 1))
        return *flag ? 1 : 0;
    std::string_view digits = word;
    const bool negative = !digits.empty() && digits[0] == '-';
    if (negative)
        digits.remove_prefix(1);
    const bool hex = digits.substr(0, 2) == "0x";
    if (hex)
        digits.remove_prefix(2);
    uint32_t number = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, hex ? 16 : 10);
    if (error != std::errc() || end != digits.data() + digits.size() ||
        (negative && number > 0x80000000))
        throw UsageError(fmt::format("expected a number of 32 bits, not {}", quoted(word)));
    return negative ? -int64_t{number} : int64_t{number};
}

bool flag_of(const std::string &word)
{
    const auto flag = parse_boolean(word);
    if (!flag)
        throw UsageError(fmt::format("expected on or off, not {}", quoted(word)));
    return *flag;
}

Mac mac_of(const std::string &word)
{
    const auto mac = parse_mac(word);
    if (!mac)
        throw UsageError(
            fmt::format("expected a MAC address such as 00:00:5e:00:01:0a, not {}", quoted(word)));
    return *mac;
}

Value value_of(const Parameter &parameter, std::string word)
{
    /* As timelines print it: create=1. */
    const std::string named = std::string(parameter.name) + '=';
    if (word.compare(0, named.size(), named) == 0)
        word.erase(0, named.size());
    switch (parameter.kind) {
    case ParameterKind::interface:
        if (word == "null")
            return Value();
        return Value::integer(interface_named(word).ifindex, Value::Style::hex);
    case ParameterKind::ifindex:
        if (!word.empty() && word[0] >= '0' && word[0] <= '9')
            return Value::integer(number_of(word), Value::Style::hex);
        return Value::integer(interface_named(word).ifindex, Value::Style::hex);
    case ParameterKind::number:
        if (std::string_view(parameter.name) == "prop_type") {
            if (const PropertyRow *row = find_property(word))
                return Value::integer(row->type);
        }
        return Value::integer(number_of(word));
    case ParameterKind::mac:
        return Value::text(to_text(mac_of(word)));
    case ParameterKind::text:
    case ParameterKind::output:
        break;
    }
    return Value::text(word);
}

/* ---- Requests ---- */

/* Print the result; a host task that succeeded prints nothing. */
int tell(Session &session, const Response &response)
{
    if (response.request != nullptr && response.request->result)
        session.console.out() << fmt::format("{}({}) = {}\n", response.request->entry,
                                             response.request->arguments, response.result);
    if (!response.output.empty()) {
        session.console.out() << response.output;
        if (response.output.back() != '\n')
            session.console.out() << '\n';
    }
    if (!response.failed)
        return exit_well;
    session.error(response.failure());
    return exit_request;
}

int flush(Session &session, const ShellWords &)
{
    return tell(session, host_task("host: flush", "", fwmpd_kavelin_batch_flush));
}

/* ---- Interfaces ---- */

/* The host's record of an interface that it did not have, or nullptr after the reason was reported.
 */
HostInterface *make_interface(Session &session, const std::string &name,
                              const InterfaceName &parsed, uint32_t vlan)
{
    const bool has_vlan =
        parsed.kind == InterfaceKind::svi || parsed.kind == InterfaceKind::sub_interface;
    if (has_vlan && !encapsulation_range.has(vlan))
        throw UsageError(fmt::format("{}: expected a VLAN {}, not {}", name,
                                     to_text(encapsulation_range), vlan));
    Host &host = Host::instance();
    HostInterface *made = nullptr;
    switch (parsed.kind) {
    case InterfaceKind::port:
        for (uint32_t port = 0; made == nullptr && port <= max_port; ++port)
            made = host.find(port_ifindex(port)) == nullptr ? host.add_port(name, port) : nullptr;
        if (made != nullptr)
            tell(session, give_port_lid(*made));
        break;
    case InterfaceKind::port_channel:
        made = host.add_port_channel(name, parsed.number);
        break;
    case InterfaceKind::svi:
        made = host.add_svi(name, vlan);
        break;
    case InterfaceKind::sub_interface:
        made = host.add_sub_interface(name, interface_named(parsed.parent), vlan);
        break;
    }
    if (made == nullptr) {
        session.error(fmt::format("the host cannot create {}: {}", name,
                                  parsed.kind == InterfaceKind::port ? "no port is left"
                                                                     : "its number is taken"));
        return nullptr;
    }
    made->ip.mtu = usual_mtu;
    return made;
}

/* The record is deleted with the interface, unless it is in use or the host holds it. */
void retire(const Session &session, HostInterface &interface)
{
    const Desired &have = session.power.have();
    const bool wanted = have.port_channels.count(interface.name) != 0 ||
                        have.sub_interfaces.count(interface.name) != 0 ||
                        have.svis.count(interface.name) != 0;
    Host &host = Host::instance();
    if (interface.kind != InterfaceKind::port && !wanted &&
        !host.held_port_channel(interface.ifindex))
        host.remove(interface);
}

int create(Session &session, const ShellWords &words)
{
    const std::string &name = words[0];
    HostInterface *interface = Host::instance().find(name);
    const auto parsed = parse_interface_name(name);
    if (interface == nullptr && !parsed)
        throw UsageError(fmt::format("expected the name of an interface, not {}", quoted(name)));
    uint32_t vlan = words.size() > 1 ? static_cast<uint32_t>(number_of(words[1])) : 0;
    if (words.size() < 2 && interface != nullptr)
        vlan = interface->vlan;
    else if (words.size() < 2 && !parsed->short_form)
        vlan = parsed->number;
    else if (words.size() < 2)
        throw UsageError(fmt::format("{}: which VLAN?", name));

    if (interface == nullptr)
        interface = make_interface(session, name, *parsed, vlan);
    if (interface == nullptr)
        return exit_request;
    const Response response = create_interface(*interface, vlan);
    if (response.request == nullptr && !response.refused)
        session.console.out() << name << " comes with its first member: join PORT " << name << "\n";
    if (response.refused && !interface->registered)
        retire(session, *interface);
    return tell(session, response);
}

int remove(Session &session, const ShellWords &words)
{
    HostInterface &interface = interface_named(words[0]);
    const Response response = delete_interface(interface);
    if (!response.refused)
        retire(session, interface);
    return tell(session, response);
}

int join(Session &session, const ShellWords &words)
{
    HostInterface &port = interface_named(words[0]);
    HostInterface &channel = interface_named(words[1]);
    if (!Host::instance().join(port, channel))
        throw UsageError(
            fmt::format("{} cannot join {}: only a port can join, and only one port-channel",
                        port.name, channel.name));
    int status = exit_well;
    kvnsim::join(port,
                 [&](const Response &each) { status = std::max(status, tell(session, each)); });
    return status;
}

int leave(Session &session, const ShellWords &words)
{
    HostInterface &port = interface_named(words[0]);
    if (port.channel == nullptr)
        throw UsageError(fmt::format("{} is not a member of a port-channel", port.name));
    int status = exit_well;
    kvnsim::leave(port,
                  [&](const Response &each) { status = std::max(status, tell(session, each)); });
    return status;
}

int set_registered(Session &, const ShellWords &words)
{
    HostInterface &interface = interface_named(words[0]);
    if (flag_of(words[1])) {
        Host::instance().register_l3(interface);
        return exit_well;
    }
    if (!in_use(interface).empty())
        throw UsageError(fmt::format(
            "{} is a member, or has members or sub-interfaces that depend on it", interface.name));
    Host::instance().unregister_l3(interface);
    return exit_well;
}

int hold(Session &session, const ShellWords &words)
{
    Host &host = Host::instance();
    const bool on = flag_of(words[1]);
    HostInterface *channel = host.find(words[0]);
    const auto parsed = parse_interface_name(words[0]);
    if (channel == nullptr && on && parsed && parsed->kind == InterfaceKind::port_channel)
        channel = make_interface(session, words[0], *parsed, 0);
    if (channel == nullptr)
        channel = &interface_named(words[0]);
    if (channel->kind != InterfaceKind::port_channel)
        throw UsageError(fmt::format("{} is not a port-channel", channel->name));
    return tell(session, on ? host_task("host: hold port-channel", channel->name,
                                        [&] { return host.hold_port_channel(*channel); })
                            : release_port_channel(*channel));
}

/* ---- Settings and MACs ---- */

int set(Session &session, const ShellWords &words)
{
    HostInterface &interface = interface_named(words[0]);
    const PropertyRow &property =
        known(find_property(words[1]), "property", words[1], properties());
    return tell(session, entry::set_l3_property(interface, property.type, number_of(words[2])));
}

int loopback(Session &session, const ShellWords &words)
{
    const HostInterface &interface = interface_named(words[0]);
    const int status = tell(session, entry::loopback_enable(interface.ifindex, flag_of(words[1])));
    return std::max(status, flush(session, {}));
}

int virtual_mac(Session &session, const ShellWords &words)
{
    const HostInterface &interface = interface_named(words[0]);
    const Mac mac = mac_of(words[1]);
    return tell(session, flag_of(words[2]) ? entry::fhrp_mac_add(mac, interface.ifindex)
                                           : entry::fhrp_mac_del(mac, interface.ifindex));
}

int router_mac(Session &session, const ShellWords &words)
{
    const Mac mac = mac_of(words[0]);
    if (flag_of(words[1]))
        return tell(session, entry::rmac_add(mac));
    for (const RouterMacRow &row : Asic::instance().rows<RouterMacRow>()) {
        if (row.mac == mac)
            return tell(session, entry::rmac_del(row.peer_mac_id));
    }
    throw UsageError(fmt::format("{} is not a router MAC", to_text(mac)));
}

/* ---- Anything ---- */

int call(Session &session, const ShellWords &words)
{
    const EntryPoint &entry = entry_named(words[0]);
    return tell(session, entry.call(arguments_of(entry, {words.begin() + 1, words.end()})));
}

int dump(Session &session, const ShellWords &words)
{
    return call(session, {"dump_l3lif", "", interface_named(words[0]).name});
}

int poke(Session &session, const ShellWords &words)
{
    const HostInterface &interface = interface_named(words[0]);
    const AttributeRow &attribute =
        known(find_attribute(std::string_view(words[1])), "attribute", words[1], attributes());
    sdk_intf_attr_value value{};
    value.param1 = static_cast<uint32_t>(number_of(words[2]));
    return tell(session, host_task("host: poke", interface.name, [&] {
                    return libsdk_intf_attr_set(0, interface.intf_id(), attribute.number, &value);
                }));
}

} // namespace

std::vector<Value> arguments_of(const EntryPoint &entry, const ShellWords &words)
{
    std::vector<Value> values;
    size_t used = 0;
    for (const Parameter &parameter : entry.parameters()) {
        if (parameter.kind == ParameterKind::output)
            values.push_back(Value::text("output"));
        else if (used < words.size())
            values.push_back(value_of(parameter, words[used++]));
        else
            throw UsageError(fmt::format("expected {}", call_usage(entry)));
    }
    if (used != words.size())
        throw UsageError(fmt::format("expected {}", call_usage(entry)));
    return values;
}

const CommandGroup request_commands{
    "Manual requests",
    {{"create",
      "create an interface of the kind its name gives",
      {{"IF", Takes::interface}, {"VLAN", Takes::text, Times::optional}},
      by_position<create>,
      "The host adds a record for an interface that it does not have: Ethernet4, PortChannel1,\n"
      "Vlan100, Ethernet4.10. VLAN is for an SVI or sub-interface, if not as in the name.\n"},
     {"delete", "delete an interface", {{"IF", Takes::interface}}, by_position<remove>},
     {"join",
      "add a port to a routed port-channel",
      {{"PORT", Takes::interface}, {"PORT-CHANNEL", Takes::interface}},
      by_position<join>},
     {"leave",
      "remove a port from its port-channel",
      {{"PORT", Takes::interface}},
      by_position<leave>},
     {"set",
      "change an L3 property",
      {{"IF", Takes::interface}, {"PROPERTY", Takes::property}, {"VALUE", Takes::text}},
      by_position<set>,
      "set Ethernet0 mtu 9216\n"},
     {"loopback",
      "set a port's internal loopback; the host flushes",
      {{"IF", Takes::interface}, {"on|off", Takes::choice}},
      by_position<loopback>},
     {"virtual-mac",
      "add or remove a virtual MAC of an interface",
      {{"IF", Takes::interface}, {"MAC", Takes::text}, {"on|off", Takes::choice}},
      by_position<virtual_mac>},
     {"router-mac",
      "add or remove a router MAC",
      {{"MAC", Takes::text}, {"on|off", Takes::choice}},
      by_position<router_mac>},
     {"dump",
      "make the library print an interface's identifiers",
      {{"IF", Takes::interface}},
      by_position<dump>},
     {"call",
      "call any entry point of the library",
      {{"ENTRY", Takes::entry}, {"ARGUMENT", Takes::argument, Times::any}},
      by_position<call>,
      "An interface is its name, or null; an interface index a name or number; a number decimal,\n"
      "hexadecimal, on or off. An argument may be as timelines print it: create=1.\n"},
     {"register",
      "show an interface to the library, or hide it",
      {{"IF", Takes::interface}, {"on|off", Takes::choice}},
      by_position<set_registered>},
     {"hold",
      "make the host hold a port-channel for the library to adopt",
      {{"PORT-CHANNEL", Takes::interface}, {"on|off", Takes::choice}},
      by_position<hold>},
     {"flush", "make the host flush pending attribute writes", {}, by_position<flush>},
     {"poke",
      "write an SDK attribute, bypassing the library",
      {{"IF", Takes::interface}, {"ATTRIBUTE", Takes::attribute}, {"VALUE", Takes::text}},
      by_position<poke>}}};

} // namespace kvnsim
