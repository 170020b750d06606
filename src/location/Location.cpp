#include "location/Location.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "settings/Format.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// Reciprocals of 3600000, 3600 and 60 kept as multiplications: dividing would round differently
// in the last bit, and positions are compared as text downstream.
constexpr double kPerThousandth = 2.7777777777777776e-7;
constexpr double kPerSecond = 0.0002777777777777778;
constexpr double kPerMinute = 0.016666666666666666;

// trunc() into 32 bits. Real positions are far inside the range; absurd parts (a module or a
// service sending "3333333333") give WGS84 values beyond it, which saturate instead of being
// undefined.
std::int32_t TruncateToInt32(double x) {
    if (std::isnan(x)) return 0;
    if (x <= -2147483649.0) return INT32_MIN;
    if (x >= 2147483648.0) return INT32_MAX;
    return static_cast<std::int32_t>(x);
}

// Degrees to degree/minute/second/thousandth, truncating at every step. The fraction is taken
// from the double's own whole part, which equals the degree part whenever that is in range, so
// the minutes stay below 60 even when the degrees saturate.
void SplitDegrees(double x, std::int32_t* pParts) {
    const double dFraction = x - std::trunc(x);
    const std::int32_t nMinutes = TruncateToInt32(dFraction * 60);
    // Seconds with fraction: ×60000 then ×0.001 is the way the device forms ×60; kept as two steps.
    const double t = ((dFraction * 60 - nMinutes) * 60000.0) * 0.001;
    const std::int32_t nSeconds = TruncateToInt32(t);
    pParts[0] = TruncateToInt32(x);
    pParts[1] = nMinutes;
    pParts[2] = nSeconds;
    pParts[3] = TruncateToInt32((t - nSeconds) * 1000);
}

}  // namespace

void Location::Reset() {
    m_strNL.clear();
    m_strEL.clear();
    m_strNML.clear();
    m_strEML.clear();
    m_strInfo.clear();
    m_dNorth = m_dEast = m_dWNorth = m_dWEast = 0.0;
    for (int i = 0; i < 4; ++i) m_nNL[i] = m_nEL[i] = m_nWNL[i] = m_nWEL[i] = 0;
}

bool Location::SetFromText(const std::u16string& strText) {
    const std::size_t nSlash = strText.find(u'/');
    if (nSlash == std::u16string::npos || nSlash == 0) return false;
    const std::u16string strHead = strText.substr(0, nSlash);
    const std::size_t nE = strHead.find(u'E');
    if (nE != std::u16string::npos) {
        // The leading "N" is skipped without being examined.
        const std::size_t nStart = nE == 0 ? 0 : 1;
        SetCoordinates(strHead.substr(nStart, nE - nStart), strHead.substr(nE + 1));
    }
    if (nSlash + 1 < strText.size()) m_strInfo = strText.substr(nSlash + 1);
    return true;
}

void Location::SetCoordinates(const std::u16string& strNorth, const std::u16string& strEast) {
    m_strNL = strNorth;
    m_strEL = strEast;
    ToSlashForm(m_strNL, m_strNML);
    ToSlashForm(m_strEL, m_strEML);
    ParseParts(m_strNL, m_nNL);
    ParseParts(m_strEL, m_nEL);
    ConvertTokyoToWgs84(&m_dNorth, &m_dEast, &m_dWNorth, &m_dWEast, m_nNL, m_nEL, m_nWNL, m_nWEL);
}

double Location::ToDecimal(const std::int32_t nParts[4]) {
    return ((static_cast<double>(nParts[3]) * kPerThousandth + static_cast<double>(nParts[2]) * kPerSecond) +
            static_cast<double>(nParts[1]) * kPerMinute) +
           static_cast<double>(nParts[0]);
}

// The last "/" of the whole text turns back, not the last "." of the coordinate: a longitude that
// runs on to the end of a service reply may carry a "/" of its own behind its digits.
bool Location::ToSlashForm(const std::u16string& strText, std::u16string& strOut) {
    if (strText.find(u'.') == std::u16string::npos) return false;
    std::u16string strSlash = strText;
    std::replace(strSlash.begin(), strSlash.end(), u'.', u'/');
    strSlash[strSlash.rfind(u'/')] = u'.';
    strOut = std::move(strSlash);
    return true;
}

bool Location::ParseParts(const std::u16string& strText, std::int32_t* pParts) {
    if (!pParts) return false;
    // Empty pieces (two dots in a row) count as 0; pieces beyond the fourth are ignored.
    std::size_t nStart = 0;
    for (int nSlot = 0; nSlot < 4; ++nSlot) {
        const std::size_t nDot = strText.find(u'.', nStart);
        pParts[nSlot] = WtoL(std::u16string_view(strText).substr(nStart, nDot - nStart));
        if (nDot == std::u16string::npos) break;
        nStart = nDot + 1;
    }
    return true;
}

bool Location::ConvertTokyoToWgs84(double* pNorth, double* pEast, double* pWNorth, double* pWEast,
                                   const std::int32_t* pNL, const std::int32_t* pEL, std::int32_t* pWNL,
                                   std::int32_t* pWEL) {
    if (!pNorth || !pEast || !pWNorth || !pWEast || !pNL || !pEL || !pWNL || !pWEL) return false;
    const double phi = ToDecimal(pNL);
    const double lambda = ToDecimal(pEL);
    *pNorth = phi;
    *pEast = lambda;
    // A fixed linear approximation of the datum shift around Japan, in this exact order.
    *pWNorth = ((phi - phi * 0.00010695) + lambda * 0.000017464) + 0.0046017;
    *pWEast = ((lambda - phi * 0.000046038) - lambda * 0.000083043) + 0.01004;
    SplitDegrees(*pWNorth, pWNL);
    SplitDegrees(*pWEast, pWEL);
    return true;
}

std::u16string Location::DebugDump() const {
    return FormatText(u"[Debug Location]\r\n\t\t\t\t\t   m_dNorth=%f, m_dEast=%f\r\n\t\t\t\t\t   m_dWNorth=%f, "
                      u"m_dWEast=%f\r\n\t\t\t\t\t   m_nNL:%d.%d.%d.%d, m_nEL:%d.%d.%d.%d\r\n",
                      m_dNorth, m_dEast, m_dWNorth, m_dWEast, m_nNL[0], m_nNL[1], m_nNL[2], m_nNL[3], m_nEL[0],
                      m_nEL[1], m_nEL[2], m_nEL[3]);
}

}  // namespace vantrel
