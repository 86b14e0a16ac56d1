#include "sim/config/document.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/sim/config/read.h"

namespace kvnsim {
namespace {

using test::findings;
using test::read;
using testing::ElementsAre;
using testing::IsEmpty;

struct At {
    uint32_t line, column;
};
bool operator==(At a, At b)
{
    return a.line == b.line && a.column == b.column;
}
std::ostream &operator<<(std::ostream &out, At at)
{
    return out << at.line << ":" << at.column;
}
At at(Position position)
{
    return {position.line, position.column};
}

Document read_sound(const std::string &text)
{
    std::vector<Finding> found;
    Document document = read_document(
        "c.json", text, [](std::string_view) { return true; }, found);
    for (const Finding &finding : found)
        ADD_FAILURE() << finding.to_text();
    return document;
}

TEST(Document, KnowsWhereEachTokenStands)
{
    const Document document = read_sound("{\n"
                                         "  \"PORT\" : {\n"
                                         "\t\"Ethernet0\": { \"mtu\":\"9100\", \"n\" : -1.5e3,\n"
                                         "      \"list\": [\"a\", {\"b\": [1]}], \"ok\": true\n"
                                         "    } , \"Ethernet1\" :{}}, \"VRF\":{}\n"
                                         "}\n");
    ASSERT_EQ(document.tables.size(), 2u);
    const DocumentTable &port = document.tables[0];
    EXPECT_EQ(port.name, "PORT");
    EXPECT_EQ(at(port.at), (At{2, 3}));
    EXPECT_EQ(at(document.tables[1].at), (At{5, 27}));
    ASSERT_EQ(port.entries.size(), 2u);
    EXPECT_EQ(at(port.entries[0].at), (At{3, 2}));
    EXPECT_EQ(at(port.entries[1].at), (At{5, 9}));
    const auto &fields = port.entries[0].entries;
    ASSERT_EQ(fields.size(), 4u);
    EXPECT_EQ(at(fields[0].at), (At{3, 17}));
    EXPECT_EQ(at(fields[0].value_at), (At{3, 23}));
    EXPECT_EQ(fields[0].text, "9100");
    EXPECT_EQ(at(fields[1].at), (At{3, 31}));
    EXPECT_EQ(at(fields[1].value_at), (At{3, 37}));
    EXPECT_EQ(fields[1].text, "-1.5e3");
    EXPECT_EQ(fields[1].kind, ValueKind::number);
    EXPECT_EQ(at(fields[2].value_at), (At{4, 15}));
    EXPECT_EQ(fields[2].kind, ValueKind::list);
    EXPECT_EQ(at(fields[3].at), (At{4, 34}));
    EXPECT_EQ(at(fields[3].value_at), (At{4, 40}));
    EXPECT_EQ(fields[3].kind, ValueKind::boolean);
}

TEST(Document, KnowsWhereTokensStandBehindEscapes)
{
    const std::string text =
        R"({"T": {"\u0041\"\\": {"\/q": null, "b" : false, "c": [-7 , "\/"], "d": "\t", "e": 1}}})";
    const Document document = read_sound(text);
    const auto place = [&](const char *token) {
        return At{1, static_cast<uint32_t>(text.find(token) + 1)};
    };
    const DocumentRow &row = document.tables[0].entries[0];
    EXPECT_EQ(row.name, "A\"\\");
    EXPECT_EQ(at(row.value_at), place(R"({"\/q")"));
    ASSERT_EQ(row.entries.size(), 5u);
    EXPECT_EQ(row.entries[0].name, "/q");
    EXPECT_EQ(at(row.entries[0].value_at), place("null"));
    EXPECT_EQ(at(row.entries[1].value_at), place("false"));
    EXPECT_EQ(at(row.entries[2].value_at), place("["));
    EXPECT_EQ(row.entries[2].entries[0].text, "-7");
    EXPECT_EQ(at(row.entries[2].entries[0].value_at), place("-7"));
    EXPECT_EQ(row.entries[2].entries[1].text, "/");
    EXPECT_EQ(at(row.entries[2].entries[1].value_at), place(R"("\/")"));
    EXPECT_EQ(row.entries[3].text, "\t");
    EXPECT_EQ(at(row.entries[3].value_at), place(R"("\t")"));
    EXPECT_EQ(at(row.entries[4].at), place(R"("e")"));
    EXPECT_EQ(row.entries[4].text, "1");
}

TEST(Document, CountsCharactersNotBytes)
{
    const Document document =
        read_sound("{\"T\": {\"gr\xc3\xbc\xc3\x9f\xe2\x82\xac\": {\"a\": \"b\"}}}");
    EXPECT_EQ(at(document.tables[0].entries[0].entries[0].value_at), (At{1, 23}));
}

TEST(Document, PassesOverAByteOrderMarkAndCarriageReturns)
{
    const Document document = read_sound("\xef\xbb\xbf{\r\n \"PORT\": {\r\n}}\r\n");
    ASSERT_EQ(document.tables.size(), 1u);
    EXPECT_EQ(at(document.tables[0].at), (At{2, 2}));
}

