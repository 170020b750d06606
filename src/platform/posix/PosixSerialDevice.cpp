#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>

#include "port/SerialDevice.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

thread_local std::uint32_t s_nLastError = 0;

bool Fail(int nError) {
    s_nLastError = static_cast<std::uint32_t>(nError);
    return false;
}

struct BaudPair {
    std::uint32_t nBaud;
    speed_t speed;
};

constexpr BaudPair kBauds[] = {
    {1200, B1200},   {2400, B2400},   {4800, B4800},     {9600, B9600},     {19200, B19200},
    {38400, B38400}, {57600, B57600}, {115200, B115200}, {230400, B230400},
};

bool ToSpeed(std::uint32_t nBaud, speed_t& speed) {
    for (const BaudPair& pair : kBauds) {
        if (pair.nBaud == nBaud) {
            speed = pair.speed;
            return true;
        }
    }
    return false;
}

std::uint32_t FromSpeed(speed_t speed) {
    for (const BaudPair& pair : kBauds) {
        if (pair.speed == speed) return pair.nBaud;
    }
    return 0;
}

// Pseudo-terminals and some USB adapters have no modem lines; their ioctls answer ENOTTY or
// EINVAL, which means "nothing to raise or lower" rather than a broken port.
bool IsNoModemLines(int nError) { return nError == ENOTTY || nError == EINVAL; }

// termios raw mode with the Win32 line state mapped onto it. The descriptor is non-blocking and
// guarded by a mutex, so that Close can run while the reader thread still holds this object:
// a call after Close fails with EBADF instead of touching a descriptor number already reused.
class PosixSerialDevice final : public SerialDevice {
public:
    ~PosixSerialDevice() override { Close(); }

