#pragma once

#include "sim/cli/grammar.h"

/* What may be typed next, at the prompt of kvnsim's shell and on its own command line. */
namespace kvnsim {

/* Values that depend on the place: interfaces, files, commands and what belongs to them. */
using PlaceValues = Words (*)(const Option &option, const Reading &line, const std::string &begun);

/* What the last of the words may become. */
Words complete(const std::vector<Option> &options, Words words, PlaceValues values_here);

/* Those of the names that begin so. */
Words beginning_with(const std::string &begun, Words names);

} // namespace kvnsim
