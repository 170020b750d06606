#include "settings/ResourceModule.h"

#include <algorithm>

namespace vantrel {

std::span<const std::uint8_t> EmbeddedResourceImage();

namespace {

std::uint16_t Word(std::span<const std::uint8_t> b, std::size_t n) {
    return static_cast<std::uint16_t>(b[n] | (b[n + 1] << 8));
}
std::uint32_t Dword(std::span<const std::uint8_t> b, std::size_t n) {
    return static_cast<std::uint32_t>(Word(b, n) | (Word(b, n + 2) << 16));
}

// Reads a type or name field: 0xFFFF followed by an ordinal, or a zero-terminated UTF-16 name
// (kept as "no ordinal"). Returns false when the field runs past nEnd.
bool ReadNameOrOrdinal(std::span<const std::uint8_t> b, std::size_t& n, std::size_t nEnd, int& nOrdinal) {
    if (n + 2 > nEnd) return false;
    if (Word(b, n) == 0xFFFF) {
        if (n + 4 > nEnd) return false;
        nOrdinal = Word(b, n + 2);
        n += 4;
        return true;
    }
    nOrdinal = -1;
    while (n + 2 <= nEnd && Word(b, n) != 0) n += 2;
    if (n + 2 > nEnd) return false;
    n += 2;
    return true;
}

}  // namespace

ResourceModule::ResourceModule(std::span<const std::uint8_t> image) {
    std::size_t n = 0;
    while (n + 8 <= image.size()) {
        const std::uint32_t nDataSize = Dword(image, n);
        const std::uint32_t nHeaderSize = Dword(image, n + 4);
        if (nHeaderSize < 16 || n + nHeaderSize + nDataSize > image.size()) return;
        std::size_t p = n + 8;
        int nType = -1, nName = -1;
        if (!ReadNameOrOrdinal(image, p, n + nHeaderSize, nType) || !ReadNameOrOrdinal(image, p, n + nHeaderSize, nName))
            return;
        if (nType > 0 && nName >= 0)
            m_entries.push_back({static_cast<std::uint16_t>(nType), static_cast<std::uint16_t>(nName),
                                 image.subspan(n + nHeaderSize, nDataSize)});
        n = (n + nHeaderSize + nDataSize + 3) & ~static_cast<std::size_t>(3);
    }
    m_bValid = n >= image.size() && !image.empty();
}

std::span<const std::uint8_t> ResourceModule::Find(std::uint16_t nType, std::uint16_t nId) const {
    const auto it = std::find_if(m_entries.begin(), m_entries.end(),
                                 [&](const Entry& e) { return e.nType == nType && e.nId == nId; });
    return it == m_entries.end() ? std::span<const std::uint8_t>() : it->data;
}

int ResourceModule::LoadStringText(std::uint32_t nId, char16_t* pBuffer, int nBufferSize) const {
    if (!pBuffer || nBufferSize <= 0) return 0;
    pBuffer[0] = u'\0';
    // Strings live in blocks of sixteen: block (id / 16) + 1, each string a length and its units.
    const std::span<const std::uint8_t> block = Find(rt::kString, static_cast<std::uint16_t>((nId >> 4) + 1));
    std::size_t n = 0;
    for (std::uint32_t i = 0; i < (nId & 15); ++i) {
        if (n + 2 > block.size()) return 0;
        n += 2 + 2 * static_cast<std::size_t>(Word(block, n));
    }
    if (n + 2 > block.size()) return 0;
    const std::size_t nLength = Word(block, n);
    if (n + 2 + nLength * 2 > block.size()) return 0;
    const int nCopy = static_cast<int>(std::min<std::size_t>(nLength, static_cast<std::size_t>(nBufferSize - 1)));
    for (int i = 0; i < nCopy; ++i) pBuffer[i] = static_cast<char16_t>(Word(block, n + 2 + 2 * static_cast<std::size_t>(i)));
    pBuffer[nCopy] = u'\0';
    return nCopy;
}

const ResourceModule& ResourceModule::Program() {
    static const ResourceModule module(EmbeddedResourceImage());
    return module;
}

}  // namespace vantrel
