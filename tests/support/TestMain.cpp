#include <gtest/gtest.h>

#include <memory>

#include "port/Factories.h"
#include "port/TextCodec.h"

// Every test runs with the same stand-in code page as the program (CP932 through iconv).
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::unique_ptr<vantrel::TextCodec> pCodec = vantrel::CreateAnsiCodec();
    vantrel::SetAnsiCodePage(pCodec.get());
    const int nResult = RUN_ALL_TESTS();
    vantrel::SetAnsiCodePage(nullptr);
    return nResult;
}
