#include "support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vantrel::test {

ChildProcess::ChildProcess(const std::string& strProgram, const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment) {
    int outPipe[2], errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0) return;
    if (pipe2(errPipe, O_CLOEXEC) != 0) {
        close(outPipe[0]);
        close(outPipe[1]);
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    // Its own process group, so that a signal meant for it never reaches the test runner.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);

    std::vector<char*> argv{const_cast<char*>(strProgram.c_str())};
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& e : environment) envp.push_back(const_cast<char*>(e.c_str()));
    envp.push_back(nullptr);
    if (posix_spawn(&m_pid, strProgram.c_str(), &actions, &attributes, argv.data(), envp.data()) != 0) m_pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(outPipe[1]);
    close(errPipe[1]);
    m_reader = std::thread([this, nOut = outPipe[0], nErr = errPipe[0]] { Collect(nOut, nErr); });
}

ChildProcess::~ChildProcess() {
    // Asked first, so that the emulator and the SMTP server can shut down cleanly.
    if (Wait(0) == -1) {
        Signal(SIGTERM);
        if (Wait(3000) == -1) {
            Signal(SIGKILL);
            Wait(10000);
        }
    }
    if (m_reader.joinable()) m_reader.join();
}

// Reads until both pipes close; grandchildren that keep a pipe open (a launched helper) do not
// hold the test up, because the reader is only joined when the object goes.
void ChildProcess::Collect(int nOutFd, int nErrFd) {
    pollfd fds[2] = {{nOutFd, POLLIN, 0}, {nErrFd, POLLIN, 0}};
    int nOpen = 2;
    while (nOpen > 0) {
        if (poll(fds, 2, 200) <= 0) {
            std::lock_guard lock(m_mutex);
            if (m_bReaped) break;
            continue;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
            char buffer[4096];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                std::lock_guard lock(m_mutex);
                (i == 0 ? m_strOut : m_strErr).append(buffer, static_cast<std::size_t>(n));
                m_changed.notify_all();
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --nOpen;
            }
        }
    }
    for (pollfd& f : fds)
        if (f.fd >= 0) close(f.fd);
}

void ChildProcess::Signal(int nSignal) {
    if (m_pid > 0 && !m_bReaped) kill(m_pid, nSignal);
}

int ChildProcess::Wait(int nTimeoutMs) {
    if (m_pid <= 0) return -1;
    if (m_bReaped) return m_nStatus;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    for (;;) {
        int nStatus = 0;
        if (waitpid(m_pid, &nStatus, WNOHANG) == m_pid) {
            std::lock_guard lock(m_mutex);
            m_bReaped = true;
            m_nStatus = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // The last output written before the exit is still in the pipes.
    if (m_reader.joinable()) m_reader.join();
    return m_nStatus;
}

std::string ChildProcess::FirstLine(int nTimeoutMs) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(nTimeoutMs),
                       [this] { return m_strOut.find('\n') != std::string::npos; });
    const std::size_t nEnd = m_strOut.find('\n');
    return nEnd == std::string::npos ? std::string() : m_strOut.substr(0, nEnd);
}

std::string ChildProcess::Out() {
    std::lock_guard lock(m_mutex);
    return m_strOut;
}

std::string ChildProcess::Err() {
    std::lock_guard lock(m_mutex);
    return m_strErr;
}

}  // namespace vantrel::test
