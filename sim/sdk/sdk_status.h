#pragma once

#include <cstdint>
#include <vector>

namespace kvnsim {

/* The SDK's results. Failures are negative, so that a caller who gets an identifier or a status in
 * one word can tell them apart. */
enum SdkStatus : int32_t {
    SDK_E_NONE = 0,
    SDK_E_INTERNAL = -1,
    SDK_E_PARAM = -2,
    SDK_E_NOT_FOUND = -3,
    SDK_E_EXISTS = -4,
    SDK_E_FULL = -5,
    SDK_E_BUSY = -6,
    SDK_E_UNAVAIL = -7,
    SDK_E_TIMEOUT = -8
};

struct SdkStatusRow {
    SdkStatus status;
    const char *name;
    const char *meaning;
};

/* Every status, success first. */
const std::vector<SdkStatusRow> &sdk_statuses();

} // namespace kvnsim
