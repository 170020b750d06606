#include "platform/headless/ConsoleMessageBox.h"

#include "settings/TextUtil.h"

namespace vantrel {

int ConsoleMessageBox::Show(WindowHandle, const std::u16string& strText, const std::u16string& strCaption,
                            std::uint32_t nFlags) {
    m_out << '<' << Utf16ToUtf8(strCaption) << ">:" << Utf16ToUtf8(strText) << '\n';
    m_out.Flush();
    return (nFlags & mb::kButtonMask) == 0 ? mb::kIdOk : mb::kIdYes;
}

}  // namespace vantrel
