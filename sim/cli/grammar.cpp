/* Words are read once, from left to right, and errors are only noted: completion reads a partial
 * line the same way as parse() reads a whole one. parse() then reports the first error: the form of
 * options, values, unexpected words, missing words. */
#include "sim/cli/grammar.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "sim/config/names.h"
#include "sim/config/similar.h"

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

/* What is wrong with a value; empty if valid. */
std::string problem(const Option &option, const std::string &value)
{
    const auto expected = [&](const std::string &what) {
        const bool says_it = option.is_operand() && option.takes == Takes::choice;
        return fmt::format("{}expected {}{}{}, not {}", says_it ? "" : option.name() + ": ", what,
                           *option.instead != '\0' ? ", or " : "", option.instead,
                           in_quotes(value));
    };
    if (!value.empty() && value == option.instead)
        return "";
    switch (option.takes) {
    case Takes::count:
        return to_number<uint64_t>(value) ? "" : expected("a whole number");
    case Takes::probability: {
        const auto number = to_number<double>(value);
        return number && *number >= 0 && *number <= 1 ? "" : expected("a number from 0 to 1");
    }
    case Takes::choice: {
        Words choices = option.choices();
        if (std::find(choices.begin(), choices.end(), value) != choices.end())
            return "";
        const std::string last = choices.back();
        choices.pop_back();
        return expected(fmt::format("{} or {}", fmt::join(choices, ", "), last));
    }
    case Takes::nothing:
    case Takes::maybe_interface:
    case Takes::argument:
        return "";
    default:
        return value.empty() ? expected(option.value()) : "";
    }
}

std::string needs_value(const Option &option)
{
    return fmt::format("{} needs a value: {}", option.name(), option.value());
}

/* -1 is a number, and - is standard input. */
bool begins_like_an_option(const std::string &word)
{
    return word.size() > 1 && word[0] == '-' && (word[1] < '0' || word[1] > '9');
}

bool has_form_of_database(std::string_view word)
{
    constexpr std::string_view ending = ".db";
    return word.size() > ending.size() && word.substr(word.size() - ending.size()) == ending;
}

const Option *operand_at(const std::vector<Option> &options, size_t position,
                         const std::string &word = "")
{
    const Option *list = nullptr;
    for (const Option &option : options) {
        if (!option.is_operand())
            continue;
        if (list != nullptr && option.takes == Takes::database && has_form_of_database(word))
            return &option;
        if (list == nullptr && option.is_many())
            list = &option;
        else if (list == nullptr && position-- == 0)
            return &option;
    }
    return list;
}

} // namespace

std::string Option::name() const
{
    const std::string_view text = words;
    return std::string(text.substr(0, text.find(' ')));
}

std::string Option::value() const
{
    const std::string_view text = words;
    return std::string(is_operand() ? text : text.substr(std::min(text.size(), name().size() + 1)));
}

Words Option::choices() const
{
    const std::string all = value();
    const std::vector<std::string_view> choices = split(all, '|');
    return {choices.begin(), choices.end()};
}

const Words &Arguments::values(std::string_view name) const
{
    static const Words none;
    const auto found = given_.find(name);
    return found == given_.end() ? none : found->second;
}

const std::string &Arguments::value(std::string_view name) const
{
    static const std::string none;
    return has(name) ? values(name).back() : none;
}

uint64_t Arguments::count(std::string_view name, uint64_t otherwise) const
{
    return has(name) ? *to_number<uint64_t>(value(name)) : otherwise;
}

double Arguments::probability(std::string_view name, double otherwise) const
{
    return has(name) ? *to_number<double>(value(name)) : otherwise;
}

const Option *find_option(const std::vector<Option> &options, std::string_view name)
{
    const auto found = std::find_if(options.begin(), options.end(), [&](const Option &option) {
        return !option.is_operand() && option.name() == name;
    });
    return found == options.end() ? nullptr : &*found;
}

