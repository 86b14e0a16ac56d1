/* Commands of the shell that make single requests of the library, and tasks of the host around
 * them. None may end the process: what would make the library abort is refused. */
#include <algorithm>
#include <charconv>

#include <fmt/format.h>

#include "platform_api/fwm.h"
#include "platform_api/libsdk.h"
#include "sim/cli/console.h"
#include "sim/cli/shell.h"
#include "sim/cli/stored.h"
#include "sim/config/names.h"
#include "sim/config/similar.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/switch/choreography.h"
#include "sim/types/text.h"

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
    throw UsageError(fmt::format("there is no {} {}{}", what, in_quotes(name),
                                 did_you_mean(name, names_of(rows))));
}

HostInterface &interface_named(const std::string &name)
{
    return *Host::instance().find(interface_meant(host_names(), name));
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
        throw UsageError(fmt::format("expected a number of 32 bits, not {}", in_quotes(word)));
    return negative ? -int64_t{number} : int64_t{number};
}

bool is_on(const Arguments &given)
{
    return given.value("on|off") == "on";
}

Mac mac_of(const std::string &word)
{
    const auto mac = parse_mac(word);
    if (!mac)
        throw UsageError(fmt::format("expected a MAC address such as 00:00:5e:00:01:0a, not {}",
                                     in_quotes(word)));
    return *mac;
}

