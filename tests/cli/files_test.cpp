#include <fcntl.h>
#include <sqlite3.h>
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
