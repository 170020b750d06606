#pragma once
#include <mutex>
#include <string>
#include <vector>

#include "port/MessageBoxHost.h"

namespace vantrel::test {

// Records every box shown and answers with a preset button.
class RecordingMessageBox final : public MessageBoxHost {
public:
    struct Box {
        std::u16string strText;
        std::u16string strCaption;
        std::uint32_t nFlags;
    };

    int Show(WindowHandle, const std::u16string& strText, const std::u16string& strCaption,
             std::uint32_t nFlags) override {
        std::lock_guard lock(m_mutex);
        m_boxes.push_back({strText, strCaption, nFlags});
        return m_nAnswer;
    }
    std::vector<Box> Boxes() const {
        std::lock_guard lock(m_mutex);
        return m_boxes;
    }
    void SetAnswer(int nAnswer) { m_nAnswer = nAnswer; }

private:
    mutable std::mutex m_mutex;
    std::vector<Box> m_boxes;
    int m_nAnswer = mb::kIdOk;
};

}  // namespace vantrel::test
