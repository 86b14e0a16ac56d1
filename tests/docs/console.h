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

/* What a command printed, standard error included, and its exit status: of a pipe, that of the last
 * one in it that failed. */
struct Outcome {
    std::string output;
    int status = 0;
};

/* The exit status that an output stands for: requests that failed, errors of a configuration and
 * counted findings are told. A page that means another status prints it, as "exit status 3". */
int status_told_by(const Lines &output);

/* Runs commands in a folder of its own that has the examples, and kvnsim in its path. The test
 * fails when one is ended by a signal, whatever comes behind it in a pipe. */
class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    Outcome run(const std::string &command) const;

private:
    std::string folder_;
};

} // namespace docs
