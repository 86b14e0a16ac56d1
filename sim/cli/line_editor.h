#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kvnsim {

/* The words that may stand at the end of these: the last one is what there is of it, and may be
 * empty. One that ends with '/' or '=' goes on. */
using Completer = std::function<std::vector<std::string>(const std::vector<std::string> &words)>;

/* Reads lines from a terminal, with editing, history and completion. One at a time. */
class LineEditor {
public:
    /* Takes the history from the file and adds to it; an empty name keeps none. Unreadable or
     * unwritable, the file is passed over: no line is lost with it. */
    LineEditor(std::FILE *terminal, std::string history_file, Completer completer);
    ~LineEditor(); /* writes the history */
    LineEditor(const LineEditor &) = delete;
    LineEditor &operator=(const LineEditor &) = delete;

    /* The next line; empty text when Ctrl-C dropped it, nothing at the end (Ctrl-D, SIGTERM). */
    std::optional<std::string> read(const char *prompt);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/* Where the history is kept: in $XDG_STATE_HOME or ~/.local/state; empty without a home. */
std::string history_file();

} // namespace kvnsim
