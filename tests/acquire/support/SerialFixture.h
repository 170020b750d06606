#pragma once
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "acquire/SerialPort.h"
#include "deliver/MessageFacility.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/SerialDevice.h"
#include "port/ThreadPriority.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"
#include "support/RecordingMessageBox.h"

namespace vantrel::test {

// Collects the chunks a channel hands over, in order, and lets a test wait for them.
class ChunkCollector final : public SerialListener {
public:
    void OnReceive(const std::u16string& strText) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_chunks.push_back(Utf16ToUtf8(strText));
        m_changed.notify_all();
    }
    std::vector<std::string> Chunks() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_chunks;
    }
    std::string Text() const {
        std::string strText;
        for (const std::string& strChunk : Chunks()) strText += strChunk;
        return strText;
    }
    // Waits until the text received so far satisfies the condition.
    bool WaitFor(const std::function<bool(const std::string&)>& done, std::uint32_t nTimeoutMs) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(nTimeoutMs), [&] {
            std::string strText;
            for (const std::string& strChunk : m_chunks) strText += strChunk;
            return done(strText);
        });
    }
    bool WaitForEnding(const std::string& strEnd, std::uint32_t nTimeoutMs) {
        return WaitFor([&](const std::string& s) { return s.size() >= strEnd.size() && s.compare(s.size() - strEnd.size(), strEnd.size(), strEnd) == 0; },
                       nTimeoutMs);
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_chunks;
};

// The real seams a channel is built on, with the boxes recorded instead of shown.
struct SerialServices {
    explicit SerialServices(Clock* pClock = nullptr)
        : pSystemClock(CreateSystemClock()),
          clock(pClock ? *pClock : *pSystemClock),
          pFiles(CreateFileSystem()),
          facility(clock, *pFiles, boxes, ResourceModule::Program()),
          pPriority(CreateThreadPriority()) {}

    SerialContext Context(std::function<std::unique_ptr<SerialDevice>()> create = CreateSerialDevice) {
        return SerialContext{clock, facility, *pPriority, std::move(create), nullptr};
    }
    std::vector<std::u16string> Texts() const {
        std::vector<std::u16string> texts;
        for (const RecordingMessageBox::Box& box : boxes.Boxes()) texts.push_back(box.strText);
        return texts;
    }

    std::unique_ptr<Clock> pSystemClock;
    Clock& clock;
    std::unique_ptr<FileSystem> pFiles;
    RecordingMessageBox boxes;
    MessageFacility facility;
    std::unique_ptr<ThreadPriority> pPriority;
};

inline std::u16string ErrnoText(int nError) { return CreateSerialDevice()->ErrorText(static_cast<std::uint32_t>(nError)); }

inline bool Send(SerialPort& port, const std::string& strBytes) {
    std::uint32_t nWritten = 0;
    return port.write_scc(strBytes.data(), static_cast<int>(strBytes.size()), nWritten) && nWritten == strBytes.size();
}

}  // namespace vantrel::test
