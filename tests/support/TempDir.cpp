#include "support/TempDir.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "settings/TextUtil.h"

namespace vantrel::test {

TempDir::TempDir() {
    std::string strTemplate = (std::filesystem::temp_directory_path() / "vantrel-test-XXXXXX").string();
    if (!mkdtemp(strTemplate.data())) throw std::runtime_error("mkdtemp failed");
    m_strPath = strTemplate;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_strPath, ec);
}

std::u16string TempDir::WideFile(const std::string& strName) const { return Utf8ToUtf16(File(strName)); }

std::u16string TempDir::WidePath() const { return Utf8ToUtf16(m_strPath); }

std::vector<std::string> TempDir::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_strPath)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadFileBytes(const std::string& strPath) {
    std::ifstream in(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::string& strPath, const std::string& strBytes) {
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
}

std::string ReadUtf16File(const std::string& strPath) {
    const std::string strBytes = ReadFileBytes(strPath);
    if (strBytes.compare(0, 2, kUtf16LeMark, 2) != 0) return "(no mark)" + strBytes;
    std::u16string strText;
    for (std::size_t i = 2; i + 1 < strBytes.size(); i += 2)
        strText += static_cast<char16_t>(static_cast<unsigned char>(strBytes[i]) |
                                         static_cast<unsigned char>(strBytes[i + 1]) << 8);
    return Utf16ToUtf8(strText);
}

}  // namespace vantrel::test
