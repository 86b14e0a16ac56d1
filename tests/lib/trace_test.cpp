/* The way of one record to its four sinks. */
#include "l3lifpd_kavelin_trace.h"

#include "tests/lib/bench.h"

namespace kvntest {
namespace {

struct Traced {
    Bench bench;

    /* The only record so far, whose line number the expectations need. */
    std::string line() const { return std::to_string(bench.records.at(0).line); }
};

void say_debug()
{
    l3lifpd_trace_debug("[%d]: port %d is up\n", __LINE__, 7);
}

void say_error()
{
    l3lifpd_trace_error("[%d]: port %d is down\n", __LINE__, 7);
}

/* Which sinks are on: bit 0 the debug file, bit 1 the event history, bit 2 buginf; bit 3 says
 * whether the record is an error, which is what lets it into the error store. */
class EverySinkCombination : public testing::TestWithParam<unsigned>, protected Traced {};

TEST_P(EverySinkCombination, GetsTheRecordInTheFixedOrder)
{
    const bool file = GetParam() & 1, history = GetParam() & 2, buginf = GetParam() & 4,
               error = GetParam() & 8;
    bench.set_sinks({file, history, buginf});
    error ? say_error() : say_debug();

    ASSERT_EQ(1u, bench.records.size());
    const std::string function = error ? "say_error" : "say_debug";
    const std::string message =
        "[" + line() + "]: port 7 is " + (error ? "down" : "up") + std::string("\n");
    const std::string level = error ? "102" : "104";
    EXPECT_EQ(function, bench.records[0].function);
    EXPECT_EQ(message, bench.records[0].text);

    Steps expected = "fwm_ds_trace_add " + quoted(message);
    if (error)
        expected = {expected, "fwm_ds_add " + quoted(message)};
    if (file)
        expected = {expected,
                    "dbg_out_file " + quoted(std::string(error ? "[NOW]ERR: " : "[NOW]DBG: ") +
                                             function + "(" + line() + "): " + message),
                    std::string("fwm_check_flush_dbg_out_file")};
    expected = {expected, "sdwrap_hist_event_subtype_check 0x730000 " + level};
    if (history)
        expected = {expected, "sdwrap_hist_event " + std::to_string(message.size() + 5) + " " +
                                  level + " " + quoted(message)};
    expected = {expected, "sdwrap_chk_int " + level + " 0 0 1"};
    if (buginf)
        expected = {expected, "buginf " + quoted(message)};
    EXPECT_TRUE(bench.sinks_saw(expected));
}

INSTANTIATE_TEST_SUITE_P(Trace, EverySinkCombination, testing::Range(0u, 16u));

class Trace : public testing::Test, protected Traced {};

TEST_F(Trace, WithoutADebugFileNothingIsWrittenOrFlushedAndTheOtherSinksRun)
{
    bench.set_sinks({false, true, true});
    say_error();
    EXPECT_EQ(nullptr, dbg_out_file);
    EXPECT_EQ(6u, bench.sink_calls.size());
    for (const std::string &call : bench.sink_calls)
        EXPECT_NE("fwm_check_flush_dbg_out_file", call);
}

TEST_F(Trace, ADebugRecordNeverReachesTheErrorStore)
{
    say_debug();
    EXPECT_EQ(debug_level, bench.records.at(0).level);
}

TEST_F(Trace, AnErrorRecordAlwaysReachesTheErrorStore)
{
    say_error();
    EXPECT_EQ(error_level, bench.records.at(0).level);
}

TEST_F(Trace, WithTheHistoryClosedTheDebugSwitchIsStillAsked)
{
    say_debug();
    EXPECT_EQ("sdwrap_hist_event_subtype_check 0x730000 104", bench.sink_calls.at(1));
    EXPECT_EQ("sdwrap_chk_int 104 0 0 1", bench.sink_calls.at(2));
}

TEST_F(Trace, NothingIsAllocatedWithAllSinksOn)
{
    bench.set_sinks({true, true, true});
    bench.give_context(bench.routed_port(0), 5, 6, 7);
    l3lifpd_kvn_get_intf_id_for_ifindex(0x10000);
    EXPECT_TRUE(bench.allocated.empty());
}

TEST_F(Trace, TheRecordCarriesTheLineOfItsOwnCallSite)
{
    const int here = __LINE__ + 1;
    l3lifpd_trace_debug("x");
    EXPECT_EQ(here, bench.records.at(0).line);
}

/* The history's record holds 511 characters and a NUL; the platform checks its text and length, and
 * that the other sinks get the whole message. */
struct Cut {
    size_t message, recorded;
};

void PrintTo(const Cut &row, std::ostream *out)
{
    *out << row.message;
}

class HistoryRecord : public testing::TestWithParam<Cut>, protected Traced {};

TEST_P(HistoryRecord, HoldsAtMost511CharactersAndTheOtherSinksGetAll)
{
    bench.set_sinks({true, true, true});
    const std::string message(GetParam().message, 'm');
    l3lifpd_trace_debug("%s", message.c_str());

    const std::string recorded(GetParam().recorded, 'm');
    EXPECT_TRUE(
        bench.sinks_saw({"fwm_ds_trace_add " + quoted(message),
                         "dbg_out_file " + quoted("[NOW]DBG: TestBody(" + line() + "): " + message),
                         std::string("fwm_check_flush_dbg_out_file"),
                         std::string("sdwrap_hist_event_subtype_check 0x730000 104"),
                         "sdwrap_hist_event " + std::to_string(GetParam().recorded + 5) + " 104 " +
                             quoted(recorded),
                         std::string("sdwrap_chk_int 104 0 0 1"), "buginf " + quoted(message)}));
}

INSTANTIATE_TEST_SUITE_P(Trace, HistoryRecord,
                         testing::Values(Cut{0, 0}, Cut{1, 1}, Cut{510, 510}, Cut{511, 511},
                                         Cut{512, 511}, Cut{600, 511}),
                         [](const auto &cut) { return std::to_string(cut.param.message); });

TEST_F(Trace, TheHistoryRecordIsLaidOutAsTheServiceReadsIt)
{
    static_assert(sizeof(sdwrap_hist_event_record) == 516);
    static_assert(offsetof(sdwrap_hist_event_record, level) == 0);
    static_assert(offsetof(sdwrap_hist_event_record, text) == 4);
}

/* ---- the assertion ---- */

/* One frame as "%p " prints it takes 19 characters at most on a 64-bit machine, 11 on a 32-bit. */
class Assertion : public testing::Test {
protected:
    Bench bench;
    Interface &orphan = bench.sub_interface(bench.routed_port(0));
};

TEST_F(Assertion, RecordsTheConditionAndAborts)
{
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&orphan, 100, 1); }));
    const Journal &journal = bench.journal;
    ASSERT_GE(journal.size(), 4u);
    EXPECT_TRUE(same_journal(
        Journal(journal.end() - 4, journal.end()),
        Steps{error("add_subint", "Parent interface's lid is invalid!\n"), call("backtrace(50)"),
              error("add_subint", "assert failure '%s'\n", "lid_id != 0xFFFF"), call("abort()")}));
}

