#include "sim/report/report.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <unordered_set>

#include "sim/report/graph.h"
#include "sim/report/page.h"
#include "sim/service/services.h"
#include "sim/state/explain.h"
#include "sim/state/interface_names.h"

namespace kvnsim {
namespace {

/* The names that the page's scripts use. */
constexpr const char *node_kind_names[] = {"interface", "sdk",         "trap",
                                           "lid",       "portchannel", "port"};
constexpr const char *edge_kind_names[] = {"programmed", "recorded", "configured"};

class DataWriter {
public:
    DataWriter(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
        : s_(snapshot), more_tables_(more_tables), index_(snapshot), judgement_(judge(index_))
    {}

    std::string write()
    {
        json_.begin_object().field("hostname", s_.meta.hostname);
        json_.field("verdict", verdict(s_, findings_));
        json_.field("services", summary(judgement_.services, s_)).key("costs").begin_array();
        for (const AuditFinding &finding : findings_) /* in the order of the findings */
            json_.value(cost_words(finding));
        json_.end_array();
        json_.field("word_size", s_.meta.word_size).key("files").begin_array();
        for (const FileRow &file : s_.files)
            json_.value(file.file);
        json_.end_array();
        tables();
        graph();
        explanations();
        return json_.end_object().text();
    }

private:
    /* ---- Tables ---- */

    void tables()
    {
        json_.key("tables").begin_array();
        for (const ShowKind &kind : show_kinds()) {
            if (!kind.of_interface)
                table(kind.name, kind.make(s_, {}));
        }
        for (const ReportTable &more : more_tables_)
            table(more.name, more.listing);
        table("services", show(judgement_.services));
        table("failures", show(s_.failures));
        table("findings", show(findings_));
        table("requests", requests());
        json_.end_array();
    }

    void table(std::string_view name, const Listing &listing) { write_table(json_, name, listing); }

    /* The requests behind the findings. */
    Listing requests() const
    {
        std::map<uint64_t, Request> behind;
        for (const AuditFinding &finding : findings_) {
            for (const RequestRef &request : finding.requests)
                behind.emplace(request->number, *request);
        }
        std::vector<Request> rows;
        for (auto &[number, request] : behind)
            rows.push_back(std::move(request));
        return listing_of("Requests behind the findings", rows,
                          {"Request", "Entry point", "Arguments", "Interface", "Caused by"});
    }

    /* ---- Graph ---- */

    void graph()
    {
        const Graph graph = object_graph(index_);
        json_.key("graph").begin_object();
        json_.key("nodes").begin_array(); /* kind, label, detail, made, gone */
        for (const GraphNode &node : graph.nodes) {
            json_.begin_array().value(node_kind_names[static_cast<size_t>(node.kind)]);
            json_.value(node.label).value(node.detail).value(node.made).value(node.gone);
            json_.end_array();
        }
        json_.end_array().key("edges").begin_array(); /* from, to, kind */
        for (const GraphEdge &edge : graph.edges) {
            json_.begin_array().value(uint64_t{edge.from}).value(uint64_t{edge.to});
            json_.value(edge_kind_names[static_cast<size_t>(edge.kind)]).end_array();
        }
        json_.end_array().end_object();
    }

    /* ---- Explanations ---- */

    /* Every interface once, those with a finding or failure first. */
    std::vector<std::string> by_need() const
    {
        const Names known = interface_names(s_).names();
        std::vector<std::string> names;
        std::unordered_set<std::string_view> met;
        const auto take = [&](const std::string &name) {
            if (known.count(name) != 0 && met.insert(name).second)
                names.push_back(name);
        };
        for (const FailureRow &row : s_.failures)
            take(row.object);
        for (const AuditFinding &finding : findings_)
            take(finding.interface);
        for (const WantedInterface &row : s_.wanted_interfaces)
            take(row.name);
        for (const std::string &name : known)
            take(name);
        return names;
    }

    void explanations()
    {
        json_.key("explained").begin_object();
        std::vector<std::string> names = by_need();
        names.resize(std::min(names.size(), explained_at_most));
        for (const std::string &name : names) {
            json_.key(name);
            explanation(explain(index_, findings_, name));
        }
        json_.end_object();
    }

    void explanation(const Explanation &explained)
    {
        json_.begin_object().field("kind", explained.kind).field("state", explained.state);
        json_.field("configured_at", explained.configured_at).field("failure", explained.failure);
        json_.key("configuration").begin_array();
        for (const Finding &row : explained.reader)
            json_.value(row.location.to_text() + ": " + row.words());
        /* name, configured, library, asic, database, call, expected, differs */
        json_.end_array().key("properties").begin_array();
        for (const ExplainedProperty &p : explained.properties) {
            json_.begin_array().value(p.property).value(p.configured).value(p.library);
            json_.value(p.asic).value(p.database).value(p.call).value(p.expected);
            json_.value(p.differs).end_array();
        }
        json_.end_array().end_object();
    }

    const Snapshot &s_;
    const std::vector<ReportTable> &more_tables_;
    const Index index_;
    const Judgement judgement_;
    const std::vector<AuditFinding> &findings_ = judgement_.findings;
    Json json_;
};

} // namespace

std::string report_data(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
{
    return safe_in_page(DataWriter(snapshot, more_tables).write());
}

std::string report_page(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
{
    return filled(page_text, DataWriter(snapshot, more_tables).write());
}

std::string faults_page(const FaultsPage &page)
{
    Json json;
    json.begin_object().field("configurations", page.configurations);
    json.field("verdict", page.verdict).field("pairs", page.pairs).field("tried", page.tried);
    json.field("heal", page.heal).field("do_not_heal", page.do_not_heal);
    json.field("most_services", page.most_services).key("tables").begin_array();
    write_table(json, "groups", page.groups);
    write_table(json, "failures", page.failures);
    return filled(faults_page_text, json.end_array().end_object().text());
}

} // namespace kvnsim
