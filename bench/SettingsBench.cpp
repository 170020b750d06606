// Settings file benchmark, a plain harness: how loading grows with the number of URL rows. A file
// four times as long must take about four times as long to load, not sixteen.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/TextCodec.h"
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/TextUtil.h"

namespace {

using namespace vantrel;

// A settings file as the program writes it, with nRows URL rows.
std::u16string WriteFile(FileSystem& files, const std::u16string& strFolder, int nRows) {
    Settings settings(LinuxSettingsProfile(strFolder), files);
    settings.UrlList().Clear();
    for (int i = 0; i < nRows; ++i) {
        const std::u16string strNumber = Utf8ToUtf16(std::to_string(i));
        settings.UrlList().AddRow({u"site " + strNumber, u"http://example.jp/" + strNumber + u"/send", u"pos=N$nlE$el"});
    }
    const std::u16string strPath = strFolder + u"/rows" + Utf8ToUtf16(std::to_string(nRows)) + u".ini";
    if (!settings.Save(strPath)) {
        std::fprintf(stderr, "cannot write %s\n", Utf16ToUtf8(strPath).c_str());
        std::exit(1);
    }
    return strPath;
}

// Median wall time of loading the file, in milliseconds.
double LoadMs(FileSystem& files, const std::u16string& strFolder, const std::u16string& strPath, int nRows,
              int nRounds) {
    std::vector<double> times;
    for (int i = 0; i < nRounds; ++i) {
        Settings settings(LinuxSettingsProfile(strFolder), files);
        const auto start = std::chrono::steady_clock::now();
        const bool bLoaded = settings.Load(strPath);
        times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
        if (!bLoaded || settings.UrlList().RowCount() != static_cast<std::size_t>(nRows)) {
            std::fprintf(stderr, "the file of %d rows did not load whole\n", nRows);
            std::exit(1);
        }
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    int nRows = 64000;
    int nRounds = 3;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--rows") == 0) nRows = std::max(1000, std::atoi(argv[i + 1]));
        else if (std::strcmp(argv[i], "--rounds") == 0) nRounds = std::max(1, std::atoi(argv[i + 1]));
    }
    const std::unique_ptr<TextCodec> pCodec = CreateAnsiCodec();
    SetAnsiCodePage(pCodec.get());
    const std::unique_ptr<FileSystem> pFiles = CreateFileSystem();
    char szFolder[] = "/tmp/vantrel-settings-bench-XXXXXX";
    if (!mkdtemp(szFolder)) return 1;
    const std::u16string strFolder = Utf8ToUtf16(szFolder);

    const int nQuarter = nRows / 4;
    const std::u16string strSmall = WriteFile(*pFiles, strFolder, nQuarter);
    const std::u16string strLarge = WriteFile(*pFiles, strFolder, nRows);
    const double dSmall = LoadMs(*pFiles, strFolder, strSmall, nQuarter, nRounds);
    const double dLarge = LoadMs(*pFiles, strFolder, strLarge, nRows, nRounds);
    const double dRatio = dLarge / std::max(dSmall, 0.001);
    std::printf("load %6d URL rows: median %.1f ms\n", nQuarter, dSmall);
    std::printf("load %6d URL rows: median %.1f ms (target < 2000 ms)\n", nRows, dLarge);
    std::printf("growth for 4x the rows: %.2f (linear 4, quadratic 16; target <= 6)\n", dRatio);

    unlink(Utf16ToUtf8(strSmall).c_str());
    unlink(Utf16ToUtf8(strLarge).c_str());
    rmdir(szFolder);
    SetAnsiCodePage(nullptr);
    return dLarge < 2000.0 && dRatio <= 6.0 ? 0 : 3;
}
