#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "port/Factories.h"
#include "port/TextCodec.h"

namespace vantrel {

namespace {

// iconv between UTF-16LE and the code page standing in for the device's CP_ACP. A character the
// code page lacks, or a byte sequence invalid in it, becomes "?" as the Windows conversions do
// without flags; the conversion never stops half-way.
class IconvCodec final : public TextCodec {
public:
    explicit IconvCodec(std::string strCodePage) : m_strCodePage(std::move(strCodePage)) {}

    bool ToNarrow(std::u16string_view strWide, std::string& strNarrow) override {
        strNarrow.clear();
        if (strWide.empty()) return false;
        std::string strIn(reinterpret_cast<const char*>(strWide.data()), strWide.size() * 2);
        if (!Convert("UTF-16LE", m_strCodePage.c_str(), strIn, 2, "?", strNarrow)) return false;
        return !strNarrow.empty();
    }

    bool ToWide(std::string_view strNarrow, std::u16string& strWide) override {
        strWide.clear();
        if (strNarrow.empty()) return false;
        std::string strOut;
        if (!Convert(m_strCodePage.c_str(), "UTF-16LE", std::string(strNarrow), 1, std::string("?\0", 2), strOut))
            return false;
        strWide.assign(reinterpret_cast<const char16_t*>(strOut.data()), strOut.size() / 2);
        return !strWide.empty();
    }

private:
    // Converts strIn, replacing each unit of nSkip input bytes that cannot be converted by
    // strReplacement (already in the target encoding).
    static bool Convert(const char* pszFrom, const char* pszTo, std::string strIn, std::size_t nSkip,
                        const std::string& strReplacement, std::string& strOut) {
        iconv_t cd = iconv_open(pszTo, pszFrom);
        if (cd == reinterpret_cast<iconv_t>(-1)) return false;
        char* pIn = strIn.data();
        std::size_t nInLeft = strIn.size();
        char buffer[4096];
        while (nInLeft > 0) {
            char* pOut = buffer;
            std::size_t nOutLeft = sizeof buffer;
            const std::size_t n = iconv(cd, &pIn, &nInLeft, &pOut, &nOutLeft);
            strOut.append(buffer, static_cast<std::size_t>(pOut - buffer));
            if (n != static_cast<std::size_t>(-1)) break;
            if (errno == E2BIG) continue;
            // EILSEQ or EINVAL: skip one unit (a whole surrogate pair counts as one character).
            std::size_t nBad = nSkip;
            if (nSkip == 2 && nInLeft >= 4) {
                const unsigned nUnit = static_cast<unsigned char>(pIn[0]) | (static_cast<unsigned char>(pIn[1]) << 8);
                if (nUnit >= 0xD800 && nUnit <= 0xDBFF) nBad = 4;
            }
            nBad = std::min(nBad, nInLeft);
            pIn += nBad;
            nInLeft -= nBad;
            strOut += strReplacement;
        }
        char* pOut = buffer;
        std::size_t nOutLeft = sizeof buffer;
        iconv(cd, nullptr, nullptr, &pOut, &nOutLeft);  // flush any shift state
        strOut.append(buffer, static_cast<std::size_t>(pOut - buffer));
        iconv_close(cd);
        return true;
    }

    std::string m_strCodePage;
};

}  // namespace

std::unique_ptr<TextCodec> CreateAnsiCodec() {
    const char* pszCodePage = std::getenv("VANTREL_CODEPAGE");
    return std::make_unique<IconvCodec>(pszCodePage && *pszCodePage ? pszCodePage : "CP932");
}

}  // namespace vantrel
