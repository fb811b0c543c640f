#include "camera/CameraFactory.h"
#include "client/ControlClient.h"
#include "client/LabClient.h"
#include "core/logging/LogManager.h"
#include "database/Matchings.h"
#include "image/Image.h"
#include "io/net/TCPSocket.h"
#include "io/net/UDPSocket.h"
#include "ocamera/simulated/Scene.h"
#include "server/Server.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// Latency and throughput of all connections on the loopback, with a whole server running
/// and the simulated sensor as fast as its images are processed.
namespace {

using tarvik::client::ControlClient;
using tarvik::io::net::UDPSocket;
using Clock = std::chrono::steady_clock;

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

double processorSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Images that arrive at the client within a second, after half a second to settle; and in a second
/// of processor time of sensor, server and client together, which a busy machine does not change.
void measureRate(const char* what, std::atomic<long>& received)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const long before = received;
    const auto start = Clock::now();
    const double processor = processorSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const auto images = static_cast<double>(received - before);
    std::printf("%-52s %8.0f images/s, %8.0f per second of processor time\n", what,
                images * 1e6 / microseconds(Clock::now() - start),
                images / (processorSeconds() - processor));
    std::fflush(stdout);
}

/// Times `once` over and over; prints median and 99th percentile.
template <class Action>
void measureLatency(const char* what, std::size_t times, Action once)
{
    std::vector<double> all;
    all.reserve(times);
    for (std::size_t i = 0; i < times; ++i) {
        const auto start = Clock::now();
        once();
        all.push_back(microseconds(Clock::now() - start));
    }
    std::sort(all.begin(), all.end());
    std::printf("%-52s median %8.1f us, 99th percentile %8.1f us, worst %8.1f us\n", what,
                all[times / 2], all[times * 99 / 100], all.back());
    std::fflush(stdout);
}

constexpr int WIDTH = 640;
constexpr int HEIGHT = 480;

tarvik::image::Image pictureOfParts()
{
    tarvik::image::Image picture(WIDTH, HEIGHT);
    OCamera::simulated::Scene({.parts = 8, .standing = true})
        .grey(0, WIDTH, HEIGHT, picture.bytes());
    return picture;
}

/// For a sensor that shows one picture over and over: drawing the synthetic scene takes far longer
/// than all that is measured here.
void writeScene(const std::string& path)
{
    const tarvik::image::Image picture = pictureOfParts();
    std::ofstream file(path, std::ios::binary);
    file << "P5\n" << WIDTH << ' ' << HEIGHT << "\n255\n";
    file.write(reinterpret_cast<const char*>(picture.data()), // NOLINT: bytes are bytes
               static_cast<std::streamsize>(picture.byteCount()));
}

/// A picture of 8 parts, until its frame and matchings have come back.
void measureTestPictures(std::uint16_t port)
{
    const tarvik::image::Image picture = pictureOfParts();
    tarvik::client::LabClient lab("127.0.0.1", port);
    lab.connect();
    measureLatency("test picture to frame and matchings", 1000,
                   [&] { static_cast<void>(lab.analyze(picture)); });
    lab.disconnect();
}

/// A line sent, until the answer's line is there.
void measureTelnet(std::uint16_t port)
{
    tarvik::io::net::TCPSocket socket;
    socket.open();
    socket.connect("127.0.0.1", port);
    const auto readLine = [&] {
        std::byte byte{};
        do {
            socket.read(std::span(&byte, 1));
        } while (byte != std::byte{'\n'});
    };
    readLine(); // the greeting
    constexpr std::string_view REQUEST = "RV O1\n";
    measureLatency("telnet RV O1", 3000, [&] {
        socket.write(std::as_bytes(std::span(REQUEST)));
        readLine();
    });
    socket.close();
}

void measureRoundTrips(ControlClient& client)
{
    measureLatency("GetAnalyzerConfig", 5000, [&] { static_cast<void>(client.analyzerConfig()); });
}

/// The simulated one has less work with it than with a colour sensor's mosaic.
void useGreySensor(ControlClient& client)
{
    auto config = client.cameraConfig();
    config.setImplementation(tarvik::camera::CameraFactory::instance().find("R1B (640x480)"));
    client.setCameraConfig(config);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
}

/// A pulse on the sensor's trigger input, until the datagram with the result is there.
void measureDatagrams(ControlClient& client, UDPSocket& receiver, const std::string& trigger)
{
    auto config = client.cameraConfig();
    config.triggerMode = tarvik::camera::CameraConfiguration::EXTERNAL_TRIGGER;
    client.setCameraConfig(config);
    static_cast<void>(client.cameraConfig());
    std::ofstream pulses(trigger);
    std::array<std::byte, 2048> datagram{};
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // for images taken before
    while (receiver.bytesAvailable() > 0) {
        static_cast<void>(receiver.readSome(datagram));
    }
    measureLatency("trigger pulse to UDP datagram", 300, [&] {
        pulses.put('!').flush();
        static_cast<void>(receiver.readSome(datagram));
    });
}

void measureStreaming(ControlClient& client, std::atomic<long>& received)
{
    measureRate("results without contents", received);
    client.setStreaming({.frame = true, .matchings = true});
    measureRate("frame and matchings", received);
    client.setStreaming(
        {.originalImage = true, .binarizedImage = true, .frame = true, .matchings = true});
    measureRate("frame, matchings and both pictures", received);
    client.setStreaming({.frame = true, .matchings = true});
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
    const std::string trigger = folder + "/trigger";
    if (::mkfifo(trigger.c_str(), 0600) != 0) {
        std::perror("trigger");
        return 1;
    }
    ::setenv("OCAMERA_TRIGGER", trigger.c_str(), 1);
    writeScene(folder + "/scene.pgm");
    ::setenv("OCAMERA_SCENE", (folder + "/scene.pgm").c_str(), 1);
    constexpr std::uint16_t RESULT_PORT = 7466;
    UDPSocket receiver;
    receiver.open();
    receiver.bind("127.0.0.1", RESULT_PORT);
    {
        tarvik::com::server::ServerOptions options;
        options.directory = folder;
        options.bindAddress = "127.0.0.1";
        options.controlPort = 0;
        options.labPort = 0;
        options.udpPort = 0;
        tarvik::com::server::Server server(options);
        server.telnet().setConfig({.port = 0, .timeout = 0});
        server.udpSender().setConfig({.autoDistribute = true, .destinationPort = RESULT_PORT});
        server.start();
        while (server.controlPort() == 0) {
            std::this_thread::yield();
        }
        std::atomic<long> received{0};
        ControlClient client("127.0.0.1", server.controlPort());
        client.onResult([&received](const auto&) { ++received; });
        client.connect();
        useGreySensor(client);
        measureRoundTrips(client);
        measureStreaming(client, received);
        measureTelnet(server.telnet().localPort());
        measureTestPictures(server.lab().localPort());
        measureDatagrams(client, receiver, trigger);
        client.disconnect();
        server.stop();
    }
    std::filesystem::remove_all(folder);
    return 0;
}
