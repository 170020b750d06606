#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>

#include "port/PseudoTerminal.h"

namespace vantrel {

namespace {

class PosixPseudoTerminal final : public PseudoTerminal {
public:
    ~PosixPseudoTerminal() override { Close(); }

    bool Open() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nMaster >= 0) return false;
        const int nMaster = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (nMaster < 0) return false;
        char buffer[128] = {};
        if (::grantpt(nMaster) != 0 || ::unlockpt(nMaster) != 0 || ::ptsname_r(nMaster, buffer, sizeof buffer) != 0) {
            ::close(nMaster);
            return false;
        }
        // Held open for the life of the pair: without it the master reads EIO whenever the host
        // has its port closed, and the raw settings would fall back to the defaults.
        const int nSlave = ::open(buffer, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios tio{};
        if (nSlave < 0 || ::tcgetattr(nSlave, &tio) != 0) {
            if (nSlave >= 0) ::close(nSlave);
            ::close(nMaster);
            return false;
        }
        ::cfmakeraw(&tio);
        ::cfsetispeed(&tio, B9600);
        ::cfsetospeed(&tio, B9600);
        ::tcsetattr(nSlave, TCSANOW, &tio);
        m_nMaster = nMaster;
        m_nSlave = nSlave;
        m_strSlave = buffer;
        return true;
    }

    std::string SlavePath() const override { return m_strSlave; }

    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead, std::uint32_t nTimeoutMs) override {
        nRead = 0;
        const int nFd = Master();
        if (nFd < 0) return false;
        pollfd pfd{nFd, POLLIN, 0};
        const int nReady = ::poll(&pfd, 1, static_cast<int>(nTimeoutMs));
        if (nReady < 0) return errno == EINTR;
        if (nReady == 0) return true;
        if (pfd.revents & POLLNVAL) return false;
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nMaster < 0) return false;
        const ssize_t n = ::read(m_nMaster, pData, nSize);
        if (n < 0) return errno == EAGAIN || errno == EINTR;
        nRead = static_cast<std::uint32_t>(n);
        return n > 0;
    }

    bool Write(const void* pData, std::uint32_t nSize) override {
        const auto* pBytes = static_cast<const unsigned char*>(pData);
        std::uint32_t nDone = 0;
        while (nDone < nSize) {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_nMaster < 0) return false;
            const ssize_t n = ::write(m_nMaster, pBytes + nDone, nSize - nDone);
            if (n < 0 && errno != EINTR && errno != EAGAIN) return false;
            if (n > 0) nDone += static_cast<std::uint32_t>(n);
        }
        return true;
    }

    void Close() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nSlave >= 0) ::close(m_nSlave);
        if (m_nMaster >= 0) ::close(m_nMaster);
        m_nSlave = -1;
        m_nMaster = -1;
    }

private:
    int Master() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_nMaster;
    }

    std::mutex m_mutex;
    int m_nMaster = -1;
    int m_nSlave = -1;
    std::string m_strSlave;
};

}  // namespace

std::unique_ptr<PseudoTerminal> CreatePseudoTerminal() { return std::make_unique<PosixPseudoTerminal>(); }

}  // namespace vantrel
