#pragma once
#include <memory>

#include "deliver/HttpClient.h"
#include "deliver/MessageFacility.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/HttpTransport.h"
#include "settings/ResourceModule.h"
#include "support/LoopbackHttpServer.h"
#include "support/RecordingMessageBox.h"
#include "support/TempDir.h"

namespace vantrel::test {

// The real HTTP client on curl against a loopback server, its boxes recorded, its cookie jar in a
// temporary folder. Link vantrel_http and vantrel_curl.
struct HttpRig {
    TempDir m_dir;
    std::unique_ptr<Clock> m_pClock = CreateSystemClock();
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    RecordingMessageBox m_boxes;
    MessageFacility m_messages{*m_pClock, *m_pFiles, m_boxes, ResourceModule::Program()};
    std::unique_ptr<HttpTransport> m_pTransport = CreateHttpTransport(m_dir.WidePath());
    HttpClient m_http{*m_pTransport, m_messages, *m_pClock};
    LoopbackHttpServer m_server;
};

}  // namespace vantrel::test
