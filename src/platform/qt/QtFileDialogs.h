#pragma once
#include "port/FileDialogs.h"

namespace vantrel {

class QtUiThread;

// The toolkit's own file dialogs (Qt's, never the desktop's, so that they look and answer the same
// everywhere), window-modal over the owner's window and run as a modal run of the UI thread so
// that a Quit ends them as "cancelled". An executables filter shows the files the user may run.
class QtFileDialogs final : public FileDialogs {
public:
    explicit QtFileDialogs(QtUiThread& ui) : m_ui(ui) {}
    bool ChooseOpenFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override;
    bool ChooseSaveFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override;

private:
    bool Run(WindowHandle hOwner, const FileDialogRequest& request, bool bSave, std::u16string& strPath);

    QtUiThread& m_ui;
};

}  // namespace vantrel
