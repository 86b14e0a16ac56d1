/* kvnsim faults from the command line: documents, shares, statuses. */
#include <algorithm>
#include <csignal>
#include <set>

#include "tests/cli/kvnsim.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

class FaultsVerb : public Kvnsim {
public:
    const std::string svi = example("svi_gateway.json");

    /* Shares of three, in these files. */
    std::vector<std::string> shares()
    {
        std::vector<std::string> files;
        for (int index = 1; index <= 3; ++index) {
            files.push_back(path(std::to_string(index) + ".jsonl"));
            const Result result = kvnsim(
                {"faults", svi, "--shard", std::to_string(index) + "/3", "-o", files.back()});
            EXPECT_EQ(found, result.status);
            EXPECT_EQ("", result.out + result.err);
        }
        return files;
    }
    Result merged(const std::vector<std::string> &files, const std::vector<std::string> &more = {})
    {
        std::vector<std::string> arguments{"faults", "--merge"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        arguments.insert(arguments.end(), more.begin(), more.end());
        return kvnsim(arguments);
    }
};

std::string text_of(const rapidjson::Value &value)
{
    return value.IsString() ? value.GetString() : "";
}

} // namespace

TEST_F(FaultsVerb, APageHasTheSameAsTheText)
{
    const Result text = kvnsim({"faults", svi, "--report", "f.html"});
    EXPECT_EQ(found, text.status);
    const std::string page = read("f.html");
    EXPECT_THAT(page, StartsWith("<!DOCTYPE html>"));
    EXPECT_THAT(page, HasSubstr(lines(text.out).back()));
    EXPECT_THAT(page, HasSubstr("\"tried\":75,\"heal\":51,\"do_not_heal\":24"));
    EXPECT_EQ(bad_input, kvnsim({"faults", svi, "--report", "no/such/folder.html"}).status);
    const Result share = kvnsim({"faults", svi, "--shard", "1/2", "--report", "g.html"});
    EXPECT_EQ(usage, share.status);
    /* Merged results have the same page. */
    EXPECT_EQ(found, merged(shares(), {"--report", "merged.html"}).status);
    EXPECT_EQ(page, read("merged.html"));
}

TEST_F(FaultsVerb, GroupsSumUpToSingleFailures)
{
    const Result result = kvnsim({"faults", svi, "--json"});
    EXPECT_EQ(found, result.status);
    const rapidjson::Document document = result.json();
    uint64_t places = 0, services = 0, single_services = 0, heal = 0;
    for (const auto &group : document["groups"].GetArray()) {
        places += group["places"].GetUint64();
        services += group["services"].GetUint64();
        heal += text_of(group["heals"]) == "yes" ? group["places"].GetUint64() : 0;
    }
    for (const auto &failure : document["failures"].GetArray())
        single_services += failure["services"].Size();
    EXPECT_EQ(document["failures"].Size(), places);
    EXPECT_EQ(document["tried"].GetUint64(), places);
    EXPECT_EQ(document["heal"].GetUint64(), heal);
    EXPECT_EQ(single_services, services);
    EXPECT_LT(0u, services);

    const Result text = kvnsim({"faults", svi});
    EXPECT_EQ(document["groups"].Size() + 3, lines(text.out).size());
    EXPECT_THAT(lines(text.out).back(),
                StartsWith(std::to_string(places) + " failures tried: " + std::to_string(heal) +
                           " heal, " + std::to_string(places - heal) + " do not; not tried: "));
    EXPECT_EQ(places + 3, lines(kvnsim({"faults", svi, "--all"}).out).size());
}

