#pragma once
#include <cstdint>

// The connection object that the data-line library hands out. The program and the library meet
// only through this layout: four virtual operations in this slot order and two C entry points, so
// the class must not gain virtual functions (a virtual destructor would shift the slots); the
// library that created an object also deletes it.

namespace vantrel {

class DlgConnect {
public:
    // Brings the data line up. The program passes 0, 0, 3000, the message facility's flags word
    // and its log folder. Returns 1 when the line is up; anything else is a failure.
    virtual int Connect(std::uintptr_t nReserved1, std::uintptr_t nReserved2, std::uint32_t nWait,
                        std::uint32_t nMessageFlags, const char16_t* pszLogFolder) = 0;
    // Returns 1 when the line was dropped, 2 when the user cancelled; anything else: not dropped.
    virtual int Disconnect(std::uint32_t nMessageFlags, const char16_t* pszLogFolder) = 0;
    // Non-zero when a connection already exists.
    virtual int IsConnected() = 0;
    // Non-zero while the program's connection is open.
    virtual int GetConnection() = 0;

protected:
    ~DlgConnect() = default;
};

}  // namespace vantrel

extern "C" {
using CreateObjectDlgConnectFn = vantrel::DlgConnect* (*)();
using DeleteObjectDlgConnectFn = void (*)(vantrel::DlgConnect*);
}

namespace vantrel {
inline constexpr char kCreateObjectDlgConnect[] = "CreateObjectDlgConnect";
inline constexpr char kDeleteObjectDlgConnect[] = "DeleteObjectDlgConnect";
}  // namespace vantrel
