#include "client/ControlClient.h"
#include "configuration/ConfigurationFile.h"
#include "core/logging/LogManager.h"
#include "server/FreePorts.h"
#include "server/Server.h"
#include "support/Eventually.h"
#include "support/OperatorNew.h"
#include "support/TemporaryFolder.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

// Lets one allocation of the server fail, the n-th for every n: while it starts, loads its
// configuration, processes images and serves a client. Each time in a process of its own, which
// must neither crash nor hang; it serves the next client, or ends with a message, and the settings
// are still there. Usage: allocation-failure [STEP]    every STEP-th allocation; 1 unless given

namespace tarvik::test {
namespace {

std::atomic<long> untilFailure{0}; ///< 0: none fails

} // namespace

void beforeAllocation()
{
    if (untilFailure > 0 && --untilFailure == 0) {
        throw std::bad_alloc();
    }
}

namespace {

using com::server::Server;

constexpr unsigned HANG_S = 60;

enum Outcome : int
{
    Survived = 0,
    NotReached = 10, ///< there are fewer allocations
    Damaged = 11,
};

/// Lets the n-th allocation fail while it lives.
class Failure
{
public:
    explicit Failure(long n) { untilFailure = n; }

    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    ~Failure() { end(); }

    /// True when it has happened.
    static bool end() { return untilFailure.exchange(0) <= 0; }
};

/// Connects two processes; each closes the end that is the other's.
class Line
{
public:
    Line()
    {
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, _ends) != 0) {
            throw std::runtime_error("no pair of sockets");
        }
    }

    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    ~Line() { ::close(_ends[_own]); }

    void take(int end)
    {
        _own = end;
        ::close(_ends[1 - end]);
    }

    void send(std::uint16_t value) const
    {
        static_cast<void>(::send(_ends[_own], &value, sizeof value, MSG_NOSIGNAL));
    }

    /// 0 when the other process has gone.
    [[nodiscard]] std::uint16_t receive() const
    {
        std::uint16_t value = 0;
        static_cast<void>(!::read(_ends[_own], &value, sizeof value));
        return value;
    }

private:
    int _ends[2]{};
    int _own = 0;
};

/// One file for every case, and where it is put.
struct Place
{
    TemporaryFolder folder;
    std::string path = folder / "config.xml";
    std::string content;

    Place()
    {
        configuration::SystemConfiguration settings;
        settings.telnet.port = 0;
        settings.logging.logToConsole = false;
        database::Template taught;
        taught.id = 7;
        settings.database.addTemplate(std::make_shared<database::Template>(taught));
        configuration::save(settings, path);
        content = readFile(path);
        // One picture, which is kept: drawing the synthetic scene allocates, and is not the
        // server's.
        std::string picture(std::size_t{640} * 480, '\0');
        for (std::size_t y = 100; y < 300; ++y) {
            std::fill_n(picture.begin() + static_cast<std::ptrdiff_t>(640 * y + y), 150, '\xFF');
        }
        writeFile(folder / "scene.pgm", "P5 640 480 255\n" + picture);
        ::setenv("OCAMERA_SCENE", (folder / "scene.pgm").c_str(), 1);
    }

    void reset() const
    {
        std::filesystem::remove(path + ".bad");
        writeFile(path, content);
    }

    /// The template is in the file, or the file that was there is kept beside it.
    [[nodiscard]] bool intact() const
    {
        return readFile(path + ".bad") == content ||
               configuration::load(path).database.numTemplates() == 1;
    }
};

Outcome outcome(const Place& place, bool failed)
{
    if (!place.intact()) {
        std::fprintf(stderr, "the settings are lost\n");
        return Damaged;
    }
    return failed ? Survived : NotReached;
}

Outcome start(const Place& place, long n)
{
    bool failed = false;
    try {
        const Failure failure(n);
        Server server(onFreePorts(place.folder));
        server.start();
        failed = Failure::end();
        server.stop();
    } catch (const std::exception& e) {
        failed = e.what() != nullptr && *e.what() != '\0';
    }
    return outcome(place, failed);
}

Outcome load(const Place& place, long n)
{
    Server server(onFreePorts(place.folder));
    bool failed = false;
    {
        const Failure failure(n);
        server.loadConfig();
        failed = Failure::end();
    }
    server.saveConfig();
    return outcome(place, failed);
}

/// Counts results.
class Counter : public util::Listener<breakup::FrameProcessedEvent>
{
public:
    void onEvent(breakup::FrameProcessedEvent& /*event*/) override { ++_count; }

