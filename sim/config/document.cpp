/* Reads the text of a configuration into tables, rows and fields, in one pass over the parser's
 * events. Each name and value keeps the position where it starts, and duplicate names are kept
 * until they are reported; a document has each name once. read_configuration() calls it. */
#include "sim/config/document.h"

#include <fmt/format.h>
#include <rapidjson/stream.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "sim/config/findings.h"
#include "sim/config/names.h"
#include "sim/types/rapid_document.h"
#include "sim/types/text.h"

namespace kvnsim {

namespace {

constexpr uint32_t max_depth = 64;
constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

/* Moves forward through the text and counts lines and columns. */
class PositionFinder {
public:
    PositionFinder(const std::string &text, size_t offset) : text_(text), offset_(offset) {}

    Position move_to(size_t offset)
    {
        for (; offset_ < offset; ++offset_) {
            const auto byte = static_cast<unsigned char>(text_[offset_]);
            if (byte == '\n') {
                ++at_.line;
                at_.column = 1;
            } else if ((byte & 0xc0) != 0x80 /* not within a character */) {
                ++at_.column;
            }
        }
        return at_;
    }

private:
    const std::string &text_;
    size_t offset_;
    Position at_;
};

/* Takes the parser's events. Tables, rows, fields and the elements of lists are kept; what is
 * deeper is passed over. */
class Builder {
public:
    using Ch = char;

    /* Of a text from its start on, which the stream decodes in place. */
    Builder(const std::string &text, rapidjson::InsituStringStream &stream, size_t start)
        : stream_(stream), position_(text, start)
    {}

    DocumentEntry root;
    bool too_deep = false;

    /* Open objects and lists whose entries are kept: 1 among tables, 2 rows, 3 fields. */
    size_t level() const { return open_.size(); }

    // NOLINTBEGIN(readability-identifier-naming): the parser names its events.
    bool Null() { return word(ValueKind::null, "null", {}); }
    bool Bool(bool b)
    {
        const std::string_view text = b ? "true" : "false";
        return word(ValueKind::boolean, text, text);
    }
    bool RawNumber(const char *s, rapidjson::SizeType length, bool)
    {
        return value(ValueKind::number, offset_of(s), {s, length});
    }
    bool String(const char *s, rapidjson::SizeType length, bool)
    {
        return value(ValueKind::text, offset_of(s) - 1, {s, length});
    }
    /* Numbers come as text. */
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(int64_t) { return false; }
    bool Uint64(uint64_t) { return false; }
    bool Double(double) { return false; }

    bool Key(const char *s, rapidjson::SizeType length, bool)
    {
        if (passed_over_ == 0) {
            DocumentEntry &entry = open_.back()->entries.emplace_back();
            entry.name = {s, length};
            entry.at = position_.move_to(offset_of(s) - 1);
        }
        return true;
    }

    bool StartObject() { return opens(ValueKind::object); }
    bool StartArray() { return opens(ValueKind::list); }
    bool EndObject(rapidjson::SizeType) { return closes(); }
    bool EndArray(rapidjson::SizeType) { return closes(); }
    // NOLINTEND(readability-identifier-naming)

private:
    static constexpr size_t most_kept = 4; /* the root, tables, rows, fields */

    /* Of a string the place after its quotes. */
    size_t offset_of(const char *s) const { return static_cast<size_t>(s - stream_.head_); }

    /* The parser reports a word after reading it, a bracket before. */
    bool word(ValueKind kind, std::string_view word, std::string_view text)
    {
        return value(kind, stream_.Tell() - word.size(), text);
    }

    bool opens(ValueKind kind)
    {
        value(kind, stream_.Tell(), {});
        if (passed_over_ > 0 || open_.size() == most_kept)
            ++passed_over_;
        else
            open_.push_back(last_);
        too_deep = open_.size() + passed_over_ > max_depth;
        return !too_deep;
    }

    bool closes()
    {
        if (passed_over_ > 0)
            --passed_over_;
        else
            open_.pop_back();
        return true;
    }

    bool value(ValueKind kind, size_t offset, std::string_view text)
    {
        if (passed_over_ > 0)
            return true;
        if (open_.empty())
            last_ = &root;
        else if (open_.back()->kind == ValueKind::list)
            last_ = &open_.back()->entries.emplace_back();
        else
            last_ = &open_.back()->entries.back();
        last_->kind = kind;
        last_->text = text;
        last_->value_at = position_.move_to(offset);
        return true;
    }

