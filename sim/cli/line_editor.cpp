/* Reads lines through editline. Ctrl-C and SIGTERM are blocked during a read, and delivered only
 * while it waits for a key: a signal is never lost between two keys and never interrupts editing.
 * The signal mask is restored before read() returns. One editor at a time, on a terminal. */
#include "sim/cli/line_editor.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include <fmt/format.h>
#include <histedit.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sim/cli/interrupt.h"
#include "sim/cli/words.h"
#include "sim/config/database_url.h"
#include "sim/state/file_in_making.h"

namespace kvnsim {
namespace {

constexpr int history_size = 1000;
constexpr size_t most_listed = 200;
constexpr wchar_t interrupt_key = L'\003';

std::string common_beginning(const std::vector<std::string> &texts)
{
    std::string common = texts.front();
    for (const std::string &text : texts) {
        const auto end = std::mismatch(common.begin(), common.end(), text.begin(), text.end());
        common.erase(end.first, common.end());
    }
    return common;
}

/* Of a path only the file name is listed. */
std::string shown(const std::string &candidate)
{
    const size_t slash = candidate.find_last_of('/', candidate.size() - 2);
    return candidate.size() < 2 || slash == candidate.npos ? candidate
                                                           : candidate.substr(slash + 1);
}

} // namespace

struct LineEditor::State {
    std::FILE *terminal;
    std::string file;
    Completer completer;
    const char *prompt = "";
    bool dropped = false; /* the current line, by Ctrl-C */
    std::mbstate_t partial{};
    sigset_t while_waiting{}; /* signals are blocked except while waiting for a key */
    std::unique_ptr<History, void (*)(History *)> history{history_init(), history_end};
    std::unique_ptr<EditLine, void (*)(EditLine *)> editor{nullptr, el_end};

    static State &of(EditLine *editor)
    {
        void *state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return *static_cast<State *>(state);
    }

    static char *prompt_of(EditLine *editor) { return const_cast<char *>(of(editor).prompt); }

    /* A signal ends the wait for a key: Ctrl-C drops the line, SIGTERM ends input. */
    static int read_key(EditLine *editor, wchar_t *key)
    {
        State &state = of(editor);
        while (true) {
            fd_set input;
            FD_ZERO(&input);
            FD_SET(STDIN_FILENO, &input);
            if (::pselect(STDIN_FILENO + 1, &input, nullptr, nullptr, nullptr,
                          &state.while_waiting) < 0) {
                if (interrupt_signal() == SIGINT) {
                    *key = interrupt_key;
                    return 1;
                }
                if (errno != EINTR || interrupt_signal() != 0)
                    return -1;
                continue;
            }
            char byte = '\0';
            const ssize_t got = ::read(STDIN_FILENO, &byte, 1);
            if (got <= 0)
                return static_cast<int>(got);
            const size_t length = std::mbrtowc(key, &byte, 1, &state.partial);
            if (length <= 1)
                return 1;
            if (length == static_cast<size_t>(-1))
                state.partial = {}; /* not a character: ignored */
        }
    }

    static unsigned char drop_line(EditLine *editor, int)
    {
        of(editor).dropped = true;
        return CC_EOF;
    }

    static unsigned char complete(EditLine *editor, int)
    {
        try {
            return of(editor).complete_word();
        } catch (const std::exception &) {
            return CC_REFRESH_BEEP;
        }
    }

    unsigned char complete_word() const
    {
        const LineInfo *line = el_line(editor.get());
        SplitLine before =
            split_words({line->buffer, static_cast<size_t>(line->cursor - line->buffer)});
        if (!before.open_word)
            before.words.emplace_back();
        const std::vector<std::string> candidates = completer(before.words);
        if (candidates.empty())
            return CC_REFRESH_BEEP;
        const std::string common = common_beginning(candidates);
        std::string more = typed(common.substr(before.words.back().size()), before.open_quote);
        if (candidates.size() == 1 && common.back() != '/' && common.back() != '=') {
            if (before.open_quote != '\0')
                more += before.open_quote;
            more += ' ';
        }
        if (!more.empty() && el_insertstr(editor.get(), more.c_str()) == 0)
            return CC_REFRESH;
        list(candidates);
        return CC_REDISPLAY;
    }

