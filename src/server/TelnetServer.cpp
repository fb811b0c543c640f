#include "server/TelnetServer.h"

#include "core/util/succeeds.h"
#include "io/net/SocketException.h"
#include "server/TaughtValues.h"

#include <cerrno>
#include <exception>
#include <utility>

namespace tarvik::com::server {

using concurrent::MutexLock;
using logging::LogLevel;

namespace {

constexpr int FAILURE_PAUSE_MS = 2000;
constexpr int CONNECTION_PAUSE_MS = 50;
constexpr std::int64_t US_PER_SECOND = 1'000'000;

/// The client has left, or has been sent away: the end of a conversation rather than a failure.
bool isEndOfConnection(const io::net::SocketException& e)
{
    const int error = e.getErrorCode();
    return error == ECONNRESET || error == EPIPE || error == ECANCELED || error == EBADF;
}

} // namespace

TelnetServer::TelnetServer(Surroundings surroundings)
    : Logging("Telnet"),
      _surroundings(std::move(surroundings))
{}

TelnetServer::~TelnetServer()
{
    stop();
}

void TelnetServer::start()
{
    if (_running.exchange(true)) {
        return;
    }
    _stop.clear();
    _surroundings.results.addListener(this);
    Thread::start();
}

void TelnetServer::stop()
{
    if (!_running.exchange(false)) {
        return;
    }
    _stop.set();
    _surroundings.results.removeListener(this);
    _socket.close();
    if (!isCurrentThread()) {
        join();
    }
    _surroundings.tester.dismiss(this);
}

void TelnetServer::run()
{
    while (_running) {
        if (!util::succeeds([this] { serveOneClient(); }) &&
            !util::succeeds([this] { hangUp(); })) {
            _socket.close();
        }
    }
}

void TelnetServer::onEvent(breakup::FrameProcessedEvent& event)
{
    const MutexLock lock(_resultMutex);
    _matchings = *event.matchings;
    if (!std::exchange(_frameProcessed, true)) {
        _frameProcessedWakeUp.set();
    }
}

void TelnetServer::onEvent(ConnectionTester::Tick& /*event*/)
{
    unsigned conversation = 0;
    {
        const std::int64_t limitUs = config().timeout * US_PER_SECOND;
        const MutexLock lock(_inactivityMutex);
        if (limitUs == 0 || _inactivity.timeElapsed() <= limitUs) {
            return;
        }
        conversation = _conversation;
    }
    log(LogLevel::Info, "Connection timed out.");
    const MutexLock lock(_inactivityMutex);
    if (conversation == _conversation) {
        _socket.close();
    }
}

TelnetConfig TelnetServer::config() const
{
    const MutexLock lock(_configMutex);
    return _config;
}

void TelnetServer::setConfig(const TelnetConfig& config)
{
    const MutexLock lock(_configMutex);
    _config = config;
}

void TelnetServer::serveOneClient()
{
    try {
        acceptClient();
        talk();
    } catch (const io::net::SocketException& e) {
        if (!isEndOfConnection(e)) {
            reportOnce(e);
        }
    } catch (const std::exception& e) {
        reportOnce(e);
    }
    hangUp();
}

void TelnetServer::acceptClient()
{
    const std::string& address = _surroundings.bindAddress;
    const std::uint16_t port = config().port != 0 ? config().port : _localPort.load();
    _socket.open();
    if (!_running) {
        return; // stop() came before there was a socket to close
    }
    _socket.bind(address.empty() ? nullptr : address.c_str(), port);
    _socket.listen();
    _localPort = static_cast<std::uint16_t>(_socket.localPort());
    log(LogLevel::Fine, "Telnet server waiting for connection...");
    _socket.accept();
}

void TelnetServer::talk()
{
    if (!_running) {
        return;
    }
    _lastFailure.clear();
    _talking = true;
    log(LogLevel::Info, "Telnet server connected.");
    _answer.clear();
    _answer.append(telnet::GREETING);
    _answer.append(telnet::LINE_END);
    _socket.write(_answer.bytes());
    if (config().timeout != 0) {
        _surroundings.tester.addListener(this);
    }
    restartInactivity();
    while (handleCommand()) {
        restartInactivity();
    }
}

bool TelnetServer::handleCommand()
{
    const std::string line = _reader.readLine();
    log(LogLevel::Fine, "Request: '" + line + "'");
    if (line == "EXIT" || line == "quit") {
        return false;
    }
    _answer.clear();
    answer(line);
    _answer.append(telnet::LINE_END);
    _socket.write(_answer.bytes());
    return true;
}

void TelnetServer::answer(std::string_view line)
{
    if (line == "VERSION") {
        _answer.append(telnet::version());
    } else if (line == "IMAGE") {
        _answer.append(_surroundings.serverRunning() ? telnet::CAMERA_READY
                                                     : telnet::CAMERA_NOT_READY);
    } else if (line == "RDO \"RPD\"") {
        telnet::appendResultRecord(_answer, nextResult());
    } else if (line.starts_with("RV")) {
        answerValue(line.size() > 3 ? line.substr(3) : std::string_view());
    } else {
        log(LogLevel::Fatal, "Unknown request.");
        _answer.append(telnet::UNKNOWN_COMMAND);
    }
}

void TelnetServer::answerValue(std::string_view argument)
{
    const std::optional<std::string> value = valueOf(argument, nextResult());
    if (!value) {
        log(LogLevel::Warning, "Invalid value: '" + std::string(argument) + "'");
        _answer.append(telnet::UNKNOWN_COMMAND);
        return;
    }
    _answer.append(*value);
    log(LogLevel::Fine, "Response: '" + *value + "'");
}

std::optional<std::string> TelnetServer::valueOf(std::string_view argument,
                                                 const database::Matchings& matchings) const
{
    if (argument == "Hello") {
        return "HELLO";
    }
    if (argument == "Objects") {
        return std::to_string(matchings.count());
    }
    if (argument.starts_with('O')) {
        return objectLine(argument, matchings);
    }
    return std::nullopt;
}

std::string TelnetServer::objectLine(std::string_view argument,
                                     const database::Matchings& matchings) const
{
    const int index = telnet::objectIndex(argument);
    if (index < 0 || index >= matchings.count()) {
        log(LogLevel::Warning, "Invalid object index: '" + std::to_string(index) + "'");
        return std::string(telnet::NO_SUCH_OBJECT);
    }
    const database::Matching& matching = matchings[index];
    return telnet::objectLine(matching, taughtValues(_surroundings.database, matching.templateID));
}

database::Matchings TelnetServer::nextResult()
{
    _socket.waitWhileConnected(_frameProcessedWakeUp);
    const MutexLock lock(_resultMutex);
    _frameProcessed = false;
    _frameProcessedWakeUp.clear();
    return _matchings;
}

void TelnetServer::restartInactivity()
{
    const MutexLock lock(_inactivityMutex);
    _inactivity.start();
}

void TelnetServer::endConversation()
{
    const MutexLock lock(_inactivityMutex);
    _inactivity.reset();
    ++_conversation;
}

void TelnetServer::hangUp()
{
    _surroundings.tester.removeListener(this);
    endConversation();
    _socket.close();
    _reader.clear();
    if (std::exchange(_talking, false)) {
        static_cast<void>(_stop.wait(CONNECTION_PAUSE_MS));
        log(LogLevel::Info, "Telnet server disconnected.");
    }
}

void TelnetServer::reportOnce(const std::exception& failure)
{
    if (!_running) {
        return;
    }
    if (_lastFailure != failure.what()) {
        _lastFailure = failure.what();
        logFailure(LogLevel::Warning, "", failure);
    }
    static_cast<void>(_stop.wait(FAILURE_PAUSE_MS));
}

} // namespace tarvik::com::server
