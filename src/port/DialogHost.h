#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "port/MessageBoxHost.h"

namespace vantrel {

// One control as the dialog template describes it; positions and sizes are dialog units, which the
// host converts with the template's font.
struct ControlSpec {
    int nId = 0;
    std::u16string strClass;  // "BUTTON", "EDIT", "STATIC", "LISTBOX", "SCROLLBAR", "COMBOBOX" or a class name
    std::u16string strText;
    std::uint32_t nStyle = 0;
    std::uint32_t nExStyle = 0;
    int x = 0, y = 0, cx = 0, cy = 0;
};

// The dialog as a whole: title, size in dialog units and the font that defines the units.
struct DialogFrame {
    std::u16string strTitle;
    std::u16string strFace;
    int nPointSize = 0;
    int cx = 0, cy = 0;
};

// Handle of a tree item; 0 is none, and as a parent it means the root level.
using TreeItem = std::uintptr_t;

// Notification codes that commands carry, with the Win32 values. A command reports what the user
// did to a control; the host's own setters (SetText, ComboSetSel, ListSetSel, ...) never send one,
// on any backend, so that a form reacts to the user only.
namespace notify {
constexpr int kClicked = 0;             // BN_CLICKED: a button pressed, a check box or radio button clicked
constexpr int kSelChange = 1;           // CBN_SELCHANGE, LBN_SELCHANGE: another row chosen
constexpr int kDblClk = 2;              // LBN_DBLCLK: a list-box row double-clicked
constexpr int kEditChange = 0x300;      // EN_CHANGE: the text of an edit control changed
constexpr int kListItemChanged = -101;  // LVN_ITEMCHANGED: the selected row of a list view changed
constexpr int kTreeSelChanged = -451;   // TVN_SELCHANGEDW: the selected item of a tree view changed
}  // namespace notify

// A dialog or form addressed by control id, as Win32 code addresses its controls. Forms are written
// once against this; the backends are in-memory controls (windowless mode, tests) and real widgets.
// Operations on an id that names no control do nothing and read as empty, as on Win32.
class DialogHost {
public:
    virtual ~DialogHost() = default;

    virtual WindowHandle Handle() const = 0;
    virtual void SetFrame(const DialogFrame& frame) = 0;
    virtual bool CreateControl(const ControlSpec& control) = 0;
    virtual bool HasControl(int nId) const = 0;

    virtual void SetTitle(const std::u16string& strTitle) = 0;
    virtual void SetText(int nId, const std::u16string& strText) = 0;
    virtual std::u16string GetText(int nId) const = 0;
    virtual void SetTextLimit(int nId, int nLimit) = 0;
    // Puts the caret after the last character of an edit control and scrolls it into view.
    virtual void CaretToEnd(int nId) = 0;
    virtual void SetCheck(int nId, bool bChecked) = 0;
    virtual bool GetCheck(int nId) const = 0;
    virtual void Enable(int nId, bool bEnabled) = 0;
    virtual bool IsEnabled(int nId) const = 0;
    virtual void Show(int nId, bool bVisible) = 0;
    virtual bool IsVisible(int nId) const = 0;

    // Combo boxes; a selection of -1 is none.
    virtual void ComboReset(int nId) = 0;
    virtual int ComboAdd(int nId, const std::u16string& strText) = 0;
    virtual int ComboCount(int nId) const = 0;
    virtual void ComboSetSel(int nId, int nRow) = 0;
    virtual int ComboGetSel(int nId) const = 0;

    // List views: columns, rows of cells (a missing cell reads empty), one selected row or -1.
    virtual void ListAddColumn(int nId, const std::u16string& strCaption, int nWidth) = 0;
    virtual void ListReset(int nId) = 0;
    virtual int ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) = 0;
    virtual void ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) = 0;
    virtual std::u16string ListGetCell(int nId, int nRow, int nColumn) const = 0;
    virtual void ListDeleteRow(int nId, int nRow) = 0;
    virtual int ListRowCount(int nId) const = 0;
    virtual void ListSetSel(int nId, int nRow) = 0;
    virtual int ListGetSel(int nId) const = 0;

    // Tree views.
    virtual TreeItem TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) = 0;
    virtual void TreeDeleteChildren(int nId, TreeItem item) = 0;
    virtual std::vector<TreeItem> TreeChildren(int nId, TreeItem item) const = 0;
    virtual std::u16string TreeText(int nId, TreeItem item) const = 0;
    virtual TreeItem TreeParent(int nId, TreeItem item) const = 0;
    virtual void TreeSelect(int nId, TreeItem item) = 0;
    virtual TreeItem TreeSelection(int nId) const = 0;

    // Clicks and other notifications arrive as commands (control id, notification code). Closing a
    // dialog window (its close box, Escape) is command IDCANCEL (2) with kClicked, and Enter presses
    // the default push button (IDOK, 1, when the template has none), as dialog boxes do.
    virtual void SetCommandHandler(std::function<void(int nId, int nNotify)> handler) = 0;
    // Shows the dialog and runs it modally until Close; returns the end code.
    virtual int RunModal() = 0;
    virtual void Close(int nEndCode) = 0;
};

// Makes dialogs for one backend; forms receive it so that they never name a toolkit.
class DialogFactory {
public:
    virtual ~DialogFactory() = default;
    virtual std::unique_ptr<DialogHost> CreateDialog(WindowHandle hOwner) = 0;
};

}  // namespace vantrel
