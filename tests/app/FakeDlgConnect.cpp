// A stand-in data-line library for the tests, built three times: with both entry points, with the
// create entry point only, and with neither. It logs every call as a line of plain text (what the
// calls carry is checked through the form's own fake); the log is a C array so that nothing keeps
// the library loaded after it is freed.
#include <cstring>

#include "port/DlgConnect.h"

namespace {

char g_szCalls[4096];

int Log(const char* pszCall, int nResult) {
    std::strncat(g_szCalls, pszCall, sizeof g_szCalls - std::strlen(g_szCalls) - 1);
    std::strncat(g_szCalls, "\n", sizeof g_szCalls - std::strlen(g_szCalls) - 1);
    return nResult;
}

// Each call answers differently, so that a call forwarded to the wrong one shows.
class FakeConnection final : public vantrel::DlgConnect {
public:
    // The two reserved arguments must be zero: anything else is refused.
    int Connect(std::uintptr_t n1, std::uintptr_t n2, std::uint32_t, std::uint32_t, const char16_t*) override {
        return Log("Connect", n1 == 0 && n2 == 0 ? 1 : 0);
    }
    int Disconnect(std::uint32_t, const char16_t*) override { return Log("Disconnect", 2); }
    int IsConnected() override { return Log("IsConnected", 1); }
    int GetConnection() override { return Log("GetConnection", 7); }
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) const char* FakeDlgConnectCalls() { return g_szCalls; }

#ifdef FAKE_EXPORT_CREATE
__attribute__((visibility("default"))) vantrel::DlgConnect* CreateObjectDlgConnect() {
    Log("create", 0);
    return new FakeConnection;
}
#endif

#ifdef FAKE_EXPORT_DELETE
__attribute__((visibility("default"))) void DeleteObjectDlgConnect(vantrel::DlgConnect* pConnection) {
    Log("delete", 0);
    delete static_cast<FakeConnection*>(pConnection);
}
#endif
}
