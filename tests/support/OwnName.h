#pragma once

#include "support/TemporaryFolder.h"

#include <unistd.h>

#include <string>

namespace tarvik::test {

/// This process as failures name it: "io-test, process 1234".
inline std::string ownName(const std::string& process = "self")
{
    const std::string name = readFile("/proc/" + process + "/comm");
    const std::string id = process == "self" ? std::to_string(::getpid()) : process;
    return name.substr(0, name.find('\n')) + ", process " + id;
}

} // namespace tarvik::test
