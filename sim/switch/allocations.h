#pragma once

namespace kvnsim {

/* From now on, for good, allocations of the library pass through the journal as the call "malloc":
 * they count and fail as other calls do, and are seen only when they fail. */
void watch_allocations();

} // namespace kvnsim