struct SyntaxCase {
    const char *name, *text, *finding;
};
class Syntax : public testing::TestWithParam<SyntaxCase> {};

TEST_P(Syntax, IsToldWithPlaceAndWhatWasExpected)
{
    const Configuration configuration = read(GetParam().text);
    EXPECT_THAT(findings(configuration), ElementsAre(GetParam().finding));
    EXPECT_TRUE(configuration.desired.ports.empty()) << "nothing is known of a file cut short";
}

INSTANTIATE_TEST_SUITE_P(
    Errors, Syntax,
    testing::Values(
        SyntaxCase{"EmptyFile", "",
                   "1:1: the file is empty: expected an object of tables, {} for none"},
        SyntaxCase{"BlankFile", "\n  \n",
                   "3:1: the file is empty: expected an object of tables, {} for none"},
        SyntaxCase{"NoObject", " [1, {\"PORT\": {}}]",
                   "1:2: found a list: expected an object of tables"},
        SyntaxCase{"TrailingComma", "{\"PORT\": {\"Ethernet0\": {},\n}}",
                   "2:1: PORT: there is a comma before '}': expected none after the last entry"},
        SyntaxCase{
            "TrailingCommaInAList", "{\"PORT\": {\"Ethernet0\": {\"a\": [\"1\", ]}}}",
            "1:36: PORT|Ethernet0: there is a comma before ']': expected none after the last "
            "entry"},
        SyntaxCase{"LineComment", "{ // ports\n\"PORT\": {}}",
                   "1:3: comments are not allowed in JSON"},
        SyntaxCase{"BlockComment", "{\"PORT\": /* none */ {}}",
                   "1:10: comments are not allowed in JSON"},
        SyntaxCase{"HashComment", "# ports\n{}", "1:1: comments are not allowed in JSON"},
        SyntaxCase{"MissingComma", "{\"PORT\": {\"Ethernet0\": {}\n\"Ethernet1\": {}}}",
                   "2:1: PORT: expected ',' or '}', found \"\"\""},
        SyntaxCase{"MissingColon", "{\"PORT\" {}}",
                   "1:9: expected ':' after the name, found \"{\""},
        SyntaxCase{"SingleQuotes", "{'PORT': {}}",
                   "1:2: expected a name in double quotes, found \"'\""},
        SyntaxCase{"BareWord", "{\"PORT\": {\"Ethernet0\": {\"mtu\": nine}}}",
                   "1:33: PORT|Ethernet0: expected a value, found \"i\""},
        SyntaxCase{
            "CutShort", "{\"PORT\": {\"Ethernet0\": {",
            "1:25: PORT|Ethernet0: expected a name in double quotes, found the end of the file"},
        SyntaxCase{"CutShortInAString", "{\"PORT\": {\"Ethernet0\": {\"mtu\": \"91",
                   "1:35: PORT|Ethernet0: expected '\"' at the end of the string, found the end of "
                   "the file"},
        SyntaxCase{
            "LineBreakInAString", "{\"PORT\": {\"Ether\nnet0\": {}}}",
            "1:17: PORT: expected '\"' at the end of the string, found the control character "
            "\"\\x0a\""},
        SyntaxCase{"NotUtf8", "{\"PORT\": {\"Ethernet0\": {\"alias\": \"gr\xfc\"}}}",
                   "1:37: PORT|Ethernet0: expected UTF-8 in a string, found the byte 0xfc"},
        SyntaxCase{"HugeNumber", "{\"T\": {\"r\": {\"n\": 1e99999}}}",
                   "1:19: T|r: expected a smaller number"},
        SyntaxCase{"CutShortInANumber", "{\"T\": {\"r\": {\"n\": 1.x}}}",
                   "1:21: T|r: expected a digit, found \"x\""},
        SyntaxCase{"WrongEscape", "{\"a\\q\": {}}",
                   "1:4: expected one of \" \\ / b f n r t u after '\\' in a string"},
        SyntaxCase{"SomethingAfterTheEnd", "{}\n{}",
                   "2:1: expected the end of the file, found \"{\""},
        SyntaxCase{"WrongBracket", "{\"PORT\": {]}",
                   "1:11: PORT: expected a name in double quotes, found \"]\""}),
    [](const auto &tested) { return tested.param.name; });

TEST(Document, RefusesNulBytes)
{
    const Configuration configuration = read(std::string("{\"PORT\": {}}\0", 13));
    EXPECT_THAT(findings(configuration),
                ElementsAre("1:13: there is a NUL byte: expected UTF-8 text"));
}

TEST(Document, RefusesNestingDeeperThan64Levels)
{
    const auto nested = [](size_t levels) {
        return "{\"PORT\": {}, \"T\": " + std::string(levels - 1, '[') +
               std::string(levels - 1, ']') + "}";
    };
    EXPECT_FALSE(read(nested(64)).has_errors());
    EXPECT_THAT(findings(read(nested(65))), ElementsAre("1:82: T: nested deeper than 64 levels"));
    EXPECT_TRUE(read(nested(1000000)).has_errors());
    EXPECT_TRUE(read(std::string(1000000, '{')).has_errors());
}

