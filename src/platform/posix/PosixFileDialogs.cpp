#include <memory>
#include <string>
#include <vector>

#include "platform/posix/GetFileBlock.h"
#include "port/FileDialogs.h"
#include "port/LibraryLoader.h"

namespace vantrel {

namespace {

// Room for a path of PATH_MAX bytes even when every code unit came from one byte.
constexpr std::uint32_t kMaxPath = 4096;

// Programs carry no extension here, so the library sees every file.
constexpr char16_t kExecutablesText[] = u"実行ファイル";
constexpr char16_t kExecutablesPattern[] = u"*";

std::u16string FilterPairs(const FileDialogRequest& request) {
    std::u16string strFilter = request.bExecutables ? kExecutablesText : request.strFilterText;
    strFilter += u'\0';
    strFilter += request.bExecutables ? kExecutablesPattern : request.strFilterPattern;
    strFilter += u'\0';
    strFilter += u'\0';
    return strFilter;
}

class LibraryFileDialogs final : public FileDialogs {
public:
    LibraryFileDialogs(LibraryLoader& libraries, FileDialogs& fallback) : m_libraries(libraries), m_fallback(fallback) {}

    bool ChooseOpenFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override {
        const std::uint32_t nFlags = request.bMustExist ? ofn::kFileMustExist | ofn::kPathMustExist : 0;
        bool bChosen = false;
        if (CallLibrary(kGetOpenFileNameEntry, hOwner, request, nFlags, strPath, bChosen)) return bChosen;
        return m_fallback.ChooseOpenFile(hOwner, request, strPath);
    }

    bool ChooseSaveFile(WindowHandle hOwner, const FileDialogRequest& request, std::u16string& strPath) override {
        const std::uint32_t nFlags = request.bAskOverwrite ? ofn::kOverwritePrompt : 0;
        bool bChosen = false;
        if (CallLibrary(kGetSaveFileNameEntry, hOwner, request, nFlags, strPath, bChosen)) return bChosen;
        return m_fallback.ChooseSaveFile(hOwner, request, strPath);
    }

private:
    // False when the library or its entry point is missing. Nothing stays loaded: a library
    // installed or removed while the program runs is noticed at the next dialog.
    bool CallLibrary(const char* pszEntry, WindowHandle hOwner, const FileDialogRequest& request,
                     std::uint32_t nFlags, std::u16string& strPath, bool& bChosen) {
        const LibraryHandle hLibrary = m_libraries.Load(m_libraries.FileName(kGetFileLibrary));
        if (!hLibrary) return false;
        const auto pfnEntry = reinterpret_cast<VantrelGetFileNameProc>(m_libraries.FindSymbol(hLibrary, pszEntry));
        if (!pfnEntry) {
            m_libraries.Free(hLibrary);
            return false;
        }
        const std::u16string strFilter = FilterPairs(request);
        std::vector<char16_t> file(kMaxPath, u'\0');
        VantrelOpenFileName block{};
        block.lStructSize = sizeof block;
        block.hwndOwner = hOwner;
        block.lpstrFilter = strFilter.c_str();
        block.nFilterIndex = 1;
        block.lpstrFile = file.data();
        block.nMaxFile = kMaxPath;
        block.lpstrInitialDir = request.strInitialFolder.empty() ? nullptr : request.strInitialFolder.c_str();
        block.lpstrTitle = request.strTitle.c_str();
        block.Flags = nFlags;
        bChosen = pfnEntry(&block) != 0;
        m_libraries.Free(hLibrary);
        file.back() = u'\0';  // a library that filled the whole buffer still ends here
        if (bChosen) strPath = file.data();
        return true;
    }

    LibraryLoader& m_libraries;
    FileDialogs& m_fallback;
};

}  // namespace

std::unique_ptr<FileDialogs> CreateFileDialogs(LibraryLoader& libraries, FileDialogs& fallback) {
    return std::make_unique<LibraryFileDialogs>(libraries, fallback);
}

}  // namespace vantrel
