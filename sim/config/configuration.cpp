/* Reads the tables of a document into a Configuration, in the order of the schema rows, so that a
 * row refers only to what has been read. Key and fields are checked here against the schema; only
 * valid rows reach the table's read function, and every other row has a finding. Never throws on
 * bad input. */
#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <iterator>
#include <set>
#include <string_view>
#include <tuple>
#include <unordered_map>

#include "sim/config/configuration.h"
#include "sim/config/document.h"
#include "sim/config/names.h"
#include "sim/config/similar.h"
#include "sim/config/tables.h"
#include "sim/types/text.h"

namespace kvnsim {

namespace {

/* The table of routed interfaces of another kind that takes a name; nullptr for none. */
const TableSchema *where_it_belongs(const TableSchema &table, std::string_view name)
{
    if (table.has_address_rows)
        for (const TableSchema &other : tables())
            if (other.has_address_rows && other.use == Use::applied && has_form(other.key[0], name))
                return &other;
    return nullptr;
}

class Reader {
public:
    Reader(Configuration &configuration, Document document)
        : configuration_(configuration), document_(std::move(document)), draft_(configuration)
    {
        for (size_t i = 0; i < document_.tables.size(); ++i)
            note_place(i);
    }

    void read()
    {
        if (!has_known_table())
            return;
        for (const DocumentTable &table : document_.tables)
            check_shape(table);
        add_listed_members("PORTCHANNEL", "PORTCHANNEL_MEMBER");
        add_listed_members("VLAN", "VLAN_MEMBER");
        infer_ports();
        for (const TableSchema &table : tables()) {
            const DocumentTable *source = find(table.name);
            if (source && table.use == Use::not_modelled)
                name_interfaces(table, *source);
            else if (source)
                read(table, *source);
            if (table.name == std::string_view("PORT"))
                draft_.number_ports();
        }
        draft_.sort_addresses();
        draft_.check_addresses();
        draft_.check_members();
        draft_.check_waiting();
    }

private:
    SourceLocation location(const DocumentTable &table) const
    {
        return {configuration_.file, table.at.line, table.at.column, std::string(table.name), {}};
    }

    void note_place(size_t table)
    {
        if (document_.tables[table].kind == ValueKind::object)
            places_[document_.tables[table].name] = table;
    }
    DocumentTable *find(std::string_view name)
    {
        const auto place = places_.find(name);
        return place == places_.end() ? nullptr : &document_.tables[place->second];
    }

    /* A file without any known table is not what its user takes it for. */
    bool has_known_table()
    {
        std::vector<DocumentTable> &given = document_.tables;
        if (given.empty() ||
            std::any_of(given.begin(), given.end(), [](const DocumentTable &table) {
                return find_table(table.name) != nullptr;
            }))
            return true;
        configuration_.is_understood = false;
        std::vector<std::string> known;
        for (const TableSchema &table : tables())
            known.emplace_back(table.name);
        for (const DocumentTable &table : given) {
            const auto is_known = [](const DocumentRow &row) {
                return row.kind == ValueKind::object &&
                       find_table(split(row.name, '|').front()) != nullptr;
            };
            if (std::any_of(table.entries.begin(), table.entries.end(), is_known))
                return draft_.tell(FindingId::tables_one_level_down, location(table),
                                   in_quotes(table.name));
        }
        for (const DocumentTable &table : given) {
            const std::vector<std::string> near = similar_names(table.name, known);
            if (!near.empty())
                return draft_.tell(FindingId::no_known_table_but, location(table),
                                   in_quotes(table.name), near.front());
        }
        return draft_.tell(FindingId::no_known_table, location(given.front()),
                           in_quotes(given.front().name));
    }

