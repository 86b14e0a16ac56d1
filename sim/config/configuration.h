#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "sim/config/desired.h"
#include "sim/config/finding.h"

namespace kvnsim {

/* A configuration as read: what it wants, findings, ignored tables. */
struct Configuration {
    std::string file;
    Desired desired;                         /* valid rows only */
    std::vector<Finding> findings;           /* in the order of their places */
    std::map<std::string, uint32_t> ignored; /* tables that are not applied, with their rows */
    /* False after a syntax error, or when the file cannot be read: then what it wants is unknown,
     * which is not the same as nothing. */
    bool is_understood = false;
    bool has_errors() const;
};

/* Read a configuration; text is the file's whole content. Never throws on bad input. Rows with an
 * error are left out, and so is what refers to them. */
Configuration read_configuration(const std::string &file, const std::string &text);

} // namespace kvnsim
