#include "CameraLink.h"

#include "ApiError.h"

#include <utility>

namespace tarvik::desk {

using client::ClientException;
using concurrent::MutexLock;

namespace {

constexpr std::chrono::milliseconds BETWEEN_ATTEMPTS{400};
constexpr std::chrono::milliseconds ROUND{3000};
constexpr std::chrono::milliseconds IMAGES_ARE_DUE{2500};

constexpr client::Timeouts TIMEOUTS{.connect = std::chrono::milliseconds(2000),
                                    .refused = std::chrono::milliseconds(0),
                                    .greeting = std::chrono::milliseconds(2000),
                                    .response = std::chrono::milliseconds(5000)};

std::int64_t nowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

CameraLink::CameraLink(client::ServerAddress address, Handlers handlers)
    : _address(std::move(address)),
      _handlers(std::move(handlers))
{}

CameraLink::~CameraLink()
{
    end();
}

void CameraLink::end()
{
    {
        const MutexLock lock(_mutex);
        _ending = true;
        _changed.notifyAll();
    }
    join();
}

LinkState CameraLink::state() const
{
    const MutexLock lock(_mutex);
    return _state;
}

std::shared_ptr<CameraLink::Client> CameraLink::camera() const
{
    const MutexLock lock(_mutex);
    if (_camera == nullptr) {
        throw ApiError(ApiError::Unavailable,
                       "There is no connection to the camera at " + _address.text() + ". " +
                           (_state.text.empty() ? "The desk keeps trying." : _state.text));
    }
    return _camera;
}

void CameraLink::reconnect()
{
    const MutexLock lock(_mutex);
    _lost = true;
    _changed.notifyAll();
}

void CameraLink::wish(PictureWish wish)
{
    const MutexLock lock(_mutex);
    _wish = wish;
}

bool CameraLink::imagesArrive() const
{
    return nowMs() - _lastImageMs < IMAGES_ARE_DUE.count();
}

void CameraLink::run()
{
    while (!_ending) {
        try {
            attempt();
        } catch (const ClientException& e) {
            if (e.kind() == ClientException::Kind::Refused) {
                _handlers.refused();
            }
            changeState(LinkPhase::Waiting, e.what());
        } catch (const std::exception& e) {
            changeState(LinkPhase::Waiting, e.what());
        }
        pause();
    }
}

void CameraLink::attempt()
{
    const auto camera = std::make_shared<Client>(_address.host, _address.port, TIMEOUTS);
    camera->onResult([this, c = camera.get()](const auto& result) { resultArrived(*c, result); });
    camera->onLog([this](const auto& update) { _handlers.log(*update); });
    camera->onLost([this](const ClientException&) { reconnect(); });
    com::StreamingSettings first;
    {
        const MutexLock lock(_mutex);
        _lost = false;
        first = _choice.start(_wish); // nobody receives yet
    }
    camera->connect();
    _handlers.connected(*camera);
    {
        const MutexLock lock(_mutex);
        _camera = camera;
        _state.greeting = camera->greeting();
    }
    _lastImageMs = nowMs();
    camera->setStreaming(first);
    changeState(LinkPhase::Connected, "");
    try {
        stayConnected(*camera);
    } catch (const ClientException&) {
        // the next attempt says what is the matter
    }
    {
        const MutexLock lock(_mutex);
        _camera.reset();
    }
    _imagesPerSecond = 0;
    changeState(LinkPhase::Connecting, "The connection has ended; connecting again.");
    // Requests of other threads end with the connection, the client with the last of them.
    camera->disconnect();
}

void CameraLink::stayConnected(Client& camera)
{
    while (!_ending) {
        const std::uint64_t before = _images;
        {
            const MutexLock lock(_mutex);
            const bool over = _changed.waitFor(_mutex, ROUND, [this]() TARVIK_REQUIRES(_mutex) {
                return _lost || _ending.load();
            });
            if (over) {
                return;
            }
        }
        if (_images == before) {
            _imagesPerSecond = 0;
            static_cast<void>(camera.breakupConfig()); // whether it still answers
        }
    }
}

void CameraLink::resultArrived(Client& camera, const Client::Result& result)
{
    PictureWish wish;
    {
        const MutexLock lock(_mutex);
        wish = _wish;
    }
    ++_images;
    _lastImageMs = nowMs();
    if (_choice.shows(result->settings)) {
        _handlers.result(result);
    } else if (result->settings.matchings) {
        _handlers.matchings(result);
    }
    const auto next = _choice.next(result->settings, wish, Clock::now());
    _imagesPerSecond = _choice.imagesPerSecond();
    if (next) {
        try {
            camera.setStreaming(*next);
        } catch (const ClientException&) {
            // lost: the receiving thread is about to find out
        }
    }
}

void CameraLink::changeState(LinkPhase phase, const std::string& text)
{
    {
        const MutexLock lock(_mutex);
        _state.phase = phase;
        _state.text = text;
    }
    _handlers.stateChanged();
}

void CameraLink::pause()
{
    const MutexLock lock(_mutex);
    _changed.waitFor(_mutex, BETWEEN_ATTEMPTS,
                     [this]() TARVIK_REQUIRES(_mutex) { return _ending.load(); });
}

} // namespace tarvik::desk
