#include "port/TextCodec.h"

#include <atomic>

namespace vantrel {

namespace {

// Used only until the composition root installs the platform's codec: ASCII passes, anything
// else becomes "?", so a forgotten installation shows up as question marks rather than a crash.
class AsciiCodec final : public TextCodec {
public:
    bool ToNarrow(std::u16string_view strWide, std::string& strNarrow) override {
        strNarrow.clear();
        for (char16_t c : strWide) strNarrow.push_back(c < 0x80 ? static_cast<char>(c) : '?');
        return !strNarrow.empty();
    }
    bool ToWide(std::string_view strNarrow, std::u16string& strWide) override {
        strWide.clear();
        for (char c : strNarrow) strWide.push_back(static_cast<unsigned char>(c) < 0x80 ? c : u'?');
        return !strWide.empty();
    }
};

AsciiCodec g_asciiCodec;
std::atomic<TextCodec*> g_pCodec{&g_asciiCodec};

}  // namespace

TextCodec& AnsiCodePage() { return *g_pCodec.load(); }

void SetAnsiCodePage(TextCodec* pCodec) { g_pCodec.store(pCodec ? pCodec : &g_asciiCodec); }

}  // namespace vantrel
