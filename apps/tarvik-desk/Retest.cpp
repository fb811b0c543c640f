#include "Retest.h"

#include "Snapshot.h"
#include "database/ComparedObject.h"
#include "database/FrequencyErrors.h"

namespace tarvik::desk {

using analysis::Object;
using database::Comparator;
using database::Template;

namespace {

Json fit(const Comparator& comparator, const Object& object, const Template& t)
{
    const database::ComparisonResult result = comparator.compare(object, t);
    const database::FrequencyErrors errors(object.fourierDescriptor(), t);
    const double limit = comparator.maxError.toDouble();
    // A failed check of the holes leaves the largest error there is.
    const bool holesAgree = result.error != fp<32, 30>::MAX;
    const double margin = limit > 0 ? 1 - errors.smaller().toDouble() / limit : -1;
    return {{"template", t.id},
            {"straight", rounded(errors.straight.toDouble(), 6)},
            {"turned", rounded(errors.rotated.toDouble(), 6)},
            {"holesAgree", holesAgree},
            {"match", result.match},
            {"margin", rounded(margin, 4)}};
}

} // namespace

Json retest(const Snapshot& snapshot)
{
    const database::DatabaseState& database = snapshot.database();
    Json objects = Json::array();
    for (const Object& object : snapshot.result().frame.objects()) {
        Json fits = Json::array();
        for (const auto& t : database.templates()) {
            fits.push_back(fit(*database.comparator(), object, *t));
        }
        objects.push_back({{"object", object.id()}, {"clipped", object.clipped()}, {"fits", fits}});
    }
    return {{"image", snapshot.number()},
            {"maxError", rounded(database.comparator()->maxError.toDouble(), 6)},
            {"objects", objects}};
}

} // namespace tarvik::desk
