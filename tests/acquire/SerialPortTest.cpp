#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>

#include "SerialRig.h"

namespace vantrel {
namespace {

using Ms = std::chrono::milliseconds;

// The real device, with the line state it was last asked for kept: a pseudo-terminal has no
// modem lines, so DTR and RTS can only be seen on their way to the device.
class StateRecordingDevice final : public SerialDevice {
public:
    explicit StateRecordingDevice(CommState& state) : m_state(state) {}
    bool Open(const std::u16string& strName) override { return m_pDevice->Open(strName); }
    bool GetTimeouts(CommTimeouts& timeouts) override { return m_pDevice->GetTimeouts(timeouts); }
    bool SetTimeouts(const CommTimeouts& timeouts) override { return m_pDevice->SetTimeouts(timeouts); }
    bool GetState(CommState& state) override { return m_pDevice->GetState(state); }
    bool SetState(const CommState& state) override {
        m_state = state;
        return m_pDevice->SetState(state);
    }
    bool ClearInfrared() override { return m_pDevice->ClearInfrared(); }
    bool PurgeInput() override { return m_pDevice->PurgeInput(); }
    bool ClearError(CommStatus& status) override { return m_pDevice->ClearError(status); }
    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) override {
        return m_pDevice->Read(pData, nSize, nRead);
    }
    bool Write(const void* pData, std::uint32_t nSize, std::uint32_t& nWritten) override {
        return m_pDevice->Write(pData, nSize, nWritten);
    }
    bool ClearDtr() override { return m_pDevice->ClearDtr(); }
    bool Close() override { return m_pDevice->Close(); }
    std::uint32_t LastError() const override { return m_pDevice->LastError(); }
    std::u16string ErrorText(std::uint32_t nError) const override { return m_pDevice->ErrorText(nError); }

private:
    CommState& m_state;
    std::unique_ptr<SerialDevice> m_pDevice = CreateSerialDevice();
};

// What the kernel keeps of the line state, read back through the far end of a pseudo-terminal:
// 9600 baud, 8 data bits, no parity, one stop bit, CTS output flow, no XON/XOFF, raw, and reads
// that return at once with what is buffered; and the modem lines asked for: DTR and RTS raised,
// no DSR flow.
TEST(SerialPortLine, TheKernelHoldsTheLineSettings) {
    const int nMaster = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(nMaster, 0);
    ASSERT_EQ(::grantpt(nMaster) | ::unlockpt(nMaster), 0);
    test::SerialRig services;
    SerialContext context = services.Context();
    CommState asked;
    context.createDevice = [&asked] { return std::make_unique<StateRecordingDevice>(asked); };
    SerialPort port(context);
    ASSERT_TRUE(port.Open(Utf8ToUtf16(::ptsname(nMaster))));
    EXPECT_TRUE(asked.bDtrEnable && asked.bRtsEnable && !asked.bOutxDsrFlow);
    termios tio{};
    ASSERT_EQ(::tcgetattr(nMaster, &tio), 0);
    EXPECT_EQ(::cfgetospeed(&tio), B9600);
    EXPECT_EQ(::cfgetispeed(&tio), B9600);
    EXPECT_EQ(tio.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS | CREAD | CLOCAL), CS8 | CRTSCTS | CREAD | CLOCAL);
    EXPECT_EQ(tio.c_iflag & (IXON | IXOFF | IXANY | ICRNL | INLCR), 0u);
    EXPECT_EQ(tio.c_lflag & (ICANON | ECHO | ISIG), 0u);
    EXPECT_EQ(tio.c_oflag & OPOST, 0u);
    EXPECT_EQ(tio.c_cc[VMIN] | tio.c_cc[VTIME], 0);
    port.Close();  // a port dropped without closePort stops its reader without a word
    EXPECT_TRUE(services.Texts().empty());
    ::close(nMaster);
}

// A listener that holds the reader up until released, far longer than closePort waits.
class StuckListener final : public SerialListener {
public:
    void OnReceive(const std::u16string&) override {
        m_bEntered = true;
        test::WaitFor([this] { return m_bRelease.load(); }, 30000);
        m_bLeft = true;
    }
    std::atomic<bool> m_bEntered{false}, m_bRelease{false}, m_bLeft{false};
};

TEST(SerialPortStop, AReaderThatDoesNotStopInTimeIsLeftBehindSafely) {
    StuckListener listener;  // outlives the abandoned reader: it is the one thing it still calls
    EmulatedModule module(CreatePseudoTerminal(), EmulatorConfig());
    ASSERT_TRUE(module.Start());
    {
        test::SerialRig services;
        auto pPort = std::make_unique<SerialPort>(services.Context());
        pPort->SetListener(&listener);
        ASSERT_TRUE(pPort->Open(Utf8ToUtf16(module.DevicePath())));
        std::uint32_t nWritten = 0;
        ASSERT_TRUE(pPort->write_scc("AT\r\n", 4, nWritten));
        test::WaitFor([&] { return listener.m_bEntered.load(); });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(pPort->closePort());
        EXPECT_FALSE(pPort->IsOpen());
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited, Ms(990));
        EXPECT_LT(waited, Ms(10000));  // a bound a loaded machine keeps; the listener holds on for 30 s
        pPort.reset();  // the port and its services go while the reader is still inside the listener
    }
    listener.m_bRelease = true;
    test::WaitFor([&] { return listener.m_bLeft.load(); });
    std::this_thread::sleep_for(Ms(50));  // the reader sees the invalid handle and ends on its own
}

// The real device: a missing path costs 30 attempts 100 ms apart and gives the system's text; a
// regular file opens but has no line state, so the port goes half-open and the held handle keeps
// the file busy until Close.
TEST(SerialPortFailure, TheRealDeviceReportsTheSystemsReasons) {
    test::ManualClock clock;
    test::SerialRig services("", &clock);
    test::TempDir dir;
    test::WriteFileBytes(dir.File("notatty"), "");
    const std::u16string strFile = dir.WideFile("notatty");
    SerialPort port(services.Context());
    const std::uint32_t nStart = clock.TickCount();
    EXPECT_FALSE(port.Open(u"/dev/vantrel-no-such-port"));
    EXPECT_EQ(clock.TickCount() - nStart, 3000u);
    EXPECT_FALSE(port.Open(strFile));
    EXPECT_FALSE(port.Open(strFile));  // the held handle does not share
    port.Close();
    EXPECT_FALSE(port.Open(strFile));  // opens again, fails in configuration again
    const std::u16string strNoTty = u"Get configuration port has problem. (Error:Inappropriate ioctl for device)";
    EXPECT_EQ(services.Texts(), (std::vector<std::u16string>{
                                    u"CreateFile failed: /dev/vantrel-no-such-port(Error:No such file or directory)", strNoTty,
                                    u"CreateFile failed: " + strFile + u"(Error:Device or resource busy)", strNoTty}));
}

}  // namespace
}  // namespace vantrel
