#include "sim/cli/shell.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/near.h"
#include "sim/sdk/asic.h"
#include "sim/sdk/attributes.h"
#include "sim/state/show.h"

namespace kvnsim {
namespace {

constexpr std::string_view entry_prefix = "l3lifpd_kvn_";

std::vector<std::string> command_names()
{
    std::vector<std::string> names;
    for (const CommandGroup *group : command_groups()) {
        for (const Command &command : group->commands)
            names.emplace_back(command.name);
    }
    return names;
}

std::vector<std::string> choices(std::string_view listed)
{
    std::vector<std::string> words;
    while (true) {
        const size_t end = listed.find('|');
        words.emplace_back(listed.substr(0, end));
        if (end == listed.npos)
            return words;
        listed.remove_prefix(end + 1);
    }
}

std::string short_name(const EntryPoint &entry)
{
    const std::string_view name = entry.name();
    return std::string(name.substr(0, entry_prefix.size()) == entry_prefix
                           ? name.substr(entry_prefix.size())
                           : name);
}

const Command &command_named(const std::string &name)
{
    if (const Command *command = find_command(name))
        return *command;
    throw UsageError(
        fmt::format("there is no command \"{}\"{}", name, did_you_mean(name, command_names())));
}

/* ---- What may stand where ---- */

std::vector<std::string> interface_names()
{
    std::vector<std::string> names;
    for (const HostInterface *interface : Host::instance().interfaces())
        names.push_back(interface->name);
    return names;
}

std::vector<std::string> entry_names()
{
    std::vector<std::string> names;
    for (const EntryPoint *entry : EntryPoint::all())
        names.push_back(short_name(*entry));
    return names;
}

std::vector<std::string> property_names()
{
    std::vector<std::string> names;
    for (const PropertyRow &row : properties())
        names.emplace_back(row.name);
    return names;
}

std::vector<std::string> paths(const std::string &begun)
{
    namespace fs = std::filesystem;
    const size_t slash = begun.find_last_of('/');
    const std::string folder = slash == begun.npos ? "" : begun.substr(0, slash + 1);
    const std::string name = begun.substr(folder.size());
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end;
         at.increment(error)) {
        const std::string entry = at->path().filename().string();
        std::error_code none;
        if (entry[0] != '.' || !name.empty())
            found.push_back(folder + entry + (at->is_directory(none) ? "/" : ""));
    }
    return found;
}

std::vector<std::string> argument_words(const EntryPoint *entry, size_t position)
{
    if (entry == nullptr)
        return {};
    for (const Parameter &parameter : entry->parameters()) {
        if (parameter.kind == ParameterKind::output || position-- != 0)
            continue;
        if (std::string_view(parameter.name) == "prop_type")
            return property_names();
        switch (parameter.kind) {
        case ParameterKind::interface: {
            std::vector<std::string> names = interface_names();
            names.emplace_back("null");
            return names;
        }
        case ParameterKind::ifindex:
            return interface_names();
        default:
            return {};
        }
    }
    return {};
}

/* A table that is shown as a whole. */
bool is_without_interface(const ShellWords &words)
{
    const ShowKind *kind = words[0] == "show" ? find_show_kind(words[1]) : nullptr;
    return kind != nullptr && !kind->of_interface;
}

/* What an operand may be, in the order in which it is listed. */
std::vector<std::string> candidates(const Operand &operand, const ShellWords &words,
                                    size_t position)
{
    std::vector<std::string> found;
    switch (operand.kind) {
    case WordKind::text:
        break;
    case WordKind::choice:
        return choices(operand.name);
    case WordKind::file:
        return paths(words.back());
    case WordKind::interface:
        return is_without_interface(words) ? found : interface_names();
    case WordKind::property:
        return property_names();
    case WordKind::attribute:
        for (const AttributeRow &row : attributes())
            found.emplace_back(row.name);
        break;
    case WordKind::entry:
        return entry_names();
    case WordKind::argument:
        return argument_words(EntryPoint::find(words[1]), position - 1);
    case WordKind::fault:
        found = fault_words(words.back());
        found.emplace_back("off");
        break;
    case WordKind::limit:
        for (const TableUse &table : Asic::instance().rows<TableUse>())
            found.push_back(fmt::format("{}=", table.name));
        break;
    case WordKind::table:
        for (const ShowKind &kind : show_kinds())
            found.emplace_back(kind.name);
        break;
    case WordKind::command:
        return command_names();
    }
    return found;
}

bool is_many(const Operand &operand)
{
    return operand.times == Times::any || operand.times == Times::some;
}

/* ---- Help ---- */

std::string values(const AttributeRow &attribute)
{
    return fmt::format("{}, {}", attribute.description, attribute.rule->words);
}

std::string values(const PropertyRow &property)
{
    const AttributeRow *attribute = find_attribute(property.attribute);
    if (attribute == nullptr)
        return "programs nothing";
    return values(*attribute) + (property.inverted ? "; 1 writes 0, and 0 writes 1" : "");
}

/* The words that are the library's or the SDK's own, and what they mean. */
std::vector<std::pair<std::string, std::string>> meanings(WordKind kind)
{
    std::vector<std::pair<std::string, std::string>> lines;
    if (kind == WordKind::entry) {
        for (const EntryPoint *entry : EntryPoint::all())
            lines.emplace_back(call_usage(*entry).substr(5), entry->purpose());
    } else if (kind == WordKind::property) {
        for (const PropertyRow &property : properties())
            lines.emplace_back(property.name, values(property));
    } else if (kind == WordKind::attribute) {
        for (const AttributeRow &attribute : attributes())
            lines.emplace_back(attribute.name, values(attribute));
    }
    return lines;
}

void print_command(const Command &command, std::ostream &out)
{
    out << fmt::format("{}\n\n{}{}.\n", usage(command),
                       static_cast<char>(std::toupper(command.purpose[0])), command.purpose + 1);
    if (*command.more != '\0')
        out << "\n" << command.more;
    for (const Operand &operand : command.operands) {
        const auto lines = meanings(operand.kind);
        if (!lines.empty())
            out << "\n" << operand.name << ":\n";
        size_t width = 0;
        for (const auto &[word, meaning] : lines)
            width = std::max(width, word.size());
        for (const auto &[word, meaning] : lines)
            out << fmt::format("  {:<{}}  {}\n", word, width, meaning);
    }
}

int help(Session &session, const ShellWords &words)
{
    std::ostream &out = session.console.out();
    if (!words.empty()) {
        if (const EntryPoint *entry = EntryPoint::find(words[0]))
            out << fmt::format("{}\n\n{}: {}.\n", call_usage(*entry), entry->name(),
                               entry->purpose());
        else
            print_command(command_named(words[0]), out);
        return exit_well;
    }
    for (const CommandGroup *group : command_groups()) {
        out << group->title << ":\n";
        for (const Command &command : group->commands)
            out << fmt::format("  {:<32} {}\n", usage(command), command.purpose);
    }
    out << "`help COMMAND` tells more, `help ENTRY` of an entry point of the library.\n";
    return exit_well;
}

int quit(Session &session, const ShellWords &)
{
    session.ended = true;
    return exit_well;
}

const CommandGroup shell_commands{
    "The shell",
    {{"help", "say what can be done", {{"COMMAND", WordKind::command, Times::optional}}, help},
     {"quit", "leave, as Ctrl-D does", {}, quit}}};

} // namespace

