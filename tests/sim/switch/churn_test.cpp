#include <cstdlib>
#include <filesystem>

#include "sim/stress/random_desired.h"
#include "tests/sim/files.h"
#include "tests/sim/switch_fixture.h"

namespace kvnsim {
namespace {

class RandomChanges : public SwitchFixture, public ::testing::WithParamInterface<uint64_t> {};

TEST_P(RandomChanges, AnySequenceOfConfigurationsComesAboutAndGoesWithoutATrace)
{
    RandomDesired random(40);
    for (uint64_t step = 0; step < 400; ++step) {
        const std::string change = random.change(GetParam() * 100000 + step);
        const Applied applied = sw.apply(random.desired());
        for (const Failure &failure : applied.failures)
            ADD_FAILURE() << "change " << step << " (" << change << "): " << failure.step.words
                          << ": " << failure.message;
        ASSERT_TRUE(sw.plan(random.desired()).empty())
            << "change " << step << " (" << change
            << ") is planned again: " << sw.plan(random.desired()).steps.front().words;
    }
    bring_about(Desired());
    expect_empty_asic();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChanges, ::testing::Range<uint64_t>(1, 9));

/* The real configurations: applied, applied again, and taken back. */
class Samples : public SwitchFixture {};

TEST_F(Samples, EachComesAboutMakesNoCallTheSecondTimeAndLeavesNothing)
{
    const char *const folder = std::getenv("KVN_SAMPLES");
    if (folder == nullptr)
        GTEST_SKIP() << "KVN_SAMPLES is not set";
    size_t count = 0;
    for (const auto &file : std::filesystem::directory_iterator(folder)) {
        if (file.path().extension() != ".json")
            continue;
        SCOPED_TRACE(file.path().filename());
        const Desired want = wanted(content_of(file.path()), file.path());
        bring_about(want);
        for (const auto &[name, port] : want.routed_ports)
            EXPECT_NE(interface(name).intf_id(), no_id) << name;
        const RequestWatcher requests;
        bring_about(want);
        EXPECT_TRUE(requests.made.empty());
        bring_about(Desired());
        expect_empty_asic();
        ++count;
    }
    EXPECT_GE(count, 1U);
}

} // namespace
} // namespace kvnsim
