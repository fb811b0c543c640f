#include "stress/soak/ServerProcess.h"

#include "configuration/ConfigurationFile.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tarvik::soak {

ServerProcess::ServerProcess(const Start& start) : _address(start.address)
{
    std::string pattern = (std::filesystem::temp_directory_path() / "tarvik-soak-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("Could not make a folder like " + pattern);
    }
    _folder = pattern;
    writeConfiguration(start);
    if (::mkfifo(path("faults").c_str(), 0600) != 0) {
        throw std::runtime_error("Could not make the named pipe " + path("faults"));
    }
    _faults = ::open(path("faults").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    _pid = ::fork();
    if (_pid == 0) {
        run(start);
        ::_exit(126);
    }
}

ServerProcess::~ServerProcess()
{
    if (_pid > 0) {
        ::kill(_pid, SIGKILL);
        ::waitpid(_pid, nullptr, 0);
    }
    ::close(_faults);
    std::filesystem::remove_all(_folder);
}

void ServerProcess::writeConfiguration(const Start& start) const
{
    configuration::SystemConfiguration system;
    system.udp.config = {.autoDistribute = true,
                         .destinationPort = start.datagramPort,
                         .destinationAddress = start.address};
    system.camera.config.thresholdLow = 100;
    system.logging.logToConsole = false;
    configuration::save(system, path("config.xml"));
}

/// In the child.
void ServerProcess::run(const Start& start) const
{
    // Fails only for a process that has the right to set clocks but not to give it away.
    if (::prctl(PR_CAPBSET_DROP, CAP_SYS_TIME) != 0 && ::geteuid() == 0) {
        return;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL); // nobody would end it
    const int output = ::open(path("output").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    // Memory that is free goes back at once, so that what is left is what is held.
    ::setenv("MALLOC_MMAP_THRESHOLD_", "65536", 1);
    ::setenv("MALLOC_TRIM_THRESHOLD_", "65536", 1);
    if (!start.wallClock.empty()) {
        ::setenv("LD_PRELOAD", start.wallClock.c_str(), 1);
    }
    ::setenv("OCAMERA_FAULTS", path("faults").c_str(), 1);
    ::setenv("OCAMERA_FPS", "100", 1);
    ::unsetenv("OCAMERA_SCENE");
    ::unsetenv("OCAMERA_TRIGGER");
    ::execl(start.program.c_str(), start.program.c_str(), "--bind", _address.c_str(), "--directory",
            _folder.c_str(), static_cast<char*>(nullptr));
}

bool ServerProcess::runs()
{
    if (_pid > 0 && ::waitpid(_pid, &_status, WNOHANG) == _pid) {
        _pid = -1;
    }
    return _pid > 0;
}

test::ProcessUse ServerProcess::use() const
{
    return test::ProcessUse::of(std::to_string(_pid));
}

std::string ServerProcess::descriptors() const
{
    std::string list;
    const std::filesystem::path folder = "/proc/" + std::to_string(_pid) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
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

int ServerProcess::stop(int seconds)
{
    if (_pid > 0) {
        ::kill(_pid, SIGTERM);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (runs() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return _pid < 0 && WIFEXITED(_status) ? WEXITSTATUS(_status) : -1;
}

std::string ServerProcess::output() const
{
    std::ifstream file(path("output"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace tarvik::soak
