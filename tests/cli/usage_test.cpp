#include <algorithm>
#include <cctype>
#include <filesystem>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::StartsWith;

class Usage : public Kvnsim {
public:
    /* As the help lists them. */
    std::vector<std::string> verbs()
    {
        std::vector<std::string> names;
        bool inside = false;
        for (const std::string &line : lines(kvnsim({"--help"}).out)) {
            inside = (inside || line == "Verbs:") && !line.empty();
            if (inside && line != "Verbs:")
                names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
        return names;
    }
};

TEST_F(Usage, HelpNamesEveryVerbAndTheExitStatuses)
{
    const Result help = kvnsim({"--help"});
    EXPECT_EQ(well, help.status);
    EXPECT_EQ("", help.err);
    EXPECT_THAT(verbs(), IsSupersetOf({"run", "check", "show", "explain", "audit", "events",
                                       "replay", "diff", "version"}));
    EXPECT_THAT(help.out, HasSubstr("4  a request failed"));
    EXPECT_THAT(help.out, HasSubstr("1  a check, fleet, audit, faults, packet, reach, replay, diff "
                                    "or stress found something"));
    EXPECT_THAT(help.out, HasSubstr("3  a file cannot be read or written"));
    EXPECT_THAT(help.out, HasSubstr("143  interrupted by SIGTERM"));
    EXPECT_THAT(kvnsim({"manual"}).out, HasSubstr("XDG_STATE_HOME"));
}

TEST_F(Usage, EachVerbTellsItsOptionsWithAnExample)
{
    for (const std::string &verb : verbs()) {
        const Result help = kvnsim({verb, "--help"});
        EXPECT_EQ(well, help.status) << verb;
        EXPECT_THAT(help.out, AllOf(StartsWith("Usage: kvnsim " + verb), HasSubstr("\nExample:\n"),
                                    HasSubstr("kvnsim " + verb)));
        EXPECT_EQ(help.out, kvnsim({"help", verb}).out);
        for (const std::string &line : lines(help.out))
            EXPECT_LE(line.size(), 100u) << line;
    }
}

TEST_F(Usage, VersionSaysTheWordSizeOfTheLibrary)
{
    const std::string bits = std::to_string(KVN_WORD_SIZE);
    EXPECT_THAT(kvnsim({"version"}).out, HasSubstr("(" + bits + "-bit)"));
    EXPECT_EQ(kvnsim({"version"}).out, kvnsim({"--version"}).out);
    EXPECT_EQ(bits, std::to_string(kvnsim({"version", "--json"}).json()["word_size"].GetInt()));
}

TEST_F(Usage, OptionsStandAnywhereWithTheirValuesBehindThemOrAttached)
{
    write("one.json", one_port);
    ASSERT_EQ(well, kvnsim({"run", "--db=one.db", "one.json"}).status);
    const std::string shown = kvnsim({"show", "lids", "--json", "--db", "one.db"}).out;
    EXPECT_THAT(shown, StartsWith("{"));
    EXPECT_EQ(shown, kvnsim({"show", "--json", "--db=one.db", "lids", "--json"}).out);
    for (const char *attached : {"-oa.html", "-o=a.html"}) {
        EXPECT_EQ(well, kvnsim({"report", "--db", "one.db", attached}).status);
        EXPECT_EQ(read("a.html"), kvnsim({"report", "-o", "-", "--db", "one.db"}).out);
        std::filesystem::remove(path("a.html"));
    }
}

TEST_F(Usage, WordBehindTwoDashesIsNoOption)
{
    write("--json", one_port);
    const Result result = kvnsim({"check", "--", "--json"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, StartsWith("--json: "));
}

TEST_F(Usage, WordBehindTheTimelineIsItsValueOnlyIfItNamesAnInterface)
{
    write("one.json", one_port);
    const Result all = kvnsim({"run", "--timeline", "one.json", "--quiet"});
    EXPECT_THAT(all.out, HasSubstr("host: give port its LID(Ethernet0)"));
    EXPECT_EQ(all.out, kvnsim({"run", "one.json", "--quiet", "--timeline"}).out);
    EXPECT_EQ(all.out, kvnsim({"run", "--quiet", "--timeline", "Ethernet0", "one.json"}).out);
}

TEST_F(Usage, ErrorsAreDocumentsForWhoAskedForOne)
{
    for (const auto &[arguments, status] :
         {std::pair(std::vector<std::string>{"audit", "none.db", "--json"}, bad_input),
          std::pair(std::vector<std::string>{"replay", "none.jsonl", "--json"}, bad_input),
          std::pair(std::vector<std::string>{"audit", "--json"}, usage)}) {
        const Result result = kvnsim(arguments);
        EXPECT_EQ(status, result.status);
        const rapidjson::Document document = result.json();
        EXPECT_EQ(status, document["error"]["status"].GetInt());
        EXPECT_EQ("kvnsim: " + std::string(document["error"]["message"].GetString()),
                  lines(result.err).at(0));
    }
    EXPECT_EQ("", kvnsim({"audit", "--", "--json"}).out);
}

TEST_F(Usage, TheDatabaseIsAnOperandOrAnOptionOrThatOfTheEnvironment)
{
    write("one.json", one_port);
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "one.db"}).status);
    for (const std::vector<std::string> &verb : {std::vector<std::string>{"show", "lids"},
                                                 {"show", "lids", "Ethernet0"},
                                                 {"explain", "Ethernet0"},
                                                 {"audit"},
                                                 {"report", "-o", "-"}}) {
        std::vector<std::string> by_operand = verb, by_option = verb;
        by_operand.emplace_back("one.db");
        by_option.insert(by_option.end(), {"--db", "one.db"});
        const std::string shown = kvnsim(by_option).out;
        EXPECT_NE("", shown);
        EXPECT_EQ(shown, kvnsim(by_operand).out) << verb[0];
        EXPECT_EQ(shown, kvnsim(verb, "", {"KVNSIM_DB=one.db"}).out) << verb[0];
        EXPECT_EQ(shown, kvnsim(by_operand, "", {"KVNSIM_DB=none.db"}).out) << verb[0];
        EXPECT_EQ(usage, kvnsim(verb, "", {"KVNSIM_DB="}).status) << verb[0];
    }
    /* It is written only on request. */
    ASSERT_EQ(well, kvnsim({"run", "one.json"}, "", {"KVNSIM_DB=two.db"}).status);
    EXPECT_FALSE(exists("two.db"));
}

