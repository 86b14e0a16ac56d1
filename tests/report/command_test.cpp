#include "tests/cli/kvnsim.h"

#include <sys/stat.h>
#include <unistd.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class ReportCommand : public Kvnsim {
public:
    void SetUp() override
    {
        ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "leaf.db"}).status);
    }
};

TEST_F(ReportCommand, WritesThePageAndNothingElse)
{
    const Result result = kvnsim({"report", "--db", "leaf.db", "-o", "leaf.html"});
    EXPECT_EQ(well, result.status);
    EXPECT_EQ("", result.out + result.err);
    EXPECT_THAT(read("leaf.html"), StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(read("leaf.html"), EndsWith("</html>\n"));
    EXPECT_THAT(files(), UnorderedElementsAre("leaf.db", "leaf.html"));
}

TEST_F(ReportCommand, WritesTheSameToStandardOutput)
{
    kvnsim({"report", "--db", "leaf.db", "-o", "leaf.html"});
    const Result result = kvnsim({"report", "--db", "leaf.db", "-o", "-"});
    EXPECT_EQ(well, result.status);
    EXPECT_TRUE(result.out == read("leaf.html"));
}

TEST_F(ReportCommand, HasTheTablesOfRunBesideThoseOfShow)
{
    const std::string page = kvnsim({"report", "--db", "leaf.db", "-o", "-"}).out;
    EXPECT_THAT(page, HasSubstr("\"name\":\"shared-database\""));
    EXPECT_THAT(page, HasSubstr("\"name\":\"attributes\""));
}

TEST_F(ReportCommand, ReplacesAnOlderPage)
{
    const std::string page = kvnsim({"report", "--db", "leaf.db", "-o", "-"}).out;
    write("leaf.html", page.substr(0, 1000));
    EXPECT_EQ(well, kvnsim({"report", "--db", "leaf.db", "-o", "leaf.html"}).status);
    EXPECT_EQ(page, read("leaf.html"));
}

TEST_F(ReportCommand, ReplacesTheFileBehindALink)
{
    const std::string page = kvnsim({"report", "--db", "leaf.db", "-o", "-"}).out;
    write("page.html", page.substr(0, 1000));
    ASSERT_EQ(0, symlink("page.html", path("link.html").c_str()));
    EXPECT_EQ(well, kvnsim({"report", "--db", "leaf.db", "-o", "link.html"}).status);
    EXPECT_EQ(page, read("page.html"));
    struct stat link {};
    ASSERT_EQ(0, lstat(path("link.html").c_str(), &link));
    EXPECT_TRUE(S_ISLNK(link.st_mode));
}

TEST_F(ReportCommand, LeavesADeviceADevice)
{
    EXPECT_EQ(well, kvnsim({"report", "--db", "leaf.db", "-o", "/dev/null"}).status);
    struct stat device {};
    ASSERT_EQ(0, stat("/dev/null", &device));
    EXPECT_TRUE(S_ISCHR(device.st_mode));
}

TEST_F(ReportCommand, SaysWhyItCannotWrite)
{
    const Result result = kvnsim({"report", "--db", "leaf.db", "-o", "missing/leaf.html"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("kvnsim: missing/leaf.html: cannot be written: No such file or directory\n",
              result.err);
    EXPECT_EQ(bad_input, kvnsim({"report", "--db", "leaf.db", "-o", "/dev/full"}).status);
}

TEST_F(ReportCommand, DoesNotOverwriteItsDatabase)
{
    const std::string before = read("leaf.db");
    const Result result = kvnsim({"report", "--db", "leaf.db", "-o", "./leaf.db"});
    EXPECT_EQ(usage, result.status);
    EXPECT_THAT(result.err, HasSubstr("-o ./leaf.db: that is the database"));
    EXPECT_TRUE(before == read("leaf.db"));
}

TEST_F(ReportCommand, LeavesNoPageOfADatabaseThatCannotBeRead)
{
    write("text.db", "no database");
    EXPECT_EQ(bad_input, kvnsim({"report", "--db", "text.db", "-o", "a.html"}).status);
    EXPECT_EQ(bad_input, kvnsim({"report", "--db", "absent.db", "-o", "a.html"}).status);
    EXPECT_FALSE(exists("a.html"));
}

TEST_F(ReportCommand, MustBeToldWhereToWrite)
{
    const Result result = kvnsim({"report", "--db", "leaf.db"});
    EXPECT_EQ(usage, result.status);
    EXPECT_THAT(result.err, HasSubstr("-o is missing"));
}
