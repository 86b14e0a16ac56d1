#include <algorithm>
#include <filesystem>
#include <set>

#include "sim/config/configuration.h"
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
        const Result check = kvnsim({"check", file, "--json"});
        std::set<std::string> codes; /* of what is left out or waits */
        const rapidjson::Document checked = check.json();
        for (const auto &finding : checked["configurations"][0]["findings"].GetArray()) {
            if (finding["leaves_out"].GetBool())
                codes.insert(finding["code"].GetString());
        }
        const Result run = kvnsim({"run", file, "--record", "up.jsonl"});
        EXPECT_EQ(check.status, run.status) << run.err;
        if (check.status == bad_input)
            return;
        EXPECT_EQ(codes.empty() ? well : found, check.status);
        EXPECT_EQ(well, kvnsim({"replay", "up.jsonl"}).status);

        std::vector<std::string> up{"run", file, "--db", "up.db"}, audit{"audit", "--db", "up.db"};
        for (const std::string &code : codes) {
            for (std::vector<std::string> *arguments : {&up, &audit})
                arguments->insert(arguments->end(), {"--ignore", code});
        }
        EXPECT_EQ(well, kvnsim(up).status);
        EXPECT_THAT(kvnsim(audit).out, HasSubstr("The audit found nothing"));

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
