#pragma once

#include <string>
#include <string_view>

namespace kvnsim {

class Console;

/* Write a page to a file, which appears whole or not at all; "-" is standard output. Throws
 * InputError and FileError. */
void write_page(const std::string &path, std::string_view page, Console &console);

} // namespace kvnsim
