/* One imported call: made, failed in its place, answered in its place, seen. */
#include <algorithm>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes.h"
#include "watcher.h"

using namespace kvnsim;
using testing::ElementsAre;

namespace {

class Calls : public testing::Test {
protected:
    Calls() { journal.reset(); }
    ~Calls() override
    {
        journal.reset();
        journal.answers = nullptr;
    }
    Journal &journal = Journal::instance();
};

/* A pointer result: its body runs in any case. */
struct Thing {
    uint32_t number;
};
const ImportedCall find_thing{"fake_find_thing", Result::value, Purpose::asks};

/* Answers from a list by name; outputs get 99. */
class Scripted : public Answers {
public:
    std::optional<int64_t> answer(const ImportedCall &call,
                                  std::initializer_list<Argument> arguments,
                                  bool body_runs) override
    {
        asked.push_back(std::string(call.name()) + (body_runs ? " (compare)" : ""));
        const auto at = results.find(call.name());
        if (at == results.end())
            return std::nullopt;
        for (const Argument &argument : arguments) {
            if (argument.is_output)
                argument.codec->write(argument.data, Value::integer(99));
        }
        return at->second;
    }
    std::map<std::string, int64_t> results;
    std::vector<std::string> asked;
};

} // namespace

namespace kvnsim {
template <> const Codec &codec<Thing *>()
{
    static const Codec by_number{[](const void *data) {
                                     const Thing *thing = *static_cast<Thing *const *>(data);
                                     return thing ? Value::integer(thing->number) : Value();
                                 },
                                 nullptr};
    return by_number;
}
} // namespace kvnsim

TEST_F(Calls, RunTheirBodyAndCount)
{
    uint32_t doubled = 0;
    EXPECT_EQ(call_named(4, &doubled), 0);
    EXPECT_EQ(doubled, 8u);
    EXPECT_EQ(call_named(4, &doubled, 7), 7);
    EXPECT_EQ(call_question(12), 12u);
    EXPECT_EQ(journal.calls_made, 3u);
}

TEST_F(Calls, AreKnownByNameFromTheStart)
{
    EXPECT_EQ(ImportedCall::find("fake_named_call"), &fake_named_call);
    EXPECT_EQ(ImportedCall::find("fake_named_cal"), nullptr);
    EXPECT_EQ(ImportedCall::find(""), nullptr);
    const auto &all = ImportedCall::all();
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](auto *a, auto *b) {
        return std::string(a->name()) < b->name();
    }));
    EXPECT_EQ(std::count(all.begin(), all.end(), &fake_question), 1);
}

TEST_F(Calls, AreSeenWithTheirArgumentsAndResult)
{
    Watcher watcher;
    uint32_t doubled = 1;
    call_named(4, &doubled);
    ASSERT_EQ(watcher.calls.size(), 1u);
    const Call &call = watcher.calls[0];
    EXPECT_EQ(call.what, &fake_named_call);
    EXPECT_THAT(call.inputs, ElementsAre(Field{"asked", Value::integer(4)}));
    EXPECT_THAT(call.outputs, ElementsAre(Field{"doubled", Value::integer(8)}));
    EXPECT_EQ(call.result, Value::integer(0));
    EXPECT_FALSE(call.failed);
    EXPECT_FALSE(call.injected);
}

TEST_F(Calls, ShowAFailureWithStatusNameAndReasonAndNoOutputs)
{
    Watcher watcher;
    uint32_t doubled = 1;
    call_named(4, &doubled, -5);
    call_host(3);
    ASSERT_EQ(watcher.calls.size(), 2u);
    EXPECT_TRUE(watcher.calls[0].failed);
    EXPECT_EQ(watcher.calls[0].result.to_text(), "FAKE_E_FULL (-5)");
    EXPECT_EQ(watcher.calls[0].note, "not today");
    EXPECT_TRUE(watcher.calls[0].outputs.empty());
    EXPECT_TRUE(watcher.calls[1].failed);
    EXPECT_EQ(watcher.calls[1].result.to_text(), "3");
    EXPECT_EQ(watcher.calls[1].note, "");
}

TEST_F(Calls, OfAQuestionNeverFail)
{
    Watcher watcher;
    call_question(5);
    EXPECT_FALSE(watcher.calls.at(0).failed);
}

