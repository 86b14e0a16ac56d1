#include <csignal>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/kvnsim.h"

using testing::HasSubstr;
using testing::UnorderedElementsAre;

/* The files that a run writes, and what becomes of those that are there already. */
class Files : public Kvnsim {
public:
    void SetUp() override
    {
        write("one.json", one_port);
        write("other.json", one_port_1500);
    }
    void expect_untouched(const std::string &file, const std::string &text)
    {
        const Result result = kvnsim({"run", "one.json", "--db", file});
        EXPECT_EQ(bad_input, result.status);
        EXPECT_EQ("", result.out) << "nothing is applied";
        EXPECT_THAT(result.err, HasSubstr(file + ": not a kvnsim database"));
        EXPECT_EQ(text, read(file));
    }
};

TEST_F(Files, ASecondRunReplacesTheDatabase)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    ASSERT_EQ(well, kvnsim({"run", "other.json", "--quiet", "--db", "x.db"}).status);
    ASSERT_EQ(well, kvnsim({"run", "other.json", "--quiet", "--db", "y.db"}).status);
    EXPECT_EQ(well, kvnsim({"diff", "x.db", "y.db"}).status);
    EXPECT_THAT(files(), UnorderedElementsAre("one.json", "other.json", "x.db", "y.db"));
}

TEST_F(Files, ADatabaseMayHaveAnyName)
{
    for (const char *name :
         {"file:x.db", ":memory:", "file:x.db?mode=memory", "x y%20#.db", "-x.db"}) {
        const std::string option = std::string("--db=") + name;
        ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", option}).status) << name;
        EXPECT_THAT(files(), testing::Contains(name));
        EXPECT_EQ(well, kvnsim({"audit", option}).status) << name;
    }
}

TEST_F(Files, WhatReplacesAFileHasItsPermissions)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    ASSERT_EQ(0, chmod(path("x.db").c_str(), 0600));
    ASSERT_EQ(well, kvnsim({"run", "other.json", "--quiet", "--db", "x.db"}).status);
    struct stat info;
    ASSERT_EQ(0, stat(path("x.db").c_str(), &info));
    EXPECT_EQ(0600u, info.st_mode & 07777);
}

/* A limit of this process, which kvnsim inherits, for as long as this lives. */
class Limited {
public:
    Limited(__rlimit_resource what, rlim_t most) : what_(what)
    {
        getrlimit(what_, &before_);
        const rlimit now{most, before_.rlim_max};
        setrlimit(what_, &now);
    }
    ~Limited() { setrlimit(what_, &before_); }
    Limited(const Limited &) = delete;
    Limited &operator=(const Limited &) = delete;

private:
    const __rlimit_resource what_;
    rlimit before_;
};

TEST_F(Files, AnOutputReplacesOnlyWhatIsOfItsKind)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    struct Output {
        std::vector<std::string> command; /* the last word names the file */
        const char *kind;
    };
    const Output outputs[] = {
        {{"run", "one.json", "--quiet", "--record"}, "a recording"},
        {{"run", "one.json", "--quiet", "--debug-file"}, "a debug file"},
        {{"run", "one.json", "--quiet", "--events"}, "an event history"},
        {{"report", "x.db", "-o"}, "a page of kvnsim"},
        {{"faults", "one.json", "--report"}, "a page of kvnsim"},
        {{"faults", "one.json", "--shard", "1/2", "-o"}, "a file of results"},
        {{"fleet", "one.json", "--shard", "1/2", "-o"}, "a file of results"},
    };
    for (const Output &output : outputs) {
        std::vector<std::string> command = output.command;
        command.push_back("out");
        EXPECT_NE(bad_input, kvnsim(command).status);
        EXPECT_NE(bad_input, kvnsim(command).status) << "its own is replaced";
        const std::string whole = read("out");
        for (const std::string &other : {std::string("precious notes"), whole.substr(0, 3)}) {
            write("out", other);
            const Result refused = kvnsim(command);
            EXPECT_EQ(bad_input, refused.status);
            EXPECT_THAT(refused.err, HasSubstr("out: the file is there and is not " +
                                               std::string(output.kind) + "; --force overwrites"));
            EXPECT_EQ(other, read("out"));
        }
        command.push_back("--force");
        EXPECT_NE(bad_input, kvnsim(command).status);
        EXPECT_EQ(whole.substr(0, 3), read("out").substr(0, 3));
        write("out", "");
    }
}

