#pragma once
#include <cstdint>
#include <span>
#include <vector>

namespace vantrel {

// Resource types of a compiled resource script.
namespace rt {
constexpr std::uint16_t kIcon = 3;
constexpr std::uint16_t kMenu = 4;
constexpr std::uint16_t kDialog = 5;
constexpr std::uint16_t kString = 6;
constexpr std::uint16_t kAccelerator = 9;
constexpr std::uint16_t kGroupIcon = 14;
}  // namespace rt

// The program's resources, read from a compiled .res image (the format windres and rc write:
// DWORD-aligned entries, each a header and its data). This is what LoadStringW, FindResource and
// LoadResource serve on the device.
class ResourceModule {
public:
    // The image must outlive the module.
    explicit ResourceModule(std::span<const std::uint8_t> image);

    // False when the image is not a well-formed .res file.
    bool IsValid() const { return m_bValid; }

    // The data of the resource with a numeric type and id (the first language found); empty when
    // there is none.
    std::span<const std::uint8_t> Find(std::uint16_t nType, std::uint16_t nId) const;

    // As LoadStringW: copies at most nBufferSize - 1 code units of string nId and a terminator into
    // pBuffer and returns the number copied; 0 when the string does not exist.
    int LoadStringText(std::uint32_t nId, char16_t* pBuffer, int nBufferSize) const;

    // The resources embedded in the executable at build time.
    static const ResourceModule& Program();

private:
    struct Entry {
        std::uint16_t nType;
        std::uint16_t nId;
        std::span<const std::uint8_t> data;
    };
    std::vector<Entry> m_entries;
    bool m_bValid = false;
};

}  // namespace vantrel
