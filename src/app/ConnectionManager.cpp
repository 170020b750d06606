#include "app/ConnectionManager.h"

#include <utility>

#include "deliver/MessageFacility.h"

namespace vantrel {

ConnectionManager::ConnectionManager(LibraryLoader& loader, MessageFacility& messages, std::u16string strLibrary)
    : m_loader(loader), m_messages(messages), m_strLibrary(std::move(strLibrary)) {
    if (m_strLibrary.empty()) m_strLibrary = m_loader.FileName(u"DlgConnect");
}

ConnectionManager::~ConnectionManager() { Release(); }

bool ConnectionManager::Init() {
    Release();
    m_hLib = m_loader.Load(m_strLibrary);
    // Without the library the program runs on; only connecting is unavailable.
    if (!m_hLib) return true;
    m_pfnCreate = reinterpret_cast<CreateObjectDlgConnectFn>(m_loader.FindSymbol(m_hLib, kCreateObjectDlgConnect));
    m_pfnDelete = reinterpret_cast<DeleteObjectDlgConnectFn>(m_loader.FindSymbol(m_hLib, kDeleteObjectDlgConnect));
    if (!m_pfnCreate || !m_pfnDelete) {
        // An object that could not be deleted again must never be created.
        m_loader.Free(m_hLib);
        Clear();
        return false;
    }
    m_pConn = m_pfnCreate();
    return true;
}

void ConnectionManager::Release() {
    if (m_pConn && m_pfnDelete) m_pfnDelete(m_pConn);
    m_pConn = nullptr;
    if (m_hLib) m_loader.Free(m_hLib);
    Clear();
}

void ConnectionManager::Clear() {
    m_hLib = nullptr;
    m_pfnCreate = nullptr;
    m_pfnDelete = nullptr;
    m_pConn = nullptr;
}

int ConnectionManager::Connect() {
    if (!m_pConn) return 0;
    // The library shows and logs its own messages under the program's NOMSG and OUTPUTMSGFILE.
    const std::u16string strFolder = m_messages.LogFolder();
    return m_pConn->Connect(0, 0, kConnectWait, m_messages.Flags(), strFolder.c_str());
}

int ConnectionManager::Disconnect() {
    if (!m_pConn) return 0;
    const std::u16string strFolder = m_messages.LogFolder();
    return m_pConn->Disconnect(m_messages.Flags(), strFolder.c_str());
}

int ConnectionManager::IsConnected() { return m_pConn ? m_pConn->IsConnected() : 0; }

int ConnectionManager::GetConnection() { return m_pConn ? m_pConn->GetConnection() : 0; }

}  // namespace vantrel
