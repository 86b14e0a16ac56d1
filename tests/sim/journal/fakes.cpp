#include "fakes.h"

using namespace kvnsim;

namespace {
const StatusNames names{"FAKE_E_...", {{0, "FAKE_E_NONE"}, {-5, "FAKE_E_FULL"}}};
}

const ImportedCall fake_named_call{"fake_named_call", Result::status, Purpose::programs, &names};
const ImportedCall fake_host_call{"fake_host_call", Result::status, Purpose::programs};
const ImportedCall fake_memory{"fake_memory", Result::memory, Purpose::programs};
const ImportedCall fake_question{"fake_question", Result::value, Purpose::asks};

int32_t call_named(uint32_t asked, uint32_t *doubled, int32_t status)
{
    return fake_named_call({in("asked", asked), out("doubled", doubled)}, [&] {
        if (status != 0)
            Journal::instance().note("not today");
        else
            *doubled = 2 * asked;
        return status;
    });
}

int32_t call_host(int32_t status)
{
    return fake_host_call({}, [&] { return status; });
}

uint32_t call_question(uint32_t answer)
{
    return fake_question({}, [&] { return answer; });
}
