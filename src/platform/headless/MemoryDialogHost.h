#pragma once
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "port/DialogHost.h"

namespace vantrel {

class MemoryDialogFactory;
class UiThread;

// In-memory controls: the windowless program's dialogs and the host the form logic is tested on.
// Modal runs are nested loops of the given UI thread.
class MemoryDialogHost final : public DialogHost {
public:
    explicit MemoryDialogHost(UiThread& ui, MemoryDialogFactory* pFactory = nullptr);

    WindowHandle Handle() const override;
    void SetFrame(const DialogFrame& frame) override;
    bool CreateControl(const ControlItem& description) override;
    bool HasControl(int nId) const override;

    void SetTitle(const std::u16string& strTitle) override;
    void SetText(int nId, const std::u16string& strText) override;
    std::u16string GetText(int nId) const override;
    void SetTextLimit(int nId, int nLimit) override;
    void CaretToEnd(int nId) override;
    void SetCheck(int nId, bool bChecked) override;
    bool GetCheck(int nId) const override;
    void Enable(int nId, bool bEnabled) override;
    bool IsEnabled(int nId) const override;
    void Show(int nId, bool bVisible) override;
    bool IsVisible(int nId) const override;

    void ComboReset(int nId) override;
    int ComboAdd(int nId, const std::u16string& strText) override;
    int ComboCount(int nId) const override;
    void ComboSetSel(int nId, int nRow) override;
    int ComboGetSel(int nId) const override;

    void ListAddColumn(int nId, const std::u16string& strCaption, int nWidth) override;
    void ListSetExtendedStyle(int nId, std::uint32_t nStyle) override;
    void ListReset(int nId) override;
    int ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) override;
    void ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) override;
    std::u16string ListGetCell(int nId, int nRow, int nColumn) const override;
    void ListDeleteRow(int nId, int nRow) override;
    int ListRowCount(int nId) const override;
    void ListSetSel(int nId, int nRow) override;
    int ListGetSel(int nId) const override;

    TreeItem TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) override;
    void TreeSetHasChildren(int nId, TreeItem item, bool bHasChildren) override;
    void TreeSetIcon(int nId, TreeItem item, TreeIcon icon) override;
    void TreeExpand(int nId, TreeItem item, bool bExpand) override;
    void TreeDeleteChildren(int nId, TreeItem item) override;
    std::vector<TreeItem> TreeChildren(int nId, TreeItem item) const override;
    std::u16string TreeText(int nId, TreeItem item) const override;
    TreeItem TreeParent(int nId, TreeItem item) const override;
    void TreeSelect(int nId, TreeItem item) override;
    TreeItem TreeSelection(int nId) const override;

    void SetCommandHandler(std::function<void(int nId, int nNotify)> handler) override;
    void SetNotifyHandler(std::function<void(const Notification& note)> handler) override;
    bool SetProperty(const std::u16string& strName, void* pValue) override;
    void* GetProperty(const std::u16string& strName) const override;
    int RunModal() override;
    void Close(int nEndCode) override;

    // What a user (or the windowless driver) does: a click reaches the handler as a command. Call
    // it on the UI thread.
    void SendCommand(int nId, int nNotify = 0);
    // The user selects a row (-1: clicks beside the rows), clicks a column header, expands or
    // collapses a tree item: the state changes and the notification arrives as it would.
    void ClickListRow(int nId, int nRow);
    void ClickListColumn(int nId, int nColumn);
    void ExpandTreeItem(int nId, TreeItem item);
    void CollapseTreeItem(int nId, TreeItem item);

    DialogFrame Frame() const;
    std::u16string Title() const;
    ControlItem Description(int nId) const;
    std::vector<int> ControlIds() const;  // in creation order
    int TextLimit(int nId) const;
    std::vector<std::u16string> ListColumns(int nId) const;
    std::uint32_t ListExtendedStyle(int nId) const;
    bool TreeHasChildren(int nId, TreeItem item) const;
    bool IsTreeExpanded(int nId, TreeItem item) const;
    TreeIcon TreeIconOf(int nId, TreeItem item) const;
    bool IsClosed() const;
    int EndCode() const;
    // Counts every change of a text or the title: a dialog whose count stands still shows no progress.
    std::uint64_t ChangeCount() const;

