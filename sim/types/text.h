#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/* Texts from elsewhere: of files, of arguments, of databases. */
namespace kvnsim {

inline bool starts_with(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

/* "1 request", "2 requests"; many is the plural where an s is not enough. */
std::string counted(uint64_t count, const char *what, const char *many = nullptr);

/* Whether each byte is a character by itself. */
bool is_ascii(std::string_view text);
/* The length in bytes of the UTF-8 character at the front of a text, 0 when there is none. */
size_t character_length(std::string_view text);
/* The number of such a character. */
uint32_t code_point(std::string_view character);
/* Whether this character steers a terminal instead of being shown: a control character, a line
 * separator, or one that turns the direction of text. */
bool steers_terminal(std::string_view character);

/* The text as a terminal can show it, on one line: characters that steer it as \x1b or \u202e,
 * bytes that are not UTF-8 as \xff. */
std::string visible(std::string_view text);
void append_visible(std::string &to, std::string_view text);
/* The same, cut to a message's length: 80 characters. */
std::string printable(std::string_view text);
void append_printable(std::string &to, std::string_view text);
/* As visible(), for whole lines: the ends of lines and tabs stay. */
std::string visible_lines(std::string_view text);

} // namespace kvnsim
