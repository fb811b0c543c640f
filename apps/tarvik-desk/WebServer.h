#pragma once

#include "Guard.h"
#include "Viewers.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace httplib {
struct Request;
struct Response;
class Server;
} // namespace httplib

namespace tarvik::desk {

class Desk;

struct ListenOptions
{
    std::string address = "127.0.0.1";
    int port = 8080; ///< 0: any free one
    std::vector<std::string> allowedHosts;
};

/// The page and the API over HTTP. The routes stand in Routes.cpp, docs/desk.md describes them.
///
/// Every request has a thread of a fixed pool while it lasts and its connection ends with it, so
/// idle browsers hold no thread; events, which last, have a limit of their own.
class WebServer
{
public:
    static constexpr std::size_t MAX_JSON_BYTES = 64 * 1024;
    static constexpr std::size_t MAX_IMPORT_BYTES = 8 * 1024 * 1024;

    WebServer(Desk& desk, const ListenOptions& options);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// Throws Exception when the address cannot be had. Returns the port.
    int bind();
    /// Until stop().
    void serve();
    /// From any thread, when the desk has ended: its viewers leave then.
    void stop();

private:
    using Request = httplib::Request;
    using Response = httplib::Response;

    void addRoutes();
    void addPage();
    void addState();
    void addImages();
    void addSettings();
    void addTemplates();
    void addResults();
    void addSystem();

    [[nodiscard]] bool refuses(const Request& request, Response& response) const;
    void streamEvents(const Request& request, Response& response);

    Desk& _desk;
    const ListenOptions _options;
    const Guard _guard;
    Viewers _viewers;
    std::unique_ptr<httplib::Server> _server;
};

} // namespace tarvik::desk
