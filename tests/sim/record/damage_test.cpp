#include "tests/sim/record/recording_fixture.h"

#include <set>

#include <gmock/gmock.h>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace kvnsim {
namespace {

class Damaged : public RecordingFixture {
protected:
    static void expect_problem(const std::string &recording, const std::string &problem)
    {
        const Replay result = replayed(recording);
        EXPECT_EQ(result.problem, problem);
        EXPECT_FALSE(result.same());
    }
};

TEST_F(Damaged, NewerVersionIsRefused)
{
    expect_problem("{\"kvnsim_recording\":2,\"word_size\":64}\n",
                   "try.jsonl:1:1: recording version 2; only version 1 can be read");
}

TEST_F(Damaged, OtherFilesAreNoRecordings)
{
    expect_problem("", "try.jsonl: not a recording: empty file");
    expect_problem("{\"PORT\":{}}\n", "try.jsonl:1:1: not a recording: expected "
                                      "{\"kvnsim_recording\":1,...}");
    expect_problem("PORT\n", "try.jsonl:1:1: damaged line: Invalid value.");
}

TEST_F(Damaged, LineIsToldWithItsPlace)
{
    std::vector<std::string> lines = lines_of(recorded_operation());
    const std::string whole = lines[4];
    lines[4] = "{\"request\":}";
    expect_problem(text_of(lines), "try.jsonl:5:12: damaged line: Invalid value.");
    lines[4] = "5";
    expect_problem(text_of(lines), "try.jsonl:5:1: damaged line: expected an object");
    lines[4] = "{\"request\":1,\"arguments\":{}}";
    expect_problem(text_of(lines), "try.jsonl:5:1: damaged line: \"entry\" is missing");
    lines[4] = "{\"request\":\"one\",\"entry\":\"x\",\"arguments\":{}}";
    expect_problem(text_of(lines),
                   "try.jsonl:5:1: damaged line: \"request\": expected a number, not \"one\"");
}

TEST_F(Damaged, UnknownEntryPointsAndArgumentsAreTold)
{
    const std::string header = "{\"kvnsim_recording\":1,\"word_size\":64}\n";
    const std::string rest = "{\"result\":0,\"failed_calls\":0}\n{\"end\":1,\"requests\":1}\n";
    expect_problem(header + "{\"request\":1,\"entry\":\"fly\",\"arguments\":{}}\n" + rest,
                   "try.jsonl:2:1: the library has no entry point fly");
    expect_problem(header + "{\"request\":1,\"entry\":\"add_l3port\",\"arguments\":{}}\n" + rest,
                   "try.jsonl:2:1: damaged line: argument l3lif is missing");
    expect_problem(header +
                       "{\"request\":1,\"entry\":\"add_l3port\",\"arguments\":{\"l3lif\":7,"
                       "\"create\":1}}\n" +
                       rest,
                   "try.jsonl:2:1: damaged line: l3lif: expected an interface, not 7");
}

TEST_F(Damaged, CutRecordingIsToldWhereItStops)
{
    const std::vector<std::string> lines = lines_of(recorded_operation());
    for (size_t kept = 0; kept < lines.size(); ++kept) {
        const Replay result =
            replayed(text_of({lines.begin(), lines.begin() + static_cast<ptrdiff_t>(kept)}));
        EXPECT_FALSE(result.same()) << "after line " << kept;
        EXPECT_FALSE(result.difference) << "after line " << kept << '\n' << told(result);
    }
    const Replay last = replayed(text_of({lines.begin(), lines.end() - 1}));
    EXPECT_EQ(last.problem, "try.jsonl:" + std::to_string(lines.size() - 1) +
                                ":1: the recording ends without its last line");
    EXPECT_EQ(last.requests, 10u);
    const Replay within = replayed(text_of({lines.begin(), lines.end() - 2}));
    EXPECT_NE(within.problem.find(": the recording ends within request 12, which may have ended "
                                  "the process"),
              std::string::npos)
        << within.problem;
}

TEST_F(Damaged, MissingRequestsAreTold)
{
    std::vector<std::string> lines = lines_of(recorded_operation());
    const auto begins = [](const std::string &line) {
        return line.rfind("{\"request\":3,", 0) == 0;
    };
    const auto ends = [](const std::string &line) { return line.rfind("{\"result\"", 0) == 0; };
    const auto first = std::find_if(lines.begin(), lines.end(), begins);
    const auto last = std::find_if(first, lines.end(), ends);
    ASSERT_NE(last, lines.end());
    lines.erase(first, last + 1);
    const Replay result = replayed(text_of(lines));
    EXPECT_NE(result.problem.find("damaged recording: request 4 follows 2"), std::string::npos)
        << result.problem;
}

/* A recording that would end the process is not followed there. */
TEST_F(Damaged, RequestThatTheLibraryWouldNotSurviveIsNotMade)
{
    std::string text = recorded([this] {
        HostInterface &parent = routed_port(0);
        sub_interface("Ethernet0.7", parent, 7);
    });
    const std::string lid = "\"lid_id\":1,";
    const size_t left = text.find("{\"left\":\"Ethernet0\"");
    ASSERT_NE(left, std::string::npos);
    const std::string told_again =
        "{\"interface\":\"Ethernet0\",\"host\":{\"ifindex\":268435456,\"kind\":\"port\","
        "\"registered\":1},\"library\":{\"pd_state\":3,\"l3_pd\":{\"intf_id\":1,"
        "\"old_intf_id\":65535,\"lid_id\":65535,\"pc_id\":65535}}}\n";
    const size_t next = text.find("{\"interface\":\"Ethernet0.7\"");
    ASSERT_NE(next, std::string::npos);
    text.insert(next, told_again);
    const Replay result = replayed(text);
    EXPECT_NE(result.problem.find(": not made: l3lifpd_kvn_add_subint refused, the library would "
                                  "abort: parent Ethernet0 has no LID"),
              std::string::npos)
        << told(result);
}

/* Lines with the state of an interface. */
class DamagedState : public Damaged {
protected:
    static std::string line(const char *name, const char *kind, uint32_t ifindex,
                            const std::string &more = "")
    {
        return "{\"interface\":\"" + std::string(name) +
               "\",\"host\":{\"ifindex\":" + std::to_string(ifindex) + ",\"kind\":\"" + kind +
               "\"" + more + "},\"library\":{}}\n";
    }
    static std::string on(uint32_t parent, uint32_t vlan = 5)
    {
        return ",\"parent\":" + std::to_string(parent) + ",\"vlan\":" + std::to_string(vlan);
    }
    static std::string main(uint32_t ifindex)
    {
        return ",\"main_l3lif\":" + std::to_string(ifindex);
    }
    static std::string svi(uint32_t vlan, const std::string &more = "")
    {
        return line("Vlan", "SVI", 0x30000000 | vlan, ",\"vlan\":" + std::to_string(vlan) + more);
    }
    /* The last of these lines, which no switch can have. */
    static void expect_refused(const std::vector<std::string> &states, const std::string &field)
    {
        std::string text = "{\"kvnsim_recording\":1,\"word_size\":64}\n";
        for (const std::string &state : states)
            text += state;
        /* A request about it, to follow what was built. */
        text += "{\"request\":1,\"entry\":\"l3lifpd_kvn_add_l3port\",\"arguments\":{\"l3lif\":"
                "268435456,\"create\":1}}\n{\"result\":0,\"failed_calls\":0}\n"
                "{\"end\":1,\"requests\":1}\n";
        const Replay result = replayed(text);
        EXPECT_THAT(result.problem,
                    testing::MatchesRegex("try.jsonl:" + std::to_string(1 + states.size()) +
                                          ":1: damaged line: .*: no interface has this \"" + field +
                                          "\""))
            << states.back();
    }

