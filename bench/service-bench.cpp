#include "client/ControlClient.h"
#include "core/logging/LogManager.h"
#include "database/Matchings.h"
#include "server/Server.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

/// Latency and throughput of the control connection on the loopback, with a whole server running
/// and the simulated sensor as fast as its images are processed.
namespace {

using tarvik::client::ControlClient;
using Clock = std::chrono::steady_clock;

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

/// Images that arrive at the client within a second, after half a second to settle.
double imagesPerSecond(std::atomic<long>& received)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const long before = received;
    const auto start = Clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    return static_cast<double>(received - before) * 1e6 / microseconds(Clock::now() - start);
}

void measureRoundTrips(ControlClient& client)
{
    constexpr std::size_t REQUESTS = 5000;
    std::vector<double> times;
    times.reserve(REQUESTS);
    for (std::size_t i = 0; i < REQUESTS; ++i) {
        const auto start = Clock::now();
        static_cast<void>(client.analyzerConfig());
        times.push_back(microseconds(Clock::now() - start));
    }
    std::sort(times.begin(), times.end());
    std::printf("GetAnalyzerConfig, %zu round trips: median %.1f us, 99th percentile %.1f us, "
                "worst %.1f us\n",
                REQUESTS, times[REQUESTS / 2], times[REQUESTS * 99 / 100], times.back());
}

void measureStreaming(ControlClient& client, std::atomic<long>& received)
{
    const double bare = imagesPerSecond(received);
    client.setStreaming({.frame = true, .matchings = true});
    const double results = imagesPerSecond(received);
    client.setStreaming(
        {.originalImage = true, .binarizedImage = true, .frame = true, .matchings = true});
    const double pictures = imagesPerSecond(received);
    std::printf(
        "images/s that reach the client: %.0f bare, %.0f with frame and matchings, %.0f with "
        "both pictures too (%.0f MB/s)\n",
        bare, results, pictures, pictures * 2 * 640 * 480 / 1e6);
}

} // namespace

int main()
{
    ::setenv("OCAMERA_FPS", "0", 1);
    tarvik::logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    std::string folder = std::filesystem::temp_directory_path() / "tarvik-bench-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        std::perror("scratch folder");
        return 1;
    }
    {
        tarvik::com::server::ServerOptions options;
        options.directory = folder;
        options.bindAddress = "127.0.0.1";
        options.controlPort = 0;
        options.labPort = 0;
        options.udpPort = 0;
        tarvik::com::server::Server server(options);
        server.telnet().setConfig({.port = 0, .timeout = 0});
        server.start();
        while (server.controlPort() == 0) {
            std::this_thread::yield();
        }
        std::atomic<long> received{0};
        ControlClient client("127.0.0.1", server.controlPort());
        client.onResult([&received](const auto&) { ++received; });
        client.connect();
        measureRoundTrips(client);
        measureStreaming(client, received);
        client.disconnect();
        server.stop();
    }
    std::filesystem::remove_all(folder);
    return 0;
}
