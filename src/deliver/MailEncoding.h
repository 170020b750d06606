#pragma once
#include <string>
#include <string_view>

namespace vantrel {

// Wide text to the device's multi-byte code page (the ANSI code page, Shift-JIS on a Japanese
// handset). Characters the code page lacks become its default character; empty in, empty out.
std::string ToMultiByte(std::u16string_view strWide);
// The way back, for replies and protocol texts; empty in, empty out.
std::u16string FromMultiByte(std::string_view strNarrow);

// Shift-JIS bytes to ISO-2022-JP: only ESC $ B (JIS X 0208) and ESC ( B (ASCII) are produced,
// half-width katakana are widened to JIS X 0208, and the text always ends in ASCII mode.
std::string ShiftJisToIso2022Jp(std::string_view strShiftJis);

// The subject's ISO-2022-JP bytes (escapes included) base64-encoded as one piece: the text of
// a single encoded word, never split however long. The body is sent as plain ISO-2022-JP bytes.
std::string EncodeSubjectBase64(std::u16string_view strSubject);
std::string EncodeMailBody(std::u16string_view strBody);

}  // namespace vantrel
