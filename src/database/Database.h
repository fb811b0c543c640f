#pragma once

#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Timer.h"
#include "core/logging/Logging.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"
#include "database/DatabaseConfiguration.h"
#include "database/DatabaseState.h"
#include "database/Matchings.h"

#include <cstdint>
#include <memory>

namespace tarvik::analysis {
class Object;
}

namespace tarvik::database {

struct Matching;

/// Recognises the objects of every frame among the taught templates.
///
/// Threads: frames on the camera thread; every other operation on any thread. What is stored is one
/// immutable state: a change builds the next state beside it and swaps one pointer, so the camera
/// thread never waits for a client's copying or decoding and never sees half of a change. Whoever
/// holds a comparator or template of an earlier state may go on reading it. A change between two
/// objects of one frame applies from the next object on.
class Database : public util::Observable<BreakupEvent>,
                 public util::Observable<ComparatorNotificationEvent>,
                 public util::Listener<analysis::FrameEvent>,
                 private logging::Logging
{
public:
    using util::Observable<BreakupEvent>::addListener;
    using util::Observable<BreakupEvent>::removeListener;
    using util::Observable<ComparatorNotificationEvent>::addListener;
    using util::Observable<ComparatorNotificationEvent>::removeListener;

    Database();

    /// All that is stored, as of one moment.
    [[nodiscard]] DatabaseState state() const;
    /// Replaces all that is stored. Tells the listeners when the comparator is of another class.
    void setState(DatabaseState state);

    [[nodiscard]] DatabaseConfiguration config() const;
    /// Another comparator implementation brings a new comparator with default settings, of which
    /// the listeners are told.
    void setConfig(const DatabaseConfiguration& config);

    /// Of the class that the configuration names; its settings never change.
    [[nodiscard]] std::shared_ptr<const Comparator> comparator() const;
    /// Takes over the settings that the given comparator shares with the class of the current one.
    void setComparator(const Comparator& settings);

    [[nodiscard]] int numTemplates() const;
    /// Throws Exception "Invalid template index." outside 0 ... numTemplates() - 1.
    [[nodiscard]] std::shared_ptr<const Template> getTemplate(int index) const;
    /// The first one with this identity. Throws Exception "Invalid template ID." when there is
    /// none.
    [[nodiscard]] std::shared_ptr<const Template> getTemplateById(int id) const;
    /// The same, but null when there is none.
    [[nodiscard]] std::shared_ptr<const Template> findTemplateById(int id) const;
    /// Throws Exception "Invalid template index." outside 0 ... numTemplates() - 1.
    void setTemplate(int index, const Template& t);
    /// Appends. False, and nothing changes, when 31 templates are stored: the 32nd comes by
    /// setState() only, and clients count on that.
    bool addTemplate(const Template& t);
    /// Later ones move down. False, and nothing changes, for an index out of range.
    bool removeTemplate(int index);
    void clear();
    /// An identity above all that are stored; 0 when there are none.
    [[nodiscard]] std::int32_t createID() const;

    /// Compares one object with every template. True when one was found. Allocates nothing.
    bool findTemplate(Matching& matching, const analysis::Object& object) const;

    /// Matches every object of the frame and publishes the BreakupEvent.
    void onEvent(analysis::FrameEvent& event) override;

    /// Decoding replaces all that is stored, once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    using StatePtr = std::shared_ptr<const DatabaseState>;

    [[nodiscard]] StatePtr current() const;
    [[nodiscard]] StatePtr exchange(StatePtr next);

    template <class Change>
    auto change(Change apply);
    void replace(StatePtr next) TARVIK_REQUIRES(_changeMutex);

    /// One change at a time, notification included, so that listeners hear of changes in their
    /// order. The camera thread never takes it. Lock order: _changeMutex, then a listener's own
    /// locks or _stateMutex.
    concurrent::Mutex _changeMutex;
    /// Guards the pointer alone. A leaf, held for the copy of a pointer.
    mutable concurrent::Mutex _stateMutex;
    StatePtr _state TARVIK_GUARDED_BY(_stateMutex);

    Matchings _matchings;     ///< camera thread only
    concurrent::Timer _timer; ///< camera thread only
};

template <class S, class Self>
void Database::serialize(S& s, Self& self)
{
    if constexpr (S::isEncoder()) {
        const DatabaseState state = self.state();
        DatabaseState::serialize(s, state);
    } else {
        DatabaseState state;
        DatabaseState::serialize(s, state);
        self.setState(std::move(state));
    }
}

} // namespace tarvik::database
