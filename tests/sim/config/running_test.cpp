#include "sim/config/running.h"

#include <cstring>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "sim/config/document.h"
#include "sim/config/names.h"
#include "tests/redis_server.h"
#include "tests/sim/config/read.h"
#include "tests/sim/files.h"

namespace kvnsim {
namespace {

using test::RedisServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/* ---- Rows ---- */

using Rows = decltype(RunningRows::rows);

Configuration read(Rows rows, uint64_t other_keys = 0)
{
    return read_configuration("redis://h:1/4", {std::move(rows), other_keys});
}

std::vector<std::string> told(const Configuration &configuration)
{
    std::vector<std::string> texts;
    for (const Finding &finding : configuration.findings)
        texts.push_back(finding.to_text().substr(0, finding.to_text().rfind(" [")));
    return texts;
}

const std::map<std::string, std::string> no_fields{{"NULL", "NULL"}};

TEST(RunningRows, AreTheRowsOfTheirTables)
{
    const Configuration configuration = read({{"PORT|Ethernet0", {{"mtu", "1500"}}},
                                              {"INTERFACE|Ethernet0", no_fields},
                                              {"INTERFACE|Ethernet0|192.0.2.0/31", no_fields}});
    EXPECT_THAT(told(configuration), IsEmpty());
    EXPECT_TRUE(configuration.is_understood);
    const Desired &wanted = configuration.desired;
    EXPECT_EQ(wanted.ports.at("Ethernet0").mtu, 1500);
    EXPECT_THAT(wanted.routed_ports.at("Ethernet0").l3.addresses, ElementsAre("192.0.2.0/31"));
    EXPECT_EQ(wanted.routed_ports.at("Ethernet0").location.to_text(),
              "redis://h:1/4: INTERFACE|Ethernet0");
}

TEST(RunningRows, AreNamedByTableAndKeyInFindings)
{
    EXPECT_THAT(told(read({{"PORT|Ethernet10", {{"mtu", "1"}}},
                           {"PORT|Ethernet2", {{"mtu", "2"}}},
                           {"INTERFACE|Ethernet2", no_fields}})),
                ElementsAre("redis://h:1/4: PORT|Ethernet2: mtu is \"2\": expected a number "
                            "68..9216",
                            "redis://h:1/4: PORT|Ethernet10: mtu is \"1\": expected a number "
                            "68..9216",
                            "redis://h:1/4: INTERFACE|Ethernet2: warning: left out, because "
                            "PORT|Ethernet2 is (see redis://h:1/4: PORT|Ethernet2)"));
    EXPECT_THAT(told(read({{"INTERFACE|Ethernet2", no_fields}})),
                ElementsAre("redis://h:1/4: note: there is no table PORT: 1 front-panel port taken "
                            "from the rows that name them"));
}

TEST(RunningRows, HaveListsUnderTheirNamesWithoutTheSign)
{
    EXPECT_THAT(told(read({{"PORT|Ethernet0", {{"lanes@", "1,2"}}}})), IsEmpty());
    EXPECT_THAT(told(read({{"PORT|Ethernet0", {{"mtu@", "1500"}}}})),
                ElementsAre("redis://h:1/4: PORT|Ethernet0: mtu is a list: expected a number "
                            "68..9216"));
    EXPECT_THAT(told(read({{"PORT|Ethernet0", {{"mtu", "1500"}, {"mtu@", "1500"}}}})),
                ElementsAre("redis://h:1/4: PORT|Ethernet0: warning: the field \"mtu\" is there "
                            "twice: the last one counts (see redis://h:1/4: PORT|Ethernet0)",
                            "redis://h:1/4: PORT|Ethernet0: mtu is a list: expected a number "
                            "68..9216"));
}

TEST(RunningRows, WithoutFieldsHaveOneThatSaysSo)
{
    EXPECT_THAT(told(read({{"PORT|Ethernet0", {{"NULL", "NULL"}, {"@", "x"}}}})), IsEmpty());
}

TEST(RunningRows, HaveATableAndAKey)
{
    EXPECT_TRUE(is_flat_name("VLAN_MEMBER|Vlan10|Ethernet0"));
    for (const char *key : {"", "|", "PORT", "PORT|", "|Ethernet0"})
        EXPECT_FALSE(is_flat_name(key)) << key;
}

TEST(RunningRows, OfOneTableAreTogetherWhateverTheirNames)
{
    const Configuration configuration = read({{"T1|a", no_fields},
                                              {"T01|b", no_fields},
                                              {"T1|c", no_fields},
                                              {"PORT|Ethernet0", no_fields}});
    EXPECT_EQ(configuration.ignored, (std::map<std::string, uint32_t>{{"T1", 2}, {"T01", 1}}));
}

TEST(RunningRows, ThatAreNoRowsAreCounted)
{
    EXPECT_THAT(told(read({{"PORT|Ethernet0", no_fields}}, 3)),
                ElementsAre("redis://h:1/4: note: keys that are not hashes named TABLE|key are not "
                            "read: 3"));
    EXPECT_THAT(told(read(Rows())), ElementsAre("redis://h:1/4: the database has no rows"));
}

TEST(RunningRows, ThatAreNotTextAreNotUnderstood)
{
    for (const Rows &rows :
         {Rows{{"PORT|Ethernet\xff", no_fields}}, Rows{{"PORT|Ethernet0", {{"alias", "\xc3"}}}},
          Rows{{"PORT|Ethernet0", {{"\xed\xa0\x80", ""}}}}}) {
        const Configuration configuration = read(rows);
        EXPECT_FALSE(configuration.is_understood);
        EXPECT_TRUE(configuration.desired.ports.empty());
        EXPECT_THAT(told(configuration),
                    ElementsAre(HasSubstr("expected UTF-8 in key and fields")));
    }
    EXPECT_THAT(told(read({{"PORT|Ethernet0", {{"alias", "gr\xc3\xbc\xc3\x9f"}}}})), IsEmpty());
}

/* ---- URLs ---- */

TEST(DatabaseUrl, NamesAHostOrASocket)
{
    const auto name = [](const std::string &url) { return parse_database_url(url).name(); };
    EXPECT_EQ(name("redis://switch"), "redis://switch:6379/4");
    EXPECT_EQ(name("redis://192.0.2.1:7000"), "redis://192.0.2.1:7000/4");
    EXPECT_EQ(name("redis://192.0.2.1/0"), "redis://192.0.2.1:6379/0");
    EXPECT_EQ(name("redis://[2001:db8::1]:7000/15"), "redis://[2001:db8::1]:7000/15");
    EXPECT_EQ(name("redis+unix:///run/db.sock"), "redis+unix:///run/db.sock?db=4");
    EXPECT_EQ(name("redis+unix:///run/a@b.sock?db=2"), "redis+unix:///run/a@b.sock?db=2");
    EXPECT_EQ(parse_database_url("redis://[2001:db8::1]").host, "2001:db8::1");
}

TEST(DatabaseUrl, HasAPasswordThatItsNameHasNot)
{
    const DatabaseUrl url = parse_database_url("redis://admin:a%40b/c@switch:1/2");
    EXPECT_EQ(url.user, "admin");
    EXPECT_EQ(url.password, "a@b/c");
    EXPECT_EQ(url.host, "switch");
    EXPECT_EQ(url.name(), "redis://switch:1/2");
    EXPECT_EQ(parse_database_url("redis+unix://:secret@/run/db.sock").password, "secret");
    EXPECT_EQ(parse_database_url("redis+unix://:secret@/run/db.sock").name(),
              "redis+unix:///run/db.sock?db=4");
}

TEST(DatabaseUrl, IsRefusedWithoutShowingThePassword)
{
    for (const char *url :
         {"redis://", "redis://:secret@", "redis://:secret@h/x", "redis://:secret@h:0",
          "redis://:secret@h:65536", "redis://:secret@h:1/-1", "redis://:secret@[::1",
          "redis://:secret@[::1]x:2", "redis://secret@h", "redis://u:@h", "redis://:secret%4@h",
          "redis://:secret%zz@h", "redis://:secret@a b", "redis+unix://:secret@run/db.sock",
          "redis+unix://:secret@/run?db=x", "redis+unix://"}) {
        try {
            parse_database_url(url);
            ADD_FAILURE() << url;
        } catch (const std::invalid_argument &error) {
            EXPECT_THAT(error.what(), HasSubstr("expected redis://HOST"));
            EXPECT_THAT(error.what(), Not(HasSubstr("secret")));
        }
    }
}

TEST(DatabaseUrl, IsMaskedWhereverItStands)
{
    EXPECT_EQ(without_passwords("apply redis://u:p@ss@h:1/4 --db redis+unix://:p@/s x@y"),
              "apply redis://***@h:1/4 --db redis+unix://***@/s x@y");
    EXPECT_EQ(without_passwords("redis://h:1/4: no user@host"), "redis://h:1/4: no user@host");
    EXPECT_EQ(without_passwords("redis+unix:///run/a@b"), "redis+unix:///run/a@b");
}

/* ---- Servers that misbehave ---- */

/* Takes one client and gives it a reply for each message that it receives, whatever that is. */
class FakeServer {
public:
    enum class Then { closes, is_silent, floods };

