// The list editor: opening by mode, editing row by row with the ";" check, the button rules,
// sorting by column, OK and キャンセル.
#include <gtest/gtest.h>

#include "settings/ListEditor.h"
#include "settings/SettingsList.h"
#include "settings/TextUtil.h"
#include "UiRig.h"

namespace vantrel {
namespace {

using Rows = std::vector<std::vector<std::u16string>>;

// One editor on an in-memory dialog, opened but not run: the user acts on the host directly.
class ListEditorTest : public testing::Test {
protected:
    void Open(ListEditor::Mode mode, const Rows& rows, int nSelected) {
        m_list = SettingsList(mode == ListEditor::kUrlList ? std::vector<std::u16string>{u"名前", u"URL", u"書式"}
                                                           : std::vector<std::u16string>{u"ブラウザ", u"ファイル"});
        for (const auto& row : rows) m_list.AddRow(row);
        m_list.SetSelectedIndex(nSelected);
        m_pEditor.reset();
        m_pHost = std::make_unique<MemoryDialogHost>(m_rig.m_ui);
        m_pEditor = std::make_unique<ListEditor>(*m_pHost, m_rig.m_services, m_list, mode);
        m_pEditor->Open();
    }
    Rows ViewRows() const {
        Rows rows;
        const int nColumns = static_cast<int>(m_pHost->ListColumns(IDC_LE_LIST).size());
        for (int i = 0; i < m_pHost->ListRowCount(IDC_LE_LIST); ++i) {
            rows.emplace_back();
            for (int c = 0; c < nColumns; ++c) rows.back().push_back(m_pHost->ListGetCell(IDC_LE_LIST, i, c));
        }
        return rows;
    }
    void Type(const std::u16string& strTitle, const std::u16string& strInput, const std::u16string& strSub1 = u"") {
        m_pHost->SetText(IDC_LE_TITLE, strTitle);
        m_pHost->SetText(IDC_LE_INPUT, strInput);
        m_pHost->SetText(IDC_LE_SUB1, strSub1);
    }
    // "削除 変更 ↑ ↓" as 1 for enabled and 0 for disabled.
    std::string Buttons() const {
        std::string str;
        for (int nId : {IDC_LE_DELETE, IDC_LE_CHANGE, IDC_LE_UP, IDC_LE_DOWN}) str += m_pHost->IsEnabled(nId) ? '1' : '0';
        return str;
    }

