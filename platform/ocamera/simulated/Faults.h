#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
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

[[nodiscard]] std::string_view operationName(Operation operation);
[[nodiscard]] std::optional<Operation> operationNamed(std::string_view name);

enum class Repeat
{
    Once,
    UntilCleared,
};

/// What is wrong with an operation of the library.
struct Fault
{
    Operation operation;
    int nth = 1; ///< the call that it hits, from now on; 1: the next one
    /// What that call returns without doing anything: a negative error number, or 0 or more as if
    /// all were well, so that a frame, for example, has no pixels. None: the call does its work.
    /// CreateCameraInterface returns null for any.
    std::optional<int> result{};
    std::chrono::milliseconds delay{}; ///< that passes before
    Repeat repeat = Repeat::Once;      ///< UntilCleared: hits every later call too
};

/// Replaces an earlier fault of the same operation.
void injectFault(const Fault& fault);

/// Lets a call return an error number: positive here, as in errno.h.
inline void failCall(Operation operation, int nth, int error, Repeat repeat = Repeat::Once)
{
    injectFault({.operation = operation, .nth = nth, .result = -error, .repeat = repeat});
}

/// Takes back every fault.
void clearFaults();

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
