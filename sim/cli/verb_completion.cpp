#include <algorithm>

#include "sim/cli/completion.h"
#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/stored.h"
#include "sim/cli/verb.h"
#include "sim/config/similar.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* Completion in the user's shell: small scripts that ask kvnsim for the candidates. */
namespace kvnsim {
namespace {

constexpr const char *bash_script = R"script(# Completion of kvnsim in bash.
_kvnsim()
{
    # bash takes = and : for words, and completes what is behind the last one.
    local word current before
    local -a words=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ ${#words[@]} -gt 0 && ( $word == [=:]* || ( -n $word && ${words[-1]} == *[=:] ) ) ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    current=${words[-1]}
    before=${current%"${COMP_WORDS[COMP_CWORD]#[=:]}"}
    mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" completion words ${current:+"--current=$current"} \
        -- "${words[@]:0:${#words[@]}-1}" 2>/dev/null)
    COMPREPLY=("${COMPREPLY[@]#"$before"}")
    if [[ ${COMPREPLY[0]-} == *= ]]; then compopt -o nospace; fi
}
complete -o default -F _kvnsim kvnsim
)script";

constexpr const char *zsh_script = R"script(#compdef kvnsim
# Completion of kvnsim in zsh.
_kvnsim()
{
    local current=${words[CURRENT]} answer
    local -a candidates
    answer=$(${words[1]} completion words ${current:+--current=$current} -- \
        ${words[2,CURRENT-1]} 2>/dev/null)
    candidates=(${(f)answer})
    if (( ! $#candidates )); then
        _files
    elif [[ $candidates[1] == *= ]]; then
        compadd -S '' -- $candidates
    else
        compadd -- $candidates
    fi
}
if [[ $funcstack[1] == _kvnsim ]]; then
    _kvnsim "$@"
else
    compdef _kvnsim kvnsim
fi
)script";

/* The names in the database: of interfaces, and of the rows of the table to be shown. */
Spellings names_in_database(const Arguments &given)
{
    const ShowKind *kind = find_show_kind(given.value("TABLE"));
    if (kind == nullptr || kind->is_of_parts)
        return saved_interface_names(required_database(given));
    const Snapshot snapshot = load_database(given);
    return names_in(*kind, kind->make(snapshot, {}), snapshot);
}

/* Interfaces of the configurations, or else names in the database. Files are left to the user's
 * shell; numbers are not completed. */
Words values_here(const Option &option, const Reading &line, const std::string &begun)
{
    const bool takes_interface =
        option.takes == Takes::interface || option.takes == Takes::maybe_interface;
    if (!takes_interface)
        return {};
    Spellings names;
    /* Completing a line connects to nobody. */
    Words files = line.given.values("CONFIG");
    files.erase(std::remove_if(files.begin(), files.end(), is_database_url), files.end());
    for (const Configuration &configuration : read_configurations(files))
        names.merge(interface_names(configuration.desired));
    if (!line.given.has("CONFIG") && !database_of(line.given).empty())
        names = names_in_database(line.given);
    return names.beginning_with(begun);
}

Words completions(const Words &words, const std::string &begun)
{
    if (words.empty() && begun[0] == '-')
        return beginning_with(begun, {"--help", "--version"});
    if (words.empty() || (words.size() == 1 && words[0] == "help")) {
        Words names = names_of(verbs());
        if (words.empty())
            names.emplace_back("help");
        return beginning_with(begun, names);
    }
    const Verb *verb = find_verb(words[0]);
    if (verb == nullptr)
        return {};
    std::vector<Option> options = verb->options;
    options.push_back({"--help", Takes::nothing, Times::optional});
    Words rest(words.begin() + 1, words.end());
    rest.push_back(begun);
    return complete(options, rest, values_here);
}

int complete_or_print(const Arguments &arguments, Console &console)
{
    const std::string &what = arguments.value("bash|zsh|words");
    if (what == "words") {
        for (const std::string &word :
             completions(arguments.values("WORD"), arguments.value("--current")))
            console.out() << word << "\n";
        return exit_well;
    }
    if (arguments.has("WORD") || arguments.has("--current"))
        throw UsageError("WORD and --current are for words");
    console.out() << (what == "bash" ? bash_script : zsh_script);
    return exit_well;
}

} // namespace

const Verb completion_verb{
    "completion",
    "print a script that completes kvnsim's words in a shell",
    "eval \"$(kvnsim completion bash)\"\n"
    "kvnsim completion words -- show\n",
    {{"bash|zsh|words", Takes::choice, Times::required,
      "bash or zsh: the script; words: what may come next, for the scripts"},
     {"WORD", Takes::text, Times::any, "for words: the words so far, after --"},
     {"--current TEXT", Takes::text, Times::optional, "for words: how the next word begins"}},
    complete_or_print};

} // namespace kvnsim
