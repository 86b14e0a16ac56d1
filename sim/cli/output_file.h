#pragma once

#include <string>
#include <string_view>

#include "sim/cli/verb.h"

/* Files that a user names to be written. A symbolic link stands for the file that it points to. */
namespace kvnsim {

class Console;

enum class OutputKind { recording, event_history, debug_file, page, results };

constexpr Option force_option{"--force", Takes::nothing, Times::optional,
                              "overwrite files that hold something else"};

/* What is not ours is not overwritten: throws InputError when the option names a file that is there
 * and does not begin as kvnsim writes such a file, unless --force is given. Call before the work.
 */
void check_overwrites(const Arguments &arguments, const Option &option, OutputKind kind);

/* Write a page to a file, which appears whole or not at all; "-" is standard output. Throws
 * InputError and FileError. */
void write_page(const std::string &path, std::string_view page, Console &console);

} // namespace kvnsim
