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

struct DocumentField {
    std::string name;
    Position at;
    ValueKind kind = ValueKind::null;
    std::string text; /* of a string, number or boolean */
    Position value_at;
};
struct DocumentRow {
    std::string name; /* the key */
    Position at;
    ValueKind kind = ValueKind::null; /* fields only if an object */
    std::vector<DocumentField> fields;
};
struct DocumentTable {
    std::string name;
    Position at;
    ValueKind kind = ValueKind::null; /* rows only if an object */
    std::vector<DocumentRow> rows;
};
struct Document {
    std::vector<DocumentTable> tables;
    bool is_object = false; /* false: a syntax error or another value; no tables */
    Position at;
};

/* Parse text. Formal errors go to findings: at most one syntax error, and every duplicate key (the
 * first row or field stays; the rows of duplicate tables are joined). */
Document read_document(const std::string &file, const std::string &text,
                       std::vector<Finding> &findings);

/* Report every duplicate name and leave one of each. */
void remove_repetitions(const std::string &file, std::vector<DocumentTable> &tables,
                        std::vector<Finding> &findings);

/* Read a configuration from a document, as read_configuration() does from a file's text; findings:
 * those that were made with the document. */
Configuration read_configuration(const std::string &file, const Document &document,
                                 std::vector<Finding> findings);

} // namespace kvnsim
