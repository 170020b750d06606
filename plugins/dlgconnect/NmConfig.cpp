#include "NmConfig.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace dlgconnect {

namespace {

std::string Trim(const std::string& strText) {
    const char* pszBlanks = " \t\r\n";
    const std::size_t nFirst = strText.find_first_not_of(pszBlanks);
    if (nFirst == std::string::npos) return {};
    return strText.substr(nFirst, strText.find_last_not_of(pszBlanks) - nFirst + 1);
}

std::string ExecutableFolder() {
    char buffer[4096];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return {};
    std::string strPath(buffer, static_cast<std::size_t>(n));
    const std::size_t nSlash = strPath.rfind('/');
    return nSlash == std::string::npos ? std::string() : strPath.substr(0, nSlash);
}

// Plain reads rather than a file stream: the library is loaded at every start of the program, and
// a stream would set up the C++ locale machinery for this one small file.
bool ReadFile(const std::string& strPath, std::string& strText) {
    const int fd = ::open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0) strText.append(buffer, static_cast<std::size_t>(n));
    ::close(fd);
    return n == 0;
}

}  // namespace

void NmConfig::Parse(const std::string& strText) {
    std::size_t nStart = 0;
    while (nStart < strText.size()) {
        std::size_t nEnd = strText.find('\n', nStart);
        if (nEnd == std::string::npos) nEnd = strText.size();
        const std::string strLine = Trim(strText.substr(nStart, nEnd - nStart));
        nStart = nEnd + 1;
        if (strLine.empty() || strLine[0] == '#') continue;
        const std::size_t nEquals = strLine.find('=');
        if (nEquals == std::string::npos) continue;
        const std::string strKey = Trim(strLine.substr(0, nEquals));
        const std::string strValue = Trim(strLine.substr(nEquals + 1));
        if (strKey == "connection") strConnection = strValue;
        else if (strKey == "wait") nWaitSeconds = std::atoi(strValue.c_str());
    }
}

NmConfig NmConfig::Load() {
    NmConfig config;
    const char* pszHome = std::getenv("VANTREL_HOME");
    const std::string strFolder = pszHome && *pszHome ? std::string(pszHome) : ExecutableFolder();
    std::string strText;
    const std::string strFile = strFolder + "/dlgconnect.conf";
    if (!strFolder.empty() && ReadFile(strFile, strText)) {
        config.Parse(strText);
        if (!config.strConnection.empty()) config.strSource = strFile;
    }
    const char* pszConnection = std::getenv("VANTREL_NM_CONNECTION");
    if (pszConnection && *pszConnection) {
        config.strConnection = pszConnection;
        config.strSource = "VANTREL_NM_CONNECTION";
    }
    return config;
}

}  // namespace dlgconnect
