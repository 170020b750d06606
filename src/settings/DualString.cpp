#include "settings/DualString.h"

#include <algorithm>
#include <new>
#include <vector>

#include "port/SystemInfo.h"
#include "port/TextCodec.h"
#include "settings/ResourceModule.h"

namespace vantrel {

DualString& DualString::operator=(const DualString& other) {
    if (this != &other) {
        m_strWide = other.m_strWide;
        m_strNarrow = other.m_strNarrow;
    }
    return *this;
}

void DualString::AssignWide(std::u16string_view strWide) {
    if (strWide.data() != m_strWide.data() || strWide.size() != m_strWide.size()) m_strWide.assign(strWide);
    std::string strNarrow;
    if (AnsiCodePage().ToNarrow(m_strWide, strNarrow) && !strNarrow.empty()) m_strNarrow = std::move(strNarrow);
}

bool DualString::AssignNarrow(std::string_view strNarrow) {
    std::u16string strWide;
    if (!AnsiCodePage().ToWide(strNarrow, strWide) || strWide.empty()) return false;
    AssignWide(strWide);
    return true;
}

void DualString::Append(std::u16string_view strWide) {
    std::u16string strJoined = m_strWide;
    strJoined.append(strWide);
    AssignWide(strJoined);
}

char16_t* DualString::GetBuffer(std::uint32_t nLength) {
    if (!m_pBuffer || m_nBufferLength < nLength) {
        char16_t* pBuffer = new (std::nothrow) char16_t[nLength + 1];
        if (!pBuffer) return nullptr;
        m_pBuffer.reset(pBuffer);
        m_nBufferLength = nLength;
    }
    std::fill_n(m_pBuffer.get(), m_nBufferLength + 1, u'\0');
    std::copy_n(m_strWide.data(), std::min<std::size_t>(m_strWide.size(), nLength), m_pBuffer.get());
    return m_pBuffer.get();
}

void DualString::ReleaseBuffer(int nLength) {
    if (!m_pBuffer) return;
    std::u16string_view strText(m_pBuffer.get(), m_nBufferLength);
    if (nLength < 0) strText = strText.substr(0, strText.find(u'\0'));
    else strText = strText.substr(0, static_cast<std::size_t>(nLength));
    AssignWide(std::u16string(strText));
}

void DualString::FormatList(std::u16string_view strFormat, std::span<const FormatArg> args) {
    std::u16string strResult;
    const bool bOk = FormatInto(strResult, strFormat, args);
    // An overflowing vswprintf reports an error with the area full; the last unit becomes the
    // terminator, which cuts the text at 1023 code units.
    if (strResult.size() >= kFormatCapacity) strResult.resize(kFormatCapacity - 1);
    else if (!bOk) return;
    if (!strResult.empty()) AssignWide(strResult);
}

bool DualString::LoadStringResource(const ResourceModule& module, std::uint32_t nId) {
    int nSize = static_cast<int>(kFormatCapacity);
    for (;;) {
        std::vector<char16_t> buffer;
        try {
            buffer.assign(static_cast<std::size_t>(nSize) + 1, u'\0');
        } catch (const std::bad_alloc&) {
            return false;
        }
        const int nLength = module.LoadStringText(nId, buffer.data(), nSize);
        if (nLength < nSize - 1 || nSize > (1 << 24)) {
            AssignWide(std::u16string_view(buffer.data(), static_cast<std::size_t>(nLength)));
            return true;
        }
        nSize *= 2;
    }
}

bool DualString::LoadLastErrorText(SystemInfo& system) {
    const std::uint32_t nError = system.LastError();
    std::u16string strText;
    if (system.ErrorText(nError, strText)) {
        AssignWide(strText);
        return true;
    }
    Format(u"%d", static_cast<int>(nError));
    return false;
}

}  // namespace vantrel
