#include "core/logging/Log.h"
#include "io/net/UDPSocket.h"
#include "soak/Loads.h"
#include "soak/Trend.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <ratio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// Uses the server in every way at once for a while and watches that nothing gets lost, mixed up
/// or ever larger; see scripts/soak.

namespace {

using namespace tarvik;
using namespace tarvik::soak;
using namespace std::chrono_literals;

constexpr auto SAMPLE = 1s;
constexpr double MAX_GROWTH_KB_PER_HOUR = 100;
/// A slope is no chance when it is more than so many standard errors above the bound.
constexpr double SIGNIFICANT = 3;
/// The slope is that of what the process keeps when everybody has left and the camera is the first
/// model again, so many times in a run: in between, whoever is served has buffers of his own.
constexpr int RESTS = 20;
/// Of shorter runs, chance makes slopes of any size: a single buffer that is used for the first
/// time counts for hours. There what is held at rest must not grow by more than two pictures of the
/// largest model.
constexpr double MINUTES_FOR_A_SLOPE = 30;
constexpr std::size_t MAX_STEP_KB = 8192;

struct Options
{
    std::string server;
    std::string wallClock;
    std::string address = "127.0.0.1";
    double minutes = 1;
    int patience = 1;
    bool memory = true;
};

/// The server sends from a port that every server of a machine wants for itself.
void checkSenderPort()
{
    constexpr std::uint16_t SENDER_PORT = 7756;
    const int probe = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(SENDER_PORT);
    const int result = ::bind(probe, reinterpret_cast<const sockaddr*>(&local), sizeof local);
    ::close(probe);
    if (result != 0) {
        throw std::runtime_error(
            "UDP port 7756 is taken, by another server? End it and try again.");
    }
}

/// All who use the server at once.
struct Loads
{
    explicit Loads(Stage& s) : stage(s), lab(s), control(s) {}