    void list(const std::vector<std::string> &candidates) const
    {
        size_t width = 0;
        const size_t listed = std::min(candidates.size(), most_listed);
        for (size_t i = 0; i < listed; ++i)
            width = std::max(width, shown(candidates[i]).size() + 2);
        const size_t columns = std::max<size_t>(80 / width, 1);
        std::string text;
        for (size_t i = 0; i < listed; ++i)
            text +=
                fmt::format("{}{:<{}}", i % columns == 0 ? "\n" : "", shown(candidates[i]), width);
        if (listed != candidates.size())
            text += fmt::format("\n... and {} more", candidates.size() - listed);
        std::fputs((text + "\n").c_str(), terminal);
    }
};

namespace {

/* Only a history, or nothing yet, is read and written: what is no file, as a pipe or a device, and
 * what holds something else is left alone. */
bool can_be_history(const std::string &path)
{
    constexpr uintmax_t largest = uintmax_t{16} << 20;
    std::error_code none;
    if (path.empty() || !std::filesystem::exists(path, none))
        return !path.empty();
    if (!std::filesystem::is_regular_file(path, none) ||
        std::filesystem::file_size(path, none) > largest)
        return false;
    std::string line;
    std::ifstream file(path);
    return !std::getline(file, line) || line == "_HiStOrY_V2_"; /* editline's own first line */
}

/* The file stays as it is when the new one cannot be written. */
void save_history(History *from, const std::string &path)
{
    try {
        FileInMaking made(path);
        std::FILE *file = std::fopen(made.path().c_str(), "w");
        if (file == nullptr)
            return;
        HistEvent event;
        const bool saved = history(from, &event, H_SAVE_FP, file) >= 0 && std::ferror(file) == 0;
        if (std::fclose(file) == 0 && saved)
            made.put_in_place();
    } catch (const std::exception &) {
    }
}

} // namespace

LineEditor::LineEditor(std::FILE *terminal, std::string history_file, Completer completer)
    : state_(new State)
{
    std::setlocale(LC_CTYPE, "");
    state_->terminal = terminal;
    if (can_be_history(history_file))
        state_->file = std::move(history_file);
    state_->completer = std::move(completer);
    HistEvent event;
    history(state_->history.get(), &event, H_SETSIZE, history_size);
    history(state_->history.get(), &event, H_SETUNIQUE, 1);
    if (!state_->file.empty())
        history(state_->history.get(), &event, H_LOAD, state_->file.c_str());

    EditLine *editor = el_init("kvnsim", stdin, terminal, stderr);
    state_->editor.reset(editor);
    el_set(editor, EL_CLIENTDATA, state_.get());
    el_set(editor, EL_PROMPT, &State::prompt_of);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_HIST, history, state_->history.get());
    el_set(editor, EL_GETCFN, &State::read_key);
    el_set(editor, EL_ADDFN, "kvnsim-complete", "Complete the word", &State::complete);
    el_set(editor, EL_ADDFN, "kvnsim-drop-line", "Drop the line", &State::drop_line);
    el_set(editor, EL_BIND, "^I", "kvnsim-complete", nullptr);
    el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editor, nullptr); /* the user's own settings */
    el_set(editor, EL_BIND, "^C", "kvnsim-drop-line", nullptr);
}

LineEditor::~LineEditor()
{
    if (state_->file.empty())
        return;
    std::error_code none;
    std::filesystem::create_directories(std::filesystem::path(state_->file).parent_path(), none);
    const mode_t mask = ::umask(077); /* the history is private to its user */
    save_history(state_->history.get(), state_->file);
    ::umask(mask);
}

std::optional<std::string> LineEditor::read(const char *prompt)
{
    if (interrupt_signal() != 0)
        return std::nullopt;
    state_->prompt = prompt;
    state_->dropped = false;
    sigset_t held_back;
    sigemptyset(&held_back);
    sigaddset(&held_back, SIGINT);
    sigaddset(&held_back, SIGTERM);
    sigaddset(&held_back, SIGHUP);
    sigprocmask(SIG_BLOCK, &held_back, &state_->while_waiting);
    el_set(state_->editor.get(), EL_PREP_TERM, 1); /* accept keys once the prompt is shown */
    int length = 0;
    const char *line = el_gets(state_->editor.get(), &length);
    sigprocmask(SIG_SETMASK, &state_->while_waiting, nullptr);
    if (state_->dropped) {
        std::fputs("^C\n", state_->terminal);
        std::fflush(state_->terminal);
        forget_interrupt();
        return "";
    }
    if (line == nullptr || length <= 0)
        return std::nullopt;
    std::string text(line, static_cast<size_t>(length));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    if (text.find_first_not_of(" \t") != text.npos) {
        HistEvent event;
        history(state_->history.get(), &event, H_ENTER, without_passwords(text).c_str());
    }
    return text;
}

std::string history_file()
{
    const auto folder = [](const char *variable) {
        const char *value = std::getenv(variable);
        return std::filesystem::path(value != nullptr && *value == '/' ? value : "");
    };
    std::filesystem::path state = folder("XDG_STATE_HOME");
    if (state.empty() && !folder("HOME").empty())
        state = folder("HOME") / ".local/state";
    return state.empty() ? "" : state / "kvnsim/history";
}

} // namespace kvnsim
