#pragma once

#include <cstdint>

#include "sim/journal/journal.h"

namespace kvnsim {

/* The SDK's results. Failures are negative, to distinguish them from identifiers in one word. */
enum SdkStatus : int32_t {
    SDK_E_NONE = 0,       /* success */
    SDK_E_INTERNAL = -1,  /* the device failed */
    SDK_E_PARAM = -2,     /* an argument is invalid */
    SDK_E_NOT_FOUND = -3, /* an identifier names nothing */
    SDK_E_EXISTS = -4,    /* it already exists */
    SDK_E_FULL = -5,      /* a table has no room */
    SDK_E_BUSY = -6,      /* something refers to the object, or the pending batch is not flushed */
    SDK_E_UNAVAIL = -7,   /* the device does not have this */
    SDK_E_TIMEOUT = -8    /* the device did not answer */
};

/* Every status, success first. */
const StatusNames &sdk_statuses();

} // namespace kvnsim
