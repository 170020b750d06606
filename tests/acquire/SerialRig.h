#pragma once
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "acquire/SerialPort.h"
#include "deliver/MessageFacility.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/PseudoTerminal.h"
#include "port/SerialDevice.h"
#include "port/SystemInfo.h"
#include "port/ThreadPriority.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/TempDir.h"

namespace vantrel::test {

// Polls a condition in real time; false when it did not come true within nLimitMs.
inline bool WaitFor(const std::function<bool()>& condition, int nLimitMs = 5000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(nLimitMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// The real services a channel is built on: a fast clock (unless another is given), the message
// facility with boxes recorded, and, given a device path, "COM1:" resolved to it.
class SerialRig {
public:
    explicit SerialRig(const std::string& strDevice = "", Clock* pSerialClock = nullptr)
        : m_clock(pSerialClock ? *pSerialClock : m_fastClock),
          m_messages(*m_pSystemClock, *m_pFiles, m_boxes, ResourceModule::Program()),
          m_resolver(Utf8ToUtf16(strDevice), *m_pSystem),
          m_bResolve(!strDevice.empty()) {
        m_messages.SetFlags(MessageFacility::kShowBoxes);
    }

    SerialContext Context() {
        return SerialContext{m_clock, m_messages, *m_pPriority, CreateSerialDevice, m_bResolve ? &m_resolver : nullptr};
    }
    MessageFacility& Messages() { return m_messages; }
    std::vector<std::u16string> Texts() const {
        std::vector<std::u16string> texts;
        for (const RecordingMessageBox::Box& box : m_boxes.Boxes()) texts.push_back(box.strText);
        return texts;
    }

private:
    std::unique_ptr<Clock> m_pSystemClock = CreateSystemClock();
    FastClock m_fastClock;
    Clock& m_clock;
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    std::unique_ptr<SystemInfo> m_pSystem = CreateSystemInfo();
    std::unique_ptr<ThreadPriority> m_pPriority = CreateThreadPriority();
    RecordingMessageBox m_boxes;
    MessageFacility m_messages;
    PortResolver m_resolver;
    bool m_bResolve;
};

inline void Put(PseudoTerminal& terminal, const std::string& strBytes) {
    terminal.Write(strBytes.data(), static_cast<std::uint32_t>(strBytes.size()));
}

// A module on the far end of a real pseudo-terminal that hands each command line the host ends
// with "\r" to a script, which answers through the terminal (writes, pauses, a hang-up): for
// faults the emulator has no switch for, and for recorded conversations.
class ScriptedModule {
public:
    using Script = std::function<void(PseudoTerminal& terminal, const std::string& strCommand)>;

    explicit ScriptedModule(Script script) : m_script(std::move(script)), m_pTerminal(CreatePseudoTerminal()) {}
    ~ScriptedModule() {
        m_bStop = true;
        if (m_thread.joinable()) m_thread.join();
        m_pTerminal->Close();
    }
    bool Start() {
        if (!m_pTerminal->Open()) return false;
        m_thread = std::thread([this] { Serve(); });
        return true;
    }
    std::string DevicePath() const { return m_pTerminal->SlavePath(); }
    // The command lines whose script has run to its end.
    int Served() const { return m_nServed; }

private:
    void Serve() {
        std::string strLine;
        char c = 0;
        std::uint32_t nRead = 0;
        while (!m_bStop && m_pTerminal->Read(&c, 1, nRead, 20)) {
            if (nRead == 0 || c == '\n') continue;  // the host ends its lines with "\r\n"
            if (c != '\r') {
                strLine += c;
                continue;
            }
            m_script(*m_pTerminal, strLine);
            strLine.clear();
            ++m_nServed;
        }
    }

    Script m_script;
    std::unique_ptr<PseudoTerminal> m_pTerminal;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<int> m_nServed{0};
};

}  // namespace vantrel::test
