#pragma once

#include <string>
#include <string_view>

namespace kvnsim {

/* Where a command's output goes: what the library's dump takes as cli_ctx, and cmd_prt prints
 * into. Text is kept as it comes; nothing is added. */
class CommandOutput {
public:
    explicit CommandOutput(std::string &text) : text_(text) {}
    void print(std::string_view text) { text_ += text; }

private:
    std::string &text_;
};

} // namespace kvnsim
