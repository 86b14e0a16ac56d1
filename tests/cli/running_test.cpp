#include <set>

#include "tests/cli/kvnsim.h"
#include "tests/redis_server.h"

using kvnsim::test::RedisServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/* Configurations out of a running configuration database. */
class Running : public Kvnsim {
public:
    void SetUp() override
    {
        const std::string problem = RedisServer::problem();
        if (!problem.empty())
            GTEST_SKIP() << problem;
    }
};

TEST_F(Running, BringsUpTheSwitchThatTheFileBringsUp)
{
    const RedisServer server;
    server.load(example("leaf.json"));
    const Result result = kvnsim({"run", server.url(), "--db", "running.db"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out, StartsWith(server.url() + ": "));
    ASSERT_EQ(well, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "file.db"}).status);
    EXPECT_EQ(well, kvnsim({"diff", "file.db", "running.db"}).status);
    EXPECT_THAT(kvnsim({"explain", "Ethernet0", "--db", "running.db"}).out,
                HasSubstr("configured at " + server.url() + ": INTERFACE|Ethernet0\n"));
    EXPECT_THAT(kvnsim({"run", server.url(), server.url(), "--quiet"}).status, well);
}

TEST_F(Running, IsReadThroughASocketToo)
{
    const RedisServer server;
    server.load(example("routed_ports.json"));
    const Result result = kvnsim({"check", "redis+unix://" + server.socket() + "?db=4"});
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_EQ("redis+unix://" + server.socket() + "?db=4: nothing found\n", result.out);
}

TEST_F(Running, HasFindingsAtTableAndKeyWithoutALine)
{
    const RedisServer server;
    server.load(example("broken.json"));
    const Result text = kvnsim({"check", server.url()});
    EXPECT_EQ(bad_input, text.status);
    EXPECT_THAT(text.out, AllOf(HasSubstr(server.url() + ": VLAN|Vlan10: warning: vlanid is 11"),
                                Not(HasSubstr(":0:0"))));
    const auto json = kvnsim({"check", server.url(), "--json"}).json();
    for (const auto &finding : json["configurations"][0]["findings"].GetArray()) {
        EXPECT_TRUE(finding["line"].IsNull());
        EXPECT_TRUE(finding["column"].IsNull());
        EXPECT_TRUE(finding["table"].IsString());
    }
    ASSERT_EQ(bad_input,
              kvnsim({"run", server.url(), "--keep-going", "--quiet", "--db", "x.db"}).status);
    EXPECT_THAT(kvnsim({"explain", "Ethernet1", "--db", "x.db"}).out,
                HasSubstr("configuration: error: " + server.url() + ": PORT|Ethernet1: mtu is"));
    const auto explained = kvnsim({"explain", "Ethernet1", "--db", "x.db", "--json"}).json();
    EXPECT_TRUE(explained["configuration"][0]["line"].IsNull());
}

TEST_F(Running, IsNotAppliedIfItCannotBeRead)
{
    const RedisServer server;
    for (const std::string &url : std::vector<std::string>{
             server.url() + "99", "redis://127.0.0.1:1", "redis+unix:///nowhere/socket"}) {
        const Result result = kvnsim({"run", url, "--db", "x.db"});
        EXPECT_EQ(bad_input, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, AllOf(StartsWith(url), HasSubstr(": cannot be read: "),
                                      HasSubstr("nothing was applied")));
        EXPECT_FALSE(exists("x.db"));
    }
}

TEST_F(Running, IsReadOnly)
{
    const RedisServer server;
    server.load(example("leaf.json"));
    server.command({"SET", "CONFIG_DB_INITIALIZED", "1"});
    server.command({"CONFIG", "RESETSTAT"});
    ASSERT_EQ(well, kvnsim({"run", server.url(), "--quiet"}).status);
    ASSERT_EQ(well, kvnsim({"watch", server.url(), "--quiet", "--bursts", "0"}).status);
    const std::string statistics = server.command({"INFO", "commandstats"});
    /* What only reads, and the test's own SELECT and INFO. */
    for (const std::string &line : lines(statistics)) {
        if (line.rfind("cmdstat_", 0) != 0)
            continue;
        const std::string command = line.substr(8, line.find(':') - 8);
        EXPECT_THAT((std::set<std::string>{"select", "scan", "hgetall", "config|get",
                                           "config|resetstat", "info"}),
                    testing::Contains(command));
    }
    EXPECT_THAT(statistics, HasSubstr("cmdstat_hgetall"));
}

TEST_F(Running, TakesAPasswordThatAppearsNowhere)
{
    const RedisServer server("open-sesame");
    server.load(example("routed_ports.json"));
    const std::string with = "redis://:open-sesame@" + server.address();

    const Result without = kvnsim({"run", server.url()});
    EXPECT_EQ(bad_input, without.status);
    EXPECT_THAT(without.err, HasSubstr("NOAUTH"));
    EXPECT_EQ(bad_input, kvnsim({"run", "redis://:wrong@" + server.address()}).status);

    std::string shown;
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"run", with, "--db", "x.db", "--record", "x.jsonl", "--timeline",
                                   "--debug-file", "x.debug"},
          {"run", with, "--json"},
          {"check", with},
          {"watch", with, "--bursts", "0"},
          {"shell", with}}) {
        const Result result = kvnsim(arguments);
        EXPECT_EQ(well, result.status) << result.err;
        shown += result.out + result.err;
    }
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"run", with + "/x"},
                                                      {"audit", with, "--db", "x"},
                                                      {"run", with, with, "-x"}}) {
        const Result result = kvnsim(arguments);
        EXPECT_EQ(usage, result.status);
        shown += result.out + result.err;
    }
    shown += kvnsim({"shell", "--record", "shell.jsonl", "--db", "shell.db"},
                    "apply " + with + "\nreload\nset Ethernet0 mtu 9000\nfrob " + with + "\n")
                 .err;
    for (const std::string &file : files())
        shown += read(file);
    EXPECT_THAT(shown, HasSubstr(server.url()));
    EXPECT_THAT(shown, Not(HasSubstr("sesame")));
}

TEST_F(Running, IsAppliedAndReadAgainInTheShell)
{
    const RedisServer server("secret");
    write("one.json", one_port);
    server.load(path("one.json"));
    const Result result = kvnsim({"shell"}, "apply redis://:secret@" + server.address() +
                                                "\nreload\nexplain Ethernet0\n");
    EXPECT_EQ(well, result.status) << result.err;
    EXPECT_THAT(result.out, AllOf(StartsWith(server.url() + ": 2 steps, "),
                                  HasSubstr(server.url() + ": 0 steps, "),
                                  HasSubstr("configured at " + server.url() + ": INTERFACE")));
}

TEST_F(Running, UrlThatIsNoneIsAnErrorOfTheCommandLine)
{
    const Result result = kvnsim({"run", "redis://127.0.0.1:port"});
    EXPECT_EQ(usage, result.status);
    EXPECT_THAT(result.err, HasSubstr("expected redis://HOST[:PORT][/DATABASE]"));
}

TEST_F(Running, IsNotAskedWhenALineIsCompleted)
{
    const RedisServer server;
    server.load(example("routed_ports.json"));
    server.command({"CONFIG", "RESETSTAT"});
    EXPECT_EQ(well, kvnsim({"completion", "words", "--current=Eth", "--", "run", server.url(),
                            "--timeline"})
                        .status);
    EXPECT_THAT(server.command({"INFO", "commandstats"}), Not(HasSubstr("scan")));
}
