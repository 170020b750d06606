#pragma once
#include <memory>
#include <string>

#include "port/MessageBoxHost.h"

namespace vantrel {

class LibraryLoader;

// What an open-file or save-file dialog shows and demands.
struct FileDialogRequest {
    std::u16string strTitle;
    std::u16string strFilterText;     // what the user reads, e.g. "設定ファイル (*.ini)"
    std::u16string strFilterPattern;  // e.g. "*.ini"
    // The filter stands for programs. Where programs carry no file name extension (Linux), the
    // dialog shows executable files instead of matching the pattern.
    bool bExecutables = false;
    std::u16string strInitialFolder;  // empty: the platform's choice
    bool bMustExist = false;          // open: only an existing file can be chosen
    bool bAskOverwrite = false;       // save: an existing file is replaced only after asking

    bool operator==(const FileDialogRequest&) const = default;
};

// The open-file and save-file dialogs (GetOpenFileNameW / GetSaveFileNameW). Not named after
// those, which windows.h turns into macros.
class FileDialogs {
public:
    virtual ~FileDialogs() = default;
    // True with the chosen file's full path in strPath; false when the user cancelled.
    virtual bool ChooseOpenFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) = 0;
    virtual bool ChooseSaveFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) = 0;
};

// The base name of the optional replacement library and its two entry points.
inline constexpr char16_t kGetFileLibrary[] = u"gsgetfile";
inline constexpr char kGetOpenFileNameEntry[] = "gsGetOpenFileName";
inline constexpr char kGetSaveFileNameEntry[] = "gsGetSaveFileName";

// The dialogs of the replacement library, loaded and freed around every single call, and those of
// fallback when the library or its entry point is missing. Defined by the platform library.
std::unique_ptr<FileDialogs> CreateFileDialogs(LibraryLoader& libraries, FileDialogs& fallback);

}  // namespace vantrel
