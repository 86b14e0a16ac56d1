#include <algorithm>
#include <cctype>
#include <regex>
#include <set>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "console.h"

/* The lists of kvnsim.md are complete and name nothing else. */
namespace {

using docs::Lines;
using Names = std::set<std::string>;

const Lines &manual()
{
    static const Lines page = docs::read_page(KVN_SOURCE "/docs/kvnsim.md");
    return page;
}

Names words_at_start(const std::string &help, const std::string &heading)
{
    Names names;
    bool inside = false;
    for (const std::string &line : docs::lines_of(help)) {
        if (inside && line.empty())
            break;
        if (inside)
            names.insert(line.substr(2, line.find(' ', 2) - 2));
        inside = inside || line == heading;
    }
    return names;
}

/* The text below "### kvnsim VERB". */
std::string section_of(const std::string &verb)
{
    std::string text;
    bool inside = false;
    for (const std::string &line : manual()) {
        if (line.rfind("## ", 0) == 0 || line.rfind("### ", 0) == 0)
            inside = line == "### kvnsim " + verb;
        else if (inside)
            text += line + "\n";
    }
    return text;
}

TEST(Manual, HasEveryVerbWithEveryOption)
{
    const docs::Terminal terminal;
    const Names verbs = words_at_start(terminal.run("kvnsim --help").output, "Verbs:");
    ASSERT_FALSE(verbs.empty());
    for (const std::string &verb : verbs) {
        const std::string section = section_of(verb);
        EXPECT_NE(section, "") << "kvnsim.md says nothing of kvnsim " << verb;
        const std::string help = terminal.run("kvnsim " + verb + " --help").output;
        for (const std::string &option : words_at_start(help, "Options:"))
            EXPECT_TRUE(std::regex_search(section, std::regex("`" + option + "[` ]")))
                << "kvnsim.md says nothing of kvnsim " << verb << " " << option;
        /* And the other way round. */
        const std::regex mentioned("`(--[a-z-]+)");
        for (std::sregex_iterator found(section.begin(), section.end(), mentioned), end;
             found != end; ++found)
            EXPECT_NE(help.find((*found)[1]), help.npos)
                << "kvnsim " << verb << " has no " << (*found)[1];
    }
}

/* The commands of the page leave the files that others read. */
void run_manual(const docs::Terminal &terminal)
{
    for (const docs::Command &command : docs::commands_of(manual()))
        terminal.run(command.words);
}

TEST(Help, ShowsCommandsThatWork)
{
    const docs::Terminal terminal;
    run_manual(terminal);
    for (const std::string &verb : words_at_start(terminal.run("kvnsim --help").output, "Verbs:")) {
        const std::string help = terminal.run("kvnsim " + verb + " --help").output;
        const size_t example = help.find("\nExample:\n");
        ASSERT_NE(example, help.npos) << verb;
        for (const std::string &line : docs::lines_of(help.substr(example + 10))) {
            EXPECT_EQ(line.rfind("  ", 0), 0u) << line;
            const docs::Outcome outcome = terminal.run(line);
            EXPECT_EQ(outcome.status, docs::status_told_by(docs::lines_of(outcome.output)))
                << line << "\n"
                << outcome.output;
        }
    }
}

/* ---- JSON ---- */

/* The paths of all values: "interfaces[].name". */
void collect(const rapidjson::Value &value, const std::string &path, Names &paths)
{
    if (value.IsObject()) {
        if (value.ObjectEmpty())
            paths.insert(path);
        for (const auto &member : value.GetObject())
            collect(member.value, path + (path.empty() ? "" : ".") + member.name.GetString(),
                    paths);
    } else if (value.IsArray()) {
        if (value.Empty())
            paths.insert(path + "[]");
        for (const auto &element : value.GetArray())
            collect(element, path + "[]", paths);
    } else {
        paths.insert(path);
    }
}

/* "a.{b,c[]}" is "a.b" and "a.c[]". */
void expand(const std::string &pattern, Names &paths)
{
    const size_t open = pattern.find('{'), close = pattern.find('}');
    if (open == pattern.npos) {
        paths.insert(pattern);
        return;
    }
    size_t from = open + 1;
    while (from <= close) {
        const size_t end = std::min(pattern.find(',', from), close);
        expand(pattern.substr(0, open) + pattern.substr(from, end - from) +
                   pattern.substr(close + 1),
               paths);
        from = end + 1;
    }
}

bool same_path(const std::string &documented, const std::string &found)
{
    return docs::matches({documented}, {found});
}

/* An empty list or object says nothing of what could be in it. */
bool is_above(const std::string &found, const std::string &documented)
{
    return documented.rfind(found, 0) == 0 && documented.size() > found.size();
}

/* The marked lists: the commands, and the paths below them. */
struct KeyList {
    size_t line;
    std::vector<std::string> commands;
    Names paths;
};

std::vector<KeyList> key_lists()
{
    const std::string marker = "<!-- json: ", end = " -->";
    std::vector<KeyList> lists;
    bool inside = false;
    for (size_t i = 0; i < manual().size(); ++i) {
        const std::string &line = manual()[i];
        if (line.rfind(marker, 0) == 0) {
            inside = true;
            lists.push_back({i + 1, {}, {}});
            std::string commands =
                line.substr(marker.size(), line.size() - marker.size() - end.size());
            for (size_t bar; (bar = commands.find(" | ")) != commands.npos;
                 commands.erase(0, bar + 3))
                lists.back().commands.push_back(commands.substr(0, bar));
            lists.back().commands.push_back(commands);
        } else if (line == "<!-- end of json -->") {
            inside = false;
        } else if (inside && line.rfind("| `", 0) == 0) {
            const std::string keys = line.substr(0, line.find('|', 1));
            const std::regex quoted("`([^`]+)`");
            for (std::sregex_iterator found(keys.begin(), keys.end(), quoted), none; found != none;
                 ++found)
                expand((*found)[1], lists.back().paths);
        }
    }
    return lists;
}

TEST(Json, HasTheDocumentedKeys)
{
    const docs::Terminal terminal;
    run_manual(terminal);
    terminal.run("kvnsim run examples/leaf.json --quiet --events leaf.events");
    const std::vector<KeyList> lists = key_lists();
    ASSERT_GE(lists.size(), 9u);
    for (const KeyList &list : lists) {
        Names found;
        for (const std::string &command : list.commands) {
            const std::string output =
                terminal.run("kvnsim " + command + " --json 2>/dev/null").output;
            rapidjson::Document document;
            ASSERT_FALSE(document.Parse(output.c_str()).HasParseError())
                << "kvnsim.md:" << list.line << ": " << command << ": " << output;
            collect(document, "", found);
        }
        for (const std::string &path : found)
            EXPECT_TRUE(std::any_of(list.paths.begin(), list.paths.end(),
                                    [&](const std::string &documented) {
                                        return same_path(documented, path) ||
                                               is_above(path, documented);
                                    }))
                << "kvnsim.md:" << list.line << " says nothing of " << path;
        for (const std::string &documented : list.paths)
            EXPECT_TRUE(std::any_of(found.begin(), found.end(),
                                    [&](const std::string &path) {
                                        return same_path(documented, path) ||
                                               is_above(documented, path);
                                    }))
                << "kvnsim.md:" << list.line << ": no document has " << documented;
    }
}

/* ---- Tables of the page ---- */

TEST(Manual, NamesTheStatusesAsTheToolDoes)
{
    const docs::Terminal terminal;
    const std::string fails_with =
        "kvnsim run examples/routed_ports.json --quiet --fail libsdk_intf_create:1=";
    const std::regex row(R"(\| `(SDK_E_\w+)` \| (-?\d+) \| .* \|)");
    size_t rows = 0;
    for (const std::string &line : manual()) {
        std::smatch found;
        if (!std::regex_match(line, found, row) || found[2] == "0")
            continue;
        ++rows;
        const std::string by_name = terminal.run(fails_with + found[1].str()).output;
        const std::string by_number = terminal.run(fails_with + found[2].str()).output;
        EXPECT_EQ(by_name, by_number);
        EXPECT_NE(by_name.find(found[1].str() + " (" + found[2].str() + ") (injected)"),
                  by_name.npos)
            << by_name;
    }
    EXPECT_EQ(rows, 8u);
}

} // namespace
