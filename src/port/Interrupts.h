#pragma once
#include <functional>
#include <memory>

namespace vantrel {

// The user's request to stop a program that has no window to close: Ctrl+C or a termination
// request (SIGINT, SIGTERM; the console's control events on Windows).
class Interrupts {
public:
    virtual ~Interrupts() = default;
    // fnOnInterrupt runs on a thread of its own once per request, never inside a signal handler.
    virtual void Watch(std::function<void()> fnOnInterrupt) = 0;
};

std::unique_ptr<Interrupts> CreateInterrupts();

}  // namespace vantrel
