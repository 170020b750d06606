#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <type_traits>

#include "port/Factories.h"
#include "port/TextCodec.h"

namespace vantrel {

namespace {

const iconv_t kNoDescriptor = reinterpret_cast<iconv_t>(-1);

template <class Unit>
bool IsAscii(std::basic_string_view<Unit> strText) {
    return std::all_of(strText.begin(), strText.end(),
                       [](Unit c) { return static_cast<std::make_unsigned_t<Unit>>(c) < 0x80; });
}

// iconv between UTF-16LE and the code page standing in for the device's CP_ACP. A character the
// code page lacks, or a byte sequence invalid in it, becomes "?" as the Windows conversions do
// without flags; the conversion never stops half-way.
//
// Nearly every text the program converts (settings values, URLs, headers) is plain ASCII, and the
// program converts hundreds of them at start: such a text is copied unit for unit when the code
// page keeps ASCII as it is, and the two descriptors are opened once, not for every text.
class IconvCodec final : public TextCodec {
public:
    explicit IconvCodec(std::string strCodePage) : m_strCodePage(std::move(strCodePage)) {}
    ~IconvCodec() override {
        for (const Direction& direction : {m_toNarrow, m_toWide})
            if (direction.cd != kNoDescriptor) iconv_close(direction.cd);
    }

    bool ToNarrow(std::u16string_view strWide, std::string& strNarrow) override {
        strNarrow.clear();
        if (strWide.empty()) return false;
        std::lock_guard lock(m_mutex);
        if (IsAscii(strWide) && KeepsAscii()) {
            strNarrow.assign(strWide.begin(), strWide.end());
            return true;
        }
        const iconv_t cd = Descriptor(m_toNarrow, m_strCodePage.c_str(), "UTF-16LE");
        if (cd == kNoDescriptor) return false;
        Convert(cd, reinterpret_cast<const char*>(strWide.data()), strWide.size() * 2, 2, "?", strNarrow);
        return !strNarrow.empty();
    }

    bool ToWide(std::string_view strNarrow, std::u16string& strWide) override {
        strWide.clear();
        if (strNarrow.empty()) return false;
        std::lock_guard lock(m_mutex);
        if (IsAscii(strNarrow) && KeepsAscii()) {
            strWide.assign(strNarrow.begin(), strNarrow.end());
            return true;
        }
        const iconv_t cd = Descriptor(m_toWide, "UTF-16LE", m_strCodePage.c_str());
        if (cd == kNoDescriptor) return false;
        std::string strOut;
        Convert(cd, strNarrow.data(), strNarrow.size(), 1, std::string("?\0", 2), strOut);
        strWide.assign(reinterpret_cast<const char16_t*>(strOut.data()), strOut.size() / 2);
        return !strWide.empty();
    }

private:
    struct Direction {
        iconv_t cd = kNoDescriptor;
        bool bTried = false;
    };

    static iconv_t Descriptor(Direction& direction, const char* pszTo, const char* pszFrom) {
        if (!direction.bTried) {
            direction.bTried = true;
            direction.cd = iconv_open(pszTo, pszFrom);
        }
        return direction.cd;
    }

    // Whether the 128 ASCII characters come through both ways unchanged; asked once.
    bool KeepsAscii() {
        if (m_nKeepsAscii < 0) {
            std::u16string strWide(128, u'\0');
            std::string strNarrow(128, '\0');
            for (int i = 0; i < 128; ++i) strWide[i] = static_cast<char16_t>(strNarrow[i] = static_cast<char>(i));
            const iconv_t cdNarrow = Descriptor(m_toNarrow, m_strCodePage.c_str(), "UTF-16LE");
            const iconv_t cdWide = Descriptor(m_toWide, "UTF-16LE", m_strCodePage.c_str());
            std::string strToNarrow, strToWide;
            if (cdNarrow != kNoDescriptor && cdWide != kNoDescriptor) {
                Convert(cdNarrow, reinterpret_cast<const char*>(strWide.data()), strWide.size() * 2, 2, "?", strToNarrow);
                Convert(cdWide, strNarrow.data(), strNarrow.size(), 1, std::string("?\0", 2), strToWide);
            }
            m_nKeepsAscii = strToNarrow == strNarrow &&
                            strToWide == std::string(reinterpret_cast<const char*>(strWide.data()), strWide.size() * 2);
        }
        return m_nKeepsAscii == 1;
    }

    // Converts the nIn bytes at pIn, replacing each unit of nSkip input bytes that cannot be
    // converted by strReplacement (already in the target encoding). Leaves cd in its initial state.
    static void Convert(iconv_t cd, const char* pIn, std::size_t nIn, std::size_t nSkip,
                        const std::string& strReplacement, std::string& strOut) {
        char* pNext = const_cast<char*>(pIn);  // iconv does not write to its input
        std::size_t nInLeft = nIn;
        char buffer[4096];
        while (nInLeft > 0) {
            char* pOut = buffer;
            std::size_t nOutLeft = sizeof buffer;
            const std::size_t n = iconv(cd, &pNext, &nInLeft, &pOut, &nOutLeft);
            strOut.append(buffer, static_cast<std::size_t>(pOut - buffer));
            if (n != static_cast<std::size_t>(-1)) break;
            if (errno == E2BIG) continue;
            // EILSEQ or EINVAL: skip one unit (a whole surrogate pair counts as one character).
            std::size_t nBad = nSkip;
            if (nSkip == 2 && nInLeft >= 4) {
                const unsigned nUnit =
                    static_cast<unsigned char>(pNext[0]) | (static_cast<unsigned char>(pNext[1]) << 8);
                if (nUnit >= 0xD800 && nUnit <= 0xDBFF) nBad = 4;
            }
            nBad = std::min(nBad, nInLeft);
            pNext += nBad;
            nInLeft -= nBad;
            strOut += strReplacement;
        }
        char* pOut = buffer;
        std::size_t nOutLeft = sizeof buffer;
        iconv(cd, nullptr, nullptr, &pOut, &nOutLeft);  // flush any shift state, back to the initial one
        strOut.append(buffer, static_cast<std::size_t>(pOut - buffer));
    }

    const std::string m_strCodePage;
    std::mutex m_mutex;  // the code page is the process's: any thread may convert
    Direction m_toNarrow;
    Direction m_toWide;
    int m_nKeepsAscii = -1;  // -1: not asked yet
};

}  // namespace

std::unique_ptr<TextCodec> CreateAnsiCodec() {
    const char* pszCodePage = std::getenv("VANTREL_CODEPAGE");
    return std::make_unique<IconvCodec>(pszCodePage && *pszCodePage ? pszCodePage : "CP932");
}

}  // namespace vantrel
