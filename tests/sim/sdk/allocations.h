#pragma once

#include <cstddef>

/* How often this program has allocated with new so far. */
size_t allocations();