    rapidjson::InsituStringStream &stream_;
    PositionFinder position_;
    std::vector<DocumentEntry *> open_; /* each is the last entry of the one before */
    DocumentEntry *last_ = nullptr;     /* whose value was read last */
    size_t passed_over_ = 0;            /* open objects and lists that are passed over */
};

SourceLocation location_of(const std::string &file, Position at)
{
    return {file, at.line, at.column, {}, {}};
}

std::string found_at(const std::string &text, size_t offset)
{
    if (offset >= text.size())
        return "the end of the file";
    size_t end = offset + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80)
        ++end;
    return in_quotes(std::string_view(text).substr(offset, end - offset));
}

/* By the parser's code; {found} is what stands at the place, {byte} its first byte. */
const std::map<rapidjson::ParseErrorCode, const char *> syntax_errors = {
    {rapidjson::kParseErrorDocumentEmpty,
     "the file is empty: expected an object of tables, {{}} for none"},
    {rapidjson::kParseErrorDocumentRootNotSingular, "expected the end of the file, found {found}"},
    {rapidjson::kParseErrorObjectMissName, "expected a name in double quotes, found {found}"},
    {rapidjson::kParseErrorObjectMissColon, "expected ':' after the name, found {found}"},
    {rapidjson::kParseErrorObjectMissCommaOrCurlyBracket, "expected ',' or '}}', found {found}"},
    {rapidjson::kParseErrorArrayMissCommaOrSquareBracket, "expected ',' or ']', found {found}"},
    {rapidjson::kParseErrorStringMissQuotationMark,
     "expected '\"' at the end of the string, found {found}"},
    {rapidjson::kParseErrorStringEscapeInvalid,
     "expected one of \" \\ / b f n r t u after '\\' in a string"},
    {rapidjson::kParseErrorStringUnicodeEscapeInvalidHex,
     "expected four hexadecimal digits after \\u in a string"},
    {rapidjson::kParseErrorStringUnicodeSurrogateInvalid,
     "expected a pair of surrogates after \\u in a string"},
    {rapidjson::kParseErrorStringInvalidEncoding,
     "expected UTF-8 in a string, found the byte 0x{byte:02x}"},
    {rapidjson::kParseErrorNumberMissFraction, "expected a digit, found {found}"},
    {rapidjson::kParseErrorNumberMissExponent, "expected a digit, found {found}"},
    {rapidjson::kParseErrorNumberTooBig, "expected a smaller number"},
};

/* What the parser expected at offset, and what it found there. */
std::string explain(rapidjson::ParseErrorCode code, const std::string &text, size_t offset)
{
    const char found = offset < text.size() ? text[offset] : '\0';
    size_t before = offset;
    while (before > 0 && is_space(text[before - 1]))
        --before;
    if ((found == '}' || found == ']') && before > 0 && text[before - 1] == ',')
        return fmt::format("there is a comma before '{}': expected none after the last entry",
                           found);
    if (found == '/' || found == '#')
        return "comments are not allowed in JSON";
    const bool in_string = code == rapidjson::kParseErrorStringInvalidEncoding ||
                           code == rapidjson::kParseErrorStringEscapeInvalid;
    if (in_string && static_cast<unsigned char>(found) < 0x20)
        return "expected '\"' at the end of the string, found the control character " +
               found_at(text, offset);

    const auto text_of_code = syntax_errors.find(code);
    return fmt::format(text_of_code == syntax_errors.end() ? "expected a value, found {found}"
                                                           : text_of_code->second,
                       fmt::arg("found", found_at(text, offset)),
                       fmt::arg("byte", static_cast<unsigned char>(found)));
}

/* "INTERFACE|Ethernet0|10.0.0.0/31" as table and key; empty for a table's name. */
std::optional<std::pair<std::string_view, std::string_view>> split_flat_name(std::string_view name)
{
    const size_t bar = name.find('|');
    if (bar == name.npos)
        return {};
    return std::make_pair(trimmed(name.substr(0, bar)), name.substr(bar + 1));
}

Finding syntax_error(const std::string &file, const std::string &text, size_t start, size_t offset,
                     std::string message, const Builder &builder)
{
    const Position at = PositionFinder(text, start).move_to(offset);
    std::string_view table, key;
    if (builder.level() >= 2) {
        const DocumentEntry &entry = builder.root.entries.back();
        if (const auto flat = split_flat_name(entry.name)) {
            std::tie(table, key) = *flat;
        } else {
            table = entry.name;
            if (builder.level() >= 3 && !entry.entries.empty())
                key = entry.entries.back().name;
        }
    }
    return make_finding(FindingId::syntax,
                        {file, at.line, at.column, std::string(table), std::string(key)},
                        {std::move(message)});
}

bool all_differ(const std::vector<DocumentEntry> &entries)
{
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        if (std::any_of(entries.begin(), entry,
                        [&](const DocumentEntry &earlier) { return earlier.name == entry->name; }))
            return false;
    return true;
}

/* Calls repeats(last, earlier) for every entry that a later one of its name replaces, then erases
 * it. */
template <class Repeats>
void erase_repeated(std::vector<DocumentEntry> &entries, const Repeats &repeats)
{
    constexpr size_t few = 8; /* compared with one another: faster than looking them up */
    if (entries.size() <= few && all_differ(entries))
        return;
    std::unordered_map<std::string_view, size_t> last(entries.size());
    for (size_t i = 0; i < entries.size(); ++i)
        last[entries[i].name] = i;
    if (last.size() == entries.size())
        return;
    std::vector<bool> counts(entries.size(), true);
    for (size_t i = 0; i < entries.size(); ++i) {
        const size_t that_counts = last.at(entries[i].name);
        counts[i] = that_counts == i;
        if (!counts[i])
            repeats(entries[that_counts], entries[i]);
    }
    std::vector<DocumentEntry> kept;
    for (size_t i = 0; i < entries.size(); ++i)
        if (counts[i])
            kept.push_back(std::move(entries[i]));
    entries = std::move(kept);
}

/* {"NULL": "NULL"} stands for no field, and "members@": "a,b" for a list. */
void read_flat_fields(DocumentRow &row)
{
    const auto is_placeholder = [](const DocumentField &field) {
        return field.name == "NULL" && field.text == field.name;
    };
    std::vector<DocumentField> &fields = row.entries;
    fields.erase(std::remove_if(fields.begin(), fields.end(), is_placeholder), fields.end());
    for (DocumentField &field : fields) {
        field.name = trimmed(field.name);
        if (field.name.size() < 2 || field.name.back() != '@' || field.kind != ValueKind::text)
            continue;
        field.name.remove_suffix(1);
        field.kind = ValueKind::list;
        for (const std::string_view element : split(std::exchange(field.text, {}), ','))
            field.entries.push_back({{}, {}, ValueKind::text, element, field.value_at, {}});
    }
}

/* Leaves one of each name and reports the others, in tables that are read. */
class Repetitions {
public:
    Repetitions(const std::string &file, IsRead is_read, std::vector<Finding> &findings)
        : file_(file), is_read_(is_read), findings_(findings)
    {}

