#include "settings/ListEditor.h"

#include <algorithm>
#include <numeric>

#include "app/DialogTemplate.h"
#include "deliver/MessageFacility.h"
#include "port/FileDialogs.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/ResourceModule.h"
#include "settings/SettingsList.h"

namespace vantrel {

namespace {

constexpr int kInputBoxes[] = {IDC_LE_TITLE, IDC_LE_INPUT, IDC_LE_SUB1};

DialogItem* FindItem(DialogTemplate& dlg, int nId) {
    const auto it = std::find_if(dlg.items.begin(), dlg.items.end(), [nId](const DialogItem& item) { return item.nId == nId; });
    return it == dlg.items.end() ? nullptr : &*it;
}

}  // namespace

ListEditor::ListEditor(DialogHost& host, const SettingsUiServices& services, SettingsList& list, Mode mode)
    : m_host(host), m_services(services), m_list(list), m_mode(mode), m_ascending(static_cast<std::size_t>(ColumnCount()), false) {}

int ListEditor::Run() {
    Open();
    const int nCode = m_host.RunModal();
    m_host.SetCommandHandler({});
    m_host.SetNotifyHandler({});
    return nCode;
}

void ListEditor::Open() {
    BuildControls();
    m_host.SetCommandHandler([this](int nId, int nNotify) {
        if (nNotify == command::kClicked) OnCommand(nId);
    });
    m_host.SetNotifyHandler([this](const Notification& note) { OnNotify(note); });
    m_host.ListReset(IDC_LE_LIST);
    for (std::size_t i = 0; i < m_list.RowCount(); ++i) {
        std::vector<std::u16string> cells;
        for (int nColumn = 0; nColumn < ColumnCount(); ++nColumn) cells.push_back(m_list.Cell(i, static_cast<std::size_t>(nColumn)));
        m_host.ListInsertRow(IDC_LE_LIST, static_cast<int>(i), cells);
    }
    if (m_list.SelectedIndex() >= 0) m_host.ListSetSel(IDC_LE_LIST, m_list.SelectedIndex());
    Select(m_host.ListGetSel(IDC_LE_LIST));
}

// The URL list has no browse button, so its address box takes the width and height of the
// template box; the browser list has no third cell.
void ListEditor::BuildControls() {
    DialogTemplate dlg;
    const auto data = m_services.resources.Find(rt::kDialog, IDD_LISTEDIT);
    if (data.empty() || !ParseDialogTemplate(data, dlg)) return;
    const DialogItem* pSub1 = FindItem(dlg, IDC_LE_SUB1);
    DialogItem* pInput = FindItem(dlg, IDC_LE_INPUT);
    if (m_mode == kUrlList && pSub1 && pInput) {
        pInput->cx = pSub1->cx;
        pInput->cy = pSub1->cy;
    }
    CreateControls(dlg, m_host);
    const bool bBrowsers = m_mode == kBrowserList;
    m_host.Show(IDC_LE_BROWSE, bBrowsers);
    m_host.Show(IDC_LE_SUB1_LABEL, !bBrowsers);
    m_host.Show(IDC_LE_SUB1, !bBrowsers);
    for (int nId : kInputBoxes) m_host.SetTextLimit(nId, kMaxCell);
    m_host.ListSetExtendedStyle(IDC_LE_LIST, lvs::kFullRowSelect | lvs::kGridLines | lvs::kHeaderDragDrop);
    const DialogItem* pList = FindItem(dlg, IDC_LE_LIST);
    const int nWidth = (pList ? pList->cx : 165) / ColumnCount();
    const std::vector<std::u16string>& names = m_list.ColumnNames();
    for (std::size_t i = 0; i < static_cast<std::size_t>(ColumnCount()); ++i)
        m_host.ListAddColumn(IDC_LE_LIST, i < names.size() ? names[i] : std::u16string(), nWidth);
}

void ListEditor::OnCommand(int nId) {
    switch (nId) {
    case IDC_LE_ADD: Add(); return;
    case IDC_LE_CHANGE: Change(); return;
    case IDC_LE_DELETE: Delete(); return;
    case IDC_LE_UP: Move(-1); return;
    case IDC_LE_DOWN: Move(1); return;
    case IDC_LE_BROWSE: Browse(); return;
    case IDC_OK: Accept(); return;
    case IDC_CANCEL: m_host.Close(endcode::kCancel); return;
    default: return;
    }
}

void ListEditor::OnNotify(const Notification& note) {
    if (note.nId != IDC_LE_LIST) return;
    if (note.nCode == notify::kListSelChanged) Select(m_host.ListGetSel(IDC_LE_LIST));
    if (note.nCode == notify::kListColumnClick) Sort(static_cast<int>(note.nParam));
}

// What a change of selection does, whoever made it: the boxes show the row, the buttons follow.
void ListEditor::Select(int nRow) {
    m_host.ListSetSel(IDC_LE_LIST, nRow);
    FillBoxes(m_host.ListGetSel(IDC_LE_LIST));
    UpdateButtons();
}

void ListEditor::FillBoxes(int nRow) {
    if (nRow < 0) return;
    for (int nColumn = 0; nColumn < 3; ++nColumn)
        m_host.SetText(kInputBoxes[nColumn], nColumn < ColumnCount() ? m_host.ListGetCell(IDC_LE_LIST, nRow, nColumn) : u"");
}

void ListEditor::UpdateButtons() {
    const int nCount = m_host.ListRowCount(IDC_LE_LIST);
    const int nSel = m_host.ListGetSel(IDC_LE_LIST);
    const bool bSelected = nCount > 0 && nSel >= 0;
    m_host.Enable(IDC_LE_DELETE, bSelected);
    m_host.Enable(IDC_LE_CHANGE, bSelected);
    m_host.Enable(IDC_LE_UP, bSelected && nSel > 0);
    m_host.Enable(IDC_LE_DOWN, bSelected && nSel < nCount - 1);
}

std::vector<std::u16string> ListEditor::ReadBoxes() const {
    std::vector<std::u16string> cells;
    for (int nColumn = 0; nColumn < ColumnCount(); ++nColumn) cells.push_back(m_host.GetText(kInputBoxes[nColumn]).substr(0, kMaxCell));
    return cells;
}

std::vector<std::u16string> ListEditor::ReadRow(int nRow) const {
    std::vector<std::u16string> cells;
    for (int nColumn = 0; nColumn < ColumnCount(); ++nColumn) cells.push_back(m_host.ListGetCell(IDC_LE_LIST, nRow, nColumn));
    return cells;
}

void ListEditor::WriteRow(int nRow, const std::vector<std::u16string>& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) m_host.ListSetCell(IDC_LE_LIST, nRow, static_cast<int>(i), cells[i]);
}

