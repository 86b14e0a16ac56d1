#include <csignal>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/following.h"
#include "tests/cli/kvnsim.h"
#include "tests/redis_server.h"

using kvnsim::test::RedisServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/* A switch that follows its configuration. */
class WatchFile : public Kvnsim {
public:
    void SetUp() override { write("c.json", one_port); }
    /* As editors do: a new file takes the old one's place. */
    void replace(const std::string &text)
    {
        write("c.json.new", text);
        std::filesystem::rename(path("c.json.new"), path("c.json"));
    }
};

static const char *const following = "told of changes by the system";

TEST_F(WatchFile, AppliesEachBurstOfChanges)
{
    Following watch(*this, {"watch", "c.json", "--db", "x.db"});
    EXPECT_THAT(watch.until(following), HasSubstr("c.json: 2 steps, 2 requests, "));
    EXPECT_EQ(well, kvnsim({"show", "summary", "--db", "x.db"}).status) << "saved by now";
    replace(one_port_1500);
    EXPECT_THAT(watch.until("Ethernet0: MTU 9100 -> 1500"), StartsWith("c.json: 1 step, "));
    EXPECT_THAT(kvnsim({"show", "interfaces", "--db", "x.db"}).out, HasSubstr(" 1500 "));
    write("c.json", ports(2));
    watch.until("route port Ethernet1");
    write("c.json", one_port);
    watch.until("stop routing port Ethernet1");
    watch.send(SIGINT);
    EXPECT_EQ(128 + SIGINT, watch.end());
    ASSERT_EQ(well, kvnsim({"run", "c.json", "--quiet", "--db", "y.db"}).status);
    EXPECT_EQ(well, kvnsim({"diff", "x.db", "y.db"}).status);
}

TEST_F(WatchFile, EndsUpWithTheLastOfManyChanges)
{
    Following watch(*this, {"watch", "c.json", "--db", "x.db"});
    watch.until(following);
    for (unsigned count = 1; count <= 20; ++count)
        write("c.json", ports(count));
    watch.until("route port Ethernet19");
    watch.send(SIGINT);
    EXPECT_EQ(128 + SIGINT, watch.end());
    ASSERT_EQ(well, kvnsim({"run", "c.json", "--quiet", "--db", "y.db"}).status);
    EXPECT_EQ(well, kvnsim({"diff", "x.db", "y.db"}).status);
}

TEST_F(WatchFile, SaysNothingOfAFileThatIsWrittenAsItWas)
{
    Following watch(*this, {"watch", "c.json", "--bursts", "1"});
    watch.until(following);
    replace(one_port);
    ASSERT_EQ(0, utimensat(AT_FDCWD, path("c.json").c_str(), nullptr, 0));
    replace(one_port_1500);
    EXPECT_EQ(well, watch.end());
    EXPECT_THAT(watch.rest, StartsWith("c.json: 1 step, "));
}

TEST_F(WatchFile, KeepsTheSwitchWhileTheFileIsGone)
{
    Following watch(*this, {"watch", "c.json", "--db", "x.db"});
    watch.until(following);
    std::filesystem::remove(path("c.json"));
    EXPECT_EQ("c.json: cannot be read: No such file or directory; the switch stays as it is",
              watch.line());
    EXPECT_EQ(well, kvnsim({"explain", "Ethernet0", "--db", "x.db"}).status);
    write("c.json", one_port_1500);
    EXPECT_THAT(watch.until("Ethernet0: MTU 9100 -> 1500"), HasSubstr("c.json: read again; "));
    std::filesystem::remove(path("c.json"));
    watch.until("cannot be read");
    watch.send(SIGTERM);
    EXPECT_EQ(128 + SIGTERM, watch.end());
    EXPECT_EQ(well, kvnsim({"audit", "--db", "x.db"}).status);
}

TEST_F(WatchFile, WaitsForTheRestOfAHalfWrittenFile)
{
    Following watch(*this, {"watch", "c.json"});
    watch.until(following);
    const std::string whole = one_port_1500;
    write("c.json", whole.substr(0, whole.size() / 2));
    watch.until("found the end of the file");
    EXPECT_EQ("c.json: 1 error; 1 left out; not applied", watch.line());
    write("c.json", whole);
    watch.until("Ethernet0: MTU 9100 -> 1500");
}

