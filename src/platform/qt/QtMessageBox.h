#pragma once
#include "port/MessageBoxHost.h"

namespace vantrel {

class QtUiThread;

// Message boxes as QMessageBox, window-modal over the owner's window (application-modal without
// one), run as a modal run of the UI thread so that a Quit ends them too.
//
// Buttons by the style's low nibble: OK, OK/Cancel, Abort/Retry/Ignore, Yes/No/Cancel, Yes/No,
// Retry/Cancel; the default button by 0x100/0x200. Icon by the style's icon bits: 0x10 stop,
// 0x20 question, 0x30 warning, 0x40 information; a Yes/No box without icon bits shows the question
// icon. Answers are the Windows codes (IDOK 1 ... IDNO 7). Escape and the close box give Cancel
// where there is one, else No, else the first button (OK, Abort); a Quit gives the same answer.
class QtMessageBox final : public MessageBoxHost {
public:
    explicit QtMessageBox(QtUiThread& ui) : m_ui(ui) {}
    int Show(WindowHandle hOwner, const std::u16string& strText, const std::u16string& strCaption,
             std::uint32_t nFlags) override;

private:
    QtUiThread& m_ui;
};

}  // namespace vantrel
