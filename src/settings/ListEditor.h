#pragma once
#include <string>
#include <vector>

#include "port/DialogHost.h"
#include "settings/SettingsUi.h"

namespace vantrel {

class SettingsList;

// The list editor (template 131, "リストの編集"): the rows of one list in a list view, edited
// through the input boxes "TITLE", "INPUT" and "SUB1". The list itself changes only on OK.
class ListEditor {
public:
    enum Mode { kUrlList = 0, kBrowserList = 1 };
    // Longest text of an input box, and the part of a cell that sorting compares.
    static constexpr int kMaxCell = 1024;

    ListEditor(DialogHost& host, const SettingsUiServices& services, SettingsList& list, Mode mode);

    // Builds the controls for the mode and shows the list's rows with its selected row.
    void Open();
    // Open, then the modal run; the end code (endcode::kOk or kCancel).
    int Run();

    // The dialog's handlers.
    void OnCommand(int nId);
    void OnNotify(const Notification& note);

private:
    int ColumnCount() const { return m_mode == kUrlList ? 3 : 2; }
    void BuildControls();
    void Select(int nRow);
    void FillBoxes(int nRow);
    void UpdateButtons();
    std::vector<std::u16string> ReadBoxes() const;
    std::vector<std::u16string> ReadRow(int nRow) const;
    void WriteRow(int nRow, const std::vector<std::u16string>& cells);
    bool CheckInput();
    void Add();
    void Change();
    void Delete();
    void Move(int nStep);
    void Browse();
    void Sort(int nColumn);
    void Accept();

    DialogHost& m_host;
    SettingsUiServices m_services;
    SettingsList& m_list;
    Mode m_mode;
    std::vector<bool> m_ascending;  // per column, flipped by every click on its header
};

// Runs the list editor modally over hOwner; the end code.
int EditList(const SettingsUiServices& services, WindowHandle hOwner, SettingsList& list, ListEditor::Mode mode);

}  // namespace vantrel
