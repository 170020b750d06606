#pragma once
#include <string>
#include <vector>

namespace vantrel {

// What the user asked for on the command line.
struct CommandLine {
    std::u16string strSettings;  // --settings FILE (empty: the program folder's default.ini)
    std::u16string strPort;      // --port DEVICE ("sim": the built-in emulated module)
    std::u16string strService;   // --service URL of the position service
    std::u16string strPosition;  // --position TEXT (expand)
    bool bWindowless = false;
    bool bHelp = false;
    bool bVersion = false;
    std::u16string strCommand;             // empty: the window (or the windowless run)
    std::vector<std::u16string> arguments;  // the command's own arguments
};

// Parses UTF-8 arguments (argv[0] excluded). False with a message for the user on a usage error.
bool ParseCommandLine(const std::vector<std::string>& arguments, CommandLine& line, std::string& strError);

// The --help text.
std::string UsageText();

}  // namespace vantrel
