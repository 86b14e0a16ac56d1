#include "sim/service/service_changes.h"

#include <gmock/gmock.h>

#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ServiceChangesTest : public SnapshotFixture {
protected:
    ServiceChangesTest() { small_switch(); }

    /* What a change of the configuration does. */
    std::vector<ServiceChange> after(const std::string &what, const std::string &instead)
    {
        std::string text = small_network;
        const size_t at = text.find(what);
        EXPECT_NE(at, text.npos) << what;
        return after(wanted(text.replace(at, what.size(), instead)));
    }
    std::vector<ServiceChange> after(const Desired &want)
    {
        const std::vector<Service> before = judge(capture(sw)).services;
        const Plan plan = sw.plan(want);
        const std::vector<Change> interrupting = changes(sw, want, plan);
        sw.apply(want);
        return service_changes(before, judge(capture(sw)).services, interrupting);
    }
    static std::vector<std::string> words(const std::vector<ServiceChange> &changes)
    {
        std::vector<std::string> all;
        for (const ServiceChange &change : changes)
            all.push_back(std::string(to_text(change.change)) + " " + change.interface + " by " +
                          change.port + " " + change.family +
                          (change.words.empty() ? "" : ": " + change.words));
        return all;
    }
};

TEST_F(ServiceChangesTest, NothingChangedIsNothing)
{
    EXPECT_THAT(after(wanted(small_network)), IsEmpty());
    EXPECT_EQ(summary(std::vector<ServiceChange>()), "no service changes");
}

TEST_F(ServiceChangesTest, AFamilyMoreIsAddedAndOneLessRemoved)
{
    const auto changes = after("Ethernet4|2001:db8::1/64", "Ethernet4|192.0.2.40/31");
    EXPECT_THAT(words(changes),
                ElementsAre("added Ethernet4 by Ethernet4 IPv4",
                            "removed Ethernet4 by Ethernet4 IPv6: no longer wanted"));
    EXPECT_EQ(summary(changes), "1 service added, 1 removed");
}

TEST_F(ServiceChangesTest, AnotherVrfAndAnotherMtuAreChanges)
{
    EXPECT_THAT(words(after("\"vrf_name\": \"VrfBlue\", ", "")),
                ElementsAre("changed Ethernet0 by Ethernet0 IPv4: VRF VrfBlue -> default"));
    small_switch();
    EXPECT_THAT(words(after("\"mtu\": \"1500\"", "\"mtu\": \"1600\"")),
                ElementsAre("changed Ethernet4 by Ethernet4 IPv6: MTU 1500 -> 1600"));
}

TEST_F(ServiceChangesTest, WhatIsMadeAnewInBetweenIsInterrupted)
{
    EXPECT_THAT(words(after("\"PortChannel1|Ethernet8\": {}, \"PortChannel1|Ethernet12\": {}",
                            "\"PortChannel1|Ethernet16\": {}")),
                ElementsAre("removed PortChannel1 by Ethernet8 IPv4: no longer wanted",
                            "removed PortChannel1 by Ethernet12 IPv4: no longer wanted",
                            "added PortChannel1 by Ethernet16 IPv4",
                            "removed PortChannel1.20 by Ethernet8 IPv4: no longer wanted",
                            "removed PortChannel1.20 by Ethernet12 IPv4: no longer wanted",
                            "added PortChannel1.20 by Ethernet16 IPv4"));
    small_switch();
    EXPECT_THAT(words(after("\"Ethernet0.10\": {}, ", "\"Ethernet0.10\": {\"vlan\": \"11\"}, ")),
                ElementsAre(testing::StartsWith(
                    "interrupted Ethernet0.10 by Ethernet0 IPv4: Ethernet0.10 recreated")));
}

TEST_F(ServiceChangesTest, AnotherRouterMacInterruptsAllOfIts)
{
    const auto changes = after("00:00:5e:00:53:01", "00:00:5e:00:53:02");
    EXPECT_EQ(summary(changes), "8 services interrupted"); /* not the virtual MAC's */
    EXPECT_EQ(changes.front().words, "router MAC 00:00:5e:00:53:01 -> 00:00:5e:00:53:02");
}

TEST_F(ServiceChangesTest, AFailureRemovesWithItsReason)
{
    fail("libsdk_intf_attr_set=SDK_E_BUSY");
    const auto changes = after("\"mtu\": \"1500\"", "\"mtu\": \"1600\"");
    EXPECT_THAT(words(changes),
                ElementsAre(testing::StartsWith("removed Ethernet4 by Ethernet4 IPv6: the MTU is "
                                                "1500, not 1600 (libsdk_intf_attr_set")));
}

} // namespace
} // namespace kvnsim
