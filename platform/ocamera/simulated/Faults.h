#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Handles for tests of whatever drives the simulated camera: faults, records of the calls, and
/// what is loaded into the FPGA. They act on the whole process; any thread.
namespace OCamera::simulated {

enum class Operation
{
    CreateCameraInterface,
    Open,
    Close,
    InitImageRAM,
    SetCameraWindow,
    SetFrequency,
    SetShutterTime,
    SetGain,
    SetIlluminationTiming,
    SetIlluminationMode,
    SetIlluminationModeExternal,
    SetAcquisitionMode,
    SetTriggerSource,
    SetTriggerDelay,
    SetReadTimeout,
    GetImage,
    ReleaseImage,
    PurgeImages,
    WriteImageRAM,
    SetupImageCorrection,
    SetFilter,
    SetBinarization,
    InitColor,
    SetBayer2X,
    GetImageToImageRAM,
    SetImageRAMPictureSize,
    ReadImageRAM,
};

constexpr std::size_t OPERATION_COUNT = static_cast<std::size_t>(Operation::ReadImageRAM) + 1;

enum class Repeat
{
    Once,
    UntilCleared,
};

/// Lets the n-th call of the operation from now on (1: the next one) return the error number
/// without doing anything, and with UntilCleared every later one too. `error` is positive, as in
/// errno.h. CreateCameraInterface returns null instead. Replaces an earlier fault of the operation.
void failCall(Operation operation, int nth, int error, Repeat repeat = Repeat::Once);

/// Takes back every fault, forgets the record and the counts, and unloads the FPGA design.
void resetSimulation();

/// Calls of the operation since the process or the last resetSimulation(), failed ones included.
[[nodiscard]] std::size_t callCount(Operation operation);

/// Starts an empty record of the calls, of at most MAX_RECORDED_CALLS.
void recordCalls();
constexpr std::size_t MAX_RECORDED_CALLS = 10000;

/// The calls since recordCalls() in their order, as they would be written in a program with
/// numbers for enumerators and without pointers: "SetCameraWindow(0, 0, 640, 480)",
/// "SetBinarization(1, {0, 2, 128, 255})", "GetImage()".
[[nodiscard]] std::vector<std::string> recordedCalls();

/// Whether the FPGA holds the design with the neighbourhood filter. It does not at first; on a
/// real camera a loader program puts it there.
void loadNeighbourhoodDesign(bool loaded);
[[nodiscard]] bool neighbourhoodDesignLoaded();

} // namespace OCamera::simulated