TEST_F(Assertion, CopesWithMoreStackThanItsTextHolds)
{
    bench.stack.assign(50, reinterpret_cast<void *>(UINTPTR_MAX));
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&orphan, 100, 1); }));
    EXPECT_EQ("abort()", bench.journal.back());
}

TEST_F(Assertion, ReachesEverySinkBeforeItAborts)
{
    bench.set_sinks({true, true, true});
    EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&orphan, 100, 1); }));
    ASSERT_FALSE(bench.records.empty());
    EXPECT_EQ("assert failure 'lid_id != 0xFFFF'\n", bench.records.back().text);
    EXPECT_EQ(error_level, bench.records.back().level);
    EXPECT_EQ("buginf \"assert failure 'lid_id != 0xFFFF'\\n\"", bench.sink_calls.back());
    EXPECT_EQ("abort()", bench.journal.back());
}

using AssertionDeathTest = Assertion;

TEST_F(AssertionDeathTest, EndsTheProcessByTheAbortSignal)
{
    EXPECT_EXIT(
        {
            dbg_out_file = stderr;
            l3lifpd_kvn_add_subint(&orphan, 100, 1);
        },
        testing::KilledBySignal(SIGABRT),
        "Parent interface's lid is invalid!\n"
        "(.|\n)*assert failure 'lid_id != 0xFFFF'");
}

/* ---- the stack's addresses, for whoever opens the core file ---- */

class AddressesInTheCore : public Assertion {
protected:
    /* The text that lies on the stack when the condition has failed, up to its end. */
    testing::AssertionResult hold(const std::string &addresses)
    {
        EXPECT_TRUE(aborts([&] { l3lifpd_kvn_add_subint(&orphan, 100, 1); }));
        if (bench.stack_at_abort.find(addresses + '\0') != std::string::npos)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "no " << addresses;
    }
    void add(uintptr_t address) { bench.stack.push_back(reinterpret_cast<void *>(address)); }
};

TEST_F(AddressesInTheCore, StandInOrder)
{
    add(0x1234);
    add(0xabc);
    add(0x56);
    EXPECT_TRUE(hold("0x1234 0xabc 0x56 "));
}

/* Of the 500 characters that there are, each of the first ones takes so many that five are left. */
TEST_F(AddressesInTheCore, ThatDoNotFitAreLeftOutAndSmallerOnesAreNot)
{
    const bool wide = sizeof(void *) == 8;
    const uintptr_t address = static_cast<uintptr_t>(wide ? 0x7ffffffffff1 : 0xfffffff1);
    const int count = wide ? 33 : 45; /* of 15 and of 11 characters */
    std::string expected;
    for (int i = 0; i < count; ++i) {
        add(address);
        expected += wide ? "0x7ffffffffff1 " : "0xfffffff1 ";
    }
    add(address);
    add(0x123); /* one character too many */
    add(0x45);
    add(0x6);
    ASSERT_EQ(495u, expected.size());
    EXPECT_TRUE(hold(expected + "0x45 "));
}

} // namespace
} // namespace kvntest
