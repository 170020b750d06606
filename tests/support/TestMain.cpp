#include <gtest/gtest.h>

#include <memory>

#include "port/Factories.h"
#include "port/TextCodec.h"

#if defined(__SANITIZE_ADDRESS__)
// fontconfig keeps its configuration for the life of the process on purpose and never frees it;
// the leak checker of a sanitizer build would fail every test that lays out text.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
#endif

// Every test runs with the same stand-in code page as the program (CP932 through iconv).
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::unique_ptr<vantrel::TextCodec> pCodec = vantrel::CreateAnsiCodec();
    vantrel::SetAnsiCodePage(pCodec.get());
    const int nResult = RUN_ALL_TESTS();
    vantrel::SetAnsiCodePage(nullptr);
    return nResult;
}
