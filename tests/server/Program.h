#pragma once

#include "ServerProcess.h"

#include <string>
#include <vector>

namespace tarvik::test {

/// The program itself, on a loopback address of its own, so that its fixed ports are free.
class Program : public ServerProcess
{
public:
    /// See start().
    explicit Program(std::vector<std::string> arguments = {},
                     const std::vector<std::string>& launcher = {})
        : ServerProcess("127." + std::to_string(1 + ::getpid() / 62500 % 200) + "." +
                        std::to_string(1 + ::getpid() / 250 % 250) + "." +
                        std::to_string(1 + ::getpid() % 250))
    {
        start(TARVIK_SERVER, std::move(arguments), launcher);
    }
};

} // namespace tarvik::test
