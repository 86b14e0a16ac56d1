/* Allocations of the library, and of nobody else, can be made to fail. */
#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>

#include "sim/journal/journal.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

class Allocations : public SwitchFixture {};

/* With a context of two blocks for each interface, and one for the virtual MAC. */
Desired two_svis()
{
    return wanted(R"({"PORT": {"Ethernet0": {}}, "VLAN": {"Vlan10": {}, "Vlan20": {}},
        "VLAN_INTERFACE": {"Vlan10": {}, "Vlan10|192.0.2.1/24": {}, "Vlan20": {},
                           "Vlan20|198.51.100.1/24": {}},
        "VRRP": {"Vlan10|1": {"vid": "1"}}})");
}

} // namespace

TEST_F(Allocations, FailByTheirOccurrence)
{
    for (const auto &[fault, request] :
         {std::pair("malloc:1", "l3lifpd_kvn_add_svi(l3lif=Vlan10 encap_vlan=10)"),
          std::pair("malloc:4", "l3lifpd_kvn_add_svi(l3lif=Vlan20 encap_vlan=20)"),
          std::pair("malloc:5",
                    "l3lifpd_kvn_fhrp_mac_add(mac=00:00:5e:00:01:01 ifindex=Vlan10)")}) {
        Switch fresh;
        fail(fault);
        const Applied applied = fresh.apply(two_svis());
        ASSERT_FALSE(applied.failures.empty()) << fault;
        const Request &failed = *applied.failures[0].request;
        EXPECT_EQ(std::string(failed.entry) + "(" + failed.arguments.to_text() + ")", request);
        EXPECT_EQ(failed.first_failure().words, "malloc: no memory");
        EXPECT_EQ(failed.first_failure().reason, "injected");
        EXPECT_EQ(failed.result, -1);
    }
}

TEST_F(Allocations, OfTheHostDoNotCount)
{
    fail("malloc");
    void *const block = std::malloc(10);
    EXPECT_NE(block, nullptr);
    std::free(block);
    EXPECT_THAT(Journal::instance().faults.unused(), testing::ElementsAre("malloc"));
}

TEST_F(Allocations, AreNotSeenUnlessTheyFail)
{
    RequestWatcher watcher;
    fail("malloc:999");
    bring_about(two_svis());
    EXPECT_THAT(watcher.calls, testing::Not(testing::Contains("malloc")));
    EXPECT_EQ(Journal::instance().calls_made, watcher.calls.size());
}

} // namespace kvnsim
