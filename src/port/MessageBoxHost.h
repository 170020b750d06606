#pragma once
#include <cstdint>
#include <string>

namespace vantrel {

// Opaque handle of a window; 0 means none.
using WindowHandle = std::uintptr_t;

// Message box styles and answers, with the Windows values the program is written against.
namespace mb {
constexpr std::uint32_t kOk = 0x0;
constexpr std::uint32_t kOkCancel = 0x1;
constexpr std::uint32_t kYesNo = 0x4;
constexpr std::uint32_t kButtonMask = 0x7;
constexpr std::uint32_t kIconHand = 0x10;
constexpr std::uint32_t kIconExclamation = 0x30;
constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;
constexpr int kIdYes = 6;
constexpr int kIdNo = 7;
}  // namespace mb

// Shows one message box and returns the button pressed.
class MessageBoxHost {
public:
    virtual ~MessageBoxHost() = default;
    virtual int Show(WindowHandle hOwner, const std::u16string& strText,
                     const std::u16string& strCaption, std::uint32_t nFlags) = 0;
};

}  // namespace vantrel
