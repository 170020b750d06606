#include "app/IconResource.h"

#include <algorithm>
#include <span>

#include "settings/ResourceModule.h"

namespace vantrel {

namespace {

constexpr std::size_t kGroupHeaderSize = 6;
constexpr std::size_t kGroupEntrySize = 14;   // GRPICONDIRENTRY: the image's resource id in the last word
constexpr std::size_t kFileEntrySize = 16;    // ICONDIRENTRY: the image's file offset in the last dword
constexpr std::size_t kImageFields = 8;       // width, height, colours, reserved, planes, bits
constexpr std::uint8_t kPngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

void PutWord(std::vector<std::uint8_t>& out, std::uint32_t n) {
    out.push_back(static_cast<std::uint8_t>(n));
    out.push_back(static_cast<std::uint8_t>(n >> 8));
}

bool IsPng(std::span<const std::uint8_t> image) {
    return image.size() >= sizeof(kPngSignature) && std::equal(std::begin(kPngSignature), std::end(kPngSignature), image.begin());
}

// An ICO file of one image: the directory with the group's description of it, then the image.
std::vector<std::uint8_t> IcoFile(std::span<const std::uint8_t> entry, std::span<const std::uint8_t> image) {
    std::vector<std::uint8_t> file;
    PutWord(file, 0);
    PutWord(file, 1);  // icon
    PutWord(file, 1);  // one image
    file.insert(file.end(), entry.begin(), entry.begin() + kImageFields);
    const std::uint32_t nSize = static_cast<std::uint32_t>(image.size());
    const std::uint32_t nOffset = kGroupHeaderSize + kFileEntrySize;
    PutWord(file, nSize);
    PutWord(file, nSize >> 16);
    PutWord(file, nOffset);
    PutWord(file, nOffset >> 16);
    file.insert(file.end(), image.begin(), image.end());
    return file;
}

}  // namespace

IconImages LoadIcon(const ResourceModule& resources, std::uint16_t nId) {
    const std::span<const std::uint8_t> group = resources.Find(rt::kGroupIcon, nId);
    IconImages images;
    if (group.size() < kGroupHeaderSize || group[2] != 1 || group[3] != 0) return images;
    const std::size_t nCount = group[4] | (group[5] << 8);
    if (group.size() < kGroupHeaderSize + nCount * kGroupEntrySize) return images;
    for (std::size_t i = 0; i < nCount; ++i) {
        const std::span<const std::uint8_t> entry = group.subspan(kGroupHeaderSize + i * kGroupEntrySize, kGroupEntrySize);
        const std::uint16_t nImageId = static_cast<std::uint16_t>(entry[12] | (entry[13] << 8));
        const std::span<const std::uint8_t> image = resources.Find(rt::kIcon, nImageId);
        if (image.empty()) continue;
        if (IsPng(image)) images.emplace_back(image.begin(), image.end());
        else images.push_back(IcoFile(entry, image));
    }
    return images;
}

}  // namespace vantrel
