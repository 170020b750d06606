// The folder picker over a real folder tree: lazy listing, expand buttons, collapse and selecting
// a given path. What OK and キャンセル return is driven through the sheet's "参照" buttons.
#include <gtest/gtest.h>

#include <filesystem>

#include "settings/FolderPicker.h"
#include "settings/TextUtil.h"
#include "UiRig.h"

namespace vantrel {
namespace {

// base/ holds a/ (with a1/ and a file), b/ (files only), C/, .hidden/, link -> a, and a file.
class FolderPickerTest : public testing::Test {
protected:
    FolderPickerTest() {
        namespace fs = std::filesystem;
        fs::create_directories(Base() + "/a/a1");
        fs::create_directories(Base() + "/b");
        fs::create_directories(Base() + "/C");
        fs::create_directories(Base() + "/.hidden");
        fs::create_directory_symlink(Base() + "/a", Base() + "/link");
        test::WriteFileBytes(Base() + "/a/file", "x");
        test::WriteFileBytes(Base() + "/b/file", "x");
        test::WriteFileBytes(Base() + "/z.txt", "x");
    }
    std::string Base() const { return m_rig.m_dir.File("base"); }
    std::u16string WideBase() const { return Utf8ToUtf16(Base()); }
    FolderPicker& Open(const std::u16string& strFolder) {
        m_pPicker = std::make_unique<FolderPicker>(m_host, *m_rig.m_pFiles, ResourceModule::Program());
        m_pPicker->Open(strFolder, false);
        return *m_pPicker;
    }
    std::vector<std::u16string> ChildTexts(TreeItem item) const {
        std::vector<std::u16string> texts;
        for (TreeItem child : m_host.TreeChildren(IDC_FP_TREE, item)) texts.push_back(m_host.TreeText(IDC_FP_TREE, child));
        return texts;
    }
    TreeItem Child(TreeItem item, const std::u16string& strText) const {
        for (TreeItem child : m_host.TreeChildren(IDC_FP_TREE, item))
            if (m_host.TreeText(IDC_FP_TREE, child) == strText) return child;
        return 0;
    }

    test::UiRig m_rig;
    MemoryDialogHost m_host{m_rig.m_ui};
    std::unique_ptr<FolderPicker> m_pPicker;
};

// Another mounted file system gets the storage card's icon: /proc is one on every Linux.
TEST_F(FolderPickerTest, TheRootStandsForTheFileSystemRoot) {
    FolderPicker& picker = Open(u"");
    EXPECT_EQ(m_host.TreeChildren(IDC_FP_TREE, 0), std::vector<TreeItem>{picker.Root()});
    EXPECT_EQ(m_host.TreeIconOf(IDC_FP_TREE, picker.Root()), TreeIcon::Program);
    EXPECT_TRUE(m_host.IsTreeExpanded(IDC_FP_TREE, picker.Root()));
    EXPECT_EQ(m_host.TreeSelection(IDC_FP_TREE), picker.Root());
    EXPECT_EQ(picker.ItemPath(picker.Root()), u"");
    const TreeItem proc = Child(picker.Root(), u"proc");
    ASSERT_NE(proc, 0u) << "the children of / are listed";
    EXPECT_EQ(m_host.TreeIconOf(IDC_FP_TREE, proc), TreeIcon::StorageCard);
    EXPECT_EQ(picker.ItemPath(proc), u"/proc");
}

// Path given -> the folder selected (relative to base; "" is base itself).
TEST_F(FolderPickerTest, AGivenPathIsSelectedDownToItsDeepestExistingFolder) {
    const struct {
        std::u16string strPath;
        std::u16string strSelected;
    } cases[] = {
        {u"/a/a1", u"/a/a1"},
        {u"/a/a1/", u"/a/a1"},
        {u"/a/gone/a1", u"/a"},  // a middle component that no longer exists
        {u"/A", u""},            // names match exactly
        {u"/z.txt", u""},        // files are no folders
        {u"/link/a1", u"/link/a1"},
    };
    for (const auto& c : cases) {
        FolderPicker& picker = Open(WideBase() + c.strPath);
        EXPECT_EQ(picker.ItemPath(m_host.TreeSelection(IDC_FP_TREE)), WideBase() + c.strSelected) << Utf16ToUtf8(c.strPath);
    }
}

// Expand button <=> the folder holds a folder; files are not listed. Then collapsing.
TEST_F(FolderPickerTest, ChildrenAreListedLazilyWithButtonsWhereTheyHoldFolders) {
    Open(WideBase());
    const TreeItem base = m_host.TreeSelection(IDC_FP_TREE);
    m_host.ExpandTreeItem(IDC_FP_TREE, base);
    // Alphabetical without regard to case, as the tree sorts.
    EXPECT_EQ(ChildTexts(base), (std::vector<std::u16string>{u".hidden", u"a", u"b", u"C", u"link"}));
    const struct {
        std::u16string strName;
        bool bButton;
    } cases[] = {{u".hidden", false}, {u"a", true}, {u"b", false}, {u"C", false}, {u"link", true}};
    for (const auto& c : cases) {
        const TreeItem item = Child(base, c.strName);
        EXPECT_EQ(m_host.TreeHasChildren(IDC_FP_TREE, item), c.bButton) << Utf16ToUtf8(c.strName);
        EXPECT_EQ(m_host.TreeIconOf(IDC_FP_TREE, item), TreeIcon::Folder) << Utf16ToUtf8(c.strName);
    }

    // Listed once while expanded; collapsing forgets the children but keeps the button, so the
    // next expansion reads the folder again.
    std::filesystem::create_directory(Base() + "/c");
    EXPECT_EQ(ChildTexts(base).size(), 5u);
    m_host.CollapseTreeItem(IDC_FP_TREE, base);
    EXPECT_TRUE(m_host.TreeChildren(IDC_FP_TREE, base).empty());
    EXPECT_TRUE(m_host.TreeHasChildren(IDC_FP_TREE, base));
    m_host.ExpandTreeItem(IDC_FP_TREE, base);
    EXPECT_EQ(ChildTexts(base), (std::vector<std::u16string>{u".hidden", u"a", u"b", u"C", u"c", u"link"}));
}

}  // namespace
}  // namespace vantrel
