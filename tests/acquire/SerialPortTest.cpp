#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "port/PseudoTerminal.h"
#include "port/SystemInfo.h"
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

    test::SerialRig m_services;
    test::ChunkCollector m_collector;
    SerialPort m_port{m_services.Context()};
};

// The bytes go both ways unchanged, and a closed port opens again.
TEST_F(SerialPortOverPty, CommandAndAnswerMakeARoundTripAndThePortOpensAgain) {
    EmulatedModule module(CreatePseudoTerminal(), FastModule());
    ASSERT_TRUE(module.Start());
    std::string strExpected;
    for (int nRound = 0; nRound < 2; ++nRound) {
        ASSERT_TRUE(OpenOn(module.DevicePath())) << nRound;
        EXPECT_TRUE(m_port.IsOpen());
        ASSERT_TRUE(test::Send(m_port, "AT@K20\r\n"));
        strExpected += "AT@K20\r\n0A12F3C4,34\r\n0A12F3B8,21\r\nOK\r\n";
        ASSERT_TRUE(m_collector.WaitFor(strExpected.size(), 3000));
        EXPECT_EQ(m_collector.Text(), strExpected);
        EXPECT_TRUE(m_port.closePort());
        EXPECT_FALSE(m_port.IsOpen());
        EXPECT_EQ(m_port.LastReaderExitCode(), 0u);
    }
    EXPECT_EQ(module.Commands(), (std::vector<std::string>{"AT@K20", "AT@K20"}));
    EXPECT_TRUE(m_services.Texts().empty());
}

TEST_F(SerialPortOverPty, MoreThan999WaitingBytesAreHandedOverInSeparateChunks) {
    auto pTerminal = CreatePseudoTerminal();
    ASSERT_TRUE(pTerminal->Open());
    m_port.SetReadDelay(200);  // everything is buffered before the first read
    ASSERT_TRUE(OpenOn(pTerminal->SlavePath()));
    std::string strBurst;
    for (int i = 0; i < 2500; ++i) strBurst.push_back(static_cast<char>('A' + i % 26));
    ASSERT_TRUE(pTerminal->Write(strBurst.data(), static_cast<std::uint32_t>(strBurst.size())));
    ASSERT_TRUE(m_collector.WaitFor(strBurst.size(), 5000));
    const std::vector<std::string> chunks = m_collector.Chunks();
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].size(), 999u);
    EXPECT_EQ(chunks[1].size(), 999u);
    EXPECT_EQ(chunks[2].size(), 502u);
    EXPECT_EQ(m_collector.Text(), strBurst);
    EXPECT_TRUE(m_port.closePort());
}

// Legend: read delay, how the module cuts its answer, whether one chunk is expected.
struct DelayCase {
    std::uint32_t nReadDelay;
    std::uint32_t nFragmentBytes;
    std::uint32_t nFragmentPauseMs;
    bool bOneChunk;
};

void PrintTo(const DelayCase& c, std::ostream* pOut) {
    *pOut << "delay " << c.nReadDelay << " ms, pieces of " << c.nFragmentBytes << " every " << c.nFragmentPauseMs << " ms";
}

class ReadDelay : public testing::TestWithParam<DelayCase> {};

TEST_P(ReadDelay, DecidesWhetherACutAnswerArrivesInOneChunk) {
    const DelayCase& c = GetParam();
    EmulatorConfig config = FastModule();
    config.nFragmentBytes = c.nFragmentBytes;
    config.nFragmentPauseMs = c.nFragmentPauseMs;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    const std::unique_ptr<Clock> pClock = CreateSystemClock();  // the delay is what is measured
    test::SerialRig services("", pClock.get());
    test::ChunkCollector collector;
    SerialPort port(services.Context());
    port.SetListener(&collector);
    port.SetReadDelay(c.nReadDelay);
    ASSERT_TRUE(port.Open(Utf8ToUtf16(module.DevicePath())));
    ASSERT_TRUE(test::Send(port, "AT@LBC?\r\n"));
    ASSERT_TRUE(collector.WaitFor(0, 5000, "OK\r\n"));
    EXPECT_EQ(collector.Text(), "AT@LBC?\r\nN35:39:29\r\nE139:44:51\r\n1\r\nOK\r\n");
    if (c.bOneChunk) {
        EXPECT_EQ(collector.Chunks().size(), 1u);
    } else {
        EXPECT_GT(collector.Chunks().size(), 3u);
    }
    EXPECT_TRUE(port.closePort());
}

