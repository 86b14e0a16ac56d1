#include <algorithm>
#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/kvnsim.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

/* What a person in front of it sees and does. */
class Terminal : public Kvnsim {};

static const char *const escape = "\033[";

TEST_F(Terminal, ColourIsForTerminalsOnly)
{
    EXPECT_THAT(kvnsim_on_terminal({"run", example("leaf.json")}).out, HasSubstr(escape));
    EXPECT_THAT(kvnsim_on_terminal({"check", example("broken.json")}).out, HasSubstr(escape));
    const Result piped = kvnsim({"run", example("broken.json"), "--keep-going", "--timeline"});
    EXPECT_THAT(piped.out + piped.err, Not(HasSubstr(escape)));
}

TEST_F(Terminal, NoColorIsObeyed)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"check", example("broken.json")},
          {"show", "interfaces", "--db", "leaf.db"}}) {
        ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "leaf.db"}).status);
        EXPECT_THAT(kvnsim_on_terminal(arguments).out, HasSubstr(escape));
        EXPECT_THAT(kvnsim_on_terminal(arguments, {"NO_COLOR=1"}).out, Not(HasSubstr(escape)));
    }
}

TEST_F(Terminal, ProgressIsForTerminalsOnly)
{
    const std::string shown =
        kvnsim_on_terminal({"run", example("leaf.json"), "--json"}, {"NO_COLOR=1"}).out;
    EXPECT_THAT(shown, HasSubstr("reading the configurations\r\033[K"));
    EXPECT_EQ("", kvnsim({"run", example("leaf.json"), "--json"}).err);
}

/* ---- Width ---- */

static size_t longest_line(const std::string &text)
{
    size_t longest = 0;
    for (std::string line : lines(text)) {
        if (!line.empty() && line.back() == '\r') /* of the terminal */
            line.pop_back();
        longest = std::max(longest, line.size());
    }
    return longest;
}

class Width : public Terminal {
public:
    void SetUp() override
    {
        ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "leaf.db"}).status);
    }
    const std::vector<std::string> no_colour{"NO_COLOR=1"};
};

TEST_F(Width, TablesFitTheTerminalAndTellWhatTheyLeaveOut)
{
    for (const char *table : {"interfaces", "ports", "port-channels", "lids", "macs", "vlans"}) {
        for (const unsigned short columns : std::initializer_list<unsigned short>{60, 80, 100}) {
            const std::string shown =
                kvnsim_on_terminal({"show", table, "leaf.db"}, no_colour, columns).out;
            EXPECT_LE(longest_line(shown), columns) << shown;
        }
    }
    const std::string narrow =
        kvnsim_on_terminal({"show", "interfaces", "leaf.db"}, no_colour, 60).out;
    EXPECT_THAT(narrow, HasSubstr("Ethernet36.200"));
    EXPECT_THAT(narrow, HasSubstr("Left out: Addresses, "));
    EXPECT_THAT(narrow, HasSubstr("--wide"));
    const std::string explained =
        kvnsim_on_terminal({"explain", "Ethernet0", "leaf.db"}, no_colour, 70).out;
    EXPECT_THAT(explained, HasSubstr("Left out: Written by"));
}

TEST_F(Width, IsOfNoConcernWhenAskedForInFilesAndWhereItIsNotKnown)
{
    const std::string all = kvnsim({"show", "interfaces", "leaf.db"}, "", {"COLUMNS=60"}).out;
    EXPECT_GT(longest_line(all), 100u);
    const auto on_terminal = [&](const std::vector<std::string> &arguments,
                                 unsigned short columns) {
        std::string text = kvnsim_on_terminal(arguments, no_colour, columns).out;
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    };
    EXPECT_EQ(all, on_terminal({"show", "interfaces", "leaf.db", "--wide"}, 60));
    EXPECT_EQ(all, on_terminal({"show", "interfaces", "leaf.db"}, 0));
}

