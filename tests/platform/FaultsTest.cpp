#include "platform/Bench.h"

#include <cerrno>

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
}

TEST_F(Faults, LeaveTheCameraAsItWas)
{
    const auto camera = running();
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

TEST_F(Faults, RecordCallsWithTheirArguments)
{
    const auto camera = running();
    recordCalls();
    failCall(Operation::SetFrequency, 1, EIO);
    (void)camera->SetCameraWindow(0, 0, 640, 480);
    (void)camera->SetFrequency(FREQU_60MHz);
    (void)camera->SetTriggerSource(TRIG_SRC_EXTERNAL_E0, 1);
    const BinarizationParameters window{0, 2, 128, 255};
    (void)camera->SetBinarization(true, &window);
    (void)camera->SetBinarization(false);
    const NeighbourhoodParameters code{2, 0x8000FF80U, 0};
    (void)camera->SetFilter(FILTER_NEIGHBOURHOOD, &code);
    (void)camera->SetFilter(FILTER_OFF);
    const std::vector<std::string> expected{
        "SetCameraWindow(0, 0, 640, 480)",
        "SetFrequency(3)",
        "SetTriggerSource(2, 1)",
        "SetBinarization(1, {0, 2, 128, 255})",
        "SetBinarization(0, 0)",
        "SetFilter(8, {2, 2147549056, 0})",
        "SetFilter(0, 0)",
    };
    EXPECT_EQ(recordedCalls(), expected);
}
