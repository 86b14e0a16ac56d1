#include "sim/sdk/sdk_status.h"

#include <string>

#include "sim/journal/journal.h"

namespace kvnsim {

const std::vector<SdkStatusRow> &sdk_statuses()
{
    static const std::vector<SdkStatusRow> rows{
        {SDK_E_NONE, "SDK_E_NONE"},       {SDK_E_INTERNAL, "SDK_E_INTERNAL"},
        {SDK_E_PARAM, "SDK_E_PARAM"},     {SDK_E_NOT_FOUND, "SDK_E_NOT_FOUND"},
        {SDK_E_EXISTS, "SDK_E_EXISTS"},   {SDK_E_FULL, "SDK_E_FULL"},
        {SDK_E_BUSY, "SDK_E_BUSY"},       {SDK_E_UNAVAIL, "SDK_E_UNAVAIL"},
        {SDK_E_TIMEOUT, "SDK_E_TIMEOUT"},
    };
    return rows;
}

std::string sdk_status_name(int64_t status)
{
    for (const SdkStatusRow &row : sdk_statuses()) {
        if (row.status == status)
            return row.name;
    }
    return std::to_string(status);
}

std::optional<int32_t> sdk_status_number(std::string_view name)
{
    for (const SdkStatusRow &row : sdk_statuses()) {
        if (row.name == name)
            return row.status;
    }
    return std::nullopt;
}

} // namespace kvnsim
