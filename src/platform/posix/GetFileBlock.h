#pragma once
#include <cstdint>

// The parameter block the replacement file-dialog library takes on this platform: the fields of
// the Win32 OPENFILENAMEW that the program fills, in C layout, texts in UTF-16. An entry point
// (gsGetOpenFileName, gsGetSaveFileName) returns nonzero when the user chose a file, its full path
// then being in lpstrFile, and 0 when the user cancelled.
extern "C" {

struct VantrelOpenFileName {
    std::uint32_t lStructSize;     // sizeof(VantrelOpenFileName)
    std::uintptr_t hwndOwner;
    const char16_t* lpstrFilter;   // pairs of zero-terminated texts (shown, pattern), then an empty one
    std::uint32_t nFilterIndex;    // 1 is the first pair
    char16_t* lpstrFile;           // in: empty; out: the chosen path, zero-terminated
    std::uint32_t nMaxFile;        // code units lpstrFile holds, the terminator included
    const char16_t* lpstrInitialDir;
    const char16_t* lpstrTitle;
    std::uint32_t Flags;           // ofn::k...
};

typedef int (*VantrelGetFileNameProc)(VantrelOpenFileName* pBlock);

}  // extern "C"

namespace vantrel::ofn {
// The Win32 OFN_ values.
constexpr std::uint32_t kOverwritePrompt = 0x2;
constexpr std::uint32_t kPathMustExist = 0x800;
constexpr std::uint32_t kFileMustExist = 0x1000;
}  // namespace vantrel::ofn
