#include "client/ClientException.h"

namespace tarvik::client {

using Kind = ClientException::Kind;

ClientException refused(const ServerAddress& server, const std::string& reason)
{
    return {Kind::Refused, "Cannot connect to " + server.text() + ": " + reason +
                               " Is tarvik-server running there? It serves one client at a time, "
                               "so end the other one first."};
}

ClientException wrongGreeting(const ServerAddress& server)
{
    return {Kind::WrongGreeting, "What answers at " + server.text() +
                                     " is no Tarvik server. Check host and port: control clients "
                                     "use 7453, test clients 7454."};
}

ClientException lost(const ServerAddress& server, const std::string& reason)
{
    return {Kind::Lost, "The connection to " + server.text() + " is lost: " + reason +
                            (reason.ends_with('.') ? "" : ".") +
                            " The server's log tells its side; then connect again."};
}

ClientException timedOut(const ServerAddress& server, const std::string& what,
                         std::chrono::milliseconds time)
{
    return {Kind::Timeout, "No " + what + " came from " + server.text() + " within " +
                               std::to_string(time.count()) +
                               " ms, and the connection is closed. Check the network and the "
                               "server's log; then connect again."};
}

} // namespace tarvik::client
