#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

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
// port that is not open fail without a word and without touching the line.
TEST_F(SerialPortOverPty, RoundTripsReopensAndRefusesEmptyWrites) {
    EXPECT_FALSE(m_port.closePort());
    EmulatedModule module(CreatePseudoTerminal(), FastModule());
    ASSERT_TRUE(module.Start());
    std::string strExpected;
    for (int nRound = 0; nRound < 2; ++nRound) {
        ASSERT_TRUE(OpenOn(module.DevicePath())) << nRound;
        std::uint32_t nWritten = 7;
        EXPECT_FALSE(m_port.write_scc("AT\r\n", -nRound, nWritten));
        EXPECT_EQ(nWritten, 0u);
        ASSERT_TRUE(test::Send(m_port, "AT@K20\r\n"));
        strExpected += "AT@K20\r\n0A12F3C4,34\r\n0A12F3B8,21\r\nOK\r\n";
        ASSERT_TRUE(Received(strExpected.size()));
        EXPECT_EQ(m_collector.Text(), strExpected);
        EXPECT_TRUE(m_port.closePort());
        EXPECT_FALSE(m_port.IsOpen());
        EXPECT_EQ(m_port.LastReaderExitCode(), 0u);
    }
    EXPECT_FALSE(m_port.closePort());
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20", "AT@K20"}));
    EXPECT_TRUE(m_services.Texts().empty());
}

TEST_F(SerialPortOverPty, MoreThan999WaitingBytesAreHandedOverInSeparateChunks) {
    auto pTerminal = CreatePseudoTerminal();
    ASSERT_TRUE(pTerminal->Open());
    m_port.SetReadDelay(200);  // everything is buffered before the first read
    ASSERT_TRUE(OpenOn(pTerminal->SlavePath()));
    std::string strBurst;
    for (int i = 0; i < 1999; ++i) strBurst.push_back(static_cast<char>('A' + i % 26));
    test::Put(*pTerminal, strBurst);
    ASSERT_TRUE(Received(strBurst.size()));
    std::vector<std::size_t> sizes;
    for (const std::string& strChunk : m_collector.Chunks()) sizes.push_back(strChunk.size());
    EXPECT_EQ(sizes, (std::vector<std::size_t>{999, 999, 1}));  // a single byte is a chunk too
    EXPECT_EQ(m_collector.Text(), strBurst);
}

// Legend: read delay, the pieces the module cuts its answer into and the pause after each ->
// whether the answer arrives in one chunk. The delay runs on the real clock: it is what is measured.
TEST(ReadDelay, DecidesWhetherACutAnswerArrivesInOneChunk) {
    const struct {
        std::uint32_t nDelay, nPieceBytes, nPauseMs;
        bool bOneChunk;
    } cases[] = {{300, 5, 10, true}, {1000, 3, 20, true}, {0, 5, 40, false}};
    const std::string strAnswer = "AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\n1\r\nOK\r\n";
    const std::unique_ptr<Clock> pClock = CreateSystemClock();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.nDelay);
        EmulatorConfig config = FastModule();
        config.nFragmentBytes = c.nPieceBytes;
        config.nFragmentPauseMs = c.nPauseMs;
        EmulatedModule module(CreatePseudoTerminal(), config);
        ASSERT_TRUE(module.Start());
        test::SerialRig services("", pClock.get());
        test::ChunkCollector collector;
        SerialPort port(services.Context());
        port.SetListener(&collector);
        port.SetReadDelay(c.nDelay);
        ASSERT_TRUE(port.Open(Utf8ToUtf16(module.DevicePath())));
        ASSERT_TRUE(test::Send(port, "AT@LBC?\r\n"));
        EXPECT_TRUE(test::WaitFor([&] { return collector.Text() == strAnswer; }));
        EXPECT_EQ(collector.Chunks().size() == 1, c.bOneChunk) << collector.Chunks().size();
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

TEST_F(SerialPortOverPty, AVanishingModuleEndsTheReaderWithAMessageAndFailsTheNextWrite) {
    EmulatorConfig config = FastModule();
    config.nVanishAfter = 1;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    ASSERT_TRUE(OpenOn(module.DevicePath()));
    ASSERT_TRUE(test::Send(m_port, "AT@LBC?\r\n"));
    test::WaitFor([&] { return !m_services.Texts().empty(); }, 3000);
    const std::u16string strEio = test::ErrnoText(5);
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{u"ClearCommError() Failed. dwErrors = 0x00000000, WinErr = (" + strEio + u")"});
    EXPECT_TRUE(m_port.IsOpen());  // the owner learns of it only because nothing more arrives
    EXPECT_FALSE(test::Send(m_port, "AT@LBC2\r\n"));
    EXPECT_EQ(m_services.Texts().back(), u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (" + strEio + u")");
    EXPECT_TRUE(m_port.closePort());
    EXPECT_EQ(m_port.LastReaderExitCode(), SerialPort::kExitFailed);
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
        {u"sim", nullptr, u"sim"},
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

}  // namespace
}  // namespace vantrel
