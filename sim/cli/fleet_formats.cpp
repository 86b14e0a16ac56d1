/* Every text that comes from a configuration is foreign: each format escapes whatever it may hold.
 * All texts are UTF-8 already, because they have been JSON. */
#include "sim/cli/fleet_formats.h"

#include <algorithm>
#include <map>
#include <optional>

#include <fmt/format.h>

#include "sim/cli/input.h"
#include "sim/cli/verb.h"
#include "sim/config/findings.h"
#include "sim/config/names.h"
#include "sim/state/audit.h"
#include "sim/types/text.h"

namespace kvnsim {
namespace {

/* ---- What a result has to say, point by point ---- */

/* Points that are no findings: what a rule says of them. */
struct OwnRule {
    const char *id, *cause, *cure;
};
constexpr OwnRule unreadable_rule{"unreadable", "The configuration cannot be read.",
                                  "See the reason that the message gives."};
constexpr OwnRule no_result_rule{
    "no-result", "The process that worked on this configuration ended without a result.",
    "Try it alone with `kvnsim run`; more time gives --timeout."};
constexpr OwnRule failed_step_rule{
    "failed-request", "A request to the library failed, and no later one made up for it.",
    "See the call and the status that the message names."};

struct Point {
    std::string rule;
    Finding::Severity severity;
    std::string words;
    std::optional<SourceLocation> place, other; /* rows of the configuration */

