#include "ocamera/simulated/Calls.h"

#include <array>
#include <atomic>
#include <mutex>
#include <utility>

namespace OCamera::simulated {

namespace {

struct Fault
{
    int callsUntil = 0; ///< 0: none
    int error = 0;
    Repeat repeat = Repeat::Once;
};

/// Everything that tests set and read. The mutex is a leaf: nothing else is locked under it.
struct State
{
    std::mutex mutex; ///< guards faults, counts and calls
    std::array<Fault, OPERATION_COUNT> faults{};
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

void failCall(Operation operation, int nth, int error, Repeat repeat)
{
    const std::lock_guard lock(state().mutex);
    state().faults[indexOf(operation)] = {nth, error, repeat};
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

int countCall(Operation operation)
{
    const std::lock_guard lock(state().mutex);
    ++state().counts[indexOf(operation)];
    Fault& fault = state().faults[indexOf(operation)];
    if (fault.callsUntil == 0) {
        return 0;
    }
    if (fault.callsUntil > 1) {
        --fault.callsUntil;
        return 0;
    }
    const int error = fault.error;
    if (fault.repeat == Repeat::Once) {
        fault = {};
    }
    return -error;
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
