#pragma once
#include <QPointer>

#include <memory>
#include <vector>

#include "platform/qt/QtModalRun.h"
#include "platform/qt/QtUiThread.h"
#include "port/DialogHost.h"

class QTabWidget;
class QWidget;

namespace vantrel {

class QtDialogHost;

// A sheet of pages behind tabs in a dialog window of its own, run modally as one dialog. Each
// page is an embedded dialog host; its tab shows the page's title and follows it. The sheet's
// close box ends the run with the cancel code (2). UI thread only.
class QtSheetHost final : public SheetHost {
public:
    QtSheetHost(QtUiThread& ui, QWidget* pOwner);
    ~QtSheetHost() override;

    QWidget* Widget() const;
    // The page host at nPage (as AddPage gave it), or null.
    QtDialogHost* Page(int nPage) const;

    WindowHandle Handle() const override;
    void SetTitle(const std::u16string& strTitle) override;
    DialogHost& AddPage() override;
    int PageCount() const override;
    void SetActivePage(int nPage) override;
    int ActivePage() const override;
    int RunModal() override;
    void Close(int nEndCode) override;

private:
    class Window;

    QtUiThread& m_ui;
    QPointer<Window> m_pWindow;
    QTabWidget* m_pTabs = nullptr;  // a child of the window, which lives as long as the sheet
    std::vector<std::unique_ptr<QtDialogHost>> m_pages;
    QtModalRun m_run;
};

}  // namespace vantrel
