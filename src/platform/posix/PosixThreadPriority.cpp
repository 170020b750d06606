#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "port/ThreadPriority.h"

namespace vantrel {

namespace {

// Linux schedules threads individually: setpriority on the thread id changes only the caller.
class PosixThreadPriority final : public ThreadPriority {
public:
    bool LowerCurrentThread() override {
        const id_t nTid = static_cast<id_t>(::gettid());
        errno = 0;
        const int nNice = ::getpriority(PRIO_PROCESS, nTid);
        if (nNice == -1 && errno != 0) return false;
        return ::setpriority(PRIO_PROCESS, nTid, std::min(nNice + 2, 19)) == 0;
    }
};

}  // namespace

std::unique_ptr<ThreadPriority> CreateThreadPriority() { return std::make_unique<PosixThreadPriority>(); }

}  // namespace vantrel
