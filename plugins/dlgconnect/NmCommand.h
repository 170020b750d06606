#pragma once
#include <string>
#include <vector>

namespace dlgconnect {

// Runs a program found on the search path, collects its standard output and waits for it at most
// nLimitMs (then it is killed). Returns its exit status, or -1 when it could not be run or was
// killed.
int RunCommand(const std::vector<std::string>& arguments, std::string& strOutput, int nLimitMs);

}  // namespace dlgconnect
