#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "port/DialogHost.h"
#include "settings/Settings.h"
#include "settings/SettingsUi.h"

namespace vantrel {

class SettingsPage;
class SettingsSheet;

// Finds the page object of a dialog window. Each binding attaches the page to its window as the
// property "PPage_<n>", n counting every page bound before it, and remembers the window and the
// name. Bindings are never removed: a property goes with its window, so a remembered pair whose
// window is gone finds nothing.
class PageRegistry {
public:
    // False when the window does not take the property; the page then gets no messages.
    bool Bind(DialogHost& host, SettingsPage* pPage);
    SettingsPage* Find(const DialogHost& host) const;
    std::size_t BindingCount() const { return m_bindings.size(); }

private:
    struct Binding {
        WindowHandle hWnd;
        std::u16string strName;
    };
    std::vector<Binding> m_bindings;
};

// One settings page: a dialog template whose controls edit options of the settings record.
class SettingsPage {
public:
    enum class Direction { ToControls, ToSettings };

    SettingsPage(std::uint16_t nTemplateId, Settings& settings, const SettingsUiServices& services);
    virtual ~SettingsPage() = default;
    SettingsPage(const SettingsPage&) = delete;
    SettingsPage& operator=(const SettingsPage&) = delete;

    std::uint16_t TemplateId() const { return m_nTemplateId; }

    // Builds the page into host and binds it; once bound, the page initialises its controls and
    // fills them from the record, and every click reaches OnCommand through the registry.
    void Create(DialogHost& host, PageRegistry& registry, SettingsSheet& sheet);
    bool IsBound() const { return m_pHost != nullptr; }

    // Text limits and first enable states.
    virtual void OnInitControls() = 0;
    // Fills the controls from the record, or reads them into it.
    virtual void Exchange(Direction direction) = 0;
    // A click. OK and キャンセル act on the whole sheet.
    virtual void OnCommand(int nId);

protected:
    DialogHost& Host() const { return *m_pHost; }
    Settings& Record() const { return m_settings; }
    const SettingsUiServices& Services() const { return m_services; }

private:
    std::uint16_t m_nTemplateId;
    Settings& m_settings;
    SettingsUiServices m_services;
    DialogHost* m_pHost = nullptr;
    SettingsSheet* m_pSheet = nullptr;
};

// One control of a page and the option it edits.
struct PageControl {
    int nId;
    std::variant<BoolKey, NumberKey, TextKey> key;
    int nLimit = 0;  // text boxes: characters read and typed; 0 for check boxes
    // Enabled while any of these check boxes is checked; none: always enabled.
    int nGovernor = 0;
    int nGovernor2 = 0;
};

// A "参照" button that puts a folder chosen in the folder picker into a text box.
struct FolderButton {
    int nButton;
    int nEdit;
};

// What one page is made of.
struct PageLayout {
    std::uint16_t nTemplateId;
    std::span<const PageControl> controls;
    std::span<const FolderButton> folderButtons;
};

// A page driven by its layout: limits, exchange and enable rules come from its table.
class LayoutPage final : public SettingsPage {
public:
    LayoutPage(const PageLayout& layout, Settings& settings, const SettingsUiServices& services);

    void OnInitControls() override;
    void Exchange(Direction direction) override;
    void OnCommand(int nId) override;

    // Longest text read from a number box.
    static constexpr std::size_t kNumberChars = 10;

private:
    void ApplyEnableRules();
    void PickFolderInto(int nEdit);

    PageLayout m_layout;
};

// The eight pages, in the order of the sheet's tabs.
std::span<const PageLayout> SettingsPageLayouts();

}  // namespace vantrel
