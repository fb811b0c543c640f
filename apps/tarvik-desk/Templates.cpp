#include "Templates.h"

#include "ApiError.h"
#include "Desk.h"
#include "FrameJson.h"
#include "Request.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"

#include <algorithm>
#include <memory>
#include <numbers>

namespace tarvik::desk {

using configuration::SystemConfiguration;
using database::DatabaseState;
using database::Template;
using io::serialization::field;
using teaching::Lesson;

namespace {

constexpr double MAX_PIXEL = 65535;
constexpr double MAX_NUMBER = 65535; // of the formats with 15 fractional bits
constexpr double DEG_TO_RAD = std::numbers::pi / 180;

Json named(const Template& t, const NameStore::Names& names)
{
    Json json = templateJson(t);
    const auto name = names.find(t.id);
    json["name"] = name == names.end() ? "" : name->second;
    return json;
}

/// A frame of this one object, which is what a teacher wants to see.
std::unique_ptr<analysis::Frame> frameOf(const Snapshot& snapshot, std::int32_t id)
{
    const analysis::Object* const object = snapshot.result().frame.findObject(id);
    if (object == nullptr) {
        throw ApiError(ApiError::NotFound, "Image " + std::to_string(snapshot.number()) +
                                               " has no object " + std::to_string(id) + ".");
    }
    auto frame = std::make_unique<analysis::Frame>();
    frame->setObject(0, *object);
    return frame;
}

Lesson lessonOf(const Json& request)
{
    Lesson lesson;
    if (const auto id = wholeField(request, "id", 0, Lesson::MAX_ID)) {
        lesson.id = static_cast<std::int32_t>(*id);
    }
    if (const auto grip = pointField(request, "grip", -MAX_PIXEL, MAX_PIXEL)) {
        lesson.grip = {grip->x, grip->y};
    }
    lesson.height = numberField(request, "height", -MAX_NUMBER, MAX_NUMBER);
    lesson.rotationDeg = numberField(request, "rotation", -360, 360);
    lesson.replace = yesNoField(request, "replace").value_or(false);
    return lesson;
}

int indexOf(const DatabaseState& database, std::int32_t id)
{
    const auto templates = database.templates();
    const auto found = std::ranges::find_if(templates, [id](const auto& t) { return t->id == id; });
    if (found == templates.end()) {
        throw ApiError(ApiError::NotFound, "There is no template " + std::to_string(id) + ".");
    }
    return static_cast<int>(found - templates.begin());
}

void editNumbers(Template& t, const Json& request)
{
    constexpr double MOST_GRIP = 0.9999;
    if (const auto grip = pointField(request, "grip", -MOST_GRIP, MOST_GRIP)) {
        t.gripPoint = {fp<16, 15>::fromDouble(grip->x), fp<16, 15>::fromDouble(grip->y)};
    }
    const auto number = [&](const char* name, fp<32, 15>& target, double limit, double scale) {
        if (const auto value = numberField(request, name, -limit, limit)) {
            target = fp<32, 15>::fromDouble(*value * scale);
        }
    };
    number("height", t.height, MAX_NUMBER, 1);
    number("gripHeight", t.gripHeight, MAX_NUMBER, 1);
    number("rotation", t.rotation, 360, DEG_TO_RAD);
    number("gripRotation", t.gripRotation, 360, DEG_TO_RAD);
    t.considerInnerContours =
        yesNoField(request, "considerHoles").value_or(t.considerInnerContours);
}

/// A new identity for a template, if the request has one.
void editId(Template& t, const DatabaseState& database, const Json& request)
{
    const auto id = wholeField(request, "id", 0, Lesson::MAX_ID);
    if (!id || *id == t.id) {
        return;
    }
    if (database.findTemplateById(static_cast<int>(*id)) != nullptr) {
        throw ApiError("id", *id, "an id that no other template has");
    }
    t.id = static_cast<std::int32_t>(*id);
}

DatabaseState decode(const std::string& xml)
{
    const bool wholeFile = xml.find("<Tarvik>") != std::string::npos;
    try {
        io::serialization::XMLDecoder decoder;
        decoder.loadFromString(xml);
        if (wholeFile) {
            SystemConfiguration c;
            decoder& field("Tarvik", c);
            return c.database;
        }
        DatabaseState state;
        decoder& field("Database", state);
        return state;
    } catch (const Exception& e) {
        throw ApiError(ApiError::Unprocessable,
                       std::string("The file holds no database: ") + e.what());
    }
}

void checkIds(const DatabaseState& state)
{
    std::vector<std::int32_t> ids;
    for (const auto& t : state.templates()) {
        if (t->id < 0 || t->id > Lesson::MAX_ID) {
            throw ApiError("ID", t->id, "ids from 0 to 32767");
        }
        if (std::ranges::find(ids, t->id) != ids.end()) {
            throw ApiError("ID", t->id, "ids that differ from one another");
        }
        ids.push_back(t->id);
    }
}

} // namespace

Json listTemplates(Desk& desk)
{
    const auto configuration = desk.workbench().configuration();
    const auto names = desk.names().names();
    Json list = Json::array();
    for (const auto& t : configuration->database.templates()) {
        list.push_back(named(*t, names));
    }
    return {{"templates", list},
            {"capacity", DatabaseState::MAX_TEMPLATES},
            {"nextId", std::max(1, configuration->database.createID())}};
}

Json teachTemplate(Desk& desk, const Json& request)
{
    const auto number = required(wholeField(request, "image", 0, INT64_MAX), "image");
    const auto object = required(wholeField(request, "object", 0, INT32_MAX), "object");
    const auto name = textField(request, "name");
    const Lesson lesson = lessonOf(request);
    const SnapshotPtr snapshot = desk.album().find(static_cast<std::uint64_t>(number));
    if (snapshot == nullptr) {
        throw ApiError(ApiError::Gone, "Image " + std::to_string(number) +
                                           " has gone. Choose the object in a newer one.");
    }
    const auto frame = frameOf(*snapshot, static_cast<std::int32_t>(object));
    teaching::Taught taught;
    static_cast<void>(desk.workbench().change("Teach a template", [&](SystemConfiguration& c) {
        taught = teaching::teach(c.database, *frame, lesson, snapshot->size());
    }));
    if (name || !taught.replaced) {
        desk.names().set(taught.part->id, name.value_or(""));
    }
    desk.bulletin().announce(&News::templates);
    Json json = named(*taught.part, desk.names().names());
    json["replaced"] = taught.replaced;
    return json;
}

Json editTemplate(Desk& desk, std::int32_t id, const Json& request)
{
    const auto name = textField(request, "name");
    std::shared_ptr<Template> edited;
    static_cast<void>(
        desk.workbench().change("Edit template " + std::to_string(id), [&](SystemConfiguration& c) {
            const int index = indexOf(c.database, id);
            edited = std::make_shared<Template>(*c.database.getTemplate(index));
            editNumbers(*edited, request);
            editId(*edited, c.database, request);
            c.database.setTemplate(index, edited);
        }));
    const auto names = desk.names().names();
    const auto old = names.find(id);
    if (name || edited->id != id) {
        desk.names().set(edited->id, name.value_or(old == names.end() ? "" : old->second));
    }
    if (edited->id != id) {
        desk.names().set(id, "");
    }
    desk.bulletin().announce(&News::templates);
    return named(*edited, desk.names().names());
}

void removeTemplate(Desk& desk, std::int32_t id)
{
    // The name stays, for the case that the template is brought back.
    static_cast<void>(desk.workbench().change(
        "Delete template " + std::to_string(id),
        [&](SystemConfiguration& c) { c.database.removeTemplate(indexOf(c.database, id)); }));
    desk.bulletin().announce(&News::templates);
}

std::string exportDatabase(Desk& desk)
{
    const auto configuration = desk.workbench().configuration();
    io::serialization::XMLEncoder encoder;
    encoder& field("Database", configuration->database);
    return encoder.printToBuffer();
}

Json importDatabase(Desk& desk, const std::string& xml)
{
    const DatabaseState state = decode(xml);
    checkIds(state);
    static_cast<void>(desk.workbench().change("Import a database",
                                              [&](SystemConfiguration& c) { c.database = state; }));
    desk.bulletin().announce(&News::templates);
    desk.bulletin().announce(&News::settings);
    return listTemplates(desk);
}

} // namespace tarvik::desk
