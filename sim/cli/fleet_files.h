#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvnsim {

/* A file of a fleet. */
struct FleetFile {
    enum class Kind : uint8_t {
        configuration,
        other,     /* in a folder, and no configuration by its name and kind */
        unreadable /* a folder, or what is no file */
    };
    std::string name; /* as given, or below the given folder */
    Kind kind = Kind::configuration;
    std::string problem = {}; /* of an unreadable one: why */
};

/* What the operands name, in the order of their names, each name once: files as they are, and of
 * folders all that is below them. Links to folders are not followed there. Throws UsageError for
 * URLs and standard input. */
std::vector<FleetFile> fleet_files(const std::vector<std::string> &operands);

} // namespace kvnsim
