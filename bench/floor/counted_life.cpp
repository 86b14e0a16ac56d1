/*
 * The life of a few interfaces on the null platform, for a tool that counts instructions:
 *
 *     valgrind --tool=callgrind --collect-atstart=no counted_life LIBRARY on|off
 *
 * Collects during each call of an entry point and dumps the counters after it, under its name. The
 * same life is led once before, uncounted, so that nothing is counted that happens once a process.
 */
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <valgrind/callgrind.h>

#include "bench/floor/life.h"
#include "bench/floor/null_platform.h"

namespace {

l3lif_ip_cfg ip = {1, 0, 9100, 1};
l3lif_pc_membership membership = {0, 0, 1};

l3lif *make(uint32_t ifindex, l3lif *main_l3lif = nullptr)
{
    l3lif *const lif = static_cast<l3lif *>(calloc(1, sizeof(l3lif)));
    lif->ifindex = ifindex;
    lif->main_l3lif = main_l3lif;
    lif->pc_membership = &membership;
    lif->ip_cfg = &ip;
    null_platform_register(lif);
    return lif;
}

kvnfloor::Interfaces make_interfaces()
{
    kvnfloor::Interfaces made;
    made.port = make(null_platform_port | 1);
    made.second_port = make(null_platform_port | 2);
    made.third_port = make(null_platform_port | 3);
    made.sub_interface = make(null_platform_sub_interface | 1, made.port);
    made.svi = make(null_platform_svi | 1);
    made.channel = make(null_platform_channel | 1);
    made.second_channel = make(null_platform_channel | 2);
    made.member = make(null_platform_port | 4, made.channel);
    return made;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 || (strcmp(argv[2], "on") != 0 && strcmp(argv[2], "off") != 0)) {
        fprintf(stderr, "usage: counted_life LIBRARY on|off\n");
        return 2;
    }
    const kvnfloor::Entries library(argv[1]);
    null_platform_sinks(strcmp(argv[2], "on") == 0);

    const kvnfloor::Interfaces once = make_interfaces();
    for (const kvnfloor::Step *step = kvnfloor::life; step->run != nullptr; ++step)
        step->run(library, once);

    const kvnfloor::Interfaces interfaces = make_interfaces();
    for (const kvnfloor::Step *step = kvnfloor::life; step->run != nullptr; ++step) {
        if (step->entry == nullptr) {
            step->run(library, interfaces);
            continue;
        }
        CALLGRIND_TOGGLE_COLLECT;
        step->run(library, interfaces);
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(step->entry);
    }
}
