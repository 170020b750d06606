// The module's answer as the serial channel hands it to the session: code page bytes, widened.
// The identification and both parsers read it, and a parsed position goes into the record.
#include "acquire/WsimParsers.h"
#include "location/Location.h"
#include "port/TextCodec.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    std::u16string strAnswer;
    AnsiCodePage().ToWide(fuzz::Bytes(pData, nSize), strAnswer);
    IsAnswerComplete(strAnswer);
    const int nId = IdentifyAnswer(strAnswer);

    // The dialog runs each parser only on an answer identified as its command's.
    std::u16string strCsid;
    if (ParseCsId(strAnswer, strCsid)) FUZZ_CHECK(nId == wsim::kK20);
    std::u16string strText;
    if (ParseSimpleCoordinates(strAnswer, strText)) {
        FUZZ_CHECK(nId == wsim::kLbcQuery);
        Location location;
        FUZZ_CHECK(location.SetFromText(strText));
    }
    return 0;
}