    explicit FakeServer(std::vector<std::string> replies, Then then = Then::closes)
        : listener_(socket(AF_INET, SOCK_STREAM, 0)), replies_(std::move(replies)), then_(then)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto *const any = reinterpret_cast<sockaddr *>(&address);
        if (bind(listener_, any, length) != 0 || listen(listener_, 1) != 0 ||
            getsockname(listener_, any, &length) != 0)
            throw std::runtime_error("cannot listen");
        url_.host = "127.0.0.1";
        url_.port = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeServer()
    {
        shutdown(listener_, SHUT_RDWR);
        thread_.join();
        close(listener_);
    }
    FakeServer(const FakeServer &) = delete;
    FakeServer &operator=(const FakeServer &) = delete;

    /* Why reading from it fails. */
    std::string problem() const
    {
        try {
            RunningDatabase(url_).read();
            return "none";
        } catch (const DatabaseError &error) {
            return error.what();
        }
    }
    const DatabaseUrl &url() const { return url_; }

private:
    void serve() const
    {
        const int client = accept(listener_, nullptr, nullptr);
        if (client < 0)
            return;
        char block[65536];
        bool is_there = true;
        for (const std::string &reply : replies_) {
            is_there = recv(client, block, sizeof block, 0) > 0 &&
                       send(client, reply.data(), reply.size(), MSG_NOSIGNAL) >= 0;
            if (!is_there)
                break;
        }
        std::memset(block, 'x', sizeof block);
        while (is_there && then_ == Then::floods)
            is_there = send(client, block, sizeof block, MSG_NOSIGNAL) > 0;
        /* Closing with something unread would be a reset. */
        if (then_ == Then::closes)
            shutdown(client, SHUT_WR);
        while (is_there && then_ != Then::floods)
            is_there = recv(client, block, sizeof block, 0) > 0;
        close(client);
    }

