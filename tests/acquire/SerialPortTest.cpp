#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "SerialRig.h"

namespace vantrel {
namespace {

using Ms = std::chrono::milliseconds;

EmulatorConfig FastModule() {
    EmulatorConfig config;
    config.nBaudRate = 0;
    return config;
}

class SerialPortOverPty : public testing::Test {
protected:
    bool OpenOn(const std::string& strPath) {
        m_port.SetListener(&m_collector);
        return m_port.Open(Utf8ToUtf16(strPath));
    }
    bool Received(std::size_t nBytes) {
        return test::WaitFor([&] { return m_collector.Text().size() >= nBytes; });
    }

    test::SerialRig m_services;
    test::ChunkCollector m_collector;
    SerialPort m_port{m_services.Context()};
};

// The bytes go both ways unchanged and a closed port opens again; an empty write and closing a
// port that is not open fail without a word. A module that goes away ends the reader with a
// message; the port stays open, so only the next write tells the owner.
TEST_F(SerialPortOverPty, RoundTripsReopensAndReportsAVanishedModule) {
    EXPECT_FALSE(m_port.closePort());
    EmulatorConfig config = FastModule();
    config.nVanishAfter = 2;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    ASSERT_TRUE(OpenOn(module.DevicePath()));
    std::uint32_t nWritten = 7;
    EXPECT_FALSE(m_port.write_scc("AT\r\n", 0, nWritten));
    EXPECT_EQ(nWritten, 0u);
    ASSERT_TRUE(test::Send(m_port, "AT@K20\r\n"));
    const std::string strAnswer = "AT@K20\r\n0A12F3C4,34\r\n0A12F3B8,21\r\nOK\r\n";
    ASSERT_TRUE(Received(strAnswer.size()));
    EXPECT_EQ(m_collector.Text(), strAnswer);
    EXPECT_TRUE(m_port.closePort());
    EXPECT_EQ(m_port.LastReaderExitCode(), 0u);
    EXPECT_FALSE(m_port.closePort());
    EXPECT_TRUE(m_services.Texts().empty());

    ASSERT_TRUE(OpenOn(module.DevicePath()));
    ASSERT_TRUE(test::Send(m_port, "AT@LBC?\r\n"));
    test::WaitFor([&] { return !m_services.Texts().empty(); }, 3000);
    EXPECT_FALSE(test::Send(m_port, "AT@LBC2\r\n"));
    const std::u16string strEio = test::ErrnoText(EIO);
    EXPECT_EQ(m_services.Texts(), (std::vector<std::u16string>{
                                      u"ClearCommError() Failed. dwErrors = 0x00000000, WinErr = (" + strEio + u")",
                                      u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (" + strEio + u")"}));
    EXPECT_TRUE(m_port.closePort());
    EXPECT_EQ(m_port.LastReaderExitCode(), SerialPort::kExitFailed);
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20", "AT@LBC?"}));
}

// Legend: read delay (on the real clock: it is what is measured), the bytes written in pieces of
// nPiece with nPauseMs after each -> the sizes of the chunks handed over (empty: more than one,
// cut wherever the timing falls).
TEST(SerialPortChunks, TheReadDelayAndTheChunkLimitDecideHowBytesArrive) {
    const struct {
        std::uint32_t nDelay;
        std::size_t nBytes, nPiece;
        int nPauseMs;
        std::vector<std::size_t> sizes;
    } cases[] = {
        {200, 1999, 1999, 0, {999, 999, 1}},  // a single byte is a chunk too
        {300, 40, 5, 10, {40}},
        {0, 40, 5, 40, {}},
    };
    const std::unique_ptr<Clock> pClock = CreateSystemClock();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.nDelay);
        auto pTerminal = CreatePseudoTerminal();
        ASSERT_TRUE(pTerminal->Open());
        test::SerialRig services("", pClock.get());
        test::ChunkCollector collector;
        SerialPort port(services.Context());
        port.SetListener(&collector);
        port.SetReadDelay(c.nDelay);
        ASSERT_TRUE(port.Open(Utf8ToUtf16(pTerminal->SlavePath())));
        std::string strSent;
        for (std::size_t i = 0; i < c.nBytes; ++i) strSent.push_back(static_cast<char>('A' + i % 26));
        for (std::size_t i = 0; i < c.nBytes; i += c.nPiece) {
            test::Put(*pTerminal, strSent.substr(i, c.nPiece));
            std::this_thread::sleep_for(Ms(c.nPauseMs));
        }
        EXPECT_TRUE(test::WaitFor([&] { return collector.Text() == strSent; }));
        std::vector<std::size_t> sizes;
        for (const std::string& strChunk : collector.Chunks()) sizes.push_back(strChunk.size());
        if (c.sizes.empty()) {
            EXPECT_GT(sizes.size(), 1u);
        } else {
            EXPECT_EQ(sizes, c.sizes);
        }
        port.Close();  // a port dropped without closePort stops its reader without a word
        EXPECT_TRUE(services.Texts().empty());
    }
}

// What the kernel keeps of the line state, read back through the far end of a pseudo-terminal:
// 9600 baud, 8 data bits, no parity, one stop bit, CTS output flow, no XON/XOFF, raw, and reads
// that return at once with what is buffered.
TEST_F(SerialPortOverPty, TheKernelHoldsTheLineSettings) {
    const int nMaster = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(nMaster, 0);
    ASSERT_EQ(::grantpt(nMaster) | ::unlockpt(nMaster), 0);
    ASSERT_TRUE(OpenOn(::ptsname(nMaster)));
    termios tio{};
    ASSERT_EQ(::tcgetattr(nMaster, &tio), 0);
    EXPECT_EQ(::cfgetospeed(&tio), B9600);
    EXPECT_EQ(::cfgetispeed(&tio), B9600);
    EXPECT_EQ(tio.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS | CREAD | CLOCAL), CS8 | CRTSCTS | CREAD | CLOCAL);
    EXPECT_EQ(tio.c_iflag & (IXON | IXOFF | IXANY | ICRNL | INLCR), 0u);
    EXPECT_EQ(tio.c_lflag & (ICANON | ECHO | ISIG), 0u);
    EXPECT_EQ(tio.c_oflag & OPOST, 0u);
    EXPECT_EQ(tio.c_cc[VMIN] | tio.c_cc[VTIME], 0);
    EXPECT_TRUE(m_port.closePort());
    ::close(nMaster);
}

// A listener that holds the reader up for longer than closePort waits.
class StuckListener final : public SerialListener {
public:
    void OnReceive(const std::u16string&) override {
        m_bEntered = true;
        std::this_thread::sleep_for(Ms(1500));
        m_bLeft = true;
    }
    std::atomic<bool> m_bEntered{false};
    std::atomic<bool> m_bLeft{false};
};

TEST(SerialPortStop, AReaderThatDoesNotStopInTimeIsLeftBehindSafely) {
    StuckListener listener;  // outlives the abandoned reader: it is the one thing it still calls
    EmulatedModule module(CreatePseudoTerminal(), FastModule());
    ASSERT_TRUE(module.Start());
    {
        test::SerialRig services;
        auto pPort = std::make_unique<SerialPort>(services.Context());
        pPort->SetListener(&listener);
        ASSERT_TRUE(pPort->Open(Utf8ToUtf16(module.DevicePath())));
        ASSERT_TRUE(test::Send(*pPort, "AT\r\n"));
        test::WaitFor([&] { return listener.m_bEntered.load(); });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(pPort->closePort());
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited, Ms(990));
        EXPECT_LT(waited, Ms(1400));
        EXPECT_EQ(pPort->LastReaderExitCode(), SerialPort::kExitTimedOut);
        pPort.reset();  // the port and its services go while the reader is still inside the listener
    }
    test::WaitFor([&] { return listener.m_bLeft.load(); });
    std::this_thread::sleep_for(Ms(50));  // the reader sees the invalid handle and ends on its own
}

// Legend: --port value, VANTREL_PORT (null: unset), what "COM1:" opens.
TEST(PortResolution, ProgramPortFollowsOptionThenEnvironmentThenDefault) {
    const struct {
        const char16_t* pszOption;
        const char* pszEnv;
        const char16_t* pszDevice;
    } cases[] = {
        {u"/dev/ttyUSB0", "/dev/ttyS1", u"/dev/ttyUSB0"},
        {u"", "/dev/ttyS1", u"/dev/ttyS1"},
        {u"", "", u"/dev/ttyS0"},
        {u"", nullptr, u"/dev/ttyS0"},
    };
    auto pSystem = CreateSystemInfo();
    for (const auto& c : cases) {
        if (c.pszEnv) ::setenv("VANTREL_PORT", c.pszEnv, 1);
        else ::unsetenv("VANTREL_PORT");
        PortResolver resolver(c.pszOption, *pSystem);
        EXPECT_EQ(resolver.Resolve(u"COM1:"), c.pszDevice);
        EXPECT_EQ(resolver.Resolve(u"com1"), c.pszDevice);
        EXPECT_EQ(resolver.Resolve(u"/dev/ttyUSB3"), u"/dev/ttyUSB3");
    }
    ::unsetenv("VANTREL_PORT");
}

// A device whose call named strFails fails; it notes each call and what the configuration calls
// were given. It reports a line state and time-outs in which every field is the opposite of what
// the channel wants, so that a field left as reported shows.
struct Script {
    std::string strFails;
    std::string strCalls;
    CommTimeouts timeouts;
    CommState state;
};

class ScriptedDevice final : public SerialDevice {
public:
    explicit ScriptedDevice(Script& script) : m_script(script) {}
    bool Open(const std::u16string&) override { return Call("Open", ENOENT); }
    bool GetTimeouts(CommTimeouts& timeouts) override { return timeouts = {7, 7, 7, 7, 7}, true; }
    bool SetTimeouts(const CommTimeouts& timeouts) override { return m_script.timeouts = timeouts, Call("SetTimeouts", EIO); }
    bool GetState(CommState& state) override {
        state = {1200, 7, 2, 2, false, true, false, false, true, true};
        return Call("GetState", ENOTTY);
    }
    bool SetState(const CommState& state) override { return m_script.state = state, Call("SetState", EINVAL); }
    bool ClearInfrared() override { return Call("ClearInfrared"); }
    bool PurgeInput() override { return Call("PurgeInput"); }
    bool ClearError(CommStatus&) override { return true; }
    bool Read(void*, std::uint32_t, std::uint32_t& nRead) override { return nRead = 0, true; }
    bool Write(const void*, std::uint32_t n, std::uint32_t& nWritten) override { return nWritten = n, true; }
    bool ClearDtr() override { return Call("ClearDtr"); }
    bool Close() override { return Call("Close"); }
    std::uint32_t LastError() const override { return m_nError; }
    std::u16string ErrorText(std::uint32_t nError) const override { return test::ErrnoText(static_cast<int>(nError)); }

private:
    bool Call(const std::string& strName, int nError = 0) {
        m_script.strCalls += strName + " ";
        m_nError = static_cast<std::uint32_t>(nError);
        return strName != m_script.strFails;
    }
    Script& m_script;
    std::uint32_t m_nError = 0;
};

// 9600 8N1, CTS output flow, DTR and RTS on, no DSR flow and no XON/XOFF; reads return what is
// buffered and writes are bounded by 10 ms a byte plus a second.
void ExpectLineSettings(const Script& script) {
    const CommTimeouts& t = script.timeouts;
    EXPECT_EQ(std::vector<std::uint32_t>({t.nReadInterval, t.nReadTotalMultiplier, t.nReadTotalConstant,
                                          t.nWriteTotalMultiplier, t.nWriteTotalConstant}),
              std::vector<std::uint32_t>({0xFFFFFFFF, 0, 0, 10, 1000}));
    const CommState& s = script.state;
    EXPECT_EQ(std::vector<int>({int(s.nBaudRate), s.nByteSize, s.nParity, s.nStopBits}), std::vector<int>({9600, 8, 0, 0}));
    EXPECT_EQ(std::vector<bool>({s.bOutxCtsFlow, s.bOutxDsrFlow, s.bDtrEnable, s.bRtsEnable, s.bOutX, s.bInX}),
              std::vector<bool>({true, false, true, true, false, false}));
}

// Legend: the configuration call that fails (none), the calls made, the message shown. Closing an
// open port lowers DTR first; a failure leaves the handle held and the port not open until Close.
// A failing GetState is shown by the real device below.
TEST(SerialPortFailure, OpenConfiguresTheLineOrHoldsTheHandleHalfOpen) {
    const struct {
        const char* pszFails;
        const char* pszCalls;
        std::u16string strMessage;
    } cases[] = {
        {"", "Open SetTimeouts GetState SetState ClearInfrared PurgeInput ", u""},
        {"SetTimeouts", "Open SetTimeouts ", u"SetCommTimeouts failed. (Error:Input/output error)"},
        {"SetState", "Open SetTimeouts GetState SetState ", u"Set configuration port has problem. (Error:Invalid argument)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszCalls);
        Script script{c.pszFails, "", {}, {}};
        test::SerialRig services;
        SerialPort port(services.Context([&script] { return std::make_unique<ScriptedDevice>(script); }));
        const bool bOk = c.strMessage.empty();
        EXPECT_EQ(port.Open(u"COM1:"), bOk);
        EXPECT_EQ(services.Texts(), bOk ? std::vector<std::u16string>{} : std::vector<std::u16string>{c.strMessage});
        if (bOk) ExpectLineSettings(script);
        EXPECT_TRUE(port.HoldsHandle());
        EXPECT_EQ(port.closePort(), bOk);  // closePort knows only open ports
        if (!bOk) port.Close();
        EXPECT_FALSE(port.HoldsHandle());
        EXPECT_EQ(script.strCalls, c.pszCalls + std::string(bOk ? "ClearDtr Close " : "Close "));
    }
}

// The real device: a missing path costs 30 attempts 100 ms apart and gives the system's text; a
// regular file opens but has no line state, so the port goes half-open and the held handle keeps
// the file busy until Close; with no handle at all a write fails as on an invalid one.
TEST(SerialPortFailure, TheRealDeviceReportsTheSystemsReasons) {
    test::ManualClock clock;
    test::SerialRig services("", &clock);
    test::TempDir dir;
    test::WriteFileBytes(dir.File("notatty"), "");
    const std::u16string strFile = dir.WideFile("notatty");
    SerialPort port(services.Context());
    std::uint32_t nWritten = 0;
    EXPECT_FALSE(port.write_scc("AT\r\n", 4, nWritten));
    const std::uint32_t nStart = clock.TickCount();
    EXPECT_FALSE(port.Open(u"/dev/vantrel-no-such-port"));
    EXPECT_EQ(clock.TickCount() - nStart, 3000u);
    EXPECT_FALSE(port.Open(strFile));
    EXPECT_TRUE(port.HoldsHandle());
    EXPECT_FALSE(port.Open(strFile));  // the held handle does not share
    port.Close();
    EXPECT_FALSE(port.Open(strFile));  // opens again, fails in configuration again
    const std::u16string strNoTty = u"Get configuration port has problem. (Error:Inappropriate ioctl for device)";
    EXPECT_EQ(services.Texts(), (std::vector<std::u16string>{
                                    u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (Bad file descriptor)",
                                    u"CreateFile failed: /dev/vantrel-no-such-port(Error:No such file or directory)", strNoTty,
                                    u"CreateFile failed: " + strFile + u"(Error:Device or resource busy)", strNoTty}));
}

}  // namespace
}  // namespace vantrel
