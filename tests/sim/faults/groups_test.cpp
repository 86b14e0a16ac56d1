/* Failures put together by what they have in common. */
#include "sim/faults/fault_groups.h"

#include <gmock/gmock.h>

#include "sim/config/configuration.h"
#include "sim/faults/fault_campaign.h"
#include "tests/sim/files.h"

namespace kvnsim {
namespace {

using testing::ElementsAre;

/* A failure that leaves this many services of an interface lost. */
FaultRow row(const std::string &call, const std::string &code, bool heals, size_t services,
             const std::string &interface = "Ethernet0")
{
    FaultRow row;
    FaultPlace &place = row.places.emplace_back();
    place.fault = call + ":1";
    place.call = call;
    place.entry = "l3lifpd_kvn_add_l3port";
    place.result = -1;
    if (!code.empty())
        row.left.push_back({"orphan", code, "SDK interface 1", "", "", ""});
    row.heals = heals;
    row.services.resize(services);
    for (FaultService &service : row.services)
        service.interface = interface;
    if (!heals)
        row.services_again = row.services;
    return row;
}

std::vector<std::string> in_words(const std::vector<FaultRow> &rows)
{
    std::vector<std::string> all;
    for (const FaultGroup &group : groups_of(rows))
        all.push_back(group.call[0] + " " + to_text(group.heals) + " " +
                      std::to_string(group.places) + " " + std::to_string(group.services));
    return all;
}

} // namespace

TEST(FaultGroups, HoldFailuresWithTheSameConsequences)
{
    EXPECT_THAT(in_words({row("a", "KVN-A001", false, 2), row("a", "KVN-A001", false, 3),
                          row("a", "KVN-A002", false, 1)}),
                ElementsAre("a no 2 5", "a no 1 1"));
}

TEST(FaultGroups, TellTheWritesOfDifferentAttributesApart)
{
    FaultRow lid = row("a", "", true, 0), mtu = lid;
    lid.places[0].attribute = "SdkIntfAttrLid";
    mtu.places[0].attribute = "SdkIntfAttrMtuIdx";
    EXPECT_THAT(in_words({lid, mtu, lid}),
                ElementsAre("a SdkIntfAttrLid yes 2 0", "a SdkIntfAttrMtuIdx yes 1 0"));
}

TEST(FaultGroups, BeginWithWhatCostsMost)
{
    FaultRow dead = row("d", "", false, 0);
    dead.death = "killed by signal 6 (Aborted)";
    EXPECT_THAT(in_words({row("a", "", true, 50), row("b", "KVN-A001", false, 1),
                          row("c", "KVN-A001", false, 2), dead, row("e", "", true, 0)}),
                ElementsAre("d died 1 0", "c no 1 2", "b no 1 1", "a yes 1 50", "e yes 1 0"));
}

TEST(FaultGroups, TellHowManyInterfacesOneFailureConcerns)
{
    FaultRow two = row("a", "", true, 1, "Ethernet4");
    two.services.push_back({"Ethernet8", "", "", "", "", ""});
    const auto groups = groups_of({row("a", "", true, 3), two});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(groups[0].interfaces, 2U);
    EXPECT_EQ(groups[0].services, 5U);
    EXPECT_EQ(groups[0].example, "--fail a:1");
}

TEST(FaultGroups, SumUpToTheSingleFailures)
{
    const std::string file = std::string(KVN_EXAMPLES) + "/leaf.json";
    const std::vector<Configuration> leaf{read_configuration(file, content_of(file))};
    std::vector<FaultRow> rows;
    FaultCampaign(leaf, {}).run([&](FaultRow one) { rows.push_back(std::move(one)); });
    uint64_t services = 0, again = 0;
    for (const FaultRow &one : rows) {
        services += one.services.size();
        again += one.services_again.size();
    }
    uint64_t places = 0, heal = 0;
    for (const FaultGroup &group : groups_of(rows)) {
        places += group.places;
        heal += group.heals == Healing::yes ? group.places : 0;
        services -= group.services;
        again -= group.services_again;
    }
    EXPECT_EQ(places, rows.size());
    EXPECT_EQ(services, 0U);
    EXPECT_EQ(again, 0U);
    const FaultSummary summary = summary_of(rows);
    EXPECT_EQ(summary.tried, rows.size());
    EXPECT_EQ(summary.heal, heal);
    EXPECT_EQ(summary.heal + summary.do_not_heal, summary.tried);
    EXPECT_EQ(summary.die, 0U);
}

} // namespace kvnsim
