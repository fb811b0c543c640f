#include "ApiError.h"
#include "Desk.h"
#include "FrameJson.h"
#include "OutputTransform.h"
#include "Request.h"
#include "Retest.h"
#include "SettingJson.h"
#include "Templates.h"
#include "WebServer.h"
#include "configuration/SettingGuide.h"

#include <httplib.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>

namespace tarvik::desk {

using configuration::SystemConfiguration;
using httplib::Request;
using httplib::Response;

namespace {

constexpr std::chrono::milliseconds PICTURE_PATIENCE{4000};

void send(Response& response, const Json& json)
{
    response.set_content(json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n",
                         JSON_TYPE);
}

void send(Response& response, const ApiError& error)
{
    response.status = error.status();
    send(response, error.json());
}

/// A handler whose failures become answers.
template <class Action>
httplib::Server::Handler handler(Action action)
{
    return [action](const Request& request, Response& response) {
        try {
            action(request, response);
        } catch (const ApiError& e) {
            send(response, e);
        } catch (const teaching::TeachingException& e) {
            send(response, ApiError(ApiError::Unprocessable, e.what()));
        } catch (const client::ClientException& e) {
            send(response, ApiError(ApiError::Unavailable, e.what()));
        } catch (const std::exception& e) {
            response.status = 500;
            send(response, Json{{"error", {{"message", e.what()}}}});
        }
    };
}

/// The body as an object; an empty one counts as {}.
Json bodyOf(const Request& request)
{
    if (request.body.empty()) {
        return Json::object();
    }
    Json json;
    try {
        json = Json::parse(request.body);
    } catch (const Json::exception& e) {
        throw ApiError(ApiError::BadRequest, std::string("The body is no JSON: ") + e.what());
    }
    if (!json.is_object()) {
        throw ApiError(ApiError::BadRequest, std::string("The body must be a JSON object, not ") +
                                                 json.type_name() + ".");
    }
    return json;
}

std::uint64_t number(const std::string& text, const char* what)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw ApiError(what, text, "a whole number");
    }
    return value;
}

std::int32_t templateId(const Request& request)
{
    return static_cast<std::int32_t>(number(request.matches[1], "The template's id"));
}

/// The image that the request names by ?image=, else the newest.
SnapshotPtr imageOf(Desk& desk, const Request& request)
{
    if (!request.has_param("image")) {
        SnapshotPtr newest = desk.album().newest();
        if (newest == nullptr) {
            throw ApiError(ApiError::Unavailable, "No image has come yet.");
        }
        return newest;
    }
    const std::uint64_t wanted = number(request.get_param_value("image"), "image");
    SnapshotPtr found = desk.album().find(wanted);
    if (found == nullptr) {
        throw ApiError(ApiError::Gone,
                       "Image " + std::to_string(wanted) + " has gone. Take a newer one.");
    }
    return found;
}