    const std::string ethernet0 = line("Ethernet0", "port", 0x10000000);
    const std::string channel1 = line("PortChannel1", "port-channel", 0x20000001);
};

TEST_F(DamagedState, TakesTheNumbersOfItsKind)
{
    expect_refused({line("E", "tunnel", 0x10000000)}, "kind");
    for (const uint32_t ifindex : {0u, 255u, 0x100000FFu, 0x20000000u, 0xFFFFFFFFu})
        expect_refused({line("E", "port", ifindex)}, "ifindex");
    expect_refused({line("P", "port-channel", 0x20000000 + 10000)}, "ifindex");
    expect_refused({svi(0)}, "ifindex");
    expect_refused({svi(4095)}, "ifindex");
    expect_refused({line("Vlan", "SVI", 0x30000007, ",\"vlan\":8")}, "vlan");
    expect_refused({line("E", "port", 0x10000000, ",\"vlan\":8")}, "vlan");
    expect_refused({line("", "port", 0x10000000)}, "interface");
    expect_refused({line("E", "port", 0x10000000, ",\"member_count\":1")}, "member_count");
    expect_refused({line("P", "port-channel", 0x20000001, ",\"member_count\":-1")}, "member_count");
}

TEST_F(DamagedState, OfASubInterfaceIsOneOfItsOwn)
{
    expect_refused({ethernet0, line("E.5", "sub-interface", 0, on(0x10000000))}, "ifindex");
    expect_refused({ethernet0, line("E.5", "sub-interface", 0x40010000, on(0x10000000))},
                   "ifindex");
    expect_refused({ethernet0, line("E.5", "sub-interface", 0x40000000, on(0x10000000, 0))},
                   "vlan");
    expect_refused({ethernet0, line("E.5", "sub-interface", 0x40000000, on(0x10000000, 4095))},
                   "vlan");
    expect_refused({ethernet0, line("(number 0)", "sub-interface", 0x40000000, on(0x10000000))},
                   "interface");
}

TEST_F(DamagedState, HasAParentThatIsThereAndCarriesIt)
{
    expect_refused({line("E.5", "sub-interface", 0x40000000, on(0x10000000))}, "parent");
    expect_refused({line("E.5", "sub-interface", 0x40000000)}, "vlan");
    expect_refused({svi(7), line("E.5", "sub-interface", 0x40000000, on(0x30000007))}, "parent");
    expect_refused({ethernet0, line("P", "port-channel", 0x20000001, ",\"parent\":268435456")},
                   "parent");
    /* It would take its own parent's place. */
    expect_refused({ethernet0, line("Ethernet0", "sub-interface", 0x40000000, on(0x10000000))},
                   "parent");
    const std::string sub = line("E.5", "sub-interface", 0x40000000, on(0x10000000));
    expect_refused({ethernet0, sub, line("E.6", "sub-interface", 0x40000001, on(0x40000000))},
                   "parent");
}

TEST_F(DamagedState, RefersToNoInterfaceInACircle)
{
    expect_refused({svi(7), svi(8, main(0x30000007))}, "main_l3lif");
    expect_refused({svi(7), svi(7, main(0x30000007))}, "main_l3lif");
    expect_refused({ethernet0, line("Ethernet0", "port", 0x10000000, main(0x10000000))},
                   "main_l3lif");
    expect_refused({channel1, line("PortChannel1", "port-channel", 0x20000001, main(0x20000001))},
                   "main_l3lif");
    expect_refused({channel1, line("PortChannel1", "port", 0x10000000, main(0x20000001))},
                   "main_l3lif");
    expect_refused({ethernet0, channel1,
                    line("E.5", "sub-interface", 0x40000000, on(0x10000000) + main(0x20000001))},
                   "main_l3lif");
    expect_refused({ethernet0, line("Ethernet0", "port", 0x10000000, main(0x20000001))},
                   "main_l3lif");
}

/* A parent that is stated anew takes its sub-interfaces and members with it. */
TEST_F(DamagedState, ThatReplacesOthersLeavesNoneThatReferToThem)
{
    const std::string header = "{\"kvnsim_recording\":1,\"word_size\":64}\n";
    const std::string sub =
        line("E.5", "sub-interface", 0x40000007, on(0x10000000) + main(0x10000000));
    const std::string member = line("Ethernet4", "port", 0x10000004, main(0x20000001));
    const std::string request = "{\"request\":1,\"entry\":\"l3lifpd_kvn_del_subint\","
                                "\"arguments\":{\"l3lif\":1073741831}}\n"
                                "{\"result\":0,\"failed_calls\":0}\n";
    for (const std::string &anew :
         {line("Other", "port", 0x10000000), line("Ethernet0", "port", 0x10000001),
          line("E.5", "port-channel", 0x20000002)}) {
        const Replay result = replayed(header + ethernet0 + channel1 + member + sub + anew +
                                       "{\"gone\":536870913}\n" + request);
        EXPECT_EQ(result.problem, "try.jsonl:8:1: damaged line: l3lif: expected an interface, not "
                                  "0x40000007");
    }
}

/* ---- Each change of a line shows ---- */

/* What nobody compares: it only helps people, or may differ from build to build. */
const std::set<std::string> told_only{"word_size", "subject", "cause", "line",
                                      "injected",  "note",    "end"};

/* Parts of answers that the library does not look at: the question in the answer to it, and what
 * is told of a port-channel when there is none, but that there is none. */
bool is_unread(const std::string &path, const std::string &line)
{
    if (line.find("\"libsdk_switch_config_get\"") != line.npos)
        return path == ".out.request.word0";
    return line.find("\"fwmpd_kvn_get_pc_info\"") != line.npos &&
           (path == ".out.pc_id" || path == ".out.lid_id" || path == ".result");
}

std::string to_text(const rapidjson::Document &json)
{
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    json.Accept(writer);
    return buffer.GetString();
}

/* Give each variant of the line with one value changed. */
void each_change(rapidjson::Document &line, rapidjson::Value &at, const std::string &path,
                 const std::function<void(const std::string &path, const std::string &line)> &give)
{
    for (auto &member : at.GetObject()) {
        const std::string name = member.name.GetString();
        if (told_only.count(name) != 0)
            continue;
        const std::string member_path = path + "." + name;
        if (member.value.IsObject()) {
            each_change(line, member.value, member_path, give);
            continue;
        }
        rapidjson::Value before(member.value, line.GetAllocator());
        if (member.value.IsInt64())
            member.value.SetInt64(member.value.GetInt64() ^ 1);
        else if (member.value.IsString())
            member.value.SetString((std::string(member.value.GetString()) + "?").c_str(),
                                   line.GetAllocator());
        else
            member.value.SetInt(1);
        give(member_path, to_text(line));
        member.value = before;
    }
}

class EachLine : public RecordingFixture {
protected:
    /* Replay with other lines in the place of one. */
    bool shows(size_t index, const std::vector<std::string> &instead)
    {
        std::vector<std::string> changed(lines.begin(),
                                         lines.begin() + static_cast<ptrdiff_t>(index));
        changed.insert(changed.end(), instead.begin(), instead.end());
        changed.insert(changed.end(), lines.begin() + static_cast<ptrdiff_t>(index) + 1,
                       lines.end());
        return !replayed(text_of(changed)).same();
    }
    /* Whether the line tells what happens in a request; the host's own tasks are passed over. */
    bool within_request(size_t index) const
    {
        size_t request = index;
        while (request > 0 && !begins(request, "{\"request\""))
            --request;
        if (lines[request].find("\"entry\":\"host") != std::string::npos)
            return false;
        for (const char *kind : {"{\"call\"", "{\"trace\"", "{\"left\"", "{\"result\""}) {
            if (begins(index, kind))
                return true;
        }
        return false;
    }
    bool begins(size_t index, const char *kind) const { return lines[index].rfind(kind, 0) == 0; }

