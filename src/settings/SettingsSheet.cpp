#include "settings/SettingsSheet.h"

#include "settings/SettingsPage.h"

namespace vantrel {

SettingsSheet::SettingsSheet(SheetHost& sheet, const SettingsUiServices& services, PageRegistry& registry,
                             Settings& settings)
    : m_sheet(sheet), m_services(services), m_registry(registry), m_settings(settings) {}

SettingsSheet::~SettingsSheet() = default;

void SettingsSheet::Open() {
    m_sheet.SetTitle(u"詳細設定");
    for (const PageLayout& layout : SettingsPageLayouts()) {
        m_pages.push_back(std::make_unique<LayoutPage>(layout, m_settings, m_services));
        m_pages.back()->Create(m_sheet.AddPage(), m_registry, *this);
    }
    m_sheet.SetActivePage(0);
}

int SettingsSheet::Run() {
    Open();
    return m_sheet.RunModal();
}

// Pages are read in tab order; a page that never got its object has nothing to give.
void SettingsSheet::PressButton(int nButton) {
    if (nButton == sheetbutton::kOk) {
        for (const auto& pPage : m_pages)
            if (pPage->IsBound()) pPage->Exchange(SettingsPage::Direction::ToSettings);
        m_sheet.Close(endcode::kOk);
    } else if (nButton == sheetbutton::kCancel) {
        m_sheet.Close(endcode::kCancel);
    }
}

int RunSettingsSheet(const SettingsUiServices& services, WindowHandle hOwner, PageRegistry& registry, Settings& settings) {
    const std::unique_ptr<SheetHost> pSheet = services.dialogs.CreateSheet(hOwner);
    SettingsSheet sheet(*pSheet, services, registry, settings);
    return sheet.Run();
}

}  // namespace vantrel
