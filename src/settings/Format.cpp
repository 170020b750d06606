#include "settings/Format.h"

#include <cstdio>

namespace vantrel {

namespace {

struct Directive {
    std::string strFlags;
    int nWidth = -1;
    int nPrecision = -1;
    int nBits = 32;
    char cType = 0;
};

// Widths and precisions beyond this are refused: padding to billions of characters would exhaust
// memory, and a width of INT_MIN from an argument has no positive counterpart to align left with.
constexpr int kMaxNumber = 100000;

bool IsFlag(char16_t c) { return c == u'-' || c == u'+' || c == u' ' || c == u'#' || c == u'0'; }

class Formatter {
public:
    Formatter(std::u16string& strOut, std::u16string_view strFormat, std::span<const FormatArg> args)
        : m_strOut(strOut), m_strFormat(strFormat), m_args(args) {}

    bool Run() {
        while (m_nPos < m_strFormat.size()) {
            const char16_t c = m_strFormat[m_nPos++];
            if (c != u'%') {
                m_strOut.push_back(c);
                continue;
            }
            if (!Conversion()) return false;
        }
        return true;
    }

private:
    const FormatArg* NextArg() { return m_nArg < m_args.size() ? &m_args[m_nArg++] : nullptr; }

    bool ReadNumber(int& nValue) {
        if (m_nPos < m_strFormat.size() && m_strFormat[m_nPos] == u'*') {
            ++m_nPos;
            const FormatArg* pArg = NextArg();
            if (!pArg || pArg->GetKind() != FormatArg::Kind::Integer) return false;
            nValue = static_cast<std::int32_t>(pArg->Bits());
            return nValue >= -kMaxNumber && nValue <= kMaxNumber;
        }
        nValue = 0;
        while (m_nPos < m_strFormat.size() && m_strFormat[m_nPos] >= u'0' && m_strFormat[m_nPos] <= u'9') {
            nValue = nValue * 10 + (m_strFormat[m_nPos++] - u'0');
            if (nValue > kMaxNumber) return false;
        }
        return true;
    }

    bool ParseDirective(Directive& conv) {
        while (m_nPos < m_strFormat.size() && IsFlag(m_strFormat[m_nPos]))
            conv.strFlags.push_back(static_cast<char>(m_strFormat[m_nPos++]));
        if (m_nPos < m_strFormat.size() && (m_strFormat[m_nPos] == u'*' ||
                                            (m_strFormat[m_nPos] >= u'1' && m_strFormat[m_nPos] <= u'9'))) {
            if (!ReadNumber(conv.nWidth)) return false;
            if (conv.nWidth < 0) {  // a negative "*" width means left alignment
                conv.strFlags.push_back('-');
                conv.nWidth = -conv.nWidth;
            }
        }
        if (m_nPos < m_strFormat.size() && m_strFormat[m_nPos] == u'.') {
            ++m_nPos;
            if (!ReadNumber(conv.nPrecision)) return false;
        }
        ParseLength(conv);
        if (m_nPos >= m_strFormat.size()) return false;
        const char16_t cType = m_strFormat[m_nPos++];
        if (cType > 0x7F) return false;
        conv.cType = static_cast<char>(cType);
        return true;
    }

    void ParseLength(Directive& conv) {
        const std::u16string_view rest = m_strFormat.substr(m_nPos);
        if (rest.starts_with(u"ll") || rest.starts_with(u"I64")) {
            conv.nBits = 64;
            m_nPos += rest[0] == u'l' ? 2 : 3;
        } else if (rest.starts_with(u"I32")) {
            m_nPos += 3;
        } else if (rest.starts_with(u"l") || rest.starts_with(u"w")) {
            ++m_nPos;  // long is 32 bits on Windows; "w" marks wide text, which %s already is
        } else if (rest.starts_with(u"h")) {
            conv.nBits = 16;
            ++m_nPos;
        }
    }

    bool Conversion() {
        Directive conv;
        if (!ParseDirective(conv)) return false;
        switch (conv.cType) {
        case '%': m_strOut.push_back(u'%'); return true;
        case 'd': case 'i': case 'u': case 'x': case 'X': case 'o': return Integer(conv);
        case 'c': return Character(conv);
        case 'f': case 'F': case 'e': case 'E': case 'g': case 'G': return Floating(conv);
        case 's': case 'S': return Text(conv);
        default: return false;
        }
    }