Value value_of(const Parameter &parameter, std::string word)
{
    /* As timelines print it: create=1. */
    const std::string named = std::string(parameter.name) + '=';
    if (starts_with(word, named))
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

/* The interface of the operand IF. */
HostInterface &interface_of(const Arguments &given)
{
    return interface_named(given.value("IF"));
}

/* ---- Requests ---- */

/* Print the result; a host task that succeeded prints nothing. */
int tell(Session &session, const Response &response)
{
    if (response.request != nullptr && response.request->result)
        session.console.out() << fmt::format("{}({}) = {}\n", response.request->entry,
                                             response.request->arguments.to_text(),
                                             response.result);
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

int flush(Session &session, const Arguments &)
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
    if (has_vlan && !vlan_range.has(vlan))
        throw UsageError(
            fmt::format("{}: expected a VLAN {}, not {}", name, to_text(vlan_range), vlan));
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

int create(Session &session, const Arguments &given)
{
    const std::string &name = given.value("IF"), &vlan_word = given.value("VLAN");
    HostInterface *interface = Host::instance().find(name);
    const auto parsed = parse_interface_name(name);
    if (interface == nullptr && !parsed)
        throw UsageError(fmt::format("expected the name of an interface, not {}", in_quotes(name)));
    uint32_t vlan = 0;
    if (!vlan_word.empty())
        vlan = static_cast<uint32_t>(number_of(vlan_word));
    else if (interface != nullptr)
        vlan = interface->vlan;
    else if (!parsed->short_form)
        vlan = parsed->number;
    else
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

int remove(Session &session, const Arguments &given)
{
    HostInterface &interface = interface_of(given);
    const Response response = delete_interface(interface);
    if (!response.refused)
        retire(session, interface);
    return tell(session, response);
}

/* Prints the responses to a join or a leave, and returns the worst status. */
int tell_all(Session &session, HostInterface &port, Response (*work)(HostInterface &, const Tell &))
{
    int status = exit_well;
    work(port, [&](const Response &each) { status = std::max(status, tell(session, each)); });
    return status;
}

int join(Session &session, const Arguments &given)
{
    HostInterface &port = interface_named(given.value("PORT"));
    HostInterface &channel = interface_named(given.value("PORT-CHANNEL"));
    if (!Host::instance().join(port, channel))
        throw UsageError(
            fmt::format("{} cannot join {}: only a port can join, and only one port-channel",
                        port.name, channel.name));
    return tell_all(session, port, kvnsim::join);
}

int leave(Session &session, const Arguments &given)
{
    HostInterface &port = interface_named(given.value("PORT"));
    if (port.channel == nullptr)
        throw UsageError(fmt::format("{} is not a member of a port-channel", port.name));
    return tell_all(session, port, kvnsim::leave);
}

int set_registered(Session &, const Arguments &given)
{
    HostInterface &interface = interface_of(given);
    if (is_on(given)) {
        Host::instance().register_l3(interface);
        return exit_well;
    }
    if (!in_use(interface).empty())
        throw UsageError(fmt::format(
            "{} is a member, or has members or sub-interfaces that depend on it", interface.name));
    Host::instance().unregister_l3(interface);
    return exit_well;
}

int hold(Session &session, const Arguments &given)
{
    Host &host = Host::instance();
    const std::string &name = given.value("PORT-CHANNEL");
    HostInterface *channel = host.find(name);
    const auto parsed = parse_interface_name(name);
    if (channel == nullptr && is_on(given) && parsed && parsed->kind == InterfaceKind::port_channel)
        channel = make_interface(session, name, *parsed, 0);
    if (channel == nullptr)
        channel = &interface_named(name);
    if (channel->kind != InterfaceKind::port_channel)
        throw UsageError(fmt::format("{} is not a port-channel", channel->name));
    return tell(session, is_on(given) ? host_task("host: hold port-channel", channel->name,
                                                  [&] { return host.hold_port_channel(*channel); })
                                      : release_port_channel(*channel));
}

/* ---- Settings and MACs ---- */

int set(Session &session, const Arguments &given)
{
    HostInterface &interface = interface_of(given);
    const std::string &name = given.value("PROPERTY");
    const PropertyRow &property = known(find_property(name), "property", name, properties());
    return tell(session,
                entry::set_l3_property(interface, property.type, number_of(given.value("VALUE"))));
}

int loopback(Session &session, const Arguments &given)
{
    const uint32_t ifindex = interface_of(given).ifindex;
    const int status = tell(session, entry::loopback_enable(ifindex, is_on(given)));
    return std::max(status, flush(session, given));
}

int virtual_mac(Session &session, const Arguments &given)
{
    const uint32_t ifindex = interface_of(given).ifindex;
    const Mac mac = mac_of(given.value("MAC"));
    return tell(session, is_on(given) ? entry::fhrp_mac_add(mac, ifindex)
                                      : entry::fhrp_mac_del(mac, ifindex));
}

int router_mac(Session &session, const Arguments &given)
{
    const Mac mac = mac_of(given.value("MAC"));
    if (is_on(given))
        return tell(session, entry::rmac_add(mac));
    for (const RouterMacRow &row : Asic::instance().rows<RouterMacRow>()) {
        if (row.mac == mac)
            return tell(session, entry::rmac_del(row.peer_mac_id));
    }
    throw UsageError(fmt::format("{} is not a router MAC", to_text(mac)));
}

/* ---- Anything ---- */

int call_entry(Session &session, const std::string &name, const Words &words)
{
    const EntryPoint &entry = entry_named(name);
    return tell(session, entry.call(arguments_of(entry, words)));
}

int call(Session &session, const Arguments &given)
{
    return call_entry(session, given.value("ENTRY"), given.values("ARGUMENT"));
}

int dump(Session &session, const Arguments &given)
{
    return call_entry(session, "dump_l3lif", {"", interface_of(given).name});
}

int poke(Session &session, const Arguments &given)
{
    const HostInterface &interface = interface_of(given);
    const std::string &name = given.value("ATTRIBUTE");
    const AttributeRow &attribute =
        known(find_attribute(std::string_view(name)), "attribute", name, attributes());
    sdk_intf_attr_value value{};
    value.param1 = static_cast<uint32_t>(number_of(given.value("VALUE")));
    return tell(session, host_task("host: poke", interface.name, [&] {
                    return libsdk_intf_attr_set(0, interface.intf_id(), attribute.number, &value);
                }));
}

} // namespace

std::vector<Value> arguments_of(const EntryPoint &entry, const Words &words)
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
      create,
      "The host adds a record for an interface that it does not have: Ethernet4, PortChannel1,\n"
      "Vlan100, Ethernet4.10. VLAN is for an SVI or sub-interface, if not as in the name.\n"},
     {"delete", "delete an interface", {{"IF", Takes::interface}}, remove},
     {"join",
      "add a port to a routed port-channel",
      {{"PORT", Takes::interface}, {"PORT-CHANNEL", Takes::interface}},
      join},
     {"leave", "remove a port from its port-channel", {{"PORT", Takes::interface}}, leave},
     {"set",
      "change an L3 property",
      {{"IF", Takes::interface}, {"PROPERTY", Takes::property}, {"VALUE", Takes::text}},
      set,
      "set Ethernet0 mtu 9216\n"},
     {"loopback",
      "set a port's internal loopback; the host flushes",
      {{"IF", Takes::interface}, {"on|off", Takes::choice}},
      loopback},
     {"virtual-mac",
      "add or remove a virtual MAC of an interface",
      {{"IF", Takes::interface}, {"MAC", Takes::text}, {"on|off", Takes::choice}},
      virtual_mac},
     {"router-mac",
      "add or remove a router MAC",
      {{"MAC", Takes::text}, {"on|off", Takes::choice}},
      router_mac},
     {"dump",
      "make the library print an interface's identifiers",
      {{"IF", Takes::interface}},
      dump},
     {"call",
      "call any entry point of the library",
      {{"ENTRY", Takes::entry}, {"ARGUMENT", Takes::argument, Times::any}},
      call,
      "An interface is its name, or null; an interface index a name or number; a number decimal,\n"
      "hexadecimal, on or off. An argument may be as timelines print it: create=1.\n"},
     {"register",
      "show an interface to the library, or hide it",
      {{"IF", Takes::interface}, {"on|off", Takes::choice}},
      set_registered},
     {"hold",
      "make the host hold a port-channel for the library to adopt",
      {{"PORT-CHANNEL", Takes::interface}, {"on|off", Takes::choice}},
      hold},
     {"flush", "make the host flush pending attribute writes", {}, flush},
     {"poke",
      "write an SDK attribute, bypassing the library",
      {{"IF", Takes::interface}, {"ATTRIBUTE", Takes::attribute}, {"VALUE", Takes::text}},
      poke}}};

} // namespace kvnsim
