#pragma once
#include "port/TextOut.h"

#include "port/MessageBoxHost.h"

namespace vantrel {

// The windowless "message box": nobody is there to press a button, so the message is printed as
// the message log writes it, without the time ("<caption>:text"), and answered as in silent
// operation (Yes for a choice, OK otherwise).
class ConsoleMessageBox final : public MessageBoxHost {
public:
    explicit ConsoleMessageBox(TextOut& out) : m_out(out) {}
    int Show(WindowHandle hOwner, const std::u16string& strText, const std::u16string& strCaption,
             std::uint32_t nFlags) override;

private:
    TextOut& m_out;
};

}  // namespace vantrel
