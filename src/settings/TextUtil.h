#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// UTF-8 <-> UTF-16 without a code page: paths and terminal output on POSIX, test fixtures.
// Invalid sequences become U+FFFD.
std::u16string Utf8ToUtf16(std::string_view strUtf8);
std::string Utf16ToUtf8(std::u16string_view strUtf16);

// _wtol: leading blanks, an optional sign and decimal digits; anything else ends the number and no
// digits give 0. The result is clamped to the signed 32-bit range as on the device.
std::int32_t WtoL(std::u16string_view strText);

// Little-endian UTF-16 bytes of a wide text, as every file of the program stores it.
std::string ToUtf16LeBytes(std::u16string_view strText);
// The byte-order mark FF FE that starts every text file the program writes.
inline constexpr char kUtf16LeMark[2] = {'\xFF', '\xFE'};

}  // namespace vantrel
