#include "sim/fwm/command_output.h"

#include "platform_api/fwm.h"

namespace kvnsim {

void CommandOutput::print(std::string_view text)
{
    if (text_)
        text_->append(text);
    else if (file_)
        std::fwrite(text.data(), 1, text.size(), file_);
}

} // namespace kvnsim

void cmd_prt(void *cli_ctx, const char *text, int32_t)
{
    if (cli_ctx && text)
        static_cast<kvnsim::CommandOutput *>(cli_ctx)->print(text);
}
