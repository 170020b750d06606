#pragma once
#include "platform/qt/QtUiThread.h"

class QWidget;

namespace vantrel {

// The modal run of one dialog window: shown application-modal over its owner, ended by Close with
// a code, run once. A Close that comes before the run makes the run return at once, and so does
// every run after the first. UI thread only.
class QtModalRun {
public:
    explicit QtModalRun(QtUiThread& ui) : m_ui(ui) {}
    ~QtModalRun();
    QtModalRun(const QtModalRun&) = delete;
    QtModalRun& operator=(const QtModalRun&) = delete;

    // pWindow is shown for the run and hidden after it; null runs the loop alone (an embedded form).
    int Run(QWidget* pWindow);
    void Close(int nEndCode);

private:
    QtUiThread& m_ui;
    QtUiThread::RunId m_nRun = 0;
    bool m_bRunning = false;
    bool m_bClosed = false;
    int m_nEndCode = 0;
};

}  // namespace vantrel
