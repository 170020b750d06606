#include "acquire/LocationCache.h"

#include <memory>

#include "port/FileSystem.h"
#include "settings/TextUtil.h"

namespace vantrel {

const LocationCache::Entry* LocationCache::Find(const std::u16string& strKey) const {
    for (const Entry& entry : m_entries)
        if (entry.first == strKey) return &entry;
    return nullptr;
}

namespace {

// An entry is one line of the file. A service reply whose body holds CR LF would otherwise write
// lines of its own, read back as entries for stations the module never reported.
std::u16string FirstLine(const std::u16string& strText) { return strText.substr(0, strText.find_first_of(u"\r\n")); }

}  // namespace

void LocationCache::Update(const std::u16string& strKey, const std::u16string& strValue) {
    const std::u16string strLineKey = FirstLine(strKey);
    const std::u16string strLineValue = FirstLine(strValue);
    for (Entry& entry : m_entries) {
        if (entry.first != strLineKey) continue;
        if (entry.second != strLineValue) entry.second = strLineValue;
        return;
    }
    m_entries.emplace_back(strLineKey, strLineValue);
}

bool LocationCache::Load(FileSystem& files, const std::u16string& strPath) {
    const std::unique_ptr<File> pFile = files.Open(strPath, OpenMode::OpenExisting);
    std::uint64_t nSize = 0;
    if (!pFile || !pFile->GetSize(nSize) || nSize == 0 || nSize >= 0x100000000ull) return false;
    if (nSize >= 2) {
        char mark[2] = {};
        std::uint32_t nRead = 0;
        if (!pFile->Read(mark, 2, nRead) || nRead != 2) return false;
        if (mark[0] != kUtf16LeMark[0] || mark[1] != kUtf16LeMark[1]) {
            if (!pFile->SeekToStart()) return false;  // no mark: the text starts at the first byte
        } else {
            nSize -= 2;
        }
    }
    std::string strBytes(static_cast<std::size_t>(nSize), '\0');
    std::uint32_t nRead = 0;
    if (!pFile->Read(strBytes.data(), static_cast<std::uint32_t>(strBytes.size()), nRead)) return false;
    strBytes.resize(nRead);
    std::u16string strText(strBytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < strText.size(); ++i)
        strText[i] = static_cast<char16_t>(static_cast<unsigned char>(strBytes[2 * i]) |
                                           (static_cast<unsigned char>(strBytes[2 * i + 1]) << 8));
    AppendLines(strText);
    return true;
}

void LocationCache::AppendLines(const std::u16string& strText) {
    std::size_t nStart = 0;
    while (nStart < strText.size()) {
        std::size_t nEnd = strText.find(u"\r\n", nStart);
        if (nEnd == std::u16string::npos) nEnd = strText.size();
        const std::u16string_view strLine = std::u16string_view(strText).substr(nStart, nEnd - nStart);
        const std::size_t nComma = strLine.find(u',');
        if (nComma != std::u16string::npos)
            m_entries.emplace_back(std::u16string(strLine.substr(0, nComma)), std::u16string(strLine.substr(nComma + 1)));
        nStart = nEnd + 2;
    }
}

bool LocationCache::Save(FileSystem& files, const std::u16string& strPath) const {
    return files.WriteReplacing(strPath, FileAccess::Shared, [this](File& file) {
        if (!file.Write(kUtf16LeMark, sizeof kUtf16LeMark)) return false;
        for (const Entry& entry : m_entries) {
            const std::string strBytes = ToUtf16LeBytes(entry.first + u"," + entry.second + u"\r\n");
            if (!file.Write(strBytes.data(), static_cast<std::uint32_t>(strBytes.size()))) return false;
        }
        return true;
    });
}

}  // namespace vantrel
