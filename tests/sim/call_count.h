#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "sim/journal/journal.h"

namespace kvnsim {

/* How often each call that can fail is made. */
class CallCount : public Observer {
public:
    void call_made(const Call &call) override
    {
        if (call.what->can_fail())
            counts[call.what->name()]++;
    }
    std::map<std::string, uint32_t> counts;
};

} // namespace kvnsim
