#pragma once

namespace vantrel {

class DialogFactory;
class FileDialogs;
class FileSystem;
class MessageFacility;
class ResourceModule;

// What the settings sheet, the list editor and the folder picker need from the program and the
// platform; owned by the composition root.
struct SettingsUiServices {
    DialogFactory& dialogs;
    FileSystem& files;
    FileDialogs& fileDialogs;
    MessageFacility& messages;
    const ResourceModule& resources;
};

// The end codes of every dialog (IDOK, IDCANCEL).
namespace endcode {
constexpr int kOk = 1;
constexpr int kCancel = 2;
}  // namespace endcode

}  // namespace vantrel
