#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/posix/WindowsCommandLine.h"
#include "port/ProcessLauncher.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

bool IsExecutableFile(const std::string& strPath) {
    struct stat info {};
    return ::stat(strPath.c_str(), &info) == 0 && S_ISREG(info.st_mode) && ::access(strPath.c_str(), X_OK) == 0;
}

// ShellExecute finds a bare program name along the search path as well.
bool ResolveExecutable(const std::string& strName, std::string& strPath) {
    if (strName.find('/') != std::string::npos) {
        strPath = strName;
        return IsExecutableFile(strName);
    }
    const char* pszPath = std::getenv("PATH");
    std::string strDirs = pszPath ? pszPath : "/usr/local/bin:/usr/bin:/bin";
    std::size_t nStart = 0;
    while (nStart <= strDirs.size()) {
        std::size_t nEnd = strDirs.find(':', nStart);
        if (nEnd == std::string::npos) nEnd = strDirs.size();
        const std::string strDir = nEnd > nStart ? strDirs.substr(nStart, nEnd - nStart) : ".";
        const std::string strCandidate = strDir + "/" + strName;
        if (IsExecutableFile(strCandidate)) {
            strPath = strCandidate;
            return true;
        }
        nStart = nEnd + 1;
    }
    return false;
}

// Double fork: the intermediate child ends at once and is reaped here, the grandchild is adopted
// by init, so nothing waits for the program and no zombie is left. A close-on-exec pipe tells
// whether the exec itself worked.
bool SpawnDetached(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return false;
    std::vector<char*> argv;
    for (const std::string& strArgument : arguments) argv.push_back(const_cast<char*>(strArgument.c_str()));
    argv.push_back(nullptr);

    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return false;
    const pid_t nChild = ::fork();
    if (nChild < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return false;
    }
    if (nChild == 0) {
        // Only async-signal-safe calls from here on: the parent may have other threads.
        ::close(fds[0]);
        ::setsid();
        const pid_t nGrandchild = ::fork();
        if (nGrandchild != 0) {
            if (nGrandchild < 0) {
                const int nError = errno;
                (void)!::write(fds[1], &nError, sizeof nError);
            }
            ::_exit(0);
        }
        // Descriptors the program holds (the serial port, sockets) must not leak into the child.
        ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        ::execvp(argv[0], argv.data());
        const int nError = errno;
        (void)!::write(fds[1], &nError, sizeof nError);
        ::_exit(127);
    }
    ::close(fds[1]);
    int nStatus = 0;
    while (::waitpid(nChild, &nStatus, 0) < 0 && errno == EINTR) {
    }
    int nError = 0;
    ssize_t nRead;
    while ((nRead = ::read(fds[0], &nError, sizeof nError)) < 0 && errno == EINTR) {
    }
    ::close(fds[0]);
    if (nRead > 0) {
        errno = nError;
        return false;
    }
    return true;
}

void AppendWindowsArguments(std::vector<std::string>& arguments, const std::u16string& strLine) {
    for (const std::u16string& strArgument : SplitWindowsArguments(strLine))
        arguments.push_back(Utf16ToUtf8(strArgument));
}

class PosixProcessLauncher final : public ProcessLauncher {
public:
    HandOffStyle Style() const override { return HandOffStyle::Desktop; }

    bool ShellOpen(const std::u16string& strFile, const std::u16string& strParameters) override {
        if (strFile.empty()) return false;
        const std::string strName = Utf16ToUtf8(strFile);
        std::string strProgram;
        if (!ResolveExecutable(strName, strProgram)) {
            // A document or URL: the opener takes no parameters, as the shell ignores them for
            // anything that is not a program.
            return SpawnDetached({"xdg-open", strName});
        }
        std::vector<std::string> arguments{strProgram};
        AppendWindowsArguments(arguments, strParameters);
        return SpawnDetached(arguments);
    }

    bool StartProcess(const std::u16string& strApplication, const std::u16string& strCommandLine) override {
        if (strApplication.empty()) return false;
        std::vector<std::string> arguments{Utf16ToUtf8(strApplication)};
        AppendWindowsArguments(arguments, strCommandLine);
        return SpawnDetached(arguments);
    }

    bool Spawn(const std::vector<std::u16string>& arguments) override {
        std::vector<std::string> narrow;
        for (const std::u16string& strArgument : arguments) narrow.push_back(Utf16ToUtf8(strArgument));
        return SpawnDetached(narrow);
    }
};

}  // namespace

std::unique_ptr<ProcessLauncher> CreateProcessLauncher() { return std::make_unique<PosixProcessLauncher>(); }

}  // namespace vantrel
