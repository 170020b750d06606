// The data-line library's once-a-second question, a plain harness: 1000 GetConnection calls on the
// library's object while NetworkManager (python-dbusmock's, on a bus of the harness's own) holds
// the configured connection activated. They must answer from memory: target < 1 ms for all 1000.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "port/DlgConnect.h"
#include "support/MockNetworkManager.h"

namespace {

using Clock_ = std::chrono::steady_clock;
constexpr int kCalls = 1000;
constexpr double kTargetMs = 1.0;

}  // namespace

int main(int argc, char** argv) {
    int nRounds = 5;
    for (int i = 1; i + 1 < argc; i += 2)
        if (std::strcmp(argv[i], "--rounds") == 0) nRounds = std::max(1, std::atoi(argv[i + 1]));
    if (!vantrel::test::MockNetworkManager::Available()) {
        std::fprintf(stderr, "needs dbus-daemon and /usr/bin/python3 with python-dbusmock (python3-dbusmock)\n");
        return 2;
    }
    vantrel::test::MockNetworkManager nm(vantrel::test::MockNetworkManager::Connections{{"bench-lte", "up"}});
    if (!nm.StartService()) {
        std::fprintf(stderr, "the mock NetworkManager did not start\n");
        return 2;
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", nm.Address().c_str(), 1);
    setenv("VANTREL_NM_CONNECTION", "bench-lte", 1);
    void* hLibrary = dlopen(VANTREL_DLGCONNECT_PATH, RTLD_NOW);
    if (!hLibrary) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    auto pfnCreate = reinterpret_cast<CreateObjectDlgConnectFn>(dlsym(hLibrary, vantrel::kCreateObjectDlgConnect));
    auto pfnDelete = reinterpret_cast<DeleteObjectDlgConnectFn>(dlsym(hLibrary, vantrel::kDeleteObjectDlgConnect));
    vantrel::DlgConnect* pConn = pfnCreate();
    if (pConn->Connect(0, 0, 3000, 0, u"") != 1) {
        std::fprintf(stderr, "the connection did not come up\n");
        return 2;
    }

    std::vector<double> rounds;
    int nAnswers = 0;
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        const Clock_::time_point start = Clock_::now();
        for (int i = 0; i < kCalls; ++i) nAnswers += pConn->GetConnection();
        rounds.push_back(std::chrono::duration<double, std::milli>(Clock_::now() - start).count());
    }
    pfnDelete(pConn);
    if (nAnswers != kCalls * nRounds) {
        std::fprintf(stderr, "%d of %d answers said connected\n", nAnswers, kCalls * nRounds);
        return 2;
    }
    std::sort(rounds.begin(), rounds.end());
    const double dMedian = rounds[rounds.size() / 2];
    std::printf("GetConnection x %d, connection activated: median %.4f ms (min %.4f, max %.4f, %d rounds)"
                " (target < %.0f ms)\n",
                kCalls, dMedian, rounds.front(), rounds.back(), nRounds, kTargetMs);
    return rounds.back() < kTargetMs ? 0 : 3;
}