    bool Open(const std::u16string& strName) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd >= 0) return Fail(EBUSY);
        const std::string strPath = Utf16ToUtf8(strName);
        const int nFd = ::open(strPath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (nFd < 0) return Fail(errno);
        // No sharing: a second open of the same device, from this process or another, fails.
        if (::flock(nFd, LOCK_EX | LOCK_NB) != 0) {
            ::close(nFd);
            return Fail(EBUSY);
        }
        if (::isatty(nFd)) ::ioctl(nFd, TIOCEXCL);
        m_nFd = nFd;
        return true;
    }

    bool GetTimeouts(CommTimeouts& timeouts) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        timeouts = m_timeouts;
        return true;
    }

    bool SetTimeouts(const CommTimeouts& timeouts) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        m_timeouts = timeouts;
        return true;
    }

    bool GetState(CommState& state) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        termios tio{};
        if (::tcgetattr(m_nFd, &tio) != 0) return Fail(errno);
        state.nBaudRate = FromSpeed(::cfgetospeed(&tio));
        switch (tio.c_cflag & CSIZE) {
            case CS5: state.nByteSize = 5; break;
            case CS6: state.nByteSize = 6; break;
            case CS7: state.nByteSize = 7; break;
            default: state.nByteSize = 8; break;
        }
        state.nParity = (tio.c_cflag & PARENB) ? ((tio.c_cflag & PARODD) ? 1 : 2) : 0;
        state.nStopBits = (tio.c_cflag & CSTOPB) ? 2 : 0;
        state.bOutxCtsFlow = (tio.c_cflag & CRTSCTS) != 0;
        state.bOutxDsrFlow = false;
        state.bOutX = (tio.c_iflag & IXON) != 0;
        state.bInX = (tio.c_iflag & IXOFF) != 0;
        int nLines = 0;
        if (::ioctl(m_nFd, TIOCMGET, &nLines) == 0) {
            state.bDtrEnable = (nLines & TIOCM_DTR) != 0;
            state.bRtsEnable = (nLines & TIOCM_RTS) != 0;
        } else if (!IsNoModemLines(errno)) {
            return Fail(errno);
        }
        return true;
    }

    bool SetState(const CommState& state) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        termios tio{};
        if (::tcgetattr(m_nFd, &tio) != 0) return Fail(errno);
        speed_t speed = B9600;
        if (!ToSpeed(state.nBaudRate, speed)) return Fail(EINVAL);
        if (state.nStopBits == 1) return Fail(EINVAL);
        ::cfmakeraw(&tio);
        tio.c_cflag |= CLOCAL | CREAD;
        tio.c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB | CRTSCTS);
        switch (state.nByteSize) {
            case 5: tio.c_cflag |= CS5; break;
            case 6: tio.c_cflag |= CS6; break;
            case 7: tio.c_cflag |= CS7; break;
            case 8: tio.c_cflag |= CS8; break;
            default: return Fail(EINVAL);
        }
        if (state.nParity == 1) tio.c_cflag |= PARENB | PARODD;
        if (state.nParity == 2) tio.c_cflag |= PARENB;
        if (state.nParity > 2) return Fail(EINVAL);
        if (state.nStopBits == 2) tio.c_cflag |= CSTOPB;
        if (state.bOutxCtsFlow) tio.c_cflag |= CRTSCTS;
        tio.c_iflag &= ~(IXON | IXOFF | IXANY);
        if (state.bOutX) tio.c_iflag |= IXON;
        if (state.bInX) tio.c_iflag |= IXOFF;
        tio.c_cc[VMIN] = 0;
        tio.c_cc[VTIME] = 0;
        ::cfsetispeed(&tio, speed);
        ::cfsetospeed(&tio, speed);
        if (::tcsetattr(m_nFd, TCSANOW, &tio) != 0) return Fail(errno);
        int nRaise = 0;
        if (state.bDtrEnable) nRaise |= TIOCM_DTR;
        if (state.bRtsEnable) nRaise |= TIOCM_RTS;
        if (nRaise && ::ioctl(m_nFd, TIOCMBIS, &nRaise) != 0 && !IsNoModemLines(errno)) return Fail(errno);
        return true;
    }

    bool ClearInfrared() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_nFd >= 0 ? true : Fail(EBADF);
    }

    bool PurgeInput() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        return ::tcflush(m_nFd, TCIFLUSH) == 0 ? true : Fail(errno);
    }

    bool ClearError(CommStatus& status) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        // A line that went away (adapter unplugged, far end of a pseudo-terminal closed) is what
        // makes ClearCommError fail on Windows.
        pollfd pfd{m_nFd, POLLIN, 0};
        if (::poll(&pfd, 1, 0) < 0) return Fail(errno);
        if (pfd.revents & (POLLHUP | POLLERR)) return Fail(EIO);
        if (pfd.revents & POLLNVAL) return Fail(EBADF);
        int nIn = 0;
        int nOut = 0;
        if (::ioctl(m_nFd, FIONREAD, &nIn) != 0) return Fail(errno);
        if (::ioctl(m_nFd, TIOCOUTQ, &nOut) != 0) return Fail(errno);
        status.nErrors = 0;
        status.nInQueue = static_cast<std::uint32_t>(nIn);
        status.nOutQueue = static_cast<std::uint32_t>(nOut);
        return true;
    }

    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) override {
        nRead = 0;
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        const ssize_t n = ::read(m_nFd, pData, nSize);
        if (n < 0) return (errno == EAGAIN || errno == EINTR) ? true : Fail(errno);
        nRead = static_cast<std::uint32_t>(n);
        return true;
    }

    bool Write(const void* pData, std::uint32_t nSize, std::uint32_t& nWritten) override {
        nWritten = 0;
        const auto* pBytes = static_cast<const unsigned char*>(pData);
        CommTimeouts timeouts;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_nFd < 0) return Fail(EBADF);
            timeouts = m_timeouts;
        }
        const bool bBounded = timeouts.nWriteTotalMultiplier != 0 || timeouts.nWriteTotalConstant != 0;
        const auto deadline = std::chrono::steady_clock::now() +
                              std::chrono::milliseconds(static_cast<long long>(timeouts.nWriteTotalMultiplier) * nSize +
                                                        timeouts.nWriteTotalConstant);
        while (nWritten < nSize) {
            int nFd = -1;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (m_nFd < 0) return Fail(EBADF);
                const ssize_t n = ::write(m_nFd, pBytes + nWritten, nSize - nWritten);
                if (n > 0) {
                    nWritten += static_cast<std::uint32_t>(n);
                    continue;
                }
                if (n < 0 && errno != EAGAIN && errno != EINTR) return Fail(errno);
                nFd = m_nFd;
            }
            // The output queue is full (flow control or a slow line): wait for room, outside the
            // lock so that Close is never held up by a stalled line.
            int nWaitMs = 100;
            if (bBounded) {
                const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
                if (left.count() <= 0) return true;  // time-out: a short count, as WriteFile reports it
                nWaitMs = static_cast<int>(std::min<long long>(left.count(), 100));
            }
            pollfd pfd{nFd, POLLOUT, 0};
            ::poll(&pfd, 1, nWaitMs);
        }
        return true;
    }

    bool ClearDtr() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        int nLower = TIOCM_DTR;
        if (::ioctl(m_nFd, TIOCMBIC, &nLower) != 0 && !IsNoModemLines(errno)) return Fail(errno);
        return true;
    }

    bool Close() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nFd < 0) return Fail(EBADF);
        const int nFd = m_nFd;
        m_nFd = -1;
        // Linux releases the descriptor even when close reports an error; never retry it.
        return ::close(nFd) == 0 ? true : Fail(errno);
    }

    std::uint32_t LastError() const override { return s_nLastError; }

    std::u16string ErrorText(std::uint32_t nError) const override {
        char buffer[256] = {};
        const char* pszText = ::strerror_r(static_cast<int>(nError), buffer, sizeof buffer);
        return Utf8ToUtf16(pszText ? pszText : "");
    }

private:
    std::mutex m_mutex;
    int m_nFd = -1;
    CommTimeouts m_timeouts;
};

}  // namespace

std::unique_ptr<SerialDevice> CreateSerialDevice() { return std::make_unique<PosixSerialDevice>(); }

}  // namespace vantrel
