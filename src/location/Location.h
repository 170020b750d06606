#pragma once
#include <cstdint>
#include <string>

namespace vantrel {

// The current position in every form the templates offer: the Tokyo-datum texts exactly as
// received, their slash forms, the information text, decimal degrees in both datums and the
// degree/minute/second/thousandth integer parts in both datums.
class Location {
public:
    std::u16string m_strNL;
    std::u16string m_strEL;
    std::u16string m_strNML;
    std::u16string m_strEML;
    std::u16string m_strInfo;
    double m_dNorth = 0.0;
    double m_dEast = 0.0;
    double m_dWNorth = 0.0;
    double m_dWEast = 0.0;
    std::int32_t m_nNL[4] = {};
    std::int32_t m_nEL[4] = {};
    std::int32_t m_nWNL[4] = {};
    std::int32_t m_nWEL[4] = {};

    // Empties the texts and zeroes every number, so that a failed acquisition never leaves the
    // previous position behind.
    void Reset();

    // Fills the record from a combined position text "N<lat>E<lon>/<info>". False when there is no
    // "/" or nothing before it; a head without "E" fills only the information text.
    bool SetFromText(const std::u16string& strText);

    // Fills the coordinate texts, slash forms, parts and both datums from "<lat>E<lon>" where the
    // leading character before <lat> has already been dropped; used for the head of a combined
    // text and for a service reply behind "pos=N".
    void SetCoordinates(const std::u16string& strNorth, const std::u16string& strEast);

    // True when a position has been acquired (the latitude text is not empty).
    bool HasPosition() const { return !m_strNL.empty(); }

    static double ToDecimal(const std::int32_t nParts[4]);
    static bool ToSlashForm(const std::u16string& strText, std::u16string& strOut);
    static bool ParseParts(const std::u16string& strText, std::int32_t* pParts);
    // The datum step; every pointer is required, a missing one makes it return false untouched.
    static bool ConvertTokyoToWgs84(double* pNorth, double* pEast, double* pWNorth, double* pWEast,
                                    const std::int32_t* pNL, const std::int32_t* pEL,
                                    std::int32_t* pWNL, std::int32_t* pWEL);

    // The numeric fields in the "[Debug Location]" layout.
    std::u16string DebugDump() const;
};

}  // namespace vantrel
