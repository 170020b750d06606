#pragma once
#include "port/TextOut.h"

namespace vantrel {

struct CommandLine;

// Exit statuses of the command line.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// Runs a command, the windowless program or the window; writes results to out and messages to err.
int RunCommand(const CommandLine& line, TextOut& out, TextOut& err);

}  // namespace vantrel