/// An image with this picture: the one named, or the next that has it.
SnapshotPtr imageWithPicture(Desk& desk, Viewers& viewers, const Request& request, PictureKind kind)
{
    if (request.has_param("image")) {
        SnapshotPtr named = imageOf(desk, request);
        if (!named->hasPicture(kind)) {
            throw ApiError(ApiError::NotFound, "That image came without this picture: nobody "
                                               "looked at the time.");
        }
        return named;
    }
    const auto place = viewers.enter({.pictures = {kind}});
    if (place == nullptr) {
        throw ApiError(ApiError::Unavailable, "Too many browsers are looking. Close one of them.");
    }
    const auto end = std::chrono::steady_clock::now() + PICTURE_PATIENCE;
    std::uint64_t seen = 0;
    while (std::chrono::steady_clock::now() < end && !desk.bulletin().closed()) {
        SnapshotPtr newest = desk.album().newest();
        if (newest != nullptr && newest->hasPicture(kind)) {
            return newest;
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        seen = desk.bulletin()
                   .waitFor(std::max(std::chrono::milliseconds(0), left),
                            [seen](const News& n) { return n.image != seen; })
                   .image;
    }
    static_cast<void>(desk.link().camera()); // says it when there is no connection
    throw ApiError(ApiError::Unavailable,
                   "The camera takes no images. Is it waiting for an external trigger?");
}

bool inCamera(const std::string& name)
{
    return !SystemFile::covers(name);
}

Json settingsAnswer(Desk& desk)
{
    const auto configuration = desk.workbench().configuration();
    return {{"settings", settingsJson(*configuration, inCamera)},
            {"undo", desk.workbench().steps()}};
}

Json outcomeJson(Desk& desk, const Workbench::Outcome& outcome)
{
    desk.bulletin().announce(&News::settings);
    desk.bulletin().announce(&News::templates);
    desk.bulletin().announce(&News::state);
    Json json{{"step", outcome.label},
              {"settings", settingsJson(*outcome.configuration, inCamera)},
              {"undo", desk.workbench().steps()}};
    if (outcome.pending) {
        json["note"] = "The camera takes these settings with its next image; what the sensor "
                       "refuses stands in the log.";
    }
    return json;
}

std::string labelOf(const Json& changes)
{
    const std::string first = changes.begin().key();
    const std::string title = configuration::guideTo(first).title;
    return changes.size() == 1 ? title
                               : title + " and " + std::to_string(changes.size() - 1) + " more";
}

Json changeSettings(Desk& desk, const Json& changes)
{
    if (changes.empty()) {
        throw ApiError(ApiError::Unprocessable,
                       "Name settings and values: {\"camera.ThresholdLow\": 90}");
    }
    const auto outcome =
        desk.workbench().change(labelOf(changes), [&](SystemConfiguration& wanted) {
            for (const auto& [name, value] : changes.items()) {
                if (SystemFile::covers(name)) {
                    throw ApiError(ApiError::Conflict, "The control connection does not carry '" +
                                                           name + "'. See PATCH /api/system");
                }
                changeSetting(wanted, name, value);
            }
        });
    return outcomeJson(desk, outcome);
}

/// Reference points in pixels, of images of the camera's present size.
std::vector<ReferencePoint> referencePoints(Desk& desk, const Json& request)
{
    constexpr std::size_t MOST = 100;
    const auto points = request.find("points");
    if (points == request.end() || !points->is_array() || points->size() > MOST) {
        throw ApiError(ApiError::Unprocessable,
                       "'points' must be a list of at most 100 {\"seen\", \"robot\"}.");
    }
    const SnapshotPtr image = desk.album().newest();
    if (image == nullptr) {
        throw ApiError(ApiError::Unavailable, "No image has come yet, so pixels have no scale.");
    }
    const double half = image->size().width / 2.0;
    std::vector<ReferencePoint> result;
    for (const Json& p : *points) {
        const Json object = p.is_object() ? p : Json::object();
        const XY seen = required(pointField(object, "seen", -65535, 65535), "seen");
        const XY robot = required(pointField(object, "robot", -1e6, 1e6), "robot");
        result.push_back({{(seen.x - half) / half, (seen.y - image->size().height / 2.0) / half},
                          {robot.x, robot.y}});
    }
    return result;
}

Json fitAnswer(Desk& desk, const Json& request)
{
    const FittedTransform fitted = fitTransform(referencePoints(desk, request));
    const auto row = [](const Complex<32, 15>& c) {
        return Json{{"x", rounded(c.re.toDouble(), 5)}, {"y", rounded(c.im.toDouble(), 5)}};
    };
    Json json{{"matrix",
               {{"column0", row(fitted.matrix.column0)},
                {"column1", row(fitted.matrix.column1)},
                {"column2", row(fitted.matrix.column2)}}},
              {"residuals", Json::array()},
              {"rms", rounded(fitted.rms, 5)},
              {"mirrored", fitted.mirrored}};
    for (const double residual : fitted.residuals) {
        json["residuals"].push_back(rounded(residual, 5));
    }
    if (yesNoField(request, "apply").value_or(false)) {
        const auto outcome =
            desk.workbench().change("Output transform", [&](SystemConfiguration& c) {
                database::DatabaseConfiguration config = c.database.config();
                database::Transform transform = config.transform();
                transform.combinedMatrix = fitted.matrix;
                config.setTransform(transform);
                c.database.setConfig(config);
            });
        json["applied"] = outcomeJson(desk, outcome);
    }
    return json;
}

/// Exactly a time that exists: the camera would take 32 January for 1 February.
std::optional<sys::DateTime> parseTime(const std::string& text)
{
    sys::DateTime t;
    int used = 0;
    const int fields = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &t.year, &t.month,
                                   &t.day, &t.hours, &t.minutes, &t.seconds, &used);
    if (fields != 6 || static_cast<std::size_t>(used) != text.size()) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(t.year),
                                           std::chrono::month(static_cast<unsigned>(t.month)),
                                           std::chrono::day(static_cast<unsigned>(t.day))};
    const auto within = [](int value, int end) { return value >= 0 && value < end; };
    const bool exists = date.ok() && t.month > 0 && t.day > 0 && t.year >= 1970 &&
                        within(t.hours, 24) && within(t.minutes, 60) && within(t.seconds, 60);
    return exists ? std::optional(t) : std::nullopt;
}

