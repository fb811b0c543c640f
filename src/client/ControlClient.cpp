#include "client/ControlClient.h"

#include <utility>

namespace tarvik::client {

using analysis::AnalyzerConfiguration;
using breakup::BreakupConfiguration;
using camera::CameraConfiguration;
using database::DatabaseState;
using logging::LogManagerSnapshot;

namespace kinds = com::kinds;

namespace {

/// Laid out as the class of the comparator.
class SetComparator final : public Plain
{
public:
    explicit SetComparator(const database::Comparator& comparator)
        : Plain(kinds::SET_DATABASE_COMPARATOR),
          _comparator(comparator)
    {}

    void send(io::com::Encoder& encoder) const override
    {
        database::serializeComparator(encoder, "", _comparator);
    }

private:
    const database::Comparator& _comparator;
};

} // namespace

ControlClient::ControlClient(std::string host, std::uint16_t port, const Timeouts& timeouts)
    : _connection({std::move(host), port}, timeouts),
      _analyzerConfig(_connection.addAnswer<AnalyzerConfiguration>(kinds::GET_ANALYZER_CONFIG)),
      _cameraConfig(_connection.addAnswer<CameraConfiguration>(kinds::GET_CAMERA_CONFIG)),
      _breakupConfig(_connection.addAnswer<BreakupConfiguration>(kinds::GET_BREAKUP_CONFIG)),
      _database(_connection.addAnswer<DatabaseState>(kinds::GET_DATABASE)),
      _logs(_connection.addAnswer<LogManagerSnapshot>(kinds::CONFIG_LOGGING))
{
    _connection.addIncoming<com::StreamContents>(kinds::STREAM, [this](const Result& result) {
        if (_resultHandler) {
            _resultHandler(result);
        }
    });
    _connection.addIncoming<com::LogUpdateContents>(kinds::LOG_UPDATE,
                                                    [this](const LogUpdate& update) {
                                                        if (_logHandler) {
                                                            _logHandler(update);
                                                        }
                                                    });
    _connection.addIgnored(kinds::TEST_CONNECTION);
}

ControlClient::~ControlClient() = default;

AnalyzerConfiguration ControlClient::analyzerConfig()
{
    return _connection.ask(_analyzerConfig);
}

void ControlClient::setAnalyzerConfig(const AnalyzerConfiguration& config)
{
    _connection.send(Outgoing(kinds::SET_ANALYZER_CONFIG, config));
}

CameraConfiguration ControlClient::cameraConfig()
{
    return _connection.ask(_cameraConfig);
}

void ControlClient::setCameraConfig(const CameraConfiguration& config)
{
    _connection.send(Outgoing(kinds::SET_CAMERA_CONFIG, config));
}

BreakupConfiguration ControlClient::breakupConfig()
{
    return _connection.ask(_breakupConfig);
}

void ControlClient::setBreakupConfig(const BreakupConfiguration& config)
{
    _connection.send(Outgoing(kinds::SET_BREAKUP_CONFIG, config));
}

DatabaseState ControlClient::database()
{
    return _connection.ask(_database);
}

void ControlClient::setDatabase(const DatabaseState& state)
{
    _connection.send(Outgoing(kinds::SET_DATABASE, state));
}

void ControlClient::setDatabaseConfig(const database::DatabaseConfiguration& config)
{
    _connection.send(Outgoing(kinds::SET_DATABASE_CONFIG, config));
}

void ControlClient::setComparator(const database::Comparator& settings)
{
    DatabaseState state = database();
    state.setComparator(settings);
    _connection.send(SetComparator(*state.comparator()));
}

void ControlClient::setStreaming(const com::StreamingSettings& settings)
{
    _connection.send(Outgoing(kinds::CONFIG_STREAMING, settings));
}

LogManagerSnapshot ControlClient::setLogStreaming(bool enabled)
{
    return _connection.ask(_logs, Outgoing(kinds::CONFIG_LOGGING, enabled));
}

void ControlClient::setSystemTime(const sys::DateTime& time)
{
    _connection.send(Outgoing(kinds::SET_SYSTEM_TIME, time));
}

void ControlClient::sync()
{
    _connection.send(Plain(kinds::SYNC_CONFIG));
}

void ControlClient::testConnection()
{
    _connection.send(Plain(kinds::TEST_CONNECTION));
}

void ControlClient::shutdown()
{
    _connection.send(Plain(kinds::SERVER_SHUTDOWN));
}

} // namespace tarvik::client
