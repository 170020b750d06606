#include "settings/FolderPicker.h"

#include <algorithm>
#include <vector>

#include "app/DialogTemplate.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/SettingsUi.h"

namespace vantrel {

namespace {

char16_t FoldCase(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }

// Alphabetical as the tree sorts its items: letters without regard to case, then code units.
bool Alphabetical(const DirectoryEntry& a, const DirectoryEntry& b) {
    const auto less = [](char16_t x, char16_t y) { return FoldCase(x) < FoldCase(y); };
    if (std::lexicographical_compare(a.strName.begin(), a.strName.end(), b.strName.begin(), b.strName.end(), less))
        return true;
    if (std::lexicographical_compare(b.strName.begin(), b.strName.end(), a.strName.begin(), a.strName.end(), less))
        return false;
    return a.strName < b.strName;
}

}  // namespace

FolderPicker::FolderPicker(DialogHost& host, FileSystem& files, const ResourceModule& resources)
    : m_host(host), m_files(files), m_resources(resources) {}

void FolderPicker::Open(const std::u16string& strFolder, bool bSubfolders) {
    CreateControls(m_resources, IDD_FOLDER, m_host);
    m_host.SetCommandHandler([this](int nId, int nNotify) {
        if (nNotify == command::kClicked) OnCommand(nId);
    });
    m_host.SetNotifyHandler([this](const Notification& note) { OnNotify(note); });
    DualString strRoot;
    strRoot.LoadStringResource(m_resources, IDS_MY_POCKET_PC);
    m_root = m_host.TreeInsert(IDC_FP_TREE, 0, strRoot.Wide(), true);
    m_host.TreeSetIcon(IDC_FP_TREE, m_root, TreeIcon::Program);
    Expand(m_root);
    SelectPath(strFolder);
    m_host.SetCheck(IDC_FP_SUBFOLDERS, bSubfolders);
    m_strFolder = strFolder;
    m_bSubfolders = bSubfolders;
}

bool FolderPicker::Run(std::u16string& strFolder, bool& bSubfolders) {
    Open(strFolder, bSubfolders);
    const int nCode = m_host.RunModal();
    m_host.SetCommandHandler({});
    m_host.SetNotifyHandler({});
    if (nCode != endcode::kOk) return false;
    strFolder = m_strFolder;
    bSubfolders = m_bSubfolders;
    return true;
}

void FolderPicker::OnCommand(int nId) {
    if (nId == IDC_OK) {
        const TreeItem selected = m_host.TreeSelection(IDC_FP_TREE);
        m_strFolder = ItemPath(selected ? selected : m_root);
        m_bSubfolders = m_host.GetCheck(IDC_FP_SUBFOLDERS);
        m_host.Close(endcode::kOk);
    } else if (nId == IDC_CANCEL) {
        m_host.Close(endcode::kCancel);
    }
}

void FolderPicker::OnNotify(const Notification& note) {
    if (note.nId != IDC_FP_TREE) return;
    const auto item = static_cast<TreeItem>(note.nParam);
    // Children are read when shown and dropped when hidden, so a folder is always read afresh.
    if (note.nCode == notify::kTreeExpanding && m_host.TreeChildren(IDC_FP_TREE, item).empty()) ListChildren(item);
    if (note.nCode == notify::kTreeCollapsing) m_host.TreeDeleteChildren(IDC_FP_TREE, item);
}

std::u16string FolderPicker::ItemPath(TreeItem item) const {
    std::u16string strPath;
    for (; item != 0 && item != m_root; item = m_host.TreeParent(IDC_FP_TREE, item))
        strPath = m_files.Separator() + m_host.TreeText(IDC_FP_TREE, item) + strPath;
    return strPath;
}

void FolderPicker::Expand(TreeItem item) {
    if (m_host.TreeChildren(IDC_FP_TREE, item).empty()) ListChildren(item);
    m_host.TreeExpand(IDC_FP_TREE, item, true);
}

// A child gets an expand button only when it holds a folder itself, and the parent keeps its
// button only when it got a child: a folder of files alone cannot be expanded.
void FolderPicker::ListChildren(TreeItem item) {
    const std::u16string strPath = ItemPath(item);
    std::vector<DirectoryEntry> entries;
    m_files.ListDirectories(strPath.empty() ? std::u16string(1, m_files.Separator()) : strPath, entries);
    std::sort(entries.begin(), entries.end(), Alphabetical);
    for (const DirectoryEntry& entry : entries) {
        const std::u16string strChild = strPath + m_files.Separator() + entry.strName;
        const TreeItem child = m_host.TreeInsert(IDC_FP_TREE, item, entry.strName, m_files.HasDirectories(strChild));
        m_host.TreeSetIcon(IDC_FP_TREE, child, entry.bMountPoint ? TreeIcon::StorageCard : TreeIcon::Folder);
    }
    m_host.TreeSetHasChildren(IDC_FP_TREE, item, !entries.empty());
}

TreeItem FolderPicker::SelectPath(const std::u16string& strPath) {
    TreeItem current = m_root;
    std::size_t nStart = 0;
    while (nStart <= strPath.size()) {
        std::size_t nEnd = strPath.find(m_files.Separator(), nStart);
        if (nEnd == std::u16string::npos) nEnd = strPath.size();
        const std::u16string strName = strPath.substr(nStart, nEnd - nStart);
        nStart = nEnd + 1;
        if (strName.empty()) continue;  // a leading, doubled or trailing separator
        Expand(current);
        const std::vector<TreeItem> children = m_host.TreeChildren(IDC_FP_TREE, current);
        const auto it = std::find_if(children.begin(), children.end(),
                                     [&](TreeItem child) { return m_host.TreeText(IDC_FP_TREE, child) == strName; });
        if (it == children.end()) break;
        current = *it;
    }
    m_host.TreeSelect(IDC_FP_TREE, current);
    return current;
}

bool PickFolder(const SettingsUiServices& services, WindowHandle hOwner, std::u16string& strFolder,
                bool& bSubfolders) {
    const std::unique_ptr<DialogHost> pHost = services.dialogs.CreateDialog(hOwner);
    FolderPicker picker(*pHost, services.files, services.resources);
    return picker.Run(strFolder, bSubfolders);
}

}  // namespace vantrel
