#include "ServerFixture.h"

#include <gtest/gtest.h>

namespace tarvik::com::server {
namespace {

using Lines = std::vector<std::string>;

class ServerLifecycleTest : public test::ServerFixture
{
protected:
    /// What a test of the order looks at: not the chatter of the services.
    [[nodiscard]] Lines story() const
    {
        Lines lines = _log.lines();
        std::erase_if(lines, [](const std::string& line) {
            return line.starts_with("Telnet") || line.starts_with("Analysis") ||
                   line.starts_with("Database") || line.starts_with("Polygon") ||
                   line.find("Trigger mode") != std::string::npos;
        });
        return lines;
    }
};

TEST_F(ServerLifecycleTest, StartsAndStopsInTheDocumentedOrder)
{
    start();
    const auto desk = this->desk();
    const auto lab = this->lab();
    ASSERT_TRUE(_log.saw("Server (INFO): Connected to TarvikDesk."));
    ASSERT_TRUE(_log.saw("TarvikLab Server (INFO): Connected to TarvikLab."));
    _server->start();
    EXPECT_TRUE(_server->running());
    EXPECT_FALSE(_server->stopped());
    stop();
    EXPECT_FALSE(_server->running());
    EXPECT_TRUE(_server->stopped());
    _server->stop();
    EXPECT_EQ(story(), (Lines{
                           "Server (INFO): Starting Tarvik Server...",
                           "Camera (INFO): Camera \"R1C Grayscale (640x480)\" opened.",
                           "Server (FINE): Config loaded.",
                           "Server (FINE): Created UDP Socket (target host 127.0.0.1, port 7455).",
                           "Server (INFO): Auto delivering results via UDP is disabled.",
                           "Server (FINE): Tarvik Server 1.7.0 Build 20111227 started.",
                           "TarvikLab Server (INFO): TarvikLab server started.",
                           "Server (INFO): Connected to TarvikDesk.",
                           "TarvikLab Server (INFO): Connected to TarvikLab.",
                           "Server (INFO): Stopping Tarvik Server...",
                           "Server (INFO): Config saved.",
                           "Server (FINE): Disconnected from TarvikDesk.",
                           "Server (FINE): UDP Socket closed.",
                           "TarvikLab Server (INFO): Stopping TarvikLab server...",
                           "TarvikLab Server (INFO): Disconnected from TarvikLab.",
                           "TarvikLab Server (INFO): TarvikLab server stopped.",
                           "Camera (INFO): Camera closed.",
                           "Server (FINE): Tarvik Server stopped.",
                       }));
}

TEST_F(ServerLifecycleTest, StopsFromItsOwnThreadAsWell)
{
    class Stopper : public util::Listener<logging::LogEvent>
    {
    public:
        explicit Stopper(Server& server) : _target(server) {}

        void onEvent(logging::LogEvent& event) override
        {
            if (event.entry->message == "Connected to TarvikDesk.") {
                _target.stop();
            }
        }

    private:
        Server& _target;
    };

    start();
    Stopper stopper(*_server);
    logging::LogManager::globalInstance().addListener(&stopper);
    ASSERT_TRUE(test::eventually([this] { return _server->controlPort() != 0; }));
    const test::Peer peer(_server->controlPort());
    EXPECT_TRUE(test::eventually([this] { return _server->stopped(); }));
    logging::LogManager::globalInstance().removeListener(&stopper);
    EXPECT_EQ(_log.count("Server (FINE): Disconnected from TarvikDesk."), 1U);
}

TEST_F(ServerLifecycleTest, RunsWithoutTheServicesThatFail)
{
    test::writeFile(configPath(), configWith("<UDPSender>", "127.0.0.1", "the robot"));
    start();
    EXPECT_EQ(_log.count("Server (WARNING): Invalid IP address. Details: Invalid argument"), 1U);
    EXPECT_EQ(_log.count("Server (INFO): Auto delivering results via UDP is disabled."), 1U);
    static_cast<void>(desk());
}

} // namespace
} // namespace tarvik::com::server
