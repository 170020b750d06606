// The file dialogs: the replacement library loaded around every call, the platform's dialog when
// the library or its entry point is missing.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "platform/posix/GetFileBlock.h"
#include "port/FileDialogs.h"
#include "port/LibraryLoader.h"

namespace vantrel {
namespace {

// The replacement library: present or not, exporting the entry points named, each recording the
// block it got and answering as scripted. The entry points are C functions, hence the statics.
class FakeGetFileLibrary final : public LibraryLoader {
public:
    FakeGetFileLibrary() { s_pCurrent = this; }
    ~FakeGetFileLibrary() override { s_pCurrent = nullptr; }

    std::u16string FileName(const std::u16string& strBaseName) const override { return u"lib" + strBaseName + u".so"; }
    LibraryHandle Load(const std::u16string& strName) override {
        if (!m_bPresent || strName != u"libgsgetfile.so") return nullptr;
        ++m_nLoads;
        return this;
    }
    void* FindSymbol(LibraryHandle, const char* pszSymbol) override {
        if (!m_exports.count(pszSymbol)) return nullptr;
        return reinterpret_cast<void*>(std::strcmp(pszSymbol, kGetOpenFileNameEntry) == 0 ? &Open : &Save);
    }
    void Free(LibraryHandle) override { ++m_nFrees; }

    bool m_bPresent = true;
    std::set<std::string> m_exports;
    std::u16string m_strAnswer;  // empty: the user cancels
    int m_nLoads = 0;
    int m_nFrees = 0;
    std::vector<std::string> m_calls;
    // What the last call received.
    std::u16string m_strTitle, m_strFilter, m_strFolder;
    std::uint32_t m_nFlags = 0;
    std::uint32_t m_nFilterIndex = 0;

private:
    static int Answer(const char* pszWho, VantrelOpenFileName* pBlock) {
        FakeGetFileLibrary& self = *s_pCurrent;
        self.m_calls.push_back(pszWho);
        self.m_strTitle = pBlock->lpstrTitle;
        const char16_t* p = pBlock->lpstrFilter;
        self.m_strFilter.clear();
        while (*p) {
            const std::u16string strPart = p;
            self.m_strFilter += strPart + u'|';
            p += strPart.size() + 1;
        }
        self.m_strFolder = pBlock->lpstrInitialDir ? pBlock->lpstrInitialDir : u"(none)";
        self.m_nFlags = pBlock->Flags;
        self.m_nFilterIndex = pBlock->nFilterIndex;
        if (self.m_strAnswer.empty() || self.m_strAnswer.size() >= pBlock->nMaxFile) return 0;
        std::memcpy(pBlock->lpstrFile, self.m_strAnswer.c_str(), (self.m_strAnswer.size() + 1) * sizeof(char16_t));
        return 1;
    }
    static int Open(VantrelOpenFileName* pBlock) { return Answer("open", pBlock); }
    static int Save(VantrelOpenFileName* pBlock) { return Answer("save", pBlock); }

