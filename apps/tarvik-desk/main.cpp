#include "Desk.h"
#include "WebServer.h"
#include "core/Version.h"
#include "core/logging/LogManager.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>

namespace {

using tarvik::Exception;
using tarvik::desk::Desk;
using tarvik::desk::DeskOptions;
using tarvik::desk::ListenOptions;
using tarvik::desk::WebServer;

constexpr const char* ABOUT = "Sets a Tarvik camera up in the browser: live images, teaching, "
                              "settings, results.";

constexpr const char* FOOTER = R"(
Examples:
  tarvik-desk                                the camera on this machine; open http://127.0.0.1:8080
  tarvik-desk --camera 192.168.0.20          a camera elsewhere
  tarvik-desk --listen 0.0.0.0:8080 --allow-host bench.local
                                             the page for others too: whoever reaches it may do all)";

/// Blocked from construction on, so before any thread starts; taken by wait().
class StopSignals
{
public:
    StopSignals()
    {
        std::signal(SIGPIPE, SIG_IGN); // a peer that has gone is a failed write
        sigemptyset(&_signals);
        sigaddset(&_signals, SIGINT);
        sigaddset(&_signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &_signals, nullptr);
    }

    void wait() const
    {
        int signal = 0;
        sigwait(&_signals, &signal);
    }

private:
    sigset_t _signals{};
};

int portOf(const std::string& text, const std::string& whole)
{
    int port = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > 65535) {
        throw Exception("'" + whole + "' has no port from 0 to 65535 behind its colon.");
    }
    return port;
}

void parseCamera(const std::string& text, DeskOptions& options)
{
    const auto colon = text.rfind(':');
    options.camera.host = text.substr(0, colon);
    if (colon != std::string::npos) {
        options.camera.port = static_cast<std::uint16_t>(portOf(text.substr(colon + 1), text));
    }
}

void parseListen(const std::string& text, ListenOptions& options)
{
    const auto colon = text.rfind(':');
    if (colon == std::string::npos) {
        throw Exception("'" + text + "' is no ADDRESS:PORT, such as 127.0.0.1:8080.");
    }
    options.address = text.substr(0, colon);
    options.port = portOf(text.substr(colon + 1), text);
}

std::string defaultNames()
{
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    const std::string folder = variable("XDG_CONFIG_HOME");
    return (folder.empty() ? variable("HOME") + "/.config" : folder) + "/tarvik/desk.json";
}

void run(const DeskOptions& deskOptions, const ListenOptions& listenOptions)
{
    const StopSignals signals;
    Desk desk(deskOptions);
    WebServer web(desk, listenOptions);
    const int port = web.bind();
    desk.begin();
    std::thread serving([&web] { web.serve(); });
    std::printf("Tarvik Desk: http://%s:%d  (camera %s; Ctrl-C ends)\n",
                listenOptions.address == "0.0.0.0" ? "127.0.0.1" : listenOptions.address.c_str(),
                port, deskOptions.camera.text().c_str());
    std::fflush(stdout);
    signals.wait();
    desk.end();
    web.stop();
    serving.join();
}

} // namespace

int main(int argc, char** argv)
{
    // The rooms below write log entries; the page shows the camera's.
    tarvik::logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    CLI::App app(ABOUT, "tarvik-desk");
    app.footer(FOOTER);
    app.set_version_flag("--version", "tarvik-desk " + tarvik::Version::current().versionStr());
    DeskOptions desk;
    ListenOptions web;
    std::string camera = desk.camera.text();
    std::string listen = "127.0.0.1:8080";
    desk.names = defaultNames();
    app.add_option("--camera", camera, "HOST[:PORT] of the control connection")
        ->capture_default_str();
    app.add_option("--listen", listen, "ADDRESS:PORT of the page; port 0: any free one")
        ->capture_default_str();
    app.add_option("--allow-host", web.allowedHosts,
                   "A further name by which browsers may call the page");
    app.add_option("--names", desk.names, "File of the templates' names")->capture_default_str();
    app.add_option("--config", desk.config,
                   "config.xml of a camera on this machine, to change what the connection does "
                   "not carry (UDP, telnet)");
    CLI11_PARSE(app, argc, argv);
    try {
        parseCamera(camera, desk);
        parseListen(listen, web);
        run(desk, web);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarvik-desk: %s\n", e.what());
        return 1;
    }
    return 0;
}
