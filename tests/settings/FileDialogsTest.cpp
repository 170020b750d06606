// The file dialogs: the replacement library loaded around every call, the platform's dialog when
// the library or its entry point is missing.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "platform/posix/GetFileBlock.h"
#include "port/FileDialogs.h"
#include "port/LibraryLoader.h"
#include "settings/Format.h"
#include "support/ScriptedFileDialogs.h"

namespace vantrel {
namespace {

// The replacement library: present or not, exporting the entry points named, each recording the
// block it got and answering as scripted. The entry points are C functions, hence the statics;
// one function serves both, told apart by the name looked up and the flags the block carries.
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
        return reinterpret_cast<void*>(&Entry);
    }
    void Free(LibraryHandle) override { ++m_nFrees; }

    bool m_bPresent = true;
    std::set<std::string> m_exports;
    std::u16string m_strAnswer;  // empty: the user cancels
    int m_nLoads = 0;
    int m_nFrees = 0;
    // What the last call received: "title|filter texts|folder|flags|filter index".
    std::u16string m_strBlock;

private:
    static int Entry(VantrelOpenFileName* pBlock) {
        FakeGetFileLibrary& self = *s_pCurrent;
        std::u16string strFilter;
        for (const char16_t* p = pBlock->lpstrFilter; *p; p += std::char_traits<char16_t>::length(p) + 1)
            strFilter += std::u16string(p) + u'|';
        self.m_strBlock = FormatText(u"%s|%s%s|%u|%u", pBlock->lpstrTitle, strFilter,
                                     pBlock->lpstrInitialDir ? pBlock->lpstrInitialDir : u"(none)", pBlock->Flags,
                                     pBlock->nFilterIndex);
        if (self.m_strAnswer.empty() || self.m_strAnswer.size() >= pBlock->nMaxFile) return 0;
        std::memcpy(pBlock->lpstrFile, self.m_strAnswer.c_str(), (self.m_strAnswer.size() + 1) * sizeof(char16_t));
        return 1;
    }

    static inline FakeGetFileLibrary* s_pCurrent = nullptr;
};

// Each row asks for an open and then a save dialog with one library state; loads and frees are
// counted over both calls. The path tells who answered: "/lib" the library, "/platform/choice"
// the platform's dialog, "unchanged" a cancel (so no second dialog was shown).
TEST(FileDialogs, TheLibraryAnswersWhenItHasTheEntryPointOtherwiseThePlatform) {
    const struct {
        const char* pszLegend;
        bool bPresent;
        std::set<std::string> exports;
        std::u16string strAnswer;  // the library's choice; empty: cancelled
        std::u16string strOpened, strSaved;
        int nLoads;
    } cases[] = {
        {"no library", false, {}, u"/lib", u"/platform/choice", u"/platform/choice", 0},
        {"without entry points", true, {}, u"/lib", u"/platform/choice", u"/platform/choice", 2},
        {"open entry only", true, {kGetOpenFileNameEntry}, u"/lib", u"/lib", u"/platform/choice", 2},
        {"cancelled in the library", true, {kGetOpenFileNameEntry, kGetSaveFileNameEntry}, u"", u"unchanged", u"unchanged", 2},
    };
    for (const auto& c : cases) {
        FakeGetFileLibrary library;
        library.m_bPresent = c.bPresent;
        library.m_exports = c.exports;
        library.m_strAnswer = c.strAnswer;
        test::ScriptedFileDialogs platform;
        platform.m_strAnswer = u"/platform/choice";
        const std::unique_ptr<FileDialogs> pDialogs = CreateFileDialogs(library, platform);
        std::u16string strOpened = u"unchanged", strSaved = u"unchanged";
        EXPECT_EQ(pDialogs->ChooseOpenFile(0, {}, strOpened), c.strOpened != u"unchanged") << c.pszLegend;
        EXPECT_EQ(pDialogs->ChooseSaveFile(0, {}, strSaved), c.strSaved != u"unchanged") << c.pszLegend;
        EXPECT_EQ(strOpened, c.strOpened) << c.pszLegend;
        EXPECT_EQ(strSaved, c.strSaved) << c.pszLegend;
        EXPECT_EQ(library.m_nLoads, c.nLoads) << c.pszLegend << ": loaded for every call";
        EXPECT_EQ(library.m_nFrees, c.nLoads) << c.pszLegend << ": freed after every call";
    }
}

TEST(FileDialogs, TheBlockCarriesTitleFilterFolderAndFlags) {
    FakeGetFileLibrary library;
    library.m_exports = {kGetOpenFileNameEntry, kGetSaveFileNameEntry};
    library.m_strAnswer = u"/x";
    test::ScriptedFileDialogs platform;
    const std::unique_ptr<FileDialogs> pDialogs = CreateFileDialogs(library, platform);
    std::u16string strPath;
    const FileDialogRequest request{u"設定", u"設定ファイル (*.ini)", u"*.ini", false, u"/home/u", true, true};
    // Legend: the call, the block the library got ("title|filter texts|folder|flags|filter index").
    const struct {
        bool bSave;
        FileDialogRequest request;
        std::u16string strBlock;
    } cases[] = {
        {false, request, FormatText(u"設定|設定ファイル (*.ini)|*.ini|/home/u|%u|1", ofn::kFileMustExist | ofn::kPathMustExist)},
        {true, request, FormatText(u"設定|設定ファイル (*.ini)|*.ini|/home/u|%u|1", ofn::kOverwritePrompt)},
        {true, {}, u"|(none)|0|1"},
        // Programs have no extension here: the filter lets every file through.
        {false, {u"b", u"実行ファイル (*.exe)", u"*.exe", true, u"", false, false}, u"b|実行ファイル|*|(none)|0|1"},
    };
    for (const auto& c : cases) {
        if (c.bSave) pDialogs->ChooseSaveFile(0, c.request, strPath);
        else pDialogs->ChooseOpenFile(0, c.request, strPath);
        EXPECT_EQ(library.m_strBlock, c.strBlock);
    }
}

}  // namespace
}  // namespace vantrel
