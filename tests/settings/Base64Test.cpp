#include <gtest/gtest.h>

#include "settings/Base64.h"

namespace vantrel {
namespace {

TEST(Base64, StandardVectors) {
    // Legend: bytes, their base64 (RFC 4648 test vectors plus code page bytes).
    const struct {
        std::string strBytes;
        const char* pszText;
    } cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"},
        {"\x88\xDC\x93\x78:$nl\r\n", "iNyTeDokbmwNCg=="},
        {std::string("\xFF\xFE\x00", 3), "//4A"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Base64Encode(c.strBytes), c.pszText);
        EXPECT_EQ(Base64Decode(c.pszText), c.strBytes);
    }
}

TEST(Base64, DecodingStopsAtTheFirstPadAndSkipsStrangers) {
    EXPECT_EQ(Base64Decode("Zm9v=YmFy"), "foo");
    EXPECT_EQ(Base64Decode("Zm9v\r\nYm Fy"), "foobar");
    EXPECT_EQ(Base64Decode("Z"), "");      // six bits make no byte
    EXPECT_EQ(Base64Decode("Zm9"), "fo");  // an unpadded tail keeps its whole bytes
}

}  // namespace
}  // namespace vantrel