Reading read(const std::vector<Option> &options, const Words &words)
{
    Reading line;
    auto &given = line.given.given_;
    const auto note = [](std::string &first, const std::string &text) {
        if (first.empty())
            first = text;
    };
    const auto take_option = [&](const std::string &word) {
        /* --db=FILE is --db FILE, and -oFILE is -o FILE. */
        const size_t end = word[1] == '-' ? std::min(word.find('='), word.size()) : 2;
        const Option *option = find_option(options, word.substr(0, end));
        if (option == nullptr) {
            note(line.stray, word);
            return;
        }
        Words &values = given[option->name()];
        const bool is_flag = option->takes == Takes::nothing, has_rest = end != word.size();
        const std::string value = has_rest ? word.substr(end + (word[end] == '=' ? 1 : 0)) : "";
        if (is_flag && has_rest)
            note(line.malformed, option->name() + " takes no value");
        else if (has_rest && value.empty())
            note(line.malformed, needs_value(*option));
        else if (is_flag)
            values.assign(1, "yes");
        else
            values.push_back(value);
        if (!is_flag && !has_rest)
            line.waiting = option;
    };
    bool operands_only = false;
    for (const std::string &word : words) {
        const Option *waiting = std::exchange(line.waiting, nullptr);
        if (waiting != nullptr &&
            (waiting->takes != Takes::maybe_interface || !interface_key(word).empty())) {
            given[waiting->name()].back() = word;
        } else if (!operands_only && word == "--") {
            operands_only = true;
        } else if (!operands_only && begins_like_an_option(word)) {
            take_option(word);
        } else if (const Option *operand = operand_at(options, line.given.operands_.size(), word)) {
            given[operand->name()].push_back(word);
            line.given.operands_.push_back(word);
        } else {
            note(line.stray, word);
        }
    }
    line.next = operand_at(options, line.given.operands_.size());
    return line;
}

Arguments parse(const std::vector<Option> &options, const Words &words, const std::string &usage)
{
    const Reading line = read(options, words);
    if (!line.malformed.empty())
        throw UsageError(line.malformed);
    if (line.needs_value())
        throw UsageError(needs_value(*line.waiting));
    const Option *missing = nullptr;
    for (const Option &option : options) {
        const Words &values = line.given.values(option.name());
        for (const std::string &value : values) {
            const std::string wrong = problem(option, value);
            if (!wrong.empty())
                throw UsageError(wrong);
        }
        if (values.size() > 1 && !option.is_many())
            throw UsageError(fmt::format("{} is given more than once", option.name()));
        if (values.empty() && option.is_required() && missing == nullptr)
            missing = &option;
    }
    /* A misspelt option explains more than what is missing because of it. */
    if (begins_like_an_option(line.stray))
        throw UsageError(fmt::format(
            "unknown option {}{}", line.stray,
            did_you_mean(line.stray.substr(0, line.stray.find('=')), option_names(options))));
    if (!usage.empty() && (missing != nullptr || !line.stray.empty()))
        throw UsageError("expected " + usage);
    if (!line.stray.empty())
        throw UsageError(fmt::format("unexpected argument \"{}\"", line.stray));
    if (missing != nullptr)
        throw UsageError(fmt::format("{} is missing: {}", missing->name(), missing->purpose));
    return line.given;
}

Words option_names(const std::vector<Option> &options, const Arguments &given)
{
    Words names;
    for (const Option &option : options) {
        if (!option.is_operand() && (option.is_many() || !given.has(option.name())))
            names.push_back(option.name());
    }
    return names;
}

std::string usage(std::string_view name, const std::vector<Option> &options)
{
    std::string text(name);
    std::vector<const Option *> may_be_left_out;
    for (const Option &option : options) {
        if (!option.is_operand() && !option.is_required())
            may_be_left_out.push_back(&option);
        else if (option.times == Times::some)
            text += fmt::format(" {0} [{0}...]", option.words);
        else if (option.times == Times::any)
            text += fmt::format(" [{}...]", option.words);
        else
            text += fmt::format(option.is_required() ? " {}" : " [{}]", option.words);
    }
    if (may_be_left_out.size() == 1)
        text += fmt::format(" [{}]", may_be_left_out.front()->words);
    return may_be_left_out.size() > 1 ? text + " [OPTION...]" : text;
}

std::string sentence(std::string_view purpose)
{
    std::string text(purpose);
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text + ".";
}

} // namespace kvnsim
