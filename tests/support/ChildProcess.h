#pragma once
#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vantrel::test {

// A program running beside the test (the program under test, the module emulator, the SMTP
// server), with its standard output and error collected on a thread of their own. The
// environment is exactly the one given: nothing of the test's own leaks into the child. Killed
// and reaped when the object goes, however the test ends.
class ChildProcess {
public:
    ChildProcess(const std::string& strProgram, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Started() const { return m_pid > 0; }
    void Signal(int nSignal);
    // The exit status (128 + signal for a killed child), or -1 when it still runs after nTimeoutMs.
    int Wait(int nTimeoutMs);
    // The first line of standard output, waiting at most nTimeoutMs; empty when none came.
    std::string FirstLine(int nTimeoutMs);
    std::string Out();
    std::string Err();

private:
    void Collect(int nOutFd, int nErrFd);

    pid_t m_pid = -1;
    int m_nStatus = -1;
    bool m_bReaped = false;
    std::thread m_reader;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_strOut;
    std::string m_strErr;
};

}  // namespace vantrel::test