    void remove_from(std::vector<DocumentTable> &tables)
    {
        erase_repeated(tables, [&](const DocumentTable &last, const DocumentTable &earlier) {
            report(FindingId::duplicate_table, {}, last.name, {}, last.at, earlier.at);
        });
    }

    void remove_from(DocumentTable &table)
    {
        if (table.kind != ValueKind::object)
            return;
        erase_repeated(table.entries, [&](const DocumentRow &last, const DocumentRow &earlier) {
            report(FindingId::duplicate_row, {}, table.name, last.name, last.at, earlier.at);
        });
        for (DocumentRow &row : table.entries) {
            if (row.kind != ValueKind::object)
                continue;
            erase_repeated(row.entries,
                           [&](const DocumentField &last, const DocumentField &earlier) {
                               report(FindingId::duplicate_field, {in_quotes(last.name)},
                                      table.name, row.name, last.at, earlier.at);
                           });
        }
    }

private:
    void report(FindingId id, std::initializer_list<std::string> values, std::string_view table,
                std::string_view key, Position last, Position earlier)
    {
        if (!is_read_(table))
            return;
        const SourceLocation at{file_, 0, 0, std::string(table), std::string(key)};
        findings_.push_back(make_finding(id, moved(at, last), values, moved(at, earlier)));
    }

