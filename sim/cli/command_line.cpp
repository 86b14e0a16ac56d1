#include <charconv>
#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "sim/cli/near.h"
#include "sim/cli/verb.h"
#include "sim/config/names.h"

namespace kvnsim {
namespace {

template <class Number> std::optional<Number> to_number(std::string_view text)
{
    Number number{};
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

/* What is wrong with a value; empty when it will do. */
std::string problem(const Option &option, const std::string &value)
{
    const auto expected = [&](std::string_view what) {
        return fmt::format("{}: expected {}, not \"{}\"", option.name, what, value);
    };
    switch (option.takes) {
    case Takes::count:
        return to_number<uint64_t>(value) ? "" : expected("a whole number");
    case Takes::probability: {
        const auto number = to_number<double>(value);
        return number && *number >= 0 && *number <= 1 ? "" : expected("a number from 0 to 1");
    }
    case Takes::choice: {
        const std::vector<std::string> choices = CLI::detail::split(option.value, '|');
        return std::find(choices.begin(), choices.end(), value) != choices.end()
                   ? ""
                   : expected(fmt::format("{}", fmt::join(choices, " or ")));
    }
    case Takes::text:
        return value.empty() ? expected(option.is_operand() ? option.name : option.value) : "";
    case Takes::interface:
    case Takes::nothing:
        break;
    }
    return "";
}

/* Stands for the value that an option goes without; no interface has this name. */
constexpr const char *any_interface = "*";

/* `--timeline Ethernet0` and `--timeline leaf.json` mean different things: the word behind such an
 * option belongs to it only if it has the form of an interface's name. */
std::vector<std::string> with_values_joined(const Verb &verb, std::vector<std::string> words)
{
    const auto may_go_without = [&](const std::string &word) {
        return std::any_of(verb.options.begin(), verb.options.end(), [&](const Option &option) {
            return option.takes == Takes::interface && word == option.name;
        });
    };
    for (size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
        if (!may_go_without(words[i]))
            continue;
        const bool has_value = i + 1 < words.size() && parse_interface_name(words[i + 1]);
        words[i] += '=' + (has_value ? words[i + 1] : any_interface);
        if (has_value)
            words.erase(words.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
    return words;
}

CLI::Option *declare(CLI::App &app, const Option &option, std::vector<std::string> &given)
{
    if (option.takes == Takes::nothing)
        return app.add_flag_callback(option.name, [&given] { given.assign(1, "yes"); });
    const bool many = option.times == Times::any || option.times == Times::some;
    CLI::Option *declared =
        many
            ? app.add_option(option.name, given)
            : app.add_option_function<std::string>(option.name, [&given](const std::string &value) {
                  given.assign(1, value == any_interface ? "" : value);
              });
    declared->check([&option](const std::string &value) { return problem(option, value); });
    if (option.times == Times::required || option.times == Times::some)
        declared->required();
    /* An option takes one value each time, so that what follows is an operand. */
    if (many && !option.is_operand())
        declared->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    if (!many)
        declared->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    return declared;
}

/* The words that nobody asked for; the "--" in front of operands comes back among them. */
std::vector<std::string> unknown_words(const CLI::App &app)
{
    std::vector<std::string> words = app.remaining();
    const auto divider = std::find(words.begin(), words.end(), "--");
    if (divider != words.end())
        words.erase(divider);
    return words;
}

[[noreturn]] void refuse_unknown(const Verb &verb, const std::vector<std::string> &words)
{
    std::vector<std::string> names;
    for (const Option &option : verb.options) {
        if (!option.is_operand())
            names.emplace_back(option.name);
    }
    const std::string &word = words.front();
    throw UsageError(word[0] == '-'
                         ? fmt::format("unknown option {}{}", word,
                                       did_you_mean(word.substr(0, word.find('=')), names))
                         : fmt::format("\"{}\" is one word too many", word));
}

/* What the parser would take for an answer: --dry-run=false. */
void refuse_values_of_flags(const Verb &verb, const std::vector<std::string> &words)
{
    for (const std::string &word : words) {
        if (word == "--")
            return;
        const size_t equals = word.find('=');
        for (const Option &option : verb.options) {
            if (equals != word.npos && option.takes == Takes::nothing &&
                word.compare(0, equals, option.name) == 0)
                throw UsageError(fmt::format("{} takes no value", option.name));
        }
    }
}

/* An option without its value, or given twice; the text begins with its name. */
[[noreturn]] void refuse_mismatch(const Verb &verb, std::string_view text)
{
    const std::string_view name = text.substr(0, text.find(':'));
    for (const Option &option : verb.options) {
        if (option.name == name)
            throw UsageError(text.find("At Most") != text.npos
                                 ? fmt::format("{} is given more than once", name)
                                 : fmt::format("{} needs a value: {}", name, option.value));
    }
    throw UsageError(std::string(text));
}

} // namespace

const std::string &Arguments::value(const char *name) const
{
    static const std::string none;
    const std::vector<std::string> &given = values(name);
    return given.empty() ? none : given.back();
}

uint64_t Arguments::count(const char *name, uint64_t otherwise) const
{
    return has(name) ? *to_number<uint64_t>(value(name)) : otherwise;
}

double Arguments::probability(const char *name, double otherwise) const
{
    return has(name) ? *to_number<double>(value(name)) : otherwise;
}

Arguments parse(const Verb &verb, const std::vector<std::string> &words)
{
    refuse_values_of_flags(verb, words);
    Arguments arguments;
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    for (const Option &option : verb.options)
        declare(app, option, arguments.given_[option.name]);

    std::vector<std::string> reversed = with_values_joined(verb, words);
    std::reverse(reversed.begin(), reversed.end());
    try {
        app.parse(reversed);
    } catch (const CLI::RequiredError &) {
        /* A misspelt option is more to the point than what is missing in its wake. */
        if (const auto unknown = unknown_words(app); !unknown.empty())
            refuse_unknown(verb, unknown);
        for (const Option &option : verb.options) {
            if ((option.times == Times::required || option.times == Times::some) &&
                !arguments.has(option.name))
                throw UsageError(fmt::format("{} is missing: {}", option.name, option.purpose));
        }
        throw;
    } catch (const CLI::ArgumentMismatch &error) {
        refuse_mismatch(verb, error.what());
    } catch (const CLI::ValidationError &error) {
        /* Begins with the name of the option, and so does problem(). */
        const std::string_view text = error.what();
        const size_t begin = text.find(": ");
        throw UsageError(std::string(begin == text.npos ? text : text.substr(begin + 2)));
    } catch (const CLI::ParseError &error) {
        throw UsageError(error.what());
    }
    if (const auto unknown = unknown_words(app); !unknown.empty())
        refuse_unknown(verb, unknown);
    return arguments;
}

} // namespace kvnsim
