#include "platform/headless/MemoryDialogHost.h"

#include <algorithm>

#include "port/UiThread.h"

namespace vantrel {

namespace {

bool InRange(int nRow, std::size_t nCount) { return nRow >= 0 && static_cast<std::size_t>(nRow) < nCount; }

}  // namespace

MemoryDialogHost::MemoryDialogHost(UiThread& ui, MemoryDialogFactory* pFactory) : m_ui(ui), m_pFactory(pFactory) {}

std::uint64_t MemoryDialogHost::ChangeCount() const {
    std::lock_guard lock(m_mutex);
    return m_nChanges;
}

WindowHandle MemoryDialogHost::Handle() const { return reinterpret_cast<WindowHandle>(this); }

void MemoryDialogHost::SetFrame(const DialogFrame& frame) {
    std::lock_guard lock(m_mutex);
    m_frame = frame;
    m_strTitle = frame.strTitle;
}

bool MemoryDialogHost::CreateControl(const ControlItem& description) {
    std::lock_guard lock(m_mutex);
    Control control;
    control.description = description;
    control.strText = description.strText;
    control.tree[0] = Node{};
    // Ids need not be unique in a template (static labels often share -1); the last one wins the id.
    if (m_controls.count(description.nId) == 0) m_order.push_back(description.nId);
    m_controls[description.nId] = std::move(control);
    return true;
}

bool MemoryDialogHost::HasControl(int nId) const {
    std::lock_guard lock(m_mutex);
    return Find(nId) != nullptr;
}

MemoryDialogHost::Control* MemoryDialogHost::Find(int nId) {
    const auto it = m_controls.find(nId);
    return it == m_controls.end() ? nullptr : &it->second;
}

const MemoryDialogHost::Control* MemoryDialogHost::Find(int nId) const {
    const auto it = m_controls.find(nId);
    return it == m_controls.end() ? nullptr : &it->second;
}

void MemoryDialogHost::SetTitle(const std::u16string& strTitle) {
    std::lock_guard lock(m_mutex);
    m_strTitle = strTitle;
    ++m_nChanges;
}

void MemoryDialogHost::SetText(int nId, const std::u16string& strText) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) {
        p->strText = p->nLimit > 0 && strText.size() > static_cast<std::size_t>(p->nLimit) ? strText.substr(0, p->nLimit) : strText;
        ++m_nChanges;
    }
}

std::u16string MemoryDialogHost::GetText(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->strText : std::u16string();
}

void MemoryDialogHost::SetTextLimit(int nId, int nLimit) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->nLimit = nLimit;
}

// Nothing scrolls without a screen.
void MemoryDialogHost::CaretToEnd(int) {}

void MemoryDialogHost::SetCheck(int nId, bool bChecked) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->bChecked = bChecked;
}

bool MemoryDialogHost::GetCheck(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p && p->bChecked;
}

void MemoryDialogHost::Enable(int nId, bool bEnabled) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->bEnabled = bEnabled;
}

bool MemoryDialogHost::IsEnabled(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p && p->bEnabled;
}

void MemoryDialogHost::Show(int nId, bool bVisible) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->bVisible = bVisible;
}

bool MemoryDialogHost::IsVisible(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p && p->bVisible;
}

void MemoryDialogHost::ComboReset(int nId) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) {
        p->comboRows.clear();
        p->nComboSel = -1;
    }
}

int MemoryDialogHost::ComboAdd(int nId, const std::u16string& strText) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (!p) return -1;
    p->comboRows.push_back(strText);
    return static_cast<int>(p->comboRows.size()) - 1;
}

int MemoryDialogHost::ComboCount(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? static_cast<int>(p->comboRows.size()) : 0;
}

void MemoryDialogHost::ComboSetSel(int nId, int nRow) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->nComboSel = InRange(nRow, p->comboRows.size()) ? nRow : -1;
}

int MemoryDialogHost::ComboGetSel(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->nComboSel : -1;
}

