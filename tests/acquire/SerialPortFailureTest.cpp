#include <gtest/gtest.h>

#include <cerrno>

#include "SerialRig.h"

namespace vantrel {
namespace {

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
    m_script.strFails = "Open";
    SerialPort port(ScriptedContext());
    const std::uint32_t nStart = m_clock.TickCount();
    EXPECT_FALSE(port.Open(u"COM1:"));
    std::string strOpens;
    for (int i = 0; i < 30; ++i) strOpens += "Open ";
    EXPECT_EQ(m_script.strCalls, strOpens);
    EXPECT_EQ(m_clock.TickCount() - nStart, 3000u);
    EXPECT_EQ(m_services.Texts(), std::vector<std::u16string>{u"CreateFile failed: COM1:(Error:" + test::ErrnoText(ENOENT) + u")"});
    EXPECT_EQ(m_services.Boxes().Boxes()[0].strCaption, u"エラー");
    EXPECT_EQ(m_services.Boxes().Boxes()[0].nFlags, mb::kIconHand);
    EXPECT_FALSE(port.HoldsHandle());
}

// Legend: the configuration call that fails (none), the calls made, the message shown. Closing an
// open port lowers DTR first; a failure leaves the handle held and the port not open until Close.
TEST_F(SerialPortFailure, OpenConfiguresTheLineOrHoldsTheHandleHalfOpen) {
    const struct {
        const char* pszFails;
        const char* pszCalls;
        std::u16string strMessage;
    } cases[] = {
        {"", "Open SetTimeouts GetState SetState ClearInfrared PurgeInput ", u""},
        {"SetTimeouts", "Open SetTimeouts ", u"SetCommTimeouts failed. (Error:Input/output error)"},
        {"GetState", "Open SetTimeouts GetState ", u"Get configuration port has problem. (Error:Inappropriate ioctl for device)"},
        {"SetState", "Open SetTimeouts GetState SetState ", u"Set configuration port has problem. (Error:Invalid argument)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszCalls);
        m_script = {c.pszFails, "", {}, {}};
        test::SerialRig services;
        SerialPort port(services.Context([this] { return std::make_unique<ScriptedDevice>(m_script); }));
        const bool bOk = c.strMessage.empty();
        EXPECT_EQ(port.Open(u"COM1:"), bOk);
        EXPECT_EQ(m_script.strCalls, c.pszCalls);
        EXPECT_EQ(services.Texts(), bOk ? std::vector<std::u16string>{} : std::vector<std::u16string>{c.strMessage});
        if (bOk) ExpectLineSettings(m_script);
        EXPECT_TRUE(port.HoldsHandle());
        EXPECT_EQ(port.closePort(), bOk);  // closePort knows only open ports
        if (!bOk) port.Close();
        EXPECT_FALSE(port.HoldsHandle());
        EXPECT_EQ(m_script.strCalls, c.pszCalls + std::string(bOk ? "ClearDtr Close " : "Close "));
    }
}

// The real device: a missing path gives the system's text; a regular file opens but has no line
// state, so the port goes half-open and the held handle keeps the file busy until Close; with no
// handle at all a write fails as on an invalid one.
TEST_F(SerialPortFailure, TheRealDeviceReportsTheSystemsReasons) {
    test::TempDir dir;
    test::WriteFileBytes(dir.File("notatty"), "");
    const std::u16string strFile = dir.WideFile("notatty");
    SerialPort port(m_services.Context());
    std::uint32_t nWritten = 0;
    EXPECT_FALSE(port.write_scc("AT\r\n", 4, nWritten));
    EXPECT_FALSE(port.Open(u"/dev/vantrel-no-such-port"));
    EXPECT_FALSE(port.Open(strFile));
    EXPECT_TRUE(port.HoldsHandle());
    EXPECT_FALSE(port.Open(strFile));  // the held handle does not share
    port.Close();
    EXPECT_FALSE(port.Open(strFile));  // opens again, fails in configuration again
    const std::u16string strNoTty = u"Get configuration port has problem. (Error:Inappropriate ioctl for device)";
    EXPECT_EQ(m_services.Texts(), (std::vector<std::u16string>{
                                      u"ClearCommError() Failed(write_scc()). dwErrors = 0x00000000, WinErr = (Bad file descriptor)",
                                      u"CreateFile failed: /dev/vantrel-no-such-port(Error:No such file or directory)", strNoTty,
                                      u"CreateFile failed: " + strFile + u"(Error:Device or resource busy)", strNoTty}));
}

}  // namespace
}  // namespace vantrel
