#include "sim/cli/words.h"

namespace kvnsim {
namespace {

bool is_blank(char character)
{
    return character == ' ' || character == '\t' || character == '\r';
}

} // namespace

SplitLine split_words(std::string_view line)
{
    SplitLine result;
    for (size_t i = 0; i < line.size(); ++i) {
        char character = line[i];
        if (result.open_quote == '\0' && is_blank(character)) {
            result.open_word = false;
            continue;
        }
        if (!result.open_word) {
            if (character == '#')
                break;
            result.words.emplace_back();
            result.open_word = true;
        }
        if (character == result.open_quote) {
            result.open_quote = '\0';
            continue;
        }
        if (result.open_quote == '\0' && (character == '"' || character == '\'')) {
            result.open_quote = character;
            continue;
        }
        if (character == '\\' && result.open_quote != '\'' && i + 1 < line.size())
            character = line[++i];
        result.words.back() += character;
    }
    return result;
}

std::string typed(std::string_view text, char open_quote)
{
    const std::string_view special = open_quote == '\0'  ? " \t\"'\\#"
                                     : open_quote == '"' ? "\"\\"
                                                         : "";
    std::string result;
    for (const char character : text) {
        if (special.find(character) != special.npos)
            result += '\\';
        result += character;
    }
    return result;
}

} // namespace kvnsim