private:
    struct Node {
        TreeItem parent = 0;
        std::u16string strText;
        bool bHasChildren = false;
        bool bExpanded = false;
        TreeIcon icon = TreeIcon::None;
        std::vector<TreeItem> children;
    };
    struct Control {
        ControlItem description;
        std::u16string strText;
        int nLimit = 0;
        bool bChecked = false;
        bool bEnabled = true;
        bool bVisible = true;
        std::vector<std::u16string> comboRows;
        int nComboSel = -1;
        std::vector<std::u16string> columns;
        std::uint32_t nListStyle = 0;
        std::vector<std::vector<std::u16string>> listRows;
        int nListSel = -1;
        std::map<TreeItem, Node> tree;  // key 0 is the invisible root
        TreeItem nTreeSel = 0;
    };

    Control* Find(int nId);
    const Control* Find(int nId) const;
    const Node* FindNode(int nId, TreeItem item) const;
    void DeleteSubtree(Control& control, TreeItem item);
    void Notify(const Notification& note);

    UiThread& m_ui;
    MemoryDialogFactory* m_pFactory;
    mutable std::mutex m_mutex;
    std::uint64_t m_nChanges = 0;
    DialogFrame m_frame;
    std::u16string m_strTitle;
    std::map<int, Control> m_controls;
    std::vector<int> m_order;
    std::function<void(int, int)> m_handler;
    std::function<void(const Notification&)> m_notifyHandler;
    std::map<std::u16string, void*> m_properties;
    TreeItem m_nNextItem = 1;
    bool m_bRunning = false;
    bool m_bClosed = false;
    int m_nEndCode = 0;
};

// A sheet of in-memory pages, run modally as one dialog.
class MemorySheetHost final : public SheetHost {
public:
    explicit MemorySheetHost(UiThread& ui, MemoryDialogFactory* pFactory = nullptr);

    WindowHandle Handle() const override;
    void SetTitle(const std::u16string& strTitle) override;
    DialogHost& AddPage() override;
    int PageCount() const override;
    void SetActivePage(int nPage) override;
    int ActivePage() const override;
    int RunModal() override;
    void Close(int nEndCode) override;

    std::u16string Title() const { return m_strTitle; }
    MemoryDialogHost& Page(int nPage) { return *m_pages.at(static_cast<std::size_t>(nPage)); }
    // What a tab shows: the page's title.
    std::u16string PageTitle(int nPage) const { return m_pages.at(static_cast<std::size_t>(nPage))->Title(); }
    bool IsClosed() const { return m_bClosed; }
    int EndCode() const { return m_nEndCode; }

private:
    UiThread& m_ui;
    MemoryDialogFactory* m_pFactory;
    std::u16string m_strTitle;
    std::vector<std::unique_ptr<MemoryDialogHost>> m_pages;
    int m_nActive = -1;
    bool m_bRunning = false;
    bool m_bClosed = false;
    int m_nEndCode = 0;
};

// Makes in-memory dialogs on one UI thread.
class MemoryDialogFactory final : public DialogFactory {
public:
    explicit MemoryDialogFactory(UiThread& ui) : m_ui(ui) {}
    std::unique_ptr<DialogHost> CreateDialog(WindowHandle hOwner) override;
    std::unique_ptr<SheetHost> CreateSheet(WindowHandle hOwner) override;

    // The innermost dialog running modally, or null: where a windowless Cancel goes. UI thread only.
    MemoryDialogHost* ActiveModal() const { return m_modals.empty() ? nullptr : m_modals.back(); }
    // The sheet running modally, or null. UI thread only.
    MemorySheetHost* ActiveSheet() const { return m_sheets.empty() ? nullptr : m_sheets.back(); }

private:
    friend class MemoryDialogHost;
    friend class MemorySheetHost;
    UiThread& m_ui;
    std::vector<MemoryDialogHost*> m_modals;
    std::vector<MemorySheetHost*> m_sheets;
};

}  // namespace vantrel
