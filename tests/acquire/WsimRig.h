#pragma once
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "acquire/EmulatedModule.h"
#include "acquire/PortResolver.h"
#include "acquire/SerialPort.h"
#include "deliver/MessageFacility.h"
#include "port/Clock.h"
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

// A module that answers each command line through a script, on the far end of a real
// pseudo-terminal: for faults the emulator has no switch for (a bad reading, then a good one).
class ScriptedModule {
public:
    // Returns the bytes to send for command number nIndex (from 0) with the given text.
    using Script = std::function<std::string(const std::string& strCommand, int nIndex)>;

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
    std::vector<std::string> Commands() const {
        std::lock_guard lock(m_mutex);
        return m_commands;
    }

private:
    void Serve() {
        std::string strLine;
        while (!m_bStop) {
            char buffer[256];
            std::uint32_t nRead = 0;
            if (!m_pTerminal->Read(buffer, sizeof buffer, nRead, 20)) return;
            for (std::uint32_t i = 0; i < nRead; ++i) {
                if (buffer[i] == '\n') continue;  // the host ends its lines with "\r\n"
                if (buffer[i] != '\r') {
                    strLine += buffer[i];
                    continue;
                }
                int nIndex;
                {
                    std::lock_guard lock(m_mutex);
                    nIndex = static_cast<int>(m_commands.size());
                    m_commands.push_back(strLine);
                }
                const std::string strAnswer = m_script(strLine, nIndex);
                if (!strAnswer.empty()) m_pTerminal->Write(strAnswer.data(), static_cast<std::uint32_t>(strAnswer.size()));
                strLine.clear();
            }
        }
    }

    Script m_script;
    std::unique_ptr<PseudoTerminal> m_pTerminal;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_commands;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
};

// The standard answer of a module that knows the command: echo, body lines, "OK".
inline std::string Answer(const std::string& strCommand, const std::string& strBody = "") {
    return strCommand + "\r\n" + strBody + "OK\r\n";
}

// The real channel stack for one device path: a fast clock for the channel (unless another is
// given), message facility with recorded boxes and a message log in a temporary folder, "COM1:"
// resolved to the device.
class SerialRig {
public:
    explicit SerialRig(const std::string& strDevice, Clock* pSerialClock = nullptr)
        : m_pClock(CreateSystemClock()),
          m_pFiles(CreateFileSystem()),
          m_pSystem(CreateSystemInfo()),
          m_pPriority(CreateThreadPriority()),
          m_messages(*m_pClock, *m_pFiles, m_boxes, ResourceModule::Program()),
          m_resolver(Utf8ToUtf16(strDevice), *m_pSystem),
          m_context{pSerialClock ? *pSerialClock : m_fastClock, m_messages, *m_pPriority,
                    [] { return CreateSerialDevice(); }, &m_resolver} {
        m_messages.SetLogFolder(m_logDir.WidePath());
        m_messages.SetFlags(MessageFacility::kShowBoxes | MessageFacility::kLogToFile);
    }

    const SerialContext& Context() const { return m_context; }
    MessageFacility& Messages() { return m_messages; }
    RecordingMessageBox& Boxes() { return m_boxes; }
    Clock& SystemClock() { return *m_pClock; }
    // Everything written to today's message log, as UTF-8.
    std::string MessageLog() const {
        const SystemTime now = m_pClock->LocalTime();
        char szName[16];
        std::snprintf(szName, sizeof szName, "%04d%02d%02d.log", now.nYear, now.nMonth, now.nDay);
        return ReadUtf16File(m_logDir.File(szName));
    }

private:
    std::unique_ptr<Clock> m_pClock;
    test::FastClock m_fastClock;
    std::unique_ptr<FileSystem> m_pFiles;
    std::unique_ptr<SystemInfo> m_pSystem;
    std::unique_ptr<ThreadPriority> m_pPriority;
    RecordingMessageBox m_boxes;
    TempDir m_logDir;
    MessageFacility m_messages;
    PortResolver m_resolver;
    SerialContext m_context;
};

// Polls a condition in real time; false when it did not come true within nLimitMs.
inline bool WaitFor(const std::function<bool()>& condition, int nLimitMs = 5000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(nLimitMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace vantrel::test
