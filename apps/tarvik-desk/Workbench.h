#pragma once

#include "CameraLink.h"
#include "configuration/SystemConfiguration.h"
#include "core/concurrent/Mutex.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <string>

namespace tarvik::desk {

/// The camera's configuration and templates as this desk, its only client, has left them; changes
/// them, and takes changes back.
///
/// Threads: any. Changes take turns and wait for the camera to answer.
class Workbench
{
public:
    using Configuration = std::shared_ptr<const configuration::SystemConfiguration>;
    using Edit = std::function<void(configuration::SystemConfiguration&)>;

    struct Outcome
    {
        Configuration configuration;
        bool pending = false; ///< the camera takes its part with one of the next images
        std::string label;    ///< of the change, or of what has been undone
    };

    static constexpr std::size_t UNDO_STEPS = 50;

    explicit Workbench(CameraLink& link) : _link(link) {}

    /// At the start of a connection. What could be undone is forgotten if the camera has changed.
    void load(CameraLink::Client& camera);

    /// Throws ApiError before the first connection.
    [[nodiscard]] Configuration configuration() const;
    /// The same; null before the first connection.
    [[nodiscard]] Configuration configurationOrNull() const;

    /// Applies an edit as one step. Steps of the same label within a moment, as from a slider, are
    /// undone as one. What the edit throws changes nothing.
    Outcome change(const std::string& label, const Edit& edit);

    /// Takes the last step back. Throws ApiError when there is none.
    Outcome undo();

    /// Labels of the steps that can be taken back, the latest last.
    [[nodiscard]] std::vector<std::string> steps() const;

private:
    struct Step
    {
        std::string label;
        Configuration before;
        std::chrono::steady_clock::time_point time;
    };

    Outcome apply(const configuration::SystemConfiguration& wanted, const std::string& label);
    void remember(const std::string& label, const Configuration& before);
    void keep(const Configuration& configuration);

    CameraLink& _link;

    /// One change at a time, over the camera's answers. Lock order: this, then the link's or
    /// _stateMutex.
    concurrent::Mutex _changeMutex;
    /// Guards what follows. A leaf.
    mutable concurrent::Mutex _stateMutex;
    Configuration _configuration TARVIK_GUARDED_BY(_stateMutex);
    std::deque<Step> _steps TARVIK_GUARDED_BY(_stateMutex);
};

} // namespace tarvik::desk
