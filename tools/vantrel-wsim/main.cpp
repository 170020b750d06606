// vantrel-wsim: the emulated W-SIM module on a pseudo-terminal, for running the program (or a
// terminal program) against a module without the hardware. Prints the device path, then serves
// until SIGINT/SIGTERM or until the module "vanishes".
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "acquire/EmulatedModule.h"
#include "port/PseudoTerminal.h"

namespace {

std::atomic<bool> g_bStop{false};

void OnSignal(int) { g_bStop = true; }

const char kUsage[] =
    "usage: vantrel-wsim [options]\n"
    "  --north N35:39:29     latitude (Tokyo datum) of the fix\n"
    "  --east E139:44:51     longitude of the fix\n"
    "  --info TEXT           information line of the position answer (\"\" for none)\n"
    "  --station ID,LEVEL    a base station heard (repeat; the first replaces the defaults)\n"
    "  --no-stations         no base station heard\n"
    "  --extra-cr            echo commands with an extra carriage return\n"
    "  --baud N              pace answers like a line at N baud (0: unpaced; default 9600)\n"
    "faults:\n"
    "  --no-ok CMD|*         answer CMD without the final OK\n"
    "  --error CMD|*         answer CMD with ERROR\n"
    "  --garbage before|inside  a line of noise before the echo or inside the answer\n"
    "  --no-fix              position answers without a fix\n"
    "  --fragment BYTES,MS   cut answers into pieces of BYTES with MS pauses\n"
    "  --slow MS             pause MS before every answer\n"
    "  --vanish N            hang up after echoing the Nth command\n"
    "  --track N             move the fix 1\" north and east every N readings\n";

bool ParseNumber(const char* pszText, std::uint32_t& nValue) {
    char* pEnd = nullptr;
    const unsigned long n = std::strtoul(pszText, &pEnd, 10);
    if (!*pszText || *pEnd) return false;
    nValue = static_cast<std::uint32_t>(n);
    return true;
}

bool ParseArguments(int argc, char** argv, vantrel::EmulatorConfig& config) {
    bool bStationsGiven = false;
    for (int i = 1; i < argc; ++i) {
        const std::string strOption = argv[i];
        const auto value = [&]() -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (strOption == "--extra-cr") { config.bExtraCr = true; continue; }
        if (strOption == "--no-fix") { config.bNoFix = true; continue; }
        if (strOption == "--no-stations") { config.stations.clear(); bStationsGiven = true; continue; }
        const char* pszValue = value();
        if (!pszValue) return false;
        const std::string strValue = pszValue;
        if (strOption == "--north") config.strNorth = strValue;
        else if (strOption == "--east") config.strEast = strValue;
        else if (strOption == "--info") config.strInfo = strValue;
        else if (strOption == "--station") {
            const std::size_t nComma = strValue.find(',');
            if (nComma == std::string::npos) return false;
            if (!bStationsGiven) config.stations.clear();
            bStationsGiven = true;
            config.stations.push_back({strValue.substr(0, nComma), strValue.substr(nComma + 1)});
        } else if (strOption == "--baud") { if (!ParseNumber(pszValue, config.nBaudRate)) return false; }
        else if (strOption == "--no-ok") config.strNoFinalOn = strValue;
        else if (strOption == "--error") config.strErrorOn = strValue;
        else if (strOption == "--garbage") {
            if (strValue == "before") config.bGarbageBeforeEcho = true;
            else if (strValue == "inside") config.bGarbageInBody = true;
            else return false;
        } else if (strOption == "--fragment") {
            const std::size_t nComma = strValue.find(',');
            if (nComma == std::string::npos || !ParseNumber(strValue.substr(0, nComma).c_str(), config.nFragmentBytes) ||
                !ParseNumber(strValue.substr(nComma + 1).c_str(), config.nFragmentPauseMs))
                return false;
        } else if (strOption == "--slow") { if (!ParseNumber(pszValue, config.nSlowMs)) return false; }
        else if (strOption == "--vanish") { if (!ParseNumber(pszValue, config.nVanishAfter)) return false; }
        else if (strOption == "--track") { if (!ParseNumber(pszValue, config.nTrackEvery)) return false; }
        else return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    vantrel::EmulatorConfig config;
    if (!ParseArguments(argc, argv, config)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    vantrel::EmulatedModule module(vantrel::CreatePseudoTerminal(), config);
    if (!module.Start()) {
        std::fputs("vantrel-wsim: cannot create a pseudo-terminal\n", stderr);
        return 1;
    }
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    std::printf("%s\n", module.DevicePath().c_str());
    std::fflush(stdout);
    while (!g_bStop && !module.HasHungUp()) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    module.Stop();
    return 0;
}
