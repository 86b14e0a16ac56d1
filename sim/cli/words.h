#pragma once

#include <string>
#include <string_view>

#include "sim/cli/grammar.h"

/* Command lines of the shell: words separated by blanks. */
namespace kvnsim {

/* A line up to its end or, for completion, up to the cursor. */
struct SplitLine {
    Words words;            /* without quotes and backslashes */
    bool open_word = false; /* the last word is not ended by a blank */
    char open_quote = '\0'; /* the quote that is not closed */
};

/* Quotes of either kind keep blanks, a backslash keeps the next character; a word that begins with
 * # ends the line. */
SplitLine split_words(std::string_view line);

/* The text quoted for typing, within this quote or outside any ('\0'). */
std::string typed(std::string_view text, char open_quote = '\0');

} // namespace kvnsim