TEST_F(WatchFile, AppliesNoConfigurationWithErrors)
{
    const std::string wrong = R"({"PORT": {"Ethernet0": {"mtu": "1"}, "Ethernet1": {}},
"INTERFACE": {"Ethernet1": {}}})";
    for (const bool keeps_going : {false, true}) {
        std::vector<std::string> arguments{"watch", "c.json", "--bursts", "1"};
        if (keeps_going)
            arguments.push_back("--keep-going");
        write("c.json", one_port);
        Following watch(*this, arguments);
        watch.until(following);
        replace(wrong);
        EXPECT_EQ(bad_input, watch.end());
        EXPECT_THAT(watch.rest, HasSubstr("c.json:1:32: PORT|Ethernet0: mtu is \"1\""));
        if (keeps_going)
            EXPECT_THAT(watch.rest, HasSubstr("  route port Ethernet1"));
        else
            EXPECT_THAT(watch.rest,
                        AllOf(HasSubstr("c.json: 1 error; 1 left out; not applied (--keep-going "
                                        "applies the valid rows)"),
                              Not(HasSubstr("step"))));
    }
}

TEST_F(WatchFile, RepeatsNoFindingThatItHasTold)
{
    write("c.json", R"({"INTERFACE": {"Ethernet0": {}}})");
    Following watch(*this, {"watch", "c.json"});
    EXPECT_THAT(watch.until(following), HasSubstr("note: there is no table PORT: 1 front-panel"));
    replace(R"({"INTERFACE": {"Ethernet0": {}}, "VRF": {}})");
    EXPECT_THAT(watch.line(), StartsWith("c.json: 0 steps"));
    replace(R"({"INTERFACE": {"Ethernet0": {}, "Ethernet1": {}}})");
    EXPECT_THAT(watch.line(), HasSubstr("note: there is no table PORT: 2 front-panel"));
}

TEST_F(WatchFile, TellsFailuresAndWhatTheAuditFindsAnew)
{
    Following watch(*this, {"watch", "c.json", "--bursts", "1", "--fail", "libsdk_intf_create:1"});
    EXPECT_THAT(watch.until(following),
                AllOf(HasSubstr("failed to route port Ethernet0"),
                      HasSubstr("  audit: new: missing: Ethernet0 is wanted")));
    replace(one_port_1500);
    EXPECT_EQ(well, watch.end()) << "the second burst made up for the failure";
    EXPECT_THAT(watch.rest, AllOf(HasSubstr("made up for by request"),
                                  HasSubstr("  audit: gone: missing: Ethernet0 is wanted"),
                                  Not(HasSubstr("audit: new"))));
}

TEST_F(WatchFile, PrintsADocumentForEachBurst)
{
    Following watch(*this, {"watch", "c.json", "--json"}, false);
    const auto document = [&] {
        Result one;
        one.out = watch.line();
        return one.json();
    };
    const auto first = document();
    EXPECT_EQ(0, first["burst"].GetInt());
    EXPECT_TRUE(first["applied"].GetBool());
    EXPECT_EQ(2u, first["steps"].Size());
    replace(one_port_1500);
    const auto second = document();
    EXPECT_EQ(1, second["burst"].GetInt());
    EXPECT_EQ(1u, second["steps"].Size());
    EXPECT_STREQ("Ethernet0", second["steps"][0]["object"].GetString());
    std::filesystem::remove(path("c.json"));
    const auto lost = document();
    EXPECT_TRUE(lost["burst"].IsNull());
    EXPECT_STREQ("cannot be read: No such file or directory", lost["lost"].GetString());
    EXPECT_FALSE(lost["applied"].GetBool());
    write("c.json", "{");
    const auto half = document();
    EXPECT_TRUE(half["lost"].IsNull());
    EXPECT_FALSE(half["applied"].GetBool());
    EXPECT_EQ(1u, half["findings"].Size());
}

TEST_F(WatchFile, FollowsALinkToTheFileThatItLeadsTo)
{
    std::filesystem::create_directory(path("there"));
    std::filesystem::rename(path("c.json"), path("there/real.json"));
    std::filesystem::create_symlink("there/real.json", path("c.json"));
    Following watch(*this, {"watch", "c.json"});
    watch.until(following);
    write("there/real.json", one_port_1500);
    watch.until("Ethernet0: MTU 9100 -> 1500");
}

TEST_F(WatchFile, RecordsAllThatItDoes)
{
    Following watch(*this, {"watch", "c.json", "--bursts", "1", "--record", "x.jsonl", "--quiet",
                            "--timeline"});
    watch.until("l3lifpd_kvn_add_l3port");
    replace(one_port_1500);
    EXPECT_EQ(well, watch.end());
    EXPECT_THAT(watch.rest, HasSubstr("l3lifpd_kvn_set_l3_property(l3lif=Ethernet0 prop_type=12"));
    EXPECT_EQ(well, kvnsim({"replay", "x.jsonl"}).status);
}

TEST_F(WatchFile, EndsWithCtrlCWhileReadingForTheFirstTime)
{
    ASSERT_EQ(0, mkfifo(path("slow.json").c_str(), 0600));
    Following watch(*this, {"watch", "slow.json", "--db", "x.db"});
    /* Opening waits for the reader. */
    const int writer = open(path("slow.json").c_str(), O_WRONLY);
    ASSERT_LE(0, writer);
    watch.send(SIGINT);
    close(writer);
    EXPECT_EQ(128 + SIGINT, watch.end());
    EXPECT_EQ("", watch.rest);
    EXPECT_FALSE(exists("x.db"));
}

