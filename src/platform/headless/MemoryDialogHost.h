#pragma once
#include <map>
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
    bool CreateControl(const ControlSpec& description) override;
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
    void ListReset(int nId) override;
    int ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) override;
    void ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) override;
    std::u16string ListGetCell(int nId, int nRow, int nColumn) const override;
    void ListDeleteRow(int nId, int nRow) override;
    int ListRowCount(int nId) const override;
    void ListSetSel(int nId, int nRow) override;
    int ListGetSel(int nId) const override;

    TreeItem TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) override;
    void TreeDeleteChildren(int nId, TreeItem item) override;
    std::vector<TreeItem> TreeChildren(int nId, TreeItem item) const override;
    std::u16string TreeText(int nId, TreeItem item) const override;
    TreeItem TreeParent(int nId, TreeItem item) const override;
    void TreeSelect(int nId, TreeItem item) override;
    TreeItem TreeSelection(int nId) const override;

    void SetCommandHandler(std::function<void(int nId, int nNotify)> handler) override;
    int RunModal() override;
    void Close(int nEndCode) override;

    // What a user (or the windowless driver) does: a click reaches the handler as a command. Call
    // it on the UI thread.
    void SendCommand(int nId, int nNotify = 0);

    DialogFrame Frame() const;
    std::u16string Title() const;
    ControlSpec Description(int nId) const;
    std::vector<int> ControlIds() const;  // in creation order
    bool IsCaretAtEnd(int nId) const;
    int TextLimit(int nId) const;
    bool IsClosed() const;
    int EndCode() const;
    // Counts every change of a text or the title: a dialog whose count stands still shows no progress.
    std::uint64_t ChangeCount() const;

private:
    struct Node {
        TreeItem parent = 0;
        std::u16string strText;
        bool bHasChildren = false;
        std::vector<TreeItem> children;
    };
    struct Control {
        ControlSpec description;
        std::u16string strText;
        int nLimit = 0;
        bool bCaretAtEnd = false;
        bool bChecked = false;
        bool bEnabled = true;
        bool bVisible = true;
        std::vector<std::u16string> comboRows;
        int nComboSel = -1;
        std::vector<std::u16string> columns;
        std::vector<std::vector<std::u16string>> listRows;
        int nListSel = -1;
        std::map<TreeItem, Node> tree;  // key 0 is the invisible root
        TreeItem nTreeSel = 0;
    };

    Control* Find(int nId);
    const Control* Find(int nId) const;
    void DeleteSubtree(Control& control, TreeItem item);

    UiThread& m_ui;
    MemoryDialogFactory* m_pFactory;
    mutable std::mutex m_mutex;
    std::uint64_t m_nChanges = 0;
    DialogFrame m_frame;
    std::u16string m_strTitle;
    std::map<int, Control> m_controls;
    std::vector<int> m_order;
    std::function<void(int, int)> m_handler;
    TreeItem m_nNextItem = 1;
    bool m_bRunning = false;
    bool m_bClosed = false;
    int m_nEndCode = 0;
};

// Makes in-memory dialogs on one UI thread.
class MemoryDialogFactory final : public DialogFactory {
public:
    explicit MemoryDialogFactory(UiThread& ui) : m_ui(ui) {}
    std::unique_ptr<DialogHost> CreateDialog(WindowHandle hOwner) override;

    // The innermost dialog running modally, or null: where a windowless Cancel goes. UI thread only.
    MemoryDialogHost* ActiveModal() const { return m_modals.empty() ? nullptr : m_modals.back(); }

private:
    friend class MemoryDialogHost;
    UiThread& m_ui;
    std::vector<MemoryDialogHost*> m_modals;
};

}  // namespace vantrel