    test::UiRig m_rig;
    std::unique_ptr<MemoryDialogHost> m_pHost = std::make_unique<MemoryDialogHost>(m_rig.m_ui);
    SettingsList m_list{{}};
    std::unique_ptr<ListEditor> m_pEditor;
};

const Rows kUrls = {{u"one", u"http://a/1", u"p=1"}, {u"two", u"http://a/2", u"p=2"}, {u"three", u"http://a/3", u"p=3"}};

// Stored index -> selection in the view, the buttons (削除 変更 ↑ ↓) and the selected row in the
// boxes. The URL list has a third box and no browse button; the browser list the other way round.
TEST_F(ListEditorTest, OpeningSelectsTheStoredRowAndShowsTheModesBoxes) {
    const struct {
        int nStored;
        int nShown;
        const char* pszButtons;
    } cases[] = {{0, 0, "1101"}, {2, 2, "1110"}, {3, -1, "0000"}, {-1, -1, "0000"}, {1, 1, "1111"}};
    for (const auto& c : cases) {
        Open(ListEditor::kUrlList, kUrls, c.nStored);
        EXPECT_EQ(m_pHost->ListGetSel(IDC_LE_LIST), c.nShown) << c.nStored;
        EXPECT_EQ(Buttons(), c.pszButtons) << c.nStored;
        EXPECT_EQ(m_pHost->GetText(IDC_LE_SUB1), c.nShown < 0 ? u"" : kUrls[static_cast<std::size_t>(c.nShown)][2]) << c.nStored;
    }
    EXPECT_FALSE(m_pHost->IsVisible(IDC_LE_BROWSE));
    EXPECT_TRUE(m_pHost->IsVisible(IDC_LE_SUB1));
    // Without the browse button the address box takes the width of the template box.
    EXPECT_EQ(m_pHost->Description(IDC_LE_INPUT).cx, m_pHost->Description(IDC_LE_SUB1).cx);
    for (int nId : {IDC_LE_TITLE, IDC_LE_INPUT, IDC_LE_SUB1}) EXPECT_EQ(m_pHost->TextLimit(nId), 1024);

    Open(ListEditor::kBrowserList, {{u"x", u"/usr/bin/x"}}, 0);
    EXPECT_EQ(Buttons(), "1100") << "a single row moves nowhere";
    EXPECT_TRUE(m_pHost->IsVisible(IDC_LE_BROWSE));
    EXPECT_FALSE(m_pHost->IsVisible(IDC_LE_SUB1));
    EXPECT_FALSE(m_pHost->IsVisible(IDC_LE_SUB1_LABEL));
}

// A sequence of edits on one view; after each: the rows, the selection, the boxes' title and the
// buttons (削除 変更 ↑ ↓). Every refused edit says why with message 3003.
TEST_F(ListEditorTest, EditsKeepRowsSelectionAndButtonsInStep) {
    Open(ListEditor::kUrlList, kUrls, 1);
    const auto row = [](const char16_t* psz) { return std::vector<std::u16string>{psz, std::u16string(psz) + u"-u", u""}; };
    const struct {
        const char* pszLegend;
        std::function<void()> act;
        Rows rows;
        int nSel;
        const char* pszButtons;
    } steps[] = {
        {"a separator in any box is refused", [&] {
             m_pHost->ClickListRow(IDC_LE_LIST, 0);  // the first row can be changed too
             Type(u"a;b", u"u"); m_pHost->SendCommand(IDC_LE_ADD);
             Type(u"a", u"u;"); m_pHost->SendCommand(IDC_LE_ADD);
             Type(u"a", u"u", u"x;y"); m_pHost->SendCommand(IDC_LE_CHANGE);
             m_pHost->ClickListRow(IDC_LE_LIST, 1);  // shows the row again in the boxes
         }, kUrls, 1, "1111"},
        {"add an empty row", [&] { Type(u"", u""); m_pHost->SendCommand(IDC_LE_ADD); },
         {kUrls[0], kUrls[1], kUrls[2], {u"", u"", u""}}, 3, "1110"},
        {"change it", [&] { Type(u"four", u"four-u"); m_pHost->SendCommand(IDC_LE_CHANGE); },
         {kUrls[0], kUrls[1], kUrls[2], row(u"four")}, 3, "1110"},
        {"up to the top", [&] { for (int i = 0; i < 3; ++i) m_pHost->SendCommand(IDC_LE_UP); },
         {row(u"four"), kUrls[0], kUrls[1], kUrls[2]}, 0, "1101"},
        {"up at the top does nothing", [&] { m_pHost->SendCommand(IDC_LE_UP); },
         {row(u"four"), kUrls[0], kUrls[1], kUrls[2]}, 0, "1101"},
        {"down", [&] { m_pHost->SendCommand(IDC_LE_DOWN); }, {kUrls[0], row(u"four"), kUrls[1], kUrls[2]}, 1, "1111"},
        {"delete in the middle keeps the position", [&] { m_pHost->SendCommand(IDC_LE_DELETE); },
         {kUrls[0], kUrls[1], kUrls[2]}, 1, "1111"},
        {"the user deletes the last row: the new last is selected",
         [&] { m_pHost->ClickListRow(IDC_LE_LIST, 2); m_pHost->SendCommand(IDC_LE_DELETE); }, {kUrls[0], kUrls[1]}, 1, "1110"},
        {"the user clicks beside the rows", [&] { m_pHost->ClickListRow(IDC_LE_LIST, -1); }, {kUrls[0], kUrls[1]}, -1, "0000"},
        {"change without a selection does nothing", [&] { Type(u"x", u"y"); m_pHost->SendCommand(IDC_LE_CHANGE); },
         {kUrls[0], kUrls[1]}, -1, "0000"},
        {"delete both", [&] { m_pHost->ClickListRow(IDC_LE_LIST, 0); m_pHost->SendCommand(IDC_LE_DELETE); m_pHost->SendCommand(IDC_LE_DELETE); },
         {}, -1, "0000"},
    };
    for (const auto& step : steps) {
        step.act();
        EXPECT_EQ(ViewRows(), step.rows) << step.pszLegend;
        EXPECT_EQ(m_pHost->ListGetSel(IDC_LE_LIST), step.nSel) << step.pszLegend;
        const std::u16string strTitle = step.nSel >= 0 ? step.rows[static_cast<std::size_t>(step.nSel)][0] : u"";
        EXPECT_TRUE(step.nSel < 0 || m_pHost->GetText(IDC_LE_TITLE) == strTitle) << step.pszLegend;
        EXPECT_EQ(Buttons(), step.pszButtons) << step.pszLegend;
    }
    ASSERT_EQ(m_rig.m_boxes.Boxes().size(), 3u);
    for (const auto& box : m_rig.m_boxes.Boxes()) {
        EXPECT_EQ(box.strText, u"; は区切り文字として使用するので利用できません。");
        EXPECT_EQ(box.nFlags, mb::kIconHand);
    }
}

// Clicks on column headers, in order -> the titles in view order. Code units decide: upper case
// before lower case, "é" after "z".
TEST_F(ListEditorTest, HeaderClicksSortAscendingThenDescendingPerColumn) {
    const Rows rows = {{u"b", u"3"}, {u"é", u"1"}, {u"B", u"2"}, {u"a", u"4"}};
    const struct {
        std::vector<int> clicks;
        std::vector<std::u16string> titles;
    } cases[] = {
        {{0}, {u"B", u"a", u"b", u"é"}},
        {{0, 0}, {u"é", u"b", u"a", u"B"}},
        {{0, 1}, {u"é", u"B", u"b", u"a"}},  // each column keeps its own direction
    };
    for (const auto& c : cases) {
        Open(ListEditor::kBrowserList, rows, 2);
        for (int nColumn : c.clicks) m_pHost->ClickListColumn(IDC_LE_LIST, nColumn);
        std::vector<std::u16string> titles;
        for (const auto& row : ViewRows()) titles.push_back(row[0]);
        EXPECT_EQ(titles, c.titles) << c.clicks.size();
        // The selected row moves with its place.
        const int nSel = m_pHost->ListGetSel(IDC_LE_LIST);
        ASSERT_GE(nSel, 0);
        EXPECT_EQ(m_pHost->ListGetCell(IDC_LE_LIST, nSel, 1), u"2");
    }
}

TEST_F(ListEditorTest, OkStoresTheViewInOrderAndCancelNothing) {
    Open(ListEditor::kUrlList, kUrls, 0);
    m_pHost->ClickListColumn(IDC_LE_LIST, 0);  // one, three, two
    m_pHost->SendCommand(IDC_OK);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kOk);
    EXPECT_EQ(m_list.Rows(), (Rows{kUrls[0], kUrls[2], kUrls[1]}));
    EXPECT_EQ(m_list.SelectedIndex(), 0);

