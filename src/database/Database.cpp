#include "database/Database.h"

#include "analysis/Frame.h"
#include "core/Exception.h"
#include "database/Recognition.h"
#include "database/comparators/AdvancedComparator.h"

#include <type_traits>
#include <utility>

namespace tarvik::database {

Database::Database() : logging::Logging("Database"), _state(std::make_shared<const DatabaseState>())
{}

Database::StatePtr Database::current() const
{
    const concurrent::MutexLock lock(_stateMutex);
    return _state;
}

Database::StatePtr Database::exchange(StatePtr next)
{
    const concurrent::MutexLock lock(_stateMutex);
    return std::exchange(_state, std::move(next));
}

void Database::replace(StatePtr next)
{
    const Comparator& comparator = *next->comparator();
    const int index = next->config().comparatorImpl()->index();
    const StatePtr previous = exchange(next); // goes, with what nobody else holds, at the end
    if (previous->config().comparatorImpl()->index() != index) {
        ComparatorNotificationEvent event{
            .source = this,
            .advanced =
                dynamic_cast<const comparators::AdvancedComparator*>(&comparator) != nullptr};
        util::Observable<ComparatorNotificationEvent>::notify(event);
    }
}

/// Applies a change to a copy of the state and puts that in place. Returns what the change returns.
template <class Change>
auto Database::change(Change apply)
{
    const concurrent::MutexLock lock(_changeMutex);
    auto next = std::make_shared<DatabaseState>(*current());
    if constexpr (std::is_void_v<decltype(apply(*next))>) {
        apply(*next);
        replace(std::move(next));
    } else {
        const auto result = apply(*next);
        replace(std::move(next));
        return result;
    }
}

DatabaseState Database::state() const
{
    return *current();
}

// Entries are made when the lock is free again: whoever listens to logs may have to wait.

void Database::setState(DatabaseState state)
{
    change([&state](DatabaseState& next) { next = std::move(state); });
    log(logging::LogLevel::Info, "Config changed.");
}

DatabaseConfiguration Database::config() const
{
    return current()->config();
}

void Database::setConfig(const DatabaseConfiguration& config)
{
    change([&config](DatabaseState& next) { next.setConfig(config); });
    log(logging::LogLevel::Info, "Config changed.");
}

std::shared_ptr<const Comparator> Database::comparator() const
{
    return current()->comparator();
}

void Database::setComparator(const Comparator& settings)
{
    change([&settings](DatabaseState& next) { next.setComparator(settings); });
    log(logging::LogLevel::Info, "Comparator config changed.");
}

int Database::numTemplates() const
{
    return current()->numTemplates();
}

std::shared_ptr<const Template> Database::getTemplate(int index) const
{
    return current()->getTemplate(index);
}

std::shared_ptr<const Template> Database::getTemplateById(int id) const
{
    auto found = findTemplateById(id);
    if (found == nullptr) {
        throw Exception("Invalid template ID.");
    }
    return found;
}

std::shared_ptr<const Template> Database::findTemplateById(int id) const
{
    return current()->findTemplateById(id);
}

void Database::setTemplate(int index, const Template& t)
{
    const auto copy = std::make_shared<const Template>(t);
    change([index, &copy](DatabaseState& next) { next.setTemplate(index, copy); });
}

bool Database::addTemplate(const Template& t)
{
    const auto copy = std::make_shared<const Template>(t);
    return change([&copy](DatabaseState& next) { return next.addTemplate(copy); });
}

bool Database::removeTemplate(int index)
{
    return change([index](DatabaseState& next) { return next.removeTemplate(index); });
}

void Database::clear()
{
    change([](DatabaseState& next) { next.clear(); });
}

std::int32_t Database::createID() const
{
    return current()->createID();
}

bool Database::findTemplate(Matching& matching, const analysis::Object& object) const
{
    return recognize(*current(), object, matching);
}

void Database::onEvent(analysis::FrameEvent& event)
{
    _timer.start();
    const auto objects = std::as_const(*event.frame).objects();
    _matchings.setCount(static_cast<std::int16_t>(objects.size()));
    for (std::size_t i = 0; i < objects.size(); ++i) {
        findTemplate(_matchings.matchings()[i], objects[i]);
    }
    const std::int64_t firstPass = event.frame->reAnalyzed() ? _matchings.elapsedTime() : 0;
    _matchings.setElapsedTime(firstPass + _timer.timeElapsed());

    BreakupEvent breakup{.source = this,
                         .originalImage = event.originalImage,
                         .binaryImage = event.binaryImage,
                         .frame = event.frame,
                         .matchings = &_matchings,
                         .sourceId = event.sourceId};
    util::Observable<BreakupEvent>::notify(breakup);
}

} // namespace tarvik::database
