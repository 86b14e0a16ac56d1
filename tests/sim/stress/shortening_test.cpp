#include "sim/stress/stress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/journal/journal.h"
#include "sim/sdk/asic.h"

namespace kvnsim {
namespace {

using testing::HasSubstr;

/* Something behind the library's back, from some operation on. */
struct Sabotage {
    const char *name;
    void (*act)();
    const char *found; /* in the words of what is found */
};

Asic &asic()
{
    return Asic::instance();
}

const Sabotage sabotages[] = {
    {"DestroysAnInterface",
     [] {
         for (const IntfRow &interface : asic().rows<IntfRow>()) {
             if (asic().intf_destroy(interface.intf_id) == SDK_E_NONE)
                 return;
         }
     },
     "SDK interface"},
    {"ChangesAnMtu",
     [] {
         if (const auto interfaces = asic().rows<IntfRow>(); !interfaces.empty())
             asic().attr_set(interfaces.front().intf_id, SdkIntfAttrMtuIdx, 77);
     },
     "MTU of "},
    {"MakesALidEntry",
     [] {
         uint32_t lid = 0;
         asic().lid_create(lid);
     },
     "orphan: LID entry"},
    {"MakesAPortChannel",
     [] {
         uint32_t channel = 0;
         asic().portchannel_create(channel);
     },
     "orphan: SDK port-channel"},
    {"TakesAMemberOut",
     [] {
         for (const MemberRow &member : asic().rows<MemberRow>()) {
             sdk_port_mask mask{};
             mask.mask_len = sizeof mask.port_bitmap;
             mask.port_bitmap[member.front_port / 8] =
                 static_cast<uint8_t>(1U << (member.front_port % 8));
             asic().member_delete(member.pc_id, mask);
         }
     },
     "PortChannel"},
    {"RemovesTheRouterMac",
     [] {
         for (const RouterMacRow &mac : asic().rows<RouterMacRow>())
             asic().router_mac_destroy(mac.peer_mac_id);
     },
     "outer MAC"},
    {"RemovesAVirtualMac",
     [] {
         for (const TrapRow &trap : asic().rows<TrapRow>())
             asic().trap_destroy(trap.mac_trap_id);
     },
     "virtual MAC"},
};

class Shortening : public testing::TestWithParam<Sabotage> {};

TEST_P(Shortening, FindsTheFewChangesThatSabotageNeeds)
{
    for (const double fail_rate : {0.0, 0.01}) {
        StressOptions options;
        options.seed = 3;
        options.operations = 2000;
        options.fail_rate = fail_rate;
        options.sabotage = [](Switch &, uint64_t operation) {
            if (operation >= 300)
                GetParam().act();
        };
        const StressResult result = stress(options);
        ASSERT_TRUE(result.problem);
        EXPECT_LE(300U, result.operations);
        EXPECT_THAT(result.problem->what, HasSubstr(GetParam().found));
        EXPECT_GE(3U, result.problem->power_on.size() + result.problem->changes.size())
            << testing::PrintToString(result.problem->power_on)
            << testing::PrintToString(result.problem->changes);
        EXPECT_LE(1U, result.problem->changes.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Shortening, testing::ValuesIn(sabotages),
                         [](const auto &each) { return each.param.name; });

/* Two things that have nothing to do with each other must both be there. */
TEST(ShorteningOfTwo, KeepsBoth)
{
    StressOptions options;
    options.seed = 5;
    options.operations = 2000;
    options.sabotage = [](Switch &, uint64_t operation) {
        const auto traps = asic().rows<TrapRow>();
        if (operation >= 200 && !asic().rows<RouterMacRow>().empty() && !traps.empty())
            asic().trap_destroy(traps.front().mac_trap_id);
    };
    const StressResult result = stress(options);
    ASSERT_TRUE(result.problem);
    std::string all;
    for (const auto *lines : {&result.problem->power_on, &result.problem->changes}) {
        for (const std::string &line : *lines)
            all += line + "\n";
    }
    EXPECT_THAT(all, HasSubstr("router MAC"));
    EXPECT_THAT(all, HasSubstr("virtual MAC"));
    EXPECT_GE(4, std::count(all.begin(), all.end(), '\n')) << all;
}

/* What happens in the wake of a failure only: the failure is part of the way there. */
TEST(ShorteningOfFailures, NamesTheCallThatFailed)
{
    struct Seen : Observer {
        void request_ends(const Request &request) override
        {
            failed |= request.first_failure().words.find("libsdk_intf_attr_set") == 0;
        }
        bool failed = false;
    } seen;
    StressOptions options;
    options.operations = 5000;
    options.sabotage = [&](Switch &, uint64_t) {
        uint32_t lid = 0;
        if (std::exchange(seen.failed, false))
            asic().lid_create(lid);
    };
    const StressResult result = stress(options);
    ASSERT_TRUE(result.problem);
    ASSERT_FALSE(result.problem->changes.empty());
    EXPECT_THAT(result.problem->changes.back(),
                HasSubstr("(libsdk_intf_attr_set: SDK_E_INTERNAL (-1))"));
    EXPECT_GE(3U, result.problem->power_on.size() + result.problem->changes.size());
}

TEST(ShorteningStops, WhenAsked)
{
    StressOptions options;
    options.fail_rate = 0;
    options.sabotage = [](Switch &, uint64_t operation) {
        uint32_t lid = 0;
        if (operation == 100)
            asic().lid_create(lid);
    };
    uint64_t tries = 0;
    options.shortening = [&](uint64_t done) { tries = done; };
    ASSERT_TRUE(stress(options).problem);
    const uint64_t all = tries;
    tries = 0;
    options.stop = [&] { return tries >= 3; };
    const StressResult result = stress(options);
    ASSERT_TRUE(result.problem);
    EXPECT_THAT(result.problem->what, HasSubstr("LID entry"));
    EXPECT_LE(3U, tries);
    EXPECT_GT(all, tries);
}

} // namespace
} // namespace kvnsim
