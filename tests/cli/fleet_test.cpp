#include "tests/cli/kvnsim.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>

#include "tests/sim/files.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

class Fleet : public Kvnsim {
protected:
    /* A folder with a configuration of each kind. */
    void make_configurations()
    {
        fs::create_directories(path("configs/site"));
        write("configs/a_well.json", one_port);
        write("configs/b_errors.json", "{\"PORT\": {\"Ethernet0\": {\"mtu\": \"1\"}}}");
        fs::copy_file(example("portchannels.json"), path("configs/site/c_waits.json"));
        fs::copy_file(example("svi_gateway.json"), path("configs/site/d_svi.json"));
        write("configs/site/notes.txt", "no configuration");
    }
    /* The environment in which SVIs cannot be created. */
    static std::vector<std::string> broken_library(const std::string &how)
    {
        return {"LD_PRELOAD=" KVN_BROKEN_LIBRARY, "BROKEN=" + how,
                "ASAN_OPTIONS=verify_asan_link_order=0"};
    }
    std::vector<std::string> shares(unsigned of, const std::vector<std::string> &of_what)
    {
        std::vector<std::string> files;
        for (unsigned i = 1; i <= of; ++i) {
            const std::string file = "share-" + std::to_string(i) + ".jsonl";
            std::vector<std::string> words{"fleet"};
            words.insert(words.end(), of_what.begin(), of_what.end());
            words.insert(words.end(),
                         {"--shard", std::to_string(i) + "/" + std::to_string(of), "-o", file});
            const Result result = kvnsim(words);
            EXPECT_EQ("", result.out);
            EXPECT_EQ("", result.err);
            files.push_back(file);
        }
        return files;
    }
    Result merge(std::vector<std::string> files, const std::vector<std::string> &more = {})
    {
        files.insert(files.begin(), {"fleet", "--merge"});
        files.insert(files.end(), more.begin(), more.end());
        return kvnsim(files);
    }
};

TEST_F(Fleet, EachConfigurationIsToldInALineAndAllAreCounted)
{
    make_configurations();
    const Result result = kvnsim({"fleet", "configs"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("", result.err);
    EXPECT_THAT(
        lines(result.out),
        ElementsAre(
            "configs/a_well.json: 1 interface, 2 requests, 0 failures, the audit found nothing; 1 "
            "of 1 service given",
            "configs/b_errors.json: 0 interfaces, not applied; 1 error; 1 left out",
            "configs/site/c_waits.json: 4 interfaces, 15 requests, 0 failures, the audit found "
            "nothing; 5 of 5 services given; 1 warning; 1 left out",
            "configs/site/d_svi.json: 4 interfaces, 22 requests, 0 failures, the audit found "
            "nothing; 14 of 14 services given",
            "4 switches: 2 well, 1 with findings, 1 with errors; 20 of 20 services given",
            "not read: 1 other file: configs/site/notes.txt"));
}

TEST_F(Fleet, TheOrderIsThatOfNamesWhateverEndsFirst)
{
    make_configurations();
    const std::string one_by_one = kvnsim({"fleet", "configs", "--jobs", "1"}).out;
    EXPECT_EQ(one_by_one, kvnsim({"fleet", "configs", "--jobs", "4"}).out);
    EXPECT_EQ(one_by_one, kvnsim({"fleet", "configs/site", "configs/b_errors.json",
                                  "configs/a_well.json", "configs/site/d_svi.json"})
                              .out);
}

/* Each is judged as `kvnsim run` and `kvnsim check` judge it alone. */
TEST_F(Fleet, EveryVerdictIsThatOfRunAndCheck)
{
    std::vector<std::string> files;
    for (const auto &entry : fs::directory_iterator(KVN_EXAMPLES))
        if (entry.path().extension() == ".json")
            files.push_back(entry.path().string());
    for (const fs::path &sample : kvnsim::sample_files())
        files.push_back(sample.string());
    files.push_back("nowhere.json");
    ASSERT_GE(files.size(), 9u);
    const std::map<std::string, int> statuses{{"well", well},
                                              {"findings", found},
                                              {"errors", bad_input},
                                              {"unreadable", bad_input},
                                              {"failures", request_failed}};
    for (const std::vector<std::string> &options : std::vector<std::vector<std::string>>{
             {}, {"--check"}, {"--keep-going"}, {"--limit", "intf=9"}}) {
        const bool checks = !options.empty() && options[0] == "--check";
        std::vector<std::string> words{"fleet", "--json"};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), files.begin(), files.end());
        const Result all = kvnsim(words);
        const rapidjson::Document document = all.json();
        ASSERT_EQ(document["switches"].Size(), files.size());
        int worst = well;
        for (const auto &one : document["switches"].GetArray()) {
            const std::string file = one["file"].GetString();
            std::vector<std::string> alone{checks ? "check" : "run", file};
            if (!checks)
                alone.insert(alone.end(), options.begin(), options.end());
            const int status = kvnsim(alone).status;
            ASSERT_EQ(statuses.count(one["verdict"].GetString()), 1u) << file;
            EXPECT_EQ(status, statuses.at(one["verdict"].GetString())) << file;
            worst = std::max(worst, status);
        }
        EXPECT_EQ(worst, all.status);
        EXPECT_EQ(worst, document["status"].GetInt());
    }
}

