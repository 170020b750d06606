#pragma once
#include <sys/types.h>

#include <string>
#include <vector>

#include "support/TempDir.h"

namespace vantrel::test {

// A program running beside the test (the program under test, the module emulator, the SMTP
// server, a mock system service), its standard output and error written to files of its own, so that nothing it or a
// helper it starts writes can block it. The environment is exactly the one given: nothing of the
// test's own leaks into the child. Killed and reaped when the object goes, however the test ends.
class ChildProcess {
public:
    ChildProcess(const std::string& strProgram, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void Signal(int nSignal);
    // The exit status (128 + signal for a killed child), or -1 when it still runs after nTimeoutMs.
    int Wait(int nTimeoutMs);
    // The first line of standard output, waiting at most nTimeoutMs; empty when none came.
    std::string FirstLine(int nTimeoutMs);
    std::string Out() { return ReadFileBytes(m_dir.File("out")); }
    std::string Err() { return ReadFileBytes(m_dir.File("err")); }

private:
    TempDir m_dir;
    pid_t m_pid = -1;
    int m_nStatus = -1;  // once reaped
};

}  // namespace vantrel::test
