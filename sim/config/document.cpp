/* Reads the text of a configuration into tables, rows and fields, in one pass over the parser's
 * events. Each name and value keeps the position where it starts, and duplicate names are kept
 * until they are reported; a document has each name once. read_configuration() calls it. */
#include "sim/config/document.h"

#include <fmt/format.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "sim/config/names.h"

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

/* The parser copies a StringStream while it reads a token, which hides its position; it does not
 * copy other stream types. */
struct TextStream : rapidjson::StringStream {
    explicit TextStream(const char *text) : rapidjson::StringStream(text) {}
};

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/* Takes the parser's events. The first three levels of objects are tables, rows and fields; what
 * is deeper, or of another kind, is passed over. */
class Builder {
public:
    using Ch = char;

    Builder(const std::string &text, const TextStream &stream, size_t start)
        : text_(text), stream_(stream), token_end_(start), position_(text, start)
    {}

    std::vector<DocumentTable> tables;
    ValueKind root = ValueKind::null;
    Position root_at;
    bool too_deep = false;

    uint32_t level() const { return level_; }

    // NOLINTBEGIN(readability-identifier-naming): the parser names its events.
    bool Null() { return value(ValueKind::null, {}); }
    bool Bool(bool b) { return value(ValueKind::boolean, b ? "true" : "false"); }
    bool RawNumber(const char *s, rapidjson::SizeType length, bool)
    {
        return value(ValueKind::number, {s, length});
    }
    bool String(const char *s, rapidjson::SizeType length, bool)
    {
        return value(ValueKind::text, {s, length});
    }
    /* Numbers come as text. */
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(int64_t) { return false; }
    bool Uint64(uint64_t) { return false; }
    bool Double(double) { return false; }

    bool Key(const char *s, rapidjson::SizeType length, bool)
    {
        const Position at = token_start(false);
        if (passed_over_ > 0)
            return true;
        const std::string name{s, length};
        if (level_ == 1)
            tables.push_back({name, at, {}, {}});
        else if (level_ == 2)
            tables.back().rows.push_back({name, at, {}, {}});
        else
            tables.back().rows.back().fields.push_back({name, at, {}, {}, {}});
        return true;
    }

    bool StartObject()
    {
        const bool structural = passed_over_ == 0 && level_ < 3;
        if (!value(ValueKind::object, {}))
            return false;
        return opens(structural ? level_ : passed_over_);
    }
    bool StartArray() { return value(ValueKind::list, {}) && opens(passed_over_); }
    bool EndObject(rapidjson::SizeType)
    {
        token_start(true);
        --(passed_over_ > 0 ? passed_over_ : level_);
        return true;
    }
    bool EndArray(rapidjson::SizeType)
    {
        token_start(true);
        --passed_over_;
        return true;
    }
    // NOLINTEND(readability-identifier-naming)

private:
    bool opens(uint32_t &containers)
    {
        ++containers;
        too_deep = level_ + passed_over_ > max_depth;
        return !too_deep;
    }

    /* The parser reports a string, number or word after reading it, a bracket before. In either
     * case the token begins after the previous one. */
    Position token_start(bool is_bracket)
    {
        while (is_blank(text_[token_end_]) || text_[token_end_] == ',' || text_[token_end_] == ':')
            ++token_end_;
        const Position at = position_.move_to(token_end_);
        token_end_ = is_bracket ? token_end_ + 1 : stream_.Tell();
        return at;
    }

    bool value(ValueKind kind, std::string_view text)
    {
        const Position at = token_start(kind == ValueKind::object || kind == ValueKind::list);
        if (passed_over_ > 0)
            return true;
        if (level_ == 0) {
            root = kind;
            root_at = at;
        } else if (level_ == 1) {
            tables.back().kind = kind;
        } else if (level_ == 2) {
            tables.back().rows.back().kind = kind;
        } else {
            DocumentField &field = tables.back().rows.back().fields.back();
            field.kind = kind;
            field.text = text;
            field.value_at = at;
        }
        return true;
    }

