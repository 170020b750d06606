#include <gtest/gtest.h>

#include <cerrno>

#include "support/ManualClock.h"
#include "SerialRig.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {


// A device whose calls fail on demand; counts the opens and notes the configuration calls and what
// they were given. It reports a line state and time-outs in which every field is the opposite of
// what the channel wants, so that a field left as reported shows.
struct Script {
    int nOpens = 0;
    bool bOpenFails = false;
    bool bSetTimeoutsFails = false;
    bool bGetStateFails = false;
    bool bSetStateFails = false;
    int nCloses = 0;
    std::vector<std::string> calls;
    CommTimeouts timeouts;
    CommState state;
};

class ScriptedDevice final : public SerialDevice {
public:
    explicit ScriptedDevice(Script& script) : m_script(script) {}
    bool Open(const std::u16string&) override {
        ++m_script.nOpens;
        return m_script.bOpenFails ? Fail(ENOENT) : true;
    }
    bool GetTimeouts(CommTimeouts& timeouts) override {
        timeouts = {7, 7, 7, 7, 7};
        return true;
    }
    bool SetTimeouts(const CommTimeouts& timeouts) override {
        m_script.calls.push_back("SetTimeouts");
        m_script.timeouts = timeouts;
        return m_script.bSetTimeoutsFails ? Fail(EIO) : true;
    }
    bool GetState(CommState& state) override {
        state = {1200, 7, 2, 2, false, true, false, false, true, true};
        return m_script.bGetStateFails ? Fail(ENOTTY) : true;
    }
    bool SetState(const CommState& state) override {
        m_script.calls.push_back("SetState");
        m_script.state = state;
        return m_script.bSetStateFails ? Fail(EINVAL) : true;
    }
    bool ClearInfrared() override { return m_script.calls.push_back("ClearInfrared"), true; }
    bool PurgeInput() override { return m_script.calls.push_back("PurgeInput"), true; }
    bool ClearError(CommStatus&) override { return true; }
    bool Read(void*, std::uint32_t, std::uint32_t& nRead) override { return nRead = 0, true; }
    bool Write(const void*, std::uint32_t n, std::uint32_t& nWritten) override { return nWritten = n, true; }
    bool ClearDtr() override { return m_script.calls.push_back("ClearDtr"), true; }
    bool Close() override { return m_script.calls.push_back("Close"), ++m_script.nCloses, true; }
    std::uint32_t LastError() const override { return m_nError; }
    std::u16string ErrorText(std::uint32_t nError) const override { return test::ErrnoText(static_cast<int>(nError)); }

private:
    bool Fail(int nError) {
        m_nError = static_cast<std::uint32_t>(nError);
        return false;
    }
    Script& m_script;
    std::uint32_t m_nError = 0;
};

class SerialPortFailure : public testing::Test {
protected:
    SerialContext ScriptedContext() {
        return m_services.Context([this] { return std::make_unique<ScriptedDevice>(m_script); });
    }

    test::ManualClock m_clock;
    test::SerialRig m_services{"", &m_clock};
    Script m_script;
};

TEST_F(SerialPortFailure, AnUnavailablePortCosts30AttemptsWith100MsPauses) {
    m_script.bOpenFails = true;
    SerialPort port(ScriptedContext());
    const std::uint32_t nStart = m_clock.TickCount();
    EXPECT_FALSE(port.Open(u"COM1:"));
    EXPECT_EQ(m_script.nOpens, 30);
    EXPECT_EQ(m_clock.TickCount() - nStart, 3000u);
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{u"CreateFile failed: COM1:(Error:" + test::ErrnoText(ENOENT) + u")"});
    ASSERT_EQ(m_services.Boxes().Boxes().size(), 1u);
    EXPECT_EQ(m_services.Boxes().Boxes()[0].strCaption, u"エラー");
    EXPECT_EQ(m_services.Boxes().Boxes()[0].nFlags, mb::kIconHand);
    EXPECT_FALSE(port.IsOpen());
    EXPECT_FALSE(port.HoldsHandle());
}

