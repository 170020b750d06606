#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "port/Factories.h"
#include "port/SystemInfo.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

class PosixSystemInfo final : public SystemInfo {
public:
    std::u16string ExecutablePath() override {
        std::vector<char> buffer(4096);
        const ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
        if (n <= 0) return {};
        return Utf8ToUtf16(std::string_view(buffer.data(), static_cast<std::size_t>(n)));
    }
    bool GetEnv(const char* pszName, std::u16string& strValue) override {
        const char* pszValue = std::getenv(pszName);
        if (!pszValue) return false;
        strValue = Utf8ToUtf16(pszValue);
        return true;
    }
    std::uint32_t LastError() override { return static_cast<std::uint32_t>(errno); }
    bool ErrorText(std::uint32_t nError, std::u16string& strText) override {
        char buffer[256] = {};
        const char* pszText = strerror_r(static_cast<int>(nError), buffer, sizeof buffer);
        if (!pszText || !*pszText) return false;
        strText = Utf8ToUtf16(pszText);
        return true;
    }
};

}  // namespace

std::unique_ptr<SystemInfo> CreateSystemInfo() { return std::make_unique<PosixSystemInfo>(); }

}  // namespace vantrel
