#include <cstdio>
#include <string>
#include <vector>

#include "NmCommand.h"
#include "NmConfig.h"
#include "port/DlgConnect.h"

namespace dlgconnect {

namespace {

// nmcli's terse output escapes ':' and '\' in values with a backslash.
std::string Unescape(const std::string& strValue) {
    std::string strOut;
    for (std::size_t i = 0; i < strValue.size(); ++i) {
        if (strValue[i] == '\\' && i + 1 < strValue.size()) ++i;
        strOut += strValue[i];
    }
    return strOut;
}

// The data line as one NetworkManager connection, chosen by the configuration (NmConfig.h).
class NmConnection final : public vantrel::DlgConnect {
public:
    explicit NmConnection(NmConfig config) : m_config(std::move(config)) {}
    ~NmConnection() = default;

    int Connect(std::uintptr_t, std::uintptr_t, std::uint32_t nWait, std::uint32_t, const char16_t*) override {
        if (!CheckConfigured()) return 0;
        const int nSeconds = m_config.nWaitSeconds > 0 ? m_config.nWaitSeconds
                                                       : static_cast<int>((nWait + 999) / 1000);
        std::string strOutput;
        const int nExit = RunCommand({"nmcli", "--wait", std::to_string(nSeconds), "connection", "up", "id",
                                      m_config.strConnection},
                                     strOutput, LimitMs(nSeconds));
        if (nExit != 0) Report("nmcli could not bring up", nExit);
        return nExit == 0 ? 1 : 0;
    }

    int Disconnect(std::uint32_t, const char16_t*) override {
        if (!CheckConfigured()) return 0;
        std::string strOutput;
        const int nExit = RunCommand({"nmcli", "connection", "down", "id", m_config.strConnection}, strOutput,
                                     LimitMs(kDownWaitSeconds));
        if (nExit != 0) Report("nmcli could not take down", nExit);
        return nExit == 0 ? 1 : 0;
    }

    // Without a connection of our own the line belongs to the system: it exists when the machine
    // is online, and the program never holds it.
    int IsConnected() override {
        if (m_config.strConnection.empty()) return IsSystemOnline() ? 1 : 0;
        return IsActive() ? 1 : 0;
    }
    int GetConnection() override { return IsActive() ? 1 : 0; }

private:
    static constexpr int kDownWaitSeconds = 10;
    static constexpr int kQueryWaitSeconds = 5;
    static constexpr int kNotFound = 127;  // the exit status of a program that could not be started

    // nmcli has its own --wait; the extra margin covers its start and its reply.
    static int LimitMs(int nSeconds) { return (nSeconds + 5) * 1000; }

    bool CheckConfigured() {
        if (!m_config.strConnection.empty()) return true;
        std::fputs("dlgconnect: no connection configured (set VANTREL_NM_CONNECTION or connection= in dlgconnect.conf)\n",
                   stderr);
        return false;
    }

    void Report(const char* pszWhat, int nExit) {
        std::fprintf(stderr, "dlgconnect: %s \"%s\" (exit %d)\n", pszWhat, m_config.strConnection.c_str(), nExit);
    }

    // NetworkManager's overall state ("connected", "connected (site only)", "disconnected", ...).
    // A machine without NetworkManager manages its network otherwise and counts as online.
    bool IsSystemOnline() {
        std::string strOutput;
        const int nExit = RunCommand({"nmcli", "-t", "-f", "STATE", "general"}, strOutput, LimitMs(kQueryWaitSeconds));
        if (nExit == kNotFound) return true;
        return nExit == 0 && strOutput.rfind("connected", 0) == 0;
    }

    bool IsActive() {
        if (m_config.strConnection.empty()) return false;
        std::string strOutput;
        if (RunCommand({"nmcli", "-t", "-f", "NAME", "connection", "show", "--active"}, strOutput,
                       LimitMs(kQueryWaitSeconds)) != 0)
            return false;
        std::size_t nStart = 0;
        while (nStart < strOutput.size()) {
            std::size_t nEnd = strOutput.find('\n', nStart);
            if (nEnd == std::string::npos) nEnd = strOutput.size();
            if (Unescape(strOutput.substr(nStart, nEnd - nStart)) == m_config.strConnection) return true;
            nStart = nEnd + 1;
        }
        return false;
    }

    NmConfig m_config;
};

}  // namespace

}  // namespace dlgconnect

extern "C" {

__attribute__((visibility("default"))) vantrel::DlgConnect* CreateObjectDlgConnect() {
    return new dlgconnect::NmConnection(dlgconnect::NmConfig::Load());
}

__attribute__((visibility("default"))) void DeleteObjectDlgConnect(vantrel::DlgConnect* pConnection) {
    delete static_cast<dlgconnect::NmConnection*>(pConnection);
}

}
