#pragma once
#include <string>
#include <utility>
#include <vector>

namespace vantrel {

class FileSystem;

// Earlier answers of the position service by base-station id, in the order they were learnt. The
// file form is UTF-16LE lines "<id>,<answer>\r\n" after the byte-order mark.
class LocationCache {
public:
    using Entry = std::pair<std::u16string, std::u16string>;

    bool IsEmpty() const { return m_entries.empty(); }
    void Clear() { m_entries.clear(); }
    const std::vector<Entry>& Entries() const { return m_entries; }
    // The first entry with this key, or null.
    const Entry* Find(const std::u16string& strKey) const;
    // Appends a new key at the end; replaces the value of a known key when it differs. Key and
    // value are cut at their first CR or LF.
    void Update(const std::u16string& strKey, const std::u16string& strValue);

    // Appends the file's entries. False for a missing or empty file (the cache is then unchanged).
    bool Load(FileSystem& files, const std::u16string& strPath);
    // Writes the whole file anew; a failed write leaves the cache already on disk as it was.
    bool Save(FileSystem& files, const std::u16string& strPath) const;

private:
    void AppendLines(const std::u16string& strText);

    std::vector<Entry> m_entries;
};

}  // namespace vantrel
