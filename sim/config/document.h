#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/config/desired.h"

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

/* A name with its value: a table, a row or a field; an element of a list has no name. */
struct DocumentEntry {
    std::string name;
    Position at;
    ValueKind kind = ValueKind::null;
    std::string text; /* of a string, number or boolean */
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
};

/* Whether duplicates in a table matter. */
using IsRead = bool (*)(const std::string &table);

/* Parse text, in the nested form {"PORT": {"Ethernet0": {...}}} or in the flat one of a database's
 * dump, {"PORT|Ethernet0": {...}}, which may be mixed. Formal errors go to findings: at most one
 * syntax error, and duplicates in tables that are read. Of duplicates the last one counts, as with
 * the loaders that switches use. */
Document read_document(const std::string &file, const std::string &text, IsRead is_read,
                       std::vector<Finding> &findings);

/* The same of entries that are parsed already; those of a database are in the flat form. */
Document make_document(const std::string &file, std::vector<DocumentEntry> entries, IsRead is_read,
                       std::vector<Finding> &findings);

/* Read a configuration from a document, as read_configuration() does from a file's text; findings:
 * those that were made with the document. */
Configuration read_configuration(const std::string &file, Document document,
                                 std::vector<Finding> findings);

} // namespace kvnsim
