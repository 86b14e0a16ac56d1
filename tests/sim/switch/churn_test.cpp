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
            ADD_FAILURE() << "change " << step << " (" << change << "): " << failure.step.words()
                          << ": " << failure.message;
        ASSERT_TRUE(sw.plan(random.desired()).empty())
            << "change " << step << " (" << change
            << ") is planned again: " << sw.plan(random.desired()).steps.front().words();
    }
    bring_about(Desired());
    expect_empty_asic();
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomChanges, ::testing::Range<uint64_t>(1, 9));

/* The real configurations: applied, applied again, and taken back. */
class Samples : public SwitchFixture {};

TEST_F(Samples, EachComesAboutMakesNoCallTheSecondTimeAndLeavesNothing)
{
    const auto files = sample_files();
    if (files.empty())
        GTEST_SKIP() << "KVN_SAMPLES names no folder with configurations";
    size_t without_errors = 0;
    for (const auto &file : files) {
        SCOPED_TRACE(file.filename());
        /* Of those with an error, the other rows. */
        const Configuration configuration = read_configuration(file, content_of(file));
        const Desired &want = configuration.desired;
        without_errors += !configuration.has_errors();
        bring_about(want);
        for (const auto &[name, port] : want.routed_ports)
            EXPECT_NE(interface(name).intf_id(), no_id) << name;
        for (const auto &[name, svi] : want.svis)
            EXPECT_NE(interface(name).intf_id(), no_id) << name;
        for (const auto &[name, sub] : want.sub_interfaces)
            EXPECT_EQ(Host::instance().find(name) != nullptr, !sub.waits) << name;
        const RequestWatcher requests;
        bring_about(want);
        EXPECT_TRUE(requests.made.empty());
        bring_about(Desired());
        expect_empty_asic();
    }
    EXPECT_GE(without_errors, 1U);
}

} // namespace
} // namespace kvnsim