    const std::string &text_;
    const TextStream &stream_;
    size_t token_end_;
    PositionFinder position_;
    uint32_t level_ = 0;       /* open objects that hold tables, rows, fields */
    uint32_t passed_over_ = 0; /* open objects and lists that are passed over */
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
    return quoted(std::string_view(text).substr(offset, end - offset));
}

/* What the parser expected at offset, and what it found there. */
std::string explain(rapidjson::ParseErrorCode code, const std::string &text, size_t offset)
{
    const char found = offset < text.size() ? text[offset] : '\0';
    size_t before = offset;
    while (before > 0 && is_blank(text[before - 1]))
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

    switch (code) {
    case rapidjson::kParseErrorDocumentEmpty:
        return "the file is empty: expected an object of tables, {} for none";
    case rapidjson::kParseErrorDocumentRootNotSingular:
        return "expected the end of the file, found " + found_at(text, offset);
    case rapidjson::kParseErrorObjectMissName:
        return "expected a name in double quotes, found " + found_at(text, offset);
    case rapidjson::kParseErrorObjectMissColon:
        return "expected ':' after the name, found " + found_at(text, offset);
    case rapidjson::kParseErrorObjectMissCommaOrCurlyBracket:
        return "expected ',' or '}', found " + found_at(text, offset);
    case rapidjson::kParseErrorArrayMissCommaOrSquareBracket:
        return "expected ',' or ']', found " + found_at(text, offset);
    case rapidjson::kParseErrorStringMissQuotationMark:
        return "expected '\"' at the end of the string, found " + found_at(text, offset);
    case rapidjson::kParseErrorStringEscapeInvalid:
        return "expected one of \" \\ / b f n r t u after '\\' in a string";
    case rapidjson::kParseErrorStringUnicodeEscapeInvalidHex:
        return "expected four hexadecimal digits after \\u in a string";
    case rapidjson::kParseErrorStringUnicodeSurrogateInvalid:
        return "expected a pair of surrogates after \\u in a string";
    case rapidjson::kParseErrorStringInvalidEncoding:
        return fmt::format("expected UTF-8 in a string, found the byte 0x{:02x}",
                           static_cast<unsigned char>(found));
    case rapidjson::kParseErrorNumberMissFraction:
    case rapidjson::kParseErrorNumberMissExponent:
        return "expected a digit, found " + found_at(text, offset);
    case rapidjson::kParseErrorNumberTooBig:
        return "expected a smaller number";
    default:
        return "expected a value, found " + found_at(text, offset);
    }
}

Finding syntax_error(const std::string &file, const std::string &text, size_t start, size_t offset,
                     std::string message, const Builder &builder)
{
    Finding finding;
    finding.location = location_of(file, PositionFinder(text, start).move_to(offset));
    if (builder.level() >= 2) {
        finding.location.table = builder.tables.back().name;
        if (builder.level() >= 3)
            finding.location.key = builder.tables.back().rows.back().name;
    }
    finding.message = std::move(message);
    return finding;
}

/* Each duplicate entry with the first of its name: (later, first). */
template <class Entry>
std::vector<std::pair<size_t, size_t>> find_repeated(const std::vector<Entry> &entries)
{
    std::vector<size_t> order(entries.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return entries[a].name < entries[b].name; });
    std::vector<std::pair<size_t, size_t>> repeated;
    for (size_t i = 1, first = 0; i < order.size(); ++i) {
        if (entries[order[i]].name == entries[order[first]].name)
            repeated.emplace_back(order[i], order[first]);
        else
            first = i;
    }
    std::sort(repeated.begin(), repeated.end());
    return repeated;
}

