#pragma once

#include <string>
#include <string_view>

namespace kvnsim {

/* Where a command's output goes: the library's dump takes it as cli_ctx, cmd_prt prints into it.
 * The text is kept unchanged. */
class CommandOutput {
public:
    explicit CommandOutput(std::string &text) : text_(text) {}
    void print(std::string_view text) { text_ += text; }

private:
    std::string &text_;
};

} // namespace kvnsim
