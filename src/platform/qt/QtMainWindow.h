#pragma once
#include <QMainWindow>

#include <functional>
#include <memory>

#include "port/WindowModule.h"

class QMenu;
class QPushButton;

namespace vantrel {

class QtDialogHost;
class QtUiThread;

// The main window: the form's controls above a soft-key bar of two buttons, the left one giving
// its command, the right one popping up the menu; the shortcuts act anywhere in the window. A
// QMainWindow, so that screen readers meet it as a frame.
class QtMainWindow final : public QMainWindow, public MainWindow {
public:
    QtMainWindow(QtUiThread& ui, const MainWindowParts& parts);
    ~QtMainWindow() override;

    DialogHost& Form() override;
    void SetCommandHandler(std::function<void(int nId)> handler) override { m_fnCommand = std::move(handler); }
    void SetCloseHandler(std::function<void()> handler) override { m_fnClose = std::move(handler); }
    void Show() override;
    void Raise() override;

protected:
    void closeEvent(QCloseEvent* pEvent) override;

private:
    QWidget* BuildSoftKeys(const MainWindowParts& parts);
    void AddEntries(QMenu& menu, const std::vector<MenuEntry>& entries);
    void PopUpMenu();
    void Command(int nId);

    std::unique_ptr<QtDialogHost> m_pForm;
    QWidget* m_pSoftKeys = nullptr;
    QPushButton* m_pLeftKey = nullptr;
    QPushButton* m_pRightKey = nullptr;
    QMenu* m_pMenu = nullptr;
    std::function<void(int)> m_fnCommand;
    std::function<void()> m_fnClose;
};

}  // namespace vantrel
