#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/config/configuration.h"

/* A configuration as written: tables of rows of fields, each with its position. */
namespace kvnsim {

/* Of a token's first character; columns count characters, not bytes. */
struct Position {
    uint32_t line = 1, column = 1;
};
/* Of what is not in a text. */
constexpr Position nowhere{0, 0};

/* The same row, another of its tokens. */
inline SourceLocation moved(SourceLocation location, Position to)
{
    location.line = to.line;
    location.column = to.column;
    return location;
}

enum class ValueKind : uint8_t { text, number, boolean, null, list, object };
const char *to_text(ValueKind kind); /* "a string", "a number", ... */

/* Texts that stay where they are, also when all of them are moved. */
class KeptTexts {
public:
    KeptTexts() = default;
    KeptTexts(KeptTexts &&) = default;
    KeptTexts &operator=(KeptTexts &&) = default;
    std::string &keep(std::string text) { return texts_.emplace_back(std::move(text)); }

private:
    std::deque<std::string> texts_;
};

/* A name with its value: a table, a row or a field; an element of a list has no name. Names and
 * texts are parts of what their document keeps, or of what it was made of. */
struct DocumentEntry {
    std::string_view name;
    Position at;
    ValueKind kind = ValueKind::null;
    std::string_view text; /* of a string, number or boolean */
    Position value_at;
    std::vector<DocumentEntry> entries; /* of an object or list */
};
using DocumentField = DocumentEntry;
using DocumentRow = DocumentEntry; /* its name is the key */
using DocumentTable = DocumentEntry;

/* Each name once, without blanks at its ends or beside '|'. */
struct Document {
    std::vector<DocumentTable> tables;
    bool is_object = false; /* false: a syntax error or another value; no tables */
    Position at;
    KeptTexts texts;
};

/* Whether duplicates in a table matter. */
using IsRead = bool (*)(std::string_view table);

/* Parse text, in the nested form {"PORT": {"Ethernet0": {...}}} or in the flat one of a database's
 * dump, {"PORT|Ethernet0": {...}}, which may be mixed. Formal errors go to findings: at most one
 * syntax error, and duplicates in tables that are read. Of duplicates the last one counts, as with
 * the loaders that switches use. */
Document read_document(const std::string &file, const std::string &text, IsRead is_read,
                       std::vector<Finding> &findings);

/* The same of entries that are parsed already; those of a database are in the flat form. What their
 * names and texts are parts of must outlive the document. */
Document make_document(const std::string &file, std::vector<DocumentEntry> entries, IsRead is_read,
                       std::vector<Finding> &findings);

/* Read a configuration from a document, as read_configuration() does from a file's text; findings:
 * those that were made with the document. */
Configuration read_configuration(const std::string &file, Document document,
                                 std::vector<Finding> findings);

} // namespace kvnsim
