#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "sim/config/configuration.h"

/* Reading a configuration given as text, for tests. */
namespace kvnsim::test {

inline Configuration read(const std::string &text)
{
    return read_configuration("c.json", text);
}

/* Findings as a user sees them, without the file's name and without codes. */
inline std::vector<std::string> findings(const Configuration &configuration)
{
    std::vector<std::string> texts;
    for (const Finding &finding : configuration.findings) {
        std::string text = finding.to_text();
        for (size_t at; (at = text.find("c.json:")) != text.npos;)
            text.erase(at, 7);
        text.erase(text.size() - finding.code.size() - 3);
        texts.push_back(text);
    }
    return texts;
}

/* The rows without the enclosing braces, each table on a line of its own. */
inline Configuration read_tables(const std::string &tables)
{
    return read("{" + tables + "}");
}

} // namespace kvnsim::test
