#include "sim/cli/input.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

#include <fmt/format.h>

#include "sim/cli/console.h"
#include "sim/cli/interrupt.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/config/names.h"
#include "sim/config/running.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

constexpr size_t largest_file = size_t{256} << 20;

/* Why the file cannot be read; empty on success. */
std::string read_all(std::FILE *file, std::string &text)
{
    char block[65536];
    while (!is_interrupted()) {
        const size_t got = std::fread(block, 1, sizeof block, file);
        text.append(block, got);
        if (got == 0)
            break;
        if (text.size() > largest_file)
            return fmt::format("larger than {} MiB", largest_file >> 20);
    }
    if (is_interrupted())
        return "interrupted";
    return std::ferror(file) != 0 ? std::strerror(errno) : "";
}

} // namespace

std::string read_file(const std::string &path, std::string &text)
{
    if (path == "-")
        return read_all(stdin, text);
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rb"),
                                                                std::fclose);
    return file ? read_all(file.get(), text) : std::strerror(errno);
}

namespace {

Configuration unreadable(const std::string &file, const std::string &problem)
{
    Configuration configuration;
    configuration.file = file;
    Finding &finding = configuration.findings.emplace_back();
    finding.location = {file, 0, 0, {}, {}};
    finding.message = "cannot be read: " + problem;
    return configuration;
}

Configuration read_one(const std::string &path)
{
    if (is_database_url(path)) {
        const DatabaseUrl url = database_named(path);
        try {
            return read_configuration(url.name(), RunningDatabase(url, is_interrupted).read());
        } catch (const DatabaseError &error) {
            return unreadable(url.name(), error.what());
        }
    }
    std::string text;
    const std::string problem = read_file(path, text);
    return problem.empty() ? read_configuration(path, text) : unreadable(path, problem);
}

} // namespace

bool same_file(const std::string &a, const std::string &b)
{
    std::error_code none;
    return a == b || std::filesystem::equivalent(a, b, none);
}

DatabaseUrl database_named(const std::string &url)
{
    try {
        return parse_database_url(url);
    } catch (const std::invalid_argument &error) {
        throw UsageError(error.what());
    }
}

std::vector<Configuration> read_configurations(const std::vector<std::string> &files)
{
    if (std::count(files.begin(), files.end(), "-") > 1)
        throw UsageError("standard input can be read only once");
    std::vector<Configuration> configurations;
    std::transform(files.begin(), files.end(), std::back_inserter(configurations), read_one);
    return configurations;
}

void tell_findings(const std::vector<Configuration> &configurations, const Policy &policy,
                   bool notes, Console &console)
{
    for (const Configuration &configuration : configurations) {
        for (const Finding &finding : configuration.findings) {
            if (policy.ignores(finding.code))
                continue;
            const std::string text = finding.to_text();
            if (finding.severity == Finding::Severity::error)
                console.error(text);
            else if (finding.severity == Finding::Severity::warning)
                console.warning(text);
            else if (notes)
                console.note(text);
        }
    }
}

void print_findings(const Configuration &configuration, const Policy &policy, Console &console)
{
    for (const Finding &finding : configuration.findings) {
        if (policy.ignores(finding.code))
            continue;
        const std::string text = finding.to_text();
        if (finding.code.empty())
            console.error(text); /* there is no text to find anything in */
        else if (finding.severity == Finding::Severity::error)
            console.print_error(text);
        else if (finding.severity == Finding::Severity::warning)
            console.print_warning(text);
        else
            console.out() << text << "\n";
    }
}

void write(Json &json, const SourceLocation &location)
{
    json.field("file", location.file());
    if (location.line == 0)
        json.key("line").null().key("column").null();
    else
        json.field("line", location.line).field("column", location.column);
    json.text_or_null("table", location.table()).text_or_null("key", location.key());
}

void write_findings(Json &json, const std::vector<Finding> &findings)
{
    json.key("findings").begin_array();
    for (const Finding &finding : findings) {
        json.begin_object().field("severity", to_text(finding.severity));
        write(json, finding.location);
        json.field("code", finding.code)
            .field("leaves_out", finding.leaves_out)
            .field("message", finding.message)
            .key("conflicts_with");
        if (finding.other) {
            json.begin_object();
            write(json, *finding.other);
            json.end_object();
        } else {
            json.null();
        }
        json.end_object();
    }
    json.end_array();
}

void write(Json &json, const Configuration &configuration)
{
    write_findings(json.field("file", configuration.file), configuration.findings);
    json.key("ignored").begin_object();
    for (const auto &[table, rows] : configuration.ignored)
        json.field(table, rows);
    json.end_object();
}

std::string finding_counts(const std::vector<Finding> &findings)
{
    std::map<Finding::Severity, uint64_t, std::greater<>> counts; /* errors first */
    uint64_t left_out = 0;
    for (const Finding &finding : findings) {
        ++counts[finding.severity];
        left_out += finding.leaves_out;
    }
    std::string text;
    for (const auto &[severity, count] : counts)
        text += (text.empty() ? "" : ", ") + counted(count, to_text(severity));
    if (left_out != 0)
        text += fmt::format("; {} left out", left_out);
    return text;
}

std::string finding_counts(const Configuration &configuration, const Policy &policy)
{
    std::vector<Finding> findings;
    std::copy_if(configuration.findings.begin(), configuration.findings.end(),
                 std::back_inserter(findings),
                 [&](const Finding &finding) { return !policy.ignores(finding.code); });
    const std::string text = finding_counts(findings);
    return (text.empty() ? "nothing found" : text) + policy.ignored(configuration.findings);
}

std::string ignored_tables(const Configuration &configuration)
{
    std::string text;
    for (const auto &[table, rows] : configuration.ignored)
        text += fmt::format("{}{} ({})", text.empty() ? "  not applied: " : ", ", printable(table),
                            counted(rows, "row"));
    return text.empty() ? text : text + "\n";
}

} // namespace kvnsim
