#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::util {

/// A list of named implementations of the interface T, the first of which is the default.
///
/// Filled by the constructor of the concrete factory and constant from then on, so any thread may
/// look up and create without a lock.
template <class T>
class Factory
{
public:
    class Implementation
    {
    public:
        Implementation(std::string name, std::string description)
            : _name(std::move(name)),
              _description(std::move(description))
        {}

        Implementation(const Implementation&) = delete;
        Implementation& operator=(const Implementation&) = delete;
        virtual ~Implementation() = default;

        /// A new instance; the caller owns it and hands it back through Factory::destroy().
        [[nodiscard]] virtual T* create() const = 0;

        [[nodiscard]] const std::string& name() const { return _name; }

        [[nodiscard]] const std::string& description() const { return _description; }

        /// Position in the order of registration, -1 until registered.
        [[nodiscard]] int index() const { return _index; }

    private:
        friend class Factory;
        std::string _name;
        std::string _description;
        int _index = -1;
    };

    template <class U>
    class TypedImplementation : public Implementation
    {
    public:
        using Implementation::Implementation;

        [[nodiscard]] T* create() const override
        {
            return std::make_unique<U>().release(); // destroy() takes it back
        }
    };

    Factory() = default;
    Factory(const Factory&) = delete;
    Factory& operator=(const Factory&) = delete;
    virtual ~Factory() = default;

    /// Instance of the implementation, or of the first registered one for null; null when there is
    /// none. The caller owns it and hands it back through destroy().
    [[nodiscard]] virtual T* create(const Implementation* implementation)
    {
        if (implementation == nullptr) {
            implementation = defaultImplementation();
        }
        return implementation == nullptr ? nullptr : implementation->create();
    }

    virtual void destroy(T* object)
    {
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): the counterpart of create()
        delete object;
    }

    /// The implementation registered under exactly this name; null when there is none.
    [[nodiscard]] const Implementation* find(std::string_view name) const
    {
        for (const auto& implementation : _implementations) {
            if (implementation->name() == name) {
                return implementation.get();
            }
        }
        return nullptr;
    }

    [[nodiscard]] const Implementation* defaultImplementation() const
    {
        return _implementations.empty() ? nullptr : _implementations.front().get();
    }

    [[nodiscard]] const std::vector<std::unique_ptr<Implementation>>& implementations() const
    {
        return _implementations;
    }

protected:
    /// Takes ownership and appends.
    template <class U>
    void addImplementation(TypedImplementation<U>* implementation)
    {
        std::unique_ptr<Implementation> owned(implementation);
        owned->_index = static_cast<int>(_implementations.size());
        _implementations.push_back(std::move(owned));
    }

private:
    std::vector<std::unique_ptr<Implementation>> _implementations;
};

} // namespace tarvik::util
