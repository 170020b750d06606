#include "settings/SettingsStore.h"

#include <algorithm>
#include <cstdint>
#include <memory>

#include "port/FileSystem.h"
#include "port/TextCodec.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

constexpr std::u16string_view kLineEnd = u"\r\n";

bool WriteBytes(File& file, const std::string& strBytes) {
    return strBytes.empty() || file.Write(strBytes.data(), static_cast<std::uint32_t>(strBytes.size()));
}

// A wide-mode writer sends UTF-16LE, a narrow-mode writer the code page bytes.
bool WriteText(File& file, std::u16string_view strText, bool bNarrow) {
    if (!bNarrow) return WriteBytes(file, ToUtf16LeBytes(strText));
    std::string strBytes;
    AnsiCodePage().ToNarrow(strText, strBytes);
    return WriteBytes(file, strBytes);
}

// An empty text is written as nothing: its narrow form may still hold an older value.
bool WriteText(File& file, const DualString& strText, bool bNarrow) {
    if (strText.IsEmpty()) return true;
    return WriteBytes(file, bNarrow ? strText.Narrow() : ToUtf16LeBytes(strText.Wide()));
}

}  // namespace

void SettingsStore::Append(DualString strKey, DualString strValue) {
    m_firstOfKey.try_emplace(strKey.Wide(), m_entries.size());
    m_entries.emplace_back(std::move(strKey), std::move(strValue));
}

bool SettingsStore::Set(const DualString& strKey, const DualString& strValue) {
    if (strKey.IsEmpty()) return false;
    Append(strKey, strValue);
    return true;
}

bool SettingsStore::Get(const DualString& strKey, DualString& strValue) const {
    if (strKey.IsEmpty()) return false;
    const auto it = m_firstOfKey.find(strKey.Wide());
    if (it == m_firstOfKey.end()) return false;
    strValue = m_entries[it->second].second;
    return true;
}

// The file holds the POP password, so only its owner may read it; it is written beside and then
// put in place, so a failed write (a full disk) never costs the settings already saved.
bool SettingsStore::Write(const DualString& strSection, const std::u16string& strPath, bool bNarrow) const {
    if (strPath.empty()) return false;
    return m_fileSystem.WriteReplacing(strPath, FileAccess::Private, [&](File& file) {
        if (!strSection.IsEmpty()) {
            if (!bNarrow && !file.Write(kUtf16LeMark, sizeof kUtf16LeMark)) return false;
            if (!WriteText(file, u"[" + strSection.Wide() + u"]\r\n", bNarrow)) return false;
        }
        for (const auto& [strKey, strValue] : m_entries) {
            if (!WriteText(file, strKey, bNarrow) || !WriteText(file, u"=", bNarrow) ||
                !WriteText(file, strValue, bNarrow) || !WriteText(file, kLineEnd, bNarrow))
                return false;
        }
        return true;
    });
}

bool SettingsStore::Read(const DualString& strSection, const std::u16string& strPath, bool bNarrow) {
    std::u16string strText;
    if (!ReadText(strPath, bNarrow, strText)) return false;
    m_entries.clear();
    m_firstOfKey.clear();
    Parse(strSection.Wide(), strText);
    return true;
}

bool SettingsStore::ReadText(const std::u16string& strPath, bool bNarrow, std::u16string& strText) const {
    if (strPath.empty()) return false;
    const std::unique_ptr<File> pFile = m_fileSystem.Open(strPath, OpenMode::OpenExisting);
    std::uint64_t nSize = 0;
    if (!pFile || !pFile->GetSize(nSize) || nSize == 0 || nSize > UINT32_MAX) return false;
    std::string strBytes(static_cast<std::size_t>(nSize), '\0');
    std::uint32_t nRead = 0;
    if (!pFile->Read(strBytes.data(), static_cast<std::uint32_t>(nSize), nRead)) return false;
    strBytes.resize(nRead);
    if (bNarrow) {
        // The code page text is taken up to its first zero byte, as a terminated string.
        strBytes.resize(std::min(strBytes.size(), strBytes.find('\0')));
        if (!strBytes.empty()) AnsiCodePage().ToWide(strBytes, strText);
        return true;
    }
    std::size_t nStart = 0;
    if (strBytes.size() >= 2 && strBytes.compare(0, 2, kUtf16LeMark, 2) == 0) nStart = 2;
    // A lone last byte pairs with the zero that ends the read buffer.
    for (std::size_t i = nStart; i < strBytes.size(); i += 2) {
        const auto nLow = static_cast<unsigned char>(strBytes[i]);
        const auto nHigh = i + 1 < strBytes.size() ? static_cast<unsigned char>(strBytes[i + 1]) : 0u;
        const auto c = static_cast<char16_t>(nLow | (nHigh << 8));
        if (c == u'\0') break;
        strText.push_back(c);
    }
    return true;
}

void SettingsStore::Parse(std::u16string_view strSection, std::u16string_view strText) {
    const std::size_t nHeaderEnd = strText.find(kLineEnd);
    if (nHeaderEnd == std::u16string_view::npos) return;
    std::u16string_view strHeader = strText.substr(0, nHeaderEnd);
    if (!strHeader.starts_with(u'[')) return;
    strHeader.remove_prefix(1);
    if (!strHeader.ends_with(u']')) return;
    strHeader.remove_suffix(1);
    if (strHeader != strSection) return;
    // Text after the last line end is not a line: the last entry needs its own CR LF.
    std::size_t nPos = nHeaderEnd + kLineEnd.size();
    for (std::size_t nEnd; (nEnd = strText.find(kLineEnd, nPos)) != std::u16string_view::npos; nPos = nEnd + kLineEnd.size()) {
        const std::u16string_view strLine = strText.substr(nPos, nEnd - nPos);
        const std::size_t nEqual = strLine.find(u'=');
        if (nEqual == std::u16string_view::npos) continue;
        Append(DualString(strLine.substr(0, nEqual)), DualString(strLine.substr(nEqual + 1)));
    }
}

}  // namespace vantrel
