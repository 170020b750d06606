#pragma once
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "acquire/ModuleEmulator.h"

namespace vantrel {

class PseudoTerminal;

// The emulated module at the far end of a pseudo-terminal, served by its own thread. The host
// opens DevicePath() as its serial port (`--port sim`, the vantrel-wsim tool, tests).
//
//   EmulatedModule module(CreatePseudoTerminal(), config);
//   if (module.Start()) resolver.SetSimulatedDevice(Utf8ToUtf16(module.DevicePath()));
class EmulatedModule {
public:
    EmulatedModule(std::unique_ptr<PseudoTerminal> pTerminal, EmulatorConfig config = EmulatorConfig());
    ~EmulatedModule();
    EmulatedModule(const EmulatedModule&) = delete;
    EmulatedModule& operator=(const EmulatedModule&) = delete;

    bool Start();
    // Stops serving and hangs up. Safe to call twice.
    void Stop();
    std::string DevicePath() const { return m_strPath; }
    // Commands received so far, in order.
    std::vector<std::string> Commands() const;
    // The module went away (the "vanish" fault), or the pair broke.
    bool HasHungUp() const { return m_bHungUp; }

private:
    void Serve();
    bool Send(const EmulatorOutput& output);
    bool PauseUnlessStopped(std::uint32_t nMilliseconds);

    std::unique_ptr<PseudoTerminal> m_pTerminal;
    ModuleEmulator m_emulator;
    mutable std::mutex m_mutex;  // guards m_emulator against Commands() from other threads
    std::string m_strPath;
    std::thread m_thread;
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bHungUp{false};
};

}  // namespace vantrel
