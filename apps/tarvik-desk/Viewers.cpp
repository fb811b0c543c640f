#include "Viewers.h"

#include "Desk.h"

#include <algorithm>
#include <utility>

namespace tarvik::desk {

using concurrent::MutexLock;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds STATE_EVERY{1000};

PictureWish cameraWish(const ViewerWish& wish)
{
    PictureWish result{.original = wish.histogram, .binary = false};
    for (const PictureKind kind : wish.pictures) {
        (kind == PictureKind::Binary ? result.binary : result.original) = true;
    }
    return result;
}

std::string event(const char* name, const std::string& data)
{
    return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

std::string text(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string histogramText(const Snapshot& snapshot)
{
    Json json = Json::object();
    for (const Histogram& h : histograms(snapshot.result().originalImage)) {
        json[h.channel] = h.counts;
    }
    return json.dump();
}

} // namespace

std::shared_ptr<void> Viewers::enter(const ViewerWish& wish)
{
    const MutexLock lock(_mutex);
    if (_wishes.size() >= MOST) {
        return nullptr;
    }
    const auto place = _wishes.insert(_wishes.end(), cameraWish(wish));
    passOn();
    return {&*place, [this, place](void*) { leave(place); }};
}

std::size_t Viewers::count() const
{
    const MutexLock lock(_mutex);
    return _wishes.size();
}

void Viewers::leave(std::list<PictureWish>::iterator place)
{
    const MutexLock lock(_mutex);
    _wishes.erase(place);
    passOn();
}

void Viewers::passOn()
{
    PictureWish all;
    for (const PictureWish& wish : _wishes) {
        all.original = all.original || wish.original;
        all.binary = all.binary || wish.binary;
    }
    _link.wish(all);
}

EventWriter::EventWriter(Desk& desk, Viewers& viewers, ViewerWish wish)
    : _desk(desk),
      _viewers(viewers),
      _wish(std::move(wish))
{}

bool EventWriter::wantsImages() const
{
    return _wish.results || _wish.histogram || !_wish.pictures.empty();
}

std::string EventWriter::next()
{
    std::string events;
    while (events.empty() && !_desk.bulletin().closed()) {
        events = newsSince(await());
    }
    return events;
}

News EventWriter::await()
{
    const auto now = Clock::now();
    const bool imageWaits = wantsImages() && _imageDue > now;
    const auto until = imageWaits ? std::min(_imageDue, _stateDue) : _stateDue;
    const auto limit = std::max(milliseconds(0), std::chrono::ceil<milliseconds>(until - now));
    return _desk.bulletin().waitFor(limit, [this](const News& n) {
        return _first || n.state != _seen.state || n.log != _seen.log ||
               n.settings != _seen.settings || n.templates != _seen.templates || imageIsDue(n);
    });
}

bool EventWriter::imageIsDue(const News& news) const
{
    return wantsImages() && news.image != _seen.image && Clock::now() >= _imageDue;
}

std::string EventWriter::newsSince(const News& news)
{
    std::string events;
    const auto now = Clock::now();
    if (news.state != std::exchange(_seen.state, news.state) || now >= _stateDue) {
        _stateDue = now + STATE_EVERY;
        events += stateEvent();
    }
    if (news.settings != std::exchange(_seen.settings, news.settings)) {
        events += event("settings", "{}");
    }
    if (news.templates != std::exchange(_seen.templates, news.templates)) {
        events += event("templates", "{}");
    }
    if (news.log != std::exchange(_seen.log, news.log) || _first) {
        events += logEvent();
    }
    if (imageIsDue(news)) {
        _seen.image = news.image;
        events += imageEvent();
    }
    _first = false;
    return events;
}

std::string EventWriter::imageEvent()
{
    const SnapshotPtr snapshot = _desk.album().newest();
    if (snapshot == nullptr) {
        return "";
    }
    // A little early is better than an image late.
    const auto interval = std::chrono::duration<double>(0.8 / _wish.rate);
    _imageDue = Clock::now() + std::chrono::duration_cast<Clock::duration>(interval);
    std::string data =
        _wish.results ? snapshot->json() : Json{{"image", snapshot->number()}}.dump();
    data.pop_back(); // the closing brace
    data += ",\"pictures\":{";
    bool first = true;
    for (const PictureKind kind : _wish.pictures) {
        if (snapshot->hasPicture(kind)) {
            data += std::string(first ? "\"" : ",\"") + pictureName(kind) + "\":\"";
            data += snapshot->encoded(kind) + "\"";
            first = false;
        }
    }
    data += "}";
    if (_wish.histogram && snapshot->hasPicture(PictureKind::Original)) {
        data += ",\"histogram\":" + histogramText(*snapshot);
    }
    return event("image", data + "}");
}

std::string EventWriter::stateEvent()
{
    Json state = _desk.stateJson();
    state["viewers"] = _viewers.count();
    return event("state", text(state));
}

std::string EventWriter::logEvent()
{
    const Json entries = _desk.log().after(_seen.logNumber);
    if (entries.empty()) {
        return "";
    }
    _seen.logNumber = entries.back()["number"].get<std::uint64_t>();
    return event("log", text(entries));
}

} // namespace tarvik::desk
