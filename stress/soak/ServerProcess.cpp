#include "soak/ServerProcess.h"

#include "configuration/ConfigurationFile.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace tarvik::soak {

ServerProcess::ServerProcess(const Start& start) : test::ServerProcess(start.address)
{
    configuration::SystemConfiguration system;
    system.udp.config = {.autoDistribute = true,
                         .destinationPort = start.datagramPort,
                         .destinationAddress = start.address};
    system.camera.config.thresholdLow = 100;
    system.logging.logToConsole = false;
    configuration::save(system, configPath());
    // Passed on to the server. Fails only for a process that has the right to set clocks but not to
    // give it away.
    if (::prctl(PR_CAPBSET_DROP, CAP_SYS_TIME) != 0 && ::geteuid() == 0) {
        throw std::runtime_error("The right to set the clock cannot be taken from the server.");
    }
    const std::string pipe = folder / "faults";
    if (::mkfifo(pipe.c_str(), 0600) != 0) {
        throw std::runtime_error("Could not make the named pipe " + pipe);
    }
    _faults = ::open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    // Nobody else would end it if this process were killed. Memory that is free goes back at once,
    // so that what is left is what is held.
    std::vector<std::string> launcher{"setpriv",
                                      "--pdeathsig",
                                      "KILL",
                                      "env",
                                      "-u",
                                      "OCAMERA_SCENE",
                                      "-u",
                                      "OCAMERA_TRIGGER",
                                      "OCAMERA_FPS=100",
                                      "OCAMERA_FAULTS=" + pipe,
                                      "MALLOC_MMAP_THRESHOLD_=65536",
                                      "MALLOC_TRIM_THRESHOLD_=65536"};
    if (!start.wallClock.empty()) {
        launcher.push_back("LD_PRELOAD=" + start.wallClock);
    }
    this->start(start.program, {}, launcher);
}

ServerProcess::~ServerProcess()
{
    ::close(_faults);
}

std::string ServerProcess::descriptors() const
{
    std::string list;
    const std::filesystem::path files = "/proc/" + std::to_string(pid()) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(files)) {
        std::error_code gone;
        list += entry.path().filename().string() + " " +
                std::filesystem::read_symlink(entry.path(), gone).string() + "\n";
    }
    return list;
}

void ServerProcess::injectFault(const std::string& line) const
{
    const std::string text = line + "\n";
    if (::write(_faults, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("Could not write to the pipe of the faults.");
    }
}

} // namespace tarvik::soak
