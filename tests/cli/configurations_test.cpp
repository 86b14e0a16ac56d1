#include <algorithm>
#include <filesystem>

#include "sim/config/desired.h"
#include "tests/cli/kvnsim.h"
#include "tests/sim/files.h"

using testing::HasSubstr;

/* Whole configurations: those that come with kvnsim, and real ones from the folders that
 * KVN_SAMPLES names. */
class Configurations : public Kvnsim {
public:
    static std::vector<std::string> files_of(const std::string &folder)
    {
        std::vector<std::string> files;
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() == ".json" && entry.path().filename() != "broken.json")
                files.push_back(entry.path());
        }
        return files;
    }

    void expect_whole_life(const std::string &file)
    {
        SCOPED_TRACE(file);
        const Result up = kvnsim({"run", file, "--db", "up.db", "--record", "up.jsonl"});
        EXPECT_EQ(well, up.status) << up.err;
        EXPECT_THAT(up.out, HasSubstr("The audit found nothing"));
        EXPECT_EQ(well, kvnsim({"audit", "--db", "up.db"}).status);
        EXPECT_EQ(well, kvnsim({"replay", "up.jsonl"}).status);
        EXPECT_EQ(well, kvnsim({"check", file}).status);

        const Result twice = kvnsim({"run", file, file, "--json"});
        EXPECT_EQ(0u, twice.json()["configurations"][1]["calls"].GetUint());

        const Result down = kvnsim({"run", file, example("empty.json"), "--json"});
        EXPECT_EQ(well, down.status) << down.err;
        const rapidjson::Document document = down.json();
        for (const auto &row : document["switch"]["summary"].GetArray()) {
            EXPECT_EQ(0, row["used"].GetInt()) << row["name"].GetString();
        }
    }
};

TEST_F(Configurations, ExamplesComeUpStayAndGoWithoutATrace)
{
    const std::vector<std::string> files = files_of(KVN_EXAMPLES);
    EXPECT_FALSE(files.empty());
    for (const std::string &file : files)
        expect_whole_life(file);
}

TEST_F(Configurations, RealOnesComeUpStayAndGoWithoutATrace)
{
    const auto files = kvnsim::sample_files();
    if (files.empty())
        GTEST_SKIP() << "KVN_SAMPLES names no folder with real configurations";
    size_t applied = 0;
    for (const std::filesystem::path &file : files) {
        const kvnsim::Configuration configuration =
            kvnsim::read_configuration(file, kvnsim::content_of(file));
        if (configuration.has_errors()) {
            EXPECT_EQ(bad_input, kvnsim({"run", file}).status) << file;
            continue;
        }
        const auto &findings = configuration.findings;
        const bool is_whole =
            std::none_of(findings.begin(), findings.end(),
                         [](const kvnsim::Finding &finding) { return finding.leaves_out; });
        if (!is_whole)
            continue;
        expect_whole_life(file);
        ++applied;
    }
    EXPECT_GT(applied, 0u);
}
