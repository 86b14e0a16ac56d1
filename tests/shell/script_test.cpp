#include "tests/shell/shell.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

class Script : public Shell {
protected:
    void SetUp() override
    {
        write("one.json", one_port);
        write("one_1500.json", one_port_1500);
    }
};

TEST_F(Script, BlankLinesAndCommentsDoNothing)
{
    const Result result = shell({"", "   ", "# audit", "\t# nosuch"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(Script, NeitherPromptsNorEchoes)
{
    const Result result = shell({"apply one.json"});
    EXPECT_THAT(result.out,
                MatchesRegex("one.json: 2 steps, 2 requests, [0-9]+ calls, 0 failures\n"));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST_F(Script, MayEndWithoutAnEndOfLine)
{
    EXPECT_THAT(kvnsim({"shell"}, "show summary").out, StartsWith("Summary\n"));
}

TEST_F(Script, WrongLineIsNamedAndTheScriptGoesOn)
{
    const Result result = shell({"# first", "sow summary", "show summary"});
    EXPECT_EQ(usage, result.status);
    EXPECT_EQ("-:2: there is no command \"sow\" (did you mean show?)\n", result.err);
    EXPECT_THAT(result.out, HasSubstr("Summary\n"));
}

TEST_F(Script, StopEndsItAtTheFirstLineThatIsNotWell)
{
    const Result result = shell({"apply one.json", "nosuch", "show summary"}, {"--stop"});
    EXPECT_EQ(usage, result.status);
    EXPECT_THAT(result.out, Not(HasSubstr("Summary")));
}

TEST_F(Script, QuitEndsIt)
{
    const Result result = shell({"quit", "show summary"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, IsEmpty());
}

TEST_F(Script, FirstLineThatIsNotWellGivesTheExitStatus)
{
    const struct {
        std::vector<std::string> lines;
        int status;
    } cases[] = {
        {{"audit"}, well},
        {{"apply one.json", "poke Ethernet0 SdkIntfAttrMtuIdx 99", "audit", "audit extra"}, found},
        {{"apply one.json", "mark", "set Ethernet0 mtu 99", "diff"}, found},
        {{"set", "apply missing.json"}, usage},
        {{"apply missing.json", "set"}, bad_input},
        {{"save /nosuch/x.db"}, bad_input},
        {{"call rmac_del 7", "set"}, request_failed},
    };
    for (const auto &each : cases) {
        const Result result = shell(each.lines);
        EXPECT_EQ(each.status, result.status) << each.lines.back() << "\n" << result.err;
    }
}

TEST_F(Script, QuotesAndBackslashesKeepBlanks)
{
    write("two words.json", one_port);
    for (const char *line :
         {"apply \"two words.json\"", "apply 'two words.json'", "apply two\\ words.json"})
        EXPECT_THAT(shell({line}).out, StartsWith("two words.json: 2 steps")) << line;
    const Result open = shell({"apply \"two words.json"});
    EXPECT_EQ(usage, open.status);
    EXPECT_EQ("-:1: a \" is not closed\n", open.err);
}

TEST_F(Script, WordsTooManyOrTooFewAreToldWithWhatIsExpected)
{
    EXPECT_EQ("-:1: expected set IF PROPERTY VALUE\n", shell({"set Ethernet0 mtu"}).err);
    EXPECT_EQ("-:1: expected mark\n", shell({"mark it"}).err);
    EXPECT_EQ("-:1: expected call add_l3port L3LIF CREATE\n", shell({"call add_l3port"}).err);
    EXPECT_EQ("-:1: unknown option --jsn (did you mean --json?)\n",
              shell({"show ports --jsn"}).err);
    EXPECT_EQ("-:1: expected diff [FILE] [OPTION...]\n", shell({"diff a.db b.db"}).err);
}

TEST_F(Script, InterfacesAreFoundByEverySpelling)
{
    write("sw.json",
          R"({"PORT": {"Ethernet0": {"alias": "fp1"}}, "INTERFACE": {"Ethernet0": {}}})");
    const std::string set =
        "l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 prop_type=12 value=1400) = 0\n";
    for (const char *written : {"Ethernet0", "eth0", "ETHERNET0", "fp1"}) {
        const Result result = shell(
            {"set " + std::string(written) + " mtu 1400", "timeline on " + std::string(written)},
            {"sw.json"});
        EXPECT_EQ(well, result.status) << result.err;
        EXPECT_THAT(result.out, HasSubstr(set)) << written;
    }
    EXPECT_EQ("-:1: there is no interface \"eth1\"\n", shell({"set eth1 mtu 1400"}).err);
    EXPECT_THAT(shell({"show interfacs"}).err, HasSubstr("(did you mean interfaces?)"));
}

TEST_F(Script, OptionsAndValuesAreThoseOfTheCommandLine)
{
    EXPECT_EQ(shell({"show ports --json"}).out, shell({"show --json ports"}).out);
    write("--json", one_port);
    EXPECT_THAT(shell({"check -- --json"}).out, StartsWith("--json: "));
    EXPECT_EQ("-:1: --json takes no value\n", shell({"audit --json=3"}).err);
    EXPECT_EQ("-:1: expected debug, error or off, not \"loud\"\n", shell({"trace loud"}).err);
    EXPECT_EQ("-:1: P: expected a number from 0 to 1, or off, not \"0.1x\"\n",
              shell({"fail-rate 0.1x"}).err);
    EXPECT_EQ("-:1: SEED: expected a whole number, not \"-1\"\n", shell({"fail-rate 0.1 -1"}).err);
}

/* ---- Configurations ---- */

TEST_F(Script, ConfigurationOfTheCommandLineComesFirst)
{
    const Result result = shell({"plan one.json"}, {"one.json"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(result.out, MatchesRegex("one.json: 2 steps, .*, 0 failures\n0 steps\n"));
}

TEST_F(Script, ConfigurationWithErrorsEndsIt)
{
    const Result result = shell({"show summary"}, {example("broken.json")});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out, Not(HasSubstr("Summary")));
    EXPECT_THAT(result.err, HasSubstr("nothing was applied"));
    const Result sound =
        shell({"show summary"}, {example("broken.json"), "--keep-going", "--stop"});
    EXPECT_EQ(bad_input, sound.status);
    EXPECT_THAT(sound.out, HasSubstr("Summary"));
}

TEST_F(Script, FileThatSaysNothingLeavesTheSwitchAsItIs)
{
    write("cut_short.json", "{");
    for (const char *file : {"missing.json", "cut_short.json"}) {
        const Result result =
            shell({std::string("apply ") + file, std::string("plan ") + file, "show interfaces"},
                  {"one.json", "--keep-going"});
        EXPECT_EQ(bad_input, result.status);
        EXPECT_THAT(result.err, AllOf(HasSubstr("-:1: nothing was applied\n"),
                                      HasSubstr("-:2: nothing was applied\n")));
        EXPECT_THAT(result.out, AllOf(HasSubstr("Ethernet0"), Not(HasSubstr(file))));
    }
}

TEST_F(Script, PlanSaysWhatApplyWouldDo)
{
    const Result result = shell({"plan one_1500.json", "show lids"}, {"one.json"});
    EXPECT_THAT(result.out, HasSubstr("change Ethernet0: MTU 9100 -> 1500\n1 step\n"));
}

TEST_F(Script, LoadGoesOnFromASavedSwitch)
{
    const Result first = shell({"apply one.json", "hold PortChannel3 on", "save x.db"});
    ASSERT_EQ(well, first.status) << first.err;
    const Result result =
        shell({"load x.db", "save y.db", "diff x.db", "apply one_1500.json", "show interfaces",
               "load x.db", "save z.db", "hold PortChannel3 off"},
              {example("leaf.json")});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("No difference"), HasSubstr("one_1500.json: 1 step, 1 request"),
                      Not(HasSubstr("Vlan"))));
    EXPECT_TRUE(read("x.db") == read("y.db"));
    EXPECT_TRUE(read("x.db") == read("z.db"));
}

TEST_F(Script, LoadOfAFileThatIsNoSwitchChangesNothing)
{
    const Result result = shell({"mark", "load one.json", "load nowhere.db", "diff"}, {"one.json"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.err, AllOf(HasSubstr("-:2: one.json: not a kvnsim database"),
                                  HasSubstr("-:3: nowhere.db: No such file")));
    EXPECT_THAT(result.out, HasSubstr("No difference"));
}

TEST_F(Script, ARecordingWithALoadInItReplays)
{
    ASSERT_EQ(
        well,
        kvnsim({"run", example("small_change_before.json"), "--quiet", "--db", "x.db"}).status);
    const Result result = shell({"load x.db", "apply " + example("small_change_after.json"),
                                 "load x.db", "virtual-mac Vlan10 00:00:5e:00:53:fe off"},
                                {"one.json", "--record", "x.jsonl"});
    ASSERT_EQ(well, result.status) << result.err;
    const Result replayed = kvnsim({"replay", "x.jsonl"});
    EXPECT_EQ(well, replayed.status) << replayed.out << replayed.err;
}

TEST_F(Script, ReloadTakesTheFileOfTheLastTime)
{
    const Result result = shell(
        {"reload", "apply one.json", "set Ethernet0 mtu 68", "reload", "reload one_1500.json"});
    EXPECT_THAT(result.err, StartsWith("-:1: nothing was applied yet"));
    EXPECT_THAT(result.out, HasSubstr("one.json: 0 steps"));
    EXPECT_THAT(result.out, HasSubstr("one_1500.json: 1 step"));
}

TEST_F(Script, CheckValidatesOnly)
{
    const Result result = shell({"check " + example("broken.json"), "show ports"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out, AllOf(HasSubstr("errors"), HasSubstr("none")));
    /* What waits is left out for now. */
    EXPECT_EQ(found, shell({"check " + example("portchannels.json")}).status);
}

TEST_F(Script, StandardInputIsNoConfiguration)
{
    EXPECT_EQ(usage, shell({"apply -"}).status);
    EXPECT_EQ(usage, shell({}, {"-"}).status);
}

/* ---- Inspection ---- */

TEST_F(Script, ShowsWhatTheVerbsShowOfADatabase)
{
    for (const char *table :
         {"show interfaces", "show ports", "show port-channels", "show lids", "show macs",
          "show errors", "show summary", "show attributes Ethernet0", "explain Ethernet0", "audit",
          "show interfaces --json", "explain Ethernet0 --json", "audit --json"}) {
        const Result inside = shell({"save x.db", table}, {example("leaf.json")});
        std::vector<std::string> arguments;
        std::string line = table;
        for (size_t at; (at = line.find(' ')) != line.npos; line.erase(0, at + 1))
            arguments.push_back(line.substr(0, at));
        arguments.push_back(line);
        arguments.insert(arguments.end(), {"--db", "x.db"});
        const Result outside = kvnsim(arguments);
        EXPECT_EQ(well, outside.status) << table << outside.err;
        EXPECT_THAT(inside.out, testing::EndsWith(outside.out)) << table;
        EXPECT_THAT(outside.out, Not(IsEmpty())) << table;
    }
}

TEST_F(Script, DiffTellsWhatChangedSinceTheMarkOrSinceADatabase)
{
    const Result result = shell({"save a.db", "diff", "mark", "diff", "set Ethernet0 mtu 68",
                                 "diff", "diff a.db", "diff a.db --json"},
                                {"one.json"});
    EXPECT_EQ("-:2: there is no mark: set one with `mark`\n", result.err);
    const std::string difference =
        "Differences\n"
        "  Table           Object                       What   A     B\n"
        "  asic_attribute  Ethernet0 SdkIntfAttrMtuIdx  value  9100  68\n"
        "1 difference\n"
        "Service changes\n"
        "  Interface  Arrives by  Family  To            Change   Because\n"
        "  Ethernet0  Ethernet0   IPv4    a router MAC  removed  the MTU is 68, not 9100 "
        "(libsdk_intf_attr_set in request 3 l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 "
        "prop_type=12 value=68))\n"
        "1 service removed\n";
    EXPECT_THAT(
        result.out,
        AllOf(HasSubstr("\nNo difference in ASIC and shared state.\nl3lifpd_kvn_set_l3_"),
              HasSubstr("value=68) = 0\n" + difference + difference + "{\"equal\":false,")));
}

TEST_F(Script, TimelineIsSwitchedOnAndOff)
{
    const Result result = shell({"set Ethernet0 mtu 68", "timeline on", "set Ethernet0 mtu 69",
                                 "timeline on Ethernet0", "set Ethernet0 mtu 70", "timeline off",
                                 "set Ethernet0 mtu 71"},
                                {"one.json"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out, Not(HasSubstr("value={param1=68}")));
    EXPECT_THAT(result.out, HasSubstr("-:3: set Ethernet0 mtu 69\n"));
    EXPECT_THAT(result.out, HasSubstr("value={param1=69}"));
    EXPECT_THAT(result.out, HasSubstr("value={param1=70}"));
    EXPECT_THAT(result.out, Not(HasSubstr("value={param1=71}")));
    EXPECT_EQ(usage, shell({"timeline on Ethernet7"}).status);
    EXPECT_EQ(usage, shell({"timeline maybe"}).status);
}

TEST_F(Script, TraceRecordsArePrintedAtTheirLevel)
{
    const std::string ok = "call add_l3port Ethernet0 1", bad = "call add_l3port null 1";
    EXPECT_THAT(shell({"trace debug", ok}, {"one.json"}).err, HasSubstr("intf already exists"));
    const Result errors = shell({"trace error", ok}, {"one.json"});
    EXPECT_THAT(errors.err, IsEmpty());
    const Result error = shell({"trace error", bad});
    const Result off = shell({"trace error", "trace off", bad});
    EXPECT_GT(lines(error.err).size(), lines(off.err).size());
    EXPECT_EQ(usage, shell({"trace loud"}).status);
}

/* ---- Fault injection ---- */

TEST_F(Script, CallsFailAsAsked)
{
    const Result result = shell({"fail libsdk_intf_attr_set:2=SDK_E_BUSY", "set Ethernet0 mtu 68",
                                 "set Ethernet0 mtu 69", "set Ethernet0 mtu 70",
                                 "fail libsdk_intf_attr_set", "fail off", "set Ethernet0 mtu 71"},
                                {"one.json"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_EQ(1U, lines(result.err).size()) << result.err;
    EXPECT_THAT(result.err, AllOf(StartsWith("-:3: "), HasSubstr("SDK_E_BUSY")));
    EXPECT_EQ(usage, shell({"fail nosuch"}).status);
    EXPECT_EQ(usage, shell({"fail libsdk_intf_create=SDK_E_NOSUCH"}).status);
}

TEST_F(Script, CallsFailAtRandomAsOftenAsAsked)
{
    EXPECT_EQ(request_failed, shell({"fail-rate 1", "apply one.json"}).status);
    EXPECT_EQ(well, shell({"fail-rate 1 7", "fail-rate off", "apply one.json"}).status);
    for (const char *line : {"fail-rate 2", "fail-rate often", "fail-rate -1", "fail-rate nan",
                             "fail-rate 0.1 seed", "fail-rate \"\""})
        EXPECT_EQ(usage, shell({line}).status) << line;
}

TEST_F(Script, TablesAreAsSmallAsAsked)
{
    const Result result = shell({"limit intf=1", "create Vlan2", "create Vlan3"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(result.err, AllOf(StartsWith("-:3: "), HasSubstr("SDK_E_FULL")));
    EXPECT_EQ(usage, shell({"limit intf"}).status);
    EXPECT_EQ(usage, shell({"limit nosuch=4"}).status);
}

/* ---- Files ---- */

TEST_F(Script, OptionsWriteFiles)
{
    const Result result =
        shell({"set Ethernet0 mtu 68"}, {"one.json", "--db", "x.db", "--record", "x.jsonl",
                                         "--debug-file", "x.log", "--events", "x.events"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(kvnsim({"show", "attributes", "Ethernet0", "--db", "x.db"}).out, HasSubstr(" 68"));
    EXPECT_EQ(well, kvnsim({"replay", "x.jsonl"}).status);
    EXPECT_THAT(read("x.log"), HasSubstr("l3lifpd_kvn_set_l3_property"));
    EXPECT_THAT(kvnsim({"events", "x.events"}).out, HasSubstr("Setting mtu=68 in libsdk"));
}

TEST_F(Script, OutputsThatCannotBeWrittenAreToldAtOnce)
{
    EXPECT_EQ(bad_input, shell({}, {"--db", "/nosuch/x.db"}).status);
    EXPECT_EQ(bad_input, shell({}, {"--record", "/nosuch/x.jsonl"}).status);
    EXPECT_EQ(usage, shell({}, {"one.json", "--record", "one.json"}).status);
    EXPECT_EQ(one_port, read("one.json"));
}

/* ---- Help ---- */

TEST_F(Script, HelpNamesWhatSetAndPokeTake)
{
    EXPECT_THAT(
        shell({"help set"}).out,
        AllOf(HasSubstr("\nPROPERTY:\n"), HasSubstr("\n  mtu "),
              HasSubstr("  MTU in bytes, 68 to 9216\n"),
              HasSubstr("  IPv4 same-interface check, 0 or 1; 1 writes 0, and 0 writes 1\n")));
    EXPECT_THAT(shell({"help poke"}).out,
                AllOf(HasSubstr("\nATTRIBUTE:\n"), HasSubstr("\n  SdkIntfAttrMtuIdx "),
                      HasSubstr("  MTU in bytes, 68 to 9216\n")));
}

TEST_F(Script, HelpNamesEveryCommandAndTellsMoreOfEach)
{
    const Result all = shell({"help"});
    size_t commands = 0;
    for (const std::string &line : lines(all.out)) {
        if (line.compare(0, 2, "  ") != 0)
            continue;
        ++commands;
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        const Result one = shell({"help " + name});
        EXPECT_EQ(well, one.status) << name;
        EXPECT_THAT(one.out, StartsWith(name));
        EXPECT_GE(100U, line.size()) << line;
    }
    EXPECT_LT(25U, commands);
    EXPECT_THAT(shell({"help add_svi"}).out, StartsWith("call add_svi L3LIF ENCAP_VLAN\n"));
    EXPECT_EQ(usage, shell({"help nosuch"}).status);
}
