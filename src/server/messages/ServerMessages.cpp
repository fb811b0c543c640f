#include "server/messages/ServerMessages.h"

#include "server/Server.h"

namespace tarvik::com::server::messages {

void ConfigStreaming::act()
{
    _server.setStreamingSettings(payload());
}

void SetSysTime::act()
{
    _server.setSysTime(payload());
}

void ServerShutdown::act()
{
    _server.requestStop();
}

void SyncConfig::act()
{
    _server.saveConfig();
}

} // namespace tarvik::com::server::messages