TEST_F(Fleet, ServicesThatAreNotGivenAreCounted)
{
    write("1.json", one_port);
    write("2.json", one_port);
    const Result result = kvnsim({"fleet", "1.json", "2.json", "--limit", "intf=0"});
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(lines(result.out),
                ElementsAre(EndsWith("1 failure, 1 finding of the audit; 0 of 1 service given"),
                            EndsWith("1 failure, 1 finding of the audit; 0 of 1 service given"),
                            "2 switches: 2 with failed requests; 0 of 2 services given"));
}

TEST_F(Fleet, ConfigurationsShareNothing)
{
    write("1.json", one_port);
    write("2.json", one_port);
    const Result both = kvnsim({"fleet", "1.json", "2.json", "--jobs", "1"});
    EXPECT_EQ(well, both.status);
    EXPECT_THAT(lines(both.out), ElementsAre(HasSubstr("2 requests"), HasSubstr("2 requests"),
                                             "2 switches: 2 well; 2 of 2 services given"));
}

TEST_F(Fleet, CheckAppliesNothing)
{
    make_configurations();
    const Result result = kvnsim({"fleet", "configs/a_well.json", "configs/site", "--check"});
    EXPECT_EQ(found, result.status);
    EXPECT_THAT(lines(result.out),
                ElementsAre("configs/a_well.json: 1 interface; nothing found",
                            "configs/site/c_waits.json: 4 interfaces; 1 warning; 1 left out",
                            "configs/site/d_svi.json: 4 interfaces; nothing found",
                            "3 switches: 2 well, 1 with findings", StartsWith("not read: 1 ")));
}

