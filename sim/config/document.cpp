/* Reads the text of a configuration into tables, rows and fields, in one pass over the parser's
 * events. Each name and value keeps the position where it starts, and duplicate names are kept
 * until they are reported; a document has each name once. read_configuration() calls it. */
#include "sim/config/document.h"

#include <fmt/format.h>
#include <rapidjson/stream.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory_resource>
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

/* A file's text. */
struct Source {
    explicit Source(std::string_view of)
        : text(of), start(starts_with(of, byte_order_mark) ? byte_order_mark.size() : 0),
          is_ascii(kvnsim::is_ascii(text.substr(start)))
    {}

    const std::string_view text;
    const size_t start; /* behind its byte order mark */
    const bool is_ascii;
};

/* Moves forward through the text and counts lines and columns. */
class PositionFinder {
public:
    explicit PositionFinder(const Source &source)
        : source_(source), offset_(source.start), line_end_(source.text.find('\n', offset_))
    {}

    Position move_to(size_t offset)
    {
        while (line_end_ < offset) {
            ++at_.line;
            at_.column = 1;
            offset_ = line_end_ + 1;
            line_end_ = source_.text.find('\n', offset_);
        }
        at_.column += static_cast<uint32_t>(characters_before(offset));
        offset_ = offset;
        return at_;
    }

private:
    size_t characters_before(size_t offset) const
    {
        if (source_.is_ascii)
            return offset - offset_;
        const auto begins = [](char c) { return (c & 0xc0) != 0x80; };
        const char *const text = source_.text.data();
        return static_cast<size_t>(std::count_if(text + offset_, text + offset, begins));
    }

    const Source &source_;
    size_t offset_;
    size_t line_end_; /* the first at offset_ or behind; npos for none */
    Position at_;
};

/* Takes the parser's events. Tables, rows, fields and the elements of lists are kept; what is
 * deeper is passed over. */
class Builder {
public:
    using Ch = char;

    /* Of a text that the stream decodes in place. */
    Builder(const Source &source, rapidjson::InsituStringStream &stream)
        : stream_(stream), position_(source)
    {}

    bool too_deep = false;

    /* Open objects and lists whose entries are kept: 1 among tables, 2 rows, 3 fields. */
    size_t level() const { return open_.size(); }

    /* The text's value; what is still open has what was read of it. */
    DocumentEntry take_root()
    {
        while (!open_.empty())
            close();
        return read_.empty() ? DocumentEntry() : std::move(read_.front());
    }

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
            DocumentEntry &entry = read_.emplace_back();
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
            open_.push_back(read_.size());
        too_deep = open_.size() + passed_over_ > max_depth;
        return !too_deep;
    }

    bool closes()
    {
        if (passed_over_ > 0)
            --passed_over_;
        else
            close();
        return true;
    }

    /* The entries of what was opened last move into it. */
    void close()
    {
        const auto first = read_.begin() + static_cast<std::ptrdiff_t>(open_.back());
        open_.pop_back();
        if (first == read_.end())
            return;
        std::prev(first)->entries.assign(std::make_move_iterator(first),
                                         std::make_move_iterator(read_.end()));
        read_.erase(first, read_.end());
    }

    bool value(ValueKind kind, size_t offset, std::string_view text)
    {
        if (passed_over_ > 0)
            return true;
        if (open_.empty() || read_[open_.back() - 1].kind == ValueKind::list)
            read_.emplace_back();
        DocumentEntry &entry = read_.back();
        entry.kind = kind;
        entry.text = text;
        entry.value_at = position_.move_to(offset);
        return true;
    }

    rapidjson::InsituStringStream &stream_;
    PositionFinder position_;
    std::vector<DocumentEntry> read_; /* the root, and entries of what is open */
    std::vector<size_t> open_;        /* where the entries of each begin, behind itself */
    size_t passed_over_ = 0;          /* open objects and lists that are passed over */
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

/* root is what was read of the text, level how many objects and lists are open. */
Finding syntax_error(const std::string &file, const Source &source, size_t offset,
                     std::string message, const DocumentEntry &root, size_t level)
{
    const Position at = PositionFinder(source).move_to(offset);
    std::string_view table, key;
    if (level >= 2) {
        const DocumentEntry &entry = root.entries.back();
        if (const auto flat = split_flat_name(entry.name)) {
            std::tie(table, key) = *flat;
        } else {
            table = entry.name;
            if (level >= 3 && !entry.entries.empty())
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
    if (entries.size() < 2 || (entries.size() <= few && all_differ(entries)))
        return;
    std::pmr::monotonic_buffer_resource memory;
    std::pmr::unordered_map<std::string_view, size_t> last(entries.size(), &memory);
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
        return has_blanks_beside_bars(name) ? texts.keep(without_blanks_beside_bars(name)) : name;
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
            if (!row.entries.empty())
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
    const Source source(text);
    KeptTexts texts;
    /* The parser takes characters whole: where the text ends within one, from behind its end. */
    constexpr size_t longest_character = 4;
    std::string &decoded = texts.keep({});
    decoded.reserve(text.size() + longest_character);
    decoded.append(text).append(longest_character, '\0');
    rapidjson::InsituStringStream stream(decoded.data());
    while (stream.Tell() < source.start)
        stream.Take();

    /* To the parser, a NUL ends the text. */
    if (const size_t nul = text.find('\0'); nul != text.npos) {
        findings.push_back(
            syntax_error(file, source, nul, "there is a NUL byte: expected UTF-8 text", {}, 0));
        return {};
    }

    /* Without recursion: the file may nest to any depth. */
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseInsituFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    Builder builder(source, stream);
    rapid::Reader reader;
    const rapidjson::ParseResult result =
        source.is_ascii
            ? reader.Parse<flags>(stream, builder)
            : reader.Parse<flags | rapidjson::kParseValidateEncodingFlag>(stream, builder);
    const size_t level = builder.level();
    DocumentEntry root = builder.take_root();
    Repetitions repetitions(file, is_read, findings);
    if (result.IsError()) {
        std::string message = builder.too_deep
                                  ? fmt::format("nested deeper than {} levels", max_depth)
                                  : explain(result.Code(), text, result.Offset());
        findings.push_back(
            syntax_error(file, source, result.Offset(), std::move(message), root, level));
        fold(std::move(root.entries), texts, repetitions);
        return {};
    }
    if (root.kind != ValueKind::object) {
        findings.push_back(make_finding(FindingId::no_object_of_tables,
                                        location_of(file, root.value_at), {to_text(root.kind)}));
        return {};
    }
    std::vector<DocumentTable> tables = fold(std::move(root.entries), texts, repetitions);
    return {std::move(tables), true, {}, std::move(texts)};
}

} // namespace kvnsim