    const std::string &file_;
    const IsRead is_read_;
    std::vector<Finding> &findings_;
};

bool stands_before(const DocumentEntry &a, const DocumentEntry &b)
{
    return std::tie(a.at.line, a.at.column) < std::tie(b.at.line, b.at.column);
}

/* The tables of both forms, with names as they are looked up. */
std::vector<DocumentTable> fold(std::vector<DocumentEntry> entries, KeptTexts &texts,
                                Repetitions &repetitions)
{
    const auto key_of = [&](std::string_view name) -> std::string_view {
        return has_blanks(name) ? texts.keep(without_blanks_beside_bars(name)) : name;
    };
    std::vector<DocumentTable> tables, flat_rows;
    for (DocumentEntry &entry : entries) {
        if (entry.name.find('|') != entry.name.npos) {
            flat_rows.push_back(std::move(entry));
            continue;
        }
        entry.name = trimmed(entry.name);
        for (DocumentRow &row : entry.entries)
            row.name = key_of(row.name);
        tables.push_back(std::move(entry));
    }
    repetitions.remove_from(tables);
    std::unordered_map<std::string_view, size_t> place;
    for (size_t i = 0; i < tables.size(); ++i)
        place[tables[i].name] = i;
    for (DocumentRow &row : flat_rows) {
        const auto [table, key] = *split_flat_name(row.name);
        const auto [at, is_new] = place.try_emplace(table, tables.size());
        if (is_new)
            tables.push_back({table, row.at, ValueKind::object, {}, row.value_at, {}});
        row.name = key_of(key);
        tables[at->second].entries.push_back(std::move(row));
    }
    for (DocumentTable &table : tables) {
        for (DocumentRow &row : table.entries)
            read_flat_fields(row);
        if (!flat_rows.empty())
            std::stable_sort(table.entries.begin(), table.entries.end(), stands_before);
        repetitions.remove_from(table);
    }
    return tables;
}

} // namespace

const char *to_text(ValueKind kind)
{
    static constexpr const char *texts[] = {"a string", "a number", "a boolean",
                                            "null",     "a list",   "an object"};
    return texts[static_cast<size_t>(kind)];
}

Document make_document(const std::string &file, std::vector<DocumentEntry> entries, IsRead is_read,
                       std::vector<Finding> &findings)
{
    Repetitions repetitions(file, is_read, findings);
    KeptTexts texts;
    std::vector<DocumentTable> tables = fold(std::move(entries), texts, repetitions);
    return {std::move(tables), true, nowhere, std::move(texts)};
}

Document read_document(const std::string &file, const std::string &text, IsRead is_read,
                       std::vector<Finding> &findings)
{
    const size_t start = starts_with(text, byte_order_mark) ? byte_order_mark.size() : 0;
    KeptTexts texts;
    /* The parser takes characters whole: where the text ends within one, from behind its end. */
    constexpr size_t longest_character = 4;
    rapidjson::InsituStringStream stream(
        texts.keep(text + std::string(longest_character, '\0')).data());
    while (stream.Tell() < start)
        stream.Take();
    Builder builder(text, stream, start);

    /* To the parser, a NUL ends the text. */
    if (const size_t nul = text.find('\0'); nul != text.npos) {
        findings.push_back(syntax_error(file, text, start, nul,
                                        "there is a NUL byte: expected UTF-8 text", builder));
        return {};
    }

    /* Without recursion: the file may nest to any depth. */
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseInsituFlag |
                               rapidjson::kParseValidateEncodingFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    rapid::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    Repetitions repetitions(file, is_read, findings);
    if (result.IsError()) {
        std::string message = builder.too_deep
                                  ? fmt::format("nested deeper than {} levels", max_depth)
                                  : explain(result.Code(), text, result.Offset());
        findings.push_back(
            syntax_error(file, text, start, result.Offset(), std::move(message), builder));
        fold(std::move(builder.root.entries), texts, repetitions);
        return {};
    }
    if (builder.root.kind != ValueKind::object) {
        findings.push_back(make_finding(FindingId::no_object_of_tables,
                                        location_of(file, builder.root.value_at),
                                        {to_text(builder.root.kind)}));
        return {};
    }
    std::vector<DocumentTable> tables = fold(std::move(builder.root.entries), texts, repetitions);
    return {std::move(tables), true, {}, std::move(texts)};
}

} // namespace kvnsim