    /// Waits for as many more.
    [[nodiscard]] bool await(int images) const
    {
        const int end = _count + images;
        return eventually([&] { return _count >= end; });
    }

private:
    std::atomic<int> _count{0};
};

Outcome images(const Place& place, long n)
{
    constexpr int imageCount = 100;
    Counter counter;
    Server server(onFreePorts(place.folder));
    server.divider().addListener(&counter);
    server.start();
    bool failed = false;
    {
        const Failure failure(n);
        if (!counter.await(imageCount)) {
            return Damaged;
        }
        failed = Failure::end();
    }
    const bool goesOn = counter.await(10);
    server.stop();
    return goesOn ? outcome(place, failed) : Damaged;
}

/// What a client asks for.
void visit(std::uint16_t port)
{
    std::atomic<int> results{0};
    client::ControlClient client("127.0.0.1", port);
    client.onResult([&](const auto&) { ++results; });
    client.onLog([](const auto&) {});
    client.connect();
    static_cast<void>(client.setLogStreaming(true));
    client.setStreaming({.frame = true, .matchings = true});
    client.setDatabase(client.database());
    client.setAnalyzerConfig(client.analyzerConfig());
    client.setCameraConfig(client.cameraConfig());
    client.sync();
    client.setBreakupConfig(client.breakupConfig());
    if (!eventually([&] { return results > 2 || !client.connected(); })) {
        throw std::runtime_error("no results come");
    }
    client.disconnect();
}

/// The server's side: tells its port, and is told of each visit.
Outcome serve(const Place& place, long n, const Line& client)
{
    Server server(onFreePorts(place.folder));
    server.start();
    if (!eventually([&] { return server.controlPort() != 0; })) {
        return Damaged;
    }
    bool failed = false;
    {
        const Failure failure(n);
        client.send(server.controlPort());
        static_cast<void>(client.receive());
        failed = Failure::end();
    }
    static_cast<void>(client.receive());
    server.stop();
    return outcome(place, failed);
}

/// The client's side: the first visit may fail, the second must not.
bool visitTwice(const Line& server)
{
    const std::uint16_t port = server.receive();
    if (port == 0) {
        return false;
    }
    try {
        visit(port);
    } catch (const std::exception&) {
    }
    server.send(1);
    bool served = true;
    try {
        visit(port);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "the next client is not served: %s\n", e.what());
        served = false;
    }
    server.send(1);
    return served;
}

/// Runs the case in a process of its own and says how it ended.
template <class Child, class Parent>
int inChild(Child child, Parent parent)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::alarm(HANG_S);
        int result = Damaged;
        try {
            result = child();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
        ::_exit(result);
    }
    const bool content = parent();
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "ended by signal %d\n", WTERMSIG(status));
        return Damaged;
    }
    return content ? WEXITSTATUS(status) : static_cast<int>(Damaged);
}

using Case = Outcome (*)(const Place&, long);

int alone(Case tested, const Place& place, long n)
{
    return inChild([&] { return tested(place, n); }, [] { return true; });
}

int withClient(const Place& place, long n)
{
    Line line;
    return inChild(
        [&] {
            line.take(1);
            return serve(place, n, line);
        },
        [&] {
            line.take(0);
            return visitTwice(line);
        });
}

/// Every step-th allocation until there are no more.
template <class Run>
bool survives(const char* what, long step, Run run)
{
    const Place place;
    long n = 1;
    for (;; n += step) {
        place.reset();
        const int result = run(place, n);
        if (result == NotReached) {
            break;
        }
        if (result != Survived) {
            std::printf("fail  allocation %ld fails during %s\n", n, what);
            return false;
        }
    }
    std::printf("pass  one allocation fails during %s: each of %ld, in steps of %ld\n", what, n - 1,
                step);
    std::fflush(stdout);
    return true;
}

bool run(long step)
{
    bool passed =
        survives("the start", step, [](const Place& p, long n) { return alone(start, p, n); });
    passed = survives("loading", step, [](const Place& p, long n) { return alone(load, p, n); }) &&
             passed;
    passed = survives("a hundred images", step,
                      [](const Place& p, long n) { return alone(images, p, n); }) &&
             passed;
    return survives("a client's visit", step, withClient) && passed;
}

} // namespace
} // namespace tarvik::test

int main(int argc, char** argv)
{
    ::setenv("OCAMERA_FPS", "200", 1);
    tarvik::logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    std::setvbuf(stdout, nullptr, _IONBF, 0); // nothing is printed twice after a fork
    const long step = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1;
    return step > 0 && tarvik::test::run(step) ? 0 : 1;
}
