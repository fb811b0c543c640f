#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace tarvik::lab {

namespace {

std::atomic<concurrent::WakeUp*> target{nullptr};

void onSignal(int /*signal*/)
{
    if (concurrent::WakeUp* const wakeUp = target) {
        wakeUp->set();
    }
}

void install(void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

} // namespace

Interrupt::Interrupt()
{
    target = &_wakeUp;
    install(onSignal, static_cast<int>(SA_RESETHAND));
}

Interrupt::~Interrupt()
{
    install(SIG_DFL, 0);
    target = nullptr;
}

} // namespace tarvik::lab
