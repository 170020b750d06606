#pragma once
#include <memory>

namespace vantrel {

// Scheduling priority of the calling thread.
class ThreadPriority {
public:
    virtual ~ThreadPriority() = default;
    // THREAD_PRIORITY_BELOW_NORMAL: the serial reader yields to the user-interface thread.
    virtual bool LowerCurrentThread() = 0;
};

std::unique_ptr<ThreadPriority> CreateThreadPriority();

}  // namespace vantrel
