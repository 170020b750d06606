// The composition root: parses the command line, creates the platform's services and runs.
#include <cstdio>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/Commands.h"
#include "port/TextOut.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    vantrel::FileTextOut out(stdout);
    vantrel::FileTextOut err(stderr);
    vantrel::CommandLine line;
    std::string strError;
    if (!vantrel::ParseCommandLine(arguments, line, strError)) {
        err << "vantrel: " << strError << "\nTry 'vantrel --help'.\n";
        return vantrel::kExitUsage;
    }
    if (line.bHelp) {
        out << vantrel::UsageText();
        return vantrel::kExitOk;
    }
    if (line.bVersion) {
        out << "vantrel " VANTREL_VERSION "\n";
        return vantrel::kExitOk;
    }
    return vantrel::RunCommand(line, out, err);
}
