// Mail text to ISO-2022-JP: raw bytes taken as Shift-JIS, and the same bytes as UTF-8 text going
// the whole way through the code page (body and base64 subject).
#include "deliver/MailEncoding.h"
#include "settings/TextUtil.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

namespace {

// Reads the output as a mail reader does (escape sequences switch the mode, double-byte text
// comes in pairs) and tells whether it ends in ASCII mode, as every ISO-2022-JP text must.
bool EndsInAscii(std::string_view strJis) {
    bool bDoubleByte = false;
    for (std::size_t i = 0; i < strJis.size();) {
        const std::string_view strRest = strJis.substr(i);
        if (strRest.starts_with("\x1B$B") || strRest.starts_with("\x1B(B")) {
            bDoubleByte = strRest[1] == '$';
            i += 3;
        } else {
            i += bDoubleByte ? 2 : 1;
        }
    }
    return !bDoubleByte;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::string_view input = fuzz::Bytes(pData, nSize);
    FUZZ_CHECK(EndsInAscii(ShiftJisToIso2022Jp(input)));
    const std::u16string strText = Utf8ToUtf16(input);
    FUZZ_CHECK(EndsInAscii(EncodeMailBody(strText)));
    EncodeSubjectBase64(strText);
    return 0;
}
