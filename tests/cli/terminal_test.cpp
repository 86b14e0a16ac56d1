#include <csignal>

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
    EXPECT_THAT(audit.out, MatchesRegex("(missing: [^\n]*\n)+[0-9]+ findings?\n"));
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