sys::DateTime timeOf(const Json& request)
{
    const auto text = textField(request, "time");
    if (!text) {
        return sys::DateTime::localTime();
    }
    const auto time = parseTime(*text);
    if (!time) {
        throw ApiError("time", *text, "local time like 2026-12-24T13:58:59");
    }
    return *time;
}

} // namespace

void WebServer::addRoutes()
{
    addState();
    addImages();
    addSettings();
    addTemplates();
    addResults();
    addSystem();
}

void WebServer::addState()
{
    _server->Get("/api/state", handler([this](const Request&, Response& response) {
                     Json state = _desk.stateJson();
                     state["viewers"] = _viewers.count();
                     send(response, state);
                 }));
    _server->Get("/api/log", handler([this](const Request& request, Response& response) {
                     const std::string after = request.get_param_value("after");
                     send(response, _desk.log().after(after.empty() ? 0 : number(after, "after")));
                 }));
}

void WebServer::addImages()
{
    _server->Get("/api/image", handler([this](const Request& request, Response& response) {
                     response.set_content(imageOf(_desk, request)->json() + "\n", JSON_TYPE);
                 }));
    _server->Get(R"(/api/pictures/([a-z]{1,12})\.(png|jpg))",
                 handler([this](const Request& request, Response& response) {
                     const auto kind = pictureKind(request.matches[1].str());
                     if (!kind) {
                         throw ApiError("The picture", request.matches[1].str(),
                                        "original, binary, hue, saturation and value");
                     }
                     const auto image = imageWithPicture(_desk, _viewers, request, *kind);
                     const auto picture =
                         shown(image->result().originalImage, image->result().binaryImage, *kind);
                     const bool png = request.matches[2] == "png";
                     response.set_content(png ? encodePng(picture) : encodeJpeg(picture),
                                          png ? "image/png" : "image/jpeg");
                 }));
    _server->Get("/api/histogram", handler([this](const Request& request, Response& response) {
                     const auto image =
                         imageWithPicture(_desk, _viewers, request, PictureKind::Original);
                     Json json{{"image", image->number()}};
                     for (const Histogram& h : histograms(image->result().originalImage)) {
                         json[h.channel] = h.counts;
                     }
                     send(response, json);
                 }));
    _server->Get("/api/retest", handler([this](const Request& request, Response& response) {
                     const auto image = imageOf(_desk, request);
                     // Compared with the templates of today.
                     const auto configuration = _desk.workbench().configuration();
                     const Snapshot now(image->number(), image->epochMs(), image->size(),
                                        {image, &image->result()},
                                        {configuration, &configuration->database});
                     send(response, retest(now));
                 }));
    _server->Post(R"(/api/images/(\d{1,15})/hold)",
                  handler([this](const Request& request, Response& response) {
                      const std::uint64_t wanted = number(request.matches[1], "image");
                      if (_desk.album().hold(wanted) == nullptr) {
                          throw ApiError(ApiError::Gone, "Image " + std::to_string(wanted) +
                                                             " has gone. Take a newer one.");
                      }
                      send(response, Json{{"held", wanted}});
                  }));
}

void WebServer::addSettings()
{
    _server->Get("/api/settings", handler([this](const Request&, Response& response) {
                     send(response, settingsAnswer(_desk));
                 }));
    _server->Patch("/api/settings", handler([this](const Request& request, Response& response) {
                       send(response, changeSettings(_desk, bodyOf(request)));
                   }));
    _server->Post("/api/undo", handler([this](const Request&, Response& response) {
                      send(response, outcomeJson(_desk, _desk.workbench().undo()));
                  }));
    _server->Post("/api/transform", handler([this](const Request& request, Response& response) {
                      send(response, fitAnswer(_desk, bodyOf(request)));
                  }));
}

