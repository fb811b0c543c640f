#include "core/util/Factory.h"

#include "core/util/Singleton.h"

#include <gtest/gtest.h>

#include <string>

using namespace tarvik::util;

namespace {

class Animal
{
public:
    virtual ~Animal() { ++destroyed; }

    [[nodiscard]] virtual std::string sound() const = 0;

    static inline int destroyed = 0;
};

class Dog : public Animal
{
public:
    [[nodiscard]] std::string sound() const override { return "woof"; }
};

class Cat : public Animal
{
public:
    [[nodiscard]] std::string sound() const override { return "meow"; }
};

class EmptyFactory : public Factory<Animal>
{};

class AnimalFactory : public Singleton<AnimalFactory>, public Factory<Animal>
{
public:
    AnimalFactory()
    {
        addImplementation(new TypedImplementation<Dog>("Dog", "Barks."));
        addImplementation(new TypedImplementation<Cat>("Cat", "Does not."));
        addImplementation(new TypedImplementation<Dog>("Cat", "Hides behind the first."));
    }
};

std::string soundOf(Factory<Animal>& factory, const Factory<Animal>::Implementation* which)
{
    Animal* const animal = factory.create(which);
    const std::string sound = animal->sound();
    const int before = Animal::destroyed;
    factory.destroy(animal);
    EXPECT_EQ(Animal::destroyed, before + 1);
    return sound;
}

} // namespace

TEST(Factory, CreatesWhatIsAskedFor)
{
    AnimalFactory& factory = AnimalFactory::instance();
    EXPECT_EQ(&factory, &AnimalFactory::instance());
    EXPECT_EQ(soundOf(factory, factory.find("Cat")), "meow") << "the first of equal names wins";
    EXPECT_EQ(soundOf(factory, factory.find("Dog")), "woof");
    EXPECT_EQ(soundOf(factory, nullptr), "woof") << "the first registered one";
    EXPECT_EQ(factory.find("dog"), nullptr);
    EXPECT_EQ(EmptyFactory().create(nullptr), nullptr);
}

TEST(Factory, NumbersItsImplementationsInTheOrderOfRegistration)
{
    int expected = 0;
    for (const auto& implementation : AnimalFactory::instance().implementations()) {
        EXPECT_EQ(implementation->index(), expected++);
    }
    EXPECT_EQ(expected, 3);
    EXPECT_EQ(AnimalFactory::instance().find("Dog")->description(), "Barks.");
    EXPECT_EQ(Factory<Animal>::TypedImplementation<Dog>("", "").index(), -1);
}
