#include "WebServer.h"

#include "ApiError.h"
#include "Desk.h"
#include "Page.h"
#include "Request.h"

#include <httplib.h>
#include <sys/socket.h>

#include <charconv>
#include <sstream>

namespace tarvik::desk {

namespace {

/// More than viewers and a person's requests ever need at once.
constexpr std::size_t THREADS = Viewers::MOST + 16;

constexpr time_t READ_SECONDS = 5;
/// A browser that takes nothing for so long is let go.
constexpr time_t WRITE_SECONDS = 10;
/// Bounds how many images a slow browser lags behind.
constexpr int SEND_BUFFER_BYTES = 128 * 1024;

const httplib::Headers SECURITY_HEADERS{
    {"Content-Security-Policy",
     "default-src 'self'; frame-ancestors 'none'; base-uri 'none'; form-action 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cache-Control", "no-store"},
};

void answer(httplib::Response& response, const ApiError& error)
{
    response.status = error.status();
    response.set_content(error.json().dump(-1, ' ', false, Json::error_handler_t::replace) + "\n",
                         JSON_TYPE);
}

std::vector<std::string> words(const std::string& text)
{
    std::vector<std::string> list;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, ',');) {
        list.push_back(word);
    }
    return list;
}

bool flag(const httplib::Request& request, const char* name)
{
    return request.get_param_value(name) == "1";
}

double rateOf(const std::string& text)
{
    double rate = 30;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    const bool good = error == std::errc() && end == text.data() + text.size();
    if (!text.empty() && !(good && rate >= 0.1 && rate <= 60)) {
        throw ApiError("rate", text, "a number from 0.1 to 60");
    }
    return rate;
}

ViewerWish wishOf(const httplib::Request& request)
{
    ViewerWish wish;
    for (const std::string& name : words(request.get_param_value("pictures"))) {
        const auto kind = pictureKind(name);
        if (!kind) {
            throw ApiError("pictures", name, "original, binary, hue, saturation and value");
        }
        wish.pictures.push_back(*kind);
    }
    wish.results = flag(request, "results");
    wish.histogram = flag(request, "histogram");
    wish.rate = rateOf(request.get_param_value("rate"));
    return wish;
}

} // namespace

WebServer::WebServer(Desk& desk, const ListenOptions& options)
    : _desk(desk),
      _options(options),
      _guard(options.address, options.allowedHosts),
      _viewers(desk.link()),
      _server(std::make_unique<httplib::Server>())
{
    _server->new_task_queue = [] { return new httplib::ThreadPool(THREADS); };
    _server->set_keep_alive_max_count(1);
    _server->set_read_timeout(READ_SECONDS);
    _server->set_write_timeout(WRITE_SECONDS);
    _server->set_payload_max_length(MAX_IMPORT_BYTES);
    _server->set_tcp_nodelay(true);
    _server->set_socket_options([](socket_t socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        // Connections inherit it.
        ::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER_BYTES, sizeof SEND_BUFFER_BYTES);
    });
    _server->set_default_headers(SECURITY_HEADERS);
    _server->set_pre_routing_handler([this](const Request& request, Response& response) {
        return refuses(request, response) ? httplib::Server::HandlerResponse::Handled
                                          : httplib::Server::HandlerResponse::Unhandled;
    });
    _server->set_error_handler([](const Request& request, Response& response) {
        if (response.body.empty()) {
            const std::string text = response.status == ApiError::NotFound
                                         ? "There is no " + request.path + " here."
                                         : "The request cannot be answered (HTTP status " +
                                               std::to_string(response.status) + ").";
            response.set_content(Json{{"error", {{"message", text}}}}.dump(
                                     -1, ' ', false, Json::error_handler_t::replace) +
                                     "\n",
                                 JSON_TYPE);
        }
    });
    addPage();
    addRoutes();
    _server->Get("/api/events", [this](const Request& request, Response& response) {
        streamEvents(request, response);
    });
}

WebServer::~WebServer() = default;

int WebServer::bind()
{
    const int port =
        _options.port == 0
            ? _server->bind_to_any_port(_options.address)
            : (_server->bind_to_port(_options.address, _options.port) ? _options.port : -1);
    if (port < 0) {
        throw Exception("Cannot listen on " + _options.address + ":" +
                        std::to_string(_options.port) +
                        ". Is another desk running there? Choose another port with --listen.");
    }
    return port;
}

void WebServer::serve()
{
    _server->listen_after_bind();
}

void WebServer::stop()
{
    _server->stop();
}

bool WebServer::refuses(const Request& request, Response& response) const
{
    const bool api = request.path.starts_with("/api/");
    const auto objection =
        _guard.objection(request.get_header_value("Host"), request.get_header_value("Origin"),
                         api ? request.get_header_value("Sec-Fetch-Site") : "");
    if (objection) {
        answer(response, ApiError(ApiError::Forbidden, *objection));
        return true;
    }
    if (request.has_header("Transfer-Encoding")) {
        answer(response, ApiError(ApiError::LengthRequired,
                                  "Send the body with a Content-Length, not in chunks."));
        return true;
    }
    const std::size_t most =
        request.path == "/api/database.xml" ? MAX_IMPORT_BYTES : MAX_JSON_BYTES;
    const std::string length = request.get_header_value("Content-Length");
    std::size_t bytes = 0;
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bytes);
    if (!length.empty() && (error != std::errc() || *end != '\0' || bytes > most)) {
        answer(response,
               ApiError(ApiError::TooLarge, "The body has " + length + " bytes, but at most " +
                                                std::to_string(most) + " are taken here."));
        return true;
    }
    return false;
}

void WebServer::addPage()
{
    for (const PageFile& file : pageFiles()) {
        const auto send = [file](const Request&, Response& response) {
            response.set_content(file.contents.data(), file.contents.size(),
                                 std::string(contentType(file.path)));
        };
        std::string pattern(file.path);
        for (std::size_t dot = 0; (dot = pattern.find('.', dot)) != std::string::npos; dot += 2) {
            pattern.insert(dot, "\\");
        }
        _server->Get(pattern, send);
        if (file.path == "/index.html") {
            _server->Get("/", send);
        }
    }
}

void WebServer::streamEvents(const Request& request, Response& response)
{
    try {
        const ViewerWish wish = wishOf(request);
        const std::shared_ptr<void> place = _viewers.enter(wish);
        if (place == nullptr) {
            throw ApiError(ApiError::Unavailable,
                           std::to_string(Viewers::MOST) +
                               " browsers are looking already, which is as many as this desk "
                               "serves. Close one of them.");
        }
        const auto writer = std::make_shared<EventWriter>(_desk, _viewers, wish);
        response.set_chunked_content_provider(
            "text/event-stream", [place, writer](std::size_t, httplib::DataSink& sink) {
                try {
                    const std::string events = writer->next();
                    if (events.empty()) {
                        sink.done();
                        return true;
                    }
                    return sink.write(events.data(), events.size());
                } catch (const std::exception&) {
                    return false; // the browser comes back
                }
            });
    } catch (const ApiError& e) {
        answer(response, e);
    }
}

} // namespace tarvik::desk