struct Wrong {
    std::vector<std::string> arguments;
    const char *message;
};

class WrongUsage : public Kvnsim, public testing::WithParamInterface<Wrong> {};

TEST_P(WrongUsage, IsRefusedWithWhatIsPossible)
{
    write("one.json", one_port);
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--db", "one.db"}).status);
    const Result result = kvnsim(GetParam().arguments);
    EXPECT_EQ(usage, result.status);
    const auto &words = GetParam().arguments;
    const bool has_document = std::find(words.begin(), words.end(), "--json") != words.end();
    EXPECT_EQ(has_document, !result.out.empty());
    EXPECT_THAT(result.err,
                AllOf(StartsWith("kvnsim: "), HasSubstr(GetParam().message), HasSubstr("--help`")));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongUsage,
    testing::Values(
        Wrong{{}, "a verb is missing"}, Wrong{{"sho"}, "unknown verb \"sho\" (did you mean show?)"},
        Wrong{{"frobnicate"}, "unknown verb \"frobnicate\""}, Wrong{{"run"}, "CONFIG is missing"},
        Wrong{{"check"}, "CONFIG is missing"}, Wrong{{"run", ""}, "expected CONFIG, not \"\""},
        Wrong{{"run", "one.json", "--quite"}, "unknown option --quite (did you mean --quiet?)"},
        Wrong{{"run", "one.json", "--db"}, "--db needs a value: FILE"},
        Wrong{{"run", "one.json", "--db", "a.db", "--db", "b.db"}, "--db is given more than once"},
        Wrong{{"run", "one.json", "--dry-run=false"}, "--dry-run takes no value"},
        Wrong{{"run", "one.json", "--json=3"}, "--json takes no value"},
        Wrong{{"run", "one.json", "--timeline="}, "--timeline needs a value: [IF]"},
        Wrong{{"run", "--fail-rate", "2", "--quite"}, "expected a number from 0 to 1"},
        Wrong{{"run", "--quite"}, "unknown option --quite"},
        Wrong{{"run", "-", "-"}, "standard input can be read only once"},
        Wrong{{"run", "one.json", "--trace", "loud"}, "expected debug or error, not \"loud\""},
        Wrong{{"run", "one.json", "--seed", "7"}, "--seed is for --fail-rate"},
        Wrong{{"run", "one.json", "--fail-rate", "1.5"}, "expected a number from 0 to 1"},
        Wrong{{"run", "one.json", "--fail-rate", "nan"}, "expected a number from 0 to 1"},
        Wrong{{"run", "one.json", "--fail-rate", "0.1", "--seed", "-1"}, "expected a whole number"},
        Wrong{{"run", "one.json", "--fail", "libsdk_no_such"}, "calls that can fail: fwm_pm_sdb"},
        Wrong{{"run", "one.json", "--fail", "libsdk_intf_create:0"}, "is not an occurrence"},
        Wrong{{"run", "one.json", "--fail", "libsdk_intf_create=SDK_E_NO"}, "is not a status"},
        Wrong{{"run", "one.json", "--limit", "intf"}, "expected TABLE=NUMBER"},
        Wrong{{"run", "one.json", "--limit", "intf=-1"}, "expected TABLE=NUMBER"},
        Wrong{{"run", "one.json", "--limit", "port=5"}, "the tables are intf, attr, lid"},
        Wrong{{"run", "one.json", "--json", "--timeline"}, "use --record FILE"},
        Wrong{{"run", "one.json", "--timeline", "Ethernet1"}, "(did you mean Ethernet0?)"},
        Wrong{{"run", "one.json", "--db", "one.json"}, "--db one.json: the file is already in use"},
        Wrong{{"run", "one.json", "--events", "x", "--record", "./x", "--db", "x"},
              "the file is already in use"},
        Wrong{{"show", "--db", "one.db"}, "TABLE is missing"},
        Wrong{{"show", "one.db"}, "there is no table \"one.db\"; there are interfaces"},
        Wrong{{"show", "interfaces"}, "give DB or --db FILE, or set KVNSIM_DB"},
        Wrong{{"show", "interfacs", "one.db"}, "(did you mean interfaces?); there are interfaces"},
        Wrong{{"show", "interfaces", "Ethernet1", "one.db"}, "(did you mean Ethernet0?)"},
        Wrong{{"show", "macs", "0.0.0.0", "one.db"}, "there is no interface or row \"0.0.0.0\""},
        Wrong{{"show", "attributes", "--db", "one.db"}, "attributes of which interface?"},
        Wrong{{"show", "attributes", "Ethernet1", "--db", "one.db"}, "(did you mean Ethernet0?)"},
        Wrong{{"explain", "--db", "one.db"}, "IF is missing"},
        Wrong{{"explain", "ethernet1", "--db", "one.db"}, "(did you mean Ethernet0?)"},
        Wrong{{"audit"}, "give DB or --db FILE, or set KVNSIM_DB"},
        Wrong{{"audit", "one.db", "--db", "one.db"}, "two databases: one.db and --db one.db"},
        Wrong{{"audit", "one.db", "two.db"}, "unexpected argument \"two.db\""},
        Wrong{{"show", "interfaces", "one.db", "two.db"}, "DB is given more than once"},
        Wrong{{"show", "attributes", "Ethernet0", "Ethernet0", "one.db"}, "of one interface"},
        Wrong{{"adit"}, "unknown verb \"adit\" (did you mean audit?)"},
        Wrong{{"audit", "--jsno", "one.db"}, "unknown option --jsno (did you mean --json?)"},
        Wrong{{"diff", "one.db"}, "B is missing"},
        Wrong{{"diff", "one.db", "one.db", "one.db"}, "unexpected argument \"one.db\""},
        Wrong{{"events"}, "FILE is missing"}, Wrong{{"replay"}, "RECORDING is missing"},
        Wrong{{"completion", "fish"}, "expected bash, zsh or words, not \"fish\""},
        Wrong{{"stress", "-1"}, "unexpected argument \"-1\""},
        Wrong{{"version", "now"}, "unexpected argument \"now\""}),
    [](const auto &wrong) {
        std::string name = "kvnsim";
        for (const std::string &argument : wrong.param.arguments)
            name += ' ' + argument;
        std::replace_if(
            name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
        return name;
    });
