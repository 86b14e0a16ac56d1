#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kvnsim {

/* Completions of the last word, which may be empty. A completion that ends with '/' or '=' may be
 * continued. */
using Completer = std::function<std::vector<std::string>(const std::vector<std::string> &words)>;

/* Reads lines from a terminal, with editing, history and completion. One at a time. */
class LineEditor {
public:
    /* Takes the history from the file and adds to it; an empty name keeps none. A file that
     * cannot be read is ignored; one that cannot be written stays as it is. */
    LineEditor(std::FILE *terminal, std::string history_file, Completer completer);
    ~LineEditor(); /* writes the history */

    /* The next line; empty text after Ctrl-C, nothing at the end (Ctrl-D, SIGTERM). */
    std::optional<std::string> read(const char *prompt);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/* The history file: in $XDG_STATE_HOME or ~/.local/state; empty without a home. */
std::string history_file();

} // namespace kvnsim