    /* A member that is listed in the row of its port-channel or VLAN counts as a row of the table
     * of members. */
    void add_listed_members(const char *owners, const char *members)
    {
        const DocumentTable *owner_table = find(owners);
        if (!owner_table)
            return;
        std::vector<DocumentRow> listed;
        std::set<std::string_view> known;
        const DocumentTable *member_table = find(members);
        for (const DocumentRow &row : member_table ? member_table->entries : listed)
            known.insert(row.name);
        for (const DocumentRow &row : owner_table->entries) {
            for (const DocumentField &field : row.entries) {
                if (field.name != "members")
                    continue;
                for (const DocumentEntry &member : elements_of(field)) {
                    const std::string_view name = trimmed(member.text);
                    std::string key = fmt::format("{}|{}", row.name, name);
                    if (name.empty() || known.count(key) != 0)
                        continue;
                    const std::string_view kept = document_.texts.keep(std::move(key));
                    known.insert(kept);
                    listed.push_back(
                        {kept, member.value_at, ValueKind::object, {}, member.value_at, {}});
                }
            }
        }
        if (listed.empty())
            return;
        if (!member_table) {
            document_.tables.push_back({members, listed.front().at, ValueKind::object, {}, {}, {}});
            note_place(document_.tables.size() - 1);
        }
        std::vector<DocumentRow> &rows = find(members)->entries;
        std::move(listed.begin(), listed.end(), std::back_inserter(rows));
    }

    static std::vector<DocumentEntry> elements_of(const DocumentField &field)
    {
        if (field.kind == ValueKind::list)
            return field.entries;
        std::vector<DocumentEntry> elements;
        for (const std::string_view element : split(field.text, ','))
            elements.push_back({{}, {}, ValueKind::text, element, field.value_at, {}});
        return elements;
    }

    /* Interfaces that are not modelled: each is named once, at its first row. */
    void name_interfaces(const TableSchema &table, const DocumentTable &source)
    {
        std::set<std::string_view> named;
        const SourceLocation of_table = location(source);
        for (const DocumentRow &row : source.entries) {
            const std::string_view name = split(row.name, '|').front();
            if (named.insert(name).second)
                draft_.tell(FindingId::interface_not_modelled,
                            SourceRow{&of_table, &row}.location(), printable(name), table.meaning);
        }
    }