TEST_F(Files, WhatAKilledRunLeftIsRemovedByTheNext)
{
    write("x.db.kvnsim-aB3dE9", "left");
    write("x.db.kvnsim-inUse1", "another run's");
    write("x.db.backup", "a user's");
    write("x.db.kvnsim-backups", "a user's");
    write("y.db.kvnsim-aB3dE9", "left by others");
    const int in_use = open(path("x.db.kvnsim-inUse1").c_str(), O_RDONLY);
    ASSERT_EQ(0, flock(in_use, LOCK_EX));
    EXPECT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    close(in_use);
    EXPECT_THAT(files(),
                UnorderedElementsAre("one.json", "other.json", "x.db", "x.db.kvnsim-inUse1",
                                     "x.db.backup", "x.db.kvnsim-backups", "y.db.kvnsim-aB3dE9"));
}

TEST_F(Files, BeyondTheLimitOfAFilesSizeTheOldOneIsKept)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    const std::string before = read("x.db");
    Result result;
    {
        const Limited limit(RLIMIT_FSIZE, 4096);
        result = kvnsim({"run", "other.json", "--quiet", "--db", "x.db"});
    }
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.err, HasSubstr("x.db: "));
    EXPECT_EQ(before, read("x.db"));
    EXPECT_THAT(files(), UnorderedElementsAre("one.json", "other.json", "x.db"));
}

/* ---- Endless input ---- */

