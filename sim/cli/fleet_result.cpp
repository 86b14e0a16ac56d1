/* A result is written with everything that a format may need, and no format is given anything else:
 * so a campaign of many machines and one of a single machine print the same. */
#include "sim/cli/fleet_result.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include <fmt/format.h>

#include "sim/campaign/results_file.h"
#include "sim/cli/input.h"
#include "sim/cli/instruments.h"
#include "sim/cli/outcome.h"
#include "sim/cli/policy.h"
#include "sim/cli/verb.h"
#include "sim/state/index.h"

namespace kvnsim {
namespace {

/* In the order of Verdict. */
const VerdictRow verdicts[] = {
    {"no result", exit_request, "without a result"},
    {"failures", exit_request, "with failed requests"},
    {"unreadable", exit_input, "unreadable"},
    {"errors", exit_input, "with errors"},
    {"findings", exit_found, "with findings"},
    {"well", exit_well, "well"},
    {"not read", exit_well, "not read"},
};

std::string uri_of(const std::string &path)
{
    std::string uri;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool stays = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                           (c >= 'a' && c <= 'z') ||
                           std::string_view("-._~/").find(c) != std::string_view::npos;
        uri += stays ? std::string(1, c) : fmt::format("%{:02X}", byte);
    }
    return uri;
}

/* ---- Examining ---- */

class Examination {
public:
    Examination(FleetResult &result, const FleetOptions &options)
        : result_(result), options_(options)
    {}

    void of(Configuration configuration)
    {
        const Policy &policy = options_.policy;
        for (const Finding &finding : configuration.findings) {
            if (policy.ignores(finding.code))
                ++result_.passed_over[finding.code];
            else
                result_.findings.push_back(finding);
        }
        result_.other_tables.insert(configuration.ignored.begin(), configuration.ignored.end());
        const Desired &desired = configuration.desired;
        result_.interfaces = desired.routed_ports.size() + desired.port_channels.size() +
                             desired.sub_interfaces.size() + desired.svis.size();
        const bool refused = policy.refuses(configuration);
        if (refused)
            is(Verdict::errors);
        if (policy.leaves_out(configuration))
            is(Verdict::findings);
        result_.is_understood = configuration.is_understood;
        result_.is_checked = options_.only_check;
        const bool can_be_applied =
            configuration.is_understood && (!refused || options_.keep_going);
        if (!options_.only_check && can_be_applied)
            apply(configuration);
    }

private:
    /* The worst counts. */
    void is(Verdict verdict) { result_.verdict = std::min(result_.verdict, verdict); }

    void apply(Configuration &configuration)
    {
        Switch one;
        for (const std::string &limit : options_.limits)
            set_limit(limit);
        const ConfigurationRun run = carry_out(one, configuration, one.plan(configuration.desired));
        result_.is_applied = true;
        result_.requests = run.requests;
        result_.calls = run.calls;
        for (const Failure &failure : run.applied.failures)
            result_.failures.push_back({failure.step.words(), failure.step.name, failure.message,
                                        made_up_by(failure, run.applied.made_up_for),
                                        failure.step.cause});
        if (any_open(std::vector<ConfigurationRun>{run}, one))
            is(Verdict::failures);
        judge(capture(one, {configuration.file}, configuration.findings));
    }

    void judge(const Snapshot &snapshot)
    {
        const Index index(snapshot);
        Judgement judgement = kvnsim::judge(index);
        result_.services = count(judgement.services);
        for (const AuditFinding &finding : judgement.findings) {
            if (options_.policy.ignores(finding.code)) {
                if (finding.kind != AuditKind::left_out) /* counted as the reader's */
                    ++result_.passed_over[finding.code];
                continue;
            }
            is(Verdict::findings);
            if (finding.kind != AuditKind::left_out)
                tell(finding, index);
        }
    }

    void tell(const AuditFinding &finding, const Index &index)
    {
        FleetAuditFinding told{to_text(finding.kind),
                               finding.code,
                               finding.object,
                               to_text(finding.property),
                               finding.interface,
                               finding.other,
                               finding.words,
                               {},
                               {}};
        for (const RequestRef &request : finding.requests)
            told.requests.push_back(request->number);
        if (const SourceLocation *row = row_behind(finding, index))
            told.configured_at = *row;
        result_.audit.push_back(std::move(told));
    }