    void check_shape(const DocumentTable &table)
    {
        if (find_table(table.name)) {
            if (table.kind == ValueKind::object)
                return;
            draft_.tell(FindingId::no_object_of_rows, location(table), to_text(table.kind));
            draft_.leave_out(table.name, location(table));
            return;
        }
        configuration_.ignored[std::string(table.name)] +=
            static_cast<uint32_t>(table.entries.size());
        for (const TableSchema &known : tables()) {
            const bool is_meant = spelling(table.name) == spelling(known.name) ||
                                  (!find(known.name) && differ_in_one(table.name, known.name));
            if (!is_meant)
                continue;
            draft_.tell(FindingId::unknown_table, location(table), in_quotes(table.name),
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
            if (!table || table->key[0] == KeyPart::any)
                continue;
            const SourceLocation of_table = location(source);
            for (const DocumentRow &row : source.entries) {
                for (const std::string_view part : split(row.name, '|')) {
                    auto name = parse_interface_name(part);
                    const std::string whole = name && name->kind == InterfaceKind::sub_interface
                                                  ? name->parent
                                                  : std::string(part);
                    name = parse_interface_name(whole);
                    if (!name || name->kind != InterfaceKind::port)
                        continue;
                    DesiredPort port;
                    port.admin_up = true;
                    port.location = SourceRow{&of_table, &row}.location();
                    ports.emplace(whole, std::move(port));
                }
            }
        }
        if (ports.empty())
            return;
        draft_.tell(
            FindingId::ports_inferred,
            SourceLocation{configuration_.file, document_.at.line, document_.at.column, {}, {}},
            counted(ports.size(), "front-panel port"));
        draft_.desired.ports = std::move(ports);
    }

    void read(const TableSchema &table, const DocumentTable &source)
    {
        std::vector<FieldValue> defaults;
        for (const TableField &declared : table.fields)
            defaults.push_back(declared.fallback ? *parse_field(declared, declared.fallback)
                                                 : FieldValue{});
        const std::vector<FieldValue> none(address_fields().size());
        std::vector<const DocumentRow *> own, with_address;
        for (const DocumentRow &row : source.entries) {
            size_t parts = 0;
            each_part(row.name, '|', [&](std::string_view) { ++parts; });
            (parts <= table.key.size() ? own : with_address).push_back(&row);
        }
        draft_.l3_settings.clear();
        const SourceLocation &of_table = of_tables_.emplace_back(location(source));

        /* An interface's own row first; address rows add to it. */
        Row row(table);
        for (const auto *rows : {&own, &with_address}) {
            std::vector<std::pair<std::string_view, SourceLocation>> unsound;
            for (const DocumentRow *source_row : *rows) {
                row.begin({&of_table, source_row});
                const bool has_key = take_key(row, *source_row);
                row.values = row.is_address_row ? none : defaults;
                if (has_key && take_fields(row, *source_row))
                    table.read(draft_, row);
                else
                    unsound.emplace_back(trimmed(row.name()), row.location());
            }
            for (const auto &[name, where] : unsound)
                draft_.leave_out(table.name, name, where);
        }
    }

    bool take_key(Row &row, const DocumentRow &source)
    {
        const TableSchema &table = row.table;
        row.parts.clear();
        each_part(source.name, '|', [&](std::string_view part) { row.parts.push_back(part); });
        const size_t parts = table.key.size();
        row.is_address_row = table.has_address_rows && row.parts.size() == parts + 1;
        if (row.parts.size() != parts && !row.is_address_row)
            return tell_key(row, FindingId::key_form, in_quotes(source.name), key_form(table));
        row.interface.reset();
        row.l3 = row.is_address_row ? draft_.l3_of(row.name()) : nullptr;
        const size_t checked = row.l3 ? parts : 0; /* by the row that made it known */
        for (size_t i = checked; i < parts; ++i) {
            const std::string_view part = row.parts[i];
            std::optional<InterfaceName> interface = parse_interface_name(part);
            if (!has_form(table.key[i], part, interface)) {
                const TableSchema *const other = where_it_belongs(table, part);
                return other
                           ? draft_.tell(FindingId::key_of_another_table, row.location(),
                                         in_quotes(part), expected(table.key[i]), part, other->name)
                           : tell_key(row, FindingId::key_part, in_quotes(part),
                                      expected(table.key[i]));
            }
            if (interface && part.size() > most_name_characters && long_names_.insert(part).second)
                draft_.tell(FindingId::long_name, row.location(), part, most_name_characters);
            if (i == 0)
                row.interface = std::move(interface);
        }
        if (row.is_address_row)
            row.ip = parse_address(row.address());
        if (row.is_address_row && !row.ip)
            return draft_.tell(FindingId::address_form, row.location(), in_quotes(row.address()));
        return true;
    }

    /* A key of a table that programs nothing does not keep the rest from being applied. */
    bool tell_key(const Row &row, FindingId id, const std::string &found,
                  const std::string &expected)
    {
        return draft_.tell(row.table.use == Use::applied ? id : FindingId::unused_key,
                           row.location(), found, expected);
    }

    /* Whether the row is valid; every error in it is reported. */
    bool take_fields(Row &row, const DocumentRow &source)
    {
        if (source.kind != ValueKind::object)
            return draft_.tell(FindingId::no_object_of_fields, row.location(),
                               to_text(source.kind));
        bool sound = true;
        for (const DocumentField &field : source.entries) {
            if (const TableField *declared = find_field(row.fields(), field.name)) {
                sound &= take_field(row, *declared, field);
                continue;
            }
            const std::string name = spelling(field.name);
            if (const TableField *meant = find_field(row.fields(), name))
                draft_.tell(FindingId::unknown_field, moved(row.location(), field.at),
                            in_quotes(field.name), meant->name);
            else if (row.is_address_row && find_field(row.table.fields, name))
                draft_.tell(FindingId::field_of_address_row, moved(row.location(), field.at), name,
                            fmt::format("{}|{}", row.table.name, row.name()));
        }
        return sound;
    }

    static const TableField *find_field(const std::vector<TableField> &fields,
                                        std::string_view name)
    {
        for (const TableField &field : fields)
            if (name == field.name)
                return &field;
        return nullptr;
    }

    bool take_field(Row &row, const TableField &declared, const DocumentField &field)
    {
        if (declared.type == FieldType::elsewhere) {
            draft_.tell(FindingId::field_read_elsewhere, moved(row.location(), field.at),
                        declared.name, declared.meaning);
            return true;
        }
        const auto where = [&] { return moved(row.location(), field.value_at); };
        const bool is_applied = declared.use == Use::applied && row.table.use == Use::applied;
        const bool is_list = field.kind == ValueKind::list && declared.type == FieldType::list;
        if (field.kind == ValueKind::null) {
            draft_.tell(FindingId::null_value, where(), declared.name);
            return true;
        }
        if (!is_list && (field.kind == ValueKind::list || field.kind == ValueKind::object)) {
            draft_.tell(is_applied ? FindingId::value_kind : FindingId::unused_value_kind, where(),
                        declared.name, to_text(field.kind), expected(declared));
            return !is_applied;
        }
        for (const DocumentEntry &element : field.entries) {
            if (element.kind != ValueKind::text && element.kind != ValueKind::number) {
                draft_.tell(is_applied ? FindingId::value_kind : FindingId::unused_value_kind,
                            moved(row.location(), element.value_at), declared.name,
                            fmt::format("a list with {}", to_text(element.kind)),
                            expected(declared));
                return !is_applied;
            }
        }
        auto value = parse_field(declared, is_list ? document_.texts.keep(joined(field))
                                                   : trimmed(field.text));
        if (!value) {
            draft_.tell(is_applied ? FindingId::value : FindingId::unused_value, where(),
                        declared.name, in_quotes(field.text), expected(declared));
            return !is_applied;
        }
        if (declared.use == Use::not_modelled &&
            (declared.type != FieldType::boolean || value->number != 0))
            draft_.tell(FindingId::field_not_modelled, where(), declared.name,
                        in_quotes(field.text));
        if (declared.type == FieldType::group_mac && is_multicast(value->mac))
            draft_.tell(FindingId::multicast_mac, where(), declared.name, value->text);
        value->at = field.value_at;
        row.values[static_cast<size_t>(&declared - row.fields().data())] = *value;
        return true;
    }

    static std::string joined(const DocumentField &list)
    {
        std::string text;
        for (const DocumentEntry &element : list.entries)
            text.append(element.text) += ',';
        return text;
    }

    Configuration &configuration_;
    Document document_;
    std::unordered_map<std::string_view, size_t> places_; /* of the tables that are objects */
    std::deque<SourceLocation> of_tables_; /* that are read: their rows refer to them */
    Draft draft_;
    std::set<std::string_view> long_names_;
};

} // namespace

Configuration read_configuration(const std::string &file, const std::string &text)
{
    std::vector<Finding> findings;
    Document document = read_document(file, text, is_known_table, findings);
    return read_configuration(file, std::move(document), std::move(findings));
}

Configuration read_configuration(const std::string &file, Document document,
                                 std::vector<Finding> findings)
{
    Configuration configuration;
    configuration.file = file;
    configuration.findings = std::move(findings);
    configuration.is_understood = document.is_object;
    Reader(configuration, std::move(document)).read();
    std::stable_sort(configuration.findings.begin(), configuration.findings.end(),
                     [](const Finding &a, const Finding &b) {
                         return std::tie(a.location.line, a.location.column) <
                                std::tie(b.location.line, b.location.column);
                     });
    return configuration;
}

bool Configuration::has_errors() const
{
    return std::any_of(findings.begin(), findings.end(), [](const Finding &finding) {
        return finding.severity == Finding::Severity::error;
    });
}

} // namespace kvnsim