// 9600 8N1 with CTS output flow, DTR and RTS on, no DSR flow and no XON/XOFF; reads return what is
// buffered and writes are bounded by 10 ms a byte plus a second. Closing lowers DTR first.
TEST(SerialPortConfiguration, OpenAppliesTheLineStateAndCloseLowersDtr) {
    Script script;
    test::SerialRig services;
    SerialPort port(services.Context([&script] { return std::make_unique<ScriptedDevice>(script); }));
    ASSERT_TRUE(port.Open(u"COM1:"));
    const CommTimeouts& t = script.timeouts;
    EXPECT_EQ(std::vector<std::uint32_t>({t.nReadInterval, t.nReadTotalMultiplier, t.nReadTotalConstant,
                                          t.nWriteTotalMultiplier, t.nWriteTotalConstant}),
              std::vector<std::uint32_t>({0xFFFFFFFF, 0, 0, 10, 1000}));
    const CommState& s = script.state;
    EXPECT_EQ(std::vector<int>({int(s.nBaudRate), s.nByteSize, s.nParity, s.nStopBits}), std::vector<int>({9600, 8, 0, 0}));
    EXPECT_EQ(std::vector<bool>({s.bOutxCtsFlow, s.bOutxDsrFlow, s.bDtrEnable, s.bRtsEnable, s.bOutX, s.bInX}),
              std::vector<bool>({true, false, true, true, false, false}));
    EXPECT_TRUE(port.closePort());
    EXPECT_EQ(script.calls, (std::vector<std::string>{"SetTimeouts", "SetState", "ClearInfrared", "PurgeInput",
                                                      "ClearDtr", "Close"}));
    EXPECT_TRUE(services.Texts().empty());
}

TEST_F(SerialPortFailure, AMissingRealDeviceGivesTheSystemsText) {
    SerialPort port(m_services.Context());
    EXPECT_FALSE(port.Open(u"/dev/vantrel-no-such-port"));
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{u"CreateFile failed: /dev/vantrel-no-such-port(Error:No such file or directory)"});
}

// Legend: which configuration call fails, the message it shows.
struct ConfigCase {
    bool Script::*pFails;
    const char16_t* pszMessage;
};

class ConfigurationFailure : public SerialPortFailure, public testing::WithParamInterface<ConfigCase> {};

TEST_P(ConfigurationFailure, LeavesTheHandleHeldAndTheFlagClearUntilClose) {
    m_script.*GetParam().pFails = true;
    SerialPort port(ScriptedContext());
    EXPECT_FALSE(port.Open(u"COM1:"));
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{GetParam().pszMessage});
    EXPECT_FALSE(port.IsOpen());
    EXPECT_TRUE(port.HoldsHandle());
    EXPECT_FALSE(port.closePort());  // closePort knows only open ports
    EXPECT_EQ(m_script.nCloses, 0);
    port.Close();
    EXPECT_EQ(m_script.nCloses, 1);
    EXPECT_FALSE(port.HoldsHandle());
    EXPECT_EQ(m_services.Texts().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Serial, ConfigurationFailure,
    testing::Values(ConfigCase{&Script::bSetTimeoutsFails, u"SetCommTimeouts failed. (Error:Input/output error)"},
                    ConfigCase{&Script::bGetStateFails,
                               u"Get configuration port has problem. (Error:Inappropriate ioctl for device)"},
                    ConfigCase{&Script::bSetStateFails,
                               u"Set configuration port has problem. (Error:Invalid argument)"}));

TEST_F(SerialPortFailure, AHalfOpenPortKeepsTheDeviceBusyUntilClose) {
    // A regular file opens but has no line state: the real device goes half-open on it.
    test::TempDir dir;
    test::WriteFileBytes(dir.File("notatty"), "");
    SerialPort port(m_services.Context());
    EXPECT_FALSE(port.Open(dir.WideFile("notatty")));
    EXPECT_TRUE(port.HoldsHandle());
    EXPECT_FALSE(port.Open(dir.WideFile("notatty")));  // the held handle does not share
    const std::vector<std::u16string> texts = m_services.Texts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0], u"Get configuration port has problem. (Error:Inappropriate ioctl for device)");
    EXPECT_EQ(texts[1], u"CreateFile failed: " + dir.WideFile("notatty") + u"(Error:Device or resource busy)");
    port.Close();
    EXPECT_FALSE(port.Open(dir.WideFile("notatty")));  // opens again, fails in configuration again
    EXPECT_EQ(m_services.Texts().size(), 3u);
    EXPECT_EQ(m_services.Texts()[2], texts[0]);
}

TEST_F(SerialPortFailure, WritingWithoutAHandleFailsAsOnAnInvalidHandle) {
    std::uint32_t nWritten = 0;
    SerialPort realPort(m_services.Context());
    EXPECT_FALSE(realPort.write_scc("AT\r\n", 4, nWritten));
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{
                                      u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (Bad file descriptor)"});
}

}  // namespace
}  // namespace vantrel
