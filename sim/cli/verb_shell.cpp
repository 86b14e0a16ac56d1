#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>
#include <unistd.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/line_editor.h"
#include "sim/cli/shell.h"
#include "sim/cli/words.h"
#include "sim/config/database_url.h"
#include "sim/types/lines.h"

namespace kvnsim {
namespace {

class ShellRun {
public:
    ShellRun(const Arguments &arguments, Console &console)
        : arguments_(arguments), console_(console), instruments_(arguments, console),
          interactive_(::isatty(STDIN_FILENO) != 0)
    {
        session_.keep_going = arguments.has("--keep-going");
    }

    int run()
    {
        instruments_.prepare(arguments_.values("CONFIG"));
        instruments_.open();
        if (arguments_.has("CONFIG"))
            did(execute(session_, {"apply", arguments_.value("CONFIG")}));
        if (status_ == exit_input && !session_.keep_going)
            return finish();
        if (interactive_)
            talk();
        else
            follow_script();
        return finish();
    }

private:
    /* At a terminal an error is only reported; it does not affect the exit status. */
    void talk()
    {
        std::FILE *terminal = ::isatty(STDOUT_FILENO) != 0 ? stdout : stderr;
        LineEditor editor(terminal, history_file(), complete_line);
        console_.note("`help` lists the commands; Tab completes, Ctrl-D exits.");
        while (!session_.ended) {
            console_.out().flush();
            if (interrupt_signal() == SIGINT) {
                console_.error("interrupted");
                forget_interrupt();
            }
            const auto line = editor.read("kvnsim> ");
            if (!line) {
                std::fputs("\n", terminal);
                std::fflush(terminal);
                break;
            }
            follow(*line);
        }
        status_ = exit_well;
    }

    void follow_script()
    {
        std::string line;
        while (!session_.ended && interrupt_signal() == 0) {
            const LineEnd end =
                read_line(line, [] { return is_interrupted() ? EOF : ::getc_unlocked(stdin); });
            if (end == LineEnd::none || is_interrupted())
                break;
            if (end == LineEnd::too_long)
                throw InputError(fmt::format("-:{}: {}", line_number_ + 1, line_is_too_long()));
            const int status = follow(line);
            did(status);
            if (status != exit_well && arguments_.has("--stop"))
                break;
        }
        if (std::ferror(stdin) != 0 && interrupt_signal() == 0)
            throw InputError(fmt::format("cannot read standard input: {}", std::strerror(errno)));
    }

    /* The first line that fails decides the exit status. */
    void did(int status)
    {
        if (status_ == exit_well)
            status_ = status;
    }

    int follow(const std::string &line)
    {
        ++line_number_;
        const CauseScope cause(fmt::format("-:{}: {}", line_number_, without_passwords(line)));
        if (!interactive_)
            session_.location = fmt::format("-:{}: ", line_number_);
        const SplitLine split = split_words(line);
        try {
            if (split.open_quote != '\0')
                throw UsageError(fmt::format("a {} is not closed", split.open_quote));
            return split.words.empty() ? int{exit_well} : execute(session_, split.words);
        } catch (const std::invalid_argument &error) {
            session_.error(error.what());
            return exit_usage;
        } catch (const std::exception &error) {
            session_.error(error.what());
            return exit_input;
        }
    }

    int finish()
    {
        const bool written =
            instruments_.close(arguments_.has("--db") ? session_.now() : Snapshot());
        const bool unused = instruments_.warn_of_unused_faults();
        if (interrupt_signal() != 0)
            return exit_signal + interrupt_signal();
        if (status_ != exit_well)
            return status_;
        return !written ? exit_input : unused ? exit_unused_fault : exit_well;
    }

    const Arguments &arguments_;
    Console &console_;
    Switch switch_; /* before the instruments, which it would reset */
    Instruments instruments_;
    Session session_{console_, switch_, instruments_};
    const bool interactive_;
    int status_ = exit_well;
    uint64_t line_number_ = 0;
};

int run_shell(const Arguments &arguments, Console &console)
{
    return ShellRun(arguments, console).run();
}

} // namespace

const Verb shell_verb{
    "shell",
    "operate a switch at a prompt or by a script on standard input",
    "kvnsim shell examples/leaf.json\n"
    "echo 'set Ethernet0 mtu 9216' | kvnsim shell examples/leaf.json\n",
    with_instruments(
        {{"CONFIG", Takes::file, Times::optional, "a config_db.json file to begin with"}},
        {{"--stop", Takes::nothing, Times::optional, "end a script at the first line that fails"}}),
    run_shell,
    true};

} // namespace kvnsim
