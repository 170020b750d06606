#include <cstdio>
#include <memory>
#include <string>

#include "NmConfig.h"
#include "NmLine.h"
#include "port/DlgConnect.h"

namespace dlgconnect {

namespace {

// NetworkManager normally answers within milliseconds; an answer that finds it slower goes on and
// picks its state up from the signals once it comes.
constexpr int kReadyWaitMs = 2000;
// A configured connection's state is fetched once the program's start is over, well before the
// connect button first asks (a second after the start); a short command that asks nothing ends
// before and never loads NetworkManager's client.
constexpr int kWarmUpDelayMs = 500;
constexpr int kDownWaitMs = 10000;

// The data line as one NetworkManager connection, chosen by the configuration (NmConfig.h).
class NmConnection final : public vantrel::DlgConnect {
public:
    // The connect button follows a configured connection, so its state is fetched in the
    // background; otherwise only IsConnected needs NetworkManager, and asks for it itself.
    explicit NmConnection(NmConfig config) : m_config(std::move(config)), m_line(m_config.strConnection, kReadyWaitMs) {
        if (!m_config.strConnection.empty()) m_line.Start(kWarmUpDelayMs);
    }
    ~NmConnection() = default;

    int Connect(std::uintptr_t, std::uintptr_t, std::uint32_t nWait, std::uint32_t, const char16_t*) override {
        if (!CheckConfigured()) return 0;
        const int nWaitMs = m_config.nWaitSeconds > 0 ? m_config.nWaitSeconds * 1000 : static_cast<int>(nWait);
        return Report("could not bring up", m_line.Activate(nWaitMs));
    }

    int Disconnect(std::uint32_t, const char16_t*) override {
        if (!CheckConfigured()) return 0;
        return Report("could not take down", m_line.Deactivate(kDownWaitMs));
    }

    // Without a connection of our own the line belongs to the system: it exists when the machine
    // is online, and the program never holds it.
    int IsConnected() override {
        if (m_config.strConnection.empty()) return m_line.IsOnline() ? 1 : 0;
        return m_line.IsActive() ? 1 : 0;
    }
    int GetConnection() override { return !m_config.strConnection.empty() && m_line.IsActive() ? 1 : 0; }

private:
    bool CheckConfigured() {
        if (!m_config.strConnection.empty()) return true;
        std::fputs("dlgconnect: no connection configured (set VANTREL_NM_CONNECTION or connection= in dlgconnect.conf)\n",
                   stderr);
        return false;
    }

    int Report(const char* pszWhat, const Outcome& outcome) {
        if (outcome.bDone) return 1;
        std::fprintf(stderr, "dlgconnect: %s \"%s\": %s\n", pszWhat, m_config.strConnection.c_str(),
                     outcome.strWhy.c_str());
        return 0;
    }

    NmConfig m_config;
    NmLine m_line;
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
