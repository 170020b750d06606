#include "deliver/MailEncoding.h"

#include <cstdint>

#include "port/TextCodec.h"
#include "settings/Base64.h"

namespace vantrel {

namespace {

constexpr char kEscJisX0208[] = "\x1B$B";
constexpr char kEscAscii[] = "\x1B(B";

constexpr unsigned char kEsc = 0x1B;
constexpr unsigned char kVoicedMark = 0xDE;
constexpr unsigned char kSemiVoicedMark = 0xDF;

// JIS X 0201 katakana 0xA0-0xDF to their JIS X 0208 codes (row 1 punctuation, row 5 katakana).
// 0xA0 is unassigned in JIS X 0201 and in Shift-JIS; it takes the place of the no-break space of
// the Latin-1 upper half, so it becomes the ideographic space 0x2121: the output stays valid
// JIS X 0208 and the byte reads as a blank rather than vanishing.
constexpr std::uint16_t kHalfWidthKana[64] = {
    0x2121, 0x2123, 0x2156, 0x2157, 0x2122, 0x2126, 0x2572, 0x2521,  // A0-A7  (sp)。「」、・ヲァ
    0x2523, 0x2525, 0x2527, 0x2529, 0x2563, 0x2565, 0x2567, 0x2543,  // A8-AF  ィゥェォャュョッ
    0x213C, 0x2522, 0x2524, 0x2526, 0x2528, 0x252A, 0x252B, 0x252D,  // B0-B7  ーアイウエオカキ
    0x252F, 0x2531, 0x2533, 0x2535, 0x2537, 0x2539, 0x253B, 0x253D,  // B8-BF  クケコサシスセソ
    0x253F, 0x2541, 0x2544, 0x2546, 0x2548, 0x254A, 0x254B, 0x254C,  // C0-C7  タチツテトナニヌ
    0x254D, 0x254E, 0x254F, 0x2552, 0x2555, 0x2558, 0x255B, 0x255E,  // C8-CF  ネノハヒフヘホマ
    0x255F, 0x2560, 0x2561, 0x2562, 0x2564, 0x2566, 0x2568, 0x2569,  // D0-D7  ミムメモヤユヨラ
    0x256A, 0x256B, 0x256C, 0x256D, 0x256F, 0x2573, 0x212B, 0x212C,  // D8-DF  リルレロワン゛゜
};

bool IsLeadByte(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool IsHalfWidthKana(unsigned char c) { return c >= 0xA0 && c <= 0xDF; }

// The JIS X 0208 code of a half-width katakana, combined with a following sound mark when JIS
// X 0208 has the combined character (ガ..ド, バ..ボ, パ..ポ, ヴ). The full-width voiced form of
// each of these sits one code above its plain form, the semi-voiced form two above.
std::uint16_t WidenKana(unsigned char c, unsigned char cNext, bool& bMarkUsed) {
    const std::uint16_t nCode = kHalfWidthKana[c - 0xA0];
    bMarkUsed = false;
    if (cNext == kVoicedMark) {
        if ((c >= 0xB6 && c <= 0xC4) || (c >= 0xCA && c <= 0xCE)) {
            bMarkUsed = true;
            return static_cast<std::uint16_t>(nCode + 1);
        }
        if (c == 0xB3) {
            bMarkUsed = true;
            return 0x2574;  // ヴ
        }
    } else if (cNext == kSemiVoicedMark && c >= 0xCA && c <= 0xCE) {
        bMarkUsed = true;
        return static_cast<std::uint16_t>(nCode + 2);
    }
    return nCode;
}

// The standard arithmetic Shift-JIS to JIS X 0208 mapping: each lead byte covers two JIS rows,
// the trail byte's range (below or from 0x9F) picks the row. Codes outside JIS X 0208 (vendor
// rows) map through the same arithmetic.
std::uint16_t ShiftJisToJis(unsigned char cLead, unsigned char cTrail) {
    int nRow = (cLead <= 0x9F ? cLead - 0x81 : cLead - 0xC1) * 2 + 0x21;
    int nCell;
    if (cTrail >= 0x9F) {
        ++nRow;
        nCell = cTrail - 0x7E;
    } else {
        nCell = cTrail - (cTrail >= 0x80 ? 0x20 : 0x1F);
    }
    return static_cast<std::uint16_t>(((nRow & 0xFF) << 8) | (nCell & 0xFF));
}

class JisWriter {
public:
    void Single(char c) {
        if (m_bDoubleByte) {
            m_strOut += kEscAscii;
            m_bDoubleByte = false;
        }
        m_strOut += c;
    }
    void Double(std::uint16_t nCode) {
        if (!m_bDoubleByte) {
            m_strOut += kEscJisX0208;
            m_bDoubleByte = true;
        }
        m_strOut += static_cast<char>(nCode >> 8);
        m_strOut += static_cast<char>(nCode & 0xFF);
    }
    std::string Finish() {
        if (m_bDoubleByte) m_strOut += kEscAscii;
        return std::move(m_strOut);
    }

private:
    std::string m_strOut;
    bool m_bDoubleByte = false;
};

}  // namespace

std::string ToMultiByte(std::u16string_view strWide) {
    std::string strNarrow;
    if (strWide.empty() || !AnsiCodePage().ToNarrow(strWide, strNarrow)) strNarrow.clear();
    return strNarrow;
}

std::u16string FromMultiByte(std::string_view strNarrow) {
    std::u16string strWide;
    if (strNarrow.empty() || !AnsiCodePage().ToWide(strNarrow, strWide)) strWide.clear();
    return strWide;
}

// The output is not bounded by the input length times a constant small enough for a fixed
// buffer: a lone half-width katakana between ASCII characters takes eight bytes.
std::string ShiftJisToIso2022Jp(std::string_view strShiftJis) {
    JisWriter writer;
    const std::size_t nLength = strShiftJis.size();
    for (std::size_t i = 0; i < nLength; ++i) {
        const auto c = static_cast<unsigned char>(strShiftJis[i]);
        const auto cNext = i + 1 < nLength ? static_cast<unsigned char>(strShiftJis[i + 1]) : 0;
        if (IsHalfWidthKana(c)) {
            bool bMarkUsed = false;
            writer.Double(WidenKana(c, cNext, bMarkUsed));
            if (bMarkUsed) ++i;
        } else if (IsLeadByte(c)) {
            // A lead byte cut off by the end of the text has no character to give; it is dropped.
            if (i + 1 >= nLength) break;
            writer.Double(ShiftJisToJis(c, cNext));
            ++i;
        } else if (c != kEsc) {
            writer.Single(static_cast<char>(c));
        }
        // An ESC of the text itself is dropped: passed on, it would switch the reader's character
        // set without the converter knowing, and the mail could end in double-byte mode.
    }
    return writer.Finish();
}

std::string EncodeSubjectBase64(std::u16string_view strSubject) {
    return Base64Encode(ShiftJisToIso2022Jp(ToMultiByte(strSubject)));
}

std::string EncodeMailBody(std::u16string_view strBody) { return ShiftJisToIso2022Jp(ToMultiByte(strBody)); }

}  // namespace vantrel
