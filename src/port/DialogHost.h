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
struct ControlItem {
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

// Extended list-view styles, with the Win32 LVS_EX_ values.
namespace lvs {
constexpr std::uint32_t kGridLines = 0x1;
constexpr std::uint32_t kHeaderDragDrop = 0x10;  // columns may be dragged into another order
constexpr std::uint32_t kFullRowSelect = 0x20;
}  // namespace lvs

// The picture in front of a tree item; each backend supplies its own.
enum class TreeIcon { None, Program, Folder, StorageCard };

// The notification code a command carries, with the Win32 values: what the user did to a button,
// an edit control or a combo box.
namespace command {
constexpr int kClicked = 0;         // BN_CLICKED: a button pressed, a check box or radio button clicked
constexpr int kSelChange = 1;       // CBN_SELCHANGE, LBN_SELCHANGE: another row chosen
constexpr int kDblClk = 2;          // LBN_DBLCLK: a list-box row double-clicked
constexpr int kEditChange = 0x300;  // EN_CHANGE: the user changed the text of an edit control
}  // namespace command

// What the user did to a list view or a tree view, beyond a click (WM_NOTIFY on Win32).
namespace notify {
constexpr int kListSelChanged = 1;   // nParam: the row now selected, -1 for none
constexpr int kListColumnClick = 2;  // nParam: the column whose header was clicked
constexpr int kTreeExpanding = 3;    // nParam: the item about to show its children
constexpr int kTreeCollapsing = 4;   // nParam: the item about to hide its children
}  // namespace notify

struct Notification {
    int nId = 0;    // the control
    int nCode = 0;  // notify::k...
    std::intptr_t nParam = 0;
};

// A dialog or form addressed by control id, as Win32 code addresses its controls. Forms are written
// once against this; the backends are in-memory controls (windowless mode, tests) and real widgets.
// Operations on an id that names no control do nothing and read as empty, as on Win32.
// Only the user's actions reach the handlers: an operation the form calls (a selection, an
// expansion) never notifies, so the form applies its consequences itself.
class DialogHost {
public:
    virtual ~DialogHost() = default;

    virtual WindowHandle Handle() const = 0;
    virtual void SetFrame(const DialogFrame& frame) = 0;
    virtual bool CreateControl(const ControlItem& control) = 0;
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
    // Column widths are dialog units. A click on a column header sorts nothing by itself: it
    // notifies kListColumnClick and the form reorders the rows.
    virtual void ListAddColumn(int nId, const std::u16string& strCaption, int nWidth) = 0;
    virtual void ListSetExtendedStyle(int nId, std::uint32_t nStyle) = 0;  // lvs::k...
    virtual void ListReset(int nId) = 0;
    virtual int ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) = 0;
    virtual void ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) = 0;
    virtual std::u16string ListGetCell(int nId, int nRow, int nColumn) const = 0;
    virtual void ListDeleteRow(int nId, int nRow) = 0;
    virtual int ListRowCount(int nId) const = 0;
    virtual void ListSetSel(int nId, int nRow) = 0;
    virtual int ListGetSel(int nId) const = 0;

    // Tree views. bHasChildren shows the expand button before any child exists, so that children
    // can be listed when the user expands the item (kTreeExpanding), not before.
    virtual TreeItem TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) = 0;
    virtual void TreeSetHasChildren(int nId, TreeItem item, bool bHasChildren) = 0;
    virtual void TreeSetIcon(int nId, TreeItem item, TreeIcon icon) = 0;
    // Shows (or hides) the children the item has now.
    virtual void TreeExpand(int nId, TreeItem item, bool bExpand) = 0;
    virtual void TreeDeleteChildren(int nId, TreeItem item) = 0;
    virtual std::vector<TreeItem> TreeChildren(int nId, TreeItem item) const = 0;
    virtual std::u16string TreeText(int nId, TreeItem item) const = 0;
    virtual TreeItem TreeParent(int nId, TreeItem item) const = 0;
    virtual void TreeSelect(int nId, TreeItem item) = 0;
    virtual TreeItem TreeSelection(int nId) const = 0;

    // Clicks and edits arrive as commands (control id, command::k...). In a dialog window Escape is
    // command IDCANCEL (2) and Enter presses the default push button (IDOK, 1, when the template has
    // none), as the dialog manager does.
    virtual void SetCommandHandler(std::function<void(int nId, int nNotify)> handler) = 0;
    // List and tree notifications; the handler runs before the host shows their effect, so
    // children inserted for kTreeExpanding are shown at once.
    virtual void SetNotifyHandler(std::function<void(const Notification& note)> handler) = 0;

    // Named values attached to the dialog window (SetProp / GetProp); null when absent. False when
    // the value cannot be attached.
    virtual bool SetProperty(const std::u16string& strName, void* pValue) = 0;
    virtual void* GetProperty(const std::u16string& strName) const = 0;

    // Shows the dialog and runs it modally until Close; returns the end code. Closing the window
    // itself ends the run with the cancel code (2).
    virtual int RunModal() = 0;
    virtual void Close(int nEndCode) = 0;
};

// A property sheet: pages behind tabs in the order they were added, one shown at a time, run
// modally as one dialog. Each page is a dialog host built from its own template; its tab shows
// the page's title. A page is never run or closed on its own: the sheet runs and ends as a whole.
// Closing the sheet's window ends the run with the cancel code (2).
class SheetHost {
public:
    virtual ~SheetHost() = default;

    virtual WindowHandle Handle() const = 0;
    virtual void SetTitle(const std::u16string& strTitle) = 0;
    // Appends an empty page, owned by the sheet.
    virtual DialogHost& AddPage() = 0;
    virtual int PageCount() const = 0;
    virtual void SetActivePage(int nPage) = 0;
    virtual int ActivePage() const = 0;

    virtual int RunModal() = 0;
    virtual void Close(int nEndCode) = 0;
};

// Makes dialogs for one backend; forms receive it so that they never name a toolkit.
class DialogFactory {
public:
    virtual ~DialogFactory() = default;
    virtual std::unique_ptr<DialogHost> CreateDialog(WindowHandle hOwner) = 0;
    virtual std::unique_ptr<SheetHost> CreateSheet(WindowHandle hOwner) = 0;
};

}  // namespace vantrel
