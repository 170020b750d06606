#pragma once
#include <string>

namespace dlgconnect {

// Which NetworkManager connection the library brings up, and how long Connect waits for it.
//   VANTREL_NM_CONNECTION   the connection id or UUID (wins over the file)
//   dlgconnect.conf         in VANTREL_HOME, else in the executable's folder; lines "key=value",
//                           "#" starts a comment:
//                             connection=<connection id or UUID>
//                             wait=<seconds Connect waits for the activation>
struct NmConfig {
    std::string strConnection;
    int nWaitSeconds = 0;  // 0: derived from the wait the program passes
    std::string strSource;  // where the connection id came from, for diagnostics

    static NmConfig Load();
    // Reads "key=value" lines; unknown keys are ignored.
    void Parse(const std::string& strText);
};

}  // namespace dlgconnect