    /* The row that asks for what a finding is about; nullptr without one. */
    static const SourceLocation *row_behind(const AuditFinding &finding, const Index &index)
    {
        const Snapshot &snapshot = index.snapshot();
        if (finding.property == PropertyId::router_mac && !snapshot.wanted_router_mac.empty())
            return &snapshot.wanted_router_mac.front().location;
        for (const WantedVirtualMac &wanted : snapshot.wanted_virtual_macs)
            if (finding.virtual_mac == wanted.mac && finding.concerns(wanted.interface))
                return &wanted.location;
        for (const std::string &name : {finding.interface, finding.other}) {
            if (const WantedInterface *wanted = index.wanted(name))
                return &wanted->location;
            if (const WantedPort *wanted = index.wanted_port(name))
                return &wanted->location;
        }
        return nullptr;
    }

    FleetResult &result_;
    const FleetOptions &options_;
};

/* ---- JSON ---- */

SourceLocation read_location(const ResultObject &object)
{
    std::string file = object.text("file");
    uint32_t line = 0, column = 0;
    if (!object.is_null("line")) {
        line = static_cast<uint32_t>(object.number("line", UINT32_MAX));
        column = static_cast<uint32_t>(object.number("column", UINT32_MAX));
    }
    std::string table = object.text_or_null("table");
    return {std::move(file), line, column, std::move(table), object.text_or_null("key")};
}

std::optional<SourceLocation> read_location(const std::optional<ResultObject> &object)
{
    return object ? std::optional(read_location(*object)) : std::nullopt;
}

void write(Json &json, const std::optional<SourceLocation> &location)
{
    if (!location) {
        json.null();
        return;
    }
    write(json.begin_object(), *location);
    json.end_object();
}

/* The index of a name in a table of names. */
template <class Names>
uint8_t index_of(const Names &names, const ResultObject &object, const char *field)
{
    const std::string name = object.text(field);
    const auto found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names))
        object.damaged(fmt::format("\"{}\": there is no \"{}\"", field, name));
    return static_cast<uint8_t>(found - std::begin(names));
}

Finding read_finding(const ResultObject &object)
{
    Finding finding;
    finding.severity = static_cast<Finding::Severity>(index_of(severity_names, object, "severity"));
    finding.location = read_location(object);
    finding.code = object.text("code");
    finding.leaves_out = object.flag("leaves_out");
    finding.message = object.text("message");
    finding.other = read_location(object.object_or_null("conflicts_with"));
    return finding;
}

void write(Json &json, const FailedStep &failure)
{
    json.begin_object().field("words", failure.words).field("object", failure.object);
    json.field("message", failure.message).key("made_up_by");
    if (failure.made_up_by != 0)
        json.value(failure.made_up_by);
    else
        json.null();
    write(json.key("cause").begin_object(), failure.cause);
    json.end_object().end_object();
}

FailedStep read_failure(const ResultObject &object)
{
    return {object.text("words"), object.text("object"), object.text("message"),
            object.is_null("made_up_by") ? 0 : object.number("made_up_by"),
            read_location(object.object("cause"))};
}

void write(Json &json, const FleetAuditFinding &finding)
{
    json.begin_object().field("kind", finding.kind).field("code", finding.code);
    json.text_or_null("object", finding.object).text_or_null("property", finding.property);
    json.text_or_null("interface", finding.interface).text_or_null("other", finding.other);
    json.field("words", finding.words).field("requests", finding.requests);
    write(json.key("configured_at"), finding.configured_at);
    json.end_object();
}

FleetAuditFinding read_audit_finding(const ResultObject &object)
{
    return {object.text("kind"),
            object.text("code"),
            object.text_or_null("object"),
            object.text_or_null("property"),
            object.text_or_null("interface"),
            object.text_or_null("other"),
            object.text("words"),
            object.numbers("requests"),
            read_location(object.object_or_null("configured_at"))};
}

