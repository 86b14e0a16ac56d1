#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/verb.h"
#include "sim/config/names.h"
#include "sim/sdk/asic.h"
#include "sim/state/interface_names.h"
#include "sim/state/show.h"
#include "sim/state/snapshot.h"

/* Completion in the user's shell: small scripts that ask back what may come next. */
namespace kvnsim {
namespace {

using Words = std::vector<std::string>;

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

/* What stands on the command line before the word to complete. */
struct Given {
    const Verb *verb = nullptr;
    std::vector<std::pair<const Option *, std::string>> values; /* "" of a flag */
    const Option *expects = nullptr; /* the last option, when its value comes next */
    size_t operands = 0;
    std::string current; /* how the word to complete begins */

    bool has(const Option &option) const
    {
        return std::any_of(values.begin(), values.end(),
                           [&](const auto &value) { return value.first == &option; });
    }
    Words values_of(std::string_view name) const
    {
        Words found;
        for (const auto &[option, value] : values) {
            if (option->name == name)
                found.push_back(value);
        }
        return found;
    }
};

const Option *option_named(const Verb &verb, std::string_view name)
{
    for (const Option &option : verb.options) {
        if (!option.is_operand() && option.name == name)
            return &option;
    }
    return nullptr;
}

bool takes_many(const Option &option)
{
    return option.times == Times::any || option.times == Times::some;
}

/* The operand at that position; the last one may take all that follow. nullptr beyond them. */
const Option *operand_at(const Verb &verb, size_t position)
{
    for (const Option &option : verb.options) {
        if (option.is_operand() && (position-- == 0 || takes_many(option)))
            return &option;
    }
    return nullptr;
}

/* --db=leaf.db is --db leaf.db. */
Words with_values_apart(const Verb &verb, const Words &words)
{
    Words apart;
    for (const std::string &word : words) {
        const size_t equals = word.find('=');
        if (equals != word.npos && option_named(verb, word.substr(0, equals)) != nullptr) {
            apart.push_back(word.substr(0, equals));
            apart.push_back(word.substr(equals + 1));
        } else {
            apart.push_back(word);
        }
    }
    return apart;
}

Given understand(const Verb &verb, const Words &words)
{
    Given given;
    given.verb = &verb;
    for (const std::string &word : words) {
        const Option *waiting = std::exchange(given.expects, nullptr);
        const bool is_value = waiting != nullptr && (waiting->takes != Takes::interface ||
                                                     parse_interface_name(word).has_value());
        if (is_value) {
            given.values.back().second = word;
        } else if (const Option *option = option_named(verb, word)) {
            given.values.emplace_back(option, "");
            if (option->takes != Takes::nothing)
                given.expects = option;
        } else if (word[0] != '-') {
            if (const Option *operand = operand_at(verb, given.operands++))
                given.values.emplace_back(operand, word);
        }
    }
    return given;
}

/* Interfaces of the database to be read, else of the configurations. */
Words interface_names(const Given &given)
{
    Names names;
    const Words configurations = given.values_of("CONFIG");
    for (const Configuration &configuration : read_configurations(configurations))
        names.merge(interface_names(configuration.desired));
    if (const Words databases = given.values_of("--db");
        configurations.empty() && !databases.empty())
        names = interface_names(load(databases.back()));
    return {names.begin(), names.end()};
}

Words show_names(const Given &)
{
    Words names;
    for (const ShowKind &kind : show_kinds())
        names.emplace_back(kind.name);
    return names;
}

Words faults(const Given &given)
{
    return fault_words(given.current);
}

Words table_names(const Given &)
{
    Words names;
    for (const TableUse &table : Asic::instance().rows<TableUse>())
        names.push_back(fmt::format("{}=", table.name));
    return names;
}

/* What values are called in the verbs' options, and what they may be. All else is a file, or a
 * number, of which there are too many. */
struct Candidates {
    std::string_view verb; /* "": any */
    std::string_view value;
    Words (*of)(const Given &given);
};
constexpr Candidates all_candidates[] = {
    {"show", "WHAT", show_names},
    {"completion", "WHAT",
     [](const Given &) {
         return Words{"bash", "words", "zsh"};
     }},
    {"", "IF", interface_names},
    {"", "CALL[:N][=STATUS]", faults},
    {"", "TABLE=N", table_names},
};

Words values_for(const Option &option, const Given &given)
{
    if (option.takes == Takes::choice)
        return CLI::detail::split(option.value, '|');
    const std::string_view value = option.is_operand() ? option.name : option.value;
    for (const Candidates &candidates : all_candidates) {
        if (candidates.value == value &&
            (candidates.verb.empty() || candidates.verb == given.verb->name))
            return candidates.of(given);
    }
    return {};
}

Words option_names(const Given &given)
{
    Words names;
    for (const Option &option : given.verb->options) {
        if (!option.is_operand() && (takes_many(option) || !given.has(option)))
            names.emplace_back(option.name);
    }
    names.emplace_back("--help");
    return names;
}

Words verb_names()
{
    Words names;
    for (const Verb *verb : verbs())
        names.emplace_back(verb->name);
    return names;
}

/* The operand that comes next; nullptr when there is none, as for a table shown as a whole. */
const Option *next_operand(const Given &given)
{
    const Option *operand = operand_at(*given.verb, given.operands);
    const Words tables = given.values_of("WHAT");
    const ShowKind *kind = tables.empty() ? nullptr : find_show_kind(tables.front());
    return kind != nullptr && !kind->of_interface ? nullptr : operand;
}

/* All that may follow; nothing where a file is to be named. */
Words what_may_follow(const Words &words, const std::string &current)
{
    const bool begins_like_an_option = current[0] == '-';
    if (words.empty()) {
        Words names = begins_like_an_option ? Words{"--help", "--version"} : verb_names();
        if (!begins_like_an_option)
            names.emplace_back("help");
        return names;
    }
    if (words[0] == "help")
        return words.size() == 1 ? verb_names() : Words{};
    const Verb *verb = find_verb(words[0]);
    if (verb == nullptr)
        return {};
    Given given = understand(*verb, with_values_apart(*verb, {words.begin() + 1, words.end()}));
    given.current = current;
    if (given.expects != nullptr && given.expects->takes != Takes::interface)
        return values_for(*given.expects, given);
    if (begins_like_an_option)
        return option_names(given);
    Words names;
    if (given.expects != nullptr)
        names = values_for(*given.expects, given);
    const Option *operand = next_operand(given);
    if (operand == nullptr)
        return names.empty() ? option_names(given) : names;
    const Words values = values_for(*operand, given);
    names.insert(names.end(), values.begin(), values.end());
    return names;
}

/* The words that the one being typed may become: of --trace=d those behind the =. */
Words completions(Words words, std::string current)
{
    std::string before;
    const Verb *verb = words.empty() ? nullptr : find_verb(words[0]);
    const size_t equals = current.find('=');
    if (verb != nullptr && equals != current.npos &&
        option_named(*verb, current.substr(0, equals)) != nullptr) {
        words.push_back(current.substr(0, equals));
        before = current.substr(0, equals + 1);
        current.erase(0, equals + 1);
    }
    Words found;
    for (const std::string &name : what_may_follow(words, current)) {
        if (name.compare(0, current.size(), current) == 0)
            found.push_back(before + name);
    }
    return found;
}

int complete(const Arguments &arguments, Console &console)
{
    const std::string &what = arguments.value("WHAT");
    if (what == "words") {
        for (const std::string &word :
             completions(arguments.values("WORD"), arguments.value("--current")))
            console.out() << word << "\n";
        return exit_well;
    }
    if (arguments.has("WORD") || arguments.has("--current"))
        throw UsageError("WORD and --current are for words");
    if (what != "bash" && what != "zsh")
        throw UsageError(fmt::format("\"{}\": expected bash, zsh or words", what));
    console.out() << (what == "bash" ? bash_script : zsh_script);
    return exit_well;
}

const Registration registration(
    {"completion",
     "print a script that completes kvnsim's words in a shell",
     "eval \"$(kvnsim completion bash)\"\n"
     "kvnsim completion words -- show\n",
     {{"WHAT", "", "bash or zsh: the script; words: what may come next, which the scripts ask",
       Takes::text, Times::required},
      {"WORD", "", "of words: the words so far, behind --", Takes::text, Times::any},
      {"--current", "TEXT", "of words: how the next word begins"}},
     complete});

} // namespace
} // namespace kvnsim
