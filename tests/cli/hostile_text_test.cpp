#include <sqlite3.h>

#include "sim/types/text.h"
#include "tests/cli/kvnsim.h"

using testing::HasSubstr;

/* Texts that come from somebody else: nothing in them steers the terminal or breaks a line. */
class HostileText : public Kvnsim {
public:
    /* A colour, the end of a line, a window title, DEL, a C1 control, a bidirectional override and
     * bytes that are no UTF-8. */
    const std::string nasty =
        "E\x1b[31m\nBROKEN\x1b]0;x\x07\x7f\xc2\x9b\xe2\x80\xae\xe2\x81\xa6\xff";

    static void expect_harmless(const std::string &text, const std::string &what)
    {
        EXPECT_EQ(kvnsim::visible_lines(text), text) << what;
        EXPECT_EQ(text.find("\nBROKEN"), text.npos) << what;
    }

    /* Puts the text in place of another one in every table of a database. */
    void spread(const std::string &database, const std::string &instead)
    {
        sqlite3 *db = nullptr;
        ASSERT_EQ(SQLITE_OK, sqlite3_open(path(database).c_str(), &db));
        const auto run = [&](const std::string &sql) {
            std::vector<std::string> found;
            sqlite3_stmt *statement = nullptr;
            EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr))
                << sql;
            for (int i = 1; i <= sqlite3_bind_parameter_count(statement); ++i)
                sqlite3_bind_text(statement, i, i == 1 ? nasty.c_str() : instead.c_str(), -1,
                                  SQLITE_TRANSIENT);
            while (sqlite3_step(statement) == SQLITE_ROW)
                found.emplace_back(
                    reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
            sqlite3_finalize(statement);
            return found;
        };
        for (const std::string &table :
             run("SELECT name FROM sqlite_master WHERE type = 'table'")) {
            for (const std::string &column :
                 run("SELECT name FROM pragma_table_info('" + table + "') WHERE type = 'TEXT'"))
                run("UPDATE " + table + " SET \"" + column + "\" = ?1 WHERE \"" + column +
                    "\" = ?2");
        }
        sqlite3_close(db);
    }
};

TEST_F(HostileText, OfADatabaseIsShownHarmlessByEveryVerb)
{
    for (const char *instead : {"Ethernet0", "VrfBlue", "leaf-1", "PORT", "libsdk_intf_attr_set"}) {
        ASSERT_EQ(request_failed, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "x.db",
                                          "--fail", "libsdk_intf_attr_set:7"})
                                      .status);
        ASSERT_EQ(request_failed, kvnsim({"run", example("leaf.json"), "--quiet", "--db", "y.db",
                                          "--fail", "libsdk_intf_create:1"})
                                      .status);
        spread("x.db", instead);
        const std::vector<std::string> verbs[] = {
            {"show", "interfaces", "x.db"},
            {"show", "ports", "x.db"},
            {"show", "vrfs", "x.db"},
            {"show", "errors", "x.db"},
            {"show", "summary", "x.db"},
            {"show", "attributes", "Ethernet4", "--db", "x.db"},
            {"explain", nasty, "x.db"},
            {"explain", "Ethernet4", "x.db"},
            {"audit", "x.db"},
            {"reach", "--all", "x.db"},
            {"packet", "Ethernet4", "x.db"},
            {"packet", nasty, "x.db"},
            {"diff", "x.db", "y.db"},
            {"diff", "y.db", "x.db"},
            {"run", example("leaf.json"), "--from", "x.db"},
            {"plan", example("leaf.json"), "--from", "x.db"}};
        for (std::vector<std::string> words : verbs) {
            const bool has_document = words[0] != "run" && words[0] != "plan";
            for (const bool json : {false, true}) {
                if (json)
                    words.push_back("--json");
                const Result result = kvnsim(words);
                expect_harmless(result.out, words[0] + " of " + instead);
                expect_harmless(result.err, words[0] + " of " + instead);
                if (json && has_document)
                    result.json();
            }
        }
    }
}

TEST_F(HostileText, OfAConfigurationIsShownHarmlessByEveryVerb)
{
    const char *const escaped =
        "E\\u001b[31m\\nBROKEN\\u001b]0;x\\u0007\\u007f\\u009b\\u202e\\u2066";
    const std::string text = escaped;
    write("x.json", "{\"DEVICE_METADATA\": {\"localhost\": {\"hostname\": \"" + text + "\"}}, \"" +
                        text + "\": {\"" + text +
                        "\": {}}, \"PORT\": {\"Ethernet0\": "
                        "{\"alias\": \"" +
                        text + "\", \"" + text + "\": \"1\"}, \"" + text +
                        "\": {}}, \"INTERFACE\": {\"Ethernet0|" + text + "\": {}, \"" + text +
                        "\": {\"vrf_name\": \"" + text + "\"}}, \"VRF\": {\"" + text + "\": {}}}");
    const std::vector<std::string> verbs[] = {
        {"check", "x.json"},
        {"run", "x.json", "--keep-going", "--tables", "--timeline", "--db", "x.db"},
        {"plan", "x.json", "--keep-going"},
        {"watch", "x.json", "--bursts", "0", "--keep-going"},
        {"show", "ports", "x.db"},
        {"explain", "Ethernet0", "x.db"},
        {"audit", "x.db"}};
    for (const std::vector<std::string> &words : verbs) {
        const Result result = kvnsim(words);
        expect_harmless(result.out, words[0]);
        expect_harmless(result.err, words[0]);
    }
}

TEST_F(HostileText, OfArgumentsAndFileNamesIsShownHarmless)
{
    const std::vector<std::string> lines[] = {{nasty},
                                              {"run", nasty},
                                              {"run", "--" + nasty},
                                              {"show", nasty, "x.db"},
                                              {"check", nasty},
                                              {"run", example("leaf.json"), "--fail", nasty},
                                              {"run", example("leaf.json"), "--db", nasty + "/x"},
                                              {"replay", nasty},
                                              {"events", nasty},
                                              {"diff", nasty, nasty},
                                              {"report", nasty, "-o", "x"},
                                              {"help", nasty}};
    for (const std::vector<std::string> &words : lines) {
        const Result result = kvnsim(words);
        EXPECT_NE(well, result.status);
        expect_harmless(result.out, words[0]);
        expect_harmless(result.err, words[0]);
        EXPECT_THAT(result.err, HasSubstr("\\x1b[31m\\x0aBROKEN")) << words[0];
    }
    const Result shell =
        kvnsim({"shell"}, "explain " + std::string("E\x1b[31m\x7f\xc2\x9b") + "\n");
    expect_harmless(shell.out + shell.err, "shell");
}
