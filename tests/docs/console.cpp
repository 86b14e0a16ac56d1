#include "console.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

namespace docs {
namespace {

/* What follows a part that varies, as "<time>"; nullptr when the pattern begins with none. */
const char *behind_variable(const char *pattern)
{
    if (pattern[0] != '<' || std::isalpha(static_cast<unsigned char>(pattern[1])) == 0)
        return nullptr;
    const char *const end = std::strchr(pattern, '>');
    return end == nullptr ? nullptr : end + 1;
}

bool line_matches(const char *pattern, const char *text)
{
    for (; *pattern != '\0'; ++pattern, ++text) {
        if (const char *const rest = behind_variable(pattern)) {
            while (*text != '\0') {
                if (line_matches(rest, ++text))
                    return true;
            }
            return false;
        }
        if (*pattern != *text)
            return false;
    }
    return *text == '\0';
}

bool matches(const Lines &shown, size_t at, const Lines &output, size_t from)
{
    for (; at < shown.size(); ++at, ++from) {
        if (shown[at] == "[...]") {
            for (size_t next = from; next <= output.size(); ++next) {
                if (matches(shown, at + 1, output, next))
                    return true;
            }
            return false;
        }
        if (from == output.size() || !line_matches(shown[at].c_str(), output[from].c_str()))
            return false;
    }
    return from == output.size();
}

} // namespace

Lines lines_of(const std::string &text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

Lines read_page(const std::string &path)
{
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    std::ostringstream text;
    text << file.rdbuf();
    return lines_of(text.str());
}

std::vector<Command> commands_of(const Lines &page)
{
    std::vector<Command> commands;
    bool inside = false;
    for (size_t i = 0; i < page.size(); ++i) {
        if (!inside) {
            inside = page[i] == "```console";
        } else if (page[i] == "```") {
            inside = false;
        } else if (page[i].rfind("$ ", 0) == 0) {
            commands.push_back({page[i].substr(2), i + 1, i + 1});
        } else if (!commands.empty()) {
            commands.back().last = i + 1;
        }
    }
    return commands;
}

bool matches(const Lines &shown, const Lines &output)
{
    return matches(shown, 0, output, 0);
}

int status_told_by(const Lines &output)
{
    static const struct {
        std::regex line;
        int status;
    } told[] = {
        {std::regex("exit status [0-9]+"), 0}, /* of the command that printed it */
        {std::regex(".*: failed to .*|  = .* calls? failed: .*"), 4},
        {std::regex(".*: [0-9]+ errors?(, .*)?"), 3},
        {std::regex("not routed: .*|.* services? wanted.*(not given|given wrongly|not wanted).*"),
         1},
        {std::regex(".* tried: .* heal, [1-9][0-9]* do not.*"), 1},
        {std::regex("[0-9]+ findings?([,;].*)?|[0-9]+ differences?|.*; [0-9]+ left out(;.*)?"), 1},
    };
    for (const auto &[line, status] : told) {
        for (const std::string &text : output) {
            if (std::regex_match(text, line))
                return status;
        }
    }
    return 0;
}

Terminal::Terminal()
{
    std::string name = (std::filesystem::temp_directory_path() / "kvnsim-docs-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot make a folder");
    folder_ = name;
    std::filesystem::copy(KVN_EXAMPLES, folder_ + "/examples");
}

Terminal::~Terminal()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

Outcome Terminal::run(const std::string &command) const
{
    std::ofstream(folder_ + "/.command")
        << command << "\necho \"${PIPESTATUS[@]}\" > '" << folder_ << "/.statuses'\n";
    const std::string line = "cd '" + folder_ +
                             "' && PATH='" KVN_BIN "':\"$PATH\" LC_ALL=C "
                             "bash .command 2>&1 </dev/null";
    FILE *const pipe = popen(line.c_str(), "r");
    if (pipe == nullptr)
        throw std::runtime_error("cannot run bash");
    Outcome outcome;
    char buffer[4096];
    for (size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        outcome.output.append(buffer, got);
    pclose(pipe);

    std::ifstream statuses(folder_ + "/.statuses");
    bool is_told = false;
    for (int status; statuses >> status; is_told = true) {
        EXPECT_LT(status, 128) << "ended by a signal: $ " << command;
        if (status != 0)
            outcome.status = status;
    }
    EXPECT_TRUE(is_told) << "no shell ran: $ " << command;
    return outcome;
}

} // namespace docs
