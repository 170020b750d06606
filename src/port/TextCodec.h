#pragma once
#include <string>
#include <string_view>

namespace vantrel {

// Conversion between wide text (UTF-16) and the narrow "ANSI code page" the device uses for mail,
// HTTP bodies and the settings' base64 body. Characters the code page lacks become the codec's
// default character, as WideCharToMultiByte does without flags.
class TextCodec {
public:
    virtual ~TextCodec() = default;
    // False when the conversion yields nothing (empty input included).
    virtual bool ToNarrow(std::u16string_view strWide, std::string& strNarrow) = 0;
    virtual bool ToWide(std::string_view strNarrow, std::u16string& strWide) = 0;
};

// The code page is process state on the device (CP_ACP); the composition root installs it once.
TextCodec& AnsiCodePage();
void SetAnsiCodePage(TextCodec* pCodec);

}  // namespace vantrel
