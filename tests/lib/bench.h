/*
 * A switch on the bench: interfaces registered with the scripted platform, and the comparison of
 * what the library did with what was expected.
 *
 *     Bench bench;
 *     Interface &eth0 = bench.routed_port(0);
 *     EXPECT_EQ(0, l3lifpd_kvn_add_l3port(&eth0, 1));
 *     EXPECT_TRUE(bench.did({debug(...), call(...), ...}));
 */
#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "tests/lib/expect.h"
#include "tests/lib/platform.h"

namespace kvntest {

class Bench : public Platform {
public:
    Bench();
    ~Bench();

    /* Interfaces without a context, registered, without an IP configuration. */
    Interface &routed_port(uint32_t port);
    Interface &port_channel(uint32_t channel, uint32_t member_count = 1);
    Interface &member(uint32_t port, Interface &channel);
    /* main_l3lif is the parent, but not for a port-channel: the sub-interface would be a member. */
    Interface &sub_interface(Interface &parent, uint32_t vlan = 100);
    Interface &svi(uint32_t vlan);

    /* Hang a context with these identifiers on the interface, or change the one it has. */
    void give_context(Interface &lif, uint32_t intf_id, uint32_t lid_id, uint32_t pc_id);
    void give_ip(Interface &lif, uint32_t ucst, uint32_t mcst, uint16_t mtu, uint32_t same_if);

    /* Exactly this happened since the last comparison, in this order. The journal starts anew. */
    testing::AssertionResult did(const Steps &expected);
    testing::AssertionResult did_nothing() { return did({}); }
    /* The same for the lookups that were made. */
    testing::AssertionResult asked(const Steps &expected);
    /* The same for the single calls of the sinks. */
    testing::AssertionResult sinks_saw(const Steps &expected);

private:
    Interface &add(uint32_t ifindex, Kind kind, uint32_t number);

    std::vector<std::unique_ptr<Interface>> owned_;
};

/* The two journals are equal; else a text with the lines around the first difference. */
testing::AssertionResult same_journal(const Journal &got, const Journal &expected);

/* The record's three identifiers. */
testing::AssertionResult holds(const l3_pd &pd, uint32_t intf_id, uint32_t lid_id, uint32_t pc_id);

/* Calls the function; true when it ended in abort(). */
bool aborts(const std::function<void()> &function);

} // namespace kvntest
