#include "Digest.h"
#include "camera/CameraException.h"
#include "camera/CameraFactory.h"
#include "client/ControlClient.h"
#include "client/LabClient.h"
#include "core/logging/LogManager.h"
#include "core/util/Listener.h"
#include "ocamera/simulated/Faults.h"
#include "server/FreePorts.h"
#include "server/ProcessUse.h"
#include "server/Server.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

// Camera models and settings change at random while everybody watches.

namespace tarvik {
namespace {

using client::ClientException;
using client::ControlClient;
using client::LabClient;
using com::StreamContents;
using com::StreamingSettings;
using test::digest;
using test::eventually;

/// Another one for every --gtest_random_seed.
unsigned seed()
{
    return 20111227 + static_cast<unsigned>(GTEST_FLAG_GET(random_seed));
}

constexpr int CHANGES = 500;

/// One processed image: digests of what can be streamed of it.
struct Processed
{
    std::size_t original;
    std::size_t binary;
    std::size_t frame; ///< with its computing times, so hardly two are equal
    std::size_t matchings;
};

/// What was really processed, noted on the camera thread, and whether it had the right size there.
class Record : public util::Listener<breakup::FrameProcessedEvent>
{
public:
    explicit Record(camera::Camera& camera) : _camera(camera) {}

    void onEvent(breakup::FrameProcessedEvent& event) override
    {
        const auto fits = [this](const image::Image& image) {
            return image.width() == _camera.imageWidth() && image.height() == _camera.imageHeight();
        };
        const bool fine = fits(*event.binaryImage) &&
                          (event.originalImage->empty() || fits(*event.originalImage)) &&
                          event.matchings->count() == event.frame->objectCount();
        const Processed processed{digest(*event.originalImage), digest(*event.binaryImage),
                                  digest(*event.frame), digest(*event.matchings)};
        const std::scoped_lock lock(_mutex);
        _processed.push_back(processed);
        _unfit += fine ? 0 : 1;
    }

    [[nodiscard]] std::size_t count() const
    {
        const std::scoped_lock lock(_mutex);
        return _processed.size();
    }

    [[nodiscard]] int unfit() const
    {
        const std::scoped_lock lock(_mutex);
        return _unfit;
    }

