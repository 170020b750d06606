#pragma once
#include <ostream>

namespace vantrel {

struct CommandLine;
struct Services;

// Exit statuses of the command line.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// Runs a command that needs no window; writes results to out and diagnostics to err.
int RunCommand(const CommandLine& line, Services& services, std::ostream& out, std::ostream& err);

}  // namespace vantrel