TEST_F(Width, IsWhatColumnsSays)
{
    const Result result =
        kvnsim_on_terminal({"show", "interfaces", "leaf.db"}, {"NO_COLOR=1", "COLUMNS=50"}, 200);
    EXPECT_LE(longest_line(result.out), 50u) << result.out;
    EXPECT_GT(longest_line(kvnsim_on_terminal({"show", "interfaces", "leaf.db"},
                                              {"NO_COLOR=1", "COLUMNS=none"}, 200)
                               .out),
              50u);
}

TEST_F(Width, ASummaryOfARunFitsATerminal)
{
    const std::string shown =
        kvnsim_on_terminal({"run", example("leaf.json"), "--tables"}, no_colour, 80).out;
    for (const std::string &line : lines(shown)) {
        if (line.find(".json:") == std::string::npos) { /* a path of any length */
            EXPECT_LE(longest_line(line), 80u) << line;
        }
    }
}

/* ---- Ctrl-C ---- */

TEST_F(Terminal, CtrlCBetweenStepsKeepsWhatCameAboutInASoundDatabase)
{
    write("many.json", ports(250));
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const int nothing = open("/dev/null", O_RDWR);
    const pid_t process =
        start({"run", "many.json", "--timeline", "--db", "x.db"}, nothing, ends[1], nothing);
    close(ends[1]);
    /* The first output tells that work has begun. The rest is more than a pipe holds: the end
     * cannot be reached until it is read. */
    char block[4096];
    ASSERT_LT(0, ::read(ends[0], block, 1));
    ASSERT_EQ(0, kill(process, SIGINT));
    std::string out;
    for (ssize_t got; (got = ::read(ends[0], block, sizeof block)) > 0;)
        out.append(block, static_cast<size_t>(got));
    close(ends[0]);
    close(nothing);
    EXPECT_EQ(128 + SIGINT, wait_for(process));
    EXPECT_THAT(out, HasSubstr("; interrupted after "));
    EXPECT_EQ(well, kvnsim({"show", "summary", "--db", "x.db"}).status);
    /* What is there agrees; the ports that are missing are told. */
    const Result audit = kvnsim({"audit", "--db", "x.db"});
    EXPECT_EQ(found, audit.status);
    EXPECT_THAT(
        audit.out,
        MatchesRegex("(missing: [^\n]*\n)+[0-9]+ findings?\n[^\n]*services wanted[^\n]*\n"));
}

TEST_F(Terminal, CtrlCWhileReadingAppliesNothing)
{
    ASSERT_EQ(0, mkfifo(path("slow.json").c_str(), 0600));
    const int nothing = open("/dev/null", O_RDWR);
    const pid_t process = start({"run", "slow.json", "--db", "x.db"}, nothing, nothing, nothing);
    /* Opening waits for the reader. */
    const int writer = open(path("slow.json").c_str(), O_WRONLY);
    ASSERT_LE(0, writer);
    ASSERT_EQ(0, kill(process, SIGINT));
    close(writer);
    close(nothing);
    EXPECT_EQ(128 + SIGINT, wait_for(process));
    EXPECT_FALSE(exists("x.db"));
}

TEST_F(Terminal, AHangUpEndsARunAsSigtermDoes)
{
    ASSERT_EQ(0, mkfifo(path("slow.json").c_str(), 0600));
    const int nothing = open("/dev/null", O_RDWR);
    const pid_t process = start({"run", "slow.json", "--db", "x.db"}, nothing, nothing, nothing);
    /* Opening waits for the reader. */
    const int writer = open(path("slow.json").c_str(), O_WRONLY);
    ASSERT_LE(0, writer);
    ASSERT_EQ(0, kill(process, SIGHUP));
    close(writer);
    close(nothing);
    EXPECT_EQ(128 + SIGHUP, wait_for(process));
    EXPECT_FALSE(exists("x.db"));
}