// ";" separates the cells of a row in the settings file: a cell holding one would come back as
// two cells.
bool ListEditor::CheckInput() {
    const bool bSeparator = std::any_of(std::begin(kInputBoxes), std::end(kInputBoxes), [this](int nId) {
        return m_host.GetText(nId).find(SettingsList::kSeparator) != std::u16string::npos;
    });
    if (!bSeparator) return true;
    DualString strFormat;
    strFormat.LoadStringResource(m_services.resources, IDS_SEPARATOR_REFUSED);
    m_services.messages.ShowMessage(m_host.Handle(), FormatText(strFormat.Wide(), std::u16string(1, SettingsList::kSeparator)),
                                    caption::kDefault, mb::kIconHand);
    return false;
}

void ListEditor::Add() {
    if (!CheckInput()) return;
    Select(m_host.ListInsertRow(IDC_LE_LIST, m_host.ListRowCount(IDC_LE_LIST), ReadBoxes()));
}

void ListEditor::Change() {
    const int nSel = m_host.ListGetSel(IDC_LE_LIST);
    if (nSel < 0 || !CheckInput()) return;
    WriteRow(nSel, ReadBoxes());
    Select(nSel);
}

void ListEditor::Delete() {
    const int nSel = m_host.ListGetSel(IDC_LE_LIST);
    if (nSel < 0) return;
    m_host.ListDeleteRow(IDC_LE_LIST, nSel);
    const int nCount = m_host.ListRowCount(IDC_LE_LIST);
    Select(nCount == 0 ? -1 : std::min(nSel, nCount - 1));
}

