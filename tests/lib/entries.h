/*
 * Every exported function of the library, defined a second time by the test program: the dynamic
 * linker then binds the library's own calls of them to these, as it does for a host that interposes
 * one. Each notes its call and either goes on to the library's definition or gives what the test
 * says.
 */
#pragma once

#include <functional>
#include <map>
#include <string>

#include "tests/lib/platform.h"

namespace kvntest {

struct Entries {
    /* "NAME(ARGUMENTS)" without the common prefix, in order. Calls within the membership rule and
     * of the MAC's formatting are the library's own business and not noted. */
    Journal calls;
    /* By name without prefix: gives the result in the library's place. */
    std::map<std::string, std::function<int64_t()>> instead;

    Entries();
    ~Entries();
    Entries(const Entries &) = delete;
    Entries &operator=(const Entries &) = delete;
};

} // namespace kvntest
