#include "support/RunProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

extern char** environ;

namespace vantrel::test {

ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment, int nTimeoutMs) {
    ProgramResult result;
    int outPipe[2], errPipe[2];
    if (pipe2(outPipe, O_CLOEXEC) != 0 || pipe2(errPipe, O_CLOEXEC) != 0) return result;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outPipe[1], 1);
    posix_spawn_file_actions_adddup2(&actions, errPipe[1], 2);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);

    std::vector<char*> argv{const_cast<char*>(strProgram.c_str())};
    for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    std::vector<std::string> env;
    for (char** p = environ; *p; ++p) env.emplace_back(*p);
    for (const auto& e : environment) {
        const std::string strName = e.substr(0, e.find('=') + 1);
        std::erase_if(env, [&](const std::string& s) { return s.rfind(strName, 0) == 0; });
        env.push_back(e);
    }
    std::vector<char*> envp;
    for (auto& e : env) envp.push_back(e.data());
    envp.push_back(nullptr);

    pid_t pid = -1;
    const int nSpawn = posix_spawn(&pid, strProgram.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(outPipe[1]);
    close(errPipe[1]);
    if (nSpawn != 0) {
        close(outPipe[0]);
        close(errPipe[0]);
        result.strErr = std::strerror(nSpawn);
        return result;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(nTimeoutMs);
    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* targets[2] = {&result.strOut, &result.strErr};
    int nOpen = 2;
    while (nOpen > 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            kill(pid, SIGKILL);
            break;
        }
        if (poll(fds, 2, static_cast<int>(left.count())) <= 0) continue;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP))) continue;
            char buffer[4096];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                targets[i]->append(buffer, static_cast<std::size_t>(n));
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --nOpen;
            }
        }
    }
    for (auto& f : fds)
        if (f.fd >= 0) close(f.fd);
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    result.nExitCode = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
    return result;
}

}  // namespace vantrel::test
