#pragma once

#include <string>
#include <vector>

/* What a page shows of a terminal: fenced blocks that begin with ```console, in which each command
 * stands behind "$ " and is followed by what it prints, standard error included. */
namespace docs {

struct Command {
    std::string words;
    size_t first = 0, last = 0; /* the lines of its output in the page, last excluded */
};

using Lines = std::vector<std::string>;

Lines lines_of(const std::string &text);
Lines read_page(const std::string &path);

/* The commands of a page, in their order. */
std::vector<Command> commands_of(const Lines &page);

/* Whether the output is as the page says. There a line "[...]" stands for any number of lines, and
 * a word in '<' and '>' for any text within a line. */
bool matches(const Lines &shown, const Lines &output);

/* Runs commands in a folder of its own that has the examples, and kvnsim in its path. */
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    /* What the command prints, standard error included. */
    std::string run(const std::string &command) const;

private:
    std::string folder_;
};

} // namespace docs