    Open(ListEditor::kUrlList, kUrls, 2);
    m_pHost->ClickListRow(IDC_LE_LIST, -1);
    m_pHost->SendCommand(IDC_OK);
    EXPECT_EQ(m_list.SelectedIndex(), -1) << "no row selected";

    // The browser list keeps two cells a row even where the hidden box holds text.
    Open(ListEditor::kBrowserList, {{u"x", u"/x"}}, 0);
    Type(u"y", u"/y", u"stray");
    m_pHost->SendCommand(IDC_LE_ADD);
    m_pHost->SendCommand(IDC_OK);
    EXPECT_EQ(m_list.Rows(), (Rows{{u"x", u"/x"}, {u"y", u"/y"}}));
    EXPECT_EQ(m_list.SelectedIndex(), 1);

    Open(ListEditor::kUrlList, kUrls, 1);
    m_pHost->SendCommand(IDC_LE_DELETE);
    m_pHost->SendCommand(IDC_CANCEL);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kCancel);
    EXPECT_EQ(m_list.Rows(), kUrls);
    EXPECT_EQ(m_list.SelectedIndex(), 1);
}

// Path in "INPUT" -> the folder the dialog starts in; the chosen file replaces the path.
TEST_F(ListEditorTest, BrowseStartsInTheFolderOfTheBrowserPath) {
    const struct {
        std::u16string strInput, strFolder, strAnswer, strAfter;
    } cases[] = {
        {u"/usr/bin/firefox", u"/usr/bin", u"/opt/b/browser", u"/opt/b/browser"},
        {u"/firefox", u"/", u"/opt/b/browser", u"/opt/b/browser"},
        {u"firefox", u"", u"/opt/b/browser", u"/opt/b/browser"},
        {u"/usr/bin/firefox", u"/usr/bin", u"", u"/usr/bin/firefox"},  // cancelled
    };
    for (const auto& c : cases) {
        Open(ListEditor::kBrowserList, {}, -1);
        m_pHost->SetText(IDC_LE_INPUT, c.strInput);
        m_rig.m_fileDialogs.m_strAnswer = c.strAnswer;
        m_pHost->SendCommand(IDC_LE_BROWSE);
        const auto& call = m_rig.m_fileDialogs.m_calls.back();
        EXPECT_FALSE(call.bSave);
        EXPECT_EQ(call.request, (FileDialogRequest{u"ブラウザの選択", u"実行ファイル (*.exe)", u"*.exe", true, c.strFolder,
                                                   true, false}))
            << Utf16ToUtf8(c.strInput);
        EXPECT_EQ(m_pHost->GetText(IDC_LE_INPUT), c.strAfter) << Utf16ToUtf8(c.strInput);
    }
}

}  // namespace
}  // namespace vantrel
