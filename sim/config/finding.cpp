#include "sim/config/finding.h"

#include <fmt/format.h>

namespace kvnsim {

std::string Finding::to_text() const
{
    std::string text = location.to_text() + ": ";
    if (severity != Severity::error)
        text += kvnsim::to_text(severity) + std::string(": ");
    return text + words();
}

std::string Finding::without_code() const
{
    return other ? fmt::format("{} (see {})", message, other->to_text()) : message;
}

std::string Finding::words() const
{
    return code.empty() ? without_code() : fmt::format("{} [{}]", without_code(), code);
}

} // namespace kvnsim
