#include "acquire/PortResolver.h"

#include "port/SystemInfo.h"

namespace vantrel {

namespace {

bool IsProgramPort(const std::u16string& strName) {
    std::u16string strUpper;
    for (char16_t c : strName) strUpper.push_back((c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c);
    return strUpper == u"COM1:" || strUpper == u"COM1";
}

}  // namespace

PortResolver::PortResolver(const std::u16string& strOption, SystemInfo& system) {
    if (!strOption.empty()) {
        m_strConfigured = strOption;
    } else if (!system.GetEnv(kEnvironment, m_strConfigured) || m_strConfigured.empty()) {
        m_strConfigured = kDefaultDevice;
    }
}

std::u16string PortResolver::Resolve(const std::u16string& strPortName) const {
    if (!IsProgramPort(strPortName)) return strPortName;
    if (IsSimulated() && !m_strSimulated.empty()) return m_strSimulated;
    return m_strConfigured;
}

}  // namespace vantrel
