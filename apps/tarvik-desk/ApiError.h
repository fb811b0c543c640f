#pragma once

#include "Json.h"
#include "core/Exception.h"

#include <string>
#include <utility>

namespace tarvik::desk {

/// Why a request is not answered as its sender hopes: an HTTP status, a sentence and, where one
/// field of the request is at fault, its name, value and what is allowed.
class ApiError : public Exception
{
public:
    enum Status
    {
        BadRequest = 400,
        Forbidden = 403,
        NotFound = 404,
        Conflict = 409,
        Gone = 410,
        LengthRequired = 411,
        TooLarge = 413,
        Unprocessable = 422,
        Unavailable = 503,
    };

    ApiError(Status status, std::string message) : Exception(std::move(message)), _status(status) {}

    /// A field of the request: "camera.Gain is 300, but it takes a whole number from 0 to 255."
    ApiError(const std::string& field, const Json& value, const std::string& limit)
        : Exception(field + " is " + value.dump(-1, ' ', false, Json::error_handler_t::replace) +
                    ", but it takes " + limit + "."),
          _status(Unprocessable),
          _details{{"field", field}, {"value", value}, {"limit", limit}}
    {}

    [[nodiscard]] Status status() const { return _status; }

    [[nodiscard]] Json json() const
    {
        Json error{{"message", what()}};
        error.update(_details);
        return {{"error", error}};
    }

private:
    Status _status;
    Json _details = Json::object();
};

} // namespace tarvik::desk
