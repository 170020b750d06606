#pragma once
#include <string>

#include "port/MessageBoxHost.h"

namespace vantrel {

class DialogFactory;
class ResourceModule;

struct VersionText {
    std::u16string strName;
    std::u16string strVersion;
    std::u16string strBuildDate;
};

// The version information dialog: template 106 on a screen wider than tall, 105 otherwise, showing
// the program name, the version line and the build date. Runs modally; returns its end code.
int RunVersionDialog(DialogFactory& dialogs, WindowHandle hOwner, const ResourceModule& resources, bool bWideScreen,
                     const VersionText& text);

}  // namespace vantrel
