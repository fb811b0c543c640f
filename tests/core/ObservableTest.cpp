#include "core/util/Observable.h"

#include "core/util/Event.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <thread>

using namespace tarvik::util;

namespace {

class Publisher;
using Tick = Event<Publisher>;

class Publisher : public Observable<Tick>
{
public:
    void publish()
    {
        Tick event{this};
        notify(event);
    }
};

class Recorder : public Listener<Tick>
{
public:
    explicit Recorder(std::string& trace, char name = '.') : _trace(trace), _name(name) {}

    void onEvent(Tick& event) override
    {
        EXPECT_NE(event.source, nullptr);
        _trace += _name;
        if (then) {
            then();
        }
    }

    std::function<void()> then;

private:
    std::string& _trace;
    char _name;
};

class Counter : public Listener<Tick>
{
public:
    void onEvent(Tick& /*event*/) override { ++count; }

    std::atomic<int> count{0};
};

} // namespace

TEST(Observable, NotifiesInTheOrderOfRegistration)
{
    std::string trace;
    Recorder a(trace, 'a');
    Recorder b(trace, 'b');
    Recorder c(trace, 'c');
    Publisher publisher;
    publisher.publish();
    for (Recorder* const listener : {&a, &b, &a, &c}) {
        EXPECT_TRUE(publisher.addListener(listener));
    }
    publisher.publish();
    EXPECT_EQ(trace, "abac") << "one added twice is called twice";
    EXPECT_EQ(a.registrationCount(), 2);

    trace.clear();
    EXPECT_TRUE(publisher.removeListener(&a));
    publisher.publish();
    EXPECT_EQ(trace, "bac") << "the first registration goes, the others keep their order";
    EXPECT_EQ(a.registrationCount(), 1);
}

TEST(Observable, RefusesThe33rdListener)
{
    std::string trace;
    std::array<Counter, 32> listeners;
    Recorder surplus(trace);
    Publisher publisher;
    for (Counter& listener : listeners) {
        EXPECT_TRUE(publisher.addListener(&listener));
    }
    EXPECT_FALSE(publisher.addListener(&surplus));
    EXPECT_EQ(surplus.registrationCount(), 0);
    EXPECT_FALSE(publisher.removeListener(&surplus));
    EXPECT_EQ(publisher.listenerCount(), 32U);
    publisher.publish();
    EXPECT_EQ(trace, "");
    EXPECT_EQ(listeners.back().count, 1);
    EXPECT_TRUE(publisher.removeListener(&listeners.front()));
    EXPECT_TRUE(publisher.addListener(&surplus));
}

TEST(Observable, LetsListenersComeAndGoDuringANotification)
{
    std::string trace;
    Recorder a(trace, 'a');
    Recorder b(trace, 'b');
    Publisher publisher;
    publisher.addListener(&a);
    a.then = [&] { publisher.addListener(&b); };
    publisher.publish();
    EXPECT_EQ(trace, "ab") << "the count is read afresh";

    b.then = [&] { publisher.removeListener(&b); };
    a.then = nullptr;
    trace.clear();
    publisher.publish();
    publisher.publish();
    EXPECT_EQ(trace, "aba");
}

TEST(Observable, TakesRegistrationsWhileAnotherThreadNotifies)
{
    Publisher publisher;
    Counter steady;
    Counter fleeting;
    publisher.addListener(&steady);
    std::thread registering([&] {
        for (int i = 0; i < 1000; ++i) {
            publisher.addListener(&fleeting);
            publisher.removeListener(&fleeting);
        }
    });
    for (int i = 0; i < 1000; ++i) {
        publisher.publish();
    }
    registering.join();
    EXPECT_EQ(steady.count, 1000);
    EXPECT_EQ(publisher.listenerCount(), 1U);
}
