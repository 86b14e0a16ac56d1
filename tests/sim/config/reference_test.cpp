/* docs/config.md says what the reader does: its tables are those of the table data, its findings
 * those that the reader gives. */
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "sim/config/running.h"
#include "sim/config/tables.h"
#include "tests/sim/config/finding_cases.h"
#include "tests/sim/config/read.h"

namespace kvnsim::test {
namespace {

/* The lines of docs/config.md between the two markers of a name. */
std::string section(const std::string &name)
{
    std::ifstream file(KVN_SOURCE_DIR "/docs/config.md");
    EXPECT_TRUE(file) << "docs/config.md";
    std::string text;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line == "<!-- end of " + name + " -->")
            return text;
        if (inside)
            text += line + "\n";
        inside = inside || line == "<!-- " + name + " -->";
    }
    ADD_FAILURE() << "docs/config.md has no section " << name;
    return text;
}

std::string fallback(const TableField &field)
{
    if (!field.fallback)
        return "";
    return *field.fallback ? fmt::format("`{}`", field.fallback) : "empty";
}

std::string render(const TableSchema &table)
{
    std::string parts;
    for (const KeyPart part : table.key)
        parts += (parts.empty() ? "" : "; ") + expected(part);
    std::string text = fmt::format("### `{}`\n\nEach row is {}. Its key: `{}` ({}).\n\n",
                                   table.name, table.meaning, key_form(table), parts);
    if (table.fields.empty())
        return text + "No field is read.\n\n";
    text += "| Field | Expected | Default | Meaning |\n|---|---|---|---|\n";
    for (const TableField &field : table.fields)
        text +=
            fmt::format("| `{}` | {} | {} | {}{} |\n", field.name, expected(field), fallback(field),
                        field.type == FieldType::elsewhere ? "comes from " : "", field.meaning);
    return text + "\n";
}

TEST(Reference, HasEveryTableThatIsRead)
{
    std::string text = "\n";
    for (const TableSchema &table : tables())
        text += render(table);
    EXPECT_EQ(section("tables"), text);
}

struct DocumentedFinding {
    std::string severity, message;
    bool seen = false;
};

/* Rows such as "| error | `mtu is <what it is>: expected <what>` |". */
std::vector<DocumentedFinding> documented_findings()
{
    std::vector<DocumentedFinding> rows;
    std::istringstream lines(section("findings"));
    for (std::string line; std::getline(lines, line);) {
        for (const char *severity : {"note", "warning", "error"}) {
            const std::string before = fmt::format("| {} | `", severity), after = "` |";
            if (line.compare(0, before.size(), before) != 0)
                continue;
            std::string message =
                line.substr(before.size(), line.size() - before.size() - after.size());
            if (const size_t escaped = message.find("\\|"); escaped != message.npos)
                message.erase(escaped, 1);
            rows.push_back({severity, message});
        }
    }
    return rows;
}

/* Whether a message is what the documented one says, with anything for each <placeholder>. */
bool says(const std::string &documented, const std::string &message)
{
    size_t from = 0, at = 0;
    for (size_t open; (open = documented.find('<', from)) != documented.npos;
         from = documented.find('>', open) + 1) {
        const std::string literal = documented.substr(from, open - from);
        const size_t found = message.find(literal, at);
        if (found == message.npos || (from == 0 && found != 0))
            return false;
        at = found + literal.size();
    }
    const std::string end = documented.substr(from);
    return message.size() >= at + end.size() &&
           message.compare(message.size() - end.size(), end.size(), end) == 0 &&
           (from > 0 || message == documented);
}

const char *name(Finding::Severity severity)
{
    return severity == Finding::Severity::note      ? "note"
           : severity == Finding::Severity::warning ? "warning"
                                                    : "error";
}

TEST(Reference, HasEveryFindingAndNoOther)
{
    std::vector<DocumentedFinding> documented = documented_findings();
    ASSERT_FALSE(documented.empty());

    std::vector<std::string> texts = {
        "",
        "[]",
        "{ // ports\n}",
        "{\"PORT\": {},}",
        "{\"PORT\" {}}",
        std::string("\0", 1),
        "{\"T\": " + std::string(100, '['),
        "{\"PORT\": {}, \"PORT\": {}}",
        "{\"PORT\": {\"Ethernet0\": {\"mtu\": \"68\", \"mtu\": \"69\"}, \"Ethernet0\": {}}}"};
    std::string many_ports = "{\"PORT\": {";
    for (int i = 0; i < 256; ++i)
        many_ports += (i ? "," : "") + fmt::format("\"Ethernet{}\": {{}}", i);
    texts.push_back(many_ports + "}}");
    for (const FindingCase &one : finding_cases())
        texts.push_back("{\n" + std::string(one.tables) + "\n}");

    std::vector<Configuration> configurations{
        read_configuration("redis://h:1/4", RunningRows{{}, 1}),
        read_configuration("redis://h:1/4", RunningRows{{{"PORT|\xff", {}}}, 0})};
    std::transform(texts.begin(), texts.end(), std::back_inserter(configurations), read);

    for (const Configuration &configuration : configurations) {
        for (const Finding &finding : configuration.findings) {
            bool is_documented = false;
            for (DocumentedFinding &row : documented) {
                if (row.severity == name(finding.severity) && says(row.message, finding.message)) {
                    row.seen = true;
                    is_documented = true;
                }
            }
            EXPECT_TRUE(is_documented) << name(finding.severity) << ": " << finding.message;
        }
    }
    for (const DocumentedFinding &row : documented)
        EXPECT_TRUE(row.seen) << "never told: " << row.severity << ": " << row.message;
}

TEST(Reference, HasTableNamesAndFieldsOnceEach)
{
    std::vector<std::string> table_names;
    for (const TableSchema &table : tables()) {
        table_names.push_back(table.name);
        EXPECT_FALSE(table.key.empty()) << table.name;
        EXPECT_TRUE(table.read) << table.name;
        std::vector<std::string> fields;
        for (const TableField &field : table.fields) {
            fields.push_back(field.name);
            EXPECT_EQ(field.name, spelling(field.name)) << "misspelt fields are compared with it";
            if (field.fallback) {
                EXPECT_TRUE(parse_field(field, field.fallback))
                    << table.name << " " << field.name << ": the default is not what is expected";
            }
        }
        std::sort(fields.begin(), fields.end());
        EXPECT_EQ(std::adjacent_find(fields.begin(), fields.end()), fields.end()) << table.name;
    }
    std::sort(table_names.begin(), table_names.end());
    EXPECT_EQ(std::adjacent_find(table_names.begin(), table_names.end()), table_names.end());
}

} // namespace
} // namespace kvnsim::test
