#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "console.h"

namespace {

using docs::Lines;

std::vector<std::string> pages()
{
    std::vector<std::string> pages{"README.md", "CONTRIBUTING.md", "CHANGELOG.md", "SECURITY.md"};
    for (const auto &entry : std::filesystem::directory_iterator(KVN_SOURCE "/docs")) {
        if (entry.path().extension() == ".md")
            pages.push_back("docs/" + entry.path().filename().string());
    }
    std::sort(pages.begin(), pages.end());
    return pages;
}

std::vector<std::string> pages_with_commands()
{
    std::vector<std::string> found;
    for (const std::string &page : pages()) {
        if (!docs::commands_of(docs::read_page(KVN_SOURCE "/" + page)).empty())
            found.push_back(page);
    }
    return found;
}

std::string joined(Lines::const_iterator first, Lines::const_iterator last)
{
    std::string text;
    for (; first != last; ++first)
        text += *first + "\n";
    return text;
}

auto at(const Lines &page, size_t line)
{
    return page.begin() + static_cast<std::ptrdiff_t>(line);
}

class Page : public testing::TestWithParam<std::string> {};

/* With KVN_UPDATE_DOCS set, a page whose commands print something else is written anew. */
TEST_P(Page, ShowsWhatTheToolPrints)
{
    const std::string path = KVN_SOURCE "/" + GetParam();
    const Lines page = docs::read_page(path);
    const bool update = std::getenv("KVN_UPDATE_DOCS") != nullptr;
    const docs::Terminal terminal;
    std::string written;
    size_t done = 0;
    for (const docs::Command &command : docs::commands_of(page)) {
        const Lines shown(at(page, command.first), at(page, command.last));
        const auto [output, status] = terminal.run(command.words);
        const bool same = docs::matches(shown, docs::lines_of(output));
        EXPECT_TRUE(same || update)
            << GetParam() << ":" << command.first << ": $ " << command.words << "\nprints\n"
            << output << "and not\n"
            << joined(shown.begin(), shown.end());
        EXPECT_EQ(status, docs::status_told_by(docs::lines_of(output)))
            << GetParam() << ":" << command.first << ": $ " << command.words
            << "\nends with a status that the page does not tell";
        written += joined(at(page, done), at(page, command.first));
        written += same ? joined(shown.begin(), shown.end()) : output;
        done = command.last;
    }
    if (update)
        std::ofstream(path) << written << joined(at(page, done), page.end());
}

std::string test_name(const testing::TestParamInfo<std::string> &page)
{
    std::string name = page.param;
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, Page, testing::ValuesIn(pages_with_commands()), test_name);

/* A heading's anchor: lower case, blanks as '-', other punctuation left out. */
std::string anchor_of(const std::string &heading)
{
    std::string anchor;
    for (const char c : heading) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || c == '-' || c == '_')
            anchor += static_cast<char>(std::tolower(byte));
        else if (c == ' ')
            anchor += '-';
    }
    return anchor;
}

/* The lines outside fenced blocks. */
Lines text_of(const std::string &path)
{
    Lines text;
    bool fenced = false;
    for (const std::string &line : docs::read_page(path)) {
        const bool fence = line.rfind("```", 0) == 0;
        if (fence)
            fenced = !fenced;
        else if (!fenced)
            text.push_back(line);
    }
    return text;
}

std::set<std::string> anchors_of(const Lines &page)
{
    std::set<std::string> anchors;
    for (const std::string &line : page) {
        const size_t level = line.find_first_not_of('#');
        if (level != 0 && level != line.npos && line[level] == ' ')
            anchors.insert(anchor_of(line.substr(level + 1)));
    }
    return anchors;
}

TEST(Pages, LinkToWhatIsThere)
{
    const std::regex link(R"(\]\(([^)#:]*)(#([^)]*))?\))");
    size_t links = 0;
    for (const std::string &name : pages()) {
        const std::filesystem::path path = std::filesystem::path(KVN_SOURCE) / name;
        for (const std::string &line : text_of(path.string())) {
            for (std::sregex_iterator found(line.begin(), line.end(), link), end; found != end;
                 ++found, ++links) {
                const std::string file = (*found)[1], anchor = (*found)[3];
                const auto target = file.empty() ? path : path.parent_path() / file;
                if (!std::filesystem::exists(target)) {
                    ADD_FAILURE() << name << " links to " << file << ", which is not there";
                } else if (!anchor.empty()) {
                    EXPECT_EQ(anchors_of(text_of(target.string())).count(anchor), 1u)
                        << name << " links to " << file << "#" << anchor << ": no such heading";
                }
            }
        }
    }
    EXPECT_GT(links, 0u);
}

