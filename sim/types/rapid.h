#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

/* RapidJSON as it is used here: it takes it for granted that there is memory, so its allocator
 * throws std::bad_alloc where there is none. rapid_document.h has what reads. */
namespace kvnsim::rapid {

class Allocator {
public:
    // NOLINTBEGIN(readability-identifier-naming): as RapidJSON calls them
    static constexpr bool kNeedFree = true;
    void *Malloc(size_t size) { return size == 0 ? nullptr : given(std::malloc(size)); }
    void *Realloc(void *original, size_t, size_t size)
    {
        if (size != 0)
            return given(std::realloc(original, size));
        std::free(original);
        return nullptr;
    }
    static void Free(void *memory) { std::free(memory); }
    // NOLINTEND(readability-identifier-naming)

private:
    static void *given(void *memory)
    {
        if (memory == nullptr)
            throw std::bad_alloc();
        return memory;
    }
};

using Encoding = rapidjson::UTF8<>;
using StringBuffer = rapidjson::GenericStringBuffer<Encoding, Allocator>;
using Writer = rapidjson::Writer<StringBuffer, Encoding, Encoding, Allocator>;

} // namespace kvnsim::rapid
