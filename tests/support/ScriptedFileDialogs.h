#pragma once
#include <string>
#include <vector>

#include "port/FileDialogs.h"

namespace vantrel::test {

// File dialogs that record every request and choose the scripted path (empty: the user cancels).
class ScriptedFileDialogs final : public FileDialogs {
public:
    struct Call {
        bool bSave;
        FileDialogRequest request;
    };

    bool ChooseOpenFile(WindowHandle, const FileDialogRequest& request, std::u16string& strPath) override {
        return Answer(false, request, strPath);
    }
    bool ChooseSaveFile(WindowHandle, const FileDialogRequest& request, std::u16string& strPath) override {
        return Answer(true, request, strPath);
    }

    std::u16string m_strAnswer;
    std::vector<Call> m_calls;

private:
    bool Answer(bool bSave, const FileDialogRequest& request, std::u16string& strPath) {
        m_calls.push_back({bSave, request});
        if (m_strAnswer.empty()) return false;
        strPath = m_strAnswer;
        return true;
    }
};

}  // namespace vantrel::test
