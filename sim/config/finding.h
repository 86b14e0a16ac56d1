#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "sim/types/columns.h"
#include "sim/types/source_location.h"

namespace kvnsim {

/* An error, warning or note of the reader. */
struct Finding {
    enum class Severity : uint8_t { note, warning, error };
    Severity severity = Severity::error;
    std::string code;        /* "KVN-C012"; empty when the file cannot be read */
    bool leaves_out = false; /* what the row asks for is not applied, or not yet */
    SourceLocation location;
    std::string message;                 /* what is wrong and what was expected */
    std::optional<SourceLocation> other; /* the row it conflicts with */
    TABLE_ROW("configuration_finding", severity, code, leaves_out, location, message, other)
    /* The message and the row it conflicts with: "... (see leaf.json:12:5: PORT|Ethernet0)". */
    std::string without_code() const;
    /* The same and the code: "... [KVN-C012]". */
    std::string words() const;
    /* "file:line:column: table|key: message (see file:line:column: table|key) [KVN-C012]";
     * "warning: " or "note: " precedes the message of a finding that is not an error. Always one
     * line. */
    std::string to_text() const;
};

constexpr const char *severity_names[] = {"note", "warning", "error"};
inline const char *to_text(Finding::Severity severity)
{
    return severity_names[static_cast<size_t>(severity)];
}

} // namespace kvnsim
