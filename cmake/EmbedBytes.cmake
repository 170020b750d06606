# Writes OUTPUT, a C++ source whose function SYMBOL returns the bytes of INPUT.
file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" hex_length)
math(EXPR byte_count "${hex_length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "((0x..,){24})" "\\1\n    " bytes "${bytes}")
file(WRITE ${OUTPUT}
"// Generated from ${INPUT}; do not edit.
#include <cstdint>
#include <span>

namespace vantrel {
namespace {
alignas(4) const std::uint8_t kImage[${byte_count} + 1] = {
    ${bytes}
};
}  // namespace
std::span<const std::uint8_t> ${SYMBOL}() { return {kImage, ${byte_count}}; }
}  // namespace vantrel
")
