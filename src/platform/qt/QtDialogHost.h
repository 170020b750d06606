#pragma once
#include <QPointer>
#include <QSize>

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/qt/DialogUnits.h"
#include "platform/qt/QtControls.h"
#include "platform/qt/QtModalRun.h"
#include "platform/qt/QtUiThread.h"
#include "port/DialogHost.h"

class QTreeWidgetItem;
class QWidget;

namespace vantrel {

// Dialogs and forms on Qt widgets. Each control is a widget made from its template item, placed by
// dialog units converted with the template's font (DialogUnits.h). UI thread only.
//
// Layout: every size change (and the first showing) places each control again at its template
// rectangle with base units measured anew at the screen's logical DPI; drop-down combo boxes keep
// the height of their closed box, as the template's height is that of the open list.
//
// Keyboard: Tab and Shift+Tab move through the WS_TABSTOP controls in template order. The cursor
// keys move the focus to the next (Down, Right) or previous (Up, Left) tab stop in template order,
// wrapping around, except where the control needs them itself: Up and Down stay with combo boxes,
// lists, trees and multi-line edits; Left and Right stay with everything but buttons, check boxes
// and radio buttons. In a dialog window or a sheet page Enter presses the focused push button or
// else the default one, and Escape is command IDCANCEL. The close box of a dialog window sends
// command IDCANCEL too, so that the form cancels what it started, then ends the run with 2 if the
// form left it running.
//
// List views show whole rows selected; grid lines and dragging the captions follow the extended
// style. Tree icons are the style's folder and drive pictures, and the application's window icon
// for the program.
//
// Accessibility: buttons, check boxes, group boxes and labels are named by their own caption. Any
// other control takes the text of a static label that comes just before it in the template (the
// label also becomes its buddy); one with neither is named by its control id in decimal. Every
// control's object name is its control id in decimal.
class QtDialogHost final : public DialogHost {
public:
    // A dialog window of its own, over pOwner's window (none: over no window).
    static std::unique_ptr<QtDialogHost> CreateWindowed(QtUiThread& ui, QWidget* pOwner);
    // A form inside pParent, which places it: the main window's content.
    static std::unique_ptr<QtDialogHost> CreateEmbedded(QtUiThread& ui, QWidget* pParent);
    // A page of a sheet: embedded, with the Enter and Escape keys of a dialog.
    static std::unique_ptr<QtDialogHost> CreatePage(QtUiThread& ui);
    ~QtDialogHost() override;

    // The widget that holds the controls (for a windowed dialog, the window).
    QWidget* Widget() const;
    // The frame's size in pixels by the template font: the size the dialog or form wants.
    QSize FrameSize() const;
    // The widget of control nId (the last one created with that id), or null.
    QWidget* ControlWidget(int nId) const;
    // The base units in force, and whether they come from the template's font or the fallback.
    const TemplateFont& Font() const { return m_font; }

    WindowHandle Handle() const override;
    void SetFrame(const DialogFrame& frame) override;
    bool CreateControl(const ControlItem& control) override;
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

private:
    class Surface;
    struct Control {
        ControlItem record;
        ControlKind kind = ControlKind::Label;
        std::size_t nIndex = 0;      // in template order
        QWidget* pWidget = nullptr;  // a child of the surface
        const Control* pLabel = nullptr;
        int nLimit = 0;
        std::u16string strText;  // the text of a control that shows none (lists, trees)
        std::map<TreeItem, QTreeWidgetItem*> items;
    };

    enum class Placement { Window, Embedded, Page };
    QtDialogHost(QtUiThread& ui, QWidget* pParent, Placement placement);

    Control* Find(int nId);
    const Control* Find(int nId) const;
    void Place(const Control& control) const;
    void Relayout();
    void Connect(Control& control);
    void UpdateAccessibleName(const Control& control) const;
    void Command(int nId, int nCode);
    void Notify(const Notification& note);
    void OnCloseBox();
    void OnEscape();
    void OnEnter();
    bool OnArrow(const Control& control, int nKey);
    const Control* ControlOf(const QObject* pWidget) const;
    QTreeWidgetItem* TreeItemOf(const Control& control, TreeItem item) const;
    void ForgetSubtree(Control& control, QTreeWidgetItem* pItem);

    QPointer<Surface> m_pSurface;
    Placement m_placement;
    DialogFrame m_frame;
    TemplateFont m_font;
    std::deque<Control> m_controls;  // in template order; deque keeps their addresses
    std::map<int, Control*> m_byId;
    std::function<void(int, int)> m_handler;
    std::function<void(const Notification&)> m_notifyHandler;
    std::map<std::u16string, void*> m_properties;
    int m_nQuiet = 0;  // inside a setter: the widgets' signals are not the user's doing
    TreeItem m_nNextItem = 1;
    QtModalRun m_run;
};

// Makes dialog windows and sheets over the owner a handle names.
class QtDialogFactory final : public DialogFactory {
public:
    explicit QtDialogFactory(QtUiThread& ui) : m_ui(ui) {}
    std::unique_ptr<DialogHost> CreateDialog(WindowHandle hOwner) override;
    std::unique_ptr<SheetHost> CreateSheet(WindowHandle hOwner) override;

private:
    QtUiThread& m_ui;
};

}  // namespace vantrel
