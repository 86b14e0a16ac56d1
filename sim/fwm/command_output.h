#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace kvnsim {

/* Where a command's output goes: what the library's dump takes as cli_ctx, and cmd_prt prints
 * into. Text is kept as it comes; nothing is added. */
class CommandOutput {
public:
    explicit CommandOutput(std::string &text) : text_(&text) {}
    explicit CommandOutput(std::FILE *file) : file_(file) {}
    void print(std::string_view text);

private:
    std::string *text_ = nullptr;
    std::FILE *file_ = nullptr;
};

} // namespace kvnsim
