#pragma once

#include <cstddef>

/* How often this program has allocated with new so far. */
size_t allocations();

/* Have the nth allocation with new from now on find no memory, once; 0 for none. Returns whether
 * the one before is still to come. */
bool fail_allocation(size_t nth);
