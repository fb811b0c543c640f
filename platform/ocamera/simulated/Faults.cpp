#include "ocamera/simulated/Calls.h"
#include "ocamera/simulated/FaultPipe.h"
#include "ocamera/simulated/Settings.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

namespace OCamera::simulated {

namespace {

/// In the order of Operation.
constexpr std::array<std::string_view, OPERATION_COUNT> NAMES{
    "CreateCameraInterface",
    "Open",
    "Close",
    "InitImageRAM",
    "SetCameraWindow",
    "SetFrequency",
    "SetShutterTime",
    "SetGain",
    "SetIlluminationTiming",
    "SetIlluminationMode",
    "SetIlluminationModeExternal",
    "SetAcquisitionMode",
    "SetTriggerSource",
    "SetTriggerDelay",
    "SetReadTimeout",
    "GetImage",
    "ReleaseImage",
    "PurgeImages",
    "WriteImageRAM",
    "SetupImageCorrection",
    "SetFilter",
    "SetBinarization",
    "InitColor",
    "SetBayer2X",
    "GetImageToImageRAM",
    "SetImageRAMPictureSize",
    "ReadImageRAM",
};

/// Everything that tests set and read. The mutex is a leaf: nothing else is locked under it.
struct State
{
    std::mutex mutex; ///< guards the pipe, faults, counts and calls
    FaultPipe pipe{variable("OCAMERA_FAULTS")};
    std::array<std::optional<Fault>, OPERATION_COUNT> faults{};
    std::array<std::size_t, OPERATION_COUNT> counts{};
    std::vector<std::string> calls;
    std::atomic<bool> recording = false;
    std::atomic<bool> designLoaded = false;
};

State& state()
{
    static State instance;
    return instance;
}

constexpr std::size_t indexOf(Operation operation)
{
    return static_cast<std::size_t>(operation);
}

} // namespace

std::string_view operationName(Operation operation)
{
    return NAMES.at(indexOf(operation));
}

std::optional<Operation> operationNamed(std::string_view name)
{
    const auto* const found = std::find(NAMES.begin(), NAMES.end(), name);
    if (found == NAMES.end()) {
        return std::nullopt;
    }
    return static_cast<Operation>(found - NAMES.begin());
}

void injectFault(const Fault& fault)
{
    const std::lock_guard lock(state().mutex);
    state().faults.at(indexOf(fault.operation)) = fault;
}

void clearFaults()
{
    const std::lock_guard lock(state().mutex);
    state().faults = {};
}

void resetSimulation()
{
    const std::lock_guard lock(state().mutex);
    state().faults = {};
    state().counts = {};
    state().calls.clear();
    state().recording = false;
    state().designLoaded = false;
}

std::size_t callCount(Operation operation)
{
    const std::lock_guard lock(state().mutex);
    return state().counts[indexOf(operation)];
}

void recordCalls()
{
    const std::lock_guard lock(state().mutex);
    state().calls.clear();
    state().recording = true;
}

std::vector<std::string> recordedCalls()
{
    const std::lock_guard lock(state().mutex);
    return state().calls;
}

void loadNeighbourhoodDesign(bool loaded)
{
    state().designLoaded = loaded;
}

bool neighbourhoodDesignLoaded()
{
    return state().designLoaded;
}

namespace {

/// Takes over what has been written to the pipe. Caller holds the mutex.
void readPipe(State& s)
{
    for (const FaultPipe::Command& command : s.pipe.read()) {
        if (command) {
            s.faults.at(indexOf(command->operation)) = *command;
        } else {
            s.faults = {};
        }
    }
}

/// The fault that hits this call. Caller holds the mutex.
std::optional<Fault> faultOfCall(std::optional<Fault>& fault)
{
    if (!fault) {
        return std::nullopt;
    }
    if (fault->nth > 1) {
        --fault->nth;
        return std::nullopt;
    }
    const std::optional<Fault> hit = fault;
    if (fault->repeat == Repeat::Once) {
        fault.reset();
    }
    return hit;
}

} // namespace

std::optional<int> countCall(Operation operation)
{
    std::optional<Fault> hit;
    {
        State& s = state();
        const std::lock_guard lock(s.mutex);
        readPipe(s);
        ++s.counts.at(indexOf(operation));
        hit = faultOfCall(s.faults.at(indexOf(operation)));
    }
    if (!hit) {
        return std::nullopt;
    }
    std::this_thread::sleep_for(hit->delay);
    return hit->result;
}

bool recordingCalls()
{
    return state().recording;
}

void recordCall(std::string call)
{
    const std::lock_guard lock(state().mutex);
    if (state().calls.size() < MAX_RECORDED_CALLS) {
        state().calls.push_back(std::move(call));
    }
}

} // namespace OCamera::simulated
