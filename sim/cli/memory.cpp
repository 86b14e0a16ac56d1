/* Of kvnsim when mimalloc serves it. */
#include <mimalloc.h>

namespace kvnsim {
namespace {

/* What is freed goes back to the system at once: a switch that is given up makes room for its
 * snapshot. */
[[maybe_unused]] const bool gives_back = [] {
    mi_option_set(mi_option_decommit_delay, 0);
    return true;
}();

} // namespace
} // namespace kvnsim
