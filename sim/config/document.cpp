/* Reads the text of a configuration into tables, rows and fields, in one pass over the parser's
 * events. Each name and value keeps the position where it starts, and duplicate names are kept
 * until they are reported; a document has each name once. read_configuration() calls it. */
#include "sim/config/document.h"

#include <fmt/format.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <numeric>
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

    const auto text_of_code = syntax_errors.find(code);
    return fmt::format(text_of_code == syntax_errors.end() ? "expected a value, found {found}"
                                                           : text_of_code->second,
                       fmt::arg("found", found_at(text, offset)),
                       fmt::arg("byte", static_cast<unsigned char>(found)));
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

/* Calls repeats(later, first) for every entry whose name an earlier one has, then erases it. */
template <class Entry, class Repeats>
void erase_repeated(std::vector<Entry> &entries, const Repeats &repeats)
{
    std::vector<size_t> order(entries.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return entries[a].name < entries[b].name; });
    std::vector<size_t> first(entries.size()); /* of each entry's name */
    for (size_t i = 0; i < order.size(); ++i) {
        const bool is_new = i == 0 || entries[order[i]].name != entries[order[i - 1]].name;
        first[order[i]] = is_new ? order[i] : first[order[i - 1]];
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        if (first[i] != i)
            repeats(entries[i], entries[first[i]]);
    }
    const auto is_repeated = [&](const Entry &entry) {
        const auto i = static_cast<size_t>(&entry - entries.data());
        return first[i] != i;
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), is_repeated), entries.end());
}

} // namespace

const char *to_text(ValueKind kind)
{
    static constexpr const char *texts[] = {"a string", "a number", "a boolean",
                                            "null",     "a list",   "an object"};
    return texts[static_cast<size_t>(kind)];
}

void remove_repetitions(const std::string &file, std::vector<DocumentTable> &tables,
                        std::vector<Finding> &findings)
{
    const auto report = [&](const std::string &what, const std::string &table,
                            const std::string &key, Position later, Position first) {
        const SourceLocation at{file, 0, 0, table, key};
        findings.push_back({Finding::Severity::error, moved(at, later), what + " is there twice",
                            moved(at, first)});
    };
    erase_repeated(tables, [&](DocumentTable &later, DocumentTable &first) {
        report("the table", later.name, {}, later.at, first.at);
        first.rows.insert(first.rows.end(), std::make_move_iterator(later.rows.begin()),
                          std::make_move_iterator(later.rows.end()));
        if (later.kind == ValueKind::object)
            first.kind = later.kind;
    });
    for (DocumentTable &table : tables) {
        erase_repeated(table.rows, [&](const DocumentRow &later, const DocumentRow &first) {
            report("the row", table.name, later.name, later.at, first.at);
        });
        for (DocumentRow &row : table.rows)
            erase_repeated(row.fields, [&](const DocumentField &later, const DocumentField &first) {
                report("the field " + quoted(later.name), table.name, row.name, later.at, first.at);
            });
    }
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
    Document document{
        std::move(builder.tables), !result.IsError() && builder.root == ValueKind::object, {}};
    remove_repetitions(file, document.tables, findings);
    if (!document.is_object)
        document.tables.clear();
    return document;
}

} // namespace kvnsim
