// A stand-in data-line library for the tests, built three times: with both entry points, with the
// create entry point only, and with neither. It logs every call as a line of plain text; the log
// is a C array so that nothing keeps the library loaded after it is freed.
#include <cstdio>
#include <cstring>

#include "port/DlgConnect.h"

namespace {

char g_szCalls[4096];

void Append(const char* pszLine) {
    std::strncat(g_szCalls, pszLine, sizeof g_szCalls - std::strlen(g_szCalls) - 1);
    std::strncat(g_szCalls, "\n", sizeof g_szCalls - std::strlen(g_szCalls) - 1);
}

void ToAscii(const char16_t* pszWide, char* pszOut, std::size_t nSize) {
    std::size_t i = 0;
    for (; pszWide && pszWide[i] && i + 1 < nSize; ++i) pszOut[i] = pszWide[i] < 0x80 ? static_cast<char>(pszWide[i]) : '?';
    pszOut[i] = '\0';
}

class FakeConnection final : public vantrel::DlgConnect {
public:
    int Connect(std::uintptr_t n1, std::uintptr_t n2, std::uint32_t nWait, std::uint32_t nFlags,
                const char16_t* pszFolder) override {
        char szFolder[512], szLine[700];
        ToAscii(pszFolder, szFolder, sizeof szFolder);
        std::snprintf(szLine, sizeof szLine, "Connect %lu %lu %u %u %s", static_cast<unsigned long>(n1),
                      static_cast<unsigned long>(n2), nWait, nFlags, szFolder);
        Append(szLine);
        return 1;
    }
    int Disconnect(std::uint32_t nFlags, const char16_t* pszFolder) override {
        char szFolder[512], szLine[700];
        ToAscii(pszFolder, szFolder, sizeof szFolder);
        std::snprintf(szLine, sizeof szLine, "Disconnect %u %s", nFlags, szFolder);
        Append(szLine);
        return 2;
    }
    int IsConnected() override {
        Append("IsConnected");
        return 1;
    }
    int GetConnection() override {
        Append("GetConnection");
        return 7;
    }
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) const char* FakeDlgConnectCalls() { return g_szCalls; }

#ifdef FAKE_EXPORT_CREATE
__attribute__((visibility("default"))) vantrel::DlgConnect* CreateObjectDlgConnect() {
    Append("create");
    return new FakeConnection;
}
#endif

#ifdef FAKE_EXPORT_DELETE
__attribute__((visibility("default"))) void DeleteObjectDlgConnect(vantrel::DlgConnect* pConnection) {
    Append("delete");
    delete static_cast<FakeConnection*>(pConnection);
}
#endif
}
