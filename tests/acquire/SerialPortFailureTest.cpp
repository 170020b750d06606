#include <gtest/gtest.h>

#include <cerrno>

#include "support/ManualClock.h"
#include "support/SerialFixture.h"
#include "support/TempDir.h"

namespace vantrel {
namespace {

using test::SerialServices;

// A device whose calls fail on demand; counts the opens. Never reaches a reader: every
// scripted failure happens before the reader would start.
struct Script {
    int nOpens = 0;
    bool bOpenFails = false;
    bool bSetTimeoutsFails = false;
    bool bGetStateFails = false;
    bool bSetStateFails = false;
    int nCloses = 0;
};

class ScriptedDevice final : public SerialDevice {
public:
    explicit ScriptedDevice(Script& script) : m_script(script) {}
    bool Open(const std::u16string&) override {
        ++m_script.nOpens;
        return m_script.bOpenFails ? Fail(ENOENT) : true;
    }
    bool GetTimeouts(CommTimeouts&) override { return true; }
    bool SetTimeouts(const CommTimeouts&) override { return m_script.bSetTimeoutsFails ? Fail(EIO) : true; }
    bool GetState(CommState&) override { return m_script.bGetStateFails ? Fail(ENOTTY) : true; }
    bool SetState(const CommState&) override { return m_script.bSetStateFails ? Fail(EINVAL) : true; }
    bool ClearInfrared() override { return true; }
    bool PurgeInput() override { return true; }
    bool ClearError(CommStatus&) override { return true; }
    bool Read(void*, std::uint32_t, std::uint32_t& nRead) override { return nRead = 0, true; }
    bool Write(const void*, std::uint32_t n, std::uint32_t& nWritten) override { return nWritten = n, true; }
    bool ClearDtr() override { return true; }
    bool Close() override { return ++m_script.nCloses, true; }
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
    SerialServices m_services{&m_clock};
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
    ASSERT_EQ(m_services.boxes.Boxes().size(), 1u);
    EXPECT_EQ(m_services.boxes.Boxes()[0].strCaption, u"エラー");
    EXPECT_EQ(m_services.boxes.Boxes()[0].nFlags, mb::kIconHand);
    EXPECT_FALSE(port.IsOpen());
    EXPECT_FALSE(port.HoldsHandle());
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
