/*
 * The floor that the library is measured against is one: the straight lines make the library's
 * calls, each with the same arguments and texts, in the same order.
 */
#include "bench/floor/life.h"
#include "tests/lib/bench.h"

namespace kvntest {
namespace {

struct Line {
    const char *name;
    bool sinks_on;
};

void PrintTo(const Line &line, std::ostream *out)
{
    *out << line.name;
}

kvnfloor::Interfaces make_interfaces(Bench &bench)
{
    Interface &port = bench.routed_port(1);
    Interface &channel = bench.port_channel(1);
    Interface *const all[] = {&port,
                              &bench.routed_port(2),
                              &bench.routed_port(3),
                              &bench.sub_interface(port),
                              &bench.svi(10),
                              &channel,
                              &bench.port_channel(2),
                              &bench.member(4, channel)};
    for (Interface *const lif : all)
        bench.give_ip(*lif, 1, 0, 9100, 1);
    return {all[0], all[1], all[2], all[3], all[4], all[5], all[6], all[7]};
}

/* What each step of the life did: its calls, and what it looked up. */
std::vector<Journal> lead_life(const kvnfloor::Entries &library, bool sinks_on)
{
    Bench bench;
    bench.set_sinks({sinks_on, sinks_on, sinks_on});
    const kvnfloor::Interfaces interfaces = make_interfaces(bench);
    std::vector<Journal> life;
    for (const kvnfloor::Step *step = kvnfloor::life; step->run != nullptr; ++step) {
        bench.forget();
        step->run(library, interfaces);
        EXPECT_TRUE(bench.settled()) << "a record that did not reach all sinks";
        Journal did = bench.journal;
        did.insert(did.end(), bench.queries.begin(), bench.queries.end());
        life.push_back(did);
    }
    return life;
}

class StraightLine : public testing::TestWithParam<Line> {};

TEST_P(StraightLine, MakesTheCallsOfTheLibrary)
{
    const std::string name = std::string("libstraight_line_") + GetParam().name + ".so";
    const kvnfloor::Entries library(KVN_LIBRARY);
    const kvnfloor::Entries line(std::string(KVN_FLOOR_LIBRARIES "/") + name);
    note_calls_of(name.c_str());

    const auto want = lead_life(library, GetParam().sinks_on);
    const auto got = lead_life(line, GetParam().sinks_on);
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) {
        const char *const entry = kvnfloor::life[i].entry;
        EXPECT_TRUE(same_journal(got[i], want[i])) << (entry != nullptr ? entry : "preparation");
    }
}

/* Checks of results, sinks. */
INSTANTIATE_TEST_SUITE_P(Sinks, StraightLine,
                         testing::Values(Line{"00", false}, Line{"01", true}, Line{"10", false},
                                         Line{"11", true}),
                         testing::PrintToStringParamName());

/* Every exported function is measured. */
TEST(Life, CallsEveryEntryPoint)
{
    std::vector<std::string> entries, called;
#define KVN_NAME(name) entries.push_back(#name);
    KVN_FLOOR_ENTRIES(KVN_NAME)
#undef KVN_NAME
    for (const kvnfloor::Step *step = kvnfloor::life; step->run != nullptr; ++step)
        if (step->entry != nullptr)
            called.emplace_back(step->entry);
    std::sort(entries.begin(), entries.end());
    std::sort(called.begin(), called.end());
    EXPECT_EQ(called, entries);
}

} // namespace
} // namespace kvntest