    Stage& stage;
    LabLoad lab;
    ControlLoad control;
};

/// Runs the loads until the time is over or the server has ended, counts the seconds and says every
/// minute what it holds.
void runLoads(Loads& loads, io::net::UDPSocket& receiver, Clock::duration time, int& seconds)
{
    Stage& stage = loads.stage;
    stage.score.begin();
    std::vector<std::thread> threads;
    threads.emplace_back([&] { loads.lab.run(); });
    threads.emplace_back([&] { loads.control.run(); });
    threads.emplace_back([&] { runTelnet(stage); });
    threads.emplace_back([&] { runResets(stage); });
    threads.emplace_back([&] { runReceiver(stage, receiver); });
    const Clock::time_point end = Clock::now() + time;
    while (Clock::now() < end && stage.score.pause(SAMPLE)) {
        if (!stage.server.runs()) {
            stage.score.fail("the server has ended");
            break;
        }
        if (++seconds % 60 == 0) {
            const test::ProcessUse use = stage.server.use();
            std::fprintf(stderr, "%d min: %ld pictures, %zu kB, %zu threads, %zu descriptors\n",
                         seconds / 60, stage.score.numberedImages.load(), use.residentKB,
                         use.threads, use.descriptors);
        }
    }
    stage.score.end();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// When everybody has left.
void returnToFirstModel(Stage& stage)
{
    const auto* const first = camera::CameraFactory::instance().implementations().front().get();
    const auto isThere = [&] {
        try {
            client::ControlClient control(stage.server.address(), client::ControlClient::PORT,
                                          timeouts(stage.score));
            patiently(stage.score, [&] { control.connect(); });
            camera::CameraConfiguration config = control.cameraConfig();
            if (config.implementation() == first) {
                return true;
            }
            config.setImplementation(first);
            control.setCameraConfig(config);
        } catch (const client::ClientException&) { // no camera is open yet
        }
        return false;
    };
    stage.score.begin();
    if (!stage.score.waitFor(stage.score.limit(10s), isThere)) {
        stage.score.fail("the camera does not return to its first model");
    }
    stage.model = first;
}

/// What the server holds when nobody uses it: the median of the next seconds, because one client
/// may still be let go, and a port be closed between two.
test::ProcessUse useAtRest(Stage& stage)
{
    returnToFirstModel(stage);
    std::vector<test::ProcessUse> samples;
    for (int i = 0; i < 25; ++i) {
        std::this_thread::sleep_for(200ms);
        samples.push_back(stage.server.use());
    }
    const auto median = [&](std::size_t test::ProcessUse::*part) {
        std::ranges::sort(samples, {}, part);
        return samples[samples.size() / 2].*part;
    };
    return {median(&test::ProcessUse::residentKB), median(&test::ProcessUse::threads),
            median(&test::ProcessUse::descriptors)};
}

void print(const Score& score)
{
    std::printf(
        "numbered pictures, each with its own result %ld\n"
        "images streamed to the control client       %ld\n"
        "datagrams                                   %ld\n"
        "requests answered                           %ld\n"
        "log entries streamed                        %ld\n"
        "reconnects                                  %ld\n"
        "connects ended by a reset                   %ld\n"
        "model changes                               %ld\n"
        "camera faults survived                      %ld (images again after %ld ms at most)\n"
        "clock set ten years forth or back           %ld\n"
        "interrupted by a model change or a fault    %ld\n",
        score.numberedImages.load(), score.streamedImages.load(), score.datagrams.load(),
        score.requests.load(), score.logEntries.load(), score.reconnects.load(),
        score.resets.load(), score.modelChanges.load(), score.faults.load(),
        score.longestRecoveryMs.load(), score.clockJumps.load(), score.excused.load());
}

/// Of a long run.
void judgeSlope(Score& score, const std::vector<test::ProcessUse>& rests, double minutes)
{
    std::vector<double> kilobytes;
    for (const test::ProcessUse& rest : rests) {
        kilobytes.push_back(static_cast<double>(rest.residentKB));
    }
    const Trend trend = Trend::of(kilobytes, minutes * 60 / RESTS);
    std::printf(
        "memory at rest                              %.0f kB, after the first of %d sections "
        "%.0f kB; slope %+.0f kB/h +- %.0f\n",
        kilobytes.back(), RESTS, kilobytes.front(), trend.perHour, trend.uncertainty);
    if (trend.perHour - SIGNIFICANT * trend.uncertainty > MAX_GROWTH_KB_PER_HOUR) {
        score.fail("memory grows");
    }
}

/// Of a short run.
void judgeStep(Score& score, const test::ProcessUse& before, const test::ProcessUse& after)
{
    std::printf("memory at rest                              %zu kB, before %zu\n",
                after.residentKB, before.residentKB);
    if (after.residentKB > before.residentKB + MAX_STEP_KB) {
        score.fail("memory grows");
    }
}

void judgeRest(Score& score, const test::ProcessUse& before, const test::ProcessUse& after,
               const std::string& descriptors)
{
    std::printf("threads at rest                             %zu, before %zu\n"
                "descriptors at rest                         %zu, before %zu\n",
                after.threads, before.threads, after.descriptors, before.descriptors);
    if (after.threads > before.threads || after.descriptors > before.descriptors) {
        score.fail("threads or descriptors have grown; the descriptors are\n" + descriptors);
    }
}

/// Every part of the whole has happened.
void judgeCompleteness(Score& score)
{
    for (const std::atomic<long>* count :
         {&score.numberedImages, &score.streamedImages, &score.datagrams, &score.requests,
          &score.logEntries, &score.reconnects, &score.resets, &score.modelChanges, &score.faults,
          &score.clockJumps}) {
        if (*count == 0) {
            score.fail("something has not happened at all; see the counts");
        }
    }
}

/// The loads would need half an hour for it. All that time memory would grow, threefold, because
/// either connection keeps the last copy of the logs that its client has asked for.
void fillTestClientsLog(Stage& stage)
{
    stage.score.begin();
    for (std::size_t i = 0; i < logging::Log::CAPACITY / 2; ++i) { // each visit leaves two entries
        client::LabClient lab(stage.server.address(), client::LabClient::PORT,
                              timeouts(stage.score));
        patiently(stage.score, [&] { lab.connect(); });
    }
}

int runSoak(const Options& options)
{
    checkSenderPort();
    io::net::UDPSocket receiver;
    receiver.open();
    receiver.bind(options.address.c_str(), 0);
    ServerProcess server({.program = options.server,
                          .wallClock = options.wallClock,
                          .address = options.address,
                          .datagramPort = static_cast<std::uint16_t>(receiver.localPort())});
    const auto time = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double, std::ratio<60>>(options.minutes));
    // Until every log is full and every buffer has its size.
    const Clock::duration warmUp = std::clamp<Clock::duration>(time / 5, 5s, 5min);
    Score warmUpScore(options.patience);
    Stage warming{warmUpScore, server, !options.wallClock.empty(),
                  camera::CameraFactory::instance().implementations().front().get(), 0};
    Loads warmingLoads(warming);
    int seconds = 0;
    runLoads(warmingLoads, receiver, warmUp, seconds);
    const bool slope = options.memory && options.minutes >= MINUTES_FOR_A_SLOPE;
    if (slope) {
        fillTestClientsLog(warming);
    }
    const test::ProcessUse before = useAtRest(warming);

    Score score(options.patience);
    Stage stage{score, server, warming.ownClock, warming.model.load(), warming.lastPicture.load()};
    Loads loads(stage);
    const int sections = slope ? RESTS : 1;
    seconds = 0;
    std::vector<test::ProcessUse> rests;
    while (static_cast<int>(rests.size()) < sections && server.runs()) {
        runLoads(loads, receiver, time / sections, seconds);
        rests.push_back(useAtRest(stage));
    }
    print(score);
    const test::ProcessUse after = rests.empty() ? before : rests.back();
    if (slope && rests.size() == RESTS) {
        judgeSlope(score, rests, options.minutes);
    } else if (options.memory) {
        judgeStep(score, before, after);
    }
    judgeRest(score, before, after, server.descriptors());
    judgeCompleteness(score);
    server.signal(SIGTERM);
    const int status = server.exitStatus();
    if (status != 0) {
        score.fail("the server ended with status " + std::to_string(status));
        std::fprintf(stderr, "%s\n", server.output().c_str());
    }
    const int failures = score.failures() + warmUpScore.failures();
    std::puts(failures == 0 ? "pass" : "FAIL");
    return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app(
        "Uses tarvik-server in every way at once and watches that nothing gets lost, mixed "
        "up or ever larger.");
    app.add_option("--server", options.server, "The program")->required();
    app.add_option("--wall-clock", options.wallClock, "The library with a clock of its own");
    app.add_option("--address", options.address, "Loopback address of the ports [127.0.0.1]");
    app.add_option("--minutes", options.minutes, "How long, after a warm-up of a fifth of it [1]");
    app.add_option("--patience", options.patience, "Factor of every time limit [1]");
    app.add_flag("!--no-memory", options.memory, "Do not judge the memory's slope");
    CLI11_PARSE(app, argc, argv);
    try {
        return runSoak(options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "soak: %s\n", e.what());
        return 1;
    }
}