TEST_F(Fleet, ErrorsAreAppliedAroundOnRequest)
{
    const Result result = kvnsim({"fleet", example("broken.json"), "--keep-going"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(result.out, HasSubstr("broken.json: 4 interfaces, 5 requests, 0 failures, "));
    EXPECT_THAT(result.out, HasSubstr("; 14 errors, 5 warnings; 16 left out\n"));
}

TEST_F(Fleet, FindingsAreIgnoredAndWarningsAreErrorsOnRequest)
{
    make_configurations();
    const Result ignored = kvnsim({"fleet", "configs/site/c_waits.json", "--ignore", "KVN-C080"});
    EXPECT_EQ(well, ignored.status);
    EXPECT_THAT(ignored.out, HasSubstr("the audit found nothing; 5 of 5 services given; 1 "
                                       "finding ignored (KVN-C080)\n1 switch: 1 well; "));
    const Result strict = kvnsim({"fleet", "configs/site/c_waits.json", "--strict"});
    EXPECT_EQ(bad_input, strict.status);
    EXPECT_THAT(strict.out,
                HasSubstr("not applied; 1 warning; 1 left out\n1 switch: 1 with errors"));
}

TEST_F(Fleet, WhatCannotBeReadDoesNotEndTheRest)
{
    write("a.json", one_port);
    ASSERT_EQ(::mkfifo(path("pipe.json").c_str(), 0600), 0);
    fs::create_symlink("nowhere", path("link.json"));
    write("text.json", "PORT");
    const Result result = kvnsim({"fleet", "a.json", "link.json", "pipe.json", "text.json"});
    EXPECT_EQ(bad_input, result.status);
    EXPECT_THAT(
        lines(result.out),
        ElementsAre(StartsWith("a.json: 1 interface, "),
                    "link.json: cannot be read: No such file or directory",
                    "pipe.json: cannot be read: it is no file",
                    "text.json: not understood; 1 error; 1 left out",
                    "4 switches: 1 well, 1 with errors, 2 unreadable; 1 of 1 service given"));
}

TEST_F(Fleet, LinksToFoldersAreNotFollowed)
{
    make_configurations();
    fs::create_directory_symlink("..", path("configs/site/up"));
    fs::create_symlink("a_well.json", path("configs/link.json"));
    ASSERT_EQ(::mkfifo(path("configs/pipe.json").c_str(), 0600), 0);
    const Result result = kvnsim({"fleet", "configs", "--check"});
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("configs/link.json: 1 interface"), HasSubstr("\n5 switches: "),
                      HasSubstr("not read: 3 other files: configs/pipe.json, "
                                "configs/site/notes.txt, configs/site/up\n")));
}

TEST_F(Fleet, AFolderOfNothingIsWell)
{
    fs::create_directory(path("configs"));
    const Result result = kvnsim({"fleet", "configs"});
    EXPECT_EQ(well, result.status);
    EXPECT_EQ("0 switches\n", result.out);
}

TEST_F(Fleet, ALibraryThatCrashesEndsOneConfigurationOnly)
{
    make_configurations();
    const Result result = kvnsim({"fleet", "configs"}, "", broken_library("abort"));
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(lines(result.out),
                AllOf(Contains(StartsWith("configs/a_well.json: 1 interface, ")),
                      Contains("configs/site/d_svi.json: no result: killed by signal 6 (Aborted)"),
                      Contains(StartsWith("4 switches: 1 well, 1 with findings, 1 with errors, 1 "
                                          "without a result; "))));
}

TEST_F(Fleet, ALibraryThatHangsEndsOneConfigurationOnly)
{
    make_configurations();
    const Result result =
        kvnsim({"fleet", "configs", "--timeout", "1", "--jobs", "1"}, "", broken_library("hang"));
    EXPECT_EQ(request_failed, result.status);
    EXPECT_THAT(
        lines(result.out),
        AllOf(Contains("configs/site/d_svi.json: no result: killed after 1 s"),
              Contains(StartsWith("4 switches: 1 well, 1 with findings, 1 with errors, 1 without a "
                                  "result; "))));
}

TEST_F(Fleet, AnInterruptTellsWhatIsDoneAndLeavesNoProcess)
{
    write("a.json", one_port);
    fs::copy_file(example("svi_gateway.json"), path("b.json"));
    int out[2];
    ASSERT_EQ(::pipe(out), 0);
    const int err = ::open(path("err").c_str(), O_WRONLY | O_CREAT, 0600);
    const pid_t process = start({"fleet", "a.json", "b.json", "--shard", "1/1"}, 0, out[1], err,
                                broken_library("hang"));
    ::close(out[1]);
    ::close(err);
    std::string text;
    for (char block[4096];;) {
        /* The first line is the campaign's; the second one is that of a.json. */
        if (lines(text).size() == 2 && text.back() == '\n')
            ::kill(process, SIGTERM);
        const ssize_t got = ::read(out[0], block, sizeof block);
        if (got <= 0)
            break; /* no process has it open any more */
        text.append(block, static_cast<size_t>(got));
    }
    ::close(out[0]);
    EXPECT_EQ(128 + SIGTERM, wait_for(process));
    EXPECT_EQ("kvnsim: interrupted: 1 of 2 files without a result\n", read("err"));
    EXPECT_THAT(lines(text), ElementsAre(StartsWith("{\"kvnsim_results\":1,"),
                                         StartsWith("{\"item\":1,\"file\":\"a.json\"")));
}

