#include "Album.h"

#include <algorithm>

namespace tarvik::desk {

using concurrent::MutexLock;

namespace {

constexpr std::int64_t STRIP_MS = 500;

void push(std::deque<SnapshotPtr>& list, const SnapshotPtr& snapshot, std::size_t most)
{
    list.push_front(snapshot);
    if (list.size() > most) {
        list.pop_back();
    }
}

SnapshotPtr findIn(const std::deque<SnapshotPtr>& list, std::uint64_t number)
{
    const auto found = std::ranges::find(list, number, [](const auto& s) { return s->number(); });
    return found == list.end() ? nullptr : *found;
}

} // namespace

void Album::add(const SnapshotPtr& snapshot)
{
    const MutexLock lock(_mutex);
    push(_latest, snapshot, LATEST);
    const bool due = _strip.empty() ||
                     snapshot->epochMs() - _strip.front()->epochMs() >= STRIP_MS ||
                     snapshot->epochMs() < _strip.front()->epochMs();
    if (due && snapshot->hasPicture(PictureKind::Original)) {
        push(_strip, snapshot, STRIP);
    }
}

SnapshotPtr Album::newest() const
{
    const MutexLock lock(_mutex);
    return _latest.empty() ? nullptr : _latest.front();
}

SnapshotPtr Album::find(std::uint64_t number) const
{
    const MutexLock lock(_mutex);
    return findLocked(number);
}

SnapshotPtr Album::hold(std::uint64_t number)
{
    const MutexLock lock(_mutex);
    SnapshotPtr found = findLocked(number);
    if (found != nullptr && findIn(_held, number) == nullptr) {
        push(_held, found, HELD);
    }
    return found;
}

std::vector<SnapshotPtr> Album::strip() const
{
    const MutexLock lock(_mutex);
    return {_strip.begin(), _strip.end()};
}

SnapshotPtr Album::findLocked(std::uint64_t number) const
{
    for (const auto* list : {&_held, &_latest, &_strip}) {
        if (SnapshotPtr found = findIn(*list, number)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace tarvik::desk