struct ServiceField {
    const char *name;
    uint64_t ServiceCount::*count;
};
constexpr ServiceField service_fields[] = {
    {"wanted", &ServiceCount::wanted},       {"given", &ServiceCount::given},
    {"not_given", &ServiceCount::not_given}, {"wrong", &ServiceCount::wrong},
    {"unwanted", &ServiceCount::unwanted},   {"kept", &ServiceCount::kept}};

template <class Part> void write_list(Json &json, const char *name, const std::vector<Part> &parts)
{
    json.key(name).begin_array();
    for (const Part &part : parts)
        write(json, part);
    json.end_array();
}

} // namespace

const VerdictRow &row_of(Verdict verdict)
{
    return verdicts[static_cast<size_t>(verdict)];
}

std::string path_of(const std::string &uri)
{
    std::string path;
    for (size_t i = 0; i < uri.size(); ++i) {
        unsigned byte = 0;
        const char *const digits = uri.data() + i + 1, *const end = digits + 2;
        if (uri[i] == '%' && i + 2 < uri.size() &&
            std::from_chars(digits, end, byte, 16).ptr == end) {
            path += static_cast<char>(byte);
            i += 2;
        } else {
            path += uri[i];
        }
    }
    return path;
}

FleetResult without_result(uint64_t item, const std::string &file, Verdict verdict,
                           const std::string &problem)
{
    FleetResult result;
    result.item = item;
    result.file = file;
    result.uri = uri_of(file);
    result.verdict = verdict;
    result.problem = problem;
    return result;
}

FleetResult examine(uint64_t item, const std::string &file, const std::string &text,
                    const FleetOptions &options)
{
    FleetResult result = without_result(item, file, Verdict::well);
    Examination(result, options).of(read_configuration(file, text));
    return result;
}

void write(Json &json, const FleetResult &result)
{
    begin_item(json, result.item);
    json.field("file", result.file).field("uri", result.uri);
    json.field("verdict", row_of(result.verdict).name).text_or_null("problem", result.problem);
    json.field("understood", result.is_understood).field("checked", result.is_checked);
    json.field("applied", result.is_applied);
    json.field("interfaces", result.interfaces).field("requests", result.requests);
    json.field("calls", result.calls).key("services").begin_object();
    for (const ServiceField &field : service_fields)
        json.field(field.name, result.services.*field.count);
    json.end_object();
    write_findings(json, result.findings);
    json.key("passed_over").begin_object();
    for (const auto &[code, count] : result.passed_over)
        json.field(code, count);
    json.end_object().key("ignored").begin_object();
    for (const auto &[table, rows] : result.other_tables)
        json.field(table, rows);
    json.end_object();
    write_list(json, "failures", result.failures);
    write_list(json, "audit", result.audit);
    json.end_object();
}

FleetResult read_fleet_result(const ResultObject &object)
{
    FleetResult result;
    result.item = object.number("item");
    result.file = object.text("file");
    result.uri = object.text("uri");
    if (uri_of(path_of(result.uri)) != result.uri)
        object.damaged("\"uri\": expected a path, percent-encoded");
    std::vector<std::string> names;
    for (const VerdictRow &row : verdicts)
        names.emplace_back(row.name);
    result.verdict = static_cast<Verdict>(index_of(names, object, "verdict"));
    result.problem = object.text_or_null("problem");
    result.is_understood = object.flag("understood");
    result.is_checked = object.flag("checked");
    result.is_applied = object.flag("applied");
    result.interfaces = object.number("interfaces");
    result.requests = object.number("requests");
    result.calls = object.number("calls");
    const ResultObject services = object.object("services");
    for (const ServiceField &field : service_fields)
        result.services.*field.count = services.number(field.name);
    for (const ResultObject &finding : object.objects("findings"))
        result.findings.push_back(read_finding(finding));
    result.passed_over = object.named_numbers("passed_over");
    result.other_tables = object.named_numbers("ignored");
    for (const ResultObject &failure : object.objects("failures"))
        result.failures.push_back(read_failure(failure));
    for (const ResultObject &finding : object.objects("audit"))
        result.audit.push_back(read_audit_finding(finding));
    return result;
}

} // namespace kvnsim
