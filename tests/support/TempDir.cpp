#include "support/TempDir.h"

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

std::string ReadFileBytes(const std::string& strPath) {
    std::ifstream in(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFileBytes(const std::string& strPath, const std::string& strBytes) {
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size()));
}

}  // namespace vantrel::test
