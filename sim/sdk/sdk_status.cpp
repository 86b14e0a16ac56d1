#include "sim/sdk/sdk_status.h"

namespace kvnsim {

const StatusNames &sdk_statuses()
{
    static const StatusNames names{"SDK_E_...",
                                   {
                                       {SDK_E_NONE, "SDK_E_NONE"},
                                       {SDK_E_INTERNAL, "SDK_E_INTERNAL"},
                                       {SDK_E_PARAM, "SDK_E_PARAM"},
                                       {SDK_E_NOT_FOUND, "SDK_E_NOT_FOUND"},
                                       {SDK_E_EXISTS, "SDK_E_EXISTS"},
                                       {SDK_E_FULL, "SDK_E_FULL"},
                                       {SDK_E_BUSY, "SDK_E_BUSY"},
                                       {SDK_E_UNAVAIL, "SDK_E_UNAVAIL"},
                                       {SDK_E_TIMEOUT, "SDK_E_TIMEOUT"},
                                   }};
    return names;
}

} // namespace kvnsim
