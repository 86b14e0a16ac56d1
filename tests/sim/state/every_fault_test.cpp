#include "tests/sim/call_count.h"
#include "tests/sim/state/leftovers.h"
#include "tests/sim/state/snapshot_fixture.h"

#include <filesystem>
#include <map>

#include "sim/state/index.h"
#include "sim/state/properties.h"
#include "sim/stress/random_desired.h"

#ifndef KVN_EXAMPLES
#error "the build names the folder of the examples"
#endif

namespace kvnsim {
namespace {

/* Each configuration of the examples that has no error, brought about and taken down again; the
 * two of a change one after the other. */
std::map<std::string, std::vector<Desired>> scenarios()
{
    std::map<std::string, std::vector<Desired>> all;
    for (const auto &entry : std::filesystem::directory_iterator(KVN_EXAMPLES)) {
        if (entry.path().extension() != ".json")
            continue;
        const std::string name = entry.path().stem();
        const Configuration read = read_configuration(name, content_of(entry.path()));
        if (read.has_errors())
            continue;
        const size_t part = name.find("_before");
        if (part != std::string::npos) {
            const std::string after = name.substr(0, part) + "_after.json";
            all[name] = {read.desired,
                         wanted(content_of(std::string(KVN_EXAMPLES) + "/" + after), after),
                         Desired()};
        } else {
            all[name] = {read.desired, Desired()};
        }
    }
    return all;
}

std::vector<std::string> found(const Switch &sw)
{
    std::vector<std::string> all = brief(audit(capture(sw)));
    std::sort(all.begin(), all.end());
    return all;
}

std::string lines(const std::vector<std::string> &texts)
{
    std::string all;
    for (const std::string &text : texts)
        all += "  " + text + "\n";
    return all;
}

class EveryFault : public testing::TestWithParam<std::string> {};

TEST_P(EveryFault, LeavesBehindWhatTheAuditFinds)
{
    const std::vector<Desired> steps = scenarios().at(GetParam());
    std::map<std::string, uint32_t> counts;
    {
        Switch sw;
        CallCount count;
        Leftovers leftovers;
        for (const Desired &want : steps) {
            leftovers.aim(want);
            sw.apply(want);
            ASSERT_EQ(lines(leftovers.findings(sw)), "");
            ASSERT_EQ(lines(found(sw)), "");
        }
        counts = count.counts;
    }
    uint32_t runs = 0, with_findings = 0;
    for (const auto &[call, times] : counts) {
        for (uint32_t occurrence = 1; occurrence <= times; ++occurrence) {
            Switch sw;
            Leftovers leftovers;
            const std::string fault = call + ":" + std::to_string(occurrence);
            ASSERT_EQ(Journal::instance().faults.add(fault), "");
            bool any = false;
            for (size_t step = 0; step < steps.size(); ++step) {
                leftovers.aim(steps[step]);
                sw.apply(steps[step]);
                const auto findings = audit(capture(sw));
                std::vector<std::string> finds = brief(findings);
                std::sort(finds.begin(), finds.end());
                any |= !finds.empty();
                ASSERT_EQ(lines(finds), lines(leftovers.findings(sw)))
                    << GetParam() << " with " << fault << ", after step " << step + 1 << "\n"
                    << words(findings);
            }
            ASSERT_TRUE(Journal::instance().faults.unused().empty());
            runs++;
            with_findings += any;
        }
    }
    EXPECT_EQ(with_findings > 0, runs > 0);
    RecordProperty("runs", std::to_string(runs));
    RecordProperty("runs_with_findings", std::to_string(with_findings));
    std::printf("%s: %u runs, findings in %u\n", GetParam().c_str(), runs, with_findings);
}

std::vector<std::string> names()
{
    std::vector<std::string> all;
    for (const auto &[name, steps] : scenarios())
        all.push_back(name);
    return all;
}

INSTANTIATE_TEST_SUITE_P(Examples, EveryFault, testing::ValuesIn(names()),
                         [](const auto &test) { return test.param; });

/* The audit looks only at what can differ. */
TEST(ManyFaults, LeaveNoDifferenceInAPropertyThatCannotDiffer)
{
    size_t differences = 0;
    for (uint64_t seed = 0; seed < 10; ++seed) {
        Switch sw;
        RandomDesired random(25);
        Journal::instance().faults.set_rate(0.05, seed);
        for (uint64_t change = 0; change < 30; ++change) {
            random.change(seed << 32 | change);
            sw.apply(random.desired());
            const Snapshot snapshot = capture(sw);
            const Index index(snapshot);
            for (const HostRow &host : snapshot.host) {
                const InterfaceRows rows(index, host.name, &host, false);
                for (const Property &property : interface_properties()) {
                    Sides sides;
                    property.look(rows, sides, attribute_of(property.id));
                    differences += sides.mismatch.has_value();
                    EXPECT_TRUE(!sides.mismatch || property.can_differ(rows))
                        << host.name << ": " << to_text(property.id);
                }
            }
        }
    }
    EXPECT_GT(differences, 0u);
}

/* Failures of all calls together, one after another and upon what earlier ones left. */
TEST(ManyFaults, LeaveBehindWhatTheAuditFinds)
{
    for (uint64_t seed = 0; seed < 20; ++seed) {
        Switch sw;
        Leftovers leftovers;
        RandomDesired random(25);
        Journal::instance().faults.set_rate(0.02, seed);
        for (uint64_t change = 0; change < 60; ++change) {
            const std::string what = random.change(seed << 32 | change);
            leftovers.aim(random.desired());
            sw.apply(random.desired());
            ASSERT_EQ(lines(found(sw)), lines(leftovers.findings(sw)))
                << "seed " << seed << ", change " << change << ": " << what;
        }
    }
}

} // namespace
} // namespace kvnsim
