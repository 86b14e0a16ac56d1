#pragma once

#include <string>
#include <vector>

namespace kvnsim::test {

/* Tables (their first line is line 2 of the file) and everything that is to be said about them. */
struct FindingCase {
    const char *name, *tables;
    std::vector<std::string> findings;
};

const std::vector<FindingCase> &finding_cases();

} // namespace kvnsim::test