    /* "INTERFACE|Ethernet0: the words" */
    std::string with_row() const
    {
        return place && !place->table().empty() ? printable(place->row()) + ": " + words : words;
    }
    /* "leaf.json:12:5: INTERFACE|Ethernet0: warning: the words [KVN-C080]" */
    std::string with_place(const FleetResult &of) const
    {
        const std::string where = place ? place->to_text() : visible(of.file);
        return fmt::format("{}: {}: {} [{}]", where, to_text(severity), words, rule);
    }
};

std::vector<Point> points_of(const FleetResult &result)
{
    constexpr auto error = Finding::Severity::error;
    std::vector<Point> points;
    if (result.verdict == Verdict::unreadable)
        points.push_back({unreadable_rule.id, error, "cannot be read: " + result.problem, {}, {}});
    if (result.verdict == Verdict::no_result)
        points.push_back({no_result_rule.id, error, "no result: " + result.problem, {}, {}});
    for (const Finding &finding : result.findings)
        points.push_back({finding.code, finding.severity, finding.without_code(), finding.location,
                          finding.other});
    for (const FailedStep &failure : result.failures) {
        if (failure.made_up_by == 0)
            points.push_back({failed_step_rule.id,
                              error,
                              fmt::format("failed to {}: {}", failure.words, failure.message),
                              failure.cause,
                              {}});
    }
    for (const FleetAuditFinding &finding : result.audit)
        points.push_back({finding.code,
                          error,
                          fmt::format("{}: {}", finding.kind, finding.words),
                          finding.configured_at,
                          {}});
    return points;
}

/* ---- Text ---- */

std::string passed_over(const FleetResult &result)
{
    uint64_t count = 0;
    std::vector<std::string> codes;
    for (const auto &[code, times] : result.passed_over) {
        count += times;
        codes.push_back(code);
    }
    return codes.empty() ? ""
                         : fmt::format("; {} ignored ({})", counted(count, "finding"),
                                       fmt::join(codes, ", "));
}

std::string of_services(const ServiceCount &services)
{
    std::string text = services.wanted == 0 ? "no service wanted"
                                            : fmt::format("{} of {} given", services.given,
                                                          counted(services.wanted, "service"));
    if (services.wrong != 0)
        text += fmt::format(", {} given wrongly", services.wrong);
    if (services.unwanted != 0)
        text += fmt::format(", {} given that {} not wanted", services.unwanted,
                            services.unwanted == 1 ? "is" : "are");
    return text;
}

/* Without the file. */
std::string verdict_of(const FleetResult &result)
{
    if (result.verdict == Verdict::unreadable)
        return "cannot be read: " + visible(result.problem);
    if (result.verdict == Verdict::no_result)
        return "no result: " + visible(result.problem);
    std::string text =
        result.is_understood ? counted(result.interfaces, "interface") : "not understood";
    if (result.is_applied)
        text += fmt::format(", {}, {}, {}; {}", counted(result.requests, "request"),
                            counted(result.failures.size(), "failure"),
                            result.audit.empty()
                                ? "the audit found nothing"
                                : counted(result.audit.size(), "finding") + " of the audit",
                            of_services(result.services));
    else if (result.is_understood && !result.is_checked)
        text += ", not applied";
    const std::string found = finding_counts(result.findings);
    if (!found.empty())
        text += "; " + found;
    else if (result.is_checked)
        text += "; nothing found";
    text += passed_over(result);
    if (!result.other_tables.empty())
        text += fmt::format("; {} not applied", counted(result.other_tables.size(), "table"));
    return text;
}

std::map<Verdict, uint64_t> verdicts_of(const FleetResults &results)
{
    std::map<Verdict, uint64_t> counts;
    for (const FleetResult &result : results.all)
        ++counts[result.verdict];
    return counts;
}

uint64_t switches_in(const FleetResults &results)
{
    return static_cast<uint64_t>(
        std::count_if(results.all.begin(), results.all.end(), [](const FleetResult &result) {
            return result.verdict != Verdict::not_read;
        }));
}

/* The names of files that were not read; in a text no more than these. */
constexpr size_t most_named = 20;

std::vector<std::string> names_not_read(const FleetResults &results)
{
    std::vector<std::string> names;
    for (const FleetResult &result : results.all)
        if (result.verdict == Verdict::not_read)
            names.push_back(result.file);
    return names;
}

std::string not_read(const FleetResults &results)
{
    std::vector<std::string> names = names_not_read(results);
    if (names.empty())
        return "";
    const size_t all = names.size();
    names.resize(std::min(all, most_named));
    for (std::string &name : names)
        name = visible(name);
    return fmt::format("not read: {}: {}{}\n", counted(all, "other file"), fmt::join(names, ", "),
                       all > most_named ? fmt::format(" and {} more", all - most_named) : "");
}

std::string as_text(const FleetResults &results)
{
    std::string text;
    for (const FleetResult &result : results.all)
        if (result.verdict != Verdict::not_read)
            text += fmt::format("{}: {}\n", visible(result.file), verdict_of(result));
    text += counted(switches_in(results), "switch", "switches");
    const char *separator = ": ";
    const std::map<Verdict, uint64_t> counts = verdicts_of(results);
    for (auto of = counts.rbegin(); of != counts.rend(); ++of) {
        if (of->first == Verdict::not_read)
            continue;
        text += fmt::format("{}{} {}", separator, of->second, row_of(of->first).count);
        separator = ", ";
    }
    ServiceCount services;
    for (const FleetResult &result : results.all) {
        services.wanted += result.services.wanted;
        services.given += result.services.given;
        services.wrong += result.services.wrong;
        services.unwanted += result.services.unwanted;
    }
    if (services.wanted + services.unwanted != 0)
        text += "; " + of_services(services);
    return text + "\n" + not_read(results);
}

/* ---- JSON ---- */

std::string as_json(const FleetResults &results)
{
    Json json;
    json.begin_object().key("switches").begin_array();
    for (const FleetResult &result : results.all)
        if (result.verdict != Verdict::not_read)
            write(json, result);
    json.end_array().field("not_read", names_not_read(results));
    json.key("counts").begin_object();
    const std::map<Verdict, uint64_t> counts = verdicts_of(results);
    for (uint8_t i = 0; i <= static_cast<uint8_t>(Verdict::not_read); ++i) {
        const Verdict verdict{i};
        const auto found = counts.find(verdict);
        json.field(row_of(verdict).name, found == counts.end() ? 0 : found->second);
    }
    json.end_object().field("status", results.status());
    return json.field("interrupted", results.interrupted).end_object().document();
}

/* ---- SARIF 2.1.0 ---- */

/* A message string: braces stand for arguments there, brackets before parentheses for links. */
std::string sarif_text(std::string_view text)
{
    std::string escaped;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '{' || text[i] == '}')
            escaped += text[i];
        if (text[i] == ']' && i + 1 < text.size() && text[i + 1] == '(')
            escaped += '\\';
        escaped += text[i];
    }
    return escaped;
}

