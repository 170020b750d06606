#pragma once
#include <string>

#include "port/DialogHost.h"

namespace vantrel {

class FileSystem;
class ResourceModule;
struct SettingsUiServices;

// The folder picker (template 138): a tree of folders under a root item that stands for the file
// system root, each folder listed when its item is expanded and forgotten when it is collapsed, and
// the check box "サブフォルダを含む".
class FolderPicker {
public:
    FolderPicker(DialogHost& host, FileSystem& files, const ResourceModule& resources);

    // Builds the controls, shows the root expanded, selects strFolder as far as its folders exist
    // and sets the check box.
    void Open(const std::u16string& strFolder, bool bSubfolders);
    // Open, then the modal run. True when the user confirmed; strFolder (without a trailing
    // separator, empty for the root) and bSubfolders then hold the choice.
    bool Run(std::u16string& strFolder, bool& bSubfolders);

    // The dialog's handlers.
    void OnCommand(int nId);
    void OnNotify(const Notification& note);

    TreeItem Root() const { return m_root; }
    // The folder an item stands for: the root contributes nothing, every other level a separator
    // and its name.
    std::u16string ItemPath(TreeItem item) const;
    // Expands along strPath while its folders exist and selects the last one found.
    TreeItem SelectPath(const std::u16string& strPath);

    const std::u16string& Folder() const { return m_strFolder; }
    bool IncludeSubfolders() const { return m_bSubfolders; }

private:
    void Expand(TreeItem item);
    void ListChildren(TreeItem item);

    DialogHost& m_host;
    FileSystem& m_files;
    const ResourceModule& m_resources;
    TreeItem m_root = 0;
    std::u16string m_strFolder;
    bool m_bSubfolders = false;
};

// Runs the folder picker modally over hOwner; true with the chosen folder in strFolder.
bool PickFolder(const SettingsUiServices& services, WindowHandle hOwner, std::u16string& strFolder,
                bool& bSubfolders);

}  // namespace vantrel
