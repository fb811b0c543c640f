#pragma once

#include "core/logging/LogManager.h"
#include "core/sys/DateTime.h"
#include "protocol/StreamingSettings.h"
#include "server/ClientConnection.h"
#include "server/messages/Payload.h"

namespace tarvik::com::server {
class Server;
}

/// Messages about the connection and the process.
namespace tarvik::com::server::messages {

/// Lets a peer see that the connection lives.
class TestConnection final : public Plain
{
public:
    TestConnection() : Plain(kinds::TEST_CONNECTION) {}
};

/// Switches log streaming and answers with every log.
class ConfigLogging final : public Plain
{
public:
    ConfigLogging(ClientConnection& client, const logging::LogManager& logs)
        : Plain(kinds::CONFIG_LOGGING),
          _client(client),
          _logs(logs)
    {}

    void receive(io::com::Decoder& decoder) override
    {
        decoder& io::serialization::field("Stream", _stream);
    }

    void act() override
    {
        _client.setStreamLog(_stream);
        _answer = _logs.snapshot();
    }

    void send(io::com::Encoder& encoder) const override
    {
        logging::LogManagerSnapshot::serialize(encoder, _answer);
    }

private:
    ClientConnection& _client;
    const logging::LogManager& _logs;
    bool _stream = false;
    logging::LogManagerSnapshot _answer;
};

class ConfigStreaming final : public Incoming<StreamingSettings>
{
public:
    explicit ConfigStreaming(Server& server)
        : Incoming(kinds::CONFIG_STREAMING, "Streaming"),
          _server(server)
    {}

    void act() override;

private:
    Server& _server;
};

class SetSysTime final : public Incoming<sys::DateTime>
{
public:
    explicit SetSysTime(Server& server)
        : Incoming(kinds::SET_SYSTEM_TIME, "SystemTime"),
          _server(server)
    {}

    void act() override;

private:
    Server& _server;
};

/// Asks the main thread to stop the process.
class ServerShutdown final : public Plain
{
public:
    explicit ServerShutdown(Server& server) : Plain(kinds::SERVER_SHUTDOWN), _server(server) {}

    void act() override;

private:
    Server& _server;
};

/// Saves the configuration at once.
class SyncConfig final : public Plain
{
public:
    explicit SyncConfig(Server& server) : Plain(kinds::SYNC_CONFIG), _server(server) {}

    void act() override;

private:
    Server& _server;
};

} // namespace tarvik::com::server::messages
