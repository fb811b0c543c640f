#include "server/UDPSender.h"

#include "chain/Events.h"
#include "core/Version.h"
#include "database/Matchings.h"
#include "server/TaughtValues.h"

#include <array>
#include <cstddef>
#include <numeric>
#include <span>

namespace tarvik::com::server {

namespace {

/// Computed in double precision, then rounded once to the single precision of the wire.
template <int F>
float single(fp<32, F> value)
{
    return static_cast<float>(value.toDouble());
}

/// Complement of the byte sum modulo 256.
std::uint8_t checksum(std::span<const std::byte> bytes)
{
    const auto add = [](unsigned sum, std::byte b) { return sum + std::to_integer<unsigned>(b); };
    return static_cast<std::uint8_t>(~std::accumulate(bytes.begin(), bytes.end(), 0U, add));
}

} // namespace

UDPSender::UDPSender(const database::Database& database) : _database(database) {}

void UDPSender::init(std::uint16_t localPort)
{
    try {
        open();
        setDestination(_config.destinationAddress.c_str(), _config.destinationPort);
        bind(nullptr, localPort);
    } catch (...) {
        close();
        throw;
    }
}

void UDPSender::close()
{
    const concurrent::MutexLock lock(_sendMutex);
    UDPSocket::close();
}

void UDPSender::autoSend(const breakup::FrameProcessedEvent& event)
{
    const concurrent::MutexLock lock(_sendMutex);
    if (_config.autoDistribute && isOpen()) {
        send(event);
    }
}

void UDPSender::send(const breakup::FrameProcessedEvent& event)
{
    const concurrent::MutexLock lock(_sendMutex);
    _datagram.clear(); // the previous one may have failed half-built
    appendHeader(event.matchings->count());
    for (const database::Matching& matching : event.matchings->matchings()) {
        appendRecord(matching);
    }
    // Receivers add up every byte, this one included, and expect 0xFF.
    _datagram.append(checksum(_datagram.bytes()));
    write(_datagram.bytes());
}

void UDPSender::appendHeader(int objectCount)
{
    const Version& version = Version::current();
    _datagram.append("Tarvik");
    _datagram.append(static_cast<std::uint8_t>(version.majorNum()));
    _datagram.append(static_cast<std::uint8_t>(version.minorNum()));
    _datagram.append(static_cast<std::uint8_t>(version.patchNum()));
    _datagram.append(static_cast<std::uint32_t>(version.buildNum()));
    _datagram.append(std::uint8_t{1});
    _datagram.append(static_cast<std::int16_t>(objectCount));
}

void UDPSender::appendRecord(const database::Matching& matching)
{
    constexpr std::array<std::byte, 14> PADDING{};
    const TaughtValues taught = taughtValues(_database, matching.templateID);
    _datagram.append(matching.templateID);
    _datagram.append(single(matching.position.re));
    _datagram.append(single(matching.position.im));
    _datagram.append(single(matching.rotation));
    _datagram.append(single(taught.height));
    _datagram.append(single(taught.gripRotation));
    _datagram.append(single(taught.gripHeight));
    _datagram.append(std::span<const std::byte>(PADDING));
}

} // namespace tarvik::com::server
