#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "settings/Format.h"

namespace vantrel {

class ResourceModule;
class SystemInfo;

// A text kept in two forms side by side: wide (UTF-16, what the user interface sees) and narrow
// (the device's ANSI code page, what mail, HTTP and the settings' base64 body need). Every change
// of the wide text refreshes the narrow form, so either can be read at any time.
class DualString {
public:
    DualString() = default;
    DualString(std::u16string_view strWide) { AssignWide(strWide); }
    DualString(const DualString& other) : m_strWide(other.m_strWide), m_strNarrow(other.m_strNarrow) {}
    DualString(DualString&& other) noexcept = default;
    DualString& operator=(const DualString& other);
    DualString& operator=(DualString&& other) noexcept = default;
    DualString& operator=(std::u16string_view strWide) {
        AssignWide(strWide);
        return *this;
    }

    const std::u16string& Wide() const { return m_strWide; }
    const std::string& Narrow() const { return m_strNarrow; }
    bool IsEmpty() const { return m_strWide.empty(); }
    std::size_t Length() const { return m_strWide.size(); }

    // When the code page yields nothing (an empty text included) the narrow form keeps its old value.
    void AssignWide(std::u16string_view strWide);
    // False, and nothing changes, when the conversion yields nothing.
    bool AssignNarrow(std::string_view strNarrow);
    void Append(std::u16string_view strWide);
    // Appends a single separator, as used to build ";"-joined rows.
    void AppendSeparator(std::u16string_view strSeparator) { Append(strSeparator); }

    // Exact comparison of the wide forms, code unit by code unit ("TRUE" differs from "true").
    bool operator==(const DualString& other) const { return m_strWide == other.m_strWide; }

    // A writable buffer of at least nLength code units holding (at most nLength of) the text, for
    // calls that write text in place; null when memory runs out.
    char16_t* GetBuffer(std::uint32_t nLength);
    // Takes the buffer's contents as the new text; -1 means up to the first zero code unit.
    void ReleaseBuffer(int nLength = -1);

    // Formats into a work area of 1024 code units: a result longer than 1023 is cut there. An empty
    // result, or a format the arguments do not fit, leaves the old text.
    template <class... Args>
    void Format(std::u16string_view strFormat, const Args&... args) {
        const FormatArg list[] = {FormatArg(args)..., FormatArg(0)};
        FormatList(strFormat, std::span<const FormatArg>(list, sizeof...(Args)));
    }
    void FormatList(std::u16string_view strFormat, std::span<const FormatArg> args);

    // Loads string nId from the module, growing the buffer from 1024 code units by doubling while
    // the text fills it. A missing id gives an empty text. False only when memory runs out.
    bool LoadStringResource(const ResourceModule& module, std::uint32_t nId);

    // The system's text for the calling thread's last error; otherwise the number as "%d" and false.
    bool LoadLastErrorText(SystemInfo& system);

    // Size of the Format work area in code units.
    static constexpr std::size_t kFormatCapacity = 1024;

private:
    std::u16string m_strWide;
    std::string m_strNarrow;
    std::unique_ptr<char16_t[]> m_pBuffer;
    std::uint32_t m_nBufferLength = 0;
};

}  // namespace vantrel
