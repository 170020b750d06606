#pragma once
#include <memory>
#include <vector>

#include "port/DialogHost.h"
#include "settings/SettingsUi.h"

namespace vantrel {

class PageRegistry;
class Settings;
class SettingsPage;

// The property-sheet buttons a page presses on its sheet (PSM_PRESSBUTTON: PSBTN_OK, PSBTN_CANCEL).
namespace sheetbutton {
constexpr int kOk = 3;
constexpr int kCancel = 5;
}  // namespace sheetbutton

// The settings sheet: the eight pages on tabs, each filled from the record when built. OK on any
// page reads every page into the record; キャンセル leaves the record as it was.
class SettingsSheet {
public:
    SettingsSheet(SheetHost& sheet, const SettingsUiServices& services, PageRegistry& registry, Settings& settings);
    ~SettingsSheet();
    SettingsSheet(const SettingsSheet&) = delete;
    SettingsSheet& operator=(const SettingsSheet&) = delete;

    // Builds, binds and fills every page.
    void Open();
    // Open, then the modal run; the end code (endcode::kOk or kCancel).
    int Run();
    // What a page's OK or キャンセル asks of the sheet.
    void PressButton(int nButton);

private:
    SheetHost& m_sheet;
    SettingsUiServices m_services;
    PageRegistry& m_registry;
    Settings& m_settings;
    std::vector<std::unique_ptr<SettingsPage>> m_pages;
};

// Runs the settings sheet modally over hOwner; the end code.
int RunSettingsSheet(const SettingsUiServices& services, WindowHandle hOwner, PageRegistry& registry, Settings& settings);

}  // namespace vantrel