TEST_F(Fleet, SharesMergeToTheBytesOfOneRun)
{
    make_configurations();
    fs::create_directory_symlink("..", path("configs/up"));
    fs::create_symlink("nowhere", path("configs/link.json"));
    fs::copy_file(example("broken.json"), path("configs/broken \"%\n.json"));
    const std::vector<std::string> what{"configs", "--keep-going"};
    std::vector<std::string> files = shares(3, what);
    std::reverse(files.begin(), files.end());
    for (const char *format : {"text", "json", "sarif", "junit", "github"}) {
        const Result whole = kvnsim({"fleet", "configs", "--keep-going", "--format", format});
        const Result merged = merge(files, {"--format", format});
        EXPECT_EQ(whole.out, merged.out) << format;
        EXPECT_EQ(whole.status, merged.status) << format;
        EXPECT_EQ("", merged.err);
        EXPECT_FALSE(whole.out.empty()) << format;
    }
    EXPECT_EQ(kvnsim({"fleet", "configs", "--keep-going", "--json"}).out,
              merge(files, {"--json"}).out);
}

TEST_F(Fleet, AShareEndsWithTheStatusOfItsOwn)
{
    make_configurations();
    EXPECT_EQ(well, kvnsim({"fleet", "configs", "--shard", "1/5"}).status);
    EXPECT_EQ(bad_input, kvnsim({"fleet", "configs", "--shard", "2/5"}).status);
    EXPECT_EQ(found, kvnsim({"fleet", "configs", "--shard", "3/5"}).status);
}

TEST_F(Fleet, ResultsThatCannotBeWrittenAreAnError)
{
    write("a.json", one_port);
    for (const auto &[file, reason] :
         std::map<std::string, std::string>{{"/dev/full", "No space left on device"},
                                            {"nowhere/a.jsonl", "No such file or directory"}}) {
        const Result result = kvnsim({"fleet", "a.json", "--shard", "1/1", "-o", file});
        EXPECT_EQ(bad_input, result.status);
        EXPECT_EQ("kvnsim: cannot write " + file + ": " + reason + "\n", result.err);
    }
}

TEST_F(Fleet, MergingNamesWhatADeadMachineLeftOut)
{
    make_configurations();
    const std::vector<std::string> files = shares(2, {"configs"});
    const std::string second = read(files[1]);
    write(files[1], second.substr(0, second.size() - 10));
    const Result result = merge(files);
    EXPECT_EQ(bad_input, result.status);
    EXPECT_EQ("", result.out);
    EXPECT_THAT(lines(result.err),
                ElementsAre(AllOf(
                    StartsWith("kvnsim: share-2.jsonl:3: passed over: the line is cut; item "),
                    EndsWith(" is missing: run --shard 2/2 again"))));

    kvnsim({"fleet", "configs", "--shard", "2/2", "-o", "again.jsonl"});
    const Result merged = merge({files[0], files[1], "again.jsonl"});
    EXPECT_EQ(kvnsim({"fleet", "configs"}).out, merged.out);
    EXPECT_EQ("share-2.jsonl:3: passed over: the line is cut\n", merged.err);
}

TEST_F(Fleet, MergingRefusesWhatIsNotOfOneCampaign)
{
    make_configurations();
    const std::vector<std::string> files = shares(2, {"configs"});
    write("configs/a_well.json", one_port_1500);
    ASSERT_EQ(well, kvnsim({"fleet", "configs/a_well.json", "configs/site/d_svi.json", "--shard",
                            "2/2", "-o", "other.jsonl"})
                        .status);
    EXPECT_THAT(merge({files[0], "other.jsonl"}).err,
                HasSubstr("other.jsonl:1: another campaign than share-1.jsonl:1: the number of "
                          "configurations is 2, not 5"));
    kvnsim({"fleet", "configs", "--shard", "2/2", "-o", "other.jsonl"});
    EXPECT_THAT(merge({files[0], "other.jsonl"}).err,
                HasSubstr("the SHA-256 of configuration configs/a_well.json is "));
}

