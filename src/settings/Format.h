#pragma once
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace vantrel {

// One argument of a format, remembered with its type so that a conversion that does not fit the
// argument is refused instead of reading garbage. Narrow C strings are deliberately not accepted:
// in the program's formats "%s" is always wide text.
class FormatArg {
public:
    enum class Kind { Integer, Double, Text };

    FormatArg(int n) : m_kind(Kind::Integer), m_nBits(static_cast<std::uint64_t>(static_cast<std::int64_t>(n))) {}
    FormatArg(long n) : m_kind(Kind::Integer), m_nBits(static_cast<std::uint64_t>(static_cast<std::int64_t>(n))) {}
    FormatArg(long long n) : m_kind(Kind::Integer), m_nBits(static_cast<std::uint64_t>(n)) {}
    FormatArg(unsigned n) : m_kind(Kind::Integer), m_nBits(n) {}
    FormatArg(unsigned long n) : m_kind(Kind::Integer), m_nBits(n) {}
    FormatArg(unsigned long long n) : m_kind(Kind::Integer), m_nBits(n) {}
    FormatArg(char16_t c) : m_kind(Kind::Integer), m_nBits(c) {}
    FormatArg(double d) : m_kind(Kind::Double), m_dValue(d) {}
    FormatArg(const char16_t* psz) : m_kind(Kind::Text), m_strText(psz ? psz : u"(null)") {}
    FormatArg(const std::u16string& str) : m_kind(Kind::Text), m_strText(str) {}
    FormatArg(std::u16string_view str) : m_kind(Kind::Text), m_strText(str) {}
    FormatArg(const char*) = delete;
    FormatArg(const std::string&) = delete;

    Kind GetKind() const { return m_kind; }
    std::uint64_t Bits() const { return m_nBits; }
    double Double() const { return m_dValue; }
    std::u16string_view Text() const { return m_strText; }

private:
    Kind m_kind;
    std::uint64_t m_nBits = 0;
    double m_dValue = 0.0;
    std::u16string_view m_strText;
};

// Formats with the meaning of the Windows wide printf family: %s is wide text, a plain or "l"
// integer is 32 bits (LLP64), "ll"/"I64" is 64 bits, "h" is 16 bits. Supported conversions:
// d i u x X o c s f F e E g G %, with the flags - + blank # 0, width and precision (also "*").
// Appends to strOut and returns true; on a malformed format, a missing argument or an argument of
// the wrong kind returns false, and strOut then holds what was formatted before the fault.
bool FormatInto(std::u16string& strOut, std::u16string_view strFormat, std::span<const FormatArg> args);

template <class... Args>
std::u16string FormatText(std::u16string_view strFormat, const Args&... args) {
    const FormatArg list[] = {FormatArg(args)..., FormatArg(0)};
    std::u16string strOut;
    if (!FormatInto(strOut, strFormat, std::span<const FormatArg>(list, sizeof...(Args)))) strOut.clear();
    return strOut;
}

}  // namespace vantrel
