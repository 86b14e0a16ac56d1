#include "sim/types/lines.h"

namespace kvnsim {

std::string line_is_too_long()
{
    return "the line is longer than " + std::to_string(longest_line >> 20) + " MiB";
}

} // namespace kvnsim
