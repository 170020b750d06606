#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "port/Interrupts.h"

namespace vantrel {

namespace {

// The handler may only write to a pipe; a thread reads it and calls back outside signal context.
std::atomic<int> g_nWriteEnd{-1};

void OnSignal(int nSignal) {
    const int nSaved = errno;
    const char c = static_cast<char>(nSignal);
    const int fd = g_nWriteEnd.load();
    if (fd >= 0) [[maybe_unused]] auto n = write(fd, &c, 1);
    errno = nSaved;
}

class PosixInterrupts final : public Interrupts {
public:
    ~PosixInterrupts() override {
        if (!m_thread.joinable()) return;
        struct sigaction action {};
        action.sa_handler = SIG_DFL;
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
        g_nWriteEnd = -1;
        const char c = 0;  // wakes the reader, which ends on a zero byte
        [[maybe_unused]] auto n = write(m_fds[1], &c, 1);
        m_thread.join();
        close(m_fds[0]);
        close(m_fds[1]);
    }

    void Watch(std::function<void()> fnOnInterrupt) override {
        if (m_thread.joinable() || pipe2(m_fds, O_CLOEXEC) != 0) return;
        g_nWriteEnd = m_fds[1];
        m_thread = std::thread([this, fn = std::move(fnOnInterrupt)] {
            char c = 0;
            while (read(m_fds[0], &c, 1) == 1 && c != 0) fn();
        });
        struct sigaction action {};
        action.sa_handler = OnSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
    }

private:
    int m_fds[2] = {-1, -1};
    std::thread m_thread;
};

}  // namespace

std::unique_ptr<Interrupts> CreateInterrupts() { return std::make_unique<PosixInterrupts>(); }

}  // namespace vantrel