    const std::vector<std::string> lines = lines_of(recorded_operation());
};

TEST_F(EachLine, ShowsWhenMissing)
{
    for (size_t i = 0; i < lines.size(); ++i) {
        if (within_request(i) || begins(i, "{\"request\"") || begins(i, "{\"end\"")) {
            EXPECT_TRUE(shows(i, {})) << lines[i];
        }
    }
}

TEST_F(EachLine, ShowsWhenDoubled)
{
    for (size_t i = 0; i < lines.size(); ++i) {
        if (within_request(i)) {
            EXPECT_TRUE(shows(i, {lines[i], lines[i]})) << lines[i];
        }
    }
}

TEST_F(EachLine, ShowsWhenOutOfOrder)
{
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
        if (!within_request(i) || !within_request(i + 1) || lines[i] == lines[i + 1])
            continue;
        std::vector<std::string> changed = lines;
        std::swap(changed[i], changed[i + 1]);
        EXPECT_FALSE(replayed(text_of(changed)).same()) << lines[i] << '\n' << lines[i + 1];
    }
}

TEST_F(EachLine, OfARequestShowsWhenItAsksForSomethingElse)
{
    size_t changes = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!begins(i, "{\"request\"") || lines[i].find("\"entry\":\"host") != lines[i].npos)
            continue;
        rapidjson::Document line;
        line.Parse(lines[i].c_str());
        each_change(line, line, "", [&](const std::string &path, const std::string &changed) {
            EXPECT_TRUE(shows(i, {changed})) << path << " of " << lines[i];
            ++changes;
        });
    }
    EXPECT_GT(changes, 40u);
}

TEST_F(EachLine, ShowsWhenAValueOfItChanges)
{
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!within_request(i))
            continue;
        rapidjson::Document line;
        line.Parse(lines[i].c_str());
        each_change(line, line, "", [&](const std::string &path, const std::string &changed) {
            EXPECT_NE(shows(i, {changed}), is_unread(path, lines[i])) << path << " of " << lines[i];
        });
    }
}

} // namespace
} // namespace kvnsim
