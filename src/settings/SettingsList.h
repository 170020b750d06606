#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// One of the two lists of the settings (URLs, browsers): fixed column captions, rows of cells and
// the row the user chose. A row may be shorter than the column count; a missing cell reads empty.
class SettingsList {
public:
    using Row = std::vector<std::u16string>;

    explicit SettingsList(std::vector<std::u16string> columnNames) : m_columnNames(std::move(columnNames)) {}

    const std::vector<std::u16string>& ColumnNames() const { return m_columnNames; }
    std::size_t ColumnCount() const { return m_columnNames.size(); }

    std::size_t RowCount() const { return m_rows.size(); }
    const std::vector<Row>& Rows() const { return m_rows; }
    std::vector<Row>& Rows() { return m_rows; }
    void AddRow(Row row) { m_rows.push_back(std::move(row)); }
    void Clear() { m_rows.clear(); }
    // Empty when the row or the cell does not exist.
    std::u16string Cell(std::size_t nRow, std::size_t nColumn) const;

    // -1 means none. Not checked against the row count: a file may name a row it does not have.
    std::int32_t SelectedIndex() const { return m_nSelected; }
    void SetSelectedIndex(std::int32_t nIndex) { m_nSelected = nIndex; }
    // True when the selected index names an existing row.
    bool HasSelection() const { return m_nSelected >= 0 && static_cast<std::size_t>(m_nSelected) < m_rows.size(); }
    // A cell of the selected row; empty without a valid selection.
    std::u16string SelectedCell(std::size_t nColumn) const;

    // The file form of a row: cells joined by ";", where a separator goes in only after text.
    // Leading empty cells therefore vanish (the shipped files were written this way).
    std::u16string JoinRow(std::size_t nRow) const;
    // A row from its file form: one cell per column, split at every ";"; missing fields are
    // empty and extra fields dropped.
    Row SplitRow(std::u16string_view strText) const;

    static constexpr char16_t kSeparator = u';';

private:
    std::vector<std::u16string> m_columnNames;
    std::vector<Row> m_rows;
    std::int32_t m_nSelected = 0;
};

}  // namespace vantrel
