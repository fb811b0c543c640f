#include "database/DatabaseState.h"

#include "core/Exception.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace tarvik::database {

DatabaseState::DatabaseState() : _comparator(ComparatorFactory::make(_config.comparatorImpl())) {}

void DatabaseState::setConfig(const DatabaseConfiguration& config)
{
    if (config.comparatorImpl()->index() != _config.comparatorImpl()->index()) {
        _comparator = ComparatorFactory::make(config.comparatorImpl());
    }
    _config = config;
}

void DatabaseState::setComparator(const Comparator& settings)
{
    const auto comparator = ComparatorFactory::make(_config.comparatorImpl());
    *comparator = *_comparator;
    *comparator = settings;
    _comparator = comparator;
}

const std::shared_ptr<const Template>& DatabaseState::getTemplate(int index) const
{
    if (!valid(index)) {
        throw Exception("Invalid template index.");
    }
    return _templates[static_cast<std::size_t>(index)];
}

std::shared_ptr<const Template> DatabaseState::findTemplateById(int id) const
{
    const auto found =
        std::ranges::find_if(_templates, [id](const auto& t) { return t->id == id; });
    return found == _templates.end() ? nullptr : *found;
}

void DatabaseState::setTemplate(int index, std::shared_ptr<const Template> t)
{
    if (!valid(index)) {
        throw Exception("Invalid template index.");
    }
    _templates[static_cast<std::size_t>(index)] = std::move(t);
    templatesChanged();
}

bool DatabaseState::addTemplate(std::shared_ptr<const Template> t)
{
    if (numTemplates() >= ADDABLE_TEMPLATES) {
        return false;
    }
    _templates.push_back(std::move(t));
    templatesChanged();
    return true;
}

bool DatabaseState::removeTemplate(int index)
{
    if (!valid(index)) {
        return false;
    }
    _templates.erase(_templates.begin() + index);
    templatesChanged();
    return true;
}

void DatabaseState::clear()
{
    _templates.clear();
    templatesChanged();
}

std::int32_t DatabaseState::createID() const
{
    if (_templates.empty()) {
        return 0;
    }
    std::int32_t largest = std::numeric_limits<std::int32_t>::min();
    for (const auto& t : _templates) {
        largest = std::max(largest, t->id);
    }
    return wrapTo<std::int32_t>(std::int64_t{largest} + 1);
}

} // namespace tarvik::database