class EndlessInput : public Kvnsim {
public:
    /* Runs it with a standard input that never ends. */
    Result fed_zeros(const std::vector<std::string> &arguments)
    {
        const int zeros = open("/dev/zero", O_RDONLY), nothing = open("/dev/null", O_WRONLY),
                  err = open(path("err").c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
        const pid_t process = start(arguments, zeros, nothing, err);
        for (const int file : {zeros, nothing, err})
            close(file);
        Result result;
        result.status = wait_for(process);
        result.err = read("err");
        return result;
    }
};

TEST_F(EndlessInput, IsRefusedByWhatReadsAFile)
{
    for (const char *verb : {"check", "run", "plan", "events"}) {
        const Result result = fed_zeros({verb, "-"});
        EXPECT_EQ(bad_input, result.status) << verb;
        EXPECT_THAT(result.err, HasSubstr("cannot be read: larger than 256 MiB")) << verb;
    }
}

TEST_F(EndlessInput, IsRefusedByWhatReadsLines)
{
    const Result replay = fed_zeros({"replay", "-"});
    EXPECT_EQ(bad_input, replay.status);
    EXPECT_THAT(replay.err, HasSubstr("-:1:1: the line is longer than 64 MiB"));
    const Result shell = fed_zeros({"shell"});
    EXPECT_EQ(bad_input, shell.status);
    EXPECT_THAT(shell.err, HasSubstr("-:1: the line is longer than 64 MiB"));
}

#ifndef __SANITIZE_ADDRESS__ /* which has addresses of its own */
TEST_F(EndlessInput, BeyondTheMemoryThatThereIsSaysSo)
{
    const Limited limit(RLIMIT_AS, rlim_t{160} << 20);
    const Result result = fed_zeros({"events", "-"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("kvnsim: out of memory\n", result.err);
}
#endif

TEST_F(EndlessInput, EndsWithTheFirstSignalWhateverReadsIt)
{
    for (const char *verb : {"replay", "events", "check", "run", "shell"}) {
        int ends[2];
        ASSERT_EQ(0, pipe(ends));
        const int nothing = open("/dev/null", O_RDWR);
        const pid_t process =
            start(verb == std::string("shell") ? std::vector<std::string>{verb}
                                               : std::vector<std::string>{verb, "-"},
                  ends[0], nothing, nothing);
        close(ends[0]);
        close(nothing);
        /* More than the pipe holds: it is read from, so kvnsim has begun. */
        const std::string block(1 << 20, ' ');
        EXPECT_LT(0, ::write(ends[1], block.data(), block.size())) << verb;
        ASSERT_EQ(0, kill(process, SIGINT));
        const int status = wait_for(process);
        EXPECT_TRUE(status == 128 + SIGINT || status == -SIGINT) << verb << " " << status;
        close(ends[1]);
    }
}

/* ---- Databases ---- */

TEST_F(Files, AFileThatIsNoDatabaseOfKvnsimIsRefusedUntouched)
{
    expect_untouched(write("notes.txt", "remember the milk\n"), "remember the milk\n");
    sqlite3 *db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(path("other.db").c_str(), &db));
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(db, "CREATE TABLE t(a)", nullptr, nullptr, nullptr));
    sqlite3_close(db);
    expect_untouched("other.db", read("other.db"));
}

TEST_F(Files, ARefusedConfigurationLeavesTheOldDatabase)
{
    ASSERT_EQ(well, kvnsim({"run", "one.json", "--quiet", "--db", "x.db"}).status);
    const std::string before = read("x.db");
    EXPECT_EQ(bad_input, kvnsim({"run", example("broken.json"), "--db", "x.db"}).status);
    EXPECT_EQ(before, read("x.db"));
}

TEST_F(Files, PlacesThatCannotBeWrittenAreRefusedBeforeWorkBegins)
{
    for (const char *option : {"--db", "--record", "--events", "--debug-file"}) {
        const Result result = kvnsim({"run", "one.json", option, "nowhere/x"});
        EXPECT_EQ(bad_input, result.status) << option;
        EXPECT_EQ("", result.out) << option;
        EXPECT_THAT(result.err, HasSubstr("nowhere/x")) << option;
    }
}

TEST_F(Files, APlaceThatTakesNoFilesIsReported)
{
    for (const char *option : {"--db", "--record", "--events", "--debug-file"}) {
        const Result result = kvnsim({"run", "one.json", option, "/proc/kvnsim"});
        EXPECT_EQ(bad_input, result.status) << option;
        EXPECT_THAT(result.err, HasSubstr("/proc/kvnsim")) << option;
    }
}

TEST_F(Files, AFolderThatMayNotBeWrittenIsRefused)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root may write everywhere";
    ASSERT_EQ(0, mkdir(path("locked").c_str(), 0555));
    const Result result = kvnsim({"run", "one.json", "--db", "locked/x.db"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.err, HasSubstr("Permission denied"));
}

TEST_F(Files, AFullDiskIsReportedAndTheOtherFilesAreKept)
{
    for (const char *option : {"--record", "--events", "--debug-file"}) {
        const Result result =
            kvnsim({"run", "one.json", "--quiet", option, "/dev/full", "--db", "x.db"});
        EXPECT_EQ(bad_input, result.status) << option;
        EXPECT_EQ("kvnsim: cannot write /dev/full: No space left on device\n", result.err);
        EXPECT_EQ(well, kvnsim({"audit", "--db", "x.db"}).status) << option;
        ASSERT_EQ(0, unlink(path("x.db").c_str()));
    }
}

TEST_F(Files, OutputThatCannotBeWrittenIsReported)
{
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"run", "one.json"},
                                                      {"run", "one.json", "--json"},
                                                      {"check", "one.json"},
                                                      {"version"},
                                                      {"--help"}}) {
        const Result result = kvnsim_into("/dev/full", arguments);
        EXPECT_EQ(bad_input, result.status) << arguments[0];
        EXPECT_EQ("kvnsim: cannot write standard output: No space left on device\n", result.err);
    }
}

TEST_F(Files, AReaderThatWentAwayIsNoErrorAndTheDatabaseKept)
{
    const std::string messages = path("messages");
    const int err = open(messages.c_str(), O_WRONLY | O_CREAT, 0600);
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    const int status = wait_for(start({"run", "one.json", "--db", "x.db"}, ends[1], ends[1], err));
    close(ends[1]);
    close(err);
    EXPECT_EQ(output_unread, status);
    EXPECT_EQ("", read("messages"));
    EXPECT_EQ(well, kvnsim({"audit", "--db", "x.db"}).status);
}
