/* What the forked processes tell, against switches that are powered on for each failure and made to
 * fail by --fail's own rules. */
#include "sim/faults/fault_campaign.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <unistd.h>

#include <gmock/gmock.h>

#include "sim/service/services.h"
#include "tests/sim/state/leftovers.h"
#include "tests/sim/state/snapshot_fixture.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Configuration> examples(const std::vector<std::string> &names)
{
    std::vector<Configuration> all;
    for (const std::string &name : names)
        all.push_back(
            read_configuration(name, content_of(std::string(KVN_EXAMPLES) + "/" + name + ".json")));
    return all;
}

std::vector<Configuration> small_change()
{
    return examples({"small_change_before", "small_change_after"});
}

/* All results, by item. */
std::map<uint64_t, FaultRow> results(const std::vector<Configuration> &configurations,
                                     FaultOptions options = {})
{
    std::map<uint64_t, FaultRow> rows;
    FaultCampaign campaign(configurations, std::move(options));
    EXPECT_TRUE(campaign.run([&](FaultRow row) {
        const uint64_t item = row.item;
        EXPECT_TRUE(rows.emplace(item, std::move(row)).second) << item;
    }));
    return rows;
}

FaultOptions sample_of(uint64_t number, uint64_t seed)
{
    FaultOptions options;
    options.sample = number;
    options.seed = seed;
    return options;
}

/* ---- The same without forking ---- */

std::vector<std::string> words_of(const Snapshot &snapshot)
{
    std::vector<std::string> all;
    for (const AuditFinding &finding : audit(snapshot))
        all.push_back(finding.code + " " + finding.words);
    std::sort(all.begin(), all.end());
    return all;
}