void ListEditor::Move(int nStep) {
    const int nSel = m_host.ListGetSel(IDC_LE_LIST);
    const int nOther = nSel + nStep;
    if (nSel < 0 || nOther < 0 || nOther >= m_host.ListRowCount(IDC_LE_LIST)) return;
    const std::vector<std::u16string> moved = ReadRow(nSel);
    WriteRow(nSel, ReadRow(nOther));
    WriteRow(nOther, moved);
    Select(nOther);
}

void ListEditor::Browse() {
    const std::u16string strInput = m_host.GetText(IDC_LE_INPUT);
    const std::size_t nCut = strInput.rfind(m_services.files.Separator());
    FileDialogRequest request;
    request.strTitle = u"ブラウザの選択";
    request.strFilterText = u"実行ファイル (*.exe)";
    request.strFilterPattern = u"*.exe";
    request.bExecutables = true;
    request.bMustExist = true;
    // The folder of the path; a file right under the root starts at the root.
    if (nCut != std::u16string::npos) request.strInitialFolder = strInput.substr(0, nCut == 0 ? 1 : nCut);
    std::u16string strPath;
    if (m_services.fileDialogs.ChooseOpenFile(m_host.Handle(), request, strPath)) m_host.SetText(IDC_LE_INPUT, strPath);
}

// Code units compared, no locale: the order is the same on every machine. The selected row
// stays selected where it lands.
void ListEditor::Sort(int nColumn) {
    if (nColumn < 0 || nColumn >= ColumnCount()) return;
    const bool bAscending = m_ascending[static_cast<std::size_t>(nColumn)] = !m_ascending[static_cast<std::size_t>(nColumn)];
    const int nCount = m_host.ListRowCount(IDC_LE_LIST);
    std::vector<std::vector<std::u16string>> rows;
    for (int i = 0; i < nCount; ++i) rows.push_back(ReadRow(i));
    std::vector<int> order(static_cast<std::size_t>(nCount));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        const std::u16string strA = rows[static_cast<std::size_t>(a)][static_cast<std::size_t>(nColumn)].substr(0, kMaxCell);
        const std::u16string strB = rows[static_cast<std::size_t>(b)][static_cast<std::size_t>(nColumn)].substr(0, kMaxCell);
        return bAscending ? strA < strB : strB < strA;
    });
    const int nSel = m_host.ListGetSel(IDC_LE_LIST);
    int nNewSel = -1;
    for (int i = 0; i < nCount; ++i) {
        WriteRow(i, rows[static_cast<std::size_t>(order[static_cast<std::size_t>(i)])]);
        if (order[static_cast<std::size_t>(i)] == nSel) nNewSel = i;
    }
    Select(nNewSel);
}

void ListEditor::Accept() {
    m_list.Clear();
    const int nCount = m_host.ListRowCount(IDC_LE_LIST);
    for (int i = 0; i < nCount; ++i) m_list.AddRow(ReadRow(i));
    m_list.SetSelectedIndex(m_host.ListGetSel(IDC_LE_LIST));
    m_host.Close(endcode::kOk);
}

int EditList(const SettingsUiServices& services, WindowHandle hOwner, SettingsList& list, ListEditor::Mode mode) {
    const std::unique_ptr<DialogHost> pHost = services.dialogs.CreateDialog(hOwner);
    ListEditor editor(*pHost, services, list, mode);
    return editor.Run();
}

}  // namespace vantrel