void write_message(Json &json, const char *key, std::string_view text)
{
    json.key(key).begin_object().field("text", sarif_text(text)).end_object();
}

class Sarif {
public:
    explicit Sarif(const FleetResults &results)
    {
        json_.begin_object().field("$schema", "https://json.schemastore.org/sarif-2.1.0.json");
        json_.field("version", "2.1.0").key("runs").begin_array().begin_object();
        json_.key("tool").begin_object().key("driver").begin_object();
        json_.field("name", "kvnsim").field("version", KVNSIM_VERSION);
        write_rules();
        json_.end_object().end_object();
        json_.key("invocations").begin_array().begin_object();
        json_.field("executionSuccessful", !results.interrupted);
        json_.field("exitCode", results.status()).end_object().end_array();
        json_.field("columnKind", "unicodeCodePoints").key("results").begin_array();
        for (const FleetResult &result : results.all)
            for (const Point &point : points_of(result))
                write_result(result, point);
        json_.end_array().end_object().end_array().end_object();
    }
    std::string document() const { return json_.document(); }

private:
    void write_rules()
    {
        json_.key("rules").begin_array();
        for (const FindingType &type : finding_types())
            write_rule(type.code(), type.text, type.cause, type.cure, type.severity);
        for (const AuditType &type : audit_types())
            write_rule(type.code(), type.cause, type.cause, type.cure, Finding::Severity::error);
        for (const OwnRule &rule : {unreadable_rule, no_result_rule, failed_step_rule})
            write_rule(rule.id, rule.cause, rule.cause, rule.cure, Finding::Severity::error);
        json_.end_array();
    }

    void write_rule(const std::string &id, const char *what, const char *cause, const char *cure,
                    Finding::Severity severity)
    {
        numbers_.emplace(id, numbers_.size());
        json_.begin_object().field("id", id);
        write_message(json_, "shortDescription", what);
        write_message(json_, "fullDescription", cause);
        write_message(json_, "help", fmt::format("{} {}", cause, cure));
        json_.key("defaultConfiguration").begin_object().field("level", to_text(severity));
        json_.end_object().end_object();
    }

    void write_result(const FleetResult &result, const Point &point)
    {
        json_.begin_object().field("ruleId", point.rule);
        if (const auto found = numbers_.find(point.rule); found != numbers_.end())
            json_.field("ruleIndex", found->second);
        json_.field("level", to_text(point.severity));
        write_message(json_, "message", point.with_row());
        json_.key("locations").begin_array();
        write_place(result, point.place.value_or(SourceLocation()));
        json_.end_array();
        if (point.other) {
            json_.key("relatedLocations").begin_array();
            write_place(result, *point.other);
            json_.end_array();
        }
        json_.end_object();
    }

    void write_place(const FleetResult &result, const SourceLocation &place)
    {
        json_.begin_object().key("physicalLocation").begin_object();
        json_.key("artifactLocation").begin_object();
        json_.field("uri", (result.uri[0] == '/' ? "file://" : "") + result.uri).end_object();
        if (place.line != 0)
            json_.key("region")
                .begin_object()
                .field("startLine", place.line)
                .field("startColumn", place.column)
                .end_object();
        json_.end_object();
        if (!place.table().empty())
            json_.key("logicalLocations")
                .begin_array()
                .begin_object()
                .field("fullyQualifiedName", place.row())
                .end_object()
                .end_array();
        json_.end_object();
    }

    Json json_;
    std::map<std::string, uint64_t> numbers_; /* of the rules */
};

std::string as_sarif(const FleetResults &results)
{
    return Sarif(results).document();
}

/* ---- JUnit ---- */

/* The code point at the front of valid UTF-8, and its length. */
std::pair<char32_t, size_t> first_code_point(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const size_t length = byte(0) < 0x80 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    char32_t point = length == 1 ? byte(0) : byte(0) & (0xFFu >> (length + 1));
    for (size_t i = 1; i < length; ++i)
        point = point << 6 | (byte(i) & 0x3Fu);
    return {point, length};
}

