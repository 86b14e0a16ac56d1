/* docs/config.md says what the reader does: its tables are those of the table data, its findings
 * those that the reader gives. */
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "sim/config/findings.h"
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

std::string in_words(Use use)
{
    switch (use) {
    case Use::shown:
        return "only shown";
    case Use::checked:
        return "only checked";
    case Use::not_modelled:
        return "not modelled";
    case Use::applied:
        break;
    }
    return "applied";
}

std::string render(const TableSchema &table)
{
    std::string parts;
    for (const KeyPart part : table.key)
        parts += (parts.empty() ? "" : "; ") + expected(part);
    std::string text = fmt::format("### `{}`\n\nEach row is {}. Its key: `{}` ({}).\n\n",
                                   table.name, table.meaning, key_form(table), parts);
    if (table.use != Use::applied)
        text += fmt::format("The rows are {}.\n\n", in_words(table.use));
    std::vector<TableField> fields = table.fields;
    if (table.has_address_rows && table.use == Use::applied)
        fields.insert(fields.end(), address_fields().begin(), address_fields().end());
    if (fields.empty())
        return text + "No field is read.\n\n";
    text += "| Field | Expected | Default | Use | Meaning |\n|---|---|---|---|---|\n";
    for (const TableField &field : fields) {
        const bool elsewhere = field.type == FieldType::elsewhere;
        const bool of_address =
            &field - fields.data() >= static_cast<ptrdiff_t>(table.fields.size());
        text += fmt::format("| `{}`{} | {} | {} | {} | {}{} |\n", field.name,
                            of_address ? " of an address" : "", expected(field), fallback(field),
                            elsewhere ? "not read" : in_words(field.use),
                            elsewhere ? "comes from " : "", field.meaning);
    }
    return text + "\n";
}

TEST(Reference, HasEveryTableThatIsRead)
{
    std::string text = "\n";
    for (const TableSchema &table : tables())
        text += render(table);
    EXPECT_EQ(section("tables"), text);
}

std::string escaped(std::string text)
{
    for (size_t bar = 0; (bar = text.find('|', bar)) != text.npos; bar += 2)
        text.insert(bar, "\\");
    return text;
}

TEST(Reference, HasEveryFinding)
{
    std::string text =
        "\n| Code | | Left out | Message | Cause | Cure |\n|---|---|---|---|---|---|\n";
    for (const FindingType &type : finding_types())
        text += fmt::format("| {} | {} | {} | `{}` | {} | {} |\n", type.code(),
                            to_text(type.severity), type.leaves_out ? "yes" : "",
                            escaped(type.text), type.cause, escaped(type.cure));
    EXPECT_EQ(section("findings"), text + "\n");
}

TEST(Reference, HasCodesInTheirOrderAndFindsEach)
{
    std::string before;
    for (const FindingType &type : finding_types()) {
        EXPECT_LT(before, type.code());
        before = type.code();
        EXPECT_EQ(&type_of(type.id), &type);
        EXPECT_EQ(find_finding_type(type.code()), &type);
    }
    EXPECT_EQ(find_finding_type("KVN-C999"), nullptr);
}

TEST(Reference, HasNoFindingThatIsNeverTold)
{
    std::vector<std::string> texts = {"[]", "{ // ports\n}"};
    std::string many_ports = "{\"PORT\": {";
    for (int i = 0; i < 256; ++i)
        many_ports += (i ? "," : "") + fmt::format("\"Ethernet{}\": {{}}", i);
    texts.push_back(many_ports + "}}");
    for (const FindingCase &one : finding_cases())
        texts.push_back("{\n" + std::string(one.tables) + "\n}");

    std::vector<Configuration> configurations{
        read_configuration("redis://h:1/4", RunningRows{{}, 1}),
        read_configuration("redis://h:1/4", RunningRows{{{"PORT|\xff", {}}}, 0})};
    for (const std::string &text : texts)
        configurations.push_back(read(text));

    std::set<std::string> told;
    for (const Configuration &configuration : configurations) {
        for (const Finding &finding : configuration.findings)
            told.insert(finding.code);
    }
    for (const FindingType &type : finding_types())
        EXPECT_TRUE(told.count(type.code()) != 0) << type.code() << ": " << type.text;
}

TEST(Reference, HasTableNamesAndFieldsOnceEach)
{
    std::vector<std::string> table_names;
    for (const TableSchema &table : tables()) {
        table_names.push_back(table.name);
        EXPECT_FALSE(table.key.empty()) << table.name;
        EXPECT_EQ(table.read != nullptr, table.use != Use::not_modelled) << table.name;
        std::vector<std::string> fields;
        for (const TableField &field : table.fields) {
            fields.emplace_back(field.name);
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
