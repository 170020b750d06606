#pragma once
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "settings/DualString.h"

namespace vantrel {

class FileSystem;

// The entries of one settings file: "[section]" on the first line, then key=value lines, each
// ended by CR LF. Entries keep their insertion order and a key may occur more than once; a lookup
// finds the first. The file is UTF-16LE with the mark FF FE, or, in narrow mode, code page text
// without a mark.
class SettingsStore {
public:
    explicit SettingsStore(FileSystem& fileSystem) : m_fileSystem(fileSystem) {}

    // Appends the pair; false, and nothing stored, when the key is empty. Never replaces.
    bool Set(const DualString& strKey, const DualString& strValue);
    // The first entry with exactly this key; false when the key is empty or not present.
    bool Get(const DualString& strKey, DualString& strValue) const;

    // Writes the whole file anew, readable by its owner alone. An empty section gives neither the
    // mark nor a header line. A failed write leaves the file as it was.
    bool Write(const DualString& strSection, const std::u16string& strPath, bool bNarrow = false) const;
    // Replaces the entries by those of the file. False when the file cannot be used; true once it
    // was read, even when the header did not match and no entry was taken.
    bool Read(const DualString& strSection, const std::u16string& strPath, bool bNarrow = false);

    std::size_t Count() const { return m_entries.size(); }
    const std::pair<DualString, DualString>& Entry(std::size_t n) const { return m_entries[n]; }

private:
    bool ReadText(const std::u16string& strPath, bool bNarrow, std::u16string& strText) const;
    void Parse(std::u16string_view strSection, std::u16string_view strText);

    void Append(DualString strKey, DualString strValue);

    FileSystem& m_fileSystem;
    std::vector<std::pair<DualString, DualString>> m_entries;
    // The first entry of each key: the record looks up every list row by its numbered key, and a
    // scan per lookup made loading quadratic in the number of rows.
    std::unordered_map<std::u16string, std::size_t> m_firstOfKey;
};

}  // namespace vantrel
