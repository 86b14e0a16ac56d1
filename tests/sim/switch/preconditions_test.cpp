#include "sim/journal/journal.h"
#include "tests/sim/hand_operated.h"

namespace kvnsim {
namespace {

/* What would end the process is not asked of the library; all else is. */
class Asking : public HandOperated {
protected:
    /* Why the request was not made; empty when it was. */
    static std::string asking(const std::string &name, const std::vector<Value> &values)
    {
        const EntryPoint &entry = *EntryPoint::find(name);
        const uint64_t made = Journal::instance().requests_made();
        const Response response = entry.call(values);
        EXPECT_EQ(Journal::instance().requests_made() - made, response.request != nullptr);
        if (response.request != nullptr)
            return "";
        EXPECT_TRUE(response.refused && response.failed);
        const std::string start = std::string(entry.name()) + " refused, the library would abort: ";
        EXPECT_EQ(response.failure().substr(0, start.size()), start);
        return response.failure().substr(start.size());
    }
    static Value of(const HostInterface &interface) { return Value::integer(interface.ifindex); }
    static Value number(int64_t value) { return Value::integer(value); }
};

TEST_F(Asking, SubInterfaceNeedsAParentWithALid)
{
    HostInterface &parent = port(0);
    HostInterface &sub = *host.add_sub_interface("Ethernet0.7", parent, 7);
    host.register_l3(sub);
    EXPECT_EQ(asking("add_subint", {of(parent), number(7), number(1)}), "not a sub-interface");
    EXPECT_EQ(asking("add_subint", {of(sub), number(7), number(1)}),
              "parent Ethernet0 is not routed");
    host.register_l3(parent);
    EXPECT_EQ(asking("add_subint", {of(sub), number(7), number(1)}), "parent Ethernet0 has no LID");
    EXPECT_EQ(entry::add_subint(sub, 7, 1).refusal,
              "l3lifpd_kvn_add_subint refused, the library would abort: parent Ethernet0 has no "
              "LID")
        << "code is kept from it as well";
    entry::add_l3port(parent, 1);
    EXPECT_EQ(asking("add_subint", {of(sub), number(7), number(1)}), "");
    EXPECT_EQ(asking("add_subint", {of(parent), number(7), number(1)}), "");
}

TEST_F(Asking, SubInterfaceThatIsThereMayBeAskedForAgain)
{
    HostInterface &parent = routed_port(0);
    HostInterface &sub = sub_interface("Ethernet0.7", parent, 7);
    entry::del_l3port(parent);
    EXPECT_EQ(asking("add_subint", {of(sub), number(7), number(1)}), "");
}

TEST_F(Asking, PortChannelNeedsItsContextToBeRoutedByItself)
{
    HostInterface &channel = port_channel(1);
    EXPECT_EQ(asking("add_l3port", {of(channel), number(1)}), "PortChannel1 has no context");
    EXPECT_EQ(asking("alloc_l3pc_add", {of(channel), number(1)}), "");
    EXPECT_EQ(asking("alloc_l3pc_add", {of(port(0)), number(1)}),
              "Ethernet0 is not a port-channel");
    EXPECT_EQ(asking("add_l3port", {of(port(4)), number(1)}), "");
}

TEST_F(Asking, MemberNeedsAPortChannelThatIsThere)
{
    HostInterface &channel = port_channel(1);
    HostInterface &one = port(0);
    EXPECT_EQ(asking("add_l3pc", {of(one), number(0)}), "") << "without one the library refuses";
    host.join(one, channel);
    host.register_l3(one);
    EXPECT_EQ(asking("add_l3pc", {of(one), number(0)}), "PortChannel1 has no context");
    EXPECT_EQ(asking("del_l3pc", {of(one), number(1)}), "PortChannel1 has no context");
    EXPECT_EQ(asking("add_l3pc", {of(one), number(1)}), "");
    EXPECT_EQ(asking("add_l3pc", {of(one), number(0)}), "");
    EXPECT_EQ(asking("del_l3pc", {of(one), number(1)}), "");
}

TEST_F(Asking, NullIsNoInterfaceToEveryEntryPoint)
{
    EXPECT_EQ(asking("init_l3_properties", {Value()}), "l3lif must not be NULL");
    EXPECT_EQ(asking("l3pd_init", {Value(), number(1)}), "l3lif must not be NULL");
    EXPECT_EQ(asking("del_subint", {Value()}), "l3lif must not be NULL");
    EXPECT_EQ(asking("dump_l3lif", {Value(), Value::text("x"), Value()}), "l3lif must not be NULL");
    EXPECT_EQ(asking("add_l3port", {Value(), number(1)}), "");
    EXPECT_EQ(asking("add_subint", {Value(), number(1), number(1)}), "");
}

/* What may be asked for does not end the process, with any interface in any state. */
TEST_F(Asking, WhatMayBeAskedForReturns)
{
    HostInterface &bare = port(0);
    HostInterface &routed = routed_port(1);
    HostInterface &channel = port_channel(1);
    HostInterface &empty = port_channel(2);
    HostInterface &one = member(2, channel);
    HostInterface &lost = port(3);
    host.join(lost, empty);
    HostInterface &sub = sub_interface("Ethernet1.7", routed, 7);
    HostInterface &orphan = *host.add_sub_interface("Ethernet0.7", bare, 7);
    HostInterface &on_member = *host.add_sub_interface("Ethernet2.7", one, 7);
    HostInterface &svi = *host.add_svi("Vlan5", 5);
    host.register_l3(svi);
    host.register_l3(orphan);
    host.register_l3(on_member);

    size_t made = 0, refused = 0;
    for (HostInterface *interface :
         {&bare, &routed, &channel, &empty, &one, &lost, &sub, &orphan, &on_member, &svi}) {
        for (const EntryPoint *entry : EntryPoint::all()) {
            for (const int64_t value : {0, 1}) {
                std::vector<Value> values;
                for (const Parameter &parameter : entry->parameters()) {
                    switch (parameter.kind) {
                    case ParameterKind::interface:
                    case ParameterKind::ifindex:
                        values.push_back(of(*interface));
                        break;
                    case ParameterKind::number:
                        values.push_back(number(value));
                        break;
                    case ParameterKind::mac:
                        values.push_back(Value::text("00:00:5e:00:01:0a"));
                        break;
                    case ParameterKind::text:
                        values.push_back(Value::text("x"));
                        break;
                    case ParameterKind::output:
                        values.push_back(Value());
                        break;
                    }
                }
                ++(asking(entry->name(), values).empty() ? made : refused);
            }
        }
    }
    EXPECT_GT(made, 600u);
    EXPECT_GT(refused, 10u);
}

} // namespace
} // namespace kvnsim