TEST_F(FaultsVerb, EachFailureIsReproducedByRun)
{
    const rapidjson::Document document =
        kvnsim({"faults", svi, "--status", "SDK_E_TIMEOUT", "--sample", "12", "--json"}).json();
    ASSERT_EQ(12u, document["failures"].Size());
    for (const auto &failure : document["failures"].GetArray()) {
        const std::string fault = text_of(failure["places"][0]["fault"]);
        const rapidjson::Document run = kvnsim({"run", svi, "--json", "--fail", fault}).json();
        EXPECT_EQ(0u, run["unused_faults"].Size()) << fault;
        std::multiset<std::string> told, there;
        for (const auto &finding : failure["left"].GetArray())
            told.insert(text_of(finding["code"]) + text_of(finding["object"]));
        for (const auto &finding : run["switch"]["audit"].GetArray())
            there.insert(text_of(finding["code"]) + text_of(finding["object"]));
        EXPECT_EQ(there, told) << fault;
        const auto &request = run["configurations"][0]["failures"][0]["request"];
        EXPECT_EQ(request["number"].GetUint64(), failure["places"][0]["request"].GetUint64());
        EXPECT_EQ(request["result"], failure["places"][0]["result"]) << fault;
    }
}

TEST_F(FaultsVerb, PairsAreReproducedByRun)
{
    const rapidjson::Document document =
        kvnsim({"faults", svi, "--pairs", "--sample", "8", "--seed", "4", "--json"}).json();
    ASSERT_EQ(8u, document["failures"].Size());
    for (const auto &failure : document["failures"].GetArray()) {
        const std::string first = text_of(failure["places"][0]["fault"]);
        const std::string second = text_of(failure["places"][1]["fault"]);
        const rapidjson::Document run =
            kvnsim({"run", svi, "--json", "--fail", first, "--fail", second}).json();
        EXPECT_EQ(0u, run["unused_faults"].Size()) << first << " " << second;
        std::multiset<std::string> told, there;
        for (const auto &finding : failure["left"].GetArray())
            told.insert(text_of(finding["code"]) + text_of(finding["object"]));
        for (const auto &finding : run["switch"]["audit"].GetArray())
            there.insert(text_of(finding["code"]) + text_of(finding["object"]));
        EXPECT_EQ(there, told) << first << " " << second;
    }
}

TEST_F(FaultsVerb, SharesGiveWhatOneRunGives)
{
    const std::vector<std::string> files = shares();
    for (const auto &options : {std::vector<std::string>{}, {"--all"}, {"--json"}}) {
        std::vector<std::string> whole{"faults", svi};
        whole.insert(whole.end(), options.begin(), options.end());
        const Result one = kvnsim(whole), all = merged({files[2], files[0], files[1]}, options);
        EXPECT_EQ(one.out, all.out);
        EXPECT_EQ(one.status, all.status);
        EXPECT_EQ("", all.err);
    }
}

TEST_F(FaultsVerb, AShareOfWhichAMachineDiedIsMissed)
{
    const std::vector<std::string> files = shares();
    const std::string text = read("2.jsonl");
    write("2.jsonl", text.substr(0, text.size() / 2));
    const Result cut = merged(files);
    EXPECT_EQ(bad_input, cut.status);
    EXPECT_EQ("", cut.out);
    EXPECT_THAT(cut.err, AllOf(HasSubstr("2.jsonl:"), HasSubstr("the line is cut"),
                               HasSubstr("are missing: run --shard 2/3 again")));

    /* What is run again may stand beside what there is of it. */
    write("2again.jsonl", text);
    const Result whole = merged({files[0], files[1], path("2again.jsonl"), files[2]});
    EXPECT_EQ(found, whole.status);
    EXPECT_EQ(kvnsim({"faults", svi}).out, whole.out);
    EXPECT_THAT(whole.err, HasSubstr("the line is cut"));
}

TEST_F(FaultsVerb, DamagedAndForeignResultsAreRefused)
{
    const std::vector<std::string> files = shares();
    std::string text = read("1.jsonl");
    text.replace(text.find("\"heals\":"), 8, "\"heels\":");
    write("1.jsonl", text);
    const Result damaged = merged(files);
    EXPECT_EQ(bad_input, damaged.status);
    EXPECT_THAT(damaged.err, AllOf(HasSubstr("1.jsonl:"), HasSubstr("\"heals\"")));

    ASSERT_EQ(found,
              kvnsim({"faults", svi, "--status", "-8", "--shard", "1/3", "-o", files[0]}).status);
    const Result other = merged(files);
    EXPECT_EQ(bad_input, other.status);
    EXPECT_THAT(other.err, AllOf(HasSubstr("another campaign"), HasSubstr("--status")));
}

