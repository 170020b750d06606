#pragma once
#include <httplib.h>

#include <chrono>
#include <string>
#include <thread>

#include "settings/TextUtil.h"

namespace vantrel::test {

// A real HTTP server on 127.0.0.1 with an ephemeral port, serving on its own thread. Register the
// handlers on Server() before Start().
class LoopbackHttpServer {
public:
    LoopbackHttpServer() { m_nPort = m_server.bind_to_any_port("127.0.0.1"); }
    ~LoopbackHttpServer() { Stop(); }
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    httplib::Server& Server() { return m_server; }
    void Start() {
        m_thread = std::thread([this] { m_server.listen_after_bind(); });
        while (!m_server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void Stop() {
        m_server.stop();
        if (m_thread.joinable()) m_thread.join();
    }
    int Port() const { return m_nPort; }
    std::string Url(const std::string& strPath) const {
        return "http://127.0.0.1:" + std::to_string(m_nPort) + strPath;
    }
    std::u16string WideUrl(const std::string& strPath) const { return Utf8ToUtf16(Url(strPath)); }

private:
    httplib::Server m_server;
    std::thread m_thread;
    int m_nPort = 0;
};

}  // namespace vantrel::test
