#include "app/MenuResource.h"

#include <string>

#include "settings/ResourceModule.h"

namespace vantrel {

namespace {

constexpr std::uint16_t kMfPopup = 0x10;
constexpr std::uint16_t kMfEnd = 0x80;
constexpr std::uint16_t kMfSeparator = 0x800;
constexpr std::size_t kAcceleratorSize = 8;

std::uint16_t WordAt(std::span<const std::uint8_t> data, std::size_t nPos) {
    return static_cast<std::uint16_t>(data[nPos] | (data[nPos + 1] << 8));
}

// Reads the items of one menu level up to the one flagged as its end; nested pop-ups recurse.
class MenuReader {
public:
    explicit MenuReader(std::span<const std::uint8_t> data) : m_data(data) {}

    bool Level(std::vector<MenuEntry>& entries, int nDepth) {
        // Resource compilers nest pop-ups a few levels deep at most; a deeper one is damage.
        if (nDepth > 16) return false;
        for (;;) {
            std::uint16_t nFlags = 0;
            if (!Word(nFlags)) return false;
            MenuEntry entry;
            std::uint16_t nId = 0;
            if (!(nFlags & kMfPopup) && !Word(nId)) return false;
            entry.nId = nId;
            if (!Text(entry.strText)) return false;
            if (nFlags & kMfPopup) {
                if (!Level(entry.children, nDepth + 1)) return false;
            } else {
                // The compiler writes MENUITEM SEPARATOR as an item without id and text.
                entry.bSeparator = (nFlags & kMfSeparator) || (nId == 0 && entry.strText.empty());
            }
            entries.push_back(std::move(entry));
            if (nFlags & kMfEnd) return true;
        }
    }

    bool Word(std::uint16_t& n) {
        if (m_nPos + 2 > m_data.size()) return false;
        n = WordAt(m_data, m_nPos);
        m_nPos += 2;
        return true;
    }

private:
    bool Text(std::u16string& str) {
        for (std::uint16_t c = 0;;) {
            if (!Word(c)) return false;
            if (c == 0) return true;
            str.push_back(static_cast<char16_t>(c));
        }
    }

    std::span<const std::uint8_t> m_data;
    std::size_t m_nPos = 0;
};

// Names of the virtual keys a shortcut can use: letters, digits, function keys and a few others.
std::u16string VirtualKeyName(std::uint16_t nKey) {
    if ((nKey >= '0' && nKey <= '9') || (nKey >= 'A' && nKey <= 'Z')) return std::u16string(1, static_cast<char16_t>(nKey));
    if (nKey >= 0x70 && nKey <= 0x87) {
        const std::string strName = "F" + std::to_string(nKey - 0x6F);
        return std::u16string(strName.begin(), strName.end());
    }
    switch (nKey) {
    case 0x0D: return u"Return";
    case 0x1B: return u"Esc";
    case 0x2D: return u"Ins";
    case 0x2E: return u"Del";
    default: return {};
    }
}

}  // namespace

bool ParseMenu(std::span<const std::uint8_t> data, std::vector<MenuEntry>& entries) {
    entries.clear();
    MenuReader reader(data);
    std::uint16_t nVersion = 0, nHeaderSize = 0;
    if (!reader.Word(nVersion) || !reader.Word(nHeaderSize) || nVersion != 0 || nHeaderSize != 0) return false;
    return reader.Level(entries, 0);
}

std::vector<MenuEntry> LoadMenu(const ResourceModule& resources, std::uint16_t nId) {
    std::vector<MenuEntry> entries;
    if (!ParseMenu(resources.Find(rt::kMenu, nId), entries)) entries.clear();
    return entries;
}

bool ParseAccelerators(std::span<const std::uint8_t> data, std::vector<Accelerator>& table) {
    table.clear();
    for (std::size_t nPos = 0; nPos + kAcceleratorSize <= data.size(); nPos += kAcceleratorSize) {
        const std::uint16_t nFlags = WordAt(data, nPos);
        table.push_back({static_cast<std::uint16_t>(nFlags & ~accel::kLast), WordAt(data, nPos + 2),
                         WordAt(data, nPos + 4)});
        if (nFlags & accel::kLast) return true;
    }
    table.clear();
    return false;
}

std::u16string AcceleratorKeyText(const Accelerator& accelerator) {
    std::u16string strKey;
    if (accelerator.nFlags & accel::kVirtKey) {
        strKey = VirtualKeyName(accelerator.nKey);
    } else if (accelerator.nKey > 0x20 && accelerator.nKey < 0x7F) {
        // A character accelerator names the character itself; Ctrl with a character is a control code.
        strKey = std::u16string(1, static_cast<char16_t>(accelerator.nKey));
    }
    if (strKey.empty()) return {};
    std::u16string strText;
    if (accelerator.nFlags & accel::kControl) strText += u"Ctrl+";
    if (accelerator.nFlags & accel::kAlt) strText += u"Alt+";
    if (accelerator.nFlags & accel::kShift) strText += u"Shift+";
    return strText + strKey;
}

std::vector<Shortcut> LoadShortcuts(const ResourceModule& resources, std::uint16_t nId) {
    std::vector<Accelerator> table;
    std::vector<Shortcut> shortcuts;
    if (!ParseAccelerators(resources.Find(rt::kAccelerator, nId), table)) return shortcuts;
    for (const Accelerator& accelerator : table) {
        std::u16string strKeys = AcceleratorKeyText(accelerator);
        if (!strKeys.empty()) shortcuts.push_back({std::move(strKeys), accelerator.nCommand});
    }
    return shortcuts;
}

}  // namespace vantrel
