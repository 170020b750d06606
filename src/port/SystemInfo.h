#pragma once
#include <cstdint>
#include <string>

namespace vantrel {

// Process facts and the platform's error numbers.
class SystemInfo {
public:
    virtual ~SystemInfo() = default;
    // Full path of the running executable (GetModuleFileNameW, /proc/self/exe).
    virtual std::u16string ExecutablePath() = 0;
    // False when the variable is not set.
    virtual bool GetEnv(const char* pszName, std::u16string& strValue) = 0;
    // The calling thread's last error number (GetLastError, errno).
    virtual std::uint32_t LastError() = 0;
    // The system's text for an error number; false when there is none.
    virtual bool ErrorText(std::uint32_t nError, std::u16string& strText) = 0;
};

}  // namespace vantrel
