// The list editor: editing row by row with the ";" check, sorting by column, OK and キャンセル.
#include <gtest/gtest.h>

#include <functional>

#include "settings/ListEditor.h"
#include "settings/SettingsList.h"
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
    std::vector<std::u16string> Boxes() const {
        return {m_pHost->GetText(IDC_LE_TITLE), m_pHost->GetText(IDC_LE_INPUT), m_pHost->GetText(IDC_LE_SUB1)};
    }

    test::UiRig m_rig;
    std::unique_ptr<MemoryDialogHost> m_pHost = std::make_unique<MemoryDialogHost>(m_rig.m_ui);
    SettingsList m_list{{}};
    std::unique_ptr<ListEditor> m_pEditor;
};

const Rows kUrls = {{u"one", u"http://a/1", u"p=1"}, {u"two", u"http://a/2", u"p=2"}, {u"three", u"http://a/3", u"p=3"}};

// A sequence of edits on a view opened on the stored row; after each: the rows, the selection and
// the boxes, which show the selected row. Every refused edit says why with message 3003.
TEST_F(ListEditorTest, EditsKeepRowsSelectionAndBoxesInStep) {
    Open(ListEditor::kUrlList, kUrls, 0);
    const auto row = [](const char16_t* psz) { return std::vector<std::u16string>{psz, std::u16string(psz) + u"-u", u""}; };
    const struct {
        const char* pszLegend;
        std::function<void()> act;
        Rows rows;
        int nSel;
    } steps[] = {
        {"opened", [] {}, kUrls, 0},
        {"a separator in the address or the third box is refused", [&] {
             m_pHost->ClickListRow(IDC_LE_LIST, 0);  // the first row can be changed too
             Type(u"a", u"u;");
             m_pHost->SendCommand(IDC_LE_ADD);
             Type(u"a", u"u", u"x;y");
             m_pHost->SendCommand(IDC_LE_CHANGE);
             m_pHost->ClickListRow(IDC_LE_LIST, 1);  // shows the row again in the boxes
         }, kUrls, 1},
        {"add an empty row", [&] { Type(u"", u""); m_pHost->SendCommand(IDC_LE_ADD); },
         {kUrls[0], kUrls[1], kUrls[2], {u"", u"", u""}}, 3},
        {"change it", [&] { Type(u"four", u"four-u"); m_pHost->SendCommand(IDC_LE_CHANGE); },
         {kUrls[0], kUrls[1], kUrls[2], row(u"four")}, 3},
        {"up to the top", [&] { for (int i = 0; i < 3; ++i) m_pHost->SendCommand(IDC_LE_UP); },
         {row(u"four"), kUrls[0], kUrls[1], kUrls[2]}, 0},
        {"down", [&] { m_pHost->SendCommand(IDC_LE_DOWN); }, {kUrls[0], row(u"four"), kUrls[1], kUrls[2]}, 1},
        {"delete in the middle keeps the position", [&] { m_pHost->SendCommand(IDC_LE_DELETE); },
         {kUrls[0], kUrls[1], kUrls[2]}, 1},
        {"the user deletes the last row: the new last is selected",
         [&] { m_pHost->ClickListRow(IDC_LE_LIST, 2); m_pHost->SendCommand(IDC_LE_DELETE); }, {kUrls[0], kUrls[1]}, 1},
        {"delete both", [&] { m_pHost->ClickListRow(IDC_LE_LIST, 0); m_pHost->SendCommand(IDC_LE_DELETE); m_pHost->SendCommand(IDC_LE_DELETE); },
         {}, -1},
    };
    for (const auto& step : steps) {
        step.act();
        EXPECT_EQ(ViewRows(), step.rows) << step.pszLegend;
        EXPECT_EQ(m_pHost->ListGetSel(IDC_LE_LIST), step.nSel) << step.pszLegend;
        EXPECT_TRUE(step.nSel < 0 || Boxes() == step.rows[static_cast<std::size_t>(step.nSel)]) << step.pszLegend;
    }
    EXPECT_EQ(m_rig.m_boxes.Boxes().size(), 2u);
}

// A click on a header sorts the view by that column, the selected row moving with its place; OK
// stores the view as it stands, キャンセル nothing.
TEST_F(ListEditorTest, OkStoresTheSortedViewAndCancelNothing) {
    Open(ListEditor::kUrlList, kUrls, 1);
    m_pHost->ClickListColumn(IDC_LE_LIST, 0);
    m_pHost->SendCommand(IDC_OK);
    EXPECT_EQ(m_pHost->EndCode(), endcode::kOk);
    EXPECT_EQ(m_list.Rows(), (Rows{kUrls[0], kUrls[2], kUrls[1]}));
    EXPECT_EQ(m_list.SelectedIndex(), 2);

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

}  // namespace
}  // namespace vantrel
