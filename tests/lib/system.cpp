/*
 * The system library's and GLib's functions that the library uses, noted in the journal where the
 * library itself is the caller; all other callers go straight through. Compiled without sanitizers:
 * malloc and free run before those are ready.
 */
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include "tests/lib/platform.h"

using kvntest::platform;
using kvntest::text;

namespace {

struct Range {
    uintptr_t from = 0, to = 0;
};

/* Where the code of a loaded library lies in memory. */
Range find_library(const char *name)
{
    struct Search {
        const char *name;
        Range found;
    } search = {name, {}};
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *data) {
            auto &[part, found] = *static_cast<Search *>(data);
            if (!strstr(info->dlpi_name, part))
                return 0;
            for (int i = 0; i < info->dlpi_phnum; ++i) {
                const auto &segment = info->dlpi_phdr[i];
                if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X))
                    found = {info->dlpi_addr + segment.p_vaddr,
                             info->dlpi_addr + segment.p_vaddr + segment.p_memsz};
            }
            return 1;
        },
        &search);
    return search.found;
}

Range library;
Range stand_in;

bool from_library(const void *caller)
{
    const auto at = reinterpret_cast<uintptr_t>(caller);
    return (library.from <= at && at < library.to) || (stand_in.from <= at && at < stand_in.to);
}

template <typename Function> Function *next(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

/* An FHRP key is 10 bytes, an entry 16; this shows what both start with. */
std::string show_key(gconstpointer key)
{
    uint32_t ifindex;
    uint8_t mac[6];
    memcpy(&ifindex, key, 4);
    memcpy(mac, static_cast<const uint8_t *>(key) + 4, 6);
    return text("%#x %02x:%02x:%02x:%02x:%02x:%02x", ifindex, mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
}

struct LocateLibrary {
    LocateLibrary() { library = find_library("libl3lifpdkavelin"); }
} locate_library;

} // namespace

void kvntest::note_calls_of(const char *library_name)
{
    stand_in = find_library(library_name);
}

#define LIBRARY_CALLS() (kvntest::has_platform() && from_library(__builtin_return_address(0)))

extern "C" {

void *malloc(size_t size) noexcept
{
    static decltype(&malloc) real = nullptr;
    if (!real)
        real = next(malloc, "malloc");
    const bool by_library = LIBRARY_CALLS();
    if (by_library && platform().call("malloc", text("%zu", size)) != 0)
        return nullptr;
    void *block = real(size);
    if (block && by_library) {
        memset(block, 0xA5, size); /* so that a missing initialisation shows */
        platform().allocated.push_back(block);
    }
    return block;
}

void free(void *block) noexcept
{
    static decltype(&free) real = nullptr;
    static bool looking = false;
    if (looking)
        return; /* the loader drops the text of an earlier failed look-up, while it looks up free */
    if (!real) {
        looking = true;
        real = next(free, "free");
        looking = false;
    }
    if (LIBRARY_CALLS())
        platform().call("free", platform().name_of(block));
    real(block);
}

GHashTable *g_hash_table_new(GHashFunc hash, GEqualFunc equal)
{
    static const auto real = next(g_hash_table_new, "g_hash_table_new");
    if (LIBRARY_CALLS()) {
        platform().hash = hash;
        platform().equal = equal;
        if (platform().call("g_hash_table_new", "") != 0)
            return nullptr;
    }
    return real(hash, equal);
}

gboolean g_hash_table_insert(GHashTable *table, gpointer key, gpointer value)
{
    static const auto real = next(g_hash_table_insert, "g_hash_table_insert");
    if (LIBRARY_CALLS()) {
        uint32_t mac_trap_id;
        memcpy(&mac_trap_id, static_cast<const uint8_t *>(value) + 12, 4);
        platform().call("g_hash_table_insert",
                        text("%s%s, mac_trap_id=%u", show_key(key).c_str(),
                             key == value ? "" : " KEY IS NOT VALUE", mac_trap_id));
    }
    return real(table, key, value);
}

gpointer g_hash_table_lookup(GHashTable *table, gconstpointer key)
{
    static const auto real = next(g_hash_table_lookup, "g_hash_table_lookup");
    if (LIBRARY_CALLS())
        platform().call("g_hash_table_lookup", show_key(key));
    return real(table, key);
}

gboolean g_hash_table_remove(GHashTable *table, gconstpointer key)
{
    static const auto real = next(g_hash_table_remove, "g_hash_table_remove");
    if (LIBRARY_CALLS())
        platform().call("g_hash_table_remove",
                        show_key(key) +
                            (g_hash_table_lookup(table, key) == key ? " BY THE ENTRY ITSELF" : ""));
    return real(table, key);
}

int backtrace(void **buffer, int size)
{
    static const auto real = next(backtrace, "backtrace");
    if (!LIBRARY_CALLS())
        return real(buffer, size);
    platform().call("backtrace", std::to_string(size));
    const int count = std::min(size, static_cast<int>(platform().stack.size()));
    std::copy_n(platform().stack.begin(), count, buffer);
    return count;
}

void abort() noexcept
{
    if (LIBRARY_CALLS() && platform().on_abort) {
        platform().call("abort", "");
        const char *const stack = static_cast<const char *>(__builtin_frame_address(0));
        platform().stack_at_abort.assign(stack, 2048); /* the caller's frame is about half of it */
        longjmp(*platform().on_abort, 1);
    }
    next(abort, "abort")();
    __builtin_unreachable();
}

} // extern "C"