TEST_F(Fleet, AResultThatSaysNothingSensibleIsRefusedWithItsPlace)
{
    write("a.json", one_port);
    const std::string file = shares(1, {"a.json"}).front();
    const std::string whole = read(file);
    const auto damaged = [&](const std::string &what, const std::string &by) {
        std::string text = whole;
        const size_t at = text.rfind(what);
        EXPECT_NE(at, text.npos) << what;
        write(file, text.replace(at, what.size(), by));
        const Result result = merge({file});
        EXPECT_EQ(bad_input, result.status) << result.out;
        return result.err;
    };
    EXPECT_EQ("kvnsim: share-1.jsonl:2: damaged line: \"verdict\": there is no \"fine\"\n",
              damaged("\"well\"", "\"fine\""));
    EXPECT_EQ("kvnsim: share-1.jsonl:2: damaged line: \"uri\": expected a path, percent-encoded\n",
              damaged("\"uri\":\"a.json\"", "\"uri\":\"a b.json\""));
    EXPECT_EQ("kvnsim: share-1.jsonl:2: damaged line: \"requests\": expected a number up to "
              "9223372036854775807\n",
              damaged("\"requests\":2", "\"requests\":-2"));
    EXPECT_EQ("kvnsim: share-1.jsonl:2: damaged line: \"audit\": expected a list of objects\n",
              damaged("\"audit\":[]", "\"audit\":[null]"));
    EXPECT_THAT(damaged("a.json", "\xff.json"), HasSubstr("damaged line: Invalid encoding"));
}

TEST_F(Fleet, OptionsThatDoNotFitAreRefused)
{
    write("a.json", one_port);
    const auto refused = [&](std::vector<std::string> words) {
        words.insert(words.begin(), "fleet");
        const Result result = kvnsim(words);
        EXPECT_EQ(usage, result.status);
        EXPECT_EQ("", result.out);
        return lines(result.err).front();
    };
    EXPECT_EQ(
        "kvnsim: fleet: -: a fleet is of files and folders; `kvnsim run` takes standard input",
        refused({"-"}));
    EXPECT_THAT(refused({"redis://127.0.0.1"}),
                HasSubstr("`kvnsim run` takes the URL of a running configuration"));
    EXPECT_THAT(refused({"a.json", "--shard", "3/2"}), HasSubstr("--shard: \"3/2\": expected I/N"));
    EXPECT_THAT(refused({"a.json", "--jobs", "0"}), HasSubstr("--jobs: expected 1 to 4096, not 0"));
    EXPECT_THAT(refused({"a.json", "--shard", "1/2", "--format", "sarif"}),
                HasSubstr("--shard writes results to merge: give --merge the format sarif"));
    EXPECT_THAT(refused({"a.json", "-o", "out"}), HasSubstr("-o is for the results of --shard"));
    EXPECT_THAT(refused({"a.json", "-o", "a.json", "--shard", "1/1"}),
                HasSubstr("-o a.json: the file is already in use"));
    EXPECT_THAT(refused({"a.json", "--check", "--keep-going"}),
                HasSubstr("--check applies nothing"));
    EXPECT_THAT(refused({"a.json", "--merge", "--check"}),
                HasSubstr("--merge and --check: what is merged is done"));
    EXPECT_THAT(refused({"a.json", "--format", "xml"}),
                HasSubstr("--format: expected text, json, sarif, junit or github"));
    EXPECT_EQ(one_port, read("a.json"));
    EXPECT_THAT(kvnsim({"fleet", "a.json", "--json", "--format", "sarif"}).err,
                HasSubstr("--json and --format sarif"));
}