void MemoryDialogHost::ListAddColumn(int nId, const std::u16string& strCaption, int) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->columns.push_back(strCaption);
}

void MemoryDialogHost::ListSetExtendedStyle(int nId, std::uint32_t nStyle) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->nListStyle = nStyle;
}

void MemoryDialogHost::ListReset(int nId) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) {
        p->listRows.clear();
        p->nListSel = -1;
    }
}

int MemoryDialogHost::ListInsertRow(int nId, int nRow, const std::vector<std::u16string>& cells) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (!p) return -1;
    const int nAt = InRange(nRow, p->listRows.size()) ? nRow : static_cast<int>(p->listRows.size());
    p->listRows.insert(p->listRows.begin() + nAt, cells);
    if (p->nListSel >= nAt) ++p->nListSel;
    return nAt;
}

void MemoryDialogHost::ListSetCell(int nId, int nRow, int nColumn, const std::u16string& strText) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (!p || !InRange(nRow, p->listRows.size()) || nColumn < 0) return;
    auto& row = p->listRows[static_cast<std::size_t>(nRow)];
    if (row.size() <= static_cast<std::size_t>(nColumn)) row.resize(static_cast<std::size_t>(nColumn) + 1);
    row[static_cast<std::size_t>(nColumn)] = strText;
}

std::u16string MemoryDialogHost::ListGetCell(int nId, int nRow, int nColumn) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    if (!p || !InRange(nRow, p->listRows.size())) return {};
    const auto& row = p->listRows[static_cast<std::size_t>(nRow)];
    return InRange(nColumn, row.size()) ? row[static_cast<std::size_t>(nColumn)] : std::u16string();
}

void MemoryDialogHost::ListDeleteRow(int nId, int nRow) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (!p || !InRange(nRow, p->listRows.size())) return;
    p->listRows.erase(p->listRows.begin() + nRow);
    if (p->nListSel == nRow) p->nListSel = -1;
    else if (p->nListSel > nRow) --p->nListSel;
}

int MemoryDialogHost::ListRowCount(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? static_cast<int>(p->listRows.size()) : 0;
}

void MemoryDialogHost::ListSetSel(int nId, int nRow) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->nListSel = InRange(nRow, p->listRows.size()) ? nRow : -1;
}

int MemoryDialogHost::ListGetSel(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->nListSel : -1;
}

TreeItem MemoryDialogHost::TreeInsert(int nId, TreeItem parent, const std::u16string& strText, bool bHasChildren) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (!p || p->tree.count(parent) == 0) return 0;
    const TreeItem item = m_nNextItem++;
    Node& node = p->tree[item];
    node.parent = parent;
    node.strText = strText;
    node.bHasChildren = bHasChildren;
    p->tree[parent].children.push_back(item);
    return item;
}

void MemoryDialogHost::TreeSetHasChildren(int nId, TreeItem item, bool bHasChildren) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (p && item != 0 && p->tree.count(item)) p->tree[item].bHasChildren = bHasChildren;
}

void MemoryDialogHost::TreeSetIcon(int nId, TreeItem item, TreeIcon icon) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (p && item != 0 && p->tree.count(item)) p->tree[item].icon = icon;
}

void MemoryDialogHost::TreeExpand(int nId, TreeItem item, bool bExpand) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (p && item != 0 && p->tree.count(item)) p->tree[item].bExpanded = bExpand;
}

const MemoryDialogHost::Node* MemoryDialogHost::FindNode(int nId, TreeItem item) const {
    const Control* p = Find(nId);
    if (!p) return nullptr;
    const auto it = p->tree.find(item);
    return it == p->tree.end() ? nullptr : &it->second;
}

void MemoryDialogHost::DeleteSubtree(Control& control, TreeItem item) {
    for (TreeItem child : control.tree[item].children) {
        DeleteSubtree(control, child);
        if (control.nTreeSel == child) control.nTreeSel = 0;
        control.tree.erase(child);
    }
    control.tree[item].children.clear();
}

