#include "sim/report/report.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_set>

#include "sim/report/graph.h"
#include "sim/report/page_text.h"
#include "sim/state/explain.h"
#include "sim/state/interface_names.h"
#include "sim/state/json.h"

namespace kvnsim {
namespace {

/* As the page's scripts know them. */
constexpr const char *node_kind_names[] = {"interface", "sdk",         "trap",
                                           "lid",       "portchannel", "port"};
constexpr const char *edge_kind_names[] = {"programmed", "recorded", "configured"};

class DataWriter {
public:
    DataWriter(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
        : s_(snapshot), more_tables_(more_tables), index_(snapshot), findings_(audit(snapshot)),
          writer_(buffer_)
    {}

    std::string write()
    {
        writer_.StartObject();
        key("hostname");
        put(writer_, s_.meta.hostname);
        key("word_size");
        writer_.Uint(s_.meta.word_size);
        key("files");
        writer_.StartArray();
        for (const FileRow &file : s_.files)
            put(writer_, file.file);
        writer_.EndArray();
        tables();
        graph();
        explanations();
        writer_.EndObject();
        return {buffer_.GetString(), buffer_.GetSize()};
    }

private:
    void key(std::string_view name) { put_key(writer_, name); }

    /* ---- Tables ---- */

    void tables()
    {
        key("tables");
        writer_.StartArray();
        for (const ShowKind &kind : show_kinds()) {
            if (!kind.of_interface)
                table(kind.name, kind.make(s_, {}));
        }
        for (const ReportTable &more : more_tables_)
            table(more.name, more.listing);
        table("failures", failures());
        table("findings", show(findings_));
        table("requests", requests());
        writer_.EndArray();
    }

    void table(std::string_view name, const Listing &listing)
    {
        writer_.StartObject();
        key("name");
        put(writer_, name);
        key("title");
        put(writer_, listing.title);
        key("columns");
        writer_.StartArray();
        for (const Column &column : listing.columns) {
            writer_.StartArray();
            put(writer_, column.key);
            put(writer_, column.title);
            writer_.EndArray();
        }
        writer_.EndArray();
        key("rows");
        writer_.StartArray();
        for (const auto &row : listing.rows) {
            writer_.StartArray();
            for (const Cell &cell : row)
                kvnsim::write(writer_, cell);
            writer_.EndArray();
        }
        writer_.EndArray();
        writer_.EndObject();
    }

    Listing failures() const
    {
        Listing listing{"Failures", {{"object", "Object"}, {"message", "What failed"}}, {}};
        for (const FailureRow &row : s_.failures)
            listing.rows.push_back({row.object, row.message});
        return listing;
    }

    /* Those behind the findings. */
    Listing requests() const
    {
        Listing listing{"Requests behind the findings",
                        {{"number", "Request"},
                         {"entry", "Entry point"},
                         {"arguments", "Arguments"},
                         {"subject", "Interface"},
                         {"cause", "Because of"}},
                        {}};
        std::set<uint64_t> numbers;
        for (const AuditFinding &finding : findings_)
            numbers.insert(finding.requests.begin(), finding.requests.end());
        for (const uint64_t number : numbers) {
            if (const RequestRow *row = s_.request(number))
                listing.rows.push_back({static_cast<int64_t>(number), row->entry, row->arguments,
                                        row->subject, row->cause});
        }
        return listing;
    }

    /* ---- Graph ---- */

    void graph()
    {
        const Graph graph = object_graph(index_);
        key("graph");
        writer_.StartObject();
        key("nodes"); /* kind, label, detail, made, gone */
        writer_.StartArray();
        for (const GraphNode &node : graph.nodes) {
            writer_.StartArray();
            put(writer_, node_kind_names[static_cast<size_t>(node.kind)]);
            for (const std::string *text : {&node.label, &node.detail, &node.made})
                put(writer_, *text);
            writer_.Bool(node.gone);
            writer_.EndArray();
        }
        writer_.EndArray();
        key("edges"); /* from, to, kind */
        writer_.StartArray();
        for (const GraphEdge &edge : graph.edges) {
            writer_.StartArray();
            writer_.Uint64(edge.from);
            writer_.Uint64(edge.to);
            put(writer_, edge_kind_names[static_cast<size_t>(edge.kind)]);
            writer_.EndArray();
        }
        writer_.EndArray();
        writer_.EndObject();
    }

    /* ---- Explanations ---- */

    /* Every interface once, those with trouble first. */
    std::vector<std::string> by_need() const
    {
        const Names known = interface_names(s_);
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
        key("explained");
        writer_.StartObject();
        std::vector<std::string> names = by_need();
        names.resize(std::min(names.size(), explained_at_most));
        for (const std::string &name : names) {
            key(name);
            explanation(explain(index_, findings_, name));
        }
        writer_.EndObject();
    }

    void explanation(const Explanation &told)
    {
        writer_.StartObject();
        const std::pair<const char *, const std::string &> texts[] = {
            {"kind", told.kind},
            {"state", told.state},
            {"configured_at", told.configured_at},
            {"failure", told.failure}};
        for (const auto &[name, text] : texts) {
            key(name);
            put(writer_, text);
        }
        key("configuration");
        writer_.StartArray();
        for (const ReaderRow &row : told.reader)
            put(writer_, row.location.to_text() + ": " + row.message);
        writer_.EndArray();
        key("properties"); /* name, configured, library, asic, database, call, expected, differs */
        writer_.StartArray();
        for (const ExplainedProperty &p : told.properties) {
            writer_.StartArray();
            for (const std::string *text :
                 {&p.name, &p.configured, &p.library, &p.asic, &p.database, &p.call, &p.expected})
                put(writer_, *text);
            writer_.Bool(p.differs);
            writer_.EndArray();
        }
        writer_.EndArray();
        writer_.EndObject();
    }

    const Snapshot &s_;
    const std::vector<ReportTable> &more_tables_;
    const Index index_;
    const std::vector<AuditFinding> findings_;
    rapidjson::StringBuffer buffer_;
    JsonWriter writer_;
};

} // namespace

std::string report_data(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
{
    const std::string json = DataWriter(snapshot, more_tables).write();
    std::string safe;
    safe.reserve(json.size());
    for (const char character : json) {
        if (character == '<')
            safe += "\\u003c";
        else
            safe += character;
    }
    return safe;
}

std::string report_page(const Snapshot &snapshot, const std::vector<ReportTable> &more_tables)
{
    const std::string_view page = page_text;
    const size_t mark = page.find(page_data_mark);
    std::string whole(page.substr(0, mark));
    whole += report_data(snapshot, more_tables);
    whole += page.substr(mark + std::string_view(page_data_mark).size());
    return whole;
}

} // namespace kvnsim
