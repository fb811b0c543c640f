#pragma once

#include "core/serialization/Fields.h"
#include "database/ComparatorFactory.h"
#include "database/DatabaseConfiguration.h"
#include "database/DescriptorTable.h"
#include "database/Template.h"
#include "database/comparators/AdvancedComparator.h"

#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace tarvik::database {

/// Codes the settings that a comparator of this class has.
template <class S, class C>
void serializeComparator(S& s, const char* name, C& comparator)
{
    using comparators::AdvancedComparator;
    using io::serialization::field;
    using Advanced =
        std::conditional_t<std::is_const_v<C>, const AdvancedComparator, AdvancedComparator>;
    if (auto* const advanced = dynamic_cast<Advanced*>(&comparator)) {
        s& field(name, *advanced);
    } else {
        s& field(name, comparator);
    }
}

/// All that a database stores: configuration, comparator and up to 32 templates.
///
/// A value that copies quickly: copies share comparator and templates, which never change once they
/// are in (a change puts another one in their place). Not synchronised; Database is.
class DatabaseState
{
public:
    static constexpr int MAX_TEMPLATES = DescriptorTable::MAX_TEMPLATES;

    DatabaseState();

    [[nodiscard]] const DatabaseConfiguration& config() const { return _config; }

    /// Another comparator implementation brings a new comparator with default settings.
    void setConfig(const DatabaseConfiguration& config);

    /// Of the class that the configuration names.
    [[nodiscard]] const std::shared_ptr<const Comparator>& comparator() const
    {
        return _comparator;
    }

    /// Takes over the settings that the given comparator shares with the class of this one.
    void setComparator(const Comparator& settings);

    [[nodiscard]] std::span<const std::shared_ptr<const Template>> templates() const
    {
        return _templates;
    }

    /// What objects are compared with first.
    [[nodiscard]] const DescriptorTable& descriptors() const { return _descriptors; }

    [[nodiscard]] int numTemplates() const { return static_cast<int>(_templates.size()); }

    /// Throws Exception "Invalid template index." outside 0 ... numTemplates() - 1.
    [[nodiscard]] const std::shared_ptr<const Template>& getTemplate(int index) const;
    /// The first one with this identity; null when there is none.
    [[nodiscard]] std::shared_ptr<const Template> findTemplateById(int id) const;
    /// Throws Exception "Invalid template index." outside 0 ... numTemplates() - 1.
    void setTemplate(int index, std::shared_ptr<const Template> t);
    /// Appends. False, and nothing changes, when 31 templates are stored: the 32nd comes by
    /// decoding only, and clients count on that.
    bool addTemplate(std::shared_ptr<const Template> t);
    /// Later ones move down. False, and nothing changes, for an index out of range.
    bool removeTemplate(int index);

    void clear();

    /// An identity above all that are stored; 0 when there are none.
    [[nodiscard]] std::int32_t createID() const;

    /// Decode into a new state: a failure leaves it half filled.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    static constexpr int ADDABLE_TEMPLATES = 31;

    [[nodiscard]] bool valid(int index) const { return index >= 0 && index < numTemplates(); }

    void templatesChanged() { _descriptors = DescriptorTable(_templates); }

    template <class S>
    void decodeComparator(S& s);
    template <class S>
    void decodeTemplates(S& s, std::int32_t count);

    DatabaseConfiguration _config;
    std::shared_ptr<const Comparator> _comparator;
    std::vector<std::shared_ptr<const Template>> _templates;
    DescriptorTable _descriptors; ///< of _templates
};

template <class S, class Self>
void DatabaseState::serialize(S& s, Self& self)
{
    using io::serialization::field;
    s& field("Configuration", self._config);
    if constexpr (S::isEncoder()) {
        serializeComparator(s, "Comparator", *self._comparator);
    } else {
        self.decodeComparator(s);
    }
    std::int32_t count = self.numTemplates();
    s& field("TemplateCount", count);
    s.checkCount("TemplateCount", count, MAX_TEMPLATES);
    if constexpr (S::isEncoder()) {
        for (const auto& t : self._templates) {
            s& field("Template", *t);
        }
    } else {
        self.decodeTemplates(s, count);
    }
}

template <class S>
void DatabaseState::decodeComparator(S& s)
{
    const auto comparator = ComparatorFactory::make(_config.comparatorImpl());
    serializeComparator(s, "Comparator", *comparator);
    _comparator = comparator;
}

template <class S>
void DatabaseState::decodeTemplates(S& s, std::int32_t count)
{
    _templates.clear();
    for (std::int32_t i = 0; i < count; ++i) {
        const auto t = std::make_shared<Template>();
        s& io::serialization::field("Template", *t);
        _templates.push_back(t);
    }
    templatesChanged();
}

} // namespace tarvik::database