void WebServer::addTemplates()
{
    _server->Get("/api/templates", handler([this](const Request&, Response& response) {
                     send(response, listTemplates(_desk));
                 }));
    _server->Post("/api/templates", handler([this](const Request& request, Response& response) {
                      send(response, teachTemplate(_desk, bodyOf(request)));
                      response.status = 201;
                  }));
    _server->Patch(R"(/api/templates/(\d{1,5}))",
                   handler([this](const Request& request, Response& response) {
                       send(response, editTemplate(_desk, templateId(request), bodyOf(request)));
                   }));
    _server->Delete(R"(/api/templates/(\d{1,5}))",
                    handler([this](const Request& request, Response& response) {
                        removeTemplate(_desk, templateId(request));
                        send(response, Json{{"deleted", templateId(request)}});
                    }));
    _server->Get("/api/database.xml", handler([this](const Request&, Response& response) {
                     response.set_header("Content-Disposition",
                                         "attachment; filename=\"tarvik-database.xml\"");
                     response.set_content(exportDatabase(_desk), "application/xml; charset=utf-8");
                 }));
    _server->Put("/api/database.xml", handler([this](const Request& request, Response& response) {
                     send(response, importDatabase(_desk, request.body));
                 }));
}

void WebServer::addResults()
{
    _server->Get("/api/results", handler([this](const Request&, Response& response) {
                     Json json = _desk.results().json();
                     json["strip"] = Json::array();
                     for (const SnapshotPtr& snapshot : _desk.album().strip()) {
                         int recognised = 0;
                         for (const auto& m : snapshot->result().matchings.matchings()) {
                             recognised += m.templateID == -1 ? 0 : 1;
                         }
                         json["strip"].push_back({{"image", snapshot->number()},
                                                  {"time", snapshot->epochMs()},
                                                  {"objects", snapshot->result().matchings.count()},
                                                  {"recognised", recognised}});
                     }
                     send(response, json);
                 }));
    _server->Delete("/api/results", handler([this](const Request&, Response& response) {
                        _desk.results().clear();
                        send(response, Json{{"cleared", true}});
                    }));
    _server->Get("/api/results.csv", handler([this](const Request&, Response& response) {
                     response.set_header("Content-Disposition",
                                         "attachment; filename=\"tarvik-results.csv\"");
                     response.set_content(_desk.results().csv(_desk.names().names()),
                                          "text/csv; charset=utf-8");
                 }));
}

void WebServer::addSystem()
{
    _server->Get("/api/system", handler([this](const Request&, Response& response) {
                     send(response, _desk.systemFile().json());
                 }));
    _server->Patch("/api/system", handler([this](const Request& request, Response& response) {
                       const Json changes = bodyOf(request);
                       for (const auto& [name, value] : changes.items()) {
                           _desk.systemFile().change(name, value);
                       }
                       _desk.bulletin().announce(&News::settings);
                       send(response, _desk.systemFile().json());
                   }));
    _server->Post("/api/system/clock", handler([this](const Request& request, Response& response) {
                      const sys::DateTime time = timeOf(bodyOf(request));
                      const auto camera = _desk.link().camera();
                      camera->setSystemTime(time);
                      static_cast<void>(camera->breakupConfig()); // it has been acted upon
                      send(response, Json{{"note", "The clock's outcome stands in the log "
                                                   "\"Server\"."}});
                  }));
    _server->Post("/api/system/save", handler([this](const Request&, Response& response) {
                      const auto camera = _desk.link().camera();
                      camera->sync();
                      static_cast<void>(camera->breakupConfig());
                      send(response, Json{{"saved", true}});
                  }));
    _server->Post("/api/system/shutdown",
                  handler([this](const Request& request, Response& response) {
                      if (!yesNoField(bodyOf(request), "confirm").value_or(false)) {
                          throw ApiError(ApiError::Unprocessable,
                                         "Stopping the camera process needs {\"confirm\": true}.");
                      }
                      _desk.link().camera()->shutdown();
                      send(response, Json{{"stopping", true}});
                  }));
}

} // namespace tarvik::desk