void MemoryDialogHost::TreeDeleteChildren(int nId, TreeItem item) {
    std::lock_guard lock(m_mutex);
    Control* p = Find(nId);
    if (p && p->tree.count(item)) DeleteSubtree(*p, item);
}

std::vector<TreeItem> MemoryDialogHost::TreeChildren(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    if (!p) return {};
    const auto it = p->tree.find(item);
    return it == p->tree.end() ? std::vector<TreeItem>() : it->second.children;
}

std::u16string MemoryDialogHost::TreeText(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    if (!p) return {};
    const auto it = p->tree.find(item);
    return it == p->tree.end() ? std::u16string() : it->second.strText;
}

TreeItem MemoryDialogHost::TreeParent(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    if (!p) return 0;
    const auto it = p->tree.find(item);
    return it == p->tree.end() ? 0 : it->second.parent;
}

void MemoryDialogHost::TreeSelect(int nId, TreeItem item) {
    std::lock_guard lock(m_mutex);
    if (Control* p = Find(nId)) p->nTreeSel = p->tree.count(item) ? item : 0;
}

TreeItem MemoryDialogHost::TreeSelection(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->nTreeSel : 0;
}

void MemoryDialogHost::SetCommandHandler(std::function<void(int, int)> handler) {
    std::lock_guard lock(m_mutex);
    m_handler = std::move(handler);
}

void MemoryDialogHost::SetNotifyHandler(std::function<void(const Notification&)> handler) {
    std::lock_guard lock(m_mutex);
    m_notifyHandler = std::move(handler);
}

bool MemoryDialogHost::SetProperty(const std::u16string& strName, void* pValue) {
    std::lock_guard lock(m_mutex);
    m_properties[strName] = pValue;
    return true;
}

void* MemoryDialogHost::GetProperty(const std::u16string& strName) const {
    std::lock_guard lock(m_mutex);
    const auto it = m_properties.find(strName);
    return it == m_properties.end() ? nullptr : it->second;
}

void MemoryDialogHost::Notify(const Notification& note) {
    std::function<void(const Notification&)> handler;
    {
        std::lock_guard lock(m_mutex);
        handler = m_notifyHandler;
    }
    if (handler) handler(note);
}

void MemoryDialogHost::ClickListRow(int nId, int nRow) {
    ListSetSel(nId, nRow);
    Notify({nId, notify::kListSelChanged, ListGetSel(nId)});
}

void MemoryDialogHost::ClickListColumn(int nId, int nColumn) { Notify({nId, notify::kListColumnClick, nColumn}); }

void MemoryDialogHost::ExpandTreeItem(int nId, TreeItem item) {
    Notify({nId, notify::kTreeExpanding, static_cast<std::intptr_t>(item)});
    TreeExpand(nId, item, true);
}

void MemoryDialogHost::CollapseTreeItem(int nId, TreeItem item) {
    Notify({nId, notify::kTreeCollapsing, static_cast<std::intptr_t>(item)});
    TreeExpand(nId, item, false);
}

void MemoryDialogHost::SendCommand(int nId, int nNotify) {
    std::function<void(int, int)> handler;
    {
        std::lock_guard lock(m_mutex);
        handler = m_handler;
    }
    if (handler) handler(nId, nNotify);
}

int MemoryDialogHost::RunModal() {
    {
        std::lock_guard lock(m_mutex);
        if (m_bClosed) return m_nEndCode;  // closed while it was being opened
        m_bRunning = true;
    }
    if (m_pFactory) m_pFactory->m_modals.push_back(this);
    const int nCode = m_ui.RunModal();
    if (m_pFactory) std::erase(m_pFactory->m_modals, this);
    std::lock_guard lock(m_mutex);
    m_bRunning = false;
    m_bClosed = true;
    m_nEndCode = nCode;
    return nCode;
}