    const int listener_;
    const std::vector<std::string> replies_;
    const Then then_;
    DatabaseUrl url_;
    std::thread thread_;
};

const std::string ok = "+OK\r\n", one_key = "*2\r\n$1\r\n0\r\n*1\r\n$6\r\nPORT|A\r\n";

TEST(MisbehavingServer, ThatEndsInTheMiddleIsReported)
{
    const char *const closed = "the server closed the connection";
    EXPECT_EQ(FakeServer({}).problem(), closed);
    EXPECT_EQ(FakeServer({ok}).problem(), closed);
    EXPECT_EQ(FakeServer({ok, "*2\r\n$1\r\n0\r\n*1\r\n$6\r\nPO"}).problem(), closed);
    EXPECT_EQ(FakeServer({ok, one_key, "*2\r\n$3\r\nmtu\r\n"}).problem(), closed);
}

TEST(MisbehavingServer, ThatSaysNothingIsNotWaitedForForever)
{
    EXPECT_EQ(FakeServer({ok, "*2\r\n"}, FakeServer::Then::is_silent).problem(),
              "no answer within 5 seconds");
}

TEST(MisbehavingServer, ThatSpeaksAnotherLanguageIsReported)
{
    EXPECT_THAT(FakeServer({"HTTP/1.1 400 Bad Request\r\n"}).problem(),
                HasSubstr("malformed reply: "));
    EXPECT_THAT(FakeServer({ok, "*x\r\n"}).problem(), HasSubstr("malformed reply: "));
    std::string nested;
    for (int depth = 0; depth < 1000; ++depth)
        nested += "*1\r\n";
    EXPECT_THAT(FakeServer({ok, nested}).problem(), HasSubstr("malformed reply: "));
}

TEST(MisbehavingServer, ThatAnswersSomethingElseIsReported)
{
    EXPECT_EQ(FakeServer({ok, ":1\r\n"}).problem(), "not the expected reply to SCAN");
    EXPECT_EQ(FakeServer({ok, "*2\r\n:0\r\n*0\r\n"}).problem(), "not the expected reply to SCAN");
    EXPECT_EQ(FakeServer({ok, "*-1\r\n"}).problem(), "not the expected reply to SCAN");
    EXPECT_EQ(FakeServer({ok, one_key, "*1\r\n$1\r\na\r\n"}).problem(),
              "not the expected reply to HGETALL");
    EXPECT_EQ(FakeServer({ok, one_key, "-ERR no\r\n"}).problem(), "the server answered \"ERR no\"");
    EXPECT_EQ(FakeServer({"-LOADING \x1b[31m\r\n"}).problem(),
              "the server answered \"LOADING \\x1b[31m\"");
}

TEST(MisbehavingServer, ThatSendsTooMuchIsLeft)
{
    const char *const too_much = "larger than 64 MiB";
    const auto floods = FakeServer::Then::floods;
    EXPECT_EQ(FakeServer({ok, "$2000000000\r\n"}, floods).problem(), too_much);
    const std::string too_many = "a reply of more than 1048576 elements";
    EXPECT_EQ(FakeServer({ok, "*2000000000\r\n"}, floods).problem(), too_many);
    EXPECT_EQ(FakeServer({ok, "*4\r\n*500000\r\n"}).problem(), "the server closed the connection");
    std::string lists = "*3\r\n";
    for (int list = 0; list < 3; ++list) {
        lists += "*500000\r\n";
        for (int element = 0; element < 500000; ++element)
            lists += ":1\r\n";
    }
    EXPECT_EQ(FakeServer({ok, lists}, floods).problem(), too_many);
}

TEST(MisbehavingServer, IsLeftWhenAskedToStop)
{
    const FakeServer server({ok}, FakeServer::Then::is_silent);
    int asked = 0;
    try {
        RunningDatabase(server.url(), [&] { return ++asked > 3; }).read();
        ADD_FAILURE();
    } catch (const DatabaseError &error) {
        EXPECT_STREQ(error.what(), "interrupted");
    }
}

TEST(MisbehavingServer, ThatIsNotThereIsReported)
{
    DatabaseUrl url;
    {
        const FakeServer gone({});
        url = gone.url();
    }
    EXPECT_THROW(RunningDatabase{url}, DatabaseError);
    url.socket = "/nowhere/kvnsim.sock";
    EXPECT_THROW(RunningDatabase{url}, DatabaseError);
}

/* ---- A real server ---- */

class RunningServer : public testing::Test {
public:
    void SetUp() override
    {
        const std::string problem = RedisServer::problem();
        if (!problem.empty())
            GTEST_SKIP() << problem;
    }
};

TEST_F(RunningServer, GivesAllRows)
{
    const RedisServer server;
    Rows expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string key = "ACL_RULE|" + std::to_string(i), value(100, 'a');
        server.command({"HSET", key, "value", value});
        expected[key]["value"] = value;
    }
    std::vector<std::string> many{"HSET", "MANY|fields"};
    for (int i = 0; i < 2000; ++i) {
        many.insert(many.end(), {"field" + std::to_string(i), ""});
        expected["MANY|fields"].emplace(many[many.size() - 2], "");
    }
    server.command(many);
    server.command({"SET", "CONFIG_DB_INITIALIZED", "1"});
    server.command({"SET", "PORT|Ethernet0", "a text"});
    server.command({"RPUSH", "PORT|Ethernet4", "a list"});
    server.command({"HSET", "PORT", "no", "row"});

