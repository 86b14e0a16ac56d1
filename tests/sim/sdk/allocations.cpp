#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {
size_t count = 0;
size_t fails_at = 0; /* by the count; 0 for never */
} // namespace

size_t allocations()
{
    return count;
}

bool fail_allocation(size_t nth)
{
    const bool pending = fails_at > count;
    fails_at = nth == 0 ? 0 : count + nth;
    return pending;
}

void *operator new(size_t size)
{
    if (++count == fails_at)
        throw std::bad_alloc();
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}
