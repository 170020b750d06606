#pragma once
#include <string>

namespace vantrel {

class SystemInfo;

// Where the program's one serial port, "COM1:", really is: the device named on the command line
// (--port), else in VANTREL_PORT, else /dev/ttyS0. The name "sim" stands for the built-in
// emulated module; the composition root starts it and reports its pseudo-terminal here.
class PortResolver {
public:
    static constexpr char16_t kProgramPort[] = u"COM1:";
    static constexpr char16_t kSimulated[] = u"sim";
    static constexpr char16_t kDefaultDevice[] = u"/dev/ttyS0";
    static constexpr char kEnvironment[] = "VANTREL_PORT";

    // strOption: the --port value, empty when the option was not given.
    PortResolver(const std::u16string& strOption, SystemInfo& system);

    // The configured device, or "sim".
    const std::u16string& Configured() const { return m_strConfigured; }
    bool IsSimulated() const { return m_strConfigured == kSimulated; }
    // The slave side of the started emulator; until it is set "sim" resolves to itself and
    // opening it fails like a missing device.
    void SetSimulatedDevice(const std::u16string& strPath) { m_strSimulated = strPath; }

    // "COM1:" (or "COM1", in any case, as Windows accepts it) maps to the device; any other name
    // is a device path already and is kept.
    std::u16string Resolve(const std::u16string& strPortName) const;

private:
    std::u16string m_strConfigured;
    std::u16string m_strSimulated;
};

}  // namespace vantrel
