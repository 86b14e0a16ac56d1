#pragma once

#include <string>
#include <vector>

#include "tests/cli/kvnsim.h"

/* kvnsim shell with a script on standard input. */
class Shell : public Kvnsim {
public:
    /* Options and configuration go before the lines. */
    Result shell(const std::vector<std::string> &script, std::vector<std::string> arguments = {})
    {
        std::string input;
        for (const std::string &line : script)
            input += line + "\n";
        arguments.insert(arguments.begin(), "shell");
        return kvnsim(arguments, input);
    }
};
