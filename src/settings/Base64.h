#pragma once
#include <string>
#include <string_view>

namespace vantrel {

// Standard base64 (RFC 4648 alphabet, "=" padding, no line breaks).
std::string Base64Encode(std::string_view bytes);

// Decodes until the first "=" or the end; characters outside the alphabet are skipped. A trailing
// group of fewer than four characters yields the whole bytes it holds.
std::string Base64Decode(std::string_view text);

}  // namespace vantrel
