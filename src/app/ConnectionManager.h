#pragma once
#include <string>

#include "port/DlgConnect.h"
#include "port/LibraryLoader.h"

namespace vantrel {

class MessageFacility;

// The thin holder of the data-line library's connection object. The retry loop, the auto-connect
// rule and the connection-wait guard around it belong to the workflow.
class ConnectionManager {
public:
    // The wait the program passes to the library's Connect.
    static constexpr std::uint32_t kConnectWait = 3000;

    // strLibrary empty: the platform's file name of "DlgConnect".
    ConnectionManager(LibraryLoader& loader, MessageFacility& messages, std::u16string strLibrary = {});
    ~ConnectionManager();
    ConnectionManager(const ConnectionManager&) = delete;
    ConnectionManager& operator=(const ConnectionManager&) = delete;

    // True with an object, and true without one when the library is absent; false (everything
    // unloaded) when the library lacks one of its two entry points.
    bool Init();
    void Release();

    // Without an object: failure from Connect and Disconnect, "not connected" from the questions.
    int Connect();
    int Disconnect();
    int IsConnected();
    int GetConnection();

    bool HasObject() const { return m_pConn != nullptr; }

private:
    void Clear();

    LibraryLoader& m_loader;
    MessageFacility& m_messages;
    std::u16string m_strLibrary;
    LibraryHandle m_hLib = nullptr;
    CreateObjectDlgConnectFn m_pfnCreate = nullptr;
    DeleteObjectDlgConnectFn m_pfnDelete = nullptr;
    DlgConnect* m_pConn = nullptr;
};

}  // namespace vantrel
