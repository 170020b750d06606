#include "support/FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "port/Factories.h"
#include "port/TextCodec.h"

namespace vantrel::fuzz {

namespace {

class MemoryFile final : public File {
public:
    explicit MemoryFile(std::shared_ptr<std::string> pContents) : m_pContents(std::move(pContents)) {}

    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) override {
        nRead = static_cast<std::uint32_t>(std::min<std::size_t>(nSize, m_pContents->size() - m_nPos));
        std::memcpy(pData, m_pContents->data() + m_nPos, nRead);
        m_nPos += nRead;
        return true;
    }
    bool Write(const void* pData, std::uint32_t nSize) override {
        m_pContents->replace(m_nPos, nSize, static_cast<const char*>(pData), nSize);
        m_nPos += nSize;
        return true;
    }
    bool GetSize(std::uint64_t& nSize) override {
        nSize = m_pContents->size();
        return true;
    }
    bool SeekToStart() override {
        m_nPos = 0;
        return true;
    }
    bool SeekToEnd() override {
        m_nPos = m_pContents->size();
        return true;
    }

private:
    std::shared_ptr<std::string> m_pContents;
    std::size_t m_nPos = 0;
};

}  // namespace

void Fail(const char* pszWhat, const char* pszFile, int nLine) {
    std::fprintf(stderr, "%s:%d: check failed: %s\n", pszFile, nLine, pszWhat);
    std::abort();
}

void MemoryFileSystem::Put(const std::u16string& strPath, std::string_view bytes) {
    m_files[strPath] = std::make_shared<std::string>(bytes);
}

const std::string* MemoryFileSystem::Get(const std::u16string& strPath) const {
    const auto it = m_files.find(strPath);
    return it == m_files.end() ? nullptr : it->second.get();
}

std::unique_ptr<File> MemoryFileSystem::Open(const std::u16string& strPath, OpenMode mode) {
    auto it = m_files.find(strPath);
    if (mode == OpenMode::CreateAlways || (mode == OpenMode::OpenAlways && it == m_files.end()))
        it = m_files.insert_or_assign(strPath, std::make_shared<std::string>()).first;
    if (it == m_files.end()) return nullptr;
    return std::make_unique<MemoryFile>(it->second);
}

bool MemoryFileSystem::Replace(const std::u16string& strFrom, const std::u16string& strTo) {
    const auto it = m_files.find(strFrom);
    if (it == m_files.end()) return false;
    m_files[strTo] = it->second;
    m_files.erase(strFrom);
    return true;
}

}  // namespace vantrel::fuzz

// Runs once before the first input: every target sees text through the program's code page.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    static const std::unique_ptr<vantrel::TextCodec> s_pCodec = vantrel::CreateAnsiCodec();
    vantrel::SetAnsiCodePage(s_pCodec.get());
    return 0;
}
