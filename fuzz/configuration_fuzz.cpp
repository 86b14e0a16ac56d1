/* Configurations come from people and other tools: whatever a file holds, reading it must neither
 * crash nor give a desired state that contradicts itself, and a switch that gets it must be what
 * the audit expects, and leave nothing when it goes. */
#include <cstdint>
#include <string>

#include "fuzz/switch_oracle.h"
#include "tests/sim/config/contradictions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    const kvnsim::Configuration configuration = kvnsim::read_configuration("fuzz.json", text);
    for (const kvnsim::Finding &finding : configuration.findings) {
        if (finding.to_text().find('\n') != std::string::npos)
            kvnsim::wrong("a finding of more than one line: " + finding.to_text());
    }
    for (const std::string &contradiction : kvnsim::contradictions(configuration.desired))
        kvnsim::wrong(contradiction);
    kvnsim::expect_life(configuration.desired);
    return 0;
}
