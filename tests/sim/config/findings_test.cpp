#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sim/config/contradictions.h"
#include "tests/sim/config/finding_cases.h"
#include "tests/sim/config/read.h"

namespace kvnsim::test {
namespace {

class Findings : public testing::TestWithParam<FindingCase> {};

TEST_P(Findings, AreExactlyThese)
{
    const Configuration configuration = read("{\n" + std::string(GetParam().tables) + "\n}");
    EXPECT_THAT(findings(configuration), testing::ElementsAreArray(GetParam().findings));
    EXPECT_THAT(contradictions(configuration.desired), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Rules, Findings, testing::ValuesIn(finding_cases()),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST(Findings, AreInTheOrderOfTheirPlaces)
{
    EXPECT_THAT(
        findings(read_tables(R"("INTERFACE": {"Ethernet9": {}},
"PORT": {"Ethernet0": {"mtu": "1"}, "Ethernet1": {"mtu": 7}})")),
        testing::ElementsAre("1:16: INTERFACE|Ethernet9: Ethernet9 has no row in PORT",
                             "2:31: PORT|Ethernet0: mtu is \"1\": expected a number 68..9216",
                             "2:58: PORT|Ethernet1: mtu is \"7\": expected a number 68..9216"));
}

TEST(Findings, AreOneLineEachWhateverTheFileHolds)
{
    const Configuration configuration =
        read_tables(R"("PORT": {"Ether\nnet0": {}, "Ethernet1": {"mtu": "1\n2"}})");
    EXPECT_THAT(findings(configuration),
                testing::ElementsAre(
                    "1:11: PORT|Ether\\x0anet0: \"Ether\\x0anet0\": expected EthernetN or "
                    "Ethernet-XXN, N 0..9999 without leading zeros",
                    "1:51: PORT|Ethernet1: mtu is \"1\\x0a2\": expected a number 68..9216"));
}

TEST(Findings, NameTheFileOfBothPlaces)
{
    const Configuration configuration = read("{\"VRF\": {\"Vrf1\": {}, \"Vrf1\": {}}}");
    ASSERT_EQ(configuration.findings.size(), 1u);
    EXPECT_EQ(configuration.findings[0].to_text(),
              "c.json:1:22: VRF|Vrf1: warning: the row is there twice: the last one counts (see "
              "c.json:1:10: VRF|Vrf1) [KVN-C007]");
}

TEST(Findings, OfMoreThan255PortsAreAboutEachThatIsLeftOut)
{
    std::string ports, routed;
    for (int i = 0; i < 257; ++i) {
        const std::string row = "\"Ethernet" + std::to_string(i) + "\": {}";
        ports += (i ? ",\n" : "") + row;
        if (i > 252)
            routed += (routed.empty() ? "" : ",") + row;
    }
    const Configuration configuration =
        read_tables("\"PORT\": {" + ports + "},\n\"INTERFACE\": {" + routed + "}");
    EXPECT_EQ(configuration.desired.ports.size(), 255u);
    EXPECT_EQ(configuration.desired.routed_ports.size(), 2u);
    EXPECT_THAT(findings(configuration),
                testing::ElementsAre(
                    "256:1: PORT|Ethernet255: warning: left out: Ethernet255 is beyond the "
                    "255 ports of a switch",
                    "257:1: PORT|Ethernet256: warning: left out: Ethernet256 is beyond the "
                    "255 ports of a switch",
                    "258:51: INTERFACE|Ethernet255: warning: left out, because "
                    "PORT|Ethernet255 is (see 256:1: PORT|Ethernet255)",
                    "258:69: INTERFACE|Ethernet256: warning: left out, because "
                    "PORT|Ethernet256 is (see 257:1: PORT|Ethernet256)"));
}

} // namespace
} // namespace kvnsim::test