TEST(Document, AcceptsAnEmptyObject)
{
    const Configuration configuration = read("{}");
    EXPECT_THAT(findings(configuration), IsEmpty());
    EXPECT_TRUE(configuration.desired.ports.empty());
    EXPECT_TRUE(configuration.ignored.empty());
}

TEST(Document, KeepsTheLastOfTablesThatAreThereTwice)
{
    const Configuration configuration =
        read("{\"PORT\": {\"Ethernet0\": {}},\n \"PORT\": {\"Ethernet1\": {}}}");
    EXPECT_THAT(findings(configuration),
                ElementsAre("2:2: PORT: warning: the table is there twice: the last one counts "
                            "(see 1:2: PORT)"));
    EXPECT_EQ(configuration.desired.ports.count("Ethernet0"), 0u);
    EXPECT_EQ(configuration.desired.ports.count("Ethernet1"), 1u);
}

TEST(Document, KeepsTheLastOfRowsAndFieldsThatAreThereTwice)
{
    const Configuration configuration =
        read("{\"PORT\": {\"Ethernet4\": {},\n"
             "\"Ethernet0\": {\"mtu\": \"9216\"},\n"
             "\"Ethernet0\": {\"mtu\": \"9000\", \"mtu\": \"1500\"}}}");
    EXPECT_THAT(findings(configuration),
                ElementsAre("3:1: PORT|Ethernet0: warning: the row is there twice: the last one "
                            "counts (see 2:1: PORT|Ethernet0)",
                            "3:30: PORT|Ethernet0: warning: the field \"mtu\" is there twice: the "
                            "last one counts (see 3:15: PORT|Ethernet0)"));
    EXPECT_EQ(configuration.desired.ports.at("Ethernet0").mtu, 1500);
    EXPECT_EQ(configuration.desired.ports.size(), 2u);
}

/* Names short enough to be held within a string object, and others. */
TEST(Document, KeepsAllOthersBesideNamesThatAreThereTwice)
{
    std::string text = "{\"PORT\": {";
    for (int round = 0; round < 3; ++round)
        for (int port = 0; port < 200; ++port)
            text += fmt::format("\"Ethernet{}{}\": {{\"mtu\": {}}},", port % 2 ? "-ABCDEFGHIJ" : "",
                                port, 1500 + round);
    text.back() = '}';
    const Configuration configuration = read(text + "}");
    EXPECT_EQ(configuration.findings.size() - 100 /* long names */, 400u);
    ASSERT_EQ(configuration.desired.ports.size(), 200u);
    for (const auto &[name, port] : configuration.desired.ports)
        EXPECT_EQ(port.mtu, 1502) << name;
}

TEST(Document, SeesNoRepetitionsInTablesThatAreNotRead)
{
    EXPECT_THAT(findings(read("{\"PORT\": {}, \"NTP\": {\"a\": {}, \"a\": {}}}")), IsEmpty());
}

TEST(Document, TakesEscapedNamesForTheSameName)
{
    EXPECT_THAT(findings(read("{\"PORT\": {\"Ethernet0\": {}, \"\\u0045thernet0\": {}}}")),
                ElementsAre("1:28: PORT|Ethernet0: warning: the row is there twice: the last one "
                            "counts (see 1:11: PORT|Ethernet0)"));
}

TEST(Document, HasTheSameTablesInTheFlatForm)
{
    const Document document =
        read_sound("{\"VLAN | Vlan10\": {\"vlanid\": \"10\", \"members@\": \"a, b\"},\n"
                   " \"PORT|Ethernet0\": {\"NULL\": \"NULL\"},\n"
                   " \"VLAN|Vlan20|x\": {\"@\": \"1\"}}");
    ASSERT_EQ(document.tables.size(), 2u);
    const DocumentTable &vlan = document.tables[0];
    EXPECT_EQ(vlan.name, "VLAN");
    ASSERT_EQ(vlan.entries.size(), 2u);
    EXPECT_EQ(vlan.entries[0].name, "Vlan10");
    EXPECT_EQ(at(vlan.entries[0].at), (At{1, 2}));
    ASSERT_EQ(vlan.entries[0].entries.size(), 2u);
    const DocumentField &members = vlan.entries[0].entries[1];
    EXPECT_EQ(members.name, "members");
    EXPECT_EQ(members.kind, ValueKind::list);
    ASSERT_EQ(members.entries.size(), 2u);
    EXPECT_EQ(members.entries[1].text, " b");
    EXPECT_EQ(at(members.entries[1].value_at), at(members.value_at));
    EXPECT_EQ(vlan.entries[1].name, "Vlan20|x");
    EXPECT_EQ(vlan.entries[1].entries[0].name, "@");
    EXPECT_EQ(document.tables[1].name, "PORT");
    EXPECT_THAT(document.tables[1].entries[0].entries, IsEmpty());
}

TEST(Document, NamesTheRowOfASyntaxErrorInTheFlatForm)
{
    EXPECT_THAT(findings(read("{\"PORT|Ethernet0\": {\"mtu\": nine}}")),
                ElementsAre("1:29: PORT|Ethernet0: expected a value, found \"i\""));
}

} // namespace
} // namespace kvnsim
