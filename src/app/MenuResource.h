#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "port/WindowModule.h"

namespace vantrel {

class ResourceModule;

// A MENU resource (the classic format the resource compiler writes for MENU statements), read
// into entries: a pop-up carries its children, a separator has neither id nor text. False when
// the bytes end before the menu does or the format is another (MENUEX).
bool ParseMenu(std::span<const std::uint8_t> data, std::vector<MenuEntry>& entries);

// The entries of menu nId, empty when it is missing or malformed.
std::vector<MenuEntry> LoadMenu(const ResourceModule& resources, std::uint16_t nId);

// Accelerator flags of an ACCELERATORS resource entry.
namespace accel {
constexpr std::uint16_t kVirtKey = 0x01;
constexpr std::uint16_t kShift = 0x04;
constexpr std::uint16_t kControl = 0x08;
constexpr std::uint16_t kAlt = 0x10;
constexpr std::uint16_t kLast = 0x80;
}  // namespace accel

struct Accelerator {
    std::uint16_t nFlags = 0;
    std::uint16_t nKey = 0;  // a virtual key with kVirtKey, else a character
    int nCommand = 0;
};

// An ACCELERATORS resource: eight-byte entries, the last one flagged. False when the bytes end
// before the flagged entry.
bool ParseAccelerators(std::span<const std::uint8_t> data, std::vector<Accelerator>& table);

// The key of an accelerator as portable key text ("Ctrl+Shift+A", "F5"), the form toolkits parse;
// empty for a key that has no such name.
std::u16string AcceleratorKeyText(const Accelerator& accelerator);

// Accelerator table nId as shortcuts; keys without a portable name are left out.
std::vector<Shortcut> LoadShortcuts(const ResourceModule& resources, std::uint16_t nId);

}  // namespace vantrel
