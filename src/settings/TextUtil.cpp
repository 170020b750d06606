#include "settings/TextUtil.h"

#include <climits>

namespace vantrel {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf16(std::u16string& strOut, char32_t cp) {
    if (cp >= 0x10000) {
        cp -= 0x10000;
        strOut.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
        strOut.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
    } else {
        strOut.push_back(static_cast<char16_t>(cp));
    }
}

void AppendUtf8(std::string& strOut, char32_t cp) {
    if (cp < 0x80) {
        strOut.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        strOut.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        strOut.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        strOut.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        strOut.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        strOut.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        strOut.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        strOut.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        strOut.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        strOut.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

// Decodes one UTF-8 sequence at i; advances i past it.
char32_t DecodeUtf8(std::string_view s, std::size_t& i) {
    const auto lead = static_cast<unsigned char>(s[i++]);
    if (lead < 0x80) return lead;
    int nMore = 0;
    char32_t cp = 0;
    if ((lead & 0xE0) == 0xC0) { nMore = 1; cp = lead & 0x1F; }
    else if ((lead & 0xF0) == 0xE0) { nMore = 2; cp = lead & 0x0F; }
    else if ((lead & 0xF8) == 0xF0) { nMore = 3; cp = lead & 0x07; }
    else return kReplacement;
    for (int k = 0; k < nMore; ++k) {
        if (i >= s.size() || (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) return kReplacement;
        cp = (cp << 6) | (static_cast<unsigned char>(s[i++]) & 0x3F);
    }
    const bool bOverlong = (nMore == 1 && cp < 0x80) || (nMore == 2 && cp < 0x800) || (nMore == 3 && cp < 0x10000);
    if (bOverlong || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return kReplacement;
    return cp;
}

}  // namespace

std::u16string Utf8ToUtf16(std::string_view strUtf8) {
    std::u16string strOut;
    strOut.reserve(strUtf8.size());
    for (std::size_t i = 0; i < strUtf8.size();) AppendUtf16(strOut, DecodeUtf8(strUtf8, i));
    return strOut;
}

std::string Utf16ToUtf8(std::u16string_view strUtf16) {
    std::string strOut;
    strOut.reserve(strUtf16.size());
    for (std::size_t i = 0; i < strUtf16.size(); ++i) {
        char32_t cp = strUtf16[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < strUtf16.size() && strUtf16[i + 1] >= 0xDC00 &&
            strUtf16[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (strUtf16[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        AppendUtf8(strOut, cp);
    }
    return strOut;
}

std::int32_t WtoL(std::u16string_view strText) {
    std::size_t i = 0;
    while (i < strText.size() && (strText[i] == u' ' || (strText[i] >= u'\t' && strText[i] <= u'\r'))) ++i;
    bool bNegative = false;
    if (i < strText.size() && (strText[i] == u'+' || strText[i] == u'-')) bNegative = strText[i++] == u'-';
    long long nValue = 0;
    for (; i < strText.size() && strText[i] >= u'0' && strText[i] <= u'9'; ++i) {
        nValue = nValue * 10 + (strText[i] - u'0');
        if (nValue > static_cast<long long>(INT32_MAX) + 1) nValue = static_cast<long long>(INT32_MAX) + 1;
    }
    if (bNegative) nValue = -nValue;
    if (nValue > INT32_MAX) return INT32_MAX;
    if (nValue < INT32_MIN) return INT32_MIN;
    return static_cast<std::int32_t>(nValue);
}

std::string ToUtf16LeBytes(std::u16string_view strText) {
    std::string strBytes;
    strBytes.reserve(strText.size() * 2);
    for (char16_t c : strText) {
        strBytes.push_back(static_cast<char>(c & 0xFF));
        strBytes.push_back(static_cast<char>(c >> 8));
    }
    return strBytes;
}

}  // namespace vantrel