INSTANTIATE_TEST_SUITE_P(Serial, ReadDelay,
                         testing::Values(DelayCase{300, 5, 10, true}, DelayCase{1000, 3, 20, true},
                                         DelayCase{0, 5, 40, false}));

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
    EXPECT_EQ(tio.c_cc[VMIN], 0);
    EXPECT_EQ(tio.c_cc[VTIME], 0);
    EXPECT_TRUE(m_port.closePort());
    ::close(nMaster);
}

// Neither an empty write nor closing a port that is not open touches the line or says anything.
TEST_F(SerialPortOverPty, EmptyWritesAndClosingAClosedPortFailSilently) {
    EXPECT_FALSE(m_port.closePort());
    auto pTerminal = CreatePseudoTerminal();
    ASSERT_TRUE(pTerminal->Open());
    ASSERT_TRUE(OpenOn(pTerminal->SlavePath()));
    std::uint32_t nWritten = 7;
    EXPECT_FALSE(m_port.write_scc("AT\r\n", 0, nWritten));
    EXPECT_FALSE(m_port.write_scc("AT\r\n", -1, nWritten));
    EXPECT_EQ(nWritten, 0u);
    char buffer[16];
    std::uint32_t nRead = 0;
    pTerminal->Read(buffer, sizeof buffer, nRead, 100);
    EXPECT_EQ(nRead, 0u);
    EXPECT_TRUE(m_port.closePort());
    EXPECT_FALSE(m_port.closePort());
    EXPECT_TRUE(m_services.Texts().empty());
}

TEST_F(SerialPortOverPty, AVanishingModuleEndsTheReaderWithAMessageAndFailsTheNextWrite) {
    EmulatorConfig config = FastModule();
    config.nVanishAfter = 2;
    EmulatedModule module(CreatePseudoTerminal(), config);
    ASSERT_TRUE(module.Start());
    ASSERT_TRUE(OpenOn(module.DevicePath()));
    ASSERT_TRUE(test::Send(m_port, "AT@LBC1\r\n"));
    ASSERT_TRUE(m_collector.WaitFor(0, 3000, "OK\r\n"));
    ASSERT_TRUE(test::Send(m_port, "AT@LBC?\r\n"));
    test::WaitFor([&] { return !m_services.Texts().empty(); }, 3000);
    const std::u16string strEio = test::ErrnoText(5);
    ASSERT_EQ(m_services.Texts(),
              std::vector<std::u16string>{u"ClearCommError() Failed. dwErrors = 0x00000000, WinErr = (" + strEio + u")"});
    EXPECT_TRUE(module.HasHungUp());
    EXPECT_TRUE(m_port.IsOpen());  // the owner learns of it only because nothing more arrives
    EXPECT_FALSE(test::Send(m_port, "AT@LBC2\r\n"));
    EXPECT_EQ(m_services.Texts().back(),
              u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (" + strEio + u")");
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
        while (!listener.m_bEntered) std::this_thread::sleep_for(Ms(5));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(pPort->closePort());
        const auto waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited, Ms(990));
        EXPECT_LT(waited, Ms(1400));
        EXPECT_EQ(pPort->LastReaderExitCode(), SerialPort::kExitTimedOut);
        pPort.reset();  // the port and its services go while the reader is still inside the listener
    }
    while (!listener.m_bLeft) std::this_thread::sleep_for(Ms(5));
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
