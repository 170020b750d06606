#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// The W-SIM module's side of the AT conversation, as bytes in and bytes out, without any device.
//
// Grammar of what the emulated module sends (every line ends in "\r\n"):
//
//   answer   = [garbage] echo body [final]
//   echo     = command "\r\n"           the command line as received, up to its "\r"
//            | command "\r\r\n"         with extra-CR: the module echoes the host's CR itself,
//                                       then starts its answer on a new line
//   final    = "OK\r\n" | "ERROR\r\n"   ERROR for an unknown command or an injected error
//   garbage  = noise "\r\n"             line noise of a module waking up (fault)
//
//   body of "AT@K20"  = station-line+ | "\r\n"     one line per base station heard, strongest
//                                                  first; a lone empty line when none is heard
//   station-line      = id "," level "\r\n"         e.g. "0A12F3C4,34"
//   body of "AT@LBC?" = fix-line* [info "\r\n"]
//   fix-line          = "N" dd ":" mm ":" ss "\r\n" then "E" ddd ":" mm ":" ss "\r\n"
//                                                  Tokyo datum, e.g. "N35:39:29", "E139:44:51"
//                     | "--:--:--\r\n" twice       no fix yet (fault "nofix"): the host's parser
//                                                  skips lines that begin with "-"
//   body of "AT", "AT@LBC1", "AT@LBC2" = nothing
//
// The host sends each command as "AT...\r\n"; the "\n" after the command's "\r" is not part of
// the next command. Bytes that do not start with "AT" are echoed and answered "ERROR".
struct EmulatorStation {
    std::string strId;
    std::string strLevel;
};

struct EmulatorConfig {
    std::string strNorth = "N35:39:29";
    std::string strEast = "E139:44:51";
    std::string strInfo = "1";  // empty: no information line
    std::vector<EmulatorStation> stations = {{"0A12F3C4", "34"}, {"0A12F3B8", "21"}};
    bool bExtraCr = false;
    // Answers are paced like a serial line at this rate (10 bits a byte); 0: no pacing.
    std::uint32_t nBaudRate = 9600;

    // Faults. A command filter is "" (never), "*" (every command) or one command ("AT@LBC?").
    std::string strNoFinalOn;   // answer without its final line: the host never sees "OK\r\n"
    std::string strErrorOn;     // echo, then "ERROR\r\n" instead of the body
    bool bGarbageBeforeEcho = false;
    bool bGarbageInBody = false;
    bool bNoFix = false;
    std::uint32_t nFragmentBytes = 0;  // cut every answer into pieces of this size...
    std::uint32_t nFragmentPauseMs = 0;  // ...with this pause before each piece after the first
    std::uint32_t nSlowMs = 0;           // pause before every answer
    std::uint32_t nVanishAfter = 0;      // the Nth command gets its echo, then the line is gone
    std::uint32_t nTrackEvery = 0;       // every N readings the fix moves 1" north and 1" east
};

// One thing the module does: pause, then send bytes; or hang up.
struct EmulatorOutput {
    std::uint32_t nPauseMs = 0;
    std::string strBytes;
    bool bHangUp = false;
};

class ModuleEmulator {
public:
    explicit ModuleEmulator(EmulatorConfig config = EmulatorConfig());

    // Takes bytes from the host and returns the module's reaction to every command they end.
    std::vector<EmulatorOutput> Feed(std::string_view bytes);

    const std::vector<std::string>& Commands() const { return m_commands; }
    std::uint32_t Readings() const { return m_nReadings; }
    bool HungUp() const { return m_bHungUp; }
    const EmulatorConfig& Config() const { return m_config; }

private:
    void Answer(const std::string& strCommand, std::vector<EmulatorOutput>& outputs);
    std::string Body(const std::string& strCommand);
    std::string PositionLines();
    void Cut(std::uint32_t nPauseMs, const std::string& strAnswer, std::vector<EmulatorOutput>& outputs) const;

    EmulatorConfig m_config;
    std::string m_strLine;
    bool m_bSkipLf = false;
    bool m_bHungUp = false;
    std::uint32_t m_nReadings = 0;
    std::uint32_t m_nMoved = 0;  // seconds the fix has moved along its track
    std::vector<std::string> m_commands;
};

// Adds nSeconds to a "N35:39:29" style coordinate (carrying into minutes and degrees); the
// prefix letter is kept. Returns the text unchanged when it is not of that form.
std::string MoveCoordinate(const std::string& strCoordinate, std::uint32_t nSeconds);

}  // namespace vantrel