const std::vector<const CommandGroup *> &command_groups()
{
    static const std::vector<const CommandGroup *> groups = {&configuration_commands,
                                                             &looking_commands, &fault_commands,
                                                             &request_commands, &shell_commands};
    return groups;
}

const Command *find_command(std::string_view name)
{
    for (const CommandGroup *group : command_groups()) {
        for (const Command &command : group->commands) {
            if (name == command.name)
                return &command;
        }
    }
    return nullptr;
}

std::string usage(const Command &command)
{
    std::string text = command.name;
    for (const Operand &operand : command.operands) {
        switch (operand.times) {
        case Times::required:
            text += fmt::format(" {}", operand.name);
            break;
        case Times::optional:
            text += fmt::format(" [{}]", operand.name);
            break;
        case Times::any:
            text += fmt::format(" [{}...]", operand.name);
            break;
        case Times::some:
            text += fmt::format(" {}...", operand.name);
            break;
        }
    }
    return text;
}

void Session::error(const std::string &message) const
{
    console.error(location + message);
}

int execute(Session &session, const ShellWords &words)
{
    const Command &command = command_named(words.at(0));
    const ShellWords operands(words.begin() + 1, words.end());
    size_t least = 0;
    bool many = false;
    for (const Operand &operand : command.operands) {
        least += operand.times == Times::required || operand.times == Times::some;
        many |= is_many(operand);
    }
    if (operands.size() < least || (operands.size() > command.operands.size() && !many))
        throw UsageError(fmt::format("expected {}", usage(command)));
    return command.run(session, operands);
}

std::vector<std::string> complete(const ShellWords &words)
{
    std::vector<std::string> all;
    if (words.size() == 1) {
        all = command_names();
    } else if (const Command *command = find_command(words[0])) {
        const size_t position = words.size() - 2;
        const size_t count = command->operands.size();
        if (position < count)
            all = candidates(command->operands[position], words, position);
        else if (count != 0 && is_many(command->operands.back()))
            all = candidates(command->operands.back(), words, position);
        /* An operand that may be left out makes room for the one behind it. */
        if (position + 1 < count && command->operands[position].times == Times::optional) {
            for (std::string &word : candidates(command->operands[position + 1], words, position))
                all.push_back(std::move(word));
        }
    }
    const std::string &begun = words.back();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const std::string &word) {
                                 return word.compare(0, begun.size(), begun) != 0;
                             }),
              all.end());
    return all;
}

const EntryPoint &entry_named(const std::string &name)
{
    if (const EntryPoint *entry = EntryPoint::find(name))
        return *entry;
    throw UsageError(
        fmt::format("there is no entry point \"{}\"{}", name, did_you_mean(name, entry_names())));
}

std::string call_usage(const EntryPoint &entry)
{
    std::string text = "call " + short_name(entry);
    for (const Parameter &parameter : entry.parameters()) {
        if (parameter.kind == ParameterKind::output)
            continue;
        std::string name = parameter.name;
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char letter) {
            return static_cast<char>(std::toupper(letter));
        });
        text += ' ' + name;
    }
    return text;
}

} // namespace kvnsim
