#include "app/CommandLine.h"

#include <array>
#include <utility>

#include "settings/TextUtil.h"

namespace vantrel {

namespace {

struct CommandShape {
    std::u16string_view strName;
    std::size_t nArguments;
};

// Every command and the number of arguments it takes.
constexpr std::array<CommandShape, 9> kCommands = {{
    {u"acquire", 0},
    {u"send", 0},
    {u"acquire-send", 0},
    {u"monitor", 0},
    {u"connect", 0},
    {u"copy", 0},
    {u"new-mail", 0},
    {u"save-settings", 1},
    {u"expand", 1},
}};

const CommandShape* FindCommand(std::u16string_view strName) {
    for (const CommandShape& shape : kCommands)
        if (shape.strName == strName) return &shape;
    return nullptr;
}

// Options that take a value, and where the value goes.
std::u16string* OptionTarget(CommandLine& line, std::string_view strOption) {
    if (strOption == "--settings") return &line.strSettings;
    if (strOption == "--port") return &line.strPort;
    if (strOption == "--service") return &line.strService;
    if (strOption == "--position") return &line.strPosition;
    return nullptr;
}

bool CheckShape(const CommandLine& line, std::string& strError) {
    if (line.strCommand.empty()) {
        if (!line.arguments.empty()) strError = "unexpected argument '" + Utf16ToUtf8(line.arguments[0]) + "'";
        return line.arguments.empty();
    }
    const CommandShape* pShape = FindCommand(line.strCommand);
    const std::string strName = Utf16ToUtf8(line.strCommand);
    if (!pShape) {
        strError = "unknown command '" + strName + "'";
        return false;
    }
    if (line.arguments.size() != pShape->nArguments) {
        strError = "'" + strName + "' takes " + std::to_string(pShape->nArguments) + " argument(s)";
        return false;
    }
    if (line.strCommand == u"expand" && line.strPosition.empty()) {
        strError = "'expand' needs --position TEXT";
        return false;
    }
    // The commands that use a position without acquiring one may be given it.
    const bool bTakesPosition = line.strCommand == u"expand" || line.strCommand == u"send" ||
                                line.strCommand == u"copy" || line.strCommand == u"new-mail";
    if (!bTakesPosition && !line.strPosition.empty()) {
        strError = "--position belongs to 'expand', 'send', 'copy' and 'new-mail'";
        return false;
    }
    return true;
}

}  // namespace

bool ParseCommandLine(const std::vector<std::string>& arguments, CommandLine& line, std::string& strError) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& strArg = arguments[i];
        if (strArg == "--help" || strArg == "-h") {
            line.bHelp = true;
        } else if (strArg == "--version") {
            line.bVersion = true;
        } else if (strArg == "--windowless") {
            line.bWindowless = true;
        } else if (std::u16string* pTarget = OptionTarget(line, strArg)) {
            if (i + 1 >= arguments.size() || arguments[i + 1].empty()) {
                strError = strArg + " needs a value";
                return false;
            }
            *pTarget = Utf8ToUtf16(arguments[++i]);
        } else if (strArg.size() > 1 && strArg[0] == '-' && line.arguments.empty() && line.strCommand != u"expand") {
            strError = "unknown option '" + strArg + "'";
            return false;
        } else if (line.strCommand.empty() && !strArg.empty() && strArg[0] != '-') {
            line.strCommand = Utf8ToUtf16(strArg);
        } else {
            line.arguments.push_back(Utf8ToUtf16(strArg));
        }
    }
    if (line.bHelp || line.bVersion) return true;
    return CheckShape(line, strError);
}

std::string UsageText() {
    return "usage: vantrel [--settings FILE] [--port DEVICE] [--service URL] [--windowless] [COMMAND]\n"
           "\n"
           "Finds out where the handset is from its W-SIM module and passes the position on.\n"
           "\n"
           "Commands:\n"
           "  (none)                  the window; with --windowless the start-up run and the\n"
           "                          auto-send timer without a window, until interrupted\n"
           "  acquire                 acquire the position\n"
           "  send [--position TEXT]  send the position (TEXT, or the last one acquired)\n"
           "                          through the enabled channels\n"
           "  acquire-send            acquire, then send\n"
           "  monitor                 watch the position until interrupted\n"
           "  connect                 connect or drop the data line\n"
           "  copy [--position TEXT]  copy the position to the clipboard\n"
           "  new-mail [--position TEXT]\n"
           "                          open a new mail with the position\n"
           "  save-settings FILE      write the settings to FILE\n"
           "  expand TEMPLATE --position TEXT\n"
           "                          print TEMPLATE expanded for the position TEXT\n"
           "                          (for example N35.39.29.000E139.44.51.000/1)\n"
           "\n"
           "Options:\n"
           "  --settings FILE         settings file (default: default.ini in the program folder)\n"
           "  --port DEVICE           serial device of the module; 'sim' is the built-in emulated\n"
           "                          module (default: $VANTREL_PORT, else /dev/ttyS0)\n"
           "  --service URL           address of the position service\n"
           "  --windowless            run without a window\n"
           "  --help, --version\n"
           "\n"
           "Exit status: 0 when the command did its work, 1 when it failed, 2 for a usage error.\n";
}

}  // namespace vantrel