/* What the switch does; the reason of what it does not names requests. */
std::vector<std::string> services_of(const Snapshot &snapshot, bool faults_only = false,
                                     bool with_reasons = false)
{
    std::vector<AuditFinding> findings = audit(snapshot);
    std::vector<std::string> all;
    for (const Service &one : services(snapshot, findings)) {
        if (!faults_only || one.is_fault())
            all.push_back(one.interface + " " + one.port + " " + one.family + " " + one.to + " " +
                          to_text(one.state) + (faults_only ? "" : " " + one.vrf) +
                          (with_reasons ? " " + one.reason : ""));
    }
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<std::string> texts(const std::vector<FaultFinding> &findings)
{
    std::vector<std::string> all;
    for (const FaultFinding &finding : findings)
        all.push_back(finding.code + " " + finding.words);
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<std::string> texts(const std::vector<FaultService> &lost)
{
    std::vector<std::string> all;
    for (const FaultService &one : lost)
        all.push_back(one.interface + " " + one.port + " " + one.family + " " + one.to + " " +
                      one.state + " " + one.reason);
    std::sort(all.begin(), all.end());
    return all;
}

/* A switch after the configurations up to this one, with these failures. */
class Straight {
public:
    Straight(const std::vector<Configuration> &configurations, const std::string &last,
             const std::vector<std::string> &faults)
    {
        Diagnostics::instance().reset();
        sw = std::make_unique<Switch>();
        for (const std::string &fault : faults)
            EXPECT_EQ(Journal::instance().faults.add(fault), "");
        leftovers = std::make_unique<Leftovers>();
        for (const Configuration &configuration : configurations) {
            wanted = configuration.desired;
            findings = configuration.findings;
            leftovers->aim(wanted);
            for (const Failure &failure : sw->apply(wanted).failures) {
                if (failure.request != nullptr)
                    requests[failure.request->number] = failure.request;
            }
            if (configuration.file == last)
                break;
        }
        EXPECT_THAT(Journal::instance().faults.unused(), IsEmpty());
        Journal::instance().faults.clear();
    }

    Snapshot snapshot() const { return capture(*sw, {}, findings); }
    void again() { sw->apply(wanted); }
    void tear_down()
    {
        findings.clear();
        sw->apply(Desired());
    }

    std::unique_ptr<Switch> sw;
    std::unique_ptr<Leftovers> leftovers;
    Desired wanted;
    std::vector<Finding> findings;
    std::map<uint64_t, RequestRef> requests; /* that failed */
};

std::vector<std::string> faults_of(const FaultRow &row)
{
    std::vector<std::string> all;
    for (const FaultPlace &place : row.places)
        all.push_back(place.fault);
    return all;
}

std::vector<std::string> brief(const std::vector<FaultFinding> &findings)
{
    std::vector<std::string> all;
    for (const FaultFinding &finding : findings) {
        const bool is_whole = finding.property.empty() ||
                              finding.kind == to_text(AuditKind::missing) ||
                              finding.kind == to_text(AuditKind::unwanted);
        all.push_back(finding.kind + " " + finding.object +
                      (is_whole ? "" : " " + finding.property));
    }
    std::sort(all.begin(), all.end());
    return all;
}

/* The configurations have no findings without failures. */
void expect_as_straight(const std::vector<Configuration> &configurations, const FaultRow &row)
{
    SCOPED_TRACE(testing::PrintToString(faults_of(row)));
    ASSERT_EQ(row.death, "");
    const FaultPlace &last = row.places.back();
    const Straight well(configurations, last.file, {});
    const std::vector<std::string> services_when_well = services_of(well.snapshot());
    ASSERT_THAT(words_of(well.snapshot()), IsEmpty());

    Straight one(configurations, last.file, faults_of(row));
    EXPECT_EQ(texts(row.left), words_of(one.snapshot()));
    EXPECT_EQ(texts(row.services), services_of(one.snapshot(), true, true));
    for (const FaultPlace &place : row.places) {
        const auto request = one.requests.find(place.request);
        ASSERT_NE(request, one.requests.end());
        EXPECT_EQ(place.entry, request->second->entry);
        EXPECT_EQ(place.requested, request->second->arguments.to_text());
        EXPECT_EQ(place.result, request->second->result);
        if (request->second->failed_calls == 1) {
            EXPECT_EQ(place.call, request->second->first_failure().name);
        }
        EXPECT_EQ(place.cause, request->second->cause.to_text());
    }
    EXPECT_EQ(brief(row.left), one.leftovers->findings(*one.sw));

    one.again();
    EXPECT_EQ(texts(row.left_again), words_of(one.snapshot()));
    EXPECT_EQ(texts(row.services_again), services_of(one.snapshot(), true, true));
    EXPECT_EQ(row.heals, words_of(one.snapshot()).empty() &&
                             services_of(one.snapshot()) == services_when_well);

    one.tear_down();
    EXPECT_EQ(texts(row.left_at_end), words_of(one.snapshot()));
    std::map<std::string, uint64_t> used, told;
    for (const TableUse &table : Asic::instance().rows<TableUse>()) {
        if (table.used != 0)
            used[std::string(table.name)] = table.used;
    }
    for (const FaultRemains &remains : row.asic_at_end)
        told[remains.table] = remains.rows;
    EXPECT_EQ(told, used);
}

std::vector<std::string> lines_of(const std::map<uint64_t, FaultRow> &rows)
{
    std::vector<std::string> all;
    for (const auto &[item, row] : rows)
        all.push_back(to_line(row));
    return all;
}

} // namespace

TEST(FaultCampaign, TellsOfEveryFailureWhatARunFromPowerOnGives)
{
    for (const auto &configurations : {examples({"svi_gateway"}), small_change()}) {
        const auto rows = results(configurations);
        EXPECT_GT(rows.size(), 70U);
        for (const auto &[item, row] : rows)
            expect_as_straight(configurations, row);
    }
}

TEST(FaultCampaign, TellsOfSomeFailuresOfOtherConfigurationsWhatARunFromPowerOnGives)
{
    for (const char *name : {"leaf", "routed_ports", "subinterfaces"}) {
        const auto configurations = examples({name, "empty"});
        const auto rows = results(configurations, sample_of(40, 11));
        EXPECT_EQ(rows.size(), 40U);
        for (const auto &[item, row] : rows)
            expect_as_straight(configurations, row);
    }
}

TEST(FaultCampaign, LeavesBehindNothingButWhatWasThereWithoutTheFailure)
{
    const auto configurations = examples({"portchannels"}); /* a row of it waits */
    for (const auto &[item, row] : results(configurations)) {
        for (const auto *findings : {&row.left, &row.left_again}) {
            for (const FaultFinding &finding : *findings)
                EXPECT_NE(finding.code, "KVN-C080") << to_line(row);
        }
        EXPECT_TRUE(!row.heals || row.left_again.empty()) << to_line(row);
    }
}

TEST(FaultCampaign, FailsEachOccurrenceOfEachCallOnce)
{
    class Count : public Observer {
    public:
        void call_made(const Call &call) override
        {
            if (call.what->can_fail())
                ++made[call.what->name()];
        }
        std::map<std::string, uint64_t> made;
    };
    const auto configurations = small_change();
    std::set<std::string> expected;
    {
        Switch sw;
        Count count;
        for (const Configuration &one : configurations)
            sw.apply(one.desired);
        for (const auto &[call, times] : count.made) {
            for (uint64_t occurrence = 1; occurrence <= times; ++occurrence)
                expected.insert(call + ":" + std::to_string(occurrence));
        }
    }
    std::set<std::string> calls, allocations;
    for (const auto &[item, row] : results(configurations)) {
        ASSERT_EQ(row.places.size(), 1U);
        const FaultPlace &place = row.places[0];
        EXPECT_TRUE((place.call == "malloc" ? allocations : calls).insert(place.fault).second);
    }
    EXPECT_EQ(calls, expected);

    /* One more allocation is not made. */
    for (uint64_t number = 1; number <= allocations.size() + 1; ++number) {
        const std::string fault = "malloc:" + std::to_string(number);
        Switch sw;
        ASSERT_EQ(Journal::instance().faults.add(fault), "");
        for (const Configuration &one : configurations)
            sw.apply(one.desired);
        EXPECT_EQ(Journal::instance().faults.unused().empty(), allocations.count(fault) != 0)
            << fault;
    }
}

TEST(FaultCampaign, CountsWhatItDoesNotTry)
{
    FaultOptions options = sample_of(5, 1);
    options.calls = {ImportedCall::find("libsdk_intf_create"), ImportedCall::find("sse_call2")};
    const FaultCampaign campaign(small_change(), options);
    const FaultCampaign all(small_change(), {});
    const FaultCount &count = campaign.count();
    EXPECT_EQ(count.items, 5U);
    EXPECT_EQ(count.items + count.unsampled + count.other_calls, all.count().items);
    EXPECT_THAT(count.no_call, ElementsAre("sse_call2"));
}

TEST(FaultCampaign, FailsWithTheGivenStatus)
{
    FaultOptions options;
    options.status = SDK_E_TIMEOUT;
    options.calls = {ImportedCall::find("libsdk_intf_create"), ImportedCall::find("malloc"),
                     ImportedCall::find("fwm_pm_sdb_store")};
    const auto configurations = examples({"svi_gateway"});
    std::set<std::string> ends;
    for (const auto &[item, row] : results(configurations, options)) {
        const std::string &fault = row.places[0].fault;
        ends.insert(row.places[0].call + (fault.find('=') != fault.npos
                                              ? fault.substr(fault.find('='))
                                              : std::string()));
        expect_as_straight(configurations, row);
    }
    EXPECT_THAT(ends,
                ElementsAre("fwm_pm_sdb_store=-8", "libsdk_intf_create=SDK_E_TIMEOUT", "malloc"));
}

TEST(FaultCampaign, GivesTheSameWithAnyNumberOfProcesses)
{
    FaultOptions one, many;
    one.jobs = 1;
    many.jobs = 7;
    EXPECT_EQ(lines_of(results(small_change(), one)), lines_of(results(small_change(), many)));
}

TEST(FaultCampaign, IsTheSumOfItsShares)
{
    for (const bool pairs : {false, true}) {
        FaultOptions options = sample_of(60, 3);
        options.pairs = pairs;
        const auto whole = results(small_change(), options);
        std::map<uint64_t, FaultRow> sum;
        for (uint32_t index = 1; index <= 3; ++index) {
            options.shard = {index, 3};
            const auto share = results(small_change(), options);
            EXPECT_EQ(share.size(), 20U);
            sum.insert(share.begin(), share.end());
        }
        EXPECT_EQ(lines_of(sum), lines_of(whole));
    }
}

TEST(FaultCampaign, TriesEachLaterCallAfterEachFailure)
{
    const auto configurations = examples({"svi_gateway"});
    FaultOptions options;
    options.pairs = true;
    options.calls = {ImportedCall::find("libsdk_intf_create"),
                     ImportedCall::find("libsdk_intf_router_mac_trap_create")};
    std::set<std::string> tried, expected;
    for (const auto &[item, row] : results(configurations, options)) {
        ASSERT_EQ(row.places.size(), 2U);
        tried.insert(row.places[0].fault + " " + row.places[1].fault);
        expect_as_straight(configurations, row);
    }
    /* By failing the first one from power-on, and counting what follows. */
    for (const ImportedCall *first : options.calls) {
        for (uint64_t occurrence = 1;; ++occurrence) {
            const std::string fault = Faults::text(*first, occurrence, Faults::usual_status);
            Switch sw;
            std::map<const ImportedCall *, uint64_t> made;
            ASSERT_EQ(Journal::instance().faults.add(fault), "");
            bool struck = false;
            class See : public Observer {
            public:
                explicit See(std::function<void(const Call &)> see) : see_(std::move(see)) {}
                void call_made(const Call &call) override { see_(call); }

            private:
                const std::function<void(const Call &)> see_;
            };
            const See see([&](const Call &call) {
                if (std::find(options.calls.begin(), options.calls.end(), call.what) ==
                    options.calls.end())
                    return;
                const uint64_t number = ++made[call.what];
                if (struck)
                    expected.insert(fault + " " +
                                    Faults::text(*call.what, number, Faults::usual_status));
                struck |= call.injected;
            });
            sw.apply(configurations[0].desired);
            if (!struck)
                break;
        }
    }
    EXPECT_GT(tried.size(), 20U);
    EXPECT_EQ(tried, expected);
}

TEST(FaultCampaign, TellsOfPairsWhatARunFromPowerOnGives)
{
    FaultOptions options = sample_of(30, 5);
    options.pairs = true;
    const auto configurations = small_change();
    const auto rows = results(configurations, options);
    EXPECT_EQ(rows.size(), 30U);
    for (const auto &[item, row] : rows)
        expect_as_straight(configurations, row);
}

TEST(FaultCampaign, TellsThatTheProcessDied)
{
    class Fatal : public Observer {
    public:
        void request_ends(const Request &request) override
        {
            if (::getpid() != parent_ && request.subject == "Vlan20" &&
                request.injected_failures != 0)
                std::raise(SIGKILL);
        }

    private:
        const pid_t parent_ = ::getpid();
    } const fatal;
    for (const bool pairs : {false, true}) {
        FaultOptions options = pairs ? sample_of(100, 2) : FaultOptions();
        options.pairs = pairs;
        uint64_t died = 0;
        for (const auto &[item, row] : results(small_change(), options)) {
            bool concerns = false;
            for (const FaultPlace &place : row.places)
                concerns |= place.requested.find("Vlan20") != std::string::npos;
            EXPECT_EQ(row.death, concerns ? "killed by signal 9 (Killed)" : "") << to_line(row);
            died += !row.death.empty();
        }
        EXPECT_GT(died, 0U);
    }
}

TEST(FaultCampaign, EndsWhenStopped)
{
    FaultOptions options;
    bool stop = false;
    options.stop = [&] { return stop; };
    FaultCampaign campaign(small_change(), options);
    uint64_t done = 0;
    EXPECT_FALSE(campaign.run([&](const FaultRow &) { stop = ++done >= 3; }));
    EXPECT_LT(done, campaign.count().items);
}

TEST(FaultCampaign, ComesUpWithFailuresOnRealConfigurations)
{
    if (sample_files().empty())
        GTEST_SKIP() << "KVN_SAMPLES names no folder of configurations";
    for (const std::filesystem::path &file : sample_files()) {
        const Configuration configuration = read_configuration(file.filename(), content_of(file));
        if (!configuration.is_understood)
            continue;
        for (const auto &[item, row] : results({configuration}, sample_of(12, 1))) {
            EXPECT_EQ(row.death, "") << file << " " << to_line(row);
            EXPECT_TRUE(!row.heals || row.left_again.empty()) << file << " " << to_line(row);
        }
    }
}

} // namespace kvnsim