    RunningDatabase database(parse_database_url(server.url()));
    const RunningRows found = database.read();
    EXPECT_EQ(found.rows, expected);
    EXPECT_EQ(found.other_keys, 4u);
    EXPECT_EQ(database.read(), found) << "the connection can be used again";
    EXPECT_EQ(RunningDatabase(parse_database_url("redis+unix://" + server.socket())).read(), found);
}

TEST_F(RunningServer, TellsOfChangesIfItsNotificationsAreOn)
{
    const RedisServer server;
    const DatabaseUrl url = parse_database_url(server.url());
    for (const char *off : {"", "KE", "K$", "EA"}) {
        server.command({"CONFIG", "SET", "notify-keyspace-events", off});
        EXPECT_FALSE(RunningDatabase(url).follow()) << off;
    }
    for (const char *on : {"KA", "Kgh"}) {
        server.command({"CONFIG", "SET", "notify-keyspace-events", on});
        RunningDatabase database(url);
        ASSERT_TRUE(database.follow());
        EXPECT_FALSE(database.changed_within(std::chrono::milliseconds(1)));
        server.command({"HSET", "PORT|Ethernet0", "mtu", "1500"});
        EXPECT_TRUE(database.changed_within(std::chrono::minutes(1)));
        server.command({"DEL", "PORT|Ethernet0"});
        EXPECT_TRUE(database.changed_within(std::chrono::minutes(1)));
    }
}

} // namespace
} // namespace kvnsim
