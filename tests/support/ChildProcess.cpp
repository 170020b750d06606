#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <thread>

namespace vantrel::test {

ChildProcess::ChildProcess(const std::string& strProgram, const std::vector<std::string>& arguments,
                           const std::vector<std::string>& environment) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, m_dir.File("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, m_dir.File("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
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
}

ChildProcess::~ChildProcess() {
    // Asked first, so that the emulator, the SMTP server and a mock service can shut down cleanly.
    if (Wait(0) == -1) {
        Signal(SIGTERM);
        if (Wait(3000) == -1) {
            Signal(SIGKILL);
            Wait(10000);
        }
    }
}

void ChildProcess::Signal(int nSignal) {
    if (m_pid > 0 && m_nStatus < 0) kill(m_pid, nSignal);
}

int ChildProcess::Wait(int nTimeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    for (int nStatus = 0; m_pid > 0 && m_nStatus < 0;) {
        if (waitpid(m_pid, &nStatus, WNOHANG) == m_pid)
            m_nStatus = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
        else if (std::chrono::steady_clock::now() >= deadline) break;
        else std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return m_nStatus;
}

std::string ChildProcess::FirstLine(int nTimeoutMs) {
    for (int nWaited = 0;; nWaited += 20) {
        const std::string strOut = Out();
        const std::size_t nEnd = strOut.find('\n');
        if (nEnd != std::string::npos) return strOut.substr(0, nEnd);
        if (nWaited >= nTimeoutMs) return std::string();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace vantrel::test
