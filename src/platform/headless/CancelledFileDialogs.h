#pragma once
#include "port/FileDialogs.h"

namespace vantrel {

// Without a window nobody can choose a file: every dialog answers "cancelled".
class CancelledFileDialogs final : public FileDialogs {
public:
    bool ChooseOpenFile(WindowHandle, const FileDialogRequest&, std::u16string&) override { return false; }
    bool ChooseSaveFile(WindowHandle, const FileDialogRequest&, std::u16string&) override { return false; }
};

}  // namespace vantrel
