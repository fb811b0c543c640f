#include "core/Version.h"
#include "server/Server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>

namespace {

using tarvik::com::server::Server;
using tarvik::com::server::ServerOptions;

/// SIGINT and SIGTERM as a descriptor: blocked from construction on, so before any thread starts,
/// and kept until somebody looks, however early they come.
class StopSignals
{
public:
    StopSignals()
    {
        std::signal(SIGPIPE, SIG_IGN); // a peer that has gone is a failed write
        sigset_t signals{};
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        _descriptor = ::signalfd(-1, &signals, SFD_CLOEXEC);
        if (_descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), "Couldn't wait for signals");
        }
    }

    ~StopSignals() { ::close(_descriptor); }

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    void waitForOneOr(const tarvik::concurrent::WakeUp& request) const
    {
        std::array<pollfd, 2> entries{
            {{_descriptor, POLLIN, 0}, {request.descriptor(), POLLIN, 0}}};
        while (::poll(entries.data(), entries.size(), -1) <= 0) {
            // interrupted: look again
        }
    }

private:
    int _descriptor = -1;
};

void describe(CLI::App& app, ServerOptions& options)
{
    app.set_version_flag("--version", "tarvik-server " + tarvik::Version::current().versionStr());
    app.add_option("--bind", options.bindAddress,
                   "Local IPv4 address for control (7453), test client (7454) and telnet (9999); "
                   "default: all")
        ->check(CLI::ValidIPV4);
    app.add_option("--directory", options.directory,
                   "Folder of config.xml; default: the current one")
        ->check(CLI::ExistingDirectory);
}

/// 0 or an error number.
int whyUnreadable(const std::string& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    std::byte first{};
    const int error = file < 0 || ::read(file, &first, 1) < 0 ? errno : 0;
    ::close(file);
    return error;
}

/// Says what is wrong with the folder of settings before they are missed: the server recognises
/// parts without them, too.
void examineFolder(const ServerOptions& options)
{
    const auto warn = [](const std::string& what, int error, const std::string& advice) {
        std::fprintf(stderr, "tarvik-server: %s: %s. %s\n", what.c_str(),
                     std::generic_category().message(error).c_str(), advice.c_str());
    };
    std::string probe = options.configPath() + ".XXXXXX";
    const int written = ::mkostemp(probe.data(), O_CLOEXEC);
    if (written < 0) {
        warn("Settings cannot be saved in '" + options.directory + "'", errno,
             "Let user " + std::to_string(::geteuid()) +
                 " write there, or choose another folder with --directory.");
    } else {
        ::close(written);
        ::unlink(probe.c_str());
    }
    const int error = whyUnreadable(options.configPath());
    if (error != 0 && error != ENOENT) {
        warn("'" + options.configPath() + "' cannot be read", error, "Using default settings.");
    }
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Recognises taught parts in camera images and tells a robot cell where they lie.");
    ServerOptions options;
    describe(app, options);
    CLI11_PARSE(app, argc, argv);
    try {
        const StopSignals signals;
        examineFolder(options);
        Server& server = Server::instance();
        server.setOptions(options);
        server.start();
        signals.waitForOneOr(server.stopRequest());
        server.stop();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarvik-server cannot run: %s\n", e.what());
        return 1;
    }
    return 0;
}
