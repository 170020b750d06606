#pragma once
#include <cstdint>
#include <memory>
#include <string>

namespace vantrel {

// The device side of a pseudo-terminal: what a serial module would be at the far end of the
// line. The host program opens SlavePath() as its serial port.
class PseudoTerminal {
public:
    virtual ~PseudoTerminal() = default;
    // Creates the pair. The slave side is put in raw mode and held open, so that the line
    // discipline neither echoes nor translates and the pair survives the host closing its port.
    virtual bool Open() = 0;
    virtual std::string SlavePath() const = 0;
    // Waits up to nTimeoutMs for bytes from the host; nRead 0 on time-out. False once the pair
    // is broken or closed.
    virtual bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead, std::uint32_t nTimeoutMs) = 0;
    // Writes everything (waiting while the host's input queue is full).
    virtual bool Write(const void* pData, std::uint32_t nSize) = 0;
    // Hangs up: the host's handle sees the line go away, as when a module is unplugged.
    virtual void Close() = 0;
};

std::unique_ptr<PseudoTerminal> CreatePseudoTerminal();

}  // namespace vantrel
