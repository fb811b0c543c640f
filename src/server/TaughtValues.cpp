#include "server/TaughtValues.h"

#include "database/Database.h"

namespace tarvik::com::server {

TaughtValues taughtValues(const database::Database& database, int templateID)
{
    const auto found = templateID < 0 ? nullptr : database.findTemplateById(templateID);
    if (found == nullptr) {
        return {};
    }
    return {found->height, found->gripRotation, found->gripHeight};
}

} // namespace tarvik::com::server
