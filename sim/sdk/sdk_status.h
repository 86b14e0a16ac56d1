#pragma once

#include <cstdint>

#include "kvnsim/sdk.h"
#include "sim/journal/imported_call.h"

namespace kvnsim {

/* The SDK's results, as kvnsim/sdk.h describes them, by the names that people know. */
enum SdkStatus : int32_t {
    SDK_E_NONE = KVNSIM_SDK_E_NONE,
    SDK_E_INTERNAL = KVNSIM_SDK_E_INTERNAL,
    SDK_E_PARAM = KVNSIM_SDK_E_PARAM,
    SDK_E_NOT_FOUND = KVNSIM_SDK_E_NOT_FOUND,
    SDK_E_EXISTS = KVNSIM_SDK_E_EXISTS,
    SDK_E_FULL = KVNSIM_SDK_E_FULL,
    SDK_E_BUSY = KVNSIM_SDK_E_BUSY,
    SDK_E_UNAVAIL = KVNSIM_SDK_E_UNAVAIL,
    SDK_E_TIMEOUT = KVNSIM_SDK_E_TIMEOUT
};

/* Every status, success first. */
const StatusNames &sdk_statuses();

} // namespace kvnsim