    /// Position behind the first image from this position on that the streamed parts are all of;
    /// 0 when there is none.
    [[nodiscard]] std::size_t find(const StreamContents& streamed, std::size_t from) const
    {
        const StreamingSettings& parts = streamed.settings;
        const Processed got{parts.originalImage ? digest(streamed.originalImage) : 0,
                            parts.binarizedImage ? digest(streamed.binaryImage) : 0,
                            parts.frame ? digest(streamed.frame) : 0,
                            parts.matchings ? digest(streamed.matchings) : 0};
        const std::scoped_lock lock(_mutex);
        for (std::size_t i = from; i < _processed.size(); ++i) {
            const Processed& p = _processed[i];
            if ((!parts.originalImage || p.original == got.original) &&
                (!parts.binarizedImage || p.binary == got.binary) &&
                (!parts.frame || p.frame == got.frame) &&
                (!parts.matchings || p.matchings == got.matchings)) {
                return i + 1;
            }
        }
        return 0;
    }

private:
    camera::Camera& _camera;
    mutable std::mutex _mutex;
    std::vector<Processed> _processed;
    int _unfit = 0;
};

/// Writes pulses to the external trigger until it is told to end.
void pulse(const std::string& pipe, const std::atomic<bool>& done)
{
    const int trigger = ::open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    while (!done) {
        [[maybe_unused]] const ssize_t written = ::write(trigger, "x", 1); // full: enough wait
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ::close(trigger);
}

class ModelChangesTest : public testing::Test
{
protected:
    ModelChangesTest()
    {
        OCamera::simulated::resetSimulation();
        logging::LogManager::globalInstance().setConfig({.logToConsole = false});
        EXPECT_EQ(::mkfifo((_folder / "trigger").c_str(), 0600), 0);
        ::setenv("OCAMERA_FPS", "200", 1);
        ::setenv("OCAMERA_PARTS", "2", 1);
        ::setenv("OCAMERA_NOISE", "0", 1); // most of the time would go into drawing it
        ::setenv("OCAMERA_TRIGGER", (_folder / "trigger").c_str(), 1);
    }

    ~ModelChangesTest() override { ::unsetenv("OCAMERA_TRIGGER"); }

    [[nodiscard]] std::unique_ptr<com::server::Server> makeServer() const
    {
        auto server = std::make_unique<com::server::Server>(test::onFreePorts(_folder));
        server->telnet().setConfig({.port = 0, .timeout = 0});
        return server;
    }

    /// Shows the camera pictures, most of them of the right size, until told to end.
    void feed(com::server::Server& server, const Record& record)
    {
        std::mt19937 random(seed() + 1);
        std::unique_ptr<LabClient> lab;
        while (!_done) {
            try {
                if (lab == nullptr) {
                    lab = std::make_unique<LabClient>("127.0.0.1", server.lab().localPort());
                    lab->connect();
                }
                const auto result =
                    lab->analyze(picture(server.camera(), random), std::chrono::milliseconds(500));
                _foreignToLab += record.find(*result, 0) == 0 ? 1 : 0;
                ++_fed;
            } catch (const ClientException& e) {
                // A model that has changed has taken the test image with it; the client cannot
                // tell that from an image whose result is late.
                if (e.kind() != ClientException::Kind::ImageRefused) {
                    lab.reset();
                }
            } catch (const camera::CameraException&) { // closed between two models
            }
        }
    }

    static image::Image picture(const camera::Camera& camera, std::mt19937& random)
    {
        const std::uint16_t width = camera.imageWidth();
        const std::uint16_t height = camera.imageHeight();
        image::Image result =
            random() % 3 == 0
                ? image::Image(width, height, 3, image::Format::Planar, image::ColorSpace::HSV)
                : image::Image(width, height);
        const std::size_t start = random() % (result.byteCount() / 2);
        for (std::size_t row = 0; row < 100; ++row) {
            std::fill_n(result.data() + start + row * width, 100, std::uint8_t{150});
        }
        return result;
    }

    /// One of the changes that an operator can make.
    void change(ControlClient& control, std::mt19937& random)
    {
        const auto byte = [&] { return static_cast<std::uint8_t>(random()); };
        const auto coin = [&] { return random() % 2 == 0; };
        switch (random() % 8) {
        case 0:
        case 1: {
            const auto& models = camera::CameraFactory::instance().implementations();
            _config.setImplementation(models[random() % models.size()].get());
            break;
        }
        case 2:
            _config.triggerMode = coin() ? 1 : 0;
            break;
        case 3:
        case 4:
            _config.thresholdLow = byte();
            _config.lowerValH = byte();
            _config.greaterValH = byte();
            _config.lowerValV = byte();
            _config.invert = coin();
            break;
        default:
            control.setStreaming({coin(), coin(), coin(), coin()});
            return;
        }
        control.setCameraConfig(_config);
    }

    test::TemporaryFolder _folder;
    camera::CameraConfiguration _config;
    std::atomic<bool> _done{false};
    std::atomic<int> _fed{0};
    std::atomic<int> _foreignToLab{0};
};

TEST_F(ModelChangesTest, MixNothingUp)
{
    std::cout << "seed " << seed() << '\n';
    { // what a process keeps once it has run a server
        const auto server = makeServer();
        server->start();
        server->stop();
    }
    const test::ProcessUse before = test::ProcessUse::of();
    {
        const auto server = makeServer();
        Record record(server->camera());
        server->divider().addListener(&record);
        server->start();
        ASSERT_TRUE(eventually(
            [&] { return server->controlPort() != 0 && server->lab().localPort() != 0; }));
        auto pulses = test::inBackground([this] { pulse(_folder / "trigger", _done); });
        auto feeding = test::inBackground([&] { feed(*server, record); });
        // Each result is one image as a whole, and they come in their order.
        std::atomic<int> seen{0};
        std::atomic<int> foreign{0};
        std::size_t position = 0;
        ControlClient control("127.0.0.1", server->controlPort());
        control.onResult([&](const ControlClient::Result& result) {
            const std::size_t found = record.find(*result, position);
            ++(found == 0 ? foreign : seen);
            position = std::max(position, found);
        });
        control.connect();

        std::mt19937 random(seed());
        for (int i = 0; i < CHANGES && !HasFailure(); ++i) {
            SCOPED_TRACE(i);
            change(control, random);
            if (random() % 4 != 0) { // else the next one comes at once
                const std::size_t images = record.count();
                EXPECT_TRUE(eventually([&] { return record.count() > images + 1; }));
            }
        }
        _done = true;
        feeding.get();
        pulses.get();
        control.setCameraConfig({});
        control.setStreaming({true, true, true, true});
        const int seenBefore = seen;
        EXPECT_TRUE(eventually([&] { return seen > seenBefore + 5; })) << "it works on";
        EXPECT_EQ(record.unfit(), 0);
        EXPECT_EQ(foreign, 0);
        EXPECT_EQ(_foreignToLab, 0);
        EXPECT_GT(_fed, 0);
        std::cout << record.count() << " images processed, " << seen << " streamed, " << _fed
                  << " of the test client\n";
        control.disconnect();
        server->stop();
    }
    // A thread that has been joined is counted until the kernel has cleared it away.
    EXPECT_TRUE(eventually([&] { return test::ProcessUse::of().threads <= before.threads; }))
        << test::ProcessUse::of().threads << " threads, before " << before.threads;
    EXPECT_EQ(test::ProcessUse::of().descriptors, before.descriptors);
}

} // namespace
} // namespace tarvik