TEST_F(WatchFile, BeginsWithAFileThatCanBeRead)
{
    const Result missing = kvnsim({"watch", "nothing.json", "--db", "x.db"});
    EXPECT_EQ(bad_input, missing.status);
    EXPECT_EQ("kvnsim: nothing.json: cannot be read: No such file or directory\n", missing.err);
    EXPECT_FALSE(exists("x.db"));
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"watch", "-"},
          {"watch", "c.json", "--every", "0"},
          {"watch", "c.json", "--db", "c.json"},
          {"watch", "c.json", "--json", "--timeline"}}) {
        const Result wrong = kvnsim(arguments);
        EXPECT_EQ(usage, wrong.status) << wrong.err;
        EXPECT_THAT(wrong.out, Not(HasSubstr("burst")));
    }
}

/* ---- A running database ---- */

class WatchDatabase : public Kvnsim {
public:
    void SetUp() override
    {
        const std::string problem = RedisServer::problem();
        if (!problem.empty())
            GTEST_SKIP() << problem;
        write("one.json", one_port);
        write("other.json", one_port_1500);
    }
};

TEST_F(WatchDatabase, IsToldOfChangesOrLooksForThem)
{
    for (const bool tells : {true, false}) {
        const RedisServer server;
        if (tells)
            server.command({"CONFIG", "SET", "notify-keyspace-events", "AKE"});
        server.load(path("one.json"));
        Following watch(*this, {"watch", server.url(), "--db", "x.db"});
        EXPECT_THAT(watch.until(" changes"), HasSubstr(server.url() + ": 2 steps, "));
        server.command({"HSET", "PORT|Ethernet0", "mtu", "1500"});
        watch.until("Ethernet0: MTU 9100 -> 1500");
        server.command({"HSET", "PORT|Ethernet4", "NULL", "NULL"});
        watch.until("add port Ethernet4");
        server.command({"DEL", "INTERFACE|Ethernet0", "INTERFACE|Ethernet0|192.0.2.0/31"});
        watch.until("stop routing port Ethernet0");
        watch.send(SIGINT);
        EXPECT_EQ(128 + SIGINT, watch.end());
        EXPECT_EQ(well, kvnsim({"audit", "--db", "x.db"}).status);
    }
}

TEST_F(WatchDatabase, SaysHowItNoticesChanges)
{
    const RedisServer server;
    server.load(path("one.json"));
    {
        Following looks(*this, {"watch", server.url()});
        looks.until("looking for changes, as the server does not tell of them");
    }
    server.command({"CONFIG", "SET", "notify-keyspace-events", "AKE"});
    Following told(*this, {"watch", server.url()});
    told.until("told of changes by the server");
}

TEST_F(WatchDatabase, KeepsTheSwitchWhileTheServerIsAway)
{
    for (const bool tells : {true, false}) {
        RedisServer server;
        if (tells)
            server.command({"CONFIG", "SET", "notify-keyspace-events", "AKE"});
        server.load(path("one.json"));
        Following watch(*this, {"watch", server.url(), "--db", "x.db"});
        watch.until(" changes");
        server.kill();
        EXPECT_THAT(watch.until("the switch stays as it is"), HasSubstr(": cannot be read: "));
        EXPECT_THAT(kvnsim({"show", "interfaces", "--db", "x.db"}).out, HasSubstr(" 9100 "));
        server.start();
        server.load(path("other.json"));
        watch.until("read again; ");
        /* The new server may have been read before it was filled. */
        watch.until(" 1500");
        watch.send(SIGINT);
        EXPECT_EQ(128 + SIGINT, watch.end());
    }
}

TEST_F(WatchDatabase, ARowThatIsNoHashIsGone)
{
    const RedisServer server;
    server.load(path("one.json"));
    Following watch(*this, {"watch", server.url()});
    watch.until(" changes");
    server.command({"SET", "INTERFACE|Ethernet0", "routed"});
    EXPECT_THAT(watch.until(" step"),
                AllOf(HasSubstr("note: keys that are not hashes named TABLE|key are not read: 1"),
                      HasSubstr("note: Ethernet0 has addresses, but no row")));
}

TEST_F(WatchDatabase, BeginsWithADatabaseThatCanBeRead)
{
    RedisServer server;
    server.kill();
    const Result result = kvnsim({"watch", server.url(), "--db", "x.db"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.err, StartsWith("kvnsim: " + server.url() + ": cannot be read: "));
    EXPECT_FALSE(exists("x.db"));
}