    static inline FakeGetFileLibrary* s_pCurrent = nullptr;
};

// The platform's dialog: records the calls and chooses one file.
class RecordingDialogs final : public FileDialogs {
public:
    bool ChooseOpenFile(WindowHandle, const FileDialogRequest&, std::u16string& strPath) override {
        m_calls.push_back("open");
        strPath = u"/platform/choice";
        return true;
    }
    bool ChooseSaveFile(WindowHandle, const FileDialogRequest&, std::u16string& strPath) override {
        m_calls.push_back("save");
        strPath = u"/platform/choice";
        return true;
    }
    std::vector<std::string> m_calls;
};

// Each row asks for an open and then a save dialog with one library state; loads and frees are
// counted over both calls. A path left "unchanged" means the call answered "cancelled".
TEST(FileDialogs, TheLibraryAnswersWhenItHasTheEntryPointOtherwiseThePlatform) {
    const struct {
        const char* pszLegend;
        bool bPresent;
        std::set<std::string> exports;
        std::u16string strAnswer;  // the library's choice; empty: cancelled
        std::vector<std::string> libraryCalls, platformCalls;
        std::u16string strOpened, strSaved;
        int nLoads;
    } cases[] = {
        {"no library", false, {}, u"/lib", {}, {"open", "save"}, u"/platform/choice", u"/platform/choice", 0},
        {"without entry points", true, {}, u"/lib", {}, {"open", "save"}, u"/platform/choice", u"/platform/choice", 2},
        {"open entry only", true, {kGetOpenFileNameEntry}, u"/lib", {"open"}, {"save"}, u"/lib", u"/platform/choice", 2},
        {"both entries", true, {kGetOpenFileNameEntry, kGetSaveFileNameEntry}, u"/lib", {"open", "save"}, {}, u"/lib",
         u"/lib", 2},
        {"cancelled in the library: no second dialog", true, {kGetOpenFileNameEntry, kGetSaveFileNameEntry}, u"",
         {"open", "save"}, {}, u"unchanged", u"unchanged", 2},
    };
    for (const auto& c : cases) {
        FakeGetFileLibrary library;
        library.m_bPresent = c.bPresent;
        library.m_exports = c.exports;
        library.m_strAnswer = c.strAnswer;
        RecordingDialogs platform;
        const std::unique_ptr<FileDialogs> pDialogs = CreateFileDialogs(library, platform);
        std::u16string strOpened = u"unchanged", strSaved = u"unchanged";
        EXPECT_EQ(pDialogs->ChooseOpenFile(0, {}, strOpened), c.strOpened != u"unchanged") << c.pszLegend;
        EXPECT_EQ(pDialogs->ChooseSaveFile(0, {}, strSaved), c.strSaved != u"unchanged") << c.pszLegend;
        EXPECT_EQ(strOpened, c.strOpened) << c.pszLegend;
        EXPECT_EQ(strSaved, c.strSaved) << c.pszLegend;
        EXPECT_EQ(library.m_calls, c.libraryCalls) << c.pszLegend;
        EXPECT_EQ(platform.m_calls, c.platformCalls) << c.pszLegend;
        EXPECT_EQ(library.m_nLoads, c.nLoads) << c.pszLegend << ": loaded for every call";
        EXPECT_EQ(library.m_nFrees, c.nLoads) << c.pszLegend << ": freed after every call";
    }
}

TEST(FileDialogs, TheBlockCarriesTitleFilterFolderAndFlags) {
    FakeGetFileLibrary library;
    library.m_exports = {kGetOpenFileNameEntry, kGetSaveFileNameEntry};
    library.m_strAnswer = u"/x";
    RecordingDialogs platform;
    const std::unique_ptr<FileDialogs> pDialogs = CreateFileDialogs(library, platform);
    std::u16string strPath;

    FileDialogRequest request{u"設定ファイルの選択", u"設定ファイル (*.ini)", u"*.ini", false, u"/home/u", true, false};
    pDialogs->ChooseOpenFile(0, request, strPath);
    EXPECT_EQ(library.m_strTitle, u"設定ファイルの選択");
    EXPECT_EQ(library.m_strFilter, u"設定ファイル (*.ini)|*.ini|");
    EXPECT_EQ(library.m_strFolder, u"/home/u");
    EXPECT_EQ(library.m_nFlags, ofn::kFileMustExist | ofn::kPathMustExist);
    EXPECT_EQ(library.m_nFilterIndex, 1u) << "the first filter";
    pDialogs->ChooseOpenFile(0, {}, strPath);
    EXPECT_EQ(library.m_nFlags, 0u);

    request.bMustExist = false;
    request.bAskOverwrite = true;
    request.strInitialFolder.clear();
    pDialogs->ChooseSaveFile(0, request, strPath);
    EXPECT_EQ(library.m_nFlags, ofn::kOverwritePrompt);
    EXPECT_EQ(library.m_strFolder, u"(none)");
    pDialogs->ChooseSaveFile(0, {}, strPath);
    EXPECT_EQ(library.m_nFlags, 0u);

    // Programs have no extension here: the filter lets every file through.
    pDialogs->ChooseOpenFile(0, {u"ブラウザの選択", u"実行ファイル (*.exe)", u"*.exe", true, u"", false, false}, strPath);
    EXPECT_EQ(library.m_strFilter, u"実行ファイル|*|");
}

}  // namespace
}  // namespace vantrel
