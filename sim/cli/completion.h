#pragma once

#include "sim/cli/grammar.h"

/* Completion at the prompt of kvnsim's shell and on its command line. */
namespace kvnsim {

/* Values that depend on the place: interfaces, files, commands and what belongs to them. */
using PlaceValues = Words (*)(const Option &option, const Reading &line, const std::string &begun);

/* Completions of the last word, which may be empty. */
Words complete(const std::vector<Option> &options, Words words, PlaceValues values_here);

/* The names with this beginning. */
Words beginning_with(const std::string &begun, Words names);

} // namespace kvnsim
