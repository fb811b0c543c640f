#pragma once

#include "FreePorts.h"
#include "LogRecorder.h"
#include "Peer.h"
#include "ocamera/simulated/Faults.h"
#include "server/Server.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace tarvik::test {

/// A whole server on free ports of the loopback, with its own folder and the simulated sensor.
class ServerFixture : public testing::Test
{
protected:
    ServerFixture()
    {
        OCamera::simulated::resetSimulation();
        ::setenv("OCAMERA_FPS", "100", 1);
        _options.setClock = [this](const timeval& time) {
            _clock = time;
            return _clockError;
        };
    }

    void TearDown() override
    {
        if (_server != nullptr) {
            stop();
        }
    }

    [[nodiscard]] std::string configPath() const { return _folder / "config.xml"; }

    /// The file that a server with default settings writes, its telnet port set free.
    static std::string defaultConfig()
    {
        const TemporaryFolder folder;
        com::server::Server server(onFreePorts(folder));
        server.telnet().setConfig({.port = 0, .timeout = 0});
        server.saveConfig();
        return readFile(folder / "config.xml");
    }

    /// The default file with the first such text after the place replaced.
    static std::string configWith(const std::string& place, const std::string& text,
                                  const std::string& replacement)
    {
        std::string config = defaultConfig();
        const std::size_t found = config.find(text, config.find(place));
        EXPECT_NE(found, std::string::npos) << text;
        return config.replace(found, text.size(), replacement);
    }

    /// No images come: nothing but answers is sent.
    void keepCameraQuiet()
    {
        writeFile(configPath(), configWith("<Camera>", "<TriggerMode>0<", "<TriggerMode>1<"));
    }

    /// Starts a server, with a default file unless the test has written one.
    com::server::Server& start()
    {
        if (!std::filesystem::exists(configPath())) {
            writeFile(configPath(), defaultConfig());
            _log.clear();
        }
        _server = std::make_unique<com::server::Server>(_options);
        _server->start();
        return *_server;
    }

    void stop()
    {
        auto stopped = inBackground([this] { _server->stop(); });
        ASSERT_TRUE(endsInTime(stopped));
    }

    /// A TarvikDesk that has been greeted, and whom the server knows.
    std::unique_ptr<Peer> desk(int receiveBuffer = 0)
    {
        EXPECT_TRUE(eventually([this] { return _server->controlPort() != 0; }));
        auto peer = std::make_unique<Peer>(_server->controlPort(), "127.0.0.1", receiveBuffer);
        EXPECT_EQ(peer->receiveHex(24), GREETING);
        EXPECT_TRUE(eventually([this] { return _server->connected(); }));
        return peer;
    }

    /// A TarvikLab likewise.
    std::unique_ptr<Peer> lab()
    {
        EXPECT_TRUE(eventually([this] { return _server->lab().localPort() != 0; }));
        auto peer = std::make_unique<Peer>(_server->lab().localPort());
        EXPECT_EQ(peer->receiveHex(24), GREETING);
        EXPECT_TRUE(eventually([this] { return _server->lab().connected(); }));
        return peer;
    }

    /// 1.7.0 build 20111227, 640 x 480 pixels
    static constexpr const char* GREETING = "01 00 00 00 07 00 00 00 00 00 00 00 7B DF 32 01 "
                                            "80 02 00 00 E0 01 00 00";

    LogRecorder _log;
    TemporaryFolder _folder;
    com::server::ServerOptions _options = onFreePorts(_folder);
    timeval _clock{};
    int _clockError = 0;
    std::unique_ptr<com::server::Server> _server;
};

} // namespace tarvik::test
