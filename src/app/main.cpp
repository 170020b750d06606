// The composition root: parses the command line, creates the platform's services and runs.
#include <iostream>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/Commands.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    vantrel::CommandLine line;
    std::string strError;
    if (!vantrel::ParseCommandLine(arguments, line, strError)) {
        std::cerr << "vantrel: " << strError << "\nTry 'vantrel --help'.\n";
        return vantrel::kExitUsage;
    }
    if (line.bHelp) {
        std::cout << vantrel::UsageText();
        return vantrel::kExitOk;
    }
    if (line.bVersion) {
        std::cout << "vantrel " VANTREL_VERSION "\n";
        return vantrel::kExitOk;
    }
    return vantrel::RunCommand(line, std::cout, std::cerr);
}
