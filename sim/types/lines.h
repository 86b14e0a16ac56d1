#pragma once

#include <cstddef>
#include <string>

namespace kvnsim {

/* Longer than any line of a recording or of results; an endless one must not take all memory. */
constexpr size_t longest_line = size_t{64} << 20;

/* How a line ended: by its newline, by the end of the text (then without content it is `none`), or
 * not within longest_line. */
enum class LineEnd { whole, cut, none, too_long };

/* Read one line, without its newline. next() gives the next byte as unsigned char, or EOF. */
template <class Next> LineEnd read_line(std::string &line, const Next &next)
{
    line.clear();
    for (;;) {
        const int got = next();
        if (got == '\n')
            return LineEnd::whole;
        if (got < 0)
            return line.empty() ? LineEnd::none : LineEnd::cut;
        if (line.size() == longest_line)
            return LineEnd::too_long;
        line += static_cast<char>(got);
    }
}

/* "the line is longer than 256 MiB" */
std::string line_is_too_long();

} // namespace kvnsim
