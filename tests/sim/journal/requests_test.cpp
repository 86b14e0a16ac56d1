/* What belongs to a request, and what it tells of its calls. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes.h"
#include "watcher.h"

using namespace kvnsim;
using testing::ElementsAre;

namespace {

class Requests : public testing::Test {
protected:
    Requests() { journal.reset(); }
    ~Requests() override { journal.reset(); }

    static std::shared_ptr<Request> request(const char *entry, const char *arguments = "")
    {
        auto made = std::make_shared<Request>();
        made->entry = entry;
        made->arguments = arguments;
        return made;
    }
    Journal &journal = Journal::instance();
};

} // namespace

TEST_F(Requests, AreNumberedInTheOrderMade)
{
    journal.begin(request("first"));
    EXPECT_EQ(journal.end(0)->number, 1u);
    journal.begin(request("second"));
    EXPECT_EQ(journal.current()->number, 2u);
    EXPECT_EQ(journal.end(0)->number, 2u);
    EXPECT_EQ(journal.current(), nullptr);
    EXPECT_EQ(journal.requests_made(), 2u);
}

TEST_F(Requests, KeepTheirResultAndTasksOfTheHostHaveNone)
{
    journal.begin(request("l3lifpd_kvn_add_svi"));
    EXPECT_EQ(journal.end(-1)->result, -1);
    journal.begin(request("host release"));
    EXPECT_EQ(journal.end(std::nullopt)->result, std::nullopt);
}

TEST_F(Requests, CountFailedCallsAndKeepTheFirst)
{
    ASSERT_EQ(journal.faults.add("fake_host_call:2=4"), "");
    uint32_t doubled = 0;
    journal.begin(request("l3lifpd_kvn_add_svi"));
    call_host();
    call_named(1, &doubled, -5);
    call_host();
    call_question(1);
    const RequestRef made = journal.end(0);
    EXPECT_EQ(made->failed_calls, 2u);
    EXPECT_EQ(made->injected_failures, 1u);
    EXPECT_EQ(made->first_failure().words, "fake_named_call: FAKE_E_FULL (-5)");
    EXPECT_EQ(made->first_failure().reason, "not today");
}

TEST_F(Requests, KnowThoseThatTheReasonOfTheirFirstFailureNames)
{
    journal.begin(request("l3lifpd_kvn_add_subint"));
    const RequestRef holder = journal.end(0);
    const auto refuse = [&] {
        return fake_named_call({}, [&] {
            journal.note("held by an interface", {holder});
            return -4;
        });
    };
    journal.begin(request("l3lifpd_kvn_del_l3port"));
    refuse();
    call_host(3);
    const RequestRef refused = journal.end(-1);
    EXPECT_EQ(refused->first_failure().reason, "held by an interface");
    EXPECT_THAT(refused->first_failure().named, ElementsAre(holder));
}

TEST_F(Requests, DoNotTakeThoseThatAnotherCallNamed)
{
    journal.begin(request("l3lifpd_kvn_add_subint"));
    const RequestRef holder = journal.end(0);
    journal.begin(request("l3lifpd_kvn_del_l3port"));
    fake_named_call({}, [&] {
        journal.note("held by an interface, but not for long", {holder});
        return 0;
    });
    call_host(3);
    const RequestRef failed = journal.end(-1);
    EXPECT_EQ(failed->first_failure().reason, "");
    EXPECT_THAT(failed->first_failure().named, testing::IsEmpty());
}

TEST_F(Requests, TellAHostsStatusAsANumber)
{
    journal.begin(request("l3lifpd_kvn_add_svi"));
    call_host(7);
    const RequestRef made = journal.end(0);
    EXPECT_EQ(made->first_failure().words, "fake_host_call: 7");
    EXPECT_EQ(made->first_failure().reason, "");
}

TEST_F(Requests, SayThatAFailureWasInjected)
{
    ASSERT_EQ(journal.faults.add("fake_named_call=9"), "");
    uint32_t doubled = 0;
    journal.begin(request("l3lifpd_kvn_add_svi"));
    call_named(1, &doubled);
    const RequestRef made = journal.end(0);
    EXPECT_EQ(made->first_failure().words, "fake_named_call: 9");
    EXPECT_EQ(made->first_failure().reason, "injected");
}

TEST_F(Requests, NameTheOriginOfWhatIsMadeInThem)
{
    Origin origin;
    journal.begin(request("l3lifpd_kvn_add_l3port", "l3lif=Ethernet0 create=1"));
    fake_host_call({}, [&] {
        origin = Origin::now();
        return 0;
    });
    const Origin host = Origin::now();
    journal.end(0);
    EXPECT_EQ(origin.to_text(),
              "fake_host_call in request 1 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)");
    EXPECT_EQ(host.to_text(), "request 1 l3lifpd_kvn_add_l3port(l3lif=Ethernet0 create=1)");
    EXPECT_EQ(Origin::now().to_text(), "made before any request");
}

TEST_F(Requests, AreSeenWithTheirCallsAndTracesInOrder)
{
    Watcher watcher;
    journal.begin(request("l3lifpd_kvn_add_svi"));
    journal.trace({104, "l3lifpd_kvn_add_svi", 12, "Entered.\n"});
    call_host();
    journal.end(0);
    EXPECT_THAT(watcher.events,
                ElementsAre("begin 1", "trace Entered.\n", "fake_host_call", "end 1"));
}

TEST_F(Requests, AreForgottenByAReset)
{
    ASSERT_EQ(journal.faults.add("fake_host_call"), "");
    journal.begin(request("l3lifpd_kvn_add_svi"));
    call_host();
    journal.reset();
    EXPECT_EQ(journal.current(), nullptr);
    EXPECT_EQ(journal.requests_made(), 0u);
    EXPECT_EQ(journal.calls_made, 0u);
    EXPECT_EQ(call_host(), 0) << "the fault is gone";
}
