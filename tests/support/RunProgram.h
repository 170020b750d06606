#pragma once
#include <string>
#include <vector>

namespace vantrel::test {

// Result of running a program to its end.
struct ProgramResult {
    int nExitCode = -1;
    std::string strOut;
    std::string strErr;
};

// Runs strProgram with arguments (no shell), extra environment "NAME=value" entries and optional
// standard input; waits for it, at most nTimeoutMs, then kills it.
ProgramResult RunProgram(const std::string& strProgram, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment = {}, int nTimeoutMs = 60000);

}  // namespace vantrel::test
