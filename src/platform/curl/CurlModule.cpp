// The entry point of the HTTP library (libvantrel-http.so) that the program loads at its first
// request.
#include "port/HttpTransport.h"
#include "port/TextCodec.h"

extern "C" __attribute__((visibility("default"))) vantrel::HttpTransport* CreateVantrelHttpTransport(
    int nVersion, const char16_t* pszProgramFolder, vantrel::TextCodec* pCodePage) {
    if (nVersion != vantrel::kHttpModuleVersion || !pszProgramFolder) return nullptr;
    // This library's copy of the code page must be the program's.
    vantrel::SetAnsiCodePage(pCodePage);
    return vantrel::CreateHttpTransport(pszProgramFolder).release();
}
