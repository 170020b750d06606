#include "location/Placeholders.h"

#include <array>
#include <new>
#include <string_view>

#include "location/Location.h"
#include "port/Clock.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

struct Placeholder {
    std::u16string_view strKeyword;
    std::u16string strValue;
};

// The matcher tries the rows in this order; no keyword is a prefix of another, so the order only
// has to be kept. Matching is case-sensitive: $MM is the month, $mm the minute.
std::array<Placeholder, 15> BuildTable(const Location& location, const SystemTime& now) {
    const auto& wn = location.m_nWNL;
    const auto& we = location.m_nWEL;
    return {{
        {u"$nl", location.m_strNL},
        {u"$el", location.m_strEL},
        {u"$nml", location.m_strNML},
        {u"$eml", location.m_strEML},
        {u"$wnl", FormatText(u"%d.%d.%d.%d", wn[0], wn[1], wn[2], wn[3])},
        {u"$wel", FormatText(u"%d.%d.%d.%d", we[0], we[1], we[2], we[3])},
        {u"$wnml", FormatText(u"%d/%d/%d.%d", wn[0], wn[1], wn[2], wn[3])},
        {u"$weml", FormatText(u"%d/%d/%d.%d", we[0], we[1], we[2], we[3])},
        {u"$pc", location.m_strInfo},
        {u"$YY", FormatText(u"%04d", now.nYear)},
        {u"$MM", FormatText(u"%02d", now.nMonth)},
        {u"$DD", FormatText(u"%02d", now.nDay)},
        {u"$hh", FormatText(u"%02d", now.nHour)},
        {u"$mm", FormatText(u"%02d", now.nMinute)},
        {u"$ss", FormatText(u"%02d", now.nSecond)},
    }};
}

}  // namespace

bool ExpandPlaceholders(const Location& location, Clock& clock, const std::u16string& strTemplate,
                        std::u16string& strOutput) {
    // One reading of the clock: every time placeholder of one expansion shows the same instant.
    const auto table = BuildTable(location, clock.LocalTime());
    std::u16string strWork;
    try {
        strWork = strTemplate.substr(0, strTemplate.find(u'\0'));
    } catch (const std::bad_alloc&) {
        return false;
    }
    const std::u16string_view strText(strWork);
    std::size_t i = 0;
    while (i < strText.size()) {
        if (strText[i] != u'$') {
            strOutput.push_back(strText[i++]);
            continue;
        }
        if (i + 1 >= strText.size()) break;  // a trailing lone "$" vanishes
        if (strText[i + 1] == u'$') {
            strOutput.push_back(u'$');
            i += 2;
            continue;
        }
        const std::u16string_view strRest = strText.substr(i);
        std::size_t nConsumed = 1;  // an unknown placeholder drops only its "$"
        for (const Placeholder& entry : table) {
            if (strRest.size() >= entry.strKeyword.size() && strRest.starts_with(entry.strKeyword)) {
                strOutput.append(entry.strValue);
                nConsumed = entry.strKeyword.size();
                break;
            }
        }
        i += nConsumed;
    }
    return true;
}

}  // namespace vantrel
