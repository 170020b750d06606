#include "settings/SettingsList.h"

namespace vantrel {

std::u16string SettingsList::Cell(std::size_t nRow, std::size_t nColumn) const {
    if (nRow >= m_rows.size() || nColumn >= m_rows[nRow].size()) return {};
    return m_rows[nRow][nColumn];
}

std::u16string SettingsList::SelectedCell(std::size_t nColumn) const {
    return HasSelection() ? Cell(static_cast<std::size_t>(m_nSelected), nColumn) : std::u16string();
}

std::u16string SettingsList::JoinRow(std::size_t nRow) const {
    std::u16string strLine;
    for (std::size_t nColumn = 0; nColumn < m_columnNames.size(); ++nColumn) {
        if (!strLine.empty()) strLine.push_back(kSeparator);
        strLine += Cell(nRow, nColumn);
    }
    return strLine;
}

SettingsList::Row SettingsList::SplitRow(std::u16string_view strText) const {
    Row row(m_columnNames.size());
    std::size_t nField = 0;
    std::size_t nStart = 0;
    for (;;) {
        const std::size_t nEnd = strText.find(kSeparator, nStart);
        if (nField < row.size()) row[nField] = strText.substr(nStart, nEnd == std::u16string_view::npos ? nEnd : nEnd - nStart);
        ++nField;
        if (nEnd == std::u16string_view::npos) break;
        nStart = nEnd + 1;
    }
    return row;
}

}  // namespace vantrel