/* ---- The map of the folders ---- */

/* The folder that a file belongs to, as the map has it: "sim/cli", "docs"; empty for none. */
std::string folder_of(const std::string &file)
{
    const size_t first = file.find('/');
    if (first == file.npos || file[0] == '.')
        return "";
    const size_t second = file.find('/', first + 1);
    return file.substr(0, second == file.npos ? first : second);
}

TEST(Map, HasEveryFolderAndNoOther)
{
    const std::string files =
        docs::Terminal()
            .run("git -c safe.directory='*' -C '" KVN_SOURCE "' ls-files 2>/dev/null")
            .output;
    std::set<std::string> there, mapped;
    for (const std::string &file : docs::lines_of(files))
        there.insert(folder_of(file));
    there.erase("");
    if (there.empty())
        GTEST_SKIP() << "not a git checkout";

    const std::regex row(R"(\| `([^`]+)` \| .+ \|)");
    bool inside = false;
    for (const std::string &line : docs::read_page(KVN_SOURCE "/docs/architecture.md")) {
        std::smatch found;
        if (line.rfind("## ", 0) == 0)
            inside = line == "## The folders";
        else if (inside && std::regex_match(line, found, row))
            mapped.insert(found[1]);
    }
    /* A folder that has folders is told by them; it may have a row of its own. */
    for (const std::string &folder : std::set<std::string>(there)) {
        const std::string parent = folder.substr(0, folder.find('/'));
        if (parent != folder && mapped.count(parent) == 0)
            there.erase(parent);
    }
    EXPECT_EQ(mapped, there);
}

TEST(ShownOutput, StandsForItself)
{
    EXPECT_TRUE(docs::matches({"one", "two"}, {"one", "two"}));
    EXPECT_FALSE(docs::matches({"one"}, {"one", "two"}));
    EXPECT_FALSE(docs::matches({"one", "two"}, {"one"}));
    EXPECT_FALSE(docs::matches({"one"}, {"One"}));
    EXPECT_TRUE(docs::matches({}, {}));
}

TEST(ShownOutput, LeavesLinesOut)
{
    EXPECT_TRUE(docs::matches({"one", "[...]", "five"}, {"one", "two", "three", "five"}));
    EXPECT_TRUE(docs::matches({"[...]"}, {}));
    EXPECT_FALSE(docs::matches({"one", "[...]", "five"}, {"one", "two"}));
}

TEST(ShownOutput, TellsTheExitStatus)
{
    EXPECT_EQ(docs::status_told_by({}), 0);
    EXPECT_EQ(docs::status_told_by({"one", "2 findings"}), 1);
    EXPECT_EQ(docs::status_told_by({"1 difference"}), 1);
    EXPECT_EQ(docs::status_told_by({"a.json: 1 error, 1 warning"}), 3);
    EXPECT_EQ(docs::status_told_by({"20 failures tried: 18 heal, 2 do not"}), 1);
    EXPECT_EQ(docs::status_told_by({"20 failures tried: 20 heal, 0 do not"}), 0);
    EXPECT_EQ(docs::status_told_by({"a.json:1:1: PORT|Ethernet0: failed to do it", "1 finding"}),
              4);
    EXPECT_EQ(docs::status_told_by({"a.json: 2 errors", "exit status 3"}), 0);
}

TEST(ShownOutput, HasPartsThatVary)
{
    EXPECT_TRUE(docs::matches({"at <time> sharp"}, {"at 12:00 sharp"}));
    EXPECT_TRUE(docs::matches({"took <time>"}, {"took 12 s"}));
    EXPECT_FALSE(docs::matches({"took <time>"}, {"took "}));
    EXPECT_FALSE(docs::matches({"at <time> sharp"}, {"at 12:00"}));
    EXPECT_FALSE(docs::matches({"1 <-- here"}, {"1 there"}));
}

} // namespace