void MemoryDialogHost::Close(int nEndCode) {
    bool bRunning;
    {
        std::lock_guard lock(m_mutex);
        if (m_bClosed) return;
        bRunning = m_bRunning;
        if (!bRunning) {
            m_bClosed = true;
            m_nEndCode = nEndCode;
        }
    }
    if (bRunning) m_ui.EndModal(nEndCode);
}

DialogFrame MemoryDialogHost::Frame() const {
    std::lock_guard lock(m_mutex);
    return m_frame;
}

std::u16string MemoryDialogHost::Title() const {
    std::lock_guard lock(m_mutex);
    return m_strTitle;
}

ControlItem MemoryDialogHost::Description(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->description : ControlItem{};
}

std::vector<int> MemoryDialogHost::ControlIds() const {
    std::lock_guard lock(m_mutex);
    return m_order;
}

int MemoryDialogHost::TextLimit(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->nLimit : 0;
}

std::vector<std::u16string> MemoryDialogHost::ListColumns(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->columns : std::vector<std::u16string>();
}

std::uint32_t MemoryDialogHost::ListExtendedStyle(int nId) const {
    std::lock_guard lock(m_mutex);
    const Control* p = Find(nId);
    return p ? p->nListStyle : 0;
}

bool MemoryDialogHost::TreeHasChildren(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Node* p = FindNode(nId, item);
    return p && p->bHasChildren;
}

bool MemoryDialogHost::IsTreeExpanded(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Node* p = FindNode(nId, item);
    return p && p->bExpanded;
}

TreeIcon MemoryDialogHost::TreeIconOf(int nId, TreeItem item) const {
    std::lock_guard lock(m_mutex);
    const Node* p = FindNode(nId, item);
    return p ? p->icon : TreeIcon::None;
}

bool MemoryDialogHost::IsClosed() const {
    std::lock_guard lock(m_mutex);
    return m_bClosed;
}

int MemoryDialogHost::EndCode() const {
    std::lock_guard lock(m_mutex);
    return m_nEndCode;
}

std::unique_ptr<DialogHost> MemoryDialogFactory::CreateDialog(WindowHandle) {
    return std::make_unique<MemoryDialogHost>(m_ui, this);
}

std::unique_ptr<SheetHost> MemoryDialogFactory::CreateSheet(WindowHandle) {
    return std::make_unique<MemorySheetHost>(m_ui, this);
}

MemorySheetHost::MemorySheetHost(UiThread& ui, MemoryDialogFactory* pFactory) : m_ui(ui), m_pFactory(pFactory) {}

WindowHandle MemorySheetHost::Handle() const { return reinterpret_cast<WindowHandle>(this); }

void MemorySheetHost::SetTitle(const std::u16string& strTitle) { m_strTitle = strTitle; }

DialogHost& MemorySheetHost::AddPage() {
    m_pages.push_back(std::make_unique<MemoryDialogHost>(m_ui));
    if (m_nActive < 0) m_nActive = 0;
    return *m_pages.back();
}

int MemorySheetHost::PageCount() const { return static_cast<int>(m_pages.size()); }

void MemorySheetHost::SetActivePage(int nPage) {
    if (InRange(nPage, m_pages.size())) m_nActive = nPage;
}

int MemorySheetHost::ActivePage() const { return m_nActive; }

// The sheet lives on the UI thread only, so it needs no lock of its own.
int MemorySheetHost::RunModal() {
    if (m_bClosed) return m_nEndCode;
    m_bRunning = true;
    if (m_pFactory) m_pFactory->m_sheets.push_back(this);
    const int nCode = m_ui.RunModal();
    if (m_pFactory) std::erase(m_pFactory->m_sheets, this);
    m_bRunning = false;
    m_bClosed = true;
    m_nEndCode = nCode;
    return nCode;
}

void MemorySheetHost::Close(int nEndCode) {
    if (m_bClosed) return;
    if (m_bRunning) {
        m_ui.EndModal(nEndCode);
        return;
    }
    m_bClosed = true;
    m_nEndCode = nEndCode;
}

}  // namespace vantrel