TEST_F(Calls, ShowWhatARecordHeldBeforeAndAfter)
{
    static const ImportedCall ask_in_place{"fake_ask_in_place", Result::value, Purpose::asks};
    Watcher watcher;
    uint32_t word = 3;
    ask_in_place({in_record("word", &word), out("word", &word)}, [&] { return word = 30; });
    EXPECT_THAT(watcher.calls.at(0).inputs, ElementsAre(Field{"word", Value::integer(3)}));
    EXPECT_THAT(watcher.calls.at(0).outputs, ElementsAre(Field{"word", Value::integer(30)}));
}

TEST_F(Calls, ShowANullPointerAsNone)
{
    Watcher watcher;
    fake_question({in_record<uint32_t>("from", nullptr), out<uint32_t>("to", nullptr)},
                  [] { return 0; });
    EXPECT_EQ(watcher.calls.at(0).inputs.at(0).value, Value());
    EXPECT_EQ(watcher.calls.at(0).outputs.at(0).value, Value());
}

TEST_F(Calls, WithinACallEndBeforeIt)
{
    Watcher watcher;
    Origin inner, outer;
    fake_host_call({}, [&] {
        call_question(1);
        outer = Origin::now();
        return 0;
    });
    fake_question({}, [&] {
        inner = Origin::now();
        return 0;
    });
    EXPECT_THAT(watcher.events, ElementsAre("fake_question", "fake_host_call", "fake_question"));
    EXPECT_STREQ(outer.call, "fake_host_call");
    EXPECT_STREQ(inner.call, "fake_question");
    EXPECT_STREQ(Origin::now().call, "");
}

TEST_F(Calls, MadeToFailDoNothing)
{
    ASSERT_EQ(journal.faults.add("fake_named_call=FAKE_E_FULL"), "");
    Watcher watcher;
    uint32_t doubled = 1;
    EXPECT_EQ(call_named(4, &doubled), -5);
    EXPECT_EQ(doubled, 1u);
    EXPECT_TRUE(watcher.calls.at(0).failed);
    EXPECT_TRUE(watcher.calls.at(0).injected);
    EXPECT_EQ(watcher.calls.at(0).note, "injected");
}

TEST_F(Calls, AreAnsweredInPlaceOfTheirBody)
{
    Scripted script;
    script.results["fake_named_call"] = 0;
    journal.answers = &script;
    uint32_t doubled = 1;
    EXPECT_EQ(call_named(4, &doubled, -5), 0);
    EXPECT_EQ(doubled, 99u);
    EXPECT_EQ(call_host(3), 3) << "no answer: the body runs";
    EXPECT_THAT(script.asked, ElementsAre("fake_named_call", "fake_host_call"));
}

TEST_F(Calls, WithAPointerResultAlwaysRunTheirBody)
{
    Scripted script;
    script.results["fake_find_thing"] = 0;
    journal.answers = &script;
    Watcher watcher;
    Thing thing{17};
    EXPECT_EQ(find_thing({}, [&] { return &thing; }), &thing);
    EXPECT_THAT(script.asked, ElementsAre("fake_find_thing (compare)"));
    EXPECT_EQ(watcher.calls.at(0).result, Value::integer(17));
    EXPECT_FALSE(watcher.calls.at(0).failed);
}

TEST_F(Calls, AreUnseenByAnObserverThatLeft)
{
    Watcher stays;
    {
        Watcher leaves;
        EXPECT_TRUE(journal.observed());
    }
    call_question(1);
    EXPECT_EQ(stays.calls.size(), 1u);
}

TEST_F(Calls, OfMemoryAreSeenOnlyWhenTheyFail)
{
    Watcher watcher;
    journal.begin(std::make_shared<Request>());
    EXPECT_FALSE(fake_memory.fails());
    EXPECT_EQ(journal.calls_made, 0u);
    ASSERT_EQ(journal.faults.add("fake_memory:2"), "");
    EXPECT_FALSE(fake_memory.fails());
    EXPECT_TRUE(fake_memory.fails());
    EXPECT_FALSE(fake_memory.fails());
    EXPECT_EQ(journal.calls_made, 1u);
    const RequestRef request = journal.end(-1);
    EXPECT_EQ(request->first_failure().words, "fake_memory: no memory");
    EXPECT_EQ(request->injected_failures, 1u);
    ASSERT_EQ(watcher.calls.size(), 1u);
    EXPECT_TRUE(watcher.calls[0].failed);
    EXPECT_EQ(watcher.calls[0].result.to_text(), "no memory");
}

TEST_F(Calls, OfMemoryFailWhereAReplaySaysSo)
{
    Scripted scripted;
    journal.answers = &scripted;
    EXPECT_FALSE(fake_memory.fails());
    scripted.results["fake_memory"] = -1;
    EXPECT_TRUE(fake_memory.fails());
}