    std::string NarrowDirective(const Directive& conv, const char* pszLength) const {
        std::string strSpec = "%" + conv.strFlags;
        if (conv.nWidth >= 0) strSpec += std::to_string(conv.nWidth);
        if (conv.nPrecision >= 0) strSpec += "." + std::to_string(conv.nPrecision);
        return strSpec + pszLength + conv.cType;
    }

    template <class T>
    void AppendPrintf(const std::string& strSpec, T value) {
        const int nLength = std::snprintf(nullptr, 0, strSpec.c_str(), value);
        if (nLength <= 0) return;
        std::string strText(static_cast<std::size_t>(nLength) + 1, '\0');
        std::snprintf(strText.data(), strText.size(), strSpec.c_str(), value);
        for (int i = 0; i < nLength; ++i) m_strOut.push_back(static_cast<unsigned char>(strText[i]));
    }

    bool Integer(const Directive& conv) {
        const FormatArg* pArg = NextArg();
        if (!pArg || pArg->GetKind() != FormatArg::Kind::Integer) return false;
        const std::uint64_t nBits = pArg->Bits();
        const bool bSigned = conv.cType == 'd' || conv.cType == 'i';
        if (conv.nBits == 64) {
            if (bSigned) AppendPrintf(NarrowDirective(conv, "ll"), static_cast<long long>(nBits));
            else AppendPrintf(NarrowDirective(conv, "ll"), static_cast<unsigned long long>(nBits));
        } else if (conv.nBits == 16) {
            if (bSigned) AppendPrintf(NarrowDirective(conv, ""), static_cast<int>(static_cast<std::int16_t>(nBits)));
            else AppendPrintf(NarrowDirective(conv, ""), static_cast<unsigned>(static_cast<std::uint16_t>(nBits)));
        } else {
            if (bSigned) AppendPrintf(NarrowDirective(conv, ""), static_cast<int>(static_cast<std::int32_t>(nBits)));
            else AppendPrintf(NarrowDirective(conv, ""), static_cast<unsigned>(static_cast<std::uint32_t>(nBits)));
        }
        return true;
    }

    bool Floating(const Directive& conv) {
        const FormatArg* pArg = NextArg();
        if (!pArg || pArg->GetKind() != FormatArg::Kind::Double) return false;
        AppendPrintf(NarrowDirective(conv, ""), pArg->Double());
        return true;
    }

    void Pad(const Directive& conv, std::size_t nLength, bool bBefore) {
        const bool bLeft = conv.strFlags.find('-') != std::string::npos;
        if (conv.nWidth > 0 && static_cast<std::size_t>(conv.nWidth) > nLength && bLeft != bBefore)
            m_strOut.append(static_cast<std::size_t>(conv.nWidth) - nLength, u' ');
    }

    bool Character(const Directive& conv) {
        const FormatArg* pArg = NextArg();
        if (!pArg || pArg->GetKind() != FormatArg::Kind::Integer) return false;
        Pad(conv, 1, true);
        m_strOut.push_back(static_cast<char16_t>(pArg->Bits()));
        Pad(conv, 1, false);
        return true;
    }

    bool Text(const Directive& conv) {
        const FormatArg* pArg = NextArg();
        if (!pArg || pArg->GetKind() != FormatArg::Kind::Text) return false;
        std::u16string_view strText = pArg->Text();
        // The C library stops at a terminator; so does a precision.
        strText = strText.substr(0, strText.find(u'\0'));
        if (conv.nPrecision >= 0) strText = strText.substr(0, static_cast<std::size_t>(conv.nPrecision));
        Pad(conv, strText.size(), true);
        m_strOut.append(strText);
        Pad(conv, strText.size(), false);
        return true;
    }

    std::u16string& m_strOut;
    std::u16string_view m_strFormat;
    std::span<const FormatArg> m_args;
    std::size_t m_nPos = 0;
    std::size_t m_nArg = 0;
};

}  // namespace

bool FormatInto(std::u16string& strOut, std::u16string_view strFormat, std::span<const FormatArg> args) {
    return Formatter(strOut, strFormat, args).Run();
}

}  // namespace vantrel
