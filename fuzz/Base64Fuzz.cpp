// Base64 both ways: any bytes survive encoding and decoding; any text decodes without harm.
#include "settings/Base64.h"
#include "support/FuzzSupport.h"

using namespace vantrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    const std::string_view input = fuzz::Bytes(pData, nSize);
    const std::string strEncoded = Base64Encode(input);
    FUZZ_CHECK(strEncoded.size() == (nSize + 2) / 3 * 4);
    FUZZ_CHECK(Base64Decode(strEncoded) == input);
    Base64Decode(input);
    return 0;
}
