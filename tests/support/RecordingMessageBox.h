#pragma once
#include <string>
#include <vector>

#include "port/MessageBoxHost.h"

namespace vantrel::test {

// Remembers every box as "<caption>:text/flags" and answers with a set button.
class RecordingMessageBox final : public MessageBoxHost {
public:
    int Show(WindowHandle, const std::u16string& strText, const std::u16string& strCaption,
             std::uint32_t nFlags) override {
        std::u16string strLine = u"<" + strCaption + u">:" + strText + u"/";
        for (char c : std::to_string(nFlags)) strLine += static_cast<char16_t>(c);
        m_boxes.push_back(strLine);
        return m_nAnswer;
    }

    std::vector<std::u16string> m_boxes;
    int m_nAnswer = mb::kIdOk;
};

}  // namespace vantrel::test
