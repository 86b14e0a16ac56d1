/* A library that does not create SVIs: it aborts, or never returns, as the environment variable
 * BROKEN says. Preloaded, it takes the place of that one entry point. */
#include <unistd.h>

#include <cstdlib>
#include <cstring>

extern "C" int l3lifpd_kvn_add_svi()
{
    const char *how = std::getenv("BROKEN");
    if (how != nullptr && std::strcmp(how, "abort") == 0)
        std::abort();
    for (;;)
        ::pause();
}
