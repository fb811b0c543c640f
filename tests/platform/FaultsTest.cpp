#include "ocamera/simulated/FaultPipe.h"
#include "platform/Bench.h"

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <fstream>

using namespace OCamera;
using namespace OCamera::simulated;

class Faults : public CameraBench
{};

TEST_F(Faults, HitTheChosenCallOnceOrUntilCleared)
{
    const auto camera = running();
    failCall(Operation::SetGain, 2, EIO);
    EXPECT_EQ(camera->SetGain(1), 0);
    EXPECT_EQ(camera->SetGain(2), -EIO);
    EXPECT_EQ(camera->SetGain(3), 0);

    failCall(Operation::SetGain, 1, ENODEV, Repeat::UntilCleared);
    EXPECT_EQ(camera->SetGain(1), -ENODEV);
    EXPECT_EQ(camera->SetGain(2), -ENODEV);
    EXPECT_EQ(camera->SetShutterTime(20000), 0) << "other operations work on";
    EXPECT_EQ(callCount(Operation::SetGain), 5U);
    resetSimulation();
    EXPECT_EQ(camera->SetGain(3), 0);

    failCall(Operation::SetAcquisitionMode, 1, EIO);
    EXPECT_EQ(camera->SetAcquisitionMode(ACQ_MODE_STOP), -EIO);
    EXPECT_FALSE(fetched(*camera).empty()) << "acquisition still runs";
}

TEST_F(Faults, CanLeaveNoCameraAtAll)
{
    failCall(Operation::CreateCameraInterface, 1, ENODEV);
    EXPECT_EQ(made(), nullptr);
    EXPECT_NE(made(), nullptr);
    EXPECT_EQ(made(static_cast<eCameraType>(4)), nullptr) << "no such type";
}

TEST_F(Faults, CanBeSlownessOrASuccessThatIsNone)
{
    set("OCAMERA_FPS", "20");
    const auto camera = running();
    ASSERT_EQ(camera->SetReadTimeout(0), 0);
    EXPECT_FALSE(fetched(*camera).empty());
    injectFault({.operation = Operation::GetImage, .delay = std::chrono::milliseconds(50)});
    EXPECT_FALSE(fetched(*camera).empty()) << "meanwhile the next is due";
    injectFault({.operation = Operation::GetImage, .result = 0});
    FrameHandle frame;
    EXPECT_EQ(camera->GetImage(&frame), 0);
    EXPECT_EQ(frame.pixels, nullptr);
}

TEST_F(Faults, ComeThroughAPipe)
{
    const std::string pipePath = _folder / "faults";
    ASSERT_EQ(::mkfifo(pipePath.c_str(), 0600), 0);
    FaultPipe pipe(pipePath);
    std::ofstream writer(pipePath);
    EXPECT_TRUE(pipe.read().empty());
    writer << "GetImage 2 -5\nReadImageRAM 1 slow 300 always\nclear\nClose 1" << std::flush;
    const auto commands = pipe.read();
    ASSERT_EQ(commands.size(), 3U);
    EXPECT_EQ(commands[0]->operation, Operation::GetImage);
    EXPECT_EQ(commands[0]->nth, 2);
    EXPECT_EQ(commands[0]->result, -5);
    EXPECT_EQ(commands[0]->repeat, Repeat::Once);
    EXPECT_FALSE(commands[1]->result.has_value());
    EXPECT_EQ(commands[1]->delay, std::chrono::milliseconds(300));
    EXPECT_EQ(commands[1]->repeat, Repeat::UntilCleared);
    EXPECT_FALSE(commands[2].has_value());
    writer << " 0 always\n" << std::flush;
    EXPECT_EQ(pipe.read().size(), 1U) << "the line that came in two pieces";
    for (const char* line : {"", "Clear", "Fly 1 -5", "Close", "Close 0 -5", "Close 1", "Close 1 x",
                             "Close 1 -5 never", "Close 1 -5 always x", "Close 1 slow",
                             "Close 1 slow -1", "Close 1 slow 60001"}) {
        writer << line << std::endl;
        EXPECT_TRUE(pipe.read().empty()) << line;
    }
}
