#pragma once
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace vantrel {

// Line settings applied by Open (the DCB fields the program sets).
struct LineSettings {
    std::uint32_t nBaudRate = 9600;
    std::uint8_t nByteSize = 8;
    std::uint8_t nParity = 0;    // none
    std::uint8_t nStopBits = 0;  // one stop bit (ONESTOPBIT)
};

// Receives every chunk read from the port, converted to wide text, on the reader thread. It must
// not block.
class SerialListener {
public:
    virtual ~SerialListener() = default;
    virtual void OnReceive(const std::u16string& strText) = 0;
};

}  // namespace vantrel
