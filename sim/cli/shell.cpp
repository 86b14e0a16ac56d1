#include "sim/cli/shell.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "sim/cli/completion.h"
#include "sim/cli/console.h"
#include "sim/config/similar.h"
#include "sim/sdk/attributes.h"

namespace kvnsim {
namespace {

constexpr std::string_view entry_prefix = "l3lifpd_kvn_";

Words command_names()
{
    Words names;
    for (const CommandGroup *group : command_groups()) {
        for (const Command &command : group->commands)
            names.emplace_back(command.name);
    }
    return names;
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

/* ---- What each word may be ---- */

Words entry_names()
{
    Words names;
    for (const EntryPoint *entry : EntryPoint::all())
        names.push_back(short_name(*entry));
    return names;
}

Words paths(const std::string &begun)
{
    namespace fs = std::filesystem;
    const size_t slash = begun.find_last_of('/');
    const std::string folder = slash == begun.npos ? "" : begun.substr(0, slash + 1);
    const std::string name = begun.substr(folder.size());
    Words found;
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

Words argument_words(const EntryPoint *entry, size_t position, const std::string &begun)
{
    if (entry == nullptr)
        return {};
    for (const Parameter &parameter : entry->parameters()) {
        if (parameter.kind == ParameterKind::output || position-- != 0)
            continue;
        if (std::string_view(parameter.name) == "prop_type")
            return names_of(properties());
        if (!parameter.names_interface())
            return {};
        Words names = host_names().beginning_with(begun);
        if (parameter.kind == ParameterKind::interface)
            names.emplace_back("null");
        return names;
    }
    return {};
}

Words values_here(const Option &option, const Reading &line, const std::string &begun)
{
    switch (option.takes) {
    case Takes::file:
        return paths(begun);
    case Takes::interface:
        return host_names().beginning_with(begun);
    case Takes::entry:
        return entry_names();
    case Takes::argument:
        return argument_words(EntryPoint::find(line.given.value("ENTRY")),
                              line.given.values(option.name()).size(), begun);
    case Takes::command:
        return command_names();
    default:
        return {};
    }
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

/* The library's and the SDK's own words, with their meanings. */
std::vector<std::pair<std::string, std::string>> meanings(Takes kind)
{
    std::vector<std::pair<std::string, std::string>> lines;
    if (kind == Takes::entry) {
        for (const EntryPoint *entry : EntryPoint::all())
            lines.emplace_back(call_usage(*entry).substr(5), entry->purpose());
    } else if (kind == Takes::property) {
        for (const PropertyRow &property : properties())
            lines.emplace_back(property.name, values(property));
    } else if (kind == Takes::attribute) {
        for (const AttributeRow &attribute : attributes())
            lines.emplace_back(attribute.name, values(attribute));
    }
    return lines;
}

void print_command(const Command &command, std::ostream &out)
{
    out << fmt::format("{}\n\n{}\n", usage(command.name, command.options),
                       sentence(command.purpose));
    if (*command.more != '\0')
        out << "\n" << command.more;
    for (const Option &option : command.options) {
        const auto lines = meanings(option.takes);
        if (!lines.empty())
            out << "\n" << option.words << ":\n";
        size_t width = 0;
        for (const auto &[word, meaning] : lines)
            width = std::max(width, word.size());
        for (const auto &[word, meaning] : lines)
            out << fmt::format("  {:<{}}  {}\n", word, width, meaning);
    }
}

int help(Session &session, const Arguments &given)
{
    std::ostream &out = session.console.out();
    const std::string &name = given.value("COMMAND");
    if (const EntryPoint *entry = EntryPoint::find(name)) {
        out << fmt::format("{}\n\n{}: {}.\n", call_usage(*entry), entry->name(), entry->purpose());
        return exit_well;
    }
    if (!name.empty()) {
        print_command(command_named(name), out);
        return exit_well;
    }
    for (const CommandGroup *group : command_groups()) {
        out << group->title << ":\n";
        for (const Command &command : group->commands)
            out << fmt::format("  {:<32} {}\n", usage(command.name, command.options),
                               command.purpose);
    }
    out << "`help COMMAND` describes a command, `help ENTRY` an entry point of the library.\n";
    return exit_well;
}

int quit(Session &session, const Arguments &)
{
    session.ended = true;
    return exit_well;
}

const CommandGroup shell_commands{
    "The shell",
    {{"help", "list the commands", {{"COMMAND", Takes::command, Times::optional}}, help},
     {"quit", "exit, as Ctrl-D does", {}, quit}}};

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

Spellings host_names()
{
    Spellings names;
    for (const HostInterface *interface : Host::instance().interfaces())
        names.add(interface->name, interface->alias);
    return names;
}

void Session::error(const std::string &message) const
{
    console.error(location + message);
}

int execute(Session &session, const Words &words)
{
    const Command &command = command_named(words.at(0));
    return command.run(session, parse(command.options, {words.begin() + 1, words.end()},
                                      usage(command.name, command.options)));
}

Words complete_line(const Words &words)
{
    if (words.size() == 1)
        return beginning_with(words[0], command_names());
    const Command *command = find_command(words[0]);
    return command == nullptr
               ? Words{}
               : complete(command->options, {words.begin() + 1, words.end()}, values_here);
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
