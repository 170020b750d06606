#include "NmCommand.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>

namespace dlgconnect {

namespace {

long long NowMs() {
    timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

int WaitExit(pid_t nChild) {
    int nStatus = 0;
    while (::waitpid(nChild, &nStatus, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

}  // namespace

int RunCommand(const std::vector<std::string>& arguments, std::string& strOutput, int nLimitMs) {
    strOutput.clear();
    if (arguments.empty()) return -1;
    std::vector<char*> argv;
    for (const std::string& strArgument : arguments) argv.push_back(const_cast<char*>(strArgument.c_str()));
    argv.push_back(nullptr);

    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return -1;
    const pid_t nChild = ::fork();
    if (nChild < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return -1;
    }
    if (nChild == 0) {
        ::dup2(fds[1], STDOUT_FILENO);
        const int nNull = ::open("/dev/null", O_RDONLY);
        if (nNull >= 0) ::dup2(nNull, STDIN_FILENO);
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(fds[1]);
    const long long nDeadline = NowMs() + nLimitMs;
    bool bKilled = false;
    for (;;) {
        const long long nLeft = nDeadline - NowMs();
        if (nLeft <= 0) {
            // nmcli normally honours its own --wait; this only guards against a hung client.
            ::kill(nChild, SIGKILL);
            bKilled = true;
            break;
        }
        pollfd item{fds[0], POLLIN, 0};
        const int nReady = ::poll(&item, 1, static_cast<int>(nLeft));
        if (nReady < 0 && errno == EINTR) continue;
        if (nReady <= 0) continue;
        char buffer[4096];
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        strOutput.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fds[0]);
    const int nExit = WaitExit(nChild);
    return bKilled ? -1 : nExit;
}

}  // namespace dlgconnect
