/* Reads the tables of a document into a Configuration, in the order of the schema rows, so that a
 * row refers only to what has been read. Key and fields are checked here against the schema; only
 * valid rows reach the table's read function, and every other row has a finding. Never throws on
 * bad input. */
#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <tuple>

#include "sim/config/desired.h"
#include "sim/config/document.h"
#include "sim/config/names.h"
#include "sim/config/tables.h"

namespace kvnsim {

namespace {

/* A routed interface in another kind's table: " (Vlan10 belongs in VLAN_INTERFACE)". */
std::string where_it_belongs(const TableSchema &table, const std::string &name)
{
    if (table.has_address_rows)
        for (const TableSchema &other : tables())
            if (other.has_address_rows && has_form(other.key[0], name))
                return fmt::format(" ({} belongs in {})", name, other.name);
    return {};
}

class Reader {
public:
    Reader(Configuration &configuration, const Document &document)
        : configuration_(configuration), document_(document), draft_(configuration)
    {}

    void read()
    {
        for (const DocumentTable &table : document_.tables)
            check_shape(table);
        infer_ports();
        for (const TableSchema &table : tables())
            if (const DocumentTable *source = find(table.name))
                read(table, *source);
    }

private:
    SourceLocation location(const DocumentTable &table) const
    {
        return {configuration_.file, table.at.line, table.at.column, table.name, {}};
    }
    SourceLocation location(const TableSchema &table, const DocumentRow &row) const
    {
        return {configuration_.file, row.at.line, row.at.column, table.name, row.name};
    }

    const DocumentTable *find(const char *name) const
    {
        for (const DocumentTable &table : document_.tables)
            if (table.name == name && table.kind == ValueKind::object)
                return &table;
        return nullptr;
    }

    void check_shape(const DocumentTable &table)
    {
        const bool is_read = find_table(table.name) != nullptr;
        if (!is_read)
            configuration_.ignored[table.name] += static_cast<uint32_t>(table.rows.size());
        if (table.kind != ValueKind::object) {
            const std::string message =
                fmt::format("found {}: expected an object of rows", to_text(table.kind));
            if (is_read) {
                draft_.error(location(table), "{}", message);
                draft_.leave_out(table.name, location(table));
            } else {
                draft_.warning(location(table), "{}", message);
            }
        }
        if (is_read)
            return;
        for (const TableSchema &known : tables()) {
            if (spelling(table.name) != spelling(known.name))
                continue;
            draft_.error(location(table), "unknown table {}: expected {}", quoted(table.name),
                         known.name);
            draft_.leave_out(known.name, location(table));
        }
    }

    /* Without a table PORT, the ports are those that rows name. */
    void infer_ports()
    {
        if (find("PORT") || draft_.left_out("PORT", {}))
            return;
        ByName<DesiredPort> ports;
        for (const DocumentTable &source : document_.tables) {
            const TableSchema *const table = find_table(source.name);
            for (const DocumentRow &row : source.rows) {
                if (!table)
                    break;
                for (const std::string &part : split_at_bars(row.name)) {
                    auto name = parse_interface_name(part);
                    const std::string whole =
                        name && name->kind == InterfaceKind::sub_interface ? name->parent : part;
                    name = parse_interface_name(whole);
                    if (!name || name->kind != InterfaceKind::port)
                        continue;
                    DesiredPort port;
                    port.admin_up = true;
                    port.location = location(*table, row);
                    ports.emplace(whole, std::move(port));
                }
            }
        }
        if (ports.empty())
            return;
        draft_.note(
            SourceLocation{configuration_.file, document_.at.line, document_.at.column, {}, {}},
            "there is no table PORT: {} front-panel port{} taken from the rows "
            "that name them",
            ports.size(), ports.size() == 1 ? "" : "s");
        for (auto &[name, port] : ports)
            draft_.add_port(name, std::move(port));
    }

    void read(const TableSchema &table, const DocumentTable &source)
    {
        std::vector<FieldValue> defaults;
        for (const TableField &declared : table.fields)
            defaults.push_back(declared.fallback ? *parse_field(declared, declared.fallback)
                                                 : FieldValue{});

        /* An interface's own row first; address rows add to it. */
        for (const bool with_address : {false, true}) {
            std::vector<std::pair<std::string, SourceLocation>> unsound;
            for (const DocumentRow &source_row : source.rows) {
                const auto bars = static_cast<size_t>(
                    std::count(source_row.name.begin(), source_row.name.end(), '|'));
                if ((bars >= table.key.size()) != with_address)
                    continue;
                Row row(table, location(table, source_row));
                const bool has_key = take_key(row, source_row);
                if (!row.is_address_row)
                    row.values = defaults;
                if (has_key && take_fields(row, source_row))
                    table.read(draft_, row);
                else
                    unsound.emplace_back(trimmed(row.name()), row.location);
            }
            for (const auto &[name, where] : unsound)
                draft_.leave_out(table.name, name, where);
        }
    }