/* Text and attribute values; what XML cannot hold is replaced. */
std::string xml(std::string_view text)
{
    std::string escaped;
    while (!text.empty()) {
        const auto [point, length] = first_code_point(text);
        if (point == '&' || point == '<' || point == '>' || point == '"' || point == '\t' ||
            point == '\n' || point == '\r')
            escaped += fmt::format("&#{};", static_cast<uint32_t>(point));
        else if (point < 0x20 || point == 0xFFFE || point == 0xFFFF)
            escaped += "\xEF\xBF\xBD";
        else
            escaped += text.substr(0, length);
        text.remove_prefix(length);
    }
    return escaped;
}

/* A test case ends with what went wrong: "failure" of the configuration or "error" of the attempt.
 */
const char *outcome_of(Verdict verdict)
{
    switch (verdict) {
    case Verdict::no_result:
    case Verdict::unreadable:
        return "error";
    case Verdict::failures:
    case Verdict::errors:
    case Verdict::findings:
        return "failure";
    case Verdict::not_read:
        return "skipped";
    case Verdict::well:
        break;
    }
    return "";
}

std::string test_case(const FleetResult &result)
{
    std::string text =
        fmt::format("    <testcase classname=\"kvnsim.fleet\" name=\"{}\">\n", xml(result.file));
    std::string told;
    for (const Point &point : points_of(result))
        told += point.with_place(result) + "\n";
    const std::string outcome = outcome_of(result.verdict);
    if (outcome == "skipped")
        text += "      <skipped message=\"no configuration by its name\"/>\n";
    else if (!outcome.empty())
        text += fmt::format("      <{0} message=\"{1}\" type=\"{2}\">{3}</{0}>\n", outcome,
                            xml(verdict_of(result)), row_of(result.verdict).name, xml(told));
    else if (!told.empty())
        text += fmt::format("      <system-out>{}</system-out>\n", xml(told));
    return text + "    </testcase>\n";
}

std::string as_junit(const FleetResults &results)
{
    std::map<std::string, uint64_t> outcomes;
    std::string cases;
    for (const FleetResult &result : results.all) {
        ++outcomes[outcome_of(result.verdict)];
        cases += test_case(result);
    }
    const std::string counts =
        fmt::format("tests=\"{}\" failures=\"{}\" errors=\"{}\"", results.all.size(),
                    outcomes["failure"], outcomes["error"]);
    return fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<testsuites {0}>\n"
                       "  <testsuite name=\"kvnsim fleet\" {0} skipped=\"{1}\">\n"
                       "{2}  </testsuite>\n"
                       "</testsuites>\n",
                       counts, outcomes["skipped"], cases);
}

/* ---- Workflow commands of GitHub ---- */

std::string workflow_text(std::string_view text, std::string_view more = "")
{
    std::string escaped;
    for (const char c : text) {
        if (c == '%' || c == '\r' || c == '\n' || more.find(c) != more.npos)
            escaped += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        else
            escaped += c;
    }
    return escaped;
}

std::string workflow_property(std::string_view text)
{
    return workflow_text(text, ":,");
}

const char *workflow_command(Finding::Severity severity)
{
    return severity == Finding::Severity::note ? "notice" : to_text(severity);
}

std::string as_github(const FleetResults &results)
{
    std::string text;
    for (const FleetResult &result : results.all) {
        for (const Point &point : points_of(result)) {
            text += fmt::format("::{} file={}", workflow_command(point.severity),
                                workflow_property(path_of(result.uri)));
            if (point.place && point.place->line != 0)
                text += fmt::format(",line={},col={}", point.place->line, point.place->column);
            text += fmt::format(",title={}::{}\n", workflow_property(point.rule),
                                workflow_text(point.with_row()));
        }
    }
    return text;
}

const FleetFormat formats[] = {{"text", as_text},
                               {"json", as_json},
                               {"sarif", as_sarif},
                               {"junit", as_junit},
                               {"github", as_github}};

} // namespace

int FleetResults::status() const
{
    const auto worst =
        std::min_element(all.begin(), all.end(), [](const FleetResult &a, const FleetResult &b) {
            return a.verdict < b.verdict;
        });
    return worst == all.end() ? int{exit_well} : row_of(worst->verdict).status;
}

const FleetFormat &fleet_format(const std::string &name)
{
    return *std::find_if(std::begin(formats), std::end(formats) - 1,
                         [&](const FleetFormat &format) { return format.name == name; });
}

} // namespace kvnsim
