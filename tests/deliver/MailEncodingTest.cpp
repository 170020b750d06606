#include <gtest/gtest.h>
#include <iconv.h>

#include <string>
#include <vector>

#include "deliver/MailEncoding.h"
#include "settings/Base64.h"
#include "settings/TextUtil.h"

namespace vantrel {
namespace {

const std::string kToJis = "\x1B$B";
const std::string kToAscii = "\x1B(B";

// glibc's own converter: an implementation independent of ours.
std::string IconvToIso2022Jp(const std::string& strUtf8) {
    iconv_t cd = iconv_open("ISO-2022-JP", "UTF-8");
    EXPECT_NE(cd, reinterpret_cast<iconv_t>(-1));
    std::string strIn = strUtf8;
    std::string strOut(strIn.size() * 8 + 16, '\0');
    char* pIn = strIn.data();
    char* pOut = strOut.data();
    std::size_t nIn = strIn.size(), nOut = strOut.size();
    EXPECT_NE(iconv(cd, &pIn, &nIn, &pOut, &nOut), static_cast<std::size_t>(-1)) << strUtf8;
    iconv(cd, nullptr, nullptr, &pOut, &nOut);
    iconv_close(cd);
    strOut.resize(strOut.size() - nOut);
    return strOut;
}

std::string Convert(const std::u16string& strWide) { return ShiftJisToIso2022Jp(ToMultiByte(strWide)); }

// Legend: texts of kanji, kana and ASCII; glibc must produce the same bytes as Shift-JIS -> ours
// (ASCII alone passes without escapes, a switch to kanji and back ends in ASCII).
TEST(MailEncoding, AgreesWithGlibcOnKanjiAndAscii) {
    const std::vector<std::string> texts = {
        "", "Position N35.39.29.157E139.44.51.000 /~!@#$%^&*()_+{}|", "abc漢", "漢字abc漢字", "ＡＢＣ１２３、世界！",
        "ソ十表能申", "亜唖娃阿 熙 腕 弌 凜 熙",  // first and last of both JIS levels, trail bytes 0x5C/0x7E/0x80/0x9E/0x9F
        "櫻",                                   // the last lead byte below the kana, 0x9F
    };
    for (const std::string& strText : texts)
        EXPECT_EQ(Convert(Utf8ToUtf16(strText)), IconvToIso2022Jp(strText)) << strText;
}

// Legend: half-width text -> the full-width text it must read as (marks combine only where JIS
// X 0208 has the combined character).
TEST(MailEncoding, SoundMarksCombineWhereJisHasTheCharacter) {
    const struct {
        const char16_t* pszHalf;
        const char* pszFull;
    } cases[] = {
        {u"aｶﾞ", "aガ"}, {u"ﾄﾞ", "ド"},   {u"ﾊﾞﾋﾞﾌﾞﾍﾞﾎﾞ", "バビブベボ"}, {u"ﾊﾟﾎﾟ", "パポ"},
        {u"ｳﾞ", "ヴ"},   {u"ｱﾞ", "ア゛"}, {u"ｶﾟ", "カ゜"},              {u"ﾞｰ", "゛ー"},
    };
    for (const auto& c : cases) EXPECT_EQ(Convert(c.pszHalf), IconvToIso2022Jp(c.pszFull)) << c.pszFull;
}

TEST(MailEncoding, ByteOutsideTheCharacterSetsAndCutLeadByte) {
    // 0xA0 has no JIS X 0201 character: it is sent as the ideographic space.
    EXPECT_EQ(ShiftJisToIso2022Jp("a\xA0z"), "a" + kToJis + "\x21\x21" + kToAscii + "z");
    // A lead byte with no trail byte left is dropped, and the text still ends in ASCII mode.
    EXPECT_EQ(ShiftJisToIso2022Jp("\x8A\xBF\x88"), kToJis + "\x34\x41" + kToAscii);
    // An ESC of the text would switch the reader's character set behind the converter's back and
    // could leave the mail in double-byte mode; it is not passed on.
    EXPECT_EQ(ShiftJisToIso2022Jp("N35\x1B$B"), "N35$B");
    EXPECT_EQ(ShiftJisToIso2022Jp("\x8A\xBF\x1B(Ba"), kToJis + "\x34\x41" + kToAscii + "(Ba");
}

// However long, the subject stays one Base64 piece: a line break would end the header.
TEST(MailEncoding, LongSubjectIsOneBase64PieceOfTheJisText) {
    const std::u16string strLong(200, u'漢');
    const std::string strEncoded = EncodeSubjectBase64(strLong);
    EXPECT_EQ(strEncoded.find_first_of("\r\n "), std::string::npos);
    EXPECT_EQ(Base64Decode(strEncoded), Convert(strLong));
}

}  // namespace
}  // namespace vantrel
