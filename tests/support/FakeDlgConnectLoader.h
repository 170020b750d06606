#pragma once
#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "port/DlgConnect.h"
#include "port/LibraryLoader.h"
#include "settings/TextUtil.h"

namespace vantrel::test {

// A connection object with a scripted line: Connect answers from a queue (then a default), a
// successful Connect brings the line up and a successful Disconnect drops it. Connect and
// Disconnect calls are logged with their arguments; the two questions are not, because the
// caption timer asks once a second.
class ScriptedDlgConnect final : public DlgConnect {
public:
    int Connect(std::uintptr_t nReserved1, std::uintptr_t nReserved2, std::uint32_t nWait, std::uint32_t nFlags,
                const char16_t* pszFolder) override {
        Note("Connect " + std::to_string(nReserved1) + " " + std::to_string(nReserved2) + " " + std::to_string(nWait) +
             " " + std::to_string(nFlags) + " " + Utf16ToUtf8(pszFolder));
        int nResult = m_nConnectResult;
        if (!m_connectResults.empty()) {
            nResult = m_connectResults.front();
            m_connectResults.pop_front();
        }
        if (nResult == 1) m_bUp = true;
        return nResult;
    }
    int Disconnect(std::uint32_t nFlags, const char16_t* pszFolder) override {
        Note("Disconnect " + std::to_string(nFlags));
        if (m_nDisconnectResult == 1) m_bUp = false;
        return m_nDisconnectResult;
    }
    int IsConnected() override { return m_bUp || m_bForeignLine ? 1 : 0; }
    int GetConnection() override { return m_bUp ? 1 : 0; }

    int Count(const std::string& strPrefix) const {
        return static_cast<int>(std::count_if(m_calls.begin(), m_calls.end(),
                                              [&](const std::string& strCall) { return strCall.starts_with(strPrefix); }));
    }

    bool m_bUp = false;           // the program's own line
    bool m_bForeignLine = false;  // a connection someone else opened: IsConnected only
    int m_nConnectResult = 1;
    std::deque<int> m_connectResults;
    int m_nDisconnectResult = 1;
    std::vector<std::string> m_calls;
    std::function<void(const std::string&)> m_onCall;  // runs on every Connect and Disconnect

private:
    void Note(const std::string& strCall) {
        m_calls.push_back(strCall);
        if (m_onCall) m_onCall(strCall);
    }
};

// A library loader that knows one library, "DlgConnect", exporting both entry points over one
// ScriptedDlgConnect. The entry points are plain C functions, so the loader in use is a static;
// one loader may exist at a time.
class FakeDlgConnectLoader final : public LibraryLoader {
public:
    FakeDlgConnectLoader() { Current() = this; }
    ~FakeDlgConnectLoader() override { Current() = nullptr; }

    std::u16string FileName(const std::u16string& strBaseName) const override { return strBaseName + u".fake"; }
    LibraryHandle Load(const std::u16string& strName) override {
        if (strName != u"DlgConnect.fake") return nullptr;
        return this;
    }
    void* FindSymbol(LibraryHandle, const char* pszSymbol) override {
        if (std::strcmp(pszSymbol, kCreateObjectDlgConnect) == 0) return reinterpret_cast<void*>(&Create);
        if (std::strcmp(pszSymbol, kDeleteObjectDlgConnect) == 0) return reinterpret_cast<void*>(&Delete);
        return nullptr;
    }
    void Free(LibraryHandle) override {}

    ScriptedDlgConnect m_conn;
    int m_nObjects = 0;  // objects created and not yet deleted

private:
    static FakeDlgConnectLoader*& Current() {
        static FakeDlgConnectLoader* pCurrent = nullptr;
        return pCurrent;
    }
    static DlgConnect* Create() {
        ++Current()->m_nObjects;
        Current()->m_conn.m_calls.push_back("create");
        return &Current()->m_conn;
    }
    static void Delete(DlgConnect* pConn) {
        --Current()->m_nObjects;
        Current()->m_conn.m_calls.push_back(pConn == &Current()->m_conn ? "delete" : "delete (foreign)");
    }
};

}  // namespace vantrel::test