template <class Entry>
void erase_repeated(std::vector<Entry> &entries,
                    const std::vector<std::pair<size_t, size_t>> &repeated)
{
    if (repeated.empty())
        return;
    std::vector<Entry> kept;
    auto next = repeated.begin();
    for (size_t i = 0; i < entries.size(); ++i) {
        if (next != repeated.end() && next->first == i)
            ++next;
        else
            kept.push_back(std::move(entries[i]));
    }
    entries = std::move(kept);
}

/* Reports every duplicate name and leaves one of each. */
class Repetitions {
public:
    Repetitions(const std::string &file, std::vector<Finding> &findings)
        : file_(file), findings_(findings)
    {}

    void remove(std::vector<DocumentTable> &tables)
    {
        const auto repeated = find_repeated(tables);
        for (const auto &[later, first] : repeated) {
            DocumentTable &from = tables[later], &into = tables[first];
            report("the table is there twice", location(from.at, from.name),
                   location(into.at, into.name));
            into.rows.insert(into.rows.end(), std::make_move_iterator(from.rows.begin()),
                             std::make_move_iterator(from.rows.end()));
            if (from.kind == ValueKind::object)
                into.kind = from.kind;
        }
        erase_repeated(tables, repeated);
        for (DocumentTable &table : tables)
            remove(table);
    }

private:
    void remove(DocumentTable &table)
    {
        const auto repeated = find_repeated(table.rows);
        for (const auto &[later, first] : repeated) {
            const std::string &key = table.rows[later].name;
            report("the row is there twice", location(table.rows[later].at, table.name, key),
                   location(table.rows[first].at, table.name, key));
        }
        erase_repeated(table.rows, repeated);
        for (DocumentRow &row : table.rows) {
            const auto fields = find_repeated(row.fields);
            for (const auto &[later, first] : fields)
                report("the field " + quoted(row.fields[later].name) + " is there twice",
                       location(row.fields[later].at, table.name, row.name),
                       location(row.fields[first].at, table.name, row.name));
            erase_repeated(row.fields, fields);
        }
    }

    SourceLocation location(Position at, const std::string &table,
                            const std::string &key = {}) const
    {
        return {file_, at.line, at.column, table, key};
    }

    void report(std::string message, SourceLocation where, SourceLocation first)
    {
        findings_.push_back(
            {Finding::Severity::error, std::move(where), std::move(message), std::move(first)});
    }

    const std::string &file_;
    std::vector<Finding> &findings_;
};

} // namespace

const char *to_text(ValueKind kind)
{
    switch (kind) {
    case ValueKind::text:
        return "a string";
    case ValueKind::number:
        return "a number";
    case ValueKind::boolean:
        return "a boolean";
    case ValueKind::null:
        return "null";
    case ValueKind::list:
        return "a list";
    case ValueKind::object:
        break;
    }
    return "an object";
}

Document read_document(const std::string &file, const std::string &text,
                       std::vector<Finding> &findings)
{
    const size_t start =
        text.compare(0, byte_order_mark.size(), byte_order_mark) == 0 ? byte_order_mark.size() : 0;
    TextStream stream(text.c_str());
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
    constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                               rapidjson::kParseValidateEncodingFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    if (result.IsError()) {
        std::string message = builder.too_deep
                                  ? fmt::format("nested deeper than {} levels", max_depth)
                                  : explain(result.Code(), text, result.Offset());
        findings.push_back(
            syntax_error(file, text, start, result.Offset(), std::move(message), builder));
    } else if (builder.root != ValueKind::object) {
        findings.push_back(
            {Finding::Severity::error,
             location_of(file, builder.root_at),
             fmt::format("found {}: expected an object of tables", to_text(builder.root)),
             {}});
    }
    Document document{std::move(builder.tables),
                      !result.IsError() && builder.root == ValueKind::object};
    Repetitions(file, findings).remove(document.tables);
    if (!document.is_object)
        document.tables.clear();
    return document;
}

} // namespace kvnsim
