#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
#include "sim/state/snapshot.h"
#include "sim/types/json.h"

namespace kvnsim {
namespace {

bool asks_for_help(const Words &words)
{
    for (const std::string &word : words) {
        if (word == "--")
            break;
        if (word == "--help" || word == "-h")
            return true;
    }
    return false;
}

/* A command line that is wrong, and the command that helps. */
struct Unusable : std::invalid_argument {
    Unusable(const std::string &message, std::string helped_by)
        : std::invalid_argument(message), help(std::move(helped_by))
    {}
    std::string help;
};

const Verb &verb_named(const std::string &name)
{
    if (const Verb *verb = find_verb(name))
        return *verb;
    throw Unusable(
        fmt::format("unknown verb \"{}\"{}", name, did_you_mean(name, names_of(verbs()))),
        "kvnsim --help");
}

int run(Words words, Console &console)
{
    if (words.empty())
        throw Unusable("a verb is missing", "kvnsim --help");
    if (words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        console.out() << (words.size() == 2 ? help(verb_named(words[1])) : help());
        return exit_well;
    }
    if (words[0] == "--version")
        words[0] = "version";
    const Verb &verb = verb_named(words[0]);
    words.erase(words.begin());
    if (asks_for_help(words)) {
        console.out() << help(verb);
        return exit_well;
    }
    if (verb.completes)
        catch_interrupts();
    try {
        return verb.run(parse(verb.options, words), console);
    } catch (const UsageError &error) {
        throw Unusable(fmt::format("{}: {}", verb.name, error.what()),
                       fmt::format("kvnsim {} --help", verb.name));
    }
}

/* An error is a message and, for who asked for a document, that document. */
int fail(ExitStatus status, const char *message, const Words &words, Console &console)
{
    const auto options_end = std::find(words.begin(), words.end(), "--");
    if (std::find(words.begin(), options_end, json_option.words) != options_end) {
        Json json;
        json.begin_object().key("error").begin_object().field("status", int{status});
        json.field("message", message).end_object().end_object();
        console.out() << json.document();
    }
    console.error(fmt::format("kvnsim: {}", message));
    return status;
}

int guarded(const Words &words, Console &console)
{
    try {
        return run(words, console);
    } catch (const Unusable &error) {
        const int status = fail(exit_usage, error.what(), words, console);
        console.note(fmt::format("Try `{}`.", error.help));
        return status;
    } catch (const std::bad_alloc &) {
        return fail(exit_input, "out of memory", words, console);
    } catch (const std::exception &error) {
        return fail(exit_input, error.what(), words, console);
    }
}

} // namespace
} // namespace kvnsim

int main(int argc, char **argv)
{
    using namespace kvnsim;
    make_write_signals_errors();
    Console console;
    const int status = guarded(Words(argv + 1, argv + argc), console);
    const int problem = console.finish();
    if (problem == 0)
        return status;
    /* The reader closed the pipe, as `kvnsim ... | head` does. */
    const bool unread = problem == EPIPE;
    if (!unread)
        console.error(
            fmt::format("kvnsim: cannot write standard output: {}", std::strerror(problem)));
    if (status != exit_well)
        return status;
    return unread ? exit_signal + SIGPIPE : int{exit_input};
}
