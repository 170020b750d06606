#include "settings/Base64.h"

#include <array>
#include <cstdint>

namespace vantrel {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> MakeDecodeTable() {
    std::array<std::int8_t, 256> table{};
    for (auto& n : table) n = -1;
    for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::int8_t>(i);
    return table;
}

constexpr auto kDecode = MakeDecodeTable();

}  // namespace

std::string Base64Encode(std::string_view bytes) {
    std::string strOut;
    strOut.reserve((bytes.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const std::uint32_t n = (static_cast<unsigned char>(bytes[i]) << 16) |
                                (static_cast<unsigned char>(bytes[i + 1]) << 8) | static_cast<unsigned char>(bytes[i + 2]);
        strOut += kAlphabet[n >> 18];
        strOut += kAlphabet[(n >> 12) & 63];
        strOut += kAlphabet[(n >> 6) & 63];
        strOut += kAlphabet[n & 63];
    }
    const std::size_t nRest = bytes.size() - i;
    if (nRest > 0) {
        std::uint32_t n = static_cast<unsigned char>(bytes[i]) << 16;
        if (nRest == 2) n |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        strOut += kAlphabet[n >> 18];
        strOut += kAlphabet[(n >> 12) & 63];
        strOut += nRest == 2 ? kAlphabet[(n >> 6) & 63] : '=';
        strOut += '=';
    }
    return strOut;
}

std::string Base64Decode(std::string_view text) {
    std::string strOut;
    std::uint32_t nAccumulator = 0;
    int nBits = 0;
    for (char c : text) {
        if (c == '=') break;
        const int nValue = kDecode[static_cast<unsigned char>(c)];
        if (nValue < 0) continue;
        nAccumulator = (nAccumulator << 6) | static_cast<std::uint32_t>(nValue);
        nBits += 6;
        if (nBits >= 8) {
            nBits -= 8;
            strOut.push_back(static_cast<char>((nAccumulator >> nBits) & 0xFF));
        }
    }
    return strOut;
}

}  // namespace vantrel
