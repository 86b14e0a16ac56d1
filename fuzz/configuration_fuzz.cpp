/* Configurations come from people and other tools: whatever a file holds, reading it must neither
 * crash nor give a desired state that contradicts itself. */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/sim/config/contradictions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    const kvnsim::Configuration configuration = kvnsim::read_configuration("fuzz.json", text);
    for (const kvnsim::Finding &finding : configuration.findings)
        if (finding.to_text().find('\n') != std::string::npos) {
            fprintf(stderr, "a finding of more than one line: %s\n", finding.to_text().c_str());
            abort();
        }
    const auto contradictions = kvnsim::contradictions(configuration.desired);
    for (const std::string &contradiction : contradictions)
        fprintf(stderr, "%s\n", contradiction.c_str());
    if (!contradictions.empty())
        abort();
    return 0;
}