TEST_F(FaultsVerb, ExitsWithSuccessWhenEverythingHeals)
{
    const Result result = kvnsim({"faults", svi, "--calls", "libsdk_intf_create"});
    EXPECT_EQ(well, result.status);
    EXPECT_THAT(lines(result.out).back(), HasSubstr(" heal, 0 do not; not tried: "));
    const Result nothing = kvnsim({"faults", svi, "--calls", "sse_call2"});
    EXPECT_EQ(well, nothing.status);
    EXPECT_THAT(nothing.out,
                StartsWith("0 failures tried: 0 heal, 0 do not; not tried: 1 call that"));
}

TEST_F(FaultsVerb, OfAConfigurationWithErrorsTriesNothingUnlessToldTo)
{
    const Result refused = kvnsim({"faults", example("broken.json")});
    EXPECT_EQ(bad_input, refused.status);
    EXPECT_EQ("", refused.out);
    EXPECT_THAT(refused.err, HasSubstr("nothing was applied"));
    const Result tried = kvnsim({"faults", example("broken.json"), "--keep-going"});
    EXPECT_EQ(bad_input, tried.status);
    EXPECT_THAT(tried.out, HasSubstr(" failures tried: "));
}

TEST_F(FaultsVerb, WrongCommandLinesAreRefused)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
        {{}, "CONFIG"},
        {{svi, "--calls", "libsdk_intf_creat"}, "there is no call \"libsdk_intf_creat\""},
        {{svi, "--calls", "libsdk_intf_create:2"}, "--calls: expected a call alone"},
        {{svi, "--calls", "if_index_get_port"}, "if_index_get_port cannot fail"},
        {{svi, "--status", "SDK_E_NO"}, "\"SDK_E_NO\" is not a status"},
        {{svi, "--status", "0"}, "status 0 is success"},
        {{svi, "--status", "SDK_E_NONE"}, "status 0 is success"},
        {{svi, "--seed", "3"}, "--seed is for --sample"},
        {{svi, "--jobs", "0"}, "--jobs: expected 1"},
        {{svi, "--jobs", "4294967297"}, "--jobs: expected 1"},
        {{svi, "--shard", "3/2"}, "--shard"},
        {{svi, "--shard", "1/2", "--json"}, "give --merge the --json"},
        {{svi, "-o", "x.jsonl"}, "-o is for the results of --shard"},
        {{"-", "--shard", "1/2"}, "--shard: expected files"},
        {{"--merge", "a.jsonl", "--pairs"}, "--merge and --pairs: what is merged is done"},
    };
    for (const auto &[arguments, message] : rows) {
        std::vector<std::string> words{"faults"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const Result result = kvnsim(words);
        EXPECT_EQ(usage, result.status) << message;
        EXPECT_THAT(result.err, HasSubstr(message));
    }
    const Result none = kvnsim({"faults", "--merge", "none.jsonl"});
    EXPECT_EQ(bad_input, none.status);
    EXPECT_THAT(none.err, HasSubstr("none.jsonl: cannot be read"));
    const Result unwritable = kvnsim({"faults", svi, "--shard", "1/2", "-o", "no/where.jsonl"});
    EXPECT_EQ(bad_input, unwritable.status);
    EXPECT_THAT(unwritable.err, HasSubstr("cannot write no/where.jsonl"));
}

TEST_F(FaultsVerb, ShowsProgressAndTellsOnCtrlCWhatItDidSoFar)
{
    const Result result =
        kvnsim_interrupted({"faults", example("leaf.json"), "--pairs"}, "\033[Kfailure ");
    EXPECT_THAT(result.err, HasSubstr("counting what follows failure "));
    EXPECT_EQ(128 + SIGINT, result.status);
    EXPECT_THAT(result.err, HasSubstr("interrupted: the rest was not tried"));
    EXPECT_THAT(lines(result.out).back(), EndsWith(" because of the interrupt"));
}
