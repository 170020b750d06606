#include "app/Commands.h"

#include <memory>

#include "app/CommandLine.h"
#include "app/WindowApp.h"
#include "app/WindowlessApp.h"
#include "location/Location.h"
#include "location/Placeholders.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/SystemInfo.h"
#include "port/TextCodec.h"
#include "settings/ProgramFolder.h"
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

int Expand(const CommandLine& line, TextOut& out, TextOut& err) {
    Location location;
    if (!location.SetFromText(line.strPosition)) {
        err << "vantrel: '" << Utf16ToUtf8(line.strPosition)
            << "' is not a position text (expected N<lat>E<lon>/<info>, e.g. N35.39.29.000E139.44.51.000/1)\n";
        return kExitUsage;
    }
    std::u16string strText;
    const std::unique_ptr<Clock> pClock = CreateSystemClock();
    if (!ExpandPlaceholders(location, *pClock, line.arguments[0], strText)) {
        err << "vantrel: out of memory\n";
        return kExitFailed;
    }
    out << Utf16ToUtf8(strText) << '\n';
    return kExitOk;
}

// Loads the settings as the program would start with them (--settings, else default.ini in the
// program folder, else the defaults) and writes them to the file named.
int SaveSettings(const CommandLine& line, TextOut& err) {
    const std::unique_ptr<FileSystem> pFiles = CreateFileSystem();
    const std::unique_ptr<SystemInfo> pSystem = CreateSystemInfo();
    const std::u16string strFolder = ProgramFolder(*pSystem, *pFiles);
    Settings settings(PlatformSettingsProfile(strFolder), *pFiles);
    if (!line.strSettings.empty() && !settings.Load(line.strSettings)) {
        err << "vantrel: cannot read the settings file '" << Utf16ToUtf8(line.strSettings) << "'\n";
        return kExitFailed;
    }
    if (line.strSettings.empty()) settings.LoadDefault(strFolder);
    if (!settings.Save(line.arguments[0])) {
        err << "vantrel: cannot write the settings file '" << Utf16ToUtf8(line.arguments[0]) << "'\n";
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace

int RunCommand(const CommandLine& line, TextOut& out, TextOut& err) {
    const std::unique_ptr<TextCodec> pCodec = CreateAnsiCodec();
    SetAnsiCodePage(pCodec.get());
    int nStatus = kExitOk;
    if (line.strCommand == u"expand") nStatus = Expand(line, out, err);
    else if (line.strCommand == u"save-settings") nStatus = SaveSettings(line, err);
    SetAnsiCodePage(nullptr);
    if (line.strCommand == u"expand" || line.strCommand == u"save-settings") return nStatus;
    if (line.strCommand.empty() && !line.bWindowless) return WindowApp(line, err).Run();
    // Every other command, and the windowless run, is the main form without a window.
    return WindowlessApp(line, out, err).Run();
}

}  // namespace vantrel
