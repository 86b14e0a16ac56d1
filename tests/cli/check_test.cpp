#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Check : public Kvnsim {};

TEST_F(Check, ASoundConfigurationIsWell)
{
    const Result result = kvnsim({"check", example("leaf.json")});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_EQ("", result.err);
    EXPECT_THAT(result.out, HasSubstr("leaf.json: nothing found\n  not applied: "
                                      "NTP_SERVER (2 rows)\n"));
}

TEST_F(Check, EveryErrorIsToldAtOnceWithItsPlace)
{
    write("two.json", "{\n"
                      "    \"PORT\": {\n"
                      "        \"Ethernet0\": {\"mtu\": \"99999\"},\n"
                      "        \"Ethernet1\": {}\n"
                      "    },\n"
                      "    \"INTERFACE\": {\"Ethernet1\": {\"vrf_name\": \"Blue\"}}\n"
                      "}\n");
    for (const char *verb : {"check", "run"}) {
        const Result result = kvnsim({verb, "two.json"});
        EXPECT_EQ(bad_input, result.status) << verb;
        /* For check the findings are data. */
        const bool is_check = verb == std::string("check");
        EXPECT_EQ("", is_check ? result.err : result.out);
        EXPECT_THAT(lines(is_check ? result.out : result.err),
                    AllOf(Contains(StartsWith("two.json:3:30: PORT|Ethernet0: ")),
                          Contains(StartsWith("two.json:6:45: INTERFACE|Ethernet1: "))));
    }
}

TEST_F(Check, ErrorsOfAllConfigurationsAreTold)
{
    write("a.json", "{\"PORT\": 1}");
    write("b.json", "{\"PORT\": 2}");
    const Result result =
        kvnsim({"check", "a.json", "nowhere.json", example("leaf.json"), "b.json"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(lines(result.out),
                AllOf(Contains(StartsWith("a.json:1:")), Contains(StartsWith("b.json:1:")),
                      Contains("nowhere.json: 1 error")));
    EXPECT_EQ("nowhere.json: cannot be read: No such file or directory\n", result.err);
    EXPECT_THAT(result.out, HasSubstr("leaf.json: nothing found"));
}

TEST_F(Check, JsonHoldsTheSameFindings)
{
    const Result result = kvnsim({"check", "--json", example("broken.json")});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("", result.err);
    const rapidjson::Document document = result.json();
    EXPECT_FALSE(document["ok"].GetBool());
    const auto &findings = document["configurations"][0]["findings"];
    const std::vector<std::string> text = lines(kvnsim({"check", example("broken.json")}).out);
    ASSERT_LE(findings.Size(), text.size());
    for (rapidjson::SizeType i = 0; i < findings.Size(); ++i) {
        EXPECT_THAT(text[i], HasSubstr(findings[i]["message"].GetString()));
        EXPECT_THAT(text[i], HasSubstr(":" + std::to_string(findings[i]["line"].GetInt()) + ":" +
                                       std::to_string(findings[i]["column"].GetInt()) + ": "));
    }
}

TEST_F(Check, JsonSaysWellOfASoundConfiguration)
{
    const rapidjson::Document document = kvnsim({"check", "--json", example("leaf.json")}).json();
    EXPECT_TRUE(document["ok"].GetBool());
    EXPECT_EQ(2, document["configurations"][0]["ignored"]["NTP_SERVER"].GetInt());
}

TEST_F(Check, ControlCharactersOfAFileDoNotReachTheTerminal)
{
    write("x.json", "{\"X\\u001b[31mY\": {\"a\": {}}, \"\\u009b31m\": {}, \"" +
                        std::string(200, 'Z') + "\": {}, \"PORT\": {\"\\u009bE\": {}}}");
    const Result checked = kvnsim({"check", "x.json"});
    const Result run = kvnsim({"run", "x.json", "--keep-going"});
    for (const std::string &text : {checked.out, checked.err, run.out, run.err}) {
        EXPECT_THAT(text, Not(HasSubstr("\x1b")));
        EXPECT_THAT(text, Not(HasSubstr("\xc2\x9b")));
    }
    for (const std::string &text : {checked.out, run.out})
        EXPECT_THAT(text, HasSubstr("not applied: X\\x1b[31mY (1 row), " + std::string(80, 'Z') +
                                    "... (0 rows), \\x9b31m (0 rows)"));
}

TEST_F(Check, ReadsStandardInput)
{
    const Result result = kvnsim({"check", "-"}, "{\"PORT\": {\"Ethernet0\": {\"mtu\": \"1\"}}}");
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out, StartsWith("-:1:"));
}

/* ---- Files that hold no configuration ---- */

struct Unreadable {
    const char *name;
    std::string text;
    const char *message; /* how the message begins, behind the file's name */
};

class UnreadableText : public Kvnsim, public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableText, IsRefusedWithTheExactPlace)
{
    write("x.json", GetParam().text);
    for (const char *verb : {"check", "run"}) {
        const Result result = kvnsim({verb, "x.json"});
        EXPECT_EQ(bad_input, result.status) << verb;
        EXPECT_THAT(verb == std::string("check") ? result.out : result.err,
                    StartsWith(std::string("x.json:") + GetParam().message));
        const Result json = kvnsim({verb, "--json", "x.json"});
        EXPECT_EQ(bad_input, json.status) << verb;
        EXPECT_EQ(
            "error",
            std::string(json.json()["configurations"][0]["findings"][0]["severity"].GetString()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, UnreadableText,
    testing::Values(Unreadable{"Empty", "", "1:1: "}, Unreadable{"Blank", " \n\n", "3:1: "},
                    Unreadable{"NoObject", "[]", "1:1: "},
                    Unreadable{"CutShort", "{\"PORT\": {\n  \"Ethernet0\": {", "2:17: "},
                    Unreadable{"MissingComma",
                               "{\"PORT\": {\n  \"Ethernet0\": {}\n  \"Ethernet1\": {}\n}}",
                               "3:3: "},
                    Unreadable{"TrailingText", "{}\n{}", "2:1: "},
                    Unreadable{"NulBytes", std::string("{\"PO\0RT\": {}}", 13), "1:5: "},
                    Unreadable{"Junk",
                               "\x7f"
                               "ELF\x01\xff\xfe",
                               "1:1: "},
                    Unreadable{"InvalidUtf8", "{\"PORT\": {\"Ethernet\xff\": {}}}", "1:20: "}),
    [](const auto &name) { return name.param.name; });

TEST_F(Check, FilesThatCannotBeReadAreNamedWithTheReason)
{
    for (const char *verb : {"check", "run"}) {
        EXPECT_EQ("nowhere.json: cannot be read: No such file or directory",
                  lines(kvnsim({verb, "nowhere.json"}).err).at(0));
        EXPECT_EQ("/: cannot be read: Is a directory", lines(kvnsim({verb, "/"}).err).at(0));
        EXPECT_EQ("/proc/self/mem: cannot be read: Input/output error",
                  lines(kvnsim({verb, "/proc/self/mem"}).err).at(0));
        EXPECT_EQ(bad_input, kvnsim({verb, "nowhere.json"}).status);
    }
}

TEST_F(Check, AFileNameThatIsNoTextStillMakesJson)
{
    const Result result = kvnsim({"check", "--json", "bad\xff.json"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("bad\xEF\xBF\xBD.json",
              std::string(result.json()["configurations"][0]["file"].GetString()));
}
