#pragma once
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "port/Clock.h"
#include "port/FileSystem.h"
#include "port/MessageBoxHost.h"

// Shared by the fuzz targets: in-memory stand-ins for the seams the parsers reach, and the checks
// that turn a broken property into a finding. The ANSI code page is the program's own (iconv CP932),
// installed once before the first input.

namespace vantrel::fuzz {

// Stops the run with a message; libFuzzer keeps the input that got here.
[[noreturn]] void Fail(const char* pszWhat, const char* pszFile, int nLine);
#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : ::vantrel::fuzz::Fail(#condition, __FILE__, __LINE__))

inline std::string_view Bytes(const std::uint8_t* pData, std::size_t nSize) {
    return {reinterpret_cast<const char*>(pData), nSize};
}

// Files that live in a map: enough for the readers and writers of the settings and the cache.
class MemoryFileSystem final : public FileSystem {
public:
    void Put(const std::u16string& strPath, std::string_view bytes);
    // The contents, or null when there is no such file.
    const std::string* Get(const std::u16string& strPath) const;

    std::unique_ptr<File> Open(const std::u16string& strPath, OpenMode mode) override;
    bool IsDirectory(const std::u16string& strPath) override { return false; }
    bool Replace(const std::u16string& strFrom, const std::u16string& strTo) override;
    bool Remove(const std::u16string& strPath) override { return m_files.erase(strPath) > 0; }
    char16_t Separator() const override { return u'/'; }

private:
    std::map<std::u16string, std::shared_ptr<std::string>> m_files;
};

// Always Monday 6 July 2009, 09:05:03 local, Japan's offset.
class FixedClock final : public Clock {
public:
    SystemTime LocalTime() override { return {2009, 7, 1, 6, 9, 5, 3, 0}; }
    SystemTime UtcTime() override { return {2009, 7, 1, 6, 0, 5, 3, 0}; }
    bool TimeZoneBias(long& nBiasMinutes) override {
        nBiasMinutes = -540;
        return true;
    }
    std::uint32_t TickCount() override { return 123456; }
    void Sleep(std::uint32_t) override {}
};

// Answers every box with OK; the targets run with boxes off, so this is only a guard.
class SilentBoxes final : public MessageBoxHost {
public:
    int Show(WindowHandle, const std::u16string&, const std::u16string&, std::uint32_t) override { return mb::kIdOk; }
};

}  // namespace vantrel::fuzz