    bool take_key(Row &row, const DocumentRow &source)
    {
        const TableSchema &table = row.table;
        row.parts = split_at_bars(source.name);
        if (source.name.find_first_of(blanks) != source.name.npos)
            return draft_.error(row.location, "there is a blank in the key {}: expected {}",
                                quoted(source.name), key_form(table));
        const size_t parts = table.key.size();
        row.is_address_row = table.has_address_rows && row.parts.size() == parts + 1;
        if (row.parts.size() != parts && !row.is_address_row)
            return draft_.error(row.location, "the key {} is not of the form {}",
                                quoted(source.name), key_form(table));
        for (size_t i = 0; i < parts; ++i) {
            if (has_form(table.key[i], row.parts[i]))
                continue;
            return draft_.error(row.location, "{}: expected {}{}", quoted(row.parts[i]),
                                expected(table.key[i]), where_it_belongs(table, row.parts[i]));
        }
        if (row.is_address_row && !parse_address(row.address()))
            return draft_.error(row.location,
                                "{}: expected an IPv4 or IPv6 address and its prefix length",
                                quoted(row.address()));
        return true;
    }

    /* Whether the row is valid; every error in it is reported. */
    bool take_fields(Row &row, const DocumentRow &source)
    {
        if (source.kind != ValueKind::object)
            return draft_.error(row.location, "found {}: expected an object of fields",
                                to_text(source.kind));
        const std::vector<TableField> &known = row.table.fields;
        bool sound = true;
        for (const DocumentField &field : source.fields) {
            const auto declared =
                std::find_if(known.begin(), known.end(), [&](const TableField &candidate) {
                    return field.name == candidate.name;
                });
            if (declared == known.end())
                sound &= check_unread(row, field);
            else if (row.is_address_row)
                draft_.warning(moved(row.location, field.at),
                               "{} is not read in an address row: it belongs in {}|{}", field.name,
                               row.table.name, row.name());
            else
                sound &= take_field(row, *declared, field);
        }
        return sound;
    }

    bool take_field(Row &row, const TableField &declared, const DocumentField &field)
    {
        if (declared.type == FieldType::elsewhere) {
            draft_.warning(moved(row.location, field.at), "{} is not read here: it comes from {}",
                           declared.name, declared.meaning);
            return true;
        }
        const SourceLocation where = moved(row.location, field.value_at);
        if (field.kind != ValueKind::text)
            return draft_.error(where, "{} is {}: expected {}, in quotes", declared.name,
                                to_text(field.kind), expected(declared));
        auto value = parse_field(declared, field.text);
        if (!value)
            return draft_.error(where, "{} is {}: expected {}", declared.name, quoted(field.text),
                                expected(declared));
        value->at = field.value_at;
        row.values[static_cast<size_t>(&declared - row.table.fields.data())] = std::move(*value);
        return true;
    }

    bool check_unread(Row &row, const DocumentField &field)
    {
        for (const TableField &declared : row.table.fields) {
            if (spelling(field.name) == declared.name)
                return draft_.error(moved(row.location, field.at), "unknown field {}: expected {}",
                                    quoted(field.name), declared.name);
        }
        if (field.kind != ValueKind::text && field.kind != ValueKind::list)
            draft_.warning(moved(row.location, field.value_at),
                           "{} is {}: expected a string or a list; it is not read",
                           quoted(field.name), to_text(field.kind));
        return true;
    }

    Configuration &configuration_;
    const Document &document_;
    Draft draft_;
};

} // namespace

Configuration read_configuration(const std::string &file, const std::string &text)
{
    std::vector<Finding> findings;
    const Document document = read_document(file, text, findings);
    return read_configuration(file, document, std::move(findings));
}

Configuration read_configuration(const std::string &file, const Document &document,
                                 std::vector<Finding> findings)
{
    Configuration configuration;
    configuration.file = file;
    configuration.findings = std::move(findings);
    configuration.is_understood = document.is_object;
    Reader(configuration, document).read();
    std::stable_sort(configuration.findings.begin(), configuration.findings.end(),
                     [](const Finding &a, const Finding &b) {
                         return std::tie(a.location.line, a.location.column) <
                                std::tie(b.location.line, b.location.column);
                     });
    return configuration;
}

} // namespace kvnsim
