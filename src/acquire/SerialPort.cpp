#include "acquire/SerialPort.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <system_error>

#include "acquire/PortResolver.h"
#include "deliver/MessageFacility.h"
#include "port/Clock.h"
#include "port/SerialDevice.h"
#include "port/TextCodec.h"
#include "port/ThreadPriority.h"
#include "settings/Format.h"

namespace vantrel {

struct SerialPort::Shared {
    std::atomic<std::uint32_t> nReadDelay{0};
    std::atomic<SerialListener*> pListener{nullptr};
};

struct SerialPort::Channel {
    explicit Channel(std::shared_ptr<SerialDevice> pDev) : pDevice(std::move(pDev)) {}

    std::shared_ptr<SerialDevice> pDevice;
    // The handle field as the reader sees it: cleared first by closePort, which is what ends the
    // reader loop.
    std::atomic<bool> bHandleValid{true};
    std::thread reader;
    std::mutex mutex;
    std::condition_variable finished;
    bool bFinished = false;
    std::uint32_t nExitCode = 0;
};

namespace {

// Everything the reader thread touches, owned by the thread itself.
struct ReaderJob {
    std::shared_ptr<SerialPort::Channel> pChannel;
    std::shared_ptr<SerialPort::Shared> pShared;
    Clock* pClock;
    MessageFacility* pMessages;
    ThreadPriority* pPriority;
};

void ShowOn(MessageFacility& messages, const std::u16string& strText) {
    messages.ShowMessage(0, strText, caption::kDefault, mb::kIconHand);
}

// Sleeps in poll-sized steps so that a long read delay does not hold up closePort.
bool SleepWhileValid(Clock& clock, const SerialPort::Channel& channel, std::uint32_t nMilliseconds) {
    while (nMilliseconds > 0) {
        if (!channel.bHandleValid) return false;
        const std::uint32_t nStep = std::min(nMilliseconds, SerialPort::kPollMs);
        clock.Sleep(nStep);
        nMilliseconds -= nStep;
    }
    return channel.bHandleValid;
}

void Deliver(SerialPort::Shared& shared, const char* pBytes) {
    // The chunk was terminated like a C string: a NUL from the line ends the text there.
    const std::size_t nLength = std::strlen(pBytes);
    if (nLength == 0) return;
    std::u16string strText;
    AnsiCodePage().ToWide(std::string_view(pBytes, nLength), strText);
    if (SerialListener* pListener = shared.pListener.load()) pListener->OnReceive(strText);
}

std::uint32_t ReaderLoop(const ReaderJob& job) {
    SerialPort::Channel& channel = *job.pChannel;
    SerialDevice& device = *channel.pDevice;
    job.pPriority->LowerCurrentThread();
    char buffer[SerialPort::kChunkLimit + 1];
    while (channel.bHandleValid) {
        CommStatus status;
        if (!device.ClearError(status)) {
            const std::uint32_t nError = device.LastError();
            // A handle closed under us is the owner stopping the channel, not a fault to report.
            if (!channel.bHandleValid) break;
            ShowOn(*job.pMessages, FormatText(u"ClearCommError() Failed. dwErrors = 0x%08x, WinErr = (%s)",
                                              status.nErrors, device.ErrorText(nError)));
            return SerialPort::kExitFailed;
        }
        if (status.nInQueue == 0) {
            job.pClock->Sleep(SerialPort::kPollMs);
            continue;
        }
        const std::uint32_t nDelay = job.pShared->nReadDelay.load();
        if (nDelay != 0 && !SleepWhileValid(*job.pClock, channel, nDelay)) break;
        // Asking for up to the limit takes what is buffered now, after the delay let the rest of
        // the answer arrive.
        std::uint32_t nRead = 0;
        if (!device.Read(buffer, SerialPort::kChunkLimit, nRead)) {
            const std::uint32_t nError = device.LastError();
            if (!channel.bHandleValid) break;
            ShowOn(*job.pMessages, FormatText(u"ReadFile() failed. (Error:%s)", device.ErrorText(nError)));
            return SerialPort::kExitFailed;
        }
        buffer[nRead] = '\0';
        if (nRead > 0) {
            Deliver(*job.pShared, buffer);
        } else {
            job.pClock->Sleep(SerialPort::kPollMs);
        }
    }
    return 0;
}

void RunReader(ReaderJob job) {
    const std::uint32_t nExitCode = ReaderLoop(job);
    SerialPort::Channel& channel = *job.pChannel;
    std::lock_guard<std::mutex> lock(channel.mutex);
    channel.nExitCode = nExitCode;
    channel.bFinished = true;
    channel.finished.notify_all();
}

}  // namespace

SerialPort::SerialPort(const SerialContext& context)
    : m_clock(context.clock),
      m_messages(context.messages),
      m_priority(context.priority),
      m_createDevice(context.createDevice),
      m_pResolver(context.pResolver),
      m_pShared(std::make_shared<Shared>()) {}

SerialPort::~SerialPort() { Close(); }

void SerialPort::ShowError(const std::u16string& strText) { ShowOn(m_messages, strText); }

bool SerialPort::Open(const std::u16string& strPortName, const LineSettings& settings) {
    const std::u16string strDevice = m_pResolver ? m_pResolver->Resolve(strPortName) : strPortName;
    std::shared_ptr<SerialDevice> pDevice;
    std::uint32_t nError = 0;
    std::u16string strErrorText;
    for (std::uint32_t nAttempt = 0; nAttempt < m_nOpenRetries; ++nAttempt) {
        std::shared_ptr<SerialDevice> pCandidate = m_createDevice();
        if (pCandidate->Open(strDevice)) {
            pDevice = std::move(pCandidate);
            break;
        }
        nError = pCandidate->LastError();
        strErrorText = pCandidate->ErrorText(nError);
        m_clock.Sleep(m_nRetryInterval);
    }
    if (!pDevice) {
        ShowError(FormatText(u"CreateFile failed: %s(Error:%s)", strDevice, strErrorText));
        return false;
    }
    // A handle still held from a half-open attempt is given up for the new one.
    if (m_pChannel) Close();
    m_pChannel = std::make_shared<Channel>(pDevice);
    if (!Configure(*pDevice, settings)) return false;  // half-open: handle held, flag false
    pDevice->ClearInfrared();
    pDevice->PurgeInput();
    if (!StartReader()) {
        pDevice->Close();
        m_pChannel.reset();
        m_bOpen = false;
        return false;
    }
    m_bOpen = true;
    return true;
}

bool SerialPort::Configure(SerialDevice& device, const LineSettings& settings) {
    CommTimeouts timeouts;
    device.GetTimeouts(timeouts);
    timeouts.nReadInterval = 0xFFFFFFFF;  // with zero totals: a read returns what is buffered
    timeouts.nReadTotalMultiplier = 0;
    timeouts.nReadTotalConstant = 0;
    timeouts.nWriteTotalMultiplier = 10;
    timeouts.nWriteTotalConstant = 1000;
    if (!device.SetTimeouts(timeouts)) {
        ShowError(FormatText(u"SetCommTimeouts failed. (Error:%s)", device.ErrorText(device.LastError())));
        return false;
    }
    CommState state;
    if (!device.GetState(state)) {
        ShowError(FormatText(u"Get configuration port has problem. (Error:%s)", device.ErrorText(device.LastError())));
        return false;
    }
    state.bOutxCtsFlow = true;
    state.bOutxDsrFlow = false;
    state.bDtrEnable = true;
    state.bOutX = false;
    state.bInX = false;
    state.bRtsEnable = true;
    state.nBaudRate = settings.nBaudRate;
    state.nByteSize = settings.nByteSize;
    state.nParity = settings.nParity;
    state.nStopBits = settings.nStopBits;
    if (!device.SetState(state)) {
        ShowError(FormatText(u"Set configuration port has problem. (Error:%s)", device.ErrorText(device.LastError())));
        return false;
    }
    return true;
}

bool SerialPort::StartReader() {
    ReaderJob job{m_pChannel, m_pShared, &m_clock, &m_messages, &m_priority};
    try {
        m_pChannel->reader = std::thread(RunReader, std::move(job));
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void SerialPort::StopReader(Channel& channel) {
    if (!channel.reader.joinable()) return;
    std::unique_lock<std::mutex> lock(channel.mutex);
    const bool bEnded = channel.finished.wait_for(lock, std::chrono::milliseconds(kStopWaitMs),
                                                  [&channel] { return channel.bFinished; });
    if (bEnded) {
        m_nReaderExitCode = channel.nExitCode;
        lock.unlock();
        channel.reader.join();
    } else {
        // Cannot be terminated: it keeps the channel alive by itself and leaves at its next look
        // at the (now invalid) handle.
        m_nReaderExitCode = kExitTimedOut;
        lock.unlock();
        channel.reader.detach();
    }
}

bool SerialPort::write_scc(const char* pBytes, int nLength, std::uint32_t& nWritten) {
    nWritten = 0;
    if (nLength <= 0) return false;
    // Without a handle the calls below fail as they would on an invalid handle.
    const std::shared_ptr<SerialDevice> pDevice =
        m_pChannel ? m_pChannel->pDevice : std::shared_ptr<SerialDevice>(m_createDevice());
    CommStatus status;
    bool bOk = pDevice->ClearError(status);
    while (bOk && status.nOutQueue > 0) {
        m_clock.Sleep(kPollMs);
        bOk = pDevice->ClearError(status);
    }
    if (!bOk) {
        ShowError(FormatText(u"ClearCommError() Failed(write_scc()). dwErrors = 0x%08x, WinErr = (%s)", status.nErrors,
                             pDevice->ErrorText(pDevice->LastError())));
        return false;
    }
    if (!pDevice->Write(pBytes, static_cast<std::uint32_t>(nLength), nWritten)) {
        ShowError(FormatText(u"Reading of serial communication has problem. (Error:%s)",
                             pDevice->ErrorText(pDevice->LastError())));
        return false;
    }
    return true;
}

bool SerialPort::closePort() {
    if (!m_bOpen) return false;
    m_bOpen = false;
    const std::shared_ptr<Channel> pChannel = std::move(m_pChannel);
    pChannel->bHandleValid = false;
    StopReader(*pChannel);
    SerialDevice& device = *pChannel->pDevice;
    device.ClearDtr();
    if (!device.Close()) {
        ShowError(FormatText(u"Port Closeing isn't successed. (Error:%s)", device.ErrorText(device.LastError())));
        return false;
    }
    return true;
}

void SerialPort::Close() {
    m_bOpen = false;
    const std::shared_ptr<Channel> pChannel = std::move(m_pChannel);
    if (!pChannel) return;
    pChannel->bHandleValid = false;
    pChannel->pDevice->Close();
    StopReader(*pChannel);
}

void SerialPort::SetReadDelay(std::uint32_t nMilliseconds) { m_pShared->nReadDelay = nMilliseconds; }

std::uint32_t SerialPort::ReadDelay() const { return m_pShared->nReadDelay; }

void SerialPort::SetListener(SerialListener* pListener) { m_pShared->pListener = pListener; }

}  // namespace vantrel
